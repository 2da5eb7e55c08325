#include "modefacts.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace sbrtool {

ModeFacts facts_of_mode(SBR body, int number) {
  ModeFacts facts;
  facts.number = number;
  facts.known =
      SBR_Eigenvalue(body, number, &facts.eigenvalue, &facts.hz, &facts.rad, &facts.mass, &facts.stiffness) != 0;
  if (!facts.known) {
    constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
    return {number, false, kNone, kNone, kNone, kNone, kNone};
  }
  // The oldest layout gives the frequency of a negative eigenvalue as no number.
  if (SBR_Version(body) == 10 && facts.eigenvalue < 0.0 && std::isnan(facts.hz)) {
    facts.rad = -std::sqrt(-facts.eigenvalue * SBR_UCF(body));
    facts.hz = facts.rad / 6.28318530718;
  }
  return facts;
}

std::vector<ModeFacts> facts_of_modes(SBR body) {
  std::vector<ModeFacts> modes;
  for (int i = 0; i < SBR_ModeCount(body); ++i) modes.push_back(facts_of_mode(body, SBR_ModeNumber(body, i)));
  return modes;
}

std::size_t first_elastic_mode(SBR body) { return static_cast<std::size_t>(std::max(SBR_RigidBodyModeCount(body), 0)); }

}  // namespace sbrtool
