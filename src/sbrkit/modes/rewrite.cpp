#include "modes/rewrite.h"

#include "base/temporary_file.h"
#include "modes/store.h"

namespace sbr {

ModeRewrite::~ModeRewrite() {
  if (channel_.stream != nullptr) close_channel(channel_, true);
}

bool ModeRewrite::name() noexcept { return temporary_name(channel_.path); }

bool ModeRewrite::open() noexcept {
  channel_.stream = create_exclusive(channel_.path.data());
  channel_.double_precision = body_.modes[kind_].double_precision;
  channel_.single_scratch = &body_.float_buffer;
  channel_.is_temporary = 1;
  return channel_.stream != nullptr;
}

bool ModeRewrite::begin_mode() noexcept {
  const std::int64_t place = tell_stream(channel_.stream);
  return place >= 0 && offsets_.push_back(place);
}

bool ModeRewrite::put(const double *values, std::int64_t count) noexcept {
  return write_reals(channel_, values, count);
}

bool ModeRewrite::reserve_modes(int modes, std::int64_t values_per_mode) noexcept {
  if (!offsets_.resize(modes)) return false;
  for (std::size_t m = 0; m < offsets_.size(); ++m)
    offsets_[m] = static_cast<std::int64_t>(m) * values_per_mode * real_size(channel_);
  return true;
}

bool ModeRewrite::put_at(int mode, std::int64_t first, const double *values, std::int64_t count) noexcept {
  const std::int64_t place = offsets_[mode] + first * real_size(channel_);
  return seek_stream(channel_.stream, place) && write_reals(channel_, values, count);
}

// What the disk could not take shows at the latest here.
bool ModeRewrite::complete() noexcept { return std::fflush(channel_.stream) == 0; }

bool ModeRewrite::install() noexcept {
  if (!complete()) return false;
  forget_mode_writes(body_, kind_);
  StreamChannel &store = body_.modes[kind_];
  if (store.is_temporary != 0) close_channel(store, true);
  store.stream = channel_.stream;
  store.path = std::move(channel_.path);
  store.xdr_encoded = 0;
  store.xdr = nullptr;
  store.is_temporary = 1;
  store.double_precision = channel_.double_precision;
  store.single_scratch = &body_.float_buffer;
  channel_.stream = nullptr;
  body_.store.offsets[kind_].swap(offsets_);
  body_.access.current_mode[kind_] = -1;
  return true;
}

}  // namespace sbr
