// What a rigid motion does to the inertia invariants: those whose blocks exist follow the body.
#ifndef SBRKIT_FRAME_MOVE_INVARIANTS_H
#define SBRKIT_FRAME_MOVE_INVARIANTS_H

#include "body/body.h"

namespace sbr {

// After coordinates, masses, shapes and stress went through R, whose sign axial quantities take.
void turn_invariants(SbrBody &body, const double *R9, int sign) noexcept;
// After coordinates and global properties moved by d. False after a report, with the invariants before it moved.
[[nodiscard]] bool translate_invariants(SbrBody &body, const double *d3) noexcept;

}  // namespace sbr

#endif
