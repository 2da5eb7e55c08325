// The node lists of the stress and strain blocks of a new record: which entries are written, and where their data lies.
// A list is formed once for a kind and serves its modes and its pre-vector.
#ifndef SBRKIT_BLOCKS_MODE_LISTS_H
#define SBRKIT_BLOCKS_MODE_LISTS_H

#include <algorithm>

#include "blocks/emission.h"

namespace sbr {

// Nodes per piece: six values each, so that a piece stays in the cache between its two uses.
constexpr int kNodesPerPiece = 2048;

inline bool any_nonzero(const double *six) noexcept {
  return six[0] != 0.0 || six[1] != 0.0 || six[2] != 0.0 || six[3] != 0.0 || six[4] != 0.0 || six[5] != 0.0;
}

[[nodiscard]] bool form_list(Emission &run, Kind kind) noexcept;
[[nodiscard]] bool put_list_ids(Emission &run, Kind kind) noexcept;

// Puts the six values of every written entry, and shows each entry with data to visit(position, six values).
template <class Visit>
[[nodiscard]] bool put_list_values(Emission &run, Kind kind, const double *values, Visit visit) noexcept {
  const ModeList &list = run.lists[kind];
  if (!run.packed && !run.packed.allocate(std::int64_t{6} * kNodesPerPiece)) return run.no_memory();
  for (int first = 0; first < list.kept; first += kNodesPerPiece) {
    const int last = std::min(first + kNodesPerPiece, list.kept);
    double *put = run.packed.data();
    for (int i = first; i < last; ++i, put += 6) {
      const std::int32_t position = list.position[i];
      if (position < 0) {
        std::fill_n(put, 6, 0.0);
        continue;
      }
      const double *six = values + 6 * static_cast<std::ptrdiff_t>(position);
      visit(position, six);
      std::copy_n(six, 6, put);
    }
    if (!run.out.reals(run.packed.data(), 6 * static_cast<std::int64_t>(last - first))) return false;
  }
  return true;
}

}  // namespace sbr

#endif
