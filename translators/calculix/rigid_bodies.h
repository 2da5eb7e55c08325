// The reference nodes of a deck: *RIGID BODY, and *COUPLING with *KINEMATIC or *DISTRIBUTING.
#ifndef SBRKIT_TRANSLATORS_CALCULIX_RIGID_BODIES_H
#define SBRKIT_TRANSLATORS_CALCULIX_RIGID_BODIES_H

#include <vector>

#include "common/mesh.h"

namespace sbrtranslate {

// All reference nodes in the order of the deck. The weights of a distributing coupling are the parts of the surface's
// area that belong to its nodes; where the surface is a list of nodes they are equal. Throws InputError for what cannot
// be honoured: couplings in local axes, a surface that is missing or lies on shells, members that no element has.
std::vector<ReferenceNode> read_references(const Mesh &mesh);

// The nodes of a *SURFACE with their parts of its area, ascending by node; `card` is where it is asked for.
struct SurfaceNodes {
  std::vector<int> nodes;
  std::vector<double> areas;
};
SurfaceNodes surface_nodes(const Mesh &mesh, const std::string &name, const Place &card);

// The corners of a face of a solid by the solver's number (S1, S2, ...), counted from 0; null when the element has no
// such face.
const std::vector<int> *solid_face(const ElementType &type, int number);

}  // namespace sbrtranslate

#endif
