// Mode access: whole modes, parts and single nodes, from the cache or past it, through one record loader.
#include <cstring>

#include "body/body.h"
#include "body/node_table.h"
#include "modes/store.h"

namespace sbr {
namespace {

bool valid_kind(int kind) noexcept { return kind >= 0 && kind <= 2; }

// The pre-stress or pre-strain vectors behind mode number 0 of kinds 1 and 2.
const Array<SixVector> &pre_vectors(const SbrBody &body, int kind) noexcept {
  return kind == 1 ? body.pre.stress : body.pre.strain;
}

bool seek_to_mode(SbrBody &body, int index, int kind, std::int64_t value_offset) noexcept {
  const auto &offsets = body.store.offsets[kind];
  StreamChannel &channel = body.modes[kind];
  if (channel.stream == nullptr || static_cast<std::size_t>(index) >= offsets.size()) return false;
  if (!flush_mode_writes(body, kind)) return false;
  const std::int64_t place = offsets[index] + value_offset * real_size(channel);
  return FileSeek_Win32(channel.stream, place, 0) == 0;
}

// Six values per node of a pre-vector; positions beyond the stored vectors are zero.
template <class Real>
void copy_pre_vectors(const Array<SixVector> &vectors, int count, Real *out) noexcept {
  for (int p = 0; p < count; ++p)
    for (std::size_t c = 0; c < 6; ++c)
      *out++ = static_cast<std::size_t>(p) < vectors.size() ? static_cast<Real>(vectors[p][c]) : Real{0};
}

void scale_record(SbrBody &body, int kind, bool good, double *values, int count) noexcept {
  if (kind == 1) {
    if (const double scale = stress_scale(body); scale != 1.0) SBR_Convert_Units(values, 6 * count, scale);
  } else if (kind == 0 && good) {
    if (const double scale = shape_scale(body); scale != 1.0)
      for (int i = 0; i < count; ++i) SBR_Convert_Units(values + 6 * static_cast<std::ptrdiff_t>(i), 3, scale);
  }
}

void report_failed_read(int number, int kind) noexcept {
  if (kind == 0)
    SBR_Error("Problem reading mode shape %d", number);
  else if (number == 0)
    SBR_Error(kind == 1 ? "Problem reading pre stress vector" : "Problem reading pre strain vector");
  else
    SBR_Error(kind == 1 ? "Problem reading modal stress vector %d" : "Problem reading modal strain vector %d", number);
}

// Brings a record into current_record[kind]. 0 when there is nothing of that name; a failed read is reported and
// still gives 1, and the caller goes on with what the buffer holds.
int load_mode_record(SBR body, int number, int kind) noexcept {
  if (body == nullptr || !valid_kind(kind)) return 0;
  const bool pre = number == 0 && kind != 0;
  const int index = pre ? body->mode_table.mode_count : SBR_ModeIndex(body, number);
  if (index < 0 || (pre && !pre_vectors(*body, kind))) return 0;
  const int count = body->nodes.kinds[kind].count;
  if (count < 1) return 0;
  Array<double> &record = body->access.current_record[kind];
  const std::size_t wanted = 6 * static_cast<std::size_t>(count);
  if (record.size() != wanted) {
    if (!record.allocate(static_cast<std::int64_t>(wanted))) return 0;
    body->access.current_mode[kind] = -1;
  }
  if (index == body->access.current_mode[kind]) return 1;
  body->access.current_mode[kind] = index;
  bool good = true;
  if (pre)
    copy_pre_vectors(pre_vectors(*body, kind), count, record.data());
  else
    good = seek_to_mode(*body, index, kind, 0) &&
           read_reals(body->modes[kind], record.data(), static_cast<std::int64_t>(record.size()));
  scale_record(*body, kind, good, record.data(), count);
  if (!good) report_failed_read(number, kind);
  return 1;
}

// Copies part 0 or 1 of the current record, three values per node.
void split_part(const SbrBody &body, int kind, int part, double *out) noexcept {
  const double *from = body.access.current_record[kind].data() + 3 * static_cast<std::ptrdiff_t>(part);
  const int count = body.nodes.kinds[kind].count;
  for (int i = 0; i < count; ++i, from += 6) {
    *out++ = from[0];
    *out++ = from[1];
    *out++ = from[2];
  }
}

const double *kept_part(SBR body, int number, int kind, int part) noexcept {
  if (body == nullptr || body->store.keep_in_memory == 0) return nullptr;
  return cached_part(*body, SBR_ModeIndex(body, number), kind, part);
}

std::size_t part_bytes(const SbrBody &body, int kind) noexcept {
  return 24 * static_cast<std::size_t>(body.nodes.kinds[kind].count);
}

bool valid_part(int part) noexcept { return part == 0 || part == 1; }

// Reads a whole record in the width of its stream. The two public readers differ in that width only.
template <class Real>
int read_record(SBR body, int number, int kind, Real *out) noexcept {
  constexpr bool kDouble = sizeof(Real) == 8;
  if (body == nullptr || out == nullptr || !valid_kind(kind)) return 0;
  const int count = body->nodes.kinds[kind].count;
  if (count < 1) return 0;
  const std::int64_t values = 6 * static_cast<std::int64_t>(count);
  if (number == 0 && kind != 0) {
    if (!pre_vectors(*body, kind)) return 0;
    copy_pre_vectors(pre_vectors(*body, kind), count, out);
  } else {
    const int index = SBR_ModeIndex(body, number);
    if (index < 0 || !seek_to_mode(*body, index, kind, 0)) return 0;
    StreamChannel &channel = body->modes[kind];
    if ((channel.double_precision != 0) != kDouble) return 0;
    if constexpr (kDouble) {
      if (!read_reals(channel, out, values)) return 0;
    } else {
      if (!read_floats(channel, out, values)) return 0;
    }
  }
  if (kind == 0) {
    const auto scale = static_cast<Real>(shape_scale(*body));
    if (scale != Real{1})
      for (std::int64_t i = 0; i < values; i += 6)
        for (int c = 0; c < 3; ++c) out[i + c] *= scale;
  } else if (kind == 1) {
    const auto scale = static_cast<Real>(stress_scale(*body));
    if (scale != Real{1})
      for (std::int64_t i = 0; i < values; ++i) out[i] *= scale;
  }
  return 1;
}

}  // namespace

const double *whole_mode(SbrBody &body, int number, int kind) noexcept {
  return load_mode_record(&body, number, kind) != 0 ? body.access.current_record[kind].data() : nullptr;
}

bool read_stored_values(SbrBody &body, int mode_index, int kind, std::int64_t first, double *out,
                        std::int64_t count) noexcept {
  return mode_index >= 0 && seek_to_mode(body, mode_index, kind, first) && read_reals(body.modes[kind], out, count);
}

bool mode_record_is_whole(SbrBody &body, int mode_index, int kind) noexcept {
  const std::int64_t nodes = body.nodes.kinds[kind].count;
  double last[6];
  if (nodes > 0 && read_stored_values(body, mode_index, kind, 6 * (nodes - 1), last, 6)) return true;
  report_failed_read(SBR_ModeNumber(&body, mode_index), kind);
  return false;
}

}  // namespace sbr

extern "C" {

int SBR_Mode(SBR body, int number, int kind, double *out, int part) {
  if (out == nullptr) return 0;
  if (const double *kept = sbr::kept_part(body, number, kind, part); kept != nullptr) {
    std::memcpy(out, kept, sbr::part_bytes(*body, kind));
    return 1;
  }
  if (sbr::load_mode_record(body, number, kind) == 0) return 0;
  if (!sbr::valid_part(part)) return 0;
  sbr::split_part(*body, kind, part, out);
  if (body->store.keep_in_memory != 0) SBR_ModetoMemory(body, number, kind, out, part);
  return 1;
}

int SBR_ModeByNode(SBR body, int number, int kind, int id, double *out3, int part) {
  if (out3 == nullptr) return 0;
  if (const double *kept = sbr::kept_part(body, number, kind, part); kept != nullptr) {
    const int position = SBR_ModeNodeIndex(body, kind, id);
    if (position >= 0 && position < body->nodes.kinds[kind].count) {
      std::memcpy(out3, kept + 3 * static_cast<std::ptrdiff_t>(position), 24);
      return 1;
    }
  }
  std::memset(out3, 0, 24);
  if (sbr::load_mode_record(body, number, kind) == 0) return 0;
  const int position = SBR_ModeNodeIndex(body, kind, id);
  const int count = body->nodes.kinds[kind].count;
  if (position < 0 || position >= count || !sbr::valid_part(part)) return 0;
  const double *record = body->access.current_record[kind].data();
  std::memcpy(out3, record + 6 * static_cast<std::ptrdiff_t>(position) + 3 * static_cast<std::ptrdiff_t>(part), 24);
  if (body->store.keep_in_memory == 0) return 1;
  // The whole part goes into the cache as a side effect, unless the cache could not take it anyway.
  if (body->store.memory_limit != 0 && body->store.memory_used >= body->store.memory_limit) return 1;
  if (SBR_ModeIndex(body, number) < 0) return 1;
  sbr::Array<double> whole;
  if (whole.allocate(3 * static_cast<std::int64_t>(count))) {
    sbr::split_part(*body, kind, part, whole.data());
    SBR_ModetoMemory(body, number, kind, whole.data(), part);
  }
  return 1;
}

int SBR_ModeByRef(SBR body, int number, int kind, double **out, int part) {
  if (out == nullptr) return 0;
  if (const double *kept = sbr::kept_part(body, number, kind, part); kept != nullptr) {
    *out = const_cast<double *>(kept);
    return 1;
  }
  if (sbr::load_mode_record(body, number, kind) == 0) return 0;
  sbr::Array<double> &buffer = body->access.ref_buffer;
  const std::int64_t values = 3 * static_cast<std::int64_t>(body->nodes.kinds[kind].count);
  if (buffer.size() < static_cast<std::size_t>(values) && !buffer.resize(values)) return 0;
  if (!sbr::valid_part(part)) return 0;
  sbr::split_part(*body, kind, part, buffer.data());
  *out = buffer.data();
  if (body->store.keep_in_memory != 0) SBR_ModetoMemory(body, number, kind, buffer.data(), part);
  return 1;
}

int SBR_ModeByNodeWithoutCache(SBR body, int number, int kind, int id, double *out3, int part) {
  if (out3 == nullptr) return 0;
  std::memset(out3, 0, 24);
  if (body == nullptr || !sbr::valid_kind(kind) || number == 0) return 0;
  const int index = SBR_ModeIndex(body, number);
  if (index < 0) return 0;
  const int position = SBR_ModeNodeIndex(body, kind, id);
  if (position < 0 || position >= body->nodes.kinds[kind].count) return 0;
  const std::int64_t value = 6 * static_cast<std::int64_t>(position) + (part == 1 ? 3 : 0);
  if (!sbr::seek_to_mode(*body, index, kind, value) || !sbr::read_reals(body->modes[kind], out3, 3)) return 0;
  const double scale = kind == 0 && part == 0 ? sbr::shape_scale(*body) : kind == 1 ? sbr::stress_scale(*body) : 1.0;
  if (scale != 1.0) SBR_Convert_Units(out3, 3, scale);
  return 1;
}

int SBR_ModeFromMemory(SBR body, int number, int kind, double *out, int part) {
  if (body == nullptr || out == nullptr) return 0;
  const double *kept = sbr::cached_part(*body, SBR_ModeIndex(body, number), kind, part);
  if (kept == nullptr) return 0;
  std::memcpy(out, kept, sbr::part_bytes(*body, kind));
  return 1;
}

int SBR_ModeFromMemoryByNode(SBR body, int number, int kind, int id, double *out3, int part) {
  if (body == nullptr || out3 == nullptr) return 0;
  const double *kept = sbr::cached_part(*body, SBR_ModeIndex(body, number), kind, part);
  const int position = kept != nullptr ? SBR_ModeNodeIndex(body, kind, id) : -1;
  if (position < 0 || position >= body->nodes.kinds[kind].count) return 0;
  std::memcpy(out3, kept + 3 * static_cast<std::ptrdiff_t>(position), 24);
  return 1;
}

int SBR_ModeFromMemoryByRef(SBR body, int number, int kind, double **out, int part) {
  if (body == nullptr || out == nullptr) return 0;
  const double *kept = sbr::cached_part(*body, SBR_ModeIndex(body, number), kind, part);
  if (kept == nullptr) return 0;
  *out = const_cast<double *>(kept);
  return 1;
}

int SBR_Read_Mode_Double(SBR body, int number, int kind, double *out) {
  return sbr::read_record(body, number, kind, out);
}

int SBR_Read_Mode_Single(SBR body, int number, int kind, float *out) {
  return sbr::read_record(body, number, kind, out);
}

int SBR_ModeExist(SBR body, int kind) { return sbr::valid_kind(kind) ? SBR_Exists(body, sbr::kind_block(kind)) : 0; }

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
