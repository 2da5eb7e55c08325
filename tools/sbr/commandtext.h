// What the commands say of themselves, taken from their definitions: the one source of help, manual pages and
// completion.
#ifndef SBRKIT_TOOLS_SBR_COMMANDTEXT_H
#define SBRKIT_TOOLS_SBR_COMMANDTEXT_H

#include <CLI/CLI.hpp>
#include <string>
#include <utility>
#include <vector>

namespace sbrtool {

struct OptionText {
  std::string names;        // "-o, --output"; of a positional its name
  std::string value;        // "HZ", "full|fast"; empty for a flag
  std::string description;  // with the default value, if there is one
  std::string group;
  std::vector<std::string> choices;
  bool required = false;
  bool repeated = false;

  // The long name without dashes, or the short one; empty for a positional.
  [[nodiscard]] std::string long_name() const;
};

// What a command's definition does not hold: explanations, and lines to try.
struct Page {
  std::string command;  // "import ccx"; empty for the program
  std::string details;
  std::vector<std::pair<std::string, std::string>> examples;  // a line and what it does
};

struct CommandText {
  std::string name;  // "sbr import ccx"
  std::string description;
  std::vector<OptionText> positionals;
  std::vector<OptionText> options;
  std::vector<CommandText> commands;
  Page page;

  // "sbr report [OPTIONS] FILE [BLOCK...]"
  [[nodiscard]] std::string synopsis() const;
};

CommandText text_of(const CLI::App &app, const std::string &name);

// The explanations of a command; empty where there are none.
Page page_of(const std::string &command);

// A text in lines of at most `width` characters, each after `indent` blanks.
std::string wrapped(const std::string &text, std::size_t indent, std::size_t width);

// The help of a command for the terminal, as the formatter of the option library.
class HelpFormatter : public CLI::Formatter {
 public:
  std::string make_help(const CLI::App *app, std::string name, CLI::AppFormatMode mode) const override;
};

// A manual page: the program with an empty name, or one of its commands with all that stands below it.
std::string manual_page(const CLI::App &app, const std::string &command);

// The completion script of a shell: bash, zsh or fish.
std::string completion_script(const CLI::App &app, const std::string &shell);

}  // namespace sbrtool

#endif
