// Reading an invariant from its block of the record.
#include <algorithm>

#include "base/reports.h"
#include "body/node_table.h"
#include "body/units.h"
#include "mass/invariants.h"

namespace sbr {
namespace {

// The blocks of the modes begin with their mode count.
bool block_has_mode_count(int block) noexcept {
  return block == kInvariant3 || block == kInvariant4 || block == kInvariant5 || block == kInvariant8 ||
         block == kInvariant9;
}

// What brings stored values to the body's units: mass, mass times length, or mass times length squared.
double block_factor(const SbrBody &body, int block) noexcept {
  const double length = body.units.unit.length;
  const double mass = body.units.unit.mass;
  if (block == kInvariant1) return mass;
  if (block == kInvariant2 || block == kInvariant3) return mass * length;
  return length * mass * length;
}

// Skips the mode count in front of the values. A wrong one is reported; the values are taken as those of all modes.
bool pass_mode_count(SbrBody &body) noexcept {
  std::int32_t nm = 0;
  if (!read_int(body.record, nm)) return false;
  if (nm != mode_count(body)) report_error("nm!=ModeCount at line %d in file %s", __LINE__, "sbrinvar");
  return true;
}

}  // namespace

bool read_invariant_block(SbrBody &body, int block, std::int64_t run, Array<double> &cell) noexcept {
  if (!go_to_block(body, block)) return false;
  if (block_has_mode_count(block) && !pass_mode_count(body)) return true;
  const double factor = block_factor(body, block);
  const auto size = static_cast<std::int64_t>(cell.size());
  for (std::int64_t start = 0; start + run <= size; start += run) {
    double *values = cell.data() + start;
    if (!read_reals(body.record, values, run)) {
      std::fill_n(values, run, 0.0);
      break;
    }
    convert_units(values, static_cast<int>(run), factor);
  }
  return true;
}

}  // namespace sbr
