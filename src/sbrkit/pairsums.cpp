#include "pairsums.h"

#include <cstring>

namespace sbr {
namespace {

template <int kWidth>
struct LanesOf {
  typedef double Type __attribute__((vector_size(kWidth * sizeof(double))));
};

// The terms and their order are those of incr_scalar_tilde_tilde and incr_scalar_tilde_vec, lane by lane.
template <int kWidth>
[[gnu::always_inline]] inline void add_tile(const double *row, const double *columns, int nodes, double *sums) {
  using Lanes = typename LanesOf<kWidth>::Type;
  for (int lane = 0; lane < kPairLanes; lane += kWidth) {
    Lanes sum[kPairSums];
    for (int e = 0; e < kPairSums; ++e) std::memcpy(&sum[e], sums + e * kPairLanes + lane, sizeof(Lanes));
    const double *r = row;
    const double *c = columns + lane;
    for (int i = 0; i < nodes; ++i, r += 7, c += 3 * kPairLanes) {
      Lanes b0;
      Lanes b1;
      Lanes b2;
      std::memcpy(&b0, c, sizeof b0);
      std::memcpy(&b1, c + kPairLanes, sizeof b1);
      std::memcpy(&b2, c + 2 * kPairLanes, sizeof b2);
      const Lanes p0 = r[1] * b0;
      const Lanes p1 = r[2] * b1;
      const Lanes p2 = r[3] * b2;
      sum[0] -= r[0] * (p1 + p2);
      sum[1] += r[5] * b0;
      sum[2] += r[6] * b0;
      sum[3] += r[4] * b1;
      sum[4] -= r[0] * (p2 + p0);
      sum[5] += r[6] * b1;
      sum[6] += r[4] * b2;
      sum[7] += r[5] * b2;
      sum[8] -= r[0] * (p1 + p0);
      sum[9] += r[0] * (r[2] * b2 - r[3] * b1);
      sum[10] += r[0] * (r[3] * b0 - r[1] * b2);
      sum[11] += r[0] * (r[1] * b1 - r[2] * b0);
    }
    for (int e = 0; e < kPairSums; ++e) std::memcpy(sums + e * kPairLanes + lane, &sum[e], sizeof(Lanes));
  }
}

void add_tile_portable(const double *row, const double *columns, int nodes, double *sums) {
  add_tile<2>(row, columns, nodes, sums);
}

#if defined(__x86_64__)
[[gnu::target("avx2")]] void add_tile_avx2(const double *row, const double *columns, int nodes, double *sums) {
  add_tile<4>(row, columns, nodes, sums);
}
#endif

}  // namespace

void pack_row(const double *masses, const double *phi, int nodes, double *row) noexcept {
  for (int i = 0; i < nodes; ++i, phi += 3, row += 7) {
    const double m = masses[i];
    row[0] = m;
    for (int c = 0; c < 3; ++c) {
      row[1 + c] = phi[c];
      row[4 + c] = m * phi[c];
    }
  }
}

void pack_columns(const double *const *modes, std::size_t first_node, int nodes, double *columns) noexcept {
  for (int lane = 0; lane < kPairLanes; ++lane) {
    const double *phi = modes[lane] != nullptr ? modes[lane] + 3 * first_node : nullptr;
    double *to = columns + lane;
    for (int v = 0; v < 3 * nodes; ++v, to += kPairLanes) *to = phi != nullptr ? phi[v] : 0.0;
  }
}

PairKernel portable_pair_kernel() noexcept { return add_tile_portable; }

PairKernel pair_kernel() noexcept {
#if defined(__x86_64__)
  if (__builtin_cpu_supports("avx2") != 0) return add_tile_avx2;
#endif
  return add_tile_portable;
}

}  // namespace sbr
