// The body handle: a record of small field groups. Each group is owned by one unit, named at its head; other units
// reach into it through that unit's functions, or read it.
#ifndef SBRKIT_BODY_BODY_H
#define SBRKIT_BODY_BODY_H

#include <array>
#include <cstdint>

#include "base/memory.h"
#include "body/key_table.h"
#include "body/node_search.h"
#include "record/channel.h"
#include "record/kinds.h"
#include "record/layout.h"
#include "record/rows.h"
#include "record/toc.h"
#include "sbrkit/sbrkit.h"

namespace sbr {

// ---- node and mode tables: body/node_table
// ---------------------------------------------------------------------------

struct NodeRecord {
  std::int32_t id = 0;
  std::int32_t inertia = -1;  // place in NodeTable::inertias, -1 when the node has none
  double x = 0.0;
  double y = 0.0;
  double z = 0.0;
  double mass = 0.0;
};

// The node list of one kind of mode data. For kind 0 the list is the node table itself: the position of a node is its
// index, `nodes` stays empty and the keys are those of the node table.
struct KindNodes {
  int count = 0;
  Array<std::int32_t> nodes;  // node index of each kind position (kinds 1 and 2)
  KeyTable keys;              // ID -> kind position (kinds 1 and 2)
};

struct NodeTable {
  int node_capacity = 0;      // first argument of SBR_Create: nodes of a temporary mode record
  Array<NodeRecord> nodes;    // in order of first appearance, or of the file; size() is the node count
  Array<SixVector> inertias;  // nodal inertias, in no particular order
  KeyTable keys;              // ID -> node index, built at the first lookup
  PerKind<KindNodes> kinds;
  bool shape_list_present = false;  // the kind 0 list exists (a body read without mode shapes has none)
};

struct ModeTable {
  int mode_count = 0;
  int mode_capacity = 0;             // second argument of SBR_Create; 0 for a body from a file
  Array<std::int32_t> mode_numbers;  // mode_capacity entries when built, mode_count when read
};

// ---- mode storage: modes/store, its waiting values modes/pending
// -----------------------------------------------------

// A run of adjacent values of one mode's record that waits to be written.
struct ModeRun {
  std::int32_t mode;     // mode index
  std::int32_t node_id;  // the node that the run starts with, for the report of a failed seek
  std::int32_t dof;      // value position of that node, 0 when the run started with all six
  std::int32_t count;    // values in the run; 0 for a free place
  std::int64_t first;    // where the run starts in the record, in values
};

struct PendingModeWrites {
  Array<ModeRun> runs;   // by mode index modulo their number
  Array<double> values;  // values_per_run for each run
  int values_per_run = 0;
  int waiting = 0;  // runs that hold values
};

struct ModeStore {
  PerKind<Array<std::int64_t>> offsets;  // per kind, where each mode's record starts in the kind's channel
  PerKind<std::int64_t> record_bytes;    // per kind, the length of a record in a temporary file; 0 without records
  PerKind<std::int64_t> reserved_bytes;  // per kind, how far the temporary file is known to reach
  int keep_in_memory = 1;
  int memory_limit = 0;                   // cache slots that may be filled; 0 until worked out
  int memory_used = 0;                    // parts stored since the cache was cleaned
  OwnedList<Array<double>> parts;         // those parts, also the ones that no longer count
  PerKind<Array<std::int32_t>[2]> slots;  // by kind and part: per mode index its place in `parts` plus 1, or 0
  PerKind<PendingModeWrites> pending;     // per kind, entered but not yet in the temporary file
};

// ---- mode access: modes/access
// ---------------------------------------------------------------------------------------

struct ModeAccess {
  PerKind<int> current_mode{{-1, -1, -1}};  // mode index held in current_record; -1 for none, kPreVector
  PerKind<Array<double>> current_record;
  Array<double> ref_buffer;
  Array<double> transformation;  // mode_count x mode_count, row by row, at the time it was made
  Array<std::int32_t> transformation_modes;
};

// ---- units: body/units; frame/switch_units changes them
// --------------------------------------------------------------

struct UnitFactors {
  double force = 1.0;
  double length = 1.0;
  double mass = 1.0;
  double time = 1.0;
};

struct UnitState {
  char mass_units[16] = {};
  char length_units[16] = {};
  char time_units[16] = {};
  char force_units[16] = {};
  UnitFactors scale;  // the last change of units, old over new
  UnitFactors unit;   // the product of all changes since the data was stored
};

// ---- generalized matrices and eigenvalues: body/matrices
// -------------------------------------------------------------

struct SparseEntry {
  std::int32_t row = 0;  // mode indices
  std::int32_t column = 0;
  double value = 0.0;
};

struct GeneralizedMatrices {
  int eigenvalue_count = 0;
  Array<EigenRecord> eigenvalues;
  Array<SparseEntry> stiffness;  // the list exists when it has memory; size() is its count
  Array<SparseEntry> mass;
  Array<SparseEntry> damping;
  int modes_not_orthogonal = 0;
  int modes_not_normalized = 0;
  int damping_on_principal_axes = 0;
};

// ---- faces and interface nodes: body/faces
// ---------------------------------------------------------------------------

struct FaceList {
  int face_count = 0;
  int reserved_word = 0;     // kept from the file, used by nothing
  Array<std::int32_t> list;  // per face its vertex count, then that many node indices; size() is the list length
};

struct InterfaceNodes {
  Array<std::int32_t> nodes;  // node indices
  Array<std::int32_t> place;  // node index -> place in `nodes` plus 1; made by the setter, see forget_interface_places
  int mapped = -1;            // length of `nodes` that `place` describes; -1 for none
};

// ---- global properties and inertia invariants: mass/invariants
// -------------------------------------------------------

// Filled cells have memory. The shapes follow from the mode count at the time a cell was made, kept in `modes`.
struct Invariants {
  Array<double> invar1;  // 1
  Array<double> invar2;  // 3
  Array<double> invar3;  // 3 x M, component-major
  Array<double> invar4;  // 3 x M, component-major
  Array<double> invar5;  // M rows of 3 x M
  Array<double> invar7;  // 9
  Array<double> invar8;  // M rows of 9
  Array<double> invar9;  // M x M cells of 9
};

// ---- loads: body/loads
// -----------------------------------------------------------------------------------------------

struct ModalLoad {
  char label[256] = {};
  int processed = 0;
  Array<double> values;  // per mode index
};

struct NodalLoadCase {
  Array<std::int32_t> nodes;        // node indices
  Array<std::int32_t> coordinates;  // 1 to 6
  Array<double> loads;
};

struct Loads {
  OwnedList<ModalLoad> modal;
  Array<double> preload;  // per mode index
  int preload_on_principal_axes = 0;
  OwnedList<NodalLoadCase> nodal;
};

// ---- pre-stress and pre-strain: modes/entry
// --------------------------------------------------------------------------

struct PreVectors {
  Array<SixVector> stress;  // by kind position of kind 1
  Array<SixVector> strain;  // by kind position of kind 2
};

// ---- monitor points: body/monitor_points; matrix operators: body/matrix_operators
// ------------------------------------

struct MonitorPoint {
  int type = 0;
  int result_type = 0;
  int component = 0;
  double location[3] = {};
  char name[9] = {};
  char label[59] = {};
  int operator_rows = 0;
  int load_operators = 0;
  int flags = 0;
  Array<double> operators[4];  // displacement, velocity, acceleration, load
};

struct SubOperator {
  char tag[8] = {};
  int column_count = 0;
  Array<double> data;
};

struct MatrixOperator {
  char name[80] = {};
  int row_count = 0;
  Array<RowLabel> row_labels;
  OwnedList<SubOperator> sub_operators;
};

// ---- surface state: surface/discard; free edges: surface/free_edges
// --------------------------------------------------

struct GeometryState {
  Array<std::int32_t> geometry_nodes;  // the keep list, while it lasts
  int internal_geometry_removed = 0;
  int is_coarsened = 0;
  int is_surface_mesh = 0;
  double body_size = 0.0;  // cached extent; 0 means not computed
};

struct FreeEdges {
  int count = -1;  // -1 until generated
  OwnedList<Array<std::int32_t>> chains;
};

}  // namespace sbr

// One flexible body. Lives on the registry (body/registry) from its creation to its release.
// The record channel and its layout belong to read/reader, header texts to body/header, statistics to modes/statistics.
struct SbrBody {
  SbrBody *next = nullptr;
  int reference_count = 1;

  sbr::Array<float> float_buffer;
  sbr::StreamChannel record;               // the record file that the body was read from
  sbr::PerKind<sbr::StreamChannel> modes;  // shape, stress, strain: views of the record channel, or temporary files

  sbr::Layout layout;
  sbr::HeaderTexts header;
  sbr::NodeTable nodes;
  sbr::ModeTable mode_table;
  sbr::ModeStore store;
  sbr::ModeAccess access;
  sbr::UnitState units;
  sbr::GeneralizedMatrices matrices;
  sbr::FaceList faces;
  sbr::InterfaceNodes interface_nodes;
  sbr::GlobalProperties global;
  sbr::Invariants invariants;
  sbr::Loads loads;
  sbr::Array<sbr::ModalStatistics> statistics;
  sbr::PreVectors pre;
  sbr::OwnedList<sbr::MonitorPoint> monitor_points;
  sbr::OwnedList<sbr::MatrixOperator> matrix_operators;
  sbr::GeometryState geometry;
  sbr::FreeEdges free_edges;
  sbr::NodeSearchIndex search;

  SbrBody() = default;
  SbrBody(const SbrBody &) = delete;
  SbrBody &operator=(const SbrBody &) = delete;
};

namespace sbr {

// Whether the body's record has a block.
inline bool has_block(const SbrBody &body, int block) { return has_block(body.layout, block); }
// Moves the record channel to a block. False, without a move, when the channel is closed or the block is not there.
[[nodiscard]] inline bool go_to_block(SbrBody &body, int block) noexcept {
  return go_to_block(body.record, body.layout, block);
}
inline void set_block(SbrBody &body, int block, bool exists = true) {
  const int byte = content_byte(block);
  if (byte >= 0) body.layout.content[byte] = exists ? 1 : 0;
}

// To be called by whoever rewrites the interface nodes: the setter's map of them is made anew.
inline void forget_interface_places(SbrBody &body) noexcept {
  body.interface_nodes.place.release();
  body.interface_nodes.mapped = -1;
}

}  // namespace sbr

#endif
