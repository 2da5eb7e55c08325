// Outputs from the outside: they appear whole or not at all, and what was there outlives a failed command.
#include <sys/stat.h>
#include <unistd.h>

#include <cmath>

#include "support/program.h"

namespace sbrtest {
namespace {

class ProgramOutputTest : public ProgramTest {
 protected:
  ProgramOutputTest() { write_file(scratch.file("kept.sbr"), kPrecious); }
  // The failed command has left what was there, and nothing beside it.
  void expect_untouched(const std::vector<std::string> &names) const {
    EXPECT_TRUE(is_untouched());
    EXPECT_EQ(files(), names);
  }
  bool is_untouched() const { return read_file(scratch.file("kept.sbr")) == kPrecious; }
  static constexpr const char *kPrecious = "what was there";
};

TEST_F(ProgramOutputTest, AFailedCommandLeavesWhatWasThere) {
  const std::string beam = sample("beam_13c");
  const std::vector<std::string> names = files();
  EXPECT_EQ(sbr("write " + beam + " kept.sbr --layout 81 --single").code, 4);
  expect_untouched(names);
  EXPECT_EQ(sbr("transform " + beam + " kept.sbr --translate 1,0,0 --layout 82 --single").code, 4);
  expect_untouched(names);
  EXPECT_EQ(sbr("reduce " + beam + " kept.sbr --full-stress --sparse-stress").code, 4);
  expect_untouched(names);
  EXPECT_EQ(sbr("units " + beam + " kept.sbr --to SI --full-stress --sparse-stress").code, 4);
  expect_untouched(names);
}

TEST_F(ProgramOutputTest, AFullDiskLeavesWhatWasThere) {
  const std::string beam = sample("beam_13c");
  const std::vector<std::string> names = files();
  // Files end after 200 blocks of 512 or 1024 bytes; the record has 785504 bytes.
  const Outcome run = shell("trap '' XFSZ; ulimit -f 200; " SBR_PROGRAM " write " + beam + " kept.sbr --no-ortho 2>&1");
  EXPECT_EQ(run.code, 4) << run.out;
  expect_untouched(names);
}

TEST_F(ProgramOutputTest, ATerminatedCommandLeavesNothingBeside) {
  const std::string beam = sample("beam_13c");
  ASSERT_EQ(shell("mkfifo faces").code, 0);
  const std::vector<std::string> names = files();
  // Reading the pipe holds the write up while its output stands beside the target. The shell opens the pipe when the
  // program does, and keeps it open without a word.
  for (const char *signal : {"TERM", "HUP"}) {
    const Outcome run =
        shell(SBR_PROGRAM " write " + beam + " kept.sbr --sketch faces & exec 3>faces; ls kept.sbr.partial-*; kill -" +
              signal + " $!; wait $!; echo $?");
    EXPECT_EQ(run.out.substr(0, 17), "kept.sbr.partial-") << "the output was under way: " << run.out;
    EXPECT_EQ(run.out.substr(run.out.find('\n') + 1), signal == std::string("TERM") ? "143\n" : "129\n");
    expect_untouched(names);
  }
}

TEST_F(ProgramOutputTest, ASuccessReplacesTheFileAndKeepsItsRights) {
  const std::string beam = sample("beam_13c");
  ASSERT_EQ(chmod(scratch.file("kept.sbr").c_str(), 0640), 0);
  ASSERT_EQ(sbr("write " + beam + " kept.sbr").code, 0);
  EXPECT_EQ(json("info --json kept.sbr")["counts"]["modes"], 10);
  struct stat facts {};
  ASSERT_EQ(stat(scratch.file("kept.sbr").c_str(), &facts), 0);
  EXPECT_EQ(facts.st_mode & 0777U, 0640U);
  ASSERT_EQ(shell("umask 027; " SBR_PROGRAM " write " + beam + " fresh.sbr").code, 0);
  ASSERT_EQ(stat(scratch.file("fresh.sbr").c_str(), &facts), 0);
  EXPECT_EQ(facts.st_mode & 0777U, 0640U);
}

TEST_F(ProgramOutputTest, ALinkStaysALinkAndItsFileIsReplaced) {
  const std::string beam = sample("beam_13c");
  std::filesystem::create_symlink("kept.sbr", scratch.path() / "link.sbr");
  ASSERT_EQ(sbr("write " + beam + " link.sbr").code, 0);
  EXPECT_TRUE(std::filesystem::is_symlink(scratch.path() / "link.sbr"));
  EXPECT_EQ(json("info --json kept.sbr")["counts"]["modes"], 10);
  std::filesystem::create_symlink("nowhere/x.sbr", scratch.path() / "dangling.sbr");
  EXPECT_EQ(sbr("write " + beam + " dangling.sbr").code, 4);
}

TEST_F(ProgramOutputTest, AFileThatMayNotBeWrittenStays) {
  const std::string beam = sample("beam_13c");
  ASSERT_EQ(chmod(scratch.file("kept.sbr").c_str(), 0444), 0);
  ASSERT_EQ(chmod(scratch.path().c_str(), 0777), 0);
  // The administrator may write everything.
  const char *as_user = geteuid() == 0 ? "setpriv --bounding-set -dac_override " : "";
  EXPECT_EQ(shell(as_user + std::string(SBR_PROGRAM " write ") + beam + " kept.sbr 2>/dev/null").code, 4);
  EXPECT_TRUE(is_untouched());
}

TEST_F(ProgramOutputTest, ADeviceIsWrittenToAsItIs) {
  const std::string beam = sample("beam_13c");
  EXPECT_EQ(sbr("write " + beam + " /dev/full").code, 4);
  EXPECT_TRUE(std::filesystem::is_character_file("/dev/full"));
  EXPECT_EQ(sbr("write " + beam + " /dev/null").code, 0);
  EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
}

TEST_F(ProgramOutputTest, EmptyFrequencyRangesAreRefusedWithBothFigures) {
  const std::string rod = sample("conrod_13c");
  const auto refused = [&](const std::string &flags, const std::string &text) {
    const Outcome run = sbr("write " + rod + " kept.sbr " + flags, true);
    EXPECT_EQ(run.code, 2) << flags;
    EXPECT_NE(run.out.find(text), std::string::npos) << run.out;
    EXPECT_TRUE(is_untouched()) << flags;
  };
  refused("--highpass 1e7",
          "no mode lies above 1e+07 Hz (--highpass): its 12 modes lie from -0.00214035 to 5957.49 Hz");
  refused("--lowpass -5", "no mode lies up to -5 Hz (--lowpass)");
  refused("--highpass 500 --lowpass 400", "--highpass 500 is not below --lowpass 400");
  refused("--highpass 1100 --lowpass 1500", "above 1100 Hz (--highpass) and up to 1500 Hz (--lowpass)");
  refused("--highpass nan", "--highpass: a frequency in Hz is needed");
  const ScopedEnvironment variable("KTX_SBRWRITE_OPTIONS", "lowpass(2000)");
  refused("--lowpass 3000", "--lowpass is given while KTX_SBRWRITE_OPTIONS holds 'lowpass'");
}

TEST_F(ProgramOutputTest, FewerModesThanTheOperatorsOfMonitorPointsHaveAreWarnedOf) {
  SBR body = SBR_CreateFromSBR(scratch.file(sample("beam_13c")).c_str());
  ASSERT_NE(body, nullptr);
  const int modes = SBR_ModeCount(body);
  const double location[3] = {0, 0, 0};
  const int point = SBR_SetMonitorPointInfo(body, 1, 1, 1, 1, location, "P", "a point");
  ASSERT_GE(point, 0);
  std::vector<double> row;
  for (int i = 0; i < modes; ++i) row.push_back(1.0 + i);
  ASSERT_EQ(SBR_SetMonitorPointOperator(body, point, 1, row.data()), 0);
  ASSERT_EQ(SBR_write_SBR(body, scratch.file("watched.sbr").c_str()), 1);
  SBR_DeReference(body);

  const std::string warning =
      "warning: the operators of the monitor points are written for all 10 modes, and read wrong";
  const Outcome cut = sbr("write watched.sbr cut.sbr --lowpass 200", true);
  EXPECT_EQ(cut.code, 0);
  EXPECT_NE(cut.out.find(warning), std::string::npos) << cut.out;
  for (const char *whole : {"", "--empty", "--lowpass 1e7"}) {
    const Outcome run = sbr(std::string("write watched.sbr whole.sbr ") + whole, true);
    EXPECT_EQ(run.code, 0) << run.out;
    EXPECT_EQ(run.out.find("monitor points"), std::string::npos) << run.out;
  }
}

}  // namespace
}  // namespace sbrtest
