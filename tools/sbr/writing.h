// Writing a body from the program: the write options as flags, and the write itself.
#ifndef SBRKIT_TOOLS_SBR_WRITING_H
#define SBRKIT_TOOLS_SBR_WRITING_H

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

#include "session.h"

namespace sbrtool {

struct WriteOptions {
  bool single = false;
  bool no_xdr = false;
  std::optional<double> lowpass;
  std::optional<double> highpass;
  std::string invariants;
  std::string coarsen;
  std::string sketch;
  bool strip_faces = false;
  bool sparse_stress = false;
  bool full_stress = false;
  std::string layout;
  bool no_ortho = false;
  bool empty = false;
  bool mks = false;
  bool shift_to_cm = false;
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
