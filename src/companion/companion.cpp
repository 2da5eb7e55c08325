// The companion operations: what the library asks of its surroundings. The definitions here are weak defaults; a host
// that defines an operation of the same name takes over.
#include <algorithm>
#include <cstring>

#include "body/units.h"
#include "sbrkit/sbrkit.h"

namespace {

constexpr int kLabelSize = 16;

// Length of a label without its padding, which is blanks, NULs, or blanks up to a NUL.
int bare_length(const char *label) noexcept {
  auto length = static_cast<int>(strnlen(label, kLabelSize));
  while (length > 0 && label[length - 1] == ' ') --length;
  return length;
}

bool is_unit_name(const char *label) noexcept {
  const unit_entry *const tables[] = {sbr::mass_table, sbr::length_table, sbr::time_table, sbr::force_table};
  return std::any_of(std::begin(tables), std::end(tables),
                     [label](const unit_entry *table) { return SBR_UnitsDivider(label, table) != 0.0; });
}

}  // namespace

extern "C" {

[[gnu::weak]] int SBR_ConvertUnitsLabel(char *label16) {
  if (label16 == nullptr) return 0;
  const int length = bare_length(label16);
  if (length < 1 || length >= kLabelSize) return 0;
  char name[kLabelSize] = {};
  std::memcpy(name, label16, static_cast<std::size_t>(length));
  if (!is_unit_name(name)) return 0;
  for (int i = length; i < kLabelSize && label16[i] == ' '; ++i) label16[i] = '\0';
  return 1;
}

[[gnu::weak]] void SBR_TimeMonitor(int /*total*/) {}

[[gnu::weak]] void SBR_TimeMonitorStamp(void) {}

}  // extern "C"
