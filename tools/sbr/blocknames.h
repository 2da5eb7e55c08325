// The blocks of a record by their names in reports.
#ifndef SBRKIT_TOOLS_SBR_BLOCKNAMES_H
#define SBRKIT_TOOLS_SBR_BLOCKNAMES_H

#include <string>

namespace sbrtool {

// The name of a block, told by its index. The old place of the monitor points, which reports leave out, has one here.
const char *block_name(int block);
// The list with the block numbers, in three columns.
std::string block_list();

}  // namespace sbrtool

#endif
