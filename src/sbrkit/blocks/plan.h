// The plan of a write: plain data that says what the new record holds and how it is laid out. The write pipeline makes
// it, the writers of the blocks follow it.
#ifndef SBRKIT_BLOCKS_PLAN_H
#define SBRKIT_BLOCKS_PLAN_H

#include <cstdint>

#include "record/layout.h"

namespace sbr {

struct WritePlan {
  std::uint32_t word = 0;
  bool sparse = false;       // stress and strain lists hold only nodes with data
  int entry_mode_count = 0;  // the body's modes before any step: the row stride of its transformation
  int first_mode = 0;        // exported modes as indices, from first_mode to end_mode - 1
  int end_mode = 0;
  int exported_modes = 0;  // end_mode - first_mode; a count below 0 announces no modes
  unsigned char content[kContentBytes] = {};

  [[nodiscard]] bool has(int block) const noexcept { return content[content_byte(block)] != 0; }
  void set(int block, bool present) noexcept { content[content_byte(block)] = present ? 1 : 0; }
};

// All tests of a word compare it whole: a flag above the version code makes the layout the current one.
constexpr bool has_no_mode_words(std::uint32_t word) { return word == 10; }
constexpr bool has_zero_mode_words(std::uint32_t word) { return word == 20; }
constexpr bool has_old_topology(std::uint32_t word) { return word == 10 || word == 20; }
constexpr bool means_xdr(std::uint32_t word) { return is_xdr_old(word) || (word & kXdrFlag) != 0; }
constexpr bool means_single(std::uint32_t word) { return word == 50 || word == 51 || (word & kSingleFlag) != 0; }

}  // namespace sbr

#endif
