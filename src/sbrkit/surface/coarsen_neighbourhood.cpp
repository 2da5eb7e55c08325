// Coarsening, the test of one node: is its neighbourhood small and nearly flat.
//
// One vertex too far away fails a node, whichever it is. A polygon that grows to thousands of vertices is looked at by
// every node on its rim, so the answers come from less than the polygon. Its outposts, the outermost vertices in 14
// directions, tell that one vertex is too far; boxes tell that all are near. The vertices themselves decide what is
// then still open.
#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

#include "surface/coarsen_mesh.h"

namespace sbr::coarse {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

constexpr Box kEmptyBox{{kInfinity, kInfinity, kInfinity}, {-kInfinity, -kInfinity, -kInfinity}};

// The largest float that is not above a value. Neighbouring floats have neighbouring words; those of negative ones
// count the other way.
float rounded_down(double value) noexcept {
  const auto near = static_cast<float>(value);
  if (!(near > value)) return near;
  const auto word = std::bit_cast<std::int32_t>(near);
  if (near == 0.0F) return -std::numeric_limits<float>::denorm_min();
  return std::bit_cast<float>(near > 0.0F ? word - 1 : word + 1);
}

void widen(Box &box, const Node &node) noexcept {
  const double at[3] = {node.x, node.y, node.z};
  for (int c = 0; c < 3; ++c) {
    box.low[c] = std::min(box.low[c], at[c]);
    box.high[c] = std::max(box.high[c], at[c]);
  }
}

// True when even the far corner of the box is near enough. Rounding keeps the order of distances, so that this decides
// as the vertices would; false leaves the matter to them.
template <class Boxed>
bool box_within(const Boxed &box, const Node &center, double limit) noexcept {
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

// ---- outposts ---------------------------------------------------------------------------------------------

// How far a node lies out along the 7 axes through the sides and corners of a cube.
void heights_of(const Node &node, double (&height)[kAxes]) noexcept {
  const double sum = node.x + node.y;
  const double difference = node.x - node.y;
  height[0] = node.x;
  height[1] = node.y;
  height[2] = node.z;
  height[3] = sum + node.z;
  height[4] = sum - node.z;
  height[5] = difference + node.z;
  height[6] = difference - node.z;
}

void take_if_farther(Extent &extent, int direction, std::int32_t node, double height) noexcept {
  if (!(height > extent.height[direction])) return;
  extent.height[direction] = height;
  extent.outpost[direction] = node;
}

void drop_outpost(Extent &extent, int direction) noexcept {
  extent.outpost[direction] = -1;
  extent.height[direction] = -kInfinity;
}

void forget_node(Extent &extent, std::int32_t node) noexcept {
  for (int d = 0; d < kOutposts; ++d)
    if (extent.outpost[d] == node) drop_outpost(extent, d);
}

bool outpost_too_far(const Mesh &mesh, const Extent &extent, const Node &center, double limit) noexcept {
  return std::any_of(std::begin(extent.outpost), std::end(extent.outpost),
                     [&](std::int32_t vertex) { return too_far(mesh, center, vertex, limit); });
}

// ---- the list of all vertices -----------------------------------------------------------------------------

// As powers of two, the vertices of the boxes on each level.
constexpr unsigned kBoxBits = 6;
constexpr unsigned kLevelBits[kCoverLevels] = {kBoxBits, 2 * kBoxBits};

// Adds a vertex in play. False when memory is short.
bool list_node(const Mesh &mesh, Extent &extent, std::int32_t index) noexcept {
  const Node &node = mesh.node(index);
  const std::size_t place = extent.listed.size();
  if (!extent.listed.push_back(index)) return false;
  for (int level = 0; level < kCoverLevels; ++level) {
    Array<Box> &boxes = extent.boxes[level];
    const std::size_t box = place >> kLevelBits[level];
    if (box == boxes.size() && !boxes.push_back(kEmptyBox)) return false;
    widen(boxes[box], node);
  }
  return true;
}

// Takes the vertices of a face, but for those that it shares, around the node, with one that is listed already.
bool take_vertices(const Mesh &mesh, Extent &extent, const Face &face, const Face *listed) noexcept {
  for (std::int32_t p = 0; p < face.count; ++p) {
    const std::int32_t index = face.nodes[p];
    if (!mesh.in_play(index)) continue;
    if (listed != nullptr &&
        (index == listed->nodes[0] || index == listed->nodes[1] || index == listed->nodes[listed->count - 1]))
      continue;
    double height[kAxes];
    heights_of(mesh.node(index), height);
    for (int axis = 0; axis < kAxes; ++axis) {
      take_if_farther(extent, axis, index, height[axis]);
      take_if_farther(extent, kAxes + axis, index, -height[axis]);
    }
    if (!list_node(mesh, extent, index)) return false;
  }
  return true;
}

// Whether the vertices of a box are within the limit, by the boxes inside it where need be. False leaves it open: the
// vertex that is too far may be one that the polygon has lost.
bool cover_within(const Mesh &mesh, const Extent &extent, int level, std::size_t box, const Node &center,
                  double limit) noexcept {
  if (box_within(extent.boxes[level][box], center, limit)) return true;
  if (level > 0) {
    const std::size_t end = std::min((box + 1) << kBoxBits, extent.boxes[level - 1].size());
    for (std::size_t inner = box << kBoxBits; inner < end; ++inner)
      if (!cover_within(mesh, extent, level - 1, inner, center, limit)) return false;
    return true;
  }
  const std::size_t end = std::min((box + 1) << kBoxBits, extent.listed.size());
  for (std::size_t place = box << kBoxBits; place < end; ++place)
    if (too_far(mesh, center, extent.listed[place], limit)) return false;
  return true;
}

bool all_within(const Mesh &mesh, const Extent &extent, const Node &center, double limit) noexcept {
  constexpr int kTop = kCoverLevels - 1;
  for (std::size_t box = 0; box < extent.boxes[kTop].size(); ++box)
    if (!cover_within(mesh, extent, kTop, box, center, limit)) return false;
  return true;
}

void clear(Extent &extent) noexcept {
  for (int d = 0; d < kOutposts; ++d) drop_outpost(extent, d);
  extent.listed.clear();
  for (Array<Box> &boxes : extent.boxes) boxes.clear();
}

// ---- the two tests ----------------------------------------------------------------------------------------

bool any_too_far(const Mesh &mesh, const std::int32_t *vertices, std::int32_t count, const Node &center,
                 double limit) noexcept {
  return std::any_of(vertices, vertices + count,
                     [&](std::int32_t vertex) { return too_far(mesh, center, vertex, limit); });
}

// Gives a large fused polygon its extent. Without memory for it there is none.
void make_extent(Mesh &mesh, const Face &face) noexcept {
  Extent *fresh = mesh.extents.add();
  if (fresh == nullptr) return;
  clear(*fresh);
  if (take_vertices(mesh, *fresh, face, nullptr)) mesh.rooms[face.room - 1].extent = mesh.extents.count();
}

// An extent is made when a large polygon is looked through for the first time.
bool face_within_distance(Mesh &mesh, const Face &face, const Node &center, double limit) noexcept {
  constexpr std::int32_t kFirstLook = 32;
  if (box_within(face, center, limit)) return true;
  if (face.count >= kLargePolygon && face.room != 0) {
    if (mesh.room_of(face).extent == 0) {
      if (any_too_far(mesh, face.nodes, kFirstLook, center, limit)) return false;
      make_extent(mesh, face);
    }
    if (const std::int32_t place = mesh.room_of(face).extent; place != 0) {
      const Extent &extent = *mesh.extents[place - 1];
      if (outpost_too_far(mesh, extent, center, limit)) return false;
      if (all_within(mesh, extent, center, limit)) return true;
    }
  }
  return !any_too_far(mesh, face.nodes, face.count, center, limit);
}

bool within_distance(Mesh &mesh, std::int32_t node, std::span<const std::int32_t> slots, double limit) noexcept {
  const Node &center = mesh.node(node);
  std::int32_t previous = -1;
  for (const std::int32_t slot : slots) {
    const Face &face = mesh.face(slot);
    if (!face.present || slot == previous) continue;
    previous = slot;
    if (!face_within_distance(mesh, face, center, limit)) return false;
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

}  // namespace

bool node_test(Mesh &mesh, std::int32_t node, const Limits &limits) noexcept {
  if (!mesh.in_play(node)) return false;
  follow_redirections(mesh, node);
  const std::span<const std::int32_t> slots = mesh.faces_of(node);
  return slots.size() >= 2 && within_distance(mesh, node, slots, limits.distance_squared) &&
         flat(mesh, slots, limits.cosine);
}

namespace {

// The normal of the first corner, (P2 - P1) x (P0 - P1). A face that refers to no node of the table there has none.
void compute_normal(const Mesh &mesh, Face &face) noexcept {
  const auto known = [&](std::int32_t node) { return mesh.is_listed(node); };
  if (face.count < 3 || !known(face.nodes[0]) || !known(face.nodes[1]) || !known(face.nodes[2])) return;
  const Node &p0 = mesh.node(face.nodes[0]);
  const Node &p1 = mesh.node(face.nodes[1]);
  const Node &p2 = mesh.node(face.nodes[2]);
  const double a[3] = {p2.x - p1.x, p2.y - p1.y, p2.z - p1.z};
  const double b[3] = {p0.x - p1.x, p0.y - p1.y, p0.z - p1.z};
  double *n = face.normal;
  n[0] = a[1] * b[2] - a[2] * b[1];
  n[1] = a[2] * b[0] - a[0] * b[2];
  n[2] = a[0] * b[1] - a[1] * b[0];
  const double length = std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
  if (length == 0.0) return;
  for (int c = 0; c < 3; ++c) n[c] /= length;
}

// Numbers that are no numbers are passed over, as the check of the distance does.
void box_vertices(const Mesh &mesh, Face &face) noexcept {
  Box box = kEmptyBox;
  for (std::int32_t p = 0; p < face.count; ++p)
    if (mesh.is_listed(face.nodes[p])) widen(box, mesh.node(face.nodes[p]));
  for (int c = 0; c < 3; ++c) {
    face.low[c] = rounded_down(box.low[c]);
    face.high[c] = -rounded_down(-box.high[c]);
  }
}

}  // namespace

void measure_faces(Mesh &mesh) noexcept {
  for (Face &face : mesh.faces) {
    compute_normal(mesh, face);
    box_vertices(mesh, face);
  }
}

void join_boxes(const Mesh &mesh, Face &fused) noexcept {
  const Face &first = mesh.face(mesh.taken[0]);
  std::copy_n(first.low, 3, fused.low);
  std::copy_n(first.high, 3, fused.high);
  for (const std::int32_t slot : mesh.taken) {
    const Face &face = mesh.face(slot);
    for (int c = 0; c < 3; ++c) {
      fused.low[c] = std::min(fused.low[c], face.low[c]);
      fused.high[c] = std::max(fused.high[c], face.high[c]);
    }
  }
}

namespace {

// The longest list among the faces taken; 0 when none has one.
std::int32_t longest_extent(const Mesh &mesh) noexcept {
  std::int32_t longest = 0;
  for (const std::int32_t slot : mesh.taken) {
    const std::int32_t extent = mesh.room_of(mesh.face(slot)).extent;
    if (extent != 0 &&
        (longest == 0 || mesh.extents[extent - 1]->listed.size() > mesh.extents[longest - 1]->listed.size()))
      longest = extent;
  }
  return longest;
}

}  // namespace

void secure_extent(Mesh &mesh, Room &room, std::int32_t vertices, std::int32_t node) noexcept {
  room.extent = 0;
  const std::int32_t place = longest_extent(mesh);
  if (place == 0) return;
  Extent &extent = *mesh.extents[place - 1];
  const Face *listed = nullptr;
  std::int32_t others = 0;
  for (const std::int32_t slot : mesh.taken) {
    const Face &face = mesh.face(slot);
    const std::int32_t own = mesh.room_of(face).extent;
    if (own != 0 && own != place) *mesh.extents[own - 1] = Extent{};
    if (own == place)
      listed = &face;
    else
      others += face.count;
  }
  // A list that names far more than the polygon holds, or little of it, is made anew when it is asked for.
  if (vertices < kLargePolygon || extent.listed.count() / 4 > vertices || extent.listed.count() < others) {
    extent = Extent{};
    return;
  }
  if (!mesh.in_play(node)) forget_node(extent, node);
  for (const std::int32_t slot : mesh.taken)
    if (const Face &face = mesh.face(slot); &face != listed && !take_vertices(mesh, extent, face, listed)) return;
  room.extent = place;
}

void forget_pruned(Mesh &mesh, const Room &room) noexcept {
  if (room.extent == 0) return;
  Extent &extent = *mesh.extents[room.extent - 1];
  for (const std::int32_t node : mesh.pruned) forget_node(extent, node);
}

}  // namespace sbr::coarse
