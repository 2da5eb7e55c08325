// Eigenvalues of large symmetric pairs K x = lambda M x by shift and invert, with the factors of K - shift M at hand.
#ifndef SBRKIT_TRANSLATORS_COMMON_EIGEN_SOLVER_H
#define SBRKIT_TRANSLATORS_COMMON_EIGEN_SOLVER_H

#include <functional>

#include "common/sparse_solver.h"

namespace sbrtranslate {

struct EigenPairs {
  Dense shapes;   // one column each, unit generalized mass
  Vector values;  // ascending
  int solutions = 0;
};

// The `count` pairs nearest above the shift, which lies below all eigenvalues. `progress` is told how many solutions
// have been made and how many are likely. Throws std::runtime_error when they do not converge, when there are not so
// many, or when a shape has no mass.
EigenPairs nearest_eigenpairs(const SparseFactor &factor, const SparseMatrix &mass, double shift, int count,
                              const std::function<void(int done, int likely)> &progress);

}  // namespace sbrtranslate

#endif
