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

#include "session.h"

extern char **environ;

namespace sbrtool {
namespace {

namespace fs = std::filesystem;

// A directory that goes with all that is in it.
class TemporaryDirectory {
 public:
  TemporaryDirectory() {
    std::string name = (fs::temp_directory_path() / "sbr-sheet-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw Failure(kFailed, "no temporary directory can be made");
    path_ = name;
  }
  ~TemporaryDirectory() {
    std::error_code code;
    fs::remove_all(path_, code);
  }
  TemporaryDirectory(const TemporaryDirectory &) = delete;
  TemporaryDirectory &operator=(const TemporaryDirectory &) = delete;
  [[nodiscard]] const fs::path &path() const { return path_; }

 private:
  fs::path path_;
};

// Runs a program until it ends, for two minutes at most; false when it fails.
bool run(std::vector<std::string> words) {
  std::vector<char *> arguments;
  for (std::string &word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  for (const int stream : {STDOUT_FILENO, STDERR_FILENO})
    posix_spawn_file_actions_addopen(&actions, stream, "/dev/null", O_WRONLY, 0);
  pid_t child = 0;
  const int failed = posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (failed != 0) return false;
  int status = 0;
  for (int tenths = 0; tenths < 1200; ++tenths) {
    if (waitpid(child, &status, WNOHANG) == child) return WIFEXITED(status) && WEXITSTATUS(status) == 0;
    usleep(100000);
  }
  kill(child, SIGKILL);
  waitpid(child, &status, 0);
  return false;
}

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
  const TemporaryDirectory directory;
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
  const bool done = run(words);
  std::ostringstream bytes;
  bytes << std::ifstream(pdf, std::ios::binary).rdbuf();
  if (!done || bytes.str().substr(0, 5) != "%PDF-")
    throw Failure(kFailed,
                  chromium + " did not make a PDF; write a page with -o BODY.html and print it from a browser");
  return bytes.str();
}

}  // namespace sbrtool
