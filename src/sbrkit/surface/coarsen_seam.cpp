// Coarsening, where a fused polygon can run into itself. Nodes that several of its faces share make excursions (see
// coarsen_prune), and leave one vertex behind another of the same node when they are cut. Such rows bound no excursion,
// so that what was simple before stays so away from the seam, where the faces meet: only what the small faces bring
// needs to be looked for in a large one.
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

// Whether a face that was turned to the node is simple, and has the node once.
bool is_simple_around(const Face &face, std::int32_t node) noexcept {
  return face.count >= 3 && !has_end(face, node) && is_simple(face);
}

// ---- rims of faces that are not large ---------------------------------------------------------------------

// A row of vertices of a small face of the fan, other than the node.
struct RimVertex {
  std::int32_t node;
  bool end;  // it is next to the node
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
        rim[count - 1].end |= end;
      else
        rim[count++] = {face.nodes[p], end};
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
    if (!vertex.end || !other.end) return false;
    others += 1;
  }
  if (vertex.end && has_end(largest, vertex.node)) return others == 0;
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
    if (!is_simple_around(face, node)) return false;
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

// Marks the nodes of what the small faces bring, those that stand there more than once, but for a row, apart.
void mark_small_faces(Mesh &mesh, std::size_t in_front) noexcept {
  const std::span<const std::int32_t> brought = mesh.polygon.span();
  for (std::size_t i = 0; i < brought.size(); ++i) {
    if (i > 0 && i != in_front && brought[i] == brought[i - 1]) continue;
    unsigned char &marks = mesh.marks[brought[i]];
    marks |= (marks & kSeen) != 0 ? kSeenAgain : kSeen;
  }
}

// Finds their rows in the large face, behind the vertices that are dropped, and marks them as well. Gives how many
// vertices the rows have.
std::int64_t find_rows(Mesh &mesh, std::int32_t slot, std::int32_t dropped, std::int32_t in_front) noexcept {
  std::int64_t vertices = 0;
  mesh.rows.clear();
  for (const std::int32_t node : mesh.polygon.span()) {
    unsigned char &marks = mesh.marks[node];
    if ((marks & kGrouped) != 0) continue;
    marks |= kGrouped;  // looked up
    if (!names(mesh, node, slot)) continue;
    const Row row = find_row(mesh.face(slot), node);
    const std::int32_t first = std::max(row.first, dropped);
    const std::int32_t count = row.first + row.count - first;
    if (count <= 0) continue;
    marks |= kSeenAgain;
    (void)mesh.rows.push_back({in_front + first - dropped, count});
    vertices += count;
  }
  std::sort(mesh.rows.begin(), mesh.rows.end(), [](const Row &a, const Row &b) { return a.first < b.first; });
  return vertices;
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

bool has_small_seam(Mesh &mesh, std::int32_t node, std::size_t largest) noexcept {
  const std::int32_t large = mesh.taken[largest];
  if (mesh.face(large).count < kLargePolygon || mesh.taken.size() > kSmallFan) return false;
  std::int64_t brought = 0;
  for (const std::int32_t slot : mesh.taken) {
    const Face &face = mesh.face(slot);
    if (!is_simple_around(face, node)) return false;
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
  if (!mesh.rows.reserve(brought)) return false;
  mark_small_faces(mesh, static_cast<std::size_t>(in_front));
  const std::int64_t most = brought + find_rows(mesh, slot, dropped, in_front);
  const bool ready = mesh.pruning.reserve(most) && mesh.pruned.reserve(std::int64_t{brought} + kept);
  if (ready) {
    set_marks(mesh, kInPlay | kSeenAgain);
    mesh.pruning.clear();
    list_marked(mesh, mesh.polygon.data(), in_front, 0);
    for (const Row &row : mesh.rows)
      list_marked(mesh, face.nodes + dropped + (row.first - in_front), row.count, row.first);
    list_marked(mesh, mesh.polygon.data() + in_front, brought - in_front, in_front + kept);
  }
  set_marks(mesh, kInPlay);
  return ready;
}

}  // namespace sbr::coarse
