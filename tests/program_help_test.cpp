// Help, manual pages and completion from the outside, and what the program says of lines that it does not understand.
#include <set>

#include "support/program.h"

namespace sbrtest {
namespace {

class ProgramHelpTest : public ProgramTest {
 protected:
  // The commands that can be run, as the main help lists them; those with commands of their own give these.
  std::vector<std::string> commands() const {
    std::vector<std::string> all;
    for (const std::string &command : listed("")) {
      const std::vector<std::string> below = listed(command);
      if (below.empty()) all.push_back(command);
      for (const std::string &one : below) all.push_back(command + " " + one);
    }
    return all;
  }
  // The long options in the help of a command.
  std::set<std::string> options(const std::string &command) const {
    std::set<std::string> names;
    const std::string text = sbr("help " + command).out;
    const std::regex head("\n  (?:-[a-z], )?(--[a-z-]+)");
    for (std::sregex_iterator at(text.begin(), text.end(), head), end; at != end; ++at) names.insert((*at)[1]);
    return names;
  }

 private:
  std::vector<std::string> listed(const std::string &command) const {
    std::vector<std::string> names;
    std::istringstream lines(sbr("help " + command).out);
    bool inside = false;
    for (std::string line; std::getline(lines, line);) {
      if (line.empty()) inside = false;
      if (inside && line.size() > 2 && line[2] != ' ') names.push_back(line.substr(2, line.find(' ', 2) - 2));
      if (line == "Commands:") inside = true;
    }
    return names;
  }
};

TEST_F(ProgramHelpTest, HelpOfEveryCommandShowsNoInternals) {
  const std::vector<std::string> all = commands();
  EXPECT_GE(all.size(), 18U);
  for (const std::string &command : all) {
    const Outcome help = sbr(command + " --help");
    EXPECT_EQ(help.code, 0) << command;
    EXPECT_EQ(help.out, sbr("help " + command).out) << command;
    for (const char *internal : {"TEXT", "ENUM", "INT:", "FLOAT", "POSITIVE", "REQUIRED", "->", " x 3"})
      EXPECT_EQ(help.out.find(internal), std::string::npos) << command << ": " << internal;
    std::istringstream lines(help.out);
    for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 110U) << command << ": " << line;
  }
}

TEST_F(ProgramHelpTest, EachCommandHasExamplesThatAreItsOwn) {
  for (const std::string &command : commands()) {
    const std::string text = sbr("help " + command).out;
    const std::size_t examples = text.find("\nExamples:\n");
    ASSERT_NE(examples, std::string::npos) << command;
    EXPECT_NE(text.find("sbr " + command, examples), std::string::npos) << command;
  }
}

TEST_F(ProgramHelpTest, ImportTellsAllItsOptionsAndReportTheBlocks) {
  const std::set<std::string> names = options("import ccx");
  for (const char *name :
       {"--output", "--frd", "--dat", "--units", "--interface", "--stress", "--strain", "--shell-side", "--modes",
        "--matrices", "--normal", "--max-hz", "--all-faces", "--json", "--single", "--invariants"})
    EXPECT_EQ(names.count(name), 1U) << name;
  const std::string report = sbr("help report").out;
  EXPECT_NE(report.find(" 7 Eigenvalues"), std::string::npos);
  EXPECT_NE(report.find("36 Monitor Points"), std::string::npos);
}

TEST_F(ProgramHelpTest, ManualPagesTellWhatTheHelpTellsAndAreSetWithoutWarnings) {
  ASSERT_EQ(sbr("help --write pages").code, 0);
  for (const std::string &command : commands()) {
    const std::string page = "pages/man1/sbr-" + command.substr(0, command.find(' ')) + ".1";
    const Outcome set = shell("man --warnings -E ascii -l " + page + " 2>warnings | col -b | tr -d '\\n '");
    EXPECT_EQ(read_file(scratch.file("warnings")), "") << command;
    for (const std::string &option : options(command))
      EXPECT_NE(set.out.find(option), std::string::npos) << command << ' ' << option;
  }
  const Outcome main = shell("man --warnings -E ascii -l pages/man1/sbr.1 2>warnings");
  EXPECT_EQ(read_file(scratch.file("warnings")), "");
  EXPECT_NE(main.out.find("EXIT STATUS"), std::string::npos);
  EXPECT_NE(main.out.find("KTX_SBRWRITE_OPTIONS"), std::string::npos);
}

TEST_F(ProgramHelpTest, BashCompletesCommandsOptionsChoicesAndFiles) {
  sample("beam_13c");
  const auto completed = [&](const std::string &words) {
    return shell("bash -c 'source <(" SBR_PROGRAM
                 " help --completion bash); t() { COMP_WORDS=(\"$@\"); "
                 "COMP_CWORD=$(($#-1)); _sbr; echo \"${COMPREPLY[*]}\"; }; t " +
                 words + "'")
        .out;
  };
  EXPECT_EQ(completed("sbr che"), "check\n");
  EXPECT_EQ(completed("sbr import c"), "ccx\n");
  EXPECT_EQ(completed("sbr import \"\"").rfind("ccx ", 0), 0U);
  EXPECT_EQ(completed("sbr import ccx --stra"), "--strain\n");
  EXPECT_EQ(completed("sbr import ccx --stress \"\""), "all none surface\n");
  EXPECT_EQ(completed("sbr write --invariants f"), "fast full\n");
  EXPECT_EQ(completed("sbr info bea"), "beam_13c.sbr\n");
  EXPECT_EQ(completed("sbr db l"), "list\n");
}

TEST_F(ProgramHelpTest, TheOtherShellsKnowEveryCommandAndOption) {
  const std::string zsh = sbr("help --completion zsh").out;
  const std::string fish = sbr("help --completion fish").out;
  for (const std::string &command : commands())
    for (const std::string &option : options(command)) {
      EXPECT_NE(zsh.find("*" + option + "["), std::string::npos) << command << option;
      EXPECT_NE(fish.find(" -l " + option.substr(2) + " "), std::string::npos) << command << option;
    }
  if (shell("command -v zsh >/dev/null").code == 0) {
    EXPECT_EQ(shell(SBR_PROGRAM " help --completion zsh > _sbr && zsh -n _sbr").code, 0);
  }
  if (shell("command -v fish >/dev/null").code == 0) {
    EXPECT_EQ(shell(SBR_PROGRAM " help --completion fish > sbr.fish && fish -n sbr.fish").code, 0);
  }
}

TEST_F(ProgramHelpTest, WhatIsMisspeltIsNamedWithItsNearest) {
  const auto says = [&](const std::string &line, const std::string &text) {
    const Outcome run = sbr(line, true);
    EXPECT_EQ(run.code, 2) << line;
    EXPECT_NE(run.out.find(text), std::string::npos) << run.out;
  };
  says("chekc body.sbr", "unknown command 'chekc'; did you mean 'check'?");
  says("trans a b", "unknown command 'trans'; did you mean 'transform'?");
  says("frobnicate", "there are info, modes,");
  says("db lst x.MASTER", "unknown command 'db lst'; did you mean 'list'?");
  says("import cxx a.inp", "unknown command 'import cxx'; did you mean 'ccx'?");
  says("import", "sbr import: a command is needed: ccx");
  says("info --jsn body.sbr", "unknown option --jsn; did you mean --json?");
  says("write a b --invariant full", "unknown option --invariant; did you mean --invariants?");
  says("write a b --invariants ful", "ful not in {fast,full}");
  says("check", "sbr check: FILE is required");
  says("check a.sbr --tolerance abc", "a number above zero is needed, not 'abc'");
  says("help chekc", "did you mean 'check'?");
}

}  // namespace
}  // namespace sbrtest
