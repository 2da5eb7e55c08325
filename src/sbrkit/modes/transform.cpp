#include "modes/transform.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

#include "base/reports.h"
#include "body/monitor_points.h"
#include "body/registry.h"
#include "modes/access.h"
#include "modes/combine.h"
#include "modes/rewrite.h"
#include "modes/store.h"

namespace sbr {
namespace {

// The transformation of one kind of mode data.
struct ModeTask {
  SbrBody &body;
  Kind kind;
  int old_count;
  int new_count;
  const double *matrix;          // old_count x old_count, row by row: row old mode, column new mode
  std::int64_t values;           // of one mode
  Array<unsigned char> lacking;  // by old mode: its record is not whole, which was reported
};

bool monitor_is_wanted() noexcept { return std::getenv("KTX_NO_TIME_MONITOR_STAMP") == nullptr; }

// The progress monitor counts one tick per old mode and block of new modes, where a block of new modes fills about 1e8
// bytes. The work itself goes strip by strip over the nodes, and ticks in proportion.
class Progress {
 public:
  explicit Progress(const ModeTask &task) noexcept {
    const double mode_bytes = 6.0 * static_cast<double>(node_count(task.body)) * 8.0;
    const double fitting = mode_bytes > 0.0 ? 1e8 / mode_bytes : 1e8;
    const std::int64_t block = std::min<std::int64_t>(std::max<std::int64_t>(static_cast<std::int64_t>(fitting), 1),
                                                      std::max(task.old_count, 1));
    const std::int64_t passes = task.old_count < 1 ? 0 : (task.new_count - 1) / block + 1;
    total_ = std::min<std::int64_t>(passes * task.old_count, std::numeric_limits<int>::max());
    if (monitor_is_wanted()) SBR_TimeMonitor(static_cast<int>(total_));
  }
  void show(std::int64_t done, std::int64_t all) noexcept {
    const auto due = done >= all ? total_
                                 : static_cast<std::int64_t>(static_cast<double>(total_) * static_cast<double>(done) /
                                                             static_cast<double>(all));
    for (; shown_ < due; ++shown_)
      if (monitor_is_wanted()) SBR_TimeMonitorStamp();
  }

 private:
  std::int64_t total_ = 0;
  std::int64_t shown_ = 0;
};

// Looks at every old mode. One that does not lie whole in the file is reported once.
Rewriting look_at_modes(ModeTask &task) noexcept {
  if (task.old_count < 1) return Rewriting::done;
  if (task.values < 1 || task.old_count > known_mode_count(task.body)) return Rewriting::unreadable;
  if (!task.lacking.allocate(task.old_count)) return Rewriting::no_memory;
  for (int m = 0; m < task.old_count; ++m) task.lacking[m] = mode_record_is_whole(task.body, m, task.kind) ? 0 : 1;
  return Rewriting::done;
}

// Values of an old mode. What the file lacks counts as zeros; false when it has them and they cannot be read.
bool read_old_values(const ModeTask &task, int m, std::int64_t first, double *out, std::int64_t count) noexcept {
  const std::int64_t came = read_stored_values(task.body, m, task.kind, first, out, count);
  std::fill(out + came, out + count, 0.0);
  return came == count || task.lacking[m] != 0;
}

// Values per strip: enough for long reads and writes, few enough that the strips of all modes together take no more
// than some 16 MiB.
std::int64_t strip_length(const ModeTask &task) noexcept {
  constexpr std::int64_t values_of_all_modes = std::int64_t{1} << 21U;
  const std::int64_t length = values_of_all_modes / std::max({task.old_count, task.new_count, 1});
  return std::clamp<std::int64_t>(length / kStripPiece, 4, 256) * kStripPiece;
}

// Every new mode, strip by strip: each value of an old mode is read once, and all new modes gain from it while it is at
// hand.
Rewriting combine_strips(const ModeTask &task, const CombinationWeights &weights, Progress &progress,
                         ModeRewrite &rewrite) noexcept {
  const std::int64_t length = strip_length(task);
  StripBuffer old_values;
  StripBuffer new_values;
  if (!old_values.allocate(task.old_count, length) || !new_values.allocate(4 * weights.groups(), length))
    return Rewriting::no_memory;
  const Strip &sources = old_values.strip();
  const Strip &outputs = new_values.strip();
  for (std::int64_t first = 0; first < task.values; first += length) {
    const std::int64_t count = std::min(length, task.values - first);
    for (int m = 0; m < task.old_count; ++m)
      if (!read_old_values(task, m, first, sources.mode(m), count)) return Rewriting::unreadable;
    combine_modes(weights, sources, outputs, count);
    for (int j = 0; j < task.new_count; ++j)
      if (!rewrite.put_at(j, first, outputs.mode(j), count)) return Rewriting::disk_full;
    progress.show(first + count, task.values);
  }
  return Rewriting::done;
}

// Full matrix: every new mode is the sum of the old modes with the weights of its column.
Rewriting combine(ModeTask &task, ModeRewrite &rewrite) noexcept {
  Progress progress(task);
  if (const Rewriting found = look_at_modes(task); found != Rewriting::done) return found;
  CombinationWeights weights;
  if (!weights.prepare(task.matrix, task.old_count, task.old_count, task.new_count)) return Rewriting::no_memory;
  if (!rewrite.lay_out(task.new_count, task.values)) return Rewriting::no_memory;
  if (task.new_count > 0)
    if (const Rewriting made = combine_strips(task, weights, progress, rewrite); made != Rewriting::done) return made;
  progress.show(1, 1);
  if (monitor_is_wanted()) report_info("%s", "");
  return Rewriting::done;
}

// Diagonal matrix: each mode times its own weight. A weight of zero leaves in the record what the mode before put
// there.
Rewriting scale(ModeTask &task, ModeRewrite &rewrite) noexcept {
  if (const Rewriting found = look_at_modes(task); found != Rewriting::done) return found;
  Array<double> source;
  if (task.new_count > 0 && !source.allocate(task.values)) return Rewriting::no_memory;
  return rewrite.write_modes(task.new_count, task.values, [&](int m, double *record) noexcept {
    const double c = task.matrix[static_cast<std::int64_t>(m) * task.old_count + m];
    if (c == 0.0) return Rewriting::done;
    if (!read_old_values(task, m, 0, source.data(), task.values)) return Rewriting::unreadable;
    for (std::size_t i = 0; i < source.size(); ++i) record[i] = c * source[i];
    return Rewriting::done;
  });
}

// Every whole row of n values becomes the row times the matrix.
void transform_rows(std::span<double> rows, const double *matrix, Array<double> &work) noexcept {
  const std::size_t n = work.size();
  for (std::size_t start = 0; start + n <= rows.size(); start += n) {
    double *row = rows.data() + start;
    work.fill_zero();
    for (std::size_t k = 0; k < n; ++k)
      for (std::size_t j = 0; j < n; ++j) work[j] += row[k] * matrix[k * n + j];
    std::copy(work.begin(), work.end(), row);
  }
}

void transform_monitor_point(SbrBody &body, int point, const double *matrix, Array<double> &work) noexcept {
  MonitorPoint &monitor = *body.monitor_points[point];
  const auto rows = static_cast<std::size_t>(std::max(monitor.operator_rows, 0));
  for (int type = 1; type <= 4; ++type) {
    if (!monitor_point_has_operator(body, point, type)) continue;
    // Displacement, velocity and acceleration are one matrix each, the load operator one per modal load case.
    const std::size_t matrices = type < 4 ? 1 : body.loads.modal.size();
    const std::span<double> data = monitor.operators[type - 1].span();
    transform_rows(data.first(std::min(data.size(), matrices * rows * work.size())), matrix, work);
  }
}

}  // namespace

bool ModeTransformation::prepare(int new_count, const double *matrix) noexcept {
  const int old_count = mode_count(body_);
  if (new_count < 0 || new_count > old_count) {
    report_error("Cannot make %d modes out of the %d modes of the body.\n", new_count, old_count);
    return false;
  }
  const std::int64_t values = 6 * static_cast<std::int64_t>(kind_count(body_, kind_));
  ModeTask task{body_, kind_, old_count, new_count, matrix, values, {}};
  if (!rewrite_.begin()) return false;
  prepared_ =
      rewrite_.complete(body_.matrices.modes_not_orthogonal != 0 ? combine(task, rewrite_) : scale(task, rewrite_));
  return prepared_;
}

void ModeTransformation::install() noexcept {
  if (prepared_) rewrite_.install();
}

bool transform_modes(SbrBody &body, Kind kind, int new_count, const double *matrix) noexcept {
  ModeTransformation transformation(body, kind);
  if (!transformation.prepare(new_count, matrix)) return false;
  transformation.install();
  return true;
}

bool transform_monitor_points(SbrBody &body, const double *matrix) noexcept {
  const int n = mode_count(body);
  if (n < 1) return true;
  Array<double> work;
  if (!work.allocate(n)) return report_no_memory(unit_name::kWriting);
  for (int p = 0; p < body.monitor_points.count(); ++p)
    if (body.monitor_points[p] != nullptr) transform_monitor_point(body, p, matrix, work);
  return true;
}

}  // namespace sbr

extern "C" {

int SBR_TransformModes(SBR body, int kind, int new_count, const double *matrix) {
  if (matrix == nullptr) return 1;
  const auto valid = sbr::kind_of(kind);
  return sbr::require_body(body) && valid && sbr::transform_modes(*body, *valid, new_count, matrix) ? 1 : 0;
}

int SBR_TransformMonitorPoints(SBR body, const double *matrix) {
  if (!sbr::require_body(body)) return 0;
  return matrix == nullptr || sbr::transform_monitor_points(*body, matrix) ? 1 : 0;
}

}  // extern "C"
