#include "exodus/file.h"

#include <exodusII.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <map>
#include <numeric>

namespace sbrtranslate {
namespace {

// An element type of the format: the name of the same type in a deck, and where each of its nodes stands there. Bricks
// and wedges have their upright mid-edge nodes before those above.
struct FileType {
  const ElementType *type = nullptr;
  std::vector<int> order;  // order[i]: the node of the file that is node i of the type
};

std::vector<int> order_of(const ElementType &type) {
  std::vector<int> order(static_cast<std::size_t>(type.nodes));
  std::iota(order.begin(), order.end(), 0);
  const bool layered = type.family == Family::brick || type.family == Family::wedge;
  if (!layered || !type.quadratic()) return order;
  const int ring = type.corners / 2;
  for (int i = 0; i < ring; ++i) {
    order[static_cast<std::size_t>(type.corners + ring + i)] = type.corners + 2 * ring + i;
    order[static_cast<std::size_t>(type.corners + 2 * ring + i)] = type.corners + ring + i;
  }
  return order;
}

// The first letters of a type name decide its family, the number of nodes the rest.
const ElementType *type_of(const std::string &name, int nodes) {
  static const std::map<std::pair<std::string, int>, const char *> kTypes = {
      {{"HEX", 8}, "C3D8"}, {{"HEX", 20}, "C3D20"}, {{"TET", 4}, "C3D4"}, {{"TET", 10}, "C3D10"},
      {{"WED", 6}, "C3D6"}, {{"WED", 15}, "C3D15"}, {{"SHE", 4}, "S4"},   {{"SHE", 8}, "S8"},
      {{"SHE", 3}, "S3"},   {{"SHE", 6}, "S6"},     {{"QUA", 4}, "S4"},   {{"QUA", 8}, "S8"},
      {{"TRI", 3}, "S3"},   {{"TRI", 6}, "S6"}};
  const auto found = kTypes.find({upper(name).substr(0, 3), nodes});
  return found == kTypes.end() ? nullptr : element_type(found->second);
}

// The corners of the sides of solids, in the numbers of the format.
const std::vector<std::vector<int>> &solid_sides(Family family) {
  static const std::vector<std::vector<int>> kBrick = {{0, 1, 5, 4}, {1, 2, 6, 5}, {2, 3, 7, 6},
                                                       {0, 4, 7, 3}, {0, 3, 2, 1}, {4, 5, 6, 7}};
  static const std::vector<std::vector<int>> kTetrahedron = {{0, 1, 3}, {1, 2, 3}, {0, 3, 2}, {0, 2, 1}};
  static const std::vector<std::vector<int>> kWedge = {{0, 1, 4, 3}, {1, 2, 5, 4}, {0, 3, 5, 2}, {0, 2, 1}, {3, 4, 5}};
  return family == Family::brick ? kBrick : family == Family::wedge ? kWedge : kTetrahedron;
}

// The nodes of a side of an element, counted from 0 in the type's order; nothing for a side that it does not have.
// Shells have two sides, then their edges; plane elements have edges only.
std::vector<int> side_nodes(const ElementType &type, bool plane, int side) {
  std::vector<int> corners;
  if (!type.shell()) {
    const auto &sides = solid_sides(type.family);
    if (side < 1 || static_cast<std::size_t>(side) > sides.size()) return {};
    corners = sides[static_cast<std::size_t>(side) - 1];
  } else {
    const int edge = plane ? side - 1 : side - 3;
    if (!plane && (side == 1 || side == 2)) {
      for (int i = 0; i < type.corners; ++i) corners.push_back(i);
    } else {
      if (edge < 0 || edge >= type.corners) return {};
      corners = {edge, (edge + 1) % type.corners};
    }
  }
  const std::vector<int> middle = type.mid_nodes(corners);
  corners.insert(corners.end(), middle.begin(), middle.end());
  return corners;
}

bool is_plane(const std::string &type) { return upper(type).rfind("SHE", 0) != 0 && upper(type).rfind("TRIS", 0) != 0; }

}  // namespace

void ExodusFile::fail(const std::string &text) const { throw InputError({path_, 0}, text); }

void ExodusFile::require_success(int status, const char *what) const {
  if (status < 0) fail(std::string(what) + " cannot be read: the file is damaged or of another format");
}

std::size_t ExodusFile::checked(std::int64_t count, std::size_t bytes_each, const char *what) const {
  // What is packed takes a thousandth of its size at least.
  const std::uint64_t room = packed_ ? size_ * 1024 : size_;
  if (count < 0 || static_cast<std::uint64_t>(count) > room / bytes_each)
    fail(std::to_string(count) + ' ' + what + " cannot be in a file of " + std::to_string(size_) + " bytes");
  return static_cast<std::size_t>(count);
}

ExodusFile::ExodusFile(std::string path) : path_(std::move(path)) {
  std::error_code code;
  size_ = std::filesystem::file_size(path_, code);
  if (code) fail(code.message());
  if (FILE *file = std::fopen(path_.c_str(), "rb"); file != nullptr) {
    char magic[4] = {};
    const bool read = std::fread(magic, 1, 4, file) == 4;
    std::fclose(file);
    packed_ = read && std::string_view(magic, 4) == "\x89HDF";
    if (!read || (!packed_ && std::string_view(magic, 3) != "CDF")) fail("not an Exodus II file");
  } else {
    fail("cannot be opened");
  }
  ex_opts(0);  // the library's own messages stay away
  int word = 8;
  int stored = 0;
  float version = 0.0F;
  file_ = ex_open(path_.c_str(), EX_READ | EX_ALL_INT64_API, &word, &stored, &version);
  if (file_ < 0) fail("not an Exodus II file, or damaged");
}

ExodusFile::~ExodusFile() {
  if (file_ >= 0) ex_close(file_);
}

Mesh ExodusFile::read_mesh() {
  Mesh mesh;
  mesh.files = {path_};
  read_counts(mesh);
  read_nodes(mesh);
  read_blocks(mesh);
  read_sets(mesh);
  std::sort(mesh.nodes.begin(), mesh.nodes.end(), [](const MeshNode &a, const MeshNode &b) { return a.id < b.id; });
  std::sort(mesh.elements.begin(), mesh.elements.end(),
            [](const MeshElement &a, const MeshElement &b) { return a.id < b.id; });
  return mesh;
}

void ExodusFile::read_counts(Mesh &mesh) {
  ex_init_params counts = {};
  require_success(ex_get_init_ext(file_, &counts), "the head");
  counts.title[MAX_LINE_LENGTH] = '\0';
  mesh.title = counts.title;
  if (counts.num_dim != 3) fail("the mesh has " + std::to_string(counts.num_dim) + " dimensions, 3 are needed");
  nodes_ = checked(counts.num_nodes, 12, "nodes");
  elements_ = checked(counts.num_elem, 4, "elements");
  block_count_ = checked(counts.num_elem_blk, 4, "element blocks");
  node_sets_ = checked(counts.num_node_sets, 4, "node sets");
  side_sets_ = checked(counts.num_side_sets, 4, "side sets");
  if (nodes_ == 0 || elements_ == 0) fail("the file has no mesh");
}

// The map of IDs, which has to be one.
std::vector<int> ExodusFile::ids_of(int map_type, std::size_t count, const char *what) {
  std::vector<std::int64_t> map(count);
  require_success(ex_get_id_map(file_, static_cast<ex_entity_type>(map_type), map.data()), what);
  std::vector<int> ids;
  ids.reserve(count);
  for (const std::int64_t id : map) {
    if (id < 1 || id > 2147483647) fail(std::string(what) + " has the ID " + std::to_string(id));
    ids.push_back(static_cast<int>(id));
  }
  std::vector<int> sorted = ids;
  std::sort(sorted.begin(), sorted.end());
  const auto twice = std::adjacent_find(sorted.begin(), sorted.end());
  if (twice != sorted.end()) fail(std::string(what) + " has the ID " + std::to_string(*twice) + " twice");
  return ids;
}

void ExodusFile::read_nodes(Mesh &mesh) {
  std::vector<double> x(nodes_);
  std::vector<double> y(nodes_);
  std::vector<double> z(nodes_);
  require_success(ex_get_coord(file_, x.data(), y.data(), z.data()), "the coordinates");
  node_ids_ = ids_of(EX_NODE_MAP, nodes_, "the map of the nodes");
  mesh.nodes.reserve(nodes_);
  for (std::size_t i = 0; i < nodes_; ++i) {
    if (!std::isfinite(x[i]) || !std::isfinite(y[i]) || !std::isfinite(z[i]))
      fail("node " + std::to_string(node_ids_[i]) + " has a coordinate that is not a number");
    mesh.nodes.push_back({node_ids_[i], {x[i], y[i], z[i]}});
  }
}

std::vector<std::int64_t> ExodusFile::entity_ids(int type, std::size_t count) {
  std::vector<std::int64_t> ids(count);
  if (count != 0) require_success(ex_get_ids(file_, static_cast<ex_entity_type>(type), ids.data()), "the list of IDs");
  return ids;
}

std::string ExodusFile::entity_name(int type, std::int64_t id) {
  const auto longest =
      static_cast<std::size_t>(std::max<std::int64_t>(ex_inquire_int(file_, EX_INQ_DB_MAX_ALLOWED_NAME_LENGTH), 32));
  std::vector<char> name(std::min<std::size_t>(longest, 4096) + 1, '\0');
  ex_set_max_name_length(file_, static_cast<int>(name.size()) - 1);
  if (ex_get_name(file_, static_cast<ex_entity_type>(type), id, name.data()) < 0) return "";
  return std::string(trim(std::string_view(name.data())));
}

void ExodusFile::read_blocks(Mesh &mesh) {
  element_ids_ = ids_of(EX_ELEM_MAP, elements_, "the map of the elements");
  std::size_t first = 0;
  for (const std::int64_t id : entity_ids(EX_ELEM_BLOCK, block_count_)) {
    ExodusBlock block;
    block.id = id;
    block.name = entity_name(EX_ELEM_BLOCK, id);
    if (block.name.empty()) block.name = "BLOCK_" + std::to_string(id);
    block.first = first;
    read_block(mesh, block);
    first += block.count;
    blocks_.push_back(block);
  }
  if (first != elements_)
    fail("the blocks have " + std::to_string(first) + " elements, the head says " + std::to_string(elements_));
}

void ExodusFile::read_block(Mesh &mesh, ExodusBlock &block) {
  ex_block facts = {};
  facts.id = block.id;
  facts.type = EX_ELEM_BLOCK;
  require_success(ex_get_block_param(file_, &facts), "an element block");
  facts.topology[MAX_STR_LENGTH] = '\0';
  block.type = facts.topology;
  if (facts.num_entry == 0) return;
  const ElementType *type = type_of(block.type, static_cast<int>(facts.num_nodes_per_entry));
  if (type == nullptr)
    fail("block " + block.name + ": elements of type " + block.type + " with " +
         std::to_string(facts.num_nodes_per_entry) + " nodes are not supported");
  const auto width = static_cast<std::size_t>(type->nodes);
  block.count = checked(facts.num_entry, 4 * width, "elements of a block");
  if (block.first + block.count > elements_) fail("block " + block.name + " has more elements than the head says");
  std::vector<std::int64_t> nodes(block.count * width);
  require_success(ex_get_conn(file_, EX_ELEM_BLOCK, block.id, nodes.data(), nullptr, nullptr), "an element block");
  const std::vector<int> order = order_of(*type);
  for (std::size_t e = 0; e < block.count; ++e) {
    MeshElement element;
    element.id = element_ids_[block.first + e];
    element.type = type;
    element.first_node = static_cast<std::uint32_t>(mesh.connectivity.size());
    for (std::size_t i = 0; i < width; ++i) {
      const std::int64_t node = nodes[e * width + static_cast<std::size_t>(order[i])];
      if (node < 1 || static_cast<std::uint64_t>(node) > nodes_)
        fail("element " + std::to_string(element.id) + " names node " + std::to_string(node) + " of " +
             std::to_string(nodes_));
      mesh.connectivity.push_back(node_ids_[static_cast<std::size_t>(node) - 1]);
    }
    mesh.elements.push_back(element);
  }
  if (type->shell() && facts.num_attribute > 0)
    read_attributes(block, static_cast<std::size_t>(std::min<std::int64_t>(facts.num_attribute, 1000)));
}

// The thickness is the attribute of that name, or the only one.
void ExodusFile::read_attributes(const ExodusBlock &block, std::size_t attributes) {
  std::size_t index = attributes == 1 ? 1 : 0;
  std::vector<std::vector<char>> texts(attributes, std::vector<char>(4097, '\0'));
  std::vector<char *> names;
  for (auto &text : texts) names.push_back(text.data());
  if (ex_get_attr_names(file_, EX_ELEM_BLOCK, block.id, names.data()) >= 0)
    for (std::size_t i = 0; i < attributes; ++i)
      if (upper(trim(std::string_view(names[i]))) == "THICKNESS") index = i + 1;
  if (index == 0) return;
  std::vector<double> values(block.count);
  require_success(ex_get_one_attr(file_, EX_ELEM_BLOCK, block.id, static_cast<int>(index), values.data()),
                  "the thickness of a block");
  take(values, "the thickness of a block");
  thickness_.resize(elements_, 0.0);
  std::copy(values.begin(), values.end(), thickness_.begin() + static_cast<std::ptrdiff_t>(block.first));
}

void ExodusFile::read_node_set(std::int64_t id, std::vector<int> &members) {
  std::int64_t count = 0;
  std::int64_t factors = 0;
  require_success(ex_get_set_param(file_, EX_NODE_SET, id, &count, &factors), "a node set");
  std::vector<std::int64_t> list(checked(count, 4, "nodes of a set"));
  if (!list.empty()) require_success(ex_get_set(file_, EX_NODE_SET, id, list.data(), nullptr), "a node set");
  for (const std::int64_t node : list) {
    if (node < 1 || static_cast<std::uint64_t>(node) > nodes_)
      fail("node set " + std::to_string(id) + " names node " + std::to_string(node) + " of " + std::to_string(nodes_));
    members.push_back(node_ids_[static_cast<std::size_t>(node) - 1]);
  }
}

void ExodusFile::read_side_set(const Mesh &mesh, std::int64_t id, std::vector<int> &members) {
  std::int64_t count = 0;
  std::int64_t factors = 0;
  require_success(ex_get_set_param(file_, EX_SIDE_SET, id, &count, &factors), "a side set");
  std::vector<std::int64_t> list(checked(count, 8, "sides of a set"));
  std::vector<std::int64_t> sides(list.size());
  if (!list.empty()) require_success(ex_get_set(file_, EX_SIDE_SET, id, list.data(), sides.data()), "a side set");
  for (std::size_t i = 0; i < list.size(); ++i) {
    const std::string name = "side set " + std::to_string(id);
    if (list[i] < 1 || static_cast<std::uint64_t>(list[i]) > elements_)
      fail(name + " names element " + std::to_string(list[i]) + " of " + std::to_string(elements_));
    // The mesh is not sorted yet: elements stand in the order of the file.
    const auto at = static_cast<std::size_t>(list[i]) - 1;
    const MeshElement &element = mesh.elements[at];
    const auto block = std::find_if(blocks_.begin(), blocks_.end(),
                                    [&](const ExodusBlock &b) { return at >= b.first && at < b.first + b.count; });
    const int side = sides[i] < 1 || sides[i] > 6 ? 0 : static_cast<int>(sides[i]);
    const std::vector<int> nodes = side_nodes(*element.type, is_plane(block->type), side);
    if (nodes.empty())
      fail(name + ": element " + std::to_string(element.id) + " has no side " + std::to_string(sides[i]));
    for (const int node : nodes) members.push_back(mesh.nodes_of(element)[node]);
  }
  std::sort(members.begin(), members.end());
  members.erase(std::unique(members.begin(), members.end()), members.end());
}

void ExodusFile::read_sets(Mesh &mesh) {
  std::map<std::string, int> names;
  const auto add = [&](int type, const char *prefix, std::int64_t id, std::vector<int> members) {
    const std::string name = upper(entity_name(type, id));
    if (!name.empty() && ++names[name] == 1)
      mesh.node_sets[name] = members;
    else
      mesh.node_sets.erase(name);
    mesh.node_sets[prefix + std::to_string(id)] = std::move(members);
  };
  for (const std::int64_t id : entity_ids(EX_NODE_SET, node_sets_)) {
    std::vector<int> members;
    read_node_set(id, members);
    add(EX_NODE_SET, "NODESET_", id, std::move(members));
  }
  for (const std::int64_t id : entity_ids(EX_SIDE_SET, side_sets_)) {
    std::vector<int> members;
    read_side_set(mesh, id, members);
    add(EX_SIDE_SET, "SIDESET_", id, std::move(members));
  }
}

void ExodusFile::take(const std::vector<double> &values, const char *what) const {
  for (const double value : values)
    if (!std::isfinite(value)) fail(std::string(what) + " has a value that is not a number");
}

std::vector<double> ExodusFile::times() {
  std::vector<double> values(checked(ex_inquire_int(file_, EX_INQ_TIME), 8, "time steps"));
  if (!values.empty()) require_success(ex_get_all_times(file_, values.data()), "the time steps");
  take(values, "the list of time steps");
  return values;
}

std::vector<std::string> ExodusFile::variables(int type) {
  int count = 0;
  if (ex_get_variable_param(file_, static_cast<ex_entity_type>(type), &count) < 0) return {};
  std::vector<std::string> names;
  const auto total = checked(count, 1, "variables");
  for (std::size_t i = 0; i < total; ++i) {
    char name[4097] = {};
    require_success(ex_get_variable_name(file_, static_cast<ex_entity_type>(type), static_cast<int>(i) + 1, name),
                    "the name of a variable");
    names.emplace_back(trim(std::string_view(name)));
  }
  return names;
}

std::vector<std::string> ExodusFile::nodal_variables() { return variables(EX_NODAL); }
std::vector<std::string> ExodusFile::element_variables() { return variables(EX_ELEM_BLOCK); }

bool ExodusFile::block_has(const ExodusBlock &block, std::size_t variable) {
  int declared = 0;
  if (ex_get_variable_param(file_, EX_ELEM_BLOCK, &declared) < 0) return false;
  const std::size_t count = checked(declared, 1, "variables");
  std::vector<int> present(count, 0);
  if (ex_get_object_truth_vector(file_, EX_ELEM_BLOCK, block.id, static_cast<int>(count), present.data()) < 0)
    return false;
  return variable < count && present[variable] != 0;
}

void ExodusFile::nodal_values(std::size_t step, std::size_t variable, std::vector<double> &values) {
  values.resize(nodes_);
  require_success(ex_get_var(file_, static_cast<int>(step) + 1, EX_NODAL, static_cast<int>(variable) + 1, 1,
                             static_cast<std::int64_t>(nodes_), values.data()),
                  "a nodal variable");
  take(values, "a nodal variable");
}

void ExodusFile::element_values(std::size_t step, std::size_t variable, const ExodusBlock &block,
                                std::vector<double> &values) {
  values.resize(block.count);
  require_success(ex_get_var(file_, static_cast<int>(step) + 1, EX_ELEM_BLOCK, static_cast<int>(variable) + 1, block.id,
                             static_cast<std::int64_t>(block.count), values.data()),
                  "an element variable");
  take(values, "an element variable");
}

}  // namespace sbrtranslate
