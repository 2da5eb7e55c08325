// The matrix types of the reduction. Indices have 64 bits: the factors of large bodies have more entries than 32 count.
#ifndef SBRKIT_TRANSLATORS_COMMON_LINEAR_ALGEBRA_H
#define SBRKIT_TRANSLATORS_COMMON_LINEAR_ALGEBRA_H

#include <Eigen/Dense>
#include <Eigen/SparseCore>
#include <cstdint>

namespace sbrtranslate {

// Symmetric matrices hold their upper triangle only.
using SparseMatrix = Eigen::SparseMatrix<double, Eigen::ColMajor, std::int64_t>;
using Dense = Eigen::MatrixXd;
using Vector = Eigen::VectorXd;

// The product of a symmetric matrix, given by its upper triangle, with columns.
inline Dense times_symmetric(const SparseMatrix &upper, const Dense &columns) {
  return upper.selfadjointView<Eigen::Upper>() * columns;
}

}  // namespace sbrtranslate

#endif
