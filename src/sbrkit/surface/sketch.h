// Sketching: faces written by hand take the place of the face list.
#ifndef SBRKIT_SURFACE_SKETCH_H
#define SBRKIT_SURFACE_SKETCH_H

#include "body/body.h"

namespace sbr {

// Replaces the faces by those of a text file. A file that cannot be taken is warned of, and the faces stay.
void sketch_grid(SbrBody &body, const char *path) noexcept;

}  // namespace sbr

#endif
