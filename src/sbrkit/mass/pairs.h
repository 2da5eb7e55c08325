// The sums over the nodes behind invariants 5 and 9, for all pairs of modes.
#ifndef SBRKIT_MASS_PAIRS_H
#define SBRKIT_MASS_PAIRS_H

#include "body/body.h"

namespace sbr {

// Makes invariants 5 and 9 anew, in place of what stood in the two cells. Reports nothing.
[[nodiscard]] bool compute_modal_pair_invariants(SbrBody &body) noexcept;

}  // namespace sbr

#endif
