// Coarsening: wherever a node sits in a small and nearly flat neighbourhood, the faces around it become one polygon.
// This unit reads the options and runs the reduction; coarsen.h tells where its steps stand.
#include "surface/coarsen.h"

#include <algorithm>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstring>

#include "base/reports.h"
#include "body/faces.h"
#include "body/node_table.h"
#include "body/registry.h"
#include "surface/coarsen_mesh.h"

namespace sbr::coarse {

// ---- tables -----------------------------------------------------------------------------------------------

namespace {

// What is read here and there is called for so many steps ahead.
constexpr std::int32_t kAhead = 32;

bool build_faces(Mesh &mesh, const SbrBody &body) noexcept {
  std::int64_t faces = 0;
  std::int64_t vertices = 0;
  for (FaceWalk walk(body.faces); walk.next(); ++faces) vertices += static_cast<std::int64_t>(walk.face().size());
  if (faces == 0) return false;
  if (!mesh.faces.allocate(faces) || !mesh.merged_into.allocate(faces) ||
      (vertices > 0 && !mesh.pool.allocate(vertices))) {
    report_no_memory(unit_name::kCoarsening);
    return false;
  }
  std::int32_t *room = mesh.pool.data();
  std::int32_t slot = 0;
  for (FaceWalk walk(body.faces); walk.next(); ++slot) {
    Face &face = mesh.face(slot);
    face.nodes = room;
    face.count = static_cast<std::int32_t>(walk.face().size());
    face.present = 1;
    room = std::copy(walk.face().begin(), walk.face().end(), room);
    mesh.merged_into[slot] = slot;
  }
  return true;
}

bool build_nodes(Mesh &mesh, const SbrBody &body) noexcept {
  const Array<NodeRecord> &records = body.nodes.nodes;
  if (records.empty()) return false;
  if (!mesh.nodes.allocate(records.count()) || !mesh.marks.allocate(records.count()) ||
      !mesh.group_of.allocate(records.count())) {
    report_no_memory(unit_name::kCoarsening);
    return false;
  }
  for (std::int32_t number = 0; number < records.count(); ++number) {
    if (number + kAhead < records.count()) __builtin_prefetch(&records[mesh.index(number + kAhead)]);
    const NodeRecord &record = records[mesh.index(number)];
    mesh.node(number) = {record.x, record.y, record.z, 0, 0};
  }
  return true;
}

// ---- numbers of the nodes ---------------------------------------------------------------------------------

// Tables that fit a processor's cache are as quick in any order.
constexpr int kManyNodes = 1000;

// Whether the nodes of a face tend to lie far apart in the node table, by some of the faces.
bool is_scattered(const Mesh &mesh, int nodes) noexcept {
  constexpr std::int32_t kStep = 97;
  double spread = 0.0;
  double looked_at = 0.0;
  for (std::int32_t slot = 0; slot < mesh.faces.count(); slot += kStep) {
    const Face &face = mesh.face(slot);
    if (face.count == 0) continue;
    const auto [low, high] = std::minmax_element(face.nodes, face.nodes + face.count);
    spread += static_cast<double>(*high) - *low;
    looked_at += 1.0;
  }
  return spread > looked_at * nodes / 16.0;
}

// Numbers the nodes in the order in which the faces name them, the others behind. Without memory for it the indices
// serve as well.
void number_by_faces(Mesh &mesh, int nodes) noexcept {
  LargeTable<std::int32_t> number_of;
  if (!number_of.allocate(nodes) || !mesh.index_of.allocate(nodes)) return;
  std::fill(number_of.begin(), number_of.end(), -1);
  std::int32_t given = 0;
  const auto give_number = [&](std::int32_t index) {
    if (number_of[index] >= 0) return;
    mesh.index_of[given] = index;
    number_of[index] = given++;
  };
  const auto is_index = [nodes](std::int32_t vertex) { return vertex >= 0 && vertex < nodes; };
  for (std::size_t place = 0; place < mesh.pool.size(); ++place) {
    const std::size_t later = std::min(place + kAhead, mesh.pool.size() - 1);
    if (is_index(mesh.pool[later])) __builtin_prefetch(&number_of[mesh.pool[later]]);
    std::int32_t &vertex = mesh.pool[place];
    if (!is_index(vertex)) continue;
    give_number(vertex);
    vertex = number_of[vertex];
  }
  for (std::int32_t index = 0; index < nodes; ++index) give_number(index);
  mesh.number_of.swap(number_of);
}

}  // namespace

bool build_tables(Mesh &mesh, const SbrBody &body) noexcept {
  const bool faces = build_faces(mesh, body);
  const int nodes = body.nodes.nodes.count();
  if (faces && nodes >= kManyNodes && is_scattered(mesh, nodes)) number_by_faces(mesh, nodes);
  return build_nodes(mesh, body) && faces;
}

bool fill_incidence(Mesh &mesh) noexcept {
  const auto known = [&](std::int32_t node) { return mesh.is_listed(node); };
  std::int32_t total = 0;
  for (const std::int32_t vertex : mesh.pool)
    if (known(vertex)) {
      mesh.node(vertex).count += 1;
      total += 1;
    }
  if (total > 0 && !mesh.incidence.allocate(total)) {
    report_no_memory(unit_name::kCoarsening);
    return false;
  }
  std::int32_t first = 0;
  for (std::int32_t i = 0; i < mesh.nodes.count(); ++i) {
    Node &node = mesh.node(i);
    mesh.marks[i] = node.count > 0 ? kInPlay : 0;
    node.first = first;
    first += node.count;
    node.count = 0;
  }
  for (std::int32_t slot = 0; slot < mesh.faces.count(); ++slot) {
    const Face &face = mesh.face(slot);
    for (std::int32_t p = 0; p < face.count; ++p) {
      if (!known(face.nodes[p])) continue;
      Node &node = mesh.node(face.nodes[p]);
      mesh.incidence[node.first + node.count++] = slot;
    }
  }
  return true;
}

// ---- options ----------------------------------------------------------------------------------------------

namespace {

// Reads the items of an option string from front to back. Exactly one character of any kind stands between two items.
class OptionReader {
 public:
  explicit OptionReader(const char *text) noexcept : at_(text), end_(text + std::strlen(text)) {}

  // A decimal number; 0.0 for text that is none. The locale plays no part.
  double number() noexcept {
    skip_blanks_and_plus();
    double value = 0.0;
    const auto [rest, fault] = std::from_chars(at_, end_, value);
    if (fault == std::errc::result_out_of_range) value = HUGE_VAL;
    at_ = rest;
    skip_separator();
    return value;
  }

  // A whole number, kept within 64 bits; 0 for text that is none.
  std::int64_t whole_number() noexcept {
    skip_blanks_and_plus();
    std::int64_t value = 0;
    const auto [rest, fault] = std::from_chars(at_, end_, value);
    if (fault == std::errc::result_out_of_range) value = INT64_MAX;
    at_ = rest;
    skip_separator();
    return value;
  }

  // The same for an item of a list: an item that reads as 0 ends the list and stays in front of the reader.
  std::int64_t list_item() noexcept {
    const char *item = at_;
    const std::int64_t value = whole_number();
    if (value == 0) at_ = item;
    return value;
  }

  [[nodiscard]] bool rest_contains(const char *keyword) const noexcept { return std::strstr(at_, keyword) != nullptr; }

 private:
  void skip_blanks_and_plus() noexcept {
    const char *at = at_;
    while (at != end_ && std::strchr(" \t\n\v\f\r", *at) != nullptr) ++at;
    if (end_ - at > 1 && at[0] == '+' && at[1] != '-') ++at;
    at_ = at;
  }
  void skip_separator() noexcept {
    if (at_ != end_) ++at_;
  }

  const char *at_;
  const char *end_;
};

// A number cut to a whole one. A zero has no sign.
double cut(double value) noexcept { return std::trunc(value) + 0.0; }

double read_resolution(OptionReader &options) noexcept {
  const double resolution = options.number();
  if (resolution > 0.0 && resolution <= 0.5) return resolution;
  report_warning("Coarsening resolution outside the 0-50 percent range not supported.  You selected %lf\n",
                 cut(resolution * 100));
  return 0.02;
}

double read_face_angle(OptionReader &options) noexcept {
  const double angle = options.number();
  if (angle > 0.0 && angle <= 45.0) return angle;
  report_warning("Face angles outside the 0-45 degree range not supported.  You selected %lf\n", angle);
  return 10.0;
}

void announce(double resolution, double angle, bool colinear) noexcept {
  const auto percent = static_cast<int>(resolution * 100);
  if (colinear)
    report_info("Coarsening to resolution %d%%%% with face-angle %5.2lf deg and co-linear vertex removal", percent,
                angle);
  else
    report_info("Coarsening to resolution %d%%%% with face-angle %5.2lf deg", percent, angle);
}

// ---- preserve list ----------------------------------------------------------------------------------------

// Takes a node out of play and says so.
void preserve(Mesh &mesh, std::int32_t index, int id) noexcept {
  report_info("%d ", id);
  mesh.take_out_of_play(mesh.number(index));
}

// The same for a node named by its ID. An unknown node, or one that is out of play already, is passed over.
int preserve_id(Mesh &mesh, SbrBody &body, int id) noexcept {
  const int index = node_index(body, id);
  if (!mesh.in_play(mesh.number(index))) return 0;
  preserve(mesh, index, id);
  return 1;
}

int preserve_interface_nodes(Mesh &mesh, SbrBody &body) noexcept {
  int preserved = 0;
  for (const std::int32_t index : body.interface_nodes.nodes) {
    if (!mesh.is_listed(index)) continue;
    preserve(mesh, index, node_id(body, index));
    preserved += 1;
  }
  return preserved;
}

int apply_preserve_list(Mesh &mesh, SbrBody &body, OptionReader &options) noexcept {
  report_info("Preserving nodes: ");
  int preserved = preserve_interface_nodes(mesh, body);
  for (std::int64_t id = options.list_item(); id != 0; id = options.list_item())
    if (id >= INT_MIN && id <= INT_MAX) preserved += preserve_id(mesh, body, static_cast<int>(id));
  if (options.rest_contains("preserve_str")) {
    for (const Kind kind : kListedKinds)
      for (int position = 0; position < kind_count(body, kind); ++position)
        preserved += preserve_id(mesh, body, kind_node_id(body, kind, position));
  }
  if (preserved == 0) report_info(" NONE");
  return preserved;
}

// ---- the run ----------------------------------------------------------------------------------------------

// The diagonal of the bounding box of all nodes, whether a face refers to them or not.
double diagonal_of(const SbrBody &body) noexcept {
  const Array<NodeRecord> &nodes = body.nodes.nodes;
  if (nodes.empty()) return 0.0;
  NodeRecord low = nodes[0];
  NodeRecord high = nodes[0];
  for (const NodeRecord &node : nodes) {
    low.x = std::min(low.x, node.x);
    low.y = std::min(low.y, node.y);
    low.z = std::min(low.z, node.z);
    high.x = std::max(high.x, node.x);
    high.y = std::max(high.y, node.y);
    high.z = std::max(high.z, node.z);
  }
  const double dx = high.x - low.x;
  const double dy = high.y - low.y;
  const double dz = high.z - low.z;
  return std::sqrt(dx * dx + dy * dy + dz * dz);
}

// Scattered nodes are taken from all over the tables. What the nodes to come will look at is called for in time, stage
// by stage: the node, its list, where the slots of the list have come to, the faces there, their vertices. Nothing
// depends on it but the time.
class LookAhead {
 public:
  explicit LookAhead(const Mesh &mesh) noexcept : mesh_(mesh), end_(mesh.number_of.count()) {}

  // Inlined, since a call that only calls for data would be taken for one that does nothing.
  [[gnu::always_inline]] inline void past(std::int32_t index) noexcept {
    if (index + kFarthest >= end_) return;
    __builtin_prefetch(&mesh_.node(mesh_.number_of[index + kFarthest]));
    __builtin_prefetch(mesh_.incidence.data() + mesh_.node(mesh_.number_of[index + 24]).first);
    list_slots(index + 20);
    for (std::int32_t &slot : slots_of(index + 16)) {
      slot = mesh_.merged_into[slot];
      __builtin_prefetch(&mesh_.merged_into[slot]);
      __builtin_prefetch(&mesh_.face(slot));
    }
    for (std::int32_t &slot : slots_of(index + 12)) {
      const Face &face = mesh_.face(slot);
      __builtin_prefetch(face.nodes);
      slot = mesh_.merged_into[slot];
      if (&mesh_.face(slot) != &face) __builtin_prefetch(&mesh_.face(slot));
    }
    for (const std::int32_t slot : slots_of(index + 8)) {
      const Face &face = mesh_.face(slot);
      if (face.room == 0) continue;
      __builtin_prefetch(&mesh_.rooms[face.room - 1]);
      __builtin_prefetch(face.nodes);
      __builtin_prefetch(face.nodes + face.count - 1);
    }
  }

 private:
  static constexpr std::int32_t kFarthest = 28;
  static constexpr std::size_t kMostSlots = 8;
  static constexpr std::size_t kRing = 32;

  struct Slots {
    std::int32_t count;
    std::int32_t slot[kMostSlots];
  };

  // Copies the list of a node, without repeats that stand together, and calls for where its slots have come to.
  [[gnu::always_inline]] inline void list_slots(std::int32_t index) noexcept {
    Slots &slots = ring_[static_cast<std::size_t>(index) % kRing];
    slots.count = 0;
    for (const std::int32_t slot : mesh_.faces_of(mesh_.number_of[index])) {
      if (slots.count == kMostSlots) break;
      slots.slot[slots.count++] = slot;
      __builtin_prefetch(&mesh_.merged_into[slot]);
    }
  }
  [[nodiscard]] std::span<std::int32_t> slots_of(std::int32_t index) noexcept {
    Slots &slots = ring_[static_cast<std::size_t>(index) % kRing];
    return {slots.slot, static_cast<std::size_t>(slots.count)};
  }

  const Mesh &mesh_;
  std::int32_t end_;
  Slots ring_[kRing] = {};
};

void merge_all(Mesh &mesh, const Limits &limits) noexcept {
  LookAhead ahead(mesh);
  const std::int32_t n = mesh.nodes.count();
  SBR_TimeMonitor(100);
  for (std::int32_t i = 0; i < n; ++i) {
    if (n > 100 && i % (n / 100) == 0) SBR_TimeMonitorStamp();
    ahead.past(i);
    const std::int32_t node = mesh.number(i);
    if (node_test(mesh, node, limits)) merge_at_node(mesh, node);
  }
}

// What an option string asks for.
struct Request {
  Limits limits;
  bool colinear;
};

Request read_request(OptionReader &reader, double diagonal) noexcept {
  const double resolution = read_resolution(reader);
  const double angle = read_face_angle(reader);
  const bool colinear = reader.whole_number() != 0;
  announce(resolution, angle, colinear);
  const double distance = resolution * diagonal;
  return {{distance * distance, std::cos(angle * 3.141592653589793 / 180)}, colinear};
}

}  // namespace
}  // namespace sbr::coarse

namespace sbr {

void trim_geometry(SbrBody &body, const char *options) noexcept {
  using namespace coarse;
  Mesh mesh;
  bool built = build_tables(mesh, body);
  const double diagonal = diagonal_of(body);
  OptionReader reader(options);
  const Request request = read_request(reader, diagonal);
  built = built && fill_incidence(mesh);
  if (!built) {
    report_error("Problem encountered while trimming geometry\n");
    return;
  }
  measure_faces(mesh);
  apply_preserve_list(mesh, body, reader);
  merge_all(mesh, request.limits);
  if (request.colinear) remove_colinear_vertices(mesh, diagonal);

  const int before = body.faces.face_count;
  if (!flatten_faces(mesh, body)) return;
  body.geometry.is_coarsened = 1;
  report_info("\nFace reduction from %d to %d", before, body.faces.face_count);
}

bool is_coarsened(SbrBody &body) noexcept {
  if (body.geometry.is_coarsened != 0) return true;
  for (FaceWalk walk(body.faces); walk.next();)
    if (walk.face().size() > 4) {
      body.geometry.is_coarsened = 1;
      return true;
    }
  return false;
}

}  // namespace sbr

extern "C" {

void SBR_TrimGeometry(SBR body, const char *options) {
  if (options != nullptr && sbr::require_body(body)) sbr::trim_geometry(*body, options);
}

int SBR_IsCoarsened(SBR body) { return sbr::require_body(body) && sbr::is_coarsened(*body) ? 1 : 0; }

}  // extern "C"
