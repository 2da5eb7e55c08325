// Writing a body from the program: the write options as flags, and the write itself.
#ifndef SBRKIT_TOOLS_SBR_WRITING_H
#define SBRKIT_TOOLS_SBR_WRITING_H

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <vector>

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
// Puts that text into the option variable, where the next write of the body finds it.
void use_options(SBR body, const WriteOptions &options);

// The part of a mass that the nodes of a body hold.
double share_of_nodes(SBR body, double mass);
// The same of the mass that the record stores in its invariants; nothing when it stores none.
std::optional<double> nodal_share(SBR body);
// Whether that is the whole mass, as far as single precision can tell.
bool is_whole(std::optional<double> share);
// Ends the command when a step is asked for that computes invariants from nodes which do not hold the mass any more.
void require_whole_nodes(SBR body, const WriteOptions &options);

// Opens a record that is to be written under the options. An old layout has no place for invariants, and the library
// drops the nodes of a body that has them: such a body is opened without the blocks that the layout does not know. And
// --shift-to-cm does not move stored invariants: they are left out and computed afresh.
Body open_to_write(const std::string &input, WriteOptions &options);

// A body that can be moved with its invariants. The library computes invariant 4 of a moved body from the nodal masses,
// if there are any; where nodes were dropped, that would be wrong. So such a body goes without masses until it stands
// where it is to stand.
class MovableBody {
 public:
  MovableBody(const std::string &input, WriteOptions &options);
  [[nodiscard]] SBR get() const { return body_.get(); }
  // Gives the nodes their masses back.
  void settle();

 private:
  Body body_;
  std::vector<double> masses_;  // of the nodes in table order; empty when the body has kept them
};

// What is to be done when the library reports errors and writes the record all the same.
enum class Errors { pass, fail };
// Writes the body under the options, or ends the command with the output as it was. `input` must not be the same file.
void write_record(SBR body, const std::string &input, const std::string &output, const WriteOptions &options,
                  Errors errors = Errors::pass);

}  // namespace sbrtool

#endif
