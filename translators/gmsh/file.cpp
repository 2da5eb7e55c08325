#include "gmsh/file.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <map>
#include <set>
#include <span>
#include <unordered_map>
#include <utility>
#include <vector>

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

class MshReader {
 public:
  explicit MshReader(const std::string &path) : reader_(path) { mesh_.files = {path}; }
  Mesh read();

 private:
  std::vector<std::string_view> words(std::size_t least, const char *what);
  std::int64_t whole(std::string_view text, const char *what) const;
  std::size_t count(std::string_view text, std::size_t bytes_each, const char *what) const;
  int id(std::string_view text, const char *what) const;
  void end_section(const char *name);
  void skip_section(const std::string &name);
  void format();
  void physical_names();
  void entities();
  void nodes_2();
  void nodes_4();
  void elements_2();
  void elements_4();
  void add_node(int number, const std::string_view *place);
  void add_element(int number, int kind, std::span<const std::string_view> nodes, const std::vector<int> &groups);
  void finish();

  LineReader reader_;
  std::string_view line_;
  Mesh mesh_;
  int version_ = 0;
  std::map<std::pair<int, int>, std::string> names_;                  // of groups, by dimension and tag
  std::map<std::pair<int, int>, std::vector<int>> groups_of_entity_;  // likewise of entities
  std::vector<MeshElement> solids_, shells_;
};

std::vector<std::string_view> MshReader::words(std::size_t least, const char *what) {
  do {
    if (!reader_.next(line_)) reader_.fail(std::string("the file ends where ") + what + " should be");
  } while (trim(line_).empty());
  auto list = split_words(line_);
  if (list.size() < least)
    reader_.fail(std::string(what) + " expected, found '" + std::string(line_.substr(0, 40)) + "'");
  return list;
}

std::int64_t MshReader::whole(std::string_view text, const char *what) const {
  const auto value = to_int(text);
  if (!value) reader_.fail(std::string(what) + " expected, found '" + std::string(text.substr(0, 20)) + "'");
  return *value;
}

// A count that the file can hold.
std::size_t MshReader::count(std::string_view text, std::size_t bytes_each, const char *what) const {
  const std::int64_t value = whole(text, what);
  const std::uint64_t room = reader_.descriptor() >= 0 ? reader_.size() : reader_.size() * 1024;
  if (value < 0 || (reader_.size() != 0 && static_cast<std::uint64_t>(value) > room / bytes_each))
    reader_.fail(std::to_string(value) + ": the file is too short for this " + what);
  return static_cast<std::size_t>(value);
}

int MshReader::id(std::string_view text, const char *what) const {
  const std::int64_t value = whole(text, what);
  if (value < 1) reader_.fail(std::string(what) + " " + std::to_string(value) + " is not above zero");
  return static_cast<int>(value);
}

void MshReader::end_section(const char *name) {
  if (words(1, name)[0] != name) reader_.fail(std::string(name) + " expected");
}

void MshReader::skip_section(const std::string &name) {
  const std::string end = "$End" + name.substr(1);
  while (words(1, end.c_str())[0] != end) {
  }
}

void MshReader::format() {
  const auto head = words(3, "version, kind and size");
  if (head[0] == "2.2" || head[0] == "2") version_ = 2;
  if (head[0] == "4.1") version_ = 4;
  if (version_ == 0)
    reader_.fail("version " + std::string(head[0]) + " of the format; save the mesh as MSH 4.1 or 2.2");
  if (head[1] != "0") reader_.fail("a binary mesh; save it as text (gmsh -bin 0, or Mesh.Binary = 0)");
  end_section("$EndMeshFormat");
}

void MshReader::physical_names() {
  const std::size_t total = count(words(1, "a count of names")[0], 4, "count of names");
  for (std::size_t i = 0; i < total; ++i) {
    const auto head = words(3, "dimension, tag and name of a group");
    const std::size_t open = line_.find('"');
    const std::size_t close = line_.rfind('"');
    if (open == std::string_view::npos || close <= open) reader_.fail("the name of a group in quotes expected");
    names_[{static_cast<int>(whole(head[0], "a dimension")), static_cast<int>(whole(head[1], "a tag"))}] =
        upper(trim(line_.substr(open + 1, close - open - 1)));
  }
  end_section("$EndPhysicalNames");
}

// Points have three coordinates, other entities a box; then come the tags of their groups.
void MshReader::entities() {
  const auto counts = words(4, "four counts of entities");
  std::array<std::size_t, 4> totals{};
  for (std::size_t d = 0; d < 4; ++d) totals[d] = count(counts[d], 4, "count of entities");
  for (std::size_t d = 0; d < 4; ++d)
    for (std::size_t i = 0; i < totals[d]; ++i) {
      const std::size_t head = d == 0 ? 4 : 7;
      const auto row = words(head + 1, "an entity");
      const std::int64_t tags = whole(row[head], "a count of groups");
      if (tags < 0 || static_cast<std::size_t>(tags) > row.size() - head - 1)
        reader_.fail("the groups of an entity expected");
      auto &groups = groups_of_entity_[{static_cast<int>(d), static_cast<int>(whole(row[0], "a tag"))}];
      for (std::size_t k = 0; k < static_cast<std::size_t>(tags); ++k)
        groups.push_back(static_cast<int>(std::abs(whole(row[head + 1 + k], "a group"))));
    }
  end_section("$EndEntities");
}

void MshReader::add_node(int number, const std::string_view *place) {
  MeshNode node;
  node.id = number;
  for (std::size_t k = 0; k < 3; ++k) {
    const auto value = to_double(place[k]);
    if (!value) reader_.fail("a coordinate expected, found '" + std::string(place[k].substr(0, 20)) + "'");
    node.place[k] = *value;
  }
  mesh_.nodes.push_back(node);
}

void MshReader::nodes_2() {
  const std::size_t total = count(words(1, "a count of nodes")[0], 8, "count of nodes");
  for (std::size_t i = 0; i < total; ++i) {
    const auto row = words(4, "a node");
    add_node(id(row[0], "node"), &row[1]);
  }
  end_section("$EndNodes");
}

void MshReader::nodes_4() {
  const auto counts = words(4, "four counts of nodes");
  const std::size_t blocks = count(counts[0], 8, "count of blocks");
  std::vector<int> tags;
  for (std::size_t b = 0; b < blocks; ++b) {
    const auto head = words(4, "the head of a block of nodes");
    const std::size_t total = count(head[3], 8, "count of nodes");
    tags.clear();
    for (std::size_t i = 0; i < total; ++i) tags.push_back(id(words(1, "a node")[0], "node"));
    for (const int tag : tags) add_node(tag, words(3, "three coordinates").data());
  }
  end_section("$EndNodes");
}

void MshReader::add_element(int number, int kind, std::span<const std::string_view> nodes,
                            const std::vector<int> &groups) {
  const auto found = elements().find(kind);
  if (found == elements().end())
    reader_.fail("element " + std::to_string(number) + " of type " + std::to_string(kind) + " is not supported");
  const FileElement &facts = found->second;
  if (nodes.size() != static_cast<std::size_t>(facts.nodes))
    reader_.fail("element " + std::to_string(number) + " has " + std::to_string(nodes.size()) +
                 " nodes, its type has " + std::to_string(facts.nodes));
  std::vector<int> ids;
  for (const std::string_view node : nodes) ids.push_back(id(node, "node"));
  for (const int group : groups) {
    const auto name = names_.find({facts.dimension, group});
    auto &members = mesh_.node_sets[name != names_.end() ? name->second : "PHYSICAL_" + std::to_string(group)];
    members.insert(members.end(), ids.begin(), ids.end());
  }
  if (*facts.type == '\0') return;
  MeshElement element;
  element.id = number;
  element.type = element_type(facts.type);
  element.line = static_cast<std::uint32_t>(reader_.line());
  element.first_node = static_cast<std::uint32_t>(mesh_.connectivity.size());
  for (std::size_t i = 0; i < ids.size(); ++i)
    mesh_.connectivity.push_back(facts.order.empty() ? ids[i] : ids[static_cast<std::size_t>(facts.order[i])]);
  (facts.dimension == 3 ? solids_ : shells_).push_back(element);
}

void MshReader::elements_2() {
  const std::size_t total = count(words(1, "a count of elements")[0], 6, "count of elements");
  for (std::size_t i = 0; i < total; ++i) {
    const auto row = words(4, "an element");
    const std::int64_t tags = whole(row[2], "a count of tags");
    if (tags < 0 || static_cast<std::size_t>(tags) + 3 > row.size()) reader_.fail("an element with its tags expected");
    std::vector<int> groups;
    if (tags > 0)
      if (const std::int64_t group = whole(row[3], "a group"); group != 0) groups.push_back(static_cast<int>(group));
    add_element(id(row[0], "element"), static_cast<int>(whole(row[1], "an element type")),
                std::span(row).subspan(3 + static_cast<std::size_t>(tags)), groups);
  }
  end_section("$EndElements");
}

void MshReader::elements_4() {
  const auto counts = words(4, "four counts of elements");
  const std::size_t blocks = count(counts[0], 8, "count of blocks");
  for (std::size_t b = 0; b < blocks; ++b) {
    const auto head = words(4, "the head of a block of elements");
    const int dimension = static_cast<int>(whole(head[0], "a dimension"));
    const int entity = static_cast<int>(whole(head[1], "a tag"));
    const int kind = static_cast<int>(whole(head[2], "an element type"));
    const std::size_t total = count(head[3], 4, "count of elements");
    const auto groups = groups_of_entity_.find({dimension, entity});
    for (std::size_t i = 0; i < total; ++i) {
      const auto row = words(2, "an element");
      add_element(id(row[0], "element"), kind, std::span(row).subspan(1),
                  groups == groups_of_entity_.end() ? std::vector<int>() : groups->second);
    }
  }
  end_section("$EndElements");
}

void MshReader::finish() {
  mesh_.elements = solids_.empty() ? std::move(shells_) : std::move(solids_);
  if (mesh_.nodes.empty() || mesh_.elements.empty()) reader_.fail("the mesh has no nodes, or no solids or shells");
  std::sort(mesh_.nodes.begin(), mesh_.nodes.end(), [](const MeshNode &a, const MeshNode &b) { return a.id < b.id; });
  std::sort(mesh_.elements.begin(), mesh_.elements.end(),
            [](const MeshElement &a, const MeshElement &b) { return a.id < b.id; });
  for (std::size_t i = 1; i < mesh_.nodes.size(); ++i)
    if (mesh_.nodes[i].id == mesh_.nodes[i - 1].id)
      throw InputError({reader_.path(), 0}, "node " + std::to_string(mesh_.nodes[i].id) + " comes twice");
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
  for (auto &[name, members] : mesh_.node_sets) {
    std::sort(members.begin(), members.end());
    members.erase(std::unique(members.begin(), members.end()), members.end());
    for (const int member : members)
      if (mesh_.node_position(member) < 0)
        throw InputError({reader_.path(), 0},
                         "group " + name + " names node " + std::to_string(member) + ", which the file does not have");
  }
}

Mesh MshReader::read() {
  while (reader_.next(line_)) {
    const std::string name(trim(line_));
    if (name.empty()) continue;
    if (name[0] != '$') reader_.fail("not a gmsh mesh: a section ($...) expected");
    if (name == "$MeshFormat")
      format();
    else if (version_ == 0)
      reader_.fail("not a gmsh mesh: $MeshFormat has to come first");
    else if (name == "$PhysicalNames")
      physical_names();
    else if (name == "$Entities")
      entities();
    else if (name == "$Nodes")
      version_ == 2 ? nodes_2() : nodes_4();
    else if (name == "$Elements")
      version_ == 2 ? elements_2() : elements_4();
    else
      skip_section(name);
  }
  finish();
  return std::move(mesh_);
}

// Nodes by their places, in cells of four tolerances.
class PlaceTable {
 public:
  PlaceTable(const std::vector<MeshNode> &nodes, double tolerance) : nodes_(nodes), tolerance_(tolerance) {
    for (std::size_t i = 0; i < nodes.size(); ++i) cells_.emplace(key(cell(nodes[i].place, 0.0, 0, 0, 0)), i);
  }
  // The nodes within the tolerance.
  [[nodiscard]] std::vector<std::size_t> near(const Vec3 &place) const {
    std::set<std::uint64_t> keys;
    for (const int x : {-1, 1})
      for (const int y : {-1, 1})
        for (const int z : {-1, 1}) keys.insert(key(cell(place, tolerance_, x, y, z)));
    std::vector<std::size_t> found;
    for (const std::uint64_t k : keys) {
      const auto [begin, end] = cells_.equal_range(k);
      for (auto at = begin; at != end; ++at)
        if (length(nodes_[at->second].place - place) <= tolerance_) found.push_back(at->second);
    }
    return found;
  }

 private:
  using Cell = std::array<std::int64_t, 3>;
  [[nodiscard]] Cell cell(const Vec3 &place, double step, int x, int y, int z) const {
    const double size = 4.0 * tolerance_;
    return {static_cast<std::int64_t>(std::floor((place[0] + x * step) / size)),
            static_cast<std::int64_t>(std::floor((place[1] + y * step) / size)),
            static_cast<std::int64_t>(std::floor((place[2] + z * step) / size))};
  }
  static std::uint64_t key(const Cell &cell) {
    std::uint64_t mixed = 0;
    for (const std::int64_t part : cell) mixed = (mixed ^ static_cast<std::uint64_t>(part)) * 0x9E3779B97F4A7C15U + 1;
    return mixed;
  }
  const std::vector<MeshNode> &nodes_;
  double tolerance_;
  std::unordered_multimap<std::uint64_t, std::size_t> cells_;
};

double extent_of(const Mesh &mesh) {
  Vec3 low = mesh.nodes.front().place;
  Vec3 high = low;
  double size = 0.0;
  for (const MeshNode &node : mesh.nodes)
    for (std::size_t k = 0; k < 3; ++k) {
      low[k] = std::min(low[k], node.place[k]);
      high[k] = std::max(high[k], node.place[k]);
      size = std::max(size, high[k] - low[k]);
    }
  return size;
}

}  // namespace

Mesh read_msh(const std::string &path) { return MshReader(path).read(); }

Mesh mesh_on_nodes(Mesh source, const Mesh &mesh) {
  const Place place{mesh.files.front(), 0};
  const double extent = extent_of(mesh);
  // Far from the origin, coordinates themselves are rounded.
  double far = extent;
  for (const MeshNode &node : mesh.nodes) far = std::max(far, length(node.place));
  Mesh joined = std::move(source);
  const PlaceTable table(joined.nodes, std::max(1e-5 * extent, 1e-12 * far));
  std::unordered_map<int, int> counterpart;  // IDs of the mesh to IDs of the source
  const auto found = [&](int id) {
    const auto known = counterpart.find(id);
    if (known != counterpart.end()) return known->second;
    const MeshNode &node = mesh.nodes[static_cast<std::size_t>(mesh.node_position(id))];
    const std::vector<std::size_t> near = table.near(node.place);
    const std::string where = "node " + std::to_string(id) + " of the mesh at " + show(node.place[0]) + ", " +
                              show(node.place[1]) + ", " + show(node.place[2]);
    if (near.empty()) throw InputError(place, where + ": the source of the modes has no node there");
    if (near.size() > 1) throw InputError(place, where + ": the source of the modes has several nodes there");
    return counterpart.emplace(id, joined.nodes[near.front()].id).first->second;
  };
  joined.files = mesh.files;
  for (const MeshElement &from : mesh.elements) {
    MeshElement element = from;
    element.first_node = static_cast<std::uint32_t>(joined.connectivity.size());
    for (int i = 0; i < from.type->nodes; ++i) joined.connectivity.push_back(found(mesh.nodes_of(from)[i]));
    joined.elements.push_back(element);
  }
  for (const auto &[name, members] : mesh.node_sets) {
    std::vector<int> ids;
    for (const int id : members) ids.push_back(found(id));
    if (!joined.node_sets.emplace(name, std::move(ids)).second)
      throw InputError(place, "group " + name + " has the name of a node set of the source");
  }
  return joined;
}

}  // namespace sbrtranslate
