// Mode values on their way to a temporary file.
//
// A translator enters mode data one node at a time, in any order. A seek and a write per node would cost several system
// calls each, so adjacent values of a mode's record gather in a run and go to the file together. One run serves one
// mode at a time, and a mode always uses the same run, so that values never overtake each other.
#include <sys/stat.h>

#include <algorithm>
#include <cstring>

#include "base/reports.h"
#include "body/node_table.h"
#include "modes/store.h"

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

// The bytes of a mode's record: up to the next record, or to the end of the file. 0 for a record that the file lacks.
std::int64_t record_bytes(const SbrBody &body, Kind kind, int mode) noexcept {
  const auto &offsets = body.store.offsets[kind];
  const auto at = static_cast<std::size_t>(mode);
  if (mode < 0 || at >= offsets.size()) return 0;
  const std::int64_t start = offsets[at];
  if (mode > 0 && start == 0) return 0;
  if (at + 1 < offsets.size() && offsets[at + 1] > start) return offsets[at + 1] - start;
  struct stat status {};
  if (body.modes[kind].stream == nullptr || fstat(fileno(body.modes[kind].stream), &status) != 0) return 0;
  return std::max<std::int64_t>(status.st_size - start, 0);
}

void report_failed_seek(SbrBody &body, int mode, int node_id, int dof) noexcept {
  const long number = mode_number(body, mode);
  if (dof == 0)
    report_error("Couldn't seek to mode %ld node %ld position in temporary file", number, static_cast<long>(node_id));
  else
    report_error("Couldn't seek to mode %ld node %ld dof %ld position in temporary file", number,
                 static_cast<long>(node_id), static_cast<long>(dof));
}

// Seeks to the values' place in the file and writes them.
bool put_in_file(SbrBody &body, const ModeValues &entry) noexcept {
  StreamChannel &channel = body.modes[entry.kind];
  const std::int64_t place = body.store.offsets[entry.kind][entry.mode] + 8 * entry.first;
  if (!seek_stream(channel.stream, place) || tell_stream(channel.stream) != place) {
    report_failed_seek(body, entry.mode, entry.node_id, entry.dof);
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
bool may_wait(const StreamChannel &channel) noexcept {
  return channel.double_precision != 0 && channel.xdr_encoded == 0;
}

}  // namespace

bool mode_record_holds(SbrBody &body, const ModeValues &entry) noexcept {
  PendingModeWrites &pending = body.store.pending[entry.kind];
  std::int64_t bytes = 0;
  if (pending.runs && entry.mode >= 0) {
    const ModeRun &run = run_of_mode(pending, entry.mode);
    if (run.mode == entry.mode) bytes = run.room;
  }
  if (bytes == 0) bytes = record_bytes(body, entry.kind, entry.mode);
  return 8 * entry.first + static_cast<std::int64_t>(entry.count) * real_size(body.modes[entry.kind]) <= bytes;
}

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
    if (run.mode != entry.mode || run.room == 0) run.room = record_bytes(body, entry.kind, entry.mode);
    run.mode = entry.mode;
    run.node_id = entry.node_id;
    run.dof = entry.dof;
    run.first = entry.first;
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
  if (body.modes[kind].stream == nullptr || body.modes[kind].is_temporary == 0) {
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
