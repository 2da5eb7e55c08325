// Node and mode tables. The unit owns SbrBody::nodes and SbrBody::mode_table; others add, look up and walk through the
// operations here and the public ones (SBR_NodeIndex, SBR_LookupOrAddNode, ...).
#ifndef SBRKIT_BODY_NODE_TABLE_H
#define SBRKIT_BODY_NODE_TABLE_H

#include <span>

#include "body/body.h"

namespace sbr {

inline int node_count(const SbrBody &body) { return body.nodes.nodes.count(); }

// The kind position of a node; a node new to the kind's list (1 or 2) is put at its end. -1 when memory is short.
[[nodiscard]] int kind_position_or_add(SbrBody &body, int kind, int id, int node_index) noexcept;
// The node index at a kind position, -1 for a position outside the list.
[[nodiscard]] int kind_node_index(const SbrBody &body, int kind, int position) noexcept;
// The (ID, kind position) pairs of a kind in ascending ID order, as node listings walk them.
[[nodiscard]] std::span<const NodeKey> sorted_keys(SbrBody &body, int kind) noexcept;
// The six inertia values of a node; null when it has none or the index is bad.
[[nodiscard]] double *node_inertia(SbrBody &body, int index) noexcept;
// The same, made of zeros at first use; null when memory is short.
[[nodiscard]] double *node_inertia_or_add(SbrBody &body, int index) noexcept;
// Gives the node at a node index another ID in the record only; the keys stay.
void set_node_id(SbrBody &body, int index, int id) noexcept;

// A node table made beside the present one.
struct ReducedNodes {
  Array<NodeRecord> nodes;
  Array<SixVector> inertias;
};
// Copies the nodes of a list of node indices, in its order. False when memory is short. Every index is a valid one.
[[nodiscard]] bool copy_nodes(const SbrBody &body, std::span<const std::int32_t> keep, ReducedNodes &reduced) noexcept;
// Makes the copied nodes the node table. The lists of kinds 1 and 2 are the caller's to replace.
void replace_nodes(SbrBody &body, ReducedNodes &&reduced) noexcept;
// Replaces the list of kind 1 or 2 by node indices in the order of the kind positions.
void replace_kind_nodes(SbrBody &body, int kind, Array<std::int32_t> &&nodes) noexcept;

}  // namespace sbr

#endif
