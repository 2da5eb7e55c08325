// Rigid motion, renumbering, another frame and basis.
#include "handle.h"

namespace sbrpy {
namespace {

const double *three(const Doubles &values, const char *name) {
  require_shape(values, {3}, name);
  return values.data();
}

void translate(const Body &self, const Doubles &direction, double distance) {
  const double *d = three(direction, "the direction");
  require(self, "the body could not be moved", [&](SBR body) { return SBR_Translate(body, d, distance); });
}

void rotate(const Body &self, const Doubles &axis, const Doubles &point, double degrees) {
  const double *a = three(axis, "the axis");
  const double *p = three(point, "the point");
  require(self, "the body was not turned", [&](SBR body) { return SBR_Rotate(body, a, p, degrees); });
}

Doubles rotate_frame(const Body &self, const Doubles &axis, double degrees) {
  const double *a = three(axis, "the axis");
  double matrix[9] = {};
  require(self, "the frame could not be turned", [&](SBR body) { return SBR_Rotate_Origin(body, a, degrees, matrix); });
  return Doubles(std::vector<py::ssize_t>{3, 3}, matrix);
}

void mirror(const Body &self, const Doubles &normal, const Doubles &point) {
  const double *n = three(normal, "the normal");
  const double *p = three(point, "the point");
  require(self, "the body was not mirrored", [&](SBR body) { return SBR_Mirror(body, n, p); });
}

void mirror_origin(const Body &self, const Doubles &normal) {
  const double *n = three(normal, "the normal");
  require(self, "the body could not be mirrored", [&](SBR body) { return SBR_Mirror_Origin(body, n); });
}

void renumber_interface(const Body &self, const Ints &ids) {
  const int *in = ids.data();
  const int count = static_cast<int>(ids.size());
  require(self, "the interface nodes could not be renumbered",
          [&](SBR body) { return SBR_RenumberInterfaceNodes(body, count, in); });
}

void permute(const Body &self, const Doubles &origin, int modes, double mass_scale, const py::object &transformation,
             const Doubles &rotation) {
  const double *o = three(origin, "the origin");
  require_shape(rotation, {3, 3}, "the rotation");
  const int present = call(self, [](SBR body) { return SBR_ModeCount(body); });
  Doubles matrix;
  const double *t = nullptr;
  if (!transformation.is_none()) {
    matrix = py::cast<Doubles>(transformation);
    require_shape(matrix, {present, present}, "the mode transformation");
    t = matrix.data();
  }
  const double *r = rotation.data();
  require(self, "the body could not be permuted",
          [&](SBR body) { return SBR_PermuteSBR(body, o, modes, mass_scale, t, r); });
}

}  // namespace

void bind_frame(py::class_<Body> &body) {
  body.def("translate", translate)
      .def("rotate", rotate)
      .def("rotate_frame", rotate_frame)
      .def("mirror", mirror)
      .def("mirror_origin", mirror_origin)
      .def("renumber_nodes",
           [](const Body &self, int offset) {
             require(self, "an ID would fall below 1 or outside 32 bits",
                     [&](SBR b) { return SBR_RenumberNodes(b, offset); });
           })
      .def("renumber_interface", renumber_interface)
      .def("permute", permute)
      .def("drop_stale", [](const Body &self) {
        require(self, "nothing was dropped", [](SBR b) { return SBR_PreprocessBAPSBR(b); });
      });
}

}  // namespace sbrpy
