#include "output.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <list>

#include "session.h"

namespace sbrtool {
namespace {

namespace fs = std::filesystem;

// ---- unfinished files and signals
// ------------------------------------------------------------------------------------

constexpr std::array<int, 4> kEndingSignals = {SIGHUP, SIGINT, SIGTERM, SIGPIPE};

// The files that go when a signal ends the program. It changes only while these signals are held back, so that the
// handler always finds it whole.
std::list<std::string> &unfinished() {
  static std::list<std::string> *const files = new std::list<std::string>;
  return *files;
}

extern "C" void remove_unfinished(int signal) {
  for (const std::string &file : unfinished()) unlink(file.c_str());
  std::signal(signal, SIG_DFL);
  raise(signal);
}

class SignalsHeldBack {
 public:
  SignalsHeldBack() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : kEndingSignals) sigaddset(&signals, signal);
    sigprocmask(SIG_BLOCK, &signals, &before_);
  }
  ~SignalsHeldBack() { sigprocmask(SIG_SETMASK, &before_, nullptr); }
  SignalsHeldBack(const SignalsHeldBack &) = delete;
  SignalsHeldBack &operator=(const SignalsHeldBack &) = delete;

 private:
  sigset_t before_{};
};

// Signals that the caller ignores stay ignored.
void watch_signals() {
  static const bool watched = [] {
    struct sigaction action {};
    action.sa_handler = remove_unfinished;
    for (const int signal : kEndingSignals) {
      struct sigaction before {};
      if (sigaction(signal, nullptr, &before) == 0 && before.sa_handler == SIG_DFL) sigaction(signal, &action, nullptr);
    }
    return true;
  }();
  static_cast<void>(watched);
}

// The rights of a new file: those that the user's mask leaves.
mode_t rights_of_new_files() {
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

}  // namespace

// ---- OutputFile
// ------------------------------------------------------------------------------------------------------

void OutputFile::fail(const std::string &reason) const { throw Failure(kFailed, given_.string() + ": " + reason); }

OutputFile::OutputFile(const fs::path &target) : given_(target), target_(target) {
  if (target.empty()) throw Failure(kUsage, "the name of the output is empty");
  std::error_code code;
  const fs::file_status status = fs::status(target, code);
  if (fs::is_directory(status)) throw Failure(kUsage, target.string() + ": is a directory");
  if (fs::exists(status)) {
    if (faccessat(AT_FDCWD, target.c_str(), W_OK, AT_EACCESS) != 0) fail(std::strerror(errno));
    target_ = fs::canonical(target, code);
    if (code) fail(code.message());
  } else if (fs::is_symlink(fs::symlink_status(target, code))) {
    fail("is a link to a file that is not there");
  }
  regular_ = !fs::exists(status) || fs::is_regular_file(status);
  if (regular_)
    make_beside();
  else
    path_ = target.string();
}

// The same directory, so that the rename is one step. The name is made new, so that no planted link is followed.
void OutputFile::make_beside() {
  struct stat before {};
  const bool replaces = stat(target_.c_str(), &before) == 0;
  std::string name = target_.string() + ".partial-XXXXXX";
  watch_signals();
  const SignalsHeldBack held;
  const int descriptor = mkostemp(name.data(), O_CLOEXEC);
  if (descriptor < 0) fail(std::strerror(errno));
  unfinished().push_back(name);
  path_ = name;
  pending_ = true;
  // A file system without rights has none to lose.
  static_cast<void>(fchmod(descriptor, replaces ? before.st_mode & 07777 : rights_of_new_files()));
  ::close(descriptor);
}

OutputFile::~OutputFile() {
  if (stream_ != nullptr) std::fclose(stream_);
  if (!pending_) return;
  const SignalsHeldBack held;
  unlink(path_.c_str());
  unfinished().remove(path_);
}

std::FILE *OutputFile::stream() {
  if (stream_ == nullptr) stream_ = std::fopen(path_.c_str(), "wb");
  if (stream_ == nullptr) fail(std::strerror(errno));
  return stream_;
}

void OutputFile::close() {
  if (stream_ == nullptr) return;
  const bool written = std::ferror(stream_) == 0;
  const bool closed = std::fclose(stream_) == 0;
  stream_ = nullptr;
  if (!written || !closed) fail(std::string("cannot be written: ") + std::strerror(errno));
}

void OutputFile::commit() {
  close();
  if (!pending_) return;
  const SignalsHeldBack held;
  if (std::rename(path_.c_str(), target_.c_str()) != 0) fail(std::strerror(errno));
  unfinished().remove(path_);
  pending_ = false;
}

}  // namespace sbrtool
