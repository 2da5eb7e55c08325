// What a gmsh mesh becomes, whether it was read as text or as bytes: nodes, elements, and node sets of its groups.
#ifndef SBRKIT_TRANSLATORS_GMSH_GATHERER_H
#define SBRKIT_TRANSLATORS_GMSH_GATHERER_H

#include <map>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "common/mesh.h"

namespace sbrtranslate {

class MeshGatherer {
 public:
  explicit MeshGatherer(const std::string &path) { mesh_.files = {path}; }

  // Groups and entities are known by their dimension and tag.
  void name_group(int dimension, int group, std::string_view name);
  void add_to_group(int dimension, int entity, int group);
  [[nodiscard]] const std::vector<int> &groups_of(int dimension, int entity) const;
  void add_node(int number, const Vec3 &place) { mesh_.nodes.push_back({number, place}); }
  // How many nodes an element of a type has. Throws InputError for a type that is not supported.
  [[nodiscard]] static int nodes_of_type(int kind, int number, const Place &place);
  void add_element(int number, int kind, std::span<const int> nodes, std::span<const int> groups, const Place &place);
  // The mesh of the solids, or of the shells where there are none. Throws InputError for what does not fit together.
  Mesh finish();

 private:
  void sort_items();
  void check_items();
  Mesh mesh_;
  std::map<std::pair<int, int>, std::string> names_;
  std::map<std::pair<int, int>, std::vector<int>> groups_of_entity_;
  std::vector<MeshElement> solids_, shells_;
};

}  // namespace sbrtranslate

#endif
