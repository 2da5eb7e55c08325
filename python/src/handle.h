// A body as the module holds it, and the arrays that go in and out.
#ifndef SBRKIT_PYTHON_HANDLE_H
#define SBRKIT_PYTHON_HANDLE_H

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>
#include <sbrkit/sbrkit.h>
#include <sys/types.h>

#include <memory>
#include <set>
#include <string>
#include <utility>

#include "reports.h"

namespace sbrpy {

namespace py = pybind11;

// Arrays are taken as they are: the Python side has brought them to the right type, and refused what does not fit.
using Doubles = py::array_t<double, py::array::c_style>;
using Ints = py::array_t<int, py::array::c_style>;

// One reference to a body of the library. It is given back when the last owner goes: the Python object and every array
// that looks into the body's memory.
class Handle {
 public:
  explicit Handle(SBR body);
  ~Handle();
  Handle(const Handle &) = delete;
  Handle &operator=(const Handle &) = delete;

  SBR body;
  const pid_t process;  // that made the body: its streams are of use there only
  int views = 0;        // arrays that look into the mode cache; guarded by the interpreter lock
  // Whether the units may differ from those of the stored records: what is read whole is then scaled by the accessors
  // of single parts, so that every way gives the same bits.
  bool scaled = false;
  // Modes (number, kind) whose record could not be read to its end: the library tells it once, the module each time.
  std::set<std::pair<int, int>> broken_modes;
  // The first error about mode data that broke off. What is summed over modes is refused from then on, since the
  // library keeps such sums and tells the error once.
  std::string damage;
};

// What `_core.Body` is.
struct Body {
  std::shared_ptr<Handle> handle;  // empty once the body is closed
};

// The handle of an open body of this process. Throws ValueError and SbrError otherwise.
std::shared_ptr<Handle> open_handle(const Body &body);

// Refuses, with BufferError, what would end the life of arrays that look into the mode cache.
void require_no_views(const Handle &handle, const char *what);

// Remembers what the reports say of mode data that broke off.
void note_damage(Handle &handle, const Reports &reports);

// Raises the error again that was remembered, if any.
void require_undamaged(const Handle &handle);

// Calls the library with the SBR of a body, and gives what the function gives.
template <class Function>
auto call(const Body &body, Function &&function) {
  const auto handle = open_handle(body);
  Reports reports;
  auto result = [&] {
    const LibraryCall work(reports);
    return std::forward<Function>(function)(handle->body);
  }();
  note_damage(*handle, reports);
  if (reports.has_errors || !reports.list.empty()) deliver(reports, Errors::raise, nullptr);
  return result;
}

// Likewise for a function that gives false for a failure, which is raised under the words given.
template <class Function>
void require(const Body &body, const char *failure, Function &&function) {
  const auto handle = open_handle(body);
  Reports reports;
  const bool done = [&] {
    const LibraryCall work(reports);
    return static_cast<bool>(std::forward<Function>(function)(handle->body));
  }();
  note_damage(*handle, reports);
  if (!done || reports.has_errors || !reports.list.empty()) deliver(reports, Errors::raise, done ? nullptr : failure);
}

// An array of what the library gives one by one: `count` says of a body how many there are, `one` gives each.
template <class Value, class Count, class One>
py::array_t<Value, py::array::c_style> list_of(const Body &self, Count count, One one) {
  const auto handle = open_handle(self);
  const int size = call_library([&] { return count(handle->body); });
  py::array_t<Value, py::array::c_style> result(size);
  Value *out = result.mutable_data();
  call_library([&] {
    for (int i = 0; i < size; ++i) out[i] = one(handle->body, i);
    return 0;
  });
  return result;
}

// What `find` gives for each ID.
template <class Find>
Ints look_up(const Body &self, const Ints &ids, Find find) {
  const auto handle = open_handle(self);
  Ints result(ids.size());
  const int *in = ids.data();
  int *out = result.mutable_data();
  const py::ssize_t size = ids.size();
  call_library([&] {
    for (py::ssize_t i = 0; i < size; ++i) out[i] = find(handle->body, in[i]);
    return 0;
  });
  return result;
}

// Takes a new array of the library over: it is freed with the array of Python. Null gives None.
template <class Value>
py::object take_array(Value *values, std::vector<py::ssize_t> shape) {
  if (values == nullptr) return py::none();
  const py::capsule owner(values, [](void *block) { SBR_FreeMemory(block); });
  return py::array_t<Value>(std::move(shape), values, owner);
}

// Throws ValueError unless an array has the shape; -1 stands for any length.
void require_shape(const py::array &array, std::initializer_list<py::ssize_t> shape, const char *name);

// A text of the library: bytes outside UTF-8 are kept as escapes.
py::str text_of(const std::string &bytes);

// The parts of the module.
void bind_bodies(py::module_ &module, py::class_<Body> &body);
void bind_nodes(py::class_<Body> &body);
void bind_modes(py::class_<Body> &body);
void bind_matrices(py::class_<Body> &body);
void bind_mass(py::class_<Body> &body);
void bind_building(py::class_<Body> &body);
void bind_loads(py::class_<Body> &body);
void bind_operators(py::class_<Body> &body);
void bind_frame(py::class_<Body> &body);
void bind_surface(py::class_<Body> &body);
void bind_writing(py::module_ &module, py::class_<Body> &body);
void bind_units(py::module_ &module, py::class_<Body> &body);
void bind_algebra(py::module_ &module);
void bind_system(py::module_ &module);
void bind_database(py::module_ &module);

}  // namespace sbrpy

#endif
