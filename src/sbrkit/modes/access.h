// Mode access: whole modes and parts of modes, from the cache or past it. The unit owns SbrBody::access.
//
// A mode is told by its index; kPreVector stands for the pre-vector of stress or strain.
#ifndef SBRKIT_MODES_ACCESS_H
#define SBRKIT_MODES_ACCESS_H

#include <limits>

#include "body/body.h"

namespace sbr {

constexpr int kPreVector = std::numeric_limits<int>::max();

// What a public mode number means for a kind: a mode index, kPreVector for number 0 of stress and strain, or -1.
[[nodiscard]] int record_of_number(const SbrBody &body, int number, Kind kind) noexcept;

// The six values per kind position of a mode or a pre-vector, in the units of the body. Null when there is nothing of
// that name. A failed read is reported and gives what the buffer holds. Valid until the next access to the kind.
[[nodiscard]] const double *whole_mode(SbrBody &body, int mode, Kind kind) noexcept;
// One part of a mode, three values per kind position; through the cache, if it is on. Null for the part that is copied
// out by the caller's own buffer: false when there is nothing of that name.
[[nodiscard]] bool mode_part(SbrBody &body, int mode, Kind kind, int part, double *out) noexcept;
// Values of a mode's record as they are stored: in the units of the file. False when they cannot be read.
[[nodiscard]] bool read_stored_values(SbrBody &body, int mode, Kind kind, std::int64_t first, double *out,
                                      std::int64_t count) noexcept;
// Whether a mode's record can be read to its end; a failure is reported as the accessors do.
[[nodiscard]] bool mode_record_is_whole(SbrBody &body, int mode, Kind kind) noexcept;

}  // namespace sbr

#endif
