/** @file
 *  @brief Orthonormal modes: the eigenproblem, and carrying everything modal into the new basis.
 *
 *  A solver needs modes of unit generalized mass and diagonal generalized stiffness. Two marks of a body say what is to
 *  be done: an entry off the diagonal of stiffness or mass (the modes are not orthogonal), and a generalized mass other
 *  than 1 or SBR_SetShouldMassNormalizeModes() (they are not normalized).
 *
 *  Old modes i and new modes j meet in a matrix T, M x M doubles row by row: T(i, j) is the weight of old mode i in new
 *  mode j. Rewritten mode data lies in new temporary files, in the directory of `TMP`; the record that the body was
 *  read from is not touched. The marker 1.2345e20 stands for an eigenvalue that does not exist. */
#ifndef SBRKIT_SBRKIT_ORTHONORMALIZATION_H
#define SBRKIT_SBRKIT_ORTHONORMALIZATION_H

#include "sbrkit/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Brings the modes to unit generalized mass and diagonal stiffness, and carries mode shapes, stresses, strains, loads,
 *  preload, damping and monitor points over. SBR_write_SBR() does it unless told not to. Null body: reported.
 *
 *  Modes that are not orthogonal: solves K x = lambda M x by QZ (linear_algebra.h), sorts, prints the eigenvalues
 *  through SBR_Info(), and orthonormalizes the vectors against M by Gram-Schmidt. Otherwise T is the identity. Either
 *  is scaled by the roots of the generalized masses. Modes from the first infinite eigenvalue on are dropped, with a
 *  warning (`"Mode %d is not physically meaningful\nIt contains an infinite eigenvalue.  Ignoring this mode.\n"`), and
 *  what depends on the mode count shrinks with them. Modes are numbered from 1; the eigenvalue table takes the place of
 *  the lists of generalized mass and stiffness. A load that was entered before later modes counts 0 there. The entries
 *  of a load or preload on principal axes stay as far as they are rigid.
 *
 *  Two deliberate differences to what the order of the steps would literally give. On a second call the stiffness comes
 *  from the table of the first, where the literal order would take it from an empty table and zero it. And where modes
 *  were dropped, the transformation made anew as an identity of lower order keeps rows of that order, instead of being
 *  misread with the row length before.
 *  @return 1, also when there is nothing to do: a transformation is there, and no mark set. 0 without modes, silently;
 *          0 after the allocation message, with the body unchanged, or when SBR_TransformModes() fails; the eigenvalue
 *          table and the mode shapes agree in any case. */
SBR_API int SBR_OrthoNormalize(SBR body);

/** Rewrites one kind of mode data in another basis. Null body: reported; with a null matrix nothing is looked at.
 *
 *  With modes that are not orthogonal, new mode j is the sum over old modes i ascending of T(i, j) x mode i, zero
 *  weights left out; otherwise it is T(j, j) x mode j, where a weight of zero repeats the mode before (zeros for the
 *  first). Deliberate difference: the rewritten values stay in the units of the record, as everything stored, so that
 *  reading them brings them to the body's units once, not twice. A mode that cannot be read to its end is reported as
 *  SBR_Mode() does, and what arrived counts. Memory does not grow with the node count. Progress goes to
 *  SBR_TimeMonitor() unless `KTX_NO_TIME_MONITOR_STAMP` is in the environment.
 *  @param body       the body
 *  @param kind       0 to 2; another gives 0
 *  @param new_count  how many modes to make: 0 to M
 *  @param matrix     T, M x M doubles row by row; null gives 1 at once
 *  @return 1. 0, with the old store in use, after `"Cannot make %d modes out of the %d modes of the body.\n"`,
 *          `"Unable to open %s for write.  Specify different temporary file directory by\nsetting ..."`,
 *          `"Failed to extract mode information for SBR.\n"`, the allocation message, or
 *          `"Insufficient disk space for file %s.  Specify different temporary\nfile directory ..."`. */
SBR_API int SBR_TransformModes(SBR body, int kind, int new_count, const double *matrix);

/** Multiplies every row of the monitor points' operators by the matrix from the right; of load operators those of as
 *  many load cases as the body has modal ones. Null body: reported.
 *  @param body    the body
 *  @param matrix  T, M x M doubles row by row; null gives 1 and does nothing
 *  @return 1; 0 after the allocation message. */
SBR_API int SBR_TransformMonitorPoints(SBR body, const double *matrix);

/** Enters the generalized masses between two groups of modes, worked out from nodal masses and inertias: sum m (phi_i .
 *  phi_j) + (I theta_i) . theta_j over the nodes, for (i, j) and for (j, i). That marks the modes as not orthogonal, so
 *  that the next SBR_OrthoNormalize() solves the full problem. Null body: reported.
 *
 *  Reports `"Mode count mismatch while generating additional generalized masses."` when the counts do not add up to M,
 *  and `"Failed to extract mode information for SBR.\n"` when a mode is not there; what was entered before stays.
 *  @param body         the body
 *  @param first_count  the first group: modes numbered 1 to first_count
 *  @param extra_count  the second group: the modes numbered after them */
SBR_API void SBR_AnsysAddGenMass(SBR body, int first_count, int extra_count);

/** Makes the eigenvalue table from diagonal generalized matrices when there is none, numbers the modes from 1 and drops
 *  the lists of mass and stiffness. Null body: reported.
 *
 *  A mode with a mass of at most 1e-15 gets the marker, and the warning
 *  `"Mode %d is not physically meaningful.\nIt is associated with a zero generalized mass\n"`. A mode whose matrices
 *  are not diagonal counts as one without mass, after `"Attempting to look at eigenvalues of non-orthogonal data"`.
 *  Frequencies are those of SBR_Eigenvalue().
 *  @return 1, also when the table is there; 0 after the allocation message, which a body without modes gets too. */
SBR_API int SBR_EnsureEigenTable(SBR body);

/** The factors by which the modes have to be divided to have unit generalized mass: the roots of the generalized masses
 *  in the eigenvalue table. Rows with a mass other than 0 then hold the mass 1 and their eigenvalue as stiffness, so
 *  that a second call gives 1.0 throughout. Null body: reported.
 *  @param body   the body
 *  @param scale  a new array of M doubles; 1.0 for a mass of 0 or a missing row, NaN for a negative mass. Null on
 *                failure
 *  @return 1; 0 for a null output, and after the allocation message, which a body without modes gets too. */
SBR_API int SBR_MassNormalizationScales(SBR body, double **scale);

#ifdef __cplusplus
}
#endif

#endif
