// The eigenvalue table of orthogonal modes: made from diagonal matrices, scaled to unit masses, printed.
#ifndef SBRKIT_DYNAMICS_EIGEN_TABLE_H
#define SBRKIT_DYNAMICS_EIGEN_TABLE_H

#include <span>

#include "body/body.h"

namespace sbr {

// Stands for an eigenvalue that does not exist. Compared exactly.
constexpr double kInfiniteEigenvalue = 1.2345e20;

// Whether the modes' masses or the modes themselves call for a transformation.
inline bool modes_need_work(const SbrBody &body) noexcept {
  return body.matrices.modes_not_orthogonal != 0 || body.matrices.modes_not_normalized != 0;
}

// Fills the eigenvalue and both frequencies of a row. The circular frequency of a negative eigenvalue is negative.
void set_eigenvalue(EigenRecord &row, double eigenvalue, double ucf) noexcept;

// A table, and what stands and falls with it: the mode numbers from before the modes were numbered by it, and the lists
// of the two matrices, which a table replaces.
struct EigenTable {
  Array<EigenRecord> rows;
  int count = 0;  // of the rows
  Array<std::int32_t> former_numbers;
  Array<SparseEntry> mass;
  Array<SparseEntry> stiffness;

  [[nodiscard]] bool allocate(int modes) noexcept {
    count = modes;
    return rows.allocate(modes) && former_numbers.allocate(modes);
  }
};

// Makes the table of a body from its diagonal matrices. False after a report when memory is short.
[[nodiscard]] bool build_eigen_table(SbrBody &body, EigenTable &table) noexcept;
// Gives the body a table whose rows are filled, and numbers its modes from 1. The table takes what the body had.
void install_eigen_table(SbrBody &body, EigenTable &table) noexcept;
// Takes that back.
void withdraw_eigen_table(SbrBody &body, EigenTable &table) noexcept;

// Gives the body a table if it has none. False after a report when memory is short.
[[nodiscard]] bool ensure_eigen_table(SbrBody &body) noexcept;
// The scales, one per mode, that give the rows unit masses. The rows then hold them.
void normalize_masses(SbrBody &body, std::span<double> scales) noexcept;
// The printed table of real eigenvalues and natural frequencies, as information.
void print_eigenvalues(const double *eigenvalues, int count, double ucf) noexcept;

}  // namespace sbr

#endif
