// Monitor points: named results of the finite-element model and the operators that recover them from modal coordinates.
// The unit owns SbrBody::monitor_points.
#ifndef SBRKIT_BODY_MONITOR_POINTS_H
#define SBRKIT_BODY_MONITOR_POINTS_H

#include "body/body.h"

namespace sbr {

[[nodiscard]] inline int monitor_point_count(const SbrBody &body) noexcept { return body.monitor_points.count(); }
// The flag of an operator type (1 displacement, 2 velocity, 3 acceleration, 4 load) at a point when the point has that
// operator, else 0.
[[nodiscard]] int monitor_point_has_operator(const SbrBody &body, int point, int type) noexcept;

// Cuts the rows of all operators down to the first `modes` values, for a body whose later modes go.
void drop_operators_behind(SbrBody &body, int modes) noexcept;

}  // namespace sbr

#endif
