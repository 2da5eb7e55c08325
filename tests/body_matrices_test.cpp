// Generalized matrices and eigenvalues in all their read forms.
#include <gmock/gmock.h>

#include <cmath>
#include <vector>

#include "support/body_state.h"
#include "support/body_view.h"
#include "support/messages.h"

namespace sbrtest {
namespace {

constexpr double kTwoPi = 6.28318530718;

struct Eigen {
  int result = -1;
  double eigenvalue = -99.0, hz = -99.0, rad = -99.0, mass = -99.0, stiffness = -99.0;
};

class MatricesTest : public LibraryTest {
 protected:
  ~MatricesTest() override { EXPECT_TRUE(log.all().empty()) << "no operation here reports"; }

  // A body with the modes 11, 12, 13, ...
  SBR make(int modes) {
    SBR body = SBR_Create(1, modes);
    for (int i = 0; i < modes; ++i) EXPECT_EQ(SBR_AddMode(body, 11 + i), i);
    return body;
  }
  // A list that exists, with any entries, also such as no setter takes.
  static void set(sbr::Array<sbr::SparseEntry> &list, const MatrixEntries &entries) {
    ASSERT_TRUE(list.reserve(1));
    for (const MatrixEntry &entry : entries) ASSERT_TRUE(list.push_back({entry.row, entry.column, entry.value}));
  }
  static void set_table(SBR body, const std::vector<sbr::EigenRecord> &records) {
    for (const sbr::EigenRecord &record : records) ASSERT_TRUE(state::eigen_table(body).push_back(record));
    state::eigenvalue_count(body) = static_cast<int>(records.size());
  }
  static Eigen eigen(SBR body, int number) {
    Eigen e;
    e.result = SBR_Eigenvalue(body, number, &e.eigenvalue, &e.hz, &e.rad, &e.mass, &e.stiffness);
    return e;
  }
};

// ---- eigenvalues ---------------------------------------------------------------------------------------------------

TEST_F(MatricesTest, EigenvaluesComeFromTheTableWhenThereIsOne) {
  SBR body = make(2);
  set_table(body, {{11, 1.0, 2.0, 3.0, 4.0, 5.0}, {12, 6.0, 7.0, 8.0, 9.0, 10.0}});
  enter_stiffness(body, {{0, 0, 100.0}, {1, 1, 100.0}});
  const Eigen e = eigen(body, 12);
  EXPECT_EQ(e.result, 1);
  EXPECT_EQ(e.eigenvalue, 6.0);
  EXPECT_EQ(e.hz, 7.0);
  EXPECT_EQ(e.rad, 8.0);
  EXPECT_EQ(e.mass, 9.0);
  EXPECT_EQ(e.stiffness, 10.0);
}

TEST_F(MatricesTest, EigenvaluesFollowFromDiagonalLists) {
  SBR body = make(2);
  enter_stiffness(body, {{0, 0, 0.0}, {1, 1, 4.0}});
  enter_mass(body, {{0, 0, 1.0}, {1, 1, 1.0}});
  const Eigen e = eigen(body, 12);
  EXPECT_EQ(e.result, 1);
  EXPECT_EQ(e.eigenvalue, 4.0);
  EXPECT_EQ(e.rad, 2.0);
  EXPECT_EQ(e.hz, 2.0 / kTwoPi);
  EXPECT_NEAR(e.hz, 0.3183, 1e-4);
  EXPECT_EQ(e.mass, 1.0);
  EXPECT_EQ(e.stiffness, 4.0);
}

TEST_F(MatricesTest, FrequenciesTakeTheUnitsOfTheBodyIntoAccount) {
  SBR body = make(1);
  ASSERT_EQ(SBR_SetUnits(body, "KILOGRAM", "MILLIMETER", "SECOND", "NEWTON"), 1);
  enter_stiffness(body, {{0, 0, 4.0}});
  enter_mass(body, {{0, 0, 1.0}});
  const Eigen e = eigen(body, 11);
  EXPECT_EQ(e.eigenvalue, 4.0);
  EXPECT_EQ(e.rad, std::sqrt(4000.0));
  EXPECT_EQ(e.hz, std::sqrt(4000.0) / kTwoPi);
}

TEST_F(MatricesTest, ANegativeStiffnessShowsAsANegativeFrequency) {
  SBR body = make(1);
  enter_stiffness(body, {{0, 0, -4.0}});
  enter_mass(body, {{0, 0, 1.0}});
  const Eigen e = eigen(body, 11);
  EXPECT_EQ(e.result, 1);
  EXPECT_EQ(e.eigenvalue, -4.0);
  EXPECT_EQ(e.rad, -2.0);
  EXPECT_EQ(e.hz, -2.0 / kTwoPi);
}

TEST_F(MatricesTest, AModeWithoutMassGetsAHugeFiniteFrequency) {
  SBR body = make(1);
  enter_stiffness(body, {{0, 0, 2.0}});
  const Eigen e = eigen(body, 11);
  EXPECT_EQ(e.result, 1);
  EXPECT_EQ(e.mass, 2e-16);
  EXPECT_EQ(e.eigenvalue, 2.0 / 2e-16);
  EXPECT_TRUE(std::isfinite(e.hz));
}

TEST_F(MatricesTest, AModeWithoutMassAndStiffnessHasNoFrequency) {
  SBR body = make(1);
  enter_stiffness(body, {{0, 0, 0.0}});
  const Eigen e = eigen(body, 11);
  EXPECT_EQ(e.result, 1);
  EXPECT_EQ(e.mass, 1e-16);
  EXPECT_EQ(e.eigenvalue, 0.0);
  EXPECT_EQ(e.rad, 0.0);
  EXPECT_EQ(e.hz, 0.0);
}

TEST_F(MatricesTest, AModeWithoutAnyEntryCountsAsWithoutStiffness) {
  SBR body = make(2);
  const Eigen e = eigen(body, 12);
  EXPECT_EQ(e.result, 1);
  EXPECT_EQ(e.stiffness, 0.0);
  EXPECT_EQ(e.mass, 1e-16);
  EXPECT_EQ(e.hz, 0.0);
}

TEST_F(MatricesTest, AMassOfZeroLeavesTheEigenvalueUnwritten) {
  SBR body = make(1);
  enter_stiffness(body, {{0, 0, 3.0}});
  enter_mass(body, {{0, 0, 0.0}});
  const Eigen e = eigen(body, 11);
  EXPECT_EQ(e.result, 1);
  EXPECT_EQ(e.eigenvalue, -99.0);
  EXPECT_TRUE(std::isinf(e.rad));
  EXPECT_EQ(e.mass, 0.0);
  EXPECT_EQ(e.stiffness, 3.0);
}

TEST_F(MatricesTest, AnEntryOffTheDiagonalBeforeTheModeEndsTheSearch) {
  SBR body = make(2);
  enter_stiffness(body, {{0, 0, 1.0}, {0, 1, 5.0}, {1, 1, 4.0}});
  enter_mass(body, {{0, 0, 1.0}, {1, 1, 1.0}});
  const Eigen e = eigen(body, 12);
  EXPECT_EQ(e.result, 0);
  for (const double zero : {e.eigenvalue, e.hz, e.rad, e.mass, e.stiffness}) EXPECT_EQ(zero, 0.0);
}

TEST_F(MatricesTest, AnEntryOffTheDiagonalBehindTheModeDoesNotMatter) {
  SBR body = make(2);
  enter_stiffness(body, {{0, 0, 1.0}, {1, 1, 4.0}, {0, 1, 5.0}});
  enter_mass(body, {{0, 0, 1.0}, {1, 1, 1.0}, {1, 0, 3.0}});
  const Eigen e = eigen(body, 12);
  EXPECT_EQ(e.result, 1);
  EXPECT_EQ(e.eigenvalue, 4.0);
}

TEST_F(MatricesTest, AMassOffTheDiagonalBeforeTheModeEndsTheSearchToo) {
  SBR body = make(2);
  enter_stiffness(body, {{0, 0, 1.0}, {1, 1, 4.0}});
  enter_mass(body, {{0, 1, 1.0}, {0, 0, 1.0}, {1, 1, 1.0}});
  const Eigen e = eigen(body, 11);
  EXPECT_EQ(e.result, 0);
  EXPECT_EQ(e.stiffness, 0.0);
}

TEST_F(MatricesTest, TheFirstOfTwoEntriesCountsForAnEigenvalue) {
  SBR body = make(1);
  enter_stiffness(body, {{0, 0, 9.0}, {0, 0, 4.0}});
  enter_mass(body, {{0, 0, 1.0}, {0, 0, 2.0}});
  EXPECT_EQ(eigen(body, 11).eigenvalue, 9.0);
}

TEST_F(MatricesTest, AnUnknownModeLeavesTheOutputsAsTheyWere) {
  SBR body = make(1);
  const Eigen e = eigen(body, 99);
  EXPECT_EQ(e.result, 0);
  for (const double untouched : {e.eigenvalue, e.hz, e.rad, e.mass, e.stiffness}) EXPECT_EQ(untouched, -99.0);
}

TEST_F(MatricesTest, EveryOutputOfAnEigenvalueMayBeNull) {
  SBR body = make(2);
  enter_stiffness(body, {{0, 0, 1.0}, {0, 1, 5.0}});
  EXPECT_EQ(SBR_Eigenvalue(body, 11, nullptr, nullptr, nullptr, nullptr, nullptr), 1);
  EXPECT_EQ(SBR_Eigenvalue(body, 12, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
  set_table(body, {{11, 1.0, 2.0, 3.0, 4.0, 5.0}});
  double hz = 0.0;
  EXPECT_EQ(SBR_Eigenvalue(body, 11, nullptr, &hz, nullptr, nullptr, nullptr), 1);
  EXPECT_EQ(hz, 2.0);
}

TEST_F(MatricesTest, AModeBehindTheTableIsDerivedFromTheLists) {
  SBR body = make(3);
  set_table(body, {{11, 1.0, 2.0, 3.0, 4.0, 5.0}});
  enter_stiffness(body, {{0, 0, 16.0}, {1, 1, 9.0}, {2, 2, 4.0}});
  enter_mass(body, {{0, 0, 1.0}, {1, 1, 1.0}, {2, 2, 1.0}});
  EXPECT_EQ(eigen(body, 11).eigenvalue, 1.0);
  EXPECT_EQ(eigen(body, 12).eigenvalue, 9.0);
  EXPECT_EQ(eigen(body, 13).eigenvalue, 4.0);
}

// ---- counts and sparse forms ---------------------------------------------------------------------------------------

TEST_F(MatricesTest, CountsWithoutListsAreTheModeCountExceptForDamping) {
  SBR body = make(3);
  EXPECT_EQ(SBR_NumberOfGenStiff(body), 3);
  EXPECT_EQ(SBR_NumberOfGenMass(body), 3);
  EXPECT_EQ(SBR_NumberOfGenDamp(body), 0);
  EXPECT_EQ(SBR_GenDampExist(body), 0);
}

TEST_F(MatricesTest, CountsWithListsAreTheirEntries) {
  SBR body = make(3);
  enter_stiffness(body, {{0, 0, 1.0}});
  enter_mass(body, {{0, 0, 1.0}, {0, 0, 1.0}});
  enter_damping(body, {{0, 0, 1.0}, {1, 0, 1.0}, {2, 2, 1.0}, {2, 2, 1.0}});
  EXPECT_EQ(SBR_NumberOfGenStiff(body), 1);
  EXPECT_EQ(SBR_NumberOfGenMass(body), 2);
  EXPECT_EQ(SBR_NumberOfGenDamp(body), 4);
  EXPECT_EQ(SBR_GenDampExist(body), 1);
}

TEST_F(MatricesTest, AListWithoutEntriesExistsAllTheSame) {
  SBR body = make(3);
  set(state::stiffness_list(body), {});
  set(state::damping_list(body), {});
  EXPECT_EQ(SBR_NumberOfGenStiff(body), 0);
  EXPECT_EQ(SBR_GenDampExist(body), 0);
  EXPECT_EQ(SBR_GenDampSparse(body, nullptr, nullptr, nullptr), 1);
  double matrix[9];
  EXPECT_EQ(SBR_GenStiffFull(body, matrix, 3), 0);
  EXPECT_EQ(SBR_GenDampFull(body, matrix, 3), 0);
}

TEST_F(MatricesTest, SparseFormsCopyTheListInItsOrder) {
  SBR body = make(3);
  const MatrixEntries entries = {{2, 1, 5.0}, {0, 0, 1.0}, {2, 1, 6.0}};
  enter_stiffness(body, entries);
  enter_mass(body, entries);
  enter_damping(body, entries);
  for (const auto sparse : {SBR_GenStiffSparse, SBR_GenMassSparse, SBR_GenDampSparse}) {
    double values[3];
    int rows[3], columns[3];
    ASSERT_EQ(sparse(body, values, rows, columns), 1);
    for (std::size_t i = 0; i < 3; ++i) {
      EXPECT_EQ(rows[i], entries[i].row);
      EXPECT_EQ(columns[i], entries[i].column);
      EXPECT_EQ(values[i], entries[i].value);
    }
  }
}

TEST_F(MatricesTest, SparseFormsWithoutListsAreTheDiagonalOfTheTable) {
  SBR body = make(3);
  set_table(body, {{11, 0, 0, 0, 4.0, 5.0}, {12, 0, 0, 0, 9.0, 10.0}});
  double values[3];
  int rows[3], columns[3];
  ASSERT_EQ(SBR_GenStiffSparse(body, values, rows, columns), 1);
  EXPECT_THAT(values, ::testing::ElementsAre(5.0, 10.0, 0.0));
  EXPECT_THAT(rows, ::testing::ElementsAre(0, 1, 2));
  EXPECT_THAT(columns, ::testing::ElementsAre(0, 1, 2));
  ASSERT_EQ(SBR_GenMassSparse(body, values, rows, columns), 1);
  EXPECT_THAT(values, ::testing::ElementsAre(4.0, 9.0, 1e-16));
  EXPECT_THAT(rows, ::testing::ElementsAre(0, 1, 2));
}

TEST_F(MatricesTest, SparseDampingNeedsAList) {
  SBR body = make(2);
  EXPECT_EQ(SBR_GenDampSparse(body, nullptr, nullptr, nullptr), 0);
}

TEST_F(MatricesTest, SparseFormsGoWithoutTheArraysThatNobodyWants) {
  SBR body = make(2);
  int rows[2] = {9, 9};
  EXPECT_EQ(SBR_GenStiffSparse(body, nullptr, rows, nullptr), 1);
  EXPECT_THAT(rows, ::testing::ElementsAre(0, 1));
  EXPECT_EQ(SBR_GenMassSparse(body, nullptr, nullptr, nullptr), 1);
}

// Each mode's mass as SBR_Eigenvalue gives it, one walk over the list per mode.
std::vector<double> masses_one_by_one(SBR body) {
  std::vector<double> masses;
  for (int i = 0; i < SBR_ModeCount(body); ++i) {
    double mass = 0.0;
    SBR_Eigenvalue(body, SBR_ModeNumber(body, i), nullptr, nullptr, nullptr, &mass, nullptr);
    masses.push_back(mass);
  }
  return masses;
}

TEST_F(MatricesTest, DerivedMassesAgreeWithTheEigenvaluesOneByOne) {
  const std::vector<MatrixEntries> cases = {
      {},
      {{0, 0, 3.0}, {1, 1, 0.5}, {2, 2, -7.0}, {3, 3, 1e6}},
      {{3, 3, 1e6}, {0, 0, 3.0}},
      {{1, 1, 8.0}, {1, 1, 9.0}, {0, 0, 2.0}},
      {{0, 0, 3.0}, {0, 1, 1.0}, {1, 1, 5.0}},
      {{0, 1, 1.0}, {0, 0, 3.0}},
      {{0, 0, 3.0}, {7, 7, 3.0}, {-1, -1, 4.0}, {3, 2, 1.0}},
  };
  for (const MatrixEntries &entries : cases) {
    SBR body = make(4);
    set(state::stiffness_list(body), entries);
    std::vector<double> masses(4, -1.0);
    ASSERT_EQ(SBR_GenMassSparse(body, masses.data(), nullptr, nullptr), 1);
    EXPECT_EQ(masses, masses_one_by_one(body));
  }
}

TEST_F(MatricesTest, DerivedMassesOfAHundredThousandModesTakeOnePass) {
  constexpr int kModes = 100000;
  SBR body = make(kModes);
  for (int i = kModes - 1; i >= 0; --i) enter_stiffness(body, {{i, i, 2.0 + i}});
  std::vector<double> masses(kModes);
  ASSERT_EQ(SBR_GenMassSparse(body, masses.data(), nullptr, nullptr), 1);
  EXPECT_EQ(masses[0], 2.0 * 1e-16);
  EXPECT_EQ(masses[kModes - 1], (1.0 + kModes) * 1e-16);
}

// ---- full and selected forms ---------------------------------------------------------------------------------------

TEST_F(MatricesTest, FullFormsAreSymmetricAndTheLastEntryWins) {
  SBR body = make(2);
  const MatrixEntries entries = {{0, 1, 5.0}, {0, 0, 1.0}, {1, 0, 6.0}};
  enter_stiffness(body, entries);
  enter_mass(body, entries);
  enter_damping(body, entries);
  for (const auto full : {SBR_GenStiffFull, SBR_GenMassFull, SBR_GenDampFull}) {
    double matrix[4] = {9.0, 9.0, 9.0, 9.0};
    ASSERT_EQ(full(body, matrix, 2), 1);
    EXPECT_THAT(matrix, ::testing::ElementsAre(1.0, 6.0, 6.0, 0.0));
  }
}

TEST_F(MatricesTest, FullFormsMayBeWiderThanTheModes) {
  SBR body = make(2);
  set_table(body, {{11, 0, 0, 0, 4.0, 5.0}, {12, 0, 0, 0, 9.0, 10.0}});
  double matrix[9];
  ASSERT_EQ(SBR_GenStiffFull(body, matrix, 3), 1);
  EXPECT_THAT(matrix, ::testing::ElementsAre(5.0, 0.0, 0.0, 0.0, 10.0, 0.0, 0.0, 0.0, 0.0));
  ASSERT_EQ(SBR_GenMassFull(body, matrix, 3), 1);
  EXPECT_THAT(matrix, ::testing::ElementsAre(4.0, 0.0, 0.0, 0.0, 9.0, 0.0, 0.0, 0.0, 0.0));
}

TEST_F(MatricesTest, FullFormsPassOverEntriesOutsideTheMatrix) {
  SBR body = make(3);
  const MatrixEntries entries = {{0, 0, 1.0},  {0, 1, 2.0},  {2, 2, 3.0},
                                 {-1, 0, 4.0}, {0, -1, 5.0}, {1 << 30, 1 << 30, 6.0}};
  set(state::stiffness_list(body), entries);
  set(state::mass_list(body), entries);
  set(state::damping_list(body), entries);
  for (const auto full : {SBR_GenStiffFull, SBR_GenMassFull, SBR_GenDampFull}) {
    double matrix[4];
    ASSERT_EQ(full(body, matrix, 2), 1);
    EXPECT_THAT(matrix, ::testing::ElementsAre(1.0, 2.0, 2.0, 0.0));
  }
}

TEST_F(MatricesTest, FullFormsWithoutAnythingAreZeroAndFail) {
  SBR body = make(0);
  for (const auto full : {SBR_GenStiffFull, SBR_GenMassFull, SBR_GenDampFull}) {
    double matrix[4] = {9.0, 9.0, 9.0, 9.0};
    EXPECT_EQ(full(body, matrix, 2), 0);
    EXPECT_THAT(matrix, ::testing::Each(0.0));
  }
}

TEST_F(MatricesTest, FullDampingWithoutAListIsZeroAndFails) {
  SBR body = make(2);
  double matrix[4] = {9.0, 9.0, 9.0, 9.0};
  EXPECT_EQ(SBR_GenDampFull(body, matrix, 2), 0);
  EXPECT_THAT(matrix, ::testing::Each(0.0));
}

TEST_F(MatricesTest, SelectedFormsDropTheModesLeftOut) {
  SBR body = make(3);
  const MatrixEntries entries = {{0, 0, 1.0}, {0, 1, 2.0}, {1, 1, 3.0}, {2, 0, 4.0}, {2, 2, 5.0}};
  enter_stiffness(body, entries);
  enter_mass(body, entries);
  const int selected[] = {11, 13};
  for (const auto form : {SBR_GenStiffSelected, SBR_GenMassSelected}) {
    double first[2] = {9.0, 9.0};
    double second[2] = {9.0, 9.0};
    double *rows[] = {first, second};
    ASSERT_EQ(form(body, rows, 2, selected), 1);
    EXPECT_THAT(first, ::testing::ElementsAre(1.0, 4.0));
    EXPECT_THAT(second, ::testing::ElementsAre(4.0, 5.0));
  }
}

TEST_F(MatricesTest, SelectedFormsOrderByModeNumber) {
  SBR body = SBR_Create(1, 3);
  for (const int number : {30, 10, 20}) ASSERT_GE(SBR_AddMode(body, number), 0);
  set_table(body, {{30, 0, 0, 0, 0.3, 3.0}, {10, 0, 0, 0, 0.1, 1.0}, {20, 0, 0, 0, 0.2, 2.0}});
  const int selected[] = {5, 10, 20, 30};
  double data[4][4];
  double *rows[] = {data[0], data[1], data[2], data[3]};
  ASSERT_EQ(SBR_GenStiffSelected(body, rows, 4, selected), 1);
  EXPECT_THAT(data[0], ::testing::Each(0.0));
  EXPECT_THAT(data[1], ::testing::ElementsAre(0.0, 1.0, 0.0, 0.0));
  EXPECT_THAT(data[3], ::testing::ElementsAre(0.0, 0.0, 0.0, 3.0));
  ASSERT_EQ(SBR_GenMassSelected(body, rows, 4, selected), 1);
  EXPECT_THAT(data[2], ::testing::ElementsAre(0.0, 0.0, 0.2, 0.0));
}

TEST_F(MatricesTest, SelectedFormsPassOverEntriesOfNoMode) {
  SBR body = make(2);
  set(state::stiffness_list(body), {{0, 0, 1.0}, {2, 2, 7.0}, {-1, 0, 8.0}, {0, 5, 9.0}});
  const int selected[] = {11, 12};
  double data[2][2];
  double *rows[] = {data[0], data[1]};
  ASSERT_EQ(SBR_GenStiffSelected(body, rows, 2, selected), 1);
  EXPECT_THAT(data[0], ::testing::ElementsAre(1.0, 0.0));
  EXPECT_THAT(data[1], ::testing::Each(0.0));
}

// ---- the flag, and null --------------------------------------------------------------------------------------------

TEST_F(MatricesTest, TheNormalizationFlagIsStored) {
  SBR body = make(1);
  EXPECT_EQ(state::modes_not_normalized(body), 0);
  SBR_SetShouldMassNormalizeModes(body, 1);
  EXPECT_EQ(state::modes_not_normalized(body), 1);
  SBR_SetShouldMassNormalizeModes(body, 0);
  EXPECT_EQ(state::modes_not_normalized(body), 0);
}

TEST_F(MatricesTest, ANullBodyGivesZeroWithoutAReport) {
  EXPECT_EQ(SBR_Eigenvalue(nullptr, 1, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(SBR_NumberOfGenStiff(nullptr), 0);
  EXPECT_EQ(SBR_NumberOfGenMass(nullptr), 0);
  EXPECT_EQ(SBR_NumberOfGenDamp(nullptr), 0);
  EXPECT_EQ(SBR_GenDampExist(nullptr), 0);
  EXPECT_EQ(SBR_GenStiffSparse(nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(SBR_GenMassSparse(nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(SBR_GenDampSparse(nullptr, nullptr, nullptr, nullptr), 0);
  SBR_SetShouldMassNormalizeModes(nullptr, 1);
}

TEST_F(MatricesTest, ANullBodyZeroesTheMatrixExceptForFullMass) {
  double matrix[1] = {9.0};
  EXPECT_EQ(SBR_GenMassFull(nullptr, matrix, 1), 0);
  EXPECT_EQ(matrix[0], 9.0);
  EXPECT_EQ(SBR_GenStiffFull(nullptr, matrix, 1), 0);
  EXPECT_EQ(matrix[0], 0.0);
  matrix[0] = 9.0;
  EXPECT_EQ(SBR_GenDampFull(nullptr, matrix, 1), 0);
  EXPECT_EQ(matrix[0], 0.0);
  const int selected[] = {1};
  for (const auto form : {SBR_GenStiffSelected, SBR_GenMassSelected}) {
    matrix[0] = 9.0;
    double *rows[] = {matrix};
    EXPECT_EQ(form(nullptr, rows, 1, selected), 0);
    EXPECT_EQ(matrix[0], 0.0);
  }
}

TEST_F(MatricesTest, NullOutputsAreRefused) {
  SBR body = make(1);
  enter_damping(body, {{0, 0, 1.0}});
  for (const auto full : {SBR_GenStiffFull, SBR_GenMassFull, SBR_GenDampFull}) EXPECT_EQ(full(body, nullptr, 1), 0);
  EXPECT_EQ(SBR_GenStiffSelected(body, nullptr, 1, nullptr), 0);
  double *rows[] = {nullptr};
  const int selected[] = {11};
  EXPECT_EQ(SBR_GenMassSelected(body, rows, 1, selected), 1);
}

}  // namespace
}  // namespace sbrtest
