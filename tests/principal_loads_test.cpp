// Preloads and loads carried to the principal axes.
#include <algorithm>
#include <cmath>
#include <random>

#include "support/body_state.h"
#include "support/body_view.h"
#include "support/principal_axes.h"

namespace sbrtest {
namespace {

using PrincipalLoads = PrincipalAxes;

const Message kIgnoredPreload = warning("SBR contains a preload with a rigid body component which is being ignored");

Message few_rigid_modes(int count) {
  return warning("SBR only contains " + std::to_string(count) +
                 " rigid body modes.\n  The resultant load vector will be mishandled.\n");
}

// ---- preloads and loads --------------------------------------------------------------------------------------------

std::vector<double> random_vector(int count) {
  std::mt19937 generator(9);
  std::uniform_real_distribution<double> uniform(1.0, 2.0);
  std::vector<double> values(static_cast<std::size_t>(count));
  for (double &value : values) value = uniform(generator);
  return values;
}

void enter_load(SBR body, const MassBody &mass, int load_case, const std::vector<double> &f) {
  for (std::size_t j = 0; j < f.size(); ++j) SBR_SetModalLoad(body, load_case, mass.mode_numbers[j], f[j]);
}

void enter_preload(SBR body, const MassBody &mass, const std::vector<double> &f) {
  for (std::size_t j = 0; j < f.size(); ++j) SBR_SetModalPreload(body, mass.mode_numbers[j], f[j]);
}

constexpr double kGeneralizedMasses[6] = {2.0, 3.0, 0.5, 1.25, 4.0, 5.0};

// Force and moment of the accelerations that the rigid modes make of a modal vector.
std::vector<Exact> by_mass(const MassBody &mass, const std::vector<double> &f, std::size_t rigid) {
  std::vector<Exact> six(6);
  for (std::size_t k = 0; k < mass.nodes.size(); ++k) {
    Vector3 force{};
    for (std::size_t i = 0; i < rigid; ++i)
      force = force + (f[i] * mass.nodes[k].mass / kGeneralizedMasses[i]) * mass.phi(k, i);
    const auto motions = rigid_motions(mass.nodes[k].r());
    for (std::size_t a = 0; a < 6; ++a) six[a] += dot(motions[a], force);
  }
  return six;
}

void expect_values(const std::vector<double> &actual, const std::vector<double> &f, const std::vector<Exact> &head,
                   std::size_t written) {
  ASSERT_EQ(actual.size(), f.size());
  for (std::size_t j = 0; j < f.size(); ++j)
    EXPECT_NEAR(actual[j], j < written ? static_cast<double>(head[j]) : f[j], 1e-10) << j;
}

TEST_F(PrincipalLoads, LoadsBecomeForceAndMomentThroughTheNodalMasses) {
  SBR body = make(10, 6);
  const std::vector<double> f = random_vector(10);
  enter_load(body, mass, 0, f);
  SBR_RigidBodyForcesOnPrincipalAxes(body);
  expect_values(modal_load_of(body, 0), f, by_mass(mass, f, 6), 6);
  EXPECT_EQ(SBR_ModalLoadProcessed(body, 0), 1);
  EXPECT_TRUE(log.take().empty());
}

TEST_F(PrincipalLoads, MassWeightedProjectionWritesAllSixEntriesAndWarnsOfFewRigidModes) {
  SBR body = make(10, 4);
  const std::vector<double> f = random_vector(10);
  enter_load(body, mass, 0, f);
  SBR_RigidBodyForcesOnPrincipalAxes(body);
  expect_values(modal_load_of(body, 0), f, by_mass(mass, f, 4), 6);
  EXPECT_EQ(log.take(), std::vector<Message>{few_rigid_modes(4)});
}

TEST_F(PrincipalLoads, MassWeightedProjectionStaysInsideAShortVector) {
  SBR body = make(3, 0);
  set_frequencies(body, {0, 0, 50});
  enter_load(body, mass, 0, {1, 2, 3});
  SBR_RigidBodyForcesOnPrincipalAxes(body);
  EXPECT_EQ(modal_load_of(body, 0).size(), 3U);
  EXPECT_EQ(log.take(), std::vector<Message>{few_rigid_modes(2)});
}

TEST_F(PrincipalLoads, EveryCaseIsCarriedOnce) {
  SBR body = make(10, 6);
  const std::vector<double> f = random_vector(10);
  enter_load(body, mass, 0, f);
  enter_load(body, mass, 1, f);
  SBR_SetModalLoadProcessed(body, 0, 1);
  SBR_RigidBodyForcesOnPrincipalAxes(body);
  expect_values(modal_load_of(body, 0), f, {}, 0);
  expect_values(modal_load_of(body, 1), f, by_mass(mass, f, 6), 6);
  SBR_RigidBodyForcesOnPrincipalAxes(body);
  expect_values(modal_load_of(body, 1), f, by_mass(mass, f, 6), 6);
  EXPECT_TRUE(log.take().empty());
}

TEST_F(PrincipalLoads, RepeatingTheCallWarnsAgainOfFewRigidModesOnly) {
  SBR body = make(10, 4);
  enter_load(body, mass, 0, random_vector(10));
  enter_preload(body, mass, random_vector(10));
  SBR_RigidBodyForcesOnPrincipalAxes(body);
  const double before = modal_load_of(body, 0)[0];
  log.clear();
  SBR_RigidBodyForcesOnPrincipalAxes(body);
  EXPECT_EQ(log.take(), std::vector<Message>{few_rigid_modes(4)});
  EXPECT_EQ(modal_load_of(body, 0)[0], before);
}

TEST_F(PrincipalLoads, APreloadIsCarriedWithOneWarningPerRigidEntry) {
  SBR body = make(10, 6);
  const std::vector<double> f = random_vector(10);
  enter_preload(body, mass, f);
  SBR_RigidBodyForcesOnPrincipalAxes(body);
  expect_values(modal_preload_of(body), f, by_mass(mass, f, 6), 6);
  EXPECT_EQ(SBR_ModalPreloadProcessed(body), 1);
  EXPECT_EQ(log.take(), std::vector<Message>(6, kIgnoredPreload));
  SBR_RigidBodyForcesOnPrincipalAxes(body);
  EXPECT_TRUE(log.take().empty());
}

TEST_F(PrincipalLoads, APreloadOfSmallRigidEntriesRaisesNoWarning) {
  SBR body = make(10, 6);
  std::vector<double> f(10, 1.0);
  std::fill_n(f.begin(), 6, 1e-15);
  enter_preload(body, mass, f);
  SBR_RigidBodyForcesOnPrincipalAxes(body);
  EXPECT_TRUE(log.take().empty());
  for (std::size_t j = 0; j < 6; ++j) EXPECT_EQ(modal_preload_of(body)[j], 0.0);
  EXPECT_EQ(modal_preload_of(body)[6], 1.0);
}

TEST_F(PrincipalLoads, WithoutLoadsFewRigidModesAreNoConcern) {
  SBR body = make(10, 4);
  SBR_RigidBodyForcesOnPrincipalAxes(body);
  EXPECT_TRUE(log.take().empty());
}

TEST_F(PrincipalLoads, LoadsOfANullBodyAreRefused) {
  SBR_RigidBodyForcesOnPrincipalAxes(nullptr);
  EXPECT_EQ(log.take(), std::vector<Message>{kNoBody});
}

// ---- the form without nodal masses ---------------------------------------------------------------------------------

// Solves A x = b for each column of b by elimination with exact pivots in long double.
Dense solve(Dense A, Dense b) {
  const std::size_t n = A.size();
  for (std::size_t k = 0; k < n; ++k) {
    std::size_t p = k;
    for (std::size_t i = k; i < n; ++i)
      if (std::fabs(A[i][k]) > std::fabs(A[p][k])) p = i;
    std::swap(A[k], A[p]);
    std::swap(b[k], b[p]);
    for (std::size_t i = 0; i < n; ++i) {
      if (i == k) continue;
      const Exact factor = A[i][k] / A[k][k];
      for (std::size_t j = 0; j < n; ++j) A[i][j] -= factor * A[k][j];
      for (std::size_t j = 0; j < b[0].size(); ++j) b[i][j] -= factor * b[k][j];
    }
  }
  for (std::size_t i = 0; i < n; ++i)
    for (Exact &value : b[i]) value /= A[i][i];
  return b;
}

// Each mode fitted by six motions over all nodes, six equations per node, and weighted with the global mass matrix.
// The rotations of the fit run the other way round the axes than those of rigid_motions.
std::vector<Exact> by_fit(const MassBody &mass, const std::vector<double> &f, std::size_t rigid) {
  Dense A = dense(6, 6);
  Dense B = dense(6, rigid);
  for (std::size_t k = 0; k < mass.nodes.size(); ++k) {
    const auto motions = rigid_motions(mass.nodes[k].r());
    for (std::size_t a = 0; a < 6; ++a) {
      const Vector3 t = a < 3 ? motions[a] : -1.0L * motions[a];
      for (std::size_t b = 0; b < 6; ++b)
        A[a][b] += dot(t, b < 3 ? motions[b] : -1.0L * motions[b]) + (a == b && a > 2);
      for (std::size_t i = 0; i < rigid; ++i)
        B[a][i] += dot(t, mass.phi(k, i)) + (a > 2 ? mass.theta(k, i)[a - 3] : 0.0L);
    }
  }
  const Dense fit = solve(A, B);
  const Exact m = mass.invariant1();
  const Vector3 moment = mass.invariant2();  // m times the center
  const Matrix3 I = mass.invariant7();
  Dense G = dense(6, 6);
  for (std::size_t a = 0; a < 3; ++a) {
    G[a][a] = m;
    for (std::size_t b = 0; b < 3; ++b) {
      G[a][3 + b] = -skew(moment)[a][b];
      G[3 + b][a] = -skew(moment)[a][b];
      G[3 + a][3 + b] = a == b ? I[a][b] : -I[a][b];  // positive products of inertia
    }
  }
  std::vector<Exact> R(6);
  for (std::size_t a = 0; a < 6; ++a)
    for (std::size_t b = 0; b < 6; ++b)
      for (std::size_t i = 0; i < rigid; ++i) R[a] += G[a][b] * fit[b][i] * f[i] / kGeneralizedMasses[i];
  return R;
}

TEST_F(PrincipalLoads, WithTheEnvironmentSetRigidModesAreFittedByRigidMotions) {
  const ScopedEnvironment no_mass("KTX_MFORCE_NO_FEA_MASS", "");
  SBR body = make(10, 6);
  const std::vector<double> f = random_vector(10);
  enter_load(body, mass, 0, f);
  SBR_RigidBodyForcesOnPrincipalAxes(body);
  expect_values(modal_load_of(body, 0), f, by_fit(mass, f, 6), 6);
}

TEST_F(PrincipalLoads, FittedProjectionWritesTheRigidEntriesOnly) {
  const ScopedEnvironment no_mass("KTX_MFORCE_NO_FEA_MASS", "yes");
  SBR body = make(10, 4);
  const std::vector<double> f = random_vector(10);
  enter_load(body, mass, 0, f);
  SBR_RigidBodyForcesOnPrincipalAxes(body);
  expect_values(modal_load_of(body, 0), f, by_fit(mass, f, 4), 4);
  EXPECT_EQ(log.take(), std::vector<Message>{few_rigid_modes(4)});
}

TEST_F(PrincipalLoads, WithoutNodalMassesRigidModesAreFitted) {
  SBR body = make(10, 6);
  SBR_CalculateGlobalMassFromNodeMass(body);
  state::set_block(body, sbr::kNodalMasses, false);
  const std::vector<double> f = random_vector(10);
  enter_load(body, mass, 0, f);
  SBR_RigidBodyForcesOnPrincipalAxes(body);
  expect_values(modal_load_of(body, 0), f, by_fit(mass, f, 6), 6);
}

TEST_F(PrincipalLoads, AFitThatFailsLeavesTheVectorAndSetsItsFlag) {
  const ScopedEnvironment no_mass("KTX_MFORCE_NO_FEA_MASS", "1");
  SBR body = SBR_Create(1, 7);
  for (int number = 1; number <= 7; ++number) SBR_SetModalLoad(body, 0, number, 1.0);
  set_frequencies(body, frequencies(7, 6));
  SBR_RigidBodyForcesOnPrincipalAxes(body);
  EXPECT_EQ(log.take(), std::vector<Message>{error("LU Decomposition failed.\n")});
  EXPECT_GT(modal_load_of(body, 0).size(), 0U);
  for (const double value : modal_load_of(body, 0)) EXPECT_EQ(value, 1.0);
  EXPECT_EQ(SBR_ModalLoadProcessed(body, 0), 1);
}

}  // namespace
}  // namespace sbrtest
