#include "massproperties.h"

namespace sbrtool {
namespace {

bool has_invariants(SBR body) {
  return SBR_Exists(body, 18) != 0 && SBR_Exists(body, 19) != 0 && SBR_Exists(body, 23) != 0;
}

std::string source_of(SBR body) {
  if (has_invariants(body)) return "inertia invariants stored in the record";
  if (SBR_Exists(body, 8) != 0) return "nodal masses";
  if (SBR_Exists(body, 5) != 0) return "global body properties";
  return "no mass data";
}

}  // namespace

bool has_mass_data(SBR body) { return has_invariants(body) || SBR_Exists(body, 8) != 0 || SBR_Exists(body, 5) != 0; }

MassProperties mass_properties(SBR body) {
  MassProperties properties;
  properties.source = source_of(body);
  properties.mass = SBR_Invar1(body);
  const Given<double> second(SBR_Invar2(body));
  const Given<double> seventh(SBR_Invar7(body));
  if (!second || !seventh) throw Failure(kFailed, "the invariants cannot be had");
  if (properties.mass != 0.0) properties.center = Eigen::Map<Eigen::Vector3d>(second.get()) / properties.mass;
  const Eigen::Vector3d &c = properties.center;
  const Eigen::Matrix3d origin = Eigen::Map<Eigen::Matrix<double, 3, 3, Eigen::RowMajor>>(seventh.get());
  // The parallel-axis theorem, from the origin to the centre of mass.
  properties.inertia = origin - properties.mass * (c.dot(c) * Eigen::Matrix3d::Identity() - c * c.transpose());
  return properties;
}

PrincipalAxes principal_axes(const MassProperties &properties) {
  const Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d> principal(0.5 *
                                                                 (properties.inertia + properties.inertia.transpose()));
  return {principal.eigenvalues(), principal.eigenvectors().transpose()};
}

}  // namespace sbrtool
