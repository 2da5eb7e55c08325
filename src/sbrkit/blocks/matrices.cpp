#include "blocks/matrices.h"

#include <cmath>

#include "base/reports.h"
#include "body/matrices.h"
#include "body/node_table.h"
#include "body/registry.h"
#include "body/units.h"

namespace sbr {
namespace {

// ---- eigenvalues ---------------------------------------------------------------------------------------------------

// The oldest records tell the eigenvalue only; what else they hold there is made anew.
void derive_eigenvalue_columns(EigenRecord &record) noexcept {
  record.frequency_rad = std::sqrt(record.eigenvalue);
  record.frequency_hz = record.frequency_rad / kTwoPi;
  record.generalized_mass = 1.0;
  record.generalized_stiffness = record.eigenvalue;
}

Reading read_eigenvalues(SbrBody &body) noexcept {
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
    if (version_code(body.layout.version) == 10) derive_eigenvalue_columns(record);
  }
  return Reading::complete;
}

bool write_eigenvalues(Emission &run) noexcept {
  report_info("\nEigenvalue info:\n   Modes: %ld", static_cast<long>(run.plan.exported_modes));
  if (!run.put(CountHead{run.plan.exported_modes})) return false;
  for (int m = run.plan.first_mode; m < run.plan.end_mode; ++m) {
    const int number = mode_number(run.body, m);
    EigenRecord row;
    row.mode = number;
    if (!eigen_values(run.body, m, &row.eigenvalue, &row.frequency_hz, &row.frequency_rad, &row.generalized_mass,
                      &row.generalized_stiffness))
      return false;
    if (!run.put(row)) return false;
  }
  return true;
}

bool print_eigenvalues(const Report &report) noexcept {
  SbrBody &body = report.body;
  const double factor = consistency_factor(body);
  const int modes = mode_count(body);
  bool any = false;
  for (int m = 0; m < modes; ++m) {
    const int number = mode_number(body, m);
    double row[5] = {};
    if (!eigen_values(body, m, &row[0], &row[1], &row[2], &row[3], &row[4])) continue;
    if (!any) {
      std::fputs("                          Natural Freq.     Natural Freq.     Generalized       Generalized    \n",
                 report.out);
      std::fputs(" Mode   Eigenvalue        (Hz)              (Rad/Sec)         Mass              Stiffness      \n",
                 report.out);
      std::fputs("===== ================= ================= ================= ================= =================\n",
                 report.out);
      any = true;
    }
    std::fprintf(report.out, "%5d % 17.10le % 17.10le % 17.10le % 17.10le % 17.10le\n", number, row[0] * factor, row[1],
                 row[2], row[3], row[4]);
  }
  if (!any) std::fputs("No eigenvalue information\n", report.out);
  std::fputs("\n", report.out);
  return true;
}

// ---- generalized matrices ------------------------------------------------------------------------------------------

// How rows and columns are told apart from positions: stiffness and mass name modes by their numbers, damping by their
// places, counted from 1.
enum class Naming { by_number, by_place };

struct GeneralizedMatrix {
  Block block;
  Array<SparseEntry> GeneralizedMatrices::*entries;
  Naming naming;
  const char *no_memory;  // in reading
  const char *problem;
  const char *nothing;  // in the report
};
constexpr GeneralizedMatrix kStiffness = {kGeneralizedStiffness,
                                          &GeneralizedMatrices::stiffness,
                                          Naming::by_number,
                                          "Out of memory while reading Generalized Stiffness block",
                                          "Problem reading Generalized Stiffness information",
                                          "No generalized stiffness information.\n\n"};
constexpr GeneralizedMatrix kMass = {kGeneralizedMass,
                                     &GeneralizedMatrices::mass,
                                     Naming::by_number,
                                     "Out of memory while reading Generalized Mass block",
                                     "Problem reading Generalized Mass information",
                                     "No generalized mass information in SBR\n\n"};
constexpr GeneralizedMatrix kDamping = {kGeneralizedDamping,
                                        &GeneralizedMatrices::damping,
                                        Naming::by_place,
                                        "Out of memory while reading Generalized Damping Block",
                                        "Problem reading Generalized Damping information",
                                        "No generalized damping information in SBR.\n\n"};

// A position from 0 of one counted from 1, whatever a file says.
std::int32_t from_one(std::int32_t counted) noexcept {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(counted) - 1U);
}

// Makes room for the entries that the block announces.
Reading allocate_entries(SbrBody &body, const GeneralizedMatrix &matrix) noexcept {
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
Reading read_entries(SbrBody &body, const GeneralizedMatrix &matrix, std::int32_t *second_word) noexcept {
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

Reading read_matrix(SbrBody &body, const GeneralizedMatrix &matrix, std::int32_t *second_word) noexcept {
  const Reading room = allocate_entries(body, matrix);
  return room == Reading::complete ? read_entries(body, matrix, second_word) : room;
}

Reading read_stiffness(SbrBody &body) noexcept { return read_matrix(body, kStiffness, nullptr); }
Reading read_mass(SbrBody &body) noexcept { return read_matrix(body, kMass, nullptr); }
Reading read_damping(SbrBody &body) noexcept {
  return read_matrix(body, kDamping, &body.matrices.damping_on_principal_axes);
}

// The sparse form of a matrix, as the accessors give it: with mode indices for rows and columns.
struct Triples {
  Array<int> rows;
  Array<int> columns;
  Array<double> values;
};

int entry_count(const SbrBody &body, const GeneralizedMatrix &matrix) noexcept {
  if (matrix.block == kGeneralizedStiffness) return stiffness_count(body);
  return matrix.block == kGeneralizedMass ? mass_count(body) : damping_count(body);
}

// False when memory is short, or there is no entry.
bool take_triples(const SbrBody &body, const GeneralizedMatrix &matrix, Triples &triples) noexcept {
  const int count = entry_count(body, matrix);
  if (!triples.rows.allocate(count) || !triples.columns.allocate(count) || !triples.values.allocate(count))
    return false;
  double *const values = triples.values.data();
  int *const rows = triples.rows.data();
  int *const columns = triples.columns.data();
  if (matrix.block == kGeneralizedStiffness)
    sparse_stiffness(body, values, rows, columns);
  else if (matrix.block == kGeneralizedMass)
    sparse_mass(body, values, rows, columns);
  else
    (void)sparse_damping(body, values, rows, columns);
  return true;
}

// What a record and the report call a mode index.
std::int32_t name_of(const SbrBody &body, const GeneralizedMatrix &matrix, int index) noexcept {
  if (matrix.naming == Naming::by_number) return mode_number(body, index);
  // Entries of a foreign record may hold any word: the sum wraps instead of overflowing.
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(index) + 1U);
}

bool write_matrix(Emission &run, const GeneralizedMatrix &matrix, std::int32_t second_word) noexcept {
  const SbrBody &body = run.body;
  Triples triples;
  if (!take_triples(body, matrix, triples)) return run.no_memory();
  if (!run.put(SparseHead{triples.rows.count(), second_word})) return false;
  for (std::size_t i = 0; i < triples.rows.size(); ++i)
    if (!run.put(SparseRow{name_of(body, matrix, triples.rows[i]), name_of(body, matrix, triples.columns[i]),
                           triples.values[i], 1}))
      return false;
  return true;
}

bool write_stiffness(Emission &run) noexcept { return write_matrix(run, kStiffness, run.plan.exported_modes); }
bool write_mass(Emission &run) noexcept { return write_matrix(run, kMass, run.plan.exported_modes); }
bool write_damping(Emission &run) noexcept {
  return write_matrix(run, kDamping, run.body.matrices.damping_on_principal_axes);
}

bool print_matrix(const Report &report, const GeneralizedMatrix &matrix, const char *note) noexcept {
  const SbrBody &body = report.body;
  if (entry_count(body, matrix) < 1) {
    std::fputs(matrix.nothing, report.out);
    return true;
  }
  Triples triples;
  if (!take_triples(body, matrix, triples)) return report.no_memory();
  std::fputs(note, report.out);
  for (std::size_t i = 0; i < triples.rows.size(); ++i)
    std::fprintf(report.out, "%5d   %5d   %20.10le\n", name_of(body, matrix, triples.rows[i]),
                 name_of(body, matrix, triples.columns[i]), triples.values[i]);
  std::fputs("\n", report.out);
  return true;
}

constexpr const char *kOnPrincipalAxes =
    "Note:\tThe generalized damping matrix has been projected onto principal\n"
    "\tcoordinates.  The first 6 rows and columns correspond VENTA\n"
    "\tprincipal rigid body degrees of freedom.  The remaining rows\n"
    "\tand columns correspond to flexible modes.\n\n";
constexpr const char *kOnModes =
    "Note:\tThe generalized damping matrix has not been projected onto\n"
    "\tprincipal coordinates.  Rows and columns correspond to rigid body\n"
    "\tand flexible modes.\n\n";

bool print_stiffness(const Report &report) noexcept { return print_matrix(report, kStiffness, ""); }
bool print_mass(const Report &report) noexcept { return print_matrix(report, kMass, ""); }
bool print_damping(const Report &report) noexcept {
  return print_matrix(report, kDamping,
                      report.body.matrices.damping_on_principal_axes != 0 ? kOnPrincipalAxes : kOnModes);
}

// ---- mode transformation -------------------------------------------------------------------------------------------

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

// The matrix keeps its order when modes are dropped, so its row stride is that of the body's modes at the start of the
// write. Modes that needed no work are the exception: when some of them are dropped, the identity is filled again at
// its new order.
bool write_transformation(Emission &run) noexcept {
  const SbrBody &body = run.body;
  const auto modes = static_cast<std::size_t>(body.mode_table.mode_count < 0 ? 0 : body.mode_table.mode_count);
  if (!run.put(CountHead{body.mode_table.mode_count})) return false;
  if (modes == 0) return true;
  const bool untouched = body.matrices.modes_not_orthogonal == 0 && body.matrices.modes_not_normalized == 0;
  const auto entry_modes = static_cast<std::size_t>(run.plan.entry_mode_count);
  const std::size_t stride = untouched && modes < entry_modes ? modes : entry_modes;
  const Array<double> &matrix = body.access.transformation;
  const Array<std::int32_t> &numbers =
      body.access.transformation_modes ? body.access.transformation_modes : body.mode_table.mode_numbers;
  if (numbers.size() < modes || stride < modes || matrix.size() < (modes - 1) * stride + modes) return false;
  if (!run.out.ints(numbers.data(), static_cast<std::int64_t>(modes))) return false;
  for (std::size_t row = 0; row < modes; ++row)
    if (!run.out.reals(matrix.data() + row * stride, static_cast<std::int64_t>(modes))) return false;
  return true;
}

bool print_transformation(const Report &report) noexcept {
  const Array<double> &matrix = report.body.access.transformation;
  if (!matrix) {
    std::fputs("\tNo Mode Shape Transformation, modes used as is.\n\n", report.out);
    return true;
  }
  const auto modes = static_cast<std::size_t>(mode_count(report.body));
  std::fprintf(report.out, "Number of modes: %d\n\n", static_cast<int>(modes));
  std::size_t at = 0;
  for (std::size_t row = 0; row < modes; ++row) {
    // A matrix of fewer modes has zeros behind its end.
    for (std::size_t column = 0; column < modes; ++column, ++at)
      std::fprintf(report.out, "%10.5le ", at < matrix.size() ? matrix[at] : 0.0);
    std::fputs("\n", report.out);
  }
  return true;
}

}  // namespace

constinit const BlockFunctions kEigenvaluesBlock{
    .read = read_eigenvalues, .write = write_eigenvalues, .print = print_eigenvalues};
constinit const BlockFunctions kGeneralizedStiffnessBlock{
    .read = read_stiffness, .write = write_stiffness, .print = print_stiffness};
constinit const BlockFunctions kGeneralizedMassBlock{.read = read_mass, .write = write_mass, .print = print_mass};
constinit const BlockFunctions kGeneralizedDampingBlock{
    .read = read_damping, .write = write_damping, .print = print_damping};
constinit const BlockFunctions kModeShapeTransformationBlock{
    .read = read_transformation, .write = write_transformation, .print = print_transformation};

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
