// The transformation of modes beside a matrix product of the same shape by OpenBLAS, and QZ beside LAPACK's dggev with
// right vectors on the same pair. One thread throughout.
#include <benchmark/benchmark.h>
#include <cblas.h>
#include <lapack.h>
#include <openblas_config.h>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <vector>

#include "body/body.h"
#include "modes/rewrite.h"

namespace {

using Values = std::vector<double>;

Values random_values(std::size_t count, unsigned seed) {
  std::mt19937_64 engine(seed);
  std::uniform_real_distribution<double> uniform(-1.0, 1.0);
  Values values(count);
  for (double &v : values) v = uniform(engine);
  return values;
}

constexpr int kNodes = 100000;
constexpr int kModes = 200;
constexpr std::size_t kValues = 6 * static_cast<std::size_t>(kNodes);

// A body with a temporary file of random mode shapes.
SBR make_body() {
  SBR body = SBR_Create(kNodes, kModes);
  for (int n = 1; n <= kNodes; ++n) SBR_LookupOrAddNode(body, n);
  for (int m = 1; m <= kModes; ++m) SBR_LookupOrAddMode(body, m);
  body->nodes.kinds[sbr::Kind::shape].count = kNodes;
  body->matrices.modes_not_orthogonal = 1;
  sbr::ModeRewrite file(*body, sbr::Kind::shape, sbr::RewritePurpose::basis);
  if (!file.begin()) std::abort();
  const auto make_mode = [](int m, double *record) {
    const Values mode = random_values(kValues, static_cast<unsigned>(m));
    std::copy(mode.begin(), mode.end(), record);
    return sbr::Rewriting::done;
  };
  if (!file.complete(file.write_modes(kModes, static_cast<std::int64_t>(kValues), make_mode))) std::abort();
  file.install();
  return body;
}

void TransformModes(benchmark::State &state) {
  const Values matrix = random_values(static_cast<std::size_t>(kModes) * kModes, 99);
  SBR body = make_body();
  for (auto _ : state)
    if (SBR_TransformModes(body, 0, kModes, matrix.data()) != 1) state.SkipWithError("transformation failed");
  SBR_DeReference(body);
}
BENCHMARK(TransformModes)->Unit(benchmark::kMillisecond)->Iterations(3);

void TransformModesBaselineDgemm(benchmark::State &state) {
  openblas_set_num_threads(1);
  const Values matrix = random_values(static_cast<std::size_t>(kModes) * kModes, 99);
  const Values modes = random_values(kValues * kModes, 1);
  Values result(kValues * kModes);
  for (auto _ : state)
    cblas_dgemm(CblasRowMajor, CblasTrans, CblasNoTrans, kModes, kValues, kModes, 1.0, matrix.data(), kModes,
                modes.data(), kValues, 0.0, result.data(), kValues);
}
BENCHMARK(TransformModesBaselineDgemm)->Unit(benchmark::kMillisecond)->Iterations(3);

// A stiffness and a mass matrix as translators deliver them: symmetric, the mass positive.
struct Pair {
  Values a, b;
  explicit Pair(int n) : a(random_values(static_cast<std::size_t>(n) * static_cast<std::size_t>(n), 3)), b(a.size()) {
    const Values m = random_values(a.size(), 4);
    for (int i = 0; i < n; ++i)
      for (int j = 0; j < n; ++j) {
        const auto at = static_cast<std::size_t>(j) * static_cast<std::size_t>(n) + static_cast<std::size_t>(i);
        const auto mirrored = static_cast<std::size_t>(i) * static_cast<std::size_t>(n) + static_cast<std::size_t>(j);
        if (i > j) a[at] = a[mirrored];
        b[at] = 0.1 * (m[at] + m[mirrored]) + (i == j ? n : 0.0);
      }
  }
};

void Qz(benchmark::State &state) {
  const int n = static_cast<int>(state.range(0));
  const Pair pair(n);
  const auto order = static_cast<std::size_t>(n);
  const int yes = 1;
  const double eps1 = 0.0;
  int ierr = 0;
  Values z(order * order), alfr(order), alfi(order), beta(order);
  for (auto _ : state) {
    Values a = pair.a;
    Values b = pair.b;
    SBR_QZHESS(&n, &n, a.data(), b.data(), &yes, z.data());
    SBR_QZITT(&n, &n, a.data(), b.data(), &eps1, &yes, z.data(), &ierr);
    SBR_QZVALL(&n, &n, a.data(), b.data(), alfr.data(), alfi.data(), beta.data(), &yes, z.data());
    SBR_QZVECC(&n, &n, a.data(), b.data(), alfr.data(), alfi.data(), beta.data(), z.data());
    if (ierr != 0) state.SkipWithError("no convergence");
  }
}
BENCHMARK(Qz)->Arg(200)->Arg(400)->Unit(benchmark::kMillisecond)->Iterations(3);

void QzBaselineDggev(benchmark::State &state) {
  openblas_set_num_threads(1);
  const int n = static_cast<int>(state.range(0));
  const Pair pair(n);
  const auto order = static_cast<std::size_t>(n);
  Values z(order * order), alfr(order), alfi(order), beta(order), work(1);
  int info = 0;
  for (auto _ : state) {
    Values a = pair.a;
    Values b = pair.b;
    for (int size : {-1, 0}) {
      if (size == 0) {
        size = static_cast<int>(work[0]);
        work.resize(static_cast<std::size_t>(size));
      }
      LAPACK_dggev("N", "V", &n, a.data(), &n, b.data(), &n, alfr.data(), alfi.data(), beta.data(), nullptr, &n,
                   z.data(), &n, work.data(), &size, &info);
    }
    if (info != 0) state.SkipWithError("no convergence");
  }
}
BENCHMARK(QzBaselineDggev)->Arg(200)->Arg(400)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace
