// Signals that end the process wait while files are being changed, so that none is left half-made.
#ifndef QSRV_SIGNALS_H
#define QSRV_SIGNALS_H

#include <csignal>

namespace qsrv {

// As long as it lives, SIGHUP, SIGINT and SIGTERM wait for this thread, unless the host ignores or blocks them already.
class SignalPause {
 public:
  SignalPause();
  ~SignalPause();
  SignalPause(const SignalPause &) = delete;
  SignalPause &operator=(const SignalPause &) = delete;

  // True when one of them has come: what takes long should end early.
  static bool interrupted();

 private:
  sigset_t before_{};
  sigset_t waiting_before_{};
};

}  // namespace qsrv

#endif
