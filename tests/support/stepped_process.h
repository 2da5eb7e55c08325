// A process that goes from one system call to the next under the eyes of the test. So a test ends a process, or lets
// another one act, at a moment that is counted and not timed: the n-th system call is the same one under any load.
#ifndef SBRKIT_TESTS_SUPPORT_STEPPED_PROCESS_H
#define SBRKIT_TESTS_SUPPORT_STEPPED_PROCESS_H

#include <sys/types.h>

#include <array>
#include <cstdint>
#include <functional>

namespace sbrtest {

struct SystemCall {
  long number = -1;
  std::array<std::uint64_t, 6> arguments{};
};

// What becomes of a system call. Refused, it is not made; either way the process sees it fail with `error`. One that
// kills is not made, and its process ends.
struct Fate {
  enum class What { goes_on, is_refused, is_made_and_fails, is_shortened, ends_the_watch, kills };
  What what = What::goes_on;
  int error = 0;
};

// To be used in the thread that made it. The process ends with it at the latest.
class SteppedProcess {
 public:
  // A child of this process that stands before `work`, whose result becomes its exit code. It may run a program.
  explicit SteppedProcess(const std::function<int()> &work);
  // A child that runs already; it stands at once. Whoever made it waits for it when this object is gone.
  explicit SteppedProcess(pid_t child);
  ~SteppedProcess();
  SteppedProcess(const SteppedProcess &) = delete;
  SteppedProcess &operator=(const SteppedProcess &) = delete;

  // Lets it make system calls; it stands at the last one's end. False when it ends before.
  bool pass(int calls);
  // Lets it run until it is about to make a system call of this number. False when it ends before.
  bool pass_until(long call);
  // How many system calls it makes until it ends.
  int count_to_the_end();
  // Lets it go on to its end while each of its system calls meets its fate, until one ends the watch. A call that is
  // shortened (read, write and their kin) gets half of its third argument. The status that waitpid gives.
  int finish_under(const std::function<Fate(const SystemCall &)> &fate);
  // Whether fates other than going on can be dealt out here.
  static bool can_deal_fates();
  // Sends a signal and lets it go. The status that waitpid gives.
  int end_by(int signal);
  // Lets it go. The status that waitpid gives.
  int finish();

 private:
  enum class Stop { call_begins, call_ends, gone };
  Stop next();
  void wait_for_change();
  int let_go(int signal);
  void change_call(Fate fate) const;
  void fail_call(int error) const;

  pid_t process_ = -1;
  bool own_ = true;
  bool gone_ = false;
  int status_ = 0;
  int pending_signal_ = 0;
  SystemCall call_;
};

}  // namespace sbrtest

#endif
