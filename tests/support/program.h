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

namespace sbrtest {

using Json = nlohmann::json;

struct Outcome {
  int code;
  std::string out;
};

class ProgramTest : public ::testing::Test {
 protected:
  // Runs the program; standard error comes with the output when asked for.
  Outcome sbr(const std::string &arguments, bool with_errors = false) const {
    return shell(SBR_PROGRAM " " + arguments + (with_errors ? " 2>&1" : " 2>/dev/null"));
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
  std::vector<std::string> files() const {
    std::vector<std::string> names;
    for (const auto &entry : std::filesystem::directory_iterator(scratch.path()))
      names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
  }
  ScratchDirectory scratch;
};

}  // namespace sbrtest

#endif
