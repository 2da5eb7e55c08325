#include "dynamics/eigen_table.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "base/reports.h"
#include "body/matrices.h"
#include "body/node_table.h"
#include "body/registry.h"
#include "body/units.h"

namespace sbr {
namespace {

// One line of the printed table.
void print_eigenvalue(int position, double e, bool is_small, double ucf) noexcept {
  if (e == kInfiniteEigenvalue) {
    report_info(" %3d : Infinity.  Possible mass singularity.  Ignored.", position);
  } else if (!(e >= 0.0)) {
    if (e < -1.0 || !is_small)
      report_info(" %3d : %20.14e  Sqrt undefined.  Possible problem with input data.", position, e);
    else
      report_info(" %3d : %20.14e  Sqrt undefined.     (probable rigid body mode)", position, e);
  } else {
    const double hertz = std::sqrt(e * ucf) / kTwoPi;
    if (e > 1.0 || !is_small)
      report_info(" %3d : %20.14e  %20.14e", position, e, hertz);
    else
      report_info(" %3d : %20.14e  %20.14e (probable rigid body mode)", position, e, hertz);
  }
}

// The masses and stiffnesses of all rows, from the diagonal matrices. The first reading tells what it cannot find.
void read_diagonals(SbrBody &body, Array<EigenRecord> &rows) noexcept {
  for (int i = 0; i < rows.count(); ++i)
    if (!eigen_values(body, i, nullptr, nullptr, nullptr, &rows[i].generalized_mass, &rows[i].generalized_stiffness))
      report_error("Attempting to look at eigenvalues of non-orthogonal data");
}

// The eigenvalue of a row from its mass and stiffness. A mode without mass has none.
void fill_row(const SbrBody &body, int index, EigenRecord &row, double ucf) noexcept {
  if (std::fabs(row.generalized_mass) > 1e-15) {
    set_eigenvalue(row, row.generalized_stiffness / row.generalized_mass, ucf);
    if (!modes_need_work(body)) row.generalized_mass = 1.0;
  } else {
    report_warning("Mode %d is not physically meaningful.\nIt is associated with a zero generalized mass\n", index + 1);
    set_eigenvalue(row, kInfiniteEigenvalue, ucf);
  }
}

// Exchanges all that a table brings.
void exchange(SbrBody &body, EigenTable &table) noexcept {
  body.matrices.eigenvalues.swap(table.rows);
  std::swap(body.matrices.eigenvalue_count, table.count);
  body.matrices.mass.swap(table.mass);
  body.matrices.stiffness.swap(table.stiffness);
  body.access.transformation_modes.swap(table.former_numbers);
}

// The scale that gives a row unit mass; such a row then holds the mass 1 and its eigenvalue as stiffness. A negative
// mass has no real root and gives NaN.
double normalize_row(EigenRecord &row) noexcept {
  const double g = row.generalized_mass;
  if (g == 0.0) return 1.0;
  row.generalized_mass = 1.0;
  row.generalized_stiffness = row.eigenvalue;
  return g > 0.0 ? std::sqrt(g) : -std::sqrt(g);
}

}  // namespace

void print_eigenvalues(const double *eigenvalues, int count, double ucf) noexcept {
  report_info("%49s", "");
  report_info("  Real Eigenvalues and Natural Frequencies [Hz] :");
  report_info("  ===============================================");
  for (int i = 0; i < count; ++i) {
    const double e = eigenvalues[i];
    const bool is_small = count < 7 || !(std::fabs(e) > eigenvalues[6] / 1000.0);
    print_eigenvalue(i + 1, e, is_small, ucf);
  }
}

void set_eigenvalue(EigenRecord &row, double eigenvalue, double ucf) noexcept {
  row.eigenvalue = eigenvalue;
  row.frequency_rad = eigenvalue >= 0.0 ? std::sqrt(eigenvalue * ucf) : -std::sqrt(-(eigenvalue * ucf));
  row.frequency_hz = row.frequency_rad / kTwoPi;
}

bool build_eigen_table(SbrBody &body, EigenTable &table) noexcept {
  // All modes are read, and what is wrong with them told, before the table is made.
  Array<EigenRecord> read;
  if (!read.allocate(mode_count(body))) return report_no_memory(unit_name::kWriting);
  read_diagonals(body, read);
  if (!table.allocate(mode_count(body))) return report_no_memory(unit_name::kWriting);
  table.rows.swap(read);
  const double ucf = consistency_factor(body);
  for (int i = 0; i < table.rows.count(); ++i) fill_row(body, i, table.rows[i], ucf);
  return true;
}

void install_eigen_table(SbrBody &body, EigenTable &table) noexcept {
  Array<std::int32_t> &numbers = body.mode_table.mode_numbers;
  for (int i = 0; i < table.rows.count(); ++i) {
    table.former_numbers[i] = mode_number(body, i);
    table.rows[i].mode = i + 1;
  }
  for (int i = 0; i < std::min(table.rows.count(), numbers.count()); ++i) numbers[i] = i + 1;
  exchange(body, table);
}

void withdraw_eigen_table(SbrBody &body, EigenTable &table) noexcept {
  exchange(body, table);
  Array<std::int32_t> &numbers = body.mode_table.mode_numbers;
  const Array<std::int32_t> &former = table.former_numbers;
  std::copy_n(former.begin(), std::min(former.size(), numbers.size()), numbers.begin());
}

bool ensure_eigen_table(SbrBody &body) noexcept {
  if (body.matrices.eigenvalues) return true;
  EigenTable table;
  if (!build_eigen_table(body, table)) return false;
  install_eigen_table(body, table);
  return true;
}

void normalize_masses(SbrBody &body, std::span<double> scales) noexcept {
  std::fill(scales.begin(), scales.end(), 1.0);
  Array<EigenRecord> &table = body.matrices.eigenvalues;
  for (std::size_t i = 0; i < std::min(table.size(), scales.size()); ++i) scales[i] = normalize_row(table[i]);
}

}  // namespace sbr

extern "C" {

int SBR_EnsureEigenTable(SBR body) { return sbr::require_body(body) && sbr::ensure_eigen_table(*body) ? 1 : 0; }

int SBR_MassNormalizationScales(SBR body, double **scale) {
  if (scale != nullptr) *scale = nullptr;
  if (!sbr::require_body(body) || scale == nullptr) return 0;
  sbr::Array<double> scales;
  if (!scales.allocate(sbr::mode_count(*body))) return sbr::report_no_memory(sbr::unit_name::kWriting);
  sbr::normalize_masses(*body, scales.span());
  *scale = scales.detach();
  return 1;
}

}  // extern "C"
