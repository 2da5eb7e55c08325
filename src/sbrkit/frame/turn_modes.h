// What a rigid transformation does to one kind of mode data.
#ifndef SBRKIT_FRAME_TURN_MODES_H
#define SBRKIT_FRAME_TURN_MODES_H

#include "body/body.h"

namespace sbr {

// Rewrites one kind of mode data under R (shapes as vectors, stress and strain as tensors, with the pre-vectors of the
// kind). False after a report with the old store in use and the mode cache off.
bool turn_modes(SbrBody &body, Kind kind, const double *R9) noexcept;

}  // namespace sbr

#endif
