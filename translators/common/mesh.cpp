#include "common/mesh.h"

#include <algorithm>

namespace sbrtranslate {
namespace {

template <class Item>
int position_of(const std::vector<Item> &items, int id) {
  const auto found =
      std::lower_bound(items.begin(), items.end(), id, [](const Item &item, int wanted) { return item.id < wanted; });
  return found != items.end() && found->id == id ? static_cast<int>(found - items.begin()) : -1;
}

}  // namespace

int Mesh::node_position(int id) const { return position_of(nodes, id); }

const LineElement *Mesh::line(int id) const {
  const int position = position_of(lines, id);
  return position < 0 ? nullptr : &lines[static_cast<std::size_t>(position)];
}

const std::vector<int> &Mesh::node_set(const std::string &name) const {
  const auto set = node_sets.find(upper(name));
  if (set != node_sets.end()) return set->second;
  std::string names;
  for (const auto &[known, members] : node_sets) names += (names.empty() ? "" : ", ") + known;
  throw InputError({files.front(), 0},
                   "no node set '" + name + "'" + (names.empty() ? "; the deck has none" : "; there are " + names));
}

int Mesh::element_position(int id) const { return position_of(elements, id); }

}  // namespace sbrtranslate
