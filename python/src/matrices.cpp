// Generalized stiffness, mass and damping; rigid modes; orthonormal modes.
#include "handle.h"

namespace sbrpy {
namespace {

using Counter = int (*)(SBR);
using Sparse = int (*)(SBR, double *, int *, int *);
using Full = int (*)(SBR, double *, int);
using Selected = int (*)(SBR, double **, int, const int *);

// The three lists, by number: 0 stiffness, 1 mass, 2 damping.
constexpr Counter kCounters[] = {SBR_NumberOfGenStiff, SBR_NumberOfGenMass, SBR_NumberOfGenDamp};
constexpr Sparse kSparse[] = {SBR_GenStiffSparse, SBR_GenMassSparse, SBR_GenDampSparse};
constexpr Full kFull[] = {SBR_GenStiffFull, SBR_GenMassFull, SBR_GenDampFull};

// Values, rows and columns of a list, by mode index.
py::tuple entries(const Body &self, int matrix) {
  const auto handle = open_handle(self);
  const int count = call_library([&] { return kCounters[matrix](handle->body); });
  Doubles values(count);
  Ints rows(count);
  Ints columns(count);
  double *value = values.mutable_data();
  int *row = rows.mutable_data();
  int *column = columns.mutable_data();
  if (count > 0)
    require_library("the matrix cannot be had", [&] { return kSparse[matrix](handle->body, value, row, column); });
  return py::make_tuple(values, rows, columns);
}

// n x n; zeros where there are no entries.
Doubles full(const Body &self, int matrix, int order) {
  if (order < 0) throw py::value_error("the order of a matrix must not be negative");
  Doubles result({order, order});
  double *out = result.mutable_data();
  std::fill(out, out + result.size(), 0.0);
  call(self, [&](SBR body) { return kFull[matrix](body, out, order); });
  return result;
}

// Pointers to the rows of a square matrix.
std::vector<double *> rows_of(double *values, py::ssize_t order) {
  std::vector<double *> rows;
  for (py::ssize_t i = 0; i < order; ++i) rows.push_back(values + i * order);
  return rows;
}

// The matrix of some modes; damping has six rigid coordinates before them.
Doubles selected(const Body &self, int matrix, const Ints &numbers) {
  static constexpr Selected kSelected[] = {SBR_GenStiffSelected, SBR_GenMassSelected, SBR_GenDampPrincipalAndSelected};
  const int count = static_cast<int>(numbers.size());
  const py::ssize_t order = count + (matrix == 2 ? 6 : 0);
  Doubles result({order, order});
  double *out = result.mutable_data();
  std::fill(out, out + result.size(), 0.0);
  std::vector<double *> rows = rows_of(out, order);
  const int *in = numbers.data();
  call(self, [&](SBR body) { return kSelected[matrix](body, rows.data(), count, in); });
  return result;
}

// (6, m): the participation of the first modes in the rigid motions.
Doubles participation(const Body &self, int count) {
  if (count < 0) throw py::value_error("the number of modes must not be negative");
  Doubles result({6, count});
  double *out = result.mutable_data();
  std::fill(out, out + result.size(), 0.0);
  std::vector<double *> rows;
  for (int i = 0; i < 6; ++i) rows.push_back(out + static_cast<py::ssize_t>(i) * count);
  require(self, "the participation in rigid motion cannot be had",
          [&](SBR body) { return SBR_RigidModes2VENTA(body, rows.data(), count); });
  return result;
}

py::object normalization_scales(const Body &self) {
  const auto handle = open_handle(self);
  double *scales = nullptr;
  const int modes = call_library([&] { return SBR_ModeCount(handle->body); });
  require_library("the scales of the modes cannot be had",
                  [&] { return SBR_MassNormalizationScales(handle->body, &scales); });
  return take_array(scales, {modes});
}

}  // namespace

void bind_matrices(py::class_<Body> &body) {
  body.def("matrix_entries", entries)
      .def("matrix_full", full)
      .def("matrix_selected", selected)
      .def("has_damping", [](const Body &self) { return call(self, [](SBR b) { return SBR_GenDampExist(b) != 0; }); })
      .def("participation", participation)
      .def("damping_to_principal_axes",
           [](const Body &self) {
             require(self, "the damping could not be carried", [](SBR b) { return SBR_DampingOnPrincipalAxes(b); });
           })
      .def("forces_to_principal_axes",
           [](const Body &self) { call(self, [](SBR b) { return SBR_RigidBodyForcesOnPrincipalAxes(b), 0; }); })
      .def("set_mass_normalize",
           [](const Body &self, bool flag) {
             call(self, [&](SBR b) { return SBR_SetShouldMassNormalizeModes(b, flag ? 1 : 0), 0; });
           })
      .def("orthonormalize",
           [](const Body &self) {
             require(self, "the modes could not be orthonormalized", [](SBR b) { return SBR_OrthoNormalize(b); });
           })
      .def("transform_monitor_points",
           [](const Body &self, const Doubles &matrix) {
             const int modes = call(self, [](SBR b) { return SBR_ModeCount(b); });
             require_shape(matrix, {modes, modes}, "the matrix");
             const double *in = matrix.data();
             require(self, "the monitor points could not be transformed",
                     [&](SBR b) { return SBR_TransformMonitorPoints(b, in); });
           })
      .def("add_generalized_masses",
           [](const Body &self, int first, int extra) {
             call(self, [&](SBR b) { return SBR_AnsysAddGenMass(b, first, extra), 0; });
           })
      .def("ensure_eigenvalues",
           [](const Body &self) {
             require(self, "the eigenvalue table could not be made", [](SBR b) { return SBR_EnsureEigenTable(b); });
           })
      .def("normalization_scales", normalization_scales);
}

}  // namespace sbrpy
