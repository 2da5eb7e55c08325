// Invariants of a large body. The counters say how many pair terms (one pair of modes at one node) come per second; the
// rate of the plain loop on data that stays in cache stands beside it, and so does the rate of the library's own loop
// on such data.
//
// "pairs" is the pass over all pairs as a full set of invariants meets it: the modes on disk, some of them in the
// cache.
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <cstdlib>
#include <map>
#include <random>
#include <vector>

#include "body/body.h"
#include "mass/invariants.h"
#include "mass/pair_sums.h"

namespace {

constexpr int kModes = 60;
constexpr int kNodes = 200'000;
constexpr int kCachedNodes = 256;

// The bodies of the run, released with their temporary files at its end.
struct Bodies {
  std::map<std::pair<int, int>, SBR> made;
  ~Bodies() { SBR_Terminate(); }
};

// A body of random masses, places and mode shapes.
SBR random_body(int nodes, int modes) {
  static Bodies bodies;
  SBR &body = bodies.made[{nodes, modes}];
  if (body != nullptr) return body;
  body = SBR_Create(nodes, modes);
  std::mt19937_64 generator(7);
  std::uniform_real_distribution<double> uniform(-1.0, 1.0);
  for (int id = 1; id <= nodes; ++id) {
    SBR_SetNodeCoordinates(body, id, uniform(generator), uniform(generator), uniform(generator));
    SBR_SetNodalMass(body, id, 1.5 + uniform(generator));
  }
  for (int number = 1; number <= modes; ++number)
    for (int id = 1; id <= nodes; ++id) {
      double six[6];
      for (double &value : six) value = uniform(generator);
      SBR_SetModeVec(body, number, id, 0, six);
    }
  return body;
}

void forget(SBR body) { body->invariants = sbr::Invariants{}; }

double pair_terms(int nodes, int modes) { return 0.5 * modes * (modes + 1) * static_cast<double>(nodes); }

double peak_megabytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_maxrss) / 1024.0;
}

benchmark::Counter rate(benchmark::State &state, double terms) {
  return {terms * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate};
}

// The plain loop over the nodes of a pair, on data that stays in cache.
void PlainLoopInCache(benchmark::State &state) {
  std::mt19937_64 generator(7);
  std::uniform_real_distribution<double> uniform(-1.0, 1.0);
  std::vector<double> masses(kCachedNodes);
  std::vector<double> a(3 * kCachedNodes);
  std::vector<double> b(3 * kCachedNodes);
  for (auto *values : {&masses, &a, &b})
    for (double &value : *values) value = uniform(generator);
  for (auto _ : state) {
    double tensor[9] = {};
    double vector[3] = {};
    for (int i = 0; i < kCachedNodes; ++i) {
      incr_scalar_tilde_tilde(tensor, masses[i], &a[3 * i], &b[3 * i]);
      incr_scalar_tilde_vec(vector, masses[i], &a[3 * i], &b[3 * i]);
    }
    benchmark::DoNotOptimize(tensor);
    benchmark::DoNotOptimize(vector);
  }
  state.counters["terms"] = rate(state, kCachedNodes);
}
BENCHMARK(PlainLoopInCache);

// The library's kernel alone on one tile.
void KernelInCache(benchmark::State &state) {
  std::vector<double> masses(sbr::kTileNodes, 1.5);
  std::vector<double> phi(sbr::kRowTile, 1.25);
  std::vector<double> weighted(sbr::kRowTile, 1.875);
  std::vector<double> columns(sbr::kColumnTile, 0.75);
  std::vector<double> sums(sbr::kGroupSums);
  const sbr::PairKernel kernel = sbr::pair_kernel();
  for (auto _ : state) {
    kernel({masses.data(), phi.data(), weighted.data()}, columns.data(), sbr::kTileNodes, sums.data());
    benchmark::ClobberMemory();
  }
  state.counters["terms"] = rate(state, sbr::kTileNodes * sbr::kPairLanes);
}
BENCHMARK(KernelInCache);

// All pairs of a body.
void Pairs(benchmark::State &state) {
  const auto nodes = static_cast<int>(state.range(0));
  SBR body = random_body(nodes, kModes);
  for (auto _ : state) {
    state.PauseTiming();
    forget(body);
    SBR_CleanModesInMemory(body);
    SBR_FastComputeInvars(body);
    state.ResumeTiming();
    SBR_FreeMemory(SBR_Invar5(body, 0));
  }
  state.counters["terms"] = rate(state, pair_terms(nodes, kModes));
  state.counters["peak_MB"] = peak_megabytes();
}
BENCHMARK(Pairs)->Arg(kCachedNodes)->Arg(kNodes)->Unit(benchmark::kMillisecond)->MinTime(0.5);

// The full set, from an empty cache.
void FullSet(benchmark::State &state) {
  SBR body = random_body(kNodes, kModes);
  for (auto _ : state) {
    state.PauseTiming();
    forget(body);
    SBR_CleanModesInMemory(body);
    state.ResumeTiming();
    SBR_FullComputeInvars(body);
  }
  state.counters["peak_MB"] = peak_megabytes();
}
BENCHMARK(FullSet)->Unit(benchmark::kMillisecond)->MinTime(0.5);

}  // namespace
