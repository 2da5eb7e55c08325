// What every command of the program shares: exit codes, messages of the library, opening a record, output.
#ifndef SBRKIT_TOOLS_SBR_SESSION_H
#define SBRKIT_TOOLS_SBR_SESSION_H

#include <CLI/CLI.hpp>
#include <memory>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "sbrkit/sbrkit.h"

namespace sbrtool {

using Json = nlohmann::ordered_json;

// Exit codes of the program, as the manual lists them.
enum ExitCode : int {
  kDone = 0,        // all went well
  kFindings = 1,    // a check found something, a comparison found a difference
  kUsage = 2,       // the command line is wrong, or names something that the record does not have
  kUnreadable = 3,  // an input cannot be opened or read
  kFailed = 4       // an output could not be written, or an operation failed
};

// Ends a command with an exit code and a message on standard error.
class Failure : public std::runtime_error {
 public:
  Failure(ExitCode code, const std::string &text) : std::runtime_error(text), code_(code) {}
  [[nodiscard]] ExitCode code() const { return code_; }

 private:
  ExitCode code_;
};

// Sends the library's messages to standard error with their severity in front. Information shows with `verbose` only.
void install_messages(bool verbose);
// Shows or hides information lines from now on; gives the former setting.
bool show_information(bool show);
// Errors that the library has reported so far.
int reported_errors();

struct Release {
  void operator()(SBR body) const { SBR_DeReference(body); }
};
// A body that is given back when it goes.
using Body = std::unique_ptr<SbrBody, Release>;

// Opens a record or ends the command.
Body open_record(const std::string &path);

// An array that an accessor gave out.
struct FreeArray {
  void operator()(void *block) const { SBR_FreeMemory(block); }
};
template <class T>
using Given = std::unique_ptr<T[], FreeArray>;

// Registers the commands. Each sets `exit_code` when it runs.
using Register = void (*)(CLI::App &app, int &exit_code);
void add_information_commands(CLI::App &app, int &exit_code);  // info, modes, nodes, mode
void add_mass_commands(CLI::App &app, int &exit_code);         // mass, faces
void add_changing_commands(CLI::App &app, int &exit_code);     // report, write, transform, reduce, units
void add_checking_commands(CLI::App &app, int &exit_code);     // check, diff
void add_export_commands(CLI::App &app, int &exit_code);       // export
void add_view_commands(CLI::App &app, int &exit_code);         // view
void add_sheet_commands(CLI::App &app, int &exit_code);        // sheet
void add_picture_commands(CLI::App &app, int &exit_code);      // picture
void add_import_commands(CLI::App &app, int &exit_code);       // import
void add_database_commands(CLI::App &app, int &exit_code);     // db put, list, check, get

// A number as the shortest text that reads back the same (up to 17 digits).
std::string number(double value);
// A number with some significant digits, for tables.
std::string brief(double value, int digits = 6);
// A JSON number; what is not finite becomes null, since JSON has no word for it.
Json finite(double value);
Json finite(const double *values, std::size_t count);
// A text of the record as valid UTF-8: other bytes become question marks.
std::string clean(const std::string &text);

// A plain table for people: columns under headings, right-aligned; a heading that begins with '<' makes its column
// left-aligned.
class Table {
 public:
  explicit Table(std::vector<std::string> headings) {
    for (std::string &heading : headings) {
      left_.push_back(!heading.empty() && heading[0] == '<');
      if (left_.back()) heading.erase(0, 1);
    }
    rows_.push_back(std::move(headings));
  }
  void add(std::vector<std::string> row) { rows_.push_back(std::move(row)); }
  void print() const;

 private:
  std::vector<bool> left_;
  std::vector<std::vector<std::string>> rows_;
};

}  // namespace sbrtool

#endif
