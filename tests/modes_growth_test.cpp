// More nodes than were announced: records are laid out anew, and nothing is lost.
#include <filesystem>
#include <random>

#include "support/body_state.h"
#include "support/files.h"
#include "support/messages.h"

namespace sbrtest {
namespace {

using Values = std::vector<double>;

double value(int mode, int id, int kind, int c) { return 1000.0 * mode + id + 0.125 * kind + 0.001 * c; }

class ModeGrowthTest : public LibraryTest {
 protected:
  static int enter(SBR body, int mode, int id, int kind) {
    double six[6];
    for (int c = 0; c < 6; ++c) six[c] = value(mode, id, kind, c);
    return SBR_SetModeVec(body, mode, id, kind, six);
  }
  static Values stored(SBR body, int mode, int kind) {
    Values values(6 * static_cast<std::size_t>(SBR_ModeNodeCount(body, kind)));
    return SBR_Read_Mode_Double(body, mode, kind, values.data()) != 0 ? values : Values{};
  }
  static Values expected(SBR body, int mode, int kind) {
    Values values;
    for (int p = 0; p < SBR_ModeNodeCount(body, kind); ++p)
      for (int c = 0; c < 6; ++c) values.push_back(value(mode, SBR_ModeNodeID(body, kind, p), kind, c));
    return values;
  }
  ScratchDirectory scratch;
  ScopedEnvironment tmp{"TMP", scratch.path().string()};
};

TEST_F(ModeGrowthTest, NodesBeyondThoseAnnouncedAreEnteredInAnyOrder) {
  for (const int announced : {1, 2, 7, 40}) {
    SBR body = SBR_Create(announced, 5);
    std::vector<std::tuple<int, int, int>> places;
    for (int kind = 0; kind < 3; ++kind)
      for (int mode = 1; mode <= 5; ++mode)
        for (int id = 1; id <= 100; ++id) places.emplace_back(mode, id, kind);
    std::shuffle(places.begin(), places.end(), std::mt19937(static_cast<unsigned>(announced)));
    for (const auto &[mode, id, kind] : places) ASSERT_EQ(enter(body, mode, id, kind), 1);
    for (int kind = 0; kind < 3; ++kind)
      for (int mode = 1; mode <= 5; ++mode) EXPECT_EQ(stored(body, mode, kind), expected(body, mode, kind));
    EXPECT_TRUE(log.take_complaints().empty());
    EXPECT_EQ(scratch.count_files(), 3) << "the outgrown files are gone";
    SBR_DeReference(body);
    EXPECT_EQ(scratch.count_files(), 0);
  }
}

TEST_F(ModeGrowthTest, AValueThatIsEnteredAloneMakesRoomToo) {
  SBR body = SBR_Create(1, 2);
  EXPECT_EQ(SBR_SetModeEntry(body, 1, 1, 0, 5, 1.0), 1);
  EXPECT_EQ(SBR_SetModeEntry(body, 2, 1, 0, 0, 2.0), 1);
  EXPECT_EQ(SBR_SetModeEntry(body, 1, 2, 0, 5, 3.0), 1);
  EXPECT_EQ(stored(body, 1, 0), (Values{0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 3}));
  EXPECT_EQ(stored(body, 2, 0), (Values{2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
}

TEST_F(ModeGrowthTest, ANodeKnownBeyondTheRecordReadsAsZeros) {
  SBR body = SBR_Create(1, 2);
  ASSERT_EQ(enter(body, 1, 1, 0), 1);
  ASSERT_EQ(enter(body, 2, 1, 0), 1);
  SBR_SetNodeCoordinates(body, 2, 0, 0, 0);
  // Mode 2's record follows that of mode 1 in the file.
  double three[3] = {9, 9, 9};
  EXPECT_EQ(SBR_ModeByNodeWithoutCache(body, 1, 0, 2, three, 0), 1);
  EXPECT_EQ(Values(three, three + 3), Values(3, 0.0));
  Values part(6, 9.0);
  EXPECT_EQ(SBR_Mode(body, 1, 0, part.data(), 0), 1);
  EXPECT_EQ(part, (Values{value(1, 1, 0, 0), value(1, 1, 0, 1), value(1, 1, 0, 2), 0, 0, 0}));
  EXPECT_TRUE(log.take_complaints().empty());
}

// By the letter a body of one mode has nothing behind its record: entering just makes the file longer.
TEST_F(ModeGrowthTest, ABodyOfOneModeAnswersAsIfItsFileBecameLonger) {
  for (const bool precision : {true, false}) {
    SBR body = SBR_Create(1, 1);
    state::record(body).double_precision = precision;
    Values model;
    for (const int node : {0, 1, 5, 3, 12, 4}) {
      for (int id = SBR_NodeCount(body) + 1; id <= node + 1; ++id) SBR_SetNodeCoordinates(body, id, 0, 0, 0);
      double six[6];
      for (int c = 0; c < 6; ++c) six[c] = node + 0.125 * c;
      ASSERT_EQ(SBR_SetModeVec(body, 1, node + 1, 0, six), 1);
      // Values are entered at eight bytes a value, and read at four from a single-precision file.
      const std::size_t first = 6 * static_cast<std::size_t>(node) * (precision ? 1 : 2);
      if (model.size() < first + 6) model.resize(first + 6);
      std::copy(six, six + 6, model.begin() + static_cast<std::ptrdiff_t>(first));
    }
    const std::size_t values = 6 * static_cast<std::size_t>(SBR_NodeCount(body));
    if (model.size() < values) model.resize(values);
    for (int part = 0; part < 2; ++part) {
      Values found(values / 2);
      ASSERT_EQ(SBR_Mode(body, 1, 0, found.data(), part), 1);
      for (std::size_t i = 0; i < found.size(); ++i)
        EXPECT_EQ(found[i], model[i / 3 * 6 + 3 * static_cast<std::size_t>(part) + i % 3]) << precision << " " << i;
    }
    SBR_DeReference(body);
  }
}

TEST_F(ModeGrowthTest, WhatIsHeldInMemoryOutlivesTheNewLayout) {
  SBR body = SBR_Create(2, 2);
  SBR_SetNodeCoordinates(body, 1, 0, 0, 0);
  SBR_SetNodeCoordinates(body, 2, 0, 0, 0);
  SBR_SetNodeCoordinates(body, 3, 0, 0, 0);
  ASSERT_EQ(enter(body, 1, 1, 0), 1);
  double *held = nullptr;
  Values part(9);
  ASSERT_EQ(SBR_Mode(body, 1, 0, part.data(), 0), 1);
  ASSERT_EQ(SBR_ModeFromMemoryByRef(body, 1, 0, &held, 0), 1);
  ASSERT_EQ(enter(body, 1, 3, 0), 1);
  EXPECT_EQ(Values(held, held + 9), part);
  Values again(9);
  EXPECT_EQ(SBR_ModeFromMemory(body, 1, 0, again.data(), 0), 1) << "entering does not touch the cache";
  EXPECT_EQ(again, part);
}

TEST_F(ModeGrowthTest, AFullDiskIsReportedAndLeavesTheStore) {
  const char *const names[] = {"mode shape file  ", "modal stress file ", "modal strain file "};
  const char *const variables[] = {"KTX_TMP_MOD", "KTX_TMP_STR", "KTX_TMP_STN"};
  for (int kind = 0; kind < 3; ++kind) {
    SBR body = SBR_Create(4, 10);
    for (int mode = 1; mode <= 10; ++mode)
      for (int id = 1; id <= 4; ++id) ASSERT_EQ(enter(body, mode, id, kind), 1);
    const int listed = SBR_ModeNodeCount(body, kind);
    EXPECT_EQ(stored(body, 1, kind), expected(body, 1, kind));
    log.clear();
    for (const rlim_t bytes : {0, 100, 1920, 3839}) {
      const FileSizeLimit limit(bytes);
      EXPECT_EQ(enter(body, 3, 5, kind), 0);
    }
    const std::vector<Message> found = log.take_complaints();
    ASSERT_EQ(found.size(), 4U);
    for (const Message &message : found) {
      EXPECT_EQ(message.text.rfind(
                    std::string("Insufficient disk space for temporary ") + names[kind] + scratch.file("sbr_"), 0),
                0U)
          << message.text;
      EXPECT_NE(message.text.find(variables[kind]), std::string::npos);
    }
    EXPECT_EQ(scratch.count_files(), 1);
    EXPECT_EQ(SBR_ModeNodeCount(body, kind), kind == 0 ? 5 : listed) << "the node is not in the list";
    for (int mode = 1; mode <= 10; ++mode) {
      Values whole = expected(body, mode, kind);
      if (kind == 0) std::fill(whole.end() - 6, whole.end(), 0.0);
      EXPECT_EQ(stored(body, mode, kind), whole);
    }
    EXPECT_EQ(enter(body, 3, 5, kind), 1) << "with room again";
    EXPECT_EQ(stored(body, 3, kind), expected(body, 3, kind));
    SBR_DeReference(body);
  }
}

TEST_F(ModeGrowthTest, AReservationThatFailedIsRepairedByTheNextCall) {
  for (const int announced : {0, -5}) {
    SBR body = SBR_Create(announced, 2);
    EXPECT_EQ(enter(body, 1, 1, 0), 0);
    const std::vector<Message> complaints = log.take_complaints();
    ASSERT_EQ(complaints.size(), 1U);
    EXPECT_TRUE(is_no_memory(complaints[0], "sbrdata"));
    EXPECT_EQ(enter(body, 1, 1, 0), 1);
    EXPECT_EQ(enter(body, 2, 2, 0), 1);
    EXPECT_EQ(enter(body, 2, 1, 0), 1);
    EXPECT_EQ(enter(body, 1, 2, 0), 1);
    EXPECT_TRUE(log.take_complaints().empty());
    for (const int mode : {1, 2}) EXPECT_EQ(stored(body, mode, 0), expected(body, mode, 0));
    EXPECT_EQ(scratch.count_files(), 1);
    SBR_DeReference(body);
  }
}

TEST_F(ModeGrowthTest, AReservationThatFoundTheDiskFullIsRepairedByTheNextCall) {
  SBR body = SBR_Create(1000, 10);
  {
    const FileSizeLimit limit(100000);  // 480,000 bytes were announced
    EXPECT_EQ(enter(body, 1, 1, 0), 0);
    ASSERT_EQ(log.take_complaints().size(), 1U);
    EXPECT_EQ(enter(body, 1, 1, 0), 1) << "there is room for what is needed now";
    EXPECT_EQ(enter(body, 10, 2, 0), 1);
  }
  EXPECT_TRUE(log.take_complaints().empty());
  EXPECT_EQ(enter(body, 1, 2, 0), 1);
  EXPECT_EQ(stored(body, 1, 0), expected(body, 1, 0));
}

TEST_F(ModeGrowthTest, AnOutgrownFileStaysInItsDirectory) {
  std::filesystem::create_directory(scratch.path() / "chosen");
  const ScopedEnvironment variable("KTX_TMP_MOD", scratch.file("chosen/modes"));
  SBR body = SBR_Create(1, 2);
  ASSERT_EQ(enter(body, 1, 1, 0), 1);
  ASSERT_EQ(enter(body, 1, 2, 0), 1);
  const std::filesystem::path path = state::mode_file(body, sbr::Kind::shape);
  EXPECT_EQ(path.parent_path(), scratch.path() / "chosen");
  EXPECT_EQ(path.filename().string().rfind("sbr_", 0), 0U);
  EXPECT_FALSE(std::filesystem::exists(scratch.file("chosen/modes")));
}

TEST_F(ModeGrowthTest, NodesAreAddedAfterARotation) {
  SBR body = SBR_Create(2, 3);
  for (int mode = 1; mode <= 2; ++mode)
    for (int id = 1; id <= 2; ++id) ASSERT_EQ(enter(body, mode, id, 0), 1);
  const double axis[3] = {0, 0, 1};
  ASSERT_EQ(SBR_Mirror_Origin(body, axis), 1);
  const Values first = stored(body, 1, 0);
  const Values second = stored(body, 2, 0);
  for (const int id : {3, 4, 5}) ASSERT_EQ(enter(body, 2, id, 0), 1);
  Values found = stored(body, 1, 0);
  EXPECT_EQ(Values(found.begin(), found.begin() + 12), first);
  EXPECT_EQ(Values(found.begin() + 12, found.end()), Values(18, 0.0));
  found = stored(body, 2, 0);
  EXPECT_EQ(Values(found.begin(), found.begin() + 12), second);
  EXPECT_EQ(found[12], value(2, 3, 0, 0));
}

}  // namespace
}  // namespace sbrtest
