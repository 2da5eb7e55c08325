// Mass properties of a body about its center of mass, with principal moments and axes.
#ifndef SBRKIT_TOOLS_SBR_MASSPROPERTIES_H
#define SBRKIT_TOOLS_SBR_MASSPROPERTIES_H

#include <Eigen/Dense>
#include <string>

#include "session.h"

namespace sbrtool {

struct MassProperties {
  double mass = 0.0;
  Eigen::Vector3d center = Eigen::Vector3d::Zero();
  Eigen::Matrix3d inertia = Eigen::Matrix3d::Zero();  // about the centre, products with negative sign
  std::string source;                                 // where they come from, in words
};

struct PrincipalAxes {
  Eigen::Vector3d moments;  // ascending
  Eigen::Matrix3d axes;     // a row for each moment, of unit length
};

// Whether the record has anything that a mass could follow from.
bool has_mass_data(SBR body);
// Ends the command when the invariants cannot be had.
MassProperties mass_properties(SBR body);
// The inertia has to be finite.
PrincipalAxes principal_axes(const MassProperties &properties);

}  // namespace sbrtool

#endif
