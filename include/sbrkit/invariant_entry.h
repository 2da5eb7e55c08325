/** @file
 *  @brief Entering inertia invariants by hand, and the global mass properties.
 *
 *  What is entered takes the place of what the library would work out (invariants.h has the definitions), and raises
 *  the invariant's block. Modes are named by number and must be known; they are never added here. The arrays take the
 *  mode count of the first entry of an invariant: a mode that comes later has no place in them and counts as unknown.
 *  When modes are dropped, by orthonormalization, the entries of those that stay are kept.
 *
 *  An unknown mode reports `"Mode number %d does not exist.  Requested at line %d in file %s.\n"`. All setters give 0
 *  for a null array and after the allocation message. Values are in the body's units. */
#ifndef SBRKIT_SBRKIT_INVARIANT_ENTRY_H
#define SBRKIT_SBRKIT_INVARIANT_ENTRY_H

#include "sbrkit/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Enters invariant 1, the mass. NaN passes the test. Block 18. Null body: reported.
 *  @return 1; 0 for a value that is not above 0, after `"Inertia Invariant 1 must be greater than zero"`. */
SBR_API int SBR_SetInvar1(SBR body, double value);

/** Enters invariant 2, the first moment: mass times center, 3 values. Block 19. Null body: reported.
 *  @return 1 or 0. */
SBR_API int SBR_SetInvar2(SBR body, const double *v3);

/** Enters the 3 values of invariant 3 of one mode. Block 20. Null body: reported.
 *  @return 1; 0 also for an unknown mode. */
SBR_API int SBR_SetInvar3(SBR body, int number, const double *v3);

/** Enters the 3 values of invariant 4 of one mode. Block 21. Null body: reported.
 *  @return 1; 0 also for an unknown mode. */
SBR_API int SBR_SetInvar4(SBR body, int number, const double *v3);

/** Enters invariant 5 of a pair of modes; the mirrored pair gets the negatives. Block 22. Null body: reported.
 *
 *  For a mode with itself the negatives remain, and a component above 1e-8 is warned about, though stored:
 *  `"I5(%d, %d) is not zero.\n   (%14.8e, %14.8e, %14.8e)"`.
 *  @param body    the body
 *  @param row     the first mode number
 *  @param column  the second mode number
 *  @param v3      3 doubles
 *  @return 1; 0 also for an unknown mode. */
SBR_API int SBR_SetInvar5(SBR body, int row, int column, const double *v3);

/** Enters invariant 6, the generalized masses of M normalized modes, as SBR_SetGeneralizedMass() would. Block 12. Null
 *  body: reported.
 *  @param body      the body
 *  @param diagonal  M doubles, each exactly 1.0
 *  @return 1, also without modes; 0 at the first value that is not 1.0, after
 *          `"Inertia Invariant 6 must be an identity matrix."`; the entries made before it stay. */
SBR_API int SBR_SetInvar6(SBR body, const double *diagonal);

/** Enters invariant 7, the inertia tensor about the origin. Block 23. Null body: reported.
 *  @param body  the body
 *  @param six   xx, yy, zz, xy, xz, yz of the tensor: its off-diagonals are negative products of inertia
 *  @return 1 or 0. */
SBR_API int SBR_SetInvar7(SBR body, const double *six);

/** Enters the 3 x 3 matrix of invariant 8 of one mode, nine doubles row by row. Block 24. Null body: reported.
 *  @return 1; 0 also for an unknown mode. */
SBR_API int SBR_SetInvar8(SBR body, int number, const double *nine);

/** Enters invariant 9 of a pair of modes; the mirrored pair gets the transpose. Block 25. Null body: reported.
 *
 *  For a mode with itself the upper half ends as a copy of the lower one. An asymmetry above 1e-8 (relative to an entry
 *  above 1) is warned about, with the nine values, though stored: `"I9(%d, %d) is not symmetric.\n ..."`.
 *  @param body    the body
 *  @param row     the first mode number
 *  @param column  the second mode number
 *  @param nine    nine doubles, row by row
 *  @return 1; 0 also for an unknown mode. */
SBR_API int SBR_SetInvar9(SBR body, int row, int column, const double *nine);

/** Enters the global mass properties. Block 5. Null body: reported.
 *
 *  They are compared with invariants 1, 2 and 7, which are worked out for that and so are those of the data present at
 *  this call. Differences above 1e-8 (relative to values above 1) are warned about, and the values stored regardless:
 *  `"Global mass is inconsistent with INVAR1 setting or sum of nodal masses."`,
 *  `"Global center of mass is inconsistent with INVAR2 setting or nodal data."`,
 *  `"Global mass inertia is inconsistent with INVAR7 setting or nodal data."`. When both masses are 0:
 *  `"Global mass is being set to zero."` as an information.
 *  @param body      the body
 *  @param mass      the mass
 *  @param center3   the center of mass, 3 doubles
 *  @param inertia9  the inertia about the origin, nine doubles row by row, with positive products of inertia
 *  @return 1; 0 for a null array. */
SBR_API int SBR_SetGlobalMass(SBR body, double mass, const double *center3, const double *inertia9);

/** Runs SBR_CalculateGlobalMassFromNodeMass() and gives what came out. An output that is null is skipped. Null body:
 *  reported.
 *  @param body      the body
 *  @param mass      the mass
 *  @param inertia9  the inertia about the origin, nine doubles row by row, with positive products of inertia
 *  @param center3   the center of mass, 3 doubles
 *  @return 1; 0, with nothing written, for null. */
SBR_API int SBR_TotalMassInertia(SBR body, double *mass, double *inertia9, double *center3);

/** Replaces the global mass properties by those that invariants 1, 2 and 7 make, without a warning. The center of a
 *  body of mass 0 is the origin. Null body: reported.
 *  @return 1; 0 for null. */
SBR_API int SBR_CalculateGlobalMassFromNodeMass(SBR body);

#ifdef __cplusplus
}
#endif

#endif
