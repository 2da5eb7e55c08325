// Moving the body's reference frame to its center of mass, as the writer does on request.
#ifndef SBRKIT_FRAME_TO_MASS_CENTER_H
#define SBRKIT_FRAME_TO_MASS_CENTER_H

#include "body/body.h"

namespace sbr {

// Nodes and what refers to the origin in loads on principal axes move. A body without mass stays.
void shift_to_mass_center(SbrBody &body) noexcept;

}  // namespace sbr

#endif
