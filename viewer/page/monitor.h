// Where monitor points are. A record does not tell; but a point with a displacement operator moves as one node does,
// and the operator says how it moves in every mode.
#ifndef SBRKIT_VIEWER_PAGE_MONITOR_H
#define SBRKIT_VIEWER_PAGE_MONITOR_H

#include <cstdint>
#include <vector>

#include "sbrkit/sbrkit.h"

namespace sbrview {

// For each monitor point the index of the one node whose motion in all modes is that of the displacement operator; -1
// where there is no such node, or several, or the operator has less than three translations.
std::vector<std::int32_t> monitored_nodes(SBR body);

}  // namespace sbrview

#endif
