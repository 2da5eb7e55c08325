// A body of the solver's database as a record file: the records of its data block, copied field by field. Works with
// the operations of the database front alone and keeps no data between calls.
#ifndef SBRKIT_TOOLS_SBR_DATABLOCK_H
#define SBRKIT_TOOLS_SBR_DATABLOCK_H

#include <cstdio>

#include "sbrkit/sbrkit.h"

namespace sbrtool {

// Copies the data block, which stands at its start, into a native record of double precision, or ends the command: the
// counts and texts of the data block are believed only as far as its records reach.
void copy_to_record(db_block block, std::FILE *record);

}  // namespace sbrtool

#endif
