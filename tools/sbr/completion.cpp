// Completion scripts for shells, made from what the commands say of themselves.
#include <functional>
#include <sstream>

#include "commandtext.h"
#include "session.h"

namespace sbrtool {
namespace {

// Every command that can be run, with the words that lead to it behind "sbr".
void walk(const CommandText &command, const std::function<void(const CommandText &, const std::string &)> &visit) {
  for (const CommandText &below : command.commands) {
    visit(below, below.name.substr(4));
    walk(below, visit);
  }
}

std::string names_of_commands(const CommandText &command) {
  std::string names;
  for (const CommandText &below : command.commands)
    names += (names.empty() ? "" : " ") + below.name.substr(command.name.size() + 1);
  return names;
}

// "--node --json", short names too.
std::string names_of_options(const CommandText &command) {
  std::string names;
  for (const OptionText &option : command.options) {
    std::istringstream words(option.names);
    for (std::string word; words >> word;) {
      if (word.back() == ',') word.pop_back();
      names += (names.empty() ? "" : " ") + word;
    }
  }
  return names;
}

// The text in single quotes for bash and zsh, or for fish.
std::string quoted(const std::string &text, bool fish = false) {
  std::string result = "'";
  for (const char c : text) {
    if (c == '\'')
      result += fish ? "\\'" : "'\\''";
    else if (c == '\\' && fish)
      result += "\\\\";
    else
      result += c;
  }
  return result + "'";
}

std::string words_of(const std::vector<std::string> &words) {
  std::string text;
  for (const std::string &word : words) text += (text.empty() ? "" : " ") + word;
  return text;
}

// ---- bash
// ------------------------------------------------------------------------------------------------------------

void bash_choices(std::ostream &out, const CommandText &command, const std::string &path) {
  for (const OptionText &option : command.options)
    if (!option.choices.empty())
      out << "    " << quoted(path + "|--" + option.long_name()) << ") words=" << quoted(words_of(option.choices))
          << " ;;\n";
}

std::string bash_script(const CommandText &program) {
  std::ostringstream out;
  out << "# bash completion for sbr\n"
         "_sbr() {\n"
         "  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]} command='' word words='' "
         "files=1 i\n"
         "  for ((i = 1; i < COMP_CWORD; i++)); do\n"
         "    word=${COMP_WORDS[i]}\n"
         "    case \"$command $word\" in\n";
  walk(program, [&](const CommandText &, const std::string &path) {
    const std::size_t blank = path.rfind(' ');
    const std::string before = blank == std::string::npos ? "" : path.substr(0, blank);
    out << "      " << quoted(before + " " + path.substr(blank + 1)) << ") command=" << quoted(path) << " ;;\n";
  });
  out << "    esac\n  done\n  COMPREPLY=()\n  case \"$command|$previous\" in\n";
  walk(program, [&](const CommandText &command, const std::string &path) { bash_choices(out, command, path); });
  out << "  esac\n"
         "  if [[ -n $words ]]; then COMPREPLY=($(compgen -W \"$words\" -- \"$current\")); return; fi\n"
         "  case \"$command\" in\n    '') words="
      << quoted(names_of_commands(program) + " " + names_of_options(program)) << " ;;\n";
  walk(program, [&](const CommandText &command, const std::string &path) {
    const std::string below = names_of_commands(command);
    out << "    " << quoted(path)
        << ") words=" << quoted(below + (below.empty() ? "" : " ") + names_of_options(command))
        << (below.empty() ? "" : " files=''") << " ;;\n";
  });
  out << "  esac\n"
         "  if [[ -z $command || -z $files || $current == -* ]]; then\n"
         "    COMPREPLY=($(compgen -W \"$words\" -- \"$current\"))\n"
         "  else\n"
         "    COMPREPLY=($(compgen -W \"${words//-*/}\" -- \"$current\") $(compgen -f -- \"$current\"))\n"
         "    compopt -o filenames 2>/dev/null\n"
         "  fi\n"
         "}\n"
         "complete -F _sbr sbr\n";
  return out.str();
}

// ---- zsh
// -------------------------------------------------------------------------------------------------------------

// What _arguments reads as its own: brackets and colons.
std::string zsh_text(const std::string &text) {
  std::string result;
  for (const char c : text) {
    if (c == '[' || c == ']' || c == ':') result += '\\';
    result += c;
  }
  return result;
}

void zsh_arguments(std::ostream &out, const CommandText &command) {
  out << "_arguments -s";
  for (const OptionText &option : command.options) {
    std::istringstream words(option.names);
    for (std::string word; words >> word;) {
      if (word.back() == ',') word.pop_back();
      std::string spec = "*" + word + "[" + zsh_text(option.description) + "]";
      if (!option.value.empty())
        spec += ":" + zsh_text(option.long_name()) + ":" +
                (option.choices.empty() ? "_files" : "(" + words_of(option.choices) + ")");
      out << " \\\n        " << quoted(spec);
    }
  }
}

void zsh_commands(std::ostream &out, const CommandText &command, const std::string &function) {
  out << function << "() {\n  local context state line\n  ";
  zsh_arguments(out, command);
  if (command.commands.empty()) {
    out << " \\\n        '*:file:_files'\n}\n";
    return;
  }
  out << " \\\n        '1:command:->command' '*::argument:->argument'\n  case $state in\n    command)\n      local -a "
         "commands=(";
  for (const CommandText &below : command.commands)
    out << "\n        " << quoted(below.name.substr(command.name.size() + 1) + ":" + zsh_text(below.description));
  out << ")\n      _describe command commands ;;\n    argument)\n      case $line[1] in\n";
  for (const CommandText &below : command.commands) {
    const std::string name = below.name.substr(command.name.size() + 1);
    out << "        " << name << ") " << function << '_' << name << " ;;\n";
  }
  out << "      esac ;;\n  esac\n}\n";
  for (const CommandText &below : command.commands)
    zsh_commands(out, below, function + '_' + below.name.substr(command.name.size() + 1));
}

std::string zsh_script(const CommandText &program) {
  std::ostringstream out;
  out << "#compdef sbr\n";
  zsh_commands(out, program, "_sbr");
  out << "_sbr \"$@\"\n";
  return out.str();
}

// ---- fish
// ------------------------------------------------------------------------------------------------------------

void fish_options(std::ostream &out, const CommandText &command, const std::string &condition) {
  for (const OptionText &option : command.options) {
    out << "complete -c sbr" << condition;
    std::istringstream words(option.names);
    for (std::string word; words >> word;) {
      if (word.back() == ',') word.pop_back();
      out << (word.rfind("--", 0) == 0 ? " -l " + word.substr(2) : " -s " + word.substr(1));
    }
    if (!option.choices.empty())
      out << " -x -a " << quoted(words_of(option.choices), true);
    else if (!option.value.empty())
      out << " -r";
    out << " -d " << quoted(option.description, true) << '\n';
  }
}

std::string fish_script(const CommandText &program) {
  std::ostringstream out;
  out << "# fish completion for sbr\n";
  const auto commands = [&](const CommandText &command, const std::string &condition) {
    for (const CommandText &below : command.commands)
      out << "complete -c sbr -f" << condition << " -a " << below.name.substr(command.name.size() + 1) << " -d "
          << quoted(below.description, true) << '\n';
  };
  commands(program, " -n __fish_use_subcommand");
  fish_options(out, program, " -n __fish_use_subcommand");
  walk(program, [&](const CommandText &command, const std::string &path) {
    std::string condition;
    std::istringstream words(path);
    for (std::string word; words >> word;)
      condition += (condition.empty() ? "" : "; and ") + ("__fish_seen_subcommand_from " + word);
    if (!command.commands.empty())
      commands(
          command,
          " -n " + quoted(condition + "; and not __fish_seen_subcommand_from " + names_of_commands(command), true));
    fish_options(out, command, " -n " + quoted(condition, true));
  });
  return out.str();
}

}  // namespace

std::string completion_script(const CLI::App &app, const std::string &shell) {
  const CommandText program = text_of(app, app.get_name());
  if (shell == "bash") return bash_script(program);
  if (shell == "zsh") return zsh_script(program);
  if (shell == "fish") return fish_script(program);
  throw Failure(kUsage, "no completion for the shell '" + shell + "'; there is bash, zsh and fish");
}

}  // namespace sbrtool
