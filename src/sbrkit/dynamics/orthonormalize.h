// Orthonormalization: the eigenproblem K x = lambda M x over the modal coordinates, the eigenvalue table that follows
// from it, and the transformation of everything modal. The unit owns nothing of its own in the body; it writes
// ModeAccess::transformation and transformation_modes, the eigenvalue table, and the numbers of the modes.
#ifndef SBRKIT_DYNAMICS_ORTHONORMALIZE_H
#define SBRKIT_DYNAMICS_ORTHONORMALIZE_H

#include <cmath>
#include <cstddef>

#include "body/body.h"
#include "body/matrices.h"

namespace sbr {

// Stands for an eigenvalue that does not exist. Compared exactly.
constexpr double kInfiniteEigenvalue = 1.2345e20;

// A square matrix of order n, row by row, that owns its memory.
class SquareMatrix {
 public:
  [[nodiscard]] bool allocate(int order) noexcept {
    order_ = static_cast<std::size_t>(order);
    return values_.allocate(static_cast<std::int64_t>(order) * order);
  }
  [[nodiscard]] int order() const noexcept { return static_cast<int>(order_); }
  double *row(int i) noexcept { return values_.data() + static_cast<std::size_t>(i) * order_; }
  const double *row(int i) const noexcept { return values_.data() + static_cast<std::size_t>(i) * order_; }
  double *data() noexcept { return values_.data(); }
  Array<double> &values() noexcept { return values_; }

 private:
  std::size_t order_ = 0;
  Array<double> values_;
};

// Whether the modes' masses or the modes themselves call for a transformation.
inline bool modes_need_work(const SbrBody &body) noexcept {
  return body.matrices.modes_not_orthogonal != 0 || body.matrices.modes_not_normalized != 0;
}

// Circular frequency of an eigenvalue in the body's units; that of a negative one is negative.
inline double signed_frequency(double eigenvalue, double ucf) noexcept {
  return eigenvalue >= 0.0 ? std::sqrt(eigenvalue * ucf) : -std::sqrt(-(eigenvalue * ucf));
}

// Fills the eigenvalue and both frequencies of a row.
inline void set_eigenvalue(EigenRecord &row, double eigenvalue, double ucf) noexcept {
  row.eigenvalue = eigenvalue;
  row.frequency_rad = signed_frequency(eigenvalue, ucf);
  row.frequency_hz = row.frequency_rad / kTwoPi;
}

// Makes the modes orthonormal and everything modal with them. False without modes, and after a report.
bool orthonormalize(SbrBody &body) noexcept;

// Keeps the present mode numbers as those before the transformation, and numbers modes and rows from 1. The list of
// the numbers before has room for all rows.
void renumber_modes_from_one(SbrBody &body, Array<std::int32_t> &numbers_before) noexcept;

// The printed table of real eigenvalues and natural frequencies, through SBR_Info.
void print_eigenvalues(const double *eigenvalues, int count, double ucf) noexcept;

}  // namespace sbr

#endif
