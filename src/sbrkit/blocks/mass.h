// The blocks of mass: global properties, nodal masses, nodal inertias.
#ifndef SBRKIT_BLOCKS_MASS_H
#define SBRKIT_BLOCKS_MASS_H

#include "blocks/table.h"

namespace sbr {

extern const BlockFunctions kGlobalBodyPropsBlock;
extern const BlockFunctions kNodalMassesBlock;
extern const BlockFunctions kNodalInertiasBlock;

}  // namespace sbr

#endif
