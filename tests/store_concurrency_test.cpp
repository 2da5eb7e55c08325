// Several processes at one database: each sees whole states, and no one waits longer than needed.
#include <gmock/gmock.h>
#include <sqlite3.h>
#include <sys/syscall.h>

#include <chrono>
#include <filesystem>

#include "support/stepped_process.h"
#include "support/store_test.h"

#ifdef SBRKIT_STORE_DIRECTORY

namespace sbrtest {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr int kRecords = 40;
constexpr int kRecordWords = 5000;

bool put_generation(int generation) {
  return sbrtest::put_generation("selabel='a'", generation, kRecords, kRecordWords);
}

// The next record's word, if it has but one; 0 for a torn record.
int read_record(const db_block &block) {
  std::vector<int> values(kRecordWords);
  if (DB_ReadINTs(block, values.data(), kRecordWords) == 0) return 0;
  for (const int value : values)
    if (value != values[0]) return 0;
  return values[0];
}

double seconds_since(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

// A lock as another writer holds it.
class OtherWriter {
 public:
  OtherWriter() {
    if (sqlite3_open("wing.DBALL", &connection_) != SQLITE_OK) std::abort();
    run("BEGIN IMMEDIATE");
  }
  ~OtherWriter() { finish(); }
  OtherWriter(const OtherWriter &) = delete;
  OtherWriter &operator=(const OtherWriter &) = delete;
  void finish() {
    if (connection_ == nullptr) return;
    run("COMMIT");
    sqlite3_close(connection_);
    connection_ = nullptr;
  }

 private:
  void run(const char *sql) {
    if (sqlite3_exec(connection_, sql, nullptr, nullptr, nullptr) != SQLITE_OK) std::abort();
  }
  sqlite3 *connection_ = nullptr;
};

using StoreConcurrencyTest = StoreTest;

TEST_F(StoreConcurrencyTest, ThreeFirstWritersAtOnceAllSucceed) {
  for (int round = 0; round < 12; ++round) {
    const std::string path = std::to_string(round) + ".MASTER";
    std::vector<std::unique_ptr<Companion>> writers;
    for (int writer = 1; writer <= 3; ++writer)
      writers.push_back(std::make_unique<Companion>(
          [=] { return put("selabel='" + std::to_string(writer) + "'", {writer}, path.c_str()) == 1 ? 0 : 1; }));
    for (const auto &writer : writers) writer->start();
    for (const auto &writer : writers) EXPECT_EQ(writer->finish(), 0) << "round " << round;
    start_reading();
    EXPECT_EQ(DB_BodyBrowser(path.c_str(), 0, nullptr), 3U) << "round " << round;
    std::set<int> values;
    for (int i = 1; i <= 3; ++i) values.insert(first_value(i, path.c_str()));
    EXPECT_EQ(values, (std::set<int>{1, 2, 3}));
    end_reading();
    for (const std::string &name : files()) EXPECT_TRUE(name.ends_with(".MASTER") || name.ends_with(".DBALL")) << name;
  }
  EXPECT_TRUE(log.take().empty());
}

TEST_F(StoreConcurrencyTest, AReaderSeesTheBodyThatItOpenedWhileAnotherProcessReplacesIt) {
  Companion other([] { return put_generation(2) ? 0 : 1; });
  ASSERT_TRUE(put_generation(1));
  start_reading();
  const db_block block = open_body(1);
  EXPECT_EQ(read_record(block), 1);
  EXPECT_EQ(other.run(), 0);
  for (int i = 1; i < kRecords; ++i) {
    ASSERT_EQ(DB_SkipRecord(block), 1);
    ASSERT_EQ(read_record(block), 1) << "record " << i;
  }
  const db_block again = open_body(1);  // the state stays as long as a body of it is open
  EXPECT_EQ(read_record(again), 1);
  DB_CloseDatablk(block.unit);
  DB_CloseDatablk(again.unit);
  EXPECT_EQ(first_value(1), 2);
}

TEST_F(StoreConcurrencyTest, AListShowsWhatOtherProcessesHaveStoredMeanwhile) {
  Companion adds([] { return put("selabel='b'", {2}); });
  Companion replaces([] { return put("selabel='a'", {3}); });
  ASSERT_EQ(put("selabel='a'", {1}), 1);
  start_reading();
  EXPECT_EQ(DB_BodyBrowser(kMaster, 0, nullptr), 1U);
  EXPECT_EQ(adds.run(), 1);
  EXPECT_EQ(DB_BodyBrowser(kMaster, 0, nullptr), 2U);
  EXPECT_EQ(replaces.run(), 1);
  EXPECT_EQ(DB_BodyBrowser(kMaster, 0, nullptr), 2U);
  EXPECT_EQ(first_value(1), 3);
  EXPECT_EQ(first_value(2), 2);
}

TEST_F(StoreConcurrencyTest, AWriterThatComputesKeepsNobodyWaiting) {
  const ScopedEnvironment wait("QSRV_WAIT", "1");
  Companion other([] { return put("selabel='quick'", {2}); });
  ASSERT_EQ(put("selabel='first'", {1}), 1);
  ASSERT_EQ(DB_StartWrite(kMaster), 1);
  const db_block block{DB_CreateSBRblk("selabel='slow'"), {0, 0}};
  const std::vector<double> values(200000, 1.0);
  DB_WriteDOUBLEs(block, values.data(), 200000);
  const auto start = Clock::now();
  EXPECT_EQ(other.run(), 1);
  EXPECT_LT(seconds_since(start), 5.0);
  DB_WriteEOR(block);
  DB_CloseDatablk(block.unit);
  EXPECT_EQ(DB_TermWrite(), 1);
  start_reading();
  EXPECT_EQ(DB_BodyBrowser(kMaster, 0, nullptr), 3U);
}

TEST_F(StoreConcurrencyTest, AReaderKeepsNoWriterWaiting) {
  const ScopedEnvironment wait("QSRV_WAIT", "1");
  Companion other([] { return put("selabel='b'", {2}); });
  ASSERT_TRUE(put_generation(1));
  start_reading();
  const db_block block = open_body(1);
  EXPECT_EQ(other.run(), 1);
  EXPECT_EQ(read_record(block), 1);
}

TEST_F(StoreConcurrencyTest, WritersWaitForEachOther) {
  SteppedProcess second([] { return put("selabel='b'", {2}) == 1 ? 0 : 1; });
  ASSERT_EQ(put("selabel='a'", {1}), 1);
  {
    const OtherWriter other;
    for (int waits = 0; waits < 3; ++waits)
      ASSERT_TRUE(second.pass_until(SYS_clock_nanosleep)) << "it has not waited: " << second.finish();
  }
  EXPECT_EQ(second.finish(), 0);
  start_reading();
  EXPECT_EQ(DB_BodyBrowser(kMaster, 0, nullptr), 2U);
  EXPECT_TRUE(log.take().empty());
}

TEST_F(StoreConcurrencyTest, WaitingEndsAfterTheStatedTime) {
  ASSERT_EQ(put("selabel='a'", {1}), 1);
  const ScopedEnvironment wait("QSRV_WAIT", "1");
  {
    const OtherWriter other;
    const auto start = Clock::now();
    EXPECT_EQ(put("selabel='b'", {2}), 0);
    EXPECT_GT(seconds_since(start), 0.9);
    EXPECT_LT(seconds_since(start), 10.0);
    EXPECT_EQ(log.take(), std::vector<Message>{error("Cannot close the database, 112.")});
    start_reading();  // who reads does not wait at all
    EXPECT_EQ(first_value(1), 1);
    end_reading();
  }
  start_reading();
  EXPECT_EQ(DB_BodyBrowser(kMaster, 0, nullptr), 1U);
}

TEST_F(StoreConcurrencyTest, ADatabaseThatIsTakenAwayDuringARunIsNotWrittenElsewhere) {
  ASSERT_EQ(put("selabel='a'", {1}), 1);
  ASSERT_EQ(DB_StartWrite(kMaster), 1);
  ASSERT_TRUE(add("selabel='b'", {2}));
  fs::create_directory("away");
  for (const char *name : {"wing.MASTER", "wing.DBALL"}) fs::rename(name, fs::path("away") / name);
  EXPECT_EQ(DB_TermWrite(), 0);
  EXPECT_EQ(log.take(), std::vector<Message>{error("Cannot close the database, 103.")});
  EXPECT_EQ(files(), std::set<std::string>{"away"});
}

TEST_F(StoreConcurrencyTest, ADatabaseThatIsReplacedIsReadAnew) {
  ASSERT_EQ(put("selabel='a'", {1}, "other.MASTER"), 1);
  ASSERT_EQ(put("selabel='a'", {2}), 1);
  start_reading();
  EXPECT_EQ(first_value(1), 2);
  fs::rename("other.DBALL", "wing.DBALL");
  EXPECT_EQ(first_value(1), 1);
}

}  // namespace
}  // namespace sbrtest

#endif
