// Where mode data lies: channels, record positions and the memory cache. The unit sbrmodestore owns SbrBody::store,
// SbrBody::modes (after reading) and SbrBody::float_buffer.
#ifndef SBRKIT_MODES_STORE_H
#define SBRKIT_MODES_STORE_H

#include "body/body.h"

namespace sbr {

// The block of a kind's mode data: 7, 17, 28.
constexpr int kind_block(Kind kind) { return kKindFacts[kind].block; }

// Makes, reserves and installs the temporary file of a kind. 1, or 0 after a report. 1 at once when the kind's channel
// is open.
[[nodiscard]] int open_temporary_mode_file(SbrBody &body, Kind kind) noexcept;
// The cached part of a mode (three doubles per node of the kind), or null. mode_index as in the mode table.
[[nodiscard]] const double *cached_part(const SbrBody &body, int mode_index, Kind kind, int part) noexcept;
// Puts a part into the cache. False when the cache is full or memory is short; the latter was reported.
bool mode_to_memory(SbrBody &body, int mode_index, Kind kind, const double *data, int part) noexcept;
// Works out how many parts the cache may hold.
void size_mode_memory(SbrBody &body) noexcept;
// Drops all cached parts.
void clean_mode_memory(SbrBody &body) noexcept;
// Switches the cache; switching it off drops what it holds.
void keep_modes_in_memory(SbrBody &body, int flag) noexcept;

// Values that a setter enters: where they belong, and the numbers that a report names.
struct ModeValues {
  Kind kind = Kind::shape;
  int mode = 0;  // mode index
  int node_id = 0;
  int dof = 0;             // value position at the node, from 1; 0 for all six values
  std::int64_t first = 0;  // value position in the record; a value takes 8 bytes of it whatever the precision
  int count = 0;
  const double *values = nullptr;
};
// Whether the values lie inside the mode's record.
[[nodiscard]] bool mode_record_holds(SbrBody &body, const ModeValues &entry) noexcept;
// Enters values into the mode's record of a temporary file. They may wait in memory and go to the file with their
// neighbours. False when they, or values that had to make place for them, could not be written.
[[nodiscard]] bool write_mode_values(SbrBody &body, const ModeValues &entry) noexcept;
// Brings what waits to the kind's file. To be called before the kind's channel is read or changes hands.
[[nodiscard]] bool flush_mode_writes(SbrBody &body, Kind kind) noexcept;
// Drops what waits: the kind's store is another one now.
void forget_mode_writes(SbrBody &body, Kind kind) noexcept;
// Factors that bring stored values to the body's units: translations of kind 0, all of kind 1.
inline double shape_scale(const SbrBody &body) { return body.units.unit.length; }
inline double stress_scale(const SbrBody &body) {
  return body.units.unit.force / body.units.unit.length / body.units.unit.length;
}

}  // namespace sbr

#endif
