// Where mode data lies: channels, record positions and the memory cache. The unit sbrmodestore owns SbrBody::store,
// SbrBody::modes (after reading) and SbrBody::float_buffer.
#ifndef SBRKIT_MODESTORE_H
#define SBRKIT_MODESTORE_H

#include "body.h"

namespace sbr {

// The block of a kind's mode data: 7, 17, 28.
constexpr int kind_block(int kind) { return kind == 0 ? kModeShapes : kind == 1 ? kModalStress : kModalStrain; }

// Makes, reserves and installs the temporary file of a kind. 1, or 0 after a report. 1 at once when the kind's channel
// is open.
[[nodiscard]] int open_temporary_mode_file(SbrBody &body, int kind) noexcept;
// The cached part of a mode (three doubles per node of the kind), or null. mode_index as in the mode table.
[[nodiscard]] const double *cached_part(const SbrBody &body, int mode_index, int kind, int part) noexcept;
// A whole mode, or with number 0 of kinds 1 and 2 a pre-vector: six values per kind position, as the accessors deliver
// them. Null when there is nothing of that name. A failed read is reported and gives what the buffer holds. Valid until
// the next access to the kind.
[[nodiscard]] const double *whole_mode(SbrBody &body, int number, int kind) noexcept;
// Factors that bring stored values to the body's units: translations of kind 0, all of kind 1.
inline double shape_scale(const SbrBody &body) { return body.units.unit.length; }
inline double stress_scale(const SbrBody &body) {
  return body.units.unit.force / body.units.unit.length / body.units.unit.length;
}

}  // namespace sbr

#endif
