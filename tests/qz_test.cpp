// The QZ stages by themselves: edge cases, and random problems against LAPACK.
#include <gtest/gtest.h>
#include <lapacke.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <random>
#include <vector>

#include "sbrkit/sbrkit.h"

namespace sbrtest {
namespace {

using Values = std::vector<double>;
using Complex = std::complex<double>;

constexpr double kHalfUlp = 0x1p-53;

std::size_t square(int n) { return static_cast<std::size_t>(n) * static_cast<std::size_t>(n); }

struct Eigenpairs {
  int n;
  Values a, b, z, alfr, alfi, beta;
  int ierr = -1;

  // Runs all stages on matrices stored by columns.
  Eigenpairs(int order, Values a_by_columns, Values b_by_columns, int matz = 1, double eps1 = 0.0)
      : n(order), a(std::move(a_by_columns)), b(std::move(b_by_columns)) {
    z.assign(square(n), 0.0);
    alfr = alfi = beta = Values(static_cast<std::size_t>(n), 0.0);
    SBR_QZHESS(&n, &n, a.data(), b.data(), &matz, z.data());
    SBR_QZITT(&n, &n, a.data(), b.data(), &eps1, &matz, z.data(), &ierr);
    epsb = b[static_cast<std::size_t>(n - 1)];
    SBR_QZVALL(&n, &n, a.data(), b.data(), alfr.data(), alfi.data(), beta.data(), &matz, z.data());
    if (matz != 0) SBR_QZVECC(&n, &n, a.data(), b.data(), alfr.data(), alfi.data(), beta.data(), z.data());
  }
  double epsb = 0.0;

  // The eigenvector of eigenvalue j.
  [[nodiscard]] std::vector<Complex> vector(int j) const {
    const auto column = [&](int c) {
      return z.data() + square(1) * static_cast<std::size_t>(c) * static_cast<std::size_t>(n);
    };
    std::vector<Complex> x(static_cast<std::size_t>(n));
    const auto k = static_cast<std::size_t>(j);
    const int real = alfi[k] < 0.0 ? j - 1 : j;
    const double sign = alfi[k] == 0.0 ? 0.0 : alfi[k] > 0.0 ? 1.0 : -1.0;
    for (std::size_t i = 0; i < x.size(); ++i) x[i] = {column(real)[i], sign == 0.0 ? 0.0 : sign * column(real + 1)[i]};
    return x;
  }
};

Values random_matrix(int n, std::mt19937 &engine) {
  std::normal_distribution<double> normal;
  Values m(square(n));
  for (double &v : m) v = normal(engine);
  return m;
}

// M^T M plus a multiple of the identity.
Values random_positive_matrix(int n, double diagonal, std::mt19937 &engine) {
  const Values m = random_matrix(n, engine);
  Values p(square(n), 0.0);
  for (int i = 0; i < n; ++i) {
    for (int j = 0; j < n; ++j)
      for (int k = 0; k < n; ++k)
        p[static_cast<std::size_t>(i * n + j)] +=
            m[static_cast<std::size_t>(k * n + i)] * m[static_cast<std::size_t>(k * n + j)];
    p[static_cast<std::size_t>(i * n + i)] += diagonal;
  }
  return p;
}

std::vector<Complex> eigenvalues_of_lapack(int n, Values a, Values b) {
  Values alphar(static_cast<std::size_t>(n)), alphai(alphar), beta(alphar);
  EXPECT_EQ(LAPACKE_dggev(LAPACK_COL_MAJOR, 'N', 'N', n, a.data(), n, b.data(), n, alphar.data(), alphai.data(),
                          beta.data(), nullptr, 1, nullptr, 1),
            0);
  std::vector<Complex> values;
  for (std::size_t i = 0; i < alphar.size(); ++i) values.push_back(Complex(alphar[i], alphai[i]) / beta[i]);
  return values;
}

// The largest chordal distance from a value to its nearest partner, each partner taken once.
double largest_mismatch(std::vector<Complex> found, std::vector<Complex> expected) {
  double worst = 0.0;
  for (const Complex &value : found) {
    const auto distance = [&](const Complex &other) {
      return std::abs(value - other) / std::sqrt((1.0 + std::norm(value)) * (1.0 + std::norm(other)));
    };
    const auto nearest = std::min_element(expected.begin(), expected.end(), [&](const Complex &x, const Complex &y) {
      return distance(x) < distance(y);
    });
    worst = std::max(worst, distance(*nearest));
    expected.erase(nearest);
  }
  return worst;
}

TEST(Qz, EpsilonOfOneIsHalfTheSpacingOfTheNumbersAboveOne) {
  double x = 1.0;
  EXPECT_EQ(EIGPSN(&x), kHalfUlp);
  EXPECT_EQ(x, kHalfUlp);
}

TEST(Qz, EpsilonHalvesAtLeastOnceAndEndsOnAnyInput) {
  double tiny = 1e-20;
  EXPECT_EQ(EIGPSN(&tiny), 0.5e-20);
  double zero = 0.0;
  EXPECT_EQ(EIGPSN(&zero), 0.0);
  double negative = -4.0;
  EXPECT_EQ(EIGPSN(&negative), -2.0);
  double infinite = std::numeric_limits<double>::infinity();
  EXPECT_TRUE(std::isinf(EIGPSN(&infinite)));
  double nan = std::nan("");
  EXPECT_TRUE(std::isnan(EIGPSN(&nan)));
  EXPECT_EQ(EIGPSN(nullptr), 0.0);
}

TEST(Qz, OrderOneStaysAndItsTriangleIsNotOverwritten) {
  const Eigenpairs p(1, {3.5}, {-2.0});
  EXPECT_EQ(p.a[0], 3.5);
  EXPECT_EQ(p.epsb, -2.0);
  EXPECT_EQ(p.ierr, 0);
  EXPECT_EQ(p.alfr[0] / p.beta[0], -1.75);
  EXPECT_EQ(p.beta[0], 2.0);
  EXPECT_EQ(p.z[0], 1.0);
}

TEST(Qz, SingularMassGivesABetaOfExactlyZero) {
  const Eigenpairs p(3, {2.0, 0.0, 0.0, 0.0, 3.0, 0.0, 0.0, 0.0, 5.0}, {1.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 1.0});
  EXPECT_EQ(std::count(p.beta.begin(), p.beta.end(), 0.0), 1);
}

TEST(Qz, BlockOfTwoWithSingularMassIsSplit) {
  // det(A - x B) of the block is linear in x; its root is det(A) over the element of A beside the zero of B.
  struct Case {
    double b11, b22, root;
  };
  for (const Case c : {Case{0.0, 1.0, 2.5}, Case{1.0, 0.0, 5.0 / 3.0}}) {
    const Eigenpairs p(3, {2.0, 1.0, 0.0, 1.0, 3.0, 0.0, 0.0, 0.0, 5.0},
                       {c.b11, 0.0, 0.0, 0.0, c.b22, 0.0, 0.0, 0.0, 1.0});
    EXPECT_EQ(p.alfi, Values(3, 0.0));
    EXPECT_EQ(p.alfr[2] / p.beta[2], 5.0);
    const std::size_t finite = p.beta[0] == 0.0 ? 1 : 0;
    EXPECT_EQ(p.beta[1 - finite], 0.0);
    EXPECT_NEAR(p.alfr[finite] / p.beta[finite], c.root, 1e-14);
  }
}

TEST(Qz, ZeroMatricesHaveFiniteTolerances) {
  const Eigenpairs p(4, Values(16, 0.0), Values(16, 0.0));
  EXPECT_EQ(p.epsb, kHalfUlp);
  EXPECT_EQ(p.ierr, 0);
}

TEST(Qz, ToleranceOfMassIsKeptBelowTheTriangle) {
  // The largest row sum of the triangular form of this diagonal matrix is 4.
  const Eigenpairs p(3, {1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 1.0}, {4.0, 0.0, 0.0, 0.0, 2.0, 0.0, 0.0, 0.0, 1.0});
  EXPECT_EQ(p.epsb, 4.0 * kHalfUlp);
  EXPECT_EQ(p.b[2], 4.0 * kHalfUlp);
}

TEST(Qz, GivenPrecisionReplacesTheOwn) {
  const Eigenpairs p(3, {1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 1.0}, {4.0, 0.0, 0.0, 0.0, 2.0, 0.0, 0.0, 0.0, 1.0}, 1,
                     1e-10);
  EXPECT_EQ(p.epsb, 4.0 * 1e-10);
}

TEST(Qz, ExhaustedBudgetNamesTheEigenvalueAndKeepsTheTolerance) {
  // With hardly any tolerance most pairs do not converge in 30 n steps.
  std::mt19937 engine(3);
  int exhausted = 0;
  for (int repeat = 0; repeat < 50; ++repeat) {
    const Eigenpairs p(6, random_matrix(6, engine), random_matrix(6, engine), 1, 5e-324);
    EXPECT_GE(p.ierr, 0);
    EXPECT_LE(p.ierr, 6);
    if (p.ierr == 0) continue;
    ++exhausted;
    EXPECT_GE(p.ierr, 3);
    EXPECT_GT(p.epsb, 0.0);
    EXPECT_LT(p.epsb, 1e-300);
  }
  EXPECT_GT(exhausted, 0);
}

TEST(Qz, NotANumberPassesThroughAllStages) {
  for (int place = 0; place < 25; ++place) {
    std::mt19937 engine(7);
    Values a = random_matrix(5, engine);
    Values b = random_positive_matrix(5, 1.0, engine);
    Values spoiled = a;
    spoiled[static_cast<std::size_t>(place)] = std::nan("");
    const Eigenpairs in_stiffness(5, spoiled, b);
    EXPECT_TRUE(
        std::any_of(in_stiffness.alfr.begin(), in_stiffness.alfr.end(), [](double v) { return std::isnan(v); }));
    b[static_cast<std::size_t>(place)] = std::nan("");
    const Eigenpairs in_mass(5, a, b);
    const auto is_nan = [](double v) { return std::isnan(v); };
    EXPECT_TRUE(std::any_of(in_mass.alfr.begin(), in_mass.alfr.end(), is_nan) ||
                std::any_of(in_mass.beta.begin(), in_mass.beta.end(), is_nan))
        << place;
    EXPECT_GE(in_mass.ierr, 0);
    EXPECT_LE(in_mass.ierr, 5);
  }
}

TEST(Qz, ShapesThatAreNoneTouchNothing) {
  struct Shape {
    int nm, n;
  };
  for (const Shape shape : {Shape{0, 0}, Shape{3, 0}, Shape{3, -1}, Shape{1, 2}, Shape{-5, 1}}) {
    Values m(9, 4.0);
    Values v(3, 4.0);
    int ierr = 9;
    const int yes = 1;
    const double eps1 = 0.0;
    SBR_QZHESS(&shape.nm, &shape.n, m.data(), m.data(), &yes, m.data());
    SBR_QZITT(&shape.nm, &shape.n, m.data(), m.data(), &eps1, &yes, m.data(), &ierr);
    SBR_QZVALL(&shape.nm, &shape.n, m.data(), m.data(), v.data(), v.data(), v.data(), &yes, m.data());
    SBR_QZVECC(&shape.nm, &shape.n, m.data(), m.data(), v.data(), v.data(), v.data(), m.data());
    EXPECT_EQ(m, Values(9, 4.0));
    EXPECT_EQ(v, Values(3, 4.0));
    EXPECT_EQ(ierr, 0);
  }
}

TEST(Qz, NullArgumentsLeaveAllOthersAlone) {
  const int n = 2;
  const int yes = 1;
  const double eps1 = 0.0;
  const Values given{1.0, 2.0, 3.0, 4.0};
  Values a = given;
  Values b = given;
  Values z = given;
  Values v = given;
  int ierr = 9;
  SBR_QZHESS(nullptr, &n, a.data(), b.data(), &yes, z.data());
  SBR_QZHESS(&n, nullptr, a.data(), b.data(), &yes, z.data());
  SBR_QZHESS(&n, &n, nullptr, b.data(), &yes, z.data());
  SBR_QZHESS(&n, &n, a.data(), nullptr, &yes, z.data());
  SBR_QZITT(&n, &n, nullptr, b.data(), &eps1, &yes, z.data(), &ierr);
  EXPECT_EQ(ierr, 0);
  SBR_QZITT(&n, nullptr, a.data(), b.data(), &eps1, &yes, z.data(), nullptr);
  SBR_QZVALL(&n, &n, a.data(), nullptr, v.data(), v.data(), v.data(), &yes, z.data());
  SBR_QZVALL(&n, &n, a.data(), b.data(), nullptr, v.data(), v.data(), &yes, z.data());
  SBR_QZVALL(&n, &n, a.data(), b.data(), v.data(), v.data(), nullptr, &yes, z.data());
  SBR_QZVECC(&n, &n, a.data(), b.data(), v.data(), v.data(), v.data(), nullptr);
  SBR_QZVECC(&n, &n, a.data(), b.data(), v.data(), nullptr, v.data(), z.data());
  for (const Values &untouched : {a, b, z, v}) EXPECT_EQ(untouched, given);
}

TEST(Qz, UnpairedComplexValueStaysInsideTheArrays) {
  const int n = 2;
  Values a{1.0, 0.5, 0.5, 1.0};
  Values b{1.0, 0.0, 0.0, 1.0};
  Values z{1.0, 0.0, 0.0, 1.0};
  Values alfr{1.0, 1.0};
  Values alfi{1.0, 0.0};
  Values beta{1.0, 1.0};
  SBR_QZVECC(&n, &n, a.data(), b.data(), alfr.data(), alfi.data(), beta.data(), z.data());
  EXPECT_EQ(alfi, (Values{1.0, 0.0}));
}

TEST(Qz, WithoutVectorsTheEigenvaluesAreTheSameAndZStays) {
  std::mt19937 engine(11);
  for (int n = 3; n <= 12; ++n) {
    const Values a = random_matrix(n, engine);
    const Values b = random_matrix(n, engine);
    const Eigenpairs with(n, a, b);
    const Eigenpairs without(n, a, b, 0);
    EXPECT_EQ(without.z, Values(square(n), 0.0));
    std::vector<Complex> x;
    std::vector<Complex> y;
    for (std::size_t i = 0; i < static_cast<std::size_t>(n); ++i) {
      x.push_back(Complex(with.alfr[i], with.alfi[i]) / with.beta[i]);
      y.push_back(Complex(without.alfr[i], without.alfi[i]) / without.beta[i]);
    }
    EXPECT_LT(largest_mismatch(x, y), 1e-11) << n;
  }
}

TEST(Qz, RandomPairsAgreeWithLapackAndSolveTheProblem) {
  std::mt19937 engine(20240);
  for (int n : {2, 3, 4, 5, 7, 10, 16, 25, 40}) {
    for (int repeat = 0; repeat < 8; ++repeat) {
      const Values a = random_matrix(n, engine);
      const Values b = random_matrix(n, engine);
      const Eigenpairs p(n, a, b);
      ASSERT_EQ(p.ierr, 0);
      std::vector<Complex> found;
      for (int j = 0; j < n; ++j) {
        const auto k = static_cast<std::size_t>(j);
        const Complex alpha(p.alfr[k], p.alfi[k]);
        found.push_back(alpha / p.beta[k]);
        const std::vector<Complex> x = p.vector(j);
        double largest = 0.0;
        for (int i = 0; i < n; ++i) {
          Complex residual = 0.0;
          double size = 0.0;
          for (int c = 0; c < n; ++c) {
            const auto at = static_cast<std::size_t>(c * n + i);
            residual += (p.beta[k] * a[at] - alpha * b[at]) * x[static_cast<std::size_t>(c)];
            size += (p.beta[k] * std::abs(a[at]) + std::abs(alpha) * std::abs(b[at])) *
                    std::abs(x[static_cast<std::size_t>(c)]);
          }
          EXPECT_LT(std::abs(residual), 1e-11 * size);
          const Complex component = x[static_cast<std::size_t>(i)];
          largest = std::max(largest, std::abs(component.real()) + std::abs(component.imag()));
        }
        EXPECT_NEAR(largest, 1.0, 1e-15);
      }
      EXPECT_LT(largest_mismatch(found, eigenvalues_of_lapack(n, a, b)), 1e-9) << n;
    }
  }
}

TEST(Qz, SymmetricDefinitePairsAgreeWithLapack) {
  std::mt19937 engine(5);
  for (int n : {2, 3, 6, 12, 30, 60}) {
    const Values a = random_positive_matrix(n, 0.0, engine);
    const Values b = random_positive_matrix(n, 1.0, engine);
    const Eigenpairs p(n, a, b);
    Values a_copy = a;
    Values b_copy = b;
    Values expected(static_cast<std::size_t>(n));
    ASSERT_EQ(LAPACKE_dsygv(LAPACK_COL_MAJOR, 1, 'N', 'U', n, a_copy.data(), n, b_copy.data(), n, expected.data()), 0);
    Values found;
    for (std::size_t i = 0; i < expected.size(); ++i) {
      found.push_back(p.alfr[i] / p.beta[i]);
      EXPECT_NEAR(p.alfi[i], 0.0, 1e-9 * std::abs(p.alfr[i]) + 1e-12);
    }
    std::sort(found.begin(), found.end());
    for (std::size_t i = 0; i < expected.size(); ++i)
      EXPECT_NEAR(found[i], expected[i], 1e-11 * expected.back()) << n << " " << i;
  }
}

}  // namespace
}  // namespace sbrtest
