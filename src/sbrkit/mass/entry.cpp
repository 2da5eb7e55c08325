// Entering inertia invariants by hand, and the global mass properties that follow from them.
#include "mass/entry.h"

#include <algorithm>
#include <cmath>

#include "base/mat3.h"
#include "base/reports.h"
#include "body/matrix_entry.h"
#include "body/node_table.h"
#include "body/registry.h"
#include "mass/invariants.h"

namespace sbr {
namespace {

constexpr double kTolerance = 1e-8;

bool report_unknown_mode(int number, int line = __builtin_LINE()) noexcept {
  report_error("Mode number %d does not exist.  Requested at line %d in file %s.\n", number, line,
               unit_name::kInvariants);
  return false;
}

// A difference relative to a value, and absolute for values up to 1.
double relative(double difference, double value) noexcept {
  return std::fabs(difference / (std::fabs(value) > 1.0 ? value : 1.0));
}

// Makes a cell of zeros at the first entry.
bool ready(Array<double> &cell, std::int64_t size) noexcept {
  if (cell || cell.allocate(size)) return true;
  return report_no_memory(unit_name::kInvariants);
}

// Enters a mode's vector in a cell of 3 x M values.
int set_mode_vector(SBR body, Array<double> Invariants::*member, int block, int number, const double *v3) noexcept {
  if (!require_body(body)) return 0;
  const int index = mode_index(*body, number);
  if (index < 0) return report_unknown_mode(number);
  if (v3 == nullptr) return 0;
  Array<double> &cell = body->invariants.*member;
  if (!ready(cell, 3 * std::int64_t{body->mode_table.mode_count})) return 0;
  // The cell has the modes that were known when it was made.
  const int modes = modes_of_cell(cell, 3);
  if (index >= modes) return report_unknown_mode(number);
  for (int c = 0; c < 3; ++c) cell[c * std::int64_t{modes} + index] = v3[c];
  set_block(*body, block);
  return 1;
}

struct ModePair {
  int row;
  int column;
};

// The indices of two mode numbers, row first; false after a report.
bool find_modes(SBR body, int row, int column, ModePair &pair) noexcept {
  pair.row = mode_index(*body, row);
  if (pair.row < 0) return report_unknown_mode(row);
  pair.column = mode_index(*body, column);
  return pair.column >= 0 || report_unknown_mode(column);
}

// Warns of the first pair of entries that breaks the symmetry of a mode's matrix with itself.
void check_symmetry(int row, int column, const double *v) noexcept {
  constexpr int kPairs[3][2] = {{1, 3}, {2, 6}, {5, 7}};
  const bool symmetric = std::none_of(std::begin(kPairs), std::end(kPairs), [&](const int *pair) {
    return relative(v[pair[0]] - v[pair[1]], v[pair[0]]) > kTolerance;
  });
  if (symmetric) return;
  report_warning(
      "I9(%d, %d) is not symmetric.\n   %14.8e %14.8e %14.8e\n   %14.8e %14.8e %14.8e\n   %14.8e %14.8e %14.8e\n", row,
      column, v[0], v[1], v[2], v[3], v[4], v[5], v[6], v[7], v[8]);
}

// ---- global mass properties ----------------------------------------------------------------------------------------

// Warns once when the given center differs from the first moment over the mass.
void check_center(const double *moment, const double *center) noexcept {
  for (int c = 0; c < 3; ++c)
    if (relative(center[c] - moment[c], center[c]) > kTolerance) {
      report_warning("Global center of mass is inconsistent with INVAR2 setting or nodal data.");
      return;
    }
}

// Warns once when the given inertia, with its products negated, differs from the tensor of invariant 7.
void check_inertia(const double *tensor, const double *inertia) noexcept {
  for (int p = 0; p < 9; ++p) {
    const double given = p % 4 == 0 ? inertia[p] : -inertia[p];
    if (relative(given - tensor[p], given) > kTolerance) {
      report_warning("Global mass inertia is inconsistent with INVAR7 setting or nodal data.");
      return;
    }
  }
}

// Compares given global properties with what the invariants say. Findings are warnings only.
void check_global_mass(SbrBody &body, double mass, const double *center, const double *inertia) noexcept {
  const double m = invariant1(body);
  if (relative(m - mass, m) > kTolerance)
    report_warning("Global mass is inconsistent with INVAR1 setting or sum of nodal masses.");
  if (fill_invar2(body)) {
    double moment[3] = {};
    std::copy_n(body.invariants.invar2.data(), 3, moment);
    const double divisor = m != 0.0 ? m : mass;
    if (divisor != 0.0)
      for (double &component : moment) component /= divisor;
    else
      report_info("Global mass is being set to zero.");
    check_center(moment, center);
  }
  if (fill_invar7(body)) check_inertia(body.invariants.invar7.data(), inertia);
}

}  // namespace

bool enter_invar5(SbrBody &body, int row, int column, const double *v3) noexcept {
  if (!ready(body.invariants.invar5, pair_cell_size(3, mode_count(body)))) return false;
  if (row == column && std::any_of(v3, v3 + 3, [](double v) { return std::fabs(v) > kTolerance; }))
    report_warning("I5(%d, %d) is not zero.\n   (%14.8e, %14.8e, %14.8e)", mode_number(body, row),
                   mode_number(body, column), v3[0], v3[1], v3[2]);
  const std::span<double> values = invar5_row(body, row);
  const std::span<double> mirror = invar5_row(body, column);
  if (values.empty()) return report_unknown_mode(mode_number(body, row));
  if (mirror.empty()) return report_unknown_mode(mode_number(body, column));
  const std::size_t modes = values.size() / 3;
  for (std::size_t c = 0; c < 3; ++c) {
    values[c * modes + static_cast<std::size_t>(column)] = v3[c];
    mirror[c * modes + static_cast<std::size_t>(row)] = -v3[c];
  }
  set_block(body, kInvariant5);
  return true;
}

void calculate_global_mass(SbrBody &body) noexcept {
  GlobalProperties &global = body.global;
  global.mass = invariant1(body);
  if (fill_invar2(body))
    for (std::size_t c = 0; c < 3; ++c)
      global.center[c] = global.mass != 0.0 ? body.invariants.invar2[c] / global.mass : 0.0;
  if (fill_invar7(body))
    for (std::size_t p = 0; p < 9; ++p)
      global.inertia[p] = p % 4 == 0 ? body.invariants.invar7[p] : -body.invariants.invar7[p];
}

}  // namespace sbr

extern "C" {

int SBR_SetInvar1(SBR body, double value) {
  if (!sbr::require_body(body)) return 0;
  if (value <= 0.0) {
    sbr::report_error("Inertia Invariant 1 must be greater than zero");
    return 0;
  }
  if (!sbr::ready(body->invariants.invar1, 1)) return 0;
  body->invariants.invar1[0] = value;
  sbr::set_block(*body, sbr::kInvariant1);
  return 1;
}

int SBR_SetInvar2(SBR body, const double *v3) {
  if (!sbr::require_body(body) || v3 == nullptr || !sbr::ready(body->invariants.invar2, 3)) return 0;
  std::copy_n(v3, 3, body->invariants.invar2.data());
  sbr::set_block(*body, sbr::kInvariant2);
  return 1;
}

int SBR_SetInvar3(SBR body, int number, const double *v3) {
  return sbr::set_mode_vector(body, &sbr::Invariants::invar3, sbr::kInvariant3, number, v3);
}

int SBR_SetInvar4(SBR body, int number, const double *v3) {
  return sbr::set_mode_vector(body, &sbr::Invariants::invar4, sbr::kInvariant4, number, v3);
}

int SBR_SetInvar5(SBR body, int row, int column, const double *v3) {
  sbr::ModePair pair{};
  if (!sbr::require_body(body) || !sbr::find_modes(body, row, column, pair) || v3 == nullptr) return 0;
  return sbr::enter_invar5(*body, pair.row, pair.column, v3) ? 1 : 0;
}

int SBR_SetInvar6(SBR body, const double *diagonal) {
  if (!sbr::require_body(body)) return 0;
  const int modes = sbr::mode_count(*body);
  if (modes < 1) return 1;
  if (diagonal == nullptr) return 0;
  for (int i = 0; i < modes; ++i) {
    if (!(diagonal[i] == 1.0)) {
      sbr::report_error("Inertia Invariant 6 must be an identity matrix.");
      return 0;
    }
    if (!sbr::enter_generalized_mass(*body, i, i, diagonal[i])) return 0;
  }
  return 1;
}

int SBR_SetInvar7(SBR body, const double *six) {
  if (!sbr::require_body(body) || six == nullptr || !sbr::ready(body->invariants.invar7, 9)) return 0;
  sbr::unpack_inertia(six, body->invariants.invar7.data());
  sbr::set_block(*body, sbr::kInvariant7);
  return 1;
}

int SBR_SetInvar8(SBR body, int number, const double *nine) {
  if (!sbr::require_body(body)) return 0;
  const int index = sbr::mode_index(*body, number);
  if (index < 0) return sbr::report_unknown_mode(number);
  if (nine == nullptr || !sbr::ready(body->invariants.invar8, 9 * std::int64_t{body->mode_table.mode_count})) return 0;
  const std::span<double> values = sbr::invar8_row(*body, index);
  if (values.empty()) return sbr::report_unknown_mode(number);
  std::copy_n(nine, 9, values.begin());
  sbr::set_block(*body, sbr::kInvariant8);
  return 1;
}

int SBR_SetInvar9(SBR body, int row, int column, const double *nine) {
  sbr::ModePair pair{};
  if (!sbr::require_body(body) || !sbr::find_modes(body, row, column, pair) || nine == nullptr) return 0;
  if (!sbr::ready(body->invariants.invar9, sbr::pair_cell_size(9, body->mode_table.mode_count))) return 0;
  if (row == column) sbr::check_symmetry(row, column, nine);
  const std::span<double> values = sbr::invar9_cell(*body, pair.row, pair.column);
  const std::span<double> mirror = sbr::invar9_cell(*body, pair.column, pair.row);
  if (values.empty() || mirror.empty())
    return sbr::report_unknown_mode(pair.row >= sbr::modes_of_pair_cell(body->invariants.invar9, 9) ? row : column);
  for (std::size_t n = 0; n < 9; ++n) {
    values[n] = nine[n];
    mirror[n % 3 * 3 + n / 3] = nine[n];
  }
  sbr::set_block(*body, sbr::kInvariant9);
  return 1;
}

int SBR_SetGlobalMass(SBR body, double mass, const double *center3, const double *inertia9) {
  if (!sbr::require_body(body) || center3 == nullptr || inertia9 == nullptr) return 0;
  sbr::check_global_mass(*body, mass, center3, inertia9);
  body->global.mass = mass;
  std::copy_n(center3, 3, body->global.center);
  std::copy_n(inertia9, 9, body->global.inertia);
  sbr::set_block(*body, sbr::kGlobalBodyProps);
  return 1;
}

int SBR_TotalMassInertia(SBR body, double *mass, double *inertia9, double *center3) {
  if (!sbr::require_body(body)) return 0;
  sbr::calculate_global_mass(*body);
  if (mass != nullptr) *mass = body->global.mass;
  if (inertia9 != nullptr) std::copy_n(body->global.inertia, 9, inertia9);
  if (center3 != nullptr) std::copy_n(body->global.center, 3, center3);
  return 1;
}

int SBR_CalculateGlobalMassFromNodeMass(SBR body) {
  if (!sbr::require_body(body)) return 0;
  sbr::calculate_global_mass(*body);
  return 1;
}

}  // extern "C"
