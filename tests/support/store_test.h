// A directory with databases of the open store, and short ways to put bodies into them and to read them.
#ifndef SBRKIT_TESTS_SUPPORT_STORE_TEST_H
#define SBRKIT_TESTS_SUPPORT_STORE_TEST_H

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "support/files.h"
#include "support/messages.h"

#ifdef SBRKIT_STORE_DIRECTORY

namespace sbrtest {

inline constexpr const char *kMaster = "wing.MASTER";

// A process that is ready to run a function, and runs it when told to. It is started before this process uses the
// store, since open databases do not pass from process to process.
class Companion {
 public:
  explicit Companion(const std::function<int()> &work) {
    int pipe_ends[2] = {-1, -1};
    if (pipe(pipe_ends) != 0) std::abort();
    process_ = fork();
    if (process_ == 0) {
      close(pipe_ends[1]);
      char go = 0;
      const bool told = read(pipe_ends[0], &go, 1) == 1;
      _exit(told ? work() : 0);
    }
    close(pipe_ends[0]);
    go_ = pipe_ends[1];
  }
  ~Companion() { finish(); }
  Companion(const Companion &) = delete;
  Companion &operator=(const Companion &) = delete;

  void start() const {
    if (write(go_, "x", 1) != 1) std::abort();
  }
  // The exit code of the function; -1 when a signal ended it.
  int finish() {
    if (go_ >= 0) close(go_);
    go_ = -1;
    int status = 0;
    if (process_ > 0 && waitpid(process_, &status, 0) == process_)
      result_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    process_ = -1;
    return result_;
  }
  int run() {
    start();
    return finish();
  }
  [[nodiscard]] pid_t process() const { return process_; }

 private:
  pid_t process_ = -1;
  int go_ = -1;
  int result_ = -1;
};

// Writes a body of records whose every word is the generation, as a run of its own. False when it is refused.
inline bool put_generation(const std::string &qualifiers, int generation, int records, int words) {
  if (DB_StartWrite(kMaster) == 0) return false;
  const db_block block{DB_CreateSBRblk(qualifiers.c_str()), {0, 0}};
  const std::vector<int> values(static_cast<std::size_t>(words), generation);
  for (int i = 0; i < records; ++i) {
    DB_WriteINTs(block, values.data(), words);
    DB_WriteEOR(block);
  }
  DB_CloseDatablk(block.unit);
  return DB_TermWrite() != 0 && block.unit != 0;
}

class StoreTest : public LibraryTest {
 protected:
  StoreTest() { std::filesystem::current_path(directory.path()); }
  ~StoreTest() override {
    end_reading();
    std::filesystem::current_path(before);
  }

  static void start_reading() {
    ASSERT_EQ(CDB_LoadLibrary(), 1);
    ASSERT_EQ(DB_StartBase(), 1);
  }
  static void end_reading() {
    DB_TermBase();
    CDB_UnloadLibrary();
  }
  // Writes a body of one record of integers into the run that is open. False when it is refused.
  static bool add(const std::string &qualifiers, const std::vector<int> &values) {
    const db_block block{DB_CreateSBRblk(qualifiers.c_str()), {0, 0}};
    if (block.unit == 0) return false;
    DB_WriteINTs(block, values.data(), static_cast<int>(values.size()));
    DB_WriteEOR(block);
    DB_CloseDatablk(block.unit);
    return true;
  }
  // The same as a run of its own.
  static int put(const std::string &qualifiers, const std::vector<int> &values, const char *path = kMaster) {
    if (DB_StartWrite(path) == 0) return 0;
    const bool added = add(qualifiers, values);
    return DB_TermWrite() != 0 && added ? 1 : 0;
  }
  static db_block open_body(int index, const char *path = kMaster) {
    int number = 0;
    return {DB_OpenDatablk(path, index, &number), {0, 0}};
  }
  static std::string describe(int index, const char *path = kMaster) {
    char text[DB_BROWSER_TEXT];
    DB_BodyBrowser(path, index, text);
    return text;
  }
  static int first_value(int index, const char *path = kMaster) {
    int value = -1;
    const db_block block = open_body(index, path);
    if (block.unit == 0) return value;
    if (DB_ReadINTs(block, &value, 1) == 0) value = -1;
    DB_CloseDatablk(block.unit);
    return value;
  }
  // The status of making the bodies known, and of listing them.
  static int list_status(const char *path = kMaster) {
    int status = 0;
    CDB_QS_DbCommand((std::string("assign probe='") + path + "'").c_str(), &status);
    if (status == 0)
      CDB_QS_DbCommand("dblocate logical=probe datablk=(sbrdb) where(projno=*) convert(highqual=-99)", &status);
    int needed = 0;
    char one = 0;
    if (status == 0)
      CDB_QS_GetDbdict("dbdict datablk(sbrdb) where(highqual=-99) select(selabel)", &one, 1, &needed, &status);
    return status;
  }
  [[nodiscard]] std::set<std::string> files() const {
    std::set<std::string> names;
    for (const auto &entry : std::filesystem::directory_iterator(directory.path()))
      names.insert(entry.path().filename());
    return names;
  }

  std::filesystem::path before = std::filesystem::current_path();
  ScratchDirectory directory;
  ScopedEnvironment plugins{"KTX_USER_PLUGIN_DIR", SBRKIT_STORE_DIRECTORY};
  ScopedEnvironment home{"KTX_QSRVHOME_DIR", "/qsrv"};
};

}  // namespace sbrtest

#endif

#endif
