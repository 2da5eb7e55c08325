// The node table and the search in it.
#include "handle.h"

namespace sbrpy {
namespace {

Doubles coordinates(const Body &self) {
  const auto handle = open_handle(self);
  const int count = call_library([&] { return SBR_NodeCount(handle->body); });
  Doubles result({count, 3});
  double *out = result.mutable_data();
  if (count > 0)
    require_library("the coordinates cannot be had",
                    [&] { return SBR_NodeCoordinateList(handle->body, out, nullptr); });
  return result;
}

// (n, 3, 3), zeros for nodes without inertia, and which nodes have one.
py::tuple inertias(const Body &self) {
  const auto handle = open_handle(self);
  const int count = call_library([&] { return SBR_NodeCount(handle->body); });
  Doubles result({count, 3, 3});
  py::array_t<bool> has(count);
  double *out = result.mutable_data();
  bool *flags = has.mutable_data();
  std::fill(out, out + result.size(), 0.0);
  call_library([&] {
    for (int i = 0; i < count; ++i, out += 9) flags[i] = SBR_NodalInertia(handle->body, i, out) != 0;
    return 0;
  });
  return py::make_tuple(result, has);
}

py::tuple node(const Body &self, int index) {
  double mass = 0.0;
  double xyz[3] = {};
  require(self, "there is no such node", [&](SBR body) { return SBR_NodalMassAndGeometry(body, index, &mass, xyz); });
  return py::make_tuple(mass, py::make_tuple(xyz[0], xyz[1], xyz[2]));
}

// The places of some nodes by index.
Doubles places(const Body &self, const Ints &indices) {
  const auto handle = open_handle(self);
  const py::ssize_t count = indices.size();
  Doubles result({count, py::ssize_t{3}});
  double *out = result.mutable_data();
  const int *in = indices.data();
  require_library("an index lies outside the node table", [&] {
    for (py::ssize_t i = 0; i < count; ++i)
      if (SBR_NodeCoordinates(handle->body, in[i], out + 3 * i) == 0) return false;
    return true;
  });
  return result;
}

// ---- search --------------------------------------------------------------------------------------------------------

Ints closest(const Body &self, const Doubles &points, bool interface_only) {
  require_shape(points, {-1, 3}, "points");
  const auto handle = open_handle(self);
  const py::ssize_t count = points.shape(0);
  Ints result(count);
  int *out = result.mutable_data();
  const double *in = points.data();
  call_library([&] {
    for (py::ssize_t i = 0; i < count; ++i) out[i] = SBR_ClosestNode(handle->body, in + 3 * i, interface_only);
    return 0;
  });
  return result;
}

// The nodes found for each point, one behind the other, and where those of a point begin.
template <class Find>
py::tuple search(const Body &self, const Doubles &points, Find find) {
  require_shape(points, {-1, 3}, "points");
  const auto handle = open_handle(self);
  const py::ssize_t count = points.shape(0);
  const double *in = points.data();
  std::vector<int> found;
  std::vector<std::int64_t> begins{0};
  call_library([&] {
    for (py::ssize_t i = 0; i < count; ++i) {
      int length = 0;
      const std::unique_ptr<int, void (*)(void *)> nodes(find(handle->body, in + 3 * i, &length), SBR_FreeMemory);
      if (nodes != nullptr) found.insert(found.end(), nodes.get(), nodes.get() + length);
      begins.push_back(static_cast<std::int64_t>(found.size()));
    }
    return 0;
  });
  Ints indices(static_cast<py::ssize_t>(found.size()));
  std::copy(found.begin(), found.end(), indices.mutable_data());
  py::array_t<std::int64_t> starts(static_cast<py::ssize_t>(begins.size()));
  std::copy(begins.begin(), begins.end(), starts.mutable_data());
  return py::make_tuple(indices, starts);
}

py::tuple closest_several(const Body &self, const Doubles &points, int how_many, bool interface_only) {
  return search(self, points, [=](SBR body, const double *point, int *length) {
    return SBR_ClosestNodes(body, point, how_many, interface_only, length);
  });
}

py::tuple within(const Body &self, const Doubles &points, double radius, bool interface_only) {
  return search(self, points, [=](SBR body, const double *point, int *length) {
    return SBR_ClosestNodesInNeighborhood(body, point, radius, interface_only, length);
  });
}

}  // namespace

void bind_nodes(py::class_<Body> &body) {
  body.def("node_count", [](const Body &self) { return call(self, [](SBR b) { return SBR_NodeCount(b); }); })
      .def("node_ids", [](const Body &self) { return list_of<int>(self, SBR_NodeCount, SBR_NodeID); })
      .def("coordinates", coordinates)
      .def("masses", [](const Body &self) { return list_of<double>(self, SBR_NodeCount, SBR_NodalMass); })
      .def("inertias", inertias)
      .def("node", node)
      .def("places", places)
      .def("node_indices", [](const Body &self, const Ints &ids) { return look_up(self, ids, SBR_NodeIndex); })
      .def("add_node", [](const Body &self, int id) { return call(self, [&](SBR b) { return SBR_AddNode(b, id); }); })
      .def("look_up_or_add_nodes",
           [](const Body &self, const Ints &ids) { return look_up(self, ids, SBR_LookupOrAddNode); })
      .def("swap_nodes",
           [](const Body &self, int a, int b) { call(self, [&](SBR s) { return SBR_SwapNodesByID(s, a, b), 0; }); })
      .def("size", [](const Body &self) { return call(self, [](SBR b) { return SBR_BodySize(b); }); })
      .def("discrete_method", [](const Body &self) { return call(self, [](SBR b) { return SBR_DiscreteMethod(b); }); })
      .def("flex_type", [](const Body &self) { return call(self, [](SBR b) { return SBR_GetFlexType(b); }); })
      .def("closest", closest)
      .def("closest_several", closest_several)
      .def("within", within);
}

}  // namespace sbrpy
