/** @file
 *  @brief Where mode data lies, and the cache that holds what has been read.
 *
 *  Mode data is large: six values per node, mode and kind. It lies on disk, in one record per mode and kind: in the
 *  file that the body was read from, or in temporary files, one per kind, which are made when a setter first needs them
 *  and go with the body. A temporary file's name comes from `KTX_TMP_MOD`, `KTX_TMP_STR` or `KTX_TMP_STN` (a whole path
 *  for shape, stress, strain), else it begins with "sbr_" in the directory of `TMP`. Its room for the modes and nodes
 *  of SBR_Create() is reserved at once, so that a full disk shows at the first value. More nodes than were announced
 *  make the records be laid out anew with more room.
 *
 *  What the accessors read, one part of one mode of one kind at a time, may be kept in memory: 24 bytes per node of the
 *  kind, already in the body's units. A body holds at most 200 MiB so, or the MiB that `SBR_MAX_MODE_MEMORY` names. The
 *  cache does not evict: it takes parts until it is full, and then no more until it is cleaned.
 *
 *  A pointer into the cache, from SBR_ModeByRef() or SBR_ModeFromMemoryByRef(), lives until the cache is cleaned. It is
 *  cleaned by SBR_CleanModesInMemory(); when it is switched off; by a change of units; by the end of the body; and,
 *  where it is switched on, by every write and by whatever rewrites modes (rotation, mirroring, orthonormalization,
 *  permutation, discarding of nodes, SBR_TransformModes()). Storing a part anew cleans nothing: the array before is put
 *  aside and stays readable. Where the cache is switched off, rewriting puts aside too what was stored by hand. */
#ifndef SBRKIT_SBRKIT_MODE_STORE_H
#define SBRKIT_SBRKIT_MODE_STORE_H

#include "sbrkit/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** The precision of the reals that mode shapes are stored with. Null body: silent.
 *  @return 1 for doubles, 0 for floats and for null. */
SBR_API int SBR_Double_Prec(SBR body);

/** Switches the cache on (not 0; the state of a new body) or off (0). Switching it off cleans it as
 *  SBR_CleanModesInMemory() does. Null body: silent. */
SBR_API void SBR_SetKeepModesInMemory(SBR body, int flag);

/** Gives the flag of SBR_SetKeepModesInMemory(). Null body: silent.
 *  @param body  the body
 *  @param flag  the flag as it was set; untouched for a null body, null is skipped */
SBR_API void SBR_GetKeepModesInMemory(SBR body, int *flag);

/** Works out how many parts the cache may hold: the smaller of 6 M and the budget over 24 bytes per node of the longest
 *  node list. The budget is 200 MiB, or the MiB of the environment variable `SBR_MAX_MODE_MEMORY` when that is a number
 *  above 0. Without nodes the limit stays as it was. The first store after a cleaning does this by itself. Null body:
 *  silent. */
SBR_API void SBR_InitializeModeMemory(SBR body);

/** Stores a copy of one part of a mode in the cache, whether it is switched on or not. Null body: silent.
 *
 *  A part that is there already is superseded: the array before stays readable for those who have a pointer to it,
 *  until SBR_CleanModesInMemory(), and counts against the limit like the new one. No other stored part is ever given
 *  up.
 *  @param body    the body
 *  @param number  the mode number; pre-stress and pre-strain (number 0 of kinds 1 and 2) have no place here
 *  @param kind    0 to 2
 *  @param data    three doubles per node of the kind, in the body's units; null fails
 *  @param part    0 or 1
 *  @return 1. 0, silently, when the cache is full and for an unknown mode, kind or part; 0 after the allocation message
 *          when memory is short or the kind has no nodes. */
SBR_API int SBR_ModetoMemory(SBR body, int number, int kind, const double *data, int part);

/** Empties the cache, and works its limit out anew at the next store. This ends the life of every pointer that
 *  SBR_ModeByRef() and SBR_ModeFromMemoryByRef() gave into the cache, and of the superseded arrays. The switch stays as
 *  it is. Null body: silent. */
SBR_API void SBR_CleanModesInMemory(SBR body);

#ifdef __cplusplus
}
#endif

#endif
