// How much of a body's mass and inertia each mode takes along.
//
// The effective mass of a mode along an axis is the square of its participation over its generalized mass: with the sum
// of m phi over the nodes (inertia invariant 3) along the axis, and for turns about the center of mass the sum of
// r x m phi and of the nodal inertias (invariant 4, which is about the origin, moved there). Over all modes of a body
// without supports, rigid-body modes among them, it comes to mass and inertia (Clough, Penzien: Dynamics of
// Structures).
#ifndef SBRKIT_TOOLS_SBR_EFFECTIVEMASS_H
#define SBRKIT_TOOLS_SBR_EFFECTIVEMASS_H

#include <array>
#include <vector>

#include "massproperties.h"

namespace sbrtool {

struct EffectiveMass {
  int number = 0;                 // of the mode
  std::array<double, 6> parts{};  // of the mass along x, y, z and of the inertia about x, y, z; no numbers if unknown
};

// A row for each mode; none where the record has no modes or no mass to take a part of.
std::vector<EffectiveMass> effective_masses(SBR body, const MassProperties &properties);

}  // namespace sbrtool

#endif
