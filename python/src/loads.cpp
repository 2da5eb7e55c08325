// Modal loads, nodal loads and the preload.
#include "handle.h"

namespace sbrpy {
namespace {

// One modal case on some modes.
void set_case(const Body &self, int load_case, const Ints &numbers, const Doubles &values) {
  require_shape(values, {numbers.size()}, "the loads");
  const int *number = numbers.data();
  const double *value = values.data();
  const py::ssize_t count = numbers.size();
  require(self, "the load could not be stored", [&](SBR body) {
    for (py::ssize_t i = 0; i < count; ++i)
      if (SBR_SetModalLoad(body, load_case, number[i], value[i]) == 0) return false;
    return true;
  });
}

void set_preload(const Body &self, const Ints &numbers, const Doubles &values) {
  require_shape(values, {numbers.size()}, "the preload");
  const int *number = numbers.data();
  const double *value = values.data();
  const py::ssize_t count = numbers.size();
  require(self, "the preload could not be stored", [&](SBR body) {
    for (py::ssize_t i = 0; i < count; ++i)
      if (SBR_SetModalPreload(body, number[i], value[i]) == 0) return false;
    return true;
  });
}

void set_nodal(const Body &self, int load_case, const Ints &ids, const Ints &coordinates, const Doubles &values) {
  require_shape(coordinates, {ids.size()}, "the coordinates");
  require_shape(values, {ids.size()}, "the loads");
  const int *id = ids.data();
  const int *coordinate = coordinates.data();
  const double *value = values.data();
  const py::ssize_t count = ids.size();
  require(self, "the load could not be stored", [&](SBR body) {
    for (py::ssize_t i = 0; i < count; ++i)
      if (SBR_SetModalLoadNodal(body, load_case, id[i], coordinate[i], value[i]) == 0) return false;
    return true;
  });
}

py::str label(const Body &self, int load_case) {
  char text[257] = {};
  require(self, "there is no such load case",
          [&](SBR body) { return SBR_GetModalLoadCaseLabel(body, load_case, text); });
  return text_of(text);
}

py::object values_of_case(const Body &self, int load_case) {
  int count = 0;
  double *values = call(self, [&](SBR body) { return SBR_GetModalLoad(body, load_case, &count); });
  return take_array(values, {count});
}

py::object preload(const Body &self) {
  int count = 0;
  double *values = call(self, [&](SBR body) { return SBR_GetModalPreload(body, &count); });
  return take_array(values, {count});
}

// Node indices, coordinates 1 to 6 and values of a nodal case; None for an empty one.
py::tuple nodal_case(const Body &self, int load_case) {
  const auto handle = open_handle(self);
  int *nodes = nullptr;
  int *coordinates = nullptr;
  double *values = nullptr;
  const int count = call_library([&] {
    nodes = SBR_GetModalLoadNodalNode(handle->body, load_case);
    coordinates = SBR_GetModalLoadNodalCoord(handle->body, load_case);
    values = SBR_GetModalLoadNodalLoad(handle->body, load_case);
    return SBR_GetModalLoadNodalCount(handle->body, load_case);
  });
  return py::make_tuple(take_array(nodes, {count}), take_array(coordinates, {count}), take_array(values, {count}));
}

}  // namespace

void bind_loads(py::class_<Body> &body) {
  body.def("set_modal_load", set_case)
      .def("set_modal_label",
           [](const Body &self, int load_case, const std::string &text) {
             require(self, "the label could not be stored",
                     [&](SBR b) { return SBR_SetModalLoadLabel(b, load_case, text.c_str()); });
           })
      .def("modal_cases",
           [](const Body &self) { return call(self, [](SBR b) { return SBR_GetModalLoadCaseCount(b); }); })
      .def("modal_label", label)
      .def("modal_load", values_of_case)
      .def("modal_processed",
           [](const Body &self, int load_case) {
             return call(self, [&](SBR b) { return SBR_ModalLoadProcessed(b, load_case) != 0; });
           })
      .def("set_modal_processed",
           [](const Body &self, int load_case, bool flag) {
             call(self, [&](SBR b) { return SBR_SetModalLoadProcessed(b, load_case, flag ? 1 : 0), 0; });
           })
      .def("has_preload",
           [](const Body &self) { return call(self, [](SBR b) { return SBR_ModalPreloadExist(b) != 0; }); })
      .def("preload", preload)
      .def("set_preload", set_preload)
      .def("preload_processed",
           [](const Body &self) { return call(self, [](SBR b) { return SBR_ModalPreloadProcessed(b) != 0; }); })
      .def("set_preload_processed",
           [](const Body &self, bool flag) {
             call(self, [&](SBR b) { return SBR_SetModalPreloadProcessed(b, flag ? 1 : 0), 0; });
           })
      .def("nodal_cases",
           [](const Body &self) { return call(self, [](SBR b) { return SBR_GetModalLoadNodalCaseCount(b); }); })
      .def("nodal_load", nodal_case)
      .def("set_nodal_load", set_nodal);
}

}  // namespace sbrpy
