// Inertia invariants and global mass properties.
#include "handle.h"

namespace sbrpy {
namespace {

int mode_count(const Body &self) {
  return call(self, [](SBR body) { return SBR_ModeCount(body); });
}

// An invariant that is one array of the library, taken over with its shape.
template <class Get>
py::object whole(const Body &self, std::vector<py::ssize_t> shape, Get get) {
  require_undamaged(*open_handle(self));
  return take_array(call(self, get), std::move(shape));
}

double mass(const Body &self) {
  require_undamaged(*open_handle(self));
  return call(self, [](SBR body) { return SBR_Invar1(body); });
}

// Copies `values` doubles per item; false when an item has none.
template <class Get>
bool gather(int items, std::size_t values, double *out, Get get) {
  for (int i = 0; i < items; ++i, out += values) {
    const std::unique_ptr<double, void (*)(void *)> item(get(i), SBR_FreeMemory);
    if (item == nullptr) return false;
    std::copy_n(item.get(), values, out);
  }
  return true;
}

// (m, 3, m): of each mode with all modes.
Doubles invariant5(const Body &self) {
  const int modes = mode_count(self);
  Doubles result({modes, 3, modes});
  double *out = result.mutable_data();
  require_undamaged(*open_handle(self));
  require(self, "invariant 5 cannot be had", [&](SBR body) {
    return gather(modes, 3 * static_cast<std::size_t>(modes), out, [&](int j) { return SBR_Invar5(body, j); });
  });
  return result;
}

// (m, 3, 3)
Doubles invariant8(const Body &self) {
  const int modes = mode_count(self);
  Doubles result({modes, 3, 3});
  double *out = result.mutable_data();
  require_undamaged(*open_handle(self));
  require(self, "invariant 8 cannot be had",
          [&](SBR body) { return gather(modes, 9, out, [&](int j) { return SBR_Invar8(body, j); }); });
  return result;
}

// (m, m, 3, 3)
Doubles invariant9(const Body &self) {
  const int modes = mode_count(self);
  Doubles result({modes, modes, 3, 3});
  double *out = result.mutable_data();
  require_undamaged(*open_handle(self));
  require(self, "invariant 9 cannot be had", [&](SBR body) {
    for (int j = 0; j < modes; ++j, out += 9 * static_cast<std::ptrdiff_t>(modes))
      if (!gather(modes, 9, out, [&](int k) { return SBR_Invar9(body, j, k); })) return false;
    return true;
  });
  return result;
}

// Mass, center and inertia (with positive products) as they follow from the invariants; the stored ones give way.
py::tuple total(const Body &self) {
  double mass = 0.0;
  double inertia[9] = {};
  double center[3] = {};
  require_undamaged(*open_handle(self));
  require(self, "the mass properties cannot be had",
          [&](SBR body) { return SBR_TotalMassInertia(body, &mass, inertia, center); });
  return py::make_tuple(mass, Doubles(std::vector<py::ssize_t>{3}, center),
                        Doubles(std::vector<py::ssize_t>{3, 3}, inertia));
}

using Compute = void (*)(SBR);

void compute(const Body &self, const std::string &set) {
  const Compute which = set == "full"   ? SBR_FullComputeInvars
                        : set == "fast" ? SBR_FastComputeInvars
                                        : SBR_RigidComputeInvars;
  require_undamaged(*open_handle(self));
  call(self, [&](SBR body) { return which(body), 0; });
}

// ---- entering ------------------------------------------------------------------------------------------------------

// Enters the item of one mode.
template <class Set>
auto of_mode(Set set, std::vector<py::ssize_t> shape) {
  return [=](const Body &self, int number, const Doubles &values) {
    if (values.size() != (shape.size() == 2 ? 9 : 3)) throw py::value_error("the values have the wrong shape");
    const double *in = values.data();
    require(self, "the invariant was refused", [&](SBR body) { return set(body, number, in); });
  };
}

// Enters the item of a pair of modes.
template <class Set>
auto of_pair(Set set, py::ssize_t size) {
  return [=](const Body &self, int row, int column, const Doubles &values) {
    if (values.size() != size) throw py::value_error("the values have the wrong shape");
    const double *in = values.data();
    require(self, "the invariant was refused", [&](SBR body) { return set(body, row, column, in); });
  };
}

// Enters an item of the body that has `size` values.
template <class Set>
auto of_body(Set set, py::ssize_t size) {
  return [=](const Body &self, const Doubles &values) {
    if (values.size() != size) throw py::value_error("the values have the wrong shape");
    const double *in = values.data();
    require(self, "the invariant was refused", [&](SBR body) { return set(body, in); });
  };
}

void set_invariant6(const Body &self, const Doubles &diagonal) {
  require_shape(diagonal, {mode_count(self)}, "the diagonal");
  const double *in = diagonal.data();
  require(self, "the invariant was refused", [&](SBR body) { return SBR_SetInvar6(body, in); });
}

void set_global_mass(const Body &self, double mass, const Doubles &center, const Doubles &inertia) {
  require_shape(center, {3}, "the center");
  require_shape(inertia, {3, 3}, "the inertia");
  const double *at = center.data();
  const double *tensor = inertia.data();
  require(self, "the mass properties were refused",
          [&](SBR body) { return SBR_SetGlobalMass(body, mass, at, tensor); });
}

void bind_entry(py::class_<Body> &body) {
  body.def("set_invariant1",
           [](const Body &self, double value) {
             require(self, "the invariant was refused", [&](SBR b) { return SBR_SetInvar1(b, value); });
           })
      .def("set_invariant2", of_body(SBR_SetInvar2, 3))
      .def("set_invariant3", of_mode(SBR_SetInvar3, {3}))
      .def("set_invariant4", of_mode(SBR_SetInvar4, {3}))
      .def("set_invariant5", of_pair(SBR_SetInvar5, 3))
      .def("set_invariant6", set_invariant6)
      .def("set_invariant7", of_body(SBR_SetInvar7, 6))
      .def("set_invariant8", of_mode(SBR_SetInvar8, {3, 3}))
      .def("set_invariant9", of_pair(SBR_SetInvar9, 9))
      .def("set_global_mass", set_global_mass)
      .def("mass_from_nodes", [](const Body &self) {
        require_undamaged(*open_handle(self));
        require(self, "the mass properties cannot be worked out",
                [](SBR b) { return SBR_CalculateGlobalMassFromNodeMass(b); });
      });
}

}  // namespace

void bind_mass(py::class_<Body> &body) {
  body.def("invariant1", mass)
      .def("invariant2", [](const Body &self) { return whole(self, {3}, SBR_Invar2); })
      .def("invariant3",
           [](const Body &self) {
             return whole(self, {3, mode_count(self)}, SBR_Invar3);
           })
      .def("invariant4",
           [](const Body &self) {
             return whole(self, {3, mode_count(self)}, SBR_Invar4);
           })
      .def("invariant5", invariant5)
      .def("invariant6",
           [](const Body &self) {
             return whole(self, {mode_count(self), mode_count(self)}, SBR_Invar6);
           })
      .def("invariant7",
           [](const Body &self) {
             return whole(self, {3, 3}, SBR_Invar7);
           })
      .def("invariant8", invariant8)
      .def("invariant9", invariant9)
      .def("total_mass", total)
      .def("compute_invariants", compute);
  bind_entry(body);
}

}  // namespace sbrpy
