// Damping, preloads and loads carried to the principal axes.
#include <algorithm>
#include <cmath>
#include <random>

#include "body/body.h"
#include "support/files.h"
#include "support/mass_body.h"
#include "support/messages.h"

namespace sbrtest {
namespace {

using Dense = std::vector<std::vector<Exact>>;

const Message kNoBody = error("The database has not been initialized.");
const Message kIgnoredPreload = warning("SBR contains a preload with a rigid body component which is being ignored");

Message few_rigid_modes(int count) {
  return warning("SBR only contains " + std::to_string(count) +
                 " rigid body modes.\n  The resultant load vector will be mishandled.\n");
}

Dense dense(std::size_t rows, std::size_t columns) { return Dense(rows, std::vector<Exact>(columns)); }

Dense multiply(const Dense &a, const Dense &b) {
  Dense product = dense(a.size(), b[0].size());
  for (std::size_t i = 0; i < a.size(); ++i)
    for (std::size_t k = 0; k < b.size(); ++k)
      for (std::size_t j = 0; j < b[0].size(); ++j) product[i][j] += a[i][k] * b[k][j];
  return product;
}

// The six rigid motions of a node, as rows: translations, then rotations about the axes.
std::array<Vector3, 6> rigid_motions(const Vector3 &r) {
  std::array<Vector3, 6> motions{};
  for (std::size_t c = 0; c < 3; ++c) {
    motions[c][c] = 1;
    Vector3 axis{};
    axis[c] = 1;
    motions[3 + c] = cross(axis, r);
  }
  return motions;
}

// The first `rigid` frequencies are zero, the others well above; ten modes are enough for a seventh.
std::vector<double> frequencies(int modes, int rigid) {
  std::vector<double> hz;
  for (int i = 0; i < modes; ++i) hz.push_back(i < rigid ? 0.0 : 100.0 + i);
  return hz;
}

class PrincipalAxes : public LibraryTest {
 protected:
  SBR make(int modes, int rigid, unsigned seed = 31) {
    mass = random_mass_body(seed, 25, modes);
    SBR body = mass.build();
    set_frequencies(body, frequencies(modes, rigid), {2.0, 3.0, 0.5, 1.25, 4.0, 5.0});
    log.clear();
    return body;
  }
  MassBody mass;
  const ScopedEnvironment no_threshold{"SBR_RIGID_BODY_THRESHOLD", std::nullopt};
  const ScopedEnvironment with_mass{"KTX_MFORCE_NO_FEA_MASS", std::nullopt};
};

// ---- damping -------------------------------------------------------------------------------------------------------

// A random symmetric damping matrix, entered as its upper triangle.
Dense enter_damping(SBR body, const MassBody &mass) {
  std::mt19937 generator(5);
  std::uniform_real_distribution<double> uniform(0.1, 1.0);
  const auto modes = static_cast<std::size_t>(mass.mode_count());
  Dense D = dense(modes, modes);
  for (std::size_t i = 0; i < modes; ++i)
    for (std::size_t j = i; j < modes; ++j) {
      const double value = uniform(generator);
      D[i][j] = D[j][i] = value;
      SBR_SetGeneralizedDamping(body, mass.mode_numbers[i], mass.mode_numbers[j], value);
    }
  return D;
}

// T D T^t, with T the participation of the rigid modes beside the unit matrix of the elastic ones.
Dense projected(const MassBody &mass, const Dense &D, std::size_t rigid) {
  const std::size_t modes = D.size();
  Dense T = dense(modes - rigid + 6, modes);
  for (std::size_t i = 0; i < rigid; ++i) {
    Exact square = 0;
    for (std::size_t k = 0; k < mass.nodes.size(); ++k) {
      const Exact w = mass.nodes[k].mass;
      const auto motions = rigid_motions(mass.nodes[k].r());
      for (std::size_t a = 0; a < 6; ++a) T[a][i] += w * dot(motions[a], mass.phi(k, i));
      square += w * dot(mass.phi(k, i), mass.phi(k, i));
    }
    for (std::size_t a = 0; a < 6; ++a) T[a][i] /= square;
  }
  for (std::size_t i = rigid; i < modes; ++i) T[i - rigid + 6][i] = 1;
  Dense Tt = dense(modes, T.size());
  for (std::size_t i = 0; i < T.size(); ++i)
    for (std::size_t j = 0; j < modes; ++j) Tt[j][i] = T[i][j];
  return multiply(multiply(T, D), Tt);
}

Dense listed(SBR body, std::size_t n) {
  Dense matrix = dense(n, n);
  for (const sbr::SparseEntry &entry : body->matrices.damping)
    matrix[static_cast<std::size_t>(entry.row)][static_cast<std::size_t>(entry.column)] = entry.value;
  return matrix;
}

void expect_near(const Dense &actual, const Dense &expected) {
  for (std::size_t i = 0; i < expected.size(); ++i)
    for (std::size_t j = 0; j < expected.size(); ++j)
      EXPECT_NEAR(static_cast<double>(actual[i][j]), static_cast<double>(expected[i][j]), 1e-12) << i << ' ' << j;
}

TEST_F(PrincipalAxes, DampingOfSixRigidModesKeepsItsSize) {
  SBR body = make(10, 6);
  const Dense D = enter_damping(body, mass);
  ASSERT_EQ(SBR_DampingOnPrincipalAxes(body), 1);
  expect_near(listed(body, 10), projected(mass, D, 6));
  EXPECT_EQ(body->matrices.damping_on_principal_axes, 1);
  EXPECT_TRUE(log.take().empty());
}

TEST_F(PrincipalAxes, DampingOfThreeRigidModesGrowsByThree) {
  SBR body = make(8, 3);
  const Dense D = enter_damping(body, mass);
  ASSERT_EQ(SBR_DampingOnPrincipalAxes(body), 1);
  expect_near(listed(body, 11), projected(mass, D, 3));
}

TEST_F(PrincipalAxes, DampingWithoutRigidModesMovesSixPlacesDown) {
  SBR body = make(8, 0);
  const Dense D = enter_damping(body, mass);
  ASSERT_EQ(SBR_DampingOnPrincipalAxes(body), 1);
  EXPECT_EQ(body->matrices.damping.size(), 64U);
  const Dense moved = listed(body, 14);
  for (std::size_t i = 0; i < 14; ++i)
    for (std::size_t j = 0; j < 14; ++j) EXPECT_EQ(moved[i][j], i < 6 || j < 6 ? 0.0L : D[i - 6][j - 6]);
}

TEST_F(PrincipalAxes, DampingIsListedRowByRowWithoutSmallValues) {
  SBR body = make(8, 0);
  SBR_SetGeneralizedDamping(body, mass.mode_numbers[1], mass.mode_numbers[0], 0.5);
  SBR_SetGeneralizedDamping(body, mass.mode_numbers[2], mass.mode_numbers[2], 1e-10);
  SBR_SetGeneralizedDamping(body, mass.mode_numbers[3], mass.mode_numbers[3], 2e-10);
  ASSERT_EQ(SBR_DampingOnPrincipalAxes(body), 1);
  ASSERT_EQ(SBR_NumberOfGenDamp(body), 3);
  const auto &list = body->matrices.damping;
  EXPECT_EQ(list[0].row, 6);
  EXPECT_EQ(list[0].column, 7);
  EXPECT_EQ(list[1].row, 7);
  EXPECT_EQ(list[1].column, 6);
  EXPECT_EQ(list[2].row, 9);
  EXPECT_EQ(list[2].value, 2e-10);
}

TEST_F(PrincipalAxes, DampingIsCarriedOnce) {
  SBR body = make(10, 6);
  enter_damping(body, mass);
  ASSERT_EQ(SBR_DampingOnPrincipalAxes(body), 1);
  const Dense once = listed(body, 10);
  EXPECT_EQ(SBR_DampingOnPrincipalAxes(body), 1);
  EXPECT_EQ(listed(body, 10), once);
}

TEST_F(PrincipalAxes, WithoutDampingThereIsNothingToCarry) {
  SBR body = make(8, 3);
  EXPECT_EQ(SBR_DampingOnPrincipalAxes(body), 1);
  EXPECT_EQ(body->matrices.damping_on_principal_axes, 0);
}

TEST_F(PrincipalAxes, DampingThatCannotBeCarriedStaysAsItWas) {
  SBR body = SBR_Create(1, 2);
  SBR_SetGeneralizedDamping(body, 1, 2, 0.5);
  EXPECT_EQ(SBR_DampingOnPrincipalAxes(body), 0);  // there are no nodes to project with
  const std::vector<Message> messages = log.take();
  ASSERT_EQ(messages.size(), 1U);
  EXPECT_TRUE(is_no_memory(messages[0], "sbrtools"));
  EXPECT_EQ(SBR_NumberOfGenDamp(body), 1);
  EXPECT_EQ(body->matrices.damping_on_principal_axes, 0);
}

TEST_F(PrincipalAxes, DampingOfANullBodyIsRefused) {
  EXPECT_EQ(SBR_DampingOnPrincipalAxes(nullptr), 0);
  EXPECT_EQ(log.take(), std::vector<Message>{kNoBody});
}

// ---- damping of selected modes -------------------------------------------------------------------------------------

struct Rows {
  explicit Rows(std::size_t n) : values(n, std::vector<double>(n, 99.0)) {
    for (auto &row : values) pointers.push_back(row.data());
  }
  std::vector<std::vector<double>> values;
  std::vector<double *> pointers;
};

// The place of a mode number in a body on principal axes.
std::size_t place_of(SBR body, int number, int rigid) {
  return static_cast<std::size_t>(SBR_ModeIndex(body, number) - rigid + 6);
}

void expect_selected(SBR body, const Rows &rows, const Dense &P, const std::vector<int> &selected, int rigid) {
  std::vector<std::size_t> place{0, 1, 2, 3, 4, 5};
  for (const int number : selected) place.push_back(place_of(body, number, rigid));
  for (std::size_t i = 0; i < place.size(); ++i)
    for (std::size_t j = 0; j < place.size(); ++j)
      EXPECT_NEAR(rows.values[i][j], static_cast<double>(P[place[i]][place[j]]), 1e-12) << i << ' ' << j;
}

TEST_F(PrincipalAxes, SelectedDampingHasTheRigidCoordinatesAndTheModesAskedFor) {
  for (const int rigid : {6, 3}) {
    SBR body = make(10, rigid);
    const Dense D = enter_damping(body, mass);
    std::vector<int> selected(mass.mode_numbers.begin() + 7, mass.mode_numbers.begin() + 10);
    std::sort(selected.begin(), selected.end());
    Rows rows(9);
    ASSERT_EQ(SBR_GenDampPrincipalAndSelected(body, rows.pointers.data(), 3, selected.data()), 1);
    expect_selected(body, rows, projected(mass, D, static_cast<std::size_t>(rigid)), selected, rigid);
    EXPECT_EQ(body->matrices.damping_on_principal_axes, 1);
    EXPECT_TRUE(log.take().empty());
  }
}

TEST_F(PrincipalAxes, SelectedRigidModesAreIgnoredWithAWarning) {
  SBR body = make(10, 6);
  enter_damping(body, mass);
  const int selected[1] = {mass.mode_numbers[2]};
  Rows rows(7);
  ASSERT_EQ(SBR_GenDampPrincipalAndSelected(body, rows.pointers.data(), 1, selected), 1);
  EXPECT_EQ(log.take(),
            std::vector<Message>{warning("Ignoring damping on requested mode " + std::to_string(selected[0]) +
                                         " because it is a rigid body mode.\n")});
  for (std::size_t i = 0; i < 7; ++i) EXPECT_EQ(rows.values[6][i], 0.0);
}

TEST_F(PrincipalAxes, SelectedDampingOfUnknownModesIsZeroAndSilent) {
  SBR body = make(10, 6);
  enter_damping(body, mass);
  const int selected[1] = {4711};
  Rows rows(7);
  EXPECT_EQ(SBR_GenDampPrincipalAndSelected(body, rows.pointers.data(), 1, selected), 1);
  for (std::size_t i = 0; i < 7; ++i) EXPECT_EQ(rows.values[6][i], 0.0);
  EXPECT_TRUE(log.take().empty());
}

TEST_F(PrincipalAxes, SelectedDampingTakesSixRigidModesForMatricesThatAreNotDiagonal) {
  SBR body = make(10, 6);
  body->matrices.damping_on_principal_axes = 1;
  ASSERT_TRUE(body->matrices.damping.push_back({1, 2, 0.5}));  // rows of elastic modes, six places up
  SBR_SetGeneralizedStiffness(body, mass.mode_numbers[0], mass.mode_numbers[1], 1.0);
  std::vector<int> selected{mass.mode_numbers[7], mass.mode_numbers[8]};
  std::sort(selected.begin(), selected.end());
  Rows rows(8);
  ASSERT_EQ(SBR_GenDampPrincipalAndSelected(body, rows.pointers.data(), 2, selected.data()), 1);
  EXPECT_EQ(log.take(),
            std::vector<Message>{warning("Stiffness or mass matrix has off-diagonal terms then the damping matrix will "
                                         "assume the first 6 modes are rigid body modes.")});
  EXPECT_EQ(rows.values[6][7], 0.5);
  EXPECT_EQ(rows.values[7][6], 0.5);
  EXPECT_EQ(rows.values[1][2], 0.0);
}

TEST_F(PrincipalAxes, SelectedDampingWithoutDampingZeroesTheRowsAndFails) {
  SBR body = make(10, 6);
  Rows rows(6);
  EXPECT_EQ(SBR_GenDampPrincipalAndSelected(body, rows.pointers.data(), 0, nullptr), 0);
  EXPECT_EQ(rows.values, std::vector<std::vector<double>>(6, std::vector<double>(6, 0.0)));
  Rows others(6);
  EXPECT_EQ(SBR_GenDampPrincipalAndSelected(nullptr, others.pointers.data(), 0, nullptr), 0);
  EXPECT_EQ(others.values, std::vector<std::vector<double>>(6, std::vector<double>(6, 0.0)));
  EXPECT_EQ(log.take(), std::vector<Message>{kNoBody});
}

TEST_F(PrincipalAxes, SelectedDampingDropsEntriesOutsideTheModeTable) {
  SBR body = make(8, 0);
  body->matrices.damping_on_principal_axes = 1;
  for (const sbr::SparseEntry &entry :
       {sbr::SparseEntry{-1, 2, 1.0}, sbr::SparseEntry{2, 2'000'000'000, 1.0}, sbr::SparseEntry{2, 14, 1.0}})
    ASSERT_TRUE(body->matrices.damping.push_back(entry));
  Rows rows(6);
  EXPECT_EQ(SBR_GenDampPrincipalAndSelected(body, rows.pointers.data(), 0, nullptr), 1);
  EXPECT_EQ(rows.values, std::vector<std::vector<double>>(6, std::vector<double>(6, 0.0)));
}

TEST_F(PrincipalAxes, SelectedDampingRefusesMissingArrays) {
  SBR body = make(8, 0);
  enter_damping(body, mass);
  Rows rows(7);
  EXPECT_EQ(SBR_GenDampPrincipalAndSelected(body, nullptr, 0, nullptr), 0);
  EXPECT_EQ(SBR_GenDampPrincipalAndSelected(body, rows.pointers.data(), 1, nullptr), 0);
  EXPECT_EQ(SBR_GenDampPrincipalAndSelected(body, rows.pointers.data(), -1, nullptr), 0);
  rows.pointers[3] = nullptr;
  EXPECT_EQ(SBR_GenDampPrincipalAndSelected(body, rows.pointers.data(), 0, nullptr), 0);
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

void expect_values(const sbr::Array<double> &actual, const std::vector<double> &f, const std::vector<Exact> &head,
                   std::size_t written) {
  ASSERT_EQ(actual.size(), f.size());
  for (std::size_t j = 0; j < f.size(); ++j)
    EXPECT_NEAR(actual[j], j < written ? static_cast<double>(head[j]) : f[j], 1e-10) << j;
}

TEST_F(PrincipalAxes, LoadsBecomeForceAndMomentThroughTheNodalMasses) {
  SBR body = make(10, 6);
  const std::vector<double> f = random_vector(10);
  enter_load(body, mass, 0, f);
  SBR_RigidBodyForcesOnPrincipalAxes(body);
  expect_values(body->loads.modal[0]->values, f, by_mass(mass, f, 6), 6);
  EXPECT_EQ(SBR_ModalLoadProcessed(body, 0), 1);
  EXPECT_TRUE(log.take().empty());
}

TEST_F(PrincipalAxes, MassWeightedProjectionWritesAllSixEntriesAndWarnsOfFewRigidModes) {
  SBR body = make(10, 4);
  const std::vector<double> f = random_vector(10);
  enter_load(body, mass, 0, f);
  SBR_RigidBodyForcesOnPrincipalAxes(body);
  expect_values(body->loads.modal[0]->values, f, by_mass(mass, f, 4), 6);
  EXPECT_EQ(log.take(), std::vector<Message>{few_rigid_modes(4)});
}

TEST_F(PrincipalAxes, MassWeightedProjectionStaysInsideAShortVector) {
  SBR body = make(3, 0);
  set_frequencies(body, {0, 0, 50});
  enter_load(body, mass, 0, {1, 2, 3});
  SBR_RigidBodyForcesOnPrincipalAxes(body);
  EXPECT_EQ(body->loads.modal[0]->values.size(), 3U);
  EXPECT_EQ(log.take(), std::vector<Message>{few_rigid_modes(2)});
}

TEST_F(PrincipalAxes, EveryCaseIsCarriedOnce) {
  SBR body = make(10, 6);
  const std::vector<double> f = random_vector(10);
  enter_load(body, mass, 0, f);
  enter_load(body, mass, 1, f);
  SBR_SetModalLoadProcessed(body, 0, 1);
  SBR_RigidBodyForcesOnPrincipalAxes(body);
  expect_values(body->loads.modal[0]->values, f, {}, 0);
  expect_values(body->loads.modal[1]->values, f, by_mass(mass, f, 6), 6);
  SBR_RigidBodyForcesOnPrincipalAxes(body);
  expect_values(body->loads.modal[1]->values, f, by_mass(mass, f, 6), 6);
  EXPECT_TRUE(log.take().empty());
}

TEST_F(PrincipalAxes, RepeatingTheCallWarnsAgainOfFewRigidModesOnly) {
  SBR body = make(10, 4);
  enter_load(body, mass, 0, random_vector(10));
  enter_preload(body, mass, random_vector(10));
  SBR_RigidBodyForcesOnPrincipalAxes(body);
  const double before = body->loads.modal[0]->values[0];
  log.clear();
  SBR_RigidBodyForcesOnPrincipalAxes(body);
  EXPECT_EQ(log.take(), std::vector<Message>{few_rigid_modes(4)});
  EXPECT_EQ(body->loads.modal[0]->values[0], before);
}

TEST_F(PrincipalAxes, APreloadIsCarriedWithOneWarningPerRigidEntry) {
  SBR body = make(10, 6);
  const std::vector<double> f = random_vector(10);
  enter_preload(body, mass, f);
  SBR_RigidBodyForcesOnPrincipalAxes(body);
  expect_values(body->loads.preload, f, by_mass(mass, f, 6), 6);
  EXPECT_EQ(SBR_ModalPreloadProcessed(body), 1);
  EXPECT_EQ(log.take(), std::vector<Message>(6, kIgnoredPreload));
  SBR_RigidBodyForcesOnPrincipalAxes(body);
  EXPECT_TRUE(log.take().empty());
}

TEST_F(PrincipalAxes, APreloadOfSmallRigidEntriesRaisesNoWarning) {
  SBR body = make(10, 6);
  std::vector<double> f(10, 1.0);
  std::fill_n(f.begin(), 6, 1e-15);
  enter_preload(body, mass, f);
  SBR_RigidBodyForcesOnPrincipalAxes(body);
  EXPECT_TRUE(log.take().empty());
  for (std::size_t j = 0; j < 6; ++j) EXPECT_EQ(body->loads.preload[j], 0.0);
  EXPECT_EQ(body->loads.preload[6], 1.0);
}

TEST_F(PrincipalAxes, WithoutLoadsFewRigidModesAreNoConcern) {
  SBR body = make(10, 4);
  SBR_RigidBodyForcesOnPrincipalAxes(body);
  EXPECT_TRUE(log.take().empty());
}

TEST_F(PrincipalAxes, LoadsOfANullBodyAreRefused) {
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

TEST_F(PrincipalAxes, WithTheEnvironmentSetRigidModesAreFittedByRigidMotions) {
  const ScopedEnvironment no_mass("KTX_MFORCE_NO_FEA_MASS", "");
  SBR body = make(10, 6);
  const std::vector<double> f = random_vector(10);
  enter_load(body, mass, 0, f);
  SBR_RigidBodyForcesOnPrincipalAxes(body);
  expect_values(body->loads.modal[0]->values, f, by_fit(mass, f, 6), 6);
}

TEST_F(PrincipalAxes, FittedProjectionWritesTheRigidEntriesOnly) {
  const ScopedEnvironment no_mass("KTX_MFORCE_NO_FEA_MASS", "yes");
  SBR body = make(10, 4);
  const std::vector<double> f = random_vector(10);
  enter_load(body, mass, 0, f);
  SBR_RigidBodyForcesOnPrincipalAxes(body);
  expect_values(body->loads.modal[0]->values, f, by_fit(mass, f, 4), 4);
  EXPECT_EQ(log.take(), std::vector<Message>{few_rigid_modes(4)});
}

TEST_F(PrincipalAxes, WithoutNodalMassesRigidModesAreFitted) {
  SBR body = make(10, 6);
  SBR_CalculateGlobalMassFromNodeMass(body);
  sbr::set_block(*body, sbr::kNodalMasses, false);
  const std::vector<double> f = random_vector(10);
  enter_load(body, mass, 0, f);
  SBR_RigidBodyForcesOnPrincipalAxes(body);
  expect_values(body->loads.modal[0]->values, f, by_fit(mass, f, 6), 6);
}

TEST_F(PrincipalAxes, AFitThatFailsLeavesTheVectorAndSetsItsFlag) {
  const ScopedEnvironment no_mass("KTX_MFORCE_NO_FEA_MASS", "1");
  SBR body = SBR_Create(1, 7);
  for (int number = 1; number <= 7; ++number) SBR_SetModalLoad(body, 0, number, 1.0);
  set_frequencies(body, frequencies(7, 6));
  SBR_RigidBodyForcesOnPrincipalAxes(body);
  EXPECT_EQ(log.take(), std::vector<Message>{error("LU Decomposition failed.\n")});
  EXPECT_GT(body->loads.modal[0]->values.size(), 0U);
  for (const double value : body->loads.modal[0]->values) EXPECT_EQ(value, 1.0);
  EXPECT_EQ(SBR_ModalLoadProcessed(body, 0), 1);
}

}  // namespace
}  // namespace sbrtest
