// The general damping matrix on principal axes.
#ifndef SBRKIT_DYNAMICS_PRINCIPAL_DAMPING_H
#define SBRKIT_DYNAMICS_PRINCIPAL_DAMPING_H

#include "body/body.h"

namespace sbr {

// Carries the damping to the principal axes, unless it stands there. False after a report.
bool damping_on_principal_axes(SbrBody &body) noexcept;

}  // namespace sbr

#endif
