/** @file
 *  @brief Rigid-body modes: how many there are, and what moves to the principal axes.
 *
 *  The eigensolution of a free body starts with up to six modes of a frequency near zero. A solver does not integrate
 *  them: the body's frame has these six motions. So what was given in modal coordinates (general damping, preload,
 *  loads) is carried, once, onto the six rigid coordinates: translations along x, y, z and rotations about x, y, z
 *  through the origin, which are called the principal axes here. A mark per list says that it stands there, and is
 *  stored in the record. */
#ifndef SBRKIT_SBRKIT_RIGID_MODES_H
#define SBRKIT_SBRKIT_RIGID_MODES_H

#include "sbrkit/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** How many modes are rigid-body modes. Null body: reported.
 *
 *  With 7 modes or more: those of the first six whose signed frequency in hertz is not above a threshold, that of the
 *  environment variable `SBR_RIGID_BODY_THRESHOLD`, or else 0.001 x max(1.0, frequency of the seventh mode). With up to
 *  6 modes the frequencies have to show a gap, and the last one decides: the last position i > 0 at which the first
 *  frequency is below 0.1 and the i-th above 10, or the i-th more than 10000 times the one before.
 *  @return 0 to 6; 0 also when the frequency of the seventh mode is not known, and without a gap. */
SBR_API int SBR_RigidBodyModeCount(SBR body);

/** The participation of modes in the six rigid motions p about the origin: sum m (p . phi) / sum m (phi . phi) over the
 *  nodes, with nodal mass m and translation phi. Magnitudes up to 1e-10 are stored as 0.0. Null body: reported.
 *
 *  Deliberate difference: where there is nothing to divide by, as for a mode without weighted motion or beyond the mode
 *  table, the participation is 0 instead of NaN.
 *  @param body      the body
 *  @param six_rows  six pointers to `count` doubles each: translations x, y, z, rotations x, y, z; a null row fails
 *  @param count     the modes, from index 0 on
 *  @return 1; 0 after the allocation message, also for a body without modes or without nodes. */
SBR_API int SBR_RigidModes2VENTA(SBR body, double **six_rows, int count);

/** Rewrites the generalized damping list, once, on the principal axes: six rigid-body coordinates, then the elastic
 *  modes. The first r rows and columns, r being SBR_RigidBodyModeCount(), are projected with SBR_RigidModes2VENTA().
 *  Entries of magnitude up to 1e-10 are left out. Null body: reported.
 *  @return 1, also when there is no damping or it stands there; 0 after the allocation message, with the list as it
 *          was. */
SBR_API int SBR_DampingOnPrincipalAxes(SBR body);

/** The damping matrix on the six rigid-body coordinates and some modes. Carries the damping to the principal axes
 *  first.
 *
 *  A selected rigid-body mode is warned about and stays zero:
 *  `"Ignoring damping on requested mode %d because it is a rigid body mode.\n"`. A stiffness or mass list with entries
 *  off the diagonal is warned about, and the damping list then taken as one of the modes behind six rigid ones:
 *  `"Stiffness or mass matrix has off-diagonal terms then the damping matrix will assume the first 6 modes are rigid
 *  body modes."` Null body: reported.
 *  @param body      the body
 *  @param rows      s + 6 pointers to s + 6 doubles each, zeroed first: the rigid coordinates, then selected[0] and on
 *  @param s         how many modes
 *  @param selected  their numbers, ascending
 *  @return 1; 0, with zeros, without damping or memory; 0, with nothing written, for null rows. */
SBR_API int SBR_GenDampPrincipalAndSelected(SBR body, double **rows, int s, const int *selected);

/** Carries the modal preload and each modal load, once, to the principal axes: the entries of the r rigid-body modes
 *  become force and moment about the origin. Null body: reported.
 *
 *  With nodal masses by mass-weighted sums: force sum f_i m phi_i / g_i, moment sum f_i m (r x phi_i) / g_i, g_i being
 *  the generalized mass of rigid mode i. The first six entries are written whatever r is. Without nodal masses, or with
 *  `KTX_MFORCE_NO_FEA_MASS` in the environment, each rigid mode is fitted with a rigid motion by least squares and
 *  weighted with the global mass properties; the first r entries are written. Magnitudes up to 1e-10 become 0.0.
 *
 *  The fit takes the mode of the node's own record: row k of the mode with the place of node k. That is right also for
 *  a file whose mode block lists the nodes in another order than its node block; a look-up by ID would pair the wrong
 *  nodes there.
 *
 *  Warns of each rigid entry of a preload,
 *  `"SBR contains a preload with a rigid body component which is being ignored"`, and of loads with r below 6,
 *  `"SBR only contains %d rigid body modes.\n  The resultant load vector will be mishandled.\n"`. A projection that
 *  fails reports `"LU Decomposition failed.\n"`, `"Failed in invert matrix.\n"` or the allocation message and leaves
 *  its vector as it was, marked as carried all the same. */
SBR_API void SBR_RigidBodyForcesOnPrincipalAxes(SBR body);

#ifdef __cplusplus
}
#endif

#endif
