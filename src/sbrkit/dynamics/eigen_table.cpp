// The eigenvalue table of orthogonal modes: made from diagonal matrices, scaled to unit masses, printed.
#include <algorithm>

#include "base/reports.h"
#include "body/matrices.h"
#include "body/node_table.h"
#include "body/registry.h"
#include "body/units.h"
#include "dynamics/orthonormalize.h"

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

// A row from the diagonal matrices. A mode without mass has no eigenvalue.
void fill_row(SbrBody &body, int index, EigenRecord &row, double ucf) noexcept {
  if (!eigen_values(body, index, nullptr, nullptr, nullptr, &row.generalized_mass, &row.generalized_stiffness))
    report_error("Attempting to look at eigenvalues of non-orthogonal data");
  if (std::fabs(row.generalized_mass) > 1e-15) {
    set_eigenvalue(row, row.generalized_stiffness / row.generalized_mass, ucf);
    if (!modes_need_work(body)) row.generalized_mass = 1.0;
  } else {
    report_warning("Mode %d is not physically meaningful.\nIt is associated with a zero generalized mass\n", index + 1);
    set_eigenvalue(row, kInfiniteEigenvalue, ucf);
  }
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

void renumber_modes_from_one(SbrBody &body, Array<std::int32_t> &numbers_before) noexcept {
  Array<EigenRecord> &table = body.matrices.eigenvalues;
  Array<std::int32_t> &numbers = body.mode_table.mode_numbers;
  for (int i = 0; i < table.count(); ++i) {
    const auto place = static_cast<std::size_t>(i);
    numbers_before[place] = mode_number(body, i);
    if (place < numbers.size()) numbers[place] = i + 1;
    table[place].mode = i + 1;
  }
  body.access.transformation_modes.swap(numbers_before);
}

}  // namespace sbr

extern "C" {

int SBR_EnsureEigenTable(SBR body) {
  if (!sbr::require_body(body)) return 0;
  sbr::GeneralizedMatrices &matrices = body->matrices;
  if (matrices.eigenvalues) return 1;
  const int n = sbr::mode_count(*body);
  sbr::Array<sbr::EigenRecord> table;
  sbr::Array<std::int32_t> numbers_before;
  if (!table.allocate(n) || !numbers_before.allocate(n)) return sbr::report_no_memory(sbr::unit_name::kWriting);
  const double ucf = sbr::consistency_factor(*body);
  for (int i = 0; i < n; ++i) sbr::fill_row(*body, i, table[i], ucf);
  matrices.eigenvalues.swap(table);
  matrices.eigenvalue_count = n;
  sbr::renumber_modes_from_one(*body, numbers_before);
  matrices.mass.release();
  matrices.stiffness.release();
  return 1;
}

int SBR_MassNormalizationScales(SBR body, double **scale) {
  if (scale != nullptr) *scale = nullptr;
  if (!sbr::require_body(body) || scale == nullptr) return 0;
  const int n = sbr::mode_count(*body);
  sbr::Array<double> scales;
  if (!scales.allocate(n)) return sbr::report_no_memory(sbr::unit_name::kWriting);
  std::fill(scales.begin(), scales.end(), 1.0);
  sbr::Array<sbr::EigenRecord> &table = body->matrices.eigenvalues;
  for (std::size_t i = 0; i < std::min(table.size(), scales.size()); ++i) scales[i] = sbr::normalize_row(table[i]);
  *scale = scales.detach();
  return 1;
}

}  // extern "C"
