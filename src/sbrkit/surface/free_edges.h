// The free edges of a flat face list on flat arrays: the same chains as the classes of free_edges.hpp give, without a
// heap record for every edge.
#ifndef SBRKIT_SURFACE_FREE_EDGES_H
#define SBRKIT_SURFACE_FREE_EDGES_H

#include "body/faces.h"

namespace sbr {

// Finds the chains, as the numbers that stand in the face list. False when memory is short.
[[nodiscard]] bool find_free_edges(FaceWalk walk, OwnedList<Array<std::int32_t>> &chains) noexcept;

// Finds the chains of a body, as node IDs, once its internal geometry is removed. Short of memory the body has none.
void generate_free_edges(SbrBody &body) noexcept;

}  // namespace sbr

#endif
