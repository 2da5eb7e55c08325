// The module sbrkit._core: the operations of the library over NumPy arrays. The package around it is what users see.
#include "handle.h"

PYBIND11_MODULE(_core, module) {
  module.doc() = "The operations of the library over NumPy arrays; the package sbrkit is their public face.";
  sbrpy::start_collecting();
  pybind11::class_<sbrpy::Body> body(module, "Body", "One reference to a body of the library.");
  sbrpy::bind_bodies(module, body);
  sbrpy::bind_nodes(body);
  sbrpy::bind_modes(body);
  sbrpy::bind_matrices(body);
  sbrpy::bind_mass(body);
  sbrpy::bind_building(body);
  sbrpy::bind_loads(body);
  sbrpy::bind_operators(body);
  sbrpy::bind_frame(body);
  sbrpy::bind_surface(body);
  sbrpy::bind_writing(module, body);
  sbrpy::bind_units(module, body);
  sbrpy::bind_algebra(module);
  sbrpy::bind_system(module);
  sbrpy::bind_database(module);
}
