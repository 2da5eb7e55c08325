// Discarding: the nodes that nothing refers to go, and their mode data with them.
#ifndef SBRKIT_SURFACE_DISCARD_H
#define SBRKIT_SURFACE_DISCARD_H

#include "body/body.h"

namespace sbr {

// Shrinks the node table to the nodes of faces, interface nodes and, if they are to be kept, of nodal loads. True also
// when there is nothing to keep. False after a report, with the body as it was.
[[nodiscard]] bool discard_unreferenced_nodes(SbrBody &body, bool keep_load_nodes) noexcept;

}  // namespace sbr

#endif
