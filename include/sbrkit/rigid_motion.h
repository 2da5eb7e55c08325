/** @file
 *  @brief Rigid motion: a body translated, turned or mirrored with all that depends on its frame.
 *
 *  Coordinates, nodal inertias, global properties, mode shapes, modal stress and strain, their pre-vectors and those
 *  invariants whose block exists go along. Faces (a mirrored body keeps their winding), generalized matrices, monitor
 *  points, matrix operators and loads stay as they are. Mode data is rewritten to new temporary files in the directory
 *  of `TMP`, mode by mode.
 *
 *  Conventions: a 3 x 3 matrix R is nine doubles, row by row. A vector v moves as a row, v' = v R, so that x' = R[0] x
 *  + R[3] y + R[6] z; a tensor moves as R^T T R. Mode rotations and invariants 4 and 5 are axial: they also take the
 *  sign of d = R[0] (R[4] R[8] - R[5] R[7]) - R[3] (R[1] R[8] - R[2] R[6]) + R[6] (R[1] R[5] - R[2] R[4]). That is not
 *  quite the determinant (its middle term has R[6] where that has R[7]) and is meant as it stands: about one rotation
 *  in a hundred has a negative d, and changes the sign of axial quantities. The global inertia is transformed with its
 *  positive products of inertia, as stored.
 *
 *  Directions without length and numbers that are not finite are refused before anything moves:
 *  `"The direction of a translation must be a finite vector other than zero."`, likewise `"The axis of a rotation ..."`
 *  and `"The normal of a mirror plane ..."`; `"The distance of a translation must be finite."`,
 *  `"The angle of a rotation must be finite."`. A failure later leaves done what was done. Mode data that cannot be
 *  rewritten is reported and stays as it was, while the rest goes on. */
#ifndef SBRKIT_SBRKIT_RIGID_MOTION_H
#define SBRKIT_SBRKIT_RIGID_MOTION_H

#include "sbrkit/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Moves a body. Null body: reported.
 *
 *  The global mass properties are replaced by those of the invariants first (SBR_CalculateGlobalMassFromNodeMass()),
 *  and their inertia moved by the parallel-axis rule. Invariants 2, 4, 7 and 8 follow when their block exists; 1, 3, 5,
 *  6 and 9 do not depend on the origin.
 *  @param body        the body
 *  @param direction3  3 doubles of any length but 0; null is refused
 *  @param distance    how far, in length units
 *  @return 1. 0 when refused; 0, with the nodes moved, when an invariant cannot follow: `"Can not Compute Invar2.\n"`,
 *          `"Can not compute Invar4. \nInvar3 or Nodal Mass inforamtion is needed to compute Invar4."`,
 *          `"Can not Compute Invar7.\n"`, `"Can not compute Invar8. \nInvar3 is needed to compute Invar8."`. */
SBR_API int SBR_Translate(SBR body, const double *direction3, double distance);

/** Turns a body about an axis through a point, right-handed. Null body: reported.
 *  @param body           the body
 *  @param axis3          3 doubles of any length but 0; null is refused
 *  @param point3         3 doubles; null and values that are not finite fail silently
 *  @param angle_degrees  the angle
 *  @return 1; 0 when refused, or when the translation that keeps the point fails as SBR_Translate(). */
SBR_API int SBR_Rotate(SBR body, const double *axis3, const double *point3, double angle_degrees);

/** Turns the frame about an axis through the origin, right-handed, so that the body turns by minus the angle. Null
 *  body: reported.
 *  @param body           the body
 *  @param axis3          3 doubles of any length but 0; null is refused
 *  @param angle_degrees  the angle
 *  @param R9             the matrix that was applied, nine doubles; null is skipped
 *  @return 1; 0 when refused, with R9 untouched. */
SBR_API int SBR_Rotate_Origin(SBR body, const double *axis3, double angle_degrees, double *R9);

/** Reflects a body in a plane through a point. Null body: reported.
 *  @param body     the body
 *  @param normal3  3 doubles of any length but 0; null is refused
 *  @param point3   3 doubles; null and values that are not finite fail silently
 *  @return 1; 0 when refused, or when the translation that keeps the plane fails as SBR_Translate(). */
SBR_API int SBR_Mirror(SBR body, const double *normal3, const double *point3);

/** Reflects a body in a plane through the origin. Null body: reported.
 *  @param body     the body
 *  @param normal3  3 doubles of any length but 0; null is refused
 *  @return 1; 0 when refused. */
SBR_API int SBR_Mirror_Origin(SBR body, const double *normal3);

/** c := a b.
 *  @param a9  nine doubles
 *  @param b9  nine doubles
 *  @param c9  nine doubles, which may be a9 or b9. Null arrays do nothing */
SBR_API void Matrix_Multiply(const double *a9, const double *b9, double *c9);

/** T := R^T T R.
 *  @param T9    nine doubles, in place
 *  @param R9    nine doubles, other than T9
 *  @param sign  -1 negates the result; any other value does not. Null arrays do nothing */
SBR_API void Tensor_Transform(double *T9, const double *R9, int sign);

/** v := sign (v R).
 *  @param v3    3 doubles, in place
 *  @param R9    nine doubles
 *  @param sign  the factor. Null arrays do nothing */
SBR_API void Vector_Transform(double *v3, const double *R9, int sign);

/** a := a + b.
 *  @param a3  3 doubles, in place
 *  @param b3  3 doubles. Null arrays do nothing */
SBR_API void Move_Vector(double *a3, const double *b3);

#ifdef __cplusplus
}
#endif

#endif
