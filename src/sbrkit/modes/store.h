// Where mode data lies: per kind a channel and the place of each mode's record in it. A body that was read finds its
// records in its record file; a body under construction, and mode data that was rewritten, has them in temporary
// files. The unit owns SbrBody::modes (after reading) and the offsets and lengths of the records in SbrBody::store.
#ifndef SBRKIT_MODES_STORE_H
#define SBRKIT_MODES_STORE_H

#include "body/node_table.h"

namespace sbr {

// The block of a kind's mode data: 7, 17, 28.
constexpr int kind_block(Kind kind) { return kKindFacts[kind].block; }
// How many modes have a number: the mode count, but no more than the table of numbers holds.
[[nodiscard]] int known_mode_count(const SbrBody &body) noexcept;

// Makes the temporary file of a kind and reserves all records that were announced. False after a report. True at once
// when the kind's channel is open; that a reservation broke off shows in a record length of 0.
[[nodiscard]] bool open_temporary_mode_file(SbrBody &body, Kind kind) noexcept;
// The reports of a temporary file that cannot be opened, or that the disk has no room for. Both give false.
bool report_unable_to_open(Kind kind, const char *path) noexcept;
bool report_disk_full(Kind kind, const char *path) noexcept;
// Makes the file reach to the end of a mode's record, with zeros where nothing was written yet. False after a report.
// After a rewriting the records of modes that are still to come lie behind the end of the file.
[[nodiscard]] bool reserve_record(SbrBody &body, Kind kind, int mode) noexcept;

// Reads values of a mode's record as they are stored, in the units of the file, from value `first` on. Gives how many
// came: fewer than asked for when the file ends before; the rest of `out` then stays as it was, but for a value that
// the file has in part. A record of a temporary file that is too short for a node reads as zeros there.
[[nodiscard]] std::int64_t read_stored_values(SbrBody &body, int mode, Kind kind, std::int64_t first, double *out,
                                              std::int64_t count) noexcept;
// The same in single precision, from a single-precision file.
[[nodiscard]] std::int64_t read_stored_values(SbrBody &body, int mode, Kind kind, std::int64_t first, float *out,
                                              std::int64_t count) noexcept;

// Factors that bring stored values to the body's units: translations of shapes, all values of stress.
inline double shape_scale(const SbrBody &body) { return body.units.unit.length; }
inline double stress_scale(const SbrBody &body) {
  return body.units.unit.force / body.units.unit.length / body.units.unit.length;
}

}  // namespace sbr

#endif
