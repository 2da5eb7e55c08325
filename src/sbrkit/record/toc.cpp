#include "record/toc.h"

#include "record/field_reader.h"

namespace sbr {

std::int64_t content_summary_offset(const StreamChannel &channel) noexcept {
  return 4 + field_bytes<HeaderTexts>(encoding_of(channel));
}

bool go_to_block(StreamChannel &channel, const Layout &layout, int block) noexcept {
  if (channel.stream == nullptr || block >= kBlockCount || !has_block(layout, block)) return false;
  go_to(channel, layout.block_offset[block]);
  return true;
}

}  // namespace sbr
