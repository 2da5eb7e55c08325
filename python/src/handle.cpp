#include "handle.h"

#include <unistd.h>

namespace sbrpy {

Handle::Handle(SBR sbr) : body(sbr), process(getpid()) {}

// A process that was forked leaves the bodies of its parent alone: their temporary files are the parent's.
Handle::~Handle() {
  if (getpid() != process) return;
  Reports unheard;
  const LibraryCall call(unheard);
  SBR_DeReference(body);
}

std::shared_ptr<Handle> open_handle(const Body &body) {
  if (body.handle == nullptr) throw py::value_error("the body is closed");
  if (getpid() != body.handle->process)
    deliver({}, Errors::raise,
            "the body was opened in another process, whose place in the file it would disturb; pass it on pickled, or "
            "open it here");
  return body.handle;
}

void note_damage(Handle &handle, const Reports &reports) {
  if (!handle.damage.empty()) return;
  for (const Reports::Report &report : reports.list)
    if (report.severity == 'e' && report.text.rfind("Problem reading", 0) == 0) {
      handle.damage = report.text;
      return;
    }
}

void require_undamaged(const Handle &handle) {
  if (handle.damage.empty()) return;
  const std::string failure = handle.damage + " (told before; what is worked out from it would be wrong)";
  deliver({}, Errors::raise, failure.c_str());
}

void require_no_views(const Handle &handle, const char *what) {
  if (handle.views == 0) return;
  PyErr_Format(PyExc_BufferError,
               "%s would take away the memory that %d array(s) of mode data look into; delete them first, or take "
               "copies of the modes (.copy()) instead",
               what, handle.views);
  throw py::error_already_set();
}

void require_shape(const py::array &array, std::initializer_list<py::ssize_t> shape, const char *name) {
  bool fits = array.ndim() == static_cast<py::ssize_t>(shape.size());
  py::ssize_t axis = 0;
  for (const py::ssize_t length : shape) {
    if (fits && length >= 0 && array.shape(axis) != length) fits = false;
    ++axis;
  }
  if (fits) return;
  std::string wanted;
  for (const py::ssize_t length : shape)
    wanted += (wanted.empty() ? "" : ", ") + (length < 0 ? std::string("any") : std::to_string(length));
  std::string given;
  for (py::ssize_t i = 0; i < array.ndim(); ++i) given += (i == 0 ? "" : ", ") + std::to_string(array.shape(i));
  throw py::value_error(std::string(name) + " has the shape (" + given + "), and (" + wanted + ") is needed");
}

py::str text_of(const std::string &bytes) {
  PyObject *text = PyUnicode_DecodeUTF8(bytes.data(), static_cast<Py_ssize_t>(bytes.size()), "backslashreplace");
  if (text == nullptr) throw py::error_already_set();
  return py::reinterpret_steal<py::str>(text);
}

}  // namespace sbrpy
