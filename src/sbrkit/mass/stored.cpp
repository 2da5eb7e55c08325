// Reading an invariant from its block of the record.
#include <algorithm>

#include "base/reports.h"
#include "body/node_table.h"
#include "body/units.h"
#include "mass/invariants.h"
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

// Reads as many of the values as the file holds, and leaves the others at zero. Gives their number.
std::int64_t read_what_is_there(StreamChannel &channel, double *values, std::int64_t count) noexcept {
  const std::int64_t start = tell_stream(channel.stream);
  if (read_reals(channel, values, count)) return count;
  std::fill_n(values, count, 0.0);
  go_to(channel, start);
  const std::int64_t there = std::min(count, bytes_left(channel) / real_size(channel));
  if (there > 0 && read_reals(channel, values, there)) return there;
  std::fill_n(values, count, 0.0);
  return 0;
}

}  // namespace

bool read_invariant_block(SbrBody &body, int block, std::int64_t run, Array<double> &cell) noexcept {
  if (!go_to_block(body, block)) return false;
  if (invariant_has_count(block) && !pass_mode_count(body)) return true;
  const double factor = block_factor(body, block);
  const auto size = static_cast<std::int64_t>(cell.size());
  for (std::int64_t start = 0; start + run <= size; start += run) {
    double *values = cell.data() + start;
    const std::int64_t read = read_what_is_there(body.record, values, run);
    convert_units(values, read, factor);
    if (read < run) break;
  }
  return true;
}

}  // namespace sbr
