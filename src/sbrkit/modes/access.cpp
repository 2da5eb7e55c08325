#include "modes/access.h"

#include <algorithm>
#include <cstring>

#include "base/reports.h"
#include "body/node_table.h"
#include "body/registry.h"
#include "body/units.h"
#include "modes/cache.h"
#include "modes/store.h"

namespace sbr {
namespace {

// ---- the loader ----------------------------------------------------------------------------------------------------

// Six values per node of a pre-vector; positions beyond the stored vectors are zero.
template <class Real>
void copy_pre_vectors(const Array<SixVector> &vectors, int count, Real *out) noexcept {
  for (int p = 0; p < count; ++p)
    for (std::size_t c = 0; c < 6; ++c) *out++ = p < vectors.count() ? static_cast<Real>(vectors[p][c]) : Real{0};
}

// Brings a record to the body's units: the translations of a shape that was read whole, all values of stress.
void scale_record(const SbrBody &body, Kind kind, bool good, std::span<double> values) noexcept {
  if (kind == Kind::stress) {
    if (const double scale = stress_scale(body); scale != 1.0) DecimalFactor(scale).apply(values);
  } else if (kind == Kind::shape && good) {
    const double scale = shape_scale(body);
    if (scale == 1.0) return;
    const DecimalFactor factor(scale);
    for (std::size_t i = 0; i < values.size(); i += 6) factor.apply(values.subspan(i, 3));
  }
}

void report_failed_read(const SbrBody &body, int mode, Kind kind) noexcept {
  if (mode == kPreVector)
    report_error("%s", kKindFacts[kind].failed_pre_read);
  else
    report_error(kKindFacts[kind].failed_read, mode_number(body, mode));
}

bool has_record(const SbrBody &body, int mode, Kind kind) noexcept {
  if (kind_count(body, kind) < 1) return false;
  if (mode == kPreVector) return kind != Kind::shape && pre_vectors(body, kind);
  return mode >= 0 && mode < known_mode_count(body);
}

// ---- parts of the loaded record ------------------------------------------------------------------------------------

bool valid_part(int part) noexcept { return part == 0 || part == 1; }

// Copies part 0 or 1 of a record of `count` nodes, three values per node.
void split_part(const double *record, int count, int part, double *out) noexcept {
  const double *from = record + 3 * static_cast<std::ptrdiff_t>(part);
  for (int i = 0; i < count; ++i, from += 6, out += 3) std::memcpy(out, from, 24);
}

std::size_t part_bytes(const SbrBody &body, Kind kind) noexcept {
  return 24 * static_cast<std::size_t>(kind_count(body, kind));
}

// The place of a node in a part; null when the kind does not have the node.
const double *node_of_part(SbrBody &body, const double *part, Kind kind, int id) noexcept {
  const int position = kind_position(body, kind, id);
  return position < 0 || position >= kind_count(body, kind) ? nullptr
                                                            : part + 3 * static_cast<std::ptrdiff_t>(position);
}

// The three values of one part at a node. The whole part goes into the cache as a side effect, where there is room.
bool part_at_node(SbrBody &body, int mode, Kind kind, int id, int part, double *out3) noexcept {
  if (const double *kept = kept_part(body, mode, kind, part); kept != nullptr)
    if (const double *three = node_of_part(body, kept, kind, id); three != nullptr) {
      std::memcpy(out3, three, 24);
      return true;
    }
  std::memset(out3, 0, 24);
  const double *record = whole_mode(body, mode, kind);
  if (record == nullptr || !valid_part(part)) return false;
  const int position = kind_position(body, kind, id);
  const int count = kind_count(body, kind);
  if (position < 0 || position >= count) return false;
  std::memcpy(out3, record + 6 * static_cast<std::ptrdiff_t>(position) + 3 * static_cast<std::ptrdiff_t>(part), 24);
  if (!cache_is_on(body) || mode == kPreVector || !cache_has_room(body)) return true;
  Array<double> whole;
  if (whole.allocate(std::int64_t{3} * count)) {
    split_part(record, count, part, whole.data());
    mode_to_memory(body, mode, kind, whole.data(), part);
  }
  return true;
}

// A part by its address: in the cache, or in the buffer that all misses share.
double *part_by_address(SbrBody &body, int mode, Kind kind, int part) noexcept {
  if (const double *kept = kept_part(body, mode, kind, part); kept != nullptr) return const_cast<double *>(kept);
  const double *record = whole_mode(body, mode, kind);
  if (record == nullptr) return nullptr;
  const int count = kind_count(body, kind);
  Array<double> &buffer = body.access.ref_buffer;
  const std::int64_t values = std::int64_t{3} * count;
  if (static_cast<std::int64_t>(buffer.size()) < values && !buffer.resize(values)) return nullptr;
  if (!valid_part(part)) return nullptr;
  split_part(record, count, part, buffer.data());
  if (cache_is_on(body)) mode_to_memory(body, mode, kind, buffer.data(), part);
  return buffer.data();
}

// Three values straight from the file.
bool part_at_node_from_file(SbrBody &body, int mode, Kind kind, int id, int part, double *out3) noexcept {
  if (mode < 0) return false;
  const int position = kind_position(body, kind, id);
  if (position < 0 || position >= kind_count(body, kind)) return false;
  const std::int64_t value = 6 * static_cast<std::int64_t>(position) + (part == 1 ? 3 : 0);
  if (read_stored_values(body, mode, kind, value, out3, 3) < 3) return false;
  const bool shape = kind == Kind::shape && part == 0;
  const double scale = shape ? shape_scale(body) : kind == Kind::stress ? stress_scale(body) : 1.0;
  if (scale != 1.0) convert_units(out3, 3, scale);
  return true;
}

// ---- whole records in the width of their stream --------------------------------------------------------------------

template <class Real>
void multiply_all(std::span<Real> values, Kind kind, double shape, double stress) noexcept {
  if (kind == Kind::shape) {
    const auto scale = static_cast<Real>(shape);
    if (scale != Real{1})
      for (std::size_t i = 0; i < values.size(); i += 6)
        for (std::size_t c = 0; c < 3; ++c) values[i + c] *= scale;
  } else if (kind == Kind::stress) {
    const auto scale = static_cast<Real>(stress);
    if (scale != Real{1})
      for (Real &value : values) value *= scale;
  }
}

// Reads a whole record in the width of its stream. The two public readers differ in that width only.
template <class Real>
bool read_record(SBR body, int number, int kind_number, Real *out) noexcept {
  const auto kind = kind_of(kind_number);
  if (body == nullptr || out == nullptr || !kind) return false;
  const int mode = record_of_number(*body, number, *kind);
  if (!has_record(*body, mode, *kind)) return false;
  const int count = kind_count(*body, *kind);
  const std::int64_t values = 6 * static_cast<std::int64_t>(count);
  if (mode == kPreVector) {
    copy_pre_vectors(pre_vectors(*body, *kind), count, out);
  } else {
    if (real_size(body->modes[*kind]) != static_cast<int>(sizeof(Real))) return false;
    if (read_stored_values(*body, mode, *kind, 0, out, values) < values) return false;
  }
  multiply_all(std::span<Real>(out, static_cast<std::size_t>(values)), *kind, shape_scale(*body), stress_scale(*body));
  return true;
}

}  // namespace

// ---- access by index -----------------------------------------------------------------------------------------------

Array<SixVector> &pre_vectors(SbrBody &body, Kind kind) noexcept {
  return kind == Kind::stress ? body.pre.stress : body.pre.strain;
}
const Array<SixVector> &pre_vectors(const SbrBody &body, Kind kind) noexcept {
  return kind == Kind::stress ? body.pre.stress : body.pre.strain;
}

int record_of_number(const SbrBody &body, int number, Kind kind) noexcept {
  return number == 0 && kind != Kind::shape ? kPreVector : mode_index(body, number);
}

bool ready_for_modes(SbrBody &body, Kind kind) noexcept {
  const std::int64_t values = std::int64_t{6} * kind_count(body, kind);
  Array<double> &record = body.access.current_record[kind];
  if (values < 1 || static_cast<std::int64_t>(record.size()) == values) return true;
  if (!record.allocate(values)) return false;
  body.access.current_mode[kind] = kNoMode;
  return true;
}

// The mode counts as current before it is read, and a failed read does not undo that.
const double *whole_mode(SbrBody &body, int mode, Kind kind) noexcept {
  if (!has_record(body, mode, kind) || !ready_for_modes(body, kind)) return nullptr;
  const int count = kind_count(body, kind);
  const std::int64_t values = std::int64_t{6} * count;
  Array<double> &record = body.access.current_record[kind];
  if (mode == body.access.current_mode[kind]) return record.data();
  body.access.current_mode[kind] = mode;
  bool good = true;
  if (mode == kPreVector)
    copy_pre_vectors(pre_vectors(body, kind), count, record.data());
  else
    good = read_stored_values(body, mode, kind, 0, record.data(), values) == values;
  scale_record(body, kind, good, record.span());
  if (!good) report_failed_read(body, mode, kind);
  return record.data();
}

bool mode_part(SbrBody &body, int mode, Kind kind, int part, double *out) noexcept {
  if (const double *kept = kept_part(body, mode, kind, part); kept != nullptr) {
    std::memcpy(out, kept, part_bytes(body, kind));
    return true;
  }
  const double *record = whole_mode(body, mode, kind);
  if (record == nullptr || !valid_part(part)) return false;
  split_part(record, kind_count(body, kind), part, out);
  if (cache_is_on(body)) mode_to_memory(body, mode, kind, out, part);
  return true;
}

bool mode_record_is_whole(SbrBody &body, int mode, Kind kind) noexcept {
  const std::int64_t nodes = kind_count(body, kind);
  double last[6];
  if (nodes > 0 && read_stored_values(body, mode, kind, 6 * (nodes - 1), last, 6) == 6) return true;
  report_failed_read(body, mode, kind);
  return false;
}

bool multiply_transformation(SbrBody &body, const double *matrix) noexcept {
  if (mode_count(body) < 1) return false;
  const auto n = static_cast<std::size_t>(mode_count(body));
  Array<double> &present = body.access.transformation;
  Array<double> product;
  if (!product.allocate(static_cast<std::int64_t>(n * n))) return false;
  if (present.size() < n * n) {
    std::memcpy(product.data(), matrix, n * n * sizeof(double));
  } else {
    for (std::size_t i = 0; i < n; ++i)
      for (std::size_t k = 0; k < n; ++k)
        for (std::size_t j = 0; j < n; ++j) product[i * n + j] += present[i * n + k] * matrix[k * n + j];
  }
  present.swap(product);
  return true;
}

}  // namespace sbr

// ---- the C operations ----------------------------------------------------------------------------------------------

extern "C" {

int SBR_Mode(SBR body, int number, int kind, double *out, int part) {
  const auto valid = sbr::kind_of(kind);
  if (body == nullptr || out == nullptr || !valid) return 0;
  return sbr::mode_part(*body, sbr::record_of_number(*body, number, *valid), *valid, part, out) ? 1 : 0;
}

int SBR_ModeByNode(SBR body, int number, int kind, int id, double *out3, int part) {
  if (out3 == nullptr) return 0;
  const auto valid = sbr::kind_of(kind);
  if (body == nullptr || !valid) {
    std::memset(out3, 0, 24);
    return 0;
  }
  return sbr::part_at_node(*body, sbr::record_of_number(*body, number, *valid), *valid, id, part, out3) ? 1 : 0;
}

int SBR_ModeByRef(SBR body, int number, int kind, double **out, int part) {
  const auto valid = sbr::kind_of(kind);
  if (body == nullptr || out == nullptr || !valid) return 0;
  double *values = sbr::part_by_address(*body, sbr::record_of_number(*body, number, *valid), *valid, part);
  if (values == nullptr) return 0;
  *out = values;
  return 1;
}

int SBR_ModeByNodeWithoutCache(SBR body, int number, int kind, int id, double *out3, int part) {
  if (out3 == nullptr) return 0;
  std::memset(out3, 0, 24);
  const auto valid = sbr::kind_of(kind);
  if (body == nullptr || !valid || number == 0) return 0;
  return sbr::part_at_node_from_file(*body, sbr::mode_index(*body, number), *valid, id, part, out3) ? 1 : 0;
}

int SBR_ModeFromMemory(SBR body, int number, int kind, double *out, int part) {
  const auto valid = sbr::kind_of(kind);
  if (body == nullptr || out == nullptr || !valid) return 0;
  const double *kept = sbr::cached_part(*body, sbr::mode_index(*body, number), *valid, part);
  if (kept == nullptr) return 0;
  std::memcpy(out, kept, sbr::part_bytes(*body, *valid));
  return 1;
}

int SBR_ModeFromMemoryByNode(SBR body, int number, int kind, int id, double *out3, int part) {
  const auto valid = sbr::kind_of(kind);
  if (body == nullptr || out3 == nullptr || !valid) return 0;
  const double *kept = sbr::cached_part(*body, sbr::mode_index(*body, number), *valid, part);
  const double *three = kept != nullptr ? sbr::node_of_part(*body, kept, *valid, id) : nullptr;
  if (three == nullptr) return 0;
  std::memcpy(out3, three, 24);
  return 1;
}

int SBR_ModeFromMemoryByRef(SBR body, int number, int kind, double **out, int part) {
  const auto valid = sbr::kind_of(kind);
  if (body == nullptr || out == nullptr || !valid) return 0;
  const double *kept = sbr::cached_part(*body, sbr::mode_index(*body, number), *valid, part);
  if (kept == nullptr) return 0;
  *out = const_cast<double *>(kept);
  return 1;
}

int SBR_Read_Mode_Double(SBR body, int number, int kind, double *out) {
  return sbr::read_record(body, number, kind, out) ? 1 : 0;
}

int SBR_Read_Mode_Single(SBR body, int number, int kind, float *out) {
  return sbr::read_record(body, number, kind, out) ? 1 : 0;
}

int SBR_ModeExist(SBR body, int kind) {
  const auto valid = sbr::kind_of(kind);
  if (!valid || !sbr::require_body(body)) return 0;
  return body->layout.content[sbr::content_byte(sbr::kKindFacts[*valid].block)];
}

int SBR_SetTransformation(SBR body, const double *matrix) {
  return body != nullptr && matrix != nullptr && sbr::multiply_transformation(*body, matrix) ? 1 : 0;
}

int SBR_Transformation(SBR body, double *matrix) {
  if (body == nullptr || matrix == nullptr || !body->access.transformation) return 0;
  const auto n = static_cast<std::size_t>(std::max(sbr::mode_count(*body), 0));
  const std::size_t held = std::min(n * n, body->access.transformation.size());
  std::memcpy(matrix, body->access.transformation.data(), held * sizeof(double));
  std::fill(matrix + held, matrix + n * n, 0.0);
  return 1;
}

}  // extern "C"
