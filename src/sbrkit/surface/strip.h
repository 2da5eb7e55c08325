// Stripping: faces that two solid elements share leave the face list.
#ifndef SBRKIT_SURFACE_STRIP_H
#define SBRKIT_SURFACE_STRIP_H

#include "body/body.h"

namespace sbr {

// Sorts the faces and takes out those that lie inside the body; once per body. The faces stay after a report that
// memory is short.
void strip_common_faces(SbrBody &body) noexcept;

}  // namespace sbr

#endif
