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

}  // namespace sbr

#endif
