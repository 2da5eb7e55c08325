// What the units of rigid-body modes and principal axes share.
#ifndef SBRKIT_DYNAMICS_RIGID_MODES_H
#define SBRKIT_DYNAMICS_RIGID_MODES_H

#include <cmath>

#include "body/body.h"

namespace sbr {

// Participations and projected loads of magnitude up to this are stored as exactly 0.0.
constexpr double kSmallProjection = 1e-10;

inline double cut_small(double value) noexcept { return std::fabs(value) <= kSmallProjection ? 0.0 : value; }

// How many of the leading modes are rigid.
[[nodiscard]] int rigid_mode_count(SbrBody &body) noexcept;
// What the first `count` modes are in terms of the six rigid motions: one row of `count` values for each motion. False
// after a report when memory is short or there are no modes.
[[nodiscard]] bool rigid_participation(SbrBody &body, double *const *six_rows, int count) noexcept;

}  // namespace sbr

#endif
