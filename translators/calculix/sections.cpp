#include "calculix/sections.h"

#include <algorithm>
#include <cmath>

namespace sbrtranslate {
namespace {

void check_element(const Mesh &mesh, const MeshElement &element) {
  const Place place = mesh.place_of(element);
  const int *ids = mesh.nodes_of(element);
  std::vector<int> nodes(ids, ids + element.type->nodes);
  for (const int id : nodes)
    if (mesh.node_position(id) < 0)
      throw InputError(place, "element " + std::to_string(element.id) + " names node " + std::to_string(id) +
                                  ", which is not in the deck");
  std::sort(nodes.begin(), nodes.end());
  if (const auto twice = std::adjacent_find(nodes.begin(), nodes.end()); twice != nodes.end())
    throw InputError(place, "element " + std::to_string(element.id) + " is degenerate: node " + std::to_string(*twice) +
                                " comes twice");
}

void read_thicknesses(Mesh &mesh) {
  for (const DeckCard &card : mesh.cards) {
    if (card.keyword != "*NODALTHICKNESS") continue;
    for (const DeckLine &line : card.lines) {
      const auto fields = split_fields(line.text);
      const auto thickness = fields.size() > 1 ? to_double(fields[1]) : std::nullopt;
      if (!thickness || !(*thickness > 0.0)) throw InputError(line.place, "a node or a set and its thickness expected");
      if (const auto id = to_int(fields[0])) {
        mesh.nodal_thickness[*id] = *thickness;
        continue;
      }
      const auto set = mesh.node_sets.find(upper(fields[0]));
      if (set == mesh.node_sets.end()) throw InputError(line.place, "no node set '" + std::string(fields[0]) + "'");
      for (const int id : set->second) mesh.nodal_thickness[id] = *thickness;
    }
  }
}

void check_thicknesses(const Mesh &mesh) {
  for (const MeshElement &element : mesh.elements) {
    const Section &section = mesh.sections[static_cast<std::size_t>(element.section)];
    for (int i = 0; section.nodal_thickness && i < element.type->nodes; ++i)
      if (const int id = mesh.nodes_of(element)[i]; mesh.nodal_thickness.count(id) == 0)
        throw InputError(section.place, "node " + std::to_string(id) + " has no *NODAL THICKNESS");
  }
}

// A node on its way to the middle of its shells.
struct Shift {
  double height = 0.0;  // of the node above the middle
  Vec3 normal{};        // the sum of those of the elements
};

std::map<int, Shift> shifts_of(const Mesh &mesh) {
  std::map<int, Shift> shifts;
  for (const MeshElement &element : mesh.elements) {
    const Section &section = mesh.sections[static_cast<std::size_t>(element.section)];
    if (section.offset == 0.0) continue;
    const std::vector<double> thicknesses = mesh.thicknesses(element);
    std::vector<Vec3> places;
    places.reserve(thicknesses.size());
    const int *ids = mesh.nodes_of(element);
    for (int i = 0; i < element.type->nodes; ++i)
      places.push_back(mesh.nodes[static_cast<std::size_t>(mesh.node_position(ids[i]))].place);
    const std::vector<Vec3> normals = normals_at_nodes(*element.type, places);
    for (const double thickness : thicknesses)
      if (std::fabs(thickness - thicknesses.front()) > 1e-9 * thickness)
        throw InputError(section.place,
                         "an OFFSET with thicknesses that change within element " + std::to_string(element.id) +
                             " is not supported: the middle is not parallel to the nodes; put the mesh at "
                             "the middle of the shells");
    for (std::size_t i = 0; i < places.size(); ++i) {
      const double height = section.offset * thicknesses[i];
      Shift &shift = shifts.try_emplace(ids[i], Shift{height, {}}).first->second;
      if (std::fabs(shift.height - height) > 1e-9 * std::fabs(height))
        throw InputError(section.place,
                         "node " + std::to_string(ids[i]) + " has other offsets in other shells, and two middles");
      shift.normal = shift.normal + normals[i];
    }
  }
  return shifts;
}

// What else has a moved node would be moved too.
void refuse_shared(const Mesh &mesh, const std::map<int, Shift> &shifts) {
  const auto refuse = [&](int id, const Place &place) {
    if (shifts.count(id) != 0)
      throw InputError(place,
                       "node " + std::to_string(id) +
                           " also belongs to a shell with an OFFSET, and two places would be its own; put the mesh "
                           "at the middle of the shells");
  };
  for (const MeshElement &element : mesh.elements)
    for (int i = 0; mesh.sections[static_cast<std::size_t>(element.section)].offset == 0.0 && i < element.type->nodes;
         ++i)
      refuse(mesh.nodes_of(element)[i], mesh.place_of(element));
}

}  // namespace

void assign_sections(Mesh &mesh, const std::set<int> &line_elements) {
  for (std::size_t s = 0; s < mesh.sections.size(); ++s) {
    const Section &section = mesh.sections[s];
    const auto set = mesh.element_sets.find(section.set);
    if (set == mesh.element_sets.end()) throw InputError(section.place, "no element set '" + section.set + "'");
    const auto material = mesh.materials.find(section.material);
    if (material == mesh.materials.end()) throw InputError(section.place, "no material '" + section.material + "'");
    if (!material->second.has_density)
      throw InputError(material->second.place, "material " + section.material + " has no *DENSITY");
    for (const int id : set->second) {
      const int position = mesh.element_position(id);
      if (position < 0 && line_elements.count(id) != 0) continue;
      if (position < 0)
        throw InputError(section.place, "set '" + section.set + "' names element " + std::to_string(id) +
                                            ", which is not in the deck");
      MeshElement &element = mesh.elements[static_cast<std::size_t>(position)];
      if (element.type->shell() != section.shell)
        throw InputError(section.place,
                         "element " + std::to_string(id) +
                             (section.shell ? " is a solid in a shell section" : " is a shell in a solid section"));
      element.section = static_cast<int>(s);
    }
  }
  for (const MeshElement &element : mesh.elements) {
    check_element(mesh, element);
    if (element.section < 0)
      throw InputError(mesh.place_of(element), "element " + std::to_string(element.id) + " belongs to no section");
  }
}

void refuse_lines_at_moved_nodes(const Mesh &mesh) {
  const std::vector<int> &moved = mesh.moved_nodes;
  for (const LineElement &line : mesh.lines)
    for (const int id : line.nodes)
      if (std::binary_search(moved.begin(), moved.end(), id))
        throw InputError(line.place,
                         "node " + std::to_string(id) + " of element " + std::to_string(line.id) +
                             " belongs to a shell with an OFFSET, whose middle lies elsewhere; put the mesh "
                             "at the middle of the shells");
}

void finish_shells(Mesh &mesh) {
  read_thicknesses(mesh);
  check_thicknesses(mesh);
  const std::map<int, Shift> shifts = shifts_of(mesh);
  refuse_shared(mesh, shifts);
  for (const auto &[id, shift] : shifts) {
    const double size = length(shift.normal);
    Vec3 &place = mesh.nodes[static_cast<std::size_t>(mesh.node_position(id))].place;
    place = place - (size > 0.0 ? shift.height / size : 0.0) * shift.normal;
    mesh.moved_nodes.push_back(id);
  }
}

}  // namespace sbrtranslate
