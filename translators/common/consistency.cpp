#include "common/consistency.h"

#include <Eigen/Dense>
#include <algorithm>
#include <cmath>
#include <limits>

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
double mass_of_shape(const Model &model, const std::vector<double> &values) {
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
      moves.push_back({values[6 * at], values[6 * at + 1], values[6 * at + 2]});
    }
    const double thickness = element.type->shell() ? section.thickness : 1.0;
    sum +=
        model.mesh.materials.at(section.material).density * thickness * integrate_square(*element.type, places, moves);
  }
  for (std::size_t i = 0; i < model.nodes.size(); ++i) {
    const Vec3 u{values[6 * i], values[6 * i + 1], values[6 * i + 2]};
    sum += (model.nodes[i].mass - model.nodes[i].element_mass) * dot(u, u);
  }
  return sum;
}

}  // namespace

void ConsistencyCheck::take(const ModeReport &mode, double generalized_mass, const std::vector<double> &values) {
  if (!(generalized_mass > 0.0)) return;
  const double scale = 1.0 / std::sqrt(generalized_mass);
  if (mode.rigid)
    rigid_.push_back({scale * mode.velocity, scale * mode.rotation});
  else if (rigid_.size() < 6 && elastic_.size() < kElasticModes)
    elastic_.push_back(mass_of_shape(model_, values) / generalized_mass);
}

std::optional<std::string> ConsistencyCheck::compare_rigid() const {
  // In units of the body's size, so that turns and translations are alike.
  const double size = std::max(model_.extent, std::numeric_limits<double>::min());
  Matrix6 sum = Matrix6::Zero();
  for (const Motion &motion : rigid_) {
    Vector6 column;
    for (int k = 0; k < 3; ++k) {
      column[k] = motion.velocity[static_cast<std::size_t>(k)];
      column[3 + k] = size * motion.rotation[static_cast<std::size_t>(k)];
    }
    sum += column * column.transpose();
  }
  const Matrix6 mass = sum.inverse();
  const double tolerance = model_.has_shells ? kShellTolerance : kSolidTolerance;
  const double solver = mass.topLeftCorner<3, 3>().trace() / 3.0;
  const double deck = model_.exact.mass;
  if (!(std::fabs(solver / deck - 1.0) <= tolerance))
    return "the modes are those of a body with the mass " + show(solver) + ", and the elements have " + show(deck) +
           " (density or mesh changed after the run?)";
  // Momentum of a turn about the center of the elements: mass times the distance between both centers.
  const double apart = size * mass.topRightCorner<3, 3>().norm() / std::sqrt(2.0) / solver;
  if (!(apart <= tolerance * size))
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
