// Reports to the host: how every room says what went wrong. A text goes to the handler of its severity; without one it
// is dropped. The three handler pointers are the only state, owned by reports.cpp; they are called one at a time,
// whatever thread reports.
#ifndef SBRKIT_BASE_REPORTS_H
#define SBRKIT_BASE_REPORTS_H

#include "base/unit_names.h"

namespace sbr {

[[gnu::format(printf, 1, 2)]] void report_error(const char *format, ...) noexcept;
[[gnu::format(printf, 1, 2)]] void report_warning(const char *format, ...) noexcept;
[[gnu::format(printf, 1, 2)]] void report_info(const char *format, ...) noexcept;

// "Failed to allocate memory at line %d in file %s.\n" as an error, with the caller's line and the name of the unit
// that the message speaks of. Gives false, so that a function can end with it.
bool report_no_memory(const char *unit, int line = __builtin_LINE()) noexcept;

}  // namespace sbr

#endif
