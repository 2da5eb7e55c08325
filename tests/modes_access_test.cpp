// Mode access and the memory cache: every route to the same values, their units, and what a failed read leaves.
#include <cmath>
#include <filesystem>
#include <vector>

#include "support/body_state.h"
#include "support/files.h"
#include "support/messages.h"
#include "support/record_builder.h"

namespace sbrtest {
namespace {

constexpr int kNodes = 4;
const std::vector<int> kIds = {40, 10, 30, 20};

// The value of component c of a node (by position) in a mode: exact in single precision too.
double value(int mode, int position, int c) { return mode * 64 + position * 8 + c + 0.5; }

BuiltMode built_mode(int mode, int nodes) {
  BuiltMode built{mode, {}};
  for (int p = 0; p < nodes; ++p)
    for (int c = 0; c < 6; ++c) built.values.push_back(value(mode, p, c));
  return built;
}

RecordBuilder record_of(std::uint32_t word) {
  RecordBuilder record(word);
  std::vector<BuiltNode> nodes;
  for (const int id : kIds) nodes.push_back({id, {1.0 * id, 0.0, 0.0}});
  record.nodes(nodes);
  record.units("KILOGRAM", "METER", "SECOND", "NEWTON");
  record.modes(7, kIds, {built_mode(7, kNodes), built_mode(8, kNodes), built_mode(11, kNodes)});
  record.modes(17, {30, 40}, {built_mode(7, 2), built_mode(8, 2), built_mode(11, 2)});
  record.modes(28, {20}, {built_mode(7, 1), built_mode(8, 1), built_mode(11, 1)});
  return record;
}

std::vector<double> part_of(int mode, int nodes, int part, double scale = 1.0) {
  std::vector<double> values;
  for (int p = 0; p < nodes; ++p)
    for (int c = 0; c < 3; ++c) values.push_back(value(mode, p, 3 * part + c) * scale);
  return values;
}

class ModeAccessTest : public LibraryTest, public ::testing::WithParamInterface<int> {
 protected:
  SBR open(std::uint32_t word) {
    path = scratch.file("body.sbr");
    record_of(word).write(path);
    return SBR_CreateFromSBR(path.c_str());
  }
  std::vector<double> mode(SBR body, int number, int kind, int part) {
    std::vector<double> out(static_cast<std::size_t>(3 * SBR_ModeNodeCount(body, kind)), -1.0);
    EXPECT_EQ(SBR_Mode(body, number, kind, out.data(), part), 1);
    return out;
  }
  std::vector<double> at_node(SBR body, int number, int kind, int id, int part) {
    std::vector<double> out(3, -1.0);
    EXPECT_EQ(SBR_ModeByNode(body, number, kind, id, out.data(), part), 1);
    return out;
  }
  ScratchDirectory scratch;
  std::string path;
};

TEST_P(ModeAccessTest, EveryRouteGivesTheSameValues) {
  SBR body = open(static_cast<std::uint32_t>(GetParam()));
  ASSERT_NE(body, nullptr);
  for (const int keep : {1, 0}) {
    SBR_SetKeepModesInMemory(body, keep);
    for (const int number : {7, 8, 11})
      for (int kind = 0; kind < 3; ++kind)
        for (int part = 0; part < 2; ++part) {
          const int nodes = SBR_ModeNodeCount(body, kind);
          const auto expected = part_of(number, nodes, part);
          EXPECT_EQ(mode(body, number, kind, part), expected);
          EXPECT_EQ(mode(body, number, kind, part), expected) << "from the cache, or the current record";
          double *reference = nullptr;
          ASSERT_EQ(SBR_ModeByRef(body, number, kind, &reference, part), 1);
          EXPECT_EQ(std::vector<double>(reference, reference + 3 * nodes), expected);
          for (int p = 0; p < nodes; ++p) {
            const int id = SBR_ModeNodeID(body, kind, p);
            const std::vector<double> three(expected.begin() + 3 * p, expected.begin() + 3 * p + 3);
            EXPECT_EQ(at_node(body, number, kind, id, part), three);
            std::vector<double> direct(3);
            EXPECT_EQ(SBR_ModeByNodeWithoutCache(body, number, kind, id, direct.data(), part), 1);
            EXPECT_EQ(direct, three);
          }
        }
  }
  EXPECT_TRUE(log.take_complaints().empty());
}

INSTANTIATE_TEST_SUITE_P(Encodings, ModeAccessTest, ::testing::Values(0x3C, 0x13C, 0x23C, 0x33C));

using ModeRoutesTest = ModeAccessTest;

TEST_F(ModeRoutesTest, WholeRecordsComeInTheWidthOfTheirStreamOnly) {
  SBR body = open(0x13C);
  std::vector<double> wide(6 * kNodes);
  std::vector<float> narrow(6 * kNodes);
  EXPECT_EQ(SBR_Double_Prec(body), 1);
  EXPECT_EQ(SBR_Read_Mode_Double(body, 8, 0, wide.data()), 1);
  EXPECT_EQ(wide, built_mode(8, kNodes).values);
  EXPECT_EQ(SBR_Read_Mode_Single(body, 8, 0, narrow.data()), 0);
  EXPECT_EQ(SBR_Read_Mode_Double(body, 99, 0, wide.data()), 0);
  SBR_Terminate();
  body = open(0x33C);
  EXPECT_EQ(SBR_Double_Prec(body), 0);
  EXPECT_EQ(SBR_Read_Mode_Double(body, 8, 0, wide.data()), 0);
  EXPECT_EQ(SBR_Read_Mode_Single(body, 8, 0, narrow.data()), 1);
  EXPECT_EQ(narrow[7], static_cast<float>(value(8, 1, 1)));
}

TEST_F(ModeRoutesTest, ABadPartLoadsTheRecordAndFails) {
  SBR body = open(0x13C);
  std::vector<double> out(3 * kNodes, 9.0);
  EXPECT_EQ(SBR_Mode(body, 8, 0, out.data(), 2), 0);
  EXPECT_EQ(out[0], 9.0);
  EXPECT_EQ(state::current_modes(body)[sbr::Kind::shape], 1);
  double *reference = nullptr;
  EXPECT_EQ(SBR_ModeByRef(body, 8, 0, &reference, -1), 0);
  double three[3] = {9, 9, 9};
  EXPECT_EQ(SBR_ModeByNode(body, 8, 0, 10, three, 5), 0);
  EXPECT_EQ(three[0], 0.0);
}

TEST_F(ModeRoutesTest, UnknownModesAndNodesAreOrdinaryOutcomes) {
  SBR body = open(0x13C);
  std::vector<double> out(3 * kNodes, 9.0);
  EXPECT_EQ(SBR_Mode(body, 99, 0, out.data(), 0), 0);
  EXPECT_EQ(out[0], 9.0) << "a whole mode leaves the output";
  double three[3] = {9, 9, 9};
  EXPECT_EQ(SBR_ModeByNode(body, 99, 0, 10, three, 0), 0);
  EXPECT_EQ(three[0], 0.0) << "a single node is zeroed";
  EXPECT_EQ(SBR_ModeByNode(body, 7, 1, 10, three, 0), 0) << "node 10 has no stress";
  EXPECT_EQ(SBR_ModeByNodeWithoutCache(body, 7, 1, 10, three, 0), 0);
  EXPECT_EQ(SBR_ModeByNodeWithoutCache(body, 0, 1, 30, three, 0), 0) << "pre-stress is out of reach here";
  EXPECT_EQ(SBR_Mode(body, 0, 1, out.data(), 0), 0) << "no pre-stress in this record";
  EXPECT_EQ(SBR_Mode(body, 7, 3, out.data(), 0) + SBR_Mode(nullptr, 7, 0, out.data(), 0), 0);
  EXPECT_EQ(SBR_ModeExist(body, 0) != 0 && SBR_ModeExist(body, 1) != 0 && SBR_ModeExist(body, 2) != 0, true);
  EXPECT_EQ(SBR_ModeExist(body, 3), 0);
  EXPECT_TRUE(log.take().empty());
}

TEST_F(ModeRoutesTest, AChangeOfUnitsShowsInTranslationsAndStressOnly) {
  SBR body = open(0x13C);
  mode(body, 7, 0, 0);
  ASSERT_EQ(SBR_SetUnits(body, "KILOGRAM", "MILLIMETER", "SECOND", "NEWTON"), 1);
  const auto near = [](const std::vector<double> &a, const std::vector<double> &b) {
    for (std::size_t i = 0; i < b.size(); ++i) EXPECT_NEAR(a.at(i), b[i], 1e-12 * std::fabs(b[i]));
  };
  near(mode(body, 7, 0, 0), part_of(7, kNodes, 0, 1000.0));
  EXPECT_EQ(mode(body, 7, 0, 1), part_of(7, kNodes, 1)) << "rotations stay";
  near(mode(body, 7, 1, 0), part_of(7, 2, 0, 1e-6));
  near(mode(body, 7, 1, 1), part_of(7, 2, 1, 1e-6));
  EXPECT_EQ(mode(body, 7, 2, 0), part_of(7, 1, 0)) << "strain has no unit";
  double three[3];
  ASSERT_EQ(SBR_ModeByNodeWithoutCache(body, 8, 0, 10, three, 0), 1);
  EXPECT_NEAR(three[0], 1000.0 * value(8, 1, 0), 1e-9);
  ASSERT_EQ(SBR_ModeByNodeWithoutCache(body, 8, 1, 40, three, 1), 1);
  EXPECT_NEAR(three[2], 1e-6 * value(8, 1, 5), 1e-15);
  std::vector<double> record(6 * kNodes);
  ASSERT_EQ(SBR_Read_Mode_Double(body, 8, 0, record.data()), 1);
  EXPECT_EQ(record[6], value(8, 1, 0) * 1000.0) << "whole records are multiplied plainly";
  EXPECT_EQ(record[9], value(8, 1, 3));
}

TEST_F(ModeRoutesTest, PreStressIsModeNumberZeroOfKindOneAndStaysOutOfTheCache) {
  SBR body = SBR_Create(5, 2);
  const double six[6] = {1, 2, 3, 4, 5, 6};
  ASSERT_EQ(SBR_SetModeVec(body, 0, 77, 1, six), 1);
  EXPECT_EQ(mode(body, 0, 1, 0), (std::vector<double>{1, 2, 3}));
  EXPECT_EQ(mode(body, 0, 1, 1), (std::vector<double>{4, 5, 6}));
  EXPECT_EQ(at_node(body, 0, 1, 77, 1), (std::vector<double>{4, 5, 6}));
  EXPECT_EQ(state::cached_parts(body), 0);
  double wide[6];
  float narrow[6];
  EXPECT_EQ(SBR_Read_Mode_Double(body, 0, 1, wide), 1);
  EXPECT_EQ(SBR_Read_Mode_Single(body, 0, 1, narrow), 1);
  EXPECT_EQ(wide[3], 4.0);
  EXPECT_EQ(narrow[5], 6.0F);
  EXPECT_EQ(SBR_Read_Mode_Double(body, 0, 2, wide), 0) << "no pre-strain";
}

TEST_F(ModeRoutesTest, NumberZeroOfKindZeroIsAnOrdinaryNumber) {
  SBR body = SBR_Create(5, 2);
  EXPECT_EQ(SBR_SetMode(body, 0, 1, 0, 1, 2, 3, 4, 5, 6), 1);
  EXPECT_EQ(mode(body, 0, 0, 0), (std::vector<double>{1, 2, 3}));
  EXPECT_EQ(SBR_ModeIndex(body, 0), 0);
}

TEST_F(ModeRoutesTest, AFailedReadIsReportedOnceAndStillSucceeds) {
  // Records that end inside the last vector of their last block.
  const std::vector<std::vector<int>> later_blocks = {{17, 28}, {28}, {}};
  const std::string texts[] = {"Problem reading mode shape 11", "Problem reading modal stress vector 11",
                               "Problem reading modal strain vector 11"};
  for (int kind = 0; kind < 3; ++kind) {
    RecordBuilder record = record_of(0x3C);
    record.remove(10);
    for (const int block : later_blocks[static_cast<std::size_t>(kind)]) record.remove(block);
    const std::string bytes = record.bytes();
    path = scratch.file("cut" + std::to_string(kind));
    write_file(path, bytes.substr(0, bytes.size() - 5));
    SBR body = SBR_CreateFromSBR(path.c_str());
    ASSERT_NE(body, nullptr);
    SBR_SetKeepModesInMemory(body, 0);
    std::vector<double> out(3 * kNodes);
    EXPECT_EQ(SBR_Mode(body, 11, kind, out.data(), 0), 1);
    EXPECT_EQ(log.take(), std::vector<Message>{error(texts[kind])});
    EXPECT_EQ(SBR_Mode(body, 11, kind, out.data(), 0), 1);
    EXPECT_TRUE(log.take().empty()) << "the mode counts as current";
    double three[3];
    const int last = SBR_ModeNodeID(body, kind, SBR_ModeNodeCount(body, kind) - 1);
    EXPECT_EQ(SBR_ModeByNodeWithoutCache(body, 11, kind, last, three, 1), 0);
    std::vector<double> whole(6 * kNodes);
    EXPECT_EQ(SBR_Read_Mode_Double(body, 11, kind, whole.data()), 0);
    EXPECT_EQ(SBR_Mode(body, 8, kind, out.data(), 0), 1);
    EXPECT_TRUE(log.take().empty());
  }
}

TEST_F(ModeRoutesTest, ACurrentModeIsNotReadAgain) {
  SBR body = open(0x3C);
  SBR_SetKeepModesInMemory(body, 0);
  mode(body, 8, 0, 0);
  const auto place = FileTell_Win32(state::record_stream(body));
  ASSERT_EQ(FileSeek_Win32(state::record_stream(body), 0, 0), 0);
  EXPECT_EQ(mode(body, 8, 0, 1), part_of(8, kNodes, 1));
  EXPECT_EQ(FileTell_Win32(state::record_stream(body)), 0) << "the stream has not moved";
  EXPECT_EQ(mode(body, 7, 0, 1), part_of(7, kNodes, 1));
  EXPECT_NE(FileTell_Win32(state::record_stream(body)), place);
}

TEST_F(ModeRoutesTest, OneNodeCachesItsPartForAllNodes) {
  SBR body = open(0x13C);
  at_node(body, 8, 0, 30, 1);
  std::vector<double> out(3 * kNodes);
  EXPECT_EQ(SBR_ModeFromMemory(body, 8, 0, out.data(), 1), 1);
  EXPECT_EQ(out, part_of(8, kNodes, 1));
  EXPECT_EQ(SBR_ModeFromMemory(body, 8, 0, out.data(), 0), 0) << "the other part is not cached";
  double three[3];
  EXPECT_EQ(SBR_ModeFromMemoryByNode(body, 8, 0, 10, three, 1), 1);
  EXPECT_EQ(three[0], value(8, 1, 3));
  EXPECT_EQ(SBR_ModeFromMemoryByNode(body, 8, 0, 999, three, 1), 0);
  double *reference = nullptr;
  EXPECT_EQ(SBR_ModeFromMemoryByRef(body, 8, 0, &reference, 1), 1);
  EXPECT_EQ(reference[1], value(8, 0, 4));
  double *again = nullptr;
  EXPECT_EQ(SBR_ModeByRef(body, 8, 0, &again, 1), 1);
  EXPECT_EQ(again, reference);
}

TEST_F(ModeRoutesTest, TheCacheLimitFollowsTheBudgetTheNodesAndTheModes) {
  SBR body = SBR_Create(1, 1);
  state::kind_node_count(body, sbr::Kind::shape) = 1000;
  state::mode_count(body) = 100;
  const auto limit = [&](std::optional<std::string> megabytes) {
    const ScopedEnvironment variable("SBR_MAX_MODE_MEMORY", std::move(megabytes));
    state::cache_limit(body) = 0;
    SBR_InitializeModeMemory(body);
    return state::cache_limit(body);
  };
  EXPECT_EQ(limit(std::nullopt), 600);
  state::mode_count(body) = 100000;
  EXPECT_EQ(limit(std::nullopt), 8738);
  EXPECT_EQ(limit("1"), 1048576 / 1000 / 3 / 8);
  for (const char *useless : {"0", "-5", "many", ""}) EXPECT_EQ(limit(useless), 8738) << useless;
  state::kind_node_count(body, sbr::Kind::shape) = 0;
  EXPECT_EQ(limit(std::nullopt), 0) << "without nodes there is nothing to work out";
}

TEST_F(ModeRoutesTest, AFullCacheRefusesAndTheDataStaysRight) {
  SBR body = open(0x13C);
  state::cache_limit(body) = 2;
  for (int round = 0; round < 2; ++round)
    for (const int number : {7, 8, 11})
      for (int part = 0; part < 2; ++part) EXPECT_EQ(mode(body, number, 0, part), part_of(number, kNodes, part));
  EXPECT_EQ(state::cached_parts(body), 2);
  const auto data = part_of(7, kNodes, 0);
  EXPECT_EQ(SBR_ModetoMemory(body, 11, 0, data.data(), 0), 0);
}

TEST_F(ModeRoutesTest, SwitchingTheCacheOffFreesItAndOnStartsEmpty) {
  SBR body = open(0x13C);
  int keep = -1;
  SBR_GetKeepModesInMemory(body, &keep);
  EXPECT_EQ(keep, 1);
  mode(body, 7, 0, 0);
  EXPECT_EQ(state::cached_parts(body), 1);
  SBR_SetKeepModesInMemory(body, 0);
  std::vector<double> out(3 * kNodes);
  EXPECT_EQ(SBR_ModeFromMemory(body, 7, 0, out.data(), 0), 0);
  SBR_SetKeepModesInMemory(body, 1);
  EXPECT_EQ(state::cached_parts(body), 0);
  EXPECT_EQ(state::cache_limit(body), 0);
  SBR_GetKeepModesInMemory(body, &keep);
  EXPECT_EQ(keep, 1);
}

// ---- what a host holds of the cache
// ----------------------------------------------------------------------------------

TEST_F(ModeRoutesTest, AHeldPartOutlivesOneThatTakesItsPlace) {
  SBR body = open(0x13C);
  double *held = nullptr;
  mode(body, 7, 0, 0);
  ASSERT_EQ(SBR_ModeByRef(body, 7, 0, &held, 0), 1);
  const std::vector<double> other(3 * kNodes, 5.0);
  ASSERT_EQ(SBR_ModetoMemory(body, 7, 0, other.data(), 0), 1);
  EXPECT_EQ(std::vector<double>(held, held + 3 * kNodes), part_of(7, kNodes, 0));
  double *fresh = nullptr;
  ASSERT_EQ(SBR_ModeFromMemoryByRef(body, 7, 0, &fresh, 0), 1);
  EXPECT_EQ(std::vector<double>(fresh, fresh + 3 * kNodes), other);
  EXPECT_EQ(state::cached_parts(body), 2);
  SBR_CleanModesInMemory(body);
  EXPECT_EQ(state::cached_parts(body), 0);
}

TEST_F(ModeRoutesTest, AHeldPartOutlivesAListOfNodesThatGrew) {
  SBR body = SBR_Create(5, 1);
  ASSERT_EQ(SBR_SetMode(body, 1, 10, 0, 1, 2, 3, 4, 5, 6), 1);
  mode(body, 1, 0, 0);
  double *held = nullptr;
  ASSERT_EQ(SBR_ModeByRef(body, 1, 0, &held, 0), 1);
  SBR_SetNodeCoordinates(body, 20, 0, 0, 0);
  EXPECT_EQ(mode(body, 1, 0, 0), (std::vector<double>{1, 2, 3, 0, 0, 0})) << "stored anew, in the same slot";
  EXPECT_EQ(std::vector<double>(held, held + 3), (std::vector<double>{1, 2, 3}));
  EXPECT_EQ(state::cached_parts(body), 2);
}

TEST_F(ModeRoutesTest, EveryStoreCountsAgainstTheLimit) {
  SBR body = SBR_Create(5, 1);
  ASSERT_EQ(SBR_SetMode(body, 1, 10, 0, 1, 2, 3, 4, 5, 6), 1);
  const double three[3] = {7, 8, 9};
  for (int store = 1; store <= 6; ++store) EXPECT_EQ(SBR_ModetoMemory(body, 1, 0, three, 0), 1) << store;
  EXPECT_EQ(SBR_ModetoMemory(body, 1, 0, three, 0), 0) << "one mode may take six slots";
  EXPECT_EQ(SBR_ModetoMemory(body, 1, 0, three, 1), 0);
}

TEST_F(ModeRoutesTest, AModeCountBeyondTheTableTakesNoMemory) {
  SBR body = SBR_Create(2, 2);
  for (const int number : {1, 2}) ASSERT_EQ(SBR_SetMode(body, number, 10, 0, number, 2, 3, 4, 5, 6), 1);
  const double origin[3] = {0, 0, 0};
  const double unit[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
  ASSERT_EQ(SBR_PermuteSBR(body, origin, 300000000, 1.0, nullptr, unit), 1);
  EXPECT_EQ(mode(body, 2, 0, 0), (std::vector<double>{2, 2, 3}));
  EXPECT_LE(state::cache_slots(body, sbr::Kind::shape, 0).count(), 2);
  double largest = 0.0;
  EXPECT_EQ(SBR_GetMaxModeDisplacement(body, 2, nullptr, &largest), 1);
  EXPECT_EQ(largest, std::sqrt(17.0));
  EXPECT_LE(state::statistics(body).count(), 2);
  log.clear();
  const double axis[3] = {0, 0, 1};
  EXPECT_EQ(SBR_Mirror_Origin(body, axis), 1);
  ASSERT_EQ(log.take_complaints().size(), 1U) << "modes that are not there cannot be rewritten";
  EXPECT_LE(state::mode_offsets(body, sbr::Kind::shape).count(), 2);
}

// ---- reads that break off
// --------------------------------------------------------------------------------------------

using ModeBreakTest = ModeAccessTest;

TEST_P(ModeBreakTest, WhatCameOfABrokenRecordIsDelivered) {
  RecordBuilder record = record_of(static_cast<std::uint32_t>(GetParam()));
  for (const int block : {10, 17, 28}) record.remove(block);
  const std::string bytes = record.bytes();
  path = scratch.file("cut");
  write_file(path, bytes.substr(0, bytes.size() - 8));
  SBR body = SBR_CreateFromSBR(path.c_str());
  ASSERT_NE(body, nullptr);
  SBR_SetKeepModesInMemory(body, 0);
  log.clear();
  std::vector<double> found;
  for (int part = 0; part < 2; ++part) {
    std::vector<double> three(3 * kNodes, -1.0);
    ASSERT_EQ(SBR_Mode(body, 11, 0, three.data(), part), 1);
    found.insert(found.end(), three.begin(), three.end());
  }
  EXPECT_EQ(log.take(), std::vector<Message>{error("Problem reading mode shape 11")});
  // Eight bytes are one value of double precision or two of single precision, at the end of the last node.
  std::vector<double> expected = part_of(11, kNodes, 0);
  const std::vector<double> rotations = part_of(11, kNodes, 1);
  expected.insert(expected.end(), rotations.begin(), rotations.end());
  const std::size_t lost = SBR_Double_Prec(body) != 0 ? 1 : 2;
  std::fill(expected.end() - static_cast<std::ptrdiff_t>(lost), expected.end(), 0.0);
  EXPECT_EQ(found, expected);
}

INSTANTIATE_TEST_SUITE_P(Encodings, ModeBreakTest, ::testing::Values(0x3C, 0x13C, 0x23C, 0x33C));

// ---- names
// -----------------------------------------------------------------------------------------------------------

TEST_F(ModeRoutesTest, AModeAddedAfterAReadingOfThePreStressIsNotThePreStress) {
  SBR body = SBR_Create(1, 2);
  SBR_SetKeepModesInMemory(body, 0);
  const double pre[6] = {50, 60, 70, 0, 0, 0};
  ASSERT_EQ(SBR_SetPreStressVec(body, 10, pre), 1);
  ASSERT_EQ(SBR_SetMode(body, 1, 10, 1, 1, 2, 3, 4, 5, 6), 1);
  EXPECT_EQ(mode(body, 0, 1, 0), (std::vector<double>{50, 60, 70}));
  ASSERT_EQ(SBR_SetMode(body, 2, 10, 1, 7, 8, 9, 4, 5, 6), 1);
  EXPECT_EQ(mode(body, 2, 1, 0), (std::vector<double>{7, 8, 9}));
}

TEST_F(ModeRoutesTest, ANullHandleIsASilentFailureOfEveryAccess) {
  double out[9] = {};
  float single[6] = {};
  double *reference = nullptr;
  int flag = 7;
  EXPECT_EQ(SBR_Mode(nullptr, 1, 0, out, 0), 0);
  EXPECT_EQ(SBR_ModeByNode(nullptr, 1, 0, 10, out, 0), 0);
  EXPECT_EQ(SBR_ModeByRef(nullptr, 1, 0, &reference, 0), 0);
  EXPECT_EQ(SBR_ModeByNodeWithoutCache(nullptr, 1, 0, 10, out, 0), 0);
  EXPECT_EQ(SBR_ModeFromMemory(nullptr, 1, 0, out, 0), 0);
  EXPECT_EQ(SBR_ModeFromMemoryByNode(nullptr, 1, 0, 10, out, 0), 0);
  EXPECT_EQ(SBR_ModeFromMemoryByRef(nullptr, 1, 0, &reference, 0), 0);
  EXPECT_EQ(SBR_Read_Mode_Double(nullptr, 1, 0, out), 0);
  EXPECT_EQ(SBR_Read_Mode_Single(nullptr, 1, 0, single), 0);
  EXPECT_EQ(SBR_SetTransformation(nullptr, out), 0);
  EXPECT_EQ(SBR_Transformation(nullptr, out), 0);
  EXPECT_EQ(SBR_ModetoMemory(nullptr, 1, 0, out, 0), 0);
  EXPECT_EQ(SBR_Double_Prec(nullptr), 0);
  SBR_SetKeepModesInMemory(nullptr, 0);
  SBR_GetKeepModesInMemory(nullptr, &flag);
  SBR_InitializeModeMemory(nullptr);
  SBR_CleanModesInMemory(nullptr);
  EXPECT_EQ(flag, 7);
  EXPECT_TRUE(log.take().empty());
}

TEST_F(ModeRoutesTest, TwoTransformationsMultiplyWithTheFirstOnTheLeft) {
  SBR body = open(0x13C);
  std::vector<double> out(9, 7.0);
  EXPECT_EQ(SBR_Transformation(body, out.data()), 0);
  const std::vector<double> a = {1, 2, 3, 4, 5, 6, 7, 8, 10};
  const std::vector<double> b = {2, 0, 1, 1, 3, 0, 0, 1, 1};
  EXPECT_EQ(SBR_SetTransformation(body, a.data()), 1);
  EXPECT_EQ(SBR_SetTransformation(body, b.data()), 1);
  EXPECT_EQ(SBR_Transformation(body, out.data()), 1);
  std::vector<double> product(9, 0.0);
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j)
      for (int k = 0; k < 3; ++k) product[3 * i + j] += a[3 * i + k] * b[3 * k + j];
  EXPECT_EQ(out, product);
  EXPECT_EQ(SBR_SetTransformation(nullptr, a.data()), 0);
  EXPECT_EQ(SBR_SetTransformation(SBR_Create(1, 1), a.data()), 0) << "no modes";
}

}  // namespace
}  // namespace sbrtest
