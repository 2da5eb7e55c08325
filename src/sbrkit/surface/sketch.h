// Sketching: faces from a plain text file take the place of a body's faces.
#ifndef SBRKIT_SURFACE_SKETCH_H
#define SBRKIT_SURFACE_SKETCH_H

#include "body/body.h"

namespace sbr {

// Null is answered with a hint how to use it. A file that cannot be read to its end is warned of, and the faces stay.
void sketch_faces(SbrBody &body, const char *path) noexcept;

}  // namespace sbr

#endif
