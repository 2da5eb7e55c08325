#include "modes/pending.h"

#include <algorithm>
#include <cstring>

#include "base/reports.h"
#include "body/node_table.h"

namespace sbr {
namespace {

constexpr std::int64_t kMostRuns = 4096;
constexpr std::int64_t kValuesInAll = std::int64_t{1} << 19U;  // 4 MiB per kind
constexpr std::int64_t kLongestRun = 2046;                     // 341 nodes

// The runs of a kind, made at the first write: one per mode as long as there are not too many. False when memory is
// short; the values then go straight to the file.
bool make_runs(PendingModeWrites &pending, int mode_capacity) noexcept {
  if (pending.runs) return true;
  const std::int64_t runs = std::clamp<std::int64_t>(mode_capacity, 1, kMostRuns);
  const std::int64_t length = std::min(kLongestRun, kValuesInAll / runs / 6 * 6);
  if (!pending.values.allocate(runs * length)) return false;
  if (!pending.runs.allocate(runs)) {
    pending.values.release();
    return false;
  }
  pending.values_per_run = static_cast<int>(length);
  return true;
}

void report_failed_seek(const SbrBody &body, const ModeValues &entry) noexcept {
  const long number = mode_number(body, entry.mode);
  const long node = entry.node_id;
  if (entry.dof == 0)
    report_error("Couldn't seek to mode %ld node %ld position in temporary file", number, node);
  else
    report_error("Couldn't seek to mode %ld node %ld dof %ld position in temporary file", number, node,
                 static_cast<long>(entry.dof));
}

// Seeks to the values' place in the file and writes them.
bool put_in_file(SbrBody &body, const ModeValues &entry) noexcept {
  StreamChannel &channel = body.modes[entry.kind];
  const std::int64_t place = body.store.offsets[entry.kind][entry.mode] + 8 * entry.first;
  if (!seek_stream(channel.stream, place) || tell_stream(channel.stream) != place) {
    report_failed_seek(body, entry);
    return false;
  }
  return write_reals(channel, entry.values, entry.count);
}

double *run_values(PendingModeWrites &pending, const ModeRun &run) noexcept {
  return pending.values.data() + (&run - pending.runs.data()) * pending.values_per_run;
}

// Writes a run that waits. A run that cannot be written goes on waiting.
bool put_run(SbrBody &body, Kind kind, ModeRun &run) noexcept {
  PendingModeWrites &pending = body.store.pending[kind];
  if (run.count == 0) return true;
  if (!put_in_file(body, {kind, run.mode, run.node_id, run.dof, run.first, run.count, run_values(pending, run)}))
    return false;
  run.count = 0;
  pending.waiting -= 1;
  return true;
}

ModeRun &run_of_mode(PendingModeWrites &pending, int mode) noexcept {
  return pending.runs[static_cast<std::size_t>(mode) % pending.runs.size()];
}

// Runs hold doubles as they lie in a native double-precision file.
bool may_wait(const StreamChannel &channel) noexcept { return channel.double_precision && !channel.xdr_encoded; }

}  // namespace

bool write_mode_values(SbrBody &body, const ModeValues &entry) noexcept {
  PendingModeWrites &pending = body.store.pending[entry.kind];
  if (!may_wait(body.modes[entry.kind]) || !make_runs(pending, body.mode_table.mode_capacity))
    return put_in_file(body, entry);
  ModeRun &run = run_of_mode(pending, entry.mode);
  const std::int64_t ahead = entry.first - run.first;
  const bool joins = run.count > 0 && run.mode == entry.mode && ahead >= 0 && ahead <= run.count &&
                     ahead + entry.count <= pending.values_per_run;
  if (!joins) {
    if (!put_run(body, entry.kind, run)) return false;
    run = {.mode = entry.mode, .node_id = entry.node_id, .dof = entry.dof, .count = 0, .first = entry.first};
    pending.waiting += 1;
  }
  const auto at = static_cast<int>(entry.first - run.first);
  std::memcpy(run_values(pending, run) + at, entry.values, static_cast<std::size_t>(entry.count) * sizeof(double));
  run.count = std::max(run.count, at + entry.count);
  return true;
}

bool flush_mode_writes(SbrBody &body, Kind kind) noexcept {
  PendingModeWrites &pending = body.store.pending[kind];
  if (pending.waiting == 0) return true;
  // A channel that was given to a record file in the meantime takes nothing.
  if (body.modes[kind].stream == nullptr || !body.modes[kind].is_temporary()) {
    forget_mode_writes(body, kind);
    return true;
  }
  bool good = true;
  for (ModeRun &run : pending.runs) good = put_run(body, kind, run) && good;
  return std::fflush(body.modes[kind].stream) == 0 && good;
}

void forget_mode_writes(SbrBody &body, Kind kind) noexcept {
  PendingModeWrites &pending = body.store.pending[kind];
  pending.runs.release();
  pending.values.release();
  pending.waiting = 0;
}

}  // namespace sbr
