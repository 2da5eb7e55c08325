/** @file
 *  @brief Discarding nodes: what no face, interface node or nodal load refers to leaves the body.
 *
 *  A keep list holds the indices of the nodes that stay, ascending and without repeats. Faces, interface nodes and
 *  nodal loads are renumbered to it, and mode shapes, stresses, strains and pre-vectors rewritten for the nodes that
 *  stay, in new temporary files in the directory of `TMP`. Monitor points and matrix operators stay as they are. */
#ifndef SBRKIT_SBRKIT_DISCARDING_H
#define SBRKIT_SBRKIT_DISCARDING_H

#include "sbrkit/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** The keep list of a body: the nodes of its faces, its interface nodes and, unless the environment variable
 *  `KTX_SBRWRITE_OPTIONS` contains "optimize_mforce_nodes", those of its nodal loads. Null body: reported.
 *
 *  The list is made once and kept until SBR_DiscardUnreferencedNodes(), whatever the faces become in between. An
 *  interface node with an ID of 0 or less keeps node index 0 in its place.
 *  @param body   the body
 *  @param count  how many; may be null
 *  @return a new array of *count node indices. Null, with *count 0, after `"Missing element face information."` (a
 *          warning) or the allocation message, which a body without anything to keep gets too. */
SBR_API int *SBR_GeometryNodes(SBR body, int *count);

/** Shrinks the node table to the list of SBR_GeometryNodes(), and with it all that refers to nodes. Null body:
 *  reported.
 *
 *  A kind of mode data that loses all its nodes is eliminated with a warning,
 *  `"All the nodes referenced in Stress Mode have been removed. Stress Mode data is eliminated."`, likewise for
 *  "Pre-Stress", "Strain Mode" and "Pre-Strain". Pre-vectors without modal stress or strain of their kind move along. A
 *  keep list that was made before the faces changed, so that a face or interface node is not in it, is refused with a
 *  report: no record ever gets an index outside its node table.
 *  @return 1, also when there is no keep list. 0 after a report, with the body as it was; a body without modes is such
 *          a failure (`"No Mode Shape Data found in this SBR file. \n"`, a warning). */
SBR_API int SBR_DiscardUnreferencedNodes(SBR body);

/** Rewrites the mode data of a kind for the nodes of a keep list, in its order; the node table and the kind's node list
 *  stay, so that this is one step of SBR_DiscardUnreferencedNodes(), not an operation for itself. Null body: reported.
 *
 *  Stored values stay in the units of the record. Row k of the kind's pre-vector becomes the row of the k-th kept node;
 *  rows without a source stay. Tells `" Shortened %s mode file: %s\n"`.
 *  @param body        the body
 *  @param keep        node indices; null gives 1 and does nothing
 *  @param keep_count  how many
 *  @param kind        0 to 2; another gives 0
 *  @return 1; 0, with the old store in use, after the allocation message, a body without modes
 *          (`"No Mode Shape Data found in this SBR file. \n"`, a warning), `"Unable to open %s for write. ..."`, or
 *          `"Insufficient disk space for file %s.  Specify different temporary\nfile directory by setting the %s
 *          environment variable"`, which a mode that cannot be fetched gets too. */
SBR_API int SBR_ShortenModeFile(SBR body, const int *keep, int keep_count, int kind);

/** Drops the nodal loads on nodes that a keep list does not hold, and renumbers the others to their place in it. The
 *  node table stays. Null body: reported.
 *  @param body        the body
 *  @param keep        node indices; null gives 1 and does nothing
 *  @param keep_count  how many
 *  @return 1; 0 for a null body. */
SBR_API int SBR_CompactModalLoadNodal(SBR body, const int *keep, int keep_count);

#ifdef __cplusplus
}
#endif

#endif
