// Switching a body to another system of units.
#ifndef SBRKIT_FRAME_SWITCH_UNITS_H
#define SBRKIT_FRAME_SWITCH_UNITS_H

#include "body/body.h"

namespace sbr {

// Takes four unit names. A body without units takes the names; one with units is rescaled from the old system to the
// new one. False, with the body as it was, when a name is missing or unknown.
bool set_units(SbrBody &body, const char *mass, const char *length, const char *time, const char *force) noexcept;

}  // namespace sbr

#endif
