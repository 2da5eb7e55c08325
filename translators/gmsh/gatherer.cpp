#include "gmsh/gatherer.h"

#include <algorithm>
#include <cstdlib>

namespace sbrtranslate {
namespace {

// An element type of the format: its dimension, its number of nodes, the same type of a deck (empty for those that only
// name nodes of groups), and which node of the file is node i there (empty: the same).
struct FileElement {
  int dimension;
  int nodes;
  const char *type;
  std::vector<int> order;
};

const std::map<int, FileElement> &elements() {
  static const std::map<int, FileElement> kElements = {
      {1, {1, 2, "", {}}},
      {2, {2, 3, "S3", {}}},
      {3, {2, 4, "S4", {}}},
      {4, {3, 4, "C3D4", {}}},
      {5, {3, 8, "C3D8", {}}},
      {6, {3, 6, "C3D6", {}}},
      {8, {1, 3, "", {}}},
      {9, {2, 6, "S6", {}}},
      {11, {3, 10, "C3D10", {0, 1, 2, 3, 4, 5, 6, 7, 9, 8}}},
      {15, {0, 1, "", {}}},
      {16, {2, 8, "S8", {}}},
      {17, {3, 20, "C3D20", {0, 1, 2, 3, 4, 5, 6, 7, 8, 11, 13, 9, 16, 18, 19, 17, 10, 12, 14, 15}}},
      {18, {3, 15, "C3D15", {0, 1, 2, 3, 4, 5, 6, 9, 7, 12, 14, 13, 8, 10, 11}}}};
  return kElements;
}

const FileElement &facts_of(int kind, int number, const Place &place) {
  const auto found = elements().find(kind);
  if (found == elements().end())
    throw InputError(place,
                     "element " + std::to_string(number) + " of type " + std::to_string(kind) + " is not supported");
  return found->second;
}

void unite(std::vector<int> &set) {
  std::sort(set.begin(), set.end());
  set.erase(std::unique(set.begin(), set.end()), set.end());
}

}  // namespace

void MeshGatherer::name_group(int dimension, int group, std::string_view name) {
  names_[{dimension, group}] = upper(trim(name));
}

// A negative group is one that the entity belongs to with its other side.
void MeshGatherer::add_to_group(int dimension, int entity, int group) {
  groups_of_entity_[{dimension, entity}].push_back(std::abs(group));
}

const std::vector<int> &MeshGatherer::groups_of(int dimension, int entity) const {
  static const std::vector<int> kNone;
  const auto found = groups_of_entity_.find({dimension, entity});
  return found == groups_of_entity_.end() ? kNone : found->second;
}

int MeshGatherer::nodes_of_type(int kind, int number, const Place &place) {
  return facts_of(kind, number, place).nodes;
}

void MeshGatherer::add_element(int number, int kind, std::span<const int> nodes, std::span<const int> groups,
                               const Place &place) {
  const FileElement &facts = facts_of(kind, number, place);
  if (nodes.size() != static_cast<std::size_t>(facts.nodes))
    throw InputError(place, "element " + std::to_string(number) + " has " + std::to_string(nodes.size()) +
                                " nodes, its type has " + std::to_string(facts.nodes));
  for (const int group : groups) {
    const auto name = names_.find({facts.dimension, group});
    auto &members = mesh_.node_sets[name != names_.end() ? name->second : "PHYSICAL_" + std::to_string(group)];
    members.insert(members.end(), nodes.begin(), nodes.end());
  }
  if (*facts.type == '\0') return;
  MeshElement element;
  element.id = number;
  element.type = element_type(facts.type);
  element.line = static_cast<std::uint32_t>(place.line);
  element.first_node = static_cast<std::uint32_t>(mesh_.connectivity.size());
  for (std::size_t i = 0; i < nodes.size(); ++i)
    mesh_.connectivity.push_back(facts.order.empty() ? nodes[i] : nodes[static_cast<std::size_t>(facts.order[i])]);
  (facts.dimension == 3 ? solids_ : shells_).push_back(element);
}

void MeshGatherer::sort_items() {
  const auto by_id = [](const auto &a, const auto &b) { return a.id < b.id; };
  std::sort(mesh_.nodes.begin(), mesh_.nodes.end(), by_id);
  std::sort(mesh_.elements.begin(), mesh_.elements.end(), by_id);
  for (auto &[name, members] : mesh_.node_sets) unite(members);
}

void MeshGatherer::check_items() {
  const Place file{mesh_.files.front(), 0};
  for (std::size_t i = 1; i < mesh_.nodes.size(); ++i)
    if (mesh_.nodes[i].id == mesh_.nodes[i - 1].id)
      throw InputError(file, "node " + std::to_string(mesh_.nodes[i].id) + " comes twice");
  for (std::size_t i = 1; i < mesh_.elements.size(); ++i)
    if (mesh_.elements[i].id == mesh_.elements[i - 1].id)
      throw InputError(mesh_.place_of(mesh_.elements[i]),
                       "element " + std::to_string(mesh_.elements[i].id) + " comes twice");
  for (const MeshElement &element : mesh_.elements)
    for (int i = 0; i < element.type->nodes; ++i)
      if (mesh_.node_position(mesh_.nodes_of(element)[i]) < 0)
        throw InputError(mesh_.place_of(element), "element " + std::to_string(element.id) + " names node " +
                                                      std::to_string(mesh_.nodes_of(element)[i]) +
                                                      ", which the file does not have");
  for (const auto &[name, members] : mesh_.node_sets)
    for (const int member : members)
      if (mesh_.node_position(member) < 0)
        throw InputError(file,
                         "group " + name + " names node " + std::to_string(member) + ", which the file does not have");
}

Mesh MeshGatherer::finish() {
  mesh_.elements = solids_.empty() ? std::move(shells_) : std::move(solids_);
  if (mesh_.nodes.empty() || mesh_.elements.empty())
    throw InputError({mesh_.files.front(), 0}, "the mesh has no nodes, or no solids or shells");
  sort_items();
  check_items();
  return std::move(mesh_);
}

}  // namespace sbrtranslate
