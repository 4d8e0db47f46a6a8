// Speed of the n x n matrix product, reported as floating-point operations
// (2 n^3 per product) per second.
#include <benchmark/benchmark.h>

#include <random>

#include "vecml/matrix/CMatrix.h"

namespace {

template <typename T>
CMatrix<T> randomMatrix(int n, std::mt19937& random) {
  std::uniform_real_distribution<T> uniform(-1, 1);
  CMatrix<T> m(n, n);
  for (int k = 0; k < n * n; ++k) m._data()[k] = uniform(random);
  return m;
}

template <typename T>
void matrixProduct(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  std::mt19937 random(1);
  const CMatrix<T> a = randomMatrix<T>(n, random);
  const CMatrix<T> b = randomMatrix<T>(n, random);
  for (auto _ : state) {
    CMatrix<T> c = a * b;
    benchmark::DoNotOptimize(c._data());
  }
  state.counters["FLOPS"] = benchmark::Counter(
      2.0 * n * n * n, benchmark::Counter::kIsIterationInvariantRate);
}

BENCHMARK_TEMPLATE(matrixProduct, float)->Arg(64)->Arg(256)->Arg(512);
BENCHMARK_TEMPLATE(matrixProduct, double)->Arg(64)->Arg(256)->Arg(512);

}  // namespace

BENCHMARK_MAIN();
