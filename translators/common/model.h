// What a mesh makes of a flexible body before any result: its nodes with lumped masses, faces, surface and interface.
#ifndef SBRKIT_TRANSLATORS_COMMON_MODEL_H
#define SBRKIT_TRANSLATORS_COMMON_MODEL_H

#include <array>
#include <string>
#include <vector>

#include "common/mesh.h"

namespace sbrtranslate {

struct BodyNode {
  int id = 0;
  Vec3 place{};
  double mass = 0.0;
  std::array<double, 6> inertia{};  // of a shell's thickness: xx, yy, zz, xy, xz, yz
  bool solid = false;               // belongs to a solid element
  bool shell = false;               // belongs to a shell
  bool surface = false;             // lies on the outside of the body
};

struct Model {
  Mesh mesh;
  std::vector<BodyNode> nodes;  // ascending IDs
  std::vector<int> faces;       // flat: a count of corners, then that many node IDs
  int face_count = 0;
  int surface_face_count = 0;
  std::vector<int> interface_nodes;  // IDs, without repeats
  std::vector<int> left_out;         // IDs of the mesh's nodes that no element has
  int pieces = 0;                    // into which the mesh falls
  double volume = 0.0;
  Moments exact;        // of the elements themselves
  Moments lumped;       // of the nodal masses
  double extent = 0.0;  // the longest side of the box around the nodes
  bool has_shells = false;
  bool has_masses = true;  // false: the masses are weights of density 1 and stay out of the body

  [[nodiscard]] int node_position(int id) const;
};

// Works out the model of a mesh. `interfaces` names node sets. Throws InputError for degenerate elements and unknown
// sets.
Model build_model(Mesh mesh, const std::vector<std::string> &interfaces);

}  // namespace sbrtranslate

#endif
