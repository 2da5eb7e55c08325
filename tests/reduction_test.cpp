// Reductions of a chain of equal masses and springs, whose eigenvalues and static answers are known in closed form;
// with the interface as it is, as interface modes, as a row that others follow, and with residual modes.
#include "common/reduction.h"

#include <gmock/gmock.h>

#include <cmath>
#include <numbers>

namespace sbrtest {
namespace {

using sbrtranslate::DependentRow;
using sbrtranslate::Dof;
using sbrtranslate::MatrixEntry;
using sbrtranslate::Reduction;
using sbrtranslate::ReductionRequest;
using sbrtranslate::RigidRow;

constexpr double kSpring = 1000.0;
constexpr double kMass = 2.0;

// Masses 0 to n + 1 along x, the first and the last held.
class ChainTest : public ::testing::Test {
 protected:
  explicit ChainTest(int interior = 20) : n(interior) {
    for (int i = 0; i <= n + 1; ++i) {
      dofs.push_back({i + 1, 1});
      held.push_back(i == 0 || i == n + 1 ? 1 : 0);
      rigid.push_back(RigidRow{1, 0, 0, 0, 0, 0});
      mass.push_back({i, i, kMass});
      stiffness.push_back({i, i, i == 0 || i == n + 1 ? kSpring : 2 * kSpring});
      if (i <= n) stiffness.push_back({i, i + 1, -kSpring});
    }
  }
  [[nodiscard]] ReductionRequest request(int normal) const {
    ReductionRequest made;
    made.dofs = dofs;
    made.held = held;
    made.normal = normal;
    made.mass_entries = &mass;
    made.stiffness_entries = &stiffness;
    return made;
  }
  // 2 k / m (1 - cos(j pi / (n + 1))): the chain between two walls.
  [[nodiscard]] double eigenvalue(int j) const {
    return 2.0 * kSpring / kMass * (1.0 - std::cos(j * std::numbers::pi / (n + 1)));
  }
  [[nodiscard]] static double value(const Reduction &reduction, const std::vector<double> &matrix, int r, int c) {
    return matrix[static_cast<std::size_t>(r) * static_cast<std::size_t>(reduction.count()) +
                  static_cast<std::size_t>(c)];
  }
  int n;
  std::vector<Dof> dofs;
  std::vector<char> held;
  std::vector<RigidRow> rigid;
  std::vector<MatrixEntry> mass, stiffness;
};

double hertz(double eigenvalue) { return std::sqrt(eigenvalue) / (2.0 * std::numbers::pi); }

TEST_F(ChainTest, NormalModesAreThoseOfTheChainBetweenWallsAndConstraintModesAreStraight) {
  const Reduction reduction = reduce_matrices(request(6));
  ASSERT_EQ(reduction.constraint_modes, 2);
  ASSERT_EQ(reduction.normal_modes, 6);
  for (int j = 1; j <= 6; ++j)
    EXPECT_NEAR(reduction.normal_hz[static_cast<std::size_t>(j - 1)], hertz(eigenvalue(j)), 1e-9);
  std::vector<double> shape;
  reduction.shape(0, shape);
  for (int i = 0; i <= n + 1; ++i)
    EXPECT_NEAR(shape[static_cast<std::size_t>(i)] / shape[0], 1.0 - i / (n + 1.0), 1e-12);
  // The condensed chain is one spring of n + 1 in a row, in the scale of the modes.
  EXPECT_NEAR(value(reduction, reduction.stiffness, 0, 1) / (shape[0] * shape[0]), -kSpring / (n + 1), 1e-9);
  for (int i = 0; i < 8; ++i) EXPECT_NEAR(value(reduction, reduction.mass, i, i), 1.0, 1e-12);
}

TEST_F(ChainTest, EffectiveMassesAreThoseOfTheSinesAndAddUpToTheMassBetweenTheWalls) {
  ReductionRequest all = request(19);
  all.rigid = rigid;
  const Reduction reduction = reduce_matrices(all);
  EXPECT_NEAR(reduction.total_mass[0], kMass * (n + 2), 1e-12);
  double sum = 0.0;
  for (int j = 1; j <= 19; ++j) {
    double participation = 0.0;
    for (int i = 1; i <= n; ++i)
      participation += std::sqrt(2.0 * kMass / (n + 1)) * std::sin(i * j * std::numbers::pi / (n + 1));
    const double effective = reduction.effective_mass[static_cast<std::size_t>(j - 1)][0];
    EXPECT_NEAR(effective, participation * participation, 1e-9);
    sum += effective;
  }
  EXPECT_NEAR(sum, kMass * n, 1e-6);
}

TEST_F(ChainTest, ModesUpToAFrequencyAreAllBelowIt) {
  ReductionRequest some = request(0);
  some.normal.reset();
  some.max_hz = 0.5 * (hertz(eigenvalue(4)) + hertz(eigenvalue(5)));
  EXPECT_EQ(reduce_matrices(some).normal_modes, 4);
  some.normal = 3;
  EXPECT_EQ(reduce_matrices(some).normal_modes, 3);
}

TEST_F(ChainTest, InterfaceModesAreTheEigenmodesOfTheCondensedChain) {
  ReductionRequest modes = request(2);
  modes.interface_modes = 2;
  const Reduction reduction = reduce_matrices(modes);
  ASSERT_EQ(reduction.interface_hz.size(), 2u);
  // In the rigid mode and the symmetric stretch, u = +-(1 - 2 i / (n + 1)), with k = 4 kSpring / (n + 1).
  double stretch = 0.0;
  for (int i = 0; i <= n + 1; ++i) stretch += kMass * std::pow(1.0 - 2.0 * i / (n + 1.0), 2);
  EXPECT_NEAR(reduction.interface_hz[0], 0.0, 1e-4);
  EXPECT_NEAR(reduction.interface_hz[1], hertz(4.0 * kSpring / (n + 1) / stretch), 1e-9);
  modes.interface_modes = 3;
  EXPECT_THROW(reduce_matrices(modes), std::runtime_error);
}

// With the normal modes and a residual attachment mode the body answers a force on that row exactly: the flexibility is
// that of a string of springs, (i (n + 1 - i)) / ((n + 1) k).
TEST_F(ChainTest, AResidualAttachmentModeMakesTheStaticAnswerToItsForceExact) {
  for (const bool residual : {false, true}) {
    ReductionRequest with = request(2);
    const int row = 7;
    if (residual) with.attachments = {row};
    const Reduction reduction = reduce_matrices(with);
    EXPECT_EQ(reduction.residual_modes, residual ? 1 : 0);
    double flexibility = 0.0;
    std::vector<double> shape;
    for (int mode = 2; mode < reduction.count(); ++mode) {
      reduction.shape(mode, shape);
      flexibility += shape[row] * shape[row] / value(reduction, reduction.stiffness, mode, mode);
      EXPECT_EQ(shape[0], 0.0);
    }
    const double exact = row * (n + 1.0 - row) / ((n + 1) * kSpring);
    if (residual)
      EXPECT_NEAR(flexibility, exact, 1e-12);
    else
      EXPECT_LT(flexibility, 0.95 * exact);
  }
}

TEST_F(ChainTest, ResidualInertiaModesCarryTheRestOfTheStaticAnswerToAnAcceleration) {
  ReductionRequest with = request(1);
  with.rigid = rigid;
  with.residual_inertia = true;
  const Reduction reduction = reduce_matrices(with);
  // Accelerations along y and z, and turns, do not load this chain.
  ASSERT_EQ(reduction.residual_modes, 1);
  // The deflection of row i under the inertia of a unit acceleration: m i (n + 1 - i) / (2 k).
  std::vector<double> deflection(dofs.size(), 0.0);
  std::vector<double> shape;
  for (int mode = 2; mode < reduction.count(); ++mode) {
    reduction.shape(mode, shape);
    double work = 0.0;
    for (std::size_t i = 1; i + 1 < shape.size(); ++i) work += kMass * shape[i];
    for (std::size_t i = 0; i < shape.size(); ++i)
      deflection[i] += work * shape[i] / value(reduction, reduction.stiffness, mode, mode);
  }
  for (int i = 0; i <= n + 1; ++i)
    EXPECT_NEAR(deflection[static_cast<std::size_t>(i)], kMass * i * (n + 1.0 - i) / (2.0 * kSpring), 1e-10);
}

// A row that follows another moves with it, and what it weighs goes along: two chains with their first masses tied are
// one chain of the outer two.
TEST_F(ChainTest, DependentRowsFollowAndTheirStiffnessAndMassGoAlong) {
  ReductionRequest tied = request(3);
  std::vector<Dof> more = dofs;
  std::vector<char> interface = held;
  more.push_back({99, 1});  // the reference: row 0 and the last row are half of it
  interface.push_back(1);
  interface[0] = 0;
  interface[static_cast<std::size_t>(n) + 1] = 0;
  tied.dofs = more;
  tied.held = interface;
  tied.file_rows = dofs.size();
  tied.dependent = {DependentRow{0, {{n + 2, 0.5}}}, DependentRow{n + 1, {{n + 2, 0.5}}}};
  const Reduction reduction = reduce_matrices(tied);
  ASSERT_EQ(reduction.constraint_modes, 1);
  std::vector<double> shape;
  reduction.shape(0, shape);
  for (int i = 0; i <= n + 1; ++i)
    EXPECT_NEAR(shape[static_cast<std::size_t>(i)], 0.5 * shape[static_cast<std::size_t>(n) + 2], 1e-12);
  // A rigid motion: no stiffness, and a quarter of all mass by the square of the reference.
  EXPECT_NEAR(value(reduction, reduction.stiffness, 0, 0), 0.0, 1e-9);
  EXPECT_NEAR(std::pow(shape[static_cast<std::size_t>(n) + 2], -2), 0.25 * kMass * (n + 2), 1e-9);
  EXPECT_NEAR(reduction.normal_hz[0], hertz(eigenvalue(1)), 1e-9);
}

TEST_F(ChainTest, AMechanismIsToldWithItsPlace) {
  std::vector<MatrixEntry> loose = stiffness;
  for (MatrixEntry &entry : loose)
    if (entry.row == 9 || entry.column == 9) entry.value = 0.0;
  loose[0].value = kSpring;
  ReductionRequest bad = request(2);
  bad.stiffness_entries = &loose;
  try {
    reduce_matrices(bad);
    FAIL() << "a singular stiffness was taken";
  } catch (const std::runtime_error &error) {
    EXPECT_NE(std::string(error.what()).find("singular"), std::string::npos) << error.what();
  }
}

TEST_F(ChainTest, ProgressEndsEachStepAndTheCostIsTold) {
  ReductionRequest told = request(3);
  std::string steps;
  told.progress = [&](const sbrtranslate::ReductionProgress &progress) {
    EXPECT_GE(progress.done, 0.0);
    EXPECT_LE(progress.done, 1.0);
    if (progress.done == 1.0) steps += std::string(progress.step) + ";";
  };
  const Reduction reduction = reduce_matrices(told);
  EXPECT_NE(steps.find("factorizing the stiffness;"), std::string::npos) << steps;
  EXPECT_NE(steps.find("constraint modes;"), std::string::npos) << steps;
  EXPECT_EQ(reduction.cost.rows, n);
  EXPECT_GE(reduction.cost.solutions, 3);
}

}  // namespace
}  // namespace sbrtest
