// Node and mode tables. The unit owns SbrBody::nodes and SbrBody::mode_table; others add, look up and walk through the
// operations here. Inside the library nodes and modes are told by index; IDs and numbers are what hosts say.
#ifndef SBRKIT_BODY_NODE_TABLE_H
#define SBRKIT_BODY_NODE_TABLE_H

#include <span>

#include "body/body.h"

namespace sbr {

// ---- nodes ---------------------------------------------------------------------------------------------------------

inline int node_count(const SbrBody &body) { return body.nodes.nodes.count(); }
// The index of a node ID, -1 when there is none. A table of keys that cannot be had is reported.
[[nodiscard]] int node_index(SbrBody &body, int id) noexcept;
// The ID at a node index; 0 outside the table.
[[nodiscard]] int node_id(const SbrBody &body, int index) noexcept;
// Appends a node, without a look whether there is one of that ID. Its index, or -1 after a report.
[[nodiscard]] int add_node(SbrBody &body, int id) noexcept;
[[nodiscard]] int lookup_or_add_node(SbrBody &body, int id) noexcept;
// Coordinates of a node: zeros and false outside the table, nothing and false without a table.
bool node_coordinates(const SbrBody &body, int index, double *xyz) noexcept;
// The mass of a node; 0 outside the table.
[[nodiscard]] double nodal_mass(const SbrBody &body, int index) noexcept;
// The inertia of a node as nine values, row by row. False when it has none, with matrix9 as it was.
bool nodal_inertia(const SbrBody &body, int index, double *matrix9) noexcept;
// Exchanges the records of two nodes told by their IDs; the keys keep their positions.
void swap_nodes_by_id(SbrBody &body, int a, int b) noexcept;
// The extent of the body: the diagonal of the box around its faces' nodes and its first node. Kept until it changes.
[[nodiscard]] double body_size(SbrBody &body) noexcept;

// ---- modes ---------------------------------------------------------------------------------------------------------

inline int mode_count(const SbrBody &body) { return body.mode_table.mode_count; }
// The index of a mode number, -1 when there is none.
[[nodiscard]] int mode_index(const SbrBody &body, int number) noexcept;
// The number at a mode index, -1 outside the table.
[[nodiscard]] int mode_number(const SbrBody &body, int index) noexcept;
// Appends a mode: its index, or -1 after a report.
[[nodiscard]] int add_mode(SbrBody &body, int number) noexcept;
[[nodiscard]] int lookup_or_add_mode(SbrBody &body, int number) noexcept;
// The place of a number in an ascending list, -1 when it is not there.
[[nodiscard]] int selected_position(int number, const int *numbers, int length) noexcept;

// ---- the nodes of a kind of mode data ------------------------------------------------------------------------------

// How many nodes have data of the kind.
[[nodiscard]] inline int kind_count(const SbrBody &body, Kind kind) noexcept { return body.nodes.kinds[kind].count; }
// The kind position of a node ID, -1 when the kind has no data of it.
[[nodiscard]] int kind_position(SbrBody &body, Kind kind, int id) noexcept;
// The ID at a kind position; 0 outside the list.
[[nodiscard]] int kind_node_id(const SbrBody &body, Kind kind, int position) noexcept;

// The kind position of a node; a node new to the kind's list (1 or 2) is put at its end. -1 when memory is short.
[[nodiscard]] int kind_position_or_add(SbrBody &body, Kind kind, int id, int node_index) noexcept;
// The node index at a kind position, -1 for a position outside the list.
[[nodiscard]] int kind_node_index(const SbrBody &body, Kind kind, int position) noexcept;
// The (ID, kind position) pairs of a kind in ascending ID order, as node listings walk them.
[[nodiscard]] std::span<const NodeKey> sorted_keys(SbrBody &body, Kind kind) noexcept;

// ---- inertias and replacement --------------------------------------------------------------------------------------

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
void replace_kind_nodes(SbrBody &body, Kind kind, Array<std::int32_t> &&nodes) noexcept;

}  // namespace sbr

#endif
