// The second stage of QZ: A from upper Hessenberg to quasi-triangular form by shifted steps, B kept triangular.
#include <algorithm>
#include <cstdint>

#include "dynamics/qz.h"
#include "sbrkit/sbrkit.h"

namespace sbr::qz {
namespace {

// How far a search for the start of a step got.
enum class Search { step, deflated, exhausted };

// One run of the iteration. Names as in the literature where they are short: l is the top of the active block, en its
// bottom and the index of the eigenvalue being found.
class Iteration {
 public:
  Iteration(const Matrix &a, const Matrix &b, const Matrix *z, int n, double eps1) noexcept
      : a_(a), b_(b), z_(z), n_(n), last_column_(n), en_(n), budget_(static_cast<std::int64_t>(30) * n) {
    set_tolerances(eps1);
  }

  // Runs to the end; gives 0, or the index of the eigenvalue at which the budget of steps ran out.
  int run() noexcept;
  [[nodiscard]] double epsb() const noexcept { return epsb_; }

 private:
  void set_tolerances(double eps1) noexcept;
  Search find_eigenvalue() noexcept;
  Search find_start() noexcept;
  bool find_small_subdiagonal() noexcept;
  bool cut_above_top() noexcept;
  bool settle_top_of_b() noexcept;
  void deflate_top_of_b() noexcept;
  bool find_shift() noexcept;
  bool find_two_small_subdiagonals() noexcept;
  void start_with_single_shift() noexcept;
  void start_with_double_shift() noexcept;
  void start_with_exceptional_shift() noexcept;
  void sweep() noexcept;
  bool chase_two_rows(int k) noexcept;
  bool chase_three_rows(int k) noexcept;
  void restore_triangle_from_three(int k, int last_row) noexcept;
  void restore_triangle_from_two(int k, int last_row) noexcept;
  [[nodiscard]] double diagonal_of_b(int i) const noexcept;

  Matrix a_;
  Matrix b_;
  const Matrix *z_;
  int n_;
  double epsa_ = 0.0;
  double epsb_ = 0.0;

  int first_row_ = 1;  // where transformations of columns start
  int last_column_;    // where transformations of rows end
  int en_;
  std::int64_t budget_;  // steps left for all eigenvalues
  int steps_ = 0;        // steps taken for this one

  int l_ = 1;
  int above_ = 0;      // the row above l_
  int block_top_ = 1;  // l_ before the search for two small elements moved it
  int shift_order_ = 2;
  double shift_ = 0.0;
  double a11_ = 0.0;  // elements of A inverse(B), at the top left and the bottom right of the active block
  double a21_ = 0.0;
  double a33_ = 0.0;
  double a34_ = 0.0;
  double a43_ = 0.0;
  double a44_ = 0.0;
  double b22_ = 0.0;
  double b34_ = 0.0;
  double start_[3] = {};  // the first column of the shifted matrix: what a step starts from
};

// The tolerances below which elements of A and B count as zero: the relative precision times the largest row sum.
void Iteration::set_tolerances(double eps1) noexcept {
  double anorm = 0.0;
  double bnorm = 0.0;
  for (int i = 1; i <= n_; ++i) {
    double ani = i == 1 ? 0.0 : std::fabs(a_(i, i - 1));
    double bni = 0.0;
    for (int j = i; j <= n_; ++j) {
      ani = ani + std::fabs(a_(i, j));
      bni = bni + std::fabs(b_(i, j));
    }
    if (ani > anorm) anorm = ani;
    if (bni > bnorm) bnorm = bni;
  }
  if (anorm == 0.0) anorm = 1.0;
  if (bnorm == 0.0) bnorm = 1.0;
  double ep = eps1;
  if (!(ep > 0.0)) ep = negligible_part(1.0);
  epsa_ = ep * anorm;
  epsb_ = ep * bnorm;
}

int Iteration::run() noexcept {
  while (en_ > 2) {
    if (z_ == nullptr) last_column_ = en_;
    if (find_eigenvalue() == Search::exhausted) return en_;
  }
  return 0;
}

// Steps until a block at the bottom is isolated; en_ is then the index above it.
Search Iteration::find_eigenvalue() noexcept {
  steps_ = 0;
  for (;;) {
    const Search found = find_start();
    if (found != Search::step) return found;
    ++steps_;
    --budget_;
    if (z_ == nullptr) first_row_ = block_top_;
    sweep();
  }
}

// Finds the active block, deflates what can be deflated and works out what the next step starts from.
Search Iteration::find_start() noexcept {
  shift_order_ = 2;
  if (find_small_subdiagonal() && cut_above_top()) return Search::deflated;
  block_top_ = l_;
  if (!settle_top_of_b()) return Search::deflated;
  if (budget_ == 0) return Search::exhausted;
  if (steps_ == 10) {
    start_with_exceptional_shift();
    return Search::step;
  }
  if (!find_shift()) {
    start_with_double_shift();
    return Search::step;
  }
  if (find_two_small_subdiagonals() && !settle_top_of_b()) return Search::deflated;
  start_with_single_shift();
  return Search::step;
}

// Looks upward from the bottom for the first subdiagonal element of A that counts as zero. False when there is none;
// the active block then starts at the first row.
bool Iteration::find_small_subdiagonal() noexcept {
  for (l_ = en_; l_ > 1; --l_) {
    above_ = l_ - 1;
    if (std::fabs(a_(l_, above_)) <= epsa_) return true;
  }
  above_ = 0;
  return false;
}

// Zeroes the subdiagonal element at the top of the active block. True when that isolates a block of one or two rows.
bool Iteration::cut_above_top() noexcept {
  a_(l_, above_) = 0.0;
  if (l_ < en_ - 1) return false;
  en_ = above_;
  return true;
}

// Moves the top of the active block down for as long as the diagonal of B there counts as zero. False when the block
// is used up by that.
bool Iteration::settle_top_of_b() noexcept {
  while (!(std::fabs(b_(l_, l_)) > epsb_)) {
    deflate_top_of_b();
    if (cut_above_top()) return false;
    block_top_ = l_;
  }
  a11_ = a_(l_, l_) / b_(l_, l_);
  a21_ = a_(l_ + 1, l_) / b_(l_, l_);
  return true;
}

// An infinite eigenvalue at the top: a reflection of two rows takes it out of the active block.
void Iteration::deflate_top_of_b() noexcept {
  const int l1 = l_ + 1;
  b_(l_, l_) = 0.0;
  const double s = std::fabs(a_(l_, l_)) + std::fabs(a_(l1, l_));
  const Reflection2 h = Reflection2::of(a_(l_, l_), a_(l1, l_), s);
  reflect_rows(a_, h, l_, l1, l_, last_column_);
  reflect_rows(b_, h, l_, l1, l_, last_column_);
  if (l_ != 1) a_(l_, above_) = -a_(l_, above_);
  above_ = l_;
  l_ = l1;
}

// A diagonal element of B, or the tolerance where it is smaller.
double Iteration::diagonal_of_b(int i) const noexcept {
  const double value = b_(i, i);
  return std::fabs(value) < epsb_ ? epsb_ : value;
}

// The eigenvalue of the bottom 2 x 2 block of A inverse(B) nearer to its last element, as a single shift. False when
// the pair is complex and a double shift is due.
bool Iteration::find_shift() noexcept {
  const int na = en_ - 1;
  b22_ = diagonal_of_b(l_ + 1);
  const double b33 = diagonal_of_b(na);
  const double b44 = diagonal_of_b(en_);
  a33_ = a_(na, na) / b33;
  a34_ = a_(na, en_) / b44;
  a43_ = a_(en_, na) / b33;
  a44_ = a_(en_, en_) / b44;
  b34_ = b_(na, en_) / b44;
  const double t = 0.5 * (a43_ * b34_ - a33_ - a44_);
  double r = t * t + a34_ * a43_ - a33_ * a44_;
  if (r < 0.0) return false;
  shift_order_ = 1;
  r = std::sqrt(r);
  shift_ = -t + r;
  const double other = -t - r;
  if (std::fabs(other - a44_) < std::fabs(shift_ - a44_)) shift_ = other;
  return true;
}

// Looks upward for two consecutive small subdiagonal elements of A, between which a step with a single shift may
// start. True when l_ has moved there; otherwise l_ is the top of the block.
bool Iteration::find_two_small_subdiagonals() noexcept {
  for (l_ = en_ - 2; l_ > block_top_; --l_) {
    above_ = l_ - 1;
    double t = a_(l_, l_);
    if (std::fabs(b_(l_, l_)) > epsb_) t = t - shift_ * b_(l_, l_);
    if (std::fabs(a_(l_, above_)) <= std::fabs(t / a_(l_ + 1, l_)) * epsa_) return true;
  }
  return false;
}

void Iteration::start_with_single_shift() noexcept {
  start_[0] = a11_ - shift_;
  start_[1] = a21_;
  if (l_ != block_top_) a_(l_, above_) = -a_(l_, above_);
}

void Iteration::start_with_double_shift() noexcept {
  const int l1 = l_ + 1;
  const double a12 = a_(l_, l1) / b22_;
  const double a22 = a_(l1, l1) / b22_;
  const double b12 = b_(l_, l1) / b22_;
  start_[0] = ((a33_ - a11_) * (a44_ - a11_) - a34_ * a43_ + a43_ * b34_ * a11_) / a21_ + a12 - a11_ * b12;
  start_[1] = (a22 - a11_) - a21_ * b12 - (a33_ - a11_) - (a44_ - a11_) + a43_ * b34_;
  start_[2] = a_(l1 + 1, l1) / b22_;
}

void Iteration::start_with_exceptional_shift() noexcept {
  start_[0] = 0.0;
  start_[1] = 1.0;
  start_[2] = 1.1605;
}

// One QZ step: chases the bulge that the start makes down the active block.
void Iteration::sweep() noexcept {
  const int na = en_ - 1;
  for (int k = l_; k <= na; ++k) {
    const int last_row = std::min(en_, k + 1 + shift_order_);
    if (k != na && shift_order_ == 2) {
      if (!chase_three_rows(k)) continue;
      restore_triangle_from_three(k, last_row);
    } else if (!chase_two_rows(k)) {
      return;
    }
    restore_triangle_from_two(k, last_row);
  }
}

// Zeroes element (k+1, k-1) of A. False when there is nothing to reflect, which ends the step.
bool Iteration::chase_two_rows(int k) noexcept {
  const int k1 = k + 1;
  const int before = std::max(k - 1, l_);
  if (k != l_) {
    start_[0] = a_(k, before);
    start_[1] = a_(k1, before);
  }
  const double s = std::fabs(start_[0]) + std::fabs(start_[1]);
  if (s == 0.0) return false;
  const Reflection2 h = Reflection2::of(start_[0], start_[1], s);
  reflect_rows(a_, h, k, k1, before, last_column_);
  reflect_rows(b_, h, k, k1, before, last_column_);
  if (k != l_) a_(k1, before) = 0.0;
  return true;
}

// Zeroes elements (k+1, k-1) and (k+2, k-1) of A. False when there is nothing to reflect.
bool Iteration::chase_three_rows(int k) noexcept {
  const int k1 = k + 1;
  const int k2 = k + 2;
  const int before = std::max(k - 1, l_);
  if (k != l_) {
    start_[0] = a_(k, before);
    start_[1] = a_(k1, before);
    start_[2] = a_(k2, before);
  }
  const double s = std::fabs(start_[0]) + std::fabs(start_[1]) + std::fabs(start_[2]);
  if (s == 0.0) return false;
  const Reflection3 h = Reflection3::of(start_[0], start_[1], start_[2], s);
  reflect_rows(a_, h, k, before, last_column_);
  reflect_rows(b_, h, k, before, last_column_);
  if (k != l_) {
    a_(k1, before) = 0.0;
    a_(k2, before) = 0.0;
  }
  return true;
}

// Zeroes elements (k+2, k+1) and (k+2, k) of B.
void Iteration::restore_triangle_from_three(int k, int last_row) noexcept {
  const int k1 = k + 1;
  const int k2 = k + 2;
  const double s = std::fabs(b_(k2, k2)) + std::fabs(b_(k2, k1)) + std::fabs(b_(k2, k));
  if (s == 0.0) return;
  const Reflection3 h = Reflection3::of(b_(k2, k2), b_(k2, k1), b_(k2, k), s);
  reflect_columns(a_, h, k, first_row_, last_row);
  reflect_columns(b_, h, k, first_row_, last_row);
  b_(k2, k) = 0.0;
  b_(k2, k1) = 0.0;
  if (z_ != nullptr) reflect_columns(*z_, h, k, 1, n_);
}

// Zeroes element (k+1, k) of B.
void Iteration::restore_triangle_from_two(int k, int last_row) noexcept {
  const int k1 = k + 1;
  const double s = std::fabs(b_(k1, k1)) + std::fabs(b_(k1, k));
  if (s == 0.0) return;
  const Reflection2 h = Reflection2::of(b_(k1, k1), b_(k1, k), s);
  reflect_columns(a_, h, k1, k, first_row_, last_row);
  reflect_columns(b_, h, k1, k, first_row_, last_row);
  b_(k1, k) = 0.0;
  if (z_ != nullptr) reflect_columns(*z_, h, k1, k, 1, n_);
}

}  // namespace

double negligible_part(double x) noexcept {
  do {
    x = x / 2.0;
  } while (1.0 + x > 1.0 && std::isfinite(x));
  return x;
}

int iterate(int leading, int n, double *a, double *b, double eps1, double *z) noexcept {
  const Matrix vectors(z, leading);
  const Matrix triangle(b, leading);
  Iteration iteration(Matrix(a, leading), triangle, z != nullptr ? &vectors : nullptr, n, eps1);
  const int unfinished = iteration.run();
  if (n > 1) triangle(n, 1) = iteration.epsb();
  return unfinished;
}

}  // namespace sbr::qz

extern "C" double EIGPSN(double *x) {
  if (x == nullptr) return 0.0;
  *x = sbr::qz::negligible_part(*x);
  return *x;
}

extern "C" void SBR_QZITT(const int *nm, const int *n, double *a, double *b, const double *eps1, const int *matz,
                          double *z, int *ierr) {
  using namespace sbr::qz;
  if (ierr != nullptr) *ierr = 0;
  if (!is_shape(nm, n) || a == nullptr || b == nullptr) return;
  const int unfinished =
      iterate(*nm, *n, a, b, eps1 == nullptr ? 0.0 : *eps1, matz != nullptr && *matz != 0 ? z : nullptr);
  if (ierr != nullptr) *ierr = unfinished;
}
