#include "effectivemass.h"

#include <cmath>
#include <limits>

#include "modefacts.h"

namespace sbrtool {

std::vector<EffectiveMass> effective_masses(SBR body, const MassProperties &properties) {
  std::vector<EffectiveMass> rows;
  const bool known = SBR_Exists(body, 8) != 0 || (SBR_Exists(body, 20) != 0 && SBR_Exists(body, 21) != 0);
  if (SBR_ModeCount(body) < 1 || SBR_ModeExist(body, 0) == 0 || !known || !(properties.mass > 0.0)) return rows;
  const Given<double> moved(SBR_Invar3(body));
  const Given<double> turned(SBR_Invar4(body));
  if (!moved || !turned) return rows;
  const auto count = static_cast<std::size_t>(SBR_ModeCount(body));
  for (std::size_t m = 0; m < count; ++m) {
    const ModeFacts facts = facts_of_mode(body, SBR_ModeNumber(body, static_cast<int>(m)));
    EffectiveMass row{facts.number, {}};
    const Eigen::Vector3d along(moved[m], moved[count + m], moved[2 * count + m]);
    const Eigen::Vector3d origin(turned[m], turned[count + m], turned[2 * count + m]);
    const Eigen::Vector3d about = origin - properties.center.cross(along);
    for (Eigen::Index c = 0; c < 3; ++c) {
      const auto place = static_cast<std::size_t>(c);
      const double inertia = properties.inertia(c, c);
      row.parts[place] = along[c] * along[c] / facts.mass / properties.mass;
      row.parts[3 + place] = inertia > 0.0 ? about[c] * about[c] / facts.mass / inertia : NAN;
    }
    if (!(facts.mass > 0.0)) row.parts.fill(std::numeric_limits<double>::quiet_NaN());
    rows.push_back(row);
  }
  return rows;
}

}  // namespace sbrtool
