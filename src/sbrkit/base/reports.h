// Reports to the host: the messages that many units share. Text goes out through SBR_Error, SBR_Warning and SBR_Info.
#ifndef SBRKIT_BASE_REPORTS_H
#define SBRKIT_BASE_REPORTS_H

#include "sbrkit/sbrkit.h"

namespace sbr {

// "Failed to allocate memory at line %d in file %s.\n" as an error, with the caller's line and its unit's name.
// Gives 0, so that a function can end with it.
int report_no_memory(const char *unit, int line = __builtin_LINE()) noexcept;

}  // namespace sbr

#endif
