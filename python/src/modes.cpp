// Modes: the table, mode data of the three kinds, the cache and the views into it, statistics.
#include <algorithm>
#include <cmath>
#include <limits>

#include "handle.h"

namespace sbrpy {
namespace {

// ---- the table -----------------------------------------------------------------------------------------------------

Ints kind_ids(const Body &self, int kind) {
  return list_of<int>(
      self, [kind](SBR body) { return SBR_ModeNodeCount(body, kind); },
      [kind](SBR body, int i) { return SBR_ModeNodeID(body, kind, i); });
}

// The kind positions of some node IDs.
Ints kind_positions(const Body &self, int kind, const Ints &ids) {
  return look_up(self, ids, [kind](SBR body, int id) { return SBR_ModeNodeIndex(body, kind, id); });
}

// (m, 5): eigenvalue, Hz, rad, generalized mass, generalized stiffness. NaN where the matrices are not diagonal.
Doubles eigenvalues(const Body &self, const Ints &numbers) {
  const auto handle = open_handle(self);
  const py::ssize_t count = numbers.size();
  Doubles result({count, py::ssize_t{5}});
  const int *in = numbers.data();
  double *out = result.mutable_data();
  std::fill(out, out + result.size(), std::numeric_limits<double>::quiet_NaN());
  call_library([&] {
    for (py::ssize_t i = 0; i < count; ++i, out += 5)
      if (SBR_Eigenvalue(handle->body, in[i], out, out + 1, out + 2, out + 3, out + 4) == 0)
        std::fill(out, out + 5, std::numeric_limits<double>::quiet_NaN());
    return 0;
  });
  return result;
}

// ---- mode data -----------------------------------------------------------------------------------------------------

[[noreturn]] void fail_mode(const Reports &reports, int number, int kind) {
  static const char *const kNames[] = {"shape", "stress", "strain"};
  const std::string failure = std::string("the ") + (kind >= 0 && kind < 3 ? kNames[kind] : "data") + " of mode " +
                              std::to_string(number) + " cannot be read";
  deliver(reports, Errors::raise, failure.c_str());
  throw std::logic_error("a failure was not raised");
}

// Reads whole records. One object serves many modes, so that its buffers are taken once.
class RecordReader {
 public:
  RecordReader(Handle &handle, int kind) : handle_(handle), kind_(kind) {}

  // Six values per node into `out`. False when the record cannot be read to its end.
  bool read(int number, double *out) {
    if (handle_.broken_modes.count({number, kind_}) != 0) return false;
    if (!handle_.scaled && number != 0) {
      if (SBR_Read_Mode_Double(handle_.body, number, kind_, out) != 0) return true;
      if (read_single(number)) {
        std::copy(singles_.begin(), singles_.end(), out);
        return true;
      }
    }
    return read_parts(number, out);
  }

  // The same in single precision.
  bool read(int number, float *out) {
    if (handle_.broken_modes.count({number, kind_}) != 0) return false;
    if (!handle_.scaled && number != 0 && SBR_Read_Mode_Single(handle_.body, number, kind_, out) != 0) return true;
    doubles_.resize(values());
    if (!read(number, doubles_.data())) return false;
    std::transform(doubles_.begin(), doubles_.end(), out, [](double value) { return static_cast<float>(value); });
    return true;
  }

  std::size_t values() const { return 6 * static_cast<std::size_t>(SBR_ModeNodeCount(handle_.body, kind_)); }

 private:
  bool read_single(int number) {
    singles_.resize(values());
    return SBR_Read_Mode_Single(handle_.body, number, kind_, singles_.data()) != 0;
  }

  // By the accessor of parts, which scales, and which tells an error and goes on where a record breaks off.
  bool read_parts(int number, double *out) {
    parts_.resize(values() / 2);
    for (std::size_t part = 0; part < 2; ++part) {
      if (SBR_Mode(handle_.body, number, kind_, parts_.data(), static_cast<int>(part)) == 0) return false;
      for (std::size_t i = 0; i < parts_.size(); i += 3)
        std::copy_n(parts_.begin() + static_cast<std::ptrdiff_t>(i), 3, out + 2 * i + 3 * part);
    }
    return true;
  }

  Handle &handle_;
  int kind_;
  std::vector<double> doubles_, parts_;
  std::vector<float> singles_;
};

// The three values of a part out of six, or all six.
template <class Value>
void choose(const Value *six, std::size_t values, int first, int count, Value *out) {
  for (std::size_t i = 0; i < values; i += 6, out += count) std::copy_n(six + i + first, count, out);
}

// Fills `out` with the chosen components of all modes. Gives the number of the first mode that cannot be read, or -1 as
// `failed` false.
template <class Value>
bool read_modes(Handle &handle, const int *numbers, py::ssize_t count, int kind, int first, int components, Value *out,
                int &failed) {
  RecordReader reader(handle, kind);
  const std::size_t values = reader.values();
  std::vector<Value> six(components == 6 ? 0 : values);
  for (py::ssize_t i = 0; i < count; ++i, out += values / 6 * static_cast<std::size_t>(components)) {
    failed = numbers[i];
    if (!reader.read(numbers[i], components == 6 ? out : six.data())) return false;
    if (components != 6) choose(six.data(), values, first, components, out);
  }
  return true;
}

// (m, n, components) of a kind. The memory is that of the result, and one mode besides.
template <class Value>
py::array mode_data(const Body &self, const Ints &numbers, int kind, int first, int components) {
  const auto handle = open_handle(self);
  const int nodes = call_library([&] { return SBR_ModeNodeCount(handle->body, kind); });
  const py::ssize_t count = numbers.size();
  py::array_t<Value> result({count, static_cast<py::ssize_t>(nodes), static_cast<py::ssize_t>(components)});
  if (nodes == 0 || count == 0) return result;
  const int *in = numbers.data();
  Value *out = result.mutable_data();
  int failed = 0;
  Reports reports;
  bool done = false;
  {
    const LibraryCall work(reports);
    done = read_modes(*handle, in, count, kind, first, components, out, failed) && !reports.has_errors;
  }
  note_damage(*handle, reports);
  if (!done) {
    if (reports.has_errors) handle->broken_modes.insert({failed, kind});
    fail_mode(reports, failed, kind);
  }
  if (!reports.list.empty()) deliver(reports, Errors::raise, nullptr);
  return result;
}

// ---- views into the cache ------------------------------------------------------------------------------------------

// What an array that looks into the cache holds on to.
class View {
 public:
  explicit View(std::shared_ptr<Handle> handle) : handle_(std::move(handle)) { ++handle_->views; }
  ~View() { --handle_->views; }
  View(const View &) = delete;
  View &operator=(const View &) = delete;

 private:
  std::shared_ptr<Handle> handle_;
};

void make_read_only(py::array &array) {
  py::detail::array_proxy(array.ptr())->flags &= ~py::detail::npy_api::NPY_ARRAY_WRITEABLE_;
}

// One part of a mode, read-only: the library's own memory where its cache has or takes the part, else a copy.
py::array part_view(const Body &self, int number, int kind, int part) {
  const auto handle = open_handle(self);
  Reports reports;
  double *values = nullptr;
  double *lasting = nullptr;
  int nodes = 0;
  bool done = handle->broken_modes.count({number, kind}) == 0;
  if (done) {
    const LibraryCall work(reports);
    nodes = SBR_ModeNodeCount(handle->body, kind);
    done = SBR_ModeByRef(handle->body, number, kind, &values, part) != 0 && !reports.has_errors;
    if (done && (number == 0 || SBR_ModeFromMemoryByRef(handle->body, number, kind, &lasting, part) == 0))
      lasting = nullptr;
  }
  note_damage(*handle, reports);
  if (!done) {
    if (reports.has_errors) handle->broken_modes.insert({number, kind});
    fail_mode(reports, number, kind);
  }
  const std::vector<py::ssize_t> shape{nodes, 3};
  py::array result;
  if (lasting != nullptr)
    result = py::array_t<double>(shape, lasting,
                                 py::capsule(new View(handle), [](void *view) { delete static_cast<View *>(view); }));
  else
    result = py::array_t<double>(shape, values);
  make_read_only(result);
  return result;
}

// A part as it lies in the cache, or None.
py::object cached_part(const Body &self, int number, int kind, int part) {
  const auto handle = open_handle(self);
  const int nodes = call_library([&] { return SBR_ModeNodeCount(handle->body, kind); });
  Doubles result({nodes, 3});
  double *out = result.mutable_data();
  const bool there = call_library([&] { return SBR_ModeFromMemory(handle->body, number, kind, out, part) != 0; });
  return there ? py::object(result) : py::none();
}

bool store_part(const Body &self, int number, int kind, const Doubles &values, int part) {
  const auto handle = open_handle(self);
  require_shape(values, {call_library([&] { return SBR_ModeNodeCount(handle->body, kind); }), 3}, "values");
  const double *in = values.data();
  return call_library([&] { return SBR_ModetoMemory(handle->body, number, kind, in, part) != 0; });
}

// ---- some nodes of some modes --------------------------------------------------------------------------------------

using NodeReader = int (*)(SBR, int, int, int, double *, int);

// (m, k, 6): the values of modes at nodes. NaN where `strict` is false and the reader has no value.
Doubles at_nodes(const Body &self, const Ints &numbers, int kind, const Ints &ids, int how) {
  static const NodeReader kReaders[] = {SBR_ModeByNodeWithoutCache, SBR_ModeByNode, SBR_ModeFromMemoryByNode};
  const NodeReader read = kReaders[how];
  if (how == 1) require_undamaged(*open_handle(self));
  const py::ssize_t modes = numbers.size();
  const py::ssize_t nodes = ids.size();
  Doubles result({modes, nodes, py::ssize_t{6}});
  const int *number = numbers.data();
  const int *id = ids.data();
  double *out = result.mutable_data();
  require(self, "a value of a mode at a node cannot be read", [&](SBR body) {
    for (py::ssize_t m = 0; m < modes; ++m)
      for (py::ssize_t n = 0; n < nodes; ++n)
        for (int part = 0; part < 2; ++part, out += 3)
          if (read(body, number[m], kind, id[n], out, part) == 0) {
            if (how != 2) return false;
            std::fill_n(out, 3, std::numeric_limits<double>::quiet_NaN());
          }
    return true;
  });
  return result;
}

// ---- the cache -----------------------------------------------------------------------------------------------------

bool keeps_modes(const Body &self) {
  return call(self, [](SBR body) {
    int flag = 0;
    SBR_GetKeepModesInMemory(body, &flag);
    return flag != 0;
  });
}

void keep_modes(const Body &self, bool flag) {
  const auto handle = open_handle(self);
  if (!flag) require_no_views(*handle, "switching the cache off");
  call_library([&] { return SBR_SetKeepModesInMemory(handle->body, flag ? 1 : 0), 0; });
}

void clean_modes(const Body &self) {
  const auto handle = open_handle(self);
  require_no_views(*handle, "cleaning the cache");
  call_library([&] { return SBR_CleanModesInMemory(handle->body), 0; });
}

// ---- statistics ----------------------------------------------------------------------------------------------------

using Statistic = int (*)(SBR, int, int *, double *);

// Node IDs and values of a figure: 0 displacement, 1 rotation, 2 stress, 3 strain.
py::tuple statistics(const Body &self, const Ints &numbers, int figure) {
  static const Statistic kFigures[] = {SBR_GetMaxModeDisplacement, SBR_GetMaxModeRotation, SBR_GetMaxVonMisesStress,
                                       SBR_GetMaxVonMisesStrain};
  require_undamaged(*open_handle(self));
  const py::ssize_t count = numbers.size();
  Ints nodes(count);
  Doubles values(count);
  const int *in = numbers.data();
  int *node = nodes.mutable_data();
  double *value = values.mutable_data();
  require(self, "the statistics of the modes cannot be had", [&](SBR body) {
    for (py::ssize_t i = 0; i < count; ++i)
      if (kFigures[figure](body, in[i], node + i, value + i) == 0) return false;
    return true;
  });
  return py::make_tuple(nodes, values);
}

// ---- the transformation --------------------------------------------------------------------------------------------

py::object transformation(const Body &self) {
  const auto handle = open_handle(self);
  const int modes = call_library([&] { return SBR_ModeCount(handle->body); });
  Doubles result({modes, modes});
  double *out = result.mutable_data();
  const bool there = call_library([&] { return SBR_Transformation(handle->body, out) != 0; });
  return there ? py::object(result) : py::none();
}

Doubles square_of_modes(const Body &self, const Doubles &matrix, const char *name) {
  const int modes = call(self, [](SBR body) { return SBR_ModeCount(body); });
  require_shape(matrix, {modes, modes}, name);
  return matrix;
}

void set_transformation(const Body &self, const Doubles &matrix) {
  const double *in = square_of_modes(self, matrix, "the transformation").data();
  require(self, "the transformation could not be stored", [&](SBR body) { return SBR_SetTransformation(body, in); });
}

void transform_modes(const Body &self, int kind, int new_count, const Doubles &matrix) {
  const double *in = square_of_modes(self, matrix, "the matrix").data();
  require(self, "the modes could not be transformed",
          [&](SBR body) { return SBR_TransformModes(body, kind, new_count, in); });
}

// ---- the parts of the binding --------------------------------------------------------------------------------------

void bind_table(py::class_<Body> &body) {
  body.def("mode_count", [](const Body &self) { return call(self, [](SBR b) { return SBR_ModeCount(b); }); })
      .def("mode_numbers", [](const Body &self) { return list_of<int>(self, SBR_ModeCount, SBR_ModeNumber); })
      .def("mode_index",
           [](const Body &self, int number) { return call(self, [&](SBR b) { return SBR_ModeIndex(b, number); }); })
      .def("add_mode",
           [](const Body &self, int number) { return call(self, [&](SBR b) { return SBR_AddMode(b, number); }); })
      .def("look_up_or_add_mode",
           [](const Body &self, int number) {
             return call(self, [&](SBR b) { return SBR_LookupOrAddMode(b, number); });
           })
      .def("kind_count",
           [](const Body &self, int kind) { return call(self, [&](SBR b) { return SBR_ModeNodeCount(b, kind); }); })
      .def("kind_exists",
           [](const Body &self, int kind) { return call(self, [&](SBR b) { return SBR_ModeExist(b, kind) != 0; }); })
      .def("kind_ids", kind_ids)
      .def("kind_positions", kind_positions)
      .def("double_precision",
           [](const Body &self) { return call(self, [](SBR b) { return SBR_Double_Prec(b) != 0; }); })
      .def("eigenvalues", eigenvalues)
      .def("rigid_mode_count",
           [](const Body &self) { return call(self, [](SBR b) { return SBR_RigidBodyModeCount(b); }); });
}

void bind_data(py::class_<Body> &body) {
  body.def("mode_data_double", mode_data<double>)
      .def("mode_data_single", mode_data<float>)
      .def("part_view", part_view)
      .def("cached_part", cached_part)
      .def("store_part", store_part)
      .def("at_nodes", at_nodes)
      .def_property_readonly("views", [](const Body &self) { return open_handle(self)->views; })
      .def("keeps_modes", keeps_modes)
      .def("keep_modes", keep_modes)
      .def("clean_modes", clean_modes)
      .def("size_mode_memory",
           [](const Body &self) { call(self, [](SBR b) { return SBR_InitializeModeMemory(b), 0; }); })
      .def("has_statistics",
           [](const Body &self) { return call(self, [](SBR b) { return SBR_ModalStatisticsExist(b) != 0; }); })
      .def("statistics", statistics)
      .def("transformation", transformation)
      .def("set_transformation", set_transformation)
      .def("transform_modes", transform_modes);
}

}  // namespace

void bind_modes(py::class_<Body> &body) {
  bind_table(body);
  bind_data(body);
}

}  // namespace sbrpy
