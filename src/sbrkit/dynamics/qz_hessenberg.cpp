// The first stage of QZ: A to upper Hessenberg, B to upper triangular form.
#include "dynamics/qz.h"
#include "sbrkit/sbrkit.h"

namespace sbr::qz {
namespace {

void set_identity(const Matrix &z, int n) noexcept {
  for (int j = 1; j <= n; ++j) {
    for (int i = 1; i <= n; ++i) z(i, j) = 0.0;
    z(j, j) = 1.0;
  }
}

// Adds to a column the multiple of the Householder vector that reflects it; the vector's scale is rho.
void reflect_column(const double *vector, double *column, double rho, int from, int to) noexcept {
  double t = 0.0;
  for (int i = from; i <= to; ++i) t = t + vector[i] * column[i];
  t = -t / rho;
  for (int i = from; i <= to; ++i) column[i] = column[i] + t * vector[i];
}

// The same for four columns at a time: the four sums run side by side, each in its own order.
void reflect_four_columns(const double *vector, double *const column[4], double rho, int from, int to) noexcept {
  double t[4] = {0.0, 0.0, 0.0, 0.0};
  for (int i = from; i <= to; ++i) {
    for (int k = 0; k < 4; ++k) t[k] = t[k] + vector[i] * column[k][i];
  }
  for (int k = 0; k < 4; ++k) {
    const double factor = -t[k] / rho;
    double *target = column[k];
    for (int i = from; i <= to; ++i) target[i] = target[i] + factor * vector[i];
  }
}

void reflect_all_columns(const double *vector, const Matrix &m, double rho, int row, int first, int n) noexcept {
  int j = first;
  for (; j + 3 <= n; j += 4) {
    double *const columns[4] = {m.column(j), m.column(j + 1), m.column(j + 2), m.column(j + 3)};
    reflect_four_columns(vector, columns, rho, row, n);
  }
  for (; j <= n; ++j) reflect_column(vector, m.column(j), rho, row, n);
}

// Zeroes column l of B below the diagonal by a reflection of the rows l to n of both matrices.
void triangularize_column(const Matrix &a, const Matrix &b, int l, int n) noexcept {
  double *vector = b.column(l);
  double s = 0.0;
  for (int i = l + 1; i <= n; ++i) s = s + std::fabs(vector[i]);
  if (s == 0.0) return;
  s = s + std::fabs(vector[l]);
  double r = 0.0;
  for (int i = l; i <= n; ++i) {
    vector[i] = vector[i] / s;
    r = r + vector[i] * vector[i];
  }
  r = with_sign(std::sqrt(r), vector[l]);
  vector[l] = vector[l] + r;
  const double rho = r * vector[l];
  reflect_all_columns(vector, b, rho, l, l + 1, n);
  reflect_all_columns(vector, a, rho, l, 1, n);
  vector[l] = -s * r;
  for (int i = l + 1; i <= n; ++i) vector[i] = 0.0;
}

// Zeroes element (l+1, k) of A from the left, and the element (l+1, l) of B that this fills from the right.
void zero_below_hessenberg(const Matrix &a, const Matrix &b, const Matrix *z, int k, int l, int n) noexcept {
  const int l1 = l + 1;
  double s = std::fabs(a(l, k)) + std::fabs(a(l1, k));
  if (s == 0.0) return;
  const Reflection2 left = Reflection2::of(a(l, k), a(l1, k), s);
  reflect_rows(a, left, l, l1, k, n);
  a(l1, k) = 0.0;
  reflect_rows(b, left, l, l1, l, n);

  s = std::fabs(b(l1, l1)) + std::fabs(b(l1, l));
  if (s == 0.0) return;
  const Reflection2 right = Reflection2::of(b(l1, l1), b(l1, l), s);
  reflect_columns(b, right, l1, l, 1, l1);
  b(l1, l) = 0.0;
  reflect_columns(a, right, l1, l, 1, n);
  if (z != nullptr) reflect_columns(*z, right, l1, l, 1, n);
}

void reduce(const Matrix &a, const Matrix &b, const Matrix *z, int n) noexcept {
  if (z != nullptr) set_identity(*z, n);
  for (int l = 1; l <= n - 1; ++l) triangularize_column(a, b, l, n);
  for (int k = 1; k <= n - 2; ++k) {
    for (int l = n - 1; l >= k + 1; --l) zero_below_hessenberg(a, b, z, k, l, n);
  }
}

}  // namespace

void to_hessenberg(int leading, int n, double *a, double *b, double *z) noexcept {
  const Matrix vectors(z, leading);
  reduce(Matrix(a, leading), Matrix(b, leading), z != nullptr ? &vectors : nullptr, n);
}

}  // namespace sbr::qz

extern "C" void SBR_QZHESS(const int *nm, const int *n, double *a, double *b, const int *matz, double *z) {
  using namespace sbr::qz;
  if (!is_shape(nm, n) || a == nullptr || b == nullptr) return;
  to_hessenberg(*nm, *n, a, b, matz != nullptr && *matz != 0 ? z : nullptr);
}
