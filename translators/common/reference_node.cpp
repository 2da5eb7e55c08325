#include "common/reference_node.h"

#include <Eigen/Dense>

namespace sbrtranslate {
namespace {

using Columns = Eigen::Matrix<double, 3, 6>;

// The translation of a point of a rigid body by the six values of its reference node.
Columns columns_of(const Vec3 &arm) {
  Columns p = Columns::Zero();
  p.leftCols<3>().setIdentity();
  for (int j = 0; j < 3; ++j) {
    Vec3 axis{};
    axis[static_cast<std::size_t>(j)] = 1.0;
    const Vec3 u = cross(axis, arm);
    for (int k = 0; k < 3; ++k) p(k, 3 + j) = u[static_cast<std::size_t>(k)];
  }
  return p;
}

}  // namespace

// Weighted least squares: q = (sum w P^t P)^-1 sum w P^t u, with lengths scaled to the size of the set. Directions that
// the members do not follow in do not count.
std::vector<double> mean_motion(const ReferenceNode &reference) {
  const std::size_t count = reference.members.size();
  double size = 0.0;
  for (const Vec3 &place : reference.member_places)
    size = std::max(size, length(place - reference.member_places.front()));
  // About the weighted center the translations part from the rotations.
  double weight = 0.0;
  Vec3 centre{};
  for (std::size_t i = 0; i < count; ++i) {
    weight += reference.weights[i];
    centre = centre + reference.weights[i] * reference.member_places[i];
  }
  centre = (1.0 / weight) * centre;
  Eigen::Vector3d follows;
  for (int k = 0; k < 3; ++k) follows[k] = reference.coupled[static_cast<std::size_t>(k)] ? 1.0 : 0.0;
  Eigen::Matrix<double, 6, 6> normal = Eigen::Matrix<double, 6, 6>::Zero();
  std::vector<Columns> columns;
  for (std::size_t i = 0; i < count; ++i) {
    columns.push_back(columns_of((1.0 / std::max(size, 1e-300)) * (reference.member_places[i] - centre)));
    columns.back() = follows.asDiagonal() * columns.back();
    normal += (reference.weights[i] / weight) * columns.back().transpose() * columns.back();
  }
  const Eigen::SelfAdjointEigenSolver<Eigen::Matrix<double, 6, 6>> judge(normal);
  if (count < 3 || !(judge.eigenvalues()[0] > 1e-9))
    throw InputError(reference.card, "the nodes of reference node " + std::to_string(reference.node) +
                                         " do not tell its rotations: three that are not in line are needed");
  // From the center to the reference node.
  Eigen::Matrix<double, 6, 6> move = Eigen::Matrix<double, 6, 6>::Identity();
  for (int j = 3; j < 6; ++j) move.row(j) /= size;
  Eigen::Matrix<double, 6, 6> shift = Eigen::Matrix<double, 6, 6>::Identity();
  shift.topRows<3>() = columns_of(reference.place - centre);
  const Eigen::Matrix<double, 6, 6> map = shift * move * normal.inverse();
  std::vector<double> factors(6 * count * 3);
  for (std::size_t i = 0; i < count; ++i) {
    const Eigen::Matrix<double, 6, 3> part = (reference.weights[i] / weight) * map * columns[i].transpose();
    for (std::size_t q = 0; q < 6; ++q)
      for (std::size_t k = 0; k < 3; ++k)
        factors[(q * count + i) * 3 + k] = part(static_cast<Eigen::Index>(q), static_cast<Eigen::Index>(k));
  }
  return factors;
}

}  // namespace sbrtranslate
