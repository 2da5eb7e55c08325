/** @file
 *  @brief Inertia invariants: the mass data of a flexible body that a multibody solver needs.
 *
 *  From these sums over the nodes a solver assembles the mass matrix of the body at any modal state (A. A. Shabana,
 *  Dynamics of Multibody Systems, inertia shape integrals). With mass m, place r and nodal inertia I of a node,
 *  translation phi_j and rotation theta_j of mode j there, and ~a the matrix with ~a b = a x b:
 *
 *  | invariant | sum over the nodes | shape | unit | block |
 *  |---|---|---|---|---|
 *  | 1 | m | 1 value | mass | 18 |
 *  | 2 | m r | 3 values | mass length | 19 |
 *  | 3 | m phi_j | 3 x M, component-major | mass length | 20 |
 *  | 4 | m r x phi_j + I theta_j | 3 x M, component-major | mass length^2 | 21 |
 *  | 5 | m phi_j x phi_k | per mode j 3 x M, component-major in k | mass length^2 | 22 |
 *  | 6 | the generalized mass matrix | M x M | mass length^2 | none |
 *  | 7 | -m ~r ~r + I | 3 x 3 | mass length^2 | 23 |
 *  | 8 | m ~r ~phi_j | per mode 3 x 3 | mass length^2 | 24 |
 *  | 9 | m ~phi_j ~phi_k | per pair of modes 3 x 3 | mass length^2 | 25 |
 *
 *  Each is worked out once per body and kept: from its block of the record, else from the nodes if there are nodal
 *  masses (8, 5 and 9 from the nodes in any case), else (1, 2 and 7) from the global mass properties, else zeros. What
 *  was entered by hand counts as kept (invariant_entry.h). Sums take the nodes in index order. A block of another mode
 *  count reports `"nm!=ModeCount at line %d in file %s"` and is read as one of M modes; in a block that ends with the
 *  file, the places that were not read are zero, and so they are, after `"Problem reading Invariant %d"`, when the file
 *  has them and cannot be read.
 *
 *  Mode arguments are indices, not numbers. Arrays are new, for SBR_FreeMemory(). A null result without a message means
 *  no modes, or an index out of range; memory that ran short is reported with the allocation message. A body without
 *  nodes cannot form the sums of 3, 4 and 8 and reports it so too; those of 5 and 9 it just cannot form. */
#ifndef SBRKIT_SBRKIT_INVARIANTS_H
#define SBRKIT_SBRKIT_INVARIANTS_H

#include "sbrkit/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Invariant 1, the mass. Null body: reported.
 *  @return the mass; 0.0 after the allocation message. */
SBR_API double SBR_Invar1(SBR body);

/** Invariant 2, the first moment of mass. Null body: reported.
 *  @return a new array of 3 doubles, or null. */
SBR_API double *SBR_Invar2(SBR body);

/** Invariant 3. Null body: reported.
 *  @return a new array of 3 x M doubles, component-major, or null. */
SBR_API double *SBR_Invar3(SBR body);

/** Invariant 4. Null body: reported.
 *  @return a new array of 3 x M doubles, component-major, or null. */
SBR_API double *SBR_Invar4(SBR body);

/** Invariant 5 of mode j with all modes. 5 and 9 are worked out together: when one of them has no block, both come from
 *  the nodes and replace what either held. Costs about M^2 / 2 readings of a mode. Null body: reported.
 *  @return a new array of 3 x M doubles, component-major in the other mode, or null. */
SBR_API double *SBR_Invar5(SBR body, int j);

/** Invariant 6: the generalized mass matrix as SBR_GenMassFull() gives it, made anew at every call. Null body:
 *  reported.
 *  @return a new array of M x M doubles, row by row, or null. */
SBR_API double *SBR_Invar6(SBR body);

/** Invariant 7, the inertia tensor about the origin: its off-diagonals are negative products of inertia. Null body:
 *  reported.
 *  @return a new array of nine doubles, or null. */
SBR_API double *SBR_Invar7(SBR body);

/** Invariant 8 of mode j. Null body: reported.
 *  @return a new array of nine doubles, or null. */
SBR_API double *SBR_Invar8(SBR body, int j);

/** Invariant 9 of modes j and k; that of k and j is its transpose. Worked out together with invariant 5 (SBR_Invar5()).
 *  Null body: reported.
 *  @return a new array of nine doubles, or null. */
SBR_API double *SBR_Invar9(SBR body, int j, int k);

/** Makes invariants 1, 2, 3, 4, 6, 7 and 8. Null body: reported.
 *
 *  Tells `"Computing fast set of invariants"`. When neither what is kept nor the blocks nor nodal masses with modes
 *  suffice, reports `"There is insufficient mass data to compute a partial set of mass invariants.\nSome or all mass
 *  invariants will be set to zero."` and goes on. */
SBR_API void SBR_FastComputeInvars(SBR body);

/** Makes all nine invariants. Null body: reported.
 *
 *  Tells `"Computing *all* invariants"`. When neither what is kept nor the blocks nor nodal masses with modes suffice,
 *  reports `"There is insufficient mass data to compute a full set of mass invariants.\nSome or all mass invariants
 *  will be set to zero."` and goes on. */
SBR_API void SBR_FullComputeInvars(SBR body);

/** Makes invariants 1, 2, 3 and 7; 3 only for a body with modes. Null body: reported.
 *
 *  Tells `"Computing *rigid* invariants"`. When neither what is kept nor the blocks nor nodal masses suffice for 1, 2
 *  and 7, reports the words of SBR_FullComputeInvars() and goes on. */
SBR_API void SBR_RigidComputeInvars(SBR body);

/** Adds s ~a ~b, which is s (b a^T - (a . b) E), to a 3 x 3 matrix.
 *  @param T9  the matrix, nine doubles row by row
 *  @param s   the factor
 *  @param a3  the first vector
 *  @param b3  the second vector. Null arrays do nothing */
SBR_API void incr_scalar_tilde_tilde(double *T9, double s, const double *a3, const double *b3);

/** Adds s a x b to a vector.
 *  @param v3  the vector
 *  @param s   the factor
 *  @param a3  the first vector
 *  @param b3  the second vector. Null arrays do nothing */
SBR_API void incr_scalar_tilde_vec(double *v3, double s, const double *a3, const double *b3);

#ifdef __cplusplus
}
#endif

#endif
