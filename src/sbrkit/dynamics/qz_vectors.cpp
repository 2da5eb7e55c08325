// The fourth stage of QZ: the eigenvectors of the quasi-triangular problem by back substitution, brought to the
// original coordinates and scaled.
#include <algorithm>

#include "dynamics/qz.h"
#include "sbrkit/sbrkit.h"

namespace sbr::qz {
namespace {

struct Quotient {
  double re;
  double im;
};

// (tr + i ti) / (dr + i di), scaled by the larger part of the divisor.
Quotient divide(double tr, double ti, double dr, double di) noexcept {
  if (std::fabs(di) > std::fabs(dr)) {
    const double rr = dr / di;
    const double d = dr * rr + di;
    return {(tr * rr + ti) / d, (ti * rr - tr) / d};
  }
  const double rr = di / dr;
  const double d = dr + di * rr;
  return {(tr + ti * rr) / d, (ti - tr * rr) / d};
}

// One row of a complex back substitution: the diagonal element w + i w1 and the sum ra + i sa of the terms known.
struct ComplexRow {
  double w = 0.0;
  double w1 = 0.0;
  double ra = 0.0;
  double sa = 0.0;
};

// Back substitution. The vectors grow in the columns of B, whose elements above the diagonal are used up by then.
class BackSubstitution {
 public:
  BackSubstitution(const Matrix &a, const Matrix &b, int n, const double *alfr, const double *alfi,
                   const double *beta) noexcept
      : a_(a), b_(b), n_(n), alfr_(alfr - 1), alfi_(alfi - 1), beta_(beta - 1), epsb_(b(n, 1)) {}
  void run() noexcept;

 private:
  void real_vector(int en) noexcept;
  void complex_vector(int en) noexcept;
  [[nodiscard]] ComplexRow complex_row(int i, int m, int en) const noexcept;
  void solve_complex_pair_of_rows(int i, int en, const ComplexRow &upper, const ComplexRow &lower) noexcept;
  [[nodiscard]] bool is_lower_row_of_block(int i) const noexcept { return i > 1 && betm_ * a_(i, i - 1) != 0.0; }
  void store(int i, int en, const Quotient &value) const noexcept {
    b_(i, en - 1) = value.re;
    b_(i, en) = value.im;
  }

  Matrix a_;
  Matrix b_;
  int n_;
  const double *alfr_;  // counted from 1
  const double *alfi_;
  const double *beta_;
  double epsb_;

  double almr_ = 0.0;  // the eigenvalue in hand, (almr + i almi) / betm
  double almi_ = 0.0;
  double betm_ = 0.0;
};

void BackSubstitution::run() noexcept {
  for (int en = n_; en >= 1;) {
    if (alfi_[en] == 0.0 || en == 1) {
      real_vector(en);
      en -= 1;
    } else {
      complex_vector(en);
      en -= 2;
    }
  }
}

void BackSubstitution::real_vector(int en) noexcept {
  int m = en;
  b_(en, en) = 1.0;
  almr_ = alfr_[en];
  betm_ = beta_[en];
  const double *vector = b_.column(en);
  bool in_block = false;
  double zz = 0.0;  // of the lower row of a 2 x 2 block
  double s = 0.0;
  for (int i = en - 1; i >= 1; --i) {
    const double w = betm_ * a_(i, i) - almr_ * b_(i, i);
    double r = 0.0;
    for (int j = m; j <= en; ++j) r = r + (betm_ * a_(i, j) - almr_ * b_(i, j)) * vector[j];
    if (!in_block && is_lower_row_of_block(i)) {
      zz = w;
      s = r;
      in_block = true;
      continue;
    }
    m = i;
    if (!in_block) {
      b_(i, en) = -r / (w == 0.0 ? epsb_ : w);
      continue;
    }
    const double x = betm_ * a_(i, i + 1) - almr_ * b_(i, i + 1);
    const double y = betm_ * a_(i + 1, i);
    const double q = w * zz - x * y;
    const double t = (x * s - zz * r) / q;
    b_(i, en) = t;
    b_(i + 1, en) = std::fabs(x) <= std::fabs(zz) ? (-s - y * t) / zz : (-r - w * t) / x;
    in_block = false;
  }
}

// The last component is taken imaginary, so that the matrix of the vectors is triangular.
void BackSubstitution::complex_vector(int en) noexcept {
  const int na = en - 1;
  int m = na;
  almr_ = alfr_[m];
  almi_ = alfi_[m];
  betm_ = beta_[m];
  const double y = betm_ * a_(en, na);
  b_(na, na) = -almi_ * b_(en, en) / y;
  b_(na, en) = (almr_ * b_(en, en) - betm_ * a_(en, en)) / y;
  b_(en, na) = 0.0;
  b_(en, en) = 1.0;
  bool in_block = false;
  ComplexRow lower;
  for (int i = na - 1; i >= 1; --i) {
    const ComplexRow row = complex_row(i, m, en);
    if (!in_block && is_lower_row_of_block(i)) {
      lower = row;
      in_block = true;
      continue;
    }
    m = i;
    if (in_block) {
      solve_complex_pair_of_rows(i, en, row, lower);
    } else {
      store(i, en, divide(-row.ra, -row.sa, row.w, row.w1));
    }
    in_block = false;
  }
}

ComplexRow BackSubstitution::complex_row(int i, int m, int en) const noexcept {
  const int na = en - 1;
  ComplexRow row;
  row.w = betm_ * a_(i, i) - almr_ * b_(i, i);
  row.w1 = -almi_ * b_(i, i);
  for (int j = m; j <= en; ++j) {
    const double x = betm_ * a_(i, j) - almr_ * b_(i, j);
    const double x1 = -almi_ * b_(i, j);
    row.ra = row.ra + x * b_(j, na) - x1 * b_(j, en);
    row.sa = row.sa + x * b_(j, en) + x1 * b_(j, na);
  }
  return row;
}

// The components i and i + 1 from the two rows of a 2 x 2 block.
void BackSubstitution::solve_complex_pair_of_rows(int i, int en, const ComplexRow &upper,
                                                  const ComplexRow &lower) noexcept {
  const auto &[w, w1, ra, sa] = upper;
  const auto &[zz, z1, r, s] = lower;
  const double x = betm_ * a_(i, i + 1) - almr_ * b_(i, i + 1);
  const double x1 = -almi_ * b_(i, i + 1);
  const double y = betm_ * a_(i + 1, i);
  double dr = w * zz - w1 * z1 - x * y;
  const double di = w * z1 + w1 * zz - x1 * y;
  if (dr == 0.0 && di == 0.0) dr = epsb_;
  const Quotient below = divide(y * ra - w * r + w1 * s, y * sa - w * s - w1 * r, dr, di);
  store(i + 1, en, below);
  if (std::fabs(y) > std::fabs(w) + std::fabs(w1)) {
    store(i, en,
          {(-r - zz * below.re + z1 * below.im) / y,  //
           (-s - zz * below.im - z1 * below.re) / y});
  } else {
    store(i, en, divide(-ra - x * below.re + x1 * below.im, -sa - x * below.im - x1 * below.re, w, w1));
  }
}

// z := z b for the upper triangle of b, in strips of rows: a row's products need no other row.
void to_original_coordinates(const Matrix &z, const Matrix &b, int n) noexcept {
  constexpr int strip_rows = 64;
  double sum[strip_rows];
  for (int top = 0; top < n; top += strip_rows) {
    const int rows = std::min(strip_rows, n - top);
    for (int j = n; j >= 1; --j) {
      std::fill(sum, sum + rows, 0.0);
      for (int k = 1; k <= j; ++k) {
        const double *source = z.column(k) + 1 + top;
        const double factor = b(k, j);
        for (int i = 0; i < rows; ++i) sum[i] = sum[i] + source[i] * factor;
      }
      std::copy(sum, sum + rows, z.column(j) + 1 + top);
    }
  }
}

// Scales every real vector so that its largest component is 1, and every complex one so that the largest sum of the
// magnitudes of real and imaginary part is 1.
void normalize(const Matrix &z, int n, const double *alfi) noexcept {
  bool second_of_pair = false;
  for (int j = 1; j <= n; ++j) {
    double *column = z.column(j);
    double d = 0.0;
    if (second_of_pair) {
      double *real = z.column(j - 1);
      for (int i = 1; i <= n; ++i) {
        const double r = std::fabs(real[i]) + std::fabs(column[i]);
        if (r > d) d = r;
      }
      for (int i = 1; i <= n; ++i) {
        real[i] = real[i] / d;
        column[i] = column[i] / d;
      }
      second_of_pair = false;
    } else if (alfi[j - 1] != 0.0) {
      second_of_pair = true;
    } else {
      for (int i = 1; i <= n; ++i) {
        if (std::fabs(column[i]) > d) d = std::fabs(column[i]);
      }
      for (int i = 1; i <= n; ++i) column[i] = column[i] / d;
    }
  }
}

}  // namespace

void eigenvectors(int leading, int n, double *a, double *b, double *alfr, double *alfi, double *beta,
                  double *z) noexcept {
  const Matrix triangle(b, leading);
  const Matrix vectors(z, leading);
  BackSubstitution(Matrix(a, leading), triangle, n, alfr, alfi, beta).run();
  to_original_coordinates(vectors, triangle, n);
  normalize(vectors, n, alfi);
}

}  // namespace sbr::qz

extern "C" void SBR_QZVECC(const int *nm, const int *n, double *a, double *b, double *alfr, double *alfi, double *beta,
                           double *z) {
  using namespace sbr::qz;
  if (!is_shape(nm, n) || a == nullptr || b == nullptr || z == nullptr) return;
  if (alfr == nullptr || alfi == nullptr || beta == nullptr) return;
  eigenvectors(*nm, *n, a, b, alfr, alfi, beta, z);
}
