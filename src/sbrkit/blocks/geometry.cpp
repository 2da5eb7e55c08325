#include "blocks/geometry.h"

#include <array>
#include <limits>

#include "base/reports.h"
#include "body/faces.h"
#include "body/node_table.h"

namespace sbr {
namespace {

// ---- nodes ---------------------------------------------------------------------------------------------------------

Reading read_nodal_coords(SbrBody &body) noexcept {
  constexpr const char *kProblem = "Problem reading Node Coordinates Data";
  if (!go_to_block(body, kNodalCoords)) return Reading::complete;
  StreamChannel &channel = body.record;
  NodeTable &table = body.nodes;
  FieldReader reader(channel);
  NodalCoordsHead head;
  if (!reader.count(head.node_count)) return failed(kProblem);
  const std::int64_t row_bytes = field_bytes<NodeRow>(encoding_of(channel));
  const bool announced = rows_left(channel, head.node_count, row_bytes);
  table.nodes.release();
  table.inertias.release();
  table.keys.clear();
  if (head.node_count < 1 || (announced && !table.nodes.allocate(head.node_count)))
    return failed("Out of memory while reading Nodal Coordinate block");
  if (!reader.count(head.dimension)) return failed(kProblem);
  if (head.dimension != 3)
    report_error("Node location should only be specified with 3 coordinates, not %ld",
                 static_cast<long>(head.dimension));
  if (!announced) return failed(kProblem);
  table.kinds[Kind::shape].count = head.node_count;
  RowReader rows(channel, row_bytes, head.node_count);
  for (NodeRecord &node : table.nodes) {
    NodeRow row;
    if (!transfer(rows, row)) return failed(kProblem);
    node = NodeRecord{};
    node.id = row.id;
    node.x = row.xyz[0];
    node.y = row.xyz[1];
    node.z = row.xyz[2];
  }
  return Reading::complete;
}

// Warns of nodes at the origin. One is normal; more are a sign of coordinates that were never given.
void warn_of_origin_nodes(const Array<std::int32_t> &ids) noexcept {
  if (ids.size() < 2) return;
  report_warning("Found %d node(s) with coordinates (0,0,0).  They are:", ids.count());
  for (const std::int32_t id : ids) report_warning("   %d", id);
}

bool write_nodal_coords(Emission &run) noexcept {
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

bool print_nodal_coords(const Report &report) noexcept {
  std::span<const NodeKey> keys;
  if (!report.sorted_nodes(Kind::shape, keys)) return false;
  for (const NodeKey &key : keys) {
    double xyz[3] = {};
    node_coordinates(report.body, key.position, xyz);
    std::fprintf(report.out, "%9d %20.10le %20.10le %20.10le \n", key.id, xyz[0], xyz[1], xyz[2]);
  }
  std::fprintf(report.out, "\n");
  return true;
}

// ---- faces in the present form -------------------------------------------------------------------------------------

Reading read_element_faces(SbrBody &body) noexcept {
  constexpr const char *kProblem = "Problem reading Element Faces";
  if (!go_to_block(body, kElementFaces)) return Reading::complete;
  StreamChannel &channel = body.record;
  FieldReader reader(channel);
  ElementFacesHead head;
  if (!transfer(reader, head)) return failed(kProblem);
  body.faces.reserved_word = head.reserved;
  body.faces.face_count = head.face_count;
  if (head.list_length > 0 && !rows_left(channel, head.list_length, 4)) return failed(kProblem);
  if (!body.faces.list.allocate(head.list_length)) return failed("Out of memory while reading Element Faces Block");
  return read_ints(channel, body.faces.list.data(), head.list_length) ? Reading::complete : failed(kProblem);
}

bool write_element_faces(Emission &run) noexcept {
  const int faces = run.body.faces.face_count;
  report_info("\nNumber of Element Faces: %d", faces);
  const Array<std::int32_t> &list = run.body.faces.list;
  if (list.empty()) return run.no_memory();
  const std::int64_t bytes = 4 * static_cast<std::int64_t>(list.size()) + 16;
  return run.put(ElementFacesHead{static_cast<std::int32_t>(bytes), 0, faces, list.count()}) &&
         run.out.ints(list.data(), list.count());
}

void print_face(const Report &report, int place, std::span<const std::int32_t> nodes) noexcept {
  std::fprintf(report.out, "%9d      ", place);
  for (const std::int32_t node : nodes) std::fprintf(report.out, "%9d", node_id(report.body, node));
  std::fprintf(report.out, "\n");
}

bool print_element_faces(const Report &report) noexcept {
  const FaceList &faces = report.body.faces;
  const std::span<const std::int32_t> list = faces.list.span();
  if (list.empty()) return report.no_memory();
  std::fprintf(report.out, "number of faces %d\n\n", faces.face_count);
  int place = 0;
  std::size_t end = 0;
  for (FaceWalk walk(faces); walk.next(); end = walk.start() + walk.face().size() + 1)
    print_face(report, ++place, walk.face());
  // A face that runs past the end of the list is cut there.
  if (place < faces.face_count && end < list.size() && list[end] > 0)
    print_face(report, place + 1, list.subspan(end + 1));
  std::fprintf(report.out, "\n");
  return true;
}

// ---- faces in the old form -----------------------------------------------------------------------------------------

// The words of the face list that the groups make; -1 when the file cannot hold them.
std::int64_t old_face_list_length(StreamChannel &channel, const Array<FaceGroup> &groups) noexcept {
  std::int64_t length = 0;
  std::int64_t stored = 0;
  for (const FaceGroup &group : groups) {
    if (group.size < 0 || group.nodes_per_face < 0) return -1;
    const std::int64_t nodes = group.nodes_per_face;
    length = bounded_sum(length, bounded_product(nodes + 1, group.size));
    stored = bounded_sum(stored, bounded_product(nodes + kIgnoredFaceWords, group.size));
  }
  return rows_left(channel, stored, 4) && length <= std::numeric_limits<std::int32_t>::max() ? length : -1;
}

// The faces of one group; `at` is the next place of the list.
bool read_old_group(SbrBody &body, const FaceGroup &group, std::size_t &at) noexcept {
  Array<std::int32_t> &list = body.faces.list;
  const std::int64_t words = std::int64_t{group.nodes_per_face} + kIgnoredFaceWords;
  RowReader rows(body.record, words * 4, group.size);
  for (std::int32_t face = 0; face < group.size; ++face) {
    std::int32_t word = 0;
    for (int i = 0; i < kIgnoredFaceWords; ++i)
      if (!rows.integer(word)) return false;
    list[at++] = group.nodes_per_face;
    for (std::int32_t i = 0; i < group.nodes_per_face; ++i) {
      if (!rows.integer(word)) return false;
      list[at++] = node_index(body, word);
    }
  }
  return true;
}

// Faces in the old form count only where the body has none in the present one.
Reading read_element_topology(SbrBody &body) noexcept {
  constexpr const char *kProblem = "Problem when reading old style element block";
  constexpr const char *kNoMemory = "Out of memory while reading Element Topology Block";
  if (has_block(body, kElementFaces) || !go_to_block(body, kElementTopology)) return Reading::complete;
  StreamChannel &channel = body.record;
  FieldReader reader(channel);
  ElementTopologyHead head;
  if (!transfer(reader, head)) return failed(kProblem);
  body.faces.face_count = head.face_count;
  const std::int64_t group_bytes = field_bytes<FaceGroup>(encoding_of(channel));
  if (head.group_count > 0 && !rows_left(channel, head.group_count, group_bytes)) return failed(kProblem);
  Array<FaceGroup> groups;
  if (!groups.allocate(head.group_count)) return failed(kNoMemory);
  for (FaceGroup &group : groups)
    if (!transfer(reader, group)) return failed(kProblem);
  const std::int64_t length = old_face_list_length(channel, groups);
  if (length < 0) return failed(kProblem);
  if (!body.faces.list.allocate(length)) return failed(kNoMemory);
  std::size_t at = 0;
  for (const FaceGroup &group : groups)
    if (!read_old_group(body, group, at)) return failed(kProblem);
  return Reading::complete;
}

// The block sorts faces into groups by their node count: 2 to 13 nodes.
constexpr int kGroups = 12;
constexpr int kSmallestFace = 2;

// Counts the faces of each group. False when a face fits no group, which is reported, or runs past the end of the list.
bool count_groups(std::span<const std::int32_t> list, std::array<std::int32_t, kGroups> &sizes) noexcept {
  std::size_t walked = 0;
  for (FaceWalk walk(list, std::numeric_limits<int>::max()); walk.next();) {
    const auto group = static_cast<std::int64_t>(walk.face().size()) - kSmallestFace;
    if (group < 0 || group >= kGroups) {
      report_error("A face of %ld nodes does not fit an element topology block, which holds faces of 2 to 13 nodes.",
                   static_cast<long>(walk.face().size()));
      return false;
    }
    ++sizes[static_cast<std::size_t>(group)];
    walked += walk.face().size() + 1;
  }
  return walked == list.size();
}

bool put_group_faces(Emission &run, int nodes_per_face) noexcept {
  for (FaceWalk walk(run.body.faces.list.span(), std::numeric_limits<int>::max()); walk.next();) {
    if (static_cast<int>(walk.face().size()) != nodes_per_face) continue;
    std::array<std::int32_t, kIgnoredFaceWords + kSmallestFace + kGroups> record{};
    std::size_t used = kIgnoredFaceWords;
    for (const std::int32_t index : walk.face()) record[used++] = node_id(run.body, index);
    if (!run.out.ints(record.data(), static_cast<std::int64_t>(used))) return false;
  }
  return true;
}

bool write_element_topology(Emission &run) noexcept {
  std::array<std::int32_t, kGroups> sizes{};
  if (!count_groups(run.body.faces.list.span(), sizes)) return false;
  if (!run.put(ElementTopologyHead{run.body.faces.face_count, kGroups})) return false;
  for (int group = 0; group < kGroups; ++group)
    if (!run.put(FaceGroup{group, sizes[static_cast<std::size_t>(group)], group + kSmallestFace})) return false;
  for (int group = 0; group < kGroups; ++group)
    if (!put_group_faces(run, group + kSmallestFace)) return false;
  return true;
}

bool print_element_topology(const Report &report) noexcept {
  std::fprintf(report.out, "Obsolete: Reported as part of face list, block 14\n\n");
  return true;
}

// ---- interface nodes -----------------------------------------------------------------------------------------------

Reading read_interface_nodes(SbrBody &body) noexcept {
  constexpr const char *kProblem = "Problem when reading Interface Nodes";
  if (!go_to_block(body, kInterfaceNodes)) return Reading::complete;
  StreamChannel &channel = body.record;
  FieldReader reader(channel);
  CountHead head;
  if (!transfer(reader, head)) return failed(kProblem);
  if (head.count > 0 && !rows_left(channel, head.count, 4)) return failed(kProblem);
  forget_interface_places(body);
  if (!body.interface_nodes.nodes.allocate(head.count)) {
    failed("Out of memory while reading Interface Nodes block");
    return failed(kProblem);
  }
  return read_ints(channel, body.interface_nodes.nodes.data(), head.count) ? Reading::complete : failed(kProblem);
}

bool write_interface_nodes(Emission &run) noexcept {
  const Array<std::int32_t> &nodes = run.body.interface_nodes.nodes;
  return run.put(CountHead{nodes.count()}) && run.out.ints(nodes.data(), nodes.count());
}

bool print_interface_nodes(const Report &report) noexcept {
  int place = 0;
  for (const std::int32_t node : report.body.interface_nodes.nodes)
    std::fprintf(report.out, "%4d %9d \n", ++place, node_id(report.body, node));
  return true;
}

}  // namespace

bool size_element_faces(SizingWalk &walk, int /*block*/) {
  CountHead stored;
  if (!walk.fields(stored)) return false;
  walk.take(stored.count);
  return true;
}

constinit const BlockFunctions kNodalCoordsBlock{
    .read = read_nodal_coords, .write = write_nodal_coords, .print = print_nodal_coords};
constinit const BlockFunctions kElementTopologyBlock{
    .read = read_element_topology, .write = write_element_topology, .print = print_element_topology};
constinit const BlockFunctions kElementFacesBlock{
    .read = read_element_faces, .write = write_element_faces, .print = print_element_faces};
constinit const BlockFunctions kInterfaceNodesBlock{
    .read = read_interface_nodes, .write = write_interface_nodes, .print = print_interface_nodes};

}  // namespace sbr
