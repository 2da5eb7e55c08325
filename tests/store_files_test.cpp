// The files of a database: what stands under their names is never followed, overwritten or left behind.
#include <gmock/gmock.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sqlite3.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <cerrno>
#include <cstddef>
#include <filesystem>

#include "support/ordinary_user.h"
#include "support/store_test.h"

#ifdef SBRKIT_STORE_DIRECTORY

namespace sbrtest {
namespace {

namespace fs = std::filesystem;
using ::testing::UnorderedElementsAre;

void run_sql(const std::string &path, const std::string &sql) {
  sqlite3 *connection = nullptr;
  ASSERT_EQ(sqlite3_open(path.c_str(), &connection), SQLITE_OK);
  char *message = nullptr;
  EXPECT_EQ(sqlite3_exec(connection, sql.c_str(), nullptr, nullptr, &message), SQLITE_OK) << message;
  sqlite3_free(message);
  sqlite3_close(connection);
}

// Answers some system calls with an error, as a file system does that lacks what they ask for.
bool refuse_calls(const std::vector<std::pair<int, int>> &calls) {
  std::vector<sock_filter> filter{BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
  for (const auto &[number, error_number] : calls) {
    filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(number), 0, 1));
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<unsigned>(error_number)));
  }
  filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
  const sock_fprog program{static_cast<unsigned short>(filter.size()), filter.data()};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 && prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

using StoreFilesTest = StoreTest;

// ---- creating ------------------------------------------------------------------------------------------------------

TEST_F(StoreFilesTest, APlantedLinkIsNotFollowed) {
  write_file("precious", "precious");
  for (int i = 0; i < 3; ++i) {
    fs::create_symlink(
        "precious",
        "wing.MASTER.new" + (i == 0 ? std::string() : "-" + std::to_string(getpid()) + "-" + std::to_string(i)));
  }
  ASSERT_EQ(put("", {1}), 1);
  EXPECT_EQ(read_file("precious"), "precious");
  EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(kMaster)));
  EXPECT_EQ(DB_CheckDBset(kMaster), 0);
}

TEST_F(StoreFilesTest, LinksThatLeadNowhereCreateNothingThere) {
  for (const char *name : {"wing.MASTER", "wing.DBALL"}) {
    fs::create_symlink("planted", name);
    EXPECT_EQ(put("", {1}), 0) << name;
    EXPECT_EQ(log.take(), std::vector<Message>{error("Cannot open the database, 103.")});
    EXPECT_EQ(files(), std::set<std::string>{name});
    fs::remove(name);
  }
}

TEST_F(StoreFilesTest, AnAbandonedFileOfAnEarlierCreationDoesNotStopTheNext) {
  write_file("wing.MASTER.new", "half");
  write_file("wing.DBALL", "");  // a creator was killed before it wrote anything
  ASSERT_EQ(put("", {1}), 1);
  start_reading();
  EXPECT_EQ(first_value(1), 1);
}

TEST_F(StoreFilesTest, AFirstPageWithoutTablesIsAnAbandonedFileToo) {
  run_sql("wing.DBALL", "PRAGMA auto_vacuum = INCREMENTAL");
  ASSERT_EQ(fs::file_size("wing.DBALL"), 4096U);
  ASSERT_EQ(put("", {1}), 1);
  start_reading();
  EXPECT_EQ(first_value(1), 1);
}

TEST_F(StoreFilesTest, ARunWithoutABodyOfItsOwnLeavesNoNewDatabase) {
  ASSERT_EQ(DB_StartWrite(kMaster), 1);
  EXPECT_EQ(DB_CreateSBRblk("selabel='open"), 0);
  EXPECT_EQ(DB_TermWrite(), 1);
  ASSERT_EQ(DB_StartWrite(kMaster), 1);
  EXPECT_GT(DB_CreateSBRblk("selabel='never closed'"), 0);
  EXPECT_EQ(DB_TermWrite(), 1);
  ASSERT_EQ(DB_StartWrite(kMaster), 1);
  EXPECT_TRUE(files().empty());
  EXPECT_EQ(DB_TermWrite(), 1);  // an empty one was asked for
  EXPECT_THAT(files(), UnorderedElementsAre("wing.MASTER", "wing.DBALL"));
}

TEST_F(StoreFilesTest, AFileSystemWithoutHardLinksIsEnough) {
#ifndef __x86_64__
  GTEST_SKIP() << "the filter knows the calls of one machine";
#endif
  constexpr int kNoFilter = 9;
  Companion child([] {
    if (!refuse_calls({{SYS_link, EPERM}, {SYS_linkat, EPERM}, {SYS_renameat2, EINVAL}})) return kNoFilter;
    if (link("a", "b") != -1 || errno != EPERM) return 2;
    return put("selabel='a'", {1}) == 1 && put("selabel='b'", {2}) == 1 ? 0 : 1;
  });
  const int result = child.run();
  if (result == kNoFilter) GTEST_SKIP() << "system calls cannot be filtered here";
  ASSERT_EQ(result, 0);
  EXPECT_THAT(files(), UnorderedElementsAre("wing.MASTER", "wing.DBALL"));
  start_reading();
  EXPECT_EQ(DB_BodyBrowser(kMaster, 0, nullptr), 2U);
}

TEST_F(StoreFilesTest, AFileSystemWithoutSharedMemoryIsEnough) {
  fs::create_directory("wing.DBALL-shm");  // so that the file that processes share cannot be made
  ASSERT_EQ(put("selabel='a'", {1}), 1);
  ASSERT_EQ(put("selabel='b'", {2}), 1);
  ASSERT_EQ(put("selabel='a'", {3}), 1);
  start_reading();
  EXPECT_EQ(DB_BodyBrowser(kMaster, 0, nullptr), 2U);
  EXPECT_EQ(first_value(1), 3);
  EXPECT_EQ(first_value(2), 2);
  end_reading();
  EXPECT_THAT(files(), UnorderedElementsAre("wing.MASTER", "wing.DBALL", "wing.DBALL-shm"));
  EXPECT_TRUE(log.take().empty());
}

TEST_F(StoreFilesTest, ADatabaseThatMovesToSuchAFileSystemStaysReadableAndWritable) {
  ASSERT_EQ(put("selabel='a'", {1}), 1);
  fs::create_directory("wing.DBALL-shm");
  start_reading();
  EXPECT_EQ(first_value(1), 1);
  end_reading();
  ASSERT_EQ(put("selabel='b'", {2}), 1);
  fs::remove("wing.DBALL-shm");
  ASSERT_EQ(put("selabel='c'", {3}), 1);
  start_reading();
  EXPECT_EQ(DB_BodyBrowser(kMaster, 0, nullptr), 3U);
}

TEST_F(StoreFilesTest, ADatabaseInAReadOnlyDirectoryCanBeRead) {
  ASSERT_EQ(put("selabel='a'", {5}), 1);
  fs::create_directory("scratch");
  chmod("scratch", 0777);
  chmod(kMaster, 0444);
  chmod("wing.DBALL", 0444);
  chmod(directory.path().c_str(), 0555);
  const std::string path = fs::absolute(kMaster);
  {
    const OrdinaryUser user;
    fs::current_path("scratch");
    start_reading();
    EXPECT_EQ(DB_BodyBrowser(path.c_str(), 0, nullptr), 1U);
    EXPECT_EQ(first_value(1, path.c_str()), 5);
    end_reading();
    EXPECT_EQ(put("selabel='b'", {1}, path.c_str()), 0);
    fs::current_path(directory.path());
  }
  chmod(directory.path().c_str(), 0755);
  EXPECT_EQ(log.take(), std::vector<Message>{error("Cannot open the database, 103.")});
}

// ---- files of others -----------------------------------------------------------------------------------------------

TEST_F(StoreFilesTest, AFileOfAnotherApplicationIsNeverTouched) {
  run_sql("other.db",
          "PRAGMA journal_mode = WAL; CREATE TABLE photos(name TEXT); INSERT INTO photos VALUES('a');"
          "PRAGMA application_id = 7");
  run_sql("plain.db", "CREATE TABLE block(id INTEGER)");
  for (const std::string &contents : {read_file("other.db"), read_file("plain.db"), std::string("text of a user\n")}) {
    write_file("wing.DBALL", contents);
    for (const bool with_master : {false, true}) {
      if (with_master) {
        ASSERT_EQ(put("", {1}, "spare.MASTER"), 1);
        fs::copy_file("spare.MASTER", kMaster);
      }
      EXPECT_EQ(put("", {1}), 0);
      EXPECT_EQ(log.take(), std::vector<Message>{error("Cannot open the database, 107.")});
      start_reading();
      EXPECT_EQ(list_status(), 107);
      end_reading();
      EXPECT_EQ(read_file("wing.DBALL"), contents);
      for (const char *beside : {"wing.DBALL-wal", "wing.DBALL-shm", "wing.DBALL-journal"})
        EXPECT_FALSE(fs::exists(beside)) << beside;
      fs::remove("spare.MASTER");
      fs::remove("spare.DBALL");
    }
    fs::remove(kMaster);
  }
}

// ---- size ----------------------------------------------------------------------------------------------------------

bool put_large(int words) {
  if (DB_StartWrite(kMaster) == 0) return false;
  const db_block block{DB_CreateSBRblk("selabel='large'"), {0, 0}};
  const std::vector<double> values(static_cast<std::size_t>(words), 1.5);
  DB_WriteDOUBLEs(block, values.data(), words);
  DB_WriteEOR(block);
  DB_CloseDatablk(block.unit);
  return DB_TermWrite() != 0;
}

TEST_F(StoreFilesTest, ReplacingLargeBodiesDoesNotLetTheFileGrow) {
  constexpr int kWords = 250000;
  constexpr std::uintmax_t kBytes = kWords * 8;
  for (int i = 0; i < 100; ++i) {
    ASSERT_TRUE(put_large(kWords + 1000 * (i % 7)));
    ASSERT_LT(fs::file_size("wing.DBALL"), 3 * kBytes) << "after " << i + 1;
  }
  ASSERT_TRUE(put_large(10));
  EXPECT_LT(fs::file_size("wing.DBALL"), kBytes / 2);
  EXPECT_THAT(files(), UnorderedElementsAre("wing.MASTER", "wing.DBALL"));
}

TEST_F(StoreFilesTest, AReaderDoesNotLetTheLogGrowForGood) {
  ASSERT_TRUE(put_large(1000));
  Companion writer([] {
    for (int i = 0; i < 30; ++i)
      if (!put_large(250000)) return 1;
    return 0;
  });
  EXPECT_EQ(writer.run(), 0);
  start_reading();
  EXPECT_EQ(DB_BodyBrowser(kMaster, 0, nullptr), 1U);
  end_reading();
  EXPECT_FALSE(fs::exists("wing.DBALL-wal"));
}

// ---- earlier layout ------------------------------------------------------------------------------------------------

// A data file as release 1.0.0 wrote it, with bodies that only a qualifier outside the lists tells apart.
void make_old_database() {
  ASSERT_NO_FATAL_FAILURE(run_sql(
      "wing.DBALL",
      "CREATE TABLE block(id INTEGER PRIMARY KEY AUTOINCREMENT, name TEXT NOT NULL, kept INTEGER NOT NULL DEFAULT 0,"
      "  trailer BLOB);"
      "CREATE TABLE qualifier(block INTEGER NOT NULL REFERENCES block(id) ON DELETE CASCADE, name TEXT NOT NULL,"
      "  value TEXT NOT NULL, PRIMARY KEY(block, name)) WITHOUT ROWID;"
      "CREATE TABLE record(block INTEGER NOT NULL REFERENCES block(id) ON DELETE CASCADE, number INTEGER NOT NULL,"
      "  first_word INTEGER NOT NULL, words INTEGER NOT NULL, PRIMARY KEY(block, number)) WITHOUT ROWID;"
      "CREATE TABLE piece(block INTEGER NOT NULL REFERENCES block(id) ON DELETE CASCADE, first_word INTEGER NOT NULL,"
      "  data BLOB NOT NULL, UNIQUE(block, first_word));"
      "PRAGMA application_id = 1396855364; PRAGMA user_version = 1;"
      "INSERT INTO block(id, name, kept) VALUES (1, 'sbrdb', 1), (2, 'sbrdb', 1), (3, 'sbrdb', 1), (4, 'sbrdb', 0);"
      "INSERT INTO qualifier SELECT id, 'version', '1' FROM block;"
      "INSERT INTO qualifier SELECT id, 'projno', '3' FROM block;"
      "INSERT INTO qualifier SELECT id, 'highqual', id FROM block;"
      "INSERT INTO qualifier VALUES (1, 'selabel', 'wing'), (2, 'selabel', 'tail'), (3, 'selabel', 'wing'),"
      "  (3, 'color', 'red');"
      "INSERT INTO record SELECT id, 1, 0, 1 FROM block;"
      "INSERT INTO piece VALUES (1, 0, x'0b00000000000000'), (2, 0, x'0c00000000000000'), (3, 0, "
      "x'0d00000000000000')"));
}

TEST_F(StoreFilesTest, ADatabaseOfTheEarlierLayoutIsReadAndThenWritten) {
  ASSERT_EQ(put("", {1}, "spare.MASTER"), 1);
  fs::rename("spare.MASTER", kMaster);
  make_old_database();
  const std::string old = read_file("wing.DBALL");
  const auto expect_bodies = [](unsigned bodies) {
    start_reading();
    ASSERT_EQ(DB_BodyBrowser(kMaster, 0, nullptr), bodies);
    EXPECT_EQ(describe(1), "SELABEL='wing',projno=3,version=1,PEID=0,DESITER=0,STEPCUR=0");
    EXPECT_EQ(describe(3), "SELABEL='wing (3)',projno=3,version=1,PEID=0,DESITER=0,STEPCUR=0");
    for (int i = 1; i <= static_cast<int>(bodies); ++i) EXPECT_EQ(first_value(i), 10 + i);
    end_reading();
  };
  expect_bodies(3);
  EXPECT_EQ(read_file("wing.DBALL"), old);
  ASSERT_EQ(put("selabel='new'", {14}), 1);
  expect_bodies(4);
  EXPECT_TRUE(log.take().empty());
}

}  // namespace
}  // namespace sbrtest

#endif
