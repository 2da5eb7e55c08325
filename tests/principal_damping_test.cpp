// Damping carried to the principal axes.
#include <algorithm>
#include <random>

#include "support/body_state.h"
#include "support/body_view.h"
#include "support/principal_axes.h"

namespace sbrtest {
namespace {

using PrincipalDamping = PrincipalAxes;

Dense multiply(const Dense &a, const Dense &b) {
  Dense product = dense(a.size(), b[0].size());
  for (std::size_t i = 0; i < a.size(); ++i)
    for (std::size_t k = 0; k < b.size(); ++k)
      for (std::size_t j = 0; j < b[0].size(); ++j) product[i][j] += a[i][k] * b[k][j];
  return product;
}

// ---- damping -------------------------------------------------------------------------------------------------------

// A random symmetric damping matrix, entered as its upper triangle.
Dense enter_random_damping(SBR body, const MassBody &mass) {
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
  for (const MatrixEntry &entry : damping_of(body))
    matrix[static_cast<std::size_t>(entry.row)][static_cast<std::size_t>(entry.column)] = entry.value;
  return matrix;
}

void expect_near(const Dense &actual, const Dense &expected) {
  for (std::size_t i = 0; i < expected.size(); ++i)
    for (std::size_t j = 0; j < expected.size(); ++j)
      EXPECT_NEAR(static_cast<double>(actual[i][j]), static_cast<double>(expected[i][j]), 1e-12) << i << ' ' << j;
}

TEST_F(PrincipalDamping, DampingOfSixRigidModesKeepsItsSize) {
  SBR body = make(10, 6);
  const Dense D = enter_random_damping(body, mass);
  ASSERT_EQ(SBR_DampingOnPrincipalAxes(body), 1);
  expect_near(listed(body, 10), projected(mass, D, 6));
  EXPECT_EQ(state::damping_on_principal_axes(body), 1);
  EXPECT_TRUE(log.take().empty());
}

TEST_F(PrincipalDamping, DampingOfThreeRigidModesGrowsByThree) {
  SBR body = make(8, 3);
  const Dense D = enter_random_damping(body, mass);
  ASSERT_EQ(SBR_DampingOnPrincipalAxes(body), 1);
  expect_near(listed(body, 11), projected(mass, D, 3));
}

TEST_F(PrincipalDamping, DampingWithoutRigidModesMovesSixPlacesDown) {
  SBR body = make(8, 0);
  const Dense D = enter_random_damping(body, mass);
  ASSERT_EQ(SBR_DampingOnPrincipalAxes(body), 1);
  EXPECT_EQ(SBR_NumberOfGenDamp(body), 64);
  const Dense moved = listed(body, 14);
  for (std::size_t i = 0; i < 14; ++i)
    for (std::size_t j = 0; j < 14; ++j) EXPECT_EQ(moved[i][j], i < 6 || j < 6 ? 0.0L : D[i - 6][j - 6]);
}

TEST_F(PrincipalDamping, DampingIsListedRowByRowWithoutSmallValues) {
  SBR body = make(8, 0);
  SBR_SetGeneralizedDamping(body, mass.mode_numbers[1], mass.mode_numbers[0], 0.5);
  SBR_SetGeneralizedDamping(body, mass.mode_numbers[2], mass.mode_numbers[2], 1e-10);
  SBR_SetGeneralizedDamping(body, mass.mode_numbers[3], mass.mode_numbers[3], 2e-10);
  ASSERT_EQ(SBR_DampingOnPrincipalAxes(body), 1);
  ASSERT_EQ(SBR_NumberOfGenDamp(body), 3);
  const MatrixEntries list = damping_of(body);
  EXPECT_EQ(list[0].row, 6);
  EXPECT_EQ(list[0].column, 7);
  EXPECT_EQ(list[1].row, 7);
  EXPECT_EQ(list[1].column, 6);
  EXPECT_EQ(list[2].row, 9);
  EXPECT_EQ(list[2].value, 2e-10);
}

TEST_F(PrincipalDamping, DampingIsCarriedOnce) {
  SBR body = make(10, 6);
  enter_random_damping(body, mass);
  ASSERT_EQ(SBR_DampingOnPrincipalAxes(body), 1);
  const Dense once = listed(body, 10);
  EXPECT_EQ(SBR_DampingOnPrincipalAxes(body), 1);
  EXPECT_EQ(listed(body, 10), once);
}

TEST_F(PrincipalDamping, WithoutDampingThereIsNothingToCarry) {
  SBR body = make(8, 3);
  EXPECT_EQ(SBR_DampingOnPrincipalAxes(body), 1);
  EXPECT_EQ(state::damping_on_principal_axes(body), 0);
}

TEST_F(PrincipalDamping, DampingThatCannotBeCarriedStaysAsItWas) {
  SBR body = SBR_Create(1, 2);
  SBR_SetGeneralizedDamping(body, 1, 2, 0.5);
  EXPECT_EQ(SBR_DampingOnPrincipalAxes(body), 0);  // there are no nodes to project with
  const std::vector<Message> messages = log.take();
  ASSERT_EQ(messages.size(), 1U);
  EXPECT_TRUE(is_no_memory(messages[0], "sbrtools"));
  EXPECT_EQ(SBR_NumberOfGenDamp(body), 1);
  EXPECT_EQ(state::damping_on_principal_axes(body), 0);
}

TEST_F(PrincipalDamping, DampingOfANullBodyIsRefused) {
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

TEST_F(PrincipalDamping, SelectedDampingHasTheRigidCoordinatesAndTheModesAskedFor) {
  for (const int rigid : {6, 3}) {
    SBR body = make(10, rigid);
    const Dense D = enter_random_damping(body, mass);
    std::vector<int> selected(mass.mode_numbers.begin() + 7, mass.mode_numbers.begin() + 10);
    std::sort(selected.begin(), selected.end());
    Rows rows(9);
    ASSERT_EQ(SBR_GenDampPrincipalAndSelected(body, rows.pointers.data(), 3, selected.data()), 1);
    expect_selected(body, rows, projected(mass, D, static_cast<std::size_t>(rigid)), selected, rigid);
    EXPECT_EQ(state::damping_on_principal_axes(body), 1);
    EXPECT_TRUE(log.take().empty());
  }
}

TEST_F(PrincipalDamping, SelectedRigidModesAreIgnoredWithAWarning) {
  SBR body = make(10, 6);
  enter_random_damping(body, mass);
  const int selected[1] = {mass.mode_numbers[2]};
  Rows rows(7);
  ASSERT_EQ(SBR_GenDampPrincipalAndSelected(body, rows.pointers.data(), 1, selected), 1);
  EXPECT_EQ(log.take(),
            std::vector<Message>{warning("Ignoring damping on requested mode " + std::to_string(selected[0]) +
                                         " because it is a rigid body mode.\n")});
  for (std::size_t i = 0; i < 7; ++i) EXPECT_EQ(rows.values[6][i], 0.0);
}

TEST_F(PrincipalDamping, SelectedDampingOfUnknownModesIsZeroAndSilent) {
  SBR body = make(10, 6);
  enter_random_damping(body, mass);
  const int selected[1] = {4711};
  Rows rows(7);
  EXPECT_EQ(SBR_GenDampPrincipalAndSelected(body, rows.pointers.data(), 1, selected), 1);
  for (std::size_t i = 0; i < 7; ++i) EXPECT_EQ(rows.values[6][i], 0.0);
  EXPECT_TRUE(log.take().empty());
}

TEST_F(PrincipalDamping, SelectedDampingTakesSixRigidModesForMatricesThatAreNotDiagonal) {
  SBR body = make(10, 6);
  enter_damping(body, {{1, 2, 0.5}});  // rows of elastic modes, six places up
  state::damping_on_principal_axes(body) = 1;
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

TEST_F(PrincipalDamping, SelectedDampingWithoutDampingZeroesTheRowsAndFails) {
  SBR body = make(10, 6);
  Rows rows(6);
  EXPECT_EQ(SBR_GenDampPrincipalAndSelected(body, rows.pointers.data(), 0, nullptr), 0);
  EXPECT_EQ(rows.values, std::vector<std::vector<double>>(6, std::vector<double>(6, 0.0)));
  Rows others(6);
  EXPECT_EQ(SBR_GenDampPrincipalAndSelected(nullptr, others.pointers.data(), 0, nullptr), 0);
  EXPECT_EQ(others.values, std::vector<std::vector<double>>(6, std::vector<double>(6, 0.0)));
  EXPECT_EQ(log.take(), std::vector<Message>{kNoBody});
}

TEST_F(PrincipalDamping, SelectedDampingDropsEntriesOutsideTheModeTable) {
  SBR body = make(8, 0);
  state::damping_on_principal_axes(body) = 1;
  for (const sbr::SparseEntry &entry :
       {sbr::SparseEntry{-1, 2, 1.0}, sbr::SparseEntry{2, 2'000'000'000, 1.0}, sbr::SparseEntry{2, 14, 1.0}})
    ASSERT_TRUE(state::damping_list(body).push_back(entry));
  Rows rows(6);
  EXPECT_EQ(SBR_GenDampPrincipalAndSelected(body, rows.pointers.data(), 0, nullptr), 1);
  EXPECT_EQ(rows.values, std::vector<std::vector<double>>(6, std::vector<double>(6, 0.0)));
}

TEST_F(PrincipalDamping, SelectedDampingRefusesMissingArrays) {
  SBR body = make(8, 0);
  enter_random_damping(body, mass);
  Rows rows(7);
  EXPECT_EQ(SBR_GenDampPrincipalAndSelected(body, nullptr, 0, nullptr), 0);
  EXPECT_EQ(SBR_GenDampPrincipalAndSelected(body, rows.pointers.data(), 1, nullptr), 0);
  EXPECT_EQ(SBR_GenDampPrincipalAndSelected(body, rows.pointers.data(), -1, nullptr), 0);
  rows.pointers[3] = nullptr;
  EXPECT_EQ(SBR_GenDampPrincipalAndSelected(body, rows.pointers.data(), 0, nullptr), 0);
}

}  // namespace
}  // namespace sbrtest
