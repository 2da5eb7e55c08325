// The blocks of geometry: nodes, faces in their old and present form, interface nodes.
#ifndef SBRKIT_BLOCKS_GEOMETRY_H
#define SBRKIT_BLOCKS_GEOMETRY_H

#include "blocks/table.h"

namespace sbr {

extern const BlockFunctions kNodalCoordsBlock;
extern const BlockFunctions kElementTopologyBlock;
extern const BlockFunctions kElementFacesBlock;
extern const BlockFunctions kInterfaceNodesBlock;

// The block of faces tells its size in its first word.
bool size_element_faces(SizingWalk &walk, int block);

}  // namespace sbr

#endif
