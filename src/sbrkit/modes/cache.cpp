#include "modes/cache.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "base/reports.h"
#include "modes/store.h"

namespace sbr {
namespace {

constexpr std::int64_t kUsualBudget = 209715200;  // 200 MiB
constexpr std::int64_t kNodeBytes = 24;           // of one part
constexpr std::int64_t kPartsOfAMode = 6;         // three kinds, two parts

bool valid_part(int part) noexcept { return part == 0 || part == 1; }

}  // namespace

const double *cached_part(const SbrBody &body, int mode, Kind kind, int part) noexcept {
  if (!valid_part(part) || mode < 0) return nullptr;
  const Array<std::int32_t> &slots = body.store.slots[kind][part];
  if (mode >= slots.count() || slots[mode] == 0) return nullptr;
  const Array<double> &values = *body.store.parts[slots[mode] - 1];
  // A list that has grown since the part was cached no longer matches it.
  return values.size() < 3 * static_cast<std::size_t>(kind_count(body, kind)) ? nullptr : values.data();
}

const double *kept_part(const SbrBody &body, int mode, Kind kind, int part) noexcept {
  return cache_is_on(body) ? cached_part(body, mode, kind, part) : nullptr;
}

bool cache_has_room(SbrBody &body) noexcept {
  ModeStore &store = body.store;
  if (store.memory_limit == 0) size_mode_memory(body);
  return store.memory_used < store.memory_limit;
}

bool mode_to_memory(SbrBody &body, int mode, Kind kind, const double *values, int part) noexcept {
  ModeStore &store = body.store;
  if (!valid_part(part) || !cache_has_room(body)) return false;
  const std::int64_t length = std::int64_t{3} * kind_count(body, kind);
  if (length > 0 && (mode < 0 || mode >= known_mode_count(body))) return false;
  Array<double> copy;
  if (!copy.allocate(length)) return report_no_memory(unit_name::kData);
  Array<std::int32_t> &slots = store.slots[kind][part];
  if (slots.count() <= mode && !slots.resize(known_mode_count(body))) return report_no_memory(unit_name::kData);
  std::memcpy(copy.data(), values, copy.size() * sizeof(double));
  Array<double> *stored = store.parts.add();
  if (stored == nullptr) return report_no_memory(unit_name::kData);
  *stored = std::move(copy);
  slots[mode] = store.parts.count();
  store.memory_used += 1;
  return true;
}

void void_cached_parts(SbrBody &body, Kind kind) noexcept {
  for (Array<std::int32_t> &slots : body.store.slots[kind]) slots.release();
}

void clean_mode_memory(SbrBody &body) noexcept {
  ModeStore &store = body.store;
  store.memory_limit = 0;
  store.memory_used = 0;
  for (const Kind kind : kKinds) void_cached_parts(body, kind);
  store.parts.release();
}

void size_mode_memory(SbrBody &body) noexcept {
  std::int64_t budget = kUsualBudget;
  if (const char *text = std::getenv("SBR_MAX_MODE_MEMORY"); text != nullptr && std::strlen(text) < 100)
    if (const int megabytes = std::atoi(text); megabytes > 0) budget = static_cast<std::int64_t>(megabytes) << 20U;
  std::int64_t largest = 0;
  for (const Kind kind : kKinds) largest = std::max<std::int64_t>(largest, kind_count(body, kind));
  if (largest < 1) return;
  const std::int64_t parts = kPartsOfAMode * mode_count(body);
  body.store.memory_limit =
      static_cast<int>(std::min({parts, budget / largest / kNodeBytes, std::int64_t{std::numeric_limits<int>::max()}}));
}

void keep_modes_in_memory(SbrBody &body, int keep) noexcept {
  if (cache_is_on(body) && keep == 0) clean_mode_memory(body);
  body.store.keep_in_memory = keep;
}

}  // namespace sbr

extern "C" {

void SBR_SetKeepModesInMemory(SBR body, int flag) {
  if (body != nullptr) sbr::keep_modes_in_memory(*body, flag);
}

void SBR_GetKeepModesInMemory(SBR body, int *flag) {
  if (body != nullptr && flag != nullptr) *flag = body->store.keep_in_memory;
}

void SBR_InitializeModeMemory(SBR body) {
  if (body != nullptr) sbr::size_mode_memory(*body);
}

int SBR_ModetoMemory(SBR body, int number, int kind, const double *data, int part) {
  const auto valid = sbr::kind_of(kind);
  if (body == nullptr || data == nullptr || !valid) return 0;
  return sbr::mode_to_memory(*body, sbr::mode_index(*body, number), *valid, data, part) ? 1 : 0;
}

void SBR_CleanModesInMemory(SBR body) {
  if (body != nullptr) sbr::clean_mode_memory(*body);
}

}  // extern "C"
