#include "signals.h"

namespace qsrv {
namespace {

constexpr int kSignals[] = {SIGHUP, SIGINT, SIGTERM};

// The signals that wait for this thread because of a pause.
thread_local sigset_t waiting;
thread_local bool pausing = false;

}  // namespace

SignalPause::SignalPause() {
  if (!pausing) sigemptyset(&waiting);
  pausing = true;
  waiting_before_ = waiting;
  pthread_sigmask(SIG_BLOCK, nullptr, &before_);
  for (const int signal : kSignals) {
    struct sigaction action {};
    // An ignored signal would be pending for good.
    if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler != SIG_IGN && sigismember(&before_, signal) == 0)
      sigaddset(&waiting, signal);
  }
  pthread_sigmask(SIG_BLOCK, &waiting, nullptr);
}

SignalPause::~SignalPause() {
  waiting = waiting_before_;
  pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

bool SignalPause::interrupted() {
  sigset_t pending;
  if (!pausing || sigpending(&pending) != 0) return false;
  for (const int signal : kSignals)
    if (sigismember(&waiting, signal) == 1 && sigismember(&pending, signal) == 1) return true;
  return false;
}

}  // namespace qsrv
