// The blocks of loads: preload, modal loads, nodal loads.
#ifndef SBRKIT_BLOCKS_LOADS_H
#define SBRKIT_BLOCKS_LOADS_H

#include "blocks/table.h"

namespace sbr {

extern const BlockFunctions kModalPreloadBlock;
extern const BlockFunctions kModalLoadsBlock;
extern const BlockFunctions kModalLoadNodalBlock;

}  // namespace sbr

#endif
