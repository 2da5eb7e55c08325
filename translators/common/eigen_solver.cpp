#include "common/eigen_solver.h"

#include <Spectra/SymGEigsShiftSolver.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>

namespace sbrtranslate {
namespace {

// The operations of the eigenvalue solver: (K - shift M)^-1 x by the factors at hand, and M x.
struct Solve {
  using Scalar = double;
  const SparseFactor *factor;
  Eigen::Index size;
  const std::function<void(int, int)> *progress;
  int likely;
  int *done;
  [[nodiscard]] Eigen::Index rows() const { return size; }
  [[nodiscard]] Eigen::Index cols() const { return size; }
  void set_shift(double) {}
  void perform_op(const double *x, double *y) const {
    factor->solve(x, y);
    ++*done;
    if (*progress) (*progress)(*done, likely);
  }
};
struct Multiply {
  using Scalar = double;
  const SparseMatrix *matrix;
  [[nodiscard]] Eigen::Index rows() const { return matrix->rows(); }
  [[nodiscard]] Eigen::Index cols() const { return matrix->cols(); }
  void perform_op(const double *x, double *y) const {
    Eigen::Map<Vector>(y, rows()) = matrix->selfadjointView<Eigen::Upper>() * Eigen::Map<const Vector>(x, cols());
  }
};

}  // namespace

EigenPairs nearest_eigenpairs(const SparseFactor &factor, const SparseMatrix &mass, double shift, int count,
                              const std::function<void(int, int)> &progress) {
  const Eigen::Index size = mass.rows();
  EigenPairs pairs{Dense(size, 0), Vector(0), 0};
  if (count == 0) return pairs;
  if (count >= size)
    throw std::runtime_error("more modes asked for than the body has degrees of freedom (" + std::to_string(size) +
                             ")");
  const Eigen::Index space = std::min<Eigen::Index>(size, std::max<Eigen::Index>(2 * count + 1, 20));
  // The first sweep fills the space; one or two more with what is not wanted of it follow as a rule.
  Solve solve{&factor, size, &progress, static_cast<int>(space + (space - count)), &pairs.solutions};
  Multiply multiply{&mass};
  Spectra::SymGEigsShiftSolver<Solve, Multiply, Spectra::GEigsMode::ShiftInvert> solver(solve, multiply, count, space,
                                                                                        shift);
  solver.init();
  solver.compute(Spectra::SortRule::LargestMagn, 1000, 1e-12, Spectra::SortRule::SmallestAlge);
  if (solver.info() != Spectra::CompInfo::Successful) throw std::runtime_error("the eigenvalues did not converge");
  pairs.shapes = solver.eigenvectors();
  pairs.values = solver.eigenvalues();
  for (Eigen::Index j = 0; j < count; ++j) {
    const double m = pairs.shapes.col(j).dot(times_symmetric(mass, pairs.shapes.col(j)).col(0));
    if (!(m > 0.0)) throw std::runtime_error("a mode without mass: the mass matrix is not positive");
    pairs.shapes.col(j) /= std::sqrt(m);
  }
  return pairs;
}

}  // namespace sbrtranslate
