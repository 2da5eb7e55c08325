// The QZ algorithm for the generalized eigenproblem A x = lambda B x, in four stages: reduction, iteration, eigenvalues
// and eigenvectors.
//
// C. B. Moler, G. W. Stewart: An algorithm for generalized matrix eigenvalue problems. SIAM Journal on Numerical
// Analysis 10 (1973), 241-256. R. C. Ward: The combination shift QZ algorithm, ibid. 12 (1975), 835-853.
//
// The stages follow the EISPACK routines of the same purpose operation for operation, so that their results agree bit
// for bit. Loops may be ordered for the cache where no element sees another sequence of operations.
#ifndef SBRKIT_DYNAMICS_QZ_H
#define SBRKIT_DYNAMICS_QZ_H

#include <cmath>
#include <cstddef>

namespace sbr::qz {

// A square matrix stored by columns with a leading dimension. Rows and columns count from 1, as in the literature.
class Matrix {
 public:
  Matrix(double *data, int leading) noexcept : data_(data), leading_(leading) {}
  double &operator()(int row, int column) const noexcept { return this->column(column)[row]; }
  // The elements of a column, so that column(j)[i] is the element in row i.
  [[nodiscard]] double *column(int column) const noexcept {
    return data_ + static_cast<std::ptrdiff_t>(column - 1) * leading_ - 1;
  }

 private:
  double *data_;
  std::ptrdiff_t leading_;
};

// The magnitude of `size` with the sign of `sign`.
inline double with_sign(double size, double sign) noexcept { return std::copysign(std::fabs(size), sign); }

// I + v u^T with u = (1, u2) and v = (v1, v2): the Householder reflection, of determinant -1, that turns (x1, x2) into
// a multiple of (1, 0).
struct Reflection2 {
  double u2 = 0.0;
  double v1 = 0.0;
  double v2 = 0.0;

  // sum = |x1| + |x2|, not zero.
  static Reflection2 of(double x1, double x2, double sum) noexcept {
    const double u1 = x1 / sum;
    const double u2 = x2 / sum;
    const double r = with_sign(std::sqrt(u1 * u1 + u2 * u2), u1);
    const double v1 = -(u1 + r) / r;
    const double v2 = -u2 / r;
    return {v2 / v1, v1, v2};
  }
  void apply(double &first, double &second) const noexcept {
    const double t = first + u2 * second;
    first = first + t * v1;
    second = second + t * v2;
  }
};

// The same in three dimensions: turns (x1, x2, x3) into a multiple of (1, 0, 0).
struct Reflection3 {
  double u2 = 0.0;
  double u3 = 0.0;
  double v1 = 0.0;
  double v2 = 0.0;
  double v3 = 0.0;

  // sum = |x1| + |x2| + |x3|, not zero.
  static Reflection3 of(double x1, double x2, double x3, double sum) noexcept {
    const double u1 = x1 / sum;
    const double u2 = x2 / sum;
    const double u3 = x3 / sum;
    const double r = with_sign(std::sqrt(u1 * u1 + u2 * u2 + u3 * u3), u1);
    const double v1 = -(u1 + r) / r;
    const double v2 = -u2 / r;
    const double v3 = -u3 / r;
    return {v2 / v1, v3 / v1, v1, v2, v3};
  }
  void apply(double &first, double &second, double &third) const noexcept {
    const double t = first + u2 * second + u3 * third;
    first = first + t * v1;
    second = second + t * v2;
    third = third + t * v3;
  }
};

// Reflects two rows of a matrix from column `from` to column `to`.
inline void reflect_rows(const Matrix &m, const Reflection2 &h, int first, int second, int from, int to) noexcept {
  for (int j = from; j <= to; ++j) {
    double *column = m.column(j);
    h.apply(column[first], column[second]);
  }
}

// Reflects two columns of a matrix from row `from` to row `to`.
inline void reflect_columns(const Matrix &m, const Reflection2 &h, int first, int second, int from, int to) noexcept {
  double *x = m.column(first);
  double *y = m.column(second);
  for (int i = from; i <= to; ++i) h.apply(x[i], y[i]);
}

// Reflects the rows k, k+1 and k+2 of a matrix from column `from` to column `to`.
inline void reflect_rows(const Matrix &m, const Reflection3 &h, int k, int from, int to) noexcept {
  for (int j = from; j <= to; ++j) {
    double *column = m.column(j);
    h.apply(column[k], column[k + 1], column[k + 2]);
  }
}

// Reflects the columns k+2, k+1 and k of a matrix, in that order of importance, from row `from` to row `to`.
inline void reflect_columns(const Matrix &m, const Reflection3 &h, int k, int from, int to) noexcept {
  double *x = m.column(k + 2);
  double *y = m.column(k + 1);
  double *z = m.column(k);
  for (int i = from; i <= to; ++i) h.apply(x[i], y[i], z[i]);
}

// ---- the stages -----------------------------------------------------------------------------------------------------
//
// Matrices of an order n with a leading dimension. A null z: without vectors.

// Reduces a to upper Hessenberg and b to upper triangular form; z becomes the product of the transformations.
void to_hessenberg(int leading, int n, double *a, double *b, double *z) noexcept;
// Brings a to quasi-triangular form. 0, or the index of the eigenvalue at which the iterations were used up.
int iterate(int leading, int n, double *a, double *b, double eps1, double *z) noexcept;
// Splits what is left of a and gives the eigenvalues (alfr + i alfi) / beta.
void eigenvalues(int leading, int n, double *a, double *b, double *alfr, double *alfi, double *beta,
                 double *z) noexcept;
// Replaces z by the eigenvectors of the problem as posed.
void eigenvectors(int leading, int n, double *a, double *b, double *alfr, double *alfi, double *beta,
                  double *z) noexcept;
// Halves x until adding it to 1.0 makes no difference.
[[nodiscard]] double negligible_part(double x) noexcept;

// Whether an order and a leading dimension describe a matrix at all.
inline bool is_shape(const int *leading, const int *order) noexcept {
  return leading != nullptr && order != nullptr && *order >= 1 && *leading >= *order;
}

}  // namespace sbr::qz

#endif
