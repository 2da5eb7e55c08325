// Forming the version word of a plan (blocks/plan.h) from the options.
#ifndef SBRKIT_WRITE_PLAN_H
#define SBRKIT_WRITE_PLAN_H

#include <cstdint>

#include "blocks/plan.h"
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

// The word that the options ask for, before the flags of the body. Reports each conflict of options; `conflict` is set
// by any, and otherwise left alone.
[[nodiscard]] std::uint32_t plan_version_word(const WriteOptions &options, const VersionRules &rules,
                                              bool &conflict) noexcept;

}  // namespace sbr

#endif
