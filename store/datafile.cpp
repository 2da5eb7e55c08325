// The data file: its tables and the statements on them.
#include "datafile.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "masterfile.h"
#include "signals.h"
#include "status.h"

namespace qsrv {
namespace {

constexpr int kApplication = 0x53425244;
constexpr int kOldLayout = 1;
constexpr int kLayout = 2;
constexpr int kFirstPage = 4096;      // bytes
constexpr int kLayoutWithoutLog = 3;  // the file system that it was on had no use for a write-ahead log

constexpr const char *kBlockTable =
    "CREATE TABLE block(id INTEGER PRIMARY KEY AUTOINCREMENT, name TEXT NOT NULL, kept INTEGER NOT NULL DEFAULT 0,"
    "  trailer BLOB)";
constexpr const char *kOldQualifierTable =
    "CREATE TABLE qualifier(block INTEGER NOT NULL REFERENCES block(id) ON DELETE CASCADE, name TEXT NOT NULL,"
    "  value TEXT NOT NULL, PRIMARY KEY(block, name)) WITHOUT ROWID";
constexpr const char *kEntryTable =
    "CREATE TABLE entry(id INTEGER PRIMARY KEY REFERENCES block(id) ON DELETE CASCADE, place INTEGER NOT NULL,"
    "  name TEXT NOT NULL, selabel TEXT NOT NULL, projno TEXT NOT NULL, version TEXT NOT NULL, peid TEXT NOT NULL,"
    "  desiter TEXT NOT NULL, stepcur TEXT NOT NULL, highqual TEXT NOT NULL)";
constexpr const char *kPlaceIndex = "CREATE UNIQUE INDEX entry_place ON entry(name, place)";
constexpr const char *kQualifierIndex =
    "CREATE UNIQUE INDEX entry_qualifiers ON entry(name, selabel, projno, version, peid, desiter, stepcur, highqual)";
constexpr const char *kRecordTable =
    "CREATE TABLE record(block INTEGER NOT NULL REFERENCES block(id) ON DELETE CASCADE, number INTEGER NOT NULL,"
    "  first_word INTEGER NOT NULL, words INTEGER NOT NULL, PRIMARY KEY(block, number)) WITHOUT ROWID";
constexpr const char *kPieceTable =
    "CREATE TABLE piece(block INTEGER NOT NULL REFERENCES block(id) ON DELETE CASCADE, first_word INTEGER NOT NULL,"
    "  data BLOB NOT NULL, UNIQUE(block, first_word))";

constexpr std::array kSchema{kBlockTable, kEntryTable, kPlaceIndex, kQualifierIndex, kRecordTable, kPieceTable};
constexpr std::array kOldSchema{kBlockTable, kOldQualifierTable, kRecordTable, kPieceTable};
// What SQLite adds by itself: the counter of IDs, and the index of the unique pair.
constexpr std::size_t kOwnSchemaRows = 2;

constexpr const char *kEntryColumns =
    "id, place, selabel, projno, version, peid, desiter, stepcur, highqual FROM entry";

// The entries of a file of the old layout. What does not show in a list gives way: bodies that it alone told apart get
// the number of their block behind the label.
constexpr const char *kOldEntries =
    "WITH shown AS (SELECT b.id AS id, b.name AS name,"
    "  coalesce((SELECT value FROM qualifier WHERE block = b.id AND name = 'selabel'), '') AS selabel,"
    "  coalesce(nullif((SELECT value FROM qualifier WHERE block = b.id AND name = 'projno'), ''), '1') AS projno,"
    "  coalesce(nullif((SELECT value FROM qualifier WHERE block = b.id AND name = 'version'), ''), '1') AS version,"
    "  coalesce(nullif((SELECT value FROM qualifier WHERE block = b.id AND name = 'peid'), ''), '0') AS peid,"
    "  coalesce(nullif((SELECT value FROM qualifier WHERE block = b.id AND name = 'desiter'), ''), '0') AS desiter,"
    "  coalesce(nullif((SELECT value FROM qualifier WHERE block = b.id AND name = 'stepcur'), ''), '0') AS stepcur,"
    "  CASE b.name WHEN 'sbrdb' THEN '0' ELSE coalesce("
    "    (SELECT value FROM qualifier WHERE block = b.id AND name = 'highqual'), '0') END AS highqual"
    "  FROM main.block b WHERE b.kept = 1) "
    "SELECT id, id, name, selabel || CASE row_number() OVER "
    "  (PARTITION BY name, selabel, projno, version, peid, desiter, stepcur, highqual ORDER BY id)"
    "  WHEN 1 THEN '' ELSE ' (' || id || ')' END, projno, version, peid, desiter, stepcur, highqual FROM shown";

std::string condition_text(const Conditions &where) {
  std::string text = " WHERE name = ?1";
  int place = 1;
  for (const Condition &condition : where)
    text += " AND " + std::string(kQualifierNames[condition.qualifier]) + " = ?" + std::to_string(++place);
  return text;
}

void bind_conditions(Statement &statement, const std::string &name, const Conditions &where) {
  statement.bind(1, name);
  int place = 1;
  for (const Condition &condition : where) statement.bind(++place, condition.value);
}

}  // namespace

// ---- opening -------------------------------------------------------------------------------------------------------

DataFile::DataFile(const std::string &path, Access access) : path_(path), access_(access) {
  const bool empty = ::lstat(path.c_str(), &state_) != 0 || (S_ISREG(state_.st_mode) && state_.st_size == 0);
  if (!empty) {
    // The owner is asked before anything could be written beside the file.
    const std::int64_t application = Connection(path, Connection::Mode::untouched).application_in_header();
    // SQLite makes the first page by itself, before there are tables and their application.
    const bool unfinished = access == Access::create && application == 0 && state_.st_size <= kFirstPage;
    if (application != kApplication && !unfinished) throw Failure{Status::not_a_store};
  } else if (access != Access::create) {
    throw Failure{file_exists(path) ? Status::not_a_store : Status::not_opened};
  }
  if (!empty) connect();
  // A creator that was killed leaves a file that is empty once its commit has been undone.
  if (empty || (access == Access::create && connection_->number("SELECT 1 FROM sqlite_schema LIMIT 1") == 0))
    create_tables();
  require_store();
  if (access == Access::read)
    connection_->run("PRAGMA query_only = ON");
  else
    connection_->run("PRAGMA synchronous = FULL; PRAGMA journal_size_limit = 67108864");
  if (::stat(path.c_str(), &state_) != 0) throw Failure{Status::not_opened};
  static std::int64_t last_serial = 0;
  serial_ = ++last_serial;
}

// A file is opened for writing even to read it: what a killed writer left behind is completed or undone first.
void DataFile::connect() {
  connection_ = std::make_unique<Connection>(path_, Connection::Mode::read_write);
  int code = connection_->first_access(access_ != Access::read);
  if (lacks_shared_memory(code)) {
    if (can_create_beside() && !connection_->is_read_only()) {
      connection_.reset();  // its lock would keep the other connection out
      leave_log();
      connection_ = std::make_unique<Connection>(path_, Connection::Mode::read_write);
      code = connection_->first_access(access_ != Access::read);
    } else if (access_ == Access::read) {
      return connect_untouched();
    }
  }
  if (code != SQLITE_OK) fail(code);
  if (access_ != Access::read && connection_->is_read_only()) throw Failure{Status::not_opened};
}

bool DataFile::can_create_beside() const {
  return ::faccessat(AT_FDCWD, directory_of(path_).c_str(), W_OK | X_OK, AT_EACCESS) == 0;
}

// Nobody here can write the files that readers and writers meet in. Without a log the file stands as it is; that nobody
// else changes it meanwhile is looked at with each access.
void DataFile::connect_untouched() {
  struct stat log {};
  if (::stat((path_ + "-wal").c_str(), &log) == 0 && log.st_size > 0) throw Failure{Status::not_opened};
  if (::stat(path_.c_str(), &state_) != 0) throw Failure{Status::not_opened};
  connection_ = std::make_unique<Connection>(path_, Connection::Mode::untouched);
  untouched_ = true;
}

void DataFile::require_unchanged() const {
  if (!untouched_) return;
  struct stat now {};
  struct stat log {};
  const bool same = ::stat(path_.c_str(), &now) == 0 && now.st_ino == state_.st_ino && now.st_size == state_.st_size &&
                    now.st_mtim.tv_sec == state_.st_mtim.tv_sec && now.st_mtim.tv_nsec == state_.st_mtim.tv_nsec;
  if (!same || (::stat((path_ + "-wal").c_str(), &log) == 0 && log.st_size > 0)) throw Failure{Status::busy};
}

// The log needs memory that processes share through a file. Where there is none, one process at a time uses the file:
// readers and writers wait for each other then, and lose nothing.
void DataFile::leave_log() {
  Connection alone(path_, Connection::Mode::read_write);
  alone.run("PRAGMA locking_mode = EXCLUSIVE");
  if (alone.text("PRAGMA journal_mode = DELETE") != "delete") throw Failure{Status::busy};
  if (alone.number("PRAGMA user_version") == kLayout)
    alone.run(("PRAGMA user_version = " + std::to_string(kLayoutWithoutLog)).c_str());
}

// What has been stored stays stored if this fails, as it does while others use the file: one of the next writers
// succeeds.
void DataFile::use_log() noexcept {
  if (layout_ == kLayoutWithoutLog) return;
  try {
    connection_->set_waiting(false);
    const bool switched =
        connection_->text("PRAGMA journal_mode") != "wal" && connection_->text("PRAGMA journal_mode = WAL") == "wal";
    if (!switched || !lacks_shared_memory(connection_->first_access(true))) return;
    connection_.reset();
    leave_log();
  } catch (...) {  // NOLINT(bugprone-empty-catch): the form that the file has does as well
  }
}

bool DataFile::is_current() {
  struct stat now {};
  if (::stat(path_.c_str(), &now) != 0 || now.st_dev != state_.st_dev || now.st_ino != state_.st_ino) return false;
  if (untouched_) return now.st_mtim.tv_sec == state_.st_mtim.tv_sec && now.st_mtim.tv_nsec == state_.st_mtim.tv_nsec;
  return connection_->number("PRAGMA user_version") == layout_;
}

// ---- tables --------------------------------------------------------------------------------------------------------

bool DataFile::has_schema(bool old_layout) {
  std::vector<std::string> expected;
  if (old_layout)
    expected.assign(kOldSchema.begin(), kOldSchema.end());
  else
    expected.assign(kSchema.begin(), kSchema.end());
  std::size_t own = 0;
  Statement rows(*connection_, "SELECT name, sql FROM sqlite_schema");
  while (rows.step()) {
    const bool is_own = rows.is_null(1) || rows.text(1) == "CREATE TABLE sqlite_sequence(name,seq)";
    if (is_own) {
      if (++own > kOwnSchemaRows) return false;
      continue;
    }
    const auto place = std::find(expected.begin(), expected.end(), rows.text(1));
    if (place == expected.end()) return false;
    expected.erase(place);
  }
  return expected.empty() && own == kOwnSchemaRows;
}

// Throws not_a_store unless the file has the tables of this store, and nothing else that a statement could run into.
void DataFile::require_store() {
  layout_ = static_cast<int>(connection_->number("PRAGMA user_version"));
  if (connection_->number("PRAGMA application_id") != kApplication) throw Failure{Status::not_a_store};
  if (layout_ < kOldLayout || layout_ > kLayoutWithoutLog || !has_schema(layout_ == kOldLayout))
    throw Failure{Status::not_a_store};
  if (layout_ == kOldLayout && access_ == Access::read) show_old_layout();
}

// Of several that create a file at the same time, one makes the tables.
void DataFile::create_tables() {
  // Made here and not by SQLite, which would follow a link.
  const int file = ::open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
  if (file < 0 && errno != EEXIST) throw Failure{Status::not_opened};
  if (file >= 0) ::close(file);
  connection_ = std::make_unique<Connection>(path_, Connection::Mode::read_write);
  connection_->run("PRAGMA auto_vacuum = INCREMENTAL; PRAGMA synchronous = FULL");
  connection_->run("BEGIN EXCLUSIVE");
  if (connection_->number("SELECT count(*) FROM (SELECT 1 FROM sqlite_schema LIMIT 1)") != 0) {
    connection_->roll_back();
    return;
  }
  try {
    for (const char *table : kSchema) connection_->run(table);
    connection_->run(("PRAGMA application_id = " + std::to_string(kApplication)).c_str());
    connection_->run(("PRAGMA user_version = " + std::to_string(kLayout)).c_str());
    connection_->run("COMMIT");
  } catch (...) {
    ::unlink(path_.c_str());  // as empty as it was, and others that wait for it will see that it is gone
    connection_->roll_back();
    throw;
  }
}

// The old layout as the present one, for this connection alone.
void DataFile::show_old_layout() {
  std::string table = kEntryTable;
  const std::string reference = " REFERENCES block(id) ON DELETE CASCADE";
  table.replace(table.find(reference), reference.size(), "");
  table.replace(0, std::string("CREATE").size(), "CREATE TEMP");
  connection_->run("PRAGMA temp_store = MEMORY");
  connection_->run(table.c_str());
  connection_->run((std::string("INSERT INTO temp.entry ") + kOldEntries).c_str());
}

void DataFile::upgrade() {
  for (const char *table : {kEntryTable, kPlaceIndex, kQualifierIndex}) connection_->run(table);
  connection_->run("DELETE FROM block WHERE kept = 0");
  connection_->run((std::string("INSERT INTO entry ") + kOldEntries).c_str());
  connection_->run("DROP TABLE qualifier");
  connection_->run(("PRAGMA user_version = " + std::to_string(kLayout)).c_str());
  layout_ = kLayout;
}

// ---- states --------------------------------------------------------------------------------------------------------

void DataFile::hold() {
  if (holds_ == 0) {
    connection_->run("BEGIN");
    try {
      connection_->number("SELECT 1 FROM main.block LIMIT 1");  // the state is taken with the first access
    } catch (...) {
      connection_->roll_back();
      throw;
    }
  }
  ++holds_;
}

void DataFile::release() noexcept {
  if (--holds_ == 0) connection_->roll_back();
}

bool DataFile::begin() {
  connection_->run("BEGIN IMMEDIATE");
  if (connection_->has_moved()) {
    connection_->roll_back();
    return false;
  }
  // Another process may have brought the file to the present layout while this one waited.
  layout_ = static_cast<int>(connection_->number("PRAGMA user_version"));
  if (layout_ == kOldLayout) upgrade();
  return true;
}

void DataFile::commit() { connection_->run("COMMIT"); }

// ---- data blocks ---------------------------------------------------------------------------------------------------

// Throws not_a_store for a row that this store cannot have written.
BlockEntry DataFile::entry_of(Statement &row) {
  BlockEntry entry{row.integer(0), row.integer(1), {}};
  for (std::size_t i = 0; i < entry.qualifiers.size(); ++i) {
    entry.qualifiers[i] = row.text(static_cast<int>(i) + 2);
    if (!is_listable(i, entry.qualifiers[i])) throw Failure{Status::not_a_store};
  }
  return entry;
}

std::string DataFile::version() {
  require_unchanged();
  return std::to_string(serial_) + ':' + std::to_string(connection_->number("PRAGMA data_version"));
}

std::vector<BlockEntry> DataFile::find(const std::string &name, const Conditions &where) {
  require_unchanged();
  const bool by_label =
      std::any_of(where.begin(), where.end(), [](const Condition &each) { return each.qualifier == kLabel; });
  // Whoever lists much reads the table itself, in which a damaged file cannot lead round in circles unnoticed.
  std::string sql = std::string("SELECT ") + kEntryColumns + (by_label ? "" : " NOT INDEXED") + condition_text(where) +
                    (by_label ? " ORDER BY +id" : " ORDER BY id");
  Statement rows(*connection_, sql);
  bind_conditions(rows, name, where);
  std::vector<BlockEntry> entries;
  while (rows.step()) {
    BlockEntry entry = entry_of(rows);
    if (!entries.empty() && entry.id <= entries.back().id) throw Failure{Status::not_a_store};
    entries.push_back(std::move(entry));
  }
  std::sort(entries.begin(), entries.end(), [](const auto &a, const auto &b) { return a.place < b.place; });
  return entries;
}

std::vector<BlockEntry> DataFile::find_row(const std::string &name, const Conditions &where, std::int64_t row) {
  require_unchanged();
  Statement rows(*connection_, std::string("SELECT ") + kEntryColumns + condition_text(where) +
                                   " ORDER BY place LIMIT 1 OFFSET ?" + std::to_string(where.size() + 2));
  bind_conditions(rows, name, where);
  rows.bind(static_cast<int>(where.size()) + 2, row - 1);
  std::vector<BlockEntry> entries;
  if (row >= 1 && rows.step()) entries.push_back(entry_of(rows));
  return entries;
}

bool DataFile::has_block(std::int64_t id) {
  require_unchanged();
  Statement row(*connection_, "SELECT 1 FROM block WHERE id = ?");
  return row.bind(1, id).step();
}

bool DataFile::has_blocks() { return connection_->number("SELECT 1 FROM block LIMIT 1") != 0; }

std::int64_t DataFile::add_entry(const StagedBlock &block, std::optional<std::int64_t> place) {
  Statement row(*connection_, "INSERT INTO block(name, kept, trailer) VALUES (?, 1, ?)");
  row.bind(1, block.name());
  if (block.trailer()) row.bind(2, std::span<const std::int64_t>(*block.trailer()));
  row.step();
  const std::int64_t id = connection_->last_row();
  Statement entry(*connection_, "INSERT INTO entry VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
  entry.bind(1, id).bind(2, place.value_or(id)).bind(3, block.name());
  for (std::size_t i = 0; i < kQualifierNames.size(); ++i) entry.bind(static_cast<int>(i) + 4, block.qualifiers()[i]);
  entry.step();
  return id;
}

void DataFile::store(StagedBlock &block) {
  Conditions same;
  for (std::size_t i = 0; i < kQualifierNames.size(); ++i) same.push_back({i, block.qualifiers()[i]});
  std::optional<std::int64_t> place;
  for (const BlockEntry &other : find(block.name(), same)) {
    place = other.place;
    drop(other.id);
  }
  add_words(block, add_entry(block, place));
}

void DataFile::add_words(StagedBlock &block, std::int64_t id) {
  Statement row(*connection_, "INSERT INTO record(block, number, first_word, words) VALUES (?, ?, ?, ?)");
  for (const Record &record : block.records()) {
    row.bind(1, id).bind(2, record.number).bind(3, record.first_word).bind(4, record.words).step();
    row.reset();
  }
  Statement piece(*connection_, "INSERT INTO piece(block, first_word, data) VALUES (?, ?, ?)");
  for (std::int64_t first = 0; first < block.words(); first += kPieceWords) {
    if (SignalPause::interrupted()) throw Failure{Status::not_written};
    const std::vector<std::int64_t> words = block.piece(first);
    piece.bind(1, id).bind(2, first).bind(3, words).step();
    piece.reset();
  }
}

void DataFile::drop(std::int64_t id) { Statement(*connection_, "DELETE FROM block WHERE id = ?").bind(1, id).step(); }

void DataFile::shrink() {
  constexpr std::int64_t kLeast = 256;  // pages
  const std::int64_t unused = connection_->number("PRAGMA freelist_count");
  if (unused > kLeast && unused > connection_->number("PRAGMA page_count") / 2)
    connection_->run("PRAGMA incremental_vacuum");
}

void DataFile::verify() {
  if (connection_->text("PRAGMA integrity_check(1)") != "ok" ||
      connection_->number("SELECT count(*) FROM pragma_foreign_key_check") != 0)
    throw Failure{Status::not_a_store};
  Statement names(*connection_, "SELECT DISTINCT name FROM entry");
  while (names.step()) find(names.text(0), {});
}

// ---- records and words ---------------------------------------------------------------------------------------------

std::optional<Record> DataFile::record(std::int64_t block, std::int64_t number) {
  require_unchanged();
  Statement row(*connection_, "SELECT first_word, words FROM record WHERE block = ? AND number = ?");
  row.bind(1, block).bind(2, number);
  if (!row.step()) return std::nullopt;
  const Record record{number, row.integer(0), row.integer(1)};
  constexpr std::int64_t kMost = INT64_MAX / 4;
  if (record.first_word < 0 || record.words < 0 || record.first_word > kMost || record.words > kMost)
    throw Failure{Status::not_a_store};
  return record;
}

std::vector<std::int64_t> DataFile::piece(std::int64_t block, std::int64_t first_word) {
  require_unchanged();
  Statement row(*connection_, "SELECT data FROM piece WHERE block = ? AND first_word = ?");
  row.bind(1, block).bind(2, first_word);
  return row.step() ? row.words(0) : std::vector<std::int64_t>();
}

}  // namespace qsrv
