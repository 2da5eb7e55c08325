// Room for more nodes than were announced: a kind's records are laid out anew when one of them is too short.
#ifndef SBRKIT_MODES_GROWTH_H
#define SBRKIT_MODES_GROWTH_H

#include "body/body.h"

namespace sbr {

// Makes sure that every record of the kind's temporary file holds `bytes` bytes and that the record of a mode is there.
// Records double, so that entering nodes one by one stays cheap. False after a report, with the store as it was.
[[nodiscard]] bool make_room(SbrBody &body, Kind kind, int mode, std::int64_t bytes) noexcept;

}  // namespace sbr

#endif
