// Bodies with mass and rigid modes, for what is carried to the principal axes.
#ifndef SBRKIT_TESTS_SUPPORT_PRINCIPAL_AXES_H
#define SBRKIT_TESTS_SUPPORT_PRINCIPAL_AXES_H

#include <array>
#include <string>
#include <vector>

#include "support/files.h"
#include "support/mass_body.h"
#include "support/messages.h"

namespace sbrtest {

using Dense = std::vector<std::vector<Exact>>;

inline const Message kNoBody = error("The database has not been initialized.");

inline Dense dense(std::size_t rows, std::size_t columns) { return Dense(rows, std::vector<Exact>(columns)); }

// The six rigid motions of a node, as rows: translations, then rotations about the axes.
inline std::array<Vector3, 6> rigid_motions(const Vector3 &r) {
  std::array<Vector3, 6> motions{};
  for (std::size_t c = 0; c < 3; ++c) {
    motions[c][c] = 1;
    Vector3 axis{};
    axis[c] = 1;
    motions[3 + c] = cross(axis, r);
  }
  return motions;
}

// The first `rigid` frequencies are zero, the others well above; ten modes are enough for a seventh.
inline std::vector<double> frequencies(int modes, int rigid) {
  std::vector<double> hz;
  for (int i = 0; i < modes; ++i) hz.push_back(i < rigid ? 0.0 : 100.0 + i);
  return hz;
}

class PrincipalAxes : public LibraryTest {
 protected:
  SBR make(int modes, int rigid, unsigned seed = 31) {
    mass = random_mass_body(seed, 25, modes);
    SBR body = mass.build();
    set_frequencies(body, frequencies(modes, rigid), {2.0, 3.0, 0.5, 1.25, 4.0, 5.0});
    log.clear();
    return body;
  }
  MassBody mass;
  const ScopedEnvironment no_threshold{"SBR_RIGID_BODY_THRESHOLD", std::nullopt};
  const ScopedEnvironment with_mass{"KTX_MFORCE_NO_FEA_MASS", std::nullopt};
};

}  // namespace sbrtest

#endif
