// What a mesh makes of a flexible body before any result: its nodes with their masses, faces, surface and interface.
#ifndef SBRKIT_TRANSLATORS_COMMON_MODEL_H
#define SBRKIT_TRANSLATORS_COMMON_MODEL_H

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "common/mesh.h"

namespace sbrtranslate {

// There are many of them: a model holds little else by node.
struct BodyNode {
  int id = 0;
  bool has_inertia : 1 = false;  // of its own: Model::inertia
  bool solid : 1 = false;        // belongs to a solid element
  bool shell : 1 = false;        // belongs to a shell
  bool surface : 1 = false;      // lies on the outside of the body
  bool line : 1 = false;         // belongs to trusses and beams alone
  bool reference : 1 = false;    // stands for the motion of other nodes and belongs to no element
  Vec3 place{};
  double mass = 0.0;
  double element_mass = 0.0;  // of it, what the elements gave
};

// The inertia of a node's own: xx, yy, zz, xy, xz, yz.
using NodalInertia = std::array<double, 6>;

// The motion of all nodes of a model in one mode, in the model's order: translations, and rotations where the values
// have six of a node.
class NodalMotion {
 public:
  NodalMotion(const std::vector<double> &values, std::size_t width) : values_(values), width_(width) {}
  [[nodiscard]] Vec3 translation(std::size_t node) const { return part(node, 0); }
  [[nodiscard]] Vec3 rotation(std::size_t node) const { return width_ < 6 ? Vec3{} : part(node, 3); }
  [[nodiscard]] std::array<double, 6> six(std::size_t node) const {
    const Vec3 u = translation(node);
    const Vec3 w = rotation(node);
    return {u[0], u[1], u[2], w[0], w[1], w[2]};
  }

 private:
  [[nodiscard]] Vec3 part(std::size_t node, std::size_t from) const {
    const double *at = &values_[width_ * node + from];
    return {at[0], at[1], at[2]};
  }
  const std::vector<double> &values_;
  std::size_t width_;
};

// What a correction did to the lumped masses.
struct MassCorrection {
  double smallest_factor = 1.0;  // of what became of a mass to what it was
  double largest_factor = 1.0;
  // The part of the inertia that no masses at the nodes can have: row by row, about any point. It was shared out as
  // nodal inertia.
  std::array<double, 9> rest{};
  double rest_share = 0.0;  // its largest size, as a part of the moment about the same principal axis
};

struct Model {
  Mesh mesh;
  std::vector<BodyNode> nodes;  // ascending IDs
  // Faces that are not those of elements: edges of trusses and beams, faces of a table. Flat: a count of corners, then
  // that many node IDs.
  std::vector<int> faces;
  std::vector<std::uint8_t> shared_faces;  // by element, a bit a face: two solids share it. Empty: none
  bool with_shared_faces = true;           // whether the body gets those too
  std::size_t element_count = 0;           // of the mesh, and
  std::size_t node_count = 0;              // of the body: also when they are forgotten
  int face_count = 0;
  int surface_face_count = 0;
  std::vector<int> interface_nodes;  // IDs, without repeats
  std::vector<int> left_out;         // IDs of the mesh's nodes that no element has
  int pieces = 0;                    // into which the mesh falls
  double volume = 0.0;
  Moments exact;   // of the elements themselves
  Moments lumped;  // of the nodal masses, once they are corrected
  MassCorrection correction;
  double extent = 0.0;  // the longest side of the box around the nodes
  bool has_shells = false;
  bool has_masses = true;  // false: the masses are weights of density 1 and stay out of the body

  [[nodiscard]] int node_position(int id) const;
  // Whether the mesh has a node of this ID that no element has.
  [[nodiscard]] bool leaves_out(int id) const { return std::binary_search(left_out.begin(), left_out.end(), id); }
  // Zeros where a node has none.
  [[nodiscard]] const NodalInertia &inertia(std::size_t node) const {
    static constexpr NodalInertia kNone{};
    return nodes[node].has_inertia ? inertias_[node] : kNone;
  }
  void add_inertia(std::size_t node, const NodalInertia &more);
  void drop_inertias();
  // Frees what is held by node and by element, once a body has it; figures and interface nodes stay.
  void forget_mesh();
  // Calls with the node IDs of each face of the body.
  template <class Visit>
  void visit_faces(const Visit &visit) const;

 private:
  std::vector<NodalInertia> inertias_;  // by node; empty where none has any
};

template <class Visit>
void Model::visit_faces(const Visit &visit) const {
  for (std::size_t at = 0; at < faces.size(); at += static_cast<std::size_t>(faces[at]) + 1)
    visit(std::span(&faces[at + 1], static_cast<std::size_t>(faces[at])));
  for (std::size_t e = 0; e < mesh.elements.size(); ++e) {
    const MeshElement &element = mesh.elements[e];
    const int *ids = mesh.nodes_of(element);
    for (std::size_t f = 0; f < element.type->faces.size(); ++f) {
      if (!with_shared_faces && e < shared_faces.size() && ((shared_faces[e] >> f) & 1U) != 0) continue;
      const std::vector<int> &corners = element.type->faces[f];
      std::array<int, 4> face{};
      for (std::size_t c = 0; c < corners.size(); ++c) face[c] = ids[corners[c]];
      visit(std::span(face.data(), corners.size()));
    }
  }
}

// Works out the model of a mesh. `interfaces` names node sets. Throws InputError for degenerate elements and unknown
// sets.
Model build_model(Mesh mesh, const std::vector<std::string> &interfaces);

}  // namespace sbrtranslate

#endif
