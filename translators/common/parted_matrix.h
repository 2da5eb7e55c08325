// A symmetric matrix parted into interior rows (i) and held rows (b), gathered entry by entry. Rows that depend on
// others are taken out on the way: a row r with u_r = sum of c_j u_j adds to the rows j instead (T^t A T).
#ifndef SBRKIT_TRANSLATORS_COMMON_PARTED_MATRIX_H
#define SBRKIT_TRANSLATORS_COMMON_PARTED_MATRIX_H

#include <functional>
#include <span>
#include <string>
#include <vector>

#include "common/dependent_row.h"
#include "common/linear_algebra.h"

namespace sbrtranslate {

// Where each row stands in its part.
class Rows {
 public:
  // `held` tells for each row whether it belongs to the interface.
  Rows(std::span<const char> held, std::vector<DependentRow> dependent);
  [[nodiscard]] std::size_t count() const { return held_.size(); }
  [[nodiscard]] int interior() const { return interior_; }
  [[nodiscard]] int boundary() const { return boundary_; }
  [[nodiscard]] bool held(int row) const { return held_[static_cast<std::size_t>(row)] != 0; }
  // The position in its part; meaningless for dependent rows.
  [[nodiscard]] int place(int row) const { return place_[static_cast<std::size_t>(row)]; }
  // The combination that stands for a row, or null when it stands for itself.
  [[nodiscard]] const DependentRow *combination(int row) const;
  [[nodiscard]] const std::vector<DependentRow> &dependent() const { return dependent_; }

 private:
  std::vector<char> held_;
  std::vector<int> place_;
  std::vector<DependentRow> dependent_;
  std::vector<int> dependent_at_;  // by row; empty when no row is dependent
  int interior_ = 0;
  int boundary_ = 0;
};

struct PartedMatrix {
  SparseMatrix ii;  // upper triangle
  SparseMatrix ib;
  Dense bb;
};

class PartedMatrixBuilder {
 public:
  explicit PartedMatrixBuilder(const Rows &rows);
  // An entry of the upper triangle, and its mirror image.
  void add(int row, int column, double value);
  [[nodiscard]] bool empty() const { return ii_.empty(); }
  PartedMatrix build();

 private:
  using Triplet = Eigen::Triplet<double, std::int64_t>;
  void add_sound(int row, int column, double value);
  void add_combined(int row, int column, double value);

  const Rows &rows_;
  std::vector<Triplet> ii_, ib_;
  Dense bb_;
};

// Entries of the upper triangle of a symmetric matrix, each "row column value", counted from 1, a line each. Throws
// InputError with the line of what is wrong. `progress` is told the lines read so far.
void read_matrix_entries(const std::string &path, std::size_t rows, PartedMatrixBuilder &builder,
                         const std::function<void(long)> &progress);

}  // namespace sbrtranslate

#endif
