// The data file: its tables and the statements on them.
#include "datafile.h"

#include <sqlite3.h>

#include <cstring>

#include "status.h"

namespace qsrv {

namespace {

constexpr int kApplication = 0x53425244;
constexpr int kLayout = 1;
constexpr int kWaitMilliseconds = 10000;

constexpr const char *kTables =
    "DROP TABLE IF EXISTS piece; DROP TABLE IF EXISTS record; DROP TABLE IF EXISTS qualifier;"
    "DROP TABLE IF EXISTS block;"
    "CREATE TABLE block(id INTEGER PRIMARY KEY AUTOINCREMENT, name TEXT NOT NULL, kept INTEGER NOT NULL DEFAULT 0,"
    "  trailer BLOB);"
    "CREATE TABLE qualifier(block INTEGER NOT NULL REFERENCES block(id) ON DELETE CASCADE, name TEXT NOT NULL,"
    "  value TEXT NOT NULL, PRIMARY KEY(block, name)) WITHOUT ROWID;"
    "CREATE TABLE record(block INTEGER NOT NULL REFERENCES block(id) ON DELETE CASCADE, number INTEGER NOT NULL,"
    "  first_word INTEGER NOT NULL, words INTEGER NOT NULL, PRIMARY KEY(block, number)) WITHOUT ROWID;"
    "CREATE TABLE piece(block INTEGER NOT NULL REFERENCES block(id) ON DELETE CASCADE, first_word INTEGER NOT NULL,"
    "  data BLOB NOT NULL, UNIQUE(block, first_word));"
    "PRAGMA application_id = 1396855364; PRAGMA user_version = 1;";
static_assert(kApplication == 1396855364 && kLayout == 1);

[[noreturn]] void fail(int code) {
  switch (code & 0xff) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      throw Failure{Status::busy};
    case SQLITE_NOTADB:
    case SQLITE_CORRUPT:
    case SQLITE_ERROR:  // a table or column that is not there
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

}  // namespace

// One prepared statement; parameters are numbered from 1, columns from 0.
class Statement {
 public:
  Statement(DataFile &file, const char *sql) {
    sqlite3_stmt *statement = nullptr;
    const int code = sqlite3_prepare_v2(file.connection_.get(), sql, -1, &statement, nullptr);
    statement_.reset(statement);
    if (code != SQLITE_OK) fail(code);
  }

  Statement &bind(int place, std::int64_t value) { return checked(sqlite3_bind_int64(statement_.get(), place, value)); }
  Statement &bind(int place, const std::string &text) {
    return checked(
        sqlite3_bind_text64(statement_.get(), place, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8));
  }
  Statement &bind(int place, std::span<const std::int64_t> words) {
    return checked(sqlite3_bind_blob64(statement_.get(), place, words.data(), words.size_bytes(), SQLITE_TRANSIENT));
  }

  // Goes to the next row; false behind the last.
  bool step() {
    const int code = sqlite3_step(statement_.get());
    if (code != SQLITE_ROW && code != SQLITE_DONE) fail(code);
    return code == SQLITE_ROW;
  }

  std::int64_t integer(int column) { return sqlite3_column_int64(statement_.get(), column); }

  std::string text(int column) {
    const auto *characters = reinterpret_cast<const char *>(sqlite3_column_text(statement_.get(), column));
    const int length = sqlite3_column_bytes(statement_.get(), column);
    return characters != nullptr ? std::string(characters, static_cast<std::size_t>(length)) : std::string();
  }

  std::vector<std::int64_t> words(int column) {
    const void *bytes = sqlite3_column_blob(statement_.get(), column);
    const int length = sqlite3_column_bytes(statement_.get(), column);
    std::vector<std::int64_t> result(bytes != nullptr ? static_cast<std::size_t>(length) / sizeof(std::int64_t) : 0);
    if (!result.empty()) std::memcpy(result.data(), bytes, result.size() * sizeof(std::int64_t));
    return result;
  }

 private:
  Statement &checked(int code) {
    if (code != SQLITE_OK) fail(code);
    return *this;
  }

  struct Finalize {
    void operator()(sqlite3_stmt *statement) const noexcept { sqlite3_finalize(statement); }
  };
  std::unique_ptr<sqlite3_stmt, Finalize> statement_;
};

// ---- the file ------------------------------------------------------------------------------------------------------

void DataFile::Close::operator()(sqlite3 *connection) const noexcept { sqlite3_close_v2(connection); }

DataFile::DataFile(const std::string &path, Access access) {
  // A file is opened for writing even to read it: what a killed writer left behind is undone first.
  const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | (access == Access::read ? 0 : SQLITE_OPEN_CREATE);
  // A plain path that starts with "file:" must not be taken for more than a path.
  const std::string name = path.starts_with('/') ? path : "./" + path;
  sqlite3 *connection = nullptr;
  const int code = sqlite3_open_v2(name.c_str(), &connection, flags, nullptr);
  connection_.reset(connection);
  if (code != SQLITE_OK) fail(code);
  sqlite3_extended_result_codes(connection, 1);
  sqlite3_busy_timeout(connection, kWaitMilliseconds);
  run("PRAGMA foreign_keys = ON");
  if (access == Access::read) run("PRAGMA query_only = ON");
  if (access == Access::scratch) run("PRAGMA synchronous = OFF");
}

DataFile::~DataFile() = default;

void DataFile::run(const char *sql) {
  const int code = sqlite3_exec(connection_.get(), sql, nullptr, nullptr, nullptr);
  if (code != SQLITE_OK) fail(code);
}

void DataFile::require_store() {
  Statement application(*this, "PRAGMA application_id");
  Statement layout(*this, "PRAGMA user_version");
  if (!application.step() || application.integer(0) != kApplication || !layout.step() || layout.integer(0) != kLayout)
    throw Failure{Status::not_a_store};
}

void DataFile::create_tables() { run(kTables); }

void DataFile::begin(bool exclusive) { run(exclusive ? "BEGIN EXCLUSIVE" : "BEGIN IMMEDIATE"); }
void DataFile::commit() { run("COMMIT"); }

void DataFile::roll_back() noexcept {
  if (sqlite3_get_autocommit(connection_.get()) == 0)
    sqlite3_exec(connection_.get(), "ROLLBACK", nullptr, nullptr, nullptr);
}

// ---- data blocks ---------------------------------------------------------------------------------------------------

Qualifiers DataFile::qualifiers_of(std::int64_t block) {
  Qualifiers qualifiers;
  Statement rows(*this, "SELECT name, value FROM qualifier WHERE block = ?");
  rows.bind(1, block);
  while (rows.step()) qualifiers.emplace(rows.text(0), rows.text(1));
  return qualifiers;
}

std::vector<BlockEntry> DataFile::blocks() {
  std::vector<BlockEntry> entries;
  {
    Statement rows(*this, "SELECT id, name FROM block WHERE kept = 1 ORDER BY id");
    while (rows.step()) entries.push_back({rows.integer(0), rows.text(1), {}});
  }
  for (BlockEntry &entry : entries) entry.qualifiers = qualifiers_of(entry.id);
  return entries;
}

std::int64_t DataFile::add_block(const std::string &name, const Qualifiers &qualifiers) {
  Statement(*this, "INSERT INTO block(name) VALUES (?)").bind(1, name).step();
  const std::int64_t block = sqlite3_last_insert_rowid(connection_.get());
  for (const auto &[key, value] : qualifiers)
    Statement(*this, "INSERT INTO qualifier(block, name, value) VALUES (?, ?, ?)")
        .bind(1, block)
        .bind(2, key)
        .bind(3, value)
        .step();
  return block;
}

void DataFile::keep_block(std::int64_t block) {
  const Qualifiers qualifiers = qualifiers_of(block);
  std::string name;
  {
    Statement row(*this, "SELECT name FROM block WHERE id = ?");
    row.bind(1, block);
    if (row.step()) name = row.text(0);
  }
  for (const BlockEntry &other : blocks())
    if (other.id != block && other.name == name && other.qualifiers == qualifiers) drop_block(other.id);
  Statement(*this, "UPDATE block SET kept = 1 WHERE id = ?").bind(1, block).step();
}

void DataFile::drop_block(std::int64_t block) {
  Statement(*this, "DELETE FROM block WHERE id = ?").bind(1, block).step();
}

void DataFile::drop_contents(std::int64_t block) {
  Statement(*this, "DELETE FROM record WHERE block = ?").bind(1, block).step();
  Statement(*this, "DELETE FROM piece WHERE block = ?").bind(1, block).step();
  Statement(*this, "UPDATE block SET kept = 0, trailer = NULL WHERE id = ?").bind(1, block).step();
}

void DataFile::drop_unkept() { run("DELETE FROM block WHERE kept = 0"); }

void DataFile::set_trailer(std::int64_t block, std::span<const std::int64_t, 7> trailer) {
  Statement(*this, "UPDATE block SET trailer = ? WHERE id = ?").bind(1, trailer).bind(2, block).step();
}

// ---- records and words ---------------------------------------------------------------------------------------------

void DataFile::add_record(std::int64_t block, const Record &record) {
  Statement(*this, "INSERT INTO record(block, number, first_word, words) VALUES (?, ?, ?, ?)")
      .bind(1, block)
      .bind(2, record.number)
      .bind(3, record.first_word)
      .bind(4, record.words)
      .step();
}

std::optional<Record> DataFile::record(std::int64_t block, std::int64_t number) {
  Statement row(*this, "SELECT first_word, words FROM record WHERE block = ? AND number = ?");
  row.bind(1, block).bind(2, number);
  if (!row.step()) return std::nullopt;
  const Record record{number, row.integer(0), row.integer(1)};
  constexpr std::int64_t kMost = INT64_MAX / 4;
  if (record.first_word < 0 || record.words < 0 || record.first_word > kMost || record.words > kMost)
    throw Failure{Status::not_a_store};
  return record;
}

void DataFile::add_piece(std::int64_t block, std::int64_t first_word, std::span<const std::int64_t> words) {
  Statement(*this, "INSERT INTO piece(block, first_word, data) VALUES (?, ?, ?)")
      .bind(1, block)
      .bind(2, first_word)
      .bind(3, words)
      .step();
}

std::vector<std::int64_t> DataFile::piece(std::int64_t block, std::int64_t first_word) {
  Statement row(*this, "SELECT data FROM piece WHERE block = ? AND first_word = ?");
  row.bind(1, block).bind(2, first_word);
  return row.step() ? row.words(0) : std::vector<std::int64_t>();
}

}  // namespace qsrv
