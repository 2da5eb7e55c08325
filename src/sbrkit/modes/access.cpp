// Mode access: whole modes, parts and single nodes, from the cache or past it, through one record loader.
#include "modes/access.h"

#include <cstring>

#include "base/reports.h"
#include "body/body.h"
#include "body/node_table.h"
#include "body/registry.h"
#include "body/units.h"
#include "modes/store.h"

namespace sbr {
namespace {

// The pre-stress or pre-strain vectors behind mode number 0 of kinds 1 and 2.
const Array<SixVector> &pre_vectors(const SbrBody &body, Kind kind) noexcept {
  return kind == Kind::stress ? body.pre.stress : body.pre.strain;
}

bool seek_to_mode(SbrBody &body, int index, Kind kind, std::int64_t value_offset) noexcept {
  const auto &offsets = body.store.offsets[kind];
  StreamChannel &channel = body.modes[kind];
  if (channel.stream == nullptr || static_cast<std::size_t>(index) >= offsets.size()) return false;
  if (!flush_mode_writes(body, kind)) return false;
  const std::int64_t place = offsets[index] + value_offset * real_size(channel);
  return seek_stream(channel.stream, place);
}

// Six values per node of a pre-vector; positions beyond the stored vectors are zero.
template <class Real>
void copy_pre_vectors(const Array<SixVector> &vectors, int count, Real *out) noexcept {
  for (int p = 0; p < count; ++p)
    for (std::size_t c = 0; c < 6; ++c)
      *out++ = static_cast<std::size_t>(p) < vectors.size() ? static_cast<Real>(vectors[p][c]) : Real{0};
}

void scale_record(SbrBody &body, Kind kind, bool good, double *values, int count) noexcept {
  if (kind == Kind::stress) {
    if (const double scale = stress_scale(body); scale != 1.0) convert_units(values, 6 * count, scale);
  } else if (kind == Kind::shape && good) {
    if (const double scale = shape_scale(body); scale != 1.0)
      for (int i = 0; i < count; ++i) convert_units(values + 6 * static_cast<std::ptrdiff_t>(i), 3, scale);
  }
}

void report_failed_read(const SbrBody &body, int mode, Kind kind) noexcept {
  const KindFacts &facts = kKindFacts[kind];
  if (mode == kPreVector)
    report_error("%s", facts.failed_pre_read);
  else
    report_error(facts.failed_read, mode_number(body, mode));
}

// Brings a record into current_record[kind]. False when there is nothing of that name; a failed read is reported and
// still gives true, and the caller goes on with what the buffer holds.
bool load_mode_record(SbrBody &body, int mode, Kind kind) noexcept {
  const bool pre = mode == kPreVector;
  if (mode < 0 || (!pre && mode >= mode_count(body)) || (pre && (kind == Kind::shape || !pre_vectors(body, kind))))
    return false;
  const int count = kind_count(body, kind);
  if (count < 1) return false;
  Array<double> &record = body.access.current_record[kind];
  const std::size_t wanted = 6 * static_cast<std::size_t>(count);
  if (record.size() != wanted) {
    if (!record.allocate(static_cast<std::int64_t>(wanted))) return false;
    body.access.current_mode[kind] = -1;
  }
  if (mode == body.access.current_mode[kind]) return true;
  body.access.current_mode[kind] = mode;
  bool good = true;
  if (pre)
    copy_pre_vectors(pre_vectors(body, kind), count, record.data());
  else
    good = seek_to_mode(body, mode, kind, 0) &&
           read_reals(body.modes[kind], record.data(), static_cast<std::int64_t>(record.size()));
  scale_record(body, kind, good, record.data(), count);
  if (!good) report_failed_read(body, mode, kind);
  return true;
}

// Copies part 0 or 1 of the current record, three values per node.
void split_part(const SbrBody &body, Kind kind, int part, double *out) noexcept {
  const double *from = body.access.current_record[kind].data() + 3 * static_cast<std::ptrdiff_t>(part);
  const int count = body.nodes.kinds[kind].count;
  for (int i = 0; i < count; ++i, from += 6) {
    *out++ = from[0];
    *out++ = from[1];
    *out++ = from[2];
  }
}

// The index whose cached parts a public number means. A pre-vector is cached under a mode of number 0, if there is one.
int cached_index(const SbrBody &body, int mode) noexcept { return mode == kPreVector ? mode_index(body, 0) : mode; }

const double *kept_part(const SbrBody &body, int mode, Kind kind, int part) noexcept {
  if (body.store.keep_in_memory == 0) return nullptr;
  return cached_part(body, cached_index(body, mode), kind, part);
}

std::size_t part_bytes(const SbrBody &body, Kind kind) noexcept {
  return 24 * static_cast<std::size_t>(body.nodes.kinds[kind].count);
}

bool valid_part(int part) noexcept { return part == 0 || part == 1; }

// Reads a whole record in the width of its stream. The two public readers differ in that width only.
template <class Real>
bool read_record(SbrBody &body, int mode, Kind kind, Real *out) noexcept {
  constexpr bool kDouble = sizeof(Real) == 8;
  const int count = body.nodes.kinds[kind].count;
  if (count < 1) return false;
  const std::int64_t values = 6 * static_cast<std::int64_t>(count);
  if (mode == kPreVector) {
    if (!pre_vectors(body, kind)) return false;
    copy_pre_vectors(pre_vectors(body, kind), count, out);
  } else {
    if (mode < 0 || !seek_to_mode(body, mode, kind, 0)) return false;
    StreamChannel &channel = body.modes[kind];
    if ((channel.double_precision != 0) != kDouble) return false;
    if constexpr (kDouble) {
      if (!read_reals(channel, out, values)) return false;
    } else {
      if (!read_floats(channel, out, values)) return false;
    }
  }
  if (kind == Kind::shape) {
    const auto scale = static_cast<Real>(shape_scale(body));
    if (scale != Real{1})
      for (std::int64_t i = 0; i < values; i += 6)
        for (int c = 0; c < 3; ++c) out[i + c] *= scale;
  } else if (kind == Kind::stress) {
    const auto scale = static_cast<Real>(stress_scale(body));
    if (scale != Real{1})
      for (std::int64_t i = 0; i < values; ++i) out[i] *= scale;
  }
  return true;
}

void keep_part(SbrBody &body, int mode, Kind kind, const double *data, int part) noexcept {
  if (body.store.keep_in_memory != 0) mode_to_memory(body, cached_index(body, mode), kind, data, part);
}

}  // namespace

int record_of_number(const SbrBody &body, int number, Kind kind) noexcept {
  return number == 0 && kind != Kind::shape ? kPreVector : mode_index(body, number);
}

const double *whole_mode(SbrBody &body, int mode, Kind kind) noexcept {
  return load_mode_record(body, mode, kind) ? body.access.current_record[kind].data() : nullptr;
}

bool mode_part(SbrBody &body, int mode, Kind kind, int part, double *out) noexcept {
  if (const double *kept = kept_part(body, mode, kind, part); kept != nullptr) {
    std::memcpy(out, kept, part_bytes(body, kind));
    return true;
  }
  if (!load_mode_record(body, mode, kind) || !valid_part(part)) return false;
  split_part(body, kind, part, out);
  keep_part(body, mode, kind, out, part);
  return true;
}

bool read_stored_values(SbrBody &body, int mode, Kind kind, std::int64_t first, double *out,
                        std::int64_t count) noexcept {
  return mode >= 0 && seek_to_mode(body, mode, kind, first) && read_reals(body.modes[kind], out, count);
}

bool mode_record_is_whole(SbrBody &body, int mode, Kind kind) noexcept {
  const std::int64_t nodes = kind_count(body, kind);
  double last[6];
  if (nodes > 0 && read_stored_values(body, mode, kind, 6 * (nodes - 1), last, 6)) return true;
  report_failed_read(body, mode, kind);
  return false;
}

}  // namespace sbr

using sbr::kind_of;

extern "C" {

int SBR_Mode(SBR body, int number, int kind, double *out, int part) {
  const auto which = kind_of(kind);
  if (body == nullptr || out == nullptr || !which) return 0;
  return sbr::mode_part(*body, sbr::record_of_number(*body, number, *which), *which, part, out) ? 1 : 0;
}

int SBR_ModeByNode(SBR body, int number, int kind, int id, double *out3, int part) {
  if (out3 == nullptr) return 0;
  const auto which = kind_of(kind);
  const int mode = body != nullptr && which ? sbr::record_of_number(*body, number, *which) : -1;
  if (body != nullptr && which)
    if (const double *kept = sbr::kept_part(*body, mode, *which, part); kept != nullptr) {
      const int position = sbr::kind_position(*body, *which, id);
      if (position >= 0 && position < sbr::kind_count(*body, *which)) {
        std::memcpy(out3, kept + 3 * static_cast<std::ptrdiff_t>(position), 24);
        return 1;
      }
    }
  std::memset(out3, 0, 24);
  if (body == nullptr || !which || !sbr::load_mode_record(*body, mode, *which)) return 0;
  const int position = sbr::kind_position(*body, *which, id);
  const int count = sbr::kind_count(*body, *which);
  if (position < 0 || position >= count || !sbr::valid_part(part)) return 0;
  const double *record = body->access.current_record[*which].data();
  std::memcpy(out3, record + 6 * static_cast<std::ptrdiff_t>(position) + 3 * static_cast<std::ptrdiff_t>(part), 24);
  if (body->store.keep_in_memory == 0) return 1;
  // The whole part goes into the cache as a side effect, unless the cache could not take it anyway.
  if (body->store.memory_limit != 0 && body->store.memory_used >= body->store.memory_limit) return 1;
  if (sbr::mode_index(*body, number) < 0) return 1;
  sbr::Array<double> whole;
  if (whole.allocate(3 * static_cast<std::int64_t>(count))) {
    sbr::split_part(*body, *which, part, whole.data());
    sbr::keep_part(*body, mode, *which, whole.data(), part);
  }
  return 1;
}

int SBR_ModeByRef(SBR body, int number, int kind, double **out, int part) {
  const auto which = kind_of(kind);
  if (body == nullptr || out == nullptr || !which) return 0;
  const int mode = sbr::record_of_number(*body, number, *which);
  if (const double *kept = sbr::kept_part(*body, mode, *which, part); kept != nullptr) {
    *out = const_cast<double *>(kept);
    return 1;
  }
  if (!sbr::load_mode_record(*body, mode, *which)) return 0;
  sbr::Array<double> &buffer = body->access.ref_buffer;
  const std::int64_t values = 3 * static_cast<std::int64_t>(sbr::kind_count(*body, *which));
  if (buffer.size() < static_cast<std::size_t>(values) && !buffer.resize(values)) return 0;
  if (!sbr::valid_part(part)) return 0;
  sbr::split_part(*body, *which, part, buffer.data());
  *out = buffer.data();
  sbr::keep_part(*body, mode, *which, buffer.data(), part);
  return 1;
}

int SBR_ModeByNodeWithoutCache(SBR body, int number, int kind, int id, double *out3, int part) {
  if (out3 == nullptr) return 0;
  std::memset(out3, 0, 24);
  const auto which = kind_of(kind);
  if (body == nullptr || !which || number == 0) return 0;
  const int mode = sbr::mode_index(*body, number);
  if (mode < 0) return 0;
  const int position = sbr::kind_position(*body, *which, id);
  if (position < 0 || position >= sbr::kind_count(*body, *which)) return 0;
  const std::int64_t value = 6 * static_cast<std::int64_t>(position) + (part == 1 ? 3 : 0);
  if (!sbr::read_stored_values(*body, mode, *which, value, out3, 3)) return 0;
  const double scale = *which == sbr::Kind::shape && part == 0 ? sbr::shape_scale(*body)
                       : *which == sbr::Kind::stress           ? sbr::stress_scale(*body)
                                                               : 1.0;
  if (scale != 1.0) sbr::convert_units(out3, 3, scale);
  return 1;
}

int SBR_ModeFromMemory(SBR body, int number, int kind, double *out, int part) {
  const auto which = kind_of(kind);
  if (body == nullptr || out == nullptr || !which) return 0;
  const double *kept = sbr::cached_part(*body, sbr::mode_index(*body, number), *which, part);
  if (kept == nullptr) return 0;
  std::memcpy(out, kept, sbr::part_bytes(*body, *which));
  return 1;
}

int SBR_ModeFromMemoryByNode(SBR body, int number, int kind, int id, double *out3, int part) {
  const auto which = kind_of(kind);
  if (body == nullptr || out3 == nullptr || !which) return 0;
  const double *kept = sbr::cached_part(*body, sbr::mode_index(*body, number), *which, part);
  const int position = kept != nullptr ? sbr::kind_position(*body, *which, id) : -1;
  if (position < 0 || position >= sbr::kind_count(*body, *which)) return 0;
  std::memcpy(out3, kept + 3 * static_cast<std::ptrdiff_t>(position), 24);
  return 1;
}

int SBR_ModeFromMemoryByRef(SBR body, int number, int kind, double **out, int part) {
  const auto which = kind_of(kind);
  if (body == nullptr || out == nullptr || !which) return 0;
  const double *kept = sbr::cached_part(*body, sbr::mode_index(*body, number), *which, part);
  if (kept == nullptr) return 0;
  *out = const_cast<double *>(kept);
  return 1;
}

int SBR_Read_Mode_Double(SBR body, int number, int kind, double *out) {
  const auto which = kind_of(kind);
  if (body == nullptr || out == nullptr || !which) return 0;
  return sbr::read_record(*body, sbr::record_of_number(*body, number, *which), *which, out) ? 1 : 0;
}

int SBR_Read_Mode_Single(SBR body, int number, int kind, float *out) {
  const auto which = kind_of(kind);
  if (body == nullptr || out == nullptr || !which) return 0;
  return sbr::read_record(*body, sbr::record_of_number(*body, number, *which), *which, out) ? 1 : 0;
}

int SBR_ModeExist(SBR body, int kind) {
  const auto which = kind_of(kind);
  return which && sbr::require_body(body) && sbr::has_block(*body, sbr::kind_block(*which)) ? 1 : 0;
}

int SBR_SetTransformation(SBR body, const double *matrix) {
  if (body == nullptr || matrix == nullptr || body->mode_table.mode_count < 1) return 0;
  const auto n = static_cast<std::size_t>(body->mode_table.mode_count);
  sbr::Array<double> &present = body->access.transformation;
  sbr::Array<double> product;
  if (!product.allocate(static_cast<std::int64_t>(n * n))) return 0;
  if (!present || present.size() < n * n) {
    std::memcpy(product.data(), matrix, n * n * sizeof(double));
  } else {
    for (std::size_t i = 0; i < n; ++i)
      for (std::size_t k = 0; k < n; ++k)
        for (std::size_t j = 0; j < n; ++j) product[i * n + j] += present[i * n + k] * matrix[k * n + j];
  }
  present.swap(product);
  return 1;
}

int SBR_Transformation(SBR body, double *matrix) {
  if (body == nullptr || matrix == nullptr || !body->access.transformation) return 0;
  const auto n = static_cast<std::size_t>(std::max(body->mode_table.mode_count, 0));
  const std::size_t held = std::min(n * n, body->access.transformation.size());
  std::memcpy(matrix, body->access.transformation.data(), held * sizeof(double));
  std::fill(matrix + held, matrix + n * n, 0.0);
  return 1;
}

}  // extern "C"
