// Where the blocks of a record lie: existence, sizes, offsets, versions.
#include "record/layout.h"

#include "support/body_state.h"
#include "support/record_test.h"

namespace sbrtest {
namespace {

using LayoutTest = RecordTest;

TEST_F(LayoutTest, TheFirstThreeBlocksAlwaysExist) {
  SBR body = SBR_Create(0, 0);
  for (int block = 0; block < 3; ++block) EXPECT_EQ(SBR_Exists(body, block), 1);
  for (int block = 3; block < 36; ++block) EXPECT_EQ(SBR_Exists(body, block), 0);
}

TEST_F(LayoutTest, BlocksOutsideTheListDoNotExist) {
  SBR body = SBR_Create(0, 0);
  for (const int block : {-1, 36, 37, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
    EXPECT_EQ(SBR_Exists(body, block), 0);
    EXPECT_EQ(SBR_goto_block(body, block), 0);
    EXPECT_EQ(SBR_size_of_block(body, block), 0);
  }
}

TEST_F(LayoutTest, ExistenceIsTheContentByteAsItStands) {
  SBR body = SBR_Create(0, 0);
  state::content(body)[0] = 7;
  EXPECT_EQ(SBR_Exists(body, 3), 7);
}

TEST_F(LayoutTest, EachBlockHasItsByteOfTheContentSummary) {
  constexpr int kBytes[36] = {-1, -1, -1, 0,  1,  2,  3,  4,  5,  6,  8,  9,  10, 12, 13, 14, 15, 16,
                              17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31, 32, 33, 34};
  for (int block = 0; block < 36; ++block) EXPECT_EQ(sbr::content_byte(block), kBytes[block]);
}

TEST_F(LayoutTest, ANullHandleIsReported) {
  EXPECT_EQ(SBR_Exists(nullptr, 1), 0);
  EXPECT_EQ(SBR_goto_block(nullptr, 1), 0);
  EXPECT_EQ(SBR_size_of_block(nullptr, 1), 0);
  EXPECT_EQ(SBR_Version(nullptr), 0);
  SBR_SetVersion(nullptr, 60);
  EXPECT_EQ(log.take(), std::vector<Message>(5, error("The database has not been initialized.")));
}

TEST_F(LayoutTest, ABodyWithoutAFileHasNoBlockToGoTo) {
  SBR body = SBR_Create(0, 0);
  EXPECT_EQ(SBR_goto_block(body, 1), 0);
  EXPECT_EQ(SBR_size_of_block(body, 1), 0);
  EXPECT_TRUE(log.all().empty());
}

TEST_F(LayoutTest, OfABodyWithNodesOnlyAllLaterBlocksShareOneOffset) {
  SBR body = expect_opened(two_nodes());
  EXPECT_EQ(state::block_offset(body, 3), 648);
  for (int block = 4; block < 36; ++block) EXPECT_EQ(state::block_offset(body, block), 648 + 8 + 2 * 28);
}

TEST_F(LayoutTest, TheFixedOffsetsFollowTheEncoding) {
  SBR native = expect_opened(two_nodes(60));
  EXPECT_EQ(state::block_offset(native, 1), 4);
  EXPECT_EQ(state::block_offset(native, 2), 548);
  EXPECT_EQ(state::block_offset(native, 3), 648);
  SBR xdr = expect_opened(two_nodes(0x13C));
  EXPECT_EQ(state::block_offset(xdr, 1), 4);
  EXPECT_EQ(state::block_offset(xdr, 2), 2180);
  EXPECT_EQ(state::block_offset(xdr, 3), 2580);
}

TEST_F(LayoutTest, EveryBlockHasItsSizeAndOffsetInEveryVersion) {
  for (const std::uint32_t word : kAllWords) {
    RecordBuilder record = full_record(word);
    SBR body = expect_opened(record);
    for (int block = 3; block < 36; ++block) {
      SCOPED_TRACE(testing::Message() << "word " << word << " block " << block);
      EXPECT_EQ(state::block_offset(body, block) - (block > 17 && (word == 30 || word == 31) ? 8 : 0),
                static_cast<std::int64_t>(record.offset(block)));
      if (SBR_Exists(body, block) == 0 || block == 35) continue;
      // The stress block of these versions is counted with a word per mode that it does not have.
      const int counted_words = block == 17 && (word == 30 || word == 31) ? 8 : 0;
      EXPECT_EQ(SBR_size_of_block(body, block), static_cast<std::int64_t>(record.block(block).size()) + counted_words);
    }
  }
}

TEST_F(LayoutTest, SizingAndGoingToABlockLeaveNothingElseBehind) {
  SBR body = expect_opened(full_record(0x13C));
  FileSeek_Win32(state::record_stream(body), 1234, 0);
  for (int block = 0; block < 36; ++block) {
    SBR_size_of_block(body, block);
    EXPECT_EQ(FileTell_Win32(state::record_stream(body)), 1234);
  }
  EXPECT_EQ(SBR_goto_block(body, 5), 1);
  EXPECT_EQ(FileTell_Win32(state::record_stream(body)), state::block_offset(body, 5));
  EXPECT_EQ(SBR_goto_block(body, 4), 0);
  EXPECT_EQ(FileTell_Win32(state::record_stream(body)), state::block_offset(body, 5));
}

TEST_F(LayoutTest, TheSizeOfFacesIsTheirFirstWord) {
  RecordBuilder record = two_nodes();
  record.block(13).integers({1000, 0, 1, 3, 2, 0, 1});
  SBR body = expect_opened(record);
  EXPECT_EQ(SBR_size_of_block(body, 13), 1000);
}

TEST_F(LayoutTest, AnEmptyFaceListMeasuresSixteenBytes) {
  RecordBuilder record = two_nodes();
  record.faces({});
  EXPECT_EQ(record.block(13).size(), 16U);
  SBR body = read_bytes(record.bytes());
  EXPECT_EQ(SBR_size_of_block(body, 13), 16);
}

TEST_F(LayoutTest, AMonitorPointCountsWithOneArrayOfItsLoadOperators) {
  // Two modes; 2 rows and 3 load operators: 12 reals, whatever the flags say.
  RecordBuilder record = full_record(0x3C);
  record.monitor_points({{1, 1, 12, "A", "a", 2, 3, 0, {}}});
  SBR body = expect_opened(record);
  EXPECT_EQ(SBR_size_of_block(body, 35), 4 + 12 + 64 + 12 + 12 * 8);
}

TEST_F(LayoutTest, TheModesOfAMonitorPointAreThoseSizedLast) {
  RecordBuilder record = full_record(0x3C);
  record.monitor_points({{1, 1, 1, "A", "a", 1, 1, 0, {}}});
  SBR body = expect_opened(record);
  EXPECT_EQ(SBR_size_of_block(body, 35), 92 + 2 * 8);
  state::mode_count(body) = 7;
  EXPECT_EQ(SBR_size_of_block(body, 35), 92 + 2 * 8);
}

TEST_F(LayoutTest, OldMonitorPointsMoveTheBlocksBehindThem) {
  RecordBuilder record = full_record(0x3C);
  record.remove(35);
  record.monitor_points({{1, 1, 1, "A", "a", 1, 1, 8, {{5, 6}}}}, 32);
  SBR body = expect_opened(record);
  EXPECT_EQ(state::block_offset(body, 33), static_cast<std::int64_t>(record.offset(33)));
  // Without load operators the rule misses the displacement array, and the block behind is looked for too early.
  record.remove(33);
  record.remove(34);
  record.monitor_points({{1, 1, 1, "A", "a", 1, 0, 1, {{5, 6}}}}, 32);
  body = expect_opened(record);
  EXPECT_EQ(state::block_offset(body, 33), static_cast<std::int64_t>(record.offset(33)) - 2 * 8);
}

// ---- blocks that cannot be sized -----------------------------------------------------------------------------------

struct SizingCase {
  int block;
  const char *message;
};

TEST_F(LayoutTest, ABlockWhoseCountsAreMissingHasNoSize) {
  const SizingCase cases[] = {{3, "Problem in nodal coords block"},
                              {4, "Problem in old style element topology block"},
                              {6, "Problem in eigenvalues block"},
                              {7, "Problem in mode shapes block"},
                              {8, "Problem in nodal mass block"},
                              {9, "Problem in nodal inertia block"},
                              {11, "Problem in generalized stiffness block"},
                              {12, "Problem in generalized mass block"},
                              {13, "Problem in element face block"},
                              {14, "Problem in generalized damping block"},
                              {15, "Problem in mode shape transformation block"},
                              {16, "Problem in interface node block"},
                              {17, "Problem in modal stress block"},
                              {20, "Problem in invar 3 block"},
                              {21, "Problem in invar 4 block"},
                              {22, "Problem in invar 5 block"},
                              {24, "Problem in invar 8 block"},
                              {25, "Problem in invar 9 block"},
                              {26, "Problem in modal preload block"},
                              {27, "Problem in modal load block"},
                              {28, "Problem in modal strain block"},
                              {29, "Problem in modal statistics block"},
                              {30, "Problem in nodal pre-stress block"},
                              {31, "Problem in nodal pre-strain block"},
                              {32, "Problem in monitor point block"},
                              {33, "Problem in matrix operator block"},
                              {34, "Problem in modal load nodal block"},
                              {35, "Problem in monitor point block"}};
  for (const SizingCase &c : cases) {
    for (const std::uint32_t word : {0x3C, 0x33C}) {
      RecordBuilder record(word);
      record.block(c.block).raw("abc");
      SBR body = read_bytes(record.bytes());
      log.clear();
      EXPECT_EQ(SBR_size_of_block(body, c.block), 0) << c.block;
      EXPECT_EQ(log.take(), std::vector<Message>{error(c.message)}) << c.block;
    }
  }
}

TEST_F(LayoutTest, AnOldTopologyWithMissingGroupsHasNoSize) {
  RecordBuilder record(0x3C);
  record.block(4).integers({2, 12, 0, 1, 2, 1});
  SBR body = read_bytes(record.bytes());
  log.clear();
  EXPECT_EQ(SBR_size_of_block(body, 4), 0);
  EXPECT_EQ(log.take(), std::vector<Message>{error("Problem in old style element topology block")});
}

TEST_F(LayoutTest, AWalkThatBreaksOffGivesTheSumSoFar) {
  RecordBuilder record(0x3C);
  record.block(34).integer(2).integer(1).integer(0).integer(1).real(5).raw("ab");
  SBR body = read_bytes(record.bytes());
  log.clear();
  EXPECT_EQ(SBR_size_of_block(body, 34), 4 + 4 + 16);
  EXPECT_EQ(log.take(), std::vector<Message>{error("Problem in modal load nodal block")});
}

TEST_F(LayoutTest, AWalkOverOperatorsOrPointsThatBreaksOffGivesTheSumSoFar) {
  RecordBuilder record(0x3C);
  record.operators({{"OPER", {"one"}, {{2, "SUB", {1, 2}}}}});
  record.block(33).integer(7).text("ab", 2);
  const std::size_t first = record.block(33).size() - 6;
  std::string bytes = record.bytes();
  bytes[record.offset(33)] = 2;
  SBR body = read_bytes(bytes);
  log.clear();
  EXPECT_EQ(SBR_size_of_block(body, 33), static_cast<std::int64_t>(first));
  EXPECT_EQ(log.take(), std::vector<Message>{error("Problem in matrix operator block")});
  for (const int block : {32, 35}) {
    RecordBuilder points(0x3C);
    points.block(block).integer(1).integers({1, 2, 3});
    body = read_bytes(points.bytes());
    log.clear();
    EXPECT_EQ(SBR_size_of_block(body, block), 4);
    EXPECT_EQ(log.take(), std::vector<Message>{error("Problem in monitor point block")});
  }
}

TEST_F(LayoutTest, ANegativeProductOfCountsEndsTheWalkWithoutAReport) {
  RecordBuilder record(0x3C);
  record.block(33).integers({1, 2}).text("OPER", 8).text("a", 80).text("b", 80).integers({1, -3}).text("S", 8);
  record.block(33).integers({1, 2, 3});
  SBR body = read_bytes(record.bytes());
  log.clear();
  EXPECT_EQ(SBR_size_of_block(body, 33), 4 + 4 + 8 + 160 + 4 + 0);
  for (const int block : {32, 35}) {
    RecordBuilder points(0x3C);
    points.eigenvalues({{1, 1}, {2, 2}});
    points.block(block).integers({1, 1, 1, 1}).text("", 64).integers({-2, 1, 8, 5, 5, 5, 5});
    body = read_bytes(points.bytes());
    log.clear();
    EXPECT_EQ(SBR_size_of_block(body, block), 4);
    EXPECT_TRUE(log.take().empty());
  }
}

TEST_F(LayoutTest, CorruptCountsGiveSizesWithoutOverflow) {
  constexpr int kMost = std::numeric_limits<int>::max();
  for (int block = 3; block < 36; ++block) {
    for (const int count : {kMost, -1, -kMost - 1}) {
      RecordBuilder record(0x3C);
      record.block(block).integers(std::vector<int>(64, count));
      SBR body = read_bytes(record.bytes());
      EXPECT_GE(SBR_size_of_block(body, block), 0) << block;
      for (int other = 1; other < 36; ++other)
        EXPECT_GE(state::block_offset(body, other), state::block_offset(body, other - 1));
      SBR_UnLink(body);
    }
  }
}

TEST_F(LayoutTest, AWalkDoesNotGoBackwardOverNegativeCounts) {
  RecordBuilder record(0x3C);
  record.block(34).integers({std::numeric_limits<int>::max(), -1, 5, 5});
  SBR body = read_bytes(record.bytes());
  EXPECT_EQ(SBR_size_of_block(body, 34), 8);
}

// ---- versions ------------------------------------------------------------------------------------------------------

TEST_F(LayoutTest, TheVersionIsTheLowByteOfTheWord) {
  SBR body = expect_opened(two_nodes(0x13C));
  EXPECT_EQ(SBR_Version(body), 60);
  EXPECT_EQ(state::version_word(body), 0x13CU);
}

TEST_F(LayoutTest, ANewBodyHasVersion31) { EXPECT_EQ(SBR_Version(SBR_Create(0, 0)), 31); }

TEST_F(LayoutTest, SettingTheVersionKeepsTheFlags) {
  SBR body = expect_opened(two_nodes(0x13C));
  SBR_SetVersion(body, 61);
  EXPECT_EQ(state::version_word(body), 0x13DU);
  SBR_SetVersion(body, 0x23E);
  EXPECT_EQ(state::version_word(body), 0x13EU);
}

TEST_F(LayoutTest, SettingAnOldVersionClearsTheFlags) {
  for (const std::uint32_t old : {10, 20, 30, 31, 40, 41, 50, 51}) {
    SBR body = SBR_Create(0, 0);
    SBR_SetVersion(body, 60);
    state::version_word(body) |= 0x700U;
    SBR_SetVersion(body, old);
    EXPECT_EQ(state::version_word(body), old);
  }
  // The whole value has to be an old one.
  SBR body = SBR_Create(0, 0);
  state::version_word(body) = 0x73C;
  SBR_SetVersion(body, 0x100 + 40);
  EXPECT_EQ(state::version_word(body), 0x700U + 40);
}

TEST_F(LayoutTest, ShortVersionsKnowNoLaterBlockWhateverTheirContentBytesSay) {
  for (const std::uint32_t word : {10, 20, 30, 31}) {
    RecordBuilder record = full_record(word);
    for (int byte = 17; byte < 100; ++byte) record.content(byte, 1);
    SBR body = expect_opened(record);
    for (int block = 18; block < 36; ++block) EXPECT_EQ(SBR_Exists(body, block), 0);
    EXPECT_NE(SBR_Exists(body, 17), 0);
  }
}

TEST_F(LayoutTest, BytesWithoutMeaningAreIgnored) {
  RecordBuilder record = two_nodes();
  record.content(7, 1).content(11, 1);
  for (int byte = 35; byte < 100; ++byte) record.content(byte, 1);
  SBR body = expect_opened(record);
  EXPECT_EQ(SBR_NodeCount(body), 2);
}

}  // namespace
}  // namespace sbrtest
