// The general damping matrix on principal axes: six rigid-body coordinates, then the elastic modes.
#include "dynamics/principal_damping.h"

#include <algorithm>
#include <cmath>

#include "base/reports.h"
#include "body/body.h"
#include "body/matrices.h"
#include "body/node_table.h"
#include "body/registry.h"
#include "dynamics/rigid_modes.h"
#include "dynamics/square_matrix.h"

namespace sbr {
namespace {

constexpr int kMostSelected = 1'000'000'000;  // far above any matrix that fits in memory

// Six rows of rigid participations.
struct Participation {
  Array<double> values;
  double *rows[6] = {};

  [[nodiscard]] bool allocate(int count) noexcept {
    // The rows of a body without rigid modes are empty, but they exist.
    const int length = std::max(count, 1);
    if (!values.allocate(6 * std::int64_t{length})) return false;
    for (int a = 0; a < 6; ++a) rows[a] = values.data() + static_cast<std::ptrdiff_t>(a) * length;
    return true;
  }
};

// P from the modal damping D, the participation A of r rigid modes, and what is left of D.
void project_damping(SquareMatrix &D, const Participation &A, int r, SquareMatrix &P) noexcept {
  const int n = P.order();
  for (int a = 0; a < 6; ++a)
    for (int b = 0; b < 6; ++b)
      for (int i = 0; i < r; ++i)
        for (int j = 0; j < r; ++j) P.at(a, b) += A.rows[a][i] * D.at(i, j) * A.rows[b][j];
  for (int a = 0; a < 6; ++a)
    for (int c = 6; c < n; ++c)
      for (int i = 0; i < r; ++i) P.at(a, c) += D.at(i, r + c - 6) * A.rows[a][i];
  for (int c = 6; c < n; ++c)
    for (int b = 0; b < 6; ++b)
      for (int j = 0; j < r; ++j) P.at(c, b) += D.at(r + c - 6, j) * A.rows[b][j];
  for (int c = 6; c < n; ++c)
    for (int d = 6; d < n; ++d) P.at(c, d) = D.at(r + c - 6, r + d - 6);
}

// The entries of a matrix that are not small, row by row. The list exists even when it is empty.
bool list_entries(SquareMatrix &P, Array<SparseEntry> &list) noexcept {
  if (!list.reserve(100)) return false;
  for (int row = 0; row < P.order(); ++row)
    for (int column = 0; column < P.order(); ++column)
      if (std::fabs(P.at(row, column)) > kSmallProjection && !list.push_back({row, column, P.at(row, column)}))
        return false;
  return true;
}

bool has_off_diagonal(const Array<SparseEntry> &list) noexcept {
  return std::any_of(list.begin(), list.end(), [](const SparseEntry &entry) { return entry.row != entry.column; });
}

// Where a row of the damping list on principal axes stands in the matrix of the selected modes; -1 when it does not.
int selected_place(SbrBody &body, std::int64_t row, int shift, int count, const int *selected) noexcept {
  if (row < 6) return static_cast<int>(row);
  const std::int64_t index = row - shift;
  if (index < 0 || index >= mode_count(body)) return -1;
  const int position = selected_position(mode_number(body, static_cast<int>(index)), selected, count);
  return position < 0 ? -1 : 6 + position;
}

void warn_of_rigid_selection(SbrBody &body, int count, const int *selected, int rigid_modes) noexcept {
  for (int p = 0; p < count; ++p)
    if (const int index = mode_index(body, selected[p]); index >= 0 && index < rigid_modes)
      report_warning("Ignoring damping on requested mode %d because it is a rigid body mode.\n", selected[p]);
}

// Writes the damping list into the rows, symmetrically.
int place_entries(SbrBody &body, double **rows, int count, const int *selected, int shift,
                  std::int64_t offset) noexcept {
  const int entries = damping_count(body);
  Array<double> values;
  Array<int> row_of;
  Array<int> column_of;
  if (!values.allocate(entries) || !row_of.allocate(entries) || !column_of.allocate(entries)) return 0;
  if (!sparse_damping(body, values.data(), row_of.data(), column_of.data())) return 0;
  for (std::size_t e = 0; e < values.size(); ++e) {
    const int row = selected_place(body, row_of[e] + offset, shift, count, selected);
    const int column = selected_place(body, column_of[e] + offset, shift, count, selected);
    if (row < 0 || column < 0) continue;
    rows[row][column] = values[e];
    rows[column][row] = values[e];
  }
  return 1;
}

}  // namespace

bool carry_damping(SbrBody &body) noexcept {
  GeneralizedMatrices &matrices = body.matrices;
  if (matrices.damping.empty() || matrices.damping_on_principal_axes != 0) return true;
  const int modes = mode_count(body);
  const int r = rigid_mode_count(body);
  SquareMatrix D;
  SquareMatrix P;
  Participation A;
  if (!D.allocate(modes) || !P.allocate(modes - r + 6) || !A.allocate(r)) return report_no_memory(unit_name::kTools);
  if (!full_damping(body, D.data(), modes)) return report_no_memory(unit_name::kTools);
  if (!rigid_participation(body, A.rows, r)) return false;
  project_damping(D, A, r, P);
  Array<SparseEntry> list;
  if (!list_entries(P, list)) return report_no_memory(unit_name::kTools);
  matrices.damping.swap(list);
  matrices.damping_on_principal_axes = 1;
  return true;
}

}  // namespace sbr

extern "C" {

int SBR_DampingOnPrincipalAxes(SBR body) { return sbr::require_body(body) && sbr::carry_damping(*body) ? 1 : 0; }

int SBR_GenDampPrincipalAndSelected(SBR body, double **rows, int s, const int *selected) {
  if (rows == nullptr || s < 0 || s > sbr::kMostSelected || (s > 0 && selected == nullptr)) return 0;
  if (std::any_of(rows, rows + s + 6, [](const double *row) { return row == nullptr; })) return 0;
  for (int i = 0; i < s + 6; ++i) std::fill_n(rows[i], s + 6, 0.0);
  if (!sbr::require_body(body) || body->matrices.damping.empty()) return 0;
  const int r = sbr::rigid_mode_count(*body);
  if (!sbr::carry_damping(*body)) return 0;
  const bool diagonal = !sbr::has_off_diagonal(body->matrices.stiffness) && !sbr::has_off_diagonal(body->matrices.mass);
  if (!diagonal)
    sbr::report_warning(
        "Stiffness or mass matrix has off-diagonal terms then the damping matrix will assume the first 6 modes are "
        "rigid body modes.");
  sbr::warn_of_rigid_selection(*body, s, selected, r);
  return sbr::place_entries(*body, rows, s, selected, std::max(6 - r, 0), diagonal ? 0 : 6);
}

}  // extern "C"
