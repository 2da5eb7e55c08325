#include "reports.h"

#include <pthread.h>
#include <sbrkit/sbrkit.h>

namespace py = pybind11;

namespace sbrpy {
namespace {

std::mutex library;                // around every call
Reports *collecting_in = nullptr;  // the record of the call that holds the mutex

// Reports must not be lost for want of memory, nor throw through the library: what cannot be stored still counts as an
// error of the call.
int collect(char severity, const char *text) noexcept {
  if (collecting_in == nullptr) return 0;
  if (severity == 'e') collecting_in->has_errors = true;
  try {
    collecting_in->list.push_back({severity, text});
  } catch (const std::bad_alloc &) {
    collecting_in->has_errors = true;
  }
  return 0;
}

int on_error(const char *text) { return collect('e', text); }
int on_warning(const char *text) { return collect('w', text); }
int on_info(const char *text) { return collect('i', text); }

void before_fork() { library.lock(); }
void after_fork() { library.unlock(); }

}  // namespace

void start_collecting() {
  const message_handlers handlers{on_error, on_warning, on_info};
  SetMessageHandlers(&handlers);
  pthread_atfork(before_fork, after_fork, after_fork);
}

LibraryCall::LibraryCall(Reports &reports) : lock_(library) { collecting_in = &reports; }

LibraryCall::~LibraryCall() { collecting_in = nullptr; }

void deliver(const Reports &reports, Errors errors, const char *failure) {
  py::list list;
  bool told = false;
  for (const Reports::Report &report : reports.list) {
    const auto text = py::reinterpret_steal<py::object>(
        PyUnicode_DecodeUTF8(report.text.data(), static_cast<Py_ssize_t>(report.text.size()), "backslashreplace"));
    if (!text) throw py::error_already_set();
    list.append(py::make_tuple(std::string(1, report.severity), text));
    told = told || report.severity == 'e';
  }
  if (reports.has_errors && !told) failure = "an error was reported, and memory was too short to keep its words";
  py::module_::import("sbrkit.errors")
      .attr("deliver")(list, errors == Errors::raise, failure != nullptr ? py::object(py::str(failure)) : py::none());
}

}  // namespace sbrpy
