// Writing a body from the program: the write options as flags, and the write itself.
#ifndef SBRKIT_TOOLS_SBR_WRITING_H
#define SBRKIT_TOOLS_SBR_WRITING_H

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

// The table of write options is the one internal header that the program reads: flags and keywords are described once.
#include "../../src/sbrkit/write/option_table.h"
#include "session.h"

namespace sbrtool {

// What the flags ask for: switches as the table of write options has them, and values.
struct WriteOptions : sbr::WriteFlags {
  std::optional<double> lowpass;
  std::optional<double> highpass;
  std::string invariants;  // a choice, as is the layout
  std::string layout;
  std::string coarsen;
  std::string sketch;
};

// The flags of a command that writes a record.
void add_write_options(CLI::App &command, WriteOptions &options);
// A coarsening RES,ANGLE[,...] with the co-linear flag that a short form leaves out.
std::string full_coarsening(const std::string &text);
// The flags as the text of the option variable, behind what the variable holds already.
std::string option_text(const WriteOptions &options);
// Puts that text into the option variable, where the next write finds it.
void use_options(const WriteOptions &options);
// Writes the body under the options, or ends the command. `input` must not be the same file.
void write_record(SBR body, const std::string &input, const std::string &output, const WriteOptions &options);

}  // namespace sbrtool

#endif
