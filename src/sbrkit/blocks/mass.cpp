// Emission of the blocks of geometry and mass: nodes, faces, interface nodes, masses, inertias, global properties and
// units.
#include <array>

#include "base/reports.h"
#include "blocks/emission.h"
#include "body/node_table.h"
#include "body/units.h"

namespace sbr {
namespace {

// Warns of nodes at the origin. One is normal; more are a sign of coordinates that were never given.
void warn_of_origin_nodes(const Array<std::int32_t> &ids) noexcept {
  if (ids.size() < 2) return;
  report_warning("Found %d node(s) with coordinates (0,0,0).  They are:", ids.count());
  for (const std::int32_t id : ids) report_warning("   %d", id);
}

// The element topology block sorts faces into groups by their node count: 2 to 13 nodes.
constexpr int kGroups = 12;
constexpr int kSmallestFace = 2;

// Calls visit(nodes of the face) for every face of the list; false at a face that runs past the list or a visit that
// gives false.
template <class Visit>
bool walk_faces(std::span<const std::int32_t> list, Visit visit) noexcept {
  for (std::size_t at = 0; at < list.size();) {
    const std::int32_t count = list[at++];
    if (count < 0 || static_cast<std::size_t>(count) > list.size() - at) return false;
    if (!visit(list.subspan(at, static_cast<std::size_t>(count)))) return false;
    at += static_cast<std::size_t>(count);
  }
  return true;
}

bool put_group_faces(Emission &run, int nodes_per_face) noexcept {
  return walk_faces(run.body.faces.list.span(), [&](std::span<const std::int32_t> nodes) {
    if (static_cast<int>(nodes.size()) != nodes_per_face) return true;
    std::array<std::int32_t, kIgnoredFaceWords + kSmallestFace + kGroups> record{};
    std::size_t used = kIgnoredFaceWords;
    for (const std::int32_t index : nodes) record[used++] = node_id(run.body, index);
    return run.out.ints(record.data(), static_cast<std::int64_t>(used));
  });
}

// The six places of a symmetric 3 x 3 matrix that a record keeps, with their rows and columns as degrees of freedom.
struct InertiaPlace {
  int place;
  char row;
  char column;
};
constexpr InertiaPlace kInertiaPlaces[] = {{0, 4, 4}, {1, 4, 5}, {2, 4, 6}, {4, 5, 5}, {5, 5, 6}, {8, 6, 6}};

// Calls visit(node index, place, value) for every non-zero inertia value; false when a visit gives false.
template <class Visit>
bool walk_inertias(SbrBody &body, Visit visit) noexcept {
  const int nodes = node_count(body);
  for (int i = 0; i < nodes; ++i) {
    double matrix[9];
    if (!nodal_inertia(body, i, matrix)) continue;
    for (const InertiaPlace &place : kInertiaPlaces)
      if (matrix[place.place] != 0.0 && !visit(i, place, matrix[place.place])) return false;
  }
  return true;
}

}  // namespace

bool emit_nodal_coordinates(Emission &run) noexcept {
  const Array<NodeRecord> &nodes = run.body.nodes.nodes;
  report_info("\nNode info:\n   Count: %ld", static_cast<long>(nodes.size()));
  if (!run.put(NodalCoordsHead{nodes.count(), 3})) return false;
  Array<std::int32_t> at_origin;
  for (const NodeRecord &node : nodes) {
    if (!run.put(NodeRow{node.id, {node.x, node.y, node.z}})) return false;
    if (node.x == 0.0 && node.y == 0.0 && node.z == 0.0 && !at_origin.push_back(node.id)) return run.no_memory();
  }
  warn_of_origin_nodes(at_origin);
  return true;
}

bool emit_element_topology(Emission &run) noexcept {
  std::array<std::int32_t, kGroups> sizes{};
  const bool fits = walk_faces(run.body.faces.list.span(), [&](std::span<const std::int32_t> nodes) {
    const auto group = static_cast<std::int64_t>(nodes.size()) - kSmallestFace;
    if (group < 0 || group >= kGroups) {
      report_error("A face of %ld nodes does not fit an element topology block, which holds faces of 2 to 13 nodes.",
                   static_cast<long>(nodes.size()));
      return false;
    }
    ++sizes[group];
    return true;
  });
  if (!fits || !run.put(ElementTopologyHead{run.body.faces.face_count, kGroups})) return false;
  for (int group = 0; group < kGroups; ++group)
    if (!run.put(FaceGroup{group, sizes[group], group + kSmallestFace})) return false;
  for (int group = 0; group < kGroups; ++group)
    if (!put_group_faces(run, group + kSmallestFace)) return false;
  return true;
}

bool emit_global_properties(Emission &run) noexcept {
  GlobalProperties global;
  if (SBR_TotalMassInertia(&run.body, &global.mass, global.inertia, global.center) == 0) return false;
  const double *center = global.center;
  const double *inertia = global.inertia;
  report_info("\nGlobal body properties:");
  report_info("Mass          : %lf\n", global.mass);
  report_info("Center of Mass: %lf %lf %lf", center[0], center[1], center[2]);
  report_info("Inertia Tensor: %lf %lf %lf", inertia[0], inertia[1], inertia[2]);
  report_info("                %lf %lf %lf", inertia[3], inertia[4], inertia[5]);
  report_info("                %lf %lf %lf", inertia[6], inertia[7], inertia[8]);
  return run.put(global);
}

bool emit_nodal_masses(Emission &run) noexcept {
  const Array<NodeRecord> &nodes = run.body.nodes.nodes;
  if (!run.put(NodalMassesHead{nodes.count(), 1})) return false;
  int massless = 0;
  for (const NodeRecord &node : nodes) {
    // Whether a record arrives is deliberately not looked at.
    static_cast<void>(run.put(NodalMassRow{node.id, node.mass}));
    if (node.mass == 0.0) ++massless;
  }
  if (massless > 0) report_warning("Found %d massless node(s)", massless);
  return true;
}

bool emit_nodal_inertias(Emission &run) noexcept {
  int entries = 0;
  static_cast<void>(walk_inertias(run.body, [&](int, const InertiaPlace &, double) { return ++entries > 0; }));
  report_info("\nNodal inertia info:\n   Sparse matrix entries: %ld", static_cast<long>(entries));
  if (!run.put(CountHead{entries})) return false;
  return walk_inertias(run.body, [&](int node, const InertiaPlace &place, double value) {
    return run.put(NodalInertiaRow{node_id(run.body, node), place.row, place.column, value});
  });
}

bool emit_units(Emission &run) noexcept {
  UnitLabels labels;
  give_units(run.body, labels.mass, labels.length, labels.time, labels.force);
  report_info("\nUnits:\n   Mass:   %.16s\n   Length: %.16s\n   Time:   %.16s\n   Force:  %.16s", labels.mass,
              labels.length, labels.time, labels.force);
  return run.put(labels);
}

bool emit_element_faces(Emission &run) noexcept {
  const int faces = run.body.faces.face_count;
  report_info("\nNumber of Element Faces: %d", faces);
  const Array<std::int32_t> &list = run.body.faces.list;
  if (list.empty()) return run.no_memory();
  const std::int64_t bytes = 4 * static_cast<std::int64_t>(list.size()) + 16;
  return run.put(ElementFacesHead{static_cast<std::int32_t>(bytes), 0, faces, list.count()}) &&
         run.out.ints(list.data(), list.count());
}

bool emit_interface_nodes(Emission &run) noexcept {
  const Array<std::int32_t> &nodes = run.body.interface_nodes.nodes;
  return run.put(CountHead{nodes.count()}) && run.out.ints(nodes.data(), nodes.count());
}

}  // namespace sbr
