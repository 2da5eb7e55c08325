// The sizes of the blocks of a record file, found from the counts inside the blocks.
#ifndef SBRKIT_BLOCKS_SIZING_H
#define SBRKIT_BLOCKS_SIZING_H

#include "record/field_reader.h"
#include "record/layout.h"

namespace sbr {

// The bytes of a block of the file; 0 when it is not there or cannot be sized, which is reported. The channel stands
// where it stood.
[[nodiscard]] std::int64_t size_of_block(StreamChannel &channel, Layout &layout, int block) noexcept;
// Works out the offset of every block, each from the size of the one before.
void build_block_offsets(StreamChannel &channel, Layout &layout) noexcept;

// A walk through a block (record/shapes.h) that adds its bytes up. It reads counts only, and seeks over all else when
// the next count is asked for, so that no more of a file needs to be there than the sizes need.
class SizingWalk {
 public:
  SizingWalk(StreamChannel &channel, Layout &layout) noexcept
      : channel_(channel), layout_(layout), encoding_(encoding_of(channel)) {}

  // Io for the fields of a group.
  bool count(std::int32_t &value) noexcept;
  bool integer(const std::int32_t &) noexcept { return pass(1, 4); }
  bool chars(const char *, std::int64_t count) noexcept { return pass(count, encoding_.char_bytes); }
  bool reals(const double *, std::int64_t count) noexcept { return reals(count); }

  template <class Record>
  bool fields(Record &record) noexcept {
    return transfer(*this, record);
  }
  template <class Row, class... Extra>
  bool rows(std::int64_t count, Extra... extra) noexcept {
    return pass(count, field_bytes<Row>(encoding_, extra...));
  }
  bool integers(std::int64_t count) noexcept { return pass(count, 4); }
  bool reals(std::int64_t count) noexcept { return pass(count, encoding_.real_bytes); }
  // A point counts with one array, that of its load operators, whatever its flags say.
  bool operators(const MonitorPointHead &point) noexcept {
    return reals(monitor_operator_reals(3, point.operator_rows, point.load_operators, layout_.sized_modes));
  }
  [[nodiscard]] bool words_before_vectors() const noexcept { return mode_word_counted(version_code(layout_.version)); }
  void modes(std::int32_t count) noexcept { layout_.sized_modes = count; }
  void settle() noexcept { settled_ = bytes_; }

  // Takes a size that the block itself tells.
  void take(std::int64_t bytes) noexcept { bytes_ = bytes; }
  // Whether the walk broke off at a read that failed. It also breaks off, silently, at a count below zero.
  [[nodiscard]] bool read_failed() const noexcept { return read_failed_; }
  // The size, when the walk went through; else the part that had settled.
  [[nodiscard]] std::int64_t bytes(bool complete) const noexcept { return complete ? bytes_ : settled_; }

 private:
  bool pass(std::int64_t count, std::int64_t bytes_each) noexcept;

  StreamChannel &channel_;
  Layout &layout_;
  Encoding encoding_;
  std::int64_t bytes_ = 0;
  std::int64_t settled_ = 0;
  std::int64_t ahead_ = 0;  // bytes that were passed since the last read
  bool read_failed_ = false;
};

// Walks the block at which the channel stands. False when the walk broke off.
using SizeBlock = bool (*)(SizingWalk &walk, int block);

}  // namespace sbr

#endif
