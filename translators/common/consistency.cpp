#include "common/consistency.h"

#include <Eigen/Dense>
#include <algorithm>
#include <cmath>

namespace sbrtranslate {
namespace {

using Matrix6 = Eigen::Matrix<double, 6, 6>;
using Vector6 = Eigen::Matrix<double, 6, 1>;

// Lightest and heaviest of what bodies are made of, in kilogram per cubic meter: foams and osmium. Softest and
// stiffest, in pascal: gels and diamond. Smallest and largest bodies, in meter.
constexpr double kDensities[2] = {1.0, 3e4};
constexpr double kModuli[2] = {1e3, 2e12};
constexpr double kSizes[2] = {1e-6, 1e4};

bool outside(double value, const double (&range)[2]) { return !(value >= range[0] && value <= range[1]); }

// The kinetic energy of a shape, twice: by the elements, and by what the nodes have besides.
double mass_of_shape(const Model &model, const NodalMotion &motion) {
  double sum = 0.0;
  std::vector<Vec3> places;
  std::vector<Vec3> moves;
  for (const MeshElement &element : model.mesh.elements) {
    const Section &section = model.mesh.sections[static_cast<std::size_t>(element.section)];
    const int *ids = model.mesh.nodes_of(element);
    places.clear();
    moves.clear();
    for (int i = 0; i < element.type->nodes; ++i) {
      const auto at = static_cast<std::size_t>(model.node_position(ids[i]));
      places.push_back(model.nodes[at].place);
      moves.push_back(motion.translation(at));
    }
    sum += model.mesh.materials.at(section.material).density *
           integrate_square(*element.type, places, model.mesh.thicknesses(element), moves);
  }
  for (std::size_t i = 0; i < model.nodes.size(); ++i) {
    const double more = model.nodes[i].mass - model.nodes[i].element_mass;
    if (const Vec3 u = motion.translation(i); more != 0.0) sum += more * dot(u, u);
  }
  return sum;
}

}  // namespace

void ConsistencyCheck::take(const ModeReport &mode, double generalized_mass, const NodalMotion &motion) {
  if (!(generalized_mass > 0.0)) return;
  const double scale = 1.0 / std::sqrt(generalized_mass);
  if (mode.rigid)
    rigid_.push_back({scale * mode.velocity, scale * mode.rotation});
  else if (rigid_.size() < 6 && elastic_.size() < kElasticModes)
    elastic_.push_back(mass_of_shape(model_, motion) / generalized_mass);
}

std::optional<std::string> ConsistencyCheck::compare_rigid() const {
  // Along the principal axes and in units of the roots of mass and moments of inertia: what fits gives the unit matrix.
  // A turn that the nodes do not see, about a line that all of them lie on, stays 0.
  const auto tensor = model_.exact.inertia(model_.exact.centre());
  const Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d> principal(Eigen::Map<const Eigen::Matrix3d>(tensor.data()));
  const Eigen::Matrix3d turn = principal.eigenvectors().transpose();
  const double deck = model_.exact.mass;
  const Eigen::Vector3d roots = principal.eigenvalues().cwiseMax(0.0).cwiseSqrt();
  Matrix6 sum = Matrix6::Zero();
  for (const Motion &motion : rigid_) {
    Vector6 column;
    column.head<3>() = std::sqrt(deck) * turn * Eigen::Map<const Eigen::Vector3d>(motion.velocity.data());
    column.tail<3>() = roots.cwiseProduct(turn * Eigen::Map<const Eigen::Vector3d>(motion.rotation.data()));
    sum += column * column.transpose();
  }
  const Eigen::SelfAdjointEigenSolver<Matrix6> solution(sum);
  Vector6 inverse = solution.eigenvalues();
  const double least = 1e-6 * inverse[5];
  for (Eigen::Index k = 0; k < 6; ++k) inverse[k] = inverse[k] > least ? 1.0 / inverse[k] : 0.0;
  const Matrix6 mass = solution.eigenvectors() * inverse.asDiagonal() * solution.eigenvectors().transpose();
  const bool expanded = model_.has_shells || !model_.mesh.lines.empty();
  const double tolerance = expanded ? kShellTolerance : kSolidTolerance;
  const double solver = deck * mass.topLeftCorner<3, 3>().trace() / 3.0;
  if (!(std::fabs(solver / deck - 1.0) <= tolerance))
    return "the modes are those of a body with the mass " + show(solver) + ", and the elements have " + show(deck) +
           " (density or mesh changed after the run?)";
  // Momentum of a turn about the center of the elements: mass times the distance between both centers.
  const Eigen::Matrix3d momentum = std::sqrt(deck) * mass.topRightCorner<3, 3>() * roots.asDiagonal();
  const double apart = momentum.norm() / std::sqrt(2.0) / solver;
  if (!(apart <= tolerance * model_.extent))
    return "the modes are those of a body whose center of mass is " + show(apart) +
           " away from that of the elements (density or mesh changed after the run?)";
  return std::nullopt;
}

std::optional<std::string> ConsistencyCheck::complaint() const {
  if (rigid_.size() == 6) return compare_rigid();
  if (elastic_.empty()) return std::nullopt;
  const auto away = [](double ratio) { return std::fabs(ratio - 1.0); };
  const double best =
      *std::min_element(elastic_.begin(), elastic_.end(), [&](double a, double b) { return away(a) < away(b); });
  if (away(best) <= kElasticTolerance) return std::nullopt;
  return "the elements give the modes " + show(best) + " times their generalized mass (density or mesh changed after " +
         "the run?)";
}

std::vector<std::string> unit_warnings(const Model &model, const std::map<std::string, double> &moduli,
                                       const UnitFactors &factors) {
  std::vector<std::string> warnings;
  const auto warn = [&](const std::string &what, double value, const char *unit) {
    warnings.push_back(what + " is " + show(value) + " " + unit +
                       " in the units that are given (--units); is that right?");
  };
  std::map<std::string, bool> used;
  for (const Section &section : model.mesh.sections) used[section.material] = true;
  const double volume = factors.length * factors.length * factors.length;
  for (const auto &[name, material] : model.mesh.materials) {
    if (used.count(name) == 0) continue;
    if (const double density = material.density * factors.mass / volume; outside(density, kDensities))
      warn("the density of " + name, density, "kg/m^3");
    const auto modulus = moduli.find(name);
    if (modulus == moduli.end()) continue;
    const double pascal = modulus->second * factors.mass / (factors.length * factors.time * factors.time);
    if (outside(pascal, kModuli)) warn("Young's modulus of " + name, pascal, "Pa");
  }
  if (const double size = model.extent * factors.length; outside(size, kSizes)) warn("the size of the body", size, "m");
  return warnings;
}

}  // namespace sbrtranslate
