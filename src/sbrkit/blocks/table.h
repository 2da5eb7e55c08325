// The table of the 36 kinds of block: for each its texts and the functions that size, read, write and print it.
//
// What a block looks like stands in record/: its names (record/blocks.h), its rows (record/rows.h) and its shape
// (record/shapes.h). The functions stand by family: texts, geometry, mass, matrices, modes, statistics, invariants,
// loads, operators. A new block takes its place in those three headers, its functions in one family, and one row of the
// table. The orders in which blocks are written and read are lists of indices: blocks/emission.cpp, read/reader.cpp.
#ifndef SBRKIT_BLOCKS_TABLE_H
#define SBRKIT_BLOCKS_TABLE_H

#include "blocks/emission.h"
#include "blocks/reading.h"
#include "blocks/report.h"
#include "blocks/sizing.h"

namespace sbr {

// What a family does with a block. Null: version word and content summary are read and written by those who open and
// plan, and the old place of the monitor points is neither written nor printed.
struct BlockFunctions {
  ReadBlock read = nullptr;
  WriteBlock write = nullptr;
  PrintBlock print = nullptr;
  bool prints_banner = false;  // the report prints its banner itself, when it has found something
  bool end_is_checked = true;  // whether the writer asks if the last of the block arrived
};

struct BlockKind {
  Block index;
  const char *name;             // in lists of blocks; null for the old place of the monitor points
  const char *title;            // of its report
  const char *sizing_problem;   // the report when the block cannot be sized; null when sizing reads nothing
  const char *writing_problem;  // the report when the block cannot be written; null when the block is not written here
  SizeBlock size;
  const BlockFunctions *functions;
};

// Indexed by the block.
[[nodiscard]] const BlockKind &block_kind(int block) noexcept;

}  // namespace sbr

#endif
