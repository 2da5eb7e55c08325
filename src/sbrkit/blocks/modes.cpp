// Reading eigenvalues, the lists and positions of mode data, generalized matrices, transformation, statistics, and
// pre-stress and pre-strain. The vectors of modes are passed over: only where they lie is noted.
#include <algorithm>
#include <cmath>

#include "base/reports.h"
#include "body/node_table.h"
#include "body/registry.h"
#include "modes/store.h"
#include "read/reader.h"
#include "record/toc.h"

namespace sbr {
namespace {

constexpr double kTwoPi = 6.28318530718;

int code_of(const SbrBody &body) noexcept { return version_code(body.layout.version); }

// The number of a mode that the mode data itself does not tell.
std::int32_t number_by_place(const SbrBody &body, std::int32_t mode) noexcept {
  const Array<EigenRecord> &records = body.matrices.eigenvalues;
  return static_cast<std::size_t>(mode) < records.size() ? records[mode].mode : mode + 1;
}

// No file holds more modes than words. Checked before memory is taken for a table of modes.
bool modes_credible(StreamChannel &channel, std::int32_t modes) noexcept {
  return bounded_product(modes, 4) <= file_bytes(channel);
}

// Notes where the vector at the present position lies and passes over it.
void note_vector(SbrBody &body, Kind kind, std::int32_t mode, std::int64_t vector_bytes) noexcept {
  const std::int64_t here = tell_stream(body.record.stream);
  body.store.offsets[kind][mode] = here;
  if (vector_bytes != 0) go_to(body.record, bounded_sum(here, vector_bytes));
}

std::int64_t vector_bytes_of(SbrBody &body, std::int32_t nodes) noexcept {
  return bounded_product(nodes, field_bytes<SixVector>(encoding_of(body.record)));
}

}  // namespace

// ---- eigenvalues ---------------------------------------------------------------------------------------------------

namespace {

void derive_eigenvalue_columns(EigenRecord &record) noexcept {
  record.frequency_rad = std::sqrt(record.eigenvalue);
  record.frequency_hz = record.frequency_rad / kTwoPi;
  record.generalized_mass = 1.0;
  record.generalized_stiffness = record.eigenvalue;
}

}  // namespace

Reading read_eigenvalue_block(SbrBody &body) noexcept {
  constexpr const char *kProblem = "Problem reading Eigenvalue Data";
  const PositionKeeper keeper(body.record);
  if (!go_to_block(body, kEigenvalues)) return Reading::complete;
  GeneralizedMatrices &matrices = body.matrices;
  FieldReader reader(body.record);
  CountHead head;
  if (!transfer(reader, head) || head.count < 0) return failed(kProblem);
  const std::int64_t row_bytes = field_bytes<EigenRecord>(encoding_of(body.record));
  if (!rows_left(body.record, head.count, row_bytes)) return failed(kProblem);
  matrices.eigenvalue_count = head.count;
  if (head.count == 0) return Reading::complete;
  if (!matrices.eigenvalues.allocate(head.count)) return failed("Out of memory while reading Eigenvalues block");
  RowReader rows(body.record, row_bytes, head.count);
  for (EigenRecord &record : matrices.eigenvalues) {
    if (!transfer(rows, record)) return failed(kProblem);
    if (code_of(body) == 10) derive_eigenvalue_columns(record);
  }
  return Reading::complete;
}

// ---- mode shapes ---------------------------------------------------------------------------------------------------

namespace {

// Brings the node table into the order of the mode data: a node that is not the expected one changes places with it.
// The keys of the node table keep the places that the nodes had in the file.
bool follow_mode_order(SbrBody &body, std::int32_t nodes) noexcept {
  RowReader ids(body.record, 4, nodes);
  for (std::int32_t i = 0; i < nodes; ++i) {
    std::int32_t id = 0;
    if (!ids.integer(id)) return false;
    const std::int32_t present = body.nodes.nodes[i].id;
    if (id != 0 && id != present) swap_nodes_by_id(body, present, id);
  }
  return true;
}

// The number and the place of every mode shape.
bool note_mode_shapes(SbrBody &body, const ModeBlockHead &head) noexcept {
  const std::int64_t vector_bytes = vector_bytes_of(body, head.node_count);
  for (std::int32_t mode = 0; mode < head.mode_count; ++mode) {
    std::int32_t number = 0;
    if (mode_word_present(code_of(body), Kind::shape) && !read_int(body.record, number)) return false;
    if (!mode_word_is_number(code_of(body), Kind::shape)) number = number_by_place(body, mode);
    body.mode_table.mode_numbers[mode] = number;
    note_vector(body, Kind::shape, mode, vector_bytes);
  }
  return true;
}

}  // namespace

Reading read_mode_shapes(SbrBody &body) noexcept {
  constexpr const char *kProblem = "Problem encountered while caching Mode shape Data";
  constexpr const char *kNoMemory = "Out of memory while reading Mode Shape block";
  if (!go_to_block(body, kModeShapes)) return Reading::complete;
  FieldReader reader(body.record);
  ModeBlockHead head;
  if (!transfer(reader, head)) return failed(kProblem);
  body.mode_table.mode_count = std::max(head.mode_count, 0);
  if (body.matrices.eigenvalues && head.mode_count != body.matrices.eigenvalue_count)
    return failed("Number of mode shapes does not match the number of eigenvalues");
  if (node_count(body) < 1) return static_cast<Reading>(report_no_memory(unit_name::kReading));
  if (head.node_count < 0 || head.node_count > node_count(body)) return failed(kProblem);
  body.nodes.kinds[Kind::shape].count = head.node_count;
  body.nodes.shape_list_present = true;
  if (!follow_mode_order(body, head.node_count)) return failed(kProblem);
  if (head.mode_count < 1) return Reading::complete;
  if (!modes_credible(body.record, head.mode_count)) return failed(kProblem);
  Array<std::int32_t> &numbers = body.mode_table.mode_numbers;
  if (!body.store.offsets[Kind::shape].allocate(head.mode_count)) return failed(kNoMemory);
  if (numbers.count() < head.mode_count && !numbers.allocate(head.mode_count)) return failed(kNoMemory);
  return note_mode_shapes(body, head) ? Reading::complete : failed(kProblem);
}

// ---- modal stress and modal strain ---------------------------------------------------------------------------------

namespace {

struct VectorMessages {
  const char *count_differs;
  const char *before_shapes;
  const char *other_order;
  const char *no_memory;
  const char *problem;
  const char *unknown_nodes;
};
constexpr VectorMessages kStressMessages = {"Number of stress modes does not match the number of eigenvalues",
                                            "Stress modes are being processed before mode shapes",
                                            "Stress modes are in a different order than mode shapes",
                                            "Out of memory while reading Modal Stress Block",
                                            "Problem when reading Modal Stress info",
                                            "Modal stress is given at %d nodes that the body does not have"};
constexpr VectorMessages kStrainMessages = {"Number of strain modes does not match the number of eigenvalues",
                                            "Strain modes are being processed before mode shapes",
                                            "Strain modes are in a different order than mode shapes",
                                            "Out of memory while reading Modal Strain Block",
                                            "Problem when reading Modal Strain info",
                                            "Modal strain is given at %d nodes that the body does not have"};

// The node list of a kind and its keys. A node that the body does not have keeps its position and has no index.
Reading read_kind_nodes(SbrBody &body, Kind kind, const VectorMessages &messages) noexcept {
  FieldReader reader(body.record);
  CountHead head;
  if (!transfer(reader, head)) return failed(messages.problem);
  if (node_count(body) < 1) return static_cast<Reading>(report_no_memory(unit_name::kReading));
  if (head.count < 0 || head.count > node_count(body) || !rows_left(body.record, head.count, 4))
    return failed(messages.problem);
  KindNodes &list = body.nodes.kinds[kind];
  Array<std::int32_t> ids;
  if (!ids.resize(head.count) || !list.nodes.resize(head.count))
    return static_cast<Reading>(report_no_memory(unit_name::kReading));
  if (!read_ints(body.record, ids.data(), head.count)) return failed(messages.problem);
  list.count = head.count;
  int unknown = 0;
  for (std::size_t i = 0; i < ids.size(); ++i) {
    list.nodes[i] = node_index(body, ids[i]);
    if (list.nodes[i] < 0) ++unknown;
  }
  if (unknown > 0) report_warning(messages.unknown_nodes, unknown);
  if (!list.keys.build(list.count, [&](int i) { return ids[i]; }))
    return static_cast<Reading>(report_no_memory(unit_name::kReading));
  return Reading::complete;
}

enum class VectorWalk { complete, read_failed, other_order };

// The place of every vector of a kind, and the numbers of the modes: taken from here, or compared with those known.
VectorWalk note_vectors(SbrBody &body, Kind kind, bool numbers_from_here) noexcept {
  Array<std::int32_t> &numbers = body.mode_table.mode_numbers;
  const int code = code_of(body);
  const std::int64_t vector_bytes = vector_bytes_of(body, body.nodes.kinds[kind].count);
  for (std::int32_t mode = 0; mode < body.mode_table.mode_count; ++mode) {
    const auto at = static_cast<std::size_t>(mode);
    std::int32_t word = 0;
    if (mode_word_present(code, kind) && !read_int(body.record, word)) return VectorWalk::read_failed;
    if (numbers_from_here)
      numbers[at] = mode_word_is_number(code, kind) ? word : number_by_place(body, mode);
    else if (mode_word_is_number(code, kind) && (at >= numbers.size() || numbers[at] != word))
      return VectorWalk::other_order;
    note_vector(body, kind, mode, vector_bytes);
  }
  return VectorWalk::complete;
}

// The vectors of a kind when the block has modes.
Reading read_kind_vectors(SbrBody &body, Kind kind, const VectorMessages &messages) noexcept {
  const std::int32_t modes = body.mode_table.mode_count;
  if (!modes_credible(body.record, modes)) return failed(messages.problem);
  Array<std::int32_t> &numbers = body.mode_table.mode_numbers;
  if (!body.store.offsets[kind].allocate(modes)) return failed(messages.no_memory);
  const bool numbers_from_here = !numbers;
  if (numbers_from_here) {
    if (!numbers.allocate(modes)) return failed(messages.no_memory);
    report_warning("%s", messages.before_shapes);
  }
  const VectorWalk walk = note_vectors(body, kind, numbers_from_here);
  if (walk == VectorWalk::other_order) return failed(messages.other_order);
  // A strain block that breaks off among its vectors is taken as far as it goes, without a word.
  if (walk == VectorWalk::read_failed && kind == Kind::stress) return failed(messages.problem);
  // The mode count is that of this block; the numbers of modes beyond those known are 0.
  if (numbers.count() < modes && !numbers.resize(modes)) return failed(messages.no_memory);
  return Reading::complete;
}

Reading read_vectors(SbrBody &body, Kind kind, const VectorMessages &messages) noexcept {
  if (!go_to_block(body, kind_block(kind))) return Reading::complete;
  FieldReader reader(body.record);
  CountHead modes;
  if (!transfer(reader, modes)) return failed(messages.problem);
  body.mode_table.mode_count = std::max(modes.count, 0);
  if (body.matrices.eigenvalues && modes.count != body.matrices.eigenvalue_count)
    report_error("%s", messages.count_differs);
  if (const Reading list = read_kind_nodes(body, kind, messages); list != Reading::complete) return list;
  if (modes.count < 1) return kind == Kind::stress ? Reading::complete : failed(messages.problem);
  return read_kind_vectors(body, kind, messages);
}

}  // namespace

Reading read_modal_stress(SbrBody &body) noexcept { return read_vectors(body, Kind::stress, kStressMessages); }
Reading read_modal_strain(SbrBody &body) noexcept { return read_vectors(body, Kind::strain, kStrainMessages); }

// ---- generalized matrices ------------------------------------------------------------------------------------------

namespace {

struct MatrixBlock {
  int block;
  Array<SparseEntry> GeneralizedMatrices::*entries;
  const char *no_memory;
  const char *problem;
};
constexpr MatrixBlock kStiffness = {kGeneralizedStiffness, &GeneralizedMatrices::stiffness,
                                    "Out of memory while reading Generalized Stiffness block",
                                    "Problem reading Generalized Stiffness information"};
constexpr MatrixBlock kMass = {kGeneralizedMass, &GeneralizedMatrices::mass,
                               "Out of memory while reading Generalized Mass block",
                               "Problem reading Generalized Mass information"};
constexpr MatrixBlock kDamping = {kGeneralizedDamping, &GeneralizedMatrices::damping,
                                  "Out of memory while reading Generalized Damping Block",
                                  "Problem reading Generalized Damping information"};

// A position from 0 of one counted from 1, whatever a file says.
std::int32_t from_one(std::int32_t counted) noexcept {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(counted) - 1U);
}

// Makes room for the entries that the block announces.
Reading allocate_entries(SbrBody &body, const MatrixBlock &matrix) noexcept {
  const PositionKeeper keeper(body.record);
  Array<SparseEntry> &entries = body.matrices.*matrix.entries;
  entries.release();
  if (!go_to_block(body, matrix.block)) return Reading::complete;
  FieldReader reader(body.record);
  CountHead head;
  if (!transfer(reader, head)) return failed(matrix.problem);
  const std::int64_t row_bytes = field_bytes<SparseRow>(encoding_of(body.record));
  if (head.count > 0 && !rows_left(body.record, head.count, row_bytes)) return failed(matrix.problem);
  return entries.allocate(head.count) ? Reading::complete : failed(matrix.no_memory);
}

// Reads a matrix block into the entries that stand. Entries that the block does not have stay as they are.
Reading read_entries(SbrBody &body, const MatrixBlock &matrix, std::int32_t *second_word) noexcept {
  const PositionKeeper keeper(body.record);
  if (!go_to_block(body, matrix.block)) return Reading::complete;
  Array<SparseEntry> &entries = body.matrices.*matrix.entries;
  FieldReader reader(body.record);
  SparseHead head;
  if (!transfer(reader, head)) return failed(matrix.problem);
  const std::int64_t row_bytes = field_bytes<SparseRow>(encoding_of(body.record));
  if (!rows_left(body.record, head.entry_count, row_bytes)) return failed(matrix.problem);
  if (entries.count() < head.entry_count && !entries.resize(head.entry_count)) return failed(matrix.no_memory);
  if (second_word != nullptr) *second_word = head.second_word;
  RowReader rows(body.record, row_bytes, head.entry_count);
  for (std::int32_t i = 0; i < head.entry_count; ++i) {
    SparseRow row;
    if (!transfer(rows, row)) return failed(matrix.problem);
    entries[i] = {from_one(row.row), from_one(row.column), row.value};
  }
  return Reading::complete;
}

Reading read_matrix(SbrBody &body, const MatrixBlock &matrix, std::int32_t *second_word) noexcept {
  const Reading room = allocate_entries(body, matrix);
  return room == Reading::complete ? read_entries(body, matrix, second_word) : room;
}

}  // namespace

Reading read_stiffness(SbrBody &body) noexcept { return read_matrix(body, kStiffness, nullptr); }
Reading read_mass(SbrBody &body) noexcept { return read_matrix(body, kMass, nullptr); }
Reading read_damping(SbrBody &body) noexcept {
  return read_matrix(body, kDamping, &body.matrices.damping_on_principal_axes);
}

Reading read_transformation(SbrBody &body) noexcept {
  constexpr const char *kProblem = "Problem when reading Mode Shape Transformation";
  if (!go_to_block(body, kModeShapeTransformation)) return Reading::complete;
  StreamChannel &channel = body.record;
  ModeAccess &access = body.access;
  FieldReader reader(channel);
  CountHead head;
  if (!transfer(reader, head) || head.count < 0) return failed(kProblem);
  if (head.count == 0) return Reading::complete;
  const std::int64_t cells = std::int64_t{head.count} * head.count;
  const std::int64_t row_bytes = bounded_sum(4, bounded_product(head.count, real_size(channel)));
  if (!rows_left(channel, head.count, row_bytes)) return failed(kProblem);
  if (!access.transformation_modes.allocate(head.count) || !access.transformation.allocate(cells)) {
    failed("Out of memory while reading Mode Shape Transformation Block");
    return failed(kProblem);
  }
  const bool ok = read_ints(channel, access.transformation_modes.data(), head.count) &&
                  read_reals(channel, access.transformation.data(), cells);
  return ok ? Reading::complete : failed(kProblem);
}

// ---- statistics, pre-stress, pre-strain ----------------------------------------------------------------------------

Reading read_statistics(SbrBody &body) noexcept {
  constexpr const char *kProblem = "Problem when reading Modal Statistics Block";
  if (!go_to_block(body, kModalStatistics)) return Reading::complete;
  FieldReader reader(body.record);
  CountHead head;
  if (!transfer(reader, head)) return failed(kProblem);
  const std::int64_t row_bytes = field_bytes<ModalStatistics>(encoding_of(body.record));
  if (head.count > 0 && !rows_left(body.record, head.count, row_bytes)) return failed(kProblem);
  if (!body.statistics.allocate(head.count)) return failed("Out of memory while reading Modal Statistics Block");
  RowReader rows(body.record, row_bytes, head.count);
  for (ModalStatistics &row : body.statistics)
    if (!transfer(rows, row)) return failed(kProblem);
  return Reading::complete;
}

namespace {

struct PreMessages {
  const char *info_problem;
  const char *count_differs;
  const char *no_memory;
  const char *problem;
};

Reading read_pre_vectors(SbrBody &body, int block, Kind kind, Array<SixVector> &vectors,
                         const PreMessages &messages) noexcept {
  if (!go_to_block(body, block)) return Reading::complete;
  StreamChannel &channel = body.record;
  FieldReader reader(channel);
  CountHead head;
  if (!transfer(reader, head)) return failed(messages.info_problem);
  if (head.count != body.nodes.kinds[kind].count) report_error("%s", messages.count_differs);
  const std::int64_t row_bytes = field_bytes<SixVector>(encoding_of(channel));
  if (head.count > 0 && !rows_left(channel, head.count, row_bytes)) return failed(messages.problem);
  if (!vectors.allocate(head.count)) return failed(messages.no_memory);
  return read_reals(channel, vectors.data()->data(), std::int64_t{6} * head.count) ? Reading::complete
                                                                                   : failed(messages.problem);
}

}  // namespace

Reading read_pre_stress(SbrBody &body) noexcept {
  return read_pre_vectors(body, kNodalPreStress, Kind::stress, body.pre.stress,
                          {"Problem occurred while reading Pre-Stress info",
                           "Number of nodes in pre-stress does not match that in stress modes",
                           "Out of memory while processing Pre-Stress Block", "Problem when reading Pre-Stress Block"});
}

Reading read_pre_strain(SbrBody &body) noexcept {
  return read_pre_vectors(body, kNodalPreStrain, Kind::strain, body.pre.strain,
                          {"Problem occurred while reading Pre-Strain info",
                           "Number of nodes in pre-strain does not match that in strain modes",
                           "Out of memory while processing Pre-Strain Block", "Problem when reading Pre-Strain Block"});
}

}  // namespace sbr

extern "C" {

int SBR_ReadGeneralizedStiffness(SBR body) {
  if (!sbr::require_body(body)) return 0;
  return sbr::read_entries(*body, sbr::kStiffness, nullptr) == sbr::Reading::complete ? 1 : 0;
}

int SBR_ReadGeneralizedMass(SBR body) {
  if (!sbr::require_body(body)) return 0;
  return sbr::read_entries(*body, sbr::kMass, nullptr) == sbr::Reading::complete ? 1 : 0;
}

int SBR_ReadGeneralizedDamping(SBR body) {
  if (!sbr::require_body(body)) return 0;
  return sbr::read_entries(*body, sbr::kDamping, &body->matrices.damping_on_principal_axes) == sbr::Reading::complete
             ? 1
             : 0;
}

}  // extern "C"
