// The content report: one block of a body as text. Working state of one call; nothing of the body is owned here. The
// printers of the blocks stand by family. They tell what a caller would get from the accessors.
#ifndef SBRKIT_BLOCKS_REPORT_H
#define SBRKIT_BLOCKS_REPORT_H

#include <cstdio>
#include <span>

#include "body/body.h"

namespace sbr {

struct Report {
  SbrBody &body;
  std::FILE *out;
  int block;

  // The block's number and title in a box.
  void banner() const noexcept;
  // The allocation message. Gives false, with which a report ends unflushed.
  bool no_memory(int line = __builtin_LINE()) const noexcept;
  // The nodes of a kind in ascending order of their IDs. False after the allocation message.
  [[nodiscard]] bool sorted_nodes(Kind kind, std::span<const NodeKey> &keys) const noexcept;
};

// Prints a block behind its banner; false ends the report without a flush.
using PrintBlock = bool (*)(const Report &report) noexcept;

// Prints a block of a body on a stream, if it has a report; -1 is none.
void print_block(SbrBody &body, int block, std::FILE *out) noexcept;

}  // namespace sbr

#endif
