// Whether modes belong to the mesh and the masses that they are given with: the masses that the modes themselves tell.
#ifndef SBRKIT_TRANSLATORS_COMMON_CONSISTENCY_H
#define SBRKIT_TRANSLATORS_COMMON_CONSISTENCY_H

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "common/model.h"
#include "common/report.h"

namespace sbrtranslate {

// How far mass (relative) and center of mass (in parts of the body's extent) may be apart. Results have six digits;
// shells and beams are expanded to solids that overlap at folds; a mesh with points of integration in part sees curved
// elements a little smaller.
constexpr double kSolidTolerance = 1e-3;
constexpr double kShellTolerance = 1e-2;
// How far the generalized mass of the best of the first elastic modes may be from that of the elements.
constexpr double kElasticTolerance = 0.05;
constexpr int kElasticModes = 3;

// Takes the modes one by one, as translations and rotations of the model's nodes, and compares at the end.
//
// Six rigid motions with velocities v and rotations w about the center of mass, orthonormal by the solver's own mass
// matrix, give that matrix for rigid motions:
//
//   M6 = (Q Q^T)^-1,  Q the columns (v; w) / sqrt(generalized mass),
//
// and with it the mass and the center of mass that the solver had. With fewer rigid motions (a supported body), the
// generalized mass of the first elastic modes is integrated over the elements. The inertia is not compared: solvers
// integrate it with few points.
class ConsistencyCheck {
 public:
  explicit ConsistencyCheck(const Model &model) : model_(model) {}

  // A mode once RigidFit has judged it.
  void take(const ModeReport &mode, double generalized_mass, const NodalMotion &motion);
  // What does not fit, or nothing.
  [[nodiscard]] std::optional<std::string> complaint() const;

 private:
  [[nodiscard]] std::optional<std::string> compare_rigid() const;

  struct Motion {
    Vec3 velocity;
    Vec3 rotation;
  };
  const Model &model_;
  std::vector<Motion> rigid_;
  std::vector<double> elastic_;  // generalized masses by the elements over those of the results
};

// Warnings about figures that no material or body has in the units that are given: densities, moduli (by material; may
// be empty) and the size of the body. The factors bring mass, length and time to kilogram, meter and second.
struct UnitFactors {
  double mass = 1.0;
  double length = 1.0;
  double time = 1.0;
};
std::vector<std::string> unit_warnings(const Model &model, const std::map<std::string, double> &moduli,
                                       const UnitFactors &factors);

}  // namespace sbrtranslate

#endif
