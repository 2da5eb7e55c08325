// What SIGHUP, SIGINT, SIGTERM and SIGPIPE do: the program ends by the signal, and leaves no unfinished file behind. So
// does memory that runs out where nothing can be thrown.
#ifndef SBRKIT_TOOLS_SBR_INTERRUPT_H
#define SBRKIT_TOOLS_SBR_INTERRUPT_H

#include <filesystem>
#include <string>

namespace sbrtool {

// Takes the signals that have waited since before the libraries of the program were started. Some start threads of
// their own, which keep the signals blocked: so a signal always comes to a thread of the program's own, and waits where
// that one has it wait. To be called first in main.
void take_signals();

// The program's handler of std::terminate. A destructor that needs memory, as those of JSON values do, ends here when
// there is none: with the message and the exit code of a failure.
[[noreturn]] void end_without_memory() noexcept;

// A file that goes when a signal ends the program, as long as this lives.
class RemovedOnInterrupt {
 public:
  explicit RemovedOnInterrupt(const std::string &path);
  ~RemovedOnInterrupt();
  RemovedOnInterrupt(const RemovedOnInterrupt &) = delete;
  RemovedOnInterrupt &operator=(const RemovedOnInterrupt &) = delete;

 private:
  std::string path_;
  int slot_;
};

// A fresh directory in TMP that goes with the files in it: at the end, and when a signal ends the program. The library
// has its own temporary files there too, as long as this lives.
class WorkDirectory {
 public:
  WorkDirectory();
  ~WorkDirectory();
  WorkDirectory(const WorkDirectory &) = delete;
  WorkDirectory &operator=(const WorkDirectory &) = delete;
  [[nodiscard]] const std::filesystem::path &path() const { return path_; }

 private:
  std::filesystem::path path_;
  std::string former_;  // TMP as it was
  bool had_former_ = false;
  int slot_ = -1;
};

// A stretch of the program that signals do not cut off: it looks at `require_no_interrupt` now and then and unwinds,
// and the signal has its effect at the end. A second signal does not wait.
class OrderlyEnd {
 public:
  OrderlyEnd();
  ~OrderlyEnd();
  OrderlyEnd(const OrderlyEnd &) = delete;
  OrderlyEnd &operator=(const OrderlyEnd &) = delete;
};

// Ends the command when a signal has come.
void require_no_interrupt();

}  // namespace sbrtool

#endif
