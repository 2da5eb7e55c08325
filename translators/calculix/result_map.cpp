#include "calculix/result_map.h"

#include <algorithm>
#include <cmath>
#include <tuple>

namespace sbrtranslate {
namespace {

// The types of the file by number, and which of its nodes lie on the lower and upper side of a shell. Mid-edge nodes of
// bricks and wedges stand in the order below, upright, above.
struct Expansion {
  int type;
  Family family;
  bool quadratic;
};
constexpr Expansion kExpansions[] = {{1, Family::quadrangle, false},
                                     {4, Family::quadrangle, true},
                                     {2, Family::triangle, false},
                                     {5, Family::triangle, true}};

bool expands(const ElementType &type, int file_type) {
  return std::any_of(std::begin(kExpansions), std::end(kExpansions), [&](const Expansion &expansion) {
    return expansion.type == file_type && expansion.family == type.family && expansion.quadratic == type.quadratic();
  });
}

std::string node_text(int id) { return "node " + std::to_string(id); }

constexpr const char *kKindNames[] = {"displacement", "stress", "strain"};

}  // namespace

Survey ResultMap::survey(const std::string &path) {
  element_seen_.assign(model_.mesh.elements.size(), 0);
  mode_has_.assign(3, 0);
  read_results(path, *this);
  if (survey_.modes.empty()) throw InputError({path, 0}, "the file has no modes (a *FREQUENCY step is expected)");
  for (std::size_t k = 1; k < 3; ++k) {
    bool &all = k == 1 ? survey_.stress : survey_.strain;
    if (survey_.modes.size() == 1)
      all = mode_has_[k] != 0;
    else
      all = all && mode_has_[k] != 0;
  }
  return survey_;
}

void ResultMap::feed(const std::string &path, ResultReceiver &receiver) {
  receiver_ = &receiver;
  values_.assign(6 * model_.nodes.size(), 0.0);
  read_results(path, *this);
  receiver_ = nullptr;
}

// ---- The mesh

void ResultMap::node(int id, const Vec3 &xyz, const Place &place) {
  if (receiver_ == nullptr) file_nodes_.push_back({id, xyz, place.line});
}

void ResultMap::element(int id, int type, std::span<const int> nodes, const Place &place) {
  if (receiver_ != nullptr) return;
  const int position = model_.mesh.element_position(id);
  if (position < 0) throw InputError(place, "element " + std::to_string(id) + " is not in the deck");
  const MeshElement &element = model_.mesh.elements[static_cast<std::size_t>(position)];
  element_seen_[static_cast<std::size_t>(position)] = 1;
  if (element.type->shell() && expands(*element.type, type))
    add_pairs(element, nodes);
  else
    same_nodes(element, nodes, place);
}

void ResultMap::same_nodes(const MeshElement &element, std::span<const int> nodes, const Place &place) const {
  std::vector<int> here(nodes.begin(), nodes.end());
  const int *ids = model_.mesh.nodes_of(element);
  std::vector<int> there(ids, ids + element.type->nodes);
  std::sort(here.begin(), here.end());
  std::sort(there.begin(), there.end());
  if (here != there)
    throw InputError(place, "element " + std::to_string(element.id) + " has other nodes than in the deck");
}

void ResultMap::add_pairs(const MeshElement &element, std::span<const int> nodes) {
  const auto corners = static_cast<std::size_t>(element.type->corners);
  const auto count = static_cast<std::size_t>(element.type->nodes);
  const int *ids = model_.mesh.nodes_of(element);
  std::vector<Vec3> places;
  for (std::size_t i = 0; i < count; ++i)
    places.push_back(model_.nodes[static_cast<std::size_t>(model_.node_position(ids[i]))].place);
  Moments unused;
  const double thickness = model_.mesh.sections[static_cast<std::size_t>(element.section)].thickness;
  const ElementMass shell = lump_mass(*element.type, places, 1.0, thickness, unused);
  for (std::size_t i = 0; i < count; ++i) {
    // Corners: below, above. Mid-edge nodes: below, upright, above.
    const std::size_t below = i < corners ? i : i + corners;
    const std::size_t above = i < corners ? i + corners : i + 3 * corners;
    Pair pair;
    pair.body = static_cast<std::size_t>(model_.node_position(ids[i]));
    pair.bottom_id = nodes[below];
    pair.top_id = nodes[above];
    pair.normal = shell.normals[i];
    pair.thickness = thickness;
    pairs_.push_back(pair);
  }
}

int ResultMap::file_position(int id) const {
  const auto found = std::lower_bound(file_nodes_.begin(), file_nodes_.end(), id,
                                      [](const FileNode &node, int wanted) { return node.id < wanted; });
  return found != file_nodes_.end() && found->id == id ? static_cast<int>(found - file_nodes_.begin()) : -1;
}

// The middle between both sides is the shell's node, within the six digits of the file.
void ResultMap::check_pair(const Pair &pair, const Place &place) const {
  const BodyNode &node = model_.nodes[pair.body];
  if (pair.bottom < 0 || pair.top < 0)
    throw InputError(place, "the expansion of " + node_text(node.id) + " has no nodes in the file");
  const FileNode &bottom = file_nodes_[static_cast<std::size_t>(pair.bottom)];
  const FileNode &top = file_nodes_[static_cast<std::size_t>(pair.top)];
  const Vec3 middle = 0.5 * (bottom.place + top.place);
  if (length(middle - node.place) > 1e-5 * (length(node.place) + model_.extent) + 0.25 * pair.thickness)
    throw InputError({place.file, bottom.line},
                     "the mesh is not that of the deck: " + node_text(node.id) + " of a shell lies elsewhere");
}

void ResultMap::mesh_done(const Place &place) {
  if (receiver_ != nullptr) return;
  check_file_nodes(place);
  for (std::size_t e = 0; e < element_seen_.size(); ++e)
    if (element_seen_[e] == 0)
      throw InputError(place,
                       "element " + std::to_string(model_.mesh.elements[e].id) + " of the deck is not in the file");
  merge_pairs(place);
  map_nodes(place);
  raw_.assign(6 * file_nodes_.size(), 0.0);
  stamp_.assign(file_nodes_.size(), 0);
}

// Each node of the file is there once, and lies where the deck has it, within the six digits of the file.
void ResultMap::check_file_nodes(const Place &place) {
  std::sort(file_nodes_.begin(), file_nodes_.end(), [](const FileNode &a, const FileNode &b) { return a.id < b.id; });
  for (std::size_t i = 1; i < file_nodes_.size(); ++i)
    if (file_nodes_[i].id == file_nodes_[i - 1].id)
      throw InputError({place.file, file_nodes_[i].line}, node_text(file_nodes_[i].id) + " comes twice");
  for (const FileNode &node : file_nodes_) {
    const int position = model_.node_position(node.id);
    if (position < 0) {
      if (!model_.has_shells && model_.mesh.node_position(node.id) < 0)
        throw InputError({place.file, node.line}, node_text(node.id) + " is not in the deck: results of another mesh?");
      continue;
    }
    // The expansion gives new nodes numbers of their own.
    const BodyNode &body = model_.nodes[static_cast<std::size_t>(position)];
    if (body.shell && !pairs_.empty() && !body.solid) continue;
    if (length(node.place - body.place) > 1e-5 * (length(body.place) + 0.1 * model_.extent))
      throw InputError({place.file, node.line},
                       "the mesh is not that of the deck: " + node_text(node.id) + " lies elsewhere there");
  }
}

// Elements that share both nodes of a pair share the pair; their normals add up.
void ResultMap::merge_pairs(const Place &place) {
  std::sort(pairs_.begin(), pairs_.end(), [](const Pair &a, const Pair &b) {
    return std::tie(a.body, a.bottom_id, a.top_id) < std::tie(b.body, b.bottom_id, b.top_id);
  });
  std::size_t kept = 0;
  for (const Pair &pair : pairs_) {
    if (kept != 0 && pairs_[kept - 1].body == pair.body && pairs_[kept - 1].bottom_id == pair.bottom_id &&
        pairs_[kept - 1].top_id == pair.top_id)
      pairs_[kept - 1].normal = pairs_[kept - 1].normal + pair.normal;
    else
      pairs_[kept++] = pair;
  }
  pairs_.resize(kept);
  for (Pair &pair : pairs_) {
    pair.bottom = file_position(pair.bottom_id);
    pair.top = file_position(pair.top_id);
    check_pair(pair, place);
    if (const double size = length(pair.normal); size > 0.0) pair.normal = (1.0 / size) * pair.normal;
  }
}

// A node that no pair stands for is its own in the file; so is a node of solids.
void ResultMap::map_nodes(const Place &place) {
  std::vector<char> expanded(model_.nodes.size(), 0);
  for (const Pair &pair : pairs_) expanded[pair.body] = 1;
  direct_.assign(model_.nodes.size(), -1);
  for (std::size_t i = 0; i < model_.nodes.size(); ++i) {
    const BodyNode &node = model_.nodes[i];
    if (node.solid || expanded[i] == 0) {
      direct_[i] = file_position(node.id);
      if (direct_[i] < 0) throw InputError(place, node_text(node.id) + " of the deck is not in the file");
    }
    if (node.shell && expanded[i] == 0) missing_rotations_ = true;
  }
}

// ---- Values

void ResultMap::begin_mode(const ResultSet &set, const Place &place) {
  const int last = static_cast<int>(survey_.modes.size());
  if (set.mode == last + 1) {
    if (set.kind != ResultKind::displacement)
      throw InputError(place, "mode " + std::to_string(set.mode) + " begins without its displacement");
    if (last != 0)
      for (std::size_t k = 1; k < 3; ++k) {
        bool &all = k == 1 ? survey_.stress : survey_.strain;
        all = (last == 1 || all) && mode_has_[k] != 0;
      }
    mode_has_.assign(3, 0);
    survey_.modes.push_back({set.eigenvalue, set.generalized_mass, set.hz, place.line});
  } else if (set.mode != last) {
    throw InputError(place, "mode " + std::to_string(last + 1) + " expected, found " + std::to_string(set.mode) +
                                ": one frequency step with all of its modes is expected");
  }
  const auto kind = static_cast<std::size_t>(set.kind);
  if (mode_has_[kind] != 0)
    throw InputError(place, std::string("a second ") + kKindNames[kind] + " of mode " + std::to_string(set.mode));
  mode_has_[kind] = 1;
}

bool ResultMap::begin_set(const ResultSet &set, const Place &place) {
  if (set.mode > most_modes_) return false;
  if (receiver_ == nullptr) {
    begin_mode(set, place);
    return false;
  }
  if (!receiver_->wants(set.kind)) return false;
  set_ = set;
  ++set_count_;
  return true;
}

void ResultMap::value(int node, std::span<const double> values, const Place &place) {
  if (hint_ >= file_nodes_.size() || file_nodes_[hint_].id != node) {
    const int position = file_position(node);
    if (position < 0) throw InputError(place, node_text(node) + " is not in the mesh of the file");
    hint_ = static_cast<std::size_t>(position);
  }
  if (stamp_[hint_] == set_count_) throw InputError(place, node_text(node) + " comes twice");
  stamp_[hint_] = set_count_;
  double *raw = &raw_[6 * hint_];
  std::copy(values.begin(), values.end(), raw);
  if (values.size() == 6) std::swap(raw[4], raw[5]);  // the file has yz before zx
  if (set_.kind == ResultKind::strain)
    for (std::size_t k = 3; k < 6; ++k) raw[k] *= 2.0;  // tensor components there, angles in the record
  ++hint_;
}

bool ResultMap::wanted_node(std::size_t body) const {
  return receiver_ == nullptr || receiver_->wants_node(set_.kind, body);
}

void ResultMap::check_complete(const Place &place) const {
  const auto check = [&](std::size_t body, int position) {
    if (position >= 0 && wanted_node(body) && stamp_[static_cast<std::size_t>(position)] != set_count_)
      throw InputError(place, std::string(kKindNames[static_cast<std::size_t>(set_.kind)]) + " of mode " +
                                  std::to_string(set_.mode) + " has no values at " +
                                  node_text(file_nodes_[static_cast<std::size_t>(position)].id) +
                                  "; results at all nodes are needed");
  };
  for (std::size_t i = 0; i < direct_.size(); ++i) check(i, direct_[i]);
  for (const Pair &pair : pairs_) {
    check(pair.body, pair.bottom);
    check(pair.body, pair.top);
  }
}

// Adds what a pair tells of its node: the mean of both sides and the turn between them, or the side that is asked for.
void ResultMap::add_side(const Pair &pair, double *six) const {
  const double *bottom = &raw_[6 * static_cast<std::size_t>(pair.bottom)];
  const double *top = &raw_[6 * static_cast<std::size_t>(pair.top)];
  if (set_.kind != ResultKind::displacement) {
    for (std::size_t k = 0; k < 6; ++k)
      six[k] += side_ == ShellSide::top ? top[k] : side_ == ShellSide::bottom ? bottom[k] : 0.5 * (top[k] + bottom[k]);
    return;
  }
  const Vec3 difference = Vec3{top[0], top[1], top[2]} - Vec3{bottom[0], bottom[1], bottom[2]};
  const Vec3 turn = (1.0 / pair.thickness) * cross(pair.normal, difference);
  for (std::size_t k = 0; k < 3; ++k) {
    six[k] += 0.5 * (top[k] + bottom[k]);
    six[3 + k] += turn[k];
  }
}

void ResultMap::end_set(const Place &place) {
  check_complete(place);
  const bool shape = set_.kind == ResultKind::displacement;
  std::fill(values_.begin(), values_.end(), 0.0);
  for (std::size_t i = 0; i < pairs_.size();) {
    std::size_t end = i;
    double *six = &values_[6 * pairs_[i].body];
    while (end < pairs_.size() && pairs_[end].body == pairs_[i].body) add_side(pairs_[end++], six);
    for (std::size_t k = 0; k < 6; ++k) six[k] /= static_cast<double>(end - i);
    i = end;
  }
  for (std::size_t i = 0; i < direct_.size(); ++i)
    if (direct_[i] >= 0) std::copy_n(&raw_[6 * static_cast<std::size_t>(direct_[i])], shape ? 3 : 6, &values_[6 * i]);
  receiver_->take(set_, values_);
}

}  // namespace sbrtranslate
