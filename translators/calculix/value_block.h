// The values of one set in an .frd file whose lines have one length: read in large pieces, parsed by fixed columns, by
// several threads at a time.
#ifndef SBRKIT_TRANSLATORS_CALCULIX_VALUE_BLOCK_H
#define SBRKIT_TRANSLATORS_CALCULIX_VALUE_BLOCK_H

#include <cstdint>
#include <functional>
#include <span>

namespace sbrtranslate {

// Where the lines stand, and their form: " -1", a node number, then reals of twelve columns.
struct ValueBlock {
  int descriptor = -1;  // the caller's, open for reading
  std::uint64_t begin = 0;
  long lines = 0;
  std::size_t stride = 0;  // bytes of a line with its end
  std::size_t id_width = 0;
  std::size_t count = 0;  // reals a line, 6 at most
};

// Gives the lines in their order to `take`: the number of the line within the block, the node, its values. Pieces of
// the block are parsed ahead in threads of their own where the machine has cores for it; `take` runs in the caller's
// thread. Returns how many lines were given: fewer than the block has when a line has another form than the fixed one,
// or cannot be read. What `take` throws is passed on.
long read_value_block(const ValueBlock &block,
                      const std::function<void(long line, int node, std::span<const double> values)> &take);

}  // namespace sbrtranslate

#endif
