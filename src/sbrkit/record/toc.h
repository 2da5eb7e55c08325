// Where the blocks of a record lie: the size of each block, found from what the file says, and the offsets that follow.
// The functions take a channel and its layout and own nothing.
#ifndef SBRKIT_RECORD_TOC_H
#define SBRKIT_RECORD_TOC_H

#include "record/channel.h"
#include "record/layout.h"

namespace sbr {

// The bytes of a block of the file; 0 when it is not there. A block that cannot be sized is reported. The channel
// stands where it stood.
[[nodiscard]] std::int64_t size_of_block(StreamChannel &channel, Layout &layout, int block) noexcept;
// Works out the offset of every block, each from the size of the one before.
void build_block_offsets(StreamChannel &channel, Layout &layout) noexcept;
// Where the content summary lies, by the encoding of the channel.
[[nodiscard]] std::int64_t content_summary_offset(const StreamChannel &channel) noexcept;
// Moves the channel to a block. False, without a move, when the channel is closed or the block is not there.
[[nodiscard]] bool go_to_block(StreamChannel &channel, const Layout &layout, int block) noexcept;

}  // namespace sbr

#endif
