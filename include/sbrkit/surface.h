/** @file
 *  @brief The surface: coarsening, stripping, sketching and the free edges of the face list.
 *
 *  Faces serve display and contact. Coming from a finite-element mesh they can be far finer than a solver needs, and
 *  solid elements bring faces inside the body. The face list is flat: per face its vertex count and then that many node
 *  indices; coarsened faces have any number of vertices. A write runs these steps on request (write.h); nodes that no
 *  longer occur in a face leave the body by discarding (discarding.h). */
#ifndef SBRKIT_SBRKIT_SURFACE_H
#define SBRKIT_SBRKIT_SURFACE_H

#include "sbrkit/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Coarsens the faces: wherever a node sits in a small and nearly flat neighbourhood, the faces around it become one
 *  polygon, and the node leaves the surface (not the node table). Null body: reported.
 *
 *  Interface nodes always stay. A node goes when it has two faces or more, every vertex of its faces that may still go
 *  lies within resolution x diagonal of the box of all nodes, its faces are parallel to the first of them within the
 *  angle (flipped ones count as parallel), and they can be walked edge by edge. With the co-linear flag, vertices
 *  between two short sides that are within 10 degrees of straight are dropped then. Tells
 *  `"Coarsening to resolution %d%%%% with face-angle %5.2lf deg"`, the nodes that stay, and
 *  `"\nFace reduction from %d to %d"`. Progress goes to SBR_TimeMonitor(). The faces count as coarsened afterwards.
 *
 *  A body without faces or nodes, or short memory for the tables, reports
 *  `"Problem encountered while trimming geometry\n"` and stays as it is.
 *  @param body     the body
 *  @param options  resolution (a fraction of the diagonal), face angle in degrees, co-linear flag, IDs of nodes to
 *                  preserve, then any text; one character of any kind between two items, numbers with a decimal point.
 *                  The IDs end at an item that reads as 0. With "preserve_str" in the rest the nodes of stress and
 *                  strain stay. Example: `"0.02,10,1,1001,1002,preserve_str"`. A resolution outside (0, 0.5] becomes
 *                  0.02, an angle outside (0, 45] becomes 10, with a warning each. Null does nothing */
SBR_API void SBR_TrimGeometry(SBR body, const char *options);

/** Whether the faces count as coarsened: trimmed, sketched, read from a record that says so, or with a face of more
 *  than four vertices. Once 1, it stays 1. Null body: reported.
 *  @return 1 or 0. */
SBR_API int SBR_IsCoarsened(SBR body);

/** Removes the faces that two elements share: of two polygons with the same vertices in opposite windings both go, of
 *  copies with the same winding the last stays. Null body: reported.
 *
 *  The list is left ordered by vertex count and nodes, each face turned to its largest node index, with its own
 *  winding. Runs once per body; a second call does nothing. Tells `" Stripping interior faces\n"`. An empty face list
 *  gets the allocation message, and memory that is short leaves the faces as they are after it. */
SBR_API void SBR_StripCommonFaces(SBR body);

/** Replaces the face list by that of a text file: the number of faces, then per face its vertex count and that many
 *  node IDs, with any white space between. Block 13; the faces count as coarsened afterwards. A count of faces below 1
 *  gives an empty list. Null body: reported.
 *
 *  Deliberate difference: a vertex count that is negative, a number beyond 32 bits, and counts that no list can hold
 *  are refused instead of being followed. Everything that is refused is warned about, and the faces stay:
 *  `"Failed to apply sketch file.  Usage: sketch(filename)"` for null, `"Failed to open sketch file %s"`,
 *  `"Sketch file %s does not start with a face count"`, `"Incorrect definition of face %d.  Aborting."`,
 *  `"Incorrect definition of face %d.  No node %d. Aborting."`.
 *  @param body  the body
 *  @param path  the file */
SBR_API void SBR_SketchGrid(SBR body, const char *path);

/** Strips shared faces and discards nodes that nothing refers to any more, unless faces were stripped before, in
 *  whatever way: then nothing is done, and nothing discarded. Tells `"\n Remove internal geometry of SBR\n"`. Null
 *  body: reported.
 *  @return 1 when internal geometry is removed; 0 when stripping failed, as for a body without faces. */
SBR_API int SBR_RemoveInternalGeometry(SBR body);

/** The body of a record file with internal geometry removed (SBR_RemoveInternalGeometry()). Such bodies are shared by
 *  file name among themselves, apart from those that SBR_CreateFromSBR() gives for the same files.
 *  @param file_name  the path; null gives null
 *  @return the body, to be let go by SBR_DeReference(); null when the file cannot be opened or read, as
 *          SBR_CreateFromSBR(). */
SBR_API SBR SBR_CreateFromSBR_SurfaceMesh(const char *file_name);

/** Finds the free edges of the surface, those that one face side uses, as chains of node IDs, in place of those found
 *  before. Null body: reported.
 *
 *  Removes internal geometry first (SBR_RemoveInternalGeometry()), which changes the body: inner faces would give rims
 *  of their own. A chain ends where a rim ends or branches; the first and last ID of a closed rim are equal. Faces of
 *  fewer than three vertices have no edges. When memory is short the chains stay as they were, without a report.
 *  free_edges.hpp gives the same search to C++ callers for any face list. */
SBR_API void SBR_GenerateFreeEdges(SBR body);

/** How many chains there are. The first call generates them; later changes of the faces do not refresh them. Null body:
 *  reported.
 *  @return the number; -1 when memory was too short to generate them; 0 for null. */
SBR_API int SBR_GetFreeEdgeCount(SBR body);

/** How many node IDs a chain has. Generates the chains if need be. Null body: reported.
 *  @param body   the body
 *  @param chain  its place, from 0
 *  @return the number; 0 for a chain that does not exist. */
SBR_API int SBR_GetFreeEdgeSize(SBR body, int chain);

/** Copies the node IDs of a chain. Does not generate the chains: ask for their count first. Null body: reported.
 *  @param body   the body
 *  @param chain  its place, from 0
 *  @param ids    SBR_GetFreeEdgeSize() ints; null gives the number alone
 *  @return how many IDs the chain has; 0 for one that does not exist or was not generated. */
SBR_API int SBR_GetFreeEdge(SBR body, int chain, int *ids);

#ifdef __cplusplus
}
#endif

#endif
