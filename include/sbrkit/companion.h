/** @file
 *  @brief Companion operations: what the library asks of its surroundings.
 *
 *  The library has weak definitions of these. A host program that defines an operation of the same name, with C
 *  linkage, takes over, and the library calls the host's. */
#ifndef SBRKIT_SBRKIT_COMPANION_H
#define SBRKIT_SBRKIT_COMPANION_H

#include "sbrkit/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Judges a units label in place. The default accepts the names of the four unit tables in any letter case, turns
 *  blanks behind the name into zeros and keeps the letters; it leaves what it refuses as it is.
 *  @param label16  16 bytes, padded with blanks or zeros
 *  @return not 0 when the label is acceptable; 0 for an unknown, empty or null one. */
SBR_API int SBR_ConvertUnitsLabel(char *label16);

/** Begins the progress of a long run. The default does nothing.
 *  @param total  how many stamps are to come; a run that ends early sends fewer */
SBR_API void SBR_TimeMonitor(int total);

/** One step of progress. The default does nothing. */
SBR_API void SBR_TimeMonitorStamp(void);

#ifdef __cplusplus
}
#endif

#endif
