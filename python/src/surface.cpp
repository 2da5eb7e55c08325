// The surface: coarsening, stripping, sketching, free edges, and the nodes that may go.
#include "handle.h"

namespace sbrpy {
namespace {

// Node IDs of all chains, one behind the other, and the length of each.
py::tuple free_edges(const Body &self, bool afresh) {
  const auto handle = open_handle(self);
  if (afresh) call(self, [](SBR body) { return SBR_GenerateFreeEdges(body), 0; });
  const int count = call(self, [](SBR body) { return SBR_GetFreeEdgeCount(body); });
  if (count < 0) throw std::bad_alloc();
  Ints lengths(count);
  int *length = lengths.mutable_data();
  py::ssize_t sum = 0;
  call(self, [&](SBR body) {
    for (int i = 0; i < count; ++i) sum += length[i] = SBR_GetFreeEdgeSize(body, i);
    return 0;
  });
  Ints ids(sum);
  int *out = ids.mutable_data();
  call(self, [&](SBR body) {
    for (int i = 0; i < count; ++i) out += SBR_GetFreeEdge(body, i, out);
    return 0;
  });
  return py::make_tuple(lengths, ids);
}

py::object geometry_nodes(const Body &self) {
  int count = 0;
  int *nodes = call(self, [&](SBR body) { return SBR_GeometryNodes(body, &count); });
  return take_array(nodes, {count});
}

void shorten(const Body &self, const Ints &keep, int kind) {
  const int *in = keep.data();
  const int count = static_cast<int>(keep.size());
  require(self, "the mode data could not be shortened",
          [&](SBR body) { return SBR_ShortenModeFile(body, in, count, kind); });
}

void compact_loads(const Body &self, const Ints &keep) {
  const int *in = keep.data();
  const int count = static_cast<int>(keep.size());
  require(self, "the loads could not be renumbered",
          [&](SBR body) { return SBR_CompactModalLoadNodal(body, in, count); });
}

}  // namespace

void bind_surface(py::class_<Body> &body) {
  body.def("coarsen",
           [](const Body &self, const std::string &options) {
             call(self, [&](SBR b) { return SBR_TrimGeometry(b, options.c_str()), 0; });
           })
      .def("is_coarsened", [](const Body &self) { return call(self, [](SBR b) { return SBR_IsCoarsened(b) != 0; }); })
      .def("strip_faces", [](const Body &self) { call(self, [](SBR b) { return SBR_StripCommonFaces(b), 0; }); })
      .def("sketch",
           [](const Body &self, const std::string &path) {
             call(self, [&](SBR b) { return SBR_SketchGrid(b, path.c_str()), 0; });
           })
      .def("remove_internal",
           [](const Body &self) {
             require(self, "the internal geometry could not be removed",
                     [](SBR b) { return SBR_RemoveInternalGeometry(b); });
           })
      .def("free_edges", free_edges)
      .def("geometry_nodes", geometry_nodes)
      .def("discard_nodes",
           [](const Body &self) {
             require(self, "the nodes could not be discarded", [](SBR b) { return SBR_DiscardUnreferencedNodes(b); });
           })
      .def("shorten_modes", shorten)
      .def("compact_loads", compact_loads);
}

}  // namespace sbrpy
