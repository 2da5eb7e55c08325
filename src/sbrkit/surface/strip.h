// Stripping: the faces that two solid elements share go.
#ifndef SBRKIT_SURFACE_STRIP_H
#define SBRKIT_SURFACE_STRIP_H

#include "body/body.h"

namespace sbr {

// Removes them, once per body; an empty face list is an allocation failure.
void strip_common_faces(SbrBody &body) noexcept;

}  // namespace sbr

#endif
