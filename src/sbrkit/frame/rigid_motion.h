// Rigid transformations: a body translated, turned or mirrored with all that depends on its frame. The unit owns no
// data: it moves what other units hold. Directions need not have a length of 1; one without a length and numbers that
// are not finite are refused with a report before anything moves.
#ifndef SBRKIT_FRAME_RIGID_MOTION_H
#define SBRKIT_FRAME_RIGID_MOTION_H

#include "body/body.h"

namespace sbr {

bool translate_body(SbrBody &body, const double *direction3, double distance) noexcept;
// Describes the body in a frame turned about an axis through the origin, by the matrix R9 that it gives: the body turns
// by minus the angle.
bool turn_frame(SbrBody &body, const double *axis3, double angle_degrees, double *R9) noexcept;
// Turns the body about the axis through a point, right-handed.
bool rotate_body(SbrBody &body, const double *axis3, const double *point3, double angle_degrees) noexcept;
// Reflects the body in the plane through the origin, or through a point.
bool mirror_at_origin(SbrBody &body, const double *normal3) noexcept;
bool mirror_body(SbrBody &body, const double *normal3, const double *point3) noexcept;

}  // namespace sbr

#endif
