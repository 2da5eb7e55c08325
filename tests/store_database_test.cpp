// The open store behind the database front: what is written comes back, and nothing half-written ever does.
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <filesystem>
#include <numeric>
#include <random>
#include <set>

#include "database/check.h"
#include "support/files.h"
#include "support/messages.h"
#include "support/ordinary_user.h"
#include "support/stepped_process.h"
#include "support/store_test.h"

#ifdef SBRKIT_STORE_DIRECTORY

namespace sbrtest {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::UnorderedElementsAre;

// ---- files ---------------------------------------------------------------------------------------------------------

TEST_F(StoreTest, ADatabaseIsTwoFilesAndTheMasterPassesTheCheck) {
  ASSERT_EQ(put("selabel='wing'", {1}), 1);
  EXPECT_THAT(files(), UnorderedElementsAre("wing.MASTER", "wing.DBALL"));
  EXPECT_EQ(DB_CheckDBset(kMaster), 0);
  sbr::FileReport report;
  EXPECT_EQ(sbr::check_file(kMaster, report), sbr::FileCheck::usable);
  EXPECT_TRUE(report.is_master);
  EXPECT_EQ(report.version_major, 2022);
  EXPECT_EQ(report.version_minor, 2);
  EXPECT_EQ(report.block_count, 1);
  EXPECT_TRUE(log.take().empty());
}

TEST_F(StoreTest, TheScratchDatabaseLeavesNothingBehind) {
  start_reading();
  const std::set<std::string> present = files();
  ASSERT_EQ(present.size(), 2U);
  for (const std::string &name : present)
    EXPECT_TRUE(name.starts_with("sbr_" + std::to_string(getpid()) + "_")) << name;
  EXPECT_EQ(DB_TermBase(), 1);
  EXPECT_TRUE(files().empty());
}

TEST_F(StoreTest, AMasterWithoutItsDataIsNotOpened) {
  ASSERT_EQ(put("", {1}), 1);
  fs::rename("wing.DBALL", "other");
  EXPECT_EQ(DB_StartWrite(kMaster), 0);
  EXPECT_EQ(log.take(), std::vector<Message>{error("Cannot open the database, 103.")});
  start_reading();
  EXPECT_EQ(DB_BodyBrowser(kMaster, 1, nullptr), 0U);
}

TEST_F(StoreTest, DataThatIsNoStoreIsNotOpened) {
  ASSERT_EQ(put("", {1}), 1);
  write_file("wing.DBALL", std::string(4096, 'x'));
  EXPECT_EQ(DB_StartWrite(kMaster), 0);
  write_file("wing.DBALL", "");  // an empty database, but not of this store
  EXPECT_EQ(DB_StartWrite(kMaster), 0);
  EXPECT_EQ(log.take(),
            (std::vector<Message>{error("Cannot open the database, 107."), error("Cannot open the database, 107.")}));
}

TEST_F(StoreTest, BodiesThatLostTheirMasterAreNotReplacedByANewDatabase) {
  ASSERT_EQ(put("selabel='old'", {1}), 1);
  fs::rename(kMaster, "kept");
  EXPECT_EQ(put("selabel='new'", {2}), 0);
  EXPECT_EQ(log.take(), std::vector<Message>{error("Cannot open the database, 117.")});
  EXPECT_FALSE(fs::exists(kMaster));
  fs::rename("kept", kMaster);
  start_reading();
  EXPECT_EQ(DB_BodyBrowser(kMaster, 0, nullptr), 1U);
  EXPECT_EQ(first_value(1), 1);
}

TEST_F(StoreTest, ADirectoryThatIsNotThereGivesAStatus) {
  EXPECT_EQ(DB_StartWrite("absent/wing.MASTER"), 0);
  const std::string long_path = std::string(3000, 'w') + ".MASTER";
  EXPECT_EQ(DB_StartWrite(long_path.c_str()), 0);
  EXPECT_EQ(log.take(),
            (std::vector<Message>{error("Cannot open the database, 103."), error("Cannot open the database, 103.")}));
  EXPECT_TRUE(files().empty());
}

TEST_F(StoreTest, NamesThatLookLikeSomethingElseArePlainNames) {
  for (const char *path : {"file:wing?mode=memory.MASTER", ":memory:.MASTER", "it's a 'wing', (left)=1;.MASTER"}) {
    ASSERT_EQ(put("", {4}, path), 1) << path;
    EXPECT_TRUE(fs::exists(path));
    start_reading();
    EXPECT_EQ(DB_BodyBrowser(path, 0, nullptr), 1U) << path;
    const db_block block = open_body(1, path);
    int value = 0;
    EXPECT_EQ(DB_ReadINTs(block, &value, 1), 1);
    EXPECT_EQ(value, 4);
    end_reading();
  }
}

TEST_F(StoreTest, AWriteProtectedDatabaseCanBeRead) {
  ASSERT_EQ(put("", {5}), 1);
  chmod("wing.MASTER", 0444);
  chmod("wing.DBALL", 0444);
  chmod(directory.path().c_str(), 0777);
  const OrdinaryUser user;
  start_reading();
  EXPECT_EQ(first_value(1), 5);
  end_reading();
}

// ---- words ---------------------------------------------------------------------------------------------------------

TEST_F(StoreTest, WordsOfEveryKindComeBack) {
  const int ints[] = {1, -2, 2147483647};
  const int64_t longs[] = {INT64_MAX, INT64_MIN};
  const double reals[] = {3.25, -1e300};
  int64_t second[2] = {};
  ASSERT_EQ(DB_StartWrite(kMaster), 1);
  db_block block{DB_CreateSBRblk("selabel='wing'"), {0, 0}};
  ASSERT_GT(block.unit, 0);
  DB_WriteINTs(block, ints, 3);
  DB_WriteCHARs(block, "flexible", 8);
  DB_WriteEOR(block);
  DB_FSAVE(second, block);
  DB_WriteLONGs(block, longs, 2);
  DB_WriteDOUBLEs(block, reals, 2);
  DB_WriteCHARs(block, "\xfe\xff", 2);
  DB_WriteEOR(block);
  DB_CloseDatablk(block.unit);
  const int64_t trailer[7] = {block.unit, 2, 3, 4, 5, 6, 7};
  EXPECT_EQ(DB_WriteTrailer(trailer), 1);
  ASSERT_EQ(DB_TermWrite(), 1);
  EXPECT_TRUE(second[0] != 0 || second[1] != 0);

  start_reading();
  block = open_body(1);
  ASSERT_GT(block.unit, 0);
  int ints_read[3] = {};
  char text[8] = {};
  double reals_read[2] = {};
  double longs_read[2] = {};
  ASSERT_EQ(DB_FSAVE(block.start_position, block), 1);
  EXPECT_EQ(DB_ReadINTs(block, ints_read, 3), 1);
  EXPECT_THAT(ints_read, ElementsAre(1, -2, 2147483647));
  EXPECT_EQ(DB_ReadCHARs(block, text, 8), 1);
  EXPECT_EQ(std::string(text, 8), "flexible");
  EXPECT_EQ(DB_SkipRecord(block), 1);
  EXPECT_EQ(DB_ReadDOUBLEs(block, longs_read, 2), 1);
  EXPECT_EQ(std::memcmp(longs_read, longs, sizeof longs), 0);
  EXPECT_EQ(DB_ReadMODE(block, reals_read, 2), 1);
  EXPECT_THAT(reals_read, ElementsAre(3.25, -1e300));
  EXPECT_EQ(DB_ReadCHARs(block, text, 2), 1);
  EXPECT_EQ(std::string(text, 2), "\xfe\xff");
  EXPECT_EQ(DB_SkipRecord(block), 0);

  EXPECT_EQ(DB_REWIND(block), 1);
  EXPECT_EQ(DB_SeekFWD(block, -1), 1);
  EXPECT_EQ(DB_ReadINTs(block, ints_read, 1), 1);
  EXPECT_EQ(ints_read[0], -2);
  EXPECT_EQ(DB_FRESTORE(second, block), 1);
  EXPECT_EQ(DB_ReadDOUBLEs(block, longs_read, 1), 1);
  EXPECT_EQ(std::memcmp(longs_read, longs, sizeof longs[0]), 0);
}

TEST_F(StoreTest, ReadingEndsWithTheRecord) {
  ASSERT_EQ(put("", {1, 2, 3}), 1);
  start_reading();
  const db_block block = open_body(1);
  int values[5] = {9, 9, 9, 9, 9};
  EXPECT_EQ(DB_ReadINTs(block, values, 5), 0);
  EXPECT_THAT(values, ElementsAre(1, 2, 3, 0, 0));
  EXPECT_EQ(DB_ReadINTs(block, values, 1), 0);
  EXPECT_EQ(DB_SeekFWD(block, -1), 0);
}

TEST_F(StoreTest, PositionsThatDoNotExistReadNothing) {
  ASSERT_EQ(put("", {1, 2, 3}), 1);
  start_reading();
  const db_block block = open_body(1);
  int value = 0;
  for (const auto &[record, word] : std::initializer_list<std::pair<int64_t, int64_t>>{
           {0, 0}, {1, 4}, {1, -1}, {2, 0}, {INT64_MAX, INT64_MAX}, {-1, 0}}) {
    const int64_t position[2] = {record, word};
    DB_FRESTORE(position, block);
    EXPECT_EQ(DB_ReadINTs(block, &value, 1), 0) << record << ' ' << word;
  }
  const int64_t position[2] = {1, 2};
  DB_FRESTORE(position, block);
  EXPECT_EQ(DB_ReadINTs(block, &value, 1), 1);
  EXPECT_EQ(value, 3);
}

TEST_F(StoreTest, LongRecordsPassThroughManyPieces) {
  constexpr int kWords = 100000;
  std::vector<double> values(kWords);
  std::iota(values.begin(), values.end(), 0.5);
  int64_t middle[2] = {};
  ASSERT_EQ(DB_StartWrite(kMaster), 1);
  db_block block{DB_CreateSBRblk(""), {0, 0}};
  DB_WriteDOUBLEs(block, values.data(), 60000);
  DB_FSAVE(middle, block);
  DB_WriteDOUBLEs(block, values.data() + 60000, kWords - 60000);
  DB_WriteEOR(block);
  DB_CloseDatablk(block.unit);
  ASSERT_EQ(DB_TermWrite(), 1);

  start_reading();
  block = open_body(1);
  std::vector<double> read(kWords);
  EXPECT_EQ(DB_ReadDOUBLEs(block, read.data(), kWords), 1);
  EXPECT_EQ(read, values);
  DB_FRESTORE(middle, block);
  EXPECT_EQ(DB_SeekFWD(block, -30000), 1);
  EXPECT_EQ(DB_ReadDOUBLEs(block, read.data(), 1), 1);
  EXPECT_EQ(read[0], 90000.5);
}

TEST_F(StoreTest, UnitsThatAreNotOpenReadNothing) {
  start_reading();
  int value = 0;
  for (const int unit : {-1, 0, 1, 1000000}) {
    EXPECT_EQ(DB_ReadINTs({unit, {0, 0}}, &value, 1), 0);
    EXPECT_EQ(DB_SkipRecord({unit, {0, 0}}), 0);
  }
}

// ---- scratch blocks ------------------------------------------------------------------------------------------------

TEST_F(StoreTest, AScratchBlockIsWrittenAndReadAgain) {
  start_reading();
  int numbers[2] = {};
  const db_block first{DB_OpenScratch(&numbers[0]), {0, 0}};
  const db_block second{DB_OpenScratch(&numbers[1]), {0, 0}};
  const int values[] = {7, 8};
  DB_WriteINTs(first, values, 1);
  DB_WriteINTs(second, values + 1, 1);
  DB_WriteEOR(first);
  int value = 0;
  EXPECT_EQ(DB_ReadINTs(first, &value, 1), 0);  // still open for writing
  EXPECT_EQ(DB_ReOpenScratch(first.unit), 1);
  EXPECT_EQ(DB_ReOpenScratch(second.unit), 1);  // its record was not ended: closing ends it
  EXPECT_EQ(DB_ReadINTs(first, &value, 1), 1);
  EXPECT_EQ(value, 7);
  EXPECT_EQ(DB_ReadINTs(second, &value, 1), 1);
  EXPECT_EQ(value, 8);
  EXPECT_EQ(DB_ReOpenScratch(first.unit), 1);
  EXPECT_EQ(DB_ReadINTs(first, &value, 1), 1);
  EXPECT_EQ(value, 7);
}

// ---- dictionary ----------------------------------------------------------------------------------------------------

TEST_F(StoreTest, BodiesAreListedInTheOrderOfTheirCreation) {
  ASSERT_EQ(put("projno=3,version=12,selabel='wing, left',peid=40", {1}), 1);
  ASSERT_EQ(put("selabel='a (b)=c;d',desiter=2,stepcur=5", {2}), 1);
  ASSERT_EQ(put("", {3}), 1);
  start_reading();
  EXPECT_EQ(DB_BodyBrowser(kMaster, 0, nullptr), 3U);
  EXPECT_EQ(describe(1), "SELABEL='wing, left',projno=3,version=12,PEID=40,DESITER=0,STEPCUR=0");
  EXPECT_EQ(describe(2), "SELABEL='a (b)=c;d',projno=1,version=1,PEID=0,DESITER=2,STEPCUR=5");
  EXPECT_EQ(describe(3), "SELABEL='',projno=1,version=1,PEID=0,DESITER=0,STEPCUR=0");
  EXPECT_EQ(describe(4), "");
  for (int index = 1; index <= 3; ++index) EXPECT_EQ(first_value(index), index);
  EXPECT_EQ(first_value(4), -1);
  EXPECT_EQ(log.take(), std::vector<Message>{error("The index is too big, 4.")});
}

TEST_F(StoreTest, TwoDatabasesCanBeReadTogether) {
  ASSERT_EQ(put("selabel='same'", {1}, "one.MASTER"), 1);
  ASSERT_EQ(put("selabel='same'", {2}, "two.MASTER"), 1);
  start_reading();
  const db_block one = open_body(1, "one.MASTER");
  const db_block two = open_body(1, "two.MASTER");
  int value = 0;
  EXPECT_EQ(DB_ReadINTs(two, &value, 1), 1);
  EXPECT_EQ(value, 2);
  EXPECT_EQ(DB_ReadINTs(one, &value, 1), 1);
  EXPECT_EQ(value, 1);
}

TEST_F(StoreTest, ABodyWithTheQualifiersOfAnotherTakesItsPlaceInTheList) {
  ASSERT_EQ(put("selabel='wing'", {1}), 1);
  ASSERT_EQ(put("selabel='tail'", {2}), 1);
  ASSERT_EQ(put("SELABEL='wing  '", {3}), 1);  // trailing blanks do not tell labels apart
  start_reading();
  EXPECT_EQ(DB_BodyBrowser(kMaster, 0, nullptr), 2U);
  EXPECT_EQ(first_value(1), 3);
  EXPECT_EQ(first_value(2), 2);
}

TEST_F(StoreTest, QualifiersThatCouldNotBeFoundAgainAreRefused) {
  struct Case {
    const char *qualifiers;
    int status;
  };
  for (const Case &bad :
       {Case{"selabel='it''s'", 106}, Case{"selabel='a\nb'", 106}, Case{"peid='a b'", 106}, Case{"peid='1,2'", 106},
        Case{"projno=*", 106}, Case{"projno", 106}, Case{"projno=1,projno=2", 106}, Case{"color=red", 106},
        Case{"highqual=7", 106}, Case{"peid=''", 106}, Case{"peid=", 105}, Case{"selabel='open", 105},
        Case{"projno=1) junk(", 105}, Case{"=", 105}, Case{"projno==1", 105}, Case{"'x'", 105}, Case{"a=1 b=2", 105}}) {
    EXPECT_EQ(put(bad.qualifiers, {1}), 0) << bad.qualifiers;
    EXPECT_EQ(log.take(),
              std::vector<Message>{error("Cannot create sbr datablock, " + std::to_string(bad.status) + ".")})
        << bad.qualifiers;
  }
  ASSERT_EQ(put("peid=1", {1}), 1);
  start_reading();
  EXPECT_EQ(DB_BodyBrowser(kMaster, 0, nullptr), 1U);
}

TEST_F(StoreTest, AVeryLongLabelIsKeptWhole) {
  const std::string label(20000, 'w');
  ASSERT_EQ(put("selabel='" + label + "'", {1}), 1);
  ASSERT_EQ(put("selabel='" + label + "x'", {2}), 1);
  start_reading();
  EXPECT_EQ(first_value(1), 1);
  EXPECT_EQ(first_value(2), 2);
}

TEST_F(StoreTest, CommandsThatAreNotUnderstoodGiveAStatus) {
  start_reading();
  int status = 0;
  const std::pair<const char *, int> cases[] = {{"", 105},
                                                {"dbremove datablk=(sbrdb)", 105},
                                                {"assign", 105},
                                                {"assign a='x' b='y'", 105},
                                                {"assign a=", 105},
                                                {"assign a=('x';'y')", 105},
                                                {"assign a=('x') b", 105},
                                                {"dblocate logical=nobody datablk=(sbrdb)", 108},
                                                {"dblocate datablk=(sbrdb)", 105},
                                                {"dblocate logical=a datablk=(sbrdb", 105},
                                                {"(((((", 105},
                                                {"'", 105}};
  for (const auto &[command, expected] : cases) {
    CDB_QS_DbCommand(command, &status);
    EXPECT_EQ(status, expected) << command;
  }
  CDB_QS_DbCommand(nullptr, &status);
  EXPECT_EQ(status, 115);
  CDB_QS_DbCommand("assign a='absent.MASTER'", &status);
  EXPECT_EQ(status, 0);
  CDB_QS_DbCommand("dblocate logical=a datablk=(sbrdb)", &status);
  EXPECT_EQ(status, 103);
}

TEST_F(StoreTest, EntriesKeepToTheirOrderAndRoom) {
  ASSERT_EQ(CDB_LoadLibrary(), 1);
  int status = 0;
  int length = 0;
  int second = 0;
  char name[4] = {};
  CDB_QS_DbaseOld("wing", "", &status);
  EXPECT_EQ(status, 101);  // not booted
  CDB_QS_DbaseNdl("", &status);
  EXPECT_EQ(status, 101);
  CDB_QS_DbaseBst("", "./", &status);
  EXPECT_EQ(status, 0);
  CDB_QS_DbaseNdl("", &status);
  EXPECT_EQ(status, 102);  // no database
  CDB_QS_DbaseCls(&status);
  EXPECT_EQ(status, 102);
  CDB_QS_DbaseNew("wing", "format disk", &status);
  EXPECT_EQ(status, 105);
  length = sizeof name;
  CDB_QS_GetDbName("DBS", name, &length, &status);
  EXPECT_EQ(status, 116);
  CDB_QS_GetDbName("XYZ", name, &length, &status);
  EXPECT_EQ(status, 115);
  CDB_QS_GetDbName("DBS", nullptr, nullptr, &status);
  EXPECT_EQ(status, 115);
  CDB_QS_GetSysBuf(&length, &second, 0);
  EXPECT_EQ(length, 65536);
  CDB_QS_GetSysBuf(nullptr, nullptr, 0);
  EXPECT_TRUE(files().empty());
}

// ---- complete or not at all ----------------------------------------------------------------------------------------

TEST_F(StoreTest, ABlockThatWasNotClosedDoesNotLast) {
  ASSERT_EQ(put("selabel='kept'", {1}), 1);
  ASSERT_EQ(DB_StartWrite(kMaster), 1);
  const db_block block{DB_CreateSBRblk("selabel='open'"), {0, 0}};
  const int value = 2;
  DB_WriteINTs(block, &value, 1);
  DB_WriteEOR(block);
  EXPECT_EQ(DB_TermWrite(), 1);
  start_reading();
  EXPECT_EQ(DB_BodyBrowser(kMaster, 0, nullptr), 1U);
}

TEST_F(StoreTest, ARunThatIsStartedAnewForgetsTheOneBefore) {
  ASSERT_EQ(put("selabel='kept'", {1}), 1);
  ASSERT_EQ(DB_StartWrite(kMaster), 1);
  db_block block{DB_CreateSBRblk("selabel='lost'"), {0, 0}};
  DB_CloseDatablk(block.unit);
  ASSERT_EQ(DB_StartWrite(kMaster), 1);
  EXPECT_EQ(DB_TermWrite(), 1);
  start_reading();
  EXPECT_EQ(DB_BodyBrowser(kMaster, 0, nullptr), 1U);
}

TEST_F(StoreTest, AFullDiskUndoesTheRunAndIsReported) {
  ASSERT_EQ(put("selabel='kept'", {1}), 1);
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    std::signal(SIGXFSZ, SIG_IGN);
    log.clear();
    if (DB_StartWrite(kMaster) == 0) _exit(1);
    const rlimit limit{200000, 200000};
    setrlimit(RLIMIT_FSIZE, &limit);
    const db_block block{DB_CreateSBRblk("selabel='large'"), {0, 0}};
    const std::vector<double> values(1000000, 1.0);
    for (int i = 0; i < 3; ++i) DB_WriteDOUBLEs(block, values.data(), static_cast<int>(values.size()));
    DB_WriteEOR(block);
    DB_CloseDatablk(block.unit);
    const bool reported =
        DB_TermWrite() == 0 && log.take() == std::vector<Message>{error("Cannot close the database, 113.")};
    _exit(reported ? 0 : 2);
  }
  int result = 0;
  ASSERT_EQ(waitpid(child, &result, 0), child);
  EXPECT_EQ(result, 0);
  start_reading();
  EXPECT_EQ(DB_BodyBrowser(kMaster, 0, nullptr), 1U);
  EXPECT_EQ(first_value(1), 1);
}

// One generation of a body: every word of its records is the generation's number.
constexpr int kRecords = 6;
constexpr int kRecordWords = 3000;

void write_generation(int body, int generation) {
  if (DB_StartWrite(kMaster) == 0) _exit(1);
  const db_block block{DB_CreateSBRblk(("selabel='body " + std::to_string(body) + "'").c_str()), {0, 0}};
  const std::vector<double> values(kRecordWords, generation);
  for (int i = 0; i < kRecords; ++i) {
    DB_WriteDOUBLEs(block, values.data(), kRecordWords);
    DB_WriteEOR(block);
  }
  const int64_t trailer[7] = {block.unit, generation, 0, 0, 0, 0, 0};
  DB_CloseDatablk(block.unit);
  DB_WriteTrailer(trailer);
  if (DB_TermWrite() == 0) _exit(2);
}

// The generation of a complete body; 0 for one that is torn.
int generation_of(const db_block &block) {
  std::vector<double> values(kRecordWords);
  double generation = 0.0;
  for (int i = 0; i < kRecords; ++i) {
    if (i > 0 && DB_SkipRecord(block) == 0) return 0;
    if (DB_ReadDOUBLEs(block, values.data(), kRecordWords) == 0) return 0;
    if (i == 0) generation = values[0];
    for (const double value : values)
      if (value != generation) return 0;
  }
  return DB_SkipRecord(block) == 0 ? static_cast<int>(generation) : 0;
}

TEST_F(StoreTest, AWriterThatIsKilledLeavesTheLastCompleteState) {
  constexpr int kRounds = 200;
  std::mt19937 random(20240301);
  std::map<std::string, int> state;  // generation by description
  int interrupted = 0;
  const auto writing = [](int body, int generation) {
    return [=] {
      write_generation(body, generation);
      return 0;
    };
  };
  SteppedProcess first(writing(0, 0));
  const int whole = first.count_to_the_end();
  ASSERT_EQ(first.finish(), 0);
  for (const auto &file : files()) fs::remove(file);
  std::uniform_int_distribution<int> calls(0, whole * 5 / 4);
  for (int round = 1; round <= kRounds; ++round) {
    const int body = round % 3;
    SteppedProcess child(writing(body, round));
    child.pass(calls(random));
    const int result = child.end_by(SIGKILL);
    interrupted += WIFSIGNALED(result) ? 1 : 0;
    ASSERT_TRUE(WIFSIGNALED(result) || result == 0) << "round " << round;
    if (!fs::exists(kMaster)) {
      ASSERT_TRUE(state.empty());
      continue;
    }

    start_reading();
    ASSERT_EQ(DB_CheckDBset(kMaster), 0);
    std::map<std::string, int> present;
    const int bodies = static_cast<int>(DB_BodyBrowser(kMaster, 0, nullptr));
    for (int index = 1; index <= bodies; ++index) present[describe(index)] = generation_of(open_body(index));
    end_reading();

    const std::string name =
        "SELABEL='body " + std::to_string(body) + "',projno=1,version=1,PEID=0,DESITER=0,STEPCUR=0";
    std::map<std::string, int> finished = state;
    finished[name] = round;
    ASSERT_TRUE(present == finished || (WIFSIGNALED(result) && present == state)) << "round " << round;
    state = present;
  }
  EXPECT_GT(interrupted, kRounds / 10);
  EXPECT_LT(interrupted, kRounds);
  EXPECT_TRUE(log.take().empty());
}

TEST_F(StoreTest, DamagedDataNeverDoesHarm) {
  ASSERT_EQ(DB_StartWrite(kMaster), 1);
  db_block block{DB_CreateSBRblk("selabel='wing'"), {0, 0}};
  const std::vector<double> values(500, 1.0);
  for (int i = 0; i < 3; ++i) {
    DB_WriteDOUBLEs(block, values.data(), 500);
    DB_WriteEOR(block);
  }
  DB_CloseDatablk(block.unit);
  ASSERT_EQ(DB_TermWrite(), 1);
  const std::string good = read_file("wing.DBALL");

  std::mt19937 random(7);
  int opened = 0;
  start_reading();
  for (int i = 0; i < 300; ++i) {
    std::string bytes = good;
    if (i % 3 == 0) bytes.resize(random() % bytes.size());
    for (int k = 0; k < 8 && !bytes.empty(); ++k) bytes[random() % bytes.size()] = static_cast<char>(random());
    write_file("wing.DBALL", bytes);
    block = open_body(1);
    if (block.unit == 0) continue;
    ++opened;
    std::vector<double> read(500);
    DB_ReadDOUBLEs(block, read.data(), 500);
    int records = 1;
    for (; records < 1000 && DB_SkipRecord(block) != 0; ++records) DB_ReadDOUBLEs(block, read.data(), 500);
    EXPECT_LE(records, 3) << "there are no more than were written, whatever the damage";
    DB_CloseDatablk(block.unit);
  }
  EXPECT_GT(opened, 0);
  EXPECT_LT(opened, 300);
  // What was refused did not spoil the process for good data.
  write_file("wing.DBALL", good);
  block = open_body(1);
  ASSERT_NE(block.unit, 0);
  std::vector<double> read(500);
  EXPECT_NE(DB_ReadDOUBLEs(block, read.data(), 500), 0);
  EXPECT_EQ(read, values);
}

}  // namespace
}  // namespace sbrtest

#endif
