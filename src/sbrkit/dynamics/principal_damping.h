// The general damping matrix on principal axes.
#ifndef SBRKIT_DYNAMICS_PRINCIPAL_DAMPING_H
#define SBRKIT_DYNAMICS_PRINCIPAL_DAMPING_H

#include "body/body.h"

namespace sbr {

// Brings the damping list to principal axes: six rigid-body coordinates, then the elastic modes. Once per list. False
// after a report.
[[nodiscard]] bool carry_damping(SbrBody &body) noexcept;

}  // namespace sbr

#endif
