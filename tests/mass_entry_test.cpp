// Invariants and global mass properties that are entered by hand.
#include <cmath>
#include <limits>

#include "support/body_state.h"
#include "support/mass_body.h"
#include "support/messages.h"

namespace sbrtest {
namespace {

const Message kNoBody = error("The database has not been initialized.");
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

bool is_unknown_mode(const Message &message, int number) {
  const std::string head = "Mode number " + std::to_string(number) + " does not exist.  Requested at line ";
  const std::string tail = " in file sbrinvar.\n";
  return message.severity == Severity::error && message.text.starts_with(head) && message.text.ends_with(tail);
}

// Two modes with the numbers 7 and 8.
class EntryTest : public LibraryTest {
 protected:
  EntryTest() {
    SBR_AddMode(body, 7);
    SBR_AddMode(body, 8);
  }
  std::vector<double> take(double *values, int count) {
    const OwnedDoubles owned = own(values);
    return owned ? std::vector<double>(owned.get(), owned.get() + count) : std::vector<double>{};
  }
  SBR body = SBR_Create(4, 4);
};

TEST_F(EntryTest, InvariantOneIsStoredAndFlagged) {
  EXPECT_EQ(SBR_Exists(body, 18), 0);
  EXPECT_EQ(SBR_SetInvar1(body, 12.5), 1);
  EXPECT_EQ(SBR_Invar1(body), 12.5);
  EXPECT_EQ(SBR_Exists(body, 18), 1);
}

TEST_F(EntryTest, InvariantOneMustBeGreaterThanZero) {
  for (const double bad : {0.0, -1.0, -std::numeric_limits<double>::infinity()}) {
    EXPECT_EQ(SBR_SetInvar1(body, bad), 0);
    EXPECT_EQ(log.take(), std::vector<Message>{error("Inertia Invariant 1 must be greater than zero")});
  }
  EXPECT_EQ(SBR_Exists(body, 18), 0);
}

TEST_F(EntryTest, InvariantOnePassesANotANumber) {
  EXPECT_EQ(SBR_SetInvar1(body, kNaN), 1);
  EXPECT_TRUE(std::isnan(SBR_Invar1(body)));
}

TEST_F(EntryTest, InvariantTwoIsStoredAndFlagged) {
  const double v[3] = {1, 2, 3};
  EXPECT_EQ(SBR_SetInvar2(body, v), 1);
  EXPECT_EQ(take(SBR_Invar2(body), 3), (std::vector<double>{1, 2, 3}));
  EXPECT_EQ(SBR_Exists(body, 19), 1);
}

TEST_F(EntryTest, InvariantsThreeAndFourAreComponentMajor) {
  const double v[3] = {1, 2, 3};
  EXPECT_EQ(SBR_SetInvar3(body, 8, v), 1);
  EXPECT_EQ(SBR_SetInvar4(body, 7, v), 1);
  EXPECT_EQ(take(SBR_Invar3(body), 6), (std::vector<double>{0, 1, 0, 2, 0, 3}));
  EXPECT_EQ(take(SBR_Invar4(body), 6), (std::vector<double>{1, 0, 2, 0, 3, 0}));
  EXPECT_EQ(SBR_Exists(body, 20), 1);
  EXPECT_EQ(SBR_Exists(body, 21), 1);
}

TEST_F(EntryTest, UnknownModesAreReportedAndNotAdded) {
  const double v[9] = {};
  EXPECT_EQ(SBR_SetInvar3(body, 1, v), 0);
  EXPECT_EQ(SBR_SetInvar4(body, 2, v), 0);
  EXPECT_EQ(SBR_SetInvar5(body, 3, 7, v), 0);
  EXPECT_EQ(SBR_SetInvar5(body, 7, 4, v), 0);
  EXPECT_EQ(SBR_SetInvar8(body, 5, v), 0);
  EXPECT_EQ(SBR_SetInvar9(body, 6, 9, v), 0);  // the row is looked up first
  EXPECT_EQ(SBR_SetInvar9(body, 7, 9, v), 0);
  const std::vector<Message> messages = log.take();
  const int numbers[] = {1, 2, 3, 4, 5, 6, 9};
  ASSERT_EQ(messages.size(), 7U);
  for (std::size_t i = 0; i < 7; ++i) EXPECT_TRUE(is_unknown_mode(messages[i], numbers[i])) << messages[i].text;
  EXPECT_EQ(SBR_ModeCount(body), 2);
  for (int block = 18; block <= 25; ++block) EXPECT_EQ(SBR_Exists(body, block), 0);
}

TEST_F(EntryTest, InvariantFiveMirrorsTheNegative) {
  const double v[3] = {1, 2, 3};
  EXPECT_EQ(SBR_SetInvar5(body, 7, 8, v), 1);
  EXPECT_EQ(take(SBR_Invar5(body, 0), 6), (std::vector<double>{0, 1, 0, 2, 0, 3}));
  EXPECT_EQ(take(SBR_Invar5(body, 1), 6), (std::vector<double>{-1, 0, -2, 0, -3, 0}));
  EXPECT_EQ(SBR_Exists(body, 22), 1);
  EXPECT_TRUE(log.take().empty());
}

TEST_F(EntryTest, InvariantFiveOfAModeWithItselfKeepsTheNegativeSilentlyWhenSmall) {
  const double v[3] = {1e-9, 0, 0};
  EXPECT_EQ(SBR_SetInvar5(body, 7, 7, v), 1);
  EXPECT_TRUE(log.take().empty());
  EXPECT_EQ(take(SBR_Invar5(body, 0), 6), (std::vector<double>{-1e-9, 0, 0, 0, 0, 0}));
}

TEST_F(EntryTest, InvariantFiveOfAModeWithItselfWarnsWhenItIsNotZero) {
  const double v[3] = {0, 0, 2e-8};
  EXPECT_EQ(SBR_SetInvar5(body, 7, 7, v), 1);
  EXPECT_EQ(log.take(), std::vector<Message>{
                            warning("I5(7, 7) is not zero.\n   (0.00000000e+00, 0.00000000e+00, 2.00000000e-08)")});
  EXPECT_EQ(take(SBR_Invar5(body, 0), 6)[4], -2e-8);
}

TEST_F(EntryTest, InvariantSixEntersTheIdentityAsGeneralizedMasses) {
  const double ones[2] = {1.0, 1.0};
  EXPECT_EQ(SBR_SetInvar6(body, ones), 1);
  EXPECT_EQ(SBR_NumberOfGenMass(body), 2);
  EXPECT_EQ(take(SBR_Invar6(body), 4), (std::vector<double>{1, 0, 0, 1}));
  EXPECT_EQ(SBR_Exists(body, 12), 1);
  EXPECT_EQ(state::modes_not_normalized(body), 0);
  EXPECT_EQ(state::modes_not_orthogonal(body), 0);
}

TEST_F(EntryTest, InvariantSixIsTestedForEqualityWithOne) {
  for (const double bad : {0.9999999999, kNaN, 2.0}) {
    const double diagonal[2] = {1.0, bad};
    EXPECT_EQ(SBR_SetInvar6(body, diagonal), 0);
    EXPECT_EQ(log.take(), std::vector<Message>{error("Inertia Invariant 6 must be an identity matrix.")});
  }
  EXPECT_EQ(SBR_NumberOfGenMass(body), 3);  // the entries made before each refusal stay
}

TEST_F(EntryTest, InvariantSixOfABodyWithoutModesSucceeds) {
  SBR empty = SBR_Create(1, 1);
  EXPECT_EQ(SBR_SetInvar6(empty, nullptr), 1);
  EXPECT_EQ(SBR_Exists(empty, 12), 0);
}

TEST_F(EntryTest, InvariantSevenIsSpreadToAFullMatrix) {
  const double six[6] = {1, 2, 3, 4, 5, 6};
  EXPECT_EQ(SBR_SetInvar7(body, six), 1);
  EXPECT_EQ(take(SBR_Invar7(body), 9), (std::vector<double>{1, 4, 5, 4, 2, 6, 5, 6, 3}));
  EXPECT_EQ(SBR_Exists(body, 23), 1);
}

TEST_F(EntryTest, InvariantEightIsStoredPerMode) {
  const double v[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
  EXPECT_EQ(SBR_SetInvar8(body, 8, v), 1);
  EXPECT_EQ(take(SBR_Invar8(body, 0), 9), std::vector<double>(9, 0.0));
  EXPECT_EQ(take(SBR_Invar8(body, 1), 9), (std::vector<double>{1, 2, 3, 4, 5, 6, 7, 8, 9}));
  EXPECT_EQ(SBR_Exists(body, 24), 1);
}

TEST_F(EntryTest, InvariantNineMirrorsTheTransposeWithoutACheck) {
  const double v[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
  EXPECT_EQ(SBR_SetInvar9(body, 7, 8, v), 1);
  EXPECT_EQ(take(SBR_Invar9(body, 0, 1), 9), (std::vector<double>{1, 2, 3, 4, 5, 6, 7, 8, 9}));
  EXPECT_EQ(take(SBR_Invar9(body, 1, 0), 9), (std::vector<double>{1, 4, 7, 2, 5, 8, 3, 6, 9}));
  EXPECT_EQ(SBR_Exists(body, 25), 1);
  EXPECT_TRUE(log.take().empty());
}

TEST_F(EntryTest, InvariantNineOfAModeWithItselfEndsSymmetricWithAWarning) {
  const double v[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
  EXPECT_EQ(SBR_SetInvar9(body, 7, 7, v), 1);
  EXPECT_EQ(take(SBR_Invar9(body, 0, 0), 9), (std::vector<double>{1, 4, 7, 4, 5, 8, 7, 8, 9}));
  EXPECT_EQ(log.take(), std::vector<Message>{warning("I9(7, 7) is not symmetric.\n"
                                                     "   1.00000000e+00 2.00000000e+00 3.00000000e+00\n"
                                                     "   4.00000000e+00 5.00000000e+00 6.00000000e+00\n"
                                                     "   7.00000000e+00 8.00000000e+00 9.00000000e+00\n")});
}

TEST_F(EntryTest, SymmetryOfInvariantNineIsRelativeAboveOneAndAbsoluteBelow) {
  const double wide[9] = {0, 1000.0, 0, 1000.000005, 0, 0, 0, 0, 0};  // 5e-9 of 1000
  SBR_SetInvar9(body, 7, 7, wide);
  const double narrow[9] = {0, 0, 1e-9, 0, 0, 0, 9e-9, 0, 0};
  SBR_SetInvar9(body, 7, 7, narrow);
  EXPECT_TRUE(log.take().empty());
  const double broken[9] = {0, 0, 0, 0, 0, 0.5, 0, 0.50000002, 0};
  SBR_SetInvar9(body, 7, 7, broken);
  EXPECT_EQ(log.take().size(), 1U);
}

TEST_F(EntryTest, ModesThatComeAfterACellWasMadeHaveNoPlaceInIt) {
  const double v[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
  SBR_SetInvar3(body, 7, v);
  SBR_SetInvar5(body, 7, 8, v);
  SBR_SetInvar8(body, 7, v);
  SBR_SetInvar9(body, 7, 8, v);
  SBR_AddMode(body, 9);
  log.clear();
  EXPECT_EQ(SBR_SetInvar3(body, 9, v), 0);
  EXPECT_EQ(SBR_SetInvar5(body, 9, 7, v), 0);
  EXPECT_EQ(SBR_SetInvar5(body, 7, 9, v), 0);
  EXPECT_EQ(SBR_SetInvar8(body, 9, v), 0);
  EXPECT_EQ(SBR_SetInvar9(body, 9, 7, v), 0);
  EXPECT_EQ(SBR_SetInvar9(body, 7, 9, v), 0);
  const std::vector<Message> messages = log.take();
  ASSERT_EQ(messages.size(), 6U);
  for (const Message &message : messages) EXPECT_TRUE(is_unknown_mode(message, 9)) << message.text;
}

TEST_F(EntryTest, NullValuesAndNullBodiesAreRefused) {
  EXPECT_EQ(SBR_SetInvar2(body, nullptr), 0);
  EXPECT_EQ(SBR_SetInvar3(body, 7, nullptr), 0);
  EXPECT_EQ(SBR_SetInvar4(body, 7, nullptr), 0);
  EXPECT_EQ(SBR_SetInvar5(body, 7, 8, nullptr), 0);
  EXPECT_EQ(SBR_SetInvar6(body, nullptr), 0);
  EXPECT_EQ(SBR_SetInvar7(body, nullptr), 0);
  EXPECT_EQ(SBR_SetInvar8(body, 7, nullptr), 0);
  EXPECT_EQ(SBR_SetInvar9(body, 7, 8, nullptr), 0);
  for (int block = 18; block <= 25; ++block) EXPECT_EQ(SBR_Exists(body, block), 0);
  EXPECT_TRUE(log.take().empty());
  const double v[9] = {};
  double out[9];
  EXPECT_EQ(SBR_SetInvar1(nullptr, 1.0), 0);
  EXPECT_EQ(SBR_SetInvar2(nullptr, v), 0);
  EXPECT_EQ(SBR_SetInvar3(nullptr, 7, v), 0);
  EXPECT_EQ(SBR_SetInvar4(nullptr, 7, v), 0);
  EXPECT_EQ(SBR_SetInvar5(nullptr, 7, 7, v), 0);
  EXPECT_EQ(SBR_SetInvar6(nullptr, v), 0);
  EXPECT_EQ(SBR_SetInvar7(nullptr, v), 0);
  EXPECT_EQ(SBR_SetInvar8(nullptr, 7, v), 0);
  EXPECT_EQ(SBR_SetInvar9(nullptr, 7, 7, v), 0);
  EXPECT_EQ(SBR_SetGlobalMass(nullptr, 1.0, v, v), 0);
  EXPECT_EQ(SBR_TotalMassInertia(nullptr, out, out, out), 0);
  EXPECT_EQ(SBR_CalculateGlobalMassFromNodeMass(nullptr), 0);
  EXPECT_EQ(log.take(), std::vector<Message>(12, kNoBody));
}

// ---- global mass ---------------------------------------------------------------------------------------------------

const Message kMassDiffers = warning("Global mass is inconsistent with INVAR1 setting or sum of nodal masses.");
const Message kCenterDiffers = warning("Global center of mass is inconsistent with INVAR2 setting or nodal data.");
const Message kInertiaDiffers = warning("Global mass inertia is inconsistent with INVAR7 setting or nodal data.");

// Two points of mass 1 and 3 at (0, 0, 0) and (4, 2, 1): mass 4, center (3, 1.5, 0.75).
class GlobalMassTest : public LibraryTest {
 protected:
  GlobalMassTest() {
    SBR_SetNodeCoordinates(body, 1, 0, 0, 0);
    SBR_SetNodalMass(body, 1, 1.0);
    SBR_SetNodeCoordinates(body, 2, 4, 2, 1);
    SBR_SetNodalMass(body, 2, 3.0);
  }
  SBR body = SBR_Create(4, 4);
  const double center[3] = {3.0, 1.5, 0.75};
  const double inertia[9] = {15.0, 24.0, 12.0, 24.0, 51.0, 6.0, 12.0, 6.0, 60.0};
};

TEST_F(GlobalMassTest, ConsistentPropertiesAreStoredSilently) {
  EXPECT_EQ(SBR_SetGlobalMass(body, 4.0, center, inertia), 1);
  EXPECT_TRUE(log.take().empty());
  EXPECT_EQ(SBR_Exists(body, 5), 1);
  EXPECT_EQ(state::global(body).mass, 4.0);
  EXPECT_EQ(state::global(body).center[1], 1.5);
  EXPECT_EQ(state::global(body).inertia[5], 6.0);
}

TEST_F(GlobalMassTest, AMassOffByOnePercentWarnsAndIsStored) {
  for (const double mass : {4.04, 3.96}) {
    EXPECT_EQ(SBR_SetGlobalMass(body, mass, center, inertia), 1);
    EXPECT_EQ(log.take(), std::vector<Message>{kMassDiffers});
    EXPECT_EQ(state::global(body).mass, mass);
  }
}

TEST_F(GlobalMassTest, ADifferenceWithinTheToleranceIsNoFinding) {
  EXPECT_EQ(SBR_SetGlobalMass(body, 4.00000003, center, inertia), 1);  // 7.5e-9 of 4
  EXPECT_TRUE(log.take().empty());
}

TEST_F(GlobalMassTest, AForeignCenterWarnsOnce) {
  const double elsewhere[3] = {1.0, 1.0, 1.0};
  EXPECT_EQ(SBR_SetGlobalMass(body, 4.0, elsewhere, inertia), 1);
  EXPECT_EQ(log.take(), std::vector<Message>{kCenterDiffers});
  EXPECT_EQ(state::global(body).center[0], 1.0);
}

TEST_F(GlobalMassTest, AForeignInertiaWarnsOnce) {
  const double tensor[9] = {15.0, -24.0, -12.0, -24.0, 51.0, -6.0, -12.0, -6.0, 60.0};  // products of the wrong sign
  EXPECT_EQ(SBR_SetGlobalMass(body, 4.0, center, tensor), 1);
  EXPECT_EQ(log.take(), std::vector<Message>{kInertiaDiffers});
  EXPECT_EQ(state::global(body).inertia[1], -24.0);
}

TEST_F(GlobalMassTest, AllThreeFindingsComeInOrder) {
  const double zeros[9] = {};
  EXPECT_EQ(SBR_SetGlobalMass(body, 1.0, zeros, zeros), 1);
  EXPECT_EQ(log.take(), (std::vector<Message>{kMassDiffers, kCenterDiffers, kInertiaDiffers}));
}

TEST_F(GlobalMassTest, WithoutAnyMassTheHostIsTold) {
  SBR empty = SBR_Create(1, 1);
  const double zeros[9] = {};
  EXPECT_EQ(SBR_SetGlobalMass(empty, 0.0, zeros, zeros), 1);
  EXPECT_EQ(log.take(), std::vector<Message>{info("Global mass is being set to zero.")});
}

TEST_F(GlobalMassTest, WithoutNodalMassTheMomentIsDividedByTheGivenMass) {
  SBR entered = SBR_Create(1, 1);
  ASSERT_TRUE(state::invariants(entered).invar1.allocate(1));
  const double moment[3] = {2.0, 4.0, 6.0};
  SBR_SetInvar2(entered, moment);
  const double given[3] = {1.0, 2.0, 3.0};
  const double zeros[9] = {};
  EXPECT_EQ(SBR_SetGlobalMass(entered, 2.0, given, zeros), 1);
  EXPECT_EQ(log.take(), std::vector<Message>{kMassDiffers});
}

TEST_F(GlobalMassTest, MissingArraysAreRefused) {
  EXPECT_EQ(SBR_SetGlobalMass(body, 4.0, nullptr, inertia), 0);
  EXPECT_EQ(SBR_SetGlobalMass(body, 4.0, center, nullptr), 0);
  EXPECT_EQ(SBR_Exists(body, 5), 0);
  EXPECT_EQ(state::global(body).mass, 0.0);
}

TEST_F(GlobalMassTest, TheComparisonFillsTheCells) {
  // A body of global properties only keeps the zeros that the comparison found.
  SBR empty = SBR_Create(1, 1);
  SBR_SetGlobalMass(empty, 2.0, center, inertia);
  log.clear();
  EXPECT_EQ(SBR_Invar1(empty), 0.0);
  EXPECT_EQ(state::global(empty).mass, 2.0);
}

TEST_F(GlobalMassTest, TotalsComeFromTheInvariantsAndReplaceWhatWasGiven) {
  const double zeros[9] = {};
  SBR_SetGlobalMass(body, 9.0, zeros, zeros);
  log.clear();
  double mass = 0.0;
  double tensor[9];
  double place[3];
  EXPECT_EQ(SBR_TotalMassInertia(body, &mass, tensor, place), 1);
  EXPECT_TRUE(log.take().empty());
  EXPECT_EQ(mass, 4.0);
  for (int c = 0; c < 3; ++c) EXPECT_EQ(place[c], center[c]);
  for (int p = 0; p < 9; ++p) EXPECT_EQ(tensor[p], inertia[p]) << p;
  EXPECT_EQ(state::global(body).mass, 4.0);
  EXPECT_EQ(SBR_TotalMassInertia(body, nullptr, nullptr, nullptr), 1);
}

TEST_F(GlobalMassTest, WithoutMassTheCenterIsZero) {
  SBR empty = SBR_Create(1, 1);
  state::global(empty).center[1] = 5.0;
  EXPECT_EQ(SBR_CalculateGlobalMassFromNodeMass(empty), 1);
  EXPECT_EQ(state::global(empty).center[1], 0.0);
}

}  // namespace
}  // namespace sbrtest
