// The steps of a deck with the loads that are in effect at the end of each.
#ifndef SBRKIT_TRANSLATORS_CALCULIX_STEPS_H
#define SBRKIT_TRANSLATORS_CALCULIX_STEPS_H

#include <map>
#include <string>
#include <vector>

#include "common/model.h"

namespace sbrtranslate {

// The forces on one node, and on a reference node also the moments.
using NodalForce = std::array<double, 6>;

struct DeckStep {
  enum class Kind { statics, frequency, other };
  int number = 0;  // from 1, as the solver counts
  Kind kind = Kind::other;
  bool perturbation = false;       // about the state that the static steps before it have reached
  bool nonlinear = false;          // NLGEOM
  bool releases_supports = false;  // *BOUNDARY with OP=NEW
  Place place;
  std::size_t inherited = 0;             // of the loads, the first so many come from the step before
  std::vector<const DeckCard *> loads;   // *CLOAD and *DLOAD in effect, in order; they belong to the mesh
  const DeckCard *other_load = nullptr;  // the first card that loads the body in another way
};

// All steps in order. `mesh` has to stay as it is while they are in use.
std::vector<DeckStep> read_steps(const Mesh &mesh);

// The nodal forces of a step by node ID: concentrated forces (*CLOAD), pressure on the faces of solids (*DLOAD with P1
// to P6) and gravity (GRAV), both as the elements' shape functions spread them. Throws InputError, at the line, for
// every other load: forces on nodes that the body does not have, amplitudes, moments on nodes that are no reference
// nodes, loads on shells but gravity.
std::map<int, NodalForce> nodal_forces(const Model &model, const DeckStep &step);

}  // namespace sbrtranslate

#endif
