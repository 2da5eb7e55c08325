// Modal statistics. The unit owns SbrBody::statistics. The squares of its figures at a node are here for the writer,
// which gathers the same maxima while the mode data passes.
#ifndef SBRKIT_MODES_STATISTICS_H
#define SBRKIT_MODES_STATISTICS_H

#include "body/body.h"

namespace sbr {

// Three values of a node: translations, rotations, normal components, or shear components.
using NodeValues = const double *;

inline double squared_length(NodeValues v) noexcept { return v[0] * v[0] + v[1] * v[1] + v[2] * v[2]; }

// a^2 + b^2 + c^2 - ab - bc - ac of three normal components.
inline double normal_deviation(NodeValues normal) noexcept {
  const double a = normal[0];
  const double b = normal[1];
  const double c = normal[2];
  return a * a + b * b + c * c - a * b - b * c - a * c;
}

// The square of the von Mises stress.
inline double squared_stress(NodeValues normal, NodeValues shear) noexcept {
  return normal_deviation(normal) + 3.0 * squared_length(shear);
}

// The square of the von Mises strain of tensor shear components; the shear share is formed first.
inline double squared_strain(NodeValues normal, NodeValues shear) noexcept {
  const double of_shear = squared_length(shear) * 0.3333333333333333;
  return of_shear + normal_deviation(normal) * 0.4444444444444444;
}

// The figures of a mode, in the order of their slots.
enum class Maximum { translation, rotation, stress, strain };
// A figure of a mode, told by its number, and its node; computed when it is not known yet. Either place may be null.
// False for an unknown mode, when memory is short, and when the mode data could not be had.
bool largest_value(SbrBody &body, int number, Maximum maximum, int *id, double *value) noexcept;

}  // namespace sbr

#endif
