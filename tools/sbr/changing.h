// What the commands that make a record from a record share.
#ifndef SBRKIT_TOOLS_SBR_CHANGING_H
#define SBRKIT_TOOLS_SBR_CHANGING_H

#include <CLI/CLI.hpp>
#include <memory>
#include <string>

#include "session.h"
#include "writing.h"

namespace sbrtool {

// A record to read, one to write, and how.
struct Job {
  std::string input;
  std::string output;
  WriteOptions options;
};

// IN, OUT and the write options of a command.
std::shared_ptr<Job> add_job(CLI::App &command);

void add_transform_command(CLI::App &app);
void add_reduce_command(CLI::App &app);

}  // namespace sbrtool

#endif
