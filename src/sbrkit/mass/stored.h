// Invariants that the blocks of a record hold.
#ifndef SBRKIT_MASS_STORED_H
#define SBRKIT_MASS_STORED_H

#include "body/body.h"

namespace sbr {

// Reads a block into a cell of zeros, run by run, in the body's units. False when the body has no such
// block on file. What a short file does not hold stays zero.
[[nodiscard]] bool read_invariant_block(SbrBody &body, int block, std::int64_t run, Array<double> &cell) noexcept;

}  // namespace sbr

#endif
