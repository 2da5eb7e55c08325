// The working mesh of coarsening and the routines that act on it. sbrcoarse owns the run; sbrcoarsemerge fuses the
// faces around one node, sbrcoarseprune cuts loops out of what was fused, sbrcoarsesurface thins and rewrites the
// finished polygons.
//
// A slot of either table can be empty: the item is then out of play. Here an empty slot is a cleared flag.
#ifndef SBRKIT_SURFACE_COARSEN_H
#define SBRKIT_SURFACE_COARSEN_H

#include <span>

#include "body/body.h"

namespace sbr {

// Coarsens the faces under the options of SBR_TrimGeometry.
void trim_geometry(SbrBody &body, const char *options) noexcept;

}  // namespace sbr

namespace sbr::coarse {

struct Face {
  std::int32_t *nodes;    // node indices in order around the polygon, inside Mesh::pool or a chunk of it
  std::int32_t count;     // vertices in the polygon
  std::int32_t capacity;  // room behind `nodes`
  std::int32_t box;       // place in Mesh::boxes plus 1; 0 for an original face
  double normal[3];       // unit normal, or zero
  std::int32_t far;       // a position found too far from a node before: the first to look at
  bool present;           // false: the slot is empty
  bool distinct;          // no node is known to stand twice in a fused polygon
  bool reversed;          // during the attempts at a node: positions 1 to count - 1 are to be read backwards
};

// A box that holds the vertices in play of a fused polygon; it may be larger than they need.
struct Box {
  double low[3];
  double high[3];
};

struct Node {
  double x, y, z;
  std::int32_t first;  // where the node's face list starts in Mesh::incidence
  std::int32_t count;  // faces in the list
  bool in_play;        // false: the slot is empty (no face, preserved, or removed)
};

// An end of a face seen from the node it was rotated to: the vertex next to the node on one side.
struct FanEnd {
  std::int32_t vertex;
  std::int32_t place;  // of the face in the node's list
};

struct Mesh {
  Array<Face> faces;
  Array<Node> nodes;
  Array<std::int32_t> incidence;          // the face lists of all nodes, one behind the other
  Array<std::int32_t> merged_into;        // per face slot the slot that took its faces over; itself when none did
  Array<std::int32_t> pool;               // the vertices of the original faces
  OwnedList<Array<std::int32_t>> chunks;  // further room for polygons
  std::size_t chunk_used = 0;             // of the last chunk
  Array<Box> boxes;                       // of the fused polygons

  // Scratch, kept between nodes.
  Array<std::int32_t> polygon;  // the fused polygon
  Array<std::int32_t> turned;   // for rotating a polygon
  Array<std::int32_t> taken;    // slots taken by the present attempt
  Array<FanEnd> fan_ends;       // ends of the present fan by vertex; empty for a small fan
  Array<std::uint32_t> seen;    // per node the mark of the last polygon it was seen in
  std::uint32_t seen_mark = 0;

  [[nodiscard]] bool in_play(std::int32_t node) const noexcept {
    return node >= 0 && static_cast<std::size_t>(node) < nodes.size() && nodes[node].in_play;
  }
  [[nodiscard]] Face &face(std::int32_t slot) noexcept { return faces[slot]; }
  [[nodiscard]] const Face &face(std::int32_t slot) const noexcept { return faces[slot]; }
  [[nodiscard]] Node &node(std::int32_t index) noexcept { return nodes[index]; }
  [[nodiscard]] const Node &node(std::int32_t index) const noexcept { return nodes[index]; }
  [[nodiscard]] std::span<std::int32_t> faces_of(std::int32_t index) noexcept {
    const Node &n = node(index);
    return {incidence.data() + n.first, static_cast<std::size_t>(n.count)};
  }
};

struct Limits {
  double distance_squared = 0.0;
  double cosine = 0.0;
};

// ---- sbrcoarse --------------------------------------------------------------------------------------------

// Makes both tables from the body. False, after a report, when memory is short; false without one for an empty list.
[[nodiscard]] bool build_tables(Mesh &mesh, const SbrBody &body) noexcept;
// Lists the faces of each node, in order of the slots. Nodes without a face go out of play.
[[nodiscard]] bool fill_incidence(Mesh &mesh) noexcept;
void compute_normals(Mesh &mesh) noexcept;

// ---- sbrcoarsemerge ---------------------------------------------------------------------------------------

// True when a node sits in a small and nearly flat neighbourhood.
[[nodiscard]] bool node_test(Mesh &mesh, std::int32_t node, const Limits &limits) noexcept;
// Fuses the faces around a node into one polygon, if they can be walked.
void merge_at_node(Mesh &mesh, std::int32_t node) noexcept;
void rotate_faces_to_node(Mesh &mesh, std::int32_t node) noexcept;
[[nodiscard]] bool merge_face_fan(Mesh &mesh, std::int32_t node, int k) noexcept;
void redirect_face_references(Mesh &mesh, std::int32_t node) noexcept;
// The slot that a slot's faces have come to.
[[nodiscard]] inline std::int32_t root_of(const Mesh &mesh, std::int32_t slot) noexcept {
  while (mesh.merged_into[slot] != slot) slot = mesh.merged_into[slot];
  return slot;
}
// Brings a node's face list up to date with the merges so far.
void follow_redirections(Mesh &mesh, std::int32_t node) noexcept;

// ---- sbrcoarseprune ---------------------------------------------------------------------------------------

// True when no node can stand twice in the polygon strung together from the taken faces around a node, but for the last
// vertex that closes it. Costs little beside the polygon; false leaves the matter open. Asked before redirecting.
[[nodiscard]] bool rim_is_distinct(const Mesh &mesh) noexcept;
// Cuts small excursions out of a fused polygon, Mesh::polygon in place. rim_distinct: what rim_is_distinct said of it.
// True when no node stands twice in the outcome, as far as that was found out.
bool prune_polygon_loops(Mesh &mesh, bool rim_distinct = false) noexcept;

// ---- sbrcoarsesurface -------------------------------------------------------------------------------------

void remove_colinear_vertices(Mesh &mesh, double diagonal) noexcept;
// Writes the polygons as the body's new face list. False, after a report, when memory is short; the body stays then.
[[nodiscard]] bool flatten_faces(const Mesh &mesh, SbrBody &body) noexcept;

}  // namespace sbr::coarse

#endif
