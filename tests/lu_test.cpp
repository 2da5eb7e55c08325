// LU decomposition with pivoting, solution and inversion.
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "support/messages.h"

namespace sbrtest {
namespace {

class LuTest : public LibraryTest {};

struct Matrix {
  explicit Matrix(std::vector<std::vector<double>> values) : rows(std::move(values)) {
    for (auto &row : rows) pointers.push_back(row.data());
  }
  [[nodiscard]] int n() const { return static_cast<int>(rows.size()); }
  std::vector<std::vector<double>> rows;
  std::vector<double *> pointers;
};

TEST_F(LuTest, AZeroMatrixIsSingularAtTheFirstPivot) {
  Matrix zero({{0, 0}, {0, 0}});
  int permutation[2] = {-1, -1};
  EXPECT_EQ(SBR_LUPDecomposition(zero.pointers.data(), 2, permutation), 0);
  EXPECT_EQ(permutation[0], 0);
  EXPECT_EQ(permutation[1], 1);
}

TEST_F(LuTest, AnExchangeMatrixIsItsOwnInverse) {
  Matrix swap({{0, 1}, {1, 0}});
  int permutation[2];
  ASSERT_EQ(SBR_LUPDecomposition(swap.pointers.data(), 2, permutation), 1);
  EXPECT_EQ(permutation[0], 1);
  EXPECT_EQ(permutation[1], 0);
  EXPECT_EQ(swap.rows, (std::vector<std::vector<double>>{{1, 0}, {0, 1}}));
  ASSERT_EQ(SBR_LUPInvert(swap.pointers.data(), 2, permutation), 1);
  EXPECT_EQ(swap.rows, (std::vector<std::vector<double>>{{0, 1}, {1, 0}}));
}

TEST_F(LuTest, TheFirstOfEqualPivotsWins) {
  Matrix matrix({{1, 2}, {-1, 3}});
  int permutation[2];
  ASSERT_EQ(SBR_LUPDecomposition(matrix.pointers.data(), 2, permutation), 1);
  EXPECT_EQ(permutation[0], 0);
  EXPECT_EQ(matrix.rows, (std::vector<std::vector<double>>{{1, 2}, {-1, 5}}));
}

TEST_F(LuTest, LowerAndUpperFactorsStandInPlace) {
  Matrix matrix({{2, 4, 2}, {4, 4, 8}, {1, 3, 9}});
  int permutation[3];
  ASSERT_EQ(SBR_LUPDecomposition(matrix.pointers.data(), 3, permutation), 1);
  EXPECT_EQ(permutation[0], 1);
  EXPECT_EQ(permutation[1], 0);
  EXPECT_EQ(matrix.rows, (std::vector<std::vector<double>>{{4, 4, 8}, {0.5, 2, -2}, {0.25, 1, 9}}));
}

TEST_F(LuTest, OrderOneIsAcceptedWhateverItsValue) {
  Matrix zero(std::vector<std::vector<double>>{{0.0}});
  int permutation[1] = {-1};
  EXPECT_EQ(SBR_LUPDecomposition(zero.pointers.data(), 1, permutation), 1);
  EXPECT_EQ(permutation[0], 0);
}

TEST_F(LuTest, ALastPivotOfZeroPassesAndShowsInTheSolution) {
  Matrix singular({{1, 2}, {2, 4}});
  int permutation[2];
  EXPECT_EQ(SBR_LUPDecomposition(singular.pointers.data(), 2, permutation), 1);
  double b[2] = {1.0, 1.0};
  EXPECT_EQ(SBR_LUPSolve(singular.pointers.data(), 2, permutation, b), 1);
  EXPECT_FALSE(std::isfinite(b[1]));
}

TEST_F(LuTest, SolutionSatisfiesTheEquations) {
  const std::vector<std::vector<double>> values{{0, 2, 1}, {1, -2, -3}, {-1, 1, 2}};
  Matrix matrix(values);
  int permutation[3];
  ASSERT_EQ(SBR_LUPDecomposition(matrix.pointers.data(), 3, permutation), 1);
  const int before[3] = {permutation[0], permutation[1], permutation[2]};
  double x[3] = {-8.0, 0.0, 3.0};
  ASSERT_EQ(SBR_LUPSolve(matrix.pointers.data(), 3, permutation, x), 1);
  const double b[3] = {-8.0, 0.0, 3.0};
  for (std::size_t i = 0; i < 3; ++i)
    EXPECT_NEAR(values[i][0] * x[0] + values[i][1] * x[1] + values[i][2] * x[2], b[i], 1e-14);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(permutation[i], before[i]);
}

TEST_F(LuTest, InverseTimesTheMatrixIsTheUnitMatrixAtOrderSix) {
  std::mt19937 generator(1);
  std::uniform_real_distribution<double> uniform(-1.0, 1.0);
  for (int trial = 0; trial < 50; ++trial) {
    std::vector<std::vector<double>> values(6, std::vector<double>(6));
    for (auto &row : values)
      for (double &value : row) value = uniform(generator);
    for (std::size_t i = 0; i < 6; ++i) values[i][i] += i % 2 == 0 ? 4.0 : -4.0;
    Matrix matrix(values);
    int permutation[6];
    ASSERT_EQ(SBR_LUPDecomposition(matrix.pointers.data(), 6, permutation), 1);
    ASSERT_EQ(SBR_LUPInvert(matrix.pointers.data(), 6, permutation), 1);
    for (std::size_t i = 0; i < 6; ++i)
      for (std::size_t j = 0; j < 6; ++j) {
        double sum = 0.0;
        for (std::size_t k = 0; k < 6; ++k) sum += values[i][k] * matrix.rows[k][j];
        EXPECT_NEAR(sum, i == j ? 1.0 : 0.0, 1e-13);
      }
  }
}

TEST_F(LuTest, AnOrderOfZeroFailsForWantOfMemory) {
  int permutation[1] = {0};
  double b[1] = {};
  EXPECT_EQ(SBR_LUPSolve(nullptr, 0, permutation, b), 0);
  EXPECT_EQ(SBR_LUPInvert(nullptr, 0, permutation), 0);
  EXPECT_EQ(SBR_LUPSolve(nullptr, -3, permutation, b), 0);
  const std::vector<Message> messages = log.take();
  ASSERT_EQ(messages.size(), 3U);
  for (const Message &message : messages) EXPECT_TRUE(is_no_memory(message, "sbrtools")) << message.text;
}

TEST_F(LuTest, MissingRowsAndForeignPermutationsAreRefused) {
  Matrix unit({{1, 0}, {0, 1}});
  int permutation[2] = {0, 2};
  double b[2] = {1, 1};
  EXPECT_EQ(SBR_LUPSolve(unit.pointers.data(), 2, permutation, b), 0);
  EXPECT_EQ(SBR_LUPInvert(unit.pointers.data(), 2, permutation), 0);
  EXPECT_EQ(SBR_LUPSolve(nullptr, 2, permutation, b), 0);
  EXPECT_EQ(SBR_LUPSolve(unit.pointers.data(), 2, nullptr, b), 0);
  EXPECT_EQ(SBR_LUPDecomposition(nullptr, 2, permutation), 0);
  EXPECT_EQ(SBR_LUPDecomposition(unit.pointers.data(), 2, nullptr), 0);
  double *gap[2] = {unit.rows[0].data(), nullptr};
  EXPECT_EQ(SBR_LUPDecomposition(gap, 2, permutation), 0);
  EXPECT_EQ(unit.rows, (std::vector<std::vector<double>>{{1, 0}, {0, 1}}));
}

}  // namespace
}  // namespace sbrtest
