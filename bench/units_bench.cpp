// What SBR_Convert_Units costs beside its own steps taken one by one, and beside plain multiplication.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>
#include <random>
#include <vector>

#include "sbrkit/sbrkit.h"

namespace {

constexpr int kCount = 1 << 16;
constexpr double kFactor = 25.4;

std::vector<double> values() {
  std::mt19937_64 random(1);
  std::uniform_real_distribution<double> mantissa(-10.0, 10.0);
  std::uniform_int_distribution<int> exponent(-6, 6);
  std::vector<double> numbers(kCount);
  for (double &number : numbers) number = mantissa(random) * std::pow(10.0, exponent(random));
  return numbers;
}

double power(int e) {
  double result = 1.0;
  double base = 10.0;
  for (int n = std::abs(e); n != 0; n /= 2, base *= base)
    if (n % 2 != 0) result *= base;
  result = std::floor(result + 0.5);
  return e < 0 ? 1.0 / result : result;
}

double one_by_one(double x, double factor) {
  const int e1 = x == 0.0 ? 0 : static_cast<int>(std::floor(std::log10(std::fabs(x))));
  const int e2 = static_cast<int>(std::floor(std::log10(std::fabs(factor))));
  return std::fabs(power(e1 + e2)) * (factor / power(e2) * (x / power(e1)));
}

// Switches to and fro, so that the values stay in range.
template <class Convert>
void convert_repeatedly(benchmark::State &state, Convert convert) {
  std::vector<double> numbers = values();
  bool forth = false;
  for (auto _ : state) {
    forth = !forth;
    convert(numbers, forth ? kFactor : 1.0 / kFactor);
    benchmark::DoNotOptimize(numbers.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kCount);
}

void PlainMultiplication(benchmark::State &state) {
  convert_repeatedly(state, [](std::vector<double> &numbers, double factor) {
    for (double &number : numbers) number *= factor;
  });
}
BENCHMARK(PlainMultiplication);

void StepsOneByOne(benchmark::State &state) {
  convert_repeatedly(state, [](std::vector<double> &numbers, double factor) {
    for (double &number : numbers) number = one_by_one(number, factor);
  });
}
BENCHMARK(StepsOneByOne);

void ConvertUnits(benchmark::State &state) {
  convert_repeatedly(
      state, [](std::vector<double> &numbers, double factor) { SBR_Convert_Units(numbers.data(), kCount, factor); });
}
BENCHMARK(ConvertUnits);

}  // namespace
