/** @file
 *  @brief Stream codecs: positions of 64 bits, the two widths of reals, and texts of fixed width.
 *
 *  A record file is native or XDR encoded (RFC 4506), and holds its reals with 8 or 4 bytes. Memory always holds
 *  doubles. These are the pieces of that conversion that hosts may use themselves; none of them takes a body or sends a
 *  message. */
#ifndef SBRKIT_SBRKIT_CODECS_H
#define SBRKIT_SBRKIT_CODECS_H

#include "sbrkit/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Moves a stream, with positions of 64 bits.
 *  @param stream  the stream; null gives 1
 *  @param offset  bytes
 *  @param origin  from where: 0 the start, 1 where the stream stands, 2 its end; anything else gives 1
 *  @return 0 on success; otherwise not 0, with the position as it was. */
SBR_API int FileSeek_Win32(FILE *stream, int64_t offset, int origin);

/** Where a stream stands.
 *  @return the position in bytes; -1 when it cannot be told, as for a null stream. */
SBR_API int64_t FileTell_Win32(FILE *stream);

/** Rounds n doubles to floats, first to last, so that dst and src may be the same memory. With n at most 0 nothing is
 *  touched.
 *  @return dst. */
SBR_API float *double2float(float *dst, const double *src, int n);

/** Widens n floats to doubles, last to first, so that dst and src may be the same memory (of n doubles). With n at most
 *  0 nothing is touched.
 *  @return dst. */
SBR_API double *float2double(double *dst, const float *src, int n);

/** Makes a text of fixed width a zero-terminated string. The last of the `size` bytes becomes 0 whatever it was, and
 *  the blanks right before it go; a text that fills its field loses its last character. A null buffer or a size below 1
 *  is left alone. */
SBR_API void terminate_string(char *buffer, int size);

#ifdef __cplusplus
}
#endif

#endif
