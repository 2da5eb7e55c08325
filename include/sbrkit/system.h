/** @file
 *  @brief System queries: local time, the operating system, processor time. */
#ifndef SBRKIT_SBRKIT_SYSTEM_H
#define SBRKIT_SBRKIT_SYSTEM_H

#include "sbrkit/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** The local time in the form of ISO 8601.
 *  @param selector  1 the date, "2024-03-01"; 2 the time and the offset from Greenwich, "09:05 +0100"; any other value
 *                   both, with a blank between them. A negative one also prints two lines on the standard output: the
 *                   time in Greenwich with the offset in minutes, and the local time
 *  @param text      64 bytes, terminator included; null drops the text */
SBR_API void SBR_localtime_ISO8601(int selector, char *text);

/** The operating system, in three texts: its name with "_" behind it ("Linux_"), its version ("6_1", major and minor
 *  number of the release), and the third number of the release.
 *  @param selector  2 "name version", 3 "name version number", 12 "name_version", 13 "name_version_number"; any other
 *                   value the name alone
 *  @param text      192 bytes, terminator included
 *  @return 0; 1, with nothing written, when the query fails and for a null text. */
SBR_API int SBR_uname(int selector, char *text);

/** The processor time of the process.
 *  @return seconds. */
SBR_API double SBR_cputime(void);

#ifdef __cplusplus
}
#endif

#endif
