// The layout of a record: the version word, and where the blocks of one file lie.
#ifndef SBRKIT_RECORD_LAYOUT_H
#define SBRKIT_RECORD_LAYOUT_H

#include <cstdint>

#include "record/kinds.h"

namespace sbr {

// ---- versions ------------------------------------------------------------------------------------------------------

constexpr std::uint32_t kXdrFlag = 0x100;
constexpr std::uint32_t kSingleFlag = 0x200;
constexpr std::uint32_t kCoarsenedFlag = 0x400;

constexpr int version_code(std::uint32_t word) { return static_cast<int>(word & 0xFFU); }
constexpr bool is_native_old(std::uint32_t value) {
  return value == 10 || value == 20 || value == 30 || value == 40 || value == 50;
}
constexpr bool is_xdr_old(std::uint32_t value) { return value == 31 || value == 41 || value == 51; }
constexpr bool is_old(std::uint32_t value) { return is_native_old(value) || is_xdr_old(value); }
// Versions that know no block from kInvariant1 on.
constexpr bool is_short(std::uint32_t value) { return value == 10 || value == 20 || value == 30 || value == 31; }
constexpr int kFirstBlockBeyondShort = kInvariant1;

// A word stands before each vector of a mode block.
constexpr bool mode_word_counted(int code) { return code != 10; }
// The word as readers find it: stress and strain of codes 30 and 31 come without, although their size counts it.
constexpr bool mode_word_present(int code, Kind kind) {
  return code != 10 && (kind == Kind::shape || (code != 30 && code != 31));
}
// The word is the mode's number. In a version 20 file it is a filler.
constexpr bool mode_word_is_number(int code, Kind kind) { return mode_word_present(code, kind) && code != 20; }

// ---- one file's layout ---------------------------------------------------------------------------------------------

struct Layout {
  std::uint32_t version = 31;  // low byte the version code, above it the flags
  std::int64_t block_offset[kBlockCount] = {};
  unsigned char content[kContentBytes] = {};
  std::int32_t sized_modes = 0;  // the mode count that the sizing of a block read last
};

// The content flag of a block: 3 to 35 have one, the first three blocks are always there.
inline bool has_block(const Layout &layout, int block) {
  const int byte = content_byte(block);
  return byte < 0 ? block >= 0 && block < 3 : layout.content[byte] != 0;
}

}  // namespace sbr

#endif
