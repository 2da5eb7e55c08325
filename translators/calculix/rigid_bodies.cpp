#include "calculix/rigid_bodies.h"

#include <algorithm>
#include <map>
#include <set>

namespace sbrtranslate {
namespace {

// A node by its number or the only node of a set.
int node_of(const Mesh &mesh, const DeckCard &card, const std::string &parameter) {
  const std::string text = card.value(parameter);
  int id = 0;
  if (const auto number = to_int(text)) {
    id = *number;
  } else if (const auto set = mesh.node_sets.find(text); set != mesh.node_sets.end() && set->second.size() == 1) {
    id = set->second.front();
  } else {
    throw InputError(card.place, parameter + "= names no node: '" + text + "'");
  }
  if (mesh.node_position(id) < 0) throw InputError(card.place, "node " + std::to_string(id) + " is not in the deck");
  return id;
}

Vec3 place_of(const Mesh &mesh, int id) { return mesh.nodes[static_cast<std::size_t>(mesh.node_position(id))].place; }

// The nodes that elements have.
std::set<int> element_nodes(const Mesh &mesh) { return {mesh.connectivity.begin(), mesh.connectivity.end()}; }

void add_members(const Mesh &mesh, ReferenceNode &reference, const std::set<int> &used) {
  auto &members = reference.members;
  if (members.empty()) throw InputError(reference.card, "a reference node without nodes that follow it");
  for (const int id : members) {
    if (used.count(id) == 0)
      throw InputError(reference.card,
                       "node " + std::to_string(id) + " follows a reference node and belongs to no element");
    reference.member_places.push_back(place_of(mesh, id));
  }
}

ReferenceNode rigid_body(const Mesh &mesh, const DeckCard &card) {
  ReferenceNode reference;
  reference.card = card.place;
  reference.node = node_of(mesh, card, "REFNODE");
  if (card.has("ROTNODE")) reference.rotation_node = node_of(mesh, card, "ROTNODE");
  reference.place = place_of(mesh, reference.node);
  std::set<int> members;
  if (card.has("NSET")) {
    const auto set = mesh.node_sets.find(card.value("NSET"));
    if (set == mesh.node_sets.end()) throw InputError(card.place, "no node set '" + card.value("NSET") + "'");
    members.insert(set->second.begin(), set->second.end());
  }
  if (card.has("ELSET")) {
    const auto set = mesh.element_sets.find(card.value("ELSET"));
    if (set == mesh.element_sets.end()) throw InputError(card.place, "no element set '" + card.value("ELSET") + "'");
    for (const int id : set->second) {
      const int position = mesh.element_position(id);
      if (position < 0) throw InputError(card.place, "element " + std::to_string(id) + " is not in the deck");
      const MeshElement &element = mesh.elements[static_cast<std::size_t>(position)];
      const int *nodes = mesh.nodes_of(element);
      members.insert(nodes, nodes + element.type->nodes);
    }
  }
  members.erase(reference.node);
  members.erase(reference.rotation_node);
  reference.members.assign(members.begin(), members.end());
  reference.weights.assign(reference.members.size(), 1.0);
  return reference;
}

// The directions of *KINEMATIC: a first and a last one a line, none for all.
void take_directions(const DeckCard &card, ReferenceNode &reference) {
  reference.coupled = {false, false, false};
  for (const DeckLine &line : card.lines) {
    const auto fields = split_fields(line.text);
    const int first = to_int(fields[0]).value_or(0);
    const int last = fields.size() > 1 && !fields[1].empty() ? to_int(fields[1]).value_or(0) : first;
    if (first < 1 || last < first || last > 6)
      throw InputError(line.place, "a first and a last direction from 1 to 6 expected");
    for (int d = first; d <= std::min(last, 3); ++d) reference.coupled[static_cast<std::size_t>(d - 1)] = true;
  }
  if (card.lines.empty()) reference.coupled = {true, true, true};
}

ReferenceNode coupling(const Mesh &mesh, const DeckCard &card, const DeckCard &kind) {
  if (card.has("ORIENTATION")) throw InputError(card.place, "a coupling in local axes is not supported");
  ReferenceNode reference;
  reference.card = card.place;
  reference.node = node_of(mesh, card, "REFNODE");
  reference.name = card.value("CONSTRAINTNAME");
  reference.place = place_of(mesh, reference.node);
  SurfaceNodes surface = surface_nodes(mesh, card.value("SURFACE"), card.place);
  reference.members = std::move(surface.nodes);
  reference.weights = std::move(surface.areas);
  reference.distributing = kind.keyword == "*DISTRIBUTING";
  if (reference.distributing) {
    if (kind.has("CYCLICSYMMETRY")) throw InputError(kind.place, "cyclic symmetry is not supported");
  } else {
    take_directions(kind, reference);
    reference.weights.assign(reference.members.size(), 1.0);
  }
  return reference;
}

// The solver's faces of solids by number; those of elements.h lie in another order.
using FaceTable = std::vector<std::vector<int>>;
const FaceTable &face_table(Family family) {
  static const FaceTable kTetrahedron = {{0, 1, 2}, {0, 3, 1}, {1, 3, 2}, {2, 3, 0}};
  static const FaceTable kWedge = {{0, 1, 2}, {3, 4, 5}, {0, 1, 4, 3}, {1, 2, 5, 4}, {2, 0, 3, 5}};
  static const FaceTable kBrick = {{0, 1, 2, 3}, {4, 7, 6, 5}, {0, 4, 5, 1}, {1, 5, 6, 2}, {2, 6, 7, 3}, {3, 7, 4, 0}};
  static const FaceTable kNone;
  switch (family) {
    case Family::tetrahedron:
      return kTetrahedron;
    case Family::wedge:
      return kWedge;
    case Family::brick:
      return kBrick;
    default:
      return kNone;
  }
}

// Adds the area of a face to its nodes, as the mass of a sheet is lumped: all parts are above zero.
void add_face(const Mesh &mesh, const MeshElement &element, const std::vector<int> &corners,
              std::map<int, double> &areas) {
  const ElementType &sheet = face_type(*element.type, corners.size());
  std::vector<int> nodes;
  for (const int node : face_nodes(*element.type, corners)) nodes.push_back(mesh.nodes_of(element)[node]);
  std::vector<Vec3> places;
  for (const int id : nodes) places.push_back(place_of(mesh, id));
  Moments unused;
  const ElementMass mass = lump_mass(sheet, places, 1.0, std::vector<double>(places.size(), 1.0), unused);
  for (std::size_t i = 0; i < nodes.size(); ++i) areas[nodes[i]] += mass.nodal[i];
}

void add_element_faces(const Mesh &mesh, const DeckLine &line, std::map<int, double> &areas) {
  const auto fields = split_fields(line.text);
  std::vector<int> elements;
  if (const auto id = to_int(fields[0])) {
    elements.push_back(*id);
  } else if (const auto set = mesh.element_sets.find(upper(fields[0])); set != mesh.element_sets.end()) {
    elements = set->second;
  } else {
    throw InputError(line.place, "no element set '" + std::string(fields[0]) + "'");
  }
  const std::string face = fields.size() > 1 ? upper(fields[1]) : std::string();
  const int number = face.size() == 2 && face[0] == 'S' ? face[1] - '0' : 0;
  for (const int id : elements) {
    const int position = mesh.element_position(id);
    if (position < 0) throw InputError(line.place, "element " + std::to_string(id) + " is not in the deck");
    const MeshElement &element = mesh.elements[static_cast<std::size_t>(position)];
    if (element.type->shell())
      throw InputError(line.place, "a surface on shells is not supported here; name its nodes (TYPE=NODE)");
    const std::vector<int> *corners = solid_face(*element.type, number);
    if (corners == nullptr)
      throw InputError(line.place, "element " + std::to_string(id) + " has no face '" + face + "'");
    add_face(mesh, element, *corners, areas);
  }
}

void add_node_line(const Mesh &mesh, const DeckLine &line, std::map<int, double> &areas) {
  const auto fields = split_fields(line.text);
  if (const auto id = to_int(fields[0])) {
    areas[*id] = 1.0;
  } else if (const auto set = mesh.node_sets.find(upper(fields[0])); set != mesh.node_sets.end()) {
    for (const int node : set->second) areas[node] = 1.0;
  } else {
    throw InputError(line.place, "no node set '" + std::string(fields[0]) + "'");
  }
}

}  // namespace

const std::vector<int> *solid_face(const ElementType &type, int number) {
  const FaceTable &table = face_table(type.family);
  return number >= 1 && static_cast<std::size_t>(number) <= table.size() ? &table[static_cast<std::size_t>(number - 1)]
                                                                         : nullptr;
}

SurfaceNodes surface_nodes(const Mesh &mesh, const std::string &name, const Place &card) {
  std::map<int, double> areas;
  bool found = false;
  for (const DeckCard &surface : mesh.cards) {
    if (surface.keyword != "*SURFACE" || surface.value("NAME") != name) continue;
    found = true;
    const bool nodes = surface.value("TYPE") == "NODE";
    for (const DeckLine &line : surface.lines)
      nodes ? add_node_line(mesh, line, areas) : add_element_faces(mesh, line, areas);
  }
  if (!found) throw InputError(card, "no surface '" + name + "'");
  SurfaceNodes result;
  for (const auto &[node, area] : areas) {
    result.nodes.push_back(node);
    result.areas.push_back(area);
  }
  return result;
}

std::vector<ReferenceNode> read_references(const Mesh &mesh) {
  std::vector<ReferenceNode> references;
  std::set<int> used;
  for (std::size_t c = 0; c < mesh.cards.size(); ++c) {
    const DeckCard &card = mesh.cards[c];
    if (card.keyword == "*RIGIDBODY") {
      references.push_back(rigid_body(mesh, card));
    } else if (card.keyword == "*COUPLING") {
      const bool has_kind = c + 1 < mesh.cards.size() &&
                            (mesh.cards[c + 1].keyword == "*KINEMATIC" || mesh.cards[c + 1].keyword == "*DISTRIBUTING");
      if (!has_kind) throw InputError(card.place, "*KINEMATIC or *DISTRIBUTING has to follow *COUPLING");
      references.push_back(coupling(mesh, card, mesh.cards[c + 1]));
    } else {
      continue;
    }
    if (used.empty()) used = element_nodes(mesh);
    add_members(mesh, references.back(), used);
  }
  return references;
}

}  // namespace sbrtranslate
