/** @file
 *  @brief Renumbering of nodes, and a body in another frame and mode basis.
 *
 *  Node IDs change in place; indices, and with them faces, interface nodes and nodal loads, do not. */
#ifndef SBRKIT_SBRKIT_RENUMBERING_H
#define SBRKIT_SBRKIT_RENUMBERING_H

#include "sbrkit/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Adds an offset to the ID of every node, in the node table and in the node lists of all kinds. Null body: reported.
 *  @return 1; 0, silently and with nothing changed, when an ID would fall below 1 or outside 32 bits. */
SBR_API int SBR_RenumberNodes(SBR body, int offset);

/** Gives the i-th interface node the i-th ID, in order. A node that has the ID already exchanges it with the interface
 *  node. Each step sees the IDs as the steps before left them. Null body: reported.
 *  @param body   the body
 *  @param count  how many IDs. More than there are interface nodes are warned about and not used:
 *                `"Too many interface ID are given. Only the first %d will be used.\n"`
 *  @param ids    the new node IDs
 *  @return 1, also for a count below 1; 0 for null IDs. */
SBR_API int SBR_RenumberInterfaceNodes(SBR body, int count, const int *ids);

/** Expresses a body in another frame and mode basis. Null body: reported.
 *
 *  In this order: masses and nodal inertias times mass_scale; mode data through SBR_TransformModes() with the present
 *  mode count, then turned; the global center of mass and all places moved by minus the origin, then turned; the mode
 *  count. A place x becomes R (x - origin). The turn is skipped when the diagonal of R is all ones. No invariant,
 *  global inertia or generalized matrix is touched: what is out of date then has to be dropped (SBR_PreprocessBAPSBR())
 *  or worked out anew. Mode data that cannot be rewritten is reported and stays, while the rest goes on.
 *  @param body                 the body
 *  @param origin3              the new origin, 3 doubles in the present frame
 *  @param new_mode_count       the mode count from then on, not negative. Modes beyond those that exist have no number
 *                              and no data, and take no memory
 *  @param mass_scale           the factor on masses and inertias
 *  @param mode_transformation  M x M doubles as for SBR_TransformModes(); null leaves the modes
 *  @param rotation9            R, nine doubles row by row
 *  @return 1; 0, with nothing changed, for a null origin or rotation and a negative count. */
SBR_API int SBR_PermuteSBR(SBR body, const double *origin3, int new_mode_count, double mass_scale,
                           const double *mode_transformation, const double *rotation9);

/** Drops what SBR_PermuteSBR() leaves out of date: the eigenvalue table, the lists of generalized stiffness, mass and
 *  damping, the transformation, the mark of modes that are not orthogonal, and the block of nodal masses. The masses
 *  stay with their nodes; the block just no longer counts as existing. Null body: reported.
 *  @return 1; 0 for null. */
SBR_API int SBR_PreprocessBAPSBR(SBR body);

#ifdef __cplusplus
}
#endif

#endif
