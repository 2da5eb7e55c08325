// Reductions of the surface: coarsening, stripping and free edges of 250,000 to 1,000,000 quadrilaterals, beside what
// the standard library takes to sort or count the same amount.
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <random>
#include <unordered_map>
#include <vector>

#include "body/body.h"
#include "surface/free_edges.h"

namespace {

// Freed memory stays with the process for blocks of all sizes alike. Otherwise blocks beyond 32 MiB, and they alone, go
// back to the system after every run, and the step in the cost of page faults hides how the work itself grows.
const bool memory_is_kept = mallopt(M_MMAP_THRESHOLD, 1 << 30) != 0 && mallopt(M_TRIM_THRESHOLD, 2147483647) != 0;

struct Quads {
  std::vector<std::array<int, 4>> faces;
  int nodes = 0;
};

// A flat square of side x side quadrilaterals.
Quads grid(int side) {
  Quads quads;
  const int row = side + 1;
  quads.nodes = row * row;
  for (int i = 0; i < side; ++i)
    for (int j = 0; j < side; ++j)
      quads.faces.push_back({i * row + j, i * row + j + 1, (i + 1) * row + j + 1, (i + 1) * row + j});
  return quads;
}

// All six faces of every brick of a block, wound outwards: most are shared by two bricks.
Quads block(int nx, int ny, int nz) {
  Quads quads;
  const auto at = [=](int x, int y, int z) { return (z * (ny + 1) + y) * (nx + 1) + x; };
  quads.nodes = (nx + 1) * (ny + 1) * (nz + 1);
  for (int z = 0; z < nz; ++z)
    for (int y = 0; y < ny; ++y)
      for (int x = 0; x < nx; ++x) {
        const int c[8] = {at(x, y, z),     at(x + 1, y, z),     at(x + 1, y + 1, z),     at(x, y + 1, z),
                          at(x, y, z + 1), at(x + 1, y, z + 1), at(x + 1, y + 1, z + 1), at(x, y + 1, z + 1)};
        for (const auto &f : {std::array{0, 3, 2, 1}, std::array{4, 5, 6, 7}, std::array{0, 1, 5, 4},
                              std::array{1, 2, 6, 5}, std::array{2, 3, 7, 6}, std::array{3, 0, 4, 7}})
          quads.faces.push_back({c[f[0]], c[f[1]], c[f[2]], c[f[3]]});
      }
  return quads;
}

// Bricks of a block with about this many faces.
Quads block_of(std::int64_t faces) {
  const int side = std::max(1, static_cast<int>(std::lround(std::cbrt(static_cast<double>(faces) / 6))));
  return block(side, side, side);
}
Quads grid_of(std::int64_t faces) { return grid(static_cast<int>(std::lround(std::sqrt(static_cast<double>(faces))))); }

void set_faces(SbrBody &body, const Quads &quads) {
  body.faces.face_count = static_cast<int>(quads.faces.size());
  if (!body.faces.list.allocate(5 * static_cast<std::int64_t>(quads.faces.size()))) std::abort();
  std::int32_t *out = body.faces.list.data();
  for (const auto &face : quads.faces) {
    *out++ = 4;
    out = std::copy(face.begin(), face.end(), out);
  }
}

// A body whose nodes stand on a square lattice of unit pitch.
SBR body_of(const Quads &quads) {
  SBR body = SBR_Create(0, 0);
  const auto row = static_cast<int>(std::lround(std::sqrt(quads.nodes)));
  if (!body->nodes.nodes.allocate(quads.nodes)) std::abort();
  for (int i = 0; i < quads.nodes; ++i) {
    sbr::NodeRecord &node = body->nodes.nodes[static_cast<std::size_t>(i)];
    node.id = i + 1;
    node.x = i % row;
    node.y = i / row;
  }
  set_faces(*body, quads);
  return body;
}

void report(benchmark::State &state, std::size_t faces) {
  state.SetComplexityN(static_cast<std::int64_t>(faces));
  state.SetItemsProcessed(static_cast<std::int64_t>(faces) * state.iterations());
}

// A run in front of those that count finds the memory for it, so that one long run is measured as many short ones are.
void coarsen_all(benchmark::State &state, SBR body, const Quads &quads, const char *options) {
  set_faces(*body, quads);
  SBR_TrimGeometry(body, options);
  for (auto _ : state) {
    state.PauseTiming();
    set_faces(*body, quads);
    state.ResumeTiming();
    SBR_TrimGeometry(body, options);
  }
  state.counters["faces_left"] = body->faces.face_count;
}

void BM_Coarsen(benchmark::State &state) {
  const Quads quads = grid_of(state.range(0));
  SBR body = body_of(quads);
  coarsen_all(state, body, quads, "0.02,10,0");
  SBR_Destroy(body);
  report(state, quads.faces.size());
}

std::vector<int> random_numbers(int nodes) {
  std::vector<int> number(static_cast<std::size_t>(nodes));
  std::iota(number.begin(), number.end(), 0);
  std::shuffle(number.begin(), number.end(), std::mt19937(5));
  return number;
}

// The grid with its nodes numbered at random, at the largest resolution: polygons grow in many places and meet.
void BM_CoarsenScattered(benchmark::State &state) {
  const Quads ordered = grid_of(state.range(0));
  const std::vector<int> number = random_numbers(ordered.nodes);
  const auto number_of = [&](int node) { return number[static_cast<std::size_t>(node)]; };
  Quads quads = ordered;
  for (auto &face : quads.faces)
    for (int &node : face) node = number_of(node);
  SBR body = body_of(ordered);
  sbr::Array<sbr::NodeRecord> nodes;
  if (!nodes.allocate(ordered.nodes)) std::abort();
  for (int i = 0; i < ordered.nodes; ++i) nodes[number_of(i)] = body->nodes.nodes[i];
  body->nodes.nodes.swap(nodes);
  coarsen_all(state, body, quads, "0.5,10,0");
  SBR_Destroy(body);
  report(state, quads.faces.size());
}

// The measure for it: in the order of those numbers each node adds up what stands around it, from tables in the order
// of the faces. That is the least that coarsening has to look at before it changes anything.
void BM_VisitScattered(benchmark::State &state) {
  const Quads quads = grid_of(state.range(0));
  const std::vector<int> order = random_numbers(quads.nodes);
  const auto nodes = static_cast<std::size_t>(quads.nodes);
  std::vector<std::array<double, 3>> points(nodes, {1.0, 2.0, 3.0});
  std::vector<std::array<int, 4>> faces_of(nodes, {-1, -1, -1, -1});
  for (std::size_t f = 0; f < quads.faces.size(); ++f)
    for (const int node : quads.faces[f]) {
      auto &list = faces_of[static_cast<std::size_t>(node)];
      *std::find(list.begin(), list.end() - 1, -1) = static_cast<int>(f);
    }
  for (auto _ : state) {
    double sum = 0.0;
    for (const int node : order)
      for (const int face : faces_of[static_cast<std::size_t>(node)]) {
        if (face < 0) continue;
        for (const int vertex : quads.faces[static_cast<std::size_t>(face)])
          sum += points[static_cast<std::size_t>(vertex)][0] + points[static_cast<std::size_t>(vertex)][2];
      }
    benchmark::DoNotOptimize(sum);
  }
  report(state, quads.faces.size());
}

// Triangles all around a hub, and one stray that shares the hub only: no walk takes all of them.
void BM_CoarsenHub(benchmark::State &state) {
  const int rim = static_cast<int>(state.range(0));
  SBR body = SBR_Create(0, 0);
  if (!body->nodes.nodes.allocate(rim + 4)) std::abort();
  const auto put = [&](int i, double x, double y) {
    body->nodes.nodes[i].id = i + 1;
    body->nodes.nodes[i].x = x;
    body->nodes.nodes[i].y = y;
  };
  for (int i = 0; i < rim; ++i)
    put(1 + i, std::cos(6.283185307179586 * i / rim), std::sin(6.283185307179586 * i / rim));
  put(rim + 1, 0.5, 0.1);
  put(rim + 2, 0.5, 0.2);
  put(rim + 3, 100.0, 0.0);
  std::vector<std::int32_t> words;
  for (int i = 0; i < rim; ++i) words.insert(words.end(), {3, 0, 1 + i, 1 + (i + 1) % rim});
  words.insert(words.end(), {3, 0, rim + 1, rim + 2});
  for (auto _ : state) {
    state.PauseTiming();
    body->faces.face_count = rim + 1;
    if (!body->faces.list.allocate(static_cast<std::int64_t>(words.size()))) std::abort();
    std::copy(words.begin(), words.end(), body->faces.list.begin());
    state.ResumeTiming();
    SBR_TrimGeometry(body, "0.011,10,0");
  }
  state.counters["faces_left"] = body->faces.face_count;
  SBR_Destroy(body);
  report(state, static_cast<std::size_t>(rim) + 1);
}

template <Quads (*make)(std::int64_t)>
void BM_Strip(benchmark::State &state) {
  const Quads quads = make(state.range(0));
  SBR body = SBR_Create(0, 0);
  for (auto _ : state) {
    state.PauseTiming();
    set_faces(*body, quads);
    body->geometry.internal_geometry_removed = 0;
    state.ResumeTiming();
    SBR_StripCommonFaces(body);
  }
  state.counters["faces_left"] = body->faces.face_count;
  SBR_Destroy(body);
  report(state, quads.faces.size());
}

// The measure for stripping: std::sort of records of the same length.
template <Quads (*make)(std::int64_t)>
void BM_SortRecords(benchmark::State &state) {
  const Quads quads = make(state.range(0));
  std::vector<std::array<int, 5>> records;
  for (auto _ : state) {
    state.PauseTiming();
    records.clear();
    for (const auto &f : quads.faces) records.push_back({4, f[0], f[1], f[2], f[3]});
    state.ResumeTiming();
    std::sort(records.begin(), records.end());
    benchmark::DoNotOptimize(records.data());
  }
  report(state, quads.faces.size());
}

template <Quads (*make)(std::int64_t)>
void BM_FreeEdges(benchmark::State &state) {
  const Quads quads = make(state.range(0));
  SBR body = SBR_Create(0, 0);
  set_faces(*body, quads);
  std::size_t chains_found = 0;
  for (auto _ : state) {
    sbr::OwnedList<sbr::Array<std::int32_t>> chains;
    if (!sbr::find_free_edges(sbr::FaceWalk(body->faces), chains)) std::abort();
    chains_found = chains.size();
  }
  state.counters["chains"] = static_cast<double>(chains_found);
  SBR_Destroy(body);
  report(state, quads.faces.size());
}

// The measure for free edges: counting the same edges in a hash map.
template <Quads (*make)(std::int64_t)>
void BM_CountEdges(benchmark::State &state) {
  const Quads quads = make(state.range(0));
  for (auto _ : state) {
    std::unordered_map<std::uint64_t, int> uses;
    for (const auto &f : quads.faces)
      for (std::size_t k = 0; k < 4; ++k) {
        const auto [low, high] = std::minmax(f[k], f[(k + 1) % 4]);
        uses[(static_cast<std::uint64_t>(low) << 32U) | static_cast<std::uint32_t>(high)] += 1;
      }
    benchmark::DoNotOptimize(uses.size());
  }
  report(state, quads.faces.size());
}

void sizes(benchmark::internal::Benchmark *benchmark) {
  for (const int faces : {250000, 500000, 1000000}) benchmark->Arg(faces);
  benchmark->Unit(benchmark::kMillisecond)->Complexity([](benchmark::IterationCount n) {
    return static_cast<double>(n) * std::log2(static_cast<double>(n));
  });
}

BENCHMARK(BM_Coarsen)->Apply(sizes);
BENCHMARK(BM_CoarsenScattered)->Arg(62500)->Apply(sizes);
BENCHMARK(BM_VisitScattered)->Arg(62500)->Apply(sizes);
BENCHMARK(BM_CoarsenHub)->Arg(16000)->Arg(64000)->Arg(256000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Strip<grid_of>)->Apply(sizes);
BENCHMARK(BM_SortRecords<grid_of>)->Apply(sizes);
BENCHMARK(BM_Strip<block_of>)->Apply(sizes);
BENCHMARK(BM_SortRecords<block_of>)->Apply(sizes);
BENCHMARK(BM_FreeEdges<grid_of>)->Apply(sizes);
BENCHMARK(BM_CountEdges<grid_of>)->Apply(sizes);
BENCHMARK(BM_FreeEdges<block_of>)->Apply(sizes);
BENCHMARK(BM_CountEdges<block_of>)->Apply(sizes);

}  // namespace
