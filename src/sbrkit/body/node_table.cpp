// Node and mode tables: from external numbers to positions and back, and their growth while a body is built.
#include "body/node_table.h"

#include <cmath>
#include <cstdlib>
#include <limits>

#include "base/reports.h"

namespace sbr {
namespace {

constexpr const char *kUnit = "sbrdata";

bool valid_kind(int kind) noexcept { return kind >= 0 && kind <= 2; }

NodeRecord *node_at(SbrBody *body, int index) noexcept {
  if (body == nullptr || index < 0 || index >= node_count(*body)) return nullptr;
  return &body->nodes.nodes[index];
}

// The node table's keys, built at the first lookup.
bool ensure_node_keys(SbrBody &body) noexcept {
  NodeTable &table = body.nodes;
  if (table.keys.present()) return true;
  const auto &nodes = table.nodes;
  return table.keys.build(nodes.count(), [&](int i) { return nodes[i].id; });
}

bool ensure_kind_keys(SbrBody &body, int kind) noexcept {
  KindNodes &list = body.nodes.kinds[kind];
  if (list.keys.present()) return true;
  return list.keys.build(list.count, [&](int i) { return SBR_ModeNodeID(&body, kind, i); });
}

}  // namespace

int kind_node_index(const SbrBody &body, int kind, int position) noexcept {
  if (!valid_kind(kind)) return -1;
  const KindNodes &list = body.nodes.kinds[kind];
  if (position < 0 || position >= list.count) return -1;
  if (kind == 0) return body.nodes.shape_list_present && position < node_count(body) ? position : -1;
  if (static_cast<std::size_t>(position) >= list.nodes.size()) return -1;
  const int index = list.nodes[position];
  return index < node_count(body) ? index : -1;
}

int kind_position_or_add(SbrBody &body, int kind, int id, int node_index) noexcept {
  if (kind == 0) return node_index;
  const int known = SBR_ModeNodeIndex(&body, kind, id);
  if (known >= 0) return known;
  KindNodes &list = body.nodes.kinds[kind];
  const int position = list.count;
  // A list that is empty may still have keys and nodes of a former life.
  if (position == 0) {
    list.keys.clear();
    list.nodes.clear();
  }
  if (!list.nodes.resize(position) || !list.nodes.push_back(node_index) || !list.keys.insert(id, position)) {
    report_no_memory(kUnit);
    return -1;
  }
  list.count = position + 1;
  return position;
}

std::span<const NodeKey> sorted_keys(SbrBody &body, int kind) noexcept {
  if (!valid_kind(kind)) return {};
  if (kind == 0) return ensure_node_keys(body) ? body.nodes.keys.sorted() : std::span<const NodeKey>{};
  return ensure_kind_keys(body, kind) ? body.nodes.kinds[kind].keys.sorted() : std::span<const NodeKey>{};
}

double *node_inertia(SbrBody &body, int index) noexcept {
  const NodeRecord *node = node_at(&body, index);
  if (node == nullptr || node->inertia < 0) return nullptr;
  return body.nodes.inertias[node->inertia].data();
}

double *node_inertia_or_add(SbrBody &body, int index) noexcept {
  NodeRecord *node = node_at(&body, index);
  if (node == nullptr) return nullptr;
  if (node->inertia < 0) {
    const int place = body.nodes.inertias.count();
    if (!body.nodes.inertias.push_back(SixVector{})) return nullptr;
    node->inertia = place;
  }
  return body.nodes.inertias[node->inertia].data();
}

void set_node_id(SbrBody &body, int index, int id) noexcept {
  if (NodeRecord *node = node_at(&body, index); node != nullptr) node->id = id;
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
  table.kinds[0].count = table.nodes.count();
  table.shape_list_present = true;
}

void replace_kind_nodes(SbrBody &body, int kind, Array<std::int32_t> &&nodes) noexcept {
  KindNodes &list = body.nodes.kinds[kind];
  list.count = nodes.count();
  list.nodes = std::move(nodes);
  list.keys.clear();
}

}  // namespace sbr

using sbr::node_at;
using sbr::node_count;

extern "C" {

// ---- lookups -------------------------------------------------------------------------------------------------------

int SBR_NodeIndex(SBR body, int id) {
  if (CheckSBR(body) == 0) return -1;
  if (node_count(*body) == 0) return -1;
  if (!sbr::ensure_node_keys(*body)) {
    sbr::report_no_memory(sbr::kUnit);
    return -1;
  }
  return body->nodes.keys.find(id);
}

int SBR_ModeNodeIndex(SBR body, int kind, int id) {
  if (kind == 0) return SBR_NodeIndex(body, id);
  if (CheckSBR(body) == 0) return -1;
  if (!sbr::valid_kind(kind) || body->nodes.kinds[kind].count == 0) return -1;
  if (!sbr::ensure_kind_keys(*body, kind)) {
    sbr::report_no_memory(sbr::kUnit);
    return -1;
  }
  return body->nodes.kinds[kind].keys.find(id);
}

int SBR_ModeIndex(SBR body, int number) {
  if (body == nullptr) return -1;
  const sbr::ModeTable &table = body->mode_table;
  const int known = std::min(table.mode_count, table.mode_numbers.count());
  for (int i = 0; i < known; ++i)
    if (table.mode_numbers[i] == number) return i;
  return -1;
}

int SBR_ModeNumber(SBR body, int index) {
  if (body == nullptr) return -1;
  const sbr::ModeTable &table = body->mode_table;
  if (index < 0 || index >= table.mode_count || index >= table.mode_numbers.count()) return -1;
  return table.mode_numbers[index];
}

int SelectedModeIndex(int number, const int *numbers, int length) {
  if (numbers == nullptr || length < 1) return -1;
  const auto *found =
      static_cast<const int *>(std::bsearch(&number, numbers, static_cast<std::size_t>(length), sizeof(int), By_Id));
  return found == nullptr ? -1 : static_cast<int>(found - numbers);
}

// ---- growth --------------------------------------------------------------------------------------------------------

int SBR_AddMode(SBR body, int number) {
  if (CheckSBR(body) == 0) return -1;
  sbr::ModeTable &table = body->mode_table;
  if (table.mode_count >= table.mode_capacity) {
    SBR_Error(
        "Insufficient room for mode %d in temporary mode shape file.  \n"
        "Specify larger number of modes in SBR_Create.\n",
        number);
    return -1;
  }
  if (!table.mode_numbers.resize(static_cast<std::int64_t>(table.mode_count) + 1)) {
    sbr::report_no_memory(sbr::kUnit);
    return -1;
  }
  const int index = table.mode_count;
  table.mode_numbers[index] = number;
  table.mode_count = index + 1;
  return index;
}

int SBR_AddNode(SBR body, int id) {
  if (CheckSBR(body) == 0) return -1;
  sbr::NodeTable &table = body->nodes;
  const int index = table.nodes.count();
  // The keys come first: a table that could not grow leaves the nodes as they were.
  if (index == std::numeric_limits<int>::max() || !sbr::ensure_node_keys(*body) || !table.nodes.reserve(index + 1) ||
      !table.keys.insert(id, index)) {
    sbr::report_no_memory(sbr::kUnit);
    return -1;
  }
  sbr::NodeRecord node;
  node.id = id;
  if (!table.nodes.push_back(node)) return -1;
  body->search.drop();
  table.kinds[0].count += 1;
  table.shape_list_present = true;
  return index;
}

int SBR_LookupOrAddNode(SBR body, int id) {
  if (CheckSBR(body) == 0) return -1;
  const int index = SBR_NodeIndex(body, id);
  return index >= 0 ? index : SBR_AddNode(body, id);
}

int SBR_LookupOrAddMode(SBR body, int number) {
  if (CheckSBR(body) == 0) return -1;
  const int index = SBR_ModeIndex(body, number);
  return index >= 0 ? index : SBR_AddMode(body, number);
}

void SBR_SwapNodesByID(SBR body, int a, int b) {
  const int first = SBR_NodeIndex(body, a);
  const int second = SBR_NodeIndex(body, b);
  if (body != nullptr) body->search.drop();
  // The records change places; the keys keep their positions, so that a lookup of a now gives the place of b's record.
  if (first >= 0 && second >= 0) std::swap(body->nodes.nodes[first], body->nodes.nodes[second]);
}

// ---- what the tables hold ------------------------------------------------------------------------------------------

int SBR_NodeCount(SBR body) { return body != nullptr ? node_count(*body) : 0; }

int SBR_ModeCount(SBR body) { return body != nullptr ? body->mode_table.mode_count : 0; }

int SBR_ModeNodeCount(SBR body, int kind) {
  return body != nullptr && sbr::valid_kind(kind) ? body->nodes.kinds[kind].count : 0;
}

int SBR_ModeNodeID(SBR body, int kind, int position) {
  if (body == nullptr) return 0;
  const sbr::NodeRecord *node = node_at(body, sbr::kind_node_index(*body, kind, position));
  return node != nullptr ? node->id : 0;
}

int SBR_NodeID(SBR body, int index) {
  const sbr::NodeRecord *node = node_at(body, index);
  return node != nullptr ? node->id : 0;
}

int SBR_NodeCoordinates(SBR body, int index, double *xyz) {
  if (body == nullptr || xyz == nullptr || !body->nodes.nodes) return 0;
  const sbr::NodeRecord *node = node_at(body, index);
  xyz[0] = node != nullptr ? node->x : 0.0;
  xyz[1] = node != nullptr ? node->y : 0.0;
  xyz[2] = node != nullptr ? node->z : 0.0;
  return node != nullptr ? 1 : 0;
}

int SBR_NodeCoordinateList(SBR body, double *xyz, int *count) {
  if (body == nullptr || !body->nodes.nodes) return 0;
  if (count != nullptr) *count = node_count(*body);
  if (xyz == nullptr) return 1;
  for (const sbr::NodeRecord &node : body->nodes.nodes) {
    *xyz++ = node.x;
    *xyz++ = node.y;
    *xyz++ = node.z;
  }
  return 1;
}

double SBR_NodalMass(SBR body, int index) {
  const sbr::NodeRecord *node = node_at(body, index);
  return node != nullptr ? node->mass : 0.0;
}

int SBR_NodalMassAndGeometry(SBR body, int index, double *mass, double *xyz) {
  if (mass != nullptr) *mass = SBR_NodalMass(body, index);
  return SBR_NodeCoordinates(body, index, xyz);
}

int SBR_NodalInertia(SBR body, int index, double *matrix9) {
  if (body == nullptr || matrix9 == nullptr) return 0;
  const double *six = sbr::node_inertia(*body, index);
  if (six == nullptr) return 0;
  static constexpr int kPacked[9] = {0, 3, 4, 3, 1, 5, 4, 5, 2};
  for (int i = 0; i < 9; ++i) matrix9[i] = six[kPacked[i]];
  return 1;
}

double SBR_BodySize(SBR body) {
  if (CheckSBR(body) == 0) return 0.0;
  if (body->geometry.body_size != 0.0) return body->geometry.body_size;
  double low[3] = {0.0, 0.0, 0.0};
  if (node_count(*body) > 0) SBR_NodeCoordinates(body, 0, low);
  double high[3] = {low[0], low[1], low[2]};
  const auto &list = body->faces.list;
  for (std::size_t at = 0; at < list.size();) {
    const std::int64_t vertices = list[at++];
    for (std::int64_t k = 0; k < vertices && at < list.size(); ++k) {
      const sbr::NodeRecord *node = node_at(body, list[at++]);
      const double point[3] = {node != nullptr ? node->x : 0.0, node != nullptr ? node->y : 0.0,
                               node != nullptr ? node->z : 0.0};
      for (int axis = 0; axis < 3; ++axis) {
        if (point[axis] < low[axis]) low[axis] = point[axis];
        if (point[axis] > high[axis]) high[axis] = point[axis];
      }
    }
  }
  const double dx = high[0] - low[0];
  const double dy = high[1] - low[1];
  const double dz = high[2] - low[2];
  body->geometry.body_size = std::sqrt(dx * dx + dy * dy + dz * dz);
  return body->geometry.body_size;
}

int SBR_DiscreteMethod(SBR body) {
  (void)body;
  return 0;
}

int SBR_GetFlexType(SBR body) {
  (void)body;
  return 0;
}

}  // extern "C"
