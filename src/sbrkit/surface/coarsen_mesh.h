// The working mesh of coarsening and the routines that act on it. coarsen.cpp owns the run; coarsen_neighbourhood
// judges a node, coarsen_fan walks the faces around it, coarsen_merge puts their rim in their place, coarsen_seam finds
// out where the rim can run into itself, coarsen_prune cuts loops out of it, coarsen_surface thins and rewrites the
// finished polygons.
//
// A slot of either table can be empty: the item is then out of play. Here an empty slot is a cleared flag.
#ifndef SBRKIT_SURFACE_COARSEN_MESH_H
#define SBRKIT_SURFACE_COARSEN_MESH_H

#include <span>

#include "base/large_table.h"
#include "body/body.h"

namespace sbr::coarse {

// Polygons of this many vertices are handled with care for the time that a look at all of them takes.
constexpr std::int32_t kLargePolygon = 128;

// What is asked of a face stands in one cache line. The box holds its vertices in play, and may be larger than they
// need.
struct alignas(64) Face {
  std::int32_t *nodes;  // node indices in order around the polygon, inside Mesh::pool or a chunk of it
  double normal[3];     // unit normal, or zero
  float low[3];
  float high[3];
  std::int32_t count;       // vertices in the polygon
  std::uint32_t room : 29;  // place in Mesh::rooms plus 1; 0 for an original face. Two faces at least make a fused one.
  std::uint32_t present : 1;   // 0: the slot is empty
  std::uint32_t simple : 1;    // of a fused polygon: each node is known to stand there once, or twice in a row
  std::uint32_t reversed : 1;  // during the attempts at a node: positions 1 to count - 1 are to be read backwards
};
static_assert(sizeof(Face) == 64);
constexpr std::uint32_t kMostRooms = (1U << 29U) - 1;

// What else is known of a fused polygon.
struct Room {
  std::int32_t front;   // free words in front of its vertices
  std::int32_t back;    // and behind them
  std::int32_t extent;  // place in Mesh::extents plus 1; 0 when there is none
};

// A box that holds vertices in play.
struct Box {
  double low[3];
  double high[3];
};

// Where the vertices in play of a large fused polygon lie.
constexpr int kAxes = 7;
constexpr int kOutposts = 2 * kAxes;
constexpr int kCoverLevels = 2;
struct Extent {
  // The outermost vertices in 14 directions; -1 where none is known. Any of them stands in the polygon; a vertex
  // farther out may have been missed.
  double height[kOutposts];
  std::int32_t outpost[kOutposts];
  // A list that names all of them, and some that the polygon has lost, with boxes around 64 of them each, and
  // around 64 such boxes.
  Array<std::int32_t> listed;
  Array<Box> boxes[kCoverLevels];
};

struct alignas(32) Node {
  double x, y, z;
  std::int32_t first;  // where the node's face list starts in Mesh::incidence
  std::int32_t count;  // faces in the list
};

// Marks of a node, kept apart from the node: a million of them fit a processor's cache.
constexpr unsigned char kInPlay = 1;     // not set: the slot is empty (no face, preserved, or removed)
constexpr unsigned char kSeen = 2;       // while a polygon is pruned: the node stands in it
constexpr unsigned char kSeenAgain = 4;  // and more than once
constexpr unsigned char kGrouped = 8;    // and has its group

// An end of a face seen from the node it was rotated to: the vertex next to the node on one side.
struct FanEnd {
  std::int32_t vertex;
  std::int32_t place;  // of the face in the node's list
};

// A vertex of a node that stands more than once in the polygon at hand.
struct Occurrence {
  std::int32_t node;
  std::int32_t position;
  std::int32_t group;  // one for each such node
  std::int32_t rank;   // its place in the order by group
  bool blank;          // its vertex goes
};

// Room for pruning one polygon, which its occurrences cut into pieces: the gap in front of the first one, that
// occurrence, the gap behind it, and so on. An occurrence is a piece of one vertex.
struct PruningScratch {
  Array<Occurrence> occurrences;   // in order of position
  Array<std::int32_t> by_group;    // their places, by group, then position
  Array<std::int32_t> group_ends;  // per group the end of its places in by_group
  Array<std::int32_t> strangers;   // places of the occurrences that are no node of the table
  // Per piece the first one from it on whose vertices have not been asked to go yet; for a piece that has, a later one.
  Array<std::int32_t> next_piece;

  // Room for so many occurrences. False when memory is short.
  [[nodiscard]] bool reserve(std::int64_t most) noexcept {
    return occurrences.reserve(most) && by_group.reserve(most) && group_ends.reserve(most) && strangers.reserve(most) &&
           next_piece.reserve(2 * most + 2);
  }
  void clear() noexcept {
    occurrences.clear();
    group_ends.clear();
    strangers.clear();
  }
  [[nodiscard]] std::int32_t add_group() noexcept {
    (void)group_ends.push_back(0);
    return group_ends.count() - 1;
  }
};

// A row of the same node in a large polygon, by positions in the rim.
struct Row {
  std::int32_t first;
  std::int32_t count;
};

struct Mesh {
  // Nodes that are numbered without regard to where they are get numbers of their own here, in the order in which the
  // faces name them, so that neighbours lie together in memory. Both are empty when the body's numbers serve.
  LargeTable<std::int32_t> number_of;  // per node index of the body
  LargeTable<std::int32_t> index_of;   // and back
  LargeTable<Face> faces;
  LargeTable<Node> nodes;
  LargeTable<unsigned char> marks;             // of the nodes
  LargeTable<std::int32_t> incidence;          // the face lists of all nodes, one behind the other
  LargeTable<std::int32_t> merged_into;        // per face slot the slot that took its faces over; itself when none did
  LargeTable<std::int32_t> pool;               // the vertices of the original faces
  OwnedList<LargeTable<std::int32_t>> chunks;  // further room for polygons
  std::size_t chunk_used = 0;                  // of the last chunk
  LargeTable<Room> rooms;                      // of the fused polygons, and some more
  std::int32_t rooms_used = 0;

  OwnedList<Extent> extents;  // of the large ones

  // Scratch, kept between nodes.
  Array<std::int32_t> polygon;        // the fused polygon
  Array<std::int32_t> turned;         // for rotating a polygon
  Array<std::int32_t> taken;          // slots taken by the present attempt
  Array<FanEnd> fan_ends;             // ends of the present fan by vertex; empty for a small fan
  LargeTable<std::int32_t> group_of;  // per node its group in the polygon that is pruned, where it has one
  PruningScratch pruning;
  Array<std::int32_t> pruned;  // the vertices that the last pruning cut out
  Array<Row> rows;             // of nodes at the seam in the large polygon

  // The number of a node index of the body, and the index of a number. What lies outside the table has the same.
  [[nodiscard]] std::int32_t number(std::int32_t index) const noexcept {
    return index >= 0 && static_cast<std::size_t>(index) < number_of.size() ? number_of[index] : index;
  }
  [[nodiscard]] std::int32_t index(std::int32_t number) const noexcept {
    return number >= 0 && static_cast<std::size_t>(number) < index_of.size() ? index_of[number] : number;
  }
  [[nodiscard]] bool in_play(std::int32_t node) const noexcept {
    return is_listed(node) && (marks[node] & kInPlay) != 0;
  }
  // Whether a vertex is a node of the table.
  [[nodiscard]] bool is_listed(std::int32_t node) const noexcept {
    return static_cast<std::uint32_t>(node) < marks.size();
  }
  void take_out_of_play(std::int32_t node) noexcept { marks[node] &= static_cast<unsigned char>(~kInPlay); }
  [[nodiscard]] Face &face(std::int32_t slot) noexcept { return faces[slot]; }
  [[nodiscard]] const Face &face(std::int32_t slot) const noexcept { return faces[slot]; }
  // What is known of a face beside itself: nothing of an original one.
  [[nodiscard]] Room room_of(const Face &face) const noexcept {
    return face.room != 0 ? rooms[face.room - 1] : Room{0, 0, 0};
  }
  [[nodiscard]] Node &node(std::int32_t index) noexcept { return nodes[index]; }
  [[nodiscard]] const Node &node(std::int32_t index) const noexcept { return nodes[index]; }
  [[nodiscard]] std::span<std::int32_t> faces_of(std::int32_t index) noexcept {
    const Node &n = node(index);
    return {incidence.data() + n.first, static_cast<std::size_t>(n.count)};
  }
  [[nodiscard]] std::span<const std::int32_t> faces_of(std::int32_t index) const noexcept {
    const Node &n = node(index);
    return {incidence.data() + n.first, static_cast<std::size_t>(n.count)};
  }
};

struct Limits {
  double distance_squared = 0.0;
  double cosine = 0.0;
};

// ---- coarsen ----------------------------------------------------------------------------------------------

// Makes both tables from the body. False, after a report, when memory is short; false without one for an empty list.
[[nodiscard]] bool build_tables(Mesh &mesh, const SbrBody &body) noexcept;
// Lists the faces of each node, in order of the slots. Nodes without a face go out of play.
[[nodiscard]] bool fill_incidence(Mesh &mesh) noexcept;

// ---- coarsen_neighbourhood --------------------------------------------------------------------------------

// True when a node sits in a small and nearly flat neighbourhood.
[[nodiscard]] bool node_test(Mesh &mesh, std::int32_t node, const Limits &limits) noexcept;
// Gives each face its normal and its box.
void measure_faces(Mesh &mesh) noexcept;
// Gives the polygon of the taken faces a box around all of them.
void join_boxes(const Mesh &mesh, Face &fused) noexcept;
// Gives it the extent of one of the taken faces, when there is one: `vertices` counts what it will have. To be asked
// while the taken faces are as they were. A node that goes is no outpost, nor what pruning then cuts out.
void secure_extent(Mesh &mesh, Room &room, std::int32_t vertices, std::int32_t node) noexcept;
void forget_pruned(Mesh &mesh, const Room &room) noexcept;

// ---- coarsen_merge ----------------------------------------------------------------------------------------

// Whether a node stands in a block of vertices, several of which are compared at once.
constexpr std::int32_t kBlock = 16;
// There is no way out in between, and the compiler sees the block alone, so that it does.
template <std::int32_t kLength = kBlock>
[[nodiscard, gnu::noinline]] bool block_has(const std::int32_t *block, std::int32_t node) noexcept {
  std::int32_t found = 0;
  for (std::int32_t k = 0; k < kLength; ++k) found |= block[k] == node ? -1 : 0;
  return found != 0;
}
// The first place of a node in a polygon, -1 when it is not there.
[[nodiscard]] std::int32_t find_vertex(const Face &face, std::int32_t node) noexcept;
// Fuses the faces around a node into one polygon, if they can be walked.
void merge_at_node(Mesh &mesh, std::int32_t node) noexcept;
void rotate_faces_to_node(Mesh &mesh, std::int32_t node) noexcept;
void redirect_face_references(Mesh &mesh, std::int32_t node) noexcept;
// The slot that a slot's faces have come to.
[[nodiscard]] inline std::int32_t root_of(Mesh &mesh, std::int32_t slot) noexcept {
  // Every step halves the way for those that come after.
  for (std::int32_t next = mesh.merged_into[slot]; next != slot; next = mesh.merged_into[slot]) {
    mesh.merged_into[slot] = mesh.merged_into[next];
    slot = mesh.merged_into[slot];
  }
  return slot;
}
// Brings a node's face list up to date with the merges so far.
void follow_redirections(Mesh &mesh, std::int32_t node) noexcept;

// ---- coarsen_fan ------------------------------------------------------------------------------------------

// Walks the faces of a node. On success Mesh::taken holds their slots, now empty, in the order of the walk; otherwise
// the slots are as they were. Either way some faces wait to be reversed: see settle. False after a report when memory
// is short.
[[nodiscard]] bool fuse_fan(Mesh &mesh, std::int32_t node) noexcept;
// One attempt: starts with face |k| of the node's list, reversed first for a negative k.
[[nodiscard]] bool walk_from(Mesh &mesh, std::int32_t node, int k) noexcept;
// Reverses a face that waits for it.
void settle(Face &face) noexcept;
// Puts the faces taken back into their slots; false.
bool give_faces_back(Mesh &mesh) noexcept;

// ---- coarsen_prune ----------------------------------------------------------------------------------------

// Cuts small excursions out of a fused polygon, Mesh::polygon in place. rim_is_simple: what rim_is_simple said of it.
// True when each node stands once, or twice in a row, in the outcome, as far as that was found out.
bool prune_polygon_loops(Mesh &mesh, bool rim_is_simple = false) noexcept;
// The same for a rim of which Mesh::pruning lists all vertices that can bound an excursion; see list_seam. Gives what
// is left of the rim, which stays where it is but for the ends and the excursions.
[[nodiscard]] std::span<std::int32_t> prune_seam(Mesh &mesh, std::span<std::int32_t> rim, bool &simple) noexcept;
// The group of a node, with one more vertex in it. Until the occurrences are ranked, group_ends counts them.
std::int32_t count_in_group(Mesh &mesh, std::int32_t node) noexcept;

// ---- coarsen_seam -----------------------------------------------------------------------------------------

// True when each node stands once, or twice in a row, in the polygon strung together from the taken faces around a
// node, but for the last vertices that close it. Costs little beside the polygon; false leaves the matter open. Asked
// before redirecting, of faces none of which is large.
[[nodiscard]] bool rim_is_simple(Mesh &mesh, std::int32_t node) noexcept;
// Whether the faces taken are simple, and all but one of them, a large one, small beside it.
[[nodiscard]] bool has_small_seam(Mesh &mesh, std::size_t largest) noexcept;
// Lists in Mesh::pruning the vertices that can bound an excursion: those of nodes that stand more than once in the rim,
// and not twice in a row only, and of the node that the faces are turned to. Mesh::polygon has what comes in front of
// the large face and behind it; of the face itself the first vertices are dropped. Asked before redirecting. False when
// memory is short.
[[nodiscard]] bool list_seam(Mesh &mesh, std::int32_t slot, std::int32_t dropped, std::int32_t in_front) noexcept;

// ---- coarsen_surface --------------------------------------------------------------------------------------

void remove_colinear_vertices(Mesh &mesh, double diagonal) noexcept;
// Writes the polygons as the body's new face list. False, after a report, when memory is short; the body stays then.
[[nodiscard]] bool flatten_faces(const Mesh &mesh, SbrBody &body) noexcept;

}  // namespace sbr::coarse

#endif
