// Modal preloads and loads on principal axes.
#ifndef SBRKIT_DYNAMICS_PRINCIPAL_LOADS_H
#define SBRKIT_DYNAMICS_PRINCIPAL_LOADS_H

#include "body/body.h"

namespace sbr {

// Turns the rigid entries of the modal preload and of the modal loads into forces and moments, once for each vector. A
// projection that fails is reported and leaves its vector.
void carry_rigid_forces(SbrBody &body) noexcept;

}  // namespace sbr

#endif
