// The program's database commands from the outside: bodies go into a database and come out the same.
#include <gmock/gmock.h>

#include <csignal>
#include <cstdlib>
#include <string>

#include "support/program.h"
#include "support/record_builder.h"
#include "support/stepped_process.h"

#ifdef SBRKIT_STORE_DIRECTORY

namespace sbrtest {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;

class DatabaseProgramTest : public ProgramTest {
 protected:
  Json list() const { return json("db list --json wing.MASTER"); }
  // Stores what `fill` writes as a body of its own.
  template <class Fill>
  void store(Fill fill) {
    const ScopedEnvironment plugin("KTX_USER_PLUGIN_DIR", SBRKIT_STORE_DIRECTORY);
    const ScopedEnvironment system("KTX_QSRVHOME_DIR", "/");
    ASSERT_EQ(DB_StartWrite(scratch.file("wing.MASTER").c_str()), 1);
    const db_block block{DB_CreateSBRblk("selabel='made by hand'"), {0, 0}};
    ASSERT_GT(block.unit, 0);
    fill(block);
    DB_CloseDatablk(block.unit);
    ASSERT_EQ(DB_TermWrite(), 1);
  }
};

// ---- there and back ------------------------------------------------------------------------------------------------

class SampleThereAndBack : public DatabaseProgramTest, public ::testing::WithParamInterface<const char *> {};

TEST_P(SampleThereAndBack, TheBodyIsThatOfARecordWrittenFromTheSameInput) {
  const std::string file = sample(GetParam());
  ASSERT_EQ(sbr("write " + file + " written.sbr").code, 0);
  const Outcome put = sbr("db put " + file + " wing.MASTER --qualifiers \"selabel='wing'\"", true);
  ASSERT_EQ(put.code, 0) << put.out;
  EXPECT_EQ(put.out, "");
  const Outcome get = sbr("db get wing.MASTER 1 taken.sbr", true);
  ASSERT_EQ(get.code, 0) << get.out;
  EXPECT_EQ(get.out, "");
  const Outcome diff = sbr("diff written.sbr taken.sbr --rtol 1e-15", true);
  EXPECT_EQ(diff.code, 0) << diff.out;
  const Json info = json("info --json taken.sbr");
  EXPECT_EQ(info["encoding"], "native");
  EXPECT_EQ(info["precision"], "double");
  EXPECT_EQ(info["version"], 6.0);
}

INSTANTIATE_TEST_SUITE_P(Samples, SampleThereAndBack, ::testing::Values("beam_13c", "conrod_13c", "beam_040"),
                         [](const auto &sample) { return std::string(sample.param); });

class OptionsThereAndBack : public DatabaseProgramTest, public ::testing::WithParamInterface<const char *> {};

// Behind the header, which holds the date, a native record and the one from the database have the same bytes.
TEST_P(OptionsThereAndBack, EveryBlockComesBackByteForByte) {
  constexpr std::size_t kBehindHeader = 548;
  const std::string flags = GetParam();
  full_record(0x13C).write(scratch.file("body.sbr"));
  ASSERT_EQ(sbr("write body.sbr written.sbr --no-xdr " + flags).code, 0);
  ASSERT_EQ(sbr("db put body.sbr wing.MASTER " + flags).code, 0);
  const Outcome get = sbr("db get wing.MASTER 1 taken.sbr", true);
  ASSERT_EQ(get.code, 0) << get.out;
  const std::string written = read_file(scratch.file("written.sbr"));
  const std::string taken = read_file(scratch.file("taken.sbr"));
  ASSERT_GT(written.size(), kBehindHeader);
  EXPECT_EQ(taken.substr(0, 4), written.substr(0, 4));
  EXPECT_EQ(taken.substr(kBehindHeader), written.substr(kBehindHeader));
}

INSTANTIATE_TEST_SUITE_P(Options, OptionsThereAndBack,
                         ::testing::Values("--no-ortho", "", "--invariants full", "--sparse-stress", "--empty",
                                           "--no-ortho --highpass 2"));

TEST_F(DatabaseProgramTest, OldLayoutsAndSinglePrecisionComeBackInTheCurrentLayoutAsDoubles) {
  const std::string file = sample("beam_13c");
  ASSERT_EQ(sbr("write " + file + " written.sbr").code, 0);
  for (const char *flags : {"--layout 81", "--layout 82", "--full-stress", "--single"}) {
    ASSERT_EQ(sbr("db put " + file + " wing.MASTER " + flags).code, 0) << flags;
    ASSERT_EQ(sbr("db get wing.MASTER 1 taken.sbr").code, 0) << flags;
    EXPECT_EQ(json("info --json taken.sbr")["version"], 6.0) << flags;
    const Outcome diff = sbr("diff written.sbr taken.sbr --rtol 1e-15", true);
    EXPECT_EQ(diff.code, 0) << flags << diff.out;
  }
}

TEST_F(DatabaseProgramTest, ACoarsenedBodyStaysMarked) {
  ASSERT_EQ(sbr("db put " + sample("beam_13c") + " wing.MASTER --coarsen 0.05,15").code, 0);
  ASSERT_EQ(sbr("db get wing.MASTER 1 taken.sbr").code, 0);
  EXPECT_EQ(json("info --json taken.sbr")["coarsened"], true);
}

// ---- several bodies ------------------------------------------------------------------------------------------------

TEST_F(DatabaseProgramTest, SeveralBodiesAreListedByTheirQualifiers) {
  full_record(0x13C).write(scratch.file("one.sbr"));
  const std::string two = sample("beam_13c");
  ASSERT_EQ(sbr("db put one.sbr wing.MASTER --qualifiers \"projno=1,version=2,selabel='wing, left; (old)'\"").code, 0);
  ASSERT_EQ(sbr("db put " + two + " wing.MASTER --qualifiers \"projno=3,selabel='beam = \\\"B\\\"'\"").code, 0);
  const Json bodies = list();
  ASSERT_EQ(bodies.size(), 2U);
  EXPECT_EQ(bodies[0]["index"], 1);
  EXPECT_EQ(bodies[0]["selabel"], "wing, left; (old)");
  EXPECT_EQ(bodies[0]["projno"], "1");
  EXPECT_EQ(bodies[0]["version"], "2");
  EXPECT_EQ(bodies[1]["selabel"], "beam = \"B\"");
  EXPECT_EQ(bodies[1]["projno"], "3");
  EXPECT_EQ(bodies[1]["stepcur"], "0");
  ASSERT_EQ(sbr("db get wing.MASTER 2 taken.sbr").code, 0);
  ASSERT_EQ(sbr("write " + two + " written.sbr").code, 0);
  EXPECT_EQ(json("info --json taken.sbr")["counts"]["nodes"], json("info --json written.sbr")["counts"]["nodes"]);
  const Outcome table = sbr("db list wing.MASTER");
  EXPECT_THAT(table.out, HasSubstr("index  selabel"));
  EXPECT_THAT(table.out, HasSubstr("    1  wing, left; (old)  1"));
}

TEST_F(DatabaseProgramTest, ABodyWithTheSameQualifiersIsReplaced) {
  full_record(0x13C).write(scratch.file("one.sbr"));
  ASSERT_EQ(sbr("db put one.sbr wing.MASTER --qualifiers \"selabel='a'\"").code, 0);
  ASSERT_EQ(sbr("db put one.sbr wing.MASTER --qualifiers \"selabel='a'\"").code, 0);
  EXPECT_EQ(list().size(), 1U);
}

TEST_F(DatabaseProgramTest, QualifiersThatAreNotUnderstoodStoreNothing) {
  full_record(0x13C).write(scratch.file("one.sbr"));
  ASSERT_EQ(sbr("db put one.sbr wing.MASTER").code, 0);
  for (const char *qualifiers : {"selabel='open", "projno=(", "projno=1)", "=,="}) {
    const Outcome run = sbr("db put one.sbr wing.MASTER --qualifiers \"" + std::string(qualifiers) + '"', true);
    EXPECT_EQ(run.code, 4) << qualifiers << run.out;
    EXPECT_THAT(run.out,
                HasSubstr("error: Unable to open wing.MASTER for write. Please check the name and qualifier."));
  }
  EXPECT_EQ(list().size(), 1U);
}

TEST_F(DatabaseProgramTest, AFailedPutLeavesTheOtherBodies) {
  full_record(0x13C).write(scratch.file("one.sbr"));
  ASSERT_EQ(sbr("db put one.sbr wing.MASTER --qualifiers \"selabel='good'\"").code, 0);
  const Outcome run = sbr("db put one.sbr wing.MASTER --qualifiers \"selabel='bad'\" --layout 81 --single", true);
  EXPECT_EQ(run.code, 4);
  EXPECT_THAT(run.out, HasSubstr("sbr: wing.MASTER: the body was not stored"));
  ASSERT_EQ(list().size(), 1U);
  EXPECT_EQ(list()[0]["selabel"], "good");
}

TEST_F(DatabaseProgramTest, ADatabaseWithoutBodiesIsListedAsEmpty) {
  {
    const ScopedEnvironment plugin("KTX_USER_PLUGIN_DIR", SBRKIT_STORE_DIRECTORY);
    const ScopedEnvironment system("KTX_QSRVHOME_DIR", "/");
    ASSERT_EQ(DB_StartWrite(scratch.file("wing.MASTER").c_str()), 1);
    ASSERT_EQ(DB_TermWrite(), 1);
  }
  EXPECT_EQ(sbr("db list wing.MASTER").out, "no bodies\n");
  EXPECT_EQ(list(), Json::array());
}

TEST_F(DatabaseProgramTest, AFailedPutLeavesNoNewDatabase) {
  full_record(0x13C).write(scratch.file("one.sbr"));
  EXPECT_EQ(sbr("db put one.sbr wing.MASTER --layout 81 --single").code, 4);
  EXPECT_EQ(sbr("db put one.sbr wing.MASTER --qualifiers color=red").code, 4);
  EXPECT_EQ(files(), Names{"one.sbr"});
}

TEST_F(DatabaseProgramTest, NothingIsLeftWhereTheProgramRuns) {
  full_record(0x13C).write(scratch.file("one.sbr"));
  fs::create_directory(scratch.path() / "temporary");
  const ScopedEnvironment temporary("TMP", "temporary");
  ASSERT_EQ(sbr("db put one.sbr wing.MASTER").code, 0);
  ASSERT_EQ(sbr("db list wing.MASTER").code, 0);
  ASSERT_EQ(sbr("db get wing.MASTER 1 taken.sbr").code, 0);
  EXPECT_EQ(files(), (Names{"one.sbr", "taken.sbr", "temporary", "wing.DBALL", "wing.MASTER"}));
  EXPECT_TRUE(fs::is_empty(scratch.path() / "temporary"));
}

// ---- bad input -----------------------------------------------------------------------------------------------------

TEST_F(DatabaseProgramTest, CheckTellsGoodAndBadFilesApart) {
  full_record(0x13C).write(scratch.file("one.sbr"));
  ASSERT_EQ(sbr("db put one.sbr wing.MASTER").code, 0);
  EXPECT_EQ(sbr("db check wing.MASTER", true).out, "wing.MASTER: usable\n");
  EXPECT_EQ(json("db check --json wing.MASTER"), Json({{"file", "wing.MASTER"}, {"usable", true}, {"code", 0}}));

  std::string header = read_file(scratch.file("wing.MASTER"));
  write_file(scratch.file("short.MASTER"), header.substr(0, 1023));
  write_file(scratch.file("zero.MASTER"), std::string(1024, '\0'));
  std::string unsigned_header = header;
  unsigned_header.replace(unsigned_header.find("*TIM"), 4, "*TOM");
  write_file(scratch.file("unsigned.MASTER"), unsigned_header);
  struct Case {
    const char *arguments;
    int exit_code;
    const char *text;
  };
  for (const Case &bad : {Case{"short.MASTER", 1, "error: QS DB file short.MASTER is too short."},
                          Case{"zero.MASTER", 1, "Reason: Timestamp signature offset is invalid."},
                          Case{"unsigned.MASTER", 1, "Reason: Timestamp signature is invalid."},
                          Case{"missing.MASTER", 3, "error: The QS DB file missing.MASTER could not be found."},
                          Case{".", 3, "error: Specified QS DB file . not a normal/regular file."}}) {
    const Outcome run = sbr(std::string("db check ") + bad.arguments, true);
    EXPECT_EQ(run.code, bad.exit_code) << bad.arguments;
    EXPECT_THAT(run.out, HasSubstr(bad.text));
    EXPECT_THAT(run.out, HasSubstr(std::string(bad.arguments) + ": not usable, code "));
    EXPECT_EQ(sbr(std::string("db list ") + bad.arguments).code, 3) << bad.arguments;
    EXPECT_EQ(sbr(std::string("db get ") + bad.arguments + " 1 taken.sbr").code, 3) << bad.arguments;
  }
  EXPECT_EQ(Json::parse(sbr("db check --json unsigned.MASTER").out)["code"], 11);
  EXPECT_EQ(sbr("db put one.sbr zero.MASTER").code, 3);
  EXPECT_EQ(read_file(scratch.file("zero.MASTER")), std::string(1024, '\0'));
  EXPECT_FALSE(exists("taken.sbr"));
}

TEST_F(DatabaseProgramTest, ADatabaseWithoutItsDataIsUnreadable) {
  full_record(0x13C).write(scratch.file("one.sbr"));
  ASSERT_EQ(sbr("db put one.sbr wing.MASTER").code, 0);
  fs::remove(scratch.file("wing.DBALL"));
  const Outcome run = sbr("db list wing.MASTER", true);
  EXPECT_EQ(run.code, 3);
  EXPECT_THAT(run.out, HasSubstr("sbr: wing.MASTER: the database cannot be read, status 103"));
  EXPECT_EQ(sbr("db get wing.MASTER 1 taken.sbr").code, 3);
}

TEST_F(DatabaseProgramTest, WrongUsageIsToldFromFailure) {
  full_record(0x13C).write(scratch.file("one.sbr"));
  ASSERT_EQ(sbr("db put one.sbr wing.MASTER").code, 0);
  EXPECT_EQ(sbr("db").code, 2);
  EXPECT_EQ(sbr("db put one.sbr").code, 2);
  EXPECT_EQ(sbr("db put one.sbr wing.db").code, 2);
  EXPECT_FALSE(exists("wing.db"));
  EXPECT_EQ(sbr("db put missing.sbr wing.MASTER").code, 3);
  EXPECT_EQ(sbr("db put one.sbr missing/wing.MASTER").code, 4);
  EXPECT_EQ(sbr("db put one.sbr " + std::string(5000, 'w') + ".MASTER").code, 4);
  EXPECT_EQ(sbr("db get wing.MASTER 0 taken.sbr").code, 2);
  EXPECT_EQ(sbr("db get wing.MASTER first taken.sbr").code, 2);
  const Outcome beyond = sbr("db get wing.MASTER 2 taken.sbr", true);
  EXPECT_EQ(beyond.code, 2);
  EXPECT_EQ(beyond.out, "sbr: wing.MASTER: no body 2, the database holds 1\n");
  EXPECT_FALSE(exists("taken.sbr"));
}

TEST_F(DatabaseProgramTest, ATargetThatCannotBeWrittenIsAFailure) {
  full_record(0x13C).write(scratch.file("one.sbr"));
  ASSERT_EQ(sbr("db put one.sbr wing.MASTER").code, 0);
  const std::string master = read_file(scratch.file("wing.MASTER"));
  EXPECT_EQ(sbr("db get wing.MASTER 1 missing/taken.sbr").code, 4);
  EXPECT_EQ(sbr("db get wing.MASTER 1 /dev/full").code, 4);
  EXPECT_EQ(sbr("db get wing.MASTER 1 .").code, 2);
  EXPECT_EQ(sbr("db get wing.MASTER 1 wing.MASTER").code, 2);
  EXPECT_EQ(sbr("db get wing.MASTER 1 ./wing.DBALL").code, 2);
  EXPECT_EQ(read_file(scratch.file("wing.MASTER")), master);
  EXPECT_EQ(list().size(), 1U);
}

TEST_F(DatabaseProgramTest, AHalfWrittenRecordIsRemoved) {
  const std::string file = sample("beam_13c");
  ASSERT_EQ(sbr("db put " + file + " wing.MASTER").code, 0);
  // A file may hold 200 blocks, of 512 or 1024 bytes; the signal of the limit is ignored so that the write fails
  // instead.
  const Outcome run = sbr("db get wing.MASTER 1 taken.sbr", true, "trap '' XFSZ; ulimit -f 200");
  EXPECT_EQ(run.code, 4) << run.out;
  EXPECT_FALSE(exists("taken.sbr"));
}

TEST_F(DatabaseProgramTest, AMissingLibraryIsAFailureAndTheCheckNeedsNone) {
  full_record(0x13C).write(scratch.file("one.sbr"));
  ASSERT_EQ(sbr("db put one.sbr wing.MASTER").code, 0);
  fs::create_directory(scratch.path() / "empty");
  const ScopedEnvironment empty("KTX_USER_PLUGIN_DIR", ":" + scratch.file("empty") + ":");
  for (const char *arguments : {"put one.sbr other.MASTER", "list wing.MASTER", "get wing.MASTER 1 taken.sbr"}) {
    const Outcome run = sbr(std::string("db ") + arguments, true);
    EXPECT_EQ(run.code, 4) << arguments;
    EXPECT_THAT(run.out, HasSubstr("the database library Qsrv_22_2 cannot be loaded")) << arguments;
  }
  EXPECT_EQ(sbr("db check wing.MASTER").code, 0);
  EXPECT_FALSE(exists("other.MASTER"));
  EXPECT_FALSE(exists("taken.sbr"));
}

TEST_F(DatabaseProgramTest, ALibraryThatLacksEntriesIsAFailure) {
  full_record(0x13C).write(scratch.file("one.sbr"));
  const ScopedEnvironment partial("KTX_USER_PLUGIN_DIR", SBRKIT_TEST_PLUGINS "/partial");
  EXPECT_EQ(sbr("db put one.sbr wing.MASTER").code, 4);
}

// ---- lists ---------------------------------------------------------------------------------------------------------

class DatabaseListTest : public DatabaseProgramTest {
 protected:
  // Stores bodies of one record in one run.
  void store_labels(const std::vector<std::string> &labels) {
    const ScopedEnvironment plugin("KTX_USER_PLUGIN_DIR", SBRKIT_STORE_DIRECTORY);
    const ScopedEnvironment system("KTX_QSRVHOME_DIR", "/");
    ASSERT_EQ(DB_StartWrite(scratch.file("wing.MASTER").c_str()), 1);
    for (const std::string &label : labels) {
      const db_block block{DB_CreateSBRblk(("selabel='" + label + "'").c_str()), {0, 0}};
      ASSERT_GT(block.unit, 0);
      DB_CloseDatablk(block.unit);
    }
    ASSERT_EQ(DB_TermWrite(), 1);
  }
};

TEST_F(DatabaseListTest, FewDescriptorsAreEnoughForManyBodies) {
  std::vector<std::string> labels;
  for (int i = 1; i <= 2000; ++i) labels.push_back("body " + std::to_string(i));
  store_labels(labels);
  const Outcome run = sbr("db list --json wing.MASTER", true, "ulimit -n 32");
  ASSERT_EQ(run.code, 0) << run.out;
  const Json bodies = Json::parse(run.out);
  ASSERT_EQ(bodies.size(), labels.size());
  for (std::size_t i = 0; i < labels.size(); ++i) {
    EXPECT_EQ(bodies[i]["index"], i + 1);
    EXPECT_EQ(bodies[i]["selabel"], labels[i]);
    EXPECT_EQ(bodies[i]["version"], "1");
  }
}

TEST_F(DatabaseListTest, QualifiersOfAnyLengthAreShownWhole) {
  const std::string label(5000, 'w');
  full_record(0x13C).write(scratch.file("one.sbr"));
  const std::string project(300, '7');
  for (const char *end : {"a", "b"}) {
    std::string put = "db put one.sbr wing.MASTER --qualifiers \"selabel='";
    put.append(label).append(end).append("',projno=").append(project).append("\"");
    ASSERT_EQ(sbr(put).code, 0);
  }
  const Json bodies = list();
  ASSERT_EQ(bodies.size(), 2U);
  EXPECT_EQ(bodies[0]["selabel"], label + 'a');
  EXPECT_EQ(bodies[1]["selabel"], label + 'b');
  EXPECT_EQ(bodies[1]["projno"], project);
  EXPECT_EQ(sbr("db get wing.MASTER 2 taken.sbr").code, 0);
}

TEST_F(DatabaseListTest, AListThatLacksADescriptionIsAFailure) {
  store_labels({"wing"});
  const ScopedEnvironment library("KTX_USER_PLUGIN_DIR", SBRKIT_TEST_PLUGINS "/listed");
  const std::string head = " SELABEL projno \n-------- ------ \n";
  const std::pair<std::string, std::string> cases[] = {
      {head + "'wing'   3      \n                \n", "the description of body 2 is missing"},
      {head + "'wing'          \n", "the description of body 1 is missing"},
      {head + "'wing'   3      \n'tail    4      \n", "the description of body 2 is missing"},
      {head + "'wing'   3      \n'tail'   4", "the description of body 2 is missing"},
      {" SELABEL projno", "the list of bodies cannot be read"}};
  for (const auto &[text, message] : cases) {
    const ScopedEnvironment shown("QSRV_LIST", text);
    const Outcome run = sbr("db list wing.MASTER", true);
    EXPECT_EQ(run.code, 3) << text;
    EXPECT_THAT(run.out, HasSubstr("sbr: wing.MASTER: " + message)) << text;
  }
  const ScopedEnvironment shown("QSRV_LIST", head + "'wing'   3      \n");
  EXPECT_EQ(json("db list --json wing.MASTER"), Json::parse(R"([{"index": 1, "selabel": "wing", "projno": "3"}])"));
}

// ---- repair --------------------------------------------------------------------------------------------------------

class DatabaseRepairTest : public DatabaseProgramTest {
 protected:
  void SetUp() override {
    full_record(0x13C).write(scratch.file("one.sbr"));
    ASSERT_EQ(sbr("db put one.sbr wing.MASTER --qualifiers \"selabel='a'\"").code, 0);
    ASSERT_EQ(sbr("db put one.sbr wing.MASTER --qualifiers \"selabel='b'\"").code, 0);
  }
};

TEST_F(DatabaseRepairTest, ALostMasterIsWrittenAnew) {
  fs::remove(scratch.file("wing.MASTER"));
  const std::string data = read_file(scratch.file("wing.DBALL"));
  const Outcome put = sbr("db put one.sbr wing.MASTER --qualifiers \"selabel='c'\"", true);
  EXPECT_EQ(put.code, 4);
  EXPECT_THAT(put.out, HasSubstr("sbr: wing.MASTER: is missing beside wing.DBALL. If that holds bodies, 'sbr db repair "
                                 "wing.MASTER' makes the database whole\n"));
  EXPECT_EQ(read_file(scratch.file("wing.DBALL")), data);
  const Outcome repair = sbr("db repair wing.MASTER", true);
  EXPECT_EQ(repair.code, 0);
  EXPECT_EQ(repair.out, "wing.MASTER: written anew\n");
  EXPECT_EQ(list().size(), 2U);
  EXPECT_EQ(sbr("db check wing.MASTER").code, 0);
  EXPECT_EQ(sbr("db get wing.MASTER 2 taken.sbr").code, 0);
  EXPECT_EQ(sbr("db put one.sbr wing.MASTER --qualifiers \"selabel='c'\"").code, 0);
  EXPECT_EQ(list().size(), 3U);
  EXPECT_EQ(sbr("db repair wing.MASTER").out, "wing.MASTER: sound, nothing to repair\n");
}

TEST_F(DatabaseRepairTest, ADamagedMasterMakesRoomForANewOne) {
  write_file(scratch.file("wing.MASTER"), "short");
  const Outcome repair = sbr("db repair wing.MASTER");
  EXPECT_EQ(repair.code, 0);
  EXPECT_EQ(repair.out, "wing.MASTER: written anew; the old header is wing.MASTER.old\n");
  EXPECT_EQ(read_file(scratch.file("wing.MASTER.old")), "short");
  EXPECT_EQ(list().size(), 2U);
}

TEST_F(DatabaseRepairTest, WhatCannotBeRepairedStaysAsItIs) {
  EXPECT_EQ(sbr("db repair wing.db").code, 2);
  EXPECT_EQ(sbr("db repair missing.MASTER").code, 3);
  std::string data = read_file(scratch.file("wing.DBALL"));
  data.replace(data.size() - 3 * 4096, 2 * 4096, std::string(2 * 4096, 'x'));
  for (const std::string &bytes : {data, std::string("a text\n")}) {
    write_file(scratch.file("wing.DBALL"), bytes);
    write_file(scratch.file("wing.MASTER"), "short");
    const Outcome repair = sbr("db repair wing.MASTER", true);
    EXPECT_EQ(repair.code, 3) << repair.out;
    EXPECT_THAT(repair.out, HasSubstr("wing.DBALL: is damaged, or no data of this store; it was left as it is"));
    EXPECT_EQ(read_file(scratch.file("wing.DBALL")), bytes);
    EXPECT_EQ(read_file(scratch.file("wing.MASTER")), "short");
    EXPECT_EQ(files(), (Names{"one.sbr", "wing.DBALL", "wing.MASTER"}));
  }
  const ScopedEnvironment library("KTX_USER_PLUGIN_DIR", SBRKIT_TEST_PLUGINS "/partial");
  EXPECT_EQ(sbr("db repair wing.MASTER").code, 4);
  EXPECT_EQ(read_file(scratch.file("wing.MASTER")), "short");
}

TEST_F(DatabaseRepairTest, DamagedDataAreNamedWithTheirStatus) {
  std::string data = read_file(scratch.file("wing.DBALL"));
  data.replace(100, 1, "x");
  write_file(scratch.file("wing.DBALL"), data);
  for (const char *arguments : {"list wing.MASTER", "get wing.MASTER 1 taken.sbr"}) {
    const Outcome run = sbr(std::string("db ") + arguments, true);
    EXPECT_EQ(run.code, 3) << arguments;
    EXPECT_THAT(run.out,
                HasSubstr("sbr: wing.MASTER: the database cannot be read, status 107: its data are damaged, or "
                          "none of this store\n"));
  }
}

// ---- outputs and signals -------------------------------------------------------------------------------------------

TEST_F(DatabaseProgramTest, AFailedGetLeavesTheFileThatWasThere) {
  const std::string file = sample("beam_13c");
  ASSERT_EQ(sbr("db put " + file + " wing.MASTER").code, 0);
  write_file(scratch.file("taken.sbr"), "precious");
  EXPECT_EQ(sbr("db get wing.MASTER 1 taken.sbr", true, "trap '' XFSZ; ulimit -f 200").code, 4);
  EXPECT_EQ(sbr("db get wing.MASTER 2 taken.sbr").code, 2);
  EXPECT_EQ(read_file(scratch.file("taken.sbr")), "precious");
  EXPECT_EQ(files(), (Names{file, "taken.sbr", "wing.DBALL", "wing.MASTER"}));
  fs::permissions(scratch.file("taken.sbr"), fs::perms::owner_read | fs::perms::owner_write);
  fs::create_symlink("taken.sbr", scratch.file("link.sbr"));
  EXPECT_EQ(sbr("db get wing.MASTER 1 link.sbr").code, 0);
  EXPECT_TRUE(fs::is_symlink(scratch.file("link.sbr")));
  EXPECT_GT(fs::file_size(scratch.file("taken.sbr")), 1000U);
  EXPECT_EQ(fs::status(scratch.file("taken.sbr")).permissions(), fs::perms::owner_read | fs::perms::owner_write);
}

class DatabaseSignalTest : public DatabaseProgramTest {
 protected:
  DatabaseSignalTest() { fs::create_directory(scratch.path() / "temporary"); }
  // The program in the directory, without a word.
  int run_quietly(const std::vector<std::string> &arguments) const {
    fs::current_path(scratch.path());
    setenv("TMP", "temporary", 1);
    // The search for leaks cannot look into a process that is watched already.
    const char *sanitizer = std::getenv("ASAN_OPTIONS");
    setenv("ASAN_OPTIONS", ((sanitizer != nullptr ? sanitizer : "") + std::string(":detect_leaks=0")).c_str(), 1);
    if (std::freopen("/dev/null", "w", stdout) == nullptr || std::freopen("/dev/null", "w", stderr) == nullptr)
      return 9;
    std::vector<char *> texts{const_cast<char *>(SBR_PROGRAM)};
    for (const std::string &argument : arguments) texts.push_back(const_cast<char *>(argument.c_str()));
    texts.push_back(nullptr);
    execv(SBR_PROGRAM, texts.data());
    return 9;
  }
  // Runs the program for some system calls and then sends the signal. True when it ended by it.
  bool interrupt(const std::vector<std::string> &arguments, int signal, int calls) const {
    SteppedProcess child([&] { return run_quietly(arguments); });
    child.pass(calls);
    const int status = child.end_by(signal);
    EXPECT_TRUE((WIFSIGNALED(status) && WTERMSIG(status) == signal) || (WIFEXITED(status) && WEXITSTATUS(status) == 0))
        << status;
    return WIFSIGNALED(status);
  }
  // Interrupts a command at many moments; after each, `allowed` says what may be there.
  template <class Allowed>
  void interrupt_often(const std::vector<std::string> &arguments, Allowed allowed) {
    int interrupted = 0;
    for (int round = 1; round <= kRounds; ++round) {
      const int signal = std::array{SIGTERM, SIGINT, SIGHUP}[static_cast<std::size_t>(round) % 3];
      interrupted += interrupt(arguments, signal, span_ * round / kRounds) ? 1 : 0;
      EXPECT_TRUE(fs::is_empty(scratch.path() / "temporary")) << "round " << round;
      allowed(round);
    }
    EXPECT_GT(interrupted, kRounds / 10);
  }
  // How many system calls the command makes.
  void measure(const std::vector<std::string> &arguments) {
    SteppedProcess child([&] { return run_quietly(arguments); });
    span_ = child.count_to_the_end();
    ASSERT_EQ(child.finish(), 0);
  }
  static constexpr int kRounds = 40;
  int span_ = 0;
};

TEST_F(DatabaseSignalTest, AnInterruptedPutLeavesNoFile) {
  const std::string file = sample("conrod_13c");
  measure({"db", "put", file, "wing.MASTER"});
  const Names all{file, "temporary", "wing.DBALL", "wing.MASTER"};
  interrupt_often({"db", "put", file, "new.MASTER"}, [&](int round) {
    if (exists("new.MASTER")) {
      EXPECT_EQ(sbr("db get new.MASTER 1 /dev/null").code, 0) << "round " << round;
      EXPECT_TRUE(exists("new.DBALL"));
    }
    fs::remove(scratch.file("new.MASTER"));
    fs::remove(scratch.file("new.DBALL"));
    EXPECT_EQ(files(), all) << "round " << round;
  });
  interrupt_often({"db", "put", file, "wing.MASTER", "--qualifiers", "version=2"},
                  [&](int round) { EXPECT_EQ(files(), all) << "round " << round; });
  const std::size_t bodies = list().size();
  EXPECT_TRUE(bodies == 1 || bodies == 2);
}

TEST_F(DatabaseSignalTest, AnInterruptedReadingLeavesNoFile) {
  const std::string file = sample("conrod_13c");
  ASSERT_EQ(sbr("db put " + file + " wing.MASTER").code, 0);
  write_file(scratch.file("taken.sbr"), "before");
  const Names all = files();
  measure({"db", "get", "wing.MASTER", "1", "other.sbr"});
  const std::string whole = read_file(scratch.file("other.sbr"));
  fs::remove(scratch.file("other.sbr"));
  interrupt_often({"db", "get", "wing.MASTER", "1", "taken.sbr"}, [&](int round) {
    EXPECT_EQ(files(), all) << "round " << round;
    const std::string taken = read_file(scratch.file("taken.sbr"));
    EXPECT_TRUE(taken == "before" || taken == whole) << "round " << round;
    write_file(scratch.file("taken.sbr"), "before");
  });
  measure({"db", "list", "wing.MASTER"});
  interrupt_often({"db", "list", "wing.MASTER"}, [&](int round) { EXPECT_EQ(files(), all) << "round " << round; });
  measure({"db", "repair", "wing.MASTER"});
  interrupt_often({"db", "repair", "wing.MASTER"}, [&](int round) { EXPECT_EQ(files(), all) << "round " << round; });
}

// ---- damaged data blocks -------------------------------------------------------------------------------------------

constexpr int kDatabaseVersion = 0x103C;

void put_integers(const db_block &block, std::vector<int> values) {
  DB_WriteINTs(block, values.data(), static_cast<int>(values.size()));
}
// The version word, the header and a summary that names the blocks of the given bytes.
void put_front(const db_block &block, std::initializer_list<std::size_t> content = {}, int version = kDatabaseVersion) {
  std::string header(544, ' ');
  std::string summary(100, '\0');
  for (const std::size_t byte : content) summary[byte] = 1;
  put_integers(block, {1, version});
  DB_WriteEOR(block);
  put_integers(block, {2});
  DB_WriteCHARs(block, header.data(), 544);
  DB_WriteEOR(block);
  put_integers(block, {3});
  DB_WriteCHARs(block, summary.data(), 100);
  DB_WriteEOR(block);
}
void put_record(const db_block &block, const std::vector<int> &values) {
  put_integers(block, values);
  DB_WriteEOR(block);
}

class DamagedDataBlockTest : public DatabaseProgramTest {
 protected:
  template <class Fill>
  void expect_damage(Fill fill, const std::string &text) {
    store(fill);
    const Outcome run = sbr("db get wing.MASTER 1 taken.sbr", true);
    EXPECT_EQ(run.code, 3) << run.out;
    EXPECT_THAT(run.out, HasSubstr("the data block is damaged: " + text));
    EXPECT_FALSE(exists("taken.sbr"));
  }
};

TEST_F(DamagedDataBlockTest, TheSmallestSoundOneIsTaken) {
  store([](db_block block) {
    put_front(block, {12});
    put_record(block, {14, 20, 0, 0, 1, 7});
    put_record(block, {0});
  });
  const Outcome run = sbr("db get wing.MASTER 1 taken.sbr", true);
  EXPECT_EQ(run.code, 0) << run.out;
  EXPECT_EQ(read_file(scratch.file("taken.sbr")).size(), 668U);
}

TEST_F(DamagedDataBlockTest, CountsAreBelievedAsFarAsTheRecordReaches) {
  const int huge = 2147483647;
  expect_damage([&](db_block b) { put_front(b, {0}), put_record(b, {4, huge, 3, 1}); }, "record 4 ends too early");
  expect_damage([&](db_block b) { put_front(b, {4}), put_record(b, {8, huge, huge, 1}); }, "record 8 ends too early");
  expect_damage([&](db_block b) { put_front(b, {24}), put_record(b, {26, huge}); }, "record 26 ends too early");
  expect_damage([&](db_block b) { put_front(b, {32}), put_record(b, {34, 1, huge}); }, "record 34 ends too early");
  expect_damage([&](db_block b) { put_front(b, {15}), put_record(b, {17, -1}); }, "record 17 has a negative count");
  expect_damage(
      [&](db_block b) {
        put_front(b, {12}), put_record(b, {14, 24, 0, 0, 1, 7});
      },
      "record 14 has a wrong size");
}

TEST_F(DamagedDataBlockTest, MonitorPointsFitANumberOfModes) {
  const int huge = 2147483647;
  expect_damage(
      [&](db_block b) {
        put_front(b, {34});
        put_integers(b, {36, 1, 1, 1, 1});
        DB_WriteCHARs(b, std::string(64, 'x').data(), 64);
        put_record(b, {huge, huge, 15, 7});
      },
      "record 36 does not fit any number of modes");
  expect_damage(
      [&](db_block b) {
        put_front(b, {34}), put_record(b, {36, huge});
      },
      "record 36 does not fit any number of modes");
}

TEST_F(DamagedDataBlockTest, RecordsStandInOrderAndTheSummaryTellsOfThem) {
  expect_damage([](db_block b) { put_front(b, {}, 0x3C); }, "record 1 is not the version of a body in a database");
  expect_damage(
      [](db_block b) {
        put_record(b, {4, 0, 3});
      },
      "record 4 stands where version, header and summary belong");
  expect_damage([](db_block b) { put_front(b), put_record(b, {33, 0}); }, "record 33 stands where it does not belong");
  expect_damage([](db_block b) { put_front(b), put_record(b, {-5, 0}); }, "record -5 stands where it does not belong");
  expect_damage(
      [](db_block b) {
        put_front(b, {15}), put_record(b, {17, 0}), put_record(b, {17, 0});
      },
      "record 17 stands where it does not belong");
  expect_damage(
      [](db_block b) {
        put_front(b, {15}), put_record(b, {17, 0, 0});
      },
      "record 17 holds more than its counts tell");
  expect_damage(
      [](db_block b) {
        put_front(b, {15}), put_record(b, {17, 0});
      },
      "record 17 is not followed by a closing record");
  expect_damage(
      [](db_block b) {
        put_front(b), put_record(b, {17, 0}), put_record(b, {0});
      },
      "the content summary is wrong about record 17");
  expect_damage([](db_block b) { put_front(b, {15}), put_record(b, {0}); },
                "the content summary is wrong about record 17");
  expect_damage([](db_block b) { put_record(b, {0}); },
                "record 0 closes a data block without version, header and summary");
}

}  // namespace
}  // namespace sbrtest

#endif
