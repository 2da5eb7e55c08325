#include "common/model.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>
#include <numeric>
#include <stdexcept>

#include "common/consistent_mass.h"

namespace sbrtranslate {
namespace {

// Disjoint sets of nodes, to find the pieces of a mesh.
class Pieces {
 public:
  explicit Pieces(std::size_t count) : parent_(count) { std::iota(parent_.begin(), parent_.end(), std::size_t{0}); }
  std::size_t root(std::size_t i) {
    while (parent_[i] != i) i = parent_[i] = parent_[parent_[i]];
    return i;
  }
  void join(std::size_t a, std::size_t b) { parent_[root(a)] = root(b); }

 private:
  std::vector<std::size_t> parent_;
};

class ModelBuilder {
 public:
  ModelBuilder(Mesh mesh, const std::vector<std::string> &interfaces) : interfaces_(interfaces) {
    model_.mesh = std::move(mesh);
  }
  Model build() {
    choose_nodes();
    add_masses();
    add_faces();
    mark_surface();
    add_interfaces();
    finish();
    return std::move(model_);
  }

 private:
  void choose_nodes();
  void add_masses();
  void add_element_mass(const MeshElement &element);
  void add_lines(Pieces &pieces);
  void add_faces();
  void mark_surface();
  void mark_face(const MeshElement &element, std::size_t number);
  void note_shared(std::size_t first, std::size_t first_number, std::size_t second, std::size_t second_number);
  void add_interfaces();
  void finish();
  [[nodiscard]] std::size_t body_position(int id) const { return static_cast<std::size_t>(model_.node_position(id)); }

  Model model_;
  const std::vector<std::string> &interfaces_;
};

// The nodes of the body are those of its elements.
void ModelBuilder::choose_nodes() {
  const Mesh &mesh = model_.mesh;
  std::vector<char> used(mesh.nodes.size(), 0);
  for (const int id : mesh.connectivity) used[static_cast<std::size_t>(mesh.node_position(id))] = 1;
  const std::vector<char> of_surface = used;
  for (const LineElement &line : mesh.lines)
    if (line.carries())
      for (const int id : line.nodes) used[static_cast<std::size_t>(mesh.node_position(id))] = 1;
  std::vector<char> references(mesh.nodes.size(), 0);
  for (const ReferenceNode &reference : mesh.references)
    references[static_cast<std::size_t>(mesh.node_position(reference.node))] = 1;
  for (std::size_t i = 0; i < mesh.nodes.size(); ++i) {
    if (used[i] == 0 && references[i] == 0) {
      model_.left_out.push_back(mesh.nodes[i].id);
      continue;
    }
    BodyNode node;
    node.id = mesh.nodes[i].id;
    node.place = mesh.nodes[i].place;
    node.reference = used[i] == 0;
    node.line = used[i] != 0 && of_surface[i] == 0;
    model_.nodes.push_back(node);
  }
}

void ModelBuilder::add_element_mass(const MeshElement &element) {
  const Section &section = model_.mesh.sections[static_cast<std::size_t>(element.section)];
  const double density = model_.mesh.materials.at(section.material).density;
  std::vector<Vec3> places;
  std::vector<std::size_t> positions;
  for (int i = 0; i < element.type->nodes; ++i) {
    positions.push_back(body_position(model_.mesh.nodes_of(element)[i]));
    places.push_back(model_.nodes[positions.back()].place);
  }
  const std::vector<double> thicknesses = model_.mesh.thicknesses(element);
  const ElementMass mass = lump_mass(*element.type, places, density, thicknesses, model_.exact);
  if (!(mass.smallest_determinant > 0.0))
    throw InputError(model_.mesh.place_of(element),
                     "element " + std::to_string(element.id) +
                         (element.type->shell() ? " is degenerate: it has no area at an integration point"
                                                : " is degenerate: its volume is not positive at an integration point "
                                                  "(flat, distorted, or nodes in the wrong order)"));
  model_.volume += mass.volume;
  for (std::size_t i = 0; i < places.size(); ++i) {
    BodyNode &node = model_.nodes[positions[i]];
    node.mass += mass.nodal[i];
    if (!element.type->shell()) {
      node.solid = true;
      continue;
    }
    node.shell = true;
    // A plate's thickness resists rotation about the directions in its plane with m t^2 / 12.
    const double inertia = mass.nodal[i] * thicknesses[i] * thicknesses[i] / 12.0;
    const Vec3 &n = mass.normals[i];
    const std::array<double, 6> terms = {1 - n[0] * n[0], 1 - n[1] * n[1], 1 - n[2] * n[2],
                                         -n[0] * n[1],    -n[0] * n[2],    -n[1] * n[2]};
    NodalInertia own{};
    for (std::size_t k = 0; k < 6; ++k) own[k] = inertia * terms[k];
    model_.add_inertia(positions[i], own);
  }
}

void ModelBuilder::add_masses() {
  Pieces pieces(model_.nodes.size());
  for (const MeshElement &element : model_.mesh.elements) {
    add_element_mass(element);
    const int *ids = model_.mesh.nodes_of(element);
    for (int i = 1; i < element.type->nodes; ++i) pieces.join(body_position(ids[0]), body_position(ids[i]));
    model_.has_shells = model_.has_shells || element.type->shell();
  }
  if (!model_.mesh.elements.empty()) model_.correction = correct_masses(model_);
  add_lines(pieces);
  model_.lumped = nodal_moments(model_);
  for (const ReferenceNode &reference : model_.mesh.references)
    for (const int member : reference.members) pieces.join(body_position(reference.node), body_position(member));
  for (std::size_t i = 0; i < model_.nodes.size(); ++i)
    if (pieces.root(i) == i) ++model_.pieces;
}

// What point masses, trusses and beams add, and which nodes they and springs join.
void ModelBuilder::add_lines(Pieces &pieces) {
  for (const LineElement &line : model_.mesh.lines) {
    std::vector<std::size_t> positions;
    std::vector<Vec3> places;
    for (const int id : line.nodes) {
      if (model_.node_position(id) < 0)
        throw InputError(line.place, "node " + std::to_string(id) + " of element " + std::to_string(line.id) +
                                         " belongs to nothing else: as a reference node it has to be an interface");
      positions.push_back(body_position(id));
      places.push_back(model_.nodes[positions.back()].place);
    }
    for (const std::size_t position : positions) pieces.join(positions.front(), position);
    if (line.kind == LineElement::Kind::mass) {
      model_.nodes[positions.front()].mass += line.mass;
      model_.exact.add(line.mass, places.front());
    }
    if (!line.carries()) continue;
    const std::vector<LineShare> shares = line_shares(line, places, model_.exact, model_.volume);
    for (std::size_t i = 0; i < shares.size(); ++i) {
      BodyNode &node = model_.nodes[positions[i]];
      node.mass += shares[i].mass;
      node.surface = true;
      if (line.kind == LineElement::Kind::beam) model_.add_inertia(positions[i], shares[i].inertia);
    }
  }
}

void ModelBuilder::add_faces() {
  // What has no face of its own is shown by its edges.
  for (const LineElement &line : model_.mesh.lines)
    for (std::size_t i = 0; i + 1 < line.nodes.size(); ++i) {
      model_.faces.insert(model_.faces.end(), {2, line.nodes[i], line.nodes[i + 1]});
      ++model_.face_count;
      ++model_.surface_face_count;
    }
  for (const MeshElement &element : model_.mesh.elements)
    model_.face_count += static_cast<int>(element.type->faces.size());
}

// Marks the nodes of a face as lying on the surface, with its mid-edge nodes.
void ModelBuilder::mark_face(const MeshElement &element, std::size_t number) {
  const auto &face = element.type->faces[number];
  const int *ids = model_.mesh.nodes_of(element);
  for (const int corner : face) model_.nodes[body_position(ids[corner])].surface = true;
  for (const int middle : element.type->mid_nodes(face)) model_.nodes[body_position(ids[middle])].surface = true;
  ++model_.surface_face_count;
}

// Two faces of solids that have the same corners, and turn about them in opposite ways, are one inside the body.
void ModelBuilder::note_shared(std::size_t first, std::size_t first_number, std::size_t second,
                               std::size_t second_number) {
  const auto cycle = [&](std::size_t element, std::size_t number) {
    const MeshElement &of = model_.mesh.elements[element];
    std::vector<int> ids;
    for (const int corner : of.type->faces[number]) ids.push_back(model_.mesh.nodes_of(of)[corner]);
    std::rotate(ids.begin(), std::max_element(ids.begin(), ids.end()), ids.end());
    return ids;
  };
  const auto &elements = model_.mesh.elements;
  if (elements[first].type->shell() || elements[second].type->shell()) return;
  const std::vector<int> one = cycle(first, first_number);
  std::vector<int> other = cycle(second, second_number);
  std::reverse(other.begin() + 1, other.end());
  if (one != other) return;
  model_.shared_faces[first] |= static_cast<std::uint8_t>(1U << first_number);
  model_.shared_faces[second] |= static_cast<std::uint8_t>(1U << second_number);
}

// A face of solids that no second element has is on the surface. All of a shell is. The faces are gathered by their
// least node, so that those of one node only have to be compared.
void ModelBuilder::mark_surface() {
  struct Face {
    std::array<int, 4> corners;
    std::uint32_t element;
    std::uint32_t number;
  };
  const auto &elements = model_.mesh.elements;
  model_.shared_faces.assign(elements.size(), 0);
  const auto face_of = [&](std::uint32_t e, std::uint32_t f) {
    Face face{{0, 0, 0, 0}, e, f};
    const int *ids = model_.mesh.nodes_of(elements[e]);
    const auto &corners = elements[e].type->faces[f];
    for (std::size_t c = 0; c < corners.size(); ++c) face.corners[c] = ids[corners[c]];
    std::sort(face.corners.begin(), face.corners.end(), std::greater<>());
    return face;
  };
  const auto each = [&](const auto &take) {
    for (std::uint32_t e = 0; e < elements.size(); ++e)
      for (std::uint32_t f = 0; f < elements[e].type->faces.size(); ++f) {
        const std::size_t corners = elements[e].type->faces[f].size();
        take(body_position(face_of(e, f).corners[corners - 1]), e, f);
      }
  };
  std::vector<std::uint32_t> end_of(model_.nodes.size() + 1, 0);
  each([&](std::size_t node, std::uint32_t, std::uint32_t) { ++end_of[node + 1]; });
  std::partial_sum(end_of.begin(), end_of.end(), end_of.begin());
  std::vector<std::pair<std::uint32_t, std::uint32_t>> gathered(end_of.back());
  each([&](std::size_t node, std::uint32_t e, std::uint32_t f) { gathered[end_of[node]++] = {e, f}; });
  // Now end_of[node] is where the faces of the node end.
  std::vector<Face> faces;
  for (std::size_t node = 0, at = 0; node < model_.nodes.size(); ++node) {
    faces.clear();
    for (; at < end_of[node]; ++at) faces.push_back(face_of(gathered[at].first, gathered[at].second));
    std::stable_sort(faces.begin(), faces.end(), [](const Face &a, const Face &b) { return a.corners < b.corners; });
    for (std::size_t i = 0, next = 0; i < faces.size(); i = next) {
      for (next = i + 1; next < faces.size() && faces[next].corners == faces[i].corners;) ++next;
      const MeshElement &element = elements[faces[i].element];
      if (next == i + 1 || element.type->shell()) mark_face(element, faces[i].number);
      if (next == i + 2) note_shared(faces[i].element, faces[i].number, faces[i + 1].element, faces[i + 1].number);
    }
  }
}

void ModelBuilder::add_interfaces() {
  for (const std::string &name : interfaces_) {
    const auto set = model_.mesh.node_sets.find(upper(name));
    if (set == model_.mesh.node_sets.end() && model_.mesh.element_sets.count(upper(name)) != 0)
      throw InputError({model_.mesh.files.front(), 0},
                       "'" + name + "' is a set of elements, and interfaces are sets of nodes");
    const std::vector<int> &members = model_.mesh.node_set(name);
    const auto named = model_.mesh.node_set_places.find(upper(name));
    const Place place =
        named != model_.mesh.node_set_places.end() ? named->second : Place{model_.mesh.files.front(), 0};
    if (members.empty()) throw InputError(place, "node set '" + name + "' is empty, and no interface");
    for (const int id : members) {
      if (model_.node_position(id) < 0)
        throw InputError(place,
                         "node set '" + name + "' names node " + std::to_string(id) + ", which belongs to no element");
      model_.interface_nodes.push_back(id);
    }
  }
  auto &list = model_.interface_nodes;
  std::sort(list.begin(), list.end());
  list.erase(std::unique(list.begin(), list.end()), list.end());
}

void ModelBuilder::finish() {
  Vec3 low = model_.nodes.front().place;
  Vec3 high = low;
  for (const BodyNode &node : model_.nodes)
    for (std::size_t k = 0; k < 3; ++k) {
      low[k] = std::min(low[k], node.place[k]);
      high[k] = std::max(high[k], node.place[k]);
    }
  for (std::size_t k = 0; k < 3; ++k) model_.extent = std::max(model_.extent, high[k] - low[k]);
  model_.element_count = model_.mesh.elements.size();
  model_.node_count = model_.nodes.size();
}

}  // namespace

int Model::node_position(int id) const { return position_by_id(nodes, id); }

void Model::add_inertia(std::size_t node, const NodalInertia &more) {
  inertias_.resize(nodes.size());
  for (std::size_t k = 0; k < 6; ++k) inertias_[node][k] += more[k];
  nodes[node].has_inertia = true;
}

void Model::forget_mesh() {
  std::string title = std::move(mesh.title);
  mesh = Mesh();
  mesh.title = std::move(title);
  std::vector<BodyNode>().swap(nodes);
  std::vector<int>().swap(faces);
  std::vector<std::uint8_t>().swap(shared_faces);
  std::vector<NodalInertia>().swap(inertias_);
}

void Model::drop_inertias() {
  std::vector<NodalInertia>().swap(inertias_);
  for (BodyNode &node : nodes) node.has_inertia = false;
}

Model build_model(Mesh mesh, const std::vector<std::string> &interfaces) {
  return ModelBuilder(std::move(mesh), interfaces).build();
}

}  // namespace sbrtranslate
