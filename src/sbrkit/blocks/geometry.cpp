// Reading units, header texts, nodes, global properties, nodal mass and inertia, faces and interface nodes.
#include <cstring>
#include <limits>

#include "base/reports.h"
#include "body/node_table.h"
#include "read/reader.h"
#include "record/toc.h"

namespace sbr {

// ---- units and header texts ----------------------------------------------------------------------------------------

void read_units_block(SbrBody &body) noexcept {
  UnitState &units = body.units;
  char *const labels[] = {units.mass_units, units.length_units, units.time_units, units.force_units};
  const PositionKeeper keeper(body.record);
  if (!go_to_block(body, kUnits)) {
    std::memcpy(units.mass_units, "KILOGRAM", sizeof "KILOGRAM");
    std::memcpy(units.length_units, "METER", sizeof "METER");
    std::memcpy(units.time_units, "SECOND", sizeof "SECOND");
    std::memcpy(units.force_units, "NEWTON", sizeof "NEWTON");
    return;
  }
  UnitLabels stored;
  FieldReader reader(body.record);
  (void)transfer(reader, stored);
  const char *const from[] = {stored.mass, stored.length, stored.time, stored.force};
  for (int i = 0; i < 4; ++i) std::memcpy(labels[i], from[i], kUnitChars);
  for (char *label : labels)
    if (SBR_ConvertUnitsLabel(label) == 0) break;
  for (char *label : labels) terminate_text(label, kUnitChars);
}

Reading read_header(SbrBody &body) noexcept {
  HeaderTexts &texts = body.header;
  FieldReader reader(body.record);
  if (!go_to_block(body, kHeader) || !transfer(reader, texts)) return failed("Problem reading Header information");
  terminate_text(texts.title, sizeof texts.title);
  terminate_text(texts.date, sizeof texts.date);
  terminate_text(texts.input_file_name, sizeof texts.input_file_name);
  terminate_text(texts.comment1, sizeof texts.comment1);
  terminate_text(texts.comment2, sizeof texts.comment2);
  terminate_text(texts.comment3, sizeof texts.comment3);
  return Reading::complete;
}

// ---- nodes ---------------------------------------------------------------------------------------------------------

Reading read_nodal_coords(SbrBody &body) noexcept {
  constexpr const char *kProblem = "Problem reading Node Coordinates Data";
  if (!go_to_block(body, kNodalCoords)) return Reading::complete;
  StreamChannel &channel = body.record;
  NodeTable &table = body.nodes;
  FieldReader reader(channel);
  NodalCoordsHead head;
  if (!reader.integer(head.node_count)) return failed(kProblem);
  const std::int64_t row_bytes = field_bytes<NodeRow>(encoding_of(channel));
  const bool announced = rows_left(channel, head.node_count, row_bytes);
  table.nodes.release();
  table.inertias.release();
  table.keys.clear();
  if (head.node_count < 1 || (announced && !table.nodes.allocate(head.node_count)))
    return failed("Out of memory while reading Nodal Coordinate block");
  if (!reader.integer(head.dimension)) return failed(kProblem);
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

// ---- mass and inertia ----------------------------------------------------------------------------------------------

Reading read_global_block(SbrBody &body) noexcept {
  const PositionKeeper keeper(body.record);
  if (!go_to_block(body, kGlobalBodyProps)) return Reading::complete;
  FieldReader reader(body.record);
  return transfer(reader, body.global) ? Reading::complete : failed("Problem reading Global Body Properties");
}

namespace {

void take_nodal_mass(SbrBody &body, std::int32_t id, double mass) noexcept {
  const int index = node_index(body, id);
  if (index < 0) return;
  NodeRecord &node = body.nodes.nodes[index];
  if (node.mass != 0.0) report_warning("Redefining mass of Node %d", id);
  node.mass = mass;
}

// The nodal masses behind the two leading words.
bool read_nodal_masses(SbrBody &body, const NodalMassesHead &head) noexcept {
  StreamChannel &channel = body.record;
  const std::int32_t values = head.values_per_node;
  RowReader rows(channel, bounded_sum(4, bounded_product(values, real_size(channel))), head.node_count);
  for (std::int32_t i = 0; i < head.node_count; ++i) {
    std::int32_t id = 0;
    double sum = 0.0;
    if (!rows.integer(id)) return false;
    for (std::int32_t k = 0; k < values; ++k) {
      double value = 0.0;
      if (!rows.reals(&value, 1)) return false;
      sum += value;
    }
    take_nodal_mass(body, id, values > 1 ? sum / values : sum);
  }
  return true;
}

}  // namespace

Reading read_nodal_mass_block(SbrBody &body) noexcept {
  const PositionKeeper keeper(body.record);
  if (!go_to_block(body, kNodalMasses)) return Reading::complete;
  FieldReader reader(body.record);
  NodalMassesHead head;
  if (!transfer(reader, head)) return failed("Problem reading Nodal Mass information");
  if (head.values_per_node < 0) head.values_per_node = 0;
  if (head.values_per_node > 1) {
    report_warning("Each node must possess a single scalar mass");
    report_warning("Generating scalar by averaging %d values", head.values_per_node);
  }
  return read_nodal_masses(body, head) ? Reading::complete : failed("Problem reading Nodal Mass information");
}

namespace {

// A rotational degree of freedom as an index from 0, or -1 after a report.
int tensor_index(const char *which, char stored) noexcept {
  if (stored >= 4 && stored <= 6) return stored - 4;
  report_error("%s index of nodal inertia entries should be 4, 5, or 6.  %d encoutered\n", which, stored);
  return -1;
}

// The steps of transfer(NodalInertiaRow), with the checks that stand between its fields. False after a failed read
// or a report.
bool read_nodal_inertia(SbrBody &body, RowReader &rows, int &unknown) noexcept {
  NodalInertiaRow entry;
  if (!rows.integer(entry.id) || !rows.chars(&entry.row, 1)) return false;
  const int row = tensor_index("Row", entry.row);
  if (row < 0 || !rows.chars(&entry.column, 1)) return false;
  const int column = tensor_index("Column", entry.column);
  if (column < 0) return false;
  const int index = node_index(body, entry.id);
  double *tensor = index >= 0 ? node_inertia_or_add(body, index) : nullptr;
  if (index >= 0 && tensor == nullptr) {
    report_error("Error allocating memory for inertia matrix for node %d\n", entry.id);
    return false;
  }
  if (!rows.reals(&entry.value, 1)) return false;
  if (index < 0) {
    ++unknown;
    return true;
  }
  double &place = tensor[kPackedPlace[row][column]];
  if (place != 0.0 && place != entry.value) report_warning("Redefining mass of Nodal inertia %d", entry.id);
  place = entry.value;
  return true;
}

}  // namespace

Reading read_nodal_inertia_block(SbrBody &body) noexcept {
  constexpr const char *kProblem = "Problem reading Nodal Inertia information";
  const PositionKeeper keeper(body.record);
  if (!go_to_block(body, kNodalInertias)) return Reading::complete;
  FieldReader reader(body.record);
  CountHead head;
  if (!transfer(reader, head)) return failed(kProblem);
  RowReader rows(body.record, field_bytes<NodalInertiaRow>(encoding_of(body.record)), head.count);
  int unknown = 0;
  for (std::int32_t i = 0; i < head.count; ++i)
    if (!read_nodal_inertia(body, rows, unknown)) return failed(kProblem);
  if (unknown > 0) report_warning("Ignoring %d nodal inertia entries of nodes that the body does not have", unknown);
  return Reading::complete;
}

// ---- faces and interface nodes -------------------------------------------------------------------------------------

namespace {

Reading read_element_faces(SbrBody &body) noexcept {
  constexpr const char *kProblem = "Problem reading Element Faces";
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

Reading read_element_topology(SbrBody &body) noexcept {
  constexpr const char *kProblem = "Problem when reading old style element block";
  constexpr const char *kNoMemory = "Out of memory while reading Element Topology Block";
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

}  // namespace

Reading read_faces(SbrBody &body) noexcept {
  if (go_to_block(body, kElementFaces)) return read_element_faces(body);
  if (go_to_block(body, kElementTopology)) return read_element_topology(body);
  return Reading::complete;
}

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

}  // namespace sbr
