// The factors of a sparse symmetric positive definite matrix: by CHOLMOD's supernodal Cholesky factorization where the
// build has it, by Eigen's simplicial LDL^T factorization otherwise.
#ifndef SBRKIT_TRANSLATORS_COMMON_SPARSE_SOLVER_H
#define SBRKIT_TRANSLATORS_COMMON_SPARSE_SOLVER_H

#include <memory>

#include "common/linear_algebra.h"

namespace sbrtranslate {

class SparseFactor {
 public:
  // What the analysis of the pattern tells before the factorization.
  struct Size {
    double entries = 0.0;  // of the factor
    double flops = 0.0;    // 0 where the library does not tell
    double seconds = 0.0;  // that the factorization is likely to take; 0 where it cannot be told
  };

  SparseFactor();
  ~SparseFactor();
  SparseFactor(const SparseFactor &) = delete;
  SparseFactor &operator=(const SparseFactor &) = delete;

  // Orders the rows by the pattern of the upper triangle.
  Size analyze(const SparseMatrix &upper);
  // Factorizes the matrix that was analyzed. Returns the row whose pivot is not above 1e-12 of its diagonal term, the
  // first to be found, or -1 when the matrix is positive definite. Throws std::runtime_error when memory does not
  // suffice.
  std::int64_t factorize(const SparseMatrix &upper);
  // The solutions for the columns given.
  [[nodiscard]] Dense solve(const Dense &columns) const;
  void solve(const double *right, double *solution) const;

  // The name of the library behind it.
  static const char *name();

 private:
  struct Implementation;
  std::unique_ptr<Implementation> implementation_;
};

// How many eigenvalues of K x = lambda M x lie below a shift: the negative pivots of K - shift M (Sylvester's law of
// inertia). Throws std::runtime_error when the shift is an eigenvalue. Without supernodes: for matrices of moderate
// size.
int count_eigenvalues_below(const SparseMatrix &stiffness, const SparseMatrix &mass, double shift);

}  // namespace sbrtranslate

#endif
