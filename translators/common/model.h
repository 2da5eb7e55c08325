// What a deck makes of a flexible body before any result: its nodes with lumped masses, faces, surface and interface.
#ifndef SBRKIT_TRANSLATORS_MODEL_H
#define SBRKIT_TRANSLATORS_MODEL_H

#include <array>
#include <string>
#include <vector>

#include "deck.h"
#include "sbrkit/sbrkit.h"

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
  Deck deck;
  std::vector<BodyNode> nodes;  // ascending IDs
  std::vector<int> faces;       // flat: a count of corners, then that many node IDs
  int face_count = 0;
  int surface_face_count = 0;
  std::vector<int> interface_nodes;  // IDs, without repeats
  std::vector<int> left_out;         // IDs of the deck's nodes that no element has
  int pieces = 0;                    // into which the mesh falls
  double volume = 0.0;
  Moments mesh;         // of the elements themselves
  Moments lumped;       // of the nodal masses
  double extent = 0.0;  // the longest side of the box around the nodes
  bool has_shells = false;

  [[nodiscard]] int node_position(int id) const;
};

// Works out the model of a deck. `interfaces` names node sets. Throws InputError for degenerate elements and unknown
// sets.
Model build_model(Deck deck, const std::vector<std::string> &interfaces);

// The labels of the record's units.
struct UnitLabels {
  std::string mass = "MEGAGRAM";
  std::string length = "MILLIMETER";
  std::string time = "SECOND";
  std::string force = "NEWTON";
};

// Gives a body the model's nodes, masses, faces, interface nodes, units and header texts. Units that are unknown or not
// consistent throw std::invalid_argument.
void feed_model(SBR body, const Model &model, const UnitLabels &units, const std::string &source,
                const std::array<std::string, 3> &comments);

// Ends a translation when the library has refused a call; its own message has gone to the handlers.
void require(int result, const char *what);

}  // namespace sbrtranslate

#endif
