#include "blocks/sizing.h"

#include <algorithm>

#include "base/reports.h"
#include "blocks/table.h"
#include "body/body.h"
#include "body/registry.h"
#include "record/toc.h"

namespace sbr {

namespace {

// Offsets are sums of at most 36 sizes; sizes beyond this are those of corrupt counts.
constexpr std::int64_t kLargestSize = std::int64_t{1} << 56;

}  // namespace

bool SizingWalk::count(std::int32_t &value) noexcept {
  if (ahead_ != 0) pass_over(channel_, ahead_);
  ahead_ = 0;
  read_failed_ = !read_int(channel_, value);
  if (!read_failed_) bytes_ = bounded_sum(bytes_, 4);
  return !read_failed_;
}

bool SizingWalk::pass(std::int64_t count, std::int64_t bytes_each) noexcept {
  const std::int64_t bytes = bounded_product(count, bytes_each);
  if (bytes < 0) return false;
  bytes_ = bounded_sum(bytes_, bytes);
  ahead_ = bounded_sum(ahead_, bytes);
  return true;
}

std::int64_t size_of_block(StreamChannel &channel, Layout &layout, int block) noexcept {
  if (channel.stream == nullptr || block >= kBlockCount || !has_block(layout, block)) return 0;
  const PositionKeeper keeper(channel);
  go_to(channel, layout.block_offset[block]);
  const BlockKind &kind = block_kind(block);
  SizingWalk walk(channel, layout);
  const bool complete = kind.size(walk, block);
  if (walk.read_failed()) report_error("%s", kind.sizing_problem);
  return std::clamp<std::int64_t>(walk.bytes(complete), 0, kLargestSize);
}

void build_block_offsets(StreamChannel &channel, Layout &layout) noexcept {
  layout.block_offset[0] = 0;
  for (int block = 0; block + 1 < kBlockCount; ++block)
    layout.block_offset[block + 1] = layout.block_offset[block] + size_of_block(channel, layout, block);
}

}  // namespace sbr

extern "C" {

int64_t SBR_size_of_block(SBR body, int block_index) {
  return sbr::require_body(body) ? sbr::size_of_block(body->record, body->layout, block_index) : 0;
}

}  // extern "C"
