#include "modes/combine.h"

#include <cstring>

namespace sbr {
namespace {

// Four doubles that one instruction works on where the processor can.
using Four [[gnu::vector_size(32)]] = double;

[[gnu::always_inline]] inline void load(Four &value, const double *from) noexcept {
  std::memcpy(&value, from, sizeof(value));
}

[[gnu::always_inline]] inline void store(double *to, const Four &value) noexcept {
  std::memcpy(to, &value, sizeof(value));
}

// Eight values of four outputs at once, kept in registers while the sources pass.
[[gnu::always_inline]] inline void combine_four_outputs(const double *weights, int count, const Strip &sources,
                                                        std::int64_t at, const Strip &outputs, int first) noexcept {
  Four low[4] = {};
  Four high[4] = {};
  const double *source = sources.data + at;
  for (int s = 0; s < count; ++s, source += sources.pitch, weights += 4) {
    Four x;
    Four y;
    load(x, source);
    load(y, source + 4);
    for (int k = 0; k < 4; ++k) {
      low[k] = low[k] + weights[k] * x;
      high[k] = high[k] + weights[k] * y;
    }
  }
  for (int k = 0; k < 4; ++k) {
    store(outputs.mode(first + k) + at, low[k]);
    store(outputs.mode(first + k) + at + 4, high[k]);
  }
}

// A piece of one output, for weights of which some are zero. They stand four apart.
[[gnu::always_inline]] inline void combine_one_output(const double *weights, int count, const Strip &sources,
                                                      std::int64_t at, double *output) noexcept {
  constexpr int parts = static_cast<int>(kStripPiece) / 4;
  Four sum[parts] = {};
  const double *source = sources.data + at;
  for (int s = 0; s < count; ++s, source += sources.pitch, weights += 4) {
    const double c = *weights;
    if (c == 0.0) continue;
    for (int k = 0; k < parts; ++k) {
      Four x;
      load(x, source + 4 * static_cast<std::ptrdiff_t>(k));
      sum[k] = sum[k] + c * x;
    }
  }
  for (int k = 0; k < parts; ++k) store(output + at + 4 * static_cast<std::ptrdiff_t>(k), sum[k]);
}

[[gnu::always_inline]] inline void combine_piece(const CombinationWeights &weights, const Strip &sources,
                                                 const Strip &outputs, std::int64_t at) noexcept {
  for (int g = 0; g < weights.groups(); ++g) {
    if (weights.is_full(g)) {
      for (std::int64_t i = 0; i < kStripPiece; i += 8)
        combine_four_outputs(weights.group(g), weights.sources(), sources, at + i, outputs, 4 * g);
    } else {
      for (int k = 0; k < 4; ++k)
        combine_one_output(weights.group(g) + k, weights.sources(), sources, at, outputs.mode(4 * g + k));
    }
  }
}

// The same arithmetic, compiled for two instruction sets. Neither fuses products and sums.
void combine_plain(const CombinationWeights &weights, const Strip &sources, const Strip &outputs,
                   std::int64_t count) noexcept {
  for (std::int64_t at = 0; at < count; at += kStripPiece) combine_piece(weights, sources, outputs, at);
}

#if defined(__x86_64__)
[[gnu::target("avx2")]] void combine_avx2(const CombinationWeights &weights, const Strip &sources, const Strip &outputs,
                                          std::int64_t count) noexcept {
  for (std::int64_t at = 0; at < count; at += kStripPiece) combine_piece(weights, sources, outputs, at);
}
#endif

}  // namespace

bool CombinationWeights::prepare(const double *matrix, int stride, int sources, int outputs) noexcept {
  sources_ = sources;
  outputs_ = outputs;
  if (sources < 1 || outputs < 1) return true;
  if (!values_.allocate(4 * static_cast<std::int64_t>(groups()) * sources) || !full_.allocate(groups())) return false;
  double *place = values_.data();
  for (int g = 0; g < groups(); ++g) {
    full_[g] = 1;
    for (int s = 0; s < sources; ++s) {
      for (int j = 4 * g; j < 4 * g + 4; ++j) {
        const double c = j < outputs ? matrix[static_cast<std::int64_t>(s) * stride + j] : 0.0;
        if (c == 0.0) full_[g] = 0;
        *place++ = c;
      }
    }
  }
  return true;
}

bool StripBuffer::allocate(int modes, std::int64_t length) noexcept {
  constexpr std::int64_t line = 64 / sizeof(double);
  const std::int64_t pitch = length + line;
  if (!values_.allocate(pitch * modes + line)) return false;
  const std::size_t misplaced = reinterpret_cast<std::uintptr_t>(values_.data()) % 64 / sizeof(double);
  strip_ = {values_.data() + (misplaced == 0 ? 0 : line - static_cast<std::int64_t>(misplaced)), pitch};
  return true;
}

void combine_modes(const CombinationWeights &weights, const Strip &sources, const Strip &outputs,
                   std::int64_t count) noexcept {
#if defined(__x86_64__)
  if (__builtin_cpu_supports("avx2")) return combine_avx2(weights, sources, outputs, count);
#endif
  combine_plain(weights, sources, outputs, count);
}

}  // namespace sbr
