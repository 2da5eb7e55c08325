#include "support/stepped_process.h"

#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <stdexcept>

#ifdef __x86_64__
#include <sys/user.h>
#endif

namespace sbrtest {
namespace {

constexpr int kCallStop = SIGTRAP | 0x80;
constexpr long kOptions = PTRACE_O_TRACESYSGOOD | PTRACE_O_TRACEEXEC | PTRACE_O_EXITKILL;

void *data_of(long value) { return reinterpret_cast<void *>(value); }

}  // namespace

SteppedProcess::SteppedProcess(const std::function<int()> &work) {
  process_ = fork();
  if (process_ < 0) throw std::runtime_error("no process can be made");
  if (process_ == 0) {
    ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
    raise(SIGSTOP);
    _exit(work());
  }
  wait_for_change();
  pending_signal_ = 0;  // its own stop
  if (gone_ || ptrace(PTRACE_SETOPTIONS, process_, nullptr, data_of(kOptions)) != 0)
    throw std::runtime_error("processes cannot be watched here (ptrace)");
}

SteppedProcess::SteppedProcess(pid_t child) : process_(child), own_(false) {
  if (ptrace(PTRACE_SEIZE, process_, nullptr, data_of(kOptions)) != 0 ||
      ptrace(PTRACE_INTERRUPT, process_, nullptr, nullptr) != 0)
    throw std::runtime_error("processes cannot be watched here (ptrace)");
  wait_for_change();
  pending_signal_ = 0;
}

SteppedProcess::~SteppedProcess() {
  if (gone_ || process_ < 0) return;
  if (own_)
    end_by(SIGKILL);
  else
    ptrace(PTRACE_DETACH, process_, nullptr, data_of(pending_signal_));
}

// Waits until the process stands or has ended.
void SteppedProcess::wait_for_change() {
  while (waitpid(process_, &status_, 0) < 0)
    if (errno != EINTR) throw std::runtime_error("a child is missing");
  gone_ = !WIFSTOPPED(status_);
}

SteppedProcess::Stop SteppedProcess::next() {
  while (!gone_) {
    const int signal = pending_signal_;
    pending_signal_ = 0;
    if (ptrace(PTRACE_SYSCALL, process_, nullptr, data_of(signal)) != 0 && errno != ESRCH)
      throw std::runtime_error("a process cannot go on");
    wait_for_change();
    if (gone_) break;
    const int stop = WSTOPSIG(status_);
    if (stop == kCallStop) {
      __ptrace_syscall_info info{};
      ptrace(PTRACE_GET_SYSCALL_INFO, process_, data_of(sizeof info), &info);
      if (info.op != PTRACE_SYSCALL_INFO_ENTRY) return Stop::call_ends;
      call_.number = static_cast<long>(info.entry.nr);
      std::copy(std::begin(info.entry.args), std::end(info.entry.args), call_.arguments.begin());
      return Stop::call_begins;
    }
    // A new program is no signal, and neither is a stop that was asked for.
    if (status_ >> 16 == 0) pending_signal_ = stop;
  }
  return Stop::gone;
}

bool SteppedProcess::pass(int calls) {
  for (int i = 0; i < calls;) {
    const Stop stop = next();
    if (stop == Stop::gone) return false;
    if (stop == Stop::call_ends) ++i;
  }
  return true;
}

bool SteppedProcess::pass_until(long call) {
  for (Stop stop = next(); stop != Stop::gone; stop = next())
    if (stop == Stop::call_begins && call_.number == call) return true;
  return false;
}

int SteppedProcess::count_to_the_end() {
  int calls = 0;
  for (Stop stop = next(); stop != Stop::gone; stop = next())
    if (stop == Stop::call_begins) ++calls;
  return calls;
}

#ifdef __x86_64__

bool SteppedProcess::can_deal_fates() { return true; }

// At the call's beginning.
void SteppedProcess::change_call(Fate fate) const {
  user_regs_struct registers{};
  ptrace(PTRACE_GETREGS, process_, nullptr, &registers);
  if (fate.what == Fate::What::is_refused) registers.orig_rax = ~0ULL;
  if (fate.what == Fate::What::is_shortened) registers.rdx = std::max(1ULL, registers.rdx / 2);
  ptrace(PTRACE_SETREGS, process_, nullptr, &registers);
}

// At its end.
void SteppedProcess::fail_call(int error) const {
  user_regs_struct registers{};
  ptrace(PTRACE_GETREGS, process_, nullptr, &registers);
  registers.rax = static_cast<unsigned long long>(-static_cast<long long>(error));
  ptrace(PTRACE_SETREGS, process_, nullptr, &registers);
}

#else

bool SteppedProcess::can_deal_fates() { return false; }
void SteppedProcess::change_call(Fate) const { throw std::runtime_error("calls cannot be changed here"); }
void SteppedProcess::fail_call(int) const { throw std::runtime_error("calls cannot be changed here"); }

#endif

int SteppedProcess::finish_under(const std::function<Fate(const SystemCall &)> &fate) {
  using What = Fate::What;
  Fate now{};
  for (Stop stop = next(); stop != Stop::gone; stop = next()) {
    if (stop == Stop::call_begins) {
      now = fate(call_);
      if (now.what == What::ends_the_watch) return let_go(0);
      if (now.what == What::kills) kill(process_, SIGKILL);
      if (now.what == What::is_refused || now.what == What::is_shortened) change_call(now);
    } else if (now.what == What::is_refused || now.what == What::is_made_and_fails) {
      fail_call(now.error);
      now = {};
    }
  }
  return status_;
}

int SteppedProcess::let_go(int signal) {
  if (gone_) return status_;
  if (signal != 0) kill(process_, signal);
  ptrace(PTRACE_DETACH, process_, nullptr, data_of(pending_signal_));
  wait_for_change();
  gone_ = true;
  return status_;
}

int SteppedProcess::end_by(int signal) { return let_go(signal); }
int SteppedProcess::finish() { return let_go(0); }

}  // namespace sbrtest
