// `sbr import` from the outside: options that leave their neighbours alone, and tables that show what was written.
#include "support/program.h"

namespace sbrtest {
namespace {

class ProgramImportTest : public ProgramTest {
 protected:
  ProgramImportTest() { add_plate_job(); }
  Json imported(const std::string &arguments) const {
    const Outcome run = sbr("import ccx " + arguments + " --json");
    EXPECT_EQ(run.code, 0) << arguments;
    return Json::parse(run.out);
  }
};

TEST_F(ProgramImportTest, AListLeavesTheDeckBehindItAlone) {
  EXPECT_EQ(imported("--interface edge plate.inp -o plate.sbr")["interface_nodes"], 7);
  EXPECT_EQ(sbr("nodes --id 1,2 plate.sbr").code, 0);
  EXPECT_EQ(sbr("mode --node 1, 2 plate.sbr 7").code, 0);
  EXPECT_EQ(sbr("mode --node '1, 2' plate.sbr 7").code, 0);
  EXPECT_EQ(sbr("transform plate.sbr moved.sbr --translate 1, 2, 3").code, 0);
  EXPECT_EQ(sbr("transform plate.sbr moved.sbr --translate '1 , 2, 3 '").code, 0);
  EXPECT_EQ(sbr("units plate.sbr si.sbr --to 'KILOGRAM, METER, SECOND, NEWTON'").code, 0);
  EXPECT_EQ(sbr("transform plate.sbr moved.sbr --renumber 1e30").code, 2);
}

TEST_F(ProgramImportTest, TheTableShowsTheModesThatWereWritten) {
  const Json all = imported("plate.inp -o plate.sbr");
  ASSERT_EQ(all["modes"].size(), 9U);
  const Json some = imported("plate.inp -o some.sbr --highpass 1 --lowpass 800");
  const Json record = json("modes --json some.sbr");
  ASSERT_EQ(some["modes"].size(), record.size());
  ASSERT_EQ(record.size(), 1U);
  EXPECT_EQ(some["modes"][0]["number"], record[0]["number"]);
  EXPECT_EQ(some["modes"][0]["hz"], record[0]["hz"]);
  EXPECT_EQ(some["modes"][0]["rigid"], false);
  EXPECT_EQ(some["modes"][0]["mass_by_nodes"], all["modes"][6]["mass_by_nodes"]) << "it is the seventh of the job";
  EXPECT_EQ(some["written"]["modes"], 1);
}

TEST_F(ProgramImportTest, TheSummaryTellsNodesUnitsAndMassOfTheRecord) {
  const Json summary = imported("plate.inp -o plate.sbr --mks --stress all");
  const Json info = json("info --json plate.sbr");
  EXPECT_EQ(summary["written"]["nodes"], info["counts"]["nodes"]);
  EXPECT_EQ(summary["written"]["faces"], info["counts"]["faces"]);
  EXPECT_EQ(summary["written"]["stress_nodes"], info["counts"]["stress_nodes"]);
  EXPECT_EQ(summary["written"]["mass"], info["mass"]);
  EXPECT_EQ(summary["written"]["units"][1], "METER");
  EXPECT_NEAR(summary["written"]["mass"].get<double>(), 0.11304, 1e-12) << "kilograms";
  // The largest displacements are those of the record too.
  const Json plain = imported("plate.inp -o plain.sbr --stress all");
  EXPECT_NEAR(summary["modes"][6]["largest_displacement"].get<double>(),
              0.001 * plain["modes"][6]["largest_displacement"].get<double>(), 1e-12);
  const Json empty = imported("plate.inp -o empty.sbr --empty");
  EXPECT_EQ(empty["modes"].size(), 0U);
  EXPECT_EQ(empty["written"]["modes"], 0);
}

// `script` runs a command on a terminal of its own. A bar is drawn over itself and wiped when it is full.
TEST_F(ProgramImportTest, OnATerminalABarShowsHowFarTheReadingIs) {
  if (shell("command -v script >/dev/null").code != 0) GTEST_SKIP() << "no script";
  ASSERT_EQ(shell("gzip -d plate.frd.gz").code, 0);
  const Outcome piped = sbr("import ccx plate.inp -o piped.sbr", true);
  ASSERT_EQ(piped.code, 0);
  EXPECT_EQ(piped.out.find('\r'), std::string::npos) << "not on a terminal";
  const Outcome shown = shell("script -qec '" SBR_PROGRAM " import ccx plate.inp -o shown.sbr' /dev/null </dev/null");
  ASSERT_EQ(shown.code, 0) << shown.out;
  EXPECT_TRUE(exists("shown.sbr"));
  const std::size_t empty = shown.out.find("\r[" + std::string(40, '.') + "]   0 %");
  const std::size_t full = shown.out.find("\r[" + std::string(40, '#') + "] 100 %");
  ASSERT_NE(empty, std::string::npos) << shown.out;
  ASSERT_NE(full, std::string::npos) << shown.out;
  EXPECT_LT(empty, full);
  EXPECT_NE(shown.out.find("\r\033[K", full), std::string::npos) << "the bar is wiped";
  EXPECT_NE(shown.out.find("Written to shown.sbr", full), std::string::npos) << "the report comes behind it";
  EXPECT_EQ(sbr("diff piped.sbr shown.sbr").code, 0);
}

TEST_F(ProgramImportTest, WhatTheWriterRefusesIsTold) {
  const Outcome run = sbr("import ccx plate.inp -o plate.sbr --lowpass 100 --highpass 50", true);
  EXPECT_EQ(run.code, 2) << run.out;
  EXPECT_NE(run.out.find("no mode lies above 50 Hz"), std::string::npos) << run.out;
  EXPECT_FALSE(std::filesystem::exists(scratch.file("plate.sbr")));
  EXPECT_EQ(sbr("import ccx plate.inp -o plate.sbr --modes 0").code, 2);
  EXPECT_EQ(sbr("import ccx plate.inp -o plate.sbr --matrices a,b --normal 2").code, 2);
}

}  // namespace
}  // namespace sbrtest
