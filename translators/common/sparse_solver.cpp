#include "common/sparse_solver.h"

#include <Eigen/SparseCholesky>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <stdexcept>
#include <vector>

#ifdef SBRKIT_WITH_CHOLMOD
#include <suitesparse/cholmod.h>

extern "C" void dgemm_(const char *, const char *, const int *, const int *, const int *, const double *,
                       const double *, const int *, const double *, const int *, const double *, double *, const int *);
#endif

namespace sbrtranslate {
namespace {

using Simplicial = Eigen::SimplicialLDLT<SparseMatrix, Eigen::Upper, Eigen::AMDOrdering<std::int64_t>>;
constexpr double kSmallestPivot = 1e-12;

}  // namespace

int count_eigenvalues_below(const SparseMatrix &stiffness, const SparseMatrix &mass, double shift) {
  const SparseMatrix shifted = stiffness - shift * mass;
  const Simplicial factor(shifted);
  if (factor.info() != Eigen::Success)
    throw std::runtime_error("the frequency limit falls on a natural frequency; choose another");
  const Vector pivots = factor.vectorD();
  return static_cast<int>((pivots.array() < 0.0).count());
}

#ifdef SBRKIT_WITH_CHOLMOD

static_assert(sizeof(SuiteSparse_long) == sizeof(std::int64_t));

struct SparseFactor::Implementation {
  cholmod_common common{};
  cholmod_factor *factor = nullptr;
  // Kept between solutions, so that each needs no memory of its own.
  cholmod_dense *solution = nullptr, *first_work = nullptr, *second_work = nullptr;

  Implementation() {
    cholmod_l_start(&common);
    common.supernodal = CHOLMOD_SUPERNODAL;
    common.print = 0;
    common.quick_return_if_not_posdef = 1;
    // Nested dissection leaves far fewer entries in the factors of solids than minimum degree; the better one is taken.
    common.nmethods = 2;
    common.method[0].ordering = CHOLMOD_AMD;
    common.method[1].ordering = CHOLMOD_METIS;
    common.postorder = 1;
  }
  ~Implementation() {
    cholmod_l_free_dense(&solution, &common);
    cholmod_l_free_dense(&first_work, &common);
    cholmod_l_free_dense(&second_work, &common);
    cholmod_l_free_factor(&factor, &common);
    cholmod_l_finish(&common);
  }
  Implementation(const Implementation &) = delete;
  Implementation &operator=(const Implementation &) = delete;

  // The matrix as the library sees it; it owns nothing.
  static cholmod_sparse view(const SparseMatrix &upper) {
    cholmod_sparse matrix{};
    matrix.nrow = static_cast<std::size_t>(upper.rows());
    matrix.ncol = static_cast<std::size_t>(upper.cols());
    matrix.nzmax = static_cast<std::size_t>(upper.nonZeros());
    matrix.p = const_cast<std::int64_t *>(upper.outerIndexPtr());
    matrix.i = const_cast<std::int64_t *>(upper.innerIndexPtr());
    matrix.x = const_cast<double *>(upper.valuePtr());
    matrix.stype = 1;
    matrix.itype = CHOLMOD_LONG;
    matrix.xtype = CHOLMOD_REAL;
    matrix.dtype = CHOLMOD_DOUBLE;
    matrix.sorted = 1;
    matrix.packed = 1;
    return matrix;
  }
  void check(bool done, const char *what) const {
    if (done && common.status >= CHOLMOD_OK) return;
    throw std::runtime_error(std::string(what) + (common.status == CHOLMOD_OUT_OF_MEMORY
                                                      ? ": the memory does not suffice"
                                                      : ": the sparse solver refused the matrix"));
  }
  // The first column whose pivot is too small for its diagonal term.
  [[nodiscard]] std::int64_t weak_row(const SparseMatrix &upper) const;
};

std::int64_t SparseFactor::Implementation::weak_row(const SparseMatrix &upper) const {
  const auto *order = static_cast<const SuiteSparse_long *>(factor->Perm);
  if (common.status == CHOLMOD_NOT_POSDEF) return order[factor->minor];
  const auto *super = static_cast<const SuiteSparse_long *>(factor->super);
  const auto *rows = static_cast<const SuiteSparse_long *>(factor->pi);
  const auto *values = static_cast<const SuiteSparse_long *>(factor->px);
  const auto *x = static_cast<const double *>(factor->x);
  const Vector diagonal = upper.diagonal();
  for (std::size_t s = 0; s < factor->nsuper; ++s)
    for (SuiteSparse_long c = super[s]; c < super[s + 1]; ++c) {
      const double root = x[values[s] + (c - super[s]) * (rows[s + 1] - rows[s] + 1)];
      if (!(root * root > kSmallestPivot * std::fabs(diagonal[order[c]]))) return order[c];
    }
  return -1;
}

const char *SparseFactor::name() { return "CHOLMOD, supernodal"; }

namespace {

// The floating-point operations a second of the linear algebra underneath, by a product of two dense matrices.
double measured_rate() {
  constexpr int kSize = 768;
  const Dense a = Dense::Constant(kSize, kSize, 0.5);
  Dense c = Dense::Zero(kSize, kSize);
  const double one = 1.0;
  double best = 0.0;
  for (int round = 0; round < 2; ++round) {
    const auto start = std::chrono::steady_clock::now();
    dgemm_("N", "N", &kSize, &kSize, &kSize, &one, a.data(), &kSize, a.data(), &kSize, &one, c.data(), &kSize);
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    best = std::max(best, 2.0 * kSize * kSize * kSize / std::max(took.count(), 1e-9));
  }
  return best;
}

}  // namespace

SparseFactor::Size SparseFactor::analyze(const SparseMatrix &upper) {
  auto &own = *implementation_;
  cholmod_sparse matrix = Implementation::view(upper);
  cholmod_l_free_factor(&own.factor, &own.common);
  own.factor = cholmod_l_analyze(&matrix, &own.common);
  own.check(own.factor != nullptr, "the analysis of the stiffness");
  Size size{static_cast<double>(own.factor->xsize), own.common.fl, 0.0};
  // Large factorizations reach about six tenths of the rate of a dense product.
  if (size.flops > 1e10) size.seconds = size.flops / (0.6 * measured_rate());
  return size;
}

std::int64_t SparseFactor::factorize(const SparseMatrix &upper) {
  auto &own = *implementation_;
  cholmod_sparse matrix = Implementation::view(upper);
  own.check(cholmod_l_factorize(&matrix, own.factor, &own.common) != 0, "the factorization of the stiffness");
  return own.weak_row(upper);
}

void SparseFactor::solve(const double *right, double *solution) const {
  auto &own = *implementation_;
  const std::size_t rows = own.factor->n;
  cholmod_dense b{};
  b.nrow = rows;
  b.ncol = 1;
  b.nzmax = rows;
  b.d = rows;
  b.x = const_cast<double *>(right);
  b.xtype = CHOLMOD_REAL;
  b.dtype = CHOLMOD_DOUBLE;
  own.check(cholmod_l_solve2(CHOLMOD_A, own.factor, &b, nullptr, &own.solution, nullptr, &own.first_work,
                             &own.second_work, &own.common) != 0,
            "the solution");
  std::copy_n(static_cast<const double *>(own.solution->x), rows, solution);
}

Dense SparseFactor::solve(const Dense &columns) const {
  auto &own = *implementation_;
  const auto rows = static_cast<std::size_t>(columns.rows());
  cholmod_dense b{};
  b.nrow = rows;
  b.ncol = static_cast<std::size_t>(columns.cols());
  b.nzmax = static_cast<std::size_t>(columns.size());
  b.d = rows;
  b.x = const_cast<double *>(columns.data());
  b.xtype = CHOLMOD_REAL;
  b.dtype = CHOLMOD_DOUBLE;
  cholmod_dense *x = cholmod_l_solve(CHOLMOD_A, own.factor, &b, &own.common);
  own.check(x != nullptr, "the solution");
  Dense result = Eigen::Map<const Dense>(static_cast<const double *>(x->x), columns.rows(), columns.cols());
  cholmod_l_free_dense(&x, &own.common);
  return result;
}

#else

struct SparseFactor::Implementation {
  Simplicial factor;
};

const char *SparseFactor::name() { return "Eigen, simplicial"; }

SparseFactor::Size SparseFactor::analyze(const SparseMatrix &upper) {
  implementation_->factor.analyzePattern(upper);
  return {};
}

std::int64_t SparseFactor::factorize(const SparseMatrix &upper) {
  auto &factor = implementation_->factor;
  factor.factorize(upper);
  if (factor.info() != Eigen::Success) return 0;
  const Vector pivots = factor.vectorD();
  const Vector diagonal = factor.permutationP() * Vector(upper.diagonal());
  for (Eigen::Index k = 0; k < pivots.size(); ++k)
    if (!(pivots[k] > kSmallestPivot * std::fabs(diagonal[k]))) return factor.permutationPinv().indices()[k];
  return -1;
}

void SparseFactor::solve(const double *right, double *solution) const {
  const auto &factor = implementation_->factor;
  Eigen::Map<Vector>(solution, factor.rows()) = factor.solve(Vector(Eigen::Map<const Vector>(right, factor.rows())));
}

Dense SparseFactor::solve(const Dense &columns) const { return implementation_->factor.solve(columns); }

#endif

SparseFactor::SparseFactor() : implementation_(std::make_unique<Implementation>()) {}
SparseFactor::~SparseFactor() = default;

}  // namespace sbrtranslate
