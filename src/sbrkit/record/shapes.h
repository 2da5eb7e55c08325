// The shapes of the blocks: which rows follow which heads, once for whoever passes through a block without keeping it.
// Sizing adds the bytes up (blocks/sizing.h); the program copies a body out of a database (tools/sbr/datablock.cpp).
//
// A Walk has
//
//   bool fields(Record &record)              passes a group of fields; its counts are known behind it
//   bool rows<Row>(count, extra...)          passes that many groups of one kind, each transfer(io, row, extra...)
//   bool integers(count), reals(count)       passes plain values
//   bool operators(const MonitorPointHead &) passes the operators of a monitor point
//   bool words_before_vectors()              whether a word stands before each vector of a mode block
//   void modes(std::int32_t count)           is told the mode count of the block
//   void settle()                            is told that all that was passed is whole, also when the walk breaks off
//
// A step that gives false ends the walk.
//
// Like record/rows.h, record/blocks.h and record/layout.h, the header has no code of the library behind it: the program
// `sbr` includes these four as well, through the target sbrkit_record_rows. Nothing else outside the library does.
#ifndef SBRKIT_RECORD_SHAPES_H
#define SBRKIT_RECORD_SHAPES_H

#include "record/rows.h"

namespace sbr {

template <class Walk>
bool walk_version_word(Walk &walk, int /*block*/) {
  return walk.integers(1);
}

template <class Walk>
bool walk_content_summary(Walk &walk, int /*block*/) {
  ContentSummary summary;
  return walk.fields(summary);
}

// Blocks of one group of fields: header, global properties, units.
template <class Walk, class Record>
bool walk_fields(Walk &walk, int /*block*/) {
  Record record;
  return walk.fields(record);
}

// ---- geometry and mass ---------------------------------------------------------------------------------------------

template <class Walk>
bool walk_nodal_coords(Walk &walk, int /*block*/) {
  NodalCoordsHead head;
  return walk.fields(head) && walk.template rows<NodeRow>(head.node_count, head.dimension);
}

// All groups come first, then the faces of all.
template <class Walk>
bool walk_element_topology(Walk &walk, int /*block*/) {
  ElementTopologyHead head;
  if (!walk.fields(head)) return false;
  std::int64_t words = 0;
  for (std::int32_t i = 0; i < head.group_count; ++i) {
    FaceGroup group;
    if (!walk.fields(group)) return false;
    words = bounded_sum(words, bounded_product(std::int64_t{group.nodes_per_face} + kIgnoredFaceWords, group.size));
  }
  return walk.integers(words);
}

template <class Walk>
bool walk_nodal_masses(Walk &walk, int /*block*/) {
  NodalMassesHead head;
  return walk.fields(head) && walk.template rows<NodalMassRow>(head.node_count, head.values_per_node);
}

template <class Walk>
bool walk_element_faces(Walk &walk, int /*block*/) {
  ElementFacesHead head;
  return walk.fields(head) && walk.integers(head.list_length);
}

template <class Walk>
bool walk_interface_nodes(Walk &walk, int /*block*/) {
  CountHead head;
  return walk.fields(head) && walk.integers(head.count);
}

// ---- modal data ----------------------------------------------------------------------------------------------------

// A count and rows: nodal inertias.
template <class Walk, class Row>
bool walk_rows(Walk &walk, int /*block*/) {
  CountHead head;
  return walk.fields(head) && walk.template rows<Row>(head.count);
}

// The same with one row per mode: eigenvalues, statistics.
template <class Walk, class Row>
bool walk_mode_rows(Walk &walk, int /*block*/) {
  CountHead head;
  if (!walk.fields(head)) return false;
  walk.modes(head.count);
  return walk.template rows<Row>(head.count);
}

template <class Walk>
bool walk_mode_vectors(Walk &walk, int /*block*/) {
  ModeBlockHead head;
  if (!walk.fields(head)) return false;
  walk.modes(head.mode_count);
  return walk.integers(head.node_count) &&
         walk.template rows<ModeVectorRow>(head.mode_count, std::int64_t{head.node_count}, walk.words_before_vectors());
}

template <class Walk>
bool walk_sparse_matrix(Walk &walk, int /*block*/) {
  SparseHead head;
  return walk.fields(head) && walk.template rows<SparseRow>(head.entry_count);
}

template <class Walk>
bool walk_transformation(Walk &walk, int /*block*/) {
  CountHead head;
  if (!walk.fields(head)) return false;
  walk.modes(head.count);
  return walk.integers(head.count) && walk.reals(std::int64_t{head.count} * head.count);
}

template <class Walk>
bool walk_invariant(Walk &walk, int block) {
  CountHead head;
  if (invariant_has_count(block)) {
    if (!walk.fields(head)) return false;
    walk.modes(head.count);
  }
  return walk.reals(invariant_reals(block, head.count));
}

template <class Walk>
bool walk_pre_vectors(Walk &walk, int /*block*/) {
  CountHead head;
  return walk.fields(head) && walk.reals(std::int64_t{6} * head.count);
}

// ---- loads ---------------------------------------------------------------------------------------------------------

template <class Walk>
bool walk_preload(Walk &walk, int /*block*/) {
  ModalPreloadHead head;
  if (!walk.fields(head)) return false;
  walk.modes(head.mode_count);
  return walk.reals(head.mode_count);
}

template <class Walk>
bool walk_modal_loads(Walk &walk, int /*block*/) {
  ModalLoadsHead head;
  if (!walk.fields(head)) return false;
  walk.modes(head.mode_count);
  return walk.template rows<ModalLoadRow>(head.load_count, std::int64_t{head.mode_count});
}

template <class Walk>
bool walk_nodal_loads(Walk &walk, int /*block*/) {
  CountHead cases;
  if (!walk.fields(cases)) return false;
  walk.settle();
  for (std::int32_t i = 0; i < cases.count; ++i) {
    CountHead rows;
    if (!walk.fields(rows)) return false;
    walk.settle();
    if (!walk.template rows<NodalLoadRow>(rows.count)) return false;
    walk.settle();
  }
  return true;
}

// ---- operators -----------------------------------------------------------------------------------------------------

template <class Walk>
bool walk_sub_operators(Walk &walk, std::int32_t rows, std::int32_t count) {
  for (std::int32_t i = 0; i < count; ++i) {
    SubOperatorHead sub;
    if (!walk.fields(sub) || !walk.reals(std::int64_t{rows} * sub.column_count)) return false;
    walk.settle();
  }
  return true;
}

template <class Walk>
bool walk_matrix_operators(Walk &walk, int /*block*/) {
  CountHead operators;
  if (!walk.fields(operators)) return false;
  walk.settle();
  for (std::int32_t i = 0; i < operators.count; ++i) {
    MatrixOperatorHead head;
    CountHead subs;
    if (!walk.fields(head) || !walk.template rows<RowLabel>(head.row_count) || !walk.fields(subs)) return false;
    walk.settle();
    if (!walk_sub_operators(walk, head.row_count, subs.count)) return false;
  }
  return true;
}

template <class Walk>
bool walk_monitor_points(Walk &walk, int /*block*/) {
  CountHead points;
  if (!walk.fields(points)) return false;
  walk.settle();
  for (std::int32_t i = 0; i < points.count; ++i) {
    MonitorPointHead point;
    if (!walk.fields(point) || !walk.operators(point)) return false;
    walk.settle();
  }
  return true;
}

// ---- the shape of every block --------------------------------------------------------------------------------------

template <class Walk>
using Shape = bool (*)(Walk &walk, int block);

// Indexed by the block.
template <class Walk>
inline constexpr Shape<Walk> kShapes[kBlockCount] = {
    walk_version_word<Walk>,
    walk_fields<Walk, HeaderTexts>,
    walk_content_summary<Walk>,
    walk_nodal_coords<Walk>,
    walk_element_topology<Walk>,
    walk_fields<Walk, GlobalProperties>,
    walk_mode_rows<Walk, EigenRecord>,
    walk_mode_vectors<Walk>,
    walk_nodal_masses<Walk>,
    walk_rows<Walk, NodalInertiaRow>,
    walk_fields<Walk, UnitLabels>,
    walk_sparse_matrix<Walk>,
    walk_sparse_matrix<Walk>,
    walk_element_faces<Walk>,
    walk_sparse_matrix<Walk>,
    walk_transformation<Walk>,
    walk_interface_nodes<Walk>,
    walk_mode_vectors<Walk>,
    walk_invariant<Walk>,
    walk_invariant<Walk>,
    walk_invariant<Walk>,
    walk_invariant<Walk>,
    walk_invariant<Walk>,
    walk_invariant<Walk>,
    walk_invariant<Walk>,
    walk_invariant<Walk>,
    walk_preload<Walk>,
    walk_modal_loads<Walk>,
    walk_mode_vectors<Walk>,
    walk_mode_rows<Walk, ModalStatistics>,
    walk_pre_vectors<Walk>,
    walk_pre_vectors<Walk>,
    walk_monitor_points<Walk>,
    walk_matrix_operators<Walk>,
    walk_nodal_loads<Walk>,
    walk_monitor_points<Walk>,
};

}  // namespace sbr

#endif
