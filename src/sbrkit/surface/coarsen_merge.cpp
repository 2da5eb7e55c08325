// Coarsening, the part around one node: is its neighbourhood small and flat, and if so, walk the fan of its faces edge
// by edge and put the fan's outer rim in their place.
#include <algorithm>
#include <climits>
#include <cmath>
#include <limits>

#include "base/reports.h"
#include "surface/coarsen.h"

namespace sbr::coarse {
namespace {

// Fans of more faces than this look their neighbours up by vertex instead of trying face after face.
constexpr std::size_t kSmallFan = 16;

// ---- node test --------------------------------------------------------------------------------------------

void widen(Box &box, const Node &node) noexcept {
  const double at[3] = {node.x, node.y, node.z};
  for (int c = 0; c < 3; ++c) {
    box.low[c] = std::min(box.low[c], at[c]);
    box.high[c] = std::max(box.high[c], at[c]);
  }
}

// True when even the far corner of the box is near enough. Rounding keeps the order of distances, so that this decides
// as the vertices would; false leaves the matter to them.
bool box_within(const Box &box, const Node &center, double limit) noexcept {
  const double at[3] = {center.x, center.y, center.z};
  double farthest[3];
  for (int c = 0; c < 3; ++c) farthest[c] = std::max(std::fabs(box.low[c] - at[c]), std::fabs(box.high[c] - at[c]));
  return farthest[0] * farthest[0] + farthest[1] * farthest[1] + farthest[2] * farthest[2] <= limit;
}

bool too_far(const Mesh &mesh, const Node &center, std::int32_t vertex, double limit) noexcept {
  if (!mesh.in_play(vertex)) return false;
  const Node &node = mesh.node(vertex);
  const double dx = node.x - center.x;
  const double dy = node.y - center.y;
  const double dz = node.z - center.z;
  return dx * dx + dy * dy + dz * dz > limit;
}

// One node too far ends the test, whichever it is: the box and the vertex that failed last save most of the looking.
bool within_distance(Mesh &mesh, std::int32_t node, std::span<const std::int32_t> slots, double limit) noexcept {
  const Node &center = mesh.node(node);
  std::int32_t previous = -1;
  for (const std::int32_t slot : slots) {
    Face &face = mesh.face(slot);
    if (!face.present || slot == previous) continue;
    previous = slot;
    if (face.box != 0 && box_within(mesh.boxes[static_cast<std::size_t>(face.box) - 1], center, limit)) continue;
    if (face.far < face.count && too_far(mesh, center, face.nodes[face.far], limit)) return false;
    for (std::int32_t p = 0; p < face.count; ++p) {
      if (!too_far(mesh, center, face.nodes[p], limit)) continue;
      face.far = p;
      return false;
    }
  }
  return true;
}

// A flipped face counts as parallel.
bool flat(const Mesh &mesh, std::span<const std::int32_t> slots, double cosine) noexcept {
  const Face *reference = nullptr;
  for (const std::int32_t slot : slots) {
    const Face &face = mesh.face(slot);
    if (!face.present) continue;
    if (reference == nullptr) {
      reference = &face;
      continue;
    }
    if (face.count < 3) return false;
    const double *a = face.normal;
    const double *b = reference->normal;
    if (!(std::fabs(a[0] * b[0] + a[1] * b[1] + a[2] * b[2]) - cosine >= 0.0)) return false;
  }
  return true;
}

// ---- walking the fan --------------------------------------------------------------------------------------

// Reversing is put off until the attempts at a node are over: a failed attempt then costs its walk, not its vertices.
void reverse(Face &face) noexcept { face.reversed = !face.reversed; }

void settle(Face &face) noexcept {
  if (face.reversed && face.count > 2) std::reverse(face.nodes + 1, face.nodes + face.count);
  face.reversed = false;
}

// The vertices next to position 0, as the face is to be read. Asked of faces of two or more vertices.
std::int32_t second_vertex(const Face &face) noexcept { return face.nodes[face.reversed ? face.count - 1 : 1]; }
std::int32_t last_vertex(const Face &face) noexcept { return face.nodes[face.reversed ? 1 : face.count - 1]; }

bool starts_with(const Face &face, std::int32_t vertex) noexcept {
  return face.count > 1 && second_vertex(face) == vertex;
}
bool ends_with(const Face &face, std::int32_t vertex) noexcept {
  return face.count > 1 ? last_vertex(face) == vertex : face.nodes[0] == vertex;
}

bool by_vertex(const FanEnd &a, const FanEnd &b) noexcept {
  return a.vertex != b.vertex ? a.vertex < b.vertex : a.place < b.place;
}

// Notes both ends of every face of a large fan. Reversing a face swaps its ends, so the table holds for all attempts.
// Of a slot that stands several times in the list only the first place counts: it is found first.
bool note_fan_ends(Mesh &mesh, std::span<const std::int32_t> slots) noexcept {
  mesh.fan_ends.clear();
  if (slots.size() <= kSmallFan) return true;
  std::int32_t previous = -1;
  for (std::size_t place = 0; place < slots.size(); ++place) {
    if (slots[place] == previous) continue;
    previous = slots[place];
    const Face &face = mesh.face(slots[place]);
    const auto at = static_cast<std::int32_t>(place);
    if (face.count > 1 && !mesh.fan_ends.push_back({face.nodes[1], at})) return false;
    if (!mesh.fan_ends.push_back({face.nodes[face.count - 1], at})) return false;
  }
  std::sort(mesh.fan_ends.begin(), mesh.fan_ends.end(), by_vertex);
  return true;
}

// The slot of the first present face, in order of the list, that goes on from a vertex; -1 when there is none.
template <class GoesOn>
std::int32_t first_face(const Mesh &mesh, std::span<const std::int32_t> slots, std::int32_t vertex,
                        GoesOn goes_on) noexcept {
  if (mesh.fan_ends.empty()) {
    for (const std::int32_t slot : slots)
      if (mesh.face(slot).present && goes_on(mesh.face(slot), vertex)) return slot;
    return -1;
  }
  const FanEnd *end = std::lower_bound(mesh.fan_ends.begin(), mesh.fan_ends.end(), FanEnd{vertex, 0}, by_vertex);
  for (; end != mesh.fan_ends.end() && end->vertex == vertex; ++end) {
    const std::int32_t slot = slots[end->place];
    if (mesh.face(slot).present && goes_on(mesh.face(slot), vertex)) return slot;
  }
  return -1;
}

// Takes the faces edge by edge, from a start on, until all are taken. False when no face goes on; the faces taken so
// far are in Mesh::taken.
bool walk_fan(Mesh &mesh, std::span<const std::int32_t> slots, std::int32_t start) noexcept {
  mesh.taken.clear();
  mesh.face(start).present = false;
  (void)mesh.taken.push_back(start);
  if (mesh.face(start).count < 2) return false;  // nothing would be left of the face without its node
  std::int32_t vertex = last_vertex(mesh.face(start));
  while (mesh.taken.size() < slots.size()) {
    std::int32_t slot = first_face(mesh, slots, vertex, starts_with);
    if (slot < 0) {
      slot = first_face(mesh, slots, vertex, ends_with);
      if (slot < 0) return false;
      reverse(mesh.face(slot));
    }
    mesh.face(slot).present = false;
    (void)mesh.taken.push_back(slot);
    if (mesh.face(slot).count > 2) vertex = last_vertex(mesh.face(slot));
  }
  return true;
}

// Strings the taken faces together: the first from position 1 on, each other one from position 2 on. Leaves room for
// one vertex more. False when memory is short.
bool string_together(Mesh &mesh) noexcept {
  std::int64_t total = 1;
  for (const std::int32_t slot : mesh.taken) total += mesh.face(slot).count;
  mesh.polygon.clear();
  if (total > INT_MAX || !mesh.polygon.reserve(total)) return false;
  std::int32_t from = 1;
  for (const std::int32_t slot : mesh.taken) {
    Face &face = mesh.face(slot);
    settle(face);
    const std::size_t have = mesh.polygon.size();
    const std::int32_t more = std::max(0, face.count - from);
    (void)mesh.polygon.resize(static_cast<std::int64_t>(have) + more);
    std::copy_n(face.nodes + from, more, mesh.polygon.data() + have);
    from = 2;
  }
  return true;
}

bool give_faces_back(Mesh &mesh) noexcept {
  for (const std::int32_t slot : mesh.taken) mesh.face(slot).present = true;
  mesh.taken.clear();
  return false;
}

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

// Finds room for the fused polygon and the node that may close it: the largest room among the faces taken, or new room
// that leaves space to grow.
bool secure_room(Mesh &mesh, Face &room) noexcept {
  const auto wanted = static_cast<std::int32_t>(mesh.polygon.size()) + 1;
  for (const std::int32_t slot : mesh.taken)
    if (const Face &face = mesh.face(slot); face.capacity > room.capacity) room = face;
  if (room.capacity >= wanted) return true;
  const std::int64_t capacity = std::min<std::int64_t>(static_cast<std::int64_t>(wanted) + wanted / 2, INT_MAX);
  room.nodes = take_room(mesh, capacity);
  room.capacity = static_cast<std::int32_t>(capacity);
  return room.nodes != nullptr;
}

// Fuses with every start in turn, as listed, then again with the later starts reversed.
bool fuse_fan(Mesh &mesh, std::int32_t node) noexcept {
  const int count = mesh.node(node).count;
  for (int k = 0; k < count; ++k)
    if (merge_face_fan(mesh, node, k)) return true;
  for (int k = 0; k > -count; --k)
    if (merge_face_fan(mesh, node, k)) return true;
  return false;
}

// Gives the polygon of the taken faces a box around all their nodes in play. False when memory is short.
bool secure_box(Mesh &mesh, Face &room) noexcept {
  constexpr double kFar = std::numeric_limits<double>::infinity();
  Box box{{kFar, kFar, kFar}, {-kFar, -kFar, -kFar}};
  room.box = 0;
  for (const std::int32_t slot : mesh.taken) {
    const Face &face = mesh.face(slot);
    if (face.box != 0) {
      const Box &other = mesh.boxes[static_cast<std::size_t>(face.box) - 1];
      for (int c = 0; c < 3; ++c) {
        box.low[c] = std::min(box.low[c], other.low[c]);
        box.high[c] = std::max(box.high[c], other.high[c]);
      }
      room.box = face.box;
      continue;
    }
    for (std::int32_t p = 0; p < face.count; ++p)
      if (mesh.in_play(face.nodes[p])) widen(box, mesh.node(face.nodes[p]));
  }
  if (room.box == 0) {
    if (!mesh.boxes.push_back(box)) return false;
    room.box = mesh.boxes.count();
  }
  mesh.boxes[static_cast<std::size_t>(room.box) - 1] = box;
  return true;
}

// Puts the polygon into a slot, in the room secured for it.
void store_polygon(Mesh &mesh, std::int32_t slot, const Face &room, const double *normal) noexcept {
  Face &face = mesh.face(slot);
  std::copy_n(normal, 3, face.normal);
  face.nodes = room.nodes;
  face.capacity = room.capacity;
  face.box = room.box;
  face.distinct = room.distinct;
  face.far = 0;
  face.count = mesh.polygon.count();
  std::copy(mesh.polygon.begin(), mesh.polygon.end(), face.nodes);
  face.present = true;
}

}  // namespace

bool node_test(Mesh &mesh, std::int32_t node, const Limits &limits) noexcept {
  if (!mesh.in_play(node)) return false;
  follow_redirections(mesh, node);
  const std::span<const std::int32_t> slots = mesh.faces_of(node);
  return slots.size() >= 2 && within_distance(mesh, node, slots, limits.distance_squared) &&
         flat(mesh, slots, limits.cosine);
}

namespace {

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

// Turns a polygon so that a position comes first, moving whole blocks.
void rotate(Mesh &mesh, Face &face, std::int32_t position) noexcept {
  if (position == 0) return;
  if (!mesh.turned.reserve(face.count)) {
    std::rotate(face.nodes, face.nodes + position, face.nodes + face.count);
    return;
  }
  std::int32_t *front = mesh.turned.data();
  const std::int32_t behind = face.count - position;
  std::copy_n(face.nodes, position, front);
  std::copy(face.nodes + position, face.nodes + face.count, face.nodes);
  std::copy_n(front, position, face.nodes + behind);
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

// Fuses the faces of a node into Mesh::polygon, starting with face |k| of its list, reversed first for a negative k.
// On success Mesh::taken holds the slots in the order of the walk, now empty; otherwise they are as they were, but for
// the faces that the attempt has reversed.
bool merge_face_fan(Mesh &mesh, std::int32_t node, int k) noexcept {
  const std::span<const std::int32_t> slots = mesh.faces_of(node);
  const std::int32_t start = slots[std::abs(k)];
  if (k < 0) reverse(mesh.face(start));
  if (!walk_fan(mesh, slots, start)) return give_faces_back(mesh);
  if (string_together(mesh)) return true;
  report_no_memory(unit_name::kCoarsening);
  return give_faces_back(mesh);
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

void merge_at_node(Mesh &mesh, std::int32_t node) noexcept {
  rotate_faces_to_node(mesh, node);
  const std::span<const std::int32_t> slots = mesh.faces_of(node);
  Face room{};
  const bool prepared = note_fan_ends(mesh, slots) && mesh.taken.reserve(static_cast<std::int64_t>(slots.size()));
  const bool fused = prepared && fuse_fan(mesh, node);
  for (const std::int32_t slot : slots) settle(mesh.face(slot));
  const bool secured = fused && secure_room(mesh, room) && secure_box(mesh, room);
  if (!prepared || (fused && !secured)) report_no_memory(unit_name::kCoarsening);
  if (!fused || !secured) {
    give_faces_back(mesh);
    return;
  }
  double normal[3];
  std::copy_n(mesh.face(mesh.taken[0]).normal, 3, normal);
  const bool open = mesh.polygon[0] != mesh.polygon[mesh.polygon.size() - 1];
  if (open) (void)mesh.polygon.push_back(node);
  const bool rim_distinct = rim_is_distinct(mesh);
  redirect_face_references(mesh, node);
  if (!open) mesh.node(node).in_play = false;
  room.distinct = prune_polygon_loops(mesh, rim_distinct);
  store_polygon(mesh, slots[0], room, normal);
}

}  // namespace sbr::coarse
