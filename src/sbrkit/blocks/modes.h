// The blocks of mode data: shapes, stress, strain, and the pre-vectors of stress and strain.
#ifndef SBRKIT_BLOCKS_MODES_H
#define SBRKIT_BLOCKS_MODES_H

#include "blocks/table.h"

namespace sbr {

extern const BlockFunctions kModeShapesBlock;
extern const BlockFunctions kModalStressBlock;
extern const BlockFunctions kModalStrainBlock;
extern const BlockFunctions kNodalPreStressBlock;
extern const BlockFunctions kNodalPreStrainBlock;

}  // namespace sbr

#endif
