// Coarsening, where a fused polygon can run into itself. Nodes that several of its faces share make excursions (see
// coarsen_prune), and leave two vertices of the same node in a row when they are cut. Two in a row bound no excursion
// (three do: the one between them), so that what was simple before stays so away from the seam, where the faces meet:
// only what the small faces bring needs to be looked for in a large one.
#include <algorithm>
#include <span>

#include "surface/coarsen_mesh.h"

namespace sbr::coarse {
namespace {

constexpr std::int32_t kSmallFace = 8;
constexpr std::size_t kSmallFan = 8;

bool has_end(const Face &face, std::int32_t node) noexcept {
  return face.nodes[1] == node || face.nodes[face.count - 1] == node;
}

bool has_vertex(const Face &face, std::int32_t node) noexcept {
  if (face.count < kBlock) return std::find(face.nodes, face.nodes + face.count, node) != face.nodes + face.count;
  // The last block may overlap the one in front of it.
  const std::int32_t last = face.count - kBlock;
  for (std::int32_t from = 0; from < last; from += kBlock)
    if (block_has(face.nodes + from, node)) return true;
  return block_has(face.nodes + last, node);
}

bool is_simple(const Face &face) noexcept {
  if (face.count > kSmallFace) return face.simple != 0;
  for (std::int32_t p = 0; p < face.count; ++p)
    for (std::int32_t q = 0; q + 1 < p; ++q)
      if (face.nodes[p] == face.nodes[q] && (q > 0 || p < face.count - 1)) return false;
  return true;
}

// ---- rims of faces that are not large ---------------------------------------------------------------------

// A row of vertices of a small face of the fan, other than the node.
struct RimVertex {
  std::int32_t node;
  bool end;  // it is next to the node
  bool two;  // of the row
};
using RimVertices = RimVertex[kSmallFan * kSmallFace];

// Lists the vertices of all faces taken but the largest. Gives how many; -1 when there is more than a small face.
int list_small_faces(const Mesh &mesh, std::int32_t largest, RimVertices &rim) noexcept {
  int count = 0;
  for (const std::int32_t slot : mesh.taken) {
    if (slot == largest) continue;
    const Face &face = mesh.face(slot);
    if (face.count > kSmallFace) return -1;
    for (std::int32_t p = 1; p < face.count; ++p) {
      const bool end = p == 1 || p == face.count - 1;
      if (p > 1 && face.nodes[p] == face.nodes[p - 1])
        rim[count - 1] = {face.nodes[p], rim[count - 1].end || end, true};
      else
        rim[count++] = {face.nodes[p], end, false};
    }
  }
  return count;
}

// Whether the first vertex stands in no face but its own, unless as an end that it shares with one other face.
bool is_used_once(const Face &largest, std::span<const RimVertex> rim) noexcept {
  const RimVertex &vertex = rim[0];
  int others = 0;
  for (const RimVertex &other : rim.subspan(1)) {
    if (other.node != vertex.node) continue;
    if (!vertex.end || !other.end || vertex.two || other.two) return false;
    others += 1;
  }
  if (vertex.end && has_end(largest, vertex.node)) return others == 0 && !vertex.two;
  return others <= 1 && !has_vertex(largest, vertex.node);
}

}  // namespace

// The faces that are taken are simple each, and all but the largest are small: what those do not share with each other
// nor with the largest, nothing shares.
bool rim_is_simple(Mesh &mesh, std::int32_t node) noexcept {
  if (mesh.taken.size() > kSmallFan) return false;
  std::int32_t largest = mesh.taken[0];
  for (const std::int32_t slot : mesh.taken) {
    const Face &face = mesh.face(slot);
    if (face.count < 3 || has_end(face, node) || !is_simple(face)) return false;
    if (face.count > mesh.face(largest).count) largest = slot;
  }
  RimVertices rim;
  const int count = list_small_faces(mesh, largest, rim);
  for (int i = 0; i < count; ++i)
    if (!is_used_once(mesh.face(largest), {rim + i, rim + count})) return false;
  return count >= 0;
}

// ---- the seam of a large face -----------------------------------------------------------------------------

namespace {

// To look a node of the seam up costs as much as to look at so many vertices.
constexpr std::int64_t kCostOfLookUp = 4;

// Whether the list of a node names the face that now stands in a slot. A list may name faces that the node has left,
// never too few; a long one is not looked through and counts as naming all.
bool names(Mesh &mesh, std::int32_t node, std::int32_t slot) noexcept {
  const std::span<const std::int32_t> slots = mesh.faces_of(node);
  return slots.size() > kSmallFan ||
         std::any_of(slots.begin(), slots.end(), [&](std::int32_t named) { return root_of(mesh, named) == slot; });
}

// The row of a node in a large face that is simple and turned to another node.
Row find_row(const Face &face, std::int32_t node) noexcept {
  const std::int32_t first = find_vertex(face, node);
  if (first < 0) return {0, 0};
  std::int32_t end = first + 1;
  while (end < face.count && face.nodes[end] == node) ++end;
  return {first, end - first};
}

// Marks the nodes of what the small faces bring, those that stand there more than once, but for two in a row, apart.
void mark_small_faces(Mesh &mesh, std::size_t in_front) noexcept {
  const std::span<const std::int32_t> brought = mesh.polygon.span();
  for (std::size_t i = 0; i < brought.size(); ++i) {
    __builtin_prefetch(&mesh.node(brought[i]));  // to be looked up
    const std::size_t begin = i < in_front ? 0 : in_front;
    const bool second = i > begin && brought[i] == brought[i - 1];
    const bool third = second && i > begin + 1 && brought[i] == brought[i - 2];
    if (second && !third) continue;
    unsigned char &marks = mesh.marks[brought[i]];
    marks |= (marks & kSeen) != 0 ? kSeenAgain : kSeen;
  }
}

// Rows in the large face that matter, and what they have in all.
struct Rows {
  Array<Row> &list;
  std::int32_t dropped;  // vertices of the face that the rim lacks
  std::int32_t shift;    // from a position in the face to that in the rim
  std::int64_t vertices = 0;

  // False for a row that is dropped.
  bool add(Row row) noexcept {
    const std::int32_t first = std::max(row.first, dropped);
    const std::int32_t count = row.first + row.count - first;
    if (count <= 0) return false;
    (void)list.push_back({first + shift, count});
    vertices += count;
    return true;
  }
};

// The node itself stands first in the large face, but it may stand in a row there, which may go around the end.
void find_own_rows(Mesh &mesh, const Face &face, Rows &rows) noexcept {
  const std::int32_t node = face.nodes[0];
  std::int32_t behind = 1;
  while (behind < face.count && face.nodes[behind] == node) ++behind;
  std::int32_t in_front = face.count;
  while (in_front > behind && face.nodes[in_front - 1] == node) --in_front;
  if (rows.add({0, behind})) mesh.marks[node] |= kSeenAgain;
  if (rows.add({in_front, face.count - in_front})) mesh.marks[node] |= kSeenAgain;
}

// Finds the rows of the marked nodes in the large face, and marks those that have one as well.
void find_rows(Mesh &mesh, std::int32_t slot, Rows &rows) noexcept {
  const Face &face = mesh.face(slot);
  find_own_rows(mesh, face, rows);
  for (const std::int32_t node : mesh.polygon.span()) {
    unsigned char &marks = mesh.marks[node];
    if ((marks & kGrouped) != 0 || node == face.nodes[0]) continue;
    marks |= kGrouped;  // looked up
    if (names(mesh, node, slot) && rows.add(find_row(face, node))) marks |= kSeenAgain;
  }
  std::sort(rows.list.begin(), rows.list.end(), [](const Row &a, const Row &b) { return a.first < b.first; });
}

void set_marks(Mesh &mesh, unsigned char kept) noexcept {
  for (const std::int32_t node : mesh.polygon.span()) mesh.marks[node] &= kept;
}

void list_marked(Mesh &mesh, const std::int32_t *vertices, std::int32_t count, std::int32_t position) noexcept {
  for (const std::int32_t *end = vertices + count; vertices != end; ++vertices, ++position)
    if ((mesh.marks[*vertices] & kSeenAgain) != 0)
      (void)mesh.pruning.occurrences.push_back({*vertices, position, count_in_group(mesh, *vertices), 0, false});
}

}  // namespace

bool has_small_seam(Mesh &mesh, std::size_t largest) noexcept {
  const std::int32_t large = mesh.taken[largest];
  if (mesh.face(large).count < kLargePolygon || mesh.taken.size() > kSmallFan) return false;
  std::int64_t brought = 0;
  for (const std::int32_t slot : mesh.taken) {
    const Face &face = mesh.face(slot);
    if (face.count < 3 || !is_simple(face)) return false;
    if (slot != large) brought += face.count;
  }
  return brought * kCostOfLookUp <= mesh.face(large).count &&
         std::all_of(mesh.taken.begin(), mesh.taken.end(), [&](std::int32_t slot) {
           const Face &face = mesh.face(slot);
           return slot == large || std::all_of(face.nodes, face.nodes + face.count,
                                               [&](std::int32_t vertex) { return mesh.is_listed(vertex); });
         });
}

bool list_seam(Mesh &mesh, std::int32_t slot, std::int32_t dropped, std::int32_t in_front) noexcept {
  const std::int32_t brought = mesh.polygon.count();
  const Face &face = mesh.face(slot);
  const std::int32_t kept = face.count - dropped;
  if (!mesh.rows.reserve(std::int64_t{brought} + 2)) return false;
  mesh.rows.clear();
  Rows rows{mesh.rows, dropped, in_front - dropped};
  mark_small_faces(mesh, static_cast<std::size_t>(in_front));
  find_rows(mesh, slot, rows);
  const bool ready = mesh.pruning.reserve(brought + rows.vertices) && mesh.pruned.reserve(std::int64_t{brought} + kept);
  if (ready) {
    set_marks(mesh, kInPlay | kSeenAgain);
    mesh.pruning.clear();
    list_marked(mesh, mesh.polygon.data(), in_front, 0);
    for (const Row &row : mesh.rows) list_marked(mesh, face.nodes + (row.first - rows.shift), row.count, row.first);
    list_marked(mesh, mesh.polygon.data() + in_front, brought - in_front, in_front + kept);
  }
  set_marks(mesh, kInPlay);
  mesh.marks[face.nodes[0]] &= kInPlay;
  return ready;
}

}  // namespace sbr::coarse
