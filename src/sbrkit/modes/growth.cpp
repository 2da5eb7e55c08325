#include "modes/growth.h"

#include <algorithm>

#include "modes/pending.h"
#include "modes/rewrite.h"
#include "modes/store.h"

namespace sbr {
namespace {

// The values of the longer record: twice the room, or what is needed.
std::int64_t longer_record(const SbrBody &body, Kind kind, std::int64_t bytes) noexcept {
  const std::int64_t node_bytes = std::int64_t{6} * real_size(body.modes[kind]);
  const std::int64_t nodes = body.store.record_bytes[kind] / node_bytes;
  const std::int64_t needed = (bytes + node_bytes - 1) / node_bytes;
  return 6 * std::max(2 * nodes, needed);
}

// No file takes records whose lengths add up to more than a position can say.
bool can_be_laid_out(const SbrBody &body, std::int64_t values, int modes) noexcept {
  std::int64_t bytes = 0;
  return !__builtin_mul_overflow(values * 8, std::max({modes, body.mode_table.mode_capacity, 1}), &bytes);
}

// Copies what the records hold to the front of the longer ones. The rest of those is zeros.
Rewriting copy_records(SbrBody &body, Kind kind, ModeRewrite &rewrite) noexcept {
  const std::int64_t present = body.store.record_bytes[kind] / real_size(body.modes[kind]);
  if (present < 1) return Rewriting::done;
  Array<double> record;
  if (!record.allocate(present)) return Rewriting::no_memory;
  for (int mode = 0; mode < known_mode_count(body); ++mode) {
    // A file that grows as it is written to ends behind its last record.
    const std::int64_t reached = body.store.reserved_bytes[kind] - body.store.offsets[kind][mode];
    const std::int64_t there = std::clamp<std::int64_t>(reached / real_size(body.modes[kind]), 0, present);
    const std::int64_t came = read_stored_values(body, mode, kind, 0, record.data(), present);
    if (came < there) return Rewriting::unreadable;
    if (!rewrite.put_at(mode, 0, record.data(), came)) return Rewriting::disk_full;
  }
  return Rewriting::done;
}

bool lengthen_records(SbrBody &body, Kind kind, std::int64_t bytes) noexcept {
  if (!flush_mode_writes(body, kind)) return false;
  const std::int64_t values = longer_record(body, kind, bytes);
  const int modes = std::max(body.mode_table.mode_capacity, known_mode_count(body));
  if (!can_be_laid_out(body, values, modes)) return report_disk_full(kind, body.modes[kind].path.data());
  ModeRewrite rewrite(body, kind, RewritePurpose::growth);
  if (!rewrite.begin()) return false;
  Rewriting outcome = rewrite.lay_out(modes, values) ? rewrite.claim_space() : Rewriting::no_memory;
  if (outcome == Rewriting::done) outcome = copy_records(body, kind, rewrite);
  if (!rewrite.complete(outcome)) return false;
  rewrite.install();
  return true;
}

}  // namespace

bool make_room(SbrBody &body, Kind kind, int mode, std::int64_t bytes) noexcept {
  const ModeStore &store = body.store;
  const bool fits = bytes <= store.record_bytes[kind] && mode < store.offsets[kind].count();
  return (fits || lengthen_records(body, kind, bytes)) && reserve_record(body, kind, mode);
}

}  // namespace sbr
