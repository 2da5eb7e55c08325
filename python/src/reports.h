// Calls into the library: one at a time, without the interpreter lock, and what the library reported meanwhile handed
// to Python afterwards.
//
// The library locks nothing, and its message handlers belong to the process. So one mutex of the module stands around
// every call: several bodies may be used from several threads, and one call runs after the other. The handlers only
// collect texts into a record of the call; they never touch an object of Python. When the call is over and the
// interpreter lock is held again, the record is delivered: information to `logging`, warnings to `warnings`, errors as
// one exception that holds all reports of the call.
#ifndef SBRKIT_PYTHON_REPORTS_H
#define SBRKIT_PYTHON_REPORTS_H

#include <pybind11/pybind11.h>

#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace sbrpy {

// What the library reported during one call, in order.
struct Reports {
  struct Report {
    char severity;  // 'e' error, 'w' warning, 'i' information
    std::string text;
  };
  std::vector<Report> list;
  bool has_errors = false;
};

// Which reports of a call become an exception.
enum class Errors {
  raise,  // every error
  warn,   // none: errors become warnings
};

// Installs the handlers of the process, and keeps the mutex whole when the process forks.
void start_collecting();

// Holds the mutex of the library, and collects what it reports, as long as the object lives. The interpreter lock is
// not held meanwhile: nobody who waits for the mutex keeps another thread from working.
class LibraryCall {
 public:
  explicit LibraryCall(Reports &reports);
  ~LibraryCall();
  LibraryCall(const LibraryCall &) = delete;
  LibraryCall &operator=(const LibraryCall &) = delete;

 private:
  pybind11::gil_scoped_release without_interpreter_;
  std::unique_lock<std::mutex> lock_;
};

// Hands reports to Python. Throws what the Python side raises: for errors, and with a failure that is not null whatever
// was reported, `SbrError`, which then names the failure if no error was reported.
void deliver(const Reports &reports, Errors errors, const char *failure);

// Calls the library: `function` takes nothing, touches no object of Python, and gives a value.
template <class Function>
auto call_library(Function &&function, Errors errors = Errors::raise) {
  Reports reports;
  auto result = [&] {
    const LibraryCall call(reports);
    return std::forward<Function>(function)();
  }();
  if (reports.has_errors || !reports.list.empty()) deliver(reports, errors, nullptr);
  return result;
}

// The same for a function whose result is false for a failure; the failure is raised under the words given.
template <class Function>
void require_library(const char *failure, Function &&function) {
  Reports reports;
  const bool done = [&] {
    const LibraryCall call(reports);
    return static_cast<bool>(std::forward<Function>(function)());
  }();
  if (!done || reports.has_errors || !reports.list.empty()) deliver(reports, Errors::raise, done ? nullptr : failure);
}

}  // namespace sbrpy

#endif
