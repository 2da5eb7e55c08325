// A small dense solver: LU decomposition with partial pivoting by rows (Doolittle's form: the diagonal of L is 1),
// solution and inversion. See Golub and Van Loan, Matrix Computations, chapter 3.
#include "dynamics/lu.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "base/memory.h"
#include "base/reports.h"
#include "sbrkit/sbrkit.h"

namespace sbr {
namespace {

bool rows_present(const double *const *rows, int n) noexcept {
  return rows != nullptr && std::none_of(rows, rows + std::max(n, 0), [](const double *row) { return row == nullptr; });
}

bool is_index_list(const int *permutation, int n) noexcept {
  return permutation != nullptr &&
         std::all_of(permutation, permutation + std::max(n, 0), [n](int p) { return p >= 0 && p < n; });
}

// The row at or below k with the largest entry in column k, the first of equals; -1 when the column is zero there.
int pivot_row(double *const *rows, int n, int k) noexcept {
  double largest = 0.0;
  int found = -1;
  for (int i = k; i < n; ++i)
    if (std::fabs(rows[i][k]) > largest) {
      largest = std::fabs(rows[i][k]);
      found = i;
    }
  return found;
}

}  // namespace

bool lup_decompose(double *const *rows, int n, int *permutation) noexcept {
  if (permutation == nullptr) return false;
  for (int i = 0; i < n; ++i) permutation[i] = i;
  if (n < 2) return true;
  if (!rows_present(rows, n)) return false;
  for (int k = 0; k < n - 1; ++k) {
    const int m = pivot_row(rows, n, k);
    if (m < 0) return false;
    std::swap(permutation[k], permutation[m]);
    if (m != k) std::swap_ranges(rows[k], rows[k] + n, rows[m]);
    for (int i = k + 1; i < n; ++i) {
      rows[i][k] /= rows[k][k];
      for (int j = k + 1; j < n; ++j) rows[i][j] -= rows[i][k] * rows[k][j];
    }
  }
  return true;
}

bool lup_solve(const double *const *rows, int n, const int *permutation, double *b) noexcept {
  Array<double> y;
  if (!y.allocate(n)) return report_no_memory(unit_name::kTools);
  if (!rows_present(rows, n) || !is_index_list(permutation, n) || b == nullptr) return false;
  for (int i = 0; i < n; ++i) {
    double sum = 0.0;
    for (int j = 0; j < i; ++j) sum += rows[i][j] * y[j];
    y[i] = b[permutation[i]] - sum;
  }
  for (int i = n - 1; i >= 0; --i) {
    double sum = 0.0;
    for (int j = i + 1; j < n; ++j) sum += rows[i][j] * b[j];
    b[i] = (y[i] - sum) / rows[i][i];
  }
  return true;
}

bool lup_invert(double *const *rows, int n, const int *permutation) noexcept {
  Array<double> x;
  Array<double> inverse;
  if (!x.allocate(n) || !inverse.allocate(std::int64_t{n} * n)) return report_no_memory(unit_name::kTools);
  if (!rows_present(rows, n)) return false;
  const auto size = static_cast<std::size_t>(n);
  for (std::size_t j = 0; j < size; ++j) {
    x.fill_zero();
    x[j] = 1.0;
    if (!lup_solve(rows, n, permutation, x.data())) return false;
    for (std::size_t i = 0; i < size; ++i) inverse[i * size + j] = x[i];
  }
  for (std::size_t i = 0; i < size; ++i) std::copy_n(inverse.data() + i * size, size, rows[i]);
  return true;
}

}  // namespace sbr

extern "C" {

int SBR_LUPDecomposition(double **rows, int n, int *permutation) {
  return sbr::lup_decompose(rows, n, permutation) ? 1 : 0;
}

int SBR_LUPSolve(double **rows, int n, const int *permutation, double *b) {
  return sbr::lup_solve(rows, n, permutation, b) ? 1 : 0;
}

int SBR_LUPInvert(double **rows, int n, const int *permutation) {
  return sbr::lup_invert(rows, n, permutation) ? 1 : 0;
}

}  // extern "C"
