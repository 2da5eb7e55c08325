// The positions of the blocks of a record file. The functions take a channel and its layout and own nothing; the
// offsets are worked out from the sizes of the blocks, in blocks/sizing.h.
#ifndef SBRKIT_RECORD_TOC_H
#define SBRKIT_RECORD_TOC_H

#include "record/channel.h"
#include "record/layout.h"

namespace sbr {

// Where the content summary lies, by the encoding of the channel.
[[nodiscard]] std::int64_t content_summary_offset(const StreamChannel &channel) noexcept;
// Moves the channel to a block. False, without a move, when the channel is closed or the block is not there.
[[nodiscard]] bool go_to_block(StreamChannel &channel, const Layout &layout, int block) noexcept;

}  // namespace sbr

#endif
