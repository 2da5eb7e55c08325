// sbr view: a page that shows one body, or two side by side, and a browser for it.
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>

#include "output.h"
#include "page/page.h"
#include "viewrequest.h"

extern char **environ;

namespace sbrtool {
namespace {

namespace fs = std::filesystem;

struct ViewOptions {
  std::string file;
  std::string second;
  std::string output;
  bool no_open = false;
  int most_nodes = kUsualMostNodes;
};

// BODY.html in the present directory. A file of that name that is no page of ours was not meant.
fs::path default_output(const std::vector<std::string> &files) {
  std::string stem;
  for (const std::string &file : files) stem += (stem.empty() ? "" : "-") + fs::path(file).stem().string();
  const fs::path output = stem + ".html";
  std::error_code code;
  if (!fs::exists(output, code)) return output;
  std::string begin(sbrview::kFirstWords.size(), '\0');
  std::ifstream(output, std::ios::binary).read(begin.data(), static_cast<std::streamsize>(begin.size()));
  if (begin != sbrview::kFirstWords)
    throw Failure(kUsage, output.string() + " is there and is no page of sbr view: name the page with -o");
  return output;
}

// Starts a program that is found on the path and does not wait for it to end; false when it cannot be started or tells
// at once that it failed.
bool started(const char *program, const std::string &argument) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  for (const int stream : {STDOUT_FILENO, STDERR_FILENO})
    posix_spawn_file_actions_addopen(&actions, stream, "/dev/null", O_WRONLY, 0);
  std::string words[] = {program, argument};
  char *const arguments[] = {words[0].data(), words[1].data(), nullptr};
  pid_t child = 0;
  const int failed = posix_spawnp(&child, program, &actions, nullptr, arguments, environ);
  posix_spawn_file_actions_destroy(&actions);
  if (failed != 0) return false;
  for (int tenths = 0; tenths < 30; ++tenths) {
    int status = 0;
    if (waitpid(child, &status, WNOHANG) == child) return WIFEXITED(status) && WEXITSTATUS(status) == 0;
    usleep(100000);
  }
  return true;
}

bool open_in_browser(const fs::path &page) {
  const std::string path = fs::absolute(page).string();
  const char *browser = std::getenv("BROWSER");
  if (browser != nullptr && *browser != '\0') return started(browser, path);
  return started("xdg-open", path) || started("open", path);
}

void tell(const std::vector<std::string> &files, const std::vector<sbrview::Shown> &outcome, const fs::path &page,
          std::size_t bytes) {
  for (std::size_t i = 0; i < outcome.size(); ++i) {
    std::cout << clean(files[i]) << ": " << outcome[i].nodes << " nodes, " << outcome[i].faces << " faces, "
              << outcome[i].modes << " modes\n";
    for (const std::string &note : outcome[i].notes) std::cout << "  " << note << '\n';
  }
  char size[32];
  std::snprintf(size, sizeof size, "%.1f", static_cast<double>(bytes) / 1e6);
  std::cout << "page " << page.string() << ", " << size << " MB\n";
}

void view(const ViewOptions &options) {
  if (!sbrview::has_shell())
    throw Failure(kFailed,
                  "this sbr was built without the viewer; build it with -DSBRKIT_BUILD_VIEWER=ON, which needs Node.js "
                  "and npm");
  if (options.most_nodes < 1) throw Failure(kUsage, "--max-nodes has to be 1 or more");
  std::vector<std::string> files = {options.file};
  if (!options.second.empty()) files.push_back(options.second);
  const fs::path target = options.output.empty() ? default_output(files) : fs::path(options.output);
  for (const std::string &file : files) {
    std::error_code code;
    if (fs::equivalent(file, target, code)) throw Failure(kUsage, target.string() + ": is the record itself");
  }
  std::vector<Body> bodies;
  for (const std::string &file : files) bodies.push_back(open_record(file));
  const int errors_before = reported_errors();
  OutputFile page(target);
  std::size_t bytes = 0;
  const auto outcome =
      sbrview::write_page(view_request(files, bodies, options.most_nodes), [&](std::string_view piece) {
        bytes += piece.size();
        if (std::fwrite(piece.data(), 1, piece.size(), page.stream()) != piece.size())
          throw Failure(kFailed, target.string() + ": cannot be written: " + std::strerror(errno));
      });
  if (reported_errors() != errors_before)
    throw Failure(kUnreadable,
                  "what the library reported above would make the page wrong: none was made; 'sbr check' "
                  "tells more of the record");
  page.commit();
  tell(files, outcome, target, bytes);
  if (!options.no_open && !open_in_browser(target))
    std::cerr << "warning: no browser could be started; open " << target.string() << " in one\n";
}

}  // namespace

void add_view_commands(CLI::App &app, int &exit_code) {
  (void)exit_code;
  const auto options = std::make_shared<ViewOptions>();
  CLI::App *command = app.add_subcommand("view", "Show a record in the browser, animated, or two side by side");
  command->add_option("FILE", options->file, "The record")->required();
  command->add_option("SECOND", options->second, "A record to compare with; its modes are matched by shape");
  command->add_option("-o,--output", options->output, "The page; BODY.html in this directory if not given")
      ->type_name("PAGE");
  command->add_flag("--no-open", options->no_open, "Make the page and open no browser");
  command->add_option("--max-nodes", options->most_nodes, "Coarsen a surface of more nodes for display (100000)")
      ->type_name("N");
  command->callback([options] { view(*options); });
}

}  // namespace sbrtool
