/** @file
 *  @brief Modal statistics: the largest motion, stress and strain of each mode, and the node where it occurs.
 *
 *  The table is made at the first request, from block 29 of the record if there is one. A figure that is not known
 *  there (its node ID is 0) is worked out from the mode data and kept, whatever becomes of the modes later. Of equal
 *  maxima the node with the lowest kind position counts. A mode of zeros has the node ID 0 and the value 0, and is
 *  worked out at each request. The mode data passes through SBR_Mode(), and so through the cache.
 *
 *  With the normal components (a, b, c) and the shear components (d, e, f) of a node:
 *
 *  | figure | value | unit |
 *  |---|---|---|
 *  | displacement | length of the translation | length |
 *  | rotation | length of the rotation | radians |
 *  | von Mises stress | sqrt(a^2 + b^2 + c^2 - ab - bc - ac + 3 (d^2 + e^2 + f^2)) | force over length squared |
 *  | von Mises strain | sqrt(4/9 (a^2 + b^2 + c^2 - ab - bc - ac) + 1/3 (d^2 + e^2 + f^2)) | none |
 *
 *  (R. von Mises, Mechanik der festen Koerper im plastisch-deformablen Zustand, 1913. The strain form is that of the
 *  equivalent strain for engineering shears.)
 *
 *  All four requests fail in the same ways. Silently: no modes, an unknown mode number (outputs untouched), a block
 *  that breaks off. Reported: the table cannot be had (the allocation message); the kind has no nodes (the allocation
 *  message too); the block has another count of modes, `"Inconsistent number of modes detected at line %d in file %s"`,
 *  once: the next request works the figures out. */
#ifndef SBRKIT_SBRKIT_STATISTICS_H
#define SBRKIT_SBRKIT_STATISTICS_H

#include "sbrkit/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Whether the table of statistics has been made, by the reader, by a write or by one of the requests below, whatever
 *  it holds. Null body: silent.
 *  @return 1 or 0. */
SBR_API int SBR_ModalStatisticsExist(SBR body);

/** The largest displacement of a mode. Null body: reported.
 *  @param body    the body
 *  @param number  the mode number
 *  @param id      the ID of the node; may be null
 *  @param value   the length of its translation; may be null
 *  @return 1; 0 as the head of this file says. */
SBR_API int SBR_GetMaxModeDisplacement(SBR body, int number, int *id, double *value);

/** The largest rotation of a mode. Null body: reported.
 *  @param body    the body
 *  @param number  the mode number
 *  @param id      the ID of the node; may be null
 *  @param value   the length of its rotation; may be null
 *  @return 1; 0 as the head of this file says. */
SBR_API int SBR_GetMaxModeRotation(SBR body, int number, int *id, double *value);

/** The largest von Mises stress of a mode. Null body: reported.
 *  @param body    the body
 *  @param number  the mode number
 *  @param id      the ID of the node; may be null
 *  @param value   the stress; may be null
 *  @return 1; 0 as the head of this file says. */
SBR_API int SBR_GetMaxVonMisesStress(SBR body, int number, int *id, double *value);

/** The largest von Mises strain of a mode. Null body: reported.
 *  @param body    the body
 *  @param number  the mode number
 *  @param id      the ID of the node; may be null
 *  @param value   the strain; may be null
 *  @return 1; 0 as the head of this file says. */
SBR_API int SBR_GetMaxVonMisesStrain(SBR body, int number, int *id, double *value);

#ifdef __cplusplus
}
#endif

#endif
