// Emission of eigenvalues, generalized matrices, mode transformation and inertia invariants.
#include "base/reports.h"
#include "blocks/emission.h"
#include "body/matrices.h"
#include "body/node_table.h"

namespace sbr {
namespace {

struct Triples {
  Array<int> rows;
  Array<int> columns;
  Array<double> values;
};

bool allocate_triples(Emission &run, int count, Triples &triples) noexcept {
  return (triples.rows.allocate(count) && triples.columns.allocate(count) && triples.values.allocate(count)) ||
         run.no_memory();
}

using CountOf = int (*)(SBR body);
using SparseForm = int (*)(SBR body, double *values, int *rows, int *columns);

// Stiffness and mass name their rows and columns by mode number.
bool emit_generalized(Emission &run, CountOf count_of, SparseForm sparse) noexcept {
  SbrBody &body = run.body;
  const int count = count_of(&body);
  Triples triples;
  if (!allocate_triples(run, count, triples)) return false;
  if (sparse(&body, triples.values.data(), triples.rows.data(), triples.columns.data()) == 0) return false;
  if (!run.put(SparseHead{count, run.plan.exported_modes})) return false;
  for (std::size_t i = 0; i < triples.rows.size(); ++i)
    if (!run.put(
            SparseRow{mode_number(body, triples.rows[i]), mode_number(body, triples.columns[i]), triples.values[i], 1}))
      return false;
  return true;
}

// The exported columns of three component rows, whose stride is the body's mode count.
bool put_exported_columns(Emission &run, const double *values) noexcept {
  const std::ptrdiff_t stride = run.body.mode_table.mode_count;
  for (std::ptrdiff_t component = 0; component < 3; ++component)
    if (!run.out.reals(values + component * stride + run.plan.first_mode, run.plan.exported_modes)) return false;
  return true;
}

// An invariant of three components per mode.
bool put_component_rows(Emission &run, const Values &values, bool count_is_checked) noexcept {
  if (values == nullptr) return false;
  const bool counted = run.put(CountHead{run.plan.exported_modes});
  return (counted || !count_is_checked) && put_exported_columns(run, values.get());
}

bool put_fixed(Emission &run, const Values &values, int count) noexcept {
  return values != nullptr && run.out.reals(values.get(), count);
}

}  // namespace

bool emit_eigenvalues(Emission &run) noexcept {
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

bool emit_generalized_stiffness(Emission &run) noexcept {
  return emit_generalized(run, SBR_NumberOfGenStiff, SBR_GenStiffSparse);
}

bool emit_generalized_mass(Emission &run) noexcept {
  return emit_generalized(run, SBR_NumberOfGenMass, SBR_GenMassSparse);
}

// Damping names its rows and columns by position, counted from 1.
bool emit_generalized_damping(Emission &run) noexcept {
  const int count = damping_count(run.body);
  Triples triples;
  if (!allocate_triples(run, count, triples)) return false;
  if (!sparse_damping(run.body, triples.values.data(), triples.rows.data(), triples.columns.data())) return false;
  if (!run.put(SparseHead{count, run.body.matrices.damping_on_principal_axes})) return false;
  for (std::size_t i = 0; i < triples.rows.size(); ++i) {
    // Entries of a foreign record may hold any word: the sum wraps instead of overflowing.
    const auto one_based = [](int position) {
      return static_cast<std::int32_t>(static_cast<std::uint32_t>(position) + 1U);
    };
    if (!run.put(SparseRow{one_based(triples.rows[i]), one_based(triples.columns[i]), triples.values[i], 1}))
      return false;
  }
  return true;
}

// The matrix keeps its order when modes are dropped, so its row stride is that of the body's modes at the start of the
// write. Modes that needed no work are the exception: when some of them are dropped, the identity is filled again at
// its new order.
bool emit_transformation(Emission &run) noexcept {
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

bool emit_invariant_1(Emission &run) noexcept { return run.out.real(SBR_Invar1(&run.body)); }
bool emit_invariant_2(Emission &run) noexcept { return put_fixed(run, Values(SBR_Invar2(&run.body)), 3); }
bool emit_invariant_3(Emission &run) noexcept { return put_component_rows(run, Values(SBR_Invar3(&run.body)), true); }
// Whether the count of Invariant 4 arrives is deliberately not looked at.
bool emit_invariant_4(Emission &run) noexcept { return put_component_rows(run, Values(SBR_Invar4(&run.body)), false); }

bool emit_invariant_5(Emission &run) noexcept {
  if (!run.put(CountHead{run.plan.exported_modes})) return false;
  for (int j = run.plan.first_mode; j < run.plan.end_mode; ++j) {
    const Values row(SBR_Invar5(&run.body, j));
    if (row == nullptr || !put_exported_columns(run, row.get())) return false;
  }
  return true;
}

bool emit_invariant_7(Emission &run) noexcept { return put_fixed(run, Values(SBR_Invar7(&run.body)), 9); }

bool emit_invariant_8(Emission &run) noexcept {
  if (!run.put(CountHead{run.plan.exported_modes})) return false;
  for (int j = run.plan.first_mode; j < run.plan.end_mode; ++j)
    if (!put_fixed(run, Values(SBR_Invar8(&run.body, j)), 9)) return false;
  return true;
}

bool emit_invariant_9(Emission &run) noexcept {
  if (!run.put(CountHead{run.plan.exported_modes})) return false;
  for (int j = run.plan.first_mode; j < run.plan.end_mode; ++j)
    for (int k = run.plan.first_mode; k < run.plan.end_mode; ++k) {
      const Values cell(SBR_Invar9(&run.body, j, k));
      if (cell == nullptr) return false;
      // Whether a cell arrives is deliberately not looked at.
      static_cast<void>(run.out.reals(cell.get(), 9));
    }
  return true;
}

}  // namespace sbr
