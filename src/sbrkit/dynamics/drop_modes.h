// The last modes of a body go.
#ifndef SBRKIT_DYNAMICS_DROP_MODES_H
#define SBRKIT_DYNAMICS_DROP_MODES_H

#include "body/body.h"

namespace sbr {

// Makes `modes` the mode count. What has a value per mode in its rows, the operators of the monitor points and the
// cells of the invariants, is cut down to the modes that stay.
void drop_modes_behind(SbrBody &body, int modes) noexcept;

}  // namespace sbr

#endif
