#include "write/plan.h"

#include "base/reports.h"
#include "sbrkit/sbrkit.h"

namespace sbr {
namespace {

// An 8.x layout has no place for invariants, single precision or sparse lists. Each one asked for is reported.
bool fits_layout_8(const WriteOptions &options, int minor) noexcept {
  if (options.invariants) report_error("8.%d compatible SBR cannot contain Invariants", minor);
  if (options.single) report_error("8.%d compatible SBR cannot be single precision", minor);
  if (options.sparse) report_error("8.%d compatible SBR cannot have sparse stress or strain modes", minor);
  return !options.invariants && !options.single && !options.sparse;
}

}  // namespace

std::uint32_t plan_version_word(const WriteOptions &options, const VersionRules &rules, bool &conflict) noexcept {
  std::uint32_t word = rules.start;
  if (options.full) {
    if (options.sparse) {
      report_error("Cannot specify full and sparse stress and strain modes.");
      conflict = true;
    }
    word = rules.full;
  }
  if (options.single) word = (word & 0xFF) == rules.full ? rules.full + 10 : word | kSingleFlag;
  if (options.no_xdr && rules.xdr_can_be_dropped) {
    const std::uint32_t code = word & 0xFF;
    word = code == 41 || code == 51 ? code - 1 : word & ~kXdrFlag;
  }
  if (options.layout_82) {
    if (!fits_layout_8(options, 2)) conflict = true;
    word = 20;
  }
  if (options.layout_81) {
    if (!fits_layout_8(options, 1)) conflict = true;
    word = 10;
  }
  return word | rules.always;
}

}  // namespace sbr
