// Where the blocks of a write go: a small record of functions over a target. The record file is one sink, the data
// block of a solver database another; the emission of the blocks knows neither.
#ifndef SBRKIT_BLOCKS_SINK_H
#define SBRKIT_BLOCKS_SINK_H

#include <cstdint>

#include "record/kinds.h"

namespace sbr {

struct Sink {
  void *target = nullptr;
  bool (*put_ints)(void *target, const std::int32_t *values, std::int64_t count) = nullptr;
  bool (*put_chars)(void *target, const char *text, std::int64_t count) = nullptr;
  bool (*put_reals)(void *target, const double *values, std::int64_t count) = nullptr;
  // Frame each block, the version word (block 0), the header (1) and the content summary (2) included.
  bool (*begin_block)(void *target, int block) = nullptr;
  bool (*end_block)(void *target) = nullptr;
  // Comes ahead of each mode of the blocks 7, 17 and 28, in the order of the modes.
  bool (*mark_mode)(void *target, Kind kind) = nullptr;

  [[nodiscard]] bool ints(const std::int32_t *values, std::int64_t count) const noexcept {
    return count < 1 || put_ints(target, values, count);
  }
  [[nodiscard]] bool integer(std::int32_t value) const noexcept { return put_ints(target, &value, 1); }
  [[nodiscard]] bool chars(const char *text, std::int64_t count) const noexcept {
    return count < 1 || put_chars(target, text, count);
  }
  [[nodiscard]] bool reals(const double *values, std::int64_t count) const noexcept {
    return count < 1 || put_reals(target, values, count);
  }
  [[nodiscard]] bool real(double value) const noexcept { return put_reals(target, &value, 1); }
  [[nodiscard]] bool begin(int block) const noexcept { return begin_block(target, block); }
  [[nodiscard]] bool end() const noexcept { return end_block(target); }
  [[nodiscard]] bool mode(Kind kind) const noexcept { return mark_mode(target, kind); }
};

}  // namespace sbr

#endif
