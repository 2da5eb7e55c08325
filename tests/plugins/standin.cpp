#include "standin.h"

#include <algorithm>
#include <cstring>
#include <sstream>

#include "sbrkit/qsrv_entries.h"

namespace {

StandinState &state() {
  static StandinState instance;
  return instance;
}

std::string shown(const char *text) { return text != nullptr ? text : "null"; }
template <class Number>
std::string shown(Number number) {
  return std::to_string(number);
}

template <class... Arguments>
void note(const char *entry, const Arguments &...arguments) {
  std::string call = std::string(entry) + "(";
  [[maybe_unused]] const char *separator = "";
  ((call += separator + shown(arguments), separator = ","), ...);
  state().calls.push_back(call + ")");
}

int status_of(const std::string &entry) {
  const auto place = state().statuses.find(entry);
  return place == state().statuses.end() ? 0 : place->second;
}

std::string words_text(const std::int64_t *words, int count) {
  std::ostringstream text;
  for (int i = 0; words != nullptr && i < count; ++i) text << (i == 0 ? "" : " ") << words[i];
  return words == nullptr ? "null" : text.str();
}

}  // namespace

extern "C" {

StandinState *standin_state() { return &state(); }

void QS_GetSysBuf(int *maximum, int *second, int zero) {
  note("QS_GetSysBuf", zero);
  *maximum = state().record_limit;
  *second = 0;
}

void QS_GetDbName(const char *kind, char *name, int *length, int *status) {
  note("QS_GetDbName", kind);
  const std::string &text = state().names[kind];
  *status = text.size() < static_cast<std::size_t>(*length) ? status_of("QS_GetDbName") : 1;
  if (*status != 0) return;
  std::memcpy(name, text.c_str(), text.size());  // without an end: the length tells
  *length = static_cast<int>(text.size());
}

void QS_DbaseCls(int *status) {
  note("QS_DbaseCls");
  *status = status_of("QS_DbaseCls");
}

void QS_DbaseBst(const char *message_file, const char *directory, int *status) {
  note("QS_DbaseBst", message_file, directory);
  *status = status_of("QS_DbaseBst");
}

void QS_DbaseOld(const char *base, const char *options, int *status) {
  note("QS_DbaseOld", base, options);
  *status = status_of("QS_DbaseOld");
}

void QS_DbaseNew(const char *base, const char *command, int *status) {
  note("QS_DbaseNew", base, command);
  *status = status_of("QS_DbaseNew");
}

void QS_DbaseNdl(const char *directory, int *status) {
  note("QS_DbaseNdl", directory);
  *status = status_of("QS_DbaseNdl");
}

void QS_DbCommand(const char *command, int *status) {
  note("QS_DbCommand", command);
  *status = status_of("QS_DbCommand");
}

void QS_GetDbdict(const char *command, char *buffer, int size, int *needed, int *status) {
  note("QS_GetDbdict", command, size);
  const std::string &text = state().dictionary;
  *needed = static_cast<int>(text.size());
  const std::size_t shown_size = std::min(text.size(), static_cast<std::size_t>(size) - 1);
  std::memcpy(buffer, text.data(), shown_size);
  buffer[shown_size] = '\0';
  *status = status_of("QS_GetDbdict");
}

void QS_AllocDatablk(const char *command, int *unit, int *count, int *status) {
  note("QS_AllocDatablk", command);
  *unit = state().unit;
  *count = state().count;
  *status = status_of("QS_AllocDatablk");
}

void QS_CreateDatablk(const char *command, int *unit, int *count, int *status) {
  note("QS_CreateDatablk", command);
  *unit = state().unit;
  *count = state().count;
  *status = status_of("QS_CreateDatablk");
}

void Ruvo_Open(int unit, int zero, int mode) { note("Ruvo_Open", unit, zero, mode); }

void Ruvo_Close(int unit, int keep) { note("Ruvo_Close", unit, keep); }

void Ruvo_WriteTrailer(const int64_t *trailer7) { note("Ruvo_WriteTrailer", words_text(trailer7, 7).c_str()); }

void Ruvo_SkipRecord(int *status, int unit) {
  note("Ruvo_SkipRecord", unit);
  *status = status_of("Ruvo_SkipRecord");
}

void Ruvo_SavePos(int unit, int64_t *position2, int *first, int *second) {
  note("Ruvo_SavePos", unit);
  position2[0] = 11;
  position2[1] = 22;
  *first = *second = 0;
}

void Ruvo_SetPos(int unit, const int64_t *position2) { note("Ruvo_SetPos", unit, position2[0], position2[1]); }

void Ruvo_Read(int *status, int unit, int64_t *buffer, int words, int zero, int *value) {
  note("Ruvo_Read", unit, words, zero);
  std::vector<int64_t> &source = state().words;
  const auto count = static_cast<std::size_t>(words);
  for (std::size_t i = 0; i < count; ++i) buffer[i] = i < source.size() ? source[i] : 0;
  source.erase(source.begin(), source.begin() + static_cast<std::ptrdiff_t>(std::min(count, source.size())));
  *value = words;
  *status = status_of("Ruvo_Read");
}

void Ruvo_Write(int unit, const int64_t *buffer, int words, int end_of_record) {
  note("Ruvo_Write", unit, words_text(buffer, words).c_str(), words, end_of_record);
}

}  // extern "C"
