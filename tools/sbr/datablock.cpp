// Copying a data block to a record file: the blocks have the same fields in both.
#include "datablock.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>

#include "interrupt.h"
#include "session.h"

namespace sbrtool {
namespace {

constexpr std::int64_t kPiece = 8192;  // words or characters that are moved at once; a multiple of 4
constexpr int kBlocks = 36;
constexpr int kOldTopology = 4;
constexpr int kFaces = 13;
constexpr int kOldMonitorPoints = 32;
constexpr std::size_t kContentBytes = 100;

// The version word: that of a database has a bit of its own, which means the current layout whatever the code says.
constexpr std::uint32_t kDatabaseWord = 0x1000;
constexpr std::uint32_t kCoarsened = 0x400;
constexpr std::uint32_t kNativeDouble = 0x3C;

// The byte of the content summary that tells of a block from 3 on.
constexpr std::size_t content_byte(int block) {
  return static_cast<std::size_t>(block <= 9 ? block - 3 : block <= 12 ? block - 2 : block - 1);
}

struct MonitorPointHead {
  std::int64_t rows;
  std::int64_t load_operators;
  int flags;
};

class Copy {
 public:
  Copy(db_block block, std::FILE *record) : block_(block), record_(record) {}

  void run();

 private:
  // ---- fields -------------------------------------------------------------------------------------------------------
  [[noreturn]] void damaged(const std::string &what) const {
    throw Failure(kUnreadable, "the data block is damaged: record " + std::to_string(number_) + ' ' + what);
  }
  void write(const void *data, std::size_t bytes) {
    if (std::fwrite(data, 1, bytes, record_) != bytes) throw Failure(kFailed, "the record cannot be written");
  }
  int read_integer() {
    int value = 0;
    if (DB_ReadINTs(block_, &value, 1) == 0) damaged("ends too early");
    return value;
  }
  int integer() {
    const int value = read_integer();
    write(&value, sizeof value);
    return value;
  }
  std::int64_t count() {
    const int value = integer();
    if (value < 0) damaged("has a negative count");
    return value;
  }
  // Moves values in pieces, so that no count takes memory. Each piece that is missing ends the copy.
  template <class Value>
  void move(int (*read)(db_block, Value *, int), std::int64_t values) {
    std::array<Value, kPiece> piece;
    for (std::int64_t left = values; left > 0; left -= kPiece) {
      require_no_interrupt();
      const std::int64_t size = std::min(left, kPiece);
      if (read(block_, piece.data(), static_cast<int>(size)) == 0) damaged("ends too early");
      write(piece.data(), static_cast<std::size_t>(size) * sizeof(Value));
    }
  }
  void integers(std::int64_t values) { move(DB_ReadINTs, values); }
  void reals(std::int64_t values) { move(DB_ReadDOUBLEs, values); }
  void characters(std::int64_t values) { move(DB_ReadCHARs, values); }
  bool at_end() {
    int64_t here[2] = {};
    int value = 0;
    DB_FSAVE(here, block_);
    if (DB_ReadINTs(block_, &value, 1) == 0) return true;
    DB_FRESTORE(here, block_);
    return false;
  }
  // Reads and drops words; false where the record ends.
  bool skip(std::int64_t words) {
    constexpr std::int64_t kStep = 1 << 20;
    for (std::int64_t left = words; left > 0; left -= kStep) {
      require_no_interrupt();
      if (DB_SeekFWD(block_, -static_cast<int>(std::min(left, kStep))) == 0) return false;
    }
    return true;
  }

  // ---- blocks ------------------------------------------------------------------------------------------------------
  void version();
  void content();
  void fields(int block);
  void geometry_fields(int block);
  void modal_fields(int block);
  void invariant_fields(int block);
  void load_fields(int block);
  void mode_vectors();
  void sparse_matrix();
  void faces();
  void matrix_operators();
  void nodal_loads();
  void monitor_points();
  std::int64_t monitor_point_modes(const int64_t *start);
  bool monitor_points_fit(std::int64_t modes);
  bool read_monitor_head(MonitorPointHead &head);
  std::int64_t reals_of(const MonitorPointHead &head, std::int64_t modes) const;
  void check_blocks() const;

  db_block block_;
  std::FILE *record_;
  int number_ = 0;  // of the present record
  std::array<char, kContentBytes> content_{};
  std::array<bool, kBlocks> copied_{};
  std::int64_t modes_ = 0;  // as the eigenvalues or mode shapes tell
};

// All records up to the closing one; their numbers rise.
void Copy::run() {
  int last = 0;
  for (number_ = read_integer(); number_ != 0; number_ = read_integer()) {
    const int block = number_ - 1;
    if (number_ <= last || number_ > kBlocks || block == kOldTopology || block == kOldMonitorPoints)
      damaged("stands where it does not belong");
    if (last < 3 && number_ != last + 1) damaged("stands where version, header and summary belong");
    fields(block);
    copied_[static_cast<std::size_t>(block)] = true;
    last = number_;
    if (!at_end()) damaged("holds more than its counts tell");
    if (DB_SkipRecord(block_) == 0) damaged("is not followed by a closing record");
  }
  check_blocks();
}

void Copy::fields(int block) {
  switch (block) {
    case 0:
      return version();
    case 1:
      return characters(544);
    case 2:
      return content();
    case 3:
    case 5:
    case 8:
    case 9:
    case 10:
    case kFaces:
    case 16:
      return geometry_fields(block);
    case 6:
    case 7:
    case 11:
    case 12:
    case 14:
    case 15:
    case 17:
    case 28:
    case 29:
    case 30:
    case 31:
      return modal_fields(block);
    default:
      return block <= 25 ? invariant_fields(block) : load_fields(block);
  }
}

void Copy::version() {
  const auto word = static_cast<std::uint32_t>(read_integer());
  if ((word & kDatabaseWord) == 0) damaged("is not the version of a body in a database");
  const std::uint32_t native = kNativeDouble | (word & kCoarsened);
  write(&native, sizeof native);
}

void Copy::content() {
  if (DB_ReadCHARs(block_, content_.data(), static_cast<int>(kContentBytes)) == 0) damaged("ends too early");
  write(content_.data(), kContentBytes);
}

// Blocks are found by what the summary tells, so that it must tell the truth.
void Copy::check_blocks() const {
  if (!copied_[2]) damaged("closes a data block without version, header and summary");
  for (int block = 3; block < kBlocks; ++block)
    if ((content_[content_byte(block)] != 0) != copied_[static_cast<std::size_t>(block)])
      throw Failure(kUnreadable, "the data block is damaged: the content summary is wrong about record " +
                                     std::to_string(block + 1));
}

void Copy::geometry_fields(int block) {
  std::int64_t rows = 0;
  std::int64_t values = 0;
  switch (block) {
    case 3:
    case 8:
      rows = count();
      values = count();
      for (std::int64_t i = 0; i < rows; ++i) {
        integer();
        reals(values);
      }
      return;
    case 5:
      return reals(13);
    case 9:
      rows = count();
      for (std::int64_t i = 0; i < rows; ++i) {
        integer();
        characters(1);
        characters(1);
        reals(1);
      }
      return;
    case 10:
      return characters(64);
    case kFaces:
      return faces();
    default:
      return integers(count());
  }
}

// The first word is the size by which readers find the next block.
void Copy::faces() {
  const std::int64_t size = count();
  integer();
  count();
  const std::int64_t words = count();
  if (size != 4 * words + 16) damaged("has a wrong size");
  integers(words);
}

void Copy::modal_fields(int block) {
  std::int64_t rows = 0;
  switch (block) {
    case 6:
      modes_ = count();
      for (std::int64_t i = 0; i < modes_; ++i) {
        integer();
        reals(5);
      }
      return;
    case 7:
    case 17:
    case 28:
      return mode_vectors();
    case 15:
      rows = count();
      integers(rows);
      for (std::int64_t i = 0; i < rows; ++i) reals(rows);
      return;
    case 29:
      rows = count();
      for (std::int64_t i = 0; i < rows; ++i) {
        integers(13);
        reals(13);
      }
      return;
    case 30:
    case 31:
      return reals(6 * count());
    default:
      return sparse_matrix();
  }
}

void Copy::mode_vectors() {
  const std::int64_t modes = count();
  const std::int64_t nodes = count();
  if (number_ == 8) modes_ = modes;
  integers(nodes);
  for (std::int64_t i = 0; i < modes; ++i) {
    integer();
    reals(6 * nodes);
  }
}

void Copy::sparse_matrix() {
  const std::int64_t entries = count();
  integer();
  for (std::int64_t i = 0; i < entries; ++i) {
    integers(2);
    reals(1);
    integer();
  }
}

void Copy::invariant_fields(int block) {
  std::int64_t modes = 0;
  switch (block) {
    case 18:
      return reals(1);
    case 19:
      return reals(3);
    case 20:
    case 21:
      return reals(3 * count());
    case 22:
      modes = count();
      for (std::int64_t i = 0; i < modes; ++i) reals(3 * modes);
      return;
    case 23:
      return reals(9);
    case 24:
      return reals(9 * count());
    default:
      modes = count();
      for (std::int64_t i = 0; i < modes; ++i) reals(9 * modes);
  }
}

// ---- loads, operators, monitor points ------------------------------------------------------------------------------

void Copy::load_fields(int block) {
  std::int64_t modes = 0;
  std::int64_t cases = 0;
  switch (block) {
    case 26:
      modes = count();
      integer();
      return reals(modes);
    case 27:
      modes = count();
      cases = count();
      for (std::int64_t i = 0; i < cases; ++i) {
        characters(256);
        integer();
        reals(modes);
      }
      return;
    case 33:
      return matrix_operators();
    case 34:
      return nodal_loads();
    default:
      return monitor_points();
  }
}

void Copy::matrix_operators() {
  const std::int64_t operators = count();
  for (std::int64_t i = 0; i < operators; ++i) {
    const std::int64_t rows = count();
    characters(8 + 80 * rows);  // the name, and a label for each row
    const std::int64_t parts = count();
    for (std::int64_t part = 0; part < parts; ++part) {
      const std::int64_t columns = count();
      characters(8);
      reals(rows * columns);
    }
  }
}

void Copy::nodal_loads() {
  const std::int64_t cases = count();
  for (std::int64_t i = 0; i < cases; ++i) {
    const std::int64_t entries = count();
    for (std::int64_t entry = 0; entry < entries; ++entry) {
      integers(2);
      reals(1);
    }
  }
}

// Operators stand on all modes of the body as it was stored. That number is written nowhere: it is the number of modes
// in the data block, or a larger one when a frequency range cut them.
void Copy::monitor_points() {
  int64_t start[2] = {};
  DB_FSAVE(start, block_);
  const std::int64_t modes = monitor_point_modes(start);
  DB_FRESTORE(start, block_);
  const std::int64_t points = count();
  for (std::int64_t i = 0; i < points; ++i) {
    integers(3);
    characters(64);  // name and label
    MonitorPointHead head{};
    head.rows = count();
    head.load_operators = count();
    head.flags = integer();
    reals(reals_of(head, modes));
  }
}

// The number of modes with which the record ends where its last point ends.
std::int64_t Copy::monitor_point_modes(const int64_t *start) {
  constexpr std::int64_t kMostDropped = 4096;
  for (std::int64_t modes = modes_; modes <= modes_ + kMostDropped; ++modes) {
    DB_FRESTORE(start, block_);
    if (monitor_points_fit(modes)) return modes;
  }
  damaged("does not fit any number of modes");
}

bool Copy::monitor_points_fit(std::int64_t modes) {
  int points = 0;
  if (DB_ReadINTs(block_, &points, 1) == 0) return false;
  for (int i = 0; i < points; ++i) {
    MonitorPointHead head{};
    if (!read_monitor_head(head) || !skip(reals_of(head, modes))) return false;
  }
  return at_end();
}

bool Copy::read_monitor_head(MonitorPointHead &head) {
  constexpr int kWordsAhead = 3 + 64 / 4;
  int words[3] = {};
  if (!skip(kWordsAhead) || DB_ReadINTs(block_, words, 3) == 0) return false;
  if (words[0] < 0 || words[1] < 0) return false;
  head = {words[0], words[1], words[2]};
  return true;
}

// Displacement, velocity and acceleration have one matrix each, loads one per operator. What no record can hold counts
// as more than any record holds.
std::int64_t Copy::reals_of(const MonitorPointHead &head, std::int64_t modes) const {
  constexpr std::int64_t kLimit = INT64_C(1) << 61;
  const auto bits = static_cast<unsigned>(head.flags);
  const std::int64_t one = head.rows * modes;
  const std::int64_t matrices =
      (bits & 1U) + (bits >> 1U & 1U) + (bits >> 2U & 1U) + ((bits & 8U) != 0 ? head.load_operators : std::int64_t{0});
  return matrices != 0 && one > kLimit / matrices ? kLimit : one * matrices;
}

}  // namespace

void copy_to_record(db_block block, std::FILE *record) { Copy(block, record).run(); }

}  // namespace sbrtool
