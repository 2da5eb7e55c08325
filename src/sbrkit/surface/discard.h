// Discarding: nodes that nothing needs any more leave the body, and with them their mode data.
#ifndef SBRKIT_SURFACE_DISCARD_H
#define SBRKIT_SURFACE_DISCARD_H

#include "body/body.h"

namespace sbr {

// Whether the nodes of nodal loads are kept, as the environment says: for hosts that call an operation by itself. A
// write has read its options already.
[[nodiscard]] bool load_nodes_are_kept() noexcept;
// The indices of the nodes that faces, interface nodes and, if asked for, nodal loads refer to, ascending; made at the
// first request and kept until nodes are discarded. Null after a report, and after a warning when there are no faces.
[[nodiscard]] const Array<std::int32_t> *geometry_nodes(SbrBody &body, bool keep_load_nodes) noexcept;
// Shortens the node table to those nodes, and all that is kept per node. False after a report, with the body as it was;
// a body without a list of nodes to keep stays as well, and that is no failure.
[[nodiscard]] bool discard_unreferenced_nodes(SbrBody &body, bool keep_load_nodes) noexcept;
// Strips and then discards, unless the body was stripped before. A failure is reported and stops nothing.
void remove_internal_geometry(SbrBody &body) noexcept;

}  // namespace sbr

#endif
