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

#include "gmsh/binary.h"
#include "gmsh/gatherer.h"

namespace sbrtranslate {
namespace {

class MshReader {
 public:
  explicit MshReader(const std::string &path) : reader_(path), gatherer_(path) {}
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

  LineReader reader_;
  std::string_view line_;
  MeshGatherer gatherer_;
  int version_ = 0;
  bool binary_ = false;
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
  binary_ = head[1] == "1";
  if (!binary_) end_section("$EndMeshFormat");
}

void MshReader::physical_names() {
  const std::size_t total = count(words(1, "a count of names")[0], 4, "count of names");
  for (std::size_t i = 0; i < total; ++i) {
    const auto head = words(3, "dimension, tag and name of a group");
    const std::size_t open = line_.find('"');
    const std::size_t close = line_.rfind('"');
    if (open == std::string_view::npos || close <= open) reader_.fail("the name of a group in quotes expected");
    gatherer_.name_group(static_cast<int>(whole(head[0], "a dimension")), static_cast<int>(whole(head[1], "a tag")),
                         line_.substr(open + 1, close - open - 1));
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
      const int entity = static_cast<int>(whole(row[0], "a tag"));
      for (std::size_t k = 0; k < static_cast<std::size_t>(tags); ++k)
        gatherer_.add_to_group(static_cast<int>(d), entity, static_cast<int>(whole(row[head + 1 + k], "a group")));
    }
  end_section("$EndEntities");
}

void MshReader::add_node(int number, const std::string_view *place) {
  Vec3 at{};
  for (std::size_t k = 0; k < 3; ++k) {
    const auto value = to_double(place[k]);
    if (!value) reader_.fail("a coordinate expected, found '" + std::string(place[k].substr(0, 20)) + "'");
    at[k] = *value;
  }
  gatherer_.add_node(number, at);
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
  std::vector<int> ids;
  for (const std::string_view node : nodes) ids.push_back(id(node, "node"));
  gatherer_.add_element(number, kind, ids, groups, reader_.place());
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
    for (std::size_t i = 0; i < total; ++i) {
      const auto row = words(2, "an element");
      add_element(id(row[0], "element"), kind, std::span(row).subspan(1), gatherer_.groups_of(dimension, entity));
    }
  }
  end_section("$EndElements");
}

Mesh MshReader::read() {
  while (reader_.next(line_)) {
    const std::string name(trim(line_));
    if (name.empty()) continue;
    if (name[0] != '$') reader_.fail("not a gmsh mesh: a section ($...) expected");
    if (name == "$MeshFormat") {
      format();
      if (binary_) return read_binary_msh(reader_.path());
      continue;
    }
    if (version_ == 0) reader_.fail("not a gmsh mesh: $MeshFormat has to come first");
    if (name == "$PhysicalNames")
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
  return gatherer_.finish();
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
