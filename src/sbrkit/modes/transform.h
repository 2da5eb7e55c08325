// Modal transformation: the modes of a kind become combinations of themselves.
#ifndef SBRKIT_MODES_TRANSFORM_H
#define SBRKIT_MODES_TRANSFORM_H

#include "body/body.h"

namespace sbr {

// New mode j becomes the sum over the old modes i of matrix[i * n + j] times mode i, with n old modes, for the first
// new_count of them. False after a report, with the store as it was.
[[nodiscard]] bool transform_modes(SbrBody &body, Kind kind, int new_count, const double *matrix) noexcept;
// The same for the operators of all monitor points. False after a report when memory is short.
bool transform_monitor_points(SbrBody &body, const double *matrix) noexcept;

}  // namespace sbr

#endif
