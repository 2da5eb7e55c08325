// Where the blocks of a record lie. The unit owns SbrBody::layout: version word, content summary and block offsets.
#ifndef SBRKIT_RECORD_TOC_H
#define SBRKIT_RECORD_TOC_H

#include "body/body.h"

namespace sbr {

// Works out the offset of every block, each from the size of the one before.
void build_block_offsets(SbrBody &body) noexcept;

// Where the two fixed blocks lie, by the encoding of the channel.
[[nodiscard]] std::int64_t content_summary_offset(const StreamChannel &channel) noexcept;

// Moves a stream to a position. One that cannot be reached leaves it at its end, so that the next read fails.
void go_to(StreamChannel &channel, std::int64_t position) noexcept;

// Puts a channel back to where it stood.
class PositionKeeper {
 public:
  explicit PositionKeeper(StreamChannel &channel) noexcept
      : channel_(channel), position_(FileTell_Win32(channel.stream)) {}
  ~PositionKeeper() {
    if (position_ >= 0) (void)FileSeek_Win32(channel_.stream, position_, 0);
  }
  PositionKeeper(const PositionKeeper &) = delete;
  PositionKeeper &operator=(const PositionKeeper &) = delete;

 private:
  StreamChannel &channel_;
  std::int64_t position_;
};

}  // namespace sbr

#endif
