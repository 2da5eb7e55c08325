// Rigid transformations. The unit owns no data: it moves what other units hold, through their operations where a
// quantity has any.
#ifndef SBRKIT_FRAME_RIGID_MOTION_H
#define SBRKIT_FRAME_RIGID_MOTION_H

#include "base/mat3.h"
#include "body/body.h"

namespace sbr {

// Rewrites one kind of mode data under R (shapes as vectors, stress and strain as tensors, with the pre-vectors of the
// kind). 1, or 0 after a report with the old store in use.
int transform_mode(SbrBody &body, const double *R9, Kind kind) noexcept;

}  // namespace sbr

#endif
