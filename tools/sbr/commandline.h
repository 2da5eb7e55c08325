// The command line: lists with blanks after their commas, and messages that tell what may have been meant.
#ifndef SBRKIT_TOOLS_SBR_COMMANDLINE_H
#define SBRKIT_TOOLS_SBR_COMMANDLINE_H

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace sbrtool {

// The arguments with lists put together again: "--interface LEFT, RIGHT" has three words and one value.
std::vector<std::string> arguments_of(int argc, char **argv);

// The command of that name right below another; null when there is none.
const CLI::App *command_below(const CLI::App &app, const std::string &name);

// The word of a list that is nearest to one that is not in it; empty when none is near.
std::string nearest(const std::string &word, const std::vector<std::string> &list);

// Ends the program's run with a message when the command is not known.
void require_known_command(const CLI::App &app, const std::vector<std::string> &arguments);

// What to say of a line that the option library refuses.
std::string explanation(const CLI::App &app, const CLI::ParseError &error, const std::vector<std::string> &arguments);

// An option that takes a list in one argument, A,B,C, and leaves the next argument alone. Blanks around the values are
// dropped.
CLI::Option *as_list(CLI::Option *option);

// An option whose value has to be a number above zero.
CLI::Option *above_zero(CLI::Option *option);

}  // namespace sbrtool

#endif
