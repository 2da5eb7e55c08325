#include "commandtext.h"

#include <sstream>

namespace sbrtool {
namespace {

constexpr std::size_t kWidth = 100;

// The option library puts the checks behind the name of the type: "TEXT:{full,fast}".
std::pair<std::string, std::string> type_and_checks(const CLI::Option &option) {
  const std::string type = option.get_type_name();
  const std::size_t colon = type.find(':');
  return {type.substr(0, colon), colon == std::string::npos ? "" : type.substr(colon + 1)};
}

// "{full,fast}" or "value in {all->2,none->0} OR ...": the words that may be given.
std::vector<std::string> choices_of(const std::string &checks) {
  std::vector<std::string> choices;
  const std::size_t open = checks.find('{');
  const std::size_t close = checks.find('}');
  if (open == std::string::npos || close == std::string::npos) return choices;
  std::istringstream words(checks.substr(open + 1, close - open - 1));
  for (std::string word; std::getline(words, word, ',');) choices.push_back(word.substr(0, word.find("->")));
  return choices;
}

std::string joined(const std::vector<std::string> &words, const std::string &between) {
  std::string text;
  for (const std::string &word : words) text += (text.empty() ? "" : between) + word;
  return text;
}

OptionText text_of(const CLI::Option &option) {
  OptionText text;
  const auto [type, checks] = type_and_checks(option);
  const bool positional = option.get_positional() && !option.nonpositional();
  std::vector<std::string> names;
  for (const std::string &name : option.get_snames()) names.push_back("-" + name);
  for (const std::string &name : option.get_lnames()) names.push_back("--" + name);
  text.names = positional ? option.get_name(true, false) : joined(names, ", ");
  text.choices = choices_of(checks);
  if (option.get_type_size() != 0 && !positional) {
    text.value = !text.choices.empty()             ? joined(text.choices, "|")
                 : type == "INT" || type == "UINT" ? "N"
                 : type == "FLOAT"                 ? "X"
                 : type == "TEXT"                  ? "VALUE"
                                                   : type;
  }
  text.description = option.get_description();
  if (!option.get_default_str().empty()) text.description += " (default: " + option.get_default_str() + ")";
  text.group = option.get_group();
  text.required = option.get_required();
  text.repeated = option.get_expected_max() >= CLI::detail::expected_max_vector_size;
  return text;
}

void print_rows(std::ostream &out, const std::vector<std::pair<std::string, std::string>> &rows) {
  std::size_t column = 0;
  for (const auto &[left, right] : rows)
    if (left.size() <= 30) column = std::max(column, left.size());
  column += 4;
  for (const auto &[left, right] : rows) {
    std::string text = wrapped(right, column, kWidth);
    const std::string head = "  " + left;
    if (head.size() + 2 <= column)
      text.replace(0, head.size(), head);
    else
      text.insert(0, head + '\n');
    out << text;
  }
}

std::string head_of(const OptionText &option) {
  return option.names + (option.value.empty() ? "" : " " + option.value);
}

void print_options(std::ostream &out, const CommandText &command) {
  std::vector<std::string> groups;
  for (const OptionText &option : command.options)
    if (std::find(groups.begin(), groups.end(), option.group) == groups.end()) groups.push_back(option.group);
  for (const std::string &group : groups) {
    std::vector<std::pair<std::string, std::string>> rows;
    for (const OptionText &option : command.options)
      if (option.group == group)
        rows.emplace_back(head_of(option), option.description + (option.required ? " (required)" : ""));
    out << '\n' << group << ":\n";
    print_rows(out, rows);
  }
}

}  // namespace

std::string OptionText::long_name() const {
  const std::size_t dashes = names.rfind("--");
  if (dashes != std::string::npos) return names.substr(dashes + 2);
  return names.rfind('-', 0) == 0 ? names.substr(1) : "";
}

std::string CommandText::synopsis() const {
  std::string text = name;
  if (!commands.empty()) return text + " COMMAND ...";
  for (const OptionText &option : options)
    if (option.required) text += " " + head_of(option);
  text += " [OPTIONS]";
  for (const OptionText &positional : positionals) {
    const std::string word = positional.names + (positional.repeated ? "..." : "");
    text += positional.required ? " " + word : " [" + word + "]";
  }
  return text;
}

CommandText text_of(const CLI::App &app, const std::string &name) {
  CommandText text;
  text.name = name;
  text.description = app.get_description();
  for (const CLI::Option *option : app.get_options()) {
    if (option->get_group().empty()) continue;
    const bool positional = option->get_positional() && !option->nonpositional();
    (positional ? text.positionals : text.options).push_back(text_of(*option));
  }
  for (const CLI::App *command : app.get_subcommands(nullptr))
    if (!command->get_group().empty()) text.commands.push_back(text_of(*command, name + " " + command->get_name()));
  const std::size_t blank = name.find(' ');
  text.page = page_of(blank == std::string::npos ? "" : name.substr(blank + 1));
  // A command has the footer of the one above it until it gets its own.
  const bool own_footer = app.get_parent() == nullptr || app.get_parent()->get_footer() != app.get_footer();
  if (text.page.details.empty() && own_footer) text.page.details = app.get_footer();
  return text;
}

std::string wrapped(const std::string &text, std::size_t indent, std::size_t width) {
  std::string result;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    // Lines that begin with a blank are set as they are.
    if (line.empty() || line[0] == ' ') {
      result += std::string(line.empty() ? 0 : indent, ' ') + line + '\n';
      continue;
    }
    std::istringstream words(line);
    std::string row(indent, ' ');
    for (std::string word; words >> word;) {
      if (row.size() > indent && row.size() + 1 + word.size() > width) {
        result += row + '\n';
        row.assign(indent, ' ');
      }
      row += (row.size() > indent ? " " : "") + word;
    }
    result += row + '\n';
  }
  return result.empty() ? std::string(indent, ' ') + '\n' : result;
}

std::string HelpFormatter::make_help(const CLI::App *app, std::string name, CLI::AppFormatMode mode) const {
  static_cast<void>(mode);
  const CommandText command = text_of(*app, name);
  std::ostringstream out;
  out << command.description << "\n\nUsage: " << command.synopsis() << '\n';
  std::vector<std::pair<std::string, std::string>> rows;
  for (const OptionText &positional : command.positionals) rows.emplace_back(positional.names, positional.description);
  if (!rows.empty()) out << '\n';
  print_rows(out, rows);
  rows.clear();
  for (const CommandText &below : command.commands)
    rows.emplace_back(below.name.substr(command.name.size() + 1), below.description);
  if (!rows.empty()) out << "\nCommands:\n";
  print_rows(out, rows);
  print_options(out, command);
  if (!command.page.details.empty()) out << '\n' << wrapped(command.page.details, 0, kWidth);
  if (!command.page.examples.empty()) out << "\nExamples:\n";
  for (const auto &[line, meaning] : command.page.examples) out << "  " << line << "\n      " << meaning << '\n';
  return out.str();
}

}  // namespace sbrtool
