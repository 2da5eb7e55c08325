// Mode values on their way to a temporary file.
//
// A translator enters mode data one node at a time, in any order. A seek and a write per node would cost several system
// calls each, so adjacent values of a mode's record gather in a run and go to the file together. One run serves one
// mode at a time, and a mode always uses the same run, so that values never overtake each other. The unit owns
// ModeStore::pending.
#ifndef SBRKIT_MODES_PENDING_H
#define SBRKIT_MODES_PENDING_H

#include "body/body.h"

namespace sbr {

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
// Enters values into the mode's record, which has room for them. They may wait in memory and go to the file with their
// neighbours. False when they, or values that had to make place for them, could not be written.
[[nodiscard]] bool write_mode_values(SbrBody &body, const ModeValues &entry) noexcept;
// Brings what waits to the kind's file. To be called before the kind's channel is read or changes hands.
[[nodiscard]] bool flush_mode_writes(SbrBody &body, Kind kind) noexcept;
// Drops what waits: the kind's store is another one now.
void forget_mode_writes(SbrBody &body, Kind kind) noexcept;

}  // namespace sbr

#endif
