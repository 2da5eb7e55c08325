// Entering inertia invariants by hand, and the global mass properties that follow from them.
#ifndef SBRKIT_MASS_ENTRY_H
#define SBRKIT_MASS_ENTRY_H

#include "body/body.h"

namespace sbr {

// Enters invariant 5 of a pair of modes, told by their indices, and its negative for the pair the other
// way round. False after a report.
bool enter_invar5(SbrBody &body, int row, int column, const double *v3) noexcept;
// Global mass, center and inertia from invariants 1, 2 and 7.
void calculate_global_mass(SbrBody &body) noexcept;

}  // namespace sbr

#endif
