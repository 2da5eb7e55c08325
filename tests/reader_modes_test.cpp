// Reading eigenvalues, mode lists and positions, generalized matrices, transformation, statistics, pre-vectors.
#include <cmath>

#include "support/body_state.h"
#include "support/body_view.h"
#include "support/record_test.h"

namespace sbrtest {
namespace {

using ModeReaderTest = RecordTest;

std::vector<double> ramp(std::size_t count, double start) {
  std::vector<double> values(count);
  for (std::size_t i = 0; i < count; ++i) values[i] = start + static_cast<double>(i);
  return values;
}

std::vector<int> numbers_of(SBR body) {
  std::vector<int> numbers;
  for (int i = 0; i < SBR_ModeCount(body); ++i) numbers.push_back(SBR_ModeNumber(body, i));
  return numbers;
}

// The first part of a mode, all nodes of the kind.
std::vector<double> part_of(SBR body, int number, int kind) {
  std::vector<double> values(3 * static_cast<std::size_t>(SBR_ModeNodeCount(body, kind)));
  EXPECT_EQ(SBR_Mode(body, number, kind, values.data(), 0), 1);
  return values;
}

// ---- eigenvalues ---------------------------------------------------------------------------------------------------

TEST_F(ModeReaderTest, EigenvaluesAreReadInEveryEncoding) {
  for (const std::uint32_t word : {20, 31, 50, 0x13C, 0x33C}) {
    RecordBuilder record = two_nodes(word);
    record.eigenvalues({{7, 100, 1.5, 10, 2, 200}, {9, 400, 3, 20, 1, 400}});
    SBR body = expect_opened(record);
    EXPECT_EQ(state::eigenvalue_count(body), 2);
    const sbr::EigenRecord &first = state::eigen_table(body)[0];
    EXPECT_EQ(first.mode, 7);
    EXPECT_EQ(first.eigenvalue, 100.0);
    EXPECT_EQ(first.frequency_hz, 1.5);
    EXPECT_EQ(first.frequency_rad, 10.0);
    EXPECT_EQ(first.generalized_mass, 2.0);
    EXPECT_EQ(first.generalized_stiffness, 200.0);
    EXPECT_EQ(state::eigen_table(body)[1].mode, 9);
  }
}

TEST_F(ModeReaderTest, Version10DerivesFourColumnsFromTheEigenvalue) {
  RecordBuilder record = two_nodes(10);
  record.eigenvalues({{1, 625, 99, 99, 99, 99}, {2, -4, 99, 99, 99, 99}});
  SBR body = expect_opened(record);
  const sbr::EigenRecord &first = state::eigen_table(body)[0];
  EXPECT_EQ(first.frequency_rad, 25.0);
  EXPECT_EQ(first.frequency_hz, 25.0 / 6.28318530718);
  EXPECT_EQ(first.generalized_mass, 1.0);
  EXPECT_EQ(first.generalized_stiffness, 625.0);
  EXPECT_TRUE(std::isnan(state::eigen_table(body)[1].frequency_rad));
}

TEST_F(ModeReaderTest, NoEigenvaluesAreAccepted) {
  RecordBuilder record = two_nodes();
  record.eigenvalues({});
  SBR body = expect_opened(record);
  EXPECT_FALSE(state::eigen_table(body));
}

TEST_F(ModeReaderTest, ANegativeEigenvalueCountIsRefused) {
  RecordBuilder record = two_nodes();
  record.block(6).integer(-1);
  expect_refused(record, {error("Problem reading Eigenvalue Data")});
}

TEST_F(ModeReaderTest, CutEigenvaluesAreRefused) {
  RecordBuilder record = two_nodes();
  record.eigenvalues({{1, 1}, {2, 4}});
  expect_refused_when_cut(record, 6, 1,
                          {error("Problem in eigenvalues block"), error("Problem reading Eigenvalue Data")});
  expect_refused_when_cut(record, 6, 4 + 87, {error("Problem reading Eigenvalue Data")});
}

// ---- mode shapes ---------------------------------------------------------------------------------------------------

TEST_F(ModeReaderTest, ModeShapesStayOnDiskAndAreFoundByTheirNumbers) {
  for (const std::uint32_t word : {30, 31, 40, 41, 50, 51, 0x3C, 0x13C, 0x23C, 0x33C}) {
    RecordBuilder record = two_nodes(word);
    record.modes(7, {10, 20}, {{5, ramp(12, 1)}, {3, ramp(12, 101)}});
    SBR body = expect_opened(record);
    EXPECT_EQ(numbers_of(body), (std::vector<int>{5, 3}));
    EXPECT_EQ(state::mode_offsets(body, sbr::Kind::shape)[0], static_cast<std::int64_t>(record.offset(7)) + 8 + 8 + 4);
    EXPECT_EQ(state::mode_offsets(body, sbr::Kind::shape)[1] - state::mode_offsets(body, sbr::Kind::shape)[0],
              12 * record.real_size() + 4);
    EXPECT_EQ(part_of(body, 3, 0), (std::vector<double>{101, 102, 103, 107, 108, 109}));
  }
}

TEST_F(ModeReaderTest, Version10HasNoWordBetweenModes) {
  RecordBuilder record = two_nodes(10);
  record.modes(7, {10, 20}, {{0, ramp(12, 1)}, {0, ramp(12, 101)}});
  EXPECT_EQ(record.block(7).size(), 8U + 8 + 2 * 12 * 8);
  SBR body = expect_opened(record);
  EXPECT_EQ(numbers_of(body), (std::vector<int>{1, 2}));
  EXPECT_EQ(part_of(body, 2, 0), (std::vector<double>{101, 102, 103, 107, 108, 109}));
}

TEST_F(ModeReaderTest, Version20HasAWordThatIsIgnored) {
  RecordBuilder record = two_nodes(20);
  record.modes(7, {10, 20}, {{55, ramp(12, 1)}, {66, ramp(12, 101)}});
  SBR body = expect_opened(record);
  EXPECT_EQ(numbers_of(body), (std::vector<int>{1, 2}));
  EXPECT_EQ(part_of(body, 2, 0), (std::vector<double>{101, 102, 103, 107, 108, 109}));
}

TEST_F(ModeReaderTest, OldVersionsTakeTheNumbersFromTheEigenvalues) {
  for (const std::uint32_t word : {10, 20}) {
    RecordBuilder record = two_nodes(word);
    record.eigenvalues({{31, 1}, {17, 4}});
    record.modes(7, {10, 20}, {{0, ramp(12, 1)}, {0, ramp(12, 1)}});
    EXPECT_EQ(numbers_of(expect_opened(record)), (std::vector<int>{31, 17}));
  }
}

TEST_F(ModeReaderTest, AModeCountUnlikeTheEigenvaluesIsRefused) {
  RecordBuilder record = two_nodes();
  record.eigenvalues({{1, 1}});
  record.modes(7, {10, 20}, {{1, ramp(12, 1)}, {2, ramp(12, 1)}});
  expect_refused(record, {error("Number of mode shapes does not match the number of eigenvalues")});
}

TEST_F(ModeReaderTest, ModeShapesWithoutNodesAreOutOfMemory) {
  RecordBuilder record(0x3C);
  record.modes(7, {}, {});
  EXPECT_EQ(open(record), nullptr);
  const std::vector<Message> messages = log.take();
  ASSERT_EQ(messages.size(), 1U);
  EXPECT_TRUE(is_no_memory(messages[0], "sbrread"));
}

TEST_F(ModeReaderTest, AModeBlockWithoutModesLeavesABodyWithoutModes) {
  RecordBuilder record = two_nodes();
  record.modes(7, {10, 20}, {});
  SBR body = expect_opened(record);
  EXPECT_EQ(SBR_ModeCount(body), 0);
  EXPECT_EQ(SBR_ModeNodeCount(body, 0), 2);
}

TEST_F(ModeReaderTest, ACutModeBlockIsRefusedInItsWordsOnly) {
  RecordBuilder record = two_nodes();
  record.modes(7, {10, 20}, {{1, ramp(12, 1)}, {2, ramp(12, 1)}});
  const Message problem = error("Problem encountered while caching Mode shape Data");
  expect_refused_when_cut(record, 7, 7, {error("Problem in mode shapes block"), problem});
  expect_refused_when_cut(record, 7, 15, {problem});
  expect_refused_when_cut(record, 7, 16 + 3, {problem});
  expect_refused_when_cut(record, 7, 16 + 4 + 96 + 2, {problem});
  // The data of the last mode is not looked at.
  EXPECT_NE(open_bytes(record.bytes().substr(0, record.offset(7) + 16 + 4 + 96 + 4)), nullptr);
}

TEST_F(ModeReaderTest, MoreModeNodesThanNodesAreRefused) {
  RecordBuilder record = two_nodes();
  record.modes(7, {10, 20, 30}, {{1, ramp(18, 1)}});
  expect_refused(record, {error("Problem encountered while caching Mode shape Data")});
}

TEST_F(ModeReaderTest, FewerModeNodesThanNodesAreTheListOfTheModes) {
  RecordBuilder record = two_nodes();
  record.modes(7, {10}, {{1, ramp(6, 1)}});
  SBR body = expect_opened(record);
  EXPECT_EQ(SBR_ModeNodeCount(body, 0), 1);
  EXPECT_EQ(SBR_NodeCount(body), 2);
}

// ---- the order of the nodes ----------------------------------------------------------------------------------------

TEST_F(ModeReaderTest, TheNodeTableFollowsTheOrderOfTheModes) {
  RecordBuilder record(0x13C);
  record.nodes({{1, {1, 0, 0}}, {2, {2, 0, 0}}, {3, {3, 0, 0}}});
  record.modes(7, {3, 2, 1}, {{1, ramp(18, 1)}});
  SBR body = expect_opened(record);
  EXPECT_EQ(SBR_NodeID(body, 0), 3);
  EXPECT_EQ(SBR_NodeID(body, 2), 1);
  double xyz[3];
  SBR_NodeCoordinates(body, 0, xyz);
  EXPECT_EQ(xyz[0], 3.0);
}

TEST_F(ModeReaderTest, LookupsKeepTheIndicesOfTheFileAfterTheOrderChanged) {
  RecordBuilder record(0x13C);
  record.nodes({{1, {1, 0, 0}}, {2, {2, 0, 0}}, {3, {3, 0, 0}}});
  record.modes(7, {3, 2, 1}, {{1, ramp(18, 1)}});
  record.masses({{1, {0.25}}});
  SBR body = expect_opened(record);
  EXPECT_EQ(SBR_NodeIndex(body, 1), 0);
  EXPECT_EQ(SBR_NodeIndex(body, 3), 2);
  // So does the mass block, which thereby reaches the record that stands there now.
  EXPECT_EQ(SBR_NodalMass(body, 0), 0.25);
  EXPECT_EQ(SBR_NodeID(body, 0), 3);
}

TEST_F(ModeReaderTest, EachSwapLooksTheNodesUpWhereTheFileHadThem) {
  RecordBuilder record(0x3C);
  record.nodes({{1, {0, 0, 0}}, {2, {0, 0, 0}}, {3, {0, 0, 0}}});
  record.modes(7, {2, 3, 1}, {{1, ramp(18, 1)}});
  SBR body = expect_opened(record);
  // (1 2 3) -> (2 1 3) by places 0 and 1 -> (3 1 2) by places 0 and 2 -> (1 3 2) by places 1 and 0.
  EXPECT_EQ(SBR_NodeID(body, 0), 1);
  EXPECT_EQ(SBR_NodeID(body, 1), 3);
  EXPECT_EQ(SBR_NodeID(body, 2), 2);
}

TEST_F(ModeReaderTest, ZeroAndUnknownIdsInTheModeBlockMoveNothing) {
  RecordBuilder record = two_nodes();
  record.modes(7, {0, 99}, {{1, ramp(12, 1)}});
  SBR body = expect_opened(record);
  EXPECT_EQ(SBR_NodeID(body, 0), 10);
  EXPECT_EQ(SBR_NodeID(body, 1), 20);
}

// ---- modal stress and strain ---------------------------------------------------------------------------------------

TEST_F(ModeReaderTest, StressAndStrainHaveTheirOwnSparseLists) {
  for (const std::uint32_t word : {40, 41, 50, 51, 0x3C, 0x13C, 0x33C}) {
    SBR body = expect_opened(full_record(word));
    EXPECT_EQ(SBR_ModeNodeCount(body, 1), 2);
    EXPECT_EQ(SBR_ModeNodeID(body, 1, 0), 20);
    EXPECT_EQ(SBR_ModeNodeIndex(body, 1, 35), 1);
    EXPECT_EQ(SBR_ModeNodeIndex(body, 1, 10), -1);
    EXPECT_EQ(SBR_ModeNodeIndex(body, 2, 10), 0);
    EXPECT_EQ(part_of(body, 2, 1), (std::vector<double>{1, 2, 3, 7, 8, 9}));
    EXPECT_EQ(part_of(body, 1, 2), (std::vector<double>{1, 2, 3, 7, 8, 9}));
  }
}

TEST_F(ModeReaderTest, StressOfVersions10And30And31HasNoWords) {
  for (const std::uint32_t word : {10, 30, 31}) {
    RecordBuilder record = two_nodes(word);
    record.modes(7, {10, 20}, {{1, ramp(12, 1)}, {2, ramp(12, 1)}});
    record.modes(17, {20}, {{0, ramp(6, 1)}, {0, ramp(6, 51)}}, 0);
    SBR body = expect_opened(record);
    EXPECT_EQ(part_of(body, 2, 1), (std::vector<double>{51, 52, 53}));
  }
}

TEST_F(ModeReaderTest, StressOfVersion20HasAWordThatIsIgnored) {
  RecordBuilder record = two_nodes(20);
  record.modes(7, {10, 20}, {{0, ramp(12, 1)}, {0, ramp(12, 1)}});
  record.modes(17, {20}, {{77, ramp(6, 1)}, {78, ramp(6, 51)}});
  SBR body = expect_opened(record);
  EXPECT_EQ(part_of(body, 2, 1), (std::vector<double>{51, 52, 53}));
}

TEST_F(ModeReaderTest, StressAloneGivesTheModesTheirNumbersWithAWarning) {
  RecordBuilder record = two_nodes();
  record.modes(17, {20, 10}, {{8, ramp(12, 1)}, {4, ramp(12, 51)}});
  SBR body = expect_opened(record, {warning("Stress modes are being processed before mode shapes")});
  EXPECT_EQ(SBR_ModeCount(body), 2);
  EXPECT_EQ(numbers_of(body), (std::vector<int>{8, 4}));
}

TEST_F(ModeReaderTest, OldStressAloneTakesItsNumbersFromTheEigenvaluesOrThePlaces) {
  for (const std::uint32_t word : {10, 20, 30, 31}) {
    RecordBuilder record = two_nodes(word);
    record.modes(17, {20}, {{9, ramp(6, 1)}, {9, ramp(6, 1)}});
    EXPECT_EQ(numbers_of(expect_opened(record, {warning("Stress modes are being processed before mode shapes")})),
              (std::vector<int>{1, 2}));
    record.eigenvalues({{12, 1}, {15, 2}});
    EXPECT_EQ(numbers_of(expect_opened(record, {warning("Stress modes are being processed before mode shapes")})),
              (std::vector<int>{12, 15}));
  }
}

TEST_F(ModeReaderTest, StrainAloneGivesTheModesTheirNumbersWithAWarning) {
  RecordBuilder record = two_nodes();
  record.modes(28, {20}, {{8, ramp(6, 1)}});
  SBR body = expect_opened(record, {warning("Strain modes are being processed before mode shapes")});
  EXPECT_EQ(numbers_of(body), (std::vector<int>{8}));
}

TEST_F(ModeReaderTest, AStressWordUnlikeTheModesNumberIsRefused) {
  RecordBuilder record = two_nodes();
  record.modes(7, {10, 20}, {{1, ramp(12, 1)}, {2, ramp(12, 1)}});
  record.modes(17, {20}, {{1, ramp(6, 1)}, {3, ramp(6, 1)}});
  expect_refused(record, {error("Stress modes are in a different order than mode shapes")});
  record.remove(17);
  record.modes(28, {20}, {{2, ramp(6, 1)}, {1, ramp(6, 1)}});
  expect_refused(record, {error("Strain modes are in a different order than mode shapes")});
}

TEST_F(ModeReaderTest, MoreStressModesThanKnownNumbersAreADifferentOrder) {
  RecordBuilder record = two_nodes();
  record.modes(7, {10, 20}, {{1, ramp(12, 1)}});
  record.modes(17, {20}, {{1, ramp(6, 1)}, {2, ramp(6, 1)}});
  expect_refused(record, {error("Stress modes are in a different order than mode shapes")});
}

TEST_F(ModeReaderTest, AStressCountUnlikeTheEigenvaluesIsReportedAndReadingGoesOn) {
  RecordBuilder record = two_nodes();
  record.eigenvalues({{1, 1}, {2, 4}});
  record.modes(7, {10, 20}, {{1, ramp(12, 1)}, {2, ramp(12, 1)}});
  record.modes(17, {20}, {{1, ramp(6, 1)}});
  SBR body = expect_opened(record, {error("Number of stress modes does not match the number of eigenvalues")});
  EXPECT_EQ(SBR_ModeCount(body), 1);
  record.remove(17);
  record.modes(28, {20}, {{1, ramp(6, 1)}});
  body = expect_opened(record, {error("Number of strain modes does not match the number of eigenvalues")});
  EXPECT_EQ(SBR_ModeCount(body), 1);
}

TEST_F(ModeReaderTest, WordlessStressMayHaveMoreModesThanThereAreNumbers) {
  RecordBuilder record = two_nodes(30);
  record.modes(7, {10, 20}, {{6, ramp(12, 1)}});
  record.modes(17, {20}, {{0, ramp(6, 1)}, {0, ramp(6, 1)}}, 0);
  SBR body = expect_opened(record);
  EXPECT_EQ(SBR_ModeCount(body), 2);
  EXPECT_EQ(numbers_of(body), (std::vector<int>{6, 0}));
}

TEST_F(ModeReaderTest, AStressBlockWithoutModesIsAcceptedAndAStrainBlockIsNot) {
  RecordBuilder record = two_nodes();
  record.modes(17, {20}, {});
  SBR body = expect_opened(record);
  EXPECT_EQ(SBR_ModeNodeCount(body, 1), 1);
  record.remove(17);
  record.modes(28, {20}, {});
  expect_refused(record, {error("Problem when reading Modal Strain info")});
}

TEST_F(ModeReaderTest, ACutStressBlockIsRefused) {
  RecordBuilder record = two_nodes();
  record.modes(17, {20}, {{1, ramp(6, 1)}, {2, ramp(6, 1)}});
  const Message problem = error("Problem when reading Modal Stress info");
  const Message first = warning("Stress modes are being processed before mode shapes");
  expect_refused_when_cut(record, 17, 7, {error("Problem in modal stress block"), problem});
  expect_refused_when_cut(record, 17, 11, {problem});
  expect_refused_when_cut(record, 17, 12 + 3, {first, problem});
  expect_refused_when_cut(record, 17, 12 + 52 + 3, {first, problem});
  EXPECT_NE(open_bytes(record.bytes().substr(0, record.offset(17) + 12 + 52 + 4)), nullptr);
}

TEST_F(ModeReaderTest, AStrainBlockCutInItsModeWordsEndsSilently) {
  RecordBuilder record = two_nodes();
  record.modes(28, {20}, {{1, ramp(6, 1)}, {2, ramp(6, 1)}});
  const Message problem = error("Problem when reading Modal Strain info");
  expect_refused_when_cut(record, 28, 11, {problem});
  for (const std::size_t size : {std::size_t{12 + 2}, std::size_t{12 + 52 + 2}}) {
    log.clear();
    SBR body = open_bytes(record.bytes().substr(0, record.offset(28) + size));
    ASSERT_NE(body, nullptr);
    EXPECT_EQ(log.take(), std::vector<Message>{warning("Strain modes are being processed before mode shapes")});
    EXPECT_EQ(SBR_ModeCount(body), 2);
  }
}

TEST_F(ModeReaderTest, StrainModesBehindTheEndOfTheFileCannotBeRead) {
  for (const std::uint32_t word : {0x3CU, 0x13CU}) {
    RecordBuilder record = two_nodes(word);
    record.eigenvalues({{4, 1}, {7, 2}, {9, 3}});
    record.modes(28, {20}, {{4, ramp(6, 1)}, {7, ramp(6, 11)}, {9, ramp(6, 21)}});
    // Cut in the word of the second mode.
    SBR body = open_bytes(record.bytes().substr(0, record.offset(28) + 12 + 52 + 2));
    ASSERT_NE(body, nullptr);
    log.clear();
    double three[3] = {};
    EXPECT_EQ(SBR_Mode(body, 4, 2, three, 0), 1);
    EXPECT_EQ(std::vector<double>(three, three + 3), ramp(3, 1));
    EXPECT_TRUE(log.take().empty());
    for (int mode = 1; mode < 3; ++mode) {
      EXPECT_GE(state::mode_offsets(body, sbr::Kind::strain)[mode],
                static_cast<std::int64_t>(record.offset(28) + 12 + 52 + 2));
      // The numbers of modes that were not reached are not known.
      EXPECT_EQ(SBR_ModeNumber(body, mode), 0);
    }
  }
}

TEST_F(ModeReaderTest, AStrainModeBehindTheEndOfTheFileIsReportedAtItsDemand) {
  RecordBuilder record = two_nodes();
  record.modes(7, {10, 20}, {{4, ramp(12, 1)}, {7, ramp(12, 1)}, {9, ramp(12, 1)}});
  record.modes(28, {20}, {{4, ramp(6, 1)}, {7, ramp(6, 11)}, {9, ramp(6, 21)}});
  SBR body = open_bytes(record.bytes().substr(0, record.offset(28) + 12 + 52));
  ASSERT_NE(body, nullptr);
  log.clear();
  double three[3] = {};
  EXPECT_EQ(SBR_Mode(body, 7, 2, three, 0), 1);
  EXPECT_EQ(SBR_Mode(body, 9, 2, three, 1), 1);
  EXPECT_EQ(log.take(), (std::vector<Message>{error("Problem reading modal strain vector 7"),
                                              error("Problem reading modal strain vector 9")}));
}

TEST_F(ModeReaderTest, StressWithoutNodesIsOutOfMemory) {
  for (const int block : {17, 28}) {
    RecordBuilder record(0x3C);
    record.modes(block, {1}, {{1, ramp(6, 1)}});
    EXPECT_EQ(open(record), nullptr);
    const std::vector<Message> messages = log.take();
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_TRUE(is_no_memory(messages[0], "sbrread"));
  }
}

TEST_F(ModeReaderTest, AStressNodeThatTheBodyDoesNotHaveKeepsItsPlaceWithAWarning) {
  RecordBuilder record = two_nodes();
  record.modes(7, {10, 20}, {{1, ramp(12, 1)}});
  record.modes(17, {99, 20}, {{1, ramp(12, 1)}});
  SBR body = expect_opened(record, {warning("Modal stress is given at 1 nodes that the body does not have")});
  EXPECT_EQ(SBR_ModeNodeCount(body, 1), 2);
  EXPECT_EQ(SBR_ModeNodeID(body, 1, 0), 0);
  EXPECT_EQ(SBR_ModeNodeID(body, 1, 1), 20);
  EXPECT_EQ(SBR_ModeNodeIndex(body, 1, 20), 1);
  double values[3];
  EXPECT_EQ(SBR_ModeByNode(body, 1, 1, 20, values, 0), 1);
  EXPECT_EQ(values[0], 7.0);
}

TEST_F(ModeReaderTest, MoreStressNodesThanNodesAreRefused) {
  RecordBuilder record = two_nodes();
  record.modes(17, {10, 20, 10}, {{1, ramp(18, 1)}});
  expect_refused(record, {error("Problem when reading Modal Stress info")});
}

// ---- generalized matrices ------------------------------------------------------------------------------------------

struct MatrixCase {
  int block;
  const char *sizing;
  const char *no_memory;
  const char *problem;
};
constexpr MatrixCase kMatrices[] = {
    {11, "Problem in generalized stiffness block", "Out of memory while reading Generalized Stiffness block",
     "Problem reading Generalized Stiffness information"},
    {12, "Problem in generalized mass block", "Out of memory while reading Generalized Mass block",
     "Problem reading Generalized Mass information"},
    {14, "Problem in generalized damping block", "Out of memory while reading Generalized Damping Block",
     "Problem reading Generalized Damping information"}};

MatrixEntries entries_of(SBR body, int block) {
  return block == 11 ? stiffness_of(body) : block == 12 ? mass_of(body) : damping_of(body);
}

TEST_F(ModeReaderTest, MatrixEntriesCountFromZeroInMemory) {
  for (const MatrixCase &c : kMatrices) {
    for (const std::uint32_t word : {30, 51, 0x13C}) {
      RecordBuilder record = two_nodes(word);
      record.matrix(c.block, 1, {{1, 2, 0.5}, {3, 1, -7}});
      SBR body = expect_opened(record);
      const MatrixEntries entries = entries_of(body, c.block);
      ASSERT_EQ(entries.size(), 2U);
      EXPECT_EQ(entries[0].row, 0);
      EXPECT_EQ(entries[0].column, 1);
      EXPECT_EQ(entries[0].value, 0.5);
      EXPECT_EQ(entries[1].row, 2);
      EXPECT_EQ(entries[1].value, -7.0);
      EXPECT_EQ(state::damping_on_principal_axes(body), c.block == 14 ? 1 : 0);
    }
  }
}

TEST_F(ModeReaderTest, AMatrixWithoutEntriesIsOutOfMemory) {
  for (const MatrixCase &c : kMatrices) {
    RecordBuilder record = two_nodes();
    record.matrix(c.block, 0, {});
    expect_refused(record, {error(c.no_memory)});
  }
}

TEST_F(ModeReaderTest, ACutMatrixIsRefused) {
  for (const MatrixCase &c : kMatrices) {
    RecordBuilder record = two_nodes();
    record.matrix(c.block, 0, {{1, 1, 1}, {2, 2, 2}});
    expect_refused_when_cut(record, c.block, 2, {error(c.sizing), error(c.problem)});
    // The size needs the first word only.
    expect_refused_when_cut(record, c.block, 4, {error(c.problem)});
    expect_refused_when_cut(record, c.block, 7, {error(c.problem)});
    expect_refused_when_cut(record, c.block, 8 + 39, {error(c.problem)});
  }
}

TEST_F(ModeReaderTest, TheLowestRowDoesNotOverflow) {
  RecordBuilder record = two_nodes();
  record.matrix(11, 0, {{std::numeric_limits<int>::min(), 0, 1}});
  SBR body = expect_opened(record);
  EXPECT_EQ(stiffness_of(body)[0].row, std::numeric_limits<int>::max());
  EXPECT_EQ(stiffness_of(body)[0].column, -1);
}

TEST_F(ModeReaderTest, MatricesCanBeReadAgainWithoutMovingTheStream) {
  SBR body = expect_opened(full_record(0x13C));
  stiffness_of(body)[1].value = 0;
  mass_of(body)[1].value = 0;
  damping_of(body)[1].value = 0;
  FileSeek_Win32(state::record_stream(body), 99, 0);
  EXPECT_EQ(SBR_ReadGeneralizedStiffness(body), 1);
  EXPECT_EQ(SBR_ReadGeneralizedMass(body), 1);
  EXPECT_EQ(SBR_ReadGeneralizedDamping(body), 1);
  EXPECT_EQ(FileTell_Win32(state::record_stream(body)), 99);
  EXPECT_EQ(stiffness_of(body)[1].value, 400.0);
  EXPECT_EQ(mass_of(body)[1].value, 1.0);
  EXPECT_EQ(damping_of(body)[1].value, 0.25);
}

TEST_F(ModeReaderTest, ReadingAnAbsentMatrixSucceeds) {
  SBR body = expect_opened(two_nodes());
  EXPECT_EQ(SBR_ReadGeneralizedStiffness(body), 1);
  EXPECT_EQ(SBR_ReadGeneralizedMass(body), 1);
  EXPECT_EQ(SBR_ReadGeneralizedDamping(body), 1);
  EXPECT_EQ(SBR_ReadGeneralizedMass(SBR_Create(0, 0)), 1);
  EXPECT_EQ(SBR_ReadGeneralizedMass(nullptr), 0);
  EXPECT_EQ(log.take(), std::vector<Message>{error("The database has not been initialized.")});
}

// ---- transformation ------------------------------------------------------------------------------------------------

TEST_F(ModeReaderTest, TheTransformationHasItsModesAndItsRows) {
  RecordBuilder record = two_nodes(0x33C);
  record.transformation({4, 7}, {1, 2, 3, 4});
  SBR body = expect_opened(record);
  EXPECT_EQ(std::vector<int>(state::transformation_modes(body).begin(), state::transformation_modes(body).end()),
            (std::vector<int>{4, 7}));
  EXPECT_EQ(std::vector<double>(state::transformation(body).begin(), state::transformation(body).end()),
            (std::vector<double>{1, 2, 3, 4}));
}

TEST_F(ModeReaderTest, AnEmptyTransformationIsNoTransformation) {
  RecordBuilder record = two_nodes();
  record.transformation({}, {});
  SBR body = expect_opened(record);
  EXPECT_FALSE(state::transformation(body));
}

TEST_F(ModeReaderTest, ABrokenTransformationIsRefused) {
  const Message problem = error("Problem when reading Mode Shape Transformation");
  RecordBuilder negative = two_nodes();
  negative.block(15).integer(-3);
  expect_refused(negative, {problem});
  RecordBuilder record = two_nodes();
  record.transformation({4, 7}, {1, 2, 3, 4});
  expect_refused_when_cut(record, 15, 1, {error("Problem in mode shape transformation block"), problem});
  expect_refused_when_cut(record, 15, 4 + 8 + 31, {problem});
}

// ---- statistics, pre-stress, pre-strain ----------------------------------------------------------------------------

TEST_F(ModeReaderTest, StatisticsHaveThirteenNodesAndValuesPerMode) {
  for (const std::uint32_t word : {40, 51, 0x13C}) {
    SBR body = expect_opened(full_record(word));
    ASSERT_EQ(state::statistics(body).count(), 2);
    EXPECT_EQ(state::statistics(body)[1].node_ids[0], 35);
    EXPECT_EQ(state::statistics(body)[1].node_ids[12], 0);
    EXPECT_EQ(state::statistics(body)[1].values[2], 12.0);
  }
}

TEST_F(ModeReaderTest, BrokenStatisticsAreRefused) {
  RecordBuilder record = two_nodes();
  record.statistics({});
  expect_refused(record, {error("Out of memory while reading Modal Statistics Block")});
  record.statistics({{{1}, {2}}});
  const Message problem = error("Problem when reading Modal Statistics Block");
  expect_refused_when_cut(record, 29, 3, {error("Problem in modal statistics block"), problem});
  expect_refused_when_cut(record, 29, 4 + 155, {problem});
}

struct PreCase {
  int block;
  int vectors;
  const char *sizing;
  const char *info;
  const char *differs;
  const char *no_memory;
  const char *problem;
};
constexpr PreCase kPre[] = {
    {30, 17, "Problem in nodal pre-stress block", "Problem occurred while reading Pre-Stress info",
     "Number of nodes in pre-stress does not match that in stress modes",
     "Out of memory while processing Pre-Stress Block", "Problem when reading Pre-Stress Block"},
    {31, 28, "Problem in nodal pre-strain block", "Problem occurred while reading Pre-Strain info",
     "Number of nodes in pre-strain does not match that in strain modes",
     "Out of memory while processing Pre-Strain Block", "Problem when reading Pre-Strain Block"}};

TEST_F(ModeReaderTest, PreVectorsBelongToTheNodesOfTheirKind) {
  SBR body = expect_opened(full_record(0x33C));
  ASSERT_EQ(pre_vectors_of(body, 1).size(), 2U);
  EXPECT_EQ(pre_vectors_of(body, 1)[1][0], 7.0);
  EXPECT_EQ(pre_vectors_of(body, 2)[1][5], 12.0);
}

TEST_F(ModeReaderTest, APreVectorCountUnlikeTheListIsReportedAndReadingGoesOn) {
  for (const PreCase &c : kPre) {
    RecordBuilder record = two_nodes();
    record.modes(7, {10, 20}, {{1, ramp(12, 1)}});
    record.modes(c.vectors, {20}, {{1, ramp(6, 1)}});
    record.pre_vectors(c.block, ramp(12, 1));
    SBR body = expect_opened(record, {error(c.differs)});
    EXPECT_EQ((c.block == 30 ? state::pre_stress(body) : state::pre_strain(body)).count(), 2);
  }
}

TEST_F(ModeReaderTest, BrokenPreVectorsAreRefused) {
  for (const PreCase &c : kPre) {
    RecordBuilder record = two_nodes();
    record.pre_vectors(c.block, {});
    expect_refused(record, {error(c.no_memory)});
    record.pre_vectors(c.block, ramp(6, 1));
    expect_refused_when_cut(record, c.block, 3, {error(c.sizing), error(c.info)});
    expect_refused_when_cut(record, c.block, 4 + 47, {error(c.differs), error(c.problem)});
  }
}

}  // namespace
}  // namespace sbrtest
