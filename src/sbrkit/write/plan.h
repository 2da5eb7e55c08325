// The plan of a write: plain data that says what the new record holds and how it is laid out. The pipeline (sbrwrite)
// makes it, the emission (sbremit) follows it.
#ifndef SBRKIT_WRITE_PLAN_H
#define SBRKIT_WRITE_PLAN_H

#include <cstdint>

#include "record/blocks.h"
#include "record/layout.h"
#include "write/options.h"

namespace sbr {

// How the two targets of a write form the version word.
struct VersionRules {
  std::uint32_t start;      // the word without any option
  std::uint32_t full;       // "full_str"
  bool xdr_can_be_dropped;  // whether "no_xdr" is looked at
  std::uint32_t always;     // bits that every word of this target has
};
constexpr std::uint32_t kDatabaseFlag = 0x1000;
constexpr VersionRules kFileVersion{0x13C, 41, true, 0};
constexpr VersionRules kDatabaseVersion{0x3C, 40, false, kDatabaseFlag};

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

// The word that the options ask for, before the flags of the body. Reports each conflict of options; `conflict` is set
// by any, and otherwise left alone.
[[nodiscard]] std::uint32_t plan_version_word(const WriteOptions &options, const VersionRules &rules,
                                              bool &conflict) noexcept;

}  // namespace sbr

#endif
