// Filling a body from whole arrays: the loops of a translator, without the interpreter.
#include "handle.h"

namespace sbrpy {
namespace {

void set_coordinates(const Body &self, const Ints &ids, const Doubles &xyz) {
  require_shape(xyz, {ids.size(), 3}, "the coordinates");
  const int *id = ids.data();
  const double *at = xyz.data();
  const py::ssize_t count = ids.size();
  require(self, "a node could not be added", [&](SBR body) {
    for (py::ssize_t i = 0; i < count; ++i, at += 3)
      if (SBR_SetNodeCoordinates(body, id[i], at[0], at[1], at[2]) == 0) return false;
    return true;
  });
}

// Sets masses, or with `add` adds to them.
void set_masses(const Body &self, const Ints &ids, const Doubles &masses, bool add) {
  require_shape(masses, {ids.size()}, "the masses");
  const int *id = ids.data();
  const double *mass = masses.data();
  const py::ssize_t count = ids.size();
  const auto set = add ? SBR_AddNodalMass : SBR_SetNodalMass;
  require(self, "a node could not be added", [&](SBR body) {
    for (py::ssize_t i = 0; i < count; ++i)
      if (set(body, id[i], mass[i]) == 0) return false;
    return true;
  });
}

// Symmetric matrices (n, 3, 3) of which the upper half counts.
void set_inertias(const Body &self, const Ints &ids, const Doubles &inertias) {
  require_shape(inertias, {ids.size(), 3, 3}, "the inertias");
  const int *id = ids.data();
  const double *m = inertias.data();
  const py::ssize_t count = ids.size();
  require(self, "an inertia could not be stored", [&](SBR body) {
    for (py::ssize_t i = 0; i < count; ++i, m += 9)
      if (SBR_SetNodalInertia(body, id[i], m[0], m[4], m[8], m[1], m[2], m[5]) == 0) return false;
    return true;
  });
}

void set_inertia_entry(const Body &self, int id, int row, int column, double value) {
  require(self, "the inertia could not be stored",
          [&](SBR body) { return SBR_SetNodalInertiaEntry(body, id, row, column, value); });
}

// Faces one behind the other; `lengths` says how many node IDs each has.
void set_faces(const Body &self, const Ints &lengths, const Ints &ids) {
  const int *length = lengths.data();
  const int *id = ids.data();
  const py::ssize_t count = lengths.size();
  std::int64_t sum = 0;
  for (py::ssize_t i = 0; i < count; ++i) {
    if (length[i] < 0) throw py::value_error("a face cannot have a negative number of nodes");
    sum += length[i];
  }
  if (sum != ids.size()) throw py::value_error("the lengths of the faces do not add up to the number of node IDs");
  require(self, "a face has fewer than two different nodes, or memory is short", [&](SBR body) {
    for (py::ssize_t i = 0; i < count; ++i) {
      if (SBR_SetFaceList(body, length[i], id) == 0) return false;
      id += length[i];
    }
    return true;
  });
}

// Lengths and node indices of all faces.
py::tuple faces(const Body &self) {
  const auto handle = open_handle(self);
  int count = 0;
  int words = 0;
  call_library([&] { return SBR_FaceListSize(handle->body, &count, &words); });
  std::vector<int> list(static_cast<std::size_t>(words));
  if (words > 0)
    require_library("the faces cannot be had", [&] { return SBR_ElementFaces(handle->body, list.data()); });
  Ints lengths(count);
  Ints indices(words - count);
  int *length = lengths.mutable_data();
  int *index = indices.mutable_data();
  std::size_t at = 0;
  for (int f = 0; f < count; ++f) {
    length[f] = list[at++];
    for (int k = 0; k < length[f]; ++k) *index++ = list[at++];
  }
  return py::make_tuple(lengths, indices);
}

void set_interface(const Body &self, const Ints &ids) {
  const int *id = ids.data();
  const py::ssize_t count = ids.size();
  require(self, "an interface node is not a node of the body", [&](SBR body) {
    for (py::ssize_t i = 0; i < count; ++i)
      if (SBR_SetInterfaceNode(body, id[i]) == 0) return false;
    return true;
  });
}

using List = int *(*)(SBR, int *);

py::object interface_nodes(const Body &self, List get) {
  int count = 0;
  int *nodes = call(self, [&](SBR body) { return get(body, &count); });
  return nodes != nullptr ? take_array(nodes, {count}) : py::object(Ints(0));
}

// ---- mode data -----------------------------------------------------------------------------------------------------

// One mode at some nodes, (n, 6).
void set_mode(const Body &self, int number, const Ints &ids, int kind, const Doubles &values) {
  require_shape(values, {ids.size(), 6}, "the mode data");
  const int *id = ids.data();
  const double *six = values.data();
  const py::ssize_t count = ids.size();
  require(self, "the mode data could not be stored", [&](SBR body) {
    for (py::ssize_t i = 0; i < count; ++i, six += 6)
      if (SBR_SetModeVec(body, number, id[i], kind, six) == 0) return false;
    return true;
  });
}

// One mode, translations only, (n, 3): rotations are zero.
void set_mode_translations(const Body &self, int number, const Ints &ids, int kind, const Doubles &values) {
  require_shape(values, {ids.size(), 3}, "the mode data");
  const int *id = ids.data();
  const double *three = values.data();
  const py::ssize_t count = ids.size();
  require(self, "the mode data could not be stored", [&](SBR body) {
    for (py::ssize_t i = 0; i < count; ++i, three += 3)
      if (SBR_SetMode(body, number, id[i], kind, three[0], three[1], three[2], 0.0, 0.0, 0.0) == 0) return false;
    return true;
  });
}

void set_mode_entry(const Body &self, int number, int id, int kind, int position, double value) {
  require(self, "the value could not be stored",
          [&](SBR body) { return SBR_SetModeEntry(body, number, id, kind, position, value); });
}

// Pre-stress (kind 1) or pre-strain (kind 2), (n, 6).
void set_pre(const Body &self, int kind, const Ints &ids, const Doubles &values) {
  require_shape(values, {ids.size(), 6}, "the values");
  const int *id = ids.data();
  const double *six = values.data();
  const py::ssize_t count = ids.size();
  const auto set = kind == 1 ? SBR_SetPreStressVec : SBR_SetPreStrainVec;
  require(self, "the values could not be stored", [&](SBR body) {
    for (py::ssize_t i = 0; i < count; ++i, six += 6)
      if (set(body, id[i], six) == 0) return false;
    return true;
  });
}

using Entry = int (*)(SBR, int, int, double);

// Appends entries to a generalized matrix: 0 stiffness, 1 mass, 2 damping; rows and columns by mode number.
void append_entries(const Body &self, int matrix, const Ints &rows, const Ints &columns, const Doubles &values) {
  static constexpr Entry kEntries[] = {SBR_SetGeneralizedStiffness, SBR_SetGeneralizedMass, SBR_SetGeneralizedDamping};
  require_shape(columns, {rows.size()}, "the columns");
  require_shape(values, {rows.size()}, "the values");
  const int *row = rows.data();
  const int *column = columns.data();
  const double *value = values.data();
  const py::ssize_t count = rows.size();
  require(self, "an entry could not be stored", [&](SBR body) {
    for (py::ssize_t i = 0; i < count; ++i)
      if (kEntries[matrix](body, row[i], column[i], value[i]) == 0) return false;
    return true;
  });
}

}  // namespace

void bind_building(py::class_<Body> &body) {
  body.def("set_coordinates", set_coordinates)
      .def("set_masses", set_masses)
      .def("set_inertias", set_inertias)
      .def("set_inertia_entry", set_inertia_entry)
      .def("set_faces", set_faces)
      .def("faces", faces)
      .def("set_interface", set_interface)
      .def("interface_indices", [](const Body &self) { return interface_nodes(self, SBR_InterfaceNodes); })
      .def("interface_ids", [](const Body &self) { return interface_nodes(self, SBR_InterfaceNodeIDs); })
      .def("set_mode", set_mode)
      .def("set_mode_translations", set_mode_translations)
      .def("set_mode_entry", set_mode_entry)
      .def("set_pre", set_pre)
      .def("append_entries", append_entries);
}

}  // namespace sbrpy
