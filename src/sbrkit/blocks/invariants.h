// The blocks of inertia invariants.
#ifndef SBRKIT_BLOCKS_INVARIANTS_H
#define SBRKIT_BLOCKS_INVARIANTS_H

#include "blocks/table.h"

namespace sbr {

extern const BlockFunctions kInvariant1Block;
extern const BlockFunctions kInvariant2Block;
extern const BlockFunctions kInvariant3Block;
extern const BlockFunctions kInvariant4Block;
extern const BlockFunctions kInvariant5Block;
extern const BlockFunctions kInvariant7Block;
extern const BlockFunctions kInvariant8Block;
extern const BlockFunctions kInvariant9Block;

}  // namespace sbr

#endif
