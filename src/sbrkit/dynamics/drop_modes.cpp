#include "dynamics/drop_modes.h"

#include "body/monitor_points.h"
#include "mass/invariants.h"

namespace sbr {

void drop_modes_behind(SbrBody &body, int modes) noexcept {
  drop_operators_behind(body, modes);
  drop_invariants_behind(body, modes);
  body.mode_table.mode_count = modes;
}

}  // namespace sbr
