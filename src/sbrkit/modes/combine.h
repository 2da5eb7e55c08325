// Linear combinations of modes over a strip of values, in a fixed order: every output starts at zero and gains
// coefficient times source, sources ascending, coefficients of exactly zero left out, each product and each sum
// rounded.
#ifndef SBRKIT_MODES_COMBINE_H
#define SBRKIT_MODES_COMBINE_H

#include <cstdint>

#include "base/memory.h"

namespace sbr {

// The coefficients, ordered for the combination: outputs stand in groups of four, and a group's four coefficients of
// each source stand together.
class CombinationWeights {
 public:
  // matrix[s * stride + j] is the weight of source s in output j. False when memory is short.
  [[nodiscard]] bool prepare(const double *matrix, int stride, int sources, int outputs) noexcept;
  [[nodiscard]] int sources() const noexcept { return sources_; }
  [[nodiscard]] int outputs() const noexcept { return outputs_; }
  [[nodiscard]] int groups() const noexcept { return (outputs_ + 3) / 4; }
  [[nodiscard]] const double *group(int g) const noexcept {
    return values_.data() + static_cast<std::int64_t>(g) * 4 * sources_;
  }
  // Whether no coefficient of a group is zero.
  [[nodiscard]] bool is_full(int g) const noexcept { return full_[g] != 0; }

 private:
  int sources_ = 0;
  int outputs_ = 0;
  Array<double> values_;
  Array<unsigned char> full_;
};

// A strip of values of several modes: mode m starts at data[m * pitch].
struct Strip {
  double *data = nullptr;
  std::int64_t pitch = 0;
  [[nodiscard]] double *mode(int m) const noexcept { return data + static_cast<std::int64_t>(m) * pitch; }
};

// The memory of a strip. Modes start on cache lines, and their pitch is no power of two, so that the same place of all
// modes does not fall to the same place of the processor's caches.
class StripBuffer {
 public:
  // length: a multiple of kStripPiece. False when memory is short.
  [[nodiscard]] bool allocate(int modes, std::int64_t length) noexcept;
  [[nodiscard]] const Strip &strip() const noexcept { return strip_; }

 private:
  Array<double> values_;
  Strip strip_;
};

// Strips are worked on in pieces of this many values.
constexpr std::int64_t kStripPiece = 32;

// Sets `count` values of every output. Values up to the next whole piece, and outputs up to the next whole group, are
// set too and must have their place.
void combine_modes(const CombinationWeights &weights, const Strip &sources, const Strip &outputs,
                   std::int64_t count) noexcept;

}  // namespace sbr

#endif
