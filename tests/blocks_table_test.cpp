// The table of the kinds of block, and the shapes by which blocks are walked.
#include <cstring>

#include "blocks/table.h"
#include "record/shapes.h"
#include "support/record_test.h"

namespace sbrtest {
namespace {

TEST(BlockTable, EveryKindStandsAtItsIndexAndAllButTheOldMonitorPointsHaveNameAndTitle) {
  for (int block = 0; block < 36; ++block) {
    const sbr::BlockKind &kind = sbr::block_kind(block);
    EXPECT_EQ(kind.index, block);
    EXPECT_EQ(kind.name == nullptr, block == 32) << block;
    EXPECT_EQ(kind.title == nullptr, block == 32) << block;
    EXPECT_NE(kind.size, nullptr) << block;
  }
  EXPECT_STREQ(sbr::block_kind(0).name, "Version code");
  EXPECT_STREQ(sbr::block_kind(10).title, "SBR Default Units:");
  EXPECT_STREQ(sbr::block_kind(15).name, "Mode_Shape_Transformation");
  EXPECT_STREQ(sbr::block_kind(23).name, "Invariants 7");
  EXPECT_STREQ(sbr::block_kind(35).name, "Monitor Points");
}

TEST(BlockTable, EveryBlockIsReadWrittenAndPrintedByItsFamily) {
  for (int block = 0; block < 36; ++block) {
    const sbr::BlockFunctions &functions = *sbr::block_kind(block).functions;
    // Invariants stay in the file until somebody asks; word and summary are read before there is a table of offsets.
    const bool read = block != 0 && block != 2 && (block < 18 || block > 25);
    EXPECT_EQ(functions.read != nullptr, read) << block;
    EXPECT_EQ(functions.write != nullptr, block > 2 && block != 32) << block;
    EXPECT_EQ(functions.print != nullptr, block != 32) << block;
    EXPECT_EQ(sbr::block_kind(block).writing_problem != nullptr, functions.write != nullptr) << block;
  }
}

// A walk over bytes in memory: native, double precision.
class ByteWalk {
 public:
  ByteWalk(std::string bytes, std::int64_t modes) : bytes_(std::move(bytes)), modes_(modes) {}

  bool integer(std::int32_t &value) {
    if (!pass(4)) return false;
    std::memcpy(&value, bytes_.data() + at_ - 4, 4);
    return true;
  }
  bool count(std::int32_t &value) { return integer(value); }
  bool chars(const char *, std::int64_t count) { return pass(count); }
  bool reals(const double *, std::int64_t count) { return reals(count); }
  template <class Record>
  bool fields(Record &record) {
    return transfer(*this, record);
  }
  template <class Row, class... Extra>
  bool rows(std::int64_t count, Extra... extra) {
    return pass(count * sbr::field_bytes<Row>({8, 1}, extra...));
  }
  bool integers(std::int64_t count) { return pass(4 * count); }
  bool reals(std::int64_t count) { return pass(8 * count); }
  bool operators(const sbr::MonitorPointHead &point) {
    for (int bit = 0; bit < 4; ++bit)
      if ((point.flags & (1 << bit)) != 0 &&
          !reals(sbr::monitor_operator_reals(bit, point.operator_rows, point.load_operators, modes_)))
        return false;
    return true;
  }
  [[nodiscard]] bool words_before_vectors() const { return true; }
  void modes(std::int32_t count) { told_modes_ = count; }
  void settle() {}
  [[nodiscard]] bool at_end() const { return at_ == static_cast<std::int64_t>(bytes_.size()); }
  [[nodiscard]] std::int64_t told_modes() const { return told_modes_; }

 private:
  bool pass(std::int64_t count) {
    if (count < 0 || count > static_cast<std::int64_t>(bytes_.size()) - at_) return false;
    at_ += count;
    return true;
  }

  std::string bytes_;
  std::int64_t modes_;
  std::int64_t told_modes_ = -1;
  std::int64_t at_ = 0;
};

TEST(BlockShapes, EveryShapeEndsWhereItsBlockEnds) {
  RecordBuilder record = full_record(0x3C);
  record.old_faces({{10, 20, 35}, {10, 35}});
  record.monitor_points(
      {{1,
        1,
        12,
        "POINT",
        "a point",
        2,
        3,
        15,
        {std::vector<double>(4), std::vector<double>(4), std::vector<double>(4), std::vector<double>(12)}},
       {}});
  RecordBuilder old_points(0x3C);
  old_points.monitor_points({{1, 1, 1, "A", "a", 1, 1, 8, {{5, 6}}}}, 32);
  for (int block = 3; block < 36; ++block) {
    ByteWalk walk((block == 32 ? old_points : record).block(block).bytes(), 2);
    EXPECT_TRUE(sbr::kShapes<ByteWalk>[block](walk, block)) << block;
    EXPECT_TRUE(walk.at_end()) << block;
    EXPECT_TRUE(walk.told_modes() == -1 || walk.told_modes() == 2) << block;
  }
}

TEST(BlockShapes, AShapeEndsAtTheStepThatGivesFalse) {
  RecordBuilder record = full_record(0x3C);
  for (int block = 3; block < 36; ++block) {
    if (block == 4 || block == 32) continue;
    const std::string bytes = record.block(block).bytes();
    for (std::size_t size = 0; size < bytes.size(); ++size) {
      ByteWalk walk(bytes.substr(0, size), 2);
      // The point of a body of two modes needs its operators; all else ends by its counts.
      EXPECT_FALSE(sbr::kShapes<ByteWalk>[block](walk, block)) << block << ' ' << size;
    }
  }
}

}  // namespace
}  // namespace sbrtest
