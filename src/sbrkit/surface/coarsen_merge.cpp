// Coarsening, the part around one node that has passed the test: walk the fan of its faces edge by edge and put the
// fan's outer rim in their place.
#include <algorithm>
#include <climits>
#include <cstring>

#include "base/reports.h"
#include "surface/coarsen_mesh.h"

namespace sbr::coarse {
namespace {

// ---- room for the fused polygon ---------------------------------------------------------------------------

constexpr std::int64_t kChunkWords = 1 << 16;

// Room for a polygon of `count` vertices in the chunks; null when memory is short.
std::int32_t *take_room(Mesh &mesh, std::int64_t count) noexcept {
  const std::size_t chunks = mesh.chunks.size();
  if (chunks > 0) {
    Array<std::int32_t> &last = *mesh.chunks[chunks - 1];
    if (last.size() - mesh.chunk_used >= static_cast<std::size_t>(count)) {
      std::int32_t *room = last.data() + mesh.chunk_used;
      mesh.chunk_used += static_cast<std::size_t>(count);
      return room;
    }
  }
  Array<std::int32_t> *chunk = mesh.chunks.add();
  if (chunk == nullptr) return nullptr;
  if (!chunk->allocate(std::max(count, kChunkWords))) {
    (void)mesh.chunks.resize(static_cast<std::int64_t>(chunks));
    return nullptr;
  }
  mesh.chunk_used = static_cast<std::size_t>(count);
  return chunk->data();
}

std::int32_t *room_of(const Face &face) noexcept { return face.nodes - face.front; }
std::int32_t capacity_of(const Face &face) noexcept { return face.front + face.count + face.back; }

// Puts a polygon in the middle of its room.
void center(Face &face) noexcept {
  std::int32_t *room = room_of(face);
  const std::int32_t spare = face.front + face.back;
  std::memmove(room + spare / 2, face.nodes, static_cast<std::size_t>(face.count) * sizeof(std::int32_t));
  face.front = spare / 2;
  face.back = spare - face.front;
  face.nodes = room + face.front;
}

// Moves a large polygon to a new room with as much free on both sides, unless it has enough. False when memory is
// short.
bool give_space(Mesh &mesh, Face &face, std::int32_t front, std::int32_t back) noexcept {
  if (face.front >= front && face.back >= back) return true;
  const std::int64_t wanted = static_cast<std::int64_t>(face.count) + 2 * std::int64_t{std::max(front, back)};
  if (capacity_of(face) < wanted || capacity_of(face) < face.count + face.count / 2) {
    const std::int64_t capacity = 2 * wanted;
    std::int32_t *room = capacity <= INT_MAX ? take_room(mesh, capacity) : nullptr;
    if (room == nullptr) return false;
    std::copy_n(face.nodes, face.count, room);
    face.nodes = room;
    face.front = 0;
    face.back = static_cast<std::int32_t>(capacity) - face.count;
  }
  center(face);
  return true;
}

// Finds room for the fused polygon: the largest room among the faces taken, or new room that leaves space to grow.
bool secure_room(Mesh &mesh, Face &fused) noexcept {
  const std::int32_t wanted = mesh.polygon.count();
  std::int64_t capacity = 0;
  for (const std::int32_t slot : mesh.taken)
    if (Face &face = mesh.face(slot); capacity_of(face) > capacity) {
      fused.nodes = room_of(face);
      capacity = capacity_of(face);
    }
  if (capacity < wanted) {
    capacity = std::min<std::int64_t>(static_cast<std::int64_t>(wanted) + wanted / 2, INT_MAX);
    fused.nodes = take_room(mesh, capacity);
    if (fused.nodes == nullptr) return false;
  }
  fused.back = static_cast<std::int32_t>(capacity);
  return true;
}

void store_polygon(const Mesh &mesh, Face &fused) noexcept {
  fused.front = (fused.back - mesh.polygon.count()) / 2;
  fused.back -= fused.front + mesh.polygon.count();
  fused.nodes += fused.front;
  fused.count = mesh.polygon.count();
  std::copy(mesh.polygon.begin(), mesh.polygon.end(), fused.nodes);
}

// ---- turning a polygon ------------------------------------------------------------------------------------

// The first place of a node in a polygon, -1 when it is not there. The nodes of a run come near each other, so that
// where it makes no difference the search goes in from both ends.
std::int32_t find_vertex(const Face &face, std::int32_t node) noexcept {
  if (!face.distinct) {
    const std::int32_t *begin = face.nodes;
    const std::int32_t *end = begin + face.count;
    const std::int32_t *place = std::find(begin, end, node);
    return place == end ? -1 : static_cast<std::int32_t>(place - begin);
  }
  for (std::int32_t front = 0, back = face.count - 1; front <= back; ++front, --back) {
    if (face.nodes[front] == node) return front;
    if (face.nodes[back] == node) return back;
  }
  return -1;
}

// Turns a polygon so that a position comes first. A large one passes its shorter end round to the other side.
void rotate(Mesh &mesh, Face &face, std::int32_t position) noexcept {
  if (position == 0) return;
  const std::int32_t behind = face.count - position;
  const bool front_is_shorter = position <= behind;
  if (face.count < kLargePolygon ||
      !give_space(mesh, face, front_is_shorter ? 0 : behind, front_is_shorter ? position : 0)) {
    std::rotate(face.nodes, face.nodes + position, face.nodes + face.count);
    return;
  }
  if (front_is_shorter) {
    std::copy_n(face.nodes, position, face.nodes + face.count);
    face.nodes += position;
    face.front += position;
    face.back -= position;
  } else {
    std::copy_n(face.nodes + position, behind, face.nodes - behind);
    face.nodes -= behind;
    face.front -= behind;
    face.back += behind;
  }
}

}  // namespace

// Turns every face of the node so that the node stands first; faces that lost the node leave its list.
void rotate_faces_to_node(Mesh &mesh, std::int32_t node) noexcept {
  const std::span<std::int32_t> slots = mesh.faces_of(node);
  std::size_t kept = 0;
  for (const std::int32_t slot : slots) {
    Face &face = mesh.face(slot);
    const std::int32_t position = face.present ? find_vertex(face, node) : -1;
    if (position < 0) continue;
    rotate(mesh, face, position);
    slots[kept++] = slot;
  }
  mesh.node(node).count = static_cast<std::int32_t>(kept);
}

// Lets the slot of the node's first face stand for the slots of all its faces, in the lists of all nodes that are still
// to come. The lists follow when their node's turn comes: see follow_redirections.
void redirect_face_references(Mesh &mesh, std::int32_t node) noexcept {
  const std::span<const std::int32_t> slots = mesh.faces_of(node);
  for (std::size_t m = 1; m < slots.size(); ++m) mesh.merged_into[slots[m]] = slots[0];
}

// A list that names a merged slot names the slot that took it over instead, in ascending order and without repeats.
// Every node in play that is still to come is redirected by every merge, so that it makes no difference to do this
// once.
void follow_redirections(Mesh &mesh, std::int32_t node) noexcept {
  std::span<std::int32_t> slots = mesh.faces_of(node);
  bool changed = false;
  for (std::int32_t &slot : slots) {
    const std::int32_t root = root_of(mesh, slot);
    for (std::int32_t at = slot; at != root;) {
      const std::int32_t next = mesh.merged_into[at];
      mesh.merged_into[at] = root;
      at = next;
    }
    changed = changed || root != slot;
    slot = root;
  }
  if (!changed) return;
  std::sort(slots.begin(), slots.end());
  mesh.node(node).count = static_cast<std::int32_t>(std::unique(slots.begin(), slots.end()) - slots.begin());
}

namespace {

// ---- putting the rim in place of the fan ------------------------------------------------------------------

// The vertices that faces of the walk, from `begin` up to `end`, give to the rim: the first face of the walk from
// position 1 on, each other one from position 2 on. They come behind what Mesh::polygon holds.
bool gather_rim(Mesh &mesh, std::size_t begin, std::size_t end) noexcept {
  std::int64_t total = mesh.polygon.count() + 1;
  for (std::size_t t = begin; t < end; ++t) total += mesh.face(mesh.taken[t]).count;
  if (total > INT_MAX || !mesh.polygon.reserve(total)) return false;  // with room for a vertex that closes the rim
  for (std::size_t t = begin; t < end; ++t) {
    const Face &face = mesh.face(mesh.taken[t]);
    const std::size_t have = mesh.polygon.size();
    const std::int32_t from = t == 0 ? 1 : 2;
    const std::int32_t more = std::max(0, face.count - from);
    (void)mesh.polygon.resize(static_cast<std::int64_t>(have) + more);
    std::copy_n(face.nodes + from, more, mesh.polygon.data() + have);
  }
  return true;
}

// The place in the walk of the largest face.
std::size_t place_of_largest(const Mesh &mesh) noexcept {
  std::size_t largest = 0;
  for (std::size_t t = 1; t < mesh.taken.size(); ++t)
    if (mesh.face(mesh.taken[t]).count > mesh.face(mesh.taken[largest]).count) largest = t;
  return largest;
}

// The whole rim in Mesh::polygon, and room for it. The node closes a rim that is open.
bool string_together(Mesh &mesh, std::int32_t node, Face &fused, bool &open) noexcept {
  mesh.polygon.clear();
  if (!gather_rim(mesh, 0, mesh.taken.size())) return false;
  open = mesh.polygon[0] != mesh.polygon[mesh.polygon.size() - 1];
  if (open) (void)mesh.polygon.push_back(node);
  return secure_room(mesh, fused) && secure_box(mesh, fused);
}

// The rim in place of the largest face, a large one: the others lengthen its polygon at both ends, and the polygon
// itself is not looked at. A failure changes nothing but the polygon's room.
bool splice_together(Mesh &mesh, std::int32_t node, std::size_t largest, Face &fused, bool &open) noexcept {
  Face &polygon = mesh.face(mesh.taken[largest]);
  const Face &last = mesh.face(mesh.taken[mesh.taken.size() - 1]);
  open = mesh.face(mesh.taken[0]).nodes[1] != last.nodes[last.count - 1];
  mesh.polygon.clear();
  if (!gather_rim(mesh, 0, largest)) return false;
  const std::int32_t in_front = mesh.polygon.count();
  if (!gather_rim(mesh, largest + 1, mesh.taken.size())) return false;
  if (open) (void)mesh.polygon.push_back(node);
  const std::int32_t behind = mesh.polygon.count() - in_front;
  if (!give_space(mesh, polygon, in_front, behind) || !secure_box(mesh, fused)) return false;
  const std::int32_t dropped = largest == 0 ? 1 : 2;
  fused.nodes = polygon.nodes + dropped - in_front;
  fused.front = polygon.front + dropped - in_front;
  fused.count = polygon.count - dropped + in_front + behind;
  fused.back = polygon.back - behind;
  std::copy_n(mesh.polygon.data(), in_front, fused.nodes);
  std::copy_n(mesh.polygon.data() + in_front, behind, fused.nodes + fused.count - behind);
  return true;
}

// Cuts the vertex that closes a large distinct rim off, if its node may go: what pruning does to such a rim.
void cut_closing_vertex(Mesh &mesh, Face &fused) noexcept {
  mesh.pruned.clear();
  const std::int32_t last = fused.nodes[fused.count - 1];
  const bool closed = fused.nodes[0] == last;
  fused.distinct = !closed || mesh.in_play(last);
  if (!closed || !fused.distinct) return;
  fused.count -= 1;
  fused.back += 1;
}

}  // namespace

void merge_at_node(Mesh &mesh, std::int32_t node) noexcept {
  rotate_faces_to_node(mesh, node);
  const std::span<const std::int32_t> slots = mesh.faces_of(node);
  const bool walked = fuse_fan(mesh, node);
  for (const std::int32_t slot : slots) settle(mesh.face(slot));
  if (!walked) return;
  Face fused{};
  const bool distinct = rim_is_distinct(mesh);
  const std::size_t largest = place_of_largest(mesh);
  const bool spliced = distinct && mesh.face(mesh.taken[largest]).count >= kLargePolygon;
  bool open = false;
  if (!(spliced ? splice_together(mesh, node, largest, fused, open) : string_together(mesh, node, fused, open))) {
    report_no_memory(unit_name::kCoarsening);
    give_faces_back(mesh);
    return;
  }
  std::copy_n(mesh.face(mesh.taken[0]).normal, 3, fused.normal);
  if (!open) mesh.node(node).in_play = false;
  redirect_face_references(mesh, node);
  secure_extent(mesh, fused, spliced ? fused.count : mesh.polygon.count());
  if (spliced) {
    cut_closing_vertex(mesh, fused);
  } else {
    fused.distinct = prune_polygon_loops(mesh, distinct);
    store_polygon(mesh, fused);
  }
  forget_pruned(mesh, fused);
  fused.present = true;
  mesh.face(slots[0]) = fused;
}

}  // namespace sbr::coarse
