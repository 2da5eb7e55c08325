// Craig and Bampton's reduction of a block of trilinear bricks, free in space: the whole against the factorization of
// its interior stiffness in the same run. The first argument of the case is the number of degrees of freedom to be had.
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <array>
#include <cmath>
#include <vector>

#include "common/reduction.h"

namespace {

using sbrtranslate::Dof;
using sbrtranslate::MatrixEntry;
using sbrtranslate::Reduction;
using sbrtranslate::ReductionRequest;
using sbrtranslate::RigidRow;

using ElementMatrix = std::array<std::array<double, 24>, 24>;

constexpr int kCorners[8][3] = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}};

// Stiffness and consistent mass of a cube of steel of one edge length (mm, t, s, N), two Gauss points a way.
void cube(double edge, ElementMatrix &stiffness, ElementMatrix &mass) {
  const double e = 210000.0, nu = 0.3, density = 7.85e-9;
  const double lambda = e * nu / ((1 + nu) * (1 - 2 * nu)), shear = e / (2 * (1 + nu));
  stiffness = {};
  mass = {};
  const double weight = edge * edge * edge / 8.0;
  for (int point = 0; point < 8; ++point) {
    std::array<double, 3> at{};
    for (std::size_t k = 0; k < 3; ++k) at[k] = 0.5 + (((point >> k) & 1) != 0 ? 0.5 : -0.5) / std::sqrt(3.0);
    std::array<double, 8> n{};
    std::array<std::array<double, 3>, 8> d{};
    for (std::size_t a = 0; a < 8; ++a) {
      std::array<double, 3> f{}, s{};
      for (std::size_t k = 0; k < 3; ++k) {
        f[k] = kCorners[a][k] != 0 ? at[k] : 1.0 - at[k];
        s[k] = (kCorners[a][k] != 0 ? 1.0 : -1.0) / edge;
      }
      n[a] = f[0] * f[1] * f[2];
      d[a] = {s[0] * f[1] * f[2], f[0] * s[1] * f[2], f[0] * f[1] * s[2]};
    }
    for (std::size_t a = 0; a < 8; ++a)
      for (std::size_t b = 0; b < 8; ++b) {
        const double both = d[a][0] * d[b][0] + d[a][1] * d[b][1] + d[a][2] * d[b][2];
        for (std::size_t i = 0; i < 3; ++i) {
          mass[3 * a + i][3 * b + i] += weight * density * n[a] * n[b];
          for (std::size_t j = 0; j < 3; ++j)
            stiffness[3 * a + i][3 * b + j] +=
                weight * (lambda * d[a][i] * d[b][j] + shear * (d[a][j] * d[b][i] + (i == j ? both : 0.0)));
        }
      }
  }
}

// A block of n x n x 4n cubes with its entries, row by row; ten nodes at each end are held: 60 constraint modes.
struct Block {
  std::vector<Dof> dofs;
  std::vector<char> held;
  std::vector<RigidRow> rigid;
  std::vector<MatrixEntry> mass, stiffness;
};

Block make_block(int n) {
  Block block;
  const int w = n + 1, length = 4 * n;
  const double edge = 2.0;
  const auto node = [&](int i, int j, int k) { return (i * w + j) * w + k; };
  for (int i = 0; i <= length; ++i)
    for (int j = 0; j <= n; ++j)
      for (int k = 0; k <= n; ++k) {
        const std::array<double, 3> r = {edge * (i - 0.5 * length), edge * (j - 0.5 * n), edge * (k - 0.5 * n)};
        const std::array<RigidRow, 3> rigid = {RigidRow{1, 0, 0, 0, r[2], -r[1]}, RigidRow{0, 1, 0, -r[2], 0, r[0]},
                                               RigidRow{0, 0, 1, r[1], -r[0], 0}};
        const bool held = (i == 0 || i == length) && j < 5 && k < 2;
        for (int direction = 0; direction < 3; ++direction) {
          block.dofs.push_back({node(i, j, k) + 1, direction + 1});
          block.held.push_back(held ? 1 : 0);
          block.rigid.push_back(rigid[static_cast<std::size_t>(direction)]);
        }
      }
  ElementMatrix k_e, m_e;
  cube(edge, k_e, m_e);
  // A pair of nodes is visited once, from its lower node, with the sum over the cubes that both share.
  for (int i = 0; i <= length; ++i)
    for (int j = 0; j <= n; ++j)
      for (int k = 0; k <= n; ++k)
        for (int step = 13; step < 27; ++step) {
          const int di = step / 9 - 1, dj = step / 3 % 3 - 1, dk = step % 3 - 1;
          const int i2 = i + di, j2 = j + dj, k2 = k + dk;
          if (i2 < 0 || j2 < 0 || k2 < 0 || i2 > length || j2 > n || k2 > n) continue;
          std::array<std::array<double, 3>, 3> ks{};
          double ms = 0.0;
          for (std::size_t a = 0; a < 8; ++a)
            for (std::size_t b = 0; b < 8; ++b) {
              if (kCorners[b][0] - kCorners[a][0] != di || kCorners[b][1] - kCorners[a][1] != dj ||
                  kCorners[b][2] - kCorners[a][2] != dk)
                continue;
              const int ci = i - kCorners[a][0], cj = j - kCorners[a][1], ck = k - kCorners[a][2];
              if (ci < 0 || cj < 0 || ck < 0 || ci >= length || cj >= n || ck >= n) continue;
              ms += m_e[3 * a][3 * b];
              for (std::size_t p = 0; p < 3; ++p)
                for (std::size_t q = 0; q < 3; ++q) ks[p][q] += k_e[3 * a + p][3 * b + q];
            }
          const int row = 3 * node(i, j, k), column = 3 * node(i2, j2, k2);
          for (int p = 0; p < 3; ++p)
            for (int q = 0; q < 3; ++q) {
              if (row + p > column + q) continue;
              block.stiffness.push_back(
                  {row + p, column + q, ks[static_cast<std::size_t>(p)][static_cast<std::size_t>(q)]});
              if (p == q) block.mass.push_back({row + p, column + q, ms});
            }
        }
  return block;
}

void Reduce(benchmark::State &state) {
  const int n = static_cast<int>(std::cbrt(static_cast<double>(state.range(0)) / 12.0));
  const Block block = make_block(n);
  for (auto _ : state) {
    ReductionRequest request;
    request.dofs = block.dofs;
    request.held = block.held;
    request.rigid = block.rigid;
    request.normal = 50;
    request.mass_entries = &block.mass;
    request.stiffness_entries = &block.stiffness;
    const Reduction reduction = sbrtranslate::reduce_matrices(request);
    const auto &cost = reduction.cost;
    state.SetLabel(cost.solver);
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    state.counters["rows"] = static_cast<double>(block.dofs.size());
    state.counters["constraint"] = reduction.constraint_modes;
    state.counters["factor_entries"] = cost.factor_entries;
    state.counters["gather_s"] = cost.reading;
    state.counters["order_s"] = cost.analysis;
    state.counters["factorize_s"] = cost.factorization;
    state.counters["normal_s"] = cost.normal;
    state.counters["solutions"] = cost.solutions;
    state.counters["constraint_s"] = cost.constraint;
    state.counters["products_s"] = cost.products;
    state.counters["peak_MB"] = static_cast<double>(usage.ru_maxrss) / 1024.0;
    state.counters["first_hz"] = reduction.normal_hz.front();
    state.counters["rigid_residual"] = reduction.rigid_residual;
    state.counters["factorize_cpu_s"] = cost.factorization_cpu;
    state.counters["cpu_s"] = cost.cpu;
    state.counters["ratio"] = cost.cpu / cost.factorization_cpu;
  }
}
BENCHMARK(Reduce)->Arg(20000)->Arg(100000)->Arg(500000)->Iterations(1)->Unit(benchmark::kSecond)->UseRealTime();

}  // namespace
