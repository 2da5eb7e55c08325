// Modal preloads and loads on principal axes.
#ifndef SBRKIT_DYNAMICS_PRINCIPAL_LOADS_H
#define SBRKIT_DYNAMICS_PRINCIPAL_LOADS_H

#include "body/body.h"

namespace sbr {

// Carries the rigid entries of the preload and of every load case to the principal axes, unless they stand there.
void rigid_forces_on_principal_axes(SbrBody &body) noexcept;

}  // namespace sbr

#endif
