// The blocks of words and texts: version word, header, content summary and units.
#ifndef SBRKIT_BLOCKS_TEXTS_H
#define SBRKIT_BLOCKS_TEXTS_H

#include "blocks/table.h"

namespace sbr {

extern const BlockFunctions kVersionCodeBlock;
extern const BlockFunctions kHeaderBlock;
extern const BlockFunctions kContentSummaryBlock;
extern const BlockFunctions kUnitsBlock;

}  // namespace sbr

#endif
