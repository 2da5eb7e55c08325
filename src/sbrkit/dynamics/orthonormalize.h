// Orthonormalization: the eigenproblem K x = lambda M x over the modal coordinates, the eigenvalue table that follows
// from it, and the transformation of everything modal.
#ifndef SBRKIT_DYNAMICS_ORTHONORMALIZE_H
#define SBRKIT_DYNAMICS_ORTHONORMALIZE_H

#include "body/body.h"

namespace sbr {

// Makes the modes orthonormal, unless they are. True also when there is nothing to do. All or nothing: when it fails,
// after a report or for want of modes, table, matrices, numbers, loads and mode data are as they were.
[[nodiscard]] bool orthonormalize(SbrBody &body) noexcept;

}  // namespace sbr

#endif
