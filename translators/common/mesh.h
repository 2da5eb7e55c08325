// A finite-element mesh with its sets, sections and materials, whatever it was read from. Plain data; the reader of a
// source fills it.
#ifndef SBRKIT_TRANSLATORS_COMMON_MESH_H
#define SBRKIT_TRANSLATORS_COMMON_MESH_H

#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "common/deck_card.h"
#include "common/elements.h"
#include "common/line_elements.h"
#include "common/reference_node.h"
#include "common/text_input.h"

namespace sbrtranslate {

struct MeshNode {
  int id = 0;
  Vec3 place{};
};

// The position of an ID in a list of ascending IDs, or -1. Where no number is left out, it follows from the first.
template <class Item>
int position_by_id(const std::vector<Item> &items, int id) {
  if (items.empty() || id < items.front().id) return -1;
  const auto guess = static_cast<std::size_t>(id) - static_cast<std::size_t>(items.front().id);
  if (guess < items.size() && items[guess].id == id) return static_cast<int>(guess);
  const auto found =
      std::lower_bound(items.begin(), items.end(), id, [](const Item &item, int wanted) { return item.id < wanted; });
  return found != items.end() && found->id == id ? static_cast<int>(found - items.begin()) : -1;
}

struct MeshElement {
  int id = 0;
  std::uint32_t first_node = 0;  // in Mesh::connectivity
  const ElementType *type = nullptr;
  int section = -1;  // in Mesh::sections, once they are assigned
  int file = 0;      // in Mesh::files
  std::uint32_t line = 0;
};

struct Material {
  double density = 0.0;
  bool has_density = false;
  Place place;
};

struct Section {
  std::string set;
  std::string material;
  bool shell = false;
  double thickness = 0.0;
  bool nodal_thickness = false;  // that of each node, Mesh::nodal_thickness, counts
  double offset = 0.0;           // of the nodes above the middle, in parts of the thickness
  Place place;
};

struct Mesh {
  std::string title;
  std::vector<std::string> files;                        // the input itself and what it includes
  std::vector<MeshNode> nodes;                           // ascending IDs
  std::vector<MeshElement> elements;                     // ascending IDs
  std::vector<int> connectivity;                         // node IDs
  std::map<std::string, std::vector<int>> node_sets;     // names in capitals
  std::map<std::string, Place> node_set_places;          // where a set was named first; not of all sets
  std::map<std::string, std::vector<int>> element_sets;  // likewise
  std::map<std::string, Material> materials;
  std::vector<Section> sections;
  std::map<int, double> nodal_thickness;  // by node ID
  std::vector<int> moved_nodes;           // IDs, ascending: put from an offset to the middle of their shell
  std::vector<DeckCard> cards;            // of couplings, steps and loads, in the order of the input
  std::vector<LineElement> lines;         // ascending IDs
  std::vector<ReferenceNode> references;  // those that belong to the body

  [[nodiscard]] Place place_of(const MeshElement &element) const {
    return {files[static_cast<std::size_t>(element.file)], element.line};
  }
  [[nodiscard]] const int *nodes_of(const MeshElement &element) const { return &connectivity[element.first_node]; }
  // The thickness of a shell at each of its nodes; empty for solids.
  [[nodiscard]] std::vector<double> thicknesses(const MeshElement &element) const;
  // The members of a node set, ascending. Throws InputError, with the sets that there are, when there is none of this
  // name.
  [[nodiscard]] const std::vector<int> &node_set(const std::string &name) const;
  // The position of a node or an element by its ID, or -1.
  [[nodiscard]] int node_position(int id) const;
  [[nodiscard]] int element_position(int id) const;
  [[nodiscard]] const LineElement *line(int id) const;  // or null
};

}  // namespace sbrtranslate

#endif
