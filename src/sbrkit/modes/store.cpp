// Mode storage: temporary files reserved as a whole, and the bounded memory cache.
#include "modes/store.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "base/reports.h"
#include "base/temporary_file.h"
#include "body/node_table.h"

namespace sbr {
namespace {

// What differs between the kinds when their temporary file is made.
struct KindTexts {
  const char *variable;
  const char *unable;
  const char *information;
  const char *disk_full;
};

constexpr PerKind<KindTexts> kTexts{{{"KTX_TMP_MOD",
                                      "Unable to open temporary mode shape file %s.\n"
                                      "To write elsewhere, specify directory name in environment variable %s,\n"
                                      "or specify path name (file name) in environment variable KTX_TMP_MOD.",
                                      "Temp modeshape file: %s",
                                      "Insufficient disk space for temporary mode shape file  %s.\n"
                                      "To write elsewhere, specify directory name in environment variable %s,\n"
                                      "or specify path name (file name) in environment variable KTX_TMP_MOD."},
                                     {"KTX_TMP_STR",
                                      "Unable to open temporary modal stress file %s.\n"
                                      "To write elsewhere, specify directory name in environment variable %s,\n"
                                      "or specify path name (file name) in environment variable KTX_TMP_STR.",
                                      "Temp modal stress file: %s",
                                      "Insufficient disk space for temporary modal stress file %s.\n"
                                      "To write elsewhere, specify directory name in environment variable %s,\n"
                                      "or specify path name (file name) in environment variable KTX_TMP_STR."},
                                     {"KTX_TMP_STN",
                                      "Unable to open temporary modal strain file %s.\n"
                                      "To write elsewhere, specify directory name in environment variable %s,\n"
                                      "or specify path name (file name) in environment variable KTX_TMP_STN.",
                                      "Temp modal strain file: %s",
                                      "Insufficient disk space for temporary modal strain file %s.\n"
                                      "To write elsewhere, specify directory name in environment variable %s,\n"
                                      "or specify path name (file name) in environment variable KTX_TMP_STN."}}};

// Writes mode_capacity records of zeros and notes where each starts. The flush at the end makes a full disk show here.
bool reserve_records(SbrBody &body, Kind kind, const Array<double> &zeros) noexcept {
  StreamChannel &channel = body.modes[kind];
  for (std::int64_t &offset : body.store.offsets[kind]) {
    offset = tell_stream(channel.stream);
    if (offset < 0 || !write_reals(channel, zeros.data(), static_cast<std::int64_t>(zeros.size()))) return false;
  }
  return std::fflush(channel.stream) == 0;
}

}  // namespace

int open_temporary_mode_file(SbrBody &body, Kind kind) noexcept {
  StreamChannel &channel = body.modes[kind];
  if (channel.stream != nullptr) return 1;
  const KindTexts &texts = kTexts[kind];
  const char *given = std::getenv(texts.variable);
  const bool named = given != nullptr ? set_path(channel, given) : temporary_name(channel.path);
  if (!named) return report_no_memory(unit_name::kData);
  channel.stream = given != nullptr ? std::fopen(channel.path.data(), "wb+") : create_exclusive(channel.path.data());
  if (channel.stream == nullptr) {
    report_error(texts.unable, channel.path.data(), "TMP");
    return 0;
  }
  report_info(texts.information, channel.path.data());
  channel.xdr_encoded = 0;
  channel.xdr = nullptr;
  channel.double_precision = body.record.double_precision;
  channel.is_temporary = 1;
  if (!body.store.offsets[kind].allocate(body.mode_table.mode_capacity)) return report_no_memory(unit_name::kData);
  Array<double> zeros;
  if (!zeros.allocate(6 * static_cast<std::int64_t>(body.nodes.node_capacity)))
    return report_no_memory(unit_name::kData);
  if (!reserve_records(body, kind, zeros)) {
    report_error(texts.disk_full, channel.path.data(), "TMP");
    return 0;
  }
  return 1;
}

const double *cached_part(const SbrBody &body, int mode_index, Kind kind, int part) noexcept {
  if (part < 0 || part > 1 || mode_index < 0) return nullptr;
  const auto &slots = body.store.memory[kind][part];
  if (static_cast<std::size_t>(mode_index) >= slots.size()) return nullptr;
  const Array<double> *slot = slots[mode_index];
  // A list that has grown since the part was cached no longer matches it.
  if (slot == nullptr || slot->size() < 3 * static_cast<std::size_t>(body.nodes.kinds[kind].count)) return nullptr;
  return slot->data();
}

void size_mode_memory(SbrBody &body) noexcept {
  std::int64_t budget = 209715200;
  if (const char *text = std::getenv("SBR_MAX_MODE_MEMORY"); text != nullptr && std::strlen(text) < 100)
    if (const int megabytes = std::atoi(text); megabytes > 0) budget = static_cast<std::int64_t>(megabytes) << 20U;
  std::int64_t largest = 0;
  for (const KindNodes &list : body.nodes.kinds) largest = std::max<std::int64_t>(largest, list.count);
  if (largest < 1) return;
  const std::int64_t slots = budget / largest / 3 / 8;
  const std::int64_t parts = 6 * static_cast<std::int64_t>(mode_count(body));
  body.store.memory_limit = static_cast<int>(std::min(parts, slots));
}

bool mode_to_memory(SbrBody &body, int mode_index, Kind kind, const double *data, int part) noexcept {
  ModeStore &store = body.store;
  if (store.memory_limit == 0) size_mode_memory(body);
  if (store.memory_used >= store.memory_limit) return false;
  auto &slots = store.memory[kind][part];
  if (slots.count() < mode_count(body) && !slots.resize(mode_count(body))) return report_no_memory(unit_name::kData);
  Array<double> copy;
  if (!copy.allocate(3 * static_cast<std::int64_t>(kind_count(body, kind)))) return report_no_memory(unit_name::kData);
  std::memcpy(copy.data(), data, copy.size() * sizeof(double));
  if (mode_index < 0 || mode_index >= slots.count()) return false;
  const bool filled = slots[mode_index] != nullptr;
  Array<double> *slot = slots.create(static_cast<std::size_t>(mode_index));
  if (slot == nullptr) {
    if (filled) store.memory_used -= 1;
    return report_no_memory(unit_name::kData);
  }
  *slot = std::move(copy);
  if (!filled) store.memory_used += 1;
  return true;
}

void clean_mode_memory(SbrBody &body) noexcept {
  body.store.memory_limit = 0;
  body.store.memory_used = 0;
  for (auto &kind : body.store.memory)
    for (auto &slots : kind) slots.release();
}

void keep_modes_in_memory(SbrBody &body, int flag) noexcept {
  if (body.store.keep_in_memory != 0 && flag == 0) clean_mode_memory(body);
  body.store.keep_in_memory = flag;
}

}  // namespace sbr

extern "C" {

int SBR_Double_Prec(SBR body) { return body != nullptr ? body->modes[sbr::Kind::shape].double_precision : 0; }

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
  const auto which = sbr::kind_of(kind);
  if (body == nullptr || data == nullptr || !which || part < 0 || part > 1) return 0;
  return sbr::mode_to_memory(*body, sbr::mode_index(*body, number), *which, data, part) ? 1 : 0;
}

void SBR_CleanModesInMemory(SBR body) {
  if (body != nullptr) sbr::clean_mode_memory(*body);
}

}  // extern "C"
