// Rescaling of everything of a body that lives in memory by the ratios of the last change of units. Mode data on disk
// is left alone: it is brought to the body's units each time it is read.
#ifndef SBRKIT_FRAME_RESCALE_H
#define SBRKIT_FRAME_RESCALE_H

#include "body/body.h"

namespace sbr {

// Applies SbrBody::units.scale.
void rescale(SbrBody &body) noexcept;

}  // namespace sbr

#endif
