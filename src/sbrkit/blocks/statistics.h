// The block of modal statistics.
#ifndef SBRKIT_BLOCKS_STATISTICS_H
#define SBRKIT_BLOCKS_STATISTICS_H

#include "blocks/table.h"

namespace sbr {

extern const BlockFunctions kModalStatisticsBlock;

}  // namespace sbr

#endif
