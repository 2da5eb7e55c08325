// Mode access: whole modes, parts and single nodes, from the cache or past it, through one record loader. Inside the
// library a mode is told by its index, so that two modes of one number, or one of number 0, are never mixed up. The
// unit owns SbrBody::access.
//
// Stored values are in the units of their file; what is delivered is in those of the body.
#ifndef SBRKIT_MODES_ACCESS_H
#define SBRKIT_MODES_ACCESS_H

#include <limits>

#include "body/body.h"

namespace sbr {

// In place of a mode index: the pre-stress or pre-strain vector of the kind.
inline constexpr int kPreVector = std::numeric_limits<int>::max();
// In place of a mode index: no mode.
inline constexpr int kNoMode = -1;

// The pre-vector's rows by kind position. Shapes have none.
[[nodiscard]] Array<SixVector> &pre_vectors(SbrBody &body, Kind kind) noexcept;
[[nodiscard]] const Array<SixVector> &pre_vectors(const SbrBody &body, Kind kind) noexcept;
// What a host's mode number names: an index, the pre-vector for number 0 of stress and strain, or nothing (kNoMode).
[[nodiscard]] int record_of_number(const SbrBody &body, int number, Kind kind) noexcept;

// Takes the memory that reading modes of a kind needs: from then on no mode that there is is missed for want of it. To
// be asked by whoever takes a missing mode for zeros. False when memory is short.
[[nodiscard]] bool ready_for_modes(SbrBody &body, Kind kind) noexcept;
// A whole mode or pre-vector: six values per kind position. Null when there is no such mode, no pre-vector or no node.
// A read that breaks off is reported and gives what came. Valid until the next access to the kind.
[[nodiscard]] const double *whole_mode(SbrBody &body, int mode, Kind kind) noexcept;
// One part of a mode, three values per kind position, through the cache. False when there is no such mode.
[[nodiscard]] bool mode_part(SbrBody &body, int mode, Kind kind, int part, double *out) noexcept;
// Whether a mode's record can be read to its end; a failure is reported as the accessors do.
bool mode_record_is_whole(SbrBody &body, int mode, Kind kind) noexcept;
// Multiplies a matrix of modes x modes into the body's accumulated transformation, from the right. False when there
// are no modes, or memory is short.
bool multiply_transformation(SbrBody &body, const double *matrix) noexcept;

}  // namespace sbr

#endif
