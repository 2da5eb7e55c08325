#include "interrupt.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <new>
#include <string_view>

#include "session.h"

namespace sbrtool {
namespace {

constexpr int kSignals[] = {SIGHUP, SIGINT, SIGTERM, SIGPIPE};
constexpr std::size_t kSlots = 4096;

// What goes when a signal comes. The handler reads the slots, so that they hold plain texts, which stay as long as they
// stand here.
struct Slot {
  std::atomic<const char *> path{nullptr};
  std::atomic<bool> is_directory{false};
};
std::array<Slot, kSlots> slots;
std::atomic<int> orderly{0};
std::atomic<int> waiting{0};  // the signal that has come meanwhile
static_assert(std::atomic<const char *>::is_always_lock_free && std::atomic<int>::is_always_lock_free);

// ---- in the handler, and where memory may be short: system calls only ----------------------------------------------

// A directory's entries as the system gives them.
struct RawEntry {
  std::uint64_t inode;
  std::int64_t offset;
  unsigned short length;
  unsigned char type;
  char name[1];
};

int open_directory(int parent, const char *name) {
  int directory = -1;
  for (int tries = 0; directory < 0 && tries < 3; ++tries)
    directory = openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
  return directory;
}

// Removes what stands in a directory, with the directories in it, and closes it.
void empty_directory(int directory, int depth) {
  constexpr int kDeepest = 32;  // each takes a buffer of the stack
  if (directory < 0) return;
  alignas(RawEntry) char entries[4096];
  long bytes = 0;
  while ((bytes = syscall(SYS_getdents64, directory, entries, sizeof entries)) > 0)
    for (long at = 0; at < bytes;) {
      const auto *entry = reinterpret_cast<const RawEntry *>(entries + at);
      const std::string_view name = entry->name;
      at += entry->length;
      if (name == "." || name == ".." || unlinkat(directory, entry->name, 0) == 0 || depth == kDeepest) continue;
      empty_directory(open_directory(directory, entry->name), depth + 1);
      unlinkat(directory, entry->name, AT_REMOVEDIR);
    }
  close(directory);
}

void remove_directory(const char *path) {
  if (rmdir(path) == 0) return;
  empty_directory(open_directory(AT_FDCWD, path), 0);
  rmdir(path);
}

void remove_unfinished() {
  for (const Slot &slot : slots) {
    const char *path = slot.path.load();
    if (path == nullptr) continue;
    if (slot.is_directory.load())
      remove_directory(path);
    else
      unlink(path);
  }
}

void on_signal(int signal) {
  const int error = errno;
  if (orderly.load() > 0) {
    waiting.store(signal);
    errno = error;
    return;
  }
  remove_unfinished();
  raise(signal);  // which has its default effect again, when the handler returns
}

// ---- before the libraries ------------------------------------------------------------------------------------------

// A signal set as the system takes it.
std::uint64_t signals_at_start = 0;

constexpr std::uint64_t set_of_signals() {
  std::uint64_t set = 0;
  for (const int signal : {SIGHUP, SIGINT, SIGTERM}) set |= std::uint64_t{1} << (signal - 1);
  return set;
}

// Runs before the first constructor of a library, so that it makes system calls only and is not instrumented.
__attribute__((no_sanitize("address", "undefined"))) void block_signals() {
  const std::uint64_t set = set_of_signals();
  syscall(SYS_rt_sigprocmask, SIG_BLOCK, &set, &signals_at_start, sizeof set);
}
__attribute__((section(".preinit_array"), used)) void (*const before_libraries)() = block_signals;

// ---- outside -------------------------------------------------------------------------------------------------------

// A signal that the caller of the program has switched off stays so.
void handle_signals() {
  for (const int signal : kSignals) {
    struct sigaction action {};
    if (sigaction(signal, nullptr, &action) != 0 || action.sa_handler != SIG_DFL) continue;
    action.sa_handler = on_signal;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigaction(signal, &action, nullptr);
  }
}

int take_slot(const char *path, bool is_directory) {
  handle_signals();
  for (std::size_t i = 0; i < slots.size(); ++i) {
    if (slots[i].path.load() != nullptr) continue;
    slots[i].is_directory.store(is_directory);
    slots[i].path.store(path);
    return static_cast<int>(i);
  }
  throw Failure(kFailed, "too many unfinished files");
}

void free_slot(int slot) {
  if (slot >= 0) slots[static_cast<std::size_t>(slot)].path.store(nullptr);
}

}  // namespace

void end_without_memory() noexcept {
  constexpr std::string_view kText = "sbr: out of memory\n";
  try {
    if (const std::exception_ptr now = std::current_exception(); now) std::rethrow_exception(now);
  } catch (const std::bad_alloc &) {
    SBR_Terminate();
    remove_unfinished();
    static_cast<void>(!write(STDERR_FILENO, kText.data(), kText.size()));
    _exit(kFailed);
  } catch (...) {
    std::abort();
  }
  std::abort();
}

void take_signals() { syscall(SYS_rt_sigprocmask, SIG_SETMASK, &signals_at_start, nullptr, sizeof signals_at_start); }

RemovedOnInterrupt::RemovedOnInterrupt(const std::string &path)
    : path_(std::filesystem::absolute(path)), slot_(take_slot(path_.c_str(), false)) {}

RemovedOnInterrupt::~RemovedOnInterrupt() { free_slot(slot_); }

WorkDirectory::WorkDirectory() {
  const char *parent = std::getenv("TMP");
  had_former_ = parent != nullptr;
  if (had_former_) former_ = parent;
  const bool given = had_former_ && !former_.empty();
  std::string path =
      std::filesystem::absolute(given ? std::filesystem::path(former_) : std::filesystem::temp_directory_path()) /
      "sbr_XXXXXX";
  // A signal that comes between the directory and its slot waits.
  const OrderlyEnd both;
  if (mkdtemp(path.data()) == nullptr) throw Failure(kFailed, path + ": " + std::strerror(errno));
  path_ = path;
  try {
    slot_ = take_slot(path_.c_str(), true);
  } catch (...) {
    rmdir(path.c_str());
    throw;
  }
  setenv("TMP", path_.c_str(), 1);
}

WorkDirectory::~WorkDirectory() {
  if (had_former_)
    setenv("TMP", former_.c_str(), 1);
  else
    unsetenv("TMP");
  remove_directory(path_.c_str());
  free_slot(slot_);
}

OrderlyEnd::OrderlyEnd() {
  handle_signals();
  ++orderly;
}

OrderlyEnd::~OrderlyEnd() {
  if (--orderly > 0) return;
  const int signal = waiting.exchange(0);
  if (signal == 0) return;
  on_signal(signal);
}

void require_no_interrupt() {
  if (waiting.load() != 0) throw Failure(kFailed, "interrupted");
}

}  // namespace sbrtool
