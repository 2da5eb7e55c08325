// Nearest-node search against nanoflann's k-d tree, its build included: 10,000 searches on 1,000,000 nodes.
#include <benchmark/benchmark.h>

#include <array>
#include <nanoflann.hpp>
#include <random>
#include <vector>

#include "sbrkit/sbrkit.h"

namespace {

constexpr int kNodes = 1000000;
constexpr int kSearches = 10000;
using Point = std::array<double, 3>;

std::vector<Point> random_points(std::size_t count, unsigned seed) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> spread(0.0, 1000.0);
  std::vector<Point> points(count);
  for (Point &point : points)
    for (double &c : point) c = spread(random);
  return points;
}

struct Cloud {
  const std::vector<Point> &points;
  [[nodiscard]] std::size_t kdtree_get_point_count() const { return points.size(); }
  [[nodiscard]] double kdtree_get_pt(std::size_t i, std::size_t axis) const { return points[i][axis]; }
  template <class Box>
  bool kdtree_get_bbox(Box &) const {
    return false;
  }
};
using Tree = nanoflann::KDTreeSingleIndexAdaptor<nanoflann::L2_Simple_Adaptor<double, Cloud>, Cloud, 3>;

void BM_ClosestNode(benchmark::State &state) {
  const auto points = random_points(kNodes, 1);
  const auto probes = random_points(kSearches, 2);
  SBR body = SBR_Create(1, 1);
  for (int i = 0; i < kNodes; ++i) {
    const Point &p = points[static_cast<std::size_t>(i)];
    SBR_SetNodeCoordinates(body, i + 1, p[0], p[1], p[2]);
  }
  for (auto _ : state) {
    // Moving one node onto itself drops the index, so that its making is measured too.
    SBR_SetNodeCoordinates(body, 1, points[0][0], points[0][1], points[0][2]);
    long sum = 0;
    for (const Point &probe : probes) sum += SBR_ClosestNode(body, probe.data(), 0);
    benchmark::DoNotOptimize(sum);
  }
  SBR_DeReference(body);
}
BENCHMARK(BM_ClosestNode)->Unit(benchmark::kMillisecond);

void baseline_nanoflann(benchmark::State &state) {
  const auto points = random_points(kNodes, 1);
  const auto probes = random_points(kSearches, 2);
  const Cloud cloud{points};
  for (auto _ : state) {
    Tree tree(3, cloud, nanoflann::KDTreeSingleIndexAdaptorParams(10));
    tree.buildIndex();
    std::size_t sum = 0;
    for (const Point &probe : probes) {
      std::size_t found = 0;
      double distance = 0.0;
      nanoflann::KNNResultSet<double> result(1);
      result.init(&found, &distance);
      tree.findNeighbors(result, probe.data(), nanoflann::SearchParams());
      sum += found;
    }
    benchmark::DoNotOptimize(sum);
  }
}
BENCHMARK(baseline_nanoflann)->Unit(benchmark::kMillisecond);

}  // namespace
