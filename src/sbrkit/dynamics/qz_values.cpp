// The third stage of QZ: the 2 x 2 blocks of A with real eigenvalues become triangular, and the eigenvalues come out as
// quotients (alfr + i alfi) / beta.
#include "dynamics/qz.h"
#include "sbrkit/sbrkit.h"

namespace sbr::qz {
namespace {

// A complex number that is rotated into place, written out in its parts.
struct Parts {
  double re = 0.0;
  double im = 0.0;
};

// A complex rotation of two rows or columns: a real cosine and a complex sine.
struct ComplexRotation {
  double c = 0.0;
  Parts s;

  // The rotation that takes (first, second) to one component.
  static ComplexRotation of(Parts first, Parts second) noexcept {
    const double size = std::sqrt(first.re * first.re + first.im * first.im);
    if (size == 0.0) return {size, {1.0, 0.0}};
    const double re = (first.re * second.re + first.im * second.im) / size;
    const double im = (first.re * second.im - first.im * second.re) / size;
    const double r = std::sqrt(size * size + re * re + im * im);
    return {size / r, {re / r, im / r}};
  }
};

class Eigenvalues {
 public:
  Eigenvalues(const Matrix &a, const Matrix &b, const Matrix *z, int n, double *alfr, double *alfi,
              double *beta) noexcept
      : a_(a), b_(b), z_(z), n_(n), alfr_(alfr - 1), alfi_(alfi - 1), beta_(beta - 1), epsb_(b(n, 1)) {}
  void run() noexcept;

 private:
  void one_by_one(int en) noexcept;
  void two_by_two(int en) noexcept;
  bool scale_block() noexcept;
  void find_real_roots() noexcept;
  void choose_z(double a1, double a2) noexcept;
  void choose_q(double a1, double a2) noexcept;
  void store_real_pair() noexcept;
  void complex_pair() noexcept;
  ComplexRotation complex_z() const noexcept;
  ComplexRotation complex_q(const ComplexRotation &zr) const noexcept;
  void store_complex(double tr, double ti, double dr, double di) noexcept;

  Matrix a_;
  Matrix b_;
  const Matrix *z_;
  int n_;
  double *alfr_;  // counted from 1
  double *alfi_;
  double *beta_;
  double epsb_;

  // The block in the rows na_ and en_, scaled by its norms an_ and bn_, and the eigenvalue e_ + i ei_ found in it.
  int na_ = 0;
  int en_ = 0;
  double an_ = 0.0;
  double bn_ = 0.0;
  double a11_ = 0.0;
  double a12_ = 0.0;
  double a21_ = 0.0;
  double a22_ = 0.0;
  double b11_ = 0.0;
  double b12_ = 0.0;
  double b22_ = 0.0;
  double e_ = 0.0;
  double c_ = 0.0;
  double d_ = 0.0;
};

void Eigenvalues::run() noexcept {
  for (int en = n_; en >= 1;) {
    if (en == 1 || a_(en, en - 1) == 0.0) {
      one_by_one(en);
      en -= 1;
    } else {
      two_by_two(en);
      en -= 2;
    }
  }
  b_(n_, 1) = epsb_;
}

void Eigenvalues::one_by_one(int en) noexcept {
  alfr_[en] = a_(en, en);
  if (b_(en, en) < 0.0) alfr_[en] = -alfr_[en];
  beta_[en] = std::fabs(b_(en, en));
  alfi_[en] = 0.0;
}

// A block with a singular triangle is split at once; otherwise its two eigenvalues tell whether it can be.
void Eigenvalues::two_by_two(int en) noexcept {
  en_ = en;
  na_ = en - 1;
  if (std::fabs(b_(na_, na_)) <= epsb_) {
    choose_q(a_(na_, na_), a_(en_, na_));
    store_real_pair();
    return;
  }
  if (!(std::fabs(b_(en_, en_)) > epsb_)) {
    choose_z(a_(en_, en_), a_(en_, na_));
    store_real_pair();
    return;
  }
  if (!scale_block()) {
    complex_pair();
    return;
  }
  find_real_roots();
  if (bn_ != 0.0) {
    const bool from_a = an_ < std::fabs(e_) * bn_;
    const Matrix &source = from_a ? a_ : b_;
    choose_q(source(na_, na_), source(en_, na_));
  }
  store_real_pair();
}

// Scales the block by its norms and solves its quadratic equation for the larger root's terms e + (c +- sqrt(d)).
// False when the roots are complex.
bool Eigenvalues::scale_block() noexcept {
  an_ = std::fabs(a_(na_, na_)) + std::fabs(a_(na_, en_)) + std::fabs(a_(en_, na_)) + std::fabs(a_(en_, en_));
  bn_ = std::fabs(b_(na_, na_)) + std::fabs(b_(na_, en_)) + std::fabs(b_(en_, en_));
  a11_ = a_(na_, na_) / an_;
  a12_ = a_(na_, en_) / an_;
  a21_ = a_(en_, na_) / an_;
  a22_ = a_(en_, en_) / an_;
  b11_ = b_(na_, na_) / bn_;
  b12_ = b_(na_, en_) / bn_;
  b22_ = b_(en_, en_) / bn_;
  e_ = a11_ / b11_;
  const double ei = a22_ / b22_;
  const double s = a21_ / (b11_ * b22_);
  double t = (a22_ - e_ * b22_) / b22_;
  if (!(std::fabs(e_) <= std::fabs(ei))) {
    e_ = ei;
    t = (a11_ - e_ * b11_) / b11_;
  }
  c_ = 0.5 * (t - s * b12_);
  d_ = c_ * c_ + s * (a12_ - e_ * b12_);
  return !(d_ < 0.0);
}

// Two real roots: zeroes the subdiagonal of A e and B from the right.
void Eigenvalues::find_real_roots() noexcept {
  e_ = e_ + (c_ + with_sign(std::sqrt(d_), c_));
  a11_ = a11_ - e_ * b11_;
  a12_ = a12_ - e_ * b12_;
  a22_ = a22_ - e_ * b22_;
  if (std::fabs(a11_) + std::fabs(a12_) < std::fabs(a21_) + std::fabs(a22_)) {
    choose_z(a22_, a21_);
  } else {
    choose_z(a12_, a11_);
  }
}

// Reflects the two columns of the block, so that the second of the numbers becomes zero.
void Eigenvalues::choose_z(double a1, double a2) noexcept {
  const double s = std::fabs(a1) + std::fabs(a2);
  const Reflection2 h = Reflection2::of(a1, a2, s);
  reflect_columns(a_, h, en_, na_, 1, en_);
  reflect_columns(b_, h, en_, na_, 1, en_);
  if (z_ != nullptr) reflect_columns(*z_, h, en_, na_, 1, n_);
}

// The same with the two rows; nothing when both numbers are zero.
void Eigenvalues::choose_q(double a1, double a2) noexcept {
  const double s = std::fabs(a1) + std::fabs(a2);
  if (s == 0.0) return;
  const Reflection2 h = Reflection2::of(a1, a2, s);
  reflect_rows(a_, h, na_, en_, na_, n_);
  reflect_rows(b_, h, na_, en_, na_, n_);
}

void Eigenvalues::store_real_pair() noexcept {
  a_(en_, na_) = 0.0;
  b_(en_, na_) = 0.0;
  one_by_one(na_);
  one_by_one(en_);
}

// Two complex roots: the diagonal elements that triangular A and B would have are worked out without transforming.
void Eigenvalues::complex_pair() noexcept {
  e_ = e_ + c_;
  const ComplexRotation zr = complex_z();
  const ComplexRotation qr = complex_q(zr);
  const double cz = zr.c;
  const double cq = qr.c;
  const auto [szr, szi] = zr.s;
  const auto [sqr, sqi] = qr.s;
  const double ssr = sqr * szr + sqi * szi;
  const double ssi = sqr * szi - sqi * szr;
  store_complex(cq * cz * a11_ + cq * szr * a12_ + sqr * cz * a21_ + ssr * a22_,
                cq * szi * a12_ - sqi * cz * a21_ + ssi * a22_,  //
                cq * cz * b11_ + cq * szr * b12_ + ssr * b22_,   //
                cq * szi * b12_ + ssi * b22_);
  store_complex(ssr * a11_ - sqr * cz * a12_ - cq * szr * a21_ + cq * cz * a22_,
                -ssi * a11_ - sqi * cz * a12_ + cq * szi * a21_,  //
                ssr * b11_ - sqr * cz * b12_ + cq * cz * b22_,    //
                -ssi * b11_ - sqi * cz * b12_);
}

// The rotation of the two columns.
ComplexRotation Eigenvalues::complex_z() const noexcept {
  const double ei = std::sqrt(-d_);
  const double a11r = a11_ - e_ * b11_;
  const double a11i = ei * b11_;
  const double a12r = a12_ - e_ * b12_;
  const double a12i = ei * b12_;
  const double a22r = a22_ - e_ * b22_;
  const double a22i = ei * b22_;
  if (std::fabs(a11r) + std::fabs(a11i) + std::fabs(a12r) + std::fabs(a12i) <
      std::fabs(a21_) + std::fabs(a22r) + std::fabs(a22i)) {
    return ComplexRotation::of({a22r, a22i}, {-a21_, 0.0});
  }
  return ComplexRotation::of({a12r, a12i}, {-a11r, -a11i});
}

// The rotation of the two rows that goes with it.
ComplexRotation Eigenvalues::complex_q(const ComplexRotation &zr) const noexcept {
  const double ei = std::sqrt(-d_);
  const double cz = zr.c;
  const auto [szr, szi] = zr.s;
  if (an_ < (std::fabs(e_) + ei) * bn_) {
    return ComplexRotation::of({cz * a11_ + szr * a12_, szi * a12_}, {cz * a21_ + szr * a22_, szi * a22_});
  }
  return ComplexRotation::of({cz * b11_ + szr * b12_, szi * b12_}, {szr * b22_, szi * b22_});
}

// The quotient of two diagonal elements; the eigenvalue with the positive imaginary part goes to the first place.
void Eigenvalues::store_complex(double tr, double ti, double dr, double di) noexcept {
  const double t = ti * dr - tr * di;
  const int j = t < 0.0 ? en_ : na_;
  const double r = std::sqrt(dr * dr + di * di);
  beta_[j] = bn_ * r;
  alfr_[j] = an_ * (tr * dr + ti * di) / r;
  alfi_[j] = an_ * t / r;
}

}  // namespace

void eigenvalues(int leading, int n, double *a, double *b, double *alfr, double *alfi, double *beta,
                 double *z) noexcept {
  const Matrix vectors(z, leading);
  Eigenvalues(Matrix(a, leading), Matrix(b, leading), z != nullptr ? &vectors : nullptr, n, alfr, alfi, beta).run();
}

}  // namespace sbr::qz

extern "C" void SBR_QZVALL(const int *nm, const int *n, double *a, double *b, double *alfr, double *alfi, double *beta,
                           const int *matz, double *z) {
  using namespace sbr::qz;
  if (!is_shape(nm, n) || a == nullptr || b == nullptr) return;
  if (alfr == nullptr || alfi == nullptr || beta == nullptr) return;
  eigenvalues(*nm, *n, a, b, alfr, alfi, beta, matz != nullptr && *matz != 0 ? z : nullptr);
}
