/** @file
 *  @brief Node search: the node closest to a point, the closest few, and all within a radius.
 *
 *  Candidates are all nodes, or the interface nodes alone; they are looked at in table order, and distances are
 *  compared by their squares. Of candidates at the same distance SBR_ClosestNode() and SBR_ClosestNodes() prefer the
 *  first, SBR_ClosestNodesInNeighborhood() the last: on purpose. Points are 3 doubles in length units. After some
 *  searches over all nodes of a large body SBR_ClosestNode() makes an index over them, which moves and new nodes drop
 *  again. */
#ifndef SBRKIT_SBRKIT_NODE_SEARCH_H
#define SBRKIT_SBRKIT_NODE_SEARCH_H

#include "sbrkit/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** The node closest to a point. Null body: reported.
 *  @param body            the body
 *  @param point3          the point; null gives -1
 *  @param interface_only  not 0: the interface nodes alone, if there are any, else all nodes
 *  @return the node index; -1 without nodes. */
SBR_API int SBR_ClosestNode(SBR body, const double *point3, int interface_only);

/** The nodes closest to a point, nearest first; of equal distances the earlier candidate first. Null body: reported.
 *  @param body            the body
 *  @param point3          the point; null gives none
 *  @param how_many        the most nodes to give; a negative number gets the allocation message
 *  @param interface_only  not 0: the interface nodes alone, also when there are none
 *  @param count           how many were found; may be null
 *  @return a new array of *count node indices; null, with *count 0, when there are none, silently, and after the
 *          allocation message. */
SBR_API int *SBR_ClosestNodes(SBR body, const double *point3, int how_many, int interface_only, int *count);

/** The nodes within a radius of a point, nearest first; of equal distances the later candidate first. Nodes on the rim,
 *  at exactly the radius, count. Null body: reported.
 *  @param body            the body
 *  @param point3          the point; null gives none
 *  @param radius          the radius, of either sign
 *  @param interface_only  not 0: the interface nodes alone, also when there are none
 *  @param count           how many were found; may be null
 *  @return a new array of *count node indices; null, with *count 0, when there are none, silently, and after the
 *          allocation message. */
SBR_API int *SBR_ClosestNodesInNeighborhood(SBR body, const double *point3, double radius, int interface_only,
                                            int *count);

#ifdef __cplusplus
}
#endif

#endif
