// A node that stands for the motion of others, with six degrees of freedom: of a rigid body, or of a coupling.
#ifndef SBRKIT_TRANSLATORS_COMMON_REFERENCE_NODE_H
#define SBRKIT_TRANSLATORS_COMMON_REFERENCE_NODE_H

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <vector>

#include "common/elements.h"
#include "common/text_input.h"

namespace sbrtranslate {

struct ReferenceNode {
  int node = 0;
  int rotation_node = 0;  // whose translations are the rotations; 0 where the deck names none
  std::string name;       // of the coupling, in capitals; may be empty
  Vec3 place{};
  // Kinematic: the members move as parts of a rigid body that turns about the node. Distributing: the node has the mean
  // motion of its members, the best rigid motion in the sense of their weights.
  bool distributing = false;
  std::array<bool, 3> coupled = {true, true, true};  // kinematic: the directions that the members follow in
  std::vector<int> members;                          // node IDs, ascending
  std::vector<Vec3> member_places;
  std::vector<double> weights;  // above zero
  Place card;
};

// The rigid motion of a reference node that fits the motions of its members best: translation, rotation vector. Also
// how much of the members' motion it leaves, by the largest of them.
struct ReferenceMotion {
  std::array<double, 6> values{};
  double misfit = 0.0;
};

// How six values of a reference node follow from the translations of its members: for each of the six a row of three
// factors for each member. Throws InputError, at the card, when the members do not tell rotations (they lie in line).
std::vector<double> mean_motion(const ReferenceNode &reference);

// `translation(i)` is that of member i; `factors` come from mean_motion.
template <class Translation>
ReferenceMotion fit_reference(const ReferenceNode &reference, const std::vector<double> &factors,
                              const Translation &translation) {
  ReferenceMotion motion;
  const std::size_t count = reference.members.size();
  double largest = 0.0;
  for (std::size_t i = 0; i < count; ++i) {
    const Vec3 u = translation(i);
    largest = std::max(largest, length(u));
    for (std::size_t q = 0; q < 6; ++q)
      for (std::size_t k = 0; k < 3; ++k) motion.values[q] += factors[(q * count + i) * 3 + k] * u[k];
  }
  const Vec3 shift{motion.values[0], motion.values[1], motion.values[2]};
  const Vec3 turn{motion.values[3], motion.values[4], motion.values[5]};
  for (std::size_t i = 0; i < count; ++i) {
    const Vec3 rest = translation(i) - shift - cross(turn, reference.member_places[i] - reference.place);
    for (std::size_t k = 0; k < 3; ++k)
      if (reference.coupled[k]) motion.misfit = std::max(motion.misfit, std::abs(rest[k]));
  }
  if (largest > 0.0) motion.misfit /= largest;
  return motion;
}

}  // namespace sbrtranslate

#endif
