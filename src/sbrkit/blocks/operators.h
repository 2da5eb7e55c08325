// The blocks of matrix operators and monitor points.
#ifndef SBRKIT_BLOCKS_OPERATORS_H
#define SBRKIT_BLOCKS_OPERATORS_H

#include "blocks/table.h"

namespace sbr {

extern const BlockFunctions kMatrixOperatorBlock;
extern const BlockFunctions kMonitorPointsBlock;
extern const BlockFunctions kOldMonitorPointsBlock;

}  // namespace sbr

#endif
