// Copying a data block to a record file: the blocks have the same fields in both, as record/shapes.h describes them.
#include "datablock.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <string>

#include "interrupt.h"
#include "record/layout.h"
#include "record/shapes.h"
#include "session.h"

namespace sbrtool {
namespace {

using sbr::kBlockCount;
using sbr::kContentBytes;
using sbr::MonitorPointHead;

using sbr::transfer;

constexpr std::int64_t kPiece = 8192;  // words or characters that are moved at once; a multiple of 4

// The version word: that of a database has a bit of its own, which means the current layout whatever the code says.
constexpr std::uint32_t kDatabaseWord = 0x1000;
constexpr std::uint32_t kNativeDouble = 0x3C;

[[noreturn]] void refuse(int number, const std::string &what) {
  throw Failure(kUnreadable, "the data block is damaged: record " + std::to_string(number) + ' ' + what);
}

// The reals behind a point's head. Displacement, velocity and acceleration have one matrix each, loads one per
// operator. What no record can hold counts as more than any record holds.
std::int64_t operator_reals(const MonitorPointHead &point, std::int64_t modes) {
  std::int64_t reals = 0;
  for (int bit = 0; bit < 4; ++bit)
    if ((point.flags & (1 << bit)) != 0)
      reals =
          sbr::bounded_sum(reals, sbr::monitor_operator_reals(bit, point.operator_rows, point.load_operators, modes));
  return std::min(reals, INT64_C(1) << 61);
}

// ---- trying a number of modes ---------------------------------------------------------------------------------------

// A walk that reads numbers and drops all else, to see where a record of monitor points would end.
class Trial {
 public:
  Trial(db_block block, std::int64_t modes) : block_(block), modes_(modes) {}

  bool integer(std::int32_t &value) { return DB_ReadINTs(block_, &value, 1) != 0; }
  bool count(std::int32_t &value) { return integer(value) && value >= 0; }
  bool chars(const char *, std::int64_t count) { return drop(count / 4); }
  template <class Record>
  bool fields(Record &record) {
    return transfer(*this, record);
  }
  bool operators(const MonitorPointHead &point) { return drop(operator_reals(point, modes_)); }
  void settle() {}

 private:
  // Reads and drops words; false where the record ends.
  bool drop(std::int64_t words) {
    constexpr std::int64_t kStep = 1 << 20;
    for (std::int64_t left = words; left > 0; left -= kStep) {
      require_no_interrupt();
      if (DB_SeekFWD(block_, -static_cast<int>(std::min(left, kStep))) == 0) return false;
    }
    return true;
  }

  db_block block_;
  std::int64_t modes_;
};

// ---- the copy -------------------------------------------------------------------------------------------------------

// A walk that writes what it reads. The first value that is missing or not credible ends the command.
class Copy {
 public:
  Copy(db_block block, std::FILE *record) : block_(block), record_(record) {}

  void run();

  // The fields of a group.
  bool integer(std::int32_t &value) {
    value = read_integer();
    write(&value, sizeof value);
    return true;
  }
  bool count(std::int32_t &value) {
    integer(value);
    if (value < 0) damaged("has a negative count");
    return true;
  }
  bool chars(char *text, std::int64_t count) {
    if (DB_ReadCHARs(block_, text, static_cast<int>(count)) == 0) damaged("ends too early");
    write(text, static_cast<std::size_t>(count));
    return true;
  }
  bool reals(const double *, std::int64_t count) { return reals(count); }

  // The walk.
  template <class Record>
  bool fields(Record &record) {
    return transfer(*this, record);
  }
  // The first word is the size by which readers find the next block.
  bool fields(sbr::ElementFacesHead &head) {
    transfer(*this, head);
    if (head.block_size != std::int64_t{4} * head.list_length + 16) damaged("has a wrong size");
    return true;
  }
  bool fields(sbr::ContentSummary &summary) {
    transfer(*this, summary);
    content_ = summary;
    return true;
  }
  template <class Row, class... Extra>
  bool rows(std::int64_t count, Extra... extra) {
    Row row{};
    for (std::int64_t i = 0; i < count; ++i) transfer(*this, row, extra...);
    return true;
  }
  bool integers(std::int64_t count) { return move(DB_ReadINTs, count); }
  bool reals(std::int64_t count) { return move(DB_ReadDOUBLEs, count); }
  bool operators(const MonitorPointHead &point) { return reals(operator_reals(point, operator_modes_)); }
  [[nodiscard]] bool words_before_vectors() const { return true; }
  void modes(std::int32_t count) { modes_ = count; }
  void settle() {}

 private:
  [[noreturn]] void damaged(const std::string &what) const { refuse(number_, what); }
  void write(const void *data, std::size_t bytes) {
    if (std::fwrite(data, 1, bytes, record_) != bytes) throw Failure(kFailed, "the record cannot be written");
  }
  int read_integer() {
    int value = 0;
    if (DB_ReadINTs(block_, &value, 1) == 0) damaged("ends too early");
    return value;
  }
  // Moves values in pieces, so that no count takes memory. Each piece that is missing ends the copy.
  template <class Value>
  bool move(int (*read)(db_block, Value *, int), std::int64_t values) {
    std::array<Value, kPiece> piece;
    for (std::int64_t left = values; left > 0; left -= kPiece) {
      require_no_interrupt();
      const std::int64_t size = std::min(left, kPiece);
      if (read(block_, piece.data(), static_cast<int>(size)) == 0) damaged("ends too early");
      write(piece.data(), static_cast<std::size_t>(size) * sizeof(Value));
    }
    return true;
  }
  bool at_end();
  void copy_block(int block);
  void copy_version();
  void find_operator_modes();
  void check_blocks() const;

  db_block block_;
  std::FILE *record_;
  int number_ = 0;  // of the present record
  sbr::ContentSummary content_;
  std::array<bool, kBlockCount> copied_{};
  std::int64_t modes_ = 0;           // as the present or an earlier block tells
  std::int64_t operator_modes_ = 0;  // of the monitor points
};

// All records up to the closing one; their numbers rise.
void Copy::run() {
  int last = 0;
  for (number_ = read_integer(); number_ != 0; number_ = read_integer()) {
    const int block = number_ - 1;
    if (number_ <= last || number_ > kBlockCount || block == sbr::kElementTopology || block == sbr::kOldMonitorPoints)
      damaged("stands where it does not belong");
    if (last < 3 && number_ != last + 1) damaged("stands where version, header and summary belong");
    copy_block(block);
    copied_[static_cast<std::size_t>(block)] = true;
    last = number_;
    if (!at_end()) damaged("holds more than its counts tell");
    if (DB_SkipRecord(block_) == 0) damaged("is not followed by a closing record");
  }
  check_blocks();
}

void Copy::copy_block(int block) {
  if (block == sbr::kVersionCode) return copy_version();
  if (block == sbr::kMonitorPoints) find_operator_modes();
  sbr::kShapes<Copy>[block](*this, block);
}

void Copy::copy_version() {
  const auto word = static_cast<std::uint32_t>(read_integer());
  if ((word & kDatabaseWord) == 0) damaged("is not the version of a body in a database");
  const std::uint32_t native = kNativeDouble | (word & sbr::kCoarsenedFlag);
  write(&native, sizeof native);
}

bool Copy::at_end() {
  int64_t here[2] = {};
  int value = 0;
  DB_FSAVE(here, block_);
  if (DB_ReadINTs(block_, &value, 1) == 0) return true;
  DB_FRESTORE(here, block_);
  return false;
}

// Operators stand on all modes of the body as it was stored. That number is written nowhere: it is the number of modes
// in the data block, or a larger one when a frequency range cut them. It is the one with which the record ends where
// its last point ends.
void Copy::find_operator_modes() {
  constexpr std::int64_t kMostDropped = 4096;
  int64_t start[2] = {};
  DB_FSAVE(start, block_);
  for (operator_modes_ = modes_; operator_modes_ <= modes_ + kMostDropped; ++operator_modes_) {
    Trial trial(block_, operator_modes_);
    const bool fits = sbr::walk_monitor_points(trial, sbr::kMonitorPoints) && at_end();
    DB_FRESTORE(start, block_);
    if (fits) return;
  }
  damaged("does not fit any number of modes");
}

// Blocks are found by what the summary tells, so that it must tell the truth.
void Copy::check_blocks() const {
  if (!copied_[sbr::kContentSummary]) damaged("closes a data block without version, header and summary");
  for (int block = sbr::kNodalCoords; block < kBlockCount; ++block)
    if ((content_.bytes[sbr::content_byte(block)] != 0) != copied_[static_cast<std::size_t>(block)])
      throw Failure(kUnreadable, "the data block is damaged: the content summary is wrong about record " +
                                     std::to_string(block + 1));
}

}  // namespace

void copy_to_record(db_block block, std::FILE *record) { Copy(block, record).run(); }

}  // namespace sbrtool
