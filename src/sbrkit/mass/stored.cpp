// Reading an invariant from its block of the record.
#include "mass/stored.h"

#include <algorithm>

#include "base/reports.h"
#include "body/node_table.h"
#include "body/units.h"
#include "record/field_reader.h"

namespace sbr {
namespace {

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
  FieldReader reader(body.record);
  CountHead head;
  if (!transfer(reader, head)) return false;
  if (head.count != mode_count(body)) report_error("nm!=ModeCount at line %d in file %s", __LINE__, "sbrinvar");
  return true;
}

// A block that ends with the file leaves zeros; one that the file has and that cannot be read is told.
void finish_short(const StreamChannel &channel, int block) noexcept {
  if (!channel.lost && std::ferror(channel.stream) == 0) return;
  constexpr int kNumbers[] = {1, 2, 3, 4, 5, 7, 8, 9};
  report_error("Problem reading Invariant %d", kNumbers[block - kInvariant1]);
}

}  // namespace

bool read_invariant_block(SbrBody &body, int block, std::int64_t run, Array<double> &cell) noexcept {
  if (!go_to_block(body, block)) return false;
  if (invariant_has_count(block) && !pass_mode_count(body)) {
    finish_short(body.record, block);
    return true;
  }
  const double factor = block_factor(body, block);
  const auto size = static_cast<std::int64_t>(cell.size());
  for (std::int64_t start = 0; start + run <= size; start += run) {
    double *values = cell.data() + start;
    const std::int64_t read = read_available(body.record, values, run);
    std::fill(values + read, values + run, 0.0);
    convert_units(values, read, factor);
    if (read == run) continue;
    finish_short(body.record, block);
    break;
  }
  return true;
}

}  // namespace sbr
