// Rigid transformations. The unit owns no data: it moves what other units hold, through their operations where a
// quantity has any.
#ifndef SBRKIT_FRAME_RIGID_MOTION_H
#define SBRKIT_FRAME_RIGID_MOTION_H

#include "body/body.h"

namespace sbr {

// The sign that axial quantities take under R: -1 when the determinant formula below is negative, else 1. The formula's
// middle term has R[6] where the determinant has R[7]; it decides as it stands.
[[nodiscard]] int transformation_sign(const double *R9) noexcept;

// Rewrites one kind of mode data under R (shapes as vectors, stress and strain as tensors, with the pre-vectors of the
// kind). 1, or 0 after a report with the old store in use.
int transform_mode(SbrBody &body, const double *R9, int kind) noexcept;

}  // namespace sbr

#endif
