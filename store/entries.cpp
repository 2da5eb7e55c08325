// The entry points of the store. Each turns what the store throws into a status; an entry without a status that fails
// while something is written spoils the run, which the close then reports.
#include <unistd.h>

#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <utility>

#include "database.h"
#include "masterfile.h"
#include "sbrkit/qsrv_entries.h"

namespace qsrv {
namespace {

bool booted = false;

std::unique_ptr<Database> &database() {
  static std::unique_ptr<Database> open;
  return open;
}

// A list that did not fit: the caller asks again at once, with room for it.
struct Remembered {
  std::string command;
  std::string list;
};
Remembered remembered;

Database &open_database() {
  if (!booted) throw Failure{Status::not_booted};
  if (!database()) throw Failure{Status::no_database};
  return *database();
}

// The same for what may change the lists.
Database &changing_database() {
  remembered = {};
  return open_database();
}

const char *given(const char *text) {
  if (text == nullptr) throw Failure{Status::bad_argument};
  return text;
}

// Runs a step; what it throws becomes a status.
template <class Step>
int status_of(Step step) noexcept {
  try {
    step();
    return static_cast<int>(Status::ok);
  } catch (const Failure &failure) {
    return static_cast<int>(failure.status);
  } catch (const std::bad_alloc &) {
    return static_cast<int>(Status::no_memory);
  } catch (...) {
    return static_cast<int>(Status::bad_argument);
  }
}

template <class Step>
void set_status(int *status, Step step) noexcept {
  const int result = status_of(step);
  if (status != nullptr) *status = result;
}

// Runs a step of writing. Failing, it leaves a run that must not last.
template <class Step>
void write_step(Step step) noexcept {
  if (status_of(step) != 0 && database()) database()->spoil();
}

std::string list_of(const std::string &command) {
  Database &open = open_database();
  Remembered last = std::exchange(remembered, {});
  return last.command == command ? std::move(last.list) : open.list(parse_command(command));
}

// A base name for a scratch database that no files in the current directory have.
std::string scratch_base() {
  for (int number = 1;; ++number) {
    std::string base = "sbr_" + std::to_string(::getpid()) + "_" + std::to_string(number);
    if (!file_exists(base + ".MASTER") && !file_exists(base + ".DBSBR")) return base;
  }
}

std::string file_name(const std::string &kind) {
  if (kind == "DBS") return scratch_base() + "_DBS";
  // The store prints nothing: this is a name beside the database that no file has.
  if (kind == "F06") return open_database().base() + "_" + std::to_string(::getpid()) + ".f06";
  throw Failure{Status::bad_argument};
}

}  // namespace
}  // namespace qsrv

using qsrv::Database;
using qsrv::Failure;
using qsrv::Status;

#define QSRV_ENTRY extern "C" __attribute__((visibility("default"))) void

// ---- hooks ---------------------------------------------------------------------------------------------------------

// Called before the store is unloaded: an open database is left as it was when it was opened.
QSRV_ENTRY Qsrv_22_2_terminate() {
  qsrv::remembered = {};
  qsrv::database().reset();
  qsrv::booted = false;
}

// ---- the system and the database -----------------------------------------------------------------------------------

QSRV_ENTRY QS_GetSysBuf(int *maximum, int *second, int) {
  if (maximum != nullptr) *maximum = qsrv::kLargestRecordLength;
  if (second != nullptr) *second = static_cast<int>(sizeof(int64_t));
}

QSRV_ENTRY QS_GetDbName(const char *kind, char *name, int *length, int *status) {
  qsrv::set_status(status, [&] {
    if (name == nullptr || length == nullptr) throw Failure{Status::bad_argument};
    const std::string text = qsrv::file_name(qsrv::given(kind));
    if (*length < 0 || text.size() >= static_cast<std::size_t>(*length)) throw Failure{Status::no_room};
    std::memcpy(name, text.c_str(), text.size() + 1);
    *length = static_cast<int>(text.size());
  });
}

QSRV_ENTRY QS_DbaseCls(int *status) {
  qsrv::set_status(status, [] {
    qsrv::changing_database();
    const std::unique_ptr<Database> closing = std::move(qsrv::database());
    closing->close();
  });
}

QSRV_ENTRY QS_DbaseBst(const char *, const char *, int *status) {
  qsrv::set_status(status, [] {
    qsrv::remembered = {};
    qsrv::database().reset();
    qsrv::booted = true;
  });
}

QSRV_ENTRY QS_DbaseOld(const char *base, const char *, int *status) {
  qsrv::set_status(status, [&] {
    if (!qsrv::booted) throw Failure{Status::not_booted};
    qsrv::remembered = {};
    qsrv::database().reset();
    qsrv::database() = Database::open(qsrv::given(base));
  });
}

QSRV_ENTRY QS_DbaseNew(const char *base, const char *command, int *status) {
  qsrv::set_status(status, [&] {
    if (!qsrv::booted) throw Failure{Status::not_booted};
    qsrv::remembered = {};
    qsrv::database().reset();
    qsrv::database() = Database::create(qsrv::given(base), qsrv::given(command));
  });
}

QSRV_ENTRY QS_DbaseNdl(const char *, int *status) {
  qsrv::set_status(status, [] { qsrv::open_database(); });
}

QSRV_ENTRY QS_DbCommand(const char *command, int *status) {
  qsrv::set_status(status, [&] { qsrv::changing_database().run(qsrv::parse_command(qsrv::given(command))); });
}

QSRV_ENTRY QS_GetDbdict(const char *command, char *buffer, int size, int *needed, int *status) {
  if (needed != nullptr) *needed = 0;
  qsrv::set_status(status, [&] {
    const std::string list = qsrv::list_of(qsrv::given(command));
    if (list.size() > INT32_MAX) throw Failure{Status::no_room};
    if (needed != nullptr) *needed = static_cast<int>(list.size());
    const std::size_t room = buffer == nullptr || size < 1 ? 0 : static_cast<std::size_t>(size);
    if (room <= list.size()) qsrv::remembered = {command, list};
    if (room == 0) return;
    const std::size_t shown = std::min(list.size(), room - 1);
    std::memcpy(buffer, list.data(), shown);
    buffer[shown] = '\0';
  });
}

// ---- data blocks ---------------------------------------------------------------------------------------------------

QSRV_ENTRY QS_AllocDatablk(const char *command, int *unit, int *count, int *status) {
  int first = 0;
  int found = 0;
  qsrv::set_status(status,
                   [&] { found = qsrv::changing_database().attach(qsrv::parse_command(qsrv::given(command)), first); });
  if (unit != nullptr) *unit = first;
  if (count != nullptr) *count = found;
}

QSRV_ENTRY QS_CreateDatablk(const char *command, int *unit, int *count, int *status) {
  int created = 0;
  qsrv::set_status(status, [&] { created = qsrv::changing_database().create_block(qsrv::given(command)); });
  if (unit != nullptr) *unit = created;
  if (count != nullptr) *count = created != 0 ? 1 : 0;
}

QSRV_ENTRY Ruvo_Open(int unit, int, int mode) {
  constexpr int kRead = 0;
  constexpr int kWrite = 1;
  constexpr int kRewind = 10;
  if (mode == kWrite)
    qsrv::write_step([&] { qsrv::open_database().unit(unit).open_to_write(); });
  else if (mode == kRead || mode == kRewind)
    qsrv::status_of([&] { qsrv::open_database().unit(unit).open_to_read(); });
}

QSRV_ENTRY Ruvo_Close(int unit, int keep) {
  qsrv::write_step([&] { qsrv::changing_database().close_unit(unit, keep != 0); });
}

QSRV_ENTRY Ruvo_WriteTrailer(const int64_t *trailer7) {
  qsrv::write_step([&] {
    if (trailer7 == nullptr) throw Failure{Status::bad_argument};
    qsrv::open_database().unit(trailer7[0]).set_trailer(std::span<const int64_t, 7>(trailer7, 7));
  });
}

// ---- records -------------------------------------------------------------------------------------------------------

QSRV_ENTRY Ruvo_SkipRecord(int *status, int unit) {
  qsrv::set_status(status, [&] { qsrv::open_database().unit(unit).skip_record(); });
}

QSRV_ENTRY Ruvo_SavePos(int unit, int64_t *position2, int *first, int *second) {
  if (first != nullptr) *first = 0;
  if (second != nullptr) *second = 0;
  if (position2 == nullptr) return;
  position2[0] = position2[1] = 0;
  qsrv::status_of([&] {
    const qsrv::Position position = qsrv::open_database().unit(unit).position();
    position2[0] = position[0];
    position2[1] = position[1];
  });
}

QSRV_ENTRY Ruvo_SetPos(int unit, const int64_t *position2) {
  if (position2 == nullptr) return;
  qsrv::status_of([&] { qsrv::open_database().unit(unit).set_position({position2[0], position2[1]}); });
}

QSRV_ENTRY Ruvo_Read(int *status, int unit, int64_t *buffer, int words, int, int *value) {
  int64_t count = 0;
  qsrv::set_status(status, [&] {
    if (words < 0 || (buffer == nullptr && words > 0)) throw Failure{Status::bad_argument};
    const Status result =
        qsrv::open_database().unit(unit).read(std::span<int64_t>(buffer, static_cast<std::size_t>(words)), count);
    if (result != Status::ok) throw Failure{result};
  });
  if (value != nullptr) *value = static_cast<int>(count);
}

QSRV_ENTRY Ruvo_Write(int unit, const int64_t *buffer, int words, int end_of_record) {
  qsrv::write_step([&] {
    qsrv::Unit &target = qsrv::open_database().unit(unit);
    if (words < 0 || (buffer == nullptr && words > 0)) throw Failure{Status::bad_argument};
    target.write(std::span<const int64_t>(buffer, static_cast<std::size_t>(words)));
    if (end_of_record != 0) target.end_record();
  });
}

// The entries have the types under which hosts call them.
#define QSRV_CHECK(name) static_assert(std::is_same_v<decltype(name), name##_entry>)
QSRV_CHECK(QS_GetSysBuf);
QSRV_CHECK(QS_GetDbName);
QSRV_CHECK(QS_DbaseCls);
QSRV_CHECK(QS_DbaseBst);
QSRV_CHECK(QS_DbaseOld);
QSRV_CHECK(QS_DbaseNew);
QSRV_CHECK(QS_DbaseNdl);
QSRV_CHECK(QS_DbCommand);
QSRV_CHECK(QS_GetDbdict);
QSRV_CHECK(QS_AllocDatablk);
QSRV_CHECK(QS_CreateDatablk);
QSRV_CHECK(Ruvo_Open);
QSRV_CHECK(Ruvo_Close);
QSRV_CHECK(Ruvo_WriteTrailer);
QSRV_CHECK(Ruvo_SkipRecord);
QSRV_CHECK(Ruvo_SavePos);
QSRV_CHECK(Ruvo_SetPos);
QSRV_CHECK(Ruvo_Read);
QSRV_CHECK(Ruvo_Write);
