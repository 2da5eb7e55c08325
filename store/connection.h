// A connection to an SQLite file, and its statements. What SQLite reports is thrown as a status of the store.
#ifndef QSRV_CONNECTION_H
#define QSRV_CONNECTION_H

#include <chrono>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace qsrv {

class Connection {
 public:
  // `untouched` reads a file as it stands, without locks and without a file beside it.
  enum class Mode { read_write, untouched };

  Connection(const std::string &path, Mode mode);
  ~Connection();
  Connection(const Connection &) = delete;
  Connection &operator=(const Connection &) = delete;

  void run(const char *sql);
  // The first column of the first row; 0 or nothing without a row.
  std::int64_t number(const char *sql);
  std::string text(const char *sql);

  // The application ID that the file itself holds, also in the middle of another process's commit; 0 for what is no
  // SQLite file.
  std::int64_t application_in_header();
  // The code of the first access, which opens what stands beside the file; with `writes` also of beginning to write,
  // which is not waited for.
  int first_access(bool writes) noexcept;
  [[nodiscard]] bool is_read_only() const;
  // True when the file no longer stands under its name.
  [[nodiscard]] bool has_moved() const;
  [[nodiscard]] std::int64_t last_row() const;
  void roll_back() noexcept;
  // Whether a lock that another process holds is waited for; it is unless this says otherwise.
  void set_waiting(bool waits) { waits_ = waits; }

 private:
  friend class Statement;

  // A statement may take as many steps as a file of this size can need: a damaged file could lead round in circles.
  void start_budget();
  static int spend(void *connection);
  static int wait(void *connection, int count);

  struct Close {
    void operator()(sqlite3 *connection) const noexcept;
  };
  std::string path_;
  std::unique_ptr<sqlite3, Close> connection_;
  std::int64_t budget_ = 0;
  bool waits_ = true;
  std::chrono::steady_clock::time_point deadline_;
};

// One prepared statement; parameters are numbered from 1, columns from 0.
class Statement {
 public:
  Statement(Connection &connection, const std::string &sql);

  Statement &bind(int place, std::int64_t value);
  Statement &bind(int place, std::string_view text);
  // The words must stay until the statement has run.
  Statement &bind(int place, std::span<const std::int64_t> words);

  // Goes to the next row; false behind the last.
  bool step();
  // Makes ready for other values.
  void reset();

  // Throw not_a_store for a value of another type.
  std::int64_t integer(int column);
  std::string text(int column);
  std::vector<std::int64_t> words(int column);
  [[nodiscard]] bool is_null(int column) const;

 private:
  Statement &checked(int code);
  void require_type(int column, int type) const;

  struct Finalize {
    void operator()(sqlite3_stmt *statement) const noexcept;
  };
  Connection &connection_;
  std::unique_ptr<sqlite3_stmt, Finalize> statement_;
};

// Throws the status of an SQLite code.
[[noreturn]] void fail(int code);
// True for a code that says that the files beside the database cannot be used here.
bool lacks_shared_memory(int code);

}  // namespace qsrv

#endif
