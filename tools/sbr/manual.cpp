// Manual pages, made from what the commands say of themselves.
#include <sstream>

#include "commandline.h"
#include "commandtext.h"
#include "session.h"

namespace sbrtool {
namespace {

// Text as roff takes it: dashes that may be copied, no requests by accident.
std::string roff(const std::string &text) {
  std::string result;
  for (const char c : text) {
    if (c == '-' || c == '\\')
      result += c == '-' ? "\\-" : "\\e";
    else
      result += c;
  }
  if (!result.empty() && (result[0] == '.' || result[0] == '\'')) result.insert(0, "\\&");
  return result;
}

// Lines that begin with a blank are set as they are, empty lines part paragraphs.
void put_text(std::ostream &out, const std::string &text) {
  std::istringstream lines(text);
  bool plain = false;
  for (std::string line; std::getline(lines, line);) {
    const bool as_it_is = !line.empty() && line[0] == ' ';
    if (as_it_is != plain) out << (as_it_is ? ".nf\n" : ".fi\n");
    plain = as_it_is;
    if (line.empty())
      out << ".PP\n";
    else
      out << roff(line) << '\n';
  }
  if (plain) out << ".fi\n";
}

void put_options(std::ostream &out, const std::vector<OptionText> &options) {
  for (const OptionText &option : options) {
    out << ".TP\n\\fB" << roff(option.names) << "\\fR";
    if (!option.value.empty()) out << " \\fI" << roff(option.value) << "\\fR";
    out << '\n' << roff(option.description) << (option.required ? " (required)" : "") << '\n';
  }
}

void put_option_groups(std::ostream &out, const CommandText &command, const char *heading) {
  std::string group;
  for (std::size_t i = 0; i < command.options.size();) {
    group = command.options[i].group;
    std::vector<OptionText> same;
    for (; i < command.options.size() && command.options[i].group == group; ++i) same.push_back(command.options[i]);
    out << heading << ' ' << '"' << roff(group) << "\"\n";
    put_options(out, same);
  }
}

void put_examples(std::ostream &out, const CommandText &command) {
  for (const auto &[line, meaning] : command.page.examples)
    out << ".TP\n\\fB" << roff(line) << "\\fR\n" << roff(meaning) << '\n';
}

void put_command(std::ostream &out, const CommandText &command) {
  out << ".SS \"" << roff(command.name) << "\"\n" << roff(command.synopsis()) << ".\n.PP\n";
  put_text(out, command.description + ".\n" + (command.page.details.empty() ? "" : "\n" + command.page.details));
  put_options(out, command.positionals);
  put_options(out, command.options);
}

void put_commands(std::ostream &out, const CommandText &program) {
  out << ".SH COMMANDS\n";
  for (const CommandText &command : program.commands)
    out << ".TP\n\\fB" << roff(command.name.substr(4)) << "\\fR\n"
        << roff(command.description) << "; see \\fB"
        << "sbr\\-" << roff(command.name.substr(4)) << "\\fR(1).\n";
}

constexpr const char *kExitStatus =
    ".SH EXIT STATUS\n0 done; 1 findings or differences; 2 wrong usage; 3 unreadable input; 4 failed operation.\n";

constexpr const char *kEnvironment =
    ".SH ENVIRONMENT\n"
    ".TP\n\\fBKTX_SBRWRITE_OPTIONS\\fR\nWrite options as the library takes them; the flags are put behind what it "
    "holds.\n"
    ".TP\n\\fBKTX_USER_PLUGIN_DIR\\fR, \\fBKTX_QSRVHOME_DIR\\fR\nWhere the database library Qsrv_22_2 and the home of "
    "the database system are; by default the store that comes with sbr.\n"
    ".TP\n\\fBTMP\\fR\nThe directory of temporary files.\n"
    ".TP\n\\fBSBR_MAX_MODE_MEMORY\\fR\nThe memory for cached modes, in MiB.\n";

}  // namespace

std::string manual_page(const CLI::App &app, const std::string &command) {
  const CommandText program = text_of(app, app.get_name());
  CommandText text = program;
  if (!command.empty()) {
    const CLI::App *sub = command_below(app, command);
    if (sub == nullptr) throw Failure(kUsage, "no command '" + command + "'");
    text = text_of(*sub, app.get_name() + " " + command);
  }
  std::string page = "sbr" + (command.empty() ? "" : "-" + command);
  std::ostringstream out;
  std::string title = page;
  for (char &c : title) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  out << ".TH " << roff(title) << " 1 \"\" \"sbrkit " << SBR_PROGRAM_VERSION << "\" \"User Commands\"\n.SH NAME\n"
      << roff(page) << " \\- " << roff(text.description) << "\n.SH SYNOPSIS\n";
  if (text.commands.empty() || command.empty()) out << "\\fB" << roff(text.synopsis()) << "\\fR\n";
  for (const CommandText &below : command.empty() ? std::vector<CommandText>{} : text.commands)
    out << "\\fB" << roff(below.synopsis()) << "\\fR\n.br\n";
  out << ".SH DESCRIPTION\n";
  put_text(out, text.description + ".\n" + (text.page.details.empty() ? "" : "\n" + text.page.details));
  put_options(out, text.positionals);
  if (command.empty()) {
    put_commands(out, text);
  } else if (!text.commands.empty()) {
    out << ".SH COMMANDS\n";
    for (const CommandText &below : text.commands) put_command(out, below);
  }
  put_option_groups(out, text, ".SH");
  out << kExitStatus << (command.empty() ? kEnvironment : "");
  out << ".SH EXAMPLES\n";
  put_examples(out, text);
  for (const CommandText &below : command.empty() ? std::vector<CommandText>{} : text.commands)
    put_examples(out, below);
  out << ".SH SEE ALSO\n";
  if (!command.empty()) {
    out << "\\fBsbr\\fR(1)\n";
  } else {
    for (const CommandText &below : text.commands) out << "\\fBsbr\\-" << roff(below.name.substr(4)) << "\\fR(1)\n";
  }
  return out.str();
}

}  // namespace sbrtool
