#include "mass/pair_sums.h"

#include <cstring>

namespace sbr {
namespace {

constexpr std::ptrdiff_t kColumnStride = 3 * kPairLanes;  // from node to node in a tile of columns

template <int kWidth>
struct LanesOf {
  typedef double Type __attribute__((vector_size(kWidth * sizeof(double))));
};

// One group of lanes: the three components of the column modes at a node.
template <class Lanes>
[[gnu::always_inline]] inline void load_columns(const double *columns, Lanes *b) {
  for (int c = 0; c < 3; ++c) std::memcpy(&b[c], columns + std::ptrdiff_t{c} * kPairLanes, sizeof(Lanes));
}

template <class Lanes, int kCount>
[[gnu::always_inline]] inline void load_sums(const double *sums, const int (&which)[kCount], Lanes *sum) {
  for (int e = 0; e < kCount; ++e) std::memcpy(&sum[e], sums + std::ptrdiff_t{which[e]} * kPairLanes, sizeof(Lanes));
}

template <class Lanes, int kCount>
[[gnu::always_inline]] inline void store_sums(const Lanes *sum, const int (&which)[kCount], double *sums) {
  for (int e = 0; e < kCount; ++e) std::memcpy(sums + std::ptrdiff_t{which[e]} * kPairLanes, &sum[e], sizeof(Lanes));
}

// The terms are those of incr_scalar_tilde_tilde and incr_scalar_tilde_vec, lane by lane. They are taken in two passes
// over the tile of six sums each, which with their operands fit the vector registers.
template <class Lanes>
[[gnu::always_inline]] inline void add_products(const PairRow &row, const double *columns, int nodes, double *sums) {
  constexpr int kWhich[6] = {1, 2, 3, 5, 6, 7};
  Lanes sum[6];
  load_sums(sums, kWhich, sum);
  const double *ma = row.weighted;
  for (int i = 0; i < nodes; ++i, ma += 3, columns += kColumnStride) {
    Lanes b[3];
    load_columns(columns, b);
    sum[0] += ma[1] * b[0];
    sum[1] += ma[2] * b[0];
    sum[2] += ma[0] * b[1];
    sum[3] += ma[2] * b[1];
    sum[4] += ma[0] * b[2];
    sum[5] += ma[1] * b[2];
  }
  store_sums(sum, kWhich, sums);
}

template <class Lanes>
[[gnu::always_inline]] inline void add_diagonal_and_cross(const PairRow &row, const double *columns, int nodes,
                                                          double *sums) {
  constexpr int kWhich[6] = {0, 4, 8, 9, 10, 11};
  Lanes sum[6];
  load_sums(sums, kWhich, sum);
  const double *a = row.phi;
  for (int i = 0; i < nodes; ++i, a += 3, columns += kColumnStride) {
    Lanes b[3];
    load_columns(columns, b);
    const double m = row.masses[i];
    const Lanes p0 = a[0] * b[0];
    const Lanes p1 = a[1] * b[1];
    const Lanes p2 = a[2] * b[2];
    sum[0] -= m * (p1 + p2);
    sum[1] -= m * (p2 + p0);
    sum[2] -= m * (p1 + p0);
    sum[3] += m * (a[1] * b[2] - a[2] * b[1]);
    sum[4] += m * (a[2] * b[0] - a[0] * b[2]);
    sum[5] += m * (a[0] * b[1] - a[1] * b[0]);
  }
  store_sums(sum, kWhich, sums);
}

template <int kWidth>
[[gnu::always_inline]] inline void add_tile(const PairRow &row, const double *columns, int nodes, double *sums) {
  using Lanes = typename LanesOf<kWidth>::Type;
  for (int lane = 0; lane < kPairLanes; lane += kWidth) {
    add_products<Lanes>(row, columns + lane, nodes, sums + lane);
    add_diagonal_and_cross<Lanes>(row, columns + lane, nodes, sums + lane);
  }
}

void add_tile_portable(const PairRow &row, const double *columns, int nodes, double *sums) {
  add_tile<2>(row, columns, nodes, sums);
}

#if defined(__x86_64__)
[[gnu::target("avx2")]] void add_tile_avx2(const PairRow &row, const double *columns, int nodes, double *sums) {
  add_tile<4>(row, columns, nodes, sums);
}
#endif

}  // namespace

void weight_row(const double *masses, const double *phi, int nodes, double *weighted) noexcept {
  for (int i = 0; i < nodes; ++i, phi += 3, weighted += 3)
    for (int c = 0; c < 3; ++c) weighted[c] = masses[i] * phi[c];
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
