// A square matrix, row by row, that owns its memory.
#ifndef SBRKIT_DYNAMICS_SQUARE_MATRIX_H
#define SBRKIT_DYNAMICS_SQUARE_MATRIX_H

#include <cstddef>

#include "base/memory.h"

namespace sbr {

class SquareMatrix {
 public:
  // Makes a matrix of zeros. False for an order below 1 and when memory is short.
  [[nodiscard]] bool allocate(int order) noexcept {
    if (order < 1) return false;
    order_ = static_cast<std::size_t>(order);
    return values_.allocate(static_cast<std::int64_t>(order) * order);
  }
  [[nodiscard]] int order() const noexcept { return static_cast<int>(order_); }
  double *row(int i) noexcept { return values_.data() + static_cast<std::size_t>(i) * order_; }
  const double *row(int i) const noexcept { return values_.data() + static_cast<std::size_t>(i) * order_; }
  double &at(int row, int column) noexcept { return this->row(row)[column]; }
  double *data() noexcept { return values_.data(); }
  Array<double> &values() noexcept { return values_; }

 private:
  std::size_t order_ = 0;
  Array<double> values_;
};

}  // namespace sbr

#endif
