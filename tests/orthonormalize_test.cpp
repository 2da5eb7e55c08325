// Orthonormalization: eigenproblem, order, table, Gram-Schmidt, dropped modes, and what goes along with the modes.
#include <lapacke.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <string>

#include "dynamics/eigen_table.h"
#include "support/body_state.h"
#include "support/body_view.h"
#include "support/files.h"
#include "support/messages.h"
#include "support/modal_body.h"

namespace sbrtest {
namespace {

using Values = std::vector<double>;
constexpr double kMarker = 1.2345e20;
const double kNan = std::nan("");

const Message kNoBody = error("The database has not been initialized.");
const Message kInfinite =
    warning("Mode 1 is not physically meaningful\nIt contains an infinite eigenvalue.  Ignoring this mode.\n");

std::size_t at(int i, int j, int n) {
  return static_cast<std::size_t>(i) * static_cast<std::size_t>(n) + static_cast<std::size_t>(j);
}

Values random_positive(int n, double diagonal, unsigned seed) {
  std::mt19937 engine(seed);
  std::normal_distribution<double> normal;
  Values m(at(n, 0, n));
  for (double &v : m) v = normal(engine);
  Values p(m.size(), 0.0);
  for (int i = 0; i < n; ++i)
    for (int j = 0; j < n; ++j) {
      for (int k = 0; k < n; ++k) p[at(i, j, n)] += m[at(k, i, n)] * m[at(k, j, n)];
      if (i == j) p[at(i, j, n)] += diagonal;
    }
  return p;
}

// x_i^T A x_j of the columns of T.
double form(const Values &A, const Values &T, int i, int j, int n) {
  double sum = 0.0;
  for (int r = 0; r < n; ++r)
    for (int s = 0; s < n; ++s) sum += T[at(r, i, n)] * A[at(r, s, n)] * T[at(s, j, n)];
  return sum;
}

// The rows of the table, also those behind the modes.
Values table_eigenvalues(SBR body) {
  Values values;
  for (const sbr::EigenRecord &row : state::eigen_table(body)) values.push_back(row.eigenvalue);
  return values;
}

class OrthonormalizationTest : public LibraryTest {
 protected:
  // A body of n modes whose matrices are diagonal but count as full.
  SBR full_from_diagonal(const Values &masses, const Values &stiffnesses, int nodes = 2) {
    SBR body = make_modal_body(nodes, static_cast<int>(masses.size()));
    set_diagonal(body, masses, stiffnesses);
    if (masses.size() > 1)
      SBR_SetGeneralizedMass(body, 1, 2, 0.0);
    else
      state::modes_not_orthogonal(body) = 1;
    log.clear();
    return body;
  }
};

// ---- preconditions -------------------------------------------------------------------------------------------------

TEST_F(OrthonormalizationTest, RefusesANullBody) {
  EXPECT_EQ(SBR_OrthoNormalize(nullptr), 0);
  EXPECT_EQ(log.take(), std::vector<Message>{kNoBody});
  EXPECT_EQ(SBR_EnsureEigenTable(nullptr), 0);
  EXPECT_EQ(log.take(), std::vector<Message>{kNoBody});
  double *scale = nullptr;
  EXPECT_EQ(SBR_MassNormalizationScales(nullptr, &scale), 0);
  EXPECT_EQ(log.take(), std::vector<Message>{kNoBody});
  SBR_AnsysAddGenMass(nullptr, 1, 1);
  EXPECT_EQ(log.take(), std::vector<Message>{kNoBody});
}

TEST_F(OrthonormalizationTest, FailsSilentlyWithoutModes) {
  SBR body = SBR_Create(3, 3);
  EXPECT_EQ(SBR_OrthoNormalize(body), 0);
  EXPECT_TRUE(log.take().empty());
  EXPECT_TRUE(transformation_of(body).empty());
}

// ---- orthogonal bodies ---------------------------------------------------------------------------------------------

TEST_F(OrthonormalizationTest, UnitMassesGiveTheIdentityAndNoTemporaryFile) {
  SBR body = make_modal_body(2, 3);
  set_diagonal(body, {1.0, 1.0, 1.0}, {0.0, 4.0, -4.0});
  const Values before = whole_mode_of(body, 2, 0);
  const std::string path = state::mode_file(body, sbr::Kind::shape);
  log.clear();
  EXPECT_EQ(SBR_OrthoNormalize(body), 1);
  EXPECT_TRUE(log.take().empty());
  EXPECT_EQ(transformation_of(body), (Values{1, 0, 0, 0, 1, 0, 0, 0, 1}));
  EXPECT_EQ(state::mode_file(body, sbr::Kind::shape), path);
  EXPECT_EQ(whole_mode_of(body, 2, 0), before);
  EXPECT_EQ(table_eigenvalues(body), (Values{0.0, 4.0, -4.0}));
  const std::vector<EigenValues> table = eigenvalues_of(body);
  EXPECT_EQ(table[1].frequency_rad, 2.0);
  EXPECT_EQ(table[1].frequency_hz, 2.0 / 6.28318530718);
  EXPECT_EQ(table[2].frequency_rad, -2.0);
  EXPECT_EQ(table[2].generalized_mass, 1.0);
  EXPECT_FALSE(state::mass_list(body));
  EXPECT_FALSE(state::stiffness_list(body));
}

TEST_F(OrthonormalizationTest, NumbersModesFromOneAndKeepsTheFormerNumbers) {
  SBR body = SBR_Create(1, 2);
  const double six[6] = {1, 2, 3, 4, 5, 6};
  SBR_SetModeVec(body, 31, 1, 0, six);
  SBR_SetModeVec(body, 17, 1, 0, six);
  SBR_SetGeneralizedMass(body, 31, 31, 1.0);
  SBR_SetGeneralizedMass(body, 17, 17, 1.0);
  EXPECT_EQ(SBR_OrthoNormalize(body), 1);
  EXPECT_EQ(SBR_ModeNumber(body, 0), 1);
  EXPECT_EQ(SBR_ModeNumber(body, 1), 2);
  ASSERT_EQ(state::transformation_modes(body).size(), 2u);
  EXPECT_EQ(state::transformation_modes(body)[0], 31);
  EXPECT_EQ(state::transformation_modes(body)[1], 17);
  EXPECT_EQ(state::eigen_table(body)[1].mode, 2);
}

TEST_F(OrthonormalizationTest, SecondCallWithoutFlagsDoesNothing) {
  SBR body = make_modal_body(1, 2);
  set_diagonal(body, {1.0, 1.0}, {1.0, 2.0});
  ASSERT_EQ(SBR_OrthoNormalize(body), 1);
  state::transformation(body)[1] = 5.0;
  EXPECT_EQ(SBR_OrthoNormalize(body), 1);
  EXPECT_EQ(state::transformation(body)[1], 5.0);
}

TEST_F(OrthonormalizationTest, SecondCallWithAFlagRunsAgain) {
  SBR body = make_modal_body(1, 2);
  set_diagonal(body, {4.0, 1.0}, {1.0, 2.0});
  ASSERT_EQ(SBR_OrthoNormalize(body), 1);
  EXPECT_EQ(transformation_of(body), (Values{0.5, 0, 0, 1}));
  const Values once = whole_mode_of(body, 1, 0);
  ASSERT_EQ(SBR_OrthoNormalize(body), 1);
  EXPECT_EQ(transformation_of(body), (Values{1, 0, 0, 1}));
  EXPECT_EQ(whole_mode_of(body, 1, 0), once);
  EXPECT_EQ(state::modes_not_normalized(body), 1);
}

TEST_F(OrthonormalizationTest, DiagonalMassesOtherThanOneScaleTheModes) {
  SBR body = make_modal_body(3, 2, {0, 1, 2});
  set_diagonal(body, {4.0, 0.25}, {8.0, 1.0});
  Values before[3][2];
  for (int kind = 0; kind < 3; ++kind)
    for (int m = 0; m < 2; ++m) before[kind][m] = whole_mode_of(body, m + 1, kind);
  ASSERT_EQ(SBR_OrthoNormalize(body), 1);
  for (int kind = 0; kind < 3; ++kind)
    for (int m = 0; m < 2; ++m) {
      const Values after = whole_mode_of(body, m + 1, kind);
      ASSERT_EQ(after.size(), 18u);
      for (std::size_t i = 0; i < after.size(); ++i)
        EXPECT_EQ(after[i], (m == 0 ? 0.5 : 2.0) * before[kind][m][i]) << kind << " " << m << " " << i;
    }
  const std::vector<EigenValues> table = eigenvalues_of(body);
  EXPECT_EQ(table[0].eigenvalue, 2.0);
  EXPECT_EQ(table[0].generalized_mass, 1.0);
  EXPECT_EQ(table[0].generalized_stiffness, 2.0);
  EXPECT_EQ(table[1].generalized_stiffness, 4.0);
}

TEST_F(OrthonormalizationTest, ZeroMassOnADiagonalBodyDropsItsModeAndAllLaterOnes) {
  SBR body = make_modal_body(2, 3);
  set_diagonal(body, {4.0, 0.0, 1.0}, {8.0, 1.0, 2.0});
  const Values before = whole_mode_of(body, 1, 0);
  EXPECT_EQ(SBR_OrthoNormalize(body), 1);
  EXPECT_EQ(log.take_complaints(),
            std::vector<Message>{warning("Mode 2 is not physically meaningful.\nIt is associated with a zero "
                                         "generalized mass\n")});
  EXPECT_EQ(SBR_ModeCount(body), 1);
  EXPECT_EQ(table_eigenvalues(body), (Values{2.0, kMarker, 2.0}));
  const Values after = whole_mode_of(body, 1, 0);
  ASSERT_EQ(after.size(), before.size());
  for (std::size_t i = 0; i < after.size(); ++i) EXPECT_EQ(after[i], 0.5 * before[i]);
}

TEST_F(OrthonormalizationTest, ModesWithoutMassShrinkTheIdentity) {
  SBR body = make_modal_body(2, 3);
  set_diagonal(body, {1.0, 1.0}, {3.0, 4.0});  // mode 3 has neither
  ASSERT_EQ(state::modes_not_normalized(body), 0);
  EXPECT_EQ(SBR_OrthoNormalize(body), 1);
  EXPECT_EQ(SBR_ModeCount(body), 2);
  const Values T = transformation_of(body);
  EXPECT_EQ(Values(T.begin(), T.begin() + 4), (Values{1, 0, 0, 1}));
}

TEST_F(OrthonormalizationTest, AllModesMayBeDropped) {
  SBR body = make_modal_body(2, 2);
  set_diagonal(body, {0.0, 1.0}, {3.0, 4.0});
  EXPECT_EQ(SBR_OrthoNormalize(body), 1);
  EXPECT_EQ(SBR_ModeCount(body), 0);
  EXPECT_EQ(SBR_OrthoNormalize(body), 0);
}

// ---- full matrices -------------------------------------------------------------------------------------------------

TEST_F(OrthonormalizationTest, FullMatricesGiveOrthonormalModes) {
  for (const int n : {1, 2, 3, 7, 12, 25}) {
    const Values M = random_positive(n, 1.0, 17U + static_cast<unsigned>(n));
    const Values K = random_positive(n, 0.0, 91U + static_cast<unsigned>(n));
    SBR body = make_modal_body(4, n, {0, 1});
    set_full_mass(body, M, n);
    set_full_stiffness(body, K, n);
    state::modes_not_orthogonal(body) = 1;
    std::vector<Values> shapes, stresses;
    for (int m = 1; m <= n; ++m) {
      shapes.push_back(whole_mode_of(body, m, 0));
      stresses.push_back(whole_mode_of(body, m, 1));
    }
    ASSERT_EQ(SBR_OrthoNormalize(body), 1);
    ASSERT_EQ(SBR_ModeCount(body), n);
    const Values T = transformation_of(body);
    Values expected(static_cast<std::size_t>(n));
    Values k = K, m = M;
    ASSERT_EQ(LAPACKE_dsygv(LAPACK_ROW_MAJOR, 1, 'N', 'U', n, k.data(), n, m.data(), n, expected.data()), 0);
    for (int i = 0; i < n; ++i) {
      for (int j = 0; j < n; ++j) {
        EXPECT_NEAR(form(M, T, i, j, n), i == j ? 1.0 : 0.0, 1e-10) << n << " " << i << " " << j;
        const double lambda = eigenvalues_of(body)[static_cast<std::size_t>(i)].eigenvalue;
        EXPECT_NEAR(form(K, T, i, j, n), i == j ? lambda : 0.0, 1e-10 * expected.back()) << n;
      }
      const EigenValues row = eigenvalues_of(body)[static_cast<std::size_t>(i)];
      EXPECT_NEAR(row.eigenvalue, expected[static_cast<std::size_t>(i)], 1e-11 * expected.back());
      EXPECT_EQ(row.generalized_mass, 1.0);
      EXPECT_EQ(row.generalized_stiffness, row.eigenvalue);
      EXPECT_EQ(row.frequency_hz, row.frequency_rad / 6.28318530718);
    }
    EXPECT_FALSE(state::mass_list(body));
    EXPECT_FALSE(state::stiffness_list(body));
    for (int j = 0; j < n; ++j) {
      const Values shape = whole_mode_of(body, j + 1, 0);
      const Values stress = whole_mode_of(body, j + 1, 1);
      for (std::size_t v = 0; v < shape.size(); ++v) {
        double a = 0.0, b = 0.0;
        for (int s = 0; s < n; ++s) {
          a += T[at(s, j, n)] * shapes[static_cast<std::size_t>(s)][v];
          b += T[at(s, j, n)] * stresses[static_cast<std::size_t>(s)][v];
        }
        EXPECT_EQ(shape[v], a);
        EXPECT_EQ(stress[v], b);
      }
    }
    SBR_DeReference(body);
  }
}

TEST_F(OrthonormalizationTest, ReportsItsStagesInOrder) {
  SBR body = full_from_diagonal({1.0, 1.0}, {400.0, 100.0});
  ASSERT_EQ(SBR_OrthoNormalize(body), 1);
  const std::vector<Message> found = log.take();
  ASSERT_EQ(found.size(), 13u);
  const std::vector<Message> expected{info("\nSolving Generalized Eigenvalue Problem to orthogonalize mode shapes."),
                                      info("  (Finding upper Hessenberg and upper triangular forms)"),
                                      info("  (Converting upper Hessenberg form to quasi-upper triangular)"),
                                      info("  (Calculating Eigenvalues)"),
                                      info("  (Calculating Eigenvectors)"),
                                      info(std::string(49, ' ')),
                                      info("  Real Eigenvalues and Natural Frequencies [Hz] :"),
                                      info("  ==============================================="),
                                      info("   1 : 1.00000000000000e+02  1.59154943091863e+00"),
                                      info("   2 : 4.00000000000000e+02  3.18309886183726e+00"),
                                      info("\n  Applying Gram-Schmidt to eigenvectors \n ")};
  for (std::size_t i = 0; i < expected.size(); ++i) {
    // The frequency's last digits depend on the constant that stands for 2 pi.
    if (i == 8 || i == 9)
      EXPECT_EQ(found[i].text.substr(0, 36), expected[i].text.substr(0, 36));
    else
      EXPECT_EQ(found[i], expected[i]);
  }
  EXPECT_EQ(found[11].text.substr(0, 22), "Orthogonal mode file: ");
  EXPECT_EQ(found[12], info(""));
}

TEST_F(OrthonormalizationTest, OneModeIsOnlyNormalized) {
  SBR body = full_from_diagonal({4.0}, {36.0});
  const Values before = whole_mode_of(body, 1, 0);
  ASSERT_EQ(SBR_OrthoNormalize(body), 1);
  EXPECT_EQ(transformation_of(body), Values{0.5});
  EXPECT_EQ(table_eigenvalues(body), Values{9.0});
  EXPECT_EQ(eigenvalues_of(body)[0].frequency_rad, 3.0);
  const Values after = whole_mode_of(body, 1, 0);
  for (std::size_t i = 0; i < before.size(); ++i) EXPECT_EQ(after[i], 0.5 * before[i]);
}

TEST_F(OrthonormalizationTest, SingularMassDropsTheModesWithoutEigenvalue) {
  SBR body = full_from_diagonal({1.0, 0.0, 1.0}, {5.0, 2.0, 3.0});
  EXPECT_EQ(SBR_OrthoNormalize(body), 1);
  const auto complaints = log.take_complaints();
  ASSERT_EQ(complaints.size(), 1u);
  EXPECT_EQ(complaints[0].text.substr(6), kInfinite.text.substr(6));
  EXPECT_EQ(SBR_ModeCount(body), 2);
  const Values e = table_eigenvalues(body);
  ASSERT_EQ(e.size(), 3u);
  EXPECT_NEAR(e[0], 3.0, 1e-14);
  EXPECT_NEAR(e[1], 5.0, 1e-14);
  EXPECT_EQ(e[2], kMarker);
  EXPECT_EQ(state::eigenvalue_count(body), 3);
}

TEST_F(OrthonormalizationTest, TheMarkerStandsInThePrintedTable) {
  SBR body = full_from_diagonal({1.0, 0.0, 1.0}, {5.0, 2.0, 3.0});
  SBR_OrthoNormalize(body);
  EXPECT_EQ(
      std::count(log.all().begin(), log.all().end(), info("   3 : Infinity.  Possible mass singularity.  Ignored.")),
      1);
}

TEST_F(OrthonormalizationTest, AComplexPairWarnsTwiceAndKeepsItsRealPart) {
  // det(K - x M) = -(x^2 + 1), beside an eigenvalue of 5.
  SBR body = make_modal_body(2, 3);
  set_full_mass(body, {1, 0, 0, 0, -1, 0, 0, 0, 1}, 3);
  set_full_stiffness(body, {0, 1, 0, 1, 0, 0, 0, 0, 5}, 3);
  EXPECT_EQ(SBR_OrthoNormalize(body), 1);
  const std::string head =
      "Flexible component is not physically meaningful\n"
      "It contains an eigenvalue with a nonzero imaginary part, ";
  const std::string tail = "\nThis imaginary part is being ignored.  Please verify that this is acceptable.";
  EXPECT_EQ(log.take_complaints(),
            (std::vector<Message>{warning(head + "1.000000" + tail), warning(head + "-1.000000" + tail)}));
  EXPECT_EQ(SBR_ModeCount(body), 3);
}

TEST_F(OrthonormalizationTest, AColumnWithNegativeMassStaysUnnormalized) {
  SBR body = full_from_diagonal({1.0, -4.0, 1.0}, {2.0, 12.0, 9.0});
  EXPECT_EQ(SBR_OrthoNormalize(body), 1);
  // The eigenvalue -3 comes first. Its vector is the unit vector of mode 2; the table row has the stiffness over it.
  const Values T = transformation_of(body);
  EXPECT_EQ(T[at(0, 0, 3)], 0.0);
  EXPECT_EQ(std::abs(T[at(1, 0, 3)]), 1.0);
  EXPECT_EQ(eigenvalues_of(body)[0].eigenvalue, 12.0);
  EXPECT_EQ(eigenvalues_of(body)[0].generalized_mass, 1.0);
}

TEST_F(OrthonormalizationTest, NotANumberIsCarriedWithoutHarm) {
  for (int place = 0; place < 3; ++place) {
    SBR body = full_from_diagonal({1.0, 2.0, 3.0}, {5.0, 2.0, 3.0});
    SBR_SetGeneralizedStiffness(body, place + 1, place + 1, kNan);
    EXPECT_EQ(SBR_OrthoNormalize(body), 1);
    EXPECT_EQ(SBR_ModeCount(body), 3);
    SBR_DeReference(body);
    body = full_from_diagonal({1.0, 2.0, 3.0}, {5.0, 2.0, 3.0});
    SBR_SetGeneralizedMass(body, place + 1, place + 1, kNan);
    SBR_OrthoNormalize(body);
    EXPECT_EQ(SBR_IsValid(body), 1);
    SBR_DeReference(body);
  }
}

TEST_F(OrthonormalizationTest, StiffnessOfATableServesWhenThereIsNoList) {
  SBR body = make_modal_body(2, 2);
  set_diagonal(body, {1.0, 1.0}, {4.0, 9.0});
  ASSERT_EQ(SBR_EnsureEigenTable(body), 1);
  SBR_SetGeneralizedMass(body, 1, 1, 1.0);
  SBR_SetGeneralizedMass(body, 2, 2, 1.0);
  SBR_SetGeneralizedMass(body, 1, 2, 0.5);
  ASSERT_EQ(SBR_OrthoNormalize(body), 1);
  const Values e = table_eigenvalues(body);
  // The roots of 0.75 x^2 - 13 x + 36.
  EXPECT_NEAR(e[0], (13.0 - std::sqrt(61.0)) / 1.5, 1e-13);
  EXPECT_NEAR(e[1], (13.0 + std::sqrt(61.0)) / 1.5, 1e-13);
}

TEST_F(OrthonormalizationTest, FrequenciesFollowTheUnits) {
  SBR body = SBR_Create(1, 1);
  SBR_SetUnits(body, "KILOGRAM", "MILLIMETER", "SECOND", "NEWTON");
  const double six[6] = {1, 0, 0, 0, 0, 0};
  SBR_SetModeVec(body, 1, 1, 0, six);
  set_diagonal(body, {1.0}, {10.0});
  ASSERT_EQ(SBR_OrthoNormalize(body), 1);
  EXPECT_EQ(eigenvalues_of(body)[0].frequency_rad, 100.0);
}

// ---- the printed table ---------------------------------------------------------------------------------------------

TEST_F(OrthonormalizationTest, FewerThanSevenEigenvaluesUpToOneAreProbablyRigid) {
  const Values e{-2.0, -0.5, 0.25, 1.0, 4.0, kNan};
  sbr::print_eigenvalues(e.data(), 6, 1.0);
  const std::vector<Message> expected{
      info(std::string(49, ' ')),
      info("  Real Eigenvalues and Natural Frequencies [Hz] :"),
      info("  ==============================================="),
      info("   1 : -2.00000000000000e+00  Sqrt undefined.  Possible problem with input data."),
      info("   2 : -5.00000000000000e-01  Sqrt undefined.     (probable rigid body mode)"),
      info("   3 : 2.50000000000000e-01  7.95774715459424e-02 (probable rigid body mode)"),
      info("   4 : 1.00000000000000e+00  1.59154943091885e-01 (probable rigid body mode)"),
      info("   5 : 4.00000000000000e+00  3.18309886183770e-01"),
      info("   6 :                  nan  Sqrt undefined.     (probable rigid body mode)")};
  auto found = log.take();
  ASSERT_EQ(found.size(), expected.size());
  for (std::size_t i = 0; i < found.size(); ++i) {
    // The last digits of the frequencies depend on the constant that stands for 2 pi.
    if (i >= 5 && i <= 7) {
      EXPECT_EQ(found[i].text.substr(0, 36), expected[i].text.substr(0, 36));
      EXPECT_EQ(found[i].text.size(), expected[i].text.size());
      EXPECT_EQ(found[i].text.substr(48), expected[i].text.substr(48));
    } else {
      EXPECT_EQ(found[i], expected[i]);
    }
  }
}

TEST_F(OrthonormalizationTest, FrequenciesArePrintedWithTheHousesTwoPi) {
  const Values e{4.0};
  sbr::print_eigenvalues(e.data(), 1, 1.0);
  char text[100];
  std::snprintf(text, sizeof text, "   1 : %20.14e  %20.14e", 4.0, 2.0 / 6.28318530718);
  EXPECT_EQ(log.all().back(), info(text));
}

TEST_F(OrthonormalizationTest, WithSevenTheSeventhDecidesWhatIsSmall) {
  const Values e{-2.0, -0.5, 0.5, 20.0, kMarker, 0.0, 1e4, 1e5};
  sbr::print_eigenvalues(e.data(), 8, 1.0);
  const auto &found = log.all();
  EXPECT_EQ(found[3].text, "   1 : -2.00000000000000e+00  Sqrt undefined.  Possible problem with input data.");
  EXPECT_EQ(found[4].text, "   2 : -5.00000000000000e-01  Sqrt undefined.     (probable rigid body mode)");
  EXPECT_NE(found[5].text.find("(probable rigid body mode)"), std::string::npos);
  EXPECT_EQ(found[6].text.find("(probable"), std::string::npos);
  EXPECT_EQ(found[7].text, "   5 : Infinity.  Possible mass singularity.  Ignored.");
  EXPECT_NE(found[8].text.find("(probable"), std::string::npos);
  log.clear();
  // Against a seventh of 100, neither -0.5 nor 0.5 is small.
  const Values close{-0.5, 0.5, 0.05, 1.0, 1.0, 1.0, 100.0};
  sbr::print_eigenvalues(close.data(), 7, 1.0);
  EXPECT_EQ(found[3].text, "   1 : -5.00000000000000e-01  Sqrt undefined.  Possible problem with input data.");
  EXPECT_EQ(found[4].text.find("(probable"), std::string::npos);
  EXPECT_NE(found[5].text.find("(probable"), std::string::npos);
}

// ---- what goes along -----------------------------------------------------------------------------------------------

TEST_F(OrthonormalizationTest, DampingIsDividedByItsTwoScales) {
  SBR body = make_modal_body(1, 3);
  set_diagonal(body, {4.0, 16.0, 1.0}, {1.0, 1.0, 1.0});
  SBR_SetGeneralizedDamping(body, 1, 1, 8.0);
  SBR_SetGeneralizedDamping(body, 1, 2, 8.0);
  SBR_SetGeneralizedDamping(body, 3, 3, 8.0);
  for (const auto &[row, column] : {std::pair{-1, 0}, {0, -1}, {3, 0}, {0, 1 << 30}}) {
    sbr::SparseEntry stray;
    stray.row = row;
    stray.column = column;
    stray.value = 8.0;
    ASSERT_TRUE(state::damping_list(body).push_back(stray));
  }
  ASSERT_EQ(SBR_OrthoNormalize(body), 1);
  Values found;
  for (const MatrixEntry &entry : damping_of(body)) found.push_back(entry.value);
  EXPECT_EQ(found, (Values{2.0, 1.0, 8.0, 8.0, 8.0, 8.0, 8.0}));
}

TEST_F(OrthonormalizationTest, ScaleOfZeroLeavesDampingButNegativeMassMakesItNan) {
  SBR body = make_modal_body(1, 2);
  set_diagonal(body, {-4.0, 1.0}, {1.0, 1.0});
  SBR_SetGeneralizedDamping(body, 1, 1, 8.0);
  SBR_SetGeneralizedDamping(body, 2, 2, 8.0);
  ASSERT_EQ(SBR_OrthoNormalize(body), 1);
  EXPECT_TRUE(std::isnan(damping_of(body)[0].value));
  EXPECT_EQ(damping_of(body)[1].value, 8.0);
}

TEST_F(OrthonormalizationTest, LoadsAndPreloadGoThroughTheTransformation) {
  const int n = 3;
  SBR body = make_modal_body(2, n);
  set_full_mass(body, random_positive(n, 1.0, 3), n);
  set_full_stiffness(body, random_positive(n, 0.0, 4), n);
  const Values first{1.5, -2.0, 0.25};
  const Values second{10.0, 20.0, 30.0};
  for (int m = 1; m <= n; ++m) {
    SBR_SetModalLoad(body, 0, m, first[static_cast<std::size_t>(m - 1)]);
    SBR_SetModalLoad(body, 1, m, second[static_cast<std::size_t>(m - 1)]);
    SBR_SetModalPreload(body, m, -first[static_cast<std::size_t>(m - 1)]);
  }
  ASSERT_EQ(SBR_OrthoNormalize(body), 1);
  const Values T = transformation_of(body);
  int count = 0;
  double *found[3] = {SBR_GetModalLoad(body, 0, &count), SBR_GetModalLoad(body, 1, &count),
                      SBR_GetModalPreload(body, &count)};
  for (int j = 0; j < n; ++j) {
    double sums[3] = {};
    for (int k = 0; k < n; ++k) {
      sums[0] += first[static_cast<std::size_t>(k)] * T[at(k, j, n)];
      sums[1] += second[static_cast<std::size_t>(k)] * T[at(k, j, n)];
      sums[2] += -first[static_cast<std::size_t>(k)] * T[at(k, j, n)];
    }
    for (int i = 0; i < 3; ++i) EXPECT_EQ(found[i][j], sums[i]) << i << " " << j;
  }
  for (double *vector : found) SBR_FreeMemory(vector);
}

TEST_F(OrthonormalizationTest, ProcessedLoadsKeepTheirRigidEntries) {
  // Two modes at zero, the third at 100 rad/s: the gap counts two rigid-body modes.
  SBR body = make_modal_body(2, 3);
  set_diagonal(body, {4.0, 4.0, 4.0}, {0.0, 0.0, 4e4});
  for (int m = 1; m <= 3; ++m) {
    SBR_SetModalLoad(body, 0, m, 10.0 * m);
    SBR_SetModalLoad(body, 1, m, 10.0 * m);
    SBR_SetModalPreload(body, m, 10.0 * m);
  }
  SBR_SetModalLoadProcessed(body, 1, 1);
  SBR_SetModalPreloadProcessed(body, 1);
  ASSERT_EQ(SBR_OrthoNormalize(body), 1);
  ASSERT_EQ(SBR_RigidBodyModeCount(body), 2);
  int count = 0;
  double *plain = SBR_GetModalLoad(body, 0, &count);
  double *processed = SBR_GetModalLoad(body, 1, &count);
  double *preload = SBR_GetModalPreload(body, &count);
  EXPECT_EQ(Values(plain, plain + 3), (Values{5.0, 10.0, 15.0}));
  EXPECT_EQ(Values(processed, processed + 3), (Values{10.0, 20.0, 15.0}));
  EXPECT_EQ(Values(preload, preload + 3), (Values{10.0, 20.0, 15.0}));
  SBR_FreeMemory(plain);
  SBR_FreeMemory(processed);
  SBR_FreeMemory(preload);
}

TEST_F(OrthonormalizationTest, LoadsOlderThanTheYoungestModesCountWithZeros) {
  SBR body = SBR_Create(2, 3);
  SBR_SetUnits(body, "KILOGRAM", "METER", "SECOND", "NEWTON");
  const double six[6] = {1, 2, 3, 4, 5, 6};
  SBR_SetModeVec(body, 1, 1, 0, six);
  SBR_SetModalLoad(body, 0, 1, 6.0);
  SBR_SetModalPreload(body, 1, 8.0);
  for (int mode = 2; mode <= 3; ++mode) SBR_SetModeVec(body, mode, 1, 0, six);
  // Full matrices, so that new modes mix the old ones.
  set_full_mass(body, {2, 0.5, 0, 0.5, 3, 0.25, 0, 0.25, 4}, 3);
  set_full_stiffness(body, {5, 1, 0, 1, 7, 1, 0, 1, 90}, 3);
  log.clear();
  ASSERT_EQ(SBR_OrthoNormalize(body), 1);
  EXPECT_TRUE(log.take_complaints().empty());
  const Values T = transformation_of(body);
  int count = 0;
  double *load = SBR_GetModalLoad(body, 0, &count);
  ASSERT_EQ(count, 3);
  for (int j = 0; j < 3; ++j) EXPECT_EQ(load[j], 6.0 * T[at(0, j, 3)]) << j;
  SBR_FreeMemory(load);
  double *preload = SBR_GetModalPreload(body, &count);
  for (int j = 0; j < 3; ++j) EXPECT_EQ(preload[j], 8.0 * T[at(0, j, 3)]) << j;
  SBR_FreeMemory(preload);
}

// ---- failures ------------------------------------------------------------------------------------------------------

// All that orthonormalization changes.
struct ModalState {
  Values shapes;
  Values stresses;
  std::vector<int> numbers;
  Values eigenvalues;
  Values masses;
  Values load;
  Values damping;
  Values rows;
  int mass_entries;
  int stiffness_entries;
  bool operator==(const ModalState &) const = default;
};

ModalState state_of(SBR body) {
  ModalState state;
  const int modes = SBR_ModeCount(body);
  for (int m = 0; m < modes; ++m) {
    const int number = SBR_ModeNumber(body, m);
    for (const double value : whole_mode_of(body, number, 0)) state.shapes.push_back(value);
    for (const double value : whole_mode_of(body, number, 1)) state.stresses.push_back(value);
    state.numbers.push_back(number);
  }
  state.eigenvalues = table_eigenvalues(body);
  for (const sbr::EigenRecord &row : state::eigen_table(body)) state.masses.push_back(row.generalized_mass);
  int count = 0;
  double *load = SBR_GetModalLoad(body, 0, &count);
  state.load.assign(load, load + count);
  SBR_FreeMemory(load);
  for (const MatrixEntry &entry : damping_of(body)) state.damping.push_back(entry.value);
  state.rows.resize(static_cast<std::size_t>(modes));
  SBR_GetMonitorPointOperator(body, 0, 1, state.rows.data());
  state.mass_entries = SBR_NumberOfGenMass(body);
  state.stiffness_entries = SBR_NumberOfGenStiff(body);
  return state;
}

// Modes 11, 12, 13 with stress, a load, damping and a monitor point.
SBR make_full_state(bool full) {
  SBR body = make_loaded_body(full);
  for (int m = 1; m <= 3; ++m) SBR_SetGeneralizedDamping(body, m, m, 0.5 * m);
  for (int m = 0; m < 3; ++m) state::mode_number(body, m) = 11 + m;
  return body;
}

TEST_F(OrthonormalizationTest, NoDirectoryForNewFilesLeavesTheBodyAsItWas) {
  for (const bool full : {true, false}) {
    SBR body = make_full_state(full);
    const ModalState before = state_of(body);
    {
      const ScopedEnvironment tmp("TMP", "/no/such/directory");
      EXPECT_EQ(SBR_OrthoNormalize(body), 0);
    }
    EXPECT_EQ(state_of(body), before);
    EXPECT_TRUE(transformation_of(body).empty());
    EXPECT_EQ(SBR_OrthoNormalize(body), 1);
    EXPECT_NE(state_of(body), before);
    EXPECT_EQ(SBR_ModeNumber(body, 2), 3);
  }
}

TEST_F(OrthonormalizationTest, AStressThatCannotBeReadLeavesTheShapesAsTheyWere) {
  for (const bool full : {true, false}) {
    SBR body = make_full_state(full);
    const ModalState before = state_of(body);
    int &stress_nodes = state::kind_node_count(body, sbr::Kind::stress);
    stress_nodes = 0;  // a stress block without nodes
    EXPECT_EQ(SBR_OrthoNormalize(body), 0);
    stress_nodes = 3;
    EXPECT_EQ(state_of(body), before);
    EXPECT_EQ(SBR_OrthoNormalize(body), 1);
  }
}

TEST_F(OrthonormalizationTest, AFailureBehindAnExistingTableKeepsItsMasses) {
  SBR body = make_full_state(false);
  ASSERT_EQ(SBR_EnsureEigenTable(body), 1);
  const ModalState before = state_of(body);
  EXPECT_EQ(before.masses, (Values{4, 9, 16}));
  {
    const ScopedEnvironment tmp("TMP", "/no/such/directory");
    EXPECT_EQ(SBR_OrthoNormalize(body), 0);
  }
  EXPECT_EQ(state_of(body), before);
}

// ---- dropped modes -------------------------------------------------------------------------------------------------

TEST_F(OrthonormalizationTest, OperatorsAndInvariantsKeepTheModesThatStay) {
  SBR body = make_modal_body(2, 3);
  set_diagonal(body, {1.0, 1.0, 0.0}, {1.0, 2.0, 3.0});
  const double location[3] = {0, 0, 0};
  ASSERT_EQ(SBR_SetMonitorPointInfo(body, 1, 1, 12, 2, location, "POINT", "label"), 0);
  const Values operator_rows{1, 2, 3, 4, 5, 6};
  const Values load_rows{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
  ASSERT_EQ(SBR_SetMonitorPointOperator(body, 0, 1, operator_rows.data()), 0);
  ASSERT_EQ(SBR_SetMonitorPointOperator(body, 0, 4, load_rows.data()), 0);
  for (int m = 1; m <= 3; ++m) {
    const double three[3] = {1.0 * m, 10.0 * m, 100.0 * m};
    const double nine[9] = {1.0 * m, 2, 3, 4, 5, 6, 7, 8, 9};
    SBR_SetInvar3(body, m, three);
    SBR_SetInvar4(body, m, three);
    SBR_SetInvar8(body, m, nine);
    for (int k = m + 1; k <= 3; ++k) {
      const double pair[3] = {10.0 * m + k, 20.0 * m + k, 30.0 * m + k};
      const double cell[9] = {10.0 * m + k, 0, 0, 0, 0, 0, 0, 0, 1};
      SBR_SetInvar5(body, m, k, pair);
      SBR_SetInvar9(body, m, k, cell);
    }
  }
  ASSERT_EQ(SBR_OrthoNormalize(body), 1);
  ASSERT_EQ(SBR_ModeCount(body), 2);
  Values rows(4);
  ASSERT_EQ(SBR_GetMonitorPointOperator(body, 0, 1, rows.data()), 0);
  EXPECT_EQ(rows, (Values{1, 2, 4, 5}));
  Values loads(8);
  ASSERT_EQ(SBR_GetMonitorPointOperator(body, 0, 4, loads.data()), 0);
  EXPECT_EQ(loads, (Values{1, 2, 4, 5, 7, 8, 10, 11}));
  const auto taken = [](double *values, std::size_t count) {
    Values copy(values, values + count);
    SBR_FreeMemory(values);
    return copy;
  };
  EXPECT_EQ(taken(SBR_Invar3(body), 6), (Values{1, 2, 10, 20, 100, 200}));
  EXPECT_EQ(taken(SBR_Invar4(body), 6), (Values{1, 2, 10, 20, 100, 200}));
  EXPECT_EQ(taken(SBR_Invar5(body, 0), 6), (Values{0, 12, 0, 22, 0, 32}));
  EXPECT_EQ(taken(SBR_Invar5(body, 1), 6), (Values{-12, 0, -22, 0, -32, 0}));
  EXPECT_EQ(taken(SBR_Invar8(body, 1), 9)[0], 2.0);
  EXPECT_EQ(taken(SBR_Invar9(body, 0, 1), 9)[0], 12.0);
  EXPECT_EQ(taken(SBR_Invar9(body, 1, 0), 9)[8], 1.0);
}

// ---- monitor points ------------------------------------------------------------------------------------------------

TEST_F(OrthonormalizationTest, MonitorPointOperatorsGoThroughTheTransformation) {
  const int n = 2;
  SBR body = make_modal_body(2, n);
  set_full_mass(body, {2.0, 0.5, 0.5, 3.0}, n);
  set_full_stiffness(body, {5.0, 1.0, 1.0, 7.0}, n);
  const double location[3] = {0, 0, 0};
  ASSERT_EQ(SBR_SetMonitorPointInfo(body, 1, 1, 12, 2, location, "POINT", "label"), 0);
  const Values rows{1, 2, 3, 4};
  const Values load_rows{1, 2, 3, 4, 5, 6, 7, 8};
  for (int type = 1; type <= 3; ++type) ASSERT_EQ(SBR_SetMonitorPointOperator(body, 0, type, rows.data()), 0);
  ASSERT_EQ(SBR_SetMonitorPointOperator(body, 0, 4, load_rows.data()), 0);
  SBR_SetModalLoad(body, 1, 1, 0.0);  // two load cases
  ASSERT_EQ(SBR_OrthoNormalize(body), 1);
  const Values T = transformation_of(body);
  const auto through = [&](const Values &source) {
    Values out;
    for (std::size_t r = 0; r + 2 <= source.size(); r += 2)
      for (int j = 0; j < n; ++j) out.push_back(source[r] * T[at(0, j, n)] + source[r + 1] * T[at(1, j, n)]);
    return out;
  };
  for (int type = 1; type <= 4; ++type) {
    const Values &source = type == 4 ? load_rows : rows;
    Values found(source.size());
    ASSERT_EQ(SBR_GetMonitorPointOperator(body, 0, type, found.data()), 0);
    EXPECT_EQ(found, through(source)) << type;
  }
}

TEST_F(OrthonormalizationTest, LoadOperatorsChangeForAsManyCasesAsThereAre) {
  SBR body = make_modal_body(1, 1);
  const double location[3] = {0, 0, 0};
  SBR_SetMonitorPointInfo(body, 1, 1, 1, 3, location, "POINT", "label");
  const Values data{1, 2, 3};
  SBR_SetMonitorPointOperator(body, 0, 4, data.data());
  const double twice = 2.0;
  Values found(3);
  EXPECT_EQ(SBR_TransformMonitorPoints(body, &twice), 1);
  SBR_GetMonitorPointOperator(body, 0, 4, found.data());
  EXPECT_EQ(found, data);
  SBR_SetModalLoad(body, 1, 1, 0.0);
  EXPECT_EQ(SBR_TransformMonitorPoints(body, &twice), 1);
  SBR_GetMonitorPointOperator(body, 0, 4, found.data());
  EXPECT_EQ(found, (Values{2, 4, 3}));
  SBR_SetModalLoad(body, 9, 1, 0.0);
  EXPECT_EQ(SBR_TransformMonitorPoints(body, &twice), 1);
  SBR_GetMonitorPointOperator(body, 0, 4, found.data());
  EXPECT_EQ(found, (Values{4, 8, 6}));
}

TEST_F(OrthonormalizationTest, MonitorPointsWithoutMatrixOrModesStay) {
  SBR body = make_modal_body(1, 1);
  EXPECT_EQ(SBR_TransformMonitorPoints(body, nullptr), 1);
  const double twice = 2.0;
  EXPECT_EQ(SBR_TransformMonitorPoints(body, &twice), 1);
  EXPECT_EQ(SBR_TransformMonitorPoints(nullptr, &twice), 0);
}

// ---- eigenvalue table and scales -----------------------------------------------------------------------------------

TEST_F(OrthonormalizationTest, ExistingTableIsEnough) {
  SBR body = make_modal_body(1, 2);
  set_diagonal(body, {1.0, 1.0}, {1.0, 2.0});
  ASSERT_EQ(SBR_EnsureEigenTable(body), 1);
  state::eigen_table(body)[0].eigenvalue = 77.0;
  ASSERT_EQ(SBR_EnsureEigenTable(body), 1);
  EXPECT_EQ(eigenvalues_of(body)[0].eigenvalue, 77.0);
}

TEST_F(OrthonormalizationTest, TableKeepsMassesThatAreStillToBeNormalized) {
  SBR body = make_modal_body(1, 2);
  set_diagonal(body, {4.0, 1.0}, {1.0, 2.0});
  ASSERT_EQ(SBR_EnsureEigenTable(body), 1);
  EXPECT_EQ(eigenvalues_of(body)[0].generalized_mass, 4.0);
  EXPECT_EQ(eigenvalues_of(body)[0].eigenvalue, 0.25);
}

TEST_F(OrthonormalizationTest, TableOfNonOrthogonalDataComplainsForEachModeAndThenWarns) {
  SBR body = make_modal_body(1, 2);
  SBR_SetGeneralizedStiffness(body, 1, 2, 3.0);
  log.clear();
  EXPECT_EQ(SBR_EnsureEigenTable(body), 1);
  const Message non_orthogonal = error("Attempting to look at eigenvalues of non-orthogonal data");
  EXPECT_EQ(log.take(),
            (std::vector<Message>{
                non_orthogonal, non_orthogonal,
                warning("Mode 1 is not physically meaningful.\nIt is associated with a zero generalized mass\n"),
                warning("Mode 2 is not physically meaningful.\nIt is associated with a zero generalized mass\n")}));
  EXPECT_EQ(table_eigenvalues(body), (Values{kMarker, kMarker}));
}

TEST_F(OrthonormalizationTest, TableAndScalesOfABodyWithoutModesReportTheAllocation) {
  SBR body = SBR_Create(1, 1);
  EXPECT_EQ(SBR_EnsureEigenTable(body), 0);
  double *scale = nullptr;
  EXPECT_EQ(SBR_MassNormalizationScales(body, &scale), 0);
  const auto found = log.take();
  ASSERT_EQ(found.size(), 2u);
  for (const Message &message : found) EXPECT_TRUE(is_no_memory(message, "sbrwrite"));
  EXPECT_EQ(scale, nullptr);
}

TEST_F(OrthonormalizationTest, ScalesAreRootsOfTheMassesAndNanForNegativeOnes) {
  SBR body = make_modal_body(1, 4);
  set_diagonal(body, {9.0, 0.0, -4.0, 1.0}, {18.0, 5.0, 8.0, 3.0});
  ASSERT_EQ(SBR_EnsureEigenTable(body), 1);
  double *scale = nullptr;
  ASSERT_EQ(SBR_MassNormalizationScales(body, &scale), 1);
  EXPECT_EQ(scale[0], 3.0);
  EXPECT_EQ(scale[1], 1.0);
  EXPECT_TRUE(std::isnan(scale[2]));
  EXPECT_EQ(scale[3], 1.0);
  SBR_FreeMemory(scale);
  const std::vector<EigenValues> table = eigenvalues_of(body);
  EXPECT_EQ(table[0].generalized_mass, 1.0);
  EXPECT_EQ(table[0].generalized_stiffness, 2.0);
  EXPECT_EQ(table[1].generalized_mass, 0.0);
  EXPECT_EQ(table[1].generalized_stiffness, 5.0);
  EXPECT_EQ(table[2].generalized_mass, 1.0);
  EXPECT_EQ(table[2].generalized_stiffness, -2.0);
  EXPECT_EQ(SBR_MassNormalizationScales(body, nullptr), 0);
}

TEST_F(OrthonormalizationTest, TableShorterThanTheModesScalesTheRestByOne) {
  SBR body = make_modal_body(1, 3);
  set_diagonal(body, {4.0, 4.0, 4.0}, {1.0, 1.0, 1.0});
  ASSERT_EQ(SBR_EnsureEigenTable(body), 1);
  ASSERT_TRUE(state::eigen_table(body).resize(1));
  double *scale = nullptr;
  ASSERT_EQ(SBR_MassNormalizationScales(body, &scale), 1);
  EXPECT_EQ(Values(scale, scale + 3), (Values{2.0, 1.0, 1.0}));
  SBR_FreeMemory(scale);
  EXPECT_EQ(SBR_OrthoNormalize(body), 1);
}

// ---- masses between groups of modes --------------------------------------------------------------------------------

TEST_F(OrthonormalizationTest, MassesBetweenGroupsComeFromTheNodes) {
  SBR body = make_modal_body(3, 3);
  const Values masses{2.0, 0.0, 5.0};
  for (int n = 0; n < 3; ++n) SBR_SetNodalMass(body, n + 1, masses[static_cast<std::size_t>(n)]);
  SBR_SetNodalInertia(body, 2, 10.0, 20.0, 30.0, 1.0, 2.0, 3.0);
  log.clear();
  SBR_AnsysAddGenMass(body, 2, 1);
  EXPECT_TRUE(log.take().empty());
  EXPECT_EQ(state::modes_not_orthogonal(body), 1);
  double full[9];
  ASSERT_EQ(SBR_GenMassFull(body, full, 3), 1);
  for (int i = 0; i < 2; ++i) {
    double expected = 0.0;
    for (int n = 0; n < 3; ++n)
      for (int c = 0; c < 3; ++c)
        expected += masses[static_cast<std::size_t>(n)] * mode_value(i, n, c) * mode_value(2, n, c);
    double inertia[9];
    ASSERT_EQ(SBR_NodalInertia(body, 1, inertia), 1);
    for (int r = 0; r < 3; ++r)
      for (int c = 0; c < 3; ++c) expected += inertia[3 * r + c] * mode_value(i, 1, 3 + c) * mode_value(2, 1, 3 + r);
    EXPECT_NEAR(full[i * 3 + 2], expected, 1e-14);
    EXPECT_EQ(full[i * 3 + 2], full[6 + i]);
  }
  EXPECT_EQ(full[1], 0.0);
  EXPECT_EQ(SBR_NumberOfGenMass(body), 4);
}

TEST_F(OrthonormalizationTest, MassesBetweenGroupsNeedTheModeCount) {
  SBR body = make_modal_body(1, 3);
  log.clear();
  SBR_AnsysAddGenMass(body, 1, 1);
  SBR_AnsysAddGenMass(body, std::numeric_limits<int>::max(), std::numeric_limits<int>::max());
  const Message mismatch = error("Mode count mismatch while generating additional generalized masses.");
  EXPECT_EQ(log.take(), (std::vector<Message>{mismatch, mismatch}));
  SBR_AnsysAddGenMass(body, -1, 4);
  SBR_AnsysAddGenMass(body, 4, -1);
  EXPECT_TRUE(log.take().empty());
  EXPECT_FALSE(state::mass_list(body));
}

TEST_F(OrthonormalizationTest, MassesBetweenGroupsNeedTheModesByNumber) {
  SBR body = SBR_Create(1, 2);
  const double six[6] = {1, 0, 0, 0, 0, 0};
  SBR_SetModeVec(body, 1, 1, 0, six);
  SBR_SetModeVec(body, 7, 1, 0, six);
  log.clear();
  SBR_AnsysAddGenMass(body, 1, 1);
  EXPECT_EQ(log.take(), std::vector<Message>{error("Failed to extract mode information for SBR.\n")});
}

}  // namespace
}  // namespace sbrtest
