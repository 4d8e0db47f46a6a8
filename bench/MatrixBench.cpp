// SPDX-License-Identifier: MIT
// Speed of the n x n matrix product (float and double) and of the
// 4096 x 4096 float matrix x vector product, next to the same operations in
// the optimised linear-algebra libraries a user would otherwise call. Rates
// are floating-point operations per second (2 n^3 per product, 2 n^2 per
// matrix x vector product, which also reports the bytes of the matrix read).
#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <string>

#include "vecml/matrix/CMatrix.h"
#include "vecml/vector/CDenseVector.h"

#if VECML_BENCH_HAVE_OPENBLAS
#include <cblas.h>
#endif
#if VECML_BENCH_HAVE_EIGEN
// Eigen's AVX-512 transposes trip g++'s uninitialised-value analysis.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#include <Eigen/Core>
#pragma GCC diagnostic pop
#endif

namespace {

constexpr int kProductSizes[] = {64, 256, 512, 1024};
constexpr int kMatVecSize = 4096;

// A rows x columns matrix of elements uniform in [-1, 1), the same for
// every implementation of a group. Peers read the matrix's own storage, so
// all of them get the same 64-byte aligned arrays.
template <typename T>
CMatrix<T> randomMatrix(int rows, int columns, unsigned seed) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<T> uniform(-1, 1);
  CMatrix<T> m(rows, columns, false);
  T* values = m._data();
  for (int k = 0; k < rows * columns; ++k) values[k] = uniform(random);
  return m;
}

template <typename T>
const char* typeName() {
  return sizeof(T) == sizeof(float) ? "float" : "double";
}

void setProductRate(benchmark::State& state, int n) {
  state.counters["FLOPS"] = benchmark::Counter(
      2.0 * n * n * n, benchmark::Counter::kIsIterationInvariantRate);
}

void setMatVecRate(benchmark::State& state, int n) {
  state.counters["FLOPS"] = benchmark::Counter(
      2.0 * n * n, benchmark::Counter::kIsIterationInvariantRate);
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * n *
                          n * static_cast<std::int64_t>(sizeof(float)));
}

template <typename T>
void productVecml(benchmark::State& state, int n) {
  const CMatrix<T> a = randomMatrix<T>(n, n, 1);
  const CMatrix<T> b = randomMatrix<T>(n, n, 2);
  for (auto _ : state) {
    CMatrix<T> c = a * b;
    benchmark::DoNotOptimize(c._data());
  }
  setProductRate(state, n);
}

void matVecVecml(benchmark::State& state, int n) {
  const CMatrix<float> a = randomMatrix<float>(n, n, 1);
  const CDenseVector<float> x = randomMatrix<float>(n, 1, 2).getColumn(0);
  for (auto _ : state) {
    CDenseVector<float> y = a * x;
    benchmark::DoNotOptimize(y._data());
  }
  setMatVecRate(state, n);
}

#if VECML_BENCH_HAVE_OPENBLAS
void gemm(int n, const float* a, const float* b, float* c) {
  cblas_sgemm(CblasColMajor, CblasNoTrans, CblasNoTrans, n, n, n, 1.0f, a, n, b,
              n, 0.0f, c, n);
}

void gemm(int n, const double* a, const double* b, double* c) {
  cblas_dgemm(CblasColMajor, CblasNoTrans, CblasNoTrans, n, n, n, 1.0, a, n, b,
              n, 0.0, c, n);
}

template <typename T>
void productOpenBlas(benchmark::State& state, int n) {
  const CMatrix<T> a = randomMatrix<T>(n, n, 1);
  const CMatrix<T> b = randomMatrix<T>(n, n, 2);
  CMatrix<T> c(n, n, false);
  for (auto _ : state) {
    gemm(n, a._data(), b._data(), c._data());
    benchmark::DoNotOptimize(c._data());
  }
  setProductRate(state, n);
}

void matVecOpenBlas(benchmark::State& state, int n) {
  const CMatrix<float> a = randomMatrix<float>(n, n, 1);
  const CMatrix<float> x = randomMatrix<float>(n, 1, 2);
  CMatrix<float> y(n, 1, false);
  for (auto _ : state) {
    cblas_sgemv(CblasColMajor, CblasNoTrans, n, n, 1.0f, a._data(), n,
                x._data(), 1, 0.0f, y._data(), 1);
    benchmark::DoNotOptimize(y._data());
  }
  setMatVecRate(state, n);
}
#endif

#if VECML_BENCH_HAVE_EIGEN
template <typename T>
using EigenMatrix = Eigen::Matrix<T, Eigen::Dynamic, Eigen::Dynamic>;

// Eigen keeps its own (aligned) storage; the elements are copied in.
template <typename T>
EigenMatrix<T> toEigen(const CMatrix<T>& m) {
  return Eigen::Map<const EigenMatrix<T>>(m._data(), m.rows(), m.columns());
}

template <typename T>
void productEigen(benchmark::State& state, int n) {
  const EigenMatrix<T> a = toEigen(randomMatrix<T>(n, n, 1));
  const EigenMatrix<T> b = toEigen(randomMatrix<T>(n, n, 2));
  EigenMatrix<T> c(n, n);
  for (auto _ : state) {
    c.noalias() = a * b;
    benchmark::DoNotOptimize(c.data());
  }
  setProductRate(state, n);
}

void matVecEigen(benchmark::State& state, int n) {
  const EigenMatrix<float> a = toEigen(randomMatrix<float>(n, n, 1));
  const Eigen::VectorXf x = toEigen(randomMatrix<float>(n, 1, 2));
  Eigen::VectorXf y(n);
  for (auto _ : state) {
    y.noalias() = a * x;
    benchmark::DoNotOptimize(y.data());
  }
  setMatVecRate(state, n);
}
#endif

template <typename Function>
void add(const std::string& group, const char* impl, int n, Function run) {
  benchmark::RegisterBenchmark(
      (group + "/" + impl + "/" + std::to_string(n)).c_str(),
      [run, n](benchmark::State& state) { run(state, n); });
}

template <typename T>
void registerProducts() {
  const std::string group = std::string("matmul_") + typeName<T>();
  for (int n : kProductSizes) {
    add(group, "vecml", n, productVecml<T>);
#if VECML_BENCH_HAVE_OPENBLAS
    add(group, "openblas", n, productOpenBlas<T>);
#endif
#if VECML_BENCH_HAVE_EIGEN
    add(group, "eigen", n, productEigen<T>);
#endif
  }
}

void registerMatVec() {
  add("matvec_float", "vecml", kMatVecSize, matVecVecml);
#if VECML_BENCH_HAVE_OPENBLAS
  add("matvec_float", "openblas", kMatVecSize, matVecOpenBlas);
#endif
#if VECML_BENCH_HAVE_EIGEN
  add("matvec_float", "eigen", kMatVecSize, matVecEigen);
#endif
}

// Registered before main runs, like the BENCHMARK macros.
[[maybe_unused]] const bool kRegistered = [] {
  registerProducts<float>();
  registerProducts<double>();
  registerMatVec();
  return true;
}();

}  // namespace
