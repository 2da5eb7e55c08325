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
  plain_ = pairs_.empty() && !motion_ && beams_.empty() && model_.mesh.references.empty();
  values_.assign((plain_ ? 3 : 6) * model_.nodes.size(), 0.0);
  if (!plain_) raw_.assign(6 * file_ids_.size(), 0.0);
  body_of_.assign(file_ids_.size(), -1);
  for (std::size_t i = 0; i < direct_.size(); ++i)
    if (direct_[i] >= 0) body_of_[static_cast<std::size_t>(direct_[i])] = static_cast<int>(i);
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
  if (const LineElement *line = model_.mesh.line(id)) return add_beam(*line, type, nodes, place);
  if (position < 0) throw InputError(place, "element " + std::to_string(id) + " is not in the deck");
  const MeshElement &element = model_.mesh.elements[static_cast<std::size_t>(position)];
  element_seen_[static_cast<std::size_t>(position)] = 1;
  if (element.type->shell() && expands(*element.type, type))
    add_pairs(element, nodes);
  else
    same_nodes(element, nodes, place);
}

// Trusses, springs and dashpots have the nodes of the deck; beams come as solids.
void ResultMap::add_beam(const LineElement &line, int type, std::span<const int> nodes, const Place &place) {
  if (line.kind != LineElement::Kind::beam) {
    if (line.carries() && nodes.size() != line.nodes.size())
      throw InputError(place, "truss " + std::to_string(line.id) + " has other nodes than in the deck");
    return;
  }
  if (!is_beam_expansion(type, line.nodes.size()))
    throw InputError(place, "beam " + std::to_string(line.id) +
                                " is not expanded here: ask the solver for results in three dimensions (OUTPUT=3D)");
  for (std::size_t end = 0; end < line.nodes.size(); ++end) {
    const auto body = static_cast<std::size_t>(model_.node_position(line.nodes[end]));
    if (!model_.nodes[body].line) continue;  // what solids and shells tell of the node stands
    for (const int at : section_nodes(line.nodes.size(), end)) beams_.add(body, nodes[static_cast<std::size_t>(at)]);
  }
}

void ResultMap::same_nodes(const MeshElement &element, std::span<const int> nodes, const Place &place) const {
  const int *ids = model_.mesh.nodes_of(element);
  if (std::equal(nodes.begin(), nodes.end(), ids, ids + element.type->nodes)) return;
  std::vector<int> here(nodes.begin(), nodes.end());
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
  const std::vector<double> thicknesses = model_.mesh.thicknesses(element);
  const std::vector<Vec3> normals = normals_at_nodes(*element.type, places);
  for (std::size_t i = 0; i < count; ++i) {
    // Corners: below, above. Mid-edge nodes: below, upright, above.
    const std::size_t below = i < corners ? i : i + corners;
    const std::size_t above = i < corners ? i + corners : i + 3 * corners;
    Pair pair;
    pair.body = static_cast<std::size_t>(model_.node_position(ids[i]));
    pair.bottom_id = nodes[below];
    pair.top_id = nodes[above];
    pair.normal = normals[i];
    pair.thickness = thicknesses[i];
    pairs_.push_back(pair);
  }
}

int ResultMap::file_position(int id) const {
  if (!file_nodes_.empty()) return position_by_id(file_nodes_, id);
  const auto found = std::lower_bound(file_ids_.begin(), file_ids_.end(), id);
  return found != file_ids_.end() && *found == id ? static_cast<int>(found - file_ids_.begin()) : -1;
}

// The middle between both sides is the shell's node, within the six digits of the file.
void ResultMap::check_pair(const Pair &pair, const Place &place) const {
  const BodyNode &node = model_.nodes[pair.body];
  if (pair.bottom < 0 || pair.top < 0)
    throw InputError(place, "the expansion of " + node_text(node.id) + " has no nodes in the file");
  const FileNode &bottom = file_nodes_[static_cast<std::size_t>(pair.bottom)];
  const FileNode &top = file_nodes_[static_cast<std::size_t>(pair.top)];
  const Vec3 middle = 0.5 * (bottom.place + top.place);
  if (!force_ && length(middle - node.place) > 1e-5 * (length(node.place) + model_.extent) + 0.25 * pair.thickness)
    throw InputError({place.file, bottom.line}, "the mesh is not that of the deck: " + node_text(node.id) +
                                                    " of a shell lies elsewhere; --force takes it nevertheless");
}

void ResultMap::mesh_done(const Place &place) {
  if (receiver_ != nullptr) return;
  if (pairs_.empty() && !model_.mesh.moved_nodes.empty())
    throw InputError(place,
                     "the results hold the shells in two dimensions (OUTPUT=2D), and they have an OFFSET: run the "
                     "solver with OUTPUT=3D");
  check_file_nodes(place);
  for (std::size_t e = 0; e < element_seen_.size(); ++e)
    if (element_seen_[e] == 0)
      throw InputError(place,
                       "element " + std::to_string(model_.mesh.elements[e].id) + " of the deck is not in the file");
  merge_pairs(place);
  beams_.prepare([&](int id) { return file_position(id); },
                 [&](int at) { return file_nodes_[static_cast<std::size_t>(at)].place; },
                 [&](std::size_t body) { return model_.nodes[body].place; }, place, 1e-4 * model_.extent);
  map_nodes(place);
  forget_file_nodes();
}

// The values need no more than the numbers of the nodes.
void ResultMap::forget_file_nodes() {
  file_ids_.reserve(file_nodes_.size());
  for (const FileNode &node : file_nodes_) file_ids_.push_back(node.id);
  std::vector<FileNode>().swap(file_nodes_);
  std::vector<char>().swap(element_seen_);
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
      if (!model_.has_shells && beams_.empty() && !model_.leaves_out(node.id))
        throw InputError({place.file, node.line}, node_text(node.id) + " is not in the deck: results of another mesh?");
      continue;
    }
    // The expansion gives new nodes numbers of their own.
    const BodyNode &body = model_.nodes[static_cast<std::size_t>(position)];
    if (body.shell && !pairs_.empty() && !body.solid) continue;
    if (!force_ && length(node.place - body.place) > 1e-5 * (length(body.place) + 0.1 * model_.extent))
      throw InputError({place.file, node.line}, "the mesh is not that of the deck: " + node_text(node.id) +
                                                    " lies elsewhere there; --force takes it nevertheless");
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
  const std::vector<int> &moved = model_.mesh.moved_nodes;
  for (std::size_t i = 1; i < pairs_.size(); ++i)
    if (const int id = model_.nodes[pairs_[i].body].id;
        pairs_[i - 1].body == pairs_[i].body && std::binary_search(moved.begin(), moved.end(), id))
      throw InputError(place, "shells with an OFFSET meet at an angle at " + node_text(id) +
                                  ": each has a middle of its own there; put the mesh at the middle of the shells");
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
  for (const ReferenceNode &reference : model_.mesh.references) reference_factors_.push_back(mean_motion(reference));
  for (std::size_t i = 0; i < model_.nodes.size(); ++i) {
    const BodyNode &node = model_.nodes[i];
    if (node.reference || (node.line && beams_.has(i))) continue;
    if (node.solid || expanded[i] == 0) {
      direct_[i] = file_position(node.id);
      if (direct_[i] < 0) throw InputError(place, node_text(node.id) + " of the deck is not in the file");
    }
    if (node.shell && expanded[i] == 0) flat_shells_ = true;
  }
  if (model_.has_shells) motion_ = std::make_unique<ShellMotion>(model_, shell_points());
}

// Both sides of each pair, and what was not expanded as it is. The deck tells places more closely than the six digits
// of the file; at some joints the solver moves them.
std::vector<ShellPoint> ResultMap::shell_points() const {
  std::vector<ShellPoint> points;
  const auto add = [&](std::size_t body, int position, const Vec3 &expected) {
    const auto at = static_cast<std::size_t>(position);
    const Vec3 &place = file_nodes_[at].place;
    const bool same = length(place - expected) <= 1e-5 * (length(place) + 0.1 * model_.extent);
    points.push_back({static_cast<std::uint32_t>(body), static_cast<std::uint32_t>(at), same ? expected : place});
  };
  for (std::size_t i = 0, pair = 0; i < model_.nodes.size(); ++i) {
    const BodyNode &node = model_.nodes[i];
    if (node.shell && direct_[i] >= 0 && !node.solid) add(i, direct_[i], node.place);
    for (; pair < pairs_.size() && pairs_[pair].body == i; ++pair) {
      const Vec3 half = (0.5 * pairs_[pair].thickness) * pairs_[pair].normal;
      add(i, pairs_[pair].bottom, node.place - half);
      add(i, pairs_[pair].top, node.place + half);
    }
  }
  return points;
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
                                ": all modes of one frequency step are expected (--step)");
  }
  const auto kind = static_cast<std::size_t>(set.kind);
  if (mode_has_[kind] != 0)
    throw InputError(place, std::string("a second ") + kKindNames[kind] + " of mode " + std::to_string(set.mode));
  mode_has_[kind] = 1;
}

bool ResultMap::begin_set(const ResultSet &set, const Place &place) {
  if (set.mode > most_modes_) return false;
  if (set.mode == 0) {
    if (set.step != static_step_ || set.kind == ResultKind::displacement) return false;
    if (receiver_ == nullptr) survey_.state = survey_.state || set.kind == ResultKind::stress;
  } else if (modal_step_ != 0 && set.step != 0 && set.step != modal_step_) {
    return false;
  } else if (receiver_ == nullptr) {
    begin_mode(set, place);
  }
  if (receiver_ == nullptr || !receiver_->wants(set.kind)) return false;
  set_ = set;
  present_.assign(file_ids_.size(), false);
  return true;
}

void ResultMap::value(int node, std::span<const double> values, const Place &place) {
  if (hint_ >= file_ids_.size() || file_ids_[hint_] != node) {
    const int position = file_position(node);
    if (position < 0) throw InputError(place, node_text(node) + " is not in the mesh of the file");
    hint_ = static_cast<std::size_t>(position);
  }
  const std::size_t at = hint_++;
  if (present_[at]) throw InputError(place, node_text(node) + " comes twice");
  present_[at] = true;
  const bool shape = set_.kind == ResultKind::displacement;
  const int body = body_of_[at];
  if (plain_ && body < 0) return;
  if (shape) {
    std::copy(values.begin(), values.end(), plain_ ? &values_[3 * static_cast<std::size_t>(body)] : &raw_[6 * at]);
    return;
  }
  // Tensor components in the file, angles in the record; and the file has yz before zx.
  const double shear = set_.kind == ResultKind::strain ? 2.0 : 1.0;
  const std::array<double, 6> six = {values[0],         values[1],         values[2],
                                     shear * values[3], shear * values[5], shear * values[4]};
  if (!plain_)
    std::copy(six.begin(), six.end(), &raw_[6 * at]);
  else if (const auto n = static_cast<std::size_t>(body); wanted_node(n))
    receiver_->take_tensor(set_, n, six.data());
}

bool ResultMap::wanted_node(std::size_t body) const {
  return receiver_ == nullptr || receiver_->wants_node(set_.kind, body);
}

void ResultMap::check_complete(const Place &place) const {
  const auto check = [&](std::size_t body, int position) {
    if (position >= 0 && !present_[static_cast<std::size_t>(position)] && wanted_node(body))
      throw InputError(place, std::string(kKindNames[static_cast<std::size_t>(set_.kind)]) + " of mode " +
                                  std::to_string(set_.mode) + " has no values at " +
                                  node_text(file_ids_[static_cast<std::size_t>(position)]) +
                                  "; results at all nodes are needed");
  };
  for (std::size_t i = 0; i < direct_.size(); ++i) check(i, direct_[i]);
  for (const Pair &pair : pairs_) {
    check(pair.body, pair.bottom);
    check(pair.body, pair.top);
  }
  beams_.visit([&](std::size_t body, int position) { check(body, position); });
}

// Adds the stress or strain of the side that is asked for.
void ResultMap::add_side(const Pair &pair, double *six) const {
  const double *bottom = &raw_[6 * static_cast<std::size_t>(pair.bottom)];
  const double *top = &raw_[6 * static_cast<std::size_t>(pair.top)];
  for (std::size_t k = 0; k < 6; ++k)
    six[k] += side_ == ShellSide::top ? top[k] : side_ == ShellSide::bottom ? bottom[k] : 0.5 * (top[k] + bottom[k]);
}

// The solver's results do not have reference nodes: their motion is that of their members. What a kinematic coupling
// leaves of it beyond the digits of the file is none of the deck's.
void ResultMap::add_references(const Place &place) {
  for (std::size_t r = 0; r < model_.mesh.references.size(); ++r) {
    const ReferenceNode &reference = model_.mesh.references[r];
    const ReferenceMotion motion = fit_reference(reference, reference_factors_[r], [&](std::size_t i) {
      const double *six = &values_[6 * static_cast<std::size_t>(model_.node_position(reference.members[i]))];
      return Vec3{six[0], six[1], six[2]};
    });
    if (!reference.distributing && !(motion.misfit < 1e-4))
      throw InputError(place, "the nodes of reference " + node_text(reference.node) + " do not move as a rigid body (" +
                                  show(100.0 * motion.misfit, 3) + " % off): results of another deck?");
    std::copy(motion.values.begin(), motion.values.end(),
              &values_[6 * static_cast<std::size_t>(model_.node_position(reference.node))]);
  }
}

// Stress and strain where nodes of the file do not all stand for themselves.
void ResultMap::give_tensors() {
  std::size_t pair = 0;
  for (std::size_t i = 0; i < model_.nodes.size(); ++i) {
    std::array<double, 6> six{};
    const std::size_t first = pair;
    for (; pair < pairs_.size() && pairs_[pair].body == i; ++pair) add_side(pairs_[pair], six.data());
    for (double &value : six) value /= static_cast<double>(std::max<std::size_t>(pair - first, 1));
    if (direct_[i] >= 0) std::copy_n(&raw_[6 * static_cast<std::size_t>(direct_[i])], 6, six.begin());
    if (wanted_node(i)) receiver_->take_tensor(set_, i, six.data());
  }
}

void ResultMap::end_set(const Place &place) {
  check_complete(place);
  if (set_.kind != ResultKind::displacement) {
    if (!plain_) give_tensors();
    return;
  }
  if (plain_) return receiver_->take_shape(set_, NodalMotion(values_, 3));
  std::fill(values_.begin(), values_.end(), 0.0);
  if (motion_) motion_->apply(raw_, values_);
  for (std::size_t i = 0; i < direct_.size(); ++i)
    if (direct_[i] >= 0) std::copy_n(&raw_[6 * static_cast<std::size_t>(direct_[i])], 3, &values_[6 * i]);
  beams_.apply(raw_, values_);
  add_references(place);
  receiver_->take_shape(set_, NodalMotion(values_, 6));
}

}  // namespace sbrtranslate
