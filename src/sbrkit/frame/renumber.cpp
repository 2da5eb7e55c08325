// Renumbering of nodes: all by an offset, or the interface nodes one by one.
#include <algorithm>
#include <cstdint>

#include "base/reports.h"
#include "body/node_table.h"
#include "body/registry.h"

namespace sbr {
namespace {

// The keys of a kind; kind 0 uses those of the node table.
KeyTable &keys_of(SbrBody &body, Kind kind) noexcept {
  return kind == Kind::shape ? body.nodes.keys : body.nodes.kinds[kind].keys;
}

// Node p takes an ID that no node has.
void take_free_id(SbrBody &body, int p, int old_id, int new_id) noexcept {
  body.nodes.keys.rename(p, new_id);
  for (const Kind kind : kListedKinds)
    if (const int a = kind_position(body, kind, old_id); a >= 0) keys_of(body, kind).rename(a, new_id);
  set_node_id(body, p, new_id);
}

// Nodes p and q exchange their IDs.
void exchange_ids(SbrBody &body, int p, int old_id, int q, int new_id) noexcept {
  body.nodes.keys.rename(p, new_id);
  body.nodes.keys.rename(q, old_id);
  for (const Kind kind : kListedKinds) {
    const int a = kind_position(body, kind, old_id);
    const int b = kind_position(body, kind, new_id);
    if (a >= 0) keys_of(body, kind).rename(a, new_id);
    if (b >= 0) keys_of(body, kind).rename(b, old_id);
  }
  set_node_id(body, q, old_id);
  set_node_id(body, p, new_id);
}

// False, with no ID changed, when one would fall below 1 or out of range.
bool shift_ids(SbrBody &body, int offset) noexcept {
  const auto allowed = [&](const NodeRecord &node) noexcept {
    const std::int64_t id = static_cast<std::int64_t>(node.id) + offset;
    return id >= 1 && id <= INT32_MAX;
  };
  if (!std::all_of(body.nodes.nodes.begin(), body.nodes.nodes.end(), allowed)) return false;
  for (NodeRecord &node : body.nodes.nodes) node.id += offset;
  for (const Kind kind : kKinds) keys_of(body, kind).shift_ids(offset);
  return true;
}

// Gives the i-th ID to the i-th interface node. Each step sees the tables as the steps before left them.
void rename_interface_nodes(SbrBody &body, std::span<const std::int32_t> ids) noexcept {
  for (std::size_t i = 0; i < ids.size(); ++i) {
    const int p = body.interface_nodes.nodes[i];
    if (p < 0 || p >= node_count(body)) continue;
    const int old_id = node_id(body, p);
    const int q = node_index(body, ids[i]);
    if (q == p) continue;
    if (q < 0)
      take_free_id(body, p, old_id, ids[i]);
    else
      exchange_ids(body, p, old_id, q, ids[i]);
  }
}

}  // namespace
}  // namespace sbr

extern "C" {

int SBR_RenumberNodes(SBR body, int offset) { return sbr::require_body(body) && sbr::shift_ids(*body, offset) ? 1 : 0; }

int SBR_RenumberInterfaceNodes(SBR body, int count, const int *ids) {
  if (!sbr::require_body(body)) return 0;
  const int interface_nodes = body->interface_nodes.nodes.count();
  if (count > interface_nodes) {
    sbr::report_warning("Too many interface ID are given. Only the first %d will be used.\n", interface_nodes);
    count = interface_nodes;
  }
  if (count < 1) return 1;
  if (ids == nullptr) return 0;
  sbr::rename_interface_nodes(*body, {ids, static_cast<std::size_t>(count)});
  return 1;
}

}  // extern "C"
