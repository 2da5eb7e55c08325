// sbr: looks into Shape Body Records, makes them and changes them.
#include <iostream>

#include "session.h"

int main(int argc, char **argv) {
  CLI::App app{"Look into Shape Body Records (.sbr), check, change and write them.", "sbr"};
  app.footer(
      "Examples:\n"
      "  sbr info body.sbr              what the record holds, at a glance\n"
      "  sbr modes body.sbr             its modes and frequencies\n"
      "  sbr mode body.sbr 7 --node 12  mode 7 at node 12\n"
      "  sbr info body.sbr --json       the same for programs\n\n"
      "Messages go to standard error. Exit codes: 0 done, 1 findings or differences, 2 wrong usage,\n"
      "3 unreadable input, 4 failed operation. 'sbr COMMAND --help' tells more of each command.");
  app.require_subcommand(1);
  app.set_version_flag("--version", std::string("sbr ") + SBR_PROGRAM_VERSION);
  bool verbose = false;
  app.add_flag("-v,--verbose", verbose, "Show the library's information messages too");
  app.fallthrough();

  int exit_code = sbrtool::kDone;
  // The handlers have to stand before a command runs; parsing runs the command.
  sbrtool::install_messages(false);
  app.parse_complete_callback([&] { sbrtool::install_messages(verbose); });
  for (const sbrtool::Register add :
       {sbrtool::add_information_commands, sbrtool::add_mass_commands, sbrtool::add_changing_commands,
        sbrtool::add_checking_commands, sbrtool::add_import_commands, sbrtool::add_database_commands})
    add(app, exit_code);

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError &parse_error) {
    return app.exit(parse_error) == 0 ? sbrtool::kDone : sbrtool::kUsage;
  } catch (const sbrtool::Failure &failure) {
    std::cout.flush();
    std::cerr << "sbr: " << failure.what() << '\n';
    exit_code = failure.code();
  } catch (const std::exception &unexpected) {
    std::cout.flush();
    std::cerr << "sbr: " << unexpected.what() << '\n';
    exit_code = sbrtool::kFailed;
  }
  SBR_Terminate();
  std::cout.flush();
  if (!std::cout) {
    std::cerr << "sbr: cannot write to standard output\n";
    if (exit_code == sbrtool::kDone) exit_code = sbrtool::kFailed;
  }
  return exit_code;
}
