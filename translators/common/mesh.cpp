#include "common/mesh.h"

namespace sbrtranslate {
int Mesh::node_position(int id) const { return position_by_id(nodes, id); }

const LineElement *Mesh::line(int id) const {
  const int position = position_by_id(lines, id);
  return position < 0 ? nullptr : &lines[static_cast<std::size_t>(position)];
}

std::vector<double> Mesh::thicknesses(const MeshElement &element) const {
  if (!element.type->shell()) return {};
  const Section &section = sections[static_cast<std::size_t>(element.section)];
  std::vector<double> list(static_cast<std::size_t>(element.type->nodes), section.thickness);
  for (std::size_t i = 0; section.nodal_thickness && i < list.size(); ++i)
    list[i] = nodal_thickness.at(nodes_of(element)[i]);
  return list;
}

const std::vector<int> &Mesh::node_set(const std::string &name) const {
  const auto set = node_sets.find(upper(name));
  if (set != node_sets.end()) return set->second;
  std::string names;
  for (const auto &[known, members] : node_sets) names += (names.empty() ? "" : ", ") + known;
  throw InputError({files.front(), 0},
                   "no node set '" + name + "'" + (names.empty() ? "; the deck has none" : "; there are " + names));
}

int Mesh::element_position(int id) const { return position_by_id(elements, id); }

}  // namespace sbrtranslate
