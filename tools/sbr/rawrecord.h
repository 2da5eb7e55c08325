// What the accessors do not give: blocks of a record as they stand in its file.
#ifndef SBRKIT_TOOLS_SBR_RAWRECORD_H
#define SBRKIT_TOOLS_SBR_RAWRECORD_H

#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "session.h"

namespace sbrtool {

// Block indices that commands ask for.
enum BlockIndex : int {
  kGlobalBlock = 5,
  kMassBlock = 8,
  kStressBlock = 17,
  kFirstInvariant = 18,
  kThirdInvariant = 20,
  kLastInvariant = 25,
  kBlockCount = 36
};

// Where a block begins, by the sizes of those before it.
std::int64_t block_offset(SBR body, int block);

// The layouts of versions 10 to 31 end with the modal stress: what stands behind it is not read.
bool is_short_layout(SBR body);

// Whether the content summary of the file tells of a block. SBR_Exists does not tell it for the short layouts.
bool is_announced(SBR body, const std::string &path, int block);

// The global properties as they stand in the file: mass, center (3), inertia (9). The accessors give those that follow
// from invariants or nodes.
std::optional<std::array<double, 13>> stored_global(SBR body, const std::string &path);

// A record without the blocks from `first` to `last`, which is not one of the first three, as a body.
Body open_without_blocks(const std::string &path, int first, int last);

}  // namespace sbrtool

#endif
