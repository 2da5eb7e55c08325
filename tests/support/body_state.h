// What a body holds that no public operation shows or takes: the state behind the doors. A test that has to bring a
// body into a state that no host can, or to look at one, does it here and nowhere else, so that who groups the fields
// of the body anew changes this file. What a host can ask for is asked for in support/body_view.h.
#ifndef SBRKIT_TESTS_SUPPORT_BODY_STATE_H
#define SBRKIT_TESTS_SUPPORT_BODY_STATE_H

#include <string>

#include "body/body.h"

namespace sbrtest::state {

// ---- the body and its record
inline int references(SBR body) { return body->reference_count; }
inline sbr::StreamChannel &record(SBR body) { return body->record; }
inline FILE *&record_stream(SBR body) { return body->record.stream; }
inline std::uint32_t &version_word(SBR body) { return body->layout.version; }
inline auto &content(SBR body) { return body->layout.content; }
inline auto &block_offset(SBR body, int block) { return body->layout.block_offset[block]; }
// Says that the body has a block, or has not, without touching what the block holds.
inline void set_block(SBR body, int block, bool exists = true) { sbr::set_block(*body, block, exists); }
inline sbr::HeaderTexts &header(SBR body) { return body->header; }

// ---- nodes, faces and surface
inline sbr::NodeRecord &node(SBR body, int index) { return body->nodes.nodes[static_cast<std::size_t>(index)]; }
inline sbr::Array<sbr::NodeRecord> &nodes(SBR body) { return body->nodes.nodes; }
inline int node_capacity(SBR body) { return body->nodes.node_capacity; }
inline int &kind_node_count(SBR body, sbr::Kind kind) { return body->nodes.kinds[kind].count; }
inline bool has_kind_keys(SBR body, sbr::Kind kind) { return body->nodes.kinds[kind].keys.present(); }
// Gives a node another ID behind the back of the key table, which is forgotten.
inline void set_node_id(SBR body, int index, int id) {
  node(body, index).id = id;
  body->nodes.keys.clear();
}
inline sbr::Array<std::int32_t> &face_list(SBR body) { return body->faces.list; }
inline int &face_number(SBR body) { return body->faces.face_count; }
inline int faces_reserved_word(SBR body) { return body->faces.reserved_word; }
inline sbr::Array<std::int32_t> &interface_nodes(SBR body) { return body->interface_nodes.nodes; }
inline void forget_interface_places(SBR body) { sbr::forget_interface_places(*body); }
inline int &is_coarsened(SBR body) { return body->geometry.is_coarsened; }
inline int &is_surface_mesh(SBR body) { return body->geometry.is_surface_mesh; }
inline int &internal_geometry_removed(SBR body) { return body->geometry.internal_geometry_removed; }
inline double &body_size(SBR body) { return body->geometry.body_size; }

// ---- modes
inline int &mode_count(SBR body) { return body->mode_table.mode_count; }
inline int mode_capacity(SBR body) { return body->mode_table.mode_capacity; }
inline std::int32_t &mode_number(SBR body, int index) {
  return body->mode_table.mode_numbers[static_cast<std::size_t>(index)];
}
inline sbr::StreamChannel &mode_channel(SBR body, sbr::Kind kind) { return body->modes[kind]; }
inline sbr::StreamChannel &mode_channel(SBR body, int kind) { return body->modes[sbr::kKinds[kind]]; }
template <class KindOrNumber>
FILE *&mode_stream(SBR body, KindOrNumber kind) {
  return mode_channel(body, kind).stream;
}
// The path of the temporary file that holds a kind's modes.
template <class KindOrNumber>
std::string mode_file(SBR body, KindOrNumber kind) {
  return mode_channel(body, kind).path.data();
}
inline sbr::Array<std::int64_t> &mode_offsets(SBR body, sbr::Kind kind) { return body->store.offsets[kind]; }
inline sbr::PendingModeWrites &pending_modes(SBR body, sbr::Kind kind) { return body->store.pending[kind]; }
inline int &cache_limit(SBR body) { return body->store.memory_limit; }
inline int cached_parts(SBR body) { return body->store.memory_used; }
inline sbr::Array<std::int32_t> &cache_slots(SBR body, sbr::Kind kind, int part) {
  return body->store.slots[kind][part];
}
// The index of the mode that was read last, -1 for none.
inline auto &current_modes(SBR body) { return body->access.current_mode; }
inline sbr::Array<sbr::SixVector> &pre_stress(SBR body) { return body->pre.stress; }
inline sbr::Array<sbr::SixVector> &pre_strain(SBR body) { return body->pre.strain; }
inline sbr::Array<sbr::ModalStatistics> &statistics(SBR body) { return body->statistics; }
inline sbr::Array<double> &transformation(SBR body) { return body->access.transformation; }
inline sbr::Array<std::int32_t> &transformation_modes(SBR body) { return body->access.transformation_modes; }

// ---- matrices
inline sbr::Array<sbr::EigenRecord> &eigen_table(SBR body) { return body->matrices.eigenvalues; }
inline int &eigenvalue_count(SBR body) { return body->matrices.eigenvalue_count; }
inline sbr::Array<sbr::SparseEntry> &stiffness_list(SBR body) { return body->matrices.stiffness; }
inline sbr::Array<sbr::SparseEntry> &mass_list(SBR body) { return body->matrices.mass; }
inline sbr::Array<sbr::SparseEntry> &damping_list(SBR body) { return body->matrices.damping; }
inline int &modes_not_orthogonal(SBR body) { return body->matrices.modes_not_orthogonal; }
inline int modes_not_normalized(SBR body) { return body->matrices.modes_not_normalized; }
inline int &damping_on_principal_axes(SBR body) { return body->matrices.damping_on_principal_axes; }

// ---- mass, loads and operators
inline sbr::GlobalProperties &global(SBR body) { return body->global; }
inline sbr::Invariants &invariants(SBR body) { return body->invariants; }
inline sbr::OwnedList<sbr::ModalLoad> &modal_loads(SBR body) { return body->loads.modal; }
inline sbr::OwnedList<sbr::NodalLoadCase> &nodal_loads(SBR body) { return body->loads.nodal; }
inline sbr::Array<double> &preload(SBR body) { return body->loads.preload; }
inline int &preload_on_principal_axes(SBR body) { return body->loads.preload_on_principal_axes; }
inline sbr::MonitorPoint &monitor_point(SBR body, int point) {
  return *body->monitor_points[static_cast<std::size_t>(point)];
}
inline sbr::MatrixOperator &matrix_operator(SBR body, int op) {
  return *body->matrix_operators[static_cast<std::size_t>(op)];
}

// ---- units
// The last change of units, old over new; and the product of all changes since the data was stored.
inline sbr::UnitFactors &last_change(SBR body) { return body->units.scale; }
inline sbr::UnitFactors &all_changes(SBR body) { return body->units.unit; }
inline sbr::UnitState &units(SBR body) { return body->units; }

}  // namespace sbrtest::state

#endif
