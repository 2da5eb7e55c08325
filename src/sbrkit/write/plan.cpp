#include "write/plan.h"

#include "base/reports.h"
#include "sbrkit/sbrkit.h"

namespace sbr {
namespace {

// Reports each pair of options that the table says contradict each other. True when there is one.
bool contradicts_itself(const WriteOptions &options) noexcept {
  bool found = false;
  for (const WriteContradiction &pair : kWriteContradictions) {
    if (!(options.*pair.option && options.*pair.other)) continue;
    report_error("%s", pair.message);
    found = true;
  }
  return found;
}

}  // namespace

std::uint32_t plan_version_word(const WriteOptions &options, const VersionRules &rules, bool &conflict) noexcept {
  std::uint32_t word = rules.start;
  if (contradicts_itself(options)) conflict = true;
  if (options.full_stress) word = rules.full;
  if (options.single) word = (word & 0xFF) == rules.full ? rules.full + 10 : word | kSingleFlag;
  if (options.no_xdr && rules.xdr_can_be_dropped) {
    const std::uint32_t code = word & 0xFF;
    word = code == 41 || code == 51 ? code - 1 : word & ~kXdrFlag;
  }
  if (options.layout_82) word = 20;
  if (options.layout_81) word = 10;
  return word | rules.always;
}

}  // namespace sbr
