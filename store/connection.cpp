#include "connection.h"

#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "signals.h"
#include "status.h"

namespace qsrv {
namespace {

constexpr int kDefaultWait = 60;  // seconds
constexpr int kMostWait = 3600;
constexpr int kStepsPerCall = 1000;
constexpr int kLongestValue = 1 << 28;  // bytes

// How long a writer waits for another one.
std::chrono::seconds longest_wait() {
  const char *given = std::getenv("QSRV_WAIT");
  if (given == nullptr) return std::chrono::seconds(kDefaultWait);
  int seconds = kDefaultWait;
  const auto [end, error] = std::from_chars(given, given + std::strlen(given), seconds);
  if (error != std::errc() || *end != '\0') seconds = kDefaultWait;
  return std::chrono::seconds(std::clamp(seconds, 0, kMostWait));
}

// A path in the form in which options can follow it.
std::string as_uri(const std::string &path, const char *options) {
  constexpr const char *kDigits = "0123456789ABCDEF";
  std::string uri = path.starts_with('/') ? "file://" : "file:./";
  for (const char c : path) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '%' || c == '?' || c == '#')
      uri += {'%', kDigits[byte >> 4U], kDigits[byte & 15U]};
    else
      uri += c;
  }
  return uri + options;
}

std::int64_t size_of(const std::string &path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 ? static_cast<std::int64_t>(status.st_size) : 0;
}

}  // namespace

void fail(int code) {
  switch (code & 0xff) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
    case SQLITE_PROTOCOL:
      throw Failure{Status::busy};
    case SQLITE_NOTADB:
    case SQLITE_CORRUPT:
    case SQLITE_ERROR:       // a table or column that is not there
    case SQLITE_CONSTRAINT:  // contents that contradict each other
    case SQLITE_MISMATCH:
    case SQLITE_INTERRUPT:  // more steps than the file can need
      throw Failure{Status::not_a_store};
    case SQLITE_NOMEM:
      throw Failure{Status::no_memory};
    case SQLITE_FULL:
    case SQLITE_IOERR:
    case SQLITE_TOOBIG:
      throw Failure{Status::not_written};
    default:
      throw Failure{Status::not_opened};
  }
}

bool lacks_shared_memory(int code) {
  switch (code) {
    case SQLITE_IOERR_SHMOPEN:
    case SQLITE_IOERR_SHMSIZE:
    case SQLITE_IOERR_SHMMAP:
    case SQLITE_IOERR_SHMLOCK:
    case SQLITE_READONLY_CANTINIT:
    case SQLITE_READONLY_RECOVERY:
    case SQLITE_READONLY_DIRECTORY:
      return true;
    default:
      return (code & 0xff) == SQLITE_CANTOPEN;
  }
}

// ---- connection ----------------------------------------------------------------------------------------------------

void Connection::Close::operator()(sqlite3 *connection) const noexcept { sqlite3_close_v2(connection); }

Connection::Connection(const std::string &path, Mode mode) : path_(path) {
  int flags = SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE;
  // A plain path that starts with "file:" must not be taken for more than a path.
  std::string name = path.starts_with('/') ? path : "./" + path;
  if (mode == Mode::untouched) {
    name = as_uri(path, "?immutable=1");
    flags |= SQLITE_OPEN_READONLY | SQLITE_OPEN_URI;
  } else {
    flags |= SQLITE_OPEN_READWRITE;
  }
  sqlite3 *connection = nullptr;
  const int code = sqlite3_open_v2(name.c_str(), &connection, flags, nullptr);
  connection_.reset(connection);
  if (code != SQLITE_OK) fail(code);
  sqlite3_busy_handler(connection, wait, this);
  sqlite3_progress_handler(connection, kStepsPerCall, spend, this);
  sqlite3_limit(connection, SQLITE_LIMIT_LENGTH, kLongestValue);
  sqlite3_db_config(connection, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
  sqlite3_db_config(connection, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
  sqlite3_db_config(connection, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
  start_budget();
  run("PRAGMA cell_size_check = ON; PRAGMA foreign_keys = ON");
}

Connection::~Connection() = default;

void Connection::start_budget() {
  constexpr std::int64_t kLeast = 5000;
  constexpr std::int64_t kBytesPerCall = 16;
  budget_ = kLeast + (size_of(path_) + size_of(path_ + "-wal")) / kBytesPerCall;
}

int Connection::spend(void *connection) { return --static_cast<Connection *>(connection)->budget_ < 0 ? 1 : 0; }

// Another process holds a lock: tries again for as long as writers wait, but not when the process is to end.
int Connection::wait(void *connection, int count) {
  auto &self = *static_cast<Connection *>(connection);
  const auto now = std::chrono::steady_clock::now();
  if (count == 0) self.deadline_ = now + longest_wait();
  if (!self.waits_ || now >= self.deadline_ || SignalPause::interrupted()) return 0;
  ::usleep(count < 10 ? 1000 : 10000);
  return 1;
}

void Connection::run(const char *sql) {
  start_budget();
  const int code = sqlite3_exec(connection_.get(), sql, nullptr, nullptr, nullptr);
  if (code != SQLITE_OK) fail(code);
}

std::int64_t Connection::number(const char *sql) {
  Statement statement(*this, sql);
  return statement.step() ? statement.integer(0) : 0;
}

std::string Connection::text(const char *sql) {
  Statement statement(*this, sql);
  return statement.step() ? statement.text(0) : std::string();
}

// The file is read through SQLite's own descriptor: closing another one would end the locks of this process.
std::int64_t Connection::application_in_header() {
  constexpr std::string_view kMagic("SQLite format 3\0", 16);
  constexpr std::size_t kPlace = 68;
  sqlite3_file *file = nullptr;
  sqlite3_file_control(connection_.get(), "main", SQLITE_FCNTL_FILE_POINTER, &file);
  unsigned char header[100] = {};
  if (file == nullptr || file->pMethods == nullptr ||
      file->pMethods->xRead(file, header, sizeof header, 0) != SQLITE_OK ||
      std::memcmp(header, kMagic.data(), kMagic.size()) != 0)
    return 0;
  std::int64_t application = 0;
  for (std::size_t i = kPlace; i < kPlace + 4; ++i) application = application * 256 + header[i];
  return application;
}

int Connection::first_access(bool writes) noexcept {
  const auto code_of = [this](const char *sql) {
    const int code = sqlite3_exec(connection_.get(), sql, nullptr, nullptr, nullptr);
    // A process that is out of descriptors says nothing about the file system.
    const int reason = sqlite3_system_errno(connection_.get());
    return code != SQLITE_OK && (reason == EMFILE || reason == ENFILE) ? SQLITE_PERM : code;
  };
  int code = code_of("SELECT 1 FROM sqlite_schema LIMIT 1");
  if (code != SQLITE_OK || !writes || is_read_only()) return code;
  const bool waits = std::exchange(waits_, false);
  code = code_of("BEGIN IMMEDIATE");
  roll_back();
  waits_ = waits;
  // The file itself can be written, so that this is about the memory that processes share.
  if ((code & 0xff) == SQLITE_READONLY) return SQLITE_READONLY_CANTINIT;
  return (code & 0xff) == SQLITE_BUSY ? SQLITE_OK : code;
}

bool Connection::is_read_only() const { return sqlite3_db_readonly(connection_.get(), "main") == 1; }

bool Connection::has_moved() const {
  int moved = 0;
  return sqlite3_file_control(connection_.get(), "main", SQLITE_FCNTL_HAS_MOVED, &moved) == SQLITE_OK && moved != 0;
}

std::int64_t Connection::last_row() const { return sqlite3_last_insert_rowid(connection_.get()); }

void Connection::roll_back() noexcept {
  if (sqlite3_get_autocommit(connection_.get()) == 0)
    sqlite3_exec(connection_.get(), "ROLLBACK", nullptr, nullptr, nullptr);
}

// ---- statement -----------------------------------------------------------------------------------------------------

void Statement::Finalize::operator()(sqlite3_stmt *statement) const noexcept { sqlite3_finalize(statement); }

Statement::Statement(Connection &connection, const std::string &sql) : connection_(connection) {
  connection.start_budget();
  sqlite3_stmt *statement = nullptr;
  const int code = sqlite3_prepare_v2(connection.connection_.get(), sql.c_str(), -1, &statement, nullptr);
  statement_.reset(statement);
  if (code != SQLITE_OK) fail(code);
}

Statement &Statement::bind(int place, std::int64_t value) {
  return checked(sqlite3_bind_int64(statement_.get(), place, value));
}

Statement &Statement::bind(int place, std::string_view text) {
  const char *characters = text.empty() ? "" : text.data();  // null would be no text at all
  return checked(sqlite3_bind_text64(statement_.get(), place, characters, text.size(), SQLITE_TRANSIENT, SQLITE_UTF8));
}

Statement &Statement::bind(int place, std::span<const std::int64_t> words) {
  return checked(sqlite3_bind_blob64(statement_.get(), place, words.data(), words.size_bytes(), SQLITE_STATIC));
}

bool Statement::step() {
  const int code = sqlite3_step(statement_.get());
  if (code != SQLITE_ROW && code != SQLITE_DONE) fail(code);
  return code == SQLITE_ROW;
}

void Statement::reset() {
  sqlite3_reset(statement_.get());
  connection_.start_budget();
}

void Statement::require_type(int column, int type) const {
  if (sqlite3_column_type(statement_.get(), column) != type) throw Failure{Status::not_a_store};
}

bool Statement::is_null(int column) const { return sqlite3_column_type(statement_.get(), column) == SQLITE_NULL; }

std::int64_t Statement::integer(int column) {
  require_type(column, SQLITE_INTEGER);
  return sqlite3_column_int64(statement_.get(), column);
}

std::string Statement::text(int column) {
  require_type(column, SQLITE_TEXT);
  const auto *characters = reinterpret_cast<const char *>(sqlite3_column_text(statement_.get(), column));
  if (characters == nullptr) throw Failure{Status::no_memory};
  return {characters, static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column))};
}

std::vector<std::int64_t> Statement::words(int column) {
  require_type(column, SQLITE_BLOB);
  const void *bytes = sqlite3_column_blob(statement_.get(), column);
  const auto length = static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column));
  if (length % sizeof(std::int64_t) != 0) throw Failure{Status::not_a_store};
  std::vector<std::int64_t> result(bytes != nullptr ? length / sizeof(std::int64_t) : 0);
  if (!result.empty()) std::memcpy(result.data(), bytes, result.size() * sizeof(std::int64_t));
  return result;
}

Statement &Statement::checked(int code) {
  if (code != SQLITE_OK) fail(code);
  return *this;
}

}  // namespace qsrv
