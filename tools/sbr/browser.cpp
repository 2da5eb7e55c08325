#include "browser.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <vector>

#include "interrupt.h"
#include "session.h"

extern char **environ;

namespace sbrtool {
namespace {

namespace fs = std::filesystem;

// A program that runs by itself, with what it starts, and ends at the latest when this does.
class Running {
 public:
  explicit Running(std::vector<std::string> words) {
    std::vector<char *> arguments;
    for (std::string &word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
      posix_spawn_file_actions_addopen(&actions, stream, "/dev/null", O_RDWR, 0);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
    runs_ = posix_spawnp(&child_, arguments[0], &actions, &attributes, arguments.data(), environ) == 0;
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
  }
  ~Running() {
    if (!runs_) return;
    kill(-child_, SIGKILL);
    waitpid(child_, nullptr, 0);
  }
  Running(const Running &) = delete;
  Running &operator=(const Running &) = delete;

  // Waits for the end, for two minutes at most; false when it failed.
  bool succeeds() {
    for (int tenths = 0; runs_ && tenths < 1200; ++tenths) {
      int status = 0;
      runs_ = waitpid(child_, &status, WNOHANG) != child_;
      if (!runs_) return WIFEXITED(status) && WEXITSTATUS(status) == 0;
      require_no_interrupt();
      usleep(100000);
    }
    return false;
  }

 private:
  pid_t child_ = 0;
  bool runs_ = false;
};

}  // namespace

std::string find_chromium() {
  if (const char *named = std::getenv("CHROMIUM"); named != nullptr && *named != '\0') return named;
  const char *path = std::getenv("PATH");
  for (const char *name : {"chromium", "chromium-browser", "google-chrome", "chrome"}) {
    std::istringstream directories(path == nullptr ? "" : path);
    for (std::string directory; std::getline(directories, directory, ':');)
      if (const fs::path program = fs::path(directory) / name; access(program.c_str(), X_OK) == 0)
        return program.string();
  }
  return "";
}

std::string printed_as_pdf(const std::string &chromium, const std::string &html) {
  const OrderlyEnd whole;  // the browser ends before its files go
  const WorkDirectory directory;
  const fs::path page = directory.path() / "sheet.html";
  const fs::path pdf = directory.path() / "sheet.pdf";
  std::ofstream(page, std::ios::binary) << html;
  std::vector<std::string> words = {chromium,
                                    "--headless",
                                    "--disable-gpu",
                                    "--no-first-run",
                                    "--disable-extensions",
                                    "--no-pdf-header-footer",
                                    "--user-data-dir=" + (directory.path() / "user").string(),
                                    "--print-to-pdf=" + pdf.string()};
  // Root has no sandbox to be put into.
  if (geteuid() == 0) words.emplace_back("--no-sandbox");
  words.push_back("file://" + page.string());
  const bool done = Running(words).succeeds();
  std::ostringstream bytes;
  bytes << std::ifstream(pdf, std::ios::binary).rdbuf();
  if (!done || bytes.str().substr(0, 5) != "%PDF-")
    throw Failure(kFailed,
                  chromium + " did not make a PDF; write a page with -o BODY.html and print it from a browser");
  return bytes.str();
}

}  // namespace sbrtool
