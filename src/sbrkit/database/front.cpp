// The database front, start and end: a private scratch database for reading, or a database to write a body to.
#include "database/front.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "base/reports.h"
#include "database/binding.h"
#include "database/check.h"
#include "database/text.h"
#include "sbrkit/sbrkit.h"

namespace sbr::db {
namespace {

constexpr std::string_view kMasterSuffix = ".MASTER";
constexpr int kNameSize = 8192;

// ---- state of the database run -------------------------------------------------------------------------------------

struct DatabaseRun {
  bool started = false;
  Text name;  // the scratch database's path without suffix; empty without a scratch database
  Text home;  // KTX_QSRVHOME_DIR as it was first found
  Text message_file;
  Text sss_dir;
};

// Lives as long as the process; what it holds is in use until then.
DatabaseRun &run() noexcept {
  static DatabaseRun state;
  return state;
}

// ---- steps ---------------------------------------------------------------------------------------------------------

// Takes the home directory from the environment and forms what depends on it.
bool prepare_environment() noexcept {
  DatabaseRun &state = run();
  if (state.home.empty()) {
    const char *home = std::getenv("KTX_QSRVHOME_DIR");
    if (home == nullptr) {
      report_error("Cannot get KTX_QSRVHOME_DIR.");
      return false;
    }
    if (!print(state.home, "%s", home)) return report_no_memory(unit_name::kDatabaseFront);
  }
  const char *home = text_of(state.home);
  Text assignments;
  if (!print(state.message_file, "%s/analysis.msg", home) || !print(state.sss_dir, "%s/SSS", home) ||
      !print(assignments, "%s/dbcomkey.asg", home) || setenv("QSBASGFILE", assignments.data(), 1) != 0)
    return report_no_memory(unit_name::kDatabaseFront);
  return true;
}

int boot() noexcept {
  int status = 0;
  entries().dbase_bst(text_of(run().message_file), "./", &status);
  return status;
}

int load_definitions() noexcept {
  int status = 0;
  entries().dbase_ndl(text_of(run().sss_dir), &status);
  return status;
}

// Room for a name that the database gives. It stands on the stack, so that a database can be closed without memory.
struct FileName {
  char text[kNameSize + 1] = {};
};

// The name that the database uses for a kind of file, empty when it gives none. The status.
int database_file_name(const char *kind, FileName &name) noexcept {
  int length = kNameSize;
  int status = 0;
  entries().get_db_name(kind, name.text, &length, &status);
  name.text[kNameSize] = '\0';
  if (length >= 0 && length < kNameSize) name.text[length] = '\0';
  if (status != 0) name.text[0] = '\0';
  return status;
}

// Cuts a path at its last "_", wherever that stands.
void cut_tail(Text &path) noexcept {
  if (const std::size_t bar = view_of(path).rfind('_'); bar != std::string_view::npos) path[bar] = '\0';
}

// The current directory with a "/" behind it.
bool current_directory(Text &out) noexcept {
  for (std::int64_t size = 1024; out.allocate(size); size *= 2) {
    if (getcwd(out.data(), out.size()) != nullptr) return append(out, "/");
    if (errno != ERANGE) break;
  }
  return false;
}

// Creates the scratch database under a name of its own in the current directory. The status of its creation.
int create_scratch_base() noexcept {
  Text &name = run().name;
  FileName tail;
  int status = database_file_name("DBS", tail);
  if (status != 0) return status;
  // With the suffix for a moment, so that end_base needs no memory to name the files.
  if (!current_directory(name) || !append(name, tail.text) || !append(name, kMasterSuffix)) {
    name.release();
    report_no_memory(unit_name::kDatabaseFront);
    return kEntryMissing;
  }
  name[view_of(name).size() - kMasterSuffix.size()] = '\0';
  cut_tail(name);
  entries().dbase_new(text_of(name), "init dbsbr", &status);
  if (status != 0) name.release();
  return status;
}

// Deletes the print file. A name that names no file is taken as one beside the scratch database.
void delete_print_file(const FileName &print_file) noexcept {
  const std::string_view full = print_file.text;
  if (full.empty() || unlink(print_file.text) == 0) return;
  const std::string_view base = full.substr(0, full.rfind('_'));
  const std::string_view name = view_of(run().name);
  const std::size_t place = base.empty() ? std::string_view::npos : name.rfind(base);
  if (place == std::string_view::npos) return;
  const std::string_view behind = name.substr(place + base.size());
  FileName rebuilt;
  const int length = std::snprintf(rebuilt.text, sizeof rebuilt.text, "%.*s%s%.*s", static_cast<int>(place),
                                   name.data(), full.data(), static_cast<int>(behind.size()), behind.data());
  if (length > 0 && length < kNameSize) unlink(rebuilt.text);
}

// Closes the database and deletes its print file. The status.
int close_files() noexcept {
  FileName print_file;
  static_cast<void>(database_file_name("F06", print_file));
  int status = 0;
  entries().dbase_cls(&status);
  delete_print_file(print_file);
  return status;
}

// Closes the open database. False, with a report, when it could not be closed.
bool close_database() noexcept {
  const int status = close_files();
  if (status != 0 && entries().dbase_cls.is_bound()) report_error("Cannot close the database, %d.", status);
  return status == 0;
}

// Opens the database for a body: the present one when its file passes the check, else a new one. The failure of the
// check, which has been reported, is a status of its own.
constexpr int kCheckFailed = -2;

int open_for_write(const char *path, const Text &base) noexcept {
  int status = 0;
  if (std::FILE *present = std::fopen(path, "rb"); present != nullptr) {
    std::fclose(present);
    if (judge_file(path) != FileCheck::usable) {
      // No database was opened by then: that none can be closed is no news.
      close_files();
      return kCheckFailed;
    }
    entries().dbase_old(text_of(base), "", &status);
  } else {
    entries().dbase_new(text_of(base), "dbsetdel dball", &status);
  }
  return status;
}

}  // namespace

bool start_base() noexcept {
  DatabaseRun &state = run();
  if (state.started) return true;
  if (!prepare_environment() || boot() != 0) return false;
  int status = 0;
  if (state.name.empty())
    status = create_scratch_base();
  else
    entries().dbase_old(text_of(state.name), "", &status);
  if (status != 0 || load_definitions() != 0) return false;
  state.started = true;
  return true;
}

bool end_base() noexcept {
  DatabaseRun &state = run();
  if (!state.started && state.name.empty()) return true;
  const bool closed = close_database();
  state.started = false;
  for (const char *suffix : {".MASTER", ".DBALL", ".DBSBR"}) {
    if (state.name.empty()) break;
    // create_scratch_base has left room for the suffix.
    const std::size_t end = view_of(state.name).size();
    std::strcpy(state.name.data() + end, suffix);
    unlink(text_of(state.name));
    state.name[end] = '\0';
  }
  state.name.release();
  return closed;
}

bool start_write(const char *path) noexcept {
  DatabaseRun &state = run();
  if (!load_library()) {
    report_error("Fail to load Qsrv library.");
    return false;
  }
  const std::string_view file = path != nullptr ? path : "";
  const std::size_t suffix = file.rfind(kMasterSuffix);
  if (suffix == std::string_view::npos) {
    report_error("The database file name %s does not contain %s.", path != nullptr ? path : "", kMasterSuffix.data());
    return false;
  }
  Text base;
  if (!append(base, file.substr(0, suffix))) return report_no_memory(unit_name::kDatabaseFront);
  if (!prepare_environment()) return false;

  int status = boot();
  if (status == 0) status = open_for_write(path, base);
  if (status == kCheckFailed) return false;
  if (status == 0) status = load_definitions();
  if (status != 0) {
    report_error("Cannot open the database, %d.", status);
    return false;
  }
  state.started = true;
  return true;
}

bool end_write() noexcept {
  DatabaseRun &state = run();
  bool closed = true;
  if (state.started) closed = close_database();
  state.started = false;
  unload_library();
  return closed;
}

}  // namespace sbr::db

extern "C" {

int DB_StartBase(void) { return sbr::db::start_base() ? 1 : 0; }
int DB_TermBase(void) { return sbr::db::end_base() ? 1 : 0; }
int DB_StartWrite(const char *path) { return sbr::db::start_write(path) ? 1 : 0; }
int DB_TermWrite(void) { return sbr::db::end_write() ? 1 : 0; }

}  // extern "C"
