#include "modes/store.h"

#include <algorithm>
#include <cstdlib>

#include "base/reports.h"
#include "base/temporary_file.h"
#include "modes/pending.h"

namespace sbr {
namespace {

// Writes zeros from where the channel stands.
bool write_zeros(StreamChannel &channel, std::int64_t bytes) noexcept {
  constexpr char kZeros[65536] = {};
  constexpr auto kMost = static_cast<std::int64_t>(sizeof kZeros);
  for (; bytes > 0; bytes -= kMost) {
    const auto piece = static_cast<std::size_t>(std::min(bytes, kMost));
    if (std::fwrite(kZeros, 1, piece, channel.stream) != piece) return false;
  }
  return std::fflush(channel.stream) == 0;
}

// Writes a record of zeros for each mode that was announced and notes where it starts. The flush at the end makes a
// full disk show here.
bool reserve_records(SbrBody &body, Kind kind, const Array<double> &zeros) noexcept {
  StreamChannel &channel = body.modes[kind];
  for (std::int64_t &offset : body.store.offsets[kind]) {
    offset = tell_stream(channel.stream);
    if (offset < 0 || !write_reals(channel, zeros.data(), static_cast<std::int64_t>(zeros.size()))) return false;
  }
  return std::fflush(channel.stream) == 0;
}

// How many of `count` values from value `first` on the record of a temporary file has room for. A record file has them
// all.
std::int64_t values_in_record(const SbrBody &body, Kind kind, std::int64_t first, std::int64_t count) noexcept {
  const std::int64_t bytes = body.store.record_bytes[kind];
  if (!body.modes[kind].is_temporary() || bytes == 0) return count;
  return std::clamp<std::int64_t>(bytes / real_size(body.modes[kind]) - first, 0, count);
}

bool seek_to_value(SbrBody &body, int mode, Kind kind, std::int64_t first) noexcept {
  const Array<std::int64_t> &offsets = body.store.offsets[kind];
  StreamChannel &channel = body.modes[kind];
  if (channel.stream == nullptr || mode < 0 || mode >= offsets.count()) return false;
  if (!flush_mode_writes(body, kind)) return false;
  return seek_stream(channel.stream, offsets[mode] + first * real_size(channel));
}

template <class Real>
std::int64_t read_stored(SbrBody &body, int mode, Kind kind, std::int64_t first, Real *out,
                         std::int64_t count) noexcept {
  if (!seek_to_value(body, mode, kind, first)) return 0;
  StreamChannel &channel = body.modes[kind];
  const std::int64_t stored = values_in_record(body, kind, first, count);
  const std::int64_t there = read_available(channel, out, stored);
  if (there < stored) return there;
  std::fill(out + stored, out + count, Real{0});
  return count;
}

}  // namespace

int known_mode_count(const SbrBody &body) noexcept {
  return std::clamp(mode_count(body), 0, body.mode_table.mode_numbers.count());
}

bool report_unable_to_open(Kind kind, const char *path) noexcept {
  report_error(
      "Unable to open temporary %s file %s.\n"
      "To write elsewhere, specify directory name in environment variable %s,\n"
      "or specify path name (file name) in environment variable %s.",
      kKindFacts[kind].name, path, "TMP", kKindFacts[kind].file_variable);
  return false;
}

bool report_disk_full(Kind kind, const char *path) noexcept {
  report_error(
      "Insufficient disk space for temporary %s file %s%s.\n"
      "To write elsewhere, specify directory name in environment variable %s,\n"
      "or specify path name (file name) in environment variable %s.",
      kKindFacts[kind].name, kind == Kind::shape ? " " : "", path, "TMP", kKindFacts[kind].file_variable);
  return false;
}

bool open_temporary_mode_file(SbrBody &body, Kind kind) noexcept {
  StreamChannel &channel = body.modes[kind];
  if (channel.stream != nullptr) return true;
  const char *given = std::getenv(kKindFacts[kind].file_variable);
  const bool named = given != nullptr ? channel.set_path(given) : temporary_name(channel.path);
  if (!named) return report_no_memory(unit_name::kData);
  channel.own(given != nullptr ? std::fopen(channel.path.data(), "wb+") : create_exclusive(channel.path.data()),
              Holding::temporary_file);
  if (channel.stream == nullptr) return report_unable_to_open(kind, channel.path.data());
  report_info("Temp %s file: %s", kKindFacts[kind].file_name, channel.path.data());
  channel.double_precision = body.record.double_precision;
  channel.single_scratch = &body.float_buffer;
  ModeStore &store = body.store;
  store.record_bytes[kind] = store.reserved_bytes[kind] = 0;
  if (!store.offsets[kind].allocate(body.mode_table.mode_capacity)) return report_no_memory(unit_name::kData);
  Array<double> zeros;
  if (!zeros.allocate(std::int64_t{6} * body.nodes.node_capacity)) return report_no_memory(unit_name::kData);
  if (!reserve_records(body, kind, zeros)) return report_disk_full(kind, channel.path.data());
  store.record_bytes[kind] = static_cast<std::int64_t>(zeros.size()) * real_size(channel);
  store.reserved_bytes[kind] = store.record_bytes[kind] * store.offsets[kind].count();
  return true;
}

bool reserve_record(SbrBody &body, Kind kind, int mode) noexcept {
  ModeStore &store = body.store;
  const std::int64_t end = store.offsets[kind][mode] + store.record_bytes[kind];
  std::int64_t &reserved = store.reserved_bytes[kind];
  if (end <= reserved) return true;
  StreamChannel &channel = body.modes[kind];
  if (!seek_stream(channel.stream, reserved) || !write_zeros(channel, end - reserved))
    return report_disk_full(kind, channel.path.data());
  reserved = end;
  return true;
}

std::int64_t read_stored_values(SbrBody &body, int mode, Kind kind, std::int64_t first, double *out,
                                std::int64_t count) noexcept {
  return read_stored(body, mode, kind, first, out, count);
}

std::int64_t read_stored_values(SbrBody &body, int mode, Kind kind, std::int64_t first, float *out,
                                std::int64_t count) noexcept {
  return read_stored(body, mode, kind, first, out, count);
}

}  // namespace sbr

extern "C" int SBR_Double_Prec(SBR body) {
  return body != nullptr ? static_cast<int>(body->modes[sbr::Kind::shape].double_precision) : 0;
}
