// The database front against a library that only notes what it is asked.
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <limits>

#include "plugins/standin.h"
#include "sbrkit/dynamic_library.hpp"
#include "support/files.h"
#include "support/messages.h"

namespace sbrtest {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

using Calls = std::vector<std::string>;

// A header of a ".MASTER" file that the check accepts.
std::string good_header() {
  std::vector<std::int64_t> words(128);
  const auto characters = [](const char *text) {
    std::uint32_t value = 0;
    std::memcpy(&value, text, 4);
    return static_cast<std::int64_t>(value);
  };
  words[3] = words[6] = 16;
  words[4] = 128;
  words[5] = 3;
  words[8] = 40;
  words[10] = 64;
  words[19] = characters("*TIM");
  words[20] = characters("E ST");
  words[21] = characters("AMP*");
  words[79] = 3;
  return {reinterpret_cast<const char *>(words.data()), words.size() * sizeof words[0]};
}

// The present value of a number that only rises, taken from "name<number>" in a call.
int number_behind(const std::string &text, const std::string &name) {
  const std::size_t place = text.find(name);
  return place == std::string::npos ? -1 : std::stoi(text.substr(place + name.size()));
}

class DatabaseFrontTest : public LibraryTest {
 protected:
  DatabaseFrontTest() {
    fs::current_path(directory.path());
    handle = dlopen(SBRKIT_TEST_PLUGINS "/standin/Qsrv_22_2.so", RTLD_NOW | RTLD_LOCAL);
    standin = reinterpret_cast<StandinStateFunction *>(dlsym(handle, "standin_state"))();
    *standin = StandinState{};
    standin->names = {{"F06", "wing_f06"}, {"DBS", "scratch_a_T1"}};
  }
  ~DatabaseFrontTest() override {
    standin->statuses.clear();
    DB_TermWrite();
    DB_TermBase();
    CDB_UnloadLibrary();
    dlclose(handle);
    fs::current_path(before);
  }

  // The calls since the last time, without those of the file check.
  Calls calls() {
    Calls all = std::exchange(standin->calls, {});
    std::erase(all, "QS_GetSysBuf(0)");
    return all;
  }
  void start_base() {
    ASSERT_EQ(CDB_LoadLibrary(), 1);
    ASSERT_EQ(DB_StartBase(), 1);
    calls();
  }
  std::string in(const std::string &name) { return directory.file(name); }

  fs::path before = fs::current_path();
  ScratchDirectory directory;
  ScopedEnvironment plugins{"KTX_USER_PLUGIN_DIR", SBRKIT_TEST_PLUGINS "/standin"};
  ScopedEnvironment home{"KTX_QSRVHOME_DIR", "/qsrv"};
  ScopedEnvironment assignments{"QSBASGFILE", std::nullopt};
  void *handle = nullptr;
  StandinState *standin = nullptr;
};

// ---- binding -------------------------------------------------------------------------------------------------------

TEST_F(DatabaseFrontTest, TheLibraryIsBoundOnce) {
  EXPECT_EQ(CDB_LoadLibrary(), 1);
  EXPECT_EQ(CDB_LoadLibrary(), 1);
  EXPECT_EQ(ktxDynamicLibrary().reference_count_of("Qsrv_22_2"), 1);
  CDB_UnloadLibrary();
  CDB_UnloadLibrary();
  EXPECT_EQ(ktxDynamicLibrary().reference_count_of("Qsrv_22_2"), 0);
}

TEST_F(DatabaseFrontTest, AMissingLibraryIsNotBound) {
  const ScopedEnvironment nowhere("KTX_USER_PLUGIN_DIR", std::nullopt);
  EXPECT_EQ(CDB_LoadLibrary(), 0);
  EXPECT_EQ(DB_StartWrite("wing.MASTER"), 0);
  EXPECT_EQ(log.take(), std::vector<Message>{error("Fail to load Qsrv library.")});
}

TEST_F(DatabaseFrontTest, TheBindingPassesAllArguments) {
  ASSERT_EQ(CDB_LoadLibrary(), 1);
  int a = 0;
  int b = 0;
  int status = 9;
  char text[32] = {};
  const int64_t words[7] = {7, 6, 5, 4, 3, 2, 1};
  int64_t out[2] = {};
  CDB_QS_GetSysBuf(&a, &b, 0);
  EXPECT_EQ(a, 32768);
  b = 32;
  CDB_QS_GetDbName("F06", text, &b, &status);
  EXPECT_STREQ(text, "wing_f06");
  CDB_QS_DbaseCls(&status);
  CDB_QS_DbaseBst("m", "d", &status);
  CDB_QS_DbaseOld("b", "o", &status);
  CDB_QS_DbaseNew("b", "c", &status);
  CDB_QS_DbaseNdl("s", &status);
  CDB_QS_DbCommand("x", &status);
  CDB_QS_GetDbdict("y", text, 5, &a, &status);
  CDB_QS_AllocDatablk("z", &a, &b, &status);
  CDB_QS_CreateDatablk("w", &a, &b, &status);
  CDB_Ruvo_Open(7, 0, 1);
  CDB_Ruvo_Close(7, 1);
  CDB_Ruvo_WriteTrailer(words);
  CDB_Ruvo_SkipRecord(&status, 7);
  CDB_Ruvo_SavePos(7, out, &a, &b);
  CDB_Ruvo_SetPos(7, out);
  CDB_Ruvo_Read(&status, 7, out, 2, 0, &a);
  EXPECT_EQ(CDB_Ruvo_Write(7, words, 3, 1), 1);
  EXPECT_THAT(standin->calls,
              ElementsAre("QS_GetSysBuf(0)", "QS_GetDbName(F06)", "QS_DbaseCls()", "QS_DbaseBst(m,d)",
                          "QS_DbaseOld(b,o)", "QS_DbaseNew(b,c)", "QS_DbaseNdl(s)", "QS_DbCommand(x)",
                          "QS_GetDbdict(y,5)", "QS_AllocDatablk(z)", "QS_CreateDatablk(w)", "Ruvo_Open(7,0,1)",
                          "Ruvo_Close(7,1)", "Ruvo_WriteTrailer(7 6 5 4 3 2 1)", "Ruvo_SkipRecord(7)",
                          "Ruvo_SavePos(7)", "Ruvo_SetPos(7,11,22)", "Ruvo_Read(7,2,0)", "Ruvo_Write(7,7 6 5,3,1)"));
  EXPECT_EQ(status, 0);
  EXPECT_TRUE(log.take().empty());
}

TEST_F(DatabaseFrontTest, EveryEntryThatIsNotBoundIsAReportAndAFailure) {
  int a = 5;
  int b = 5;
  int status = 0;
  char text[8] = {};
  const int64_t words[7] = {};
  int64_t out[2] = {};
  struct Case {
    const char *name;
    int result;
  };
  const Case cases[] = {{"QS_GetSysBuf", CDB_QS_GetSysBuf(&a, &b, 0)},
                        {"QS_GetDbName", CDB_QS_GetDbName("F06", text, &b, &status)},
                        {"QS_DbaseCls", CDB_QS_DbaseCls(&status)},
                        {"QS_DbaseBst", CDB_QS_DbaseBst("", "", &status)},
                        {"QS_DbaseOld", CDB_QS_DbaseOld("", "", &status)},
                        {"QS_DbaseNew", CDB_QS_DbaseNew("", "", &status)},
                        {"QS_DbaseNdl", CDB_QS_DbaseNdl("", &status)},
                        {"QS_DbCommand", CDB_QS_DbCommand("", &status)},
                        {"QS_GetDbdict", CDB_QS_GetDbdict("", text, 1, &a, &status)},
                        {"QS_AllocDatablk", CDB_QS_AllocDatablk("", &a, &b, &status)},
                        {"QS_CreateDatablk", CDB_QS_CreateDatablk("", &a, &b, nullptr)},
                        {"Ruvo_Open", CDB_Ruvo_Open(1, 0, 0)},
                        {"Ruvo_Close", CDB_Ruvo_Close(1, 1)},
                        {"Ruvo_WriteTrailer", CDB_Ruvo_WriteTrailer(words)},
                        {"Ruvo_SkipRecord", CDB_Ruvo_SkipRecord(&status, 1)},
                        {"Ruvo_SavePos", CDB_Ruvo_SavePos(1, out, &a, &b)},
                        {"Ruvo_SetPos", CDB_Ruvo_SetPos(1, out)},
                        {"Ruvo_Read", CDB_Ruvo_Read(&status, 1, out, 1, 0, &a)},
                        {"Ruvo_Write", CDB_Ruvo_Write(1, words, 1, 0)}};
  const std::vector<Message> messages = log.take();
  ASSERT_EQ(messages.size(), 19U);
  for (std::size_t i = 0; i < 19; ++i) {
    EXPECT_EQ(cases[i].result, 0) << cases[i].name;
    EXPECT_EQ(messages[i],
              error(std::string("The Qsrv library is not loaded, ") + cases[i].name + " cannot be called."));
  }
  EXPECT_EQ(status, -1);
}

TEST_F(DatabaseFrontTest, ALibraryThatLacksEntriesIsBoundAndFailsWhenTheyAreNeeded) {
  const ScopedEnvironment partial("KTX_USER_PLUGIN_DIR", SBRKIT_TEST_PLUGINS "/partial");
  ASSERT_EQ(CDB_LoadLibrary(), 1);
  EXPECT_EQ(DB_StartWrite("wing.MASTER"), 0);
  EXPECT_EQ(log.take(), (std::vector<Message>{error("The Qsrv library has no entry QS_DbaseNew."),
                                              error("Cannot open the database, -1.")}));
  EXPECT_EQ(DB_StartBase(), 0);
  EXPECT_EQ(log.take(), std::vector<Message>{error("The Qsrv library has no entry QS_GetDbName.")});
}

TEST_F(DatabaseFrontTest, BlockOperationsWithoutALibraryFailSafely) {
  const db_block block{3, {0, 0}};
  const int number = 1;
  int ints[2] = {};
  double real = 0.0;
  char text[8] = {};
  int64_t position[2] = {};
  const int64_t trailer[7] = {};
  EXPECT_EQ(DB_StartBase(), 0);
  EXPECT_EQ(DB_CreateSBRblk("projno=1"), 0);
  EXPECT_EQ(DB_OpenScratch(&ints[0]), 0);
  EXPECT_EQ(DB_ReOpenScratch(3), 0);
  EXPECT_EQ(DB_CloseDatablk(3), 0);
  EXPECT_EQ(DB_WriteINTs(block, &number, 1), 0);
  EXPECT_EQ(DB_WriteEOR(block), 0);
  EXPECT_EQ(DB_WriteTrailer(trailer), 0);
  EXPECT_EQ(DB_ReadINTs(block, ints, 2), 0);
  EXPECT_EQ(DB_ReadDOUBLEs(block, &real, 1), 0);
  EXPECT_EQ(DB_ReadCHARs(block, text, 5), 0);
  EXPECT_EQ(DB_SkipRecord(block), 0);
  EXPECT_EQ(DB_SeekFWD(block, -1), 0);
  EXPECT_EQ(DB_FSAVE(position, block), 0);
  EXPECT_EQ(DB_FRESTORE(position, block), 0);
  EXPECT_EQ(DB_REWIND(block), 0);
  for (const Message &message : log.take()) EXPECT_EQ(message.severity, Severity::error);
}

// ---- the scratch database ------------------------------------------------------------------------------------------

TEST_F(DatabaseFrontTest, StartingTheBaseBringsUpAScratchDatabase) {
  ASSERT_EQ(CDB_LoadLibrary(), 1);
  EXPECT_EQ(DB_StartBase(), 1);
  const std::string base = fs::current_path().string() + "/scratch_a";
  EXPECT_THAT(calls(), ElementsAre("QS_DbaseBst(/qsrv/analysis.msg,./)", "QS_GetDbName(DBS)",
                                   "QS_DbaseNew(" + base + ",init dbsbr)", "QS_DbaseNdl(/qsrv/SSS)"));
  EXPECT_STREQ(std::getenv("QSBASGFILE"), "/qsrv/dbcomkey.asg");
  EXPECT_EQ(DB_StartBase(), 1);
  EXPECT_THAT(calls(), IsEmpty());

  for (const char *suffix : {".MASTER", ".DBALL", ".DBSBR"}) write_file(base + suffix, "x");
  EXPECT_EQ(DB_TermBase(), 1);
  EXPECT_THAT(calls(), ElementsAre("QS_GetDbName(F06)", "QS_DbaseCls()"));
  for (const char *suffix : {".MASTER", ".DBALL", ".DBSBR"}) EXPECT_FALSE(fs::exists(base + suffix)) << suffix;
  EXPECT_TRUE(log.take().empty());
}

TEST_F(DatabaseFrontTest, TermBaseWithoutAStartDoesNothing) {
  EXPECT_EQ(DB_TermBase(), 1);
  EXPECT_THAT(calls(), IsEmpty());
  EXPECT_TRUE(log.take().empty());
}

TEST_F(DatabaseFrontTest, AStatusKeepsTheBaseFromStarting) {
  ASSERT_EQ(CDB_LoadLibrary(), 1);
  for (const char *entry : {"QS_DbaseBst", "QS_GetDbName", "QS_DbaseNew", "QS_DbaseNdl"}) {
    standin->statuses = {{entry, 3}};
    EXPECT_EQ(DB_StartBase(), 0) << entry;
  }
  standin->statuses.clear();
  calls();
  // The database was created before its definitions failed to load: it is opened now.
  EXPECT_EQ(DB_StartBase(), 1);
  EXPECT_THAT(calls(),
              ElementsAre("QS_DbaseBst(/qsrv/analysis.msg,./)",
                          "QS_DbaseOld(" + fs::current_path().string() + "/scratch_a,)", "QS_DbaseNdl(/qsrv/SSS)"));
}

TEST_F(DatabaseFrontTest, TheScratchPathIsCutAtItsLastBarWhereverThatStands) {
  const std::string here = fs::current_path().string();
  fs::create_directory("dir_ectory");
  fs::current_path("dir_ectory");
  standin->names["DBS"] = "plain";
  ASSERT_EQ(CDB_LoadLibrary(), 1);
  ASSERT_EQ(DB_StartBase(), 1);
  EXPECT_THAT(calls(), ::testing::Contains("QS_DbaseNew(" + here + "/dir,init dbsbr)"));
}

TEST_F(DatabaseFrontTest, TheScratchNameMayBeLongerThanAThousandCharacters) {
  const std::string part(200, 'd');
  for (int i = 0; i < 10; ++i) {
    fs::create_directory(part);
    fs::current_path(part);
  }
  ASSERT_EQ(CDB_LoadLibrary(), 1);
  ASSERT_EQ(DB_StartBase(), 1);
  EXPECT_THAT(calls(), ::testing::Contains("QS_DbaseNew(" + fs::current_path().string() + "/scratch_a,init dbsbr)"));
}

TEST_F(DatabaseFrontTest, APrintFileIsDeletedWhereItStands) {
  start_base();
  write_file("wing_f06", "x");
  DB_TermBase();
  EXPECT_FALSE(fs::exists("wing_f06"));
}

TEST_F(DatabaseFrontTest, APrintFileBesideTheScratchDatabaseIsDeleted) {
  start_base();
  const fs::path beside = fs::current_path() / "scratch_a_print";
  write_file(beside, "x");
  standin->names["F06"] = "scratch_a_print";
  fs::create_directory("elsewhere");
  fs::current_path("elsewhere");
  DB_TermBase();
  EXPECT_FALSE(fs::exists(beside));
}

TEST_F(DatabaseFrontTest, ADatabaseThatCannotBeClosedIsReported) {
  ASSERT_EQ(DB_StartWrite(in("wing.MASTER").c_str()), 1);
  standin->statuses["QS_DbaseCls"] = 13;
  EXPECT_EQ(DB_TermWrite(), 0);
  EXPECT_EQ(log.take(), std::vector<Message>{error("Cannot close the database, 13.")});
}

TEST_F(DatabaseFrontTest, TheHomeDirectoryIsAskedForOnce) {
  ASSERT_EQ(CDB_LoadLibrary(), 1);
  ASSERT_EQ(DB_StartBase(), 1);
  DB_TermBase();
  const ScopedEnvironment other("KTX_QSRVHOME_DIR", "/other");
  calls();
  ASSERT_EQ(DB_StartBase(), 1);
  EXPECT_EQ(calls()[0], "QS_DbaseBst(/qsrv/analysis.msg,./)");
}

TEST_F(DatabaseFrontTest, WithoutAHomeDirectoryNothingStarts) {
  // The directory is remembered for the life of the process, so that this runs in a process of its own.
  ::testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_EXIT(
      {
        unsetenv("KTX_QSRVHOME_DIR");
        CDB_LoadLibrary();
        const bool started = DB_StartBase() != 0 || DB_StartWrite("wing.MASTER") != 0;
        const std::vector<Message> twice(2, error("Cannot get KTX_QSRVHOME_DIR."));
        std::_Exit(!started && log.take() == twice && standin->calls.empty() ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
}

// ---- starting to write ---------------------------------------------------------------------------------------------

TEST_F(DatabaseFrontTest, WritingToANewFileCreatesTheDatabase) {
  EXPECT_EQ(DB_StartWrite(in("wing.MASTER").c_str()), 1);
  EXPECT_THAT(calls(), ElementsAre("QS_DbaseBst(/qsrv/analysis.msg,./)",
                                   "QS_DbaseNew(" + in("wing") + ",dbsetdel dball)", "QS_DbaseNdl(/qsrv/SSS)"));
  EXPECT_EQ(DB_TermWrite(), 1);
  EXPECT_THAT(calls(), ElementsAre("QS_GetDbName(F06)", "QS_DbaseCls()"));
  EXPECT_EQ(ktxDynamicLibrary().reference_count_of("Qsrv_22_2"), 0);
  EXPECT_EQ(DB_TermWrite(), 1);
  EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(DatabaseFrontTest, WritingToAPresentFileOpensTheDatabase) {
  write_file("wing.MASTER", good_header());
  EXPECT_EQ(DB_StartWrite("wing.MASTER"), 1);
  EXPECT_THAT(standin->calls, ElementsAre("QS_DbaseBst(/qsrv/analysis.msg,./)", "QS_GetSysBuf(0)", "QS_DbaseOld(wing,)",
                                          "QS_DbaseNdl(/qsrv/SSS)"));
}

TEST_F(DatabaseFrontTest, AFileThatFailsTheCheckClosesTheDatabase) {
  write_file("wing.MASTER", "short");
  EXPECT_EQ(DB_StartWrite("wing.MASTER"), 0);
  EXPECT_THAT(calls(), ElementsAre("QS_DbaseBst(/qsrv/analysis.msg,./)", "QS_GetDbName(F06)", "QS_DbaseCls()"));
  EXPECT_EQ(log.take(), std::vector<Message>{error("QS DB file wing.MASTER is too short.")});
}

// Nothing was opened: that it cannot be closed is no news.
TEST_F(DatabaseFrontTest, AFileThatFailsTheCheckReportsNoFailedClosing) {
  write_file("wing.MASTER", "short");
  standin->statuses["QS_DbaseCls"] = 5;
  EXPECT_EQ(DB_StartWrite("wing.MASTER"), 0);
  EXPECT_EQ(log.take(), std::vector<Message>{error("QS DB file wing.MASTER is too short.")});
}

TEST_F(DatabaseFrontTest, ADirectoryOfThatNameIsNoDatabase) {
  fs::create_directory("wing.MASTER");
  EXPECT_EQ(DB_StartWrite("wing.MASTER"), 0);
  EXPECT_EQ(log.take(), std::vector<Message>{error("Specified QS DB file wing.MASTER not a normal/regular file.")});
}

TEST_F(DatabaseFrontTest, EachStatusKeepsTheDatabaseFromOpening) {
  for (const char *entry : {"QS_DbaseBst", "QS_DbaseNew", "QS_DbaseNdl"}) {
    standin->statuses = {{entry, 17}};
    EXPECT_EQ(DB_StartWrite("wing.MASTER"), 0);
    EXPECT_EQ(log.take(), std::vector<Message>{error("Cannot open the database, 17.")}) << entry;
  }
  write_file("wing.MASTER", good_header());
  standin->statuses = {{"QS_DbaseOld", 18}};
  EXPECT_EQ(DB_StartWrite("wing.MASTER"), 0);
  EXPECT_EQ(log.take(), std::vector<Message>{error("Cannot open the database, 18.")});
}

TEST_F(DatabaseFrontTest, ANameWithoutMasterIsRefused) {
  for (const char *name : {"wing.sbr", "", "wing.master"}) {
    EXPECT_EQ(DB_StartWrite(name), 0);
    EXPECT_EQ(log.take(), std::vector<Message>{
                              error(std::string("The database file name ") + name + " does not contain .MASTER.")});
  }
  EXPECT_EQ(DB_StartWrite(nullptr), 0);
  EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(DatabaseFrontTest, TheBaseNameEndsAtTheLastMaster) {
  fs::create_directory("old.MASTER");
  EXPECT_EQ(DB_StartWrite("old.MASTER/wing.MASTER"), 1);
  EXPECT_EQ(calls()[1], "QS_DbaseNew(old.MASTER/wing,dbsetdel dball)");
}

TEST_F(DatabaseFrontTest, PathsOfAnyLengthReachTheLibraryWhole) {
  const std::string base(200000, 'w');
  EXPECT_EQ(DB_StartWrite((base + ".MASTER").c_str()), 1);
  EXPECT_EQ(calls()[1], "QS_DbaseNew(" + base + ",dbsetdel dball)");
}

// ---- data blocks ---------------------------------------------------------------------------------------------------

TEST_F(DatabaseFrontTest, ABlockIsCreatedWithItsQualifiers) {
  start_base();
  EXPECT_EQ(DB_CreateSBRblk("projno=1,version=2,selabel='wing, left',peid=3"), 7);
  EXPECT_THAT(calls(), ElementsAre("QS_CreateDatablk(dbcreate datablk=(sbrdb) "
                                   "quals(projno=1;version=2;selabel='wing, left';peid=3))",
                                   "Ruvo_Open(7,0,1)"));
  EXPECT_EQ(DB_CreateSBRblk(nullptr), 7);
  EXPECT_EQ(calls()[0], "QS_CreateDatablk(dbcreate datablk=(sbrdb) quals())");
  EXPECT_EQ(DB_CreateSBRblk(",a='x,,,''y,',,b"), 7);
  EXPECT_EQ(calls()[0], "QS_CreateDatablk(dbcreate datablk=(sbrdb) quals(;a='x,,,''y,';;b))");
  EXPECT_EQ(DB_CreateSBRblk(std::string(100000, ',').c_str()), 7);
  EXPECT_THAT(calls()[0], HasSubstr("quals(" + std::string(100000, ';') + ")"));
}

TEST_F(DatabaseFrontTest, ABlockThatCannotBeCreatedIsReported) {
  start_base();
  standin->statuses["QS_CreateDatablk"] = 5;
  EXPECT_EQ(DB_CreateSBRblk("projno=1"), 0);
  int number = 0;
  EXPECT_EQ(DB_OpenScratch(&number), 0);
  EXPECT_EQ(log.take(), (std::vector<Message>{error("Cannot create sbr datablock, 5."),
                                              error("Cannot open temporary datablock, 5.")}));
}

TEST_F(DatabaseFrontTest, ScratchBlocksAreNumberedAboveAThousand) {
  start_base();
  int first = 0;
  int second = 0;
  EXPECT_EQ(DB_OpenScratch(&first), 7);
  EXPECT_EQ(DB_OpenScratch(&second), 7);
  EXPECT_GE(first, 1001);
  EXPECT_EQ(second, first + 1);
  EXPECT_THAT(calls(),
              ElementsAre("QS_CreateDatablk(dbcreate datablk=(sbrtmp) quals(highqual=" + std::to_string(first) + "))",
                          "Ruvo_Open(7,0,1)",
                          "QS_CreateDatablk(dbcreate datablk=(sbrtmp) quals(highqual=" + std::to_string(second) + "))",
                          "Ruvo_Open(7,0,1)"));
  EXPECT_EQ(DB_OpenScratch(nullptr), 7);
  calls();
  EXPECT_EQ(DB_ReOpenScratch(7), 1);
  EXPECT_THAT(calls(), ElementsAre("Ruvo_Close(7,1)", "Ruvo_Open(7,0,10)"));
}

TEST_F(DatabaseFrontTest, ClosingKeepsTheBlockAndUnitZeroIsNothing) {
  start_base();
  EXPECT_EQ(DB_CloseDatablk(7), 1);
  EXPECT_EQ(DB_CloseDatablk(0), 1);
  EXPECT_THAT(calls(), ElementsAre("Ruvo_Close(7,1)"));
}

// ---- words ---------------------------------------------------------------------------------------------------------

TEST_F(DatabaseFrontTest, ValuesAreWrittenAsWords) {
  start_base();
  const db_block block{9, {0, 0}};
  const int ints[] = {1, -2, std::numeric_limits<int>::min()};
  const int64_t longs[] = {INT64_MAX, -1};
  const double reals[] = {1.0};
  EXPECT_EQ(DB_WriteINTs(block, ints, 3), 1);
  EXPECT_EQ(DB_WriteLONGs(block, longs, 2), 1);
  EXPECT_EQ(DB_WriteDOUBLEs(block, reals, 1), 1);
  EXPECT_EQ(DB_WriteCHARs(block, "ABCDE", 5), 1);
  EXPECT_EQ(DB_WriteCHARs(block, "ABCD", 4), 1);
  EXPECT_EQ(DB_WriteCHARs(block, "\xff\xff\xff\xff", 4), 1);
  EXPECT_EQ(DB_WriteEOR(block), 1);
  EXPECT_THAT(calls(),
              ElementsAre("Ruvo_Write(9,1 -2 -2147483648,3,0)", "Ruvo_Write(9,9223372036854775807 -1,2,0)",
                          "Ruvo_Write(9,4607182418800017408,1,0)", "Ruvo_Write(9,1145258561 69,2,0)",
                          "Ruvo_Write(9,1145258561,1,0)", "Ruvo_Write(9,4294967295,1,0)", "Ruvo_Write(9,null,0,1)"));
}

TEST_F(DatabaseFrontTest, NothingIsWrittenForNoData) {
  start_base();
  const db_block block{9, {0, 0}};
  EXPECT_EQ(DB_WriteINTs(block, nullptr, 3), 1);
  EXPECT_EQ(DB_WriteLONGs(block, nullptr, 0), 1);
  EXPECT_EQ(DB_WriteDOUBLEs(block, nullptr, -1), 1);
  EXPECT_EQ(DB_WriteCHARs(block, "", 0), 1);
  EXPECT_EQ(DB_ReadCHARs(block, nullptr, 4), 1);
  EXPECT_EQ(DB_WriteTrailer(nullptr), 0);
  EXPECT_EQ(DB_FSAVE(nullptr, block), 0);
  EXPECT_EQ(DB_FRESTORE(nullptr, block), 0);
  EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(DatabaseFrontTest, ValuesAreReadFromWords) {
  start_base();
  const db_block block{9, {0, 0}};
  int ints[2] = {};
  double reals[2] = {};
  char text[6] = "-----";
  standin->words = {-5, 6, 4607182418800017408, 4611686018427387904, 1145258561, 69};
  EXPECT_EQ(DB_ReadINTs(block, ints, 2), 1);
  EXPECT_EQ(DB_ReadDOUBLEs(block, reals, 1), 1);
  EXPECT_EQ(DB_ReadMODE(block, reals + 1, 1), 1);
  EXPECT_EQ(DB_ReadCHARs(block, text, 5), 1);
  EXPECT_THAT(ints, ElementsAre(-5, 6));
  EXPECT_THAT(reals, ElementsAre(1.0, 2.0));
  EXPECT_STREQ(text, "ABCDE");
  EXPECT_THAT(calls(), ElementsAre("Ruvo_Read(9,2,0)", "Ruvo_Read(9,1,0)", "Ruvo_Read(9,1,0)", "Ruvo_Read(9,2,0)"));
}

TEST_F(DatabaseFrontTest, AStatusFailsAReadAndASkip) {
  start_base();
  const db_block block{9, {0, 0}};
  int number = 0;
  double real = 0.0;
  char text[4] = {};
  standin->statuses = {{"Ruvo_Read", 1}, {"Ruvo_SkipRecord", 2}};
  EXPECT_EQ(DB_ReadINTs(block, &number, 1), 0);
  EXPECT_EQ(DB_ReadDOUBLEs(block, &real, 1), 0);
  EXPECT_EQ(DB_ReadMODE(block, &real, 1), 0);
  EXPECT_EQ(DB_ReadCHARs(block, text, 4), 0);
  EXPECT_EQ(DB_SkipRecord(block), 0);
  EXPECT_EQ(DB_SeekFWD(block, -1), 0);
  EXPECT_TRUE(log.take().empty());
}

TEST_F(DatabaseFrontTest, SeekingForwardReadsWordsAway) {
  start_base();
  const db_block block{9, {0, 0}};
  EXPECT_EQ(DB_SeekFWD(block, -3), 1);
  EXPECT_EQ(DB_SeekFWD(block, -1025), 1);
  EXPECT_EQ(DB_SeekFWD(block, 0), 1);
  EXPECT_EQ(DB_SeekFWD(block, 5), 0);
  EXPECT_THAT(calls(), ElementsAre("Ruvo_Read(9,3,0)", "Ruvo_Read(9,1024,0)", "Ruvo_Read(9,1,0)"));
}

TEST_F(DatabaseFrontTest, PositionsAreSavedAndRestored) {
  start_base();
  const db_block block{9, {3, 4}};
  int64_t position[2] = {};
  const int64_t trailer[7] = {9, 2, 3, 18, 2, 11, 22};
  EXPECT_EQ(DB_FSAVE(position, block), 1);
  EXPECT_THAT(position, ElementsAre(11, 22));
  EXPECT_EQ(DB_FRESTORE(position, block), 1);
  EXPECT_EQ(DB_REWIND(block), 1);
  EXPECT_EQ(DB_SkipRecord(block), 1);
  EXPECT_EQ(DB_WriteTrailer(trailer), 1);
  EXPECT_THAT(calls(), ElementsAre("Ruvo_SavePos(9)", "Ruvo_SetPos(9,11,22)", "Ruvo_SetPos(9,3,4)",
                                   "Ruvo_SkipRecord(9)", "Ruvo_WriteTrailer(9 2 3 18 2 11 22)"));
}

// ---- browsing ------------------------------------------------------------------------------------------------------

class DatabaseBrowserTest : public DatabaseFrontTest {
 protected:
  void SetUp() override {
    write_file("wing.MASTER", good_header());
    start_base();
    standin->dictionary =
        " SELABEL        projno  version  PEID  \n"
        "--------------- ------- -------- ----- \n"
        "'left, inner '  1       2        30    \n"
        "'right'         4       5        6\n";
  }
  char text[DB_BROWSER_TEXT] = "unset";
};

TEST_F(DatabaseBrowserTest, IndexZeroCountsTheBodiesWithoutAText) {
  EXPECT_EQ(DB_BodyBrowser("wing.MASTER", 0, text), 2U);
  EXPECT_STREQ(text, "");
  const Calls made = calls();
  ASSERT_EQ(made.size(), 4U);
  const int k = number_behind(made[0], "dbbrw");
  const std::string number = std::to_string(k);
  const std::string list = "dbdict datablk(sbrdb) where(highqual=-" + number +
                           ") select(selabel,projno='projno',version='version',peid,desiter,stepcur)";
  EXPECT_GE(k, 1);
  EXPECT_THAT(made, ElementsAre("QS_DbCommand(assign dbbrw" + number + "='wing.MASTER')",
                                "QS_DbCommand(dblocate logical=dbbrw" + number +
                                    " datablk=(sbrdb) where(projno=* and version=*) "
                                    "convert(projno=projno;version=version;highqual=-" +
                                    number + "))",
                                "QS_GetDbdict(" + list + ",1)",
                                "QS_GetDbdict(" + list + "," + std::to_string(standin->dictionary.size() + 2) + ")"));
}

TEST_F(DatabaseBrowserTest, TheCounterRisesWithEveryBrowse) {
  DB_BodyBrowser("wing.MASTER", 0, nullptr);
  const int first = number_behind(calls()[0], "dbbrw");
  DB_BodyBrowser("wing.MASTER", 0, nullptr);
  EXPECT_EQ(number_behind(calls()[0], "dbbrw"), first + 1);
}

TEST_F(DatabaseBrowserTest, ABodyIsDescribedByItsColumns) {
  EXPECT_EQ(DB_BodyBrowser("wing.MASTER", 1, text), 2U);
  EXPECT_STREQ(text, "SELABEL='left, inner',projno=1,version=2,PEID=30");
  EXPECT_EQ(DB_BodyBrowser("wing.MASTER", 2, text), 2U);
  EXPECT_STREQ(text, "SELABEL='right',projno=4,version=5,PEID=6");
}

// The list may also come without a line below the names, and with an empty one at its end.
TEST_F(DatabaseBrowserTest, AnEmptyLineMayStandAtTheEndInPlaceOfTheSecondLine) {
  standin->dictionary = " SELABEL  PEID\n'left'    30\n'middle'  31\n'right'   32\n\n";
  const std::pair<int, const char *> bodies[] = {
      {1, "SELABEL='left',PEID=30"}, {2, "SELABEL='middle',PEID=31"}, {3, "SELABEL='right',PEID=32"}};
  for (const auto &[index, expected] : bodies) {
    EXPECT_EQ(DB_BodyBrowser("wing.MASTER", index, text), 3U);
    EXPECT_STREQ(text, expected);
  }
  EXPECT_EQ(DB_BodyBrowser("wing.MASTER", 4, text), 3U);
  EXPECT_STREQ(text, "");
}

TEST_F(DatabaseBrowserTest, AListOfEmptyLinesDescribesNothing) {
  standin->dictionary = "SELABEL\n\n\n\n";
  EXPECT_EQ(DB_BodyBrowser("wing.MASTER", 1, text), 2U);
  EXPECT_STREQ(text, "");
}

TEST_F(DatabaseBrowserTest, AnIndexThatNamesNoBodyGivesNoText) {
  EXPECT_EQ(DB_BodyBrowser("wing.MASTER", 3, text), 2U);
  EXPECT_STREQ(text, "");
  EXPECT_EQ(DB_BodyBrowser("wing.MASTER", -1, text), 2U);
  EXPECT_STREQ(text, "");
}

TEST_F(DatabaseBrowserTest, TheLabelsQuoteMayStandAtItsColumn) {
  standin->dictionary = "SELABEL PEID\n---- ----\n'a b '  7\n";
  EXPECT_EQ(DB_BodyBrowser("wing.MASTER", 1, text), 1U);
  EXPECT_STREQ(text, "SELABEL='a b',PEID=7");
}

TEST_F(DatabaseBrowserTest, ShortLinesGiveEmptyValues) {
  standin->dictionary = "SELABEL   PEID\n---- ----\n'a\n";
  EXPECT_EQ(DB_BodyBrowser("wing.MASTER", 1, text), 1U);
  EXPECT_STREQ(text, "SELABEL='a',PEID=");
}

TEST_F(DatabaseBrowserTest, AnUnusableFileIsMinusOne) {
  write_file("bad.MASTER", "short");
  EXPECT_EQ(DB_BodyBrowser("bad.MASTER", 1, text), static_cast<uint32_t>(-1));
  EXPECT_STREQ(text, "");
  EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(DatabaseBrowserTest, StatusesAndOddListsGiveNoBodies) {
  standin->statuses = {{"QS_DbCommand", 4}};
  EXPECT_EQ(DB_BodyBrowser("wing.MASTER", 1, text), 0U);
  EXPECT_EQ(calls().size(), 1U);
  standin->statuses.clear();
  for (const char *list : {"", "\n", "\n\n", "HEAD", "HEAD\n----\n"}) {
    standin->dictionary = list;
    EXPECT_EQ(DB_BodyBrowser("wing.MASTER", 1, text), 0U);
  }
}

TEST_F(DatabaseBrowserTest, AStatusOfTheListLeavesTheCountWithoutText) {
  standin->statuses = {{"QS_GetDbdict", 4}};
  EXPECT_EQ(DB_BodyBrowser("wing.MASTER", 1, text), 2U);
  EXPECT_STREQ(text, "");
}

TEST_F(DatabaseBrowserTest, ALongTextIsCut) {
  standin->dictionary = " SELABEL\n--------\n'" + std::string(5000, 'w') + "'\n";
  EXPECT_EQ(DB_BodyBrowser("wing.MASTER", 1, text), 1U);
  EXPECT_EQ(std::strlen(text), static_cast<std::size_t>(DB_BROWSER_TEXT) - 1);
}

TEST_F(DatabaseBrowserTest, AQuoteInThePathIsDoubled) {
  write_file("it's.MASTER", good_header());
  DB_BodyBrowser("it's.MASTER", 0, text);
  EXPECT_THAT(calls()[0], HasSubstr("='it''s.MASTER')"));
}

// ---- opening a body ------------------------------------------------------------------------------------------------

TEST_F(DatabaseBrowserTest, OpeningABodyLocatesItByItsQualifiers) {
  int number = 0;
  EXPECT_EQ(DB_OpenDatablk("wing.MASTER", 1, &number), 7);
  const std::string n = std::to_string(number);
  EXPECT_GE(number, 1);
  Calls made = calls();
  made.erase(made.begin(), made.begin() + 4);  // the browsing
  EXPECT_THAT(made,
              ElementsAre("QS_DbCommand(assign dbalc" + n + "='wing.MASTER')",
                          "QS_DbCommand(dblocate logical=dbalc" + n +
                              " datablk=(sbrdb) where(SELABEL='left, inner' and projno=1 and version=2 and PEID=30) "
                              "convert(highqual=" +
                              n + "))",
                          "QS_AllocDatablk(datablk=(sbrdb) where(projno=* and version=* and highqual=" + n +
                              " and wildcard=true))",
                          "Ruvo_Open(7,0,0)"));
  int next = 0;
  EXPECT_EQ(DB_OpenDatablk("wing.MASTER", 2, &next), 7);
  EXPECT_EQ(next, number + 1);
}

TEST_F(DatabaseBrowserTest, FailuresToOpenABodyAreReported) {
  EXPECT_EQ(DB_OpenDatablk("wing.MASTER", 3, nullptr), 0);
  EXPECT_EQ(DB_OpenDatablk("wing.MASTER", 0, nullptr), 0);
  EXPECT_EQ(log.take(), (std::vector<Message>{error("The index is too big, 3."), error("The index is too small, 0.")}));
  standin->count = 2;
  EXPECT_EQ(DB_OpenDatablk("wing.MASTER", 1, nullptr), 0);
  standin->count = 0;
  EXPECT_EQ(DB_OpenDatablk("wing.MASTER", 1, nullptr), 0);
  EXPECT_EQ(log.take(),
            (std::vector<Message>{error("2 datablocks are assigned."), error("0 datablocks are assigned.")}));
  standin->statuses = {{"QS_AllocDatablk", 6}};
  EXPECT_EQ(DB_OpenDatablk("wing.MASTER", 1, nullptr), 0);
  EXPECT_EQ(log.take(), std::vector<Message>{error("Cannot open the datablock, 6.")});
}

TEST_F(DatabaseBrowserTest, NoBodiesAndUnusableFilesOpenNothing) {
  standin->dictionary.clear();
  EXPECT_EQ(DB_OpenDatablk("wing.MASTER", 1, nullptr), 0);
  EXPECT_TRUE(log.take().empty());
  EXPECT_EQ(DB_OpenDatablk("absent.MASTER", 1, nullptr), 0);
  EXPECT_EQ(log.take(), std::vector<Message>{error("The QS DB file absent.MASTER could not be found.")});
}

}  // namespace
}  // namespace sbrtest
