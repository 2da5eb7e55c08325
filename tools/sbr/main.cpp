// sbr: looks into Shape Body Records, makes them and changes them.
#include <cstdio>
#include <exception>
#include <filesystem>
#include <iostream>
#include <new>

#include "commandline.h"
#include "commandtext.h"
#include "interrupt.h"
#include "output.h"
#include "session.h"

namespace {

// What a package installs: DIR/man1 and DIR/completions.
void write_pages(const CLI::App &app, const std::filesystem::path &directory) {
  const auto write = [&](const std::filesystem::path &name, const std::string &text) {
    std::filesystem::create_directories((directory / name).parent_path());
    sbrtool::OutputFile file(directory / name);
    if (std::fwrite(text.data(), 1, text.size(), file.stream()) != text.size())
      throw sbrtool::Failure(sbrtool::kFailed, name.string() + ": cannot be written");
    file.commit();
  };
  write("man1/sbr.1", sbrtool::manual_page(app, ""));
  for (const CLI::App *command : app.get_subcommands(nullptr))
    write("man1/sbr-" + command->get_name() + ".1", sbrtool::manual_page(app, command->get_name()));
  write("completions/sbr", sbrtool::completion_script(app, "bash"));
  write("completions/_sbr", sbrtool::completion_script(app, "zsh"));
  write("completions/sbr.fish", sbrtool::completion_script(app, "fish"));
}

// sbr help [COMMAND...]: the help of a command; also what is made of all of them.
void add_help_command(CLI::App &app) {
  struct Options {
    std::vector<std::string> words;
    std::string page;
    std::string shell;
    std::string directory;
  };
  const auto options = std::make_shared<Options>();
  CLI::App *help = app.add_subcommand("help", "Show what a command does");
  help->add_option("COMMAND", options->words, "The command, such as 'import ccx'");
  CLI::Option *man = help->add_option("--man", options->page, "Print the manual page of a command, or of sbr itself")
                         ->type_name("COMMAND");
  help->add_option("--completion", options->shell, "Print the completion script of a shell")
      ->check(CLI::IsMember({"bash", "zsh", "fish"}));
  help->add_option("--write", options->directory, "Write all manual pages and completion scripts into a directory")
      ->type_name("DIR");
  help->callback([options, man, &app] {
    if (!options->directory.empty()) {
      write_pages(app, options->directory);
      return;
    }
    if (!options->shell.empty()) {
      std::cout << sbrtool::completion_script(app, options->shell);
      return;
    }
    if (man->count() > 0) {
      std::cout << sbrtool::manual_page(app, options->page == "sbr" ? "" : options->page);
      return;
    }
    sbrtool::require_known_command(app, options->words);
    const CLI::App *command = &app;
    std::string name = app.get_name();
    for (const std::string &word : options->words) {
      const CLI::App *below = sbrtool::command_below(*command, word);
      if (below == nullptr) break;
      command = below;
      name += " " + word;
    }
    std::cout << sbrtool::HelpFormatter().make_help(command, name, CLI::AppFormatMode::Normal);
  });
}

int run_command(CLI::App &app, int argc, char **argv, int &exit_code) {
  const std::vector<std::string> arguments = sbrtool::arguments_of(argc, argv);
  try {
    sbrtool::require_known_command(app, arguments);
    app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
  } catch (const CLI::ParseError &error) {
    if (error.get_exit_code() == 0) return app.exit(error);
    std::cerr << sbrtool::explanation(app, error, arguments) << '\n';
    return sbrtool::kUsage;
  } catch (const sbrtool::Failure &failure) {
    std::cout.flush();
    std::cerr << "sbr: " << failure.what() << '\n';
    return failure.code();
  } catch (const std::bad_alloc &) {
    throw;
  } catch (const std::exception &unexpected) {
    std::cout.flush();
    std::cerr << "sbr: " << unexpected.what() << '\n';
    return sbrtool::kFailed;
  }
  return exit_code;
}

int run_program(int argc, char **argv) {
  CLI::App app{"Look into Shape Body Records (.sbr), check, change and write them", "sbr"};
  app.formatter(std::make_shared<sbrtool::HelpFormatter>());
  app.set_help_flag("-h,--help", "Show this help");
  app.require_subcommand(1);
  app.set_version_flag("--version", std::string("sbr ") + SBR_PROGRAM_VERSION, "Show the version");
  bool verbose = false;
  app.add_flag("-v,--verbose", verbose, "Show the library's information messages too");
  app.fallthrough();

  int exit_code = sbrtool::kDone;
  // The handlers have to stand before a command runs; parsing runs the command.
  sbrtool::install_messages(false);
  app.parse_complete_callback([&] { sbrtool::install_messages(verbose); });
  for (const sbrtool::Register add :
       {sbrtool::add_information_commands, sbrtool::add_mass_commands, sbrtool::add_changing_commands,
        sbrtool::add_checking_commands, sbrtool::add_export_commands, sbrtool::add_view_commands,
        sbrtool::add_sheet_commands, sbrtool::add_picture_commands, sbrtool::add_import_commands,
        sbrtool::add_database_commands})
    add(app, exit_code);
  add_help_command(app);

  exit_code = run_command(app, argc, argv, exit_code);
  std::cout.flush();
  // The library prints through the C stream.
  const bool printed = std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
  if (!std::cout || !printed) {
    std::cerr << "sbr: cannot write to standard output\n";
    if (exit_code == sbrtool::kDone) exit_code = sbrtool::kFailed;
  }
  return exit_code;
}

}  // namespace

int main(int argc, char **argv) {
  sbrtool::take_signals();
  std::set_terminate(sbrtool::end_without_memory);
  int exit_code = sbrtool::kFailed;
  try {
    exit_code = run_program(argc, argv);
  } catch (const std::bad_alloc &) {
    // Wherever it comes from, also before a command runs. Nothing here needs memory.
    std::cout.flush();
    std::fputs("sbr: out of memory\n", stderr);
  } catch (const std::exception &unexpected) {
    std::fprintf(stderr, "sbr: %s\n", unexpected.what());
  } catch (...) {
    std::fputs("sbr: an unexpected end\n", stderr);
  }
  SBR_Terminate();
  return exit_code;
}
