#include "commandline.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <numeric>

#include "session.h"

namespace sbrtool {

const CLI::App *command_below(const CLI::App &app, const std::string &name) {
  for (const CLI::App *command : app.get_subcommands(nullptr))
    if (command->get_name() == name) return command;
  return nullptr;
}

namespace {

bool is_option(const std::string &argument) {
  return argument.size() > 1 && argument[0] == '-' && std::isdigit(static_cast<unsigned char>(argument[1])) == 0 &&
         argument[1] != '.';
}

// The letters that have to be changed, put in, left out or exchanged with their neighbours.
std::size_t edit_distance(const std::string &a, const std::string &b) {
  std::vector<std::size_t> before;
  std::vector<std::size_t> last(b.size() + 1);
  std::iota(last.begin(), last.end(), std::size_t{0});
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::vector<std::size_t> row(b.size() + 1, i);
    for (std::size_t k = 1; k <= b.size(); ++k) {
      row[k] = std::min({last[k] + 1, row[k - 1] + 1, last[k - 1] + (a[i - 1] == b[k - 1] ? 0U : 1U)});
      if (i > 1 && k > 1 && a[i - 1] == b[k - 2] && a[i - 2] == b[k - 1]) row[k] = std::min(row[k], before[k - 2] + 1);
    }
    before = std::move(last);
    last = std::move(row);
  }
  return last[b.size()];
}

std::vector<std::string> command_names(const CLI::App &app) {
  std::vector<std::string> names;
  for (const CLI::App *command : app.get_subcommands(nullptr))
    if (!command->get_group().empty()) names.push_back(command->get_name());
  return names;
}

std::string joined(const std::vector<std::string> &words) {
  std::string text;
  for (const std::string &word : words) text += (text.empty() ? "" : ", ") + word;
  return text;
}

// The command that the arguments lead to, and its name with the program's.
std::pair<const CLI::App *, std::string> command_of(const CLI::App &app, const std::vector<std::string> &arguments) {
  const CLI::App *command = &app;
  std::string name = app.get_name();
  for (const std::string &argument : arguments) {
    if (is_option(argument)) continue;
    const CLI::App *below = command_below(*command, argument);
    if (below == nullptr) break;
    command = below;
    name += " " + argument;
  }
  return {command, name};
}

std::vector<std::string> option_names(const CLI::App &command) {
  std::vector<std::string> names;
  for (const CLI::App *app = &command; app != nullptr; app = app->get_parent())
    for (const CLI::Option *option : app->get_options()) {
      for (const std::string &name : option->get_lnames()) names.push_back("--" + name);
      for (const std::string &name : option->get_snames()) names.push_back("-" + name);
    }
  return names;
}

}  // namespace

std::vector<std::string> arguments_of(int argc, char **argv) {
  std::vector<std::string> arguments;
  for (int i = 1; i < argc; ++i) {
    const std::string word = argv[i];
    // A list goes on behind its comma, where it is the value of an option.
    const bool goes_on = arguments.size() > 1 && arguments.back().ends_with(',') && !is_option(word) &&
                         (is_option(arguments[arguments.size() - 2]) || is_option(arguments.back()));
    if (goes_on)
      arguments.back() += word;
    else
      arguments.push_back(word);
  }
  return arguments;
}

std::string nearest(const std::string &word, const std::vector<std::string> &list) {
  std::string best;
  std::size_t least = word.size() / 3 + 2;
  for (const std::string &one : list) {
    // The beginning of a word is near whatever is missing.
    const bool begins = word.size() > 2 && one.compare(0, word.size(), word) == 0;
    const std::size_t distance = begins ? 1 : edit_distance(word, one);
    if (distance >= least || distance >= std::max(word.size(), one.size())) continue;
    least = distance;
    best = one;
  }
  return best;
}

void require_known_command(const CLI::App &app, const std::vector<std::string> &arguments) {
  const CLI::App *command = &app;
  std::string name = app.get_name();
  for (const std::string &argument : arguments) {
    if (is_option(argument)) continue;
    const std::vector<std::string> known = command_names(*command);
    if (known.empty()) return;
    const CLI::App *below = command_below(*command, argument);
    if (below == nullptr) {
      const std::string near = nearest(argument, known);
      throw Failure(kUsage, "unknown command '" + name.substr(std::min<std::size_t>(4, name.size())) +
                                (name.size() > 4 ? " " : "") + argument + "'" +
                                (near.empty() ? "; there are " + joined(known) : "; did you mean '" + near + "'?"));
    }
    command = below;
    name += " " + argument;
  }
}

std::string explanation(const CLI::App &app, const CLI::ParseError &error, const std::vector<std::string> &arguments) {
  const auto [command, name] = command_of(app, arguments);
  std::string text = error.what();
  if (const std::vector<std::string> known = command_names(*command);
      error.get_exit_code() == static_cast<int>(CLI::ExitCodes::RequiredError) && !known.empty())
    text = "a command is needed: " + joined(known);
  if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::ExtrasError)) {
    const std::vector<std::string> known = option_names(*command);
    for (const std::string &argument : arguments) {
      const std::string option = argument.substr(0, argument.find('='));
      if (!is_option(option) || std::find(known.begin(), known.end(), option) != known.end()) continue;
      const std::string near = nearest(option, known);
      text = "unknown option " + option + (near.empty() ? "" : "; did you mean " + near + "?");
      break;
    }
  }
  return name + ": " + text + "\n'" + name + " --help' tells more.";
}

CLI::Option *above_zero(CLI::Option *option) {
  return option->check(CLI::Validator(
      [](std::string &value) {
        char *end = nullptr;
        const double number = std::strtod(value.c_str(), &end);
        const bool good = !value.empty() && *end == '\0' && std::isfinite(number) && number > 0.0;
        return good ? std::string() : "a number above zero is needed, not '" + value + "'";
      },
      ""));
}

CLI::Option *as_list(CLI::Option *option) {
  return option->delimiter(',')->allow_extra_args(false)->transform(CLI::Validator(
      [](std::string &value) {
        CLI::detail::trim(value);
        return value.empty() ? std::string("a value of the list is empty") : std::string();
      },
      ""));
}

}  // namespace sbrtool
