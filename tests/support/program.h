// Runs the program from the outside, in a directory of its own. SBR_PROGRAM is its path.
#ifndef SBRKIT_TESTS_SUPPORT_PROGRAM_H
#define SBRKIT_TESTS_SUPPORT_PROGRAM_H

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "support/files.h"
#include "support/messages.h"

namespace sbrtest {

using Json = nlohmann::json;

struct Outcome {
  int code;
  std::string out;
};

// A name for lists of files.
using Names = std::vector<std::string>;

// The library stands beside the program, for records and databases that a test makes or looks into itself. Variables of
// the environment that both heed are unset.
class ProgramTest : public LibraryTest {
 protected:
  // Runs the program; standard error comes with the output when asked for. `before` is shell that runs before it.
  Outcome sbr(const std::string &arguments, bool with_errors = false, const std::string &before = ":") const {
    return shell(before + "; " SBR_PROGRAM " " + arguments + (with_errors ? " 2>&1" : " 2>/dev/null"));
  }
  // Runs a line of shell in the directory.
  Outcome shell(const std::string &line) const {
    const std::string command = "cd '" + scratch.path().string() + "' || exit 99; " + line;
    Outcome run{-1, ""};
    std::FILE *pipe = popen(command.c_str(), "r");
    std::array<char, 4096> piece{};
    std::size_t got = 0;
    while ((got = std::fread(piece.data(), 1, piece.size(), pipe)) > 0) run.out.append(piece.data(), got);
    const int status = pclose(pipe);
    run.code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return run;
  }
  Json json(const std::string &arguments) const {
    const Outcome run = sbr(arguments);
    EXPECT_EQ(run.code, 0) << arguments;
    return Json::parse(run.out);
  }
  std::string sample(const std::string &name) const {
    const std::string path = scratch.file(name + ".sbr");
    write_file(path, read_gzip(SBRKIT_TEST_DATA "/samples/" + name + ".sbr.gz"));
    return name + ".sbr";
  }
  static Json expected(const std::string &name) {
    return Json::parse(read_file(SBRKIT_TEST_DATA "/samples/expected.json")).at(name);
  }
  // The names of the files in the directory, in order.
  [[nodiscard]] Names files() const {
    Names names;
    for (const auto &entry : std::filesystem::directory_iterator(scratch.path()))
      names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
  }
  [[nodiscard]] bool exists(const std::string &name) const { return std::filesystem::exists(scratch.path() / name); }
  // Puts the deck and the results of a plate into the directory: plate.inp, plate.dat and plate.frd.gz.
  void add_plate_job() const {
    const std::string from = SBRKIT_TEST_DATA "/fe/plates/plate_S8R";
    for (const char *suffix : {".inp", ".dat", ".frd.gz"})
      std::filesystem::copy_file(from + suffix, scratch.file(std::string("plate") + suffix));
  }

  ScratchDirectory scratch;
  ScopedEnvironment no_plugins{"KTX_USER_PLUGIN_DIR", std::nullopt};
  ScopedEnvironment no_home{"KTX_QSRVHOME_DIR", std::nullopt};
  ScopedEnvironment no_write_options{"KTX_SBRWRITE_OPTIONS", std::nullopt};
};

}  // namespace sbrtest

#endif
