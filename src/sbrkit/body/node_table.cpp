// Node and mode tables: from external numbers to positions and back, and their growth while a body is built.
#include "body/node_table.h"

#include <cmath>
#include <cstdlib>
#include <limits>

#include "base/mat3.h"
#include "base/reports.h"
#include "body/registry.h"

namespace sbr {
namespace {

template <class Body>
auto *node_at(Body &body, int index) noexcept {
  return index < 0 || index >= node_count(body) ? nullptr : &body.nodes.nodes[index];
}

// The node table's keys, built at the first lookup.
bool ensure_node_keys(SbrBody &body) noexcept {
  NodeTable &table = body.nodes;
  if (table.keys.present()) return true;
  const auto &nodes = table.nodes;
  return table.keys.build(nodes.count(), [&](int i) { return nodes[i].id; });
}

bool ensure_kind_keys(SbrBody &body, Kind kind) noexcept {
  KindNodes &list = body.nodes.kinds[kind];
  if (list.keys.present()) return true;
  return list.keys.build(list.count, [&](int i) { return kind_node_id(body, kind, i); });
}

}  // namespace

// ---- nodes ---------------------------------------------------------------------------------------------------------

int node_index(SbrBody &body, int id) noexcept {
  if (node_count(body) == 0) return -1;
  if (ensure_node_keys(body)) return body.nodes.keys.find(id);
  report_no_memory(unit_name::kData);
  return -1;
}

int node_id(const SbrBody &body, int index) noexcept {
  const NodeRecord *node = node_at(body, index);
  return node != nullptr ? node->id : 0;
}

int add_node(SbrBody &body, int id) noexcept {
  NodeTable &table = body.nodes;
  const int index = table.nodes.count();
  // The keys come first: a table that could not grow leaves the nodes as they were.
  if (index == std::numeric_limits<int>::max() || !ensure_node_keys(body) || !table.nodes.reserve(index + 1) ||
      !table.keys.insert(id, index)) {
    report_no_memory(unit_name::kData);
    return -1;
  }
  NodeRecord node;
  node.id = id;
  if (!table.nodes.push_back(node)) return -1;
  body.search.drop();
  table.kinds[Kind::shape].count += 1;
  table.shape_list_present = true;
  return index;
}

int lookup_or_add_node(SbrBody &body, int id) noexcept {
  const int index = node_index(body, id);
  return index >= 0 ? index : add_node(body, id);
}

bool node_coordinates(const SbrBody &body, int index, double *xyz) noexcept {
  if (!body.nodes.nodes) return false;
  const NodeRecord *node = node_at(body, index);
  xyz[0] = node != nullptr ? node->x : 0.0;
  xyz[1] = node != nullptr ? node->y : 0.0;
  xyz[2] = node != nullptr ? node->z : 0.0;
  return node != nullptr;
}

double nodal_mass(const SbrBody &body, int index) noexcept {
  const NodeRecord *node = node_at(body, index);
  return node != nullptr ? node->mass : 0.0;
}

bool nodal_inertia(const SbrBody &body, int index, double *matrix9) noexcept {
  const NodeRecord *node = node_at(body, index);
  if (node == nullptr || node->inertia < 0) return false;
  unpack_inertia(body.nodes.inertias[node->inertia].data(), matrix9);
  return true;
}

void swap_nodes_by_id(SbrBody &body, int a, int b) noexcept {
  const int first = node_index(body, a);
  const int second = node_index(body, b);
  body.search.drop();
  // The records change places; the keys keep their positions, so that a lookup of a now gives the place of b's record.
  if (first >= 0 && second >= 0) std::swap(body.nodes.nodes[first], body.nodes.nodes[second]);
}

double body_size(SbrBody &body) noexcept {
  if (body.geometry.body_size != 0.0) return body.geometry.body_size;
  double low[3] = {0.0, 0.0, 0.0};
  if (node_count(body) > 0) node_coordinates(body, 0, low);
  double high[3] = {low[0], low[1], low[2]};
  const auto &list = body.faces.list;
  for (std::size_t at = 0; at < list.size();) {
    const std::int64_t vertices = list[at++];
    for (std::int64_t k = 0; k < vertices && at < list.size(); ++k) {
      double point[3] = {};
      node_coordinates(body, list[at++], point);
      for (int axis = 0; axis < 3; ++axis) {
        if (point[axis] < low[axis]) low[axis] = point[axis];
        if (point[axis] > high[axis]) high[axis] = point[axis];
      }
    }
  }
  const double dx = high[0] - low[0];
  const double dy = high[1] - low[1];
  const double dz = high[2] - low[2];
  body.geometry.body_size = std::sqrt(dx * dx + dy * dy + dz * dz);
  return body.geometry.body_size;
}

// ---- modes ---------------------------------------------------------------------------------------------------------

int mode_index(const SbrBody &body, int number) noexcept {
  const ModeTable &table = body.mode_table;
  const int known = std::min(table.mode_count, table.mode_numbers.count());
  for (int i = 0; i < known; ++i)
    if (table.mode_numbers[i] == number) return i;
  return -1;
}

int mode_number(const SbrBody &body, int index) noexcept {
  const ModeTable &table = body.mode_table;
  if (index < 0 || index >= table.mode_count || index >= table.mode_numbers.count()) return -1;
  return table.mode_numbers[index];
}

int add_mode(SbrBody &body, int number) noexcept {
  ModeTable &table = body.mode_table;
  if (table.mode_count >= table.mode_capacity) {
    report_error(
        "Insufficient room for mode %d in temporary mode shape file.  \n"
        "Specify larger number of modes in SBR_Create.\n",
        number);
    return -1;
  }
  if (!table.mode_numbers.resize(static_cast<std::int64_t>(table.mode_count) + 1)) {
    report_no_memory(unit_name::kData);
    return -1;
  }
  const int index = table.mode_count;
  table.mode_numbers[index] = number;
  table.mode_count = index + 1;
  return index;
}

int lookup_or_add_mode(SbrBody &body, int number) noexcept {
  const int index = mode_index(body, number);
  return index >= 0 ? index : add_mode(body, number);
}

int selected_position(int number, const int *numbers, int length) noexcept {
  if (numbers == nullptr || length < 1) return -1;
  const auto *found = static_cast<const int *>(
      std::bsearch(&number, numbers, static_cast<std::size_t>(length), sizeof(int), compare_ids));
  return found == nullptr ? -1 : static_cast<int>(found - numbers);
}

// ---- the nodes of a kind of mode data ------------------------------------------------------------------------------

int kind_position(SbrBody &body, Kind kind, int id) noexcept {
  if (kind == Kind::shape) return node_index(body, id);
  if (body.nodes.kinds[kind].count == 0) return -1;
  if (ensure_kind_keys(body, kind)) return body.nodes.kinds[kind].keys.find(id);
  report_no_memory(unit_name::kData);
  return -1;
}

int kind_node_id(const SbrBody &body, Kind kind, int position) noexcept {
  return node_id(body, kind_node_index(body, kind, position));
}

int kind_node_index(const SbrBody &body, Kind kind, int position) noexcept {
  const KindNodes &list = body.nodes.kinds[kind];
  if (position < 0 || position >= list.count) return -1;
  if (kind == Kind::shape) return body.nodes.shape_list_present && position < node_count(body) ? position : -1;
  if (position >= list.nodes.count()) return -1;
  const int index = list.nodes[position];
  return index < node_count(body) ? index : -1;
}

int kind_position_or_add(SbrBody &body, Kind kind, int id, int node_index) noexcept {
  if (kind == Kind::shape) return node_index;
  const int known = kind_position(body, kind, id);
  if (known >= 0) return known;
  KindNodes &list = body.nodes.kinds[kind];
  const int position = list.count;
  // A list that is empty may still have keys and nodes of a former life.
  if (position == 0) {
    list.keys.clear();
    list.nodes.clear();
  }
  if (!list.nodes.resize(position) || !list.nodes.push_back(node_index) || !list.keys.insert(id, position)) {
    report_no_memory(unit_name::kData);
    return -1;
  }
  list.count = position + 1;
  return position;
}

std::span<const NodeKey> sorted_keys(SbrBody &body, Kind kind) noexcept {
  if (kind == Kind::shape) return ensure_node_keys(body) ? body.nodes.keys.sorted() : std::span<const NodeKey>{};
  return ensure_kind_keys(body, kind) ? body.nodes.kinds[kind].keys.sorted() : std::span<const NodeKey>{};
}

// ---- inertias and replacement --------------------------------------------------------------------------------------

double *node_inertia(SbrBody &body, int index) noexcept {
  const NodeRecord *node = node_at(body, index);
  if (node == nullptr || node->inertia < 0) return nullptr;
  return body.nodes.inertias[node->inertia].data();
}

double *node_inertia_or_add(SbrBody &body, int index) noexcept {
  NodeRecord *node = node_at(body, index);
  if (node == nullptr) return nullptr;
  if (node->inertia < 0) {
    const int place = body.nodes.inertias.count();
    if (!body.nodes.inertias.push_back(SixVector{})) return nullptr;
    node->inertia = place;
  }
  return body.nodes.inertias[node->inertia].data();
}

void set_node_id(SbrBody &body, int index, int id) noexcept {
  if (NodeRecord *node = node_at(body, index); node != nullptr) node->id = id;
}

bool copy_nodes(const SbrBody &body, std::span<const std::int32_t> keep, ReducedNodes &reduced) noexcept {
  if (!reduced.nodes.allocate(static_cast<std::int64_t>(keep.size()))) return false;
  for (std::size_t i = 0; i < keep.size(); ++i) {
    NodeRecord node = body.nodes.nodes[keep[i]];
    if (node.inertia >= 0) {
      const SixVector &inertia = body.nodes.inertias[node.inertia];
      node.inertia = reduced.inertias.count();
      if (!reduced.inertias.push_back(inertia)) return false;
    }
    reduced.nodes[i] = node;
  }
  return true;
}

void replace_nodes(SbrBody &body, ReducedNodes &&reduced) noexcept {
  NodeTable &table = body.nodes;
  body.search.drop();
  table.nodes = std::move(reduced.nodes);
  table.inertias = std::move(reduced.inertias);
  table.keys.clear();
  table.kinds[Kind::shape].count = table.nodes.count();
  table.shape_list_present = true;
}

void replace_kind_nodes(SbrBody &body, Kind kind, Array<std::int32_t> &&nodes) noexcept {
  KindNodes &list = body.nodes.kinds[kind];
  list.count = nodes.count();
  list.nodes = std::move(nodes);
  list.keys.clear();
}

}  // namespace sbr

using sbr::kind_of;
using sbr::require_body;

extern "C" {

// ---- lookups -------------------------------------------------------------------------------------------------------

int SBR_NodeIndex(SBR body, int id) { return require_body(body) ? sbr::node_index(*body, id) : -1; }

int SBR_ModeNodeIndex(SBR body, int kind, int id) {
  if (!require_body(body)) return -1;
  const auto which = kind_of(kind);
  return which ? sbr::kind_position(*body, *which, id) : -1;
}

int SBR_ModeIndex(SBR body, int number) { return body != nullptr ? sbr::mode_index(*body, number) : -1; }

int SBR_ModeNumber(SBR body, int index) { return body != nullptr ? sbr::mode_number(*body, index) : -1; }

int SelectedModeIndex(int number, const int *numbers, int length) {
  return sbr::selected_position(number, numbers, length);
}

// ---- growth --------------------------------------------------------------------------------------------------------

int SBR_AddMode(SBR body, int number) { return require_body(body) ? sbr::add_mode(*body, number) : -1; }

int SBR_AddNode(SBR body, int id) { return require_body(body) ? sbr::add_node(*body, id) : -1; }

int SBR_LookupOrAddNode(SBR body, int id) { return require_body(body) ? sbr::lookup_or_add_node(*body, id) : -1; }

int SBR_LookupOrAddMode(SBR body, int number) {
  return require_body(body) ? sbr::lookup_or_add_mode(*body, number) : -1;
}

void SBR_SwapNodesByID(SBR body, int a, int b) {
  if (require_body(body)) sbr::swap_nodes_by_id(*body, a, b);
}

// ---- what the tables hold ------------------------------------------------------------------------------------------

int SBR_NodeCount(SBR body) { return body != nullptr ? sbr::node_count(*body) : 0; }

int SBR_ModeCount(SBR body) { return body != nullptr ? sbr::mode_count(*body) : 0; }

int SBR_ModeNodeCount(SBR body, int kind) {
  const auto which = kind_of(kind);
  return body != nullptr && which ? sbr::kind_count(*body, *which) : 0;
}

int SBR_ModeNodeID(SBR body, int kind, int position) {
  const auto which = kind_of(kind);
  return body != nullptr && which ? sbr::kind_node_id(*body, *which, position) : 0;
}

int SBR_NodeID(SBR body, int index) { return body != nullptr ? sbr::node_id(*body, index) : 0; }

int SBR_NodeCoordinates(SBR body, int index, double *xyz) {
  return body != nullptr && xyz != nullptr && sbr::node_coordinates(*body, index, xyz) ? 1 : 0;
}

int SBR_NodeCoordinateList(SBR body, double *xyz, int *count) {
  if (body == nullptr || !body->nodes.nodes) return 0;
  if (count != nullptr) *count = sbr::node_count(*body);
  if (xyz == nullptr) return 1;
  for (const sbr::NodeRecord &node : body->nodes.nodes) {
    *xyz++ = node.x;
    *xyz++ = node.y;
    *xyz++ = node.z;
  }
  return 1;
}

double SBR_NodalMass(SBR body, int index) { return body != nullptr ? sbr::nodal_mass(*body, index) : 0.0; }

int SBR_NodalMassAndGeometry(SBR body, int index, double *mass, double *xyz) {
  if (mass != nullptr) *mass = body != nullptr ? sbr::nodal_mass(*body, index) : 0.0;
  return body != nullptr && xyz != nullptr && sbr::node_coordinates(*body, index, xyz) ? 1 : 0;
}

int SBR_NodalInertia(SBR body, int index, double *matrix9) {
  return body != nullptr && matrix9 != nullptr && sbr::nodal_inertia(*body, index, matrix9) ? 1 : 0;
}

double SBR_BodySize(SBR body) { return require_body(body) ? sbr::body_size(*body) : 0.0; }

int SBR_DiscreteMethod(SBR body) {
  (void)body;
  return 0;
}

int SBR_GetFlexType(SBR body) {
  (void)body;
  return 0;
}

}  // extern "C"
