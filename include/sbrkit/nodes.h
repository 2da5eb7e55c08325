/** @file
 *  @brief The node table: IDs, places, masses and inertias.
 *
 *  A node has an ID, the number that the finite-element model gave it, and an index, its place in the table, counted
 *  from 0 in order of first appearance (or of the file). Faces, interface nodes and nodal loads refer to nodes by
 *  index. Nodes are added as they are mentioned; they go only by discarding (discarding.h), and change their IDs only
 *  by renumbering (renumbering.h).
 *
 *  IDs are signed and need not be dense. Two nodes may have one ID, as a file may bring them: look-ups then give one of
 *  them. Looking an ID up costs about the same however large the table is. Coordinates are in length units of the body,
 *  masses in mass units, inertias in mass times length squared. */
#ifndef SBRKIT_SBRKIT_NODES_H
#define SBRKIT_SBRKIT_NODES_H

#include "sbrkit/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Appends a node, without asking whether its ID is known: SBR_LookupOrAddNode() asks. Its mass and coordinates are 0,
 *  and it has no inertia. The node capacity of SBR_Create() is no limit here. Null body: reported.
 *  @return the node index; -1 after the allocation message, with the table as it was. */
SBR_API int SBR_AddNode(SBR body, int id);

/** The node of an ID, appended when there is none. Null body: reported.
 *  @return the node index, or -1 as SBR_AddNode(). */
SBR_API int SBR_LookupOrAddNode(SBR body, int id);

/** The node of an ID. The first look-up sorts the IDs, so that even this changes the handle. Null body: reported.
 *  @return the node index; -1 for an unknown ID, and after the allocation message. */
SBR_API int SBR_NodeIndex(SBR body, int id);

/** The ID of a node. Null body: silent.
 *  @return the ID; 0 for an index outside the table, which is a legal ID too. */
SBR_API int SBR_NodeID(SBR body, int index);

/** The number of nodes. Null body: silent.
 *  @return N; 0 for null. */
SBR_API int SBR_NodeCount(SBR body);

/** The place of a node. Null body: silent.
 *  @param body   the body
 *  @param index  the node index
 *  @param xyz    3 doubles. Zeros for an index outside the table; untouched when there is no table
 *  @return 1; 0 for an index outside, no table, and a null output. */
SBR_API int SBR_NodeCoordinates(SBR body, int index, double *xyz);

/** The places of all nodes, in index order. Null body: silent.
 *  @param body   the body
 *  @param xyz    N x 3 doubles, x, y, z of node after node; null gives the count alone
 *  @param count  N; null is skipped
 *  @return 1; 0, with nothing written, when there is no table. */
SBR_API int SBR_NodeCoordinateList(SBR body, double *xyz, int *count);

/** The mass of a node. Null body: silent.
 *  @return the mass; 0.0 when none was set, and for an index outside the table. */
SBR_API double SBR_NodalMass(SBR body, int index);

/** SBR_NodalMass() and SBR_NodeCoordinates() in one call. Null body: silent.
 *  @param body   the body
 *  @param index  the node index
 *  @param mass   the mass; null is skipped
 *  @param xyz    as for SBR_NodeCoordinates()
 *  @return as SBR_NodeCoordinates(). */
SBR_API int SBR_NodalMassAndGeometry(SBR body, int index, double *mass, double *xyz);

/** The inertia of a node about its own place. Null body: silent.
 *  @param body     the body
 *  @param index    the node index
 *  @param matrix9  the symmetric 3 x 3 matrix, nine doubles row by row
 *  @return 1; 0, with nothing written, for a node without inertia, an index outside the table and a null output. */
SBR_API int SBR_NodalInertia(SBR body, int index, double *matrix9);

/** Exchanges the records (ID, place, mass, inertia) of the nodes with IDs a and b, as the reader does to bring the
 *  table to the order of the mode data. Look-ups keep the indices that they had: afterwards SBR_NodeIndex() of a gives
 *  the index at which b's record stands now, and the other way round. Does nothing, without a message, unless both IDs
 *  are known. Null body: reported. */
SBR_API void SBR_SwapNodesByID(SBR body, int a, int b);

/** The size of a body: the diagonal of the box around the nodes of its faces and the node of index 0. Face entries
 *  outside the table count as the point (0, 0, 0). Worked out at the first call and kept, whatever the faces become; a
 *  size of 0, as of a body without faces, is worked out anew each time. Null body: reported.
 *  @return the length, in length units; 0.0 for null. */
SBR_API double SBR_BodySize(SBR body);

/** Always 0: no body is discrete. Kept for hosts that ask. Null body: silent.
 *  @return 0. */
SBR_API int SBR_DiscreteMethod(SBR body);

/** Always 0: there is one type of flexible body. Kept for hosts that ask. Null body: silent.
 *  @return 0. */
SBR_API int SBR_GetFlexType(SBR body);

/** Compares two elements by their first member, a signed 32-bit number, for qsort() and bsearch().
 *  @return -1, 0 or 1 as a is lower than, equal to or higher than b. */
SBR_API int By_Id(const void *a, const void *b);

#ifdef __cplusplus
}
#endif

#endif
