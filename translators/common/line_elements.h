// Elements without a surface of their own: point masses, springs, dashpots, trusses and beams.
#ifndef SBRKIT_TRANSLATORS_COMMON_LINE_ELEMENTS_H
#define SBRKIT_TRANSLATORS_COMMON_LINE_ELEMENTS_H

#include <vector>

#include "common/elements.h"
#include "common/text_input.h"

namespace sbrtranslate {

struct LineElement {
  enum class Kind { mass, spring, dashpot, truss, beam };
  int id = 0;
  Kind kind = Kind::mass;
  std::vector<int> nodes;  // IDs: the ends, between them the middle node if there is one; one for point masses
  double mass = 0.0;       // of a point mass
  double density = 0.0;    // of trusses and beams
  double area = 0.0;
  // Beams: the section's first axis, and the integrals of the squares of the coordinates along both axes.
  Vec3 axis{};
  double square_1 = 0.0, square_2 = 0.0;
  Place place;
  [[nodiscard]] bool carries() const { return kind == Kind::truss || kind == Kind::beam; }
};

// One node's share of a line's mass, with the inertia of the section there (xx, yy, zz, xy, xz, yz).
struct LineShare {
  double mass = 0.0;
  std::array<double, 6> inertia{};
};

// The shares of a truss or beam at the places of its nodes, all above zero: halves, or 1/6, 2/3, 1/6 of a line with a
// middle node (its consistent diagonal, scaled). `moments` gains what the element itself holds, `volume` its volume.
// Throws InputError for a line without length, and for a beam whose section axis is not across it.
std::vector<LineShare> line_shares(const LineElement &line, const std::vector<Vec3> &places, Moments &moments,
                                   double &volume);

}  // namespace sbrtranslate

#endif
