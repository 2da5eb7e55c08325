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

// Chunks grow with what is in use, up to a size that large pages serve well.
constexpr std::int64_t kSmallestChunk = std::int64_t{1} << 16U;
constexpr std::int64_t kLargestChunk = std::int64_t{1} << 22U;

// Room for a polygon of `count` vertices in the chunks; null when memory is short.
std::int32_t *take_room(Mesh &mesh, std::int64_t count) noexcept {
  const std::size_t chunks = mesh.chunks.size();
  std::int64_t words = kSmallestChunk;
  if (chunks > 0) {
    LargeTable<std::int32_t> &last = *mesh.chunks[chunks - 1];
    if (last.size() - mesh.chunk_used >= static_cast<std::size_t>(count)) {
      std::int32_t *room = last.data() + mesh.chunk_used;
      mesh.chunk_used += static_cast<std::size_t>(count);
      return room;
    }
    words = std::clamp(2 * static_cast<std::int64_t>(last.size()), kSmallestChunk, kLargestChunk);
  }
  LargeTable<std::int32_t> *chunk = mesh.chunks.add();
  if (chunk == nullptr) return nullptr;
  if (!chunk->allocate(std::max(count, words))) {
    (void)mesh.chunks.resize(static_cast<std::int64_t>(chunks));
    return nullptr;
  }
  mesh.chunk_used = static_cast<std::size_t>(count);
  return chunk->data();
}

// A fused polygon on the way.
struct Fused {
  Face face;
  Room room;
};

std::int64_t capacity_of(const Mesh &mesh, const Face &face) noexcept {
  const Room room = mesh.room_of(face);
  return std::int64_t{room.front} + face.count + room.back;
}

// Puts a polygon in the middle of its room.
void center(Face &face, Room &room) noexcept {
  std::int32_t *begin = face.nodes - room.front;
  const std::int32_t spare = room.front + room.back;
  std::memmove(begin + spare / 2, face.nodes, static_cast<std::size_t>(face.count) * sizeof(std::int32_t));
  room.front = spare / 2;
  room.back = spare - room.front;
  face.nodes = begin + room.front;
}

// Moves a large fused polygon to a new room with as much free on both sides, unless it has enough. False when memory is
// short.
bool give_space(Mesh &mesh, Face &face, std::int32_t front, std::int32_t back) noexcept {
  Room &room = mesh.rooms[face.room - 1];
  if (room.front >= front && room.back >= back) return true;
  const std::int64_t wanted = static_cast<std::int64_t>(face.count) + 2 * std::int64_t{std::max(front, back)};
  const std::int64_t present = capacity_of(mesh, face);
  if (present < wanted || present < face.count + face.count / 2) {
    const std::int64_t capacity = wanted + wanted / 2;
    std::int32_t *begin = capacity <= INT_MAX ? take_room(mesh, capacity) : nullptr;
    if (begin == nullptr) return false;
    std::copy_n(face.nodes, face.count, begin);
    face.nodes = begin;
    room.front = 0;
    room.back = static_cast<std::int32_t>(capacity) - face.count;
  }
  center(face, room);
  return true;
}

// Gives the fused polygon a place among the rooms: that of a face taken, or a new one. False when memory is short.
bool secure_place(Mesh &mesh, Face &fused) noexcept {
  for (const std::int32_t slot : mesh.taken)
    if (mesh.face(slot).room != 0) fused.room = mesh.face(slot).room;
  if (fused.room != 0) return true;
  if (mesh.rooms_used == mesh.rooms.count() && !mesh.rooms.grow(2 * std::int64_t{mesh.rooms_used} + 64)) return false;
  fused.room = static_cast<std::uint32_t>(++mesh.rooms_used) & kMostRooms;
  return true;
}

// Finds room for the fused polygon: the largest room among the faces taken, or new room that leaves space to grow.
bool secure_room(Mesh &mesh, Fused &fused) noexcept {
  const std::int32_t wanted = mesh.polygon.count();
  std::int64_t capacity = 0;
  for (const std::int32_t slot : mesh.taken)
    if (const Face &face = mesh.face(slot); capacity_of(mesh, face) > capacity) {
      fused.face.nodes = face.nodes - mesh.room_of(face).front;
      capacity = capacity_of(mesh, face);
    }
  if (capacity < wanted) {
    capacity = std::min<std::int64_t>(static_cast<std::int64_t>(wanted) + wanted / 2, INT_MAX);
    fused.face.nodes = take_room(mesh, capacity);
    if (fused.face.nodes == nullptr) return false;
  }
  fused.room.back = static_cast<std::int32_t>(capacity);
  return true;
}

// Puts the polygon in the middle of its room.
void store_polygon(const Mesh &mesh, Fused &fused) noexcept {
  Room &room = fused.room;
  room.front = (room.back - mesh.polygon.count()) / 2;
  room.back -= room.front + mesh.polygon.count();
  fused.face.nodes += room.front;
  fused.face.count = mesh.polygon.count();
  std::copy(mesh.polygon.begin(), mesh.polygon.end(), fused.face.nodes);
}

// ---- turning a polygon ------------------------------------------------------------------------------------

// The first place of a node from one place on, up to an end; the end when it is not there.
std::int32_t find_from(const std::int32_t *nodes, std::int32_t from, std::int32_t end, std::int32_t node) noexcept {
  while (end - from >= kBlock && !block_has(nodes + from, node)) from += kBlock;
  while (from < end && nodes[from] != node) ++from;
  return from;
}

// Turns a polygon so that a position comes first, moving whole blocks.
void rotate_in_place(Mesh &mesh, Face &face, std::int32_t position) noexcept {
  if (!mesh.turned.reserve(position)) {
    std::rotate(face.nodes, face.nodes + position, face.nodes + face.count);
    return;
  }
  const std::int32_t behind = face.count - position;
  std::copy_n(face.nodes, position, mesh.turned.data());
  std::copy(face.nodes + position, face.nodes + face.count, face.nodes);
  std::copy_n(mesh.turned.data(), position, face.nodes + behind);
}

// The same for any polygon. A large fused one passes its shorter end round to the other side.
void rotate(Mesh &mesh, Face &face, std::int32_t position) noexcept {
  if (position == 0) return;
  const std::int32_t behind = face.count - position;
  const bool front_is_shorter = position <= behind;
  if (face.count < kLargePolygon || face.room == 0 ||
      !give_space(mesh, face, front_is_shorter ? 0 : behind, front_is_shorter ? position : 0)) {
    rotate_in_place(mesh, face, position);
    return;
  }
  Room &room = mesh.rooms[face.room - 1];
  if (front_is_shorter) {
    std::copy_n(face.nodes, position, face.nodes + face.count);
    face.nodes += position;
    room.front += position;
    room.back -= position;
  } else {
    std::copy_n(face.nodes + position, behind, face.nodes - behind);
    face.nodes -= behind;
    room.front -= behind;
    room.back += behind;
  }
}

}  // namespace

namespace {

// Goes in from both ends of a polygon by so many blocks at most. True when one of them has the node: the ends are then
// those of the block.
template <std::int32_t kLength>
bool narrow_down(const Face &face, std::int32_t node, std::int32_t blocks, std::int32_t &front,
                 std::int32_t &back) noexcept {
  for (; blocks > 0 && back - front >= 2 * kLength; --blocks, front += kLength, back -= kLength) {
    if (block_has<kLength>(face.nodes + front, node)) {
      back = front + kLength;
      return true;
    }
    if (block_has<kLength>(face.nodes + back - kLength, node)) {
      front = back - kLength;
      return true;
    }
  }
  return false;
}

}  // namespace

// The nodes of a run of merges come near each other, so that in a simple polygon the search goes in from both ends.
std::int32_t find_vertex(const Face &face, std::int32_t node) noexcept {
  constexpr std::int32_t kLongBlock = 4 * kBlock;
  std::int32_t front = 0;
  std::int32_t back = face.count;
  if (face.simple != 0 && !narrow_down<kBlock>(face, node, 4, front, back))
    (void)narrow_down<kLongBlock>(face, node, face.count, front, back);
  std::int32_t place = find_from(face.nodes, front, back, node);
  if (place == back) return -1;
  while (face.simple != 0 && place > 0 && face.nodes[place - 1] == node) --place;
  return place;
}

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
    const std::int32_t from = t == 0 ? 1 : 2;
    if (face.count > from) (void)mesh.polygon.append(face.nodes + from, face.count - from);
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

// How the rim is put together.
struct Rim {
  std::int32_t node;
  bool open;              // the node lies on the boundary and closes the rim
  bool spliced;           // into the largest face of the walk
  std::size_t largest;    // its place in the walk
  std::int32_t in_front;  // vertices of Mesh::polygon that come in front of it; the others come behind
};

// What the largest face of the walk gives to the rim lacks its first vertices: the node, and unless the walk starts
// there the vertex that it shares with the face before it.
std::int32_t dropped_of_largest(const Rim &rim) noexcept { return rim.largest == 0 ? 1 : 2; }

// The whole rim in Mesh::polygon, and room for it.
bool gather_whole(Mesh &mesh, Rim &rim, Fused &fused) noexcept {
  mesh.polygon.clear();
  if (!gather_rim(mesh, 0, mesh.taken.size())) return false;
  rim.open = mesh.polygon[0] != mesh.polygon[mesh.polygon.size() - 1];
  if (rim.open) (void)mesh.polygon.push_back(rim.node);
  return secure_room(mesh, fused) && secure_place(mesh, fused.face);
}

// The rim but for its largest face, and space for it at both ends of that face's polygon, of which little is looked at.
bool gather_around_largest(Mesh &mesh, Rim &rim, Fused &fused) noexcept {
  const Face &last = mesh.face(mesh.taken[mesh.taken.size() - 1]);
  rim.open = mesh.face(mesh.taken[0]).nodes[1] != last.nodes[last.count - 1];
  mesh.polygon.clear();
  if (!gather_rim(mesh, 0, rim.largest)) return false;
  rim.in_front = mesh.polygon.count();
  if (!gather_rim(mesh, rim.largest + 1, mesh.taken.size())) return false;
  if (rim.open) (void)mesh.polygon.push_back(rim.node);
  const std::int32_t slot = mesh.taken[rim.largest];
  return give_space(mesh, mesh.face(slot), rim.in_front, mesh.polygon.count() - rim.in_front) &&
         secure_place(mesh, fused.face) && list_seam(mesh, slot, dropped_of_largest(rim), rim.in_front);
}

std::int32_t count_vertices(const Mesh &mesh, const Rim &rim) noexcept {
  const std::int32_t gathered = mesh.polygon.count();
  return rim.spliced ? gathered + mesh.face(mesh.taken[rim.largest]).count - dropped_of_largest(rim) : gathered;
}

// Lengthens the largest polygon at both ends.
void splice(const Mesh &mesh, const Rim &rim, Fused &fused) noexcept {
  const Face &polygon = mesh.face(mesh.taken[rim.largest]);
  const std::int32_t dropped = dropped_of_largest(rim);
  const std::int32_t behind = mesh.polygon.count() - rim.in_front;
  const Room room = mesh.room_of(polygon);
  fused.face.count = count_vertices(mesh, rim);
  fused.face.nodes = polygon.nodes + dropped - rim.in_front;
  fused.room.front = room.front + dropped - rim.in_front;
  fused.room.back = room.back - behind;
  std::copy_n(mesh.polygon.data(), rim.in_front, fused.face.nodes);
  std::copy_n(mesh.polygon.data() + rim.in_front, behind, fused.face.nodes + fused.face.count - behind);
}

bool prune_spliced(Mesh &mesh, Fused &fused) noexcept {
  bool simple = false;
  const std::span<std::int32_t> rim{fused.face.nodes, static_cast<std::size_t>(fused.face.count)};
  const std::span<std::int32_t> left = prune_seam(mesh, rim, simple);
  const auto cut_in_front = static_cast<std::int32_t>(left.data() - rim.data());
  fused.room.front += cut_in_front;
  fused.room.back += static_cast<std::int32_t>(rim.size() - left.size()) - cut_in_front;
  fused.face.nodes = left.data();
  fused.face.count = static_cast<std::int32_t>(left.size());
  return simple;
}

}  // namespace

void merge_at_node(Mesh &mesh, std::int32_t node) noexcept {
  rotate_faces_to_node(mesh, node);
  const std::span<const std::int32_t> slots = mesh.faces_of(node);
  const bool walked = fuse_fan(mesh, node);
  for (const std::int32_t slot : slots) settle(mesh.face(slot));
  if (!walked) return;
  Fused fused{};
  Rim rim{node, false, false, place_of_largest(mesh), 0};
  rim.spliced = has_small_seam(mesh, rim.largest);
  const bool rim_simple = mesh.face(mesh.taken[rim.largest]).count < kLargePolygon && rim_is_simple(mesh, node);
  if (!(rim.spliced ? gather_around_largest(mesh, rim, fused) : gather_whole(mesh, rim, fused))) {
    report_no_memory(unit_name::kCoarsening);
    give_faces_back(mesh);
    return;
  }
  std::copy_n(mesh.face(mesh.taken[0]).normal, 3, fused.face.normal);
  join_boxes(mesh, fused.face);
  if (!rim.open) mesh.take_out_of_play(node);
  redirect_face_references(mesh, node);
  secure_extent(mesh, fused.room, count_vertices(mesh, rim), node);
  bool simple = false;
  if (rim.spliced) {
    splice(mesh, rim, fused);
    simple = prune_spliced(mesh, fused);
  } else {
    simple = prune_polygon_loops(mesh, rim_simple);
    store_polygon(mesh, fused);
  }
  forget_pruned(mesh, fused.room);
  fused.face.present = 1;
  fused.face.simple = simple ? 1 : 0;
  mesh.rooms[fused.face.room - 1] = fused.room;
  mesh.face(slots[0]) = fused.face;
}

}  // namespace sbr::coarse
