// Coarsening: faces in small and nearly flat neighbourhoods become polygons.
#ifndef SBRKIT_SURFACE_COARSEN_H
#define SBRKIT_SURFACE_COARSEN_H

#include "body/body.h"

namespace sbr {

// Reduces the faces by an option string: "resolution,angle,colinear" and the nodes to preserve, as the write option has
// it. A failure is reported, and the faces stay.
void trim_geometry(SbrBody &body, const char *options) noexcept;
// Whether the faces were coarsened, or hold one of more than four vertices. Found out once.
[[nodiscard]] bool is_coarsened(SbrBody &body) noexcept;

}  // namespace sbr

#endif
