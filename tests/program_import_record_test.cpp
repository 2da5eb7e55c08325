// The import from the outside: the summary, the record, and that a failed import leaves nothing behind.
#include "support/program.h"

namespace sbrtest {
namespace {

class ProgramImportRecordTest : public ProgramTest {
 protected:
  ProgramImportRecordTest() { add_plate_job(); }
  // Runs `sbr import ccx`: its exit code, and standard error in a file of its own.
  int import(const std::string &arguments) {
    const Outcome run = shell(SBR_PROGRAM " import ccx " + arguments + " 2> '" + aside.file("err.txt") + "'");
    out = run.out;
    return run.code;
  }
  [[nodiscard]] std::string errors() const { return read_file(aside.file("err.txt")); }
  [[nodiscard]] Names records() const {
    Names names = files();
    std::erase_if(names, [](const std::string &name) { return name.find(".sbr") == std::string::npos; });
    return names;
  }
  ScratchDirectory aside;
  std::string out;
};

TEST_F(ProgramImportRecordTest, ARecordAndASummaryComeOut) {
  ASSERT_EQ(import("plate.inp --interface edge --stress all -o plate.sbr --json"), 0) << errors();
  const Json summary = Json::parse(out);
  EXPECT_NEAR(summary["mass"].get<double>(), 1.1304e-4, 1e-15);
  EXPECT_EQ(summary["nodes"], 73);
  EXPECT_EQ(summary["interface_nodes"], 7);
  EXPECT_EQ(summary["modes"].size(), 9u);
  EXPECT_EQ(summary["modes"][5]["rigid"], true);
  EXPECT_EQ(summary["modes"][6]["rigid"], false);
  EXPECT_NEAR(summary["modes"][6]["hz"].get<double>(), 742.3102, 1e-3);
  EXPECT_NE(errors().find("negative eigenvalues of rigid modes"), std::string::npos);
  const SBR body = SBR_CreateFromSBR(scratch.file("plate.sbr").c_str());
  ASSERT_NE(body, nullptr);
  EXPECT_EQ(SBR_ModeCount(body), 9);
  EXPECT_EQ(SBR_ModeNodeCount(body, 1), 73);
  EXPECT_EQ(records(), Names{"plate.sbr"});
}

TEST_F(ProgramImportRecordTest, WriteOptionsArePassedOn) {
  ASSERT_EQ(import("plate.inp -o plate.sbr --single --no-xdr --lowpass 800 --invariants full --stress none"), 0)
      << errors();
  const SBR body = SBR_CreateFromSBR(scratch.file("plate.sbr").c_str());
  ASSERT_NE(body, nullptr);
  EXPECT_EQ(SBR_Double_Prec(body), 0);
  EXPECT_EQ(SBR_ModeCount(body), 7);
  EXPECT_EQ(SBR_Exists(body, 25), 1);
  EXPECT_EQ(SBR_Exists(body, 17), 0);
}

TEST_F(ProgramImportRecordTest, AFailedImportTellsThePlaceAndLeavesNoRecord) {
  std::string deck = read_file(scratch.file("plate.inp"));
  deck.replace(deck.find("TYPE=S8R"), 8, "TYPE=S9Q");
  write_file(scratch.file("bad.inp"), deck);
  EXPECT_EQ(import("bad.inp --frd plate.frd.gz -o plate.sbr"), 3);
  EXPECT_NE(errors().find("bad.inp:77: element type S9Q is not supported"), std::string::npos) << errors();
  const std::string packed = read_file(scratch.file("plate.frd.gz"));
  write_file(scratch.file("cut.frd.gz"), packed.substr(0, packed.size() - 1000));
  EXPECT_EQ(import("plate.inp --frd cut.frd.gz -o plate.sbr"), 3);
  EXPECT_NE(errors().find("cut.frd.gz:"), std::string::npos) << errors();
  EXPECT_EQ(import("plate.inp --interface nowhere -o plate.sbr"), 3);
  EXPECT_EQ(import("none.inp -o plate.sbr"), 3);
  EXPECT_EQ(records(), Names{});
}

TEST_F(ProgramImportRecordTest, AnExistingRecordOutlivesAFailedImport) {
  write_file(scratch.file("plate.sbr"), "precious");
  EXPECT_EQ(import("plate.inp --modes 99 -o plate.sbr"), 3);
  EXPECT_EQ(read_file(scratch.file("plate.sbr")), "precious");
}

TEST_F(ProgramImportRecordTest, WrongUsageHasItsExitCode) {
  EXPECT_EQ(import("plate.inp -o plate.sbr --units furlong-stone"), 2);
  EXPECT_EQ(import("plate.inp -o plate.sbr --units mm-kg-s-N"), 2);
  EXPECT_NE(errors().find("not consistent"), std::string::npos) << errors();
  EXPECT_EQ(import("plate.inp -o plate.sbr --normal 4"), 2);
  EXPECT_EQ(import("plate.inp -o plate.sbr --matrices a,b,c"), 2);
  EXPECT_EQ(import("plate.inp -o ."), 2);
  EXPECT_EQ(import("plate.inp -o none/plate.sbr"), 4);
  EXPECT_EQ(records(), Names{});
}

}  // namespace
}  // namespace sbrtest
