// Every command of the program while its allocations and the system's calls fail in turn: no crash, a message and an
// exit code of failure or the whole result, nothing left beside the output. SBRKIT_FAULTS=all tries every case; without
// it a share of them is tried.
#include <sys/syscall.h>
#include <sys/wait.h>

#include <csignal>
#include <cstdio>
#include <cstring>

#include "faults/calls.h"
#include "faults/scenario.h"
#include "faults/served_program.h"

namespace sbrtest::faults {
namespace {

namespace fs = std::filesystem;

constexpr long kSampleOfAllocations = 30;
constexpr long kSampleOfCalls = 3;
constexpr long kSampleOfKills = 12;

struct Command {
  std::string name;
  std::vector<std::string> arguments;  // "IN/" stands for the directory of inputs
};

void PrintTo(const Command &command, std::ostream *out) { *out << command.name; }

std::vector<Command> all_commands() {
  std::vector<Command> all = {
      {"help", {"help", "write"}},
      {"info", {"info", "IN/small.sbr"}},
      {"info_json", {"info", "--json", "IN/small.sbr"}},
      {"modes", {"modes", "IN/small.sbr"}},
      {"nodes", {"nodes", "IN/small.sbr"}},
      {"mode", {"mode", "IN/small.sbr", "1"}},
      {"mass", {"mass", "IN/small.sbr"}},
      {"faces", {"faces", "IN/small.sbr"}},
      {"report", {"report", "IN/small.sbr"}},
      {"write", {"write", "IN/small.sbr", "out"}},
      {"transform", {"transform", "IN/small.sbr", "out", "--translate", "1,0,0"}},
      {"reduce", {"reduce", "IN/bricks.sbr", "out"}},
      {"units", {"units", "IN/small.sbr", "out", "--to", "SI"}},
      {"check", {"check", "IN/small.sbr"}},
      {"diff", {"diff", "IN/small.sbr", "IN/bricks.sbr"}},
      {"export_csv", {"export", "IN/small.sbr", "--csv", "out"}},
      {"export_npz", {"export", "IN/small.sbr", "--npz", "out"}},
      {"export_vtu", {"export", "IN/small.sbr", "--vtu", "out"}},
      {"export_stl", {"export", "IN/bricks.sbr", "--stl", "out"}},
      {"export_obj", {"export", "IN/small.sbr", "--obj", "out"}},
      {"sheet", {"sheet", "IN/small.sbr", "-o", "out", "--no-view"}},
      {"import_ccx", {"import", "ccx", "IN/clamped.inp", "-o", "out"}},
  };
#ifdef SBRKIT_STORE_DIRECTORY
  all.push_back({"db_check", {"db", "check", "IN/stored.MASTER"}});
  all.push_back({"db_put", {"db", "put", "IN/small.sbr", "new.MASTER"}});
  all.push_back({"db_list", {"db", "list", "IN/stored.MASTER"}});
  all.push_back({"db_get", {"db", "get", "IN/stored.MASTER", "1", "out"}});
#endif
  return all;
}

// What a directory holds: the names below it and the bytes of the files.
std::map<std::string, std::string> contents(const fs::path &directory) {
  std::map<std::string, std::string> found;
  for (const auto &entry : fs::recursive_directory_iterator(directory))
    if (entry.is_regular_file())
      found[fs::relative(entry.path(), directory).string()] = read_file(entry.path());
    else
      found[fs::relative(entry.path(), directory).string()] = "";
  return found;
}

class FailingProgram : public ::testing::TestWithParam<Command> {
 protected:
  FailingProgram() {
    make_inputs(place);
    fs::copy_file(place.input("record_316"), place.input("small.sbr"));
    fs::copy_file(place.input("bricks"), place.input("bricks.sbr"));
    const fs::path data = SBRKIT_TEST_DATA;
    for (const char *file : {"fe/elements/clamped.inp", "fe/elements/clamped.dat", "fe/elements/clamped.frd.gz"})
      fs::copy_file(data / file, place.inputs.path() / fs::path(file).filename());
    std::vector<std::string> arguments = GetParam().arguments;
    for (std::string &argument : arguments)
      if (argument.starts_with("IN/")) argument = place.input(argument.substr(3));
    program.emplace(arguments, place.outputs.path().string(), log.path().string());
    inputs = contents(place.inputs.path());
  }
  ~FailingProgram() override { fs::current_path("/"); }

  void clean() const {
    for (const fs::path &directory : {place.outputs.path(), place.temporary.path()})
      for (const auto &entry : fs::directory_iterator(directory)) fs::remove_all(entry.path());
  }

  void take_reference() {
    clean();
    good = program->run(0, Failing::once);
    ASSERT_TRUE(WIFEXITED(good.status)) << good.errors;
    ASSERT_LE(WEXITSTATUS(good.status), 1) << good.errors;
    outputs = contents(place.outputs.path());
    ASSERT_TRUE(fs::is_empty(place.temporary.path()));
  }

  // An output that is there is the one of the run without faults, also when what followed it failed. What the store
  // keeps is looked at by its own tests.
  bool is_whole(const std::string &name, const std::string &bytes) const {
    const auto expected = outputs.find(name);
    return name.starts_with("new.") || (expected != outputs.end() && expected->second == bytes);
  }
  static std::vector<std::string> names_of(const std::map<std::string, std::string> &files) {
    std::vector<std::string> names;
    for (const auto &[name, bytes] : files)
      if (!name.starts_with("new.")) names.push_back(name);
    return names;
  }

  // What a database that is read has beside it, such as locks, is the store's affair.
  [[nodiscard]] bool inputs_are_untouched() const {
    const std::map<std::string, std::string> now = contents(place.inputs.path());
    return std::all_of(inputs.begin(), inputs.end(), [&](const auto &before) {
      const auto found = now.find(before.first);
      return before.first.starts_with("stored.") || (found != now.end() && found->second == before.second);
    });
  }

  [[nodiscard]] long allocations_of_the_command_line() const {
    constexpr long kOfTheAnswer = 50;
    ServedProgram version({"--version"}, place.outputs.path().string(), log.path().string());
    return std::max(0L, version.run(0, Failing::once).seen - kOfTheAnswer);
  }

  // What does not hold after a case.
  std::string judge(const Case &now) const {
    std::string wrong;
    if (WIFSIGNALED(now.status))
      return std::string("ended by ") + strsignal(WTERMSIG(now.status)) + "; it says: " + now.errors.substr(0, 300);
    // The dynamic linker itself ends a process that cannot have its thread-local data.
    if (now.errors.find("cannot allocate memory for thread-local data") != std::string::npos) return "";
    const int code = WEXITSTATUS(now.status);
    const std::map<std::string, std::string> made = contents(place.outputs.path());
    const bool complained = now.errors != good.errors;
    if (code > 4) wrong += "exit code " + std::to_string(code) + "; ";
    if (code != WEXITSTATUS(good.status)) {
      if (!complained) wrong += "failed without a word; ";
      for (const auto &[name, bytes] : made)
        if (!is_whole(name, bytes)) wrong += "a failure left " + name + "; ";
    } else if (!complained) {
      if (now.out != good.out) wrong += "went well and printed something else; ";
      if (names_of(made) != names_of(outputs)) wrong += "went well with other outputs; ";
      for (const auto &[name, bytes] : made)
        if (!is_whole(name, bytes)) wrong += "went well with another " + name + "; ";
    }
    // A directory that cannot be opened cannot be emptied.
    if (!fs::is_empty(place.temporary.path()) && !opens_all_fail)
      wrong += "left " + fs::directory_iterator(place.temporary.path())->path().filename().string() + "; ";
    if (!wrong.empty()) wrong += "it says: " + now.errors.substr(0, 300);
    return wrong;
  }

  ScratchDirectory log;  // before the place, which moves the directory of temporary files
  Place place;
  std::optional<ServedProgram> program;
  Case good;
  bool opens_all_fail = false;
  std::map<std::string, std::string> outputs;
  std::map<std::string, std::string> inputs;
};

TEST_P(FailingProgram, SaysSoAndLeavesNothingWhenMemoryIsShort) {
  take_reference();
  // Making the command line takes the same allocations each time: one command fails them all.
  const long before = GetParam().name == "help" ? 0 : allocations_of_the_command_line();
  long cases = 0;
  for (const Failing how : {Failing::once, Failing::from_then_on}) {
    for (const long behind : cases_to_try(good.seen - before, kSampleOfAllocations)) {
      const long n = before + behind;
      clean();
      EXPECT_EQ(judge(program->run(n, how)), "")
          << "allocation " << n << " of " << good.seen << (how == Failing::once ? "" : " and all behind");
      ++cases;
    }
  }
  EXPECT_TRUE(inputs_are_untouched());
  clean();
  EXPECT_EQ(judge(program->run(0, Failing::once)), "") << "the next run";
  std::printf("%s: %ld allocations, %ld cases\n", GetParam().name.c_str(), good.seen, cases);
}

TEST_P(FailingProgram, SaysSoAndLeavesNothingWhenTheSystemFails) {
  if (!SteppedProcess::can_deal_fates()) GTEST_SKIP() << "system calls cannot be changed on this processor";
  take_reference();
  long cases = 0;
  for (const CallFault &fault : all_call_faults()) {
    Dealer counting(fault, 0);
    clean();
    EXPECT_EQ(judge(program->run_under([&](const SystemCall &call) { return counting(call); })), "");
    const long count = counting.countdown().seen;
    opens_all_fail = fault.name == "open" && fault.failing == Failing::from_then_on;
    for (const long n : cases_to_try(count, kSampleOfCalls)) {
      Dealer dealer(fault, n);
      clean();
      EXPECT_EQ(judge(program->run_under([&](const SystemCall &call) { return dealer(call); })), "")
          << dealer.words(count);
      ++cases;
    }
  }
  EXPECT_TRUE(inputs_are_untouched());
  std::printf("%s: %ld cases of calls\n", GetParam().name.c_str(), cases);
}

// Counts the calls of a case from its beginning, and kills it before one of them.
class Killer {
 public:
  explicit Killer(long nth) : countdown_{nth, Failing::once, 0} {}
  Fate operator()(const SystemCall &call) {
    if (call.number == SYS_getsid && call.arguments[0] == kBeginMark) begun_ = true;
    return begun_ && countdown_.fails_now() ? Fate{Fate::What::kills, 0} : Fate{};
  }
  [[nodiscard]] long seen() const { return countdown_.seen; }

 private:
  Countdown countdown_;
  bool begun_ = false;
};

TEST_P(FailingProgram, LeavesWholeOutputsOrNoneWhenItIsKilled) {
  if (!SteppedProcess::can_deal_fates()) GTEST_SKIP() << "system calls cannot be changed on this processor";
  take_reference();
  if (outputs.empty()) GTEST_SKIP() << "no output";
  Killer counting(0);
  clean();
  program->run_under([&](const SystemCall &call) { return counting(call); });
  const std::vector<long> cases = cases_to_try(counting.seen(), kSampleOfKills);
  for (const long n : cases) {
    Killer killer(n);
    clean();
    const Case now = program->run_under([&](const SystemCall &call) { return killer(call); });
    // The process may be ending by then.
    if (n + 10 < counting.seen()) {
      EXPECT_TRUE(WIFSIGNALED(now.status) && WTERMSIG(now.status) == SIGKILL) << n;
    }
    // Nothing that is killed can tidy up: unfinished files keep their own names.
    for (const auto &[name, bytes] : contents(place.outputs.path()))
      EXPECT_TRUE(name.find(".partial-") != std::string::npos || is_whole(name, bytes)) << name << " at call " << n;
  }
  EXPECT_TRUE(inputs_are_untouched());
  clean();
  EXPECT_EQ(judge(program->run(0, Failing::once)), "") << "the next run";
  std::printf("%s: killed at %zu of %ld calls\n", GetParam().name.c_str(), cases.size(), counting.seen());
}

INSTANTIATE_TEST_SUITE_P(Commands, FailingProgram, ::testing::ValuesIn(all_commands()),
                         [](const auto &command) { return command.param.name; });

}  // namespace
}  // namespace sbrtest::faults
