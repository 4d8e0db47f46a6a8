// SPDX-License-Identifier: MIT
// Speed of the dataset statistics on 100,000 items of 64 features: the
// covariance matrix (float and double) next to the matrix-product
// formulation a user would pick otherwise (centre the data, then a symmetric
// rank-k update divided by n, in the element type, the centring counted)
// and next to the documented running-average arithmetic written by hand
// over one flat array; the per-feature statistic
// and the printed table (standard output sent to /dev/null while timed); and
// the rank correlation of 1,000 items against a map dataset in double.
#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <unistd.h>

#include <cstddef>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "vecml/dataset/CDataset.h"
#include "vecml/dataset/CDatasetItem.h"
#include "vecml/dataset/CDatasetStatistic.h"
#include "vecml/matrix/CMatrix.h"
#include "vecml/metric/CMetric.h"
#include "vecml/vector/CDenseVector.h"

#if VECML_BENCH_HAVE_OPENBLAS
#include <cblas.h>
#endif
#if VECML_BENCH_HAVE_EIGEN
// g++ 12 reports its own AVX-512 intrinsics as maybe uninitialised when it
// inlines them into Eigen's products for -march=native.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <Eigen/Core>
#endif

namespace {

constexpr int kItems = 100000;
constexpr int kFeatures = 64;
constexpr int kSpearmanItems = 1000;
constexpr int kMapSide = 10;

// kItems random inputs of kFeatures, as one flat row-major array and as a
// dataset (output element 0 = item number modulo the map size). Built once,
// outside every timing loop.
template <typename T>
struct StatisticData {
  StatisticData() : rows(std::size_t(kItems) * kFeatures), dataset(kItems) {
    std::mt19937 random(1);
    std::uniform_real_distribution<T> uniform(-1, 1);
    for (T& x : rows) x = uniform(random);
    CDenseVector<T> output(1);
    for (int n = 0; n < kItems; ++n) {
      output[0] = static_cast<T>(n % (kMapSide * kMapSide));
      const CDenseVector<T> input(kFeatures,
                                  rows.data() + std::size_t(n) * kFeatures);
      dataset.appendItem(CDatasetItem<T>(input, output, n));
    }
  }

  static StatisticData& get() {
    static StatisticData data;
    return data;
  }

  std::vector<T> rows;
  CDataset<T> dataset;
};

// Points standard output at /dev/null for the lifetime of the object.
class SilencedStdout {
 public:
  SilencedStdout() : saved(dup(STDOUT_FILENO)) {
    std::fflush(stdout);
    const int sink = open("/dev/null", O_WRONLY);
    dup2(sink, STDOUT_FILENO);
    close(sink);
  }
  ~SilencedStdout() {
    std::fflush(stdout);
    dup2(saved, STDOUT_FILENO);
    close(saved);
  }
  SilencedStdout(const SilencedStdout&) = delete;
  SilencedStdout& operator=(const SilencedStdout&) = delete;

 private:
  int saved;
};

// Runs `body` per iteration and reports items per second.
template <typename Body>
void timeItems(benchmark::State& state, int items, Body body) {
  for (auto _ : state) {
    body();
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * items);
}

template <typename T>
void covarianceVecml(benchmark::State& state) {
  const CDataset<T>& data = StatisticData<T>::get().dataset;
  const CDatasetStatistic<T> statistic;
  timeItems(state, kItems, [&] {
    const CMatrix<T> c = statistic.covarianceMatrix(data);
    benchmark::DoNotOptimize(c._data());
  });
}

// The stated running average (weights and update in double, narrowed to
// the element type after every item) over the flat rows, lower triangle
// only, compiled for this machine: what the arithmetic costs without a
// dataset around it.
template <typename T>
void covarianceHand(benchmark::State& state) {
  const std::vector<T>& rows = StatisticData<T>::get().rows;
  constexpr int d = kFeatures;
  std::vector<T> mean(d);
  std::vector<T> centred(d);
  std::vector<T> c(std::size_t(d) * d);
  timeItems(state, kItems, [&] {
    std::fill(mean.begin(), mean.end(), T(0));
    std::fill(c.begin(), c.end(), T(0));
    for (int n = 0; n < kItems; ++n) {
      const T k = static_cast<T>(n + 1);
      const T keep = static_cast<T>(1.0 - 1.0 / k);
      const T step = T(1) / k;
      const T* x = rows.data() + std::size_t(n) * d;
      for (int i = 0; i < d; ++i) mean[i] = mean[i] * keep + x[i] * step;
    }
    for (int n = 0; n < kItems; ++n) {
      const double k = n + 1;
      const double keep = 1.0 - 1.0 / k;
      const double step = 1.0 / k;
      const T* x = rows.data() + std::size_t(n) * d;
      for (int i = 0; i < d; ++i) centred[i] = x[i] - mean[i];
      for (int j = 0; j < d; ++j) {
        T* column = c.data() + std::size_t(j) * d;
        for (int i = j; i < d; ++i)
          column[i] = static_cast<T>(column[i] * keep +
                                     double(centred[i] * centred[j]) * step);
      }
    }
    benchmark::DoNotOptimize(c.data());
  });
}

// The column means and the centred copy of the flat rows, in T.
template <typename T>
void centre(const std::vector<T>& rows, std::vector<T>& centred) {
  constexpr int d = kFeatures;
  std::vector<T> mean(d, T(0));
  for (int n = 0; n < kItems; ++n)
    for (int i = 0; i < d; ++i) mean[i] += rows[std::size_t(n) * d + i];
  for (T& m : mean) m /= kItems;
  for (int n = 0; n < kItems; ++n)
    for (int i = 0; i < d; ++i)
      centred[std::size_t(n) * d + i] = rows[std::size_t(n) * d + i] - mean[i];
}

#if VECML_BENCH_HAVE_OPENBLAS
// C = A A^T / n on the lower triangle, where the row-major n x d centred
// data is the column-major d x n matrix A.
void syrk(const float* centred, float* c) {
  cblas_ssyrk(CblasColMajor, CblasLower, CblasNoTrans, kFeatures, kItems,
              1.0f / kItems, centred, kFeatures, 0.0f, c, kFeatures);
}

void syrk(const double* centred, double* c) {
  cblas_dsyrk(CblasColMajor, CblasLower, CblasNoTrans, kFeatures, kItems,
              1.0 / kItems, centred, kFeatures, 0.0, c, kFeatures);
}

// Centring, then the symmetric rank-k update.
template <typename T>
void covarianceOpenblas(benchmark::State& state) {
  const std::vector<T>& rows = StatisticData<T>::get().rows;
  std::vector<T> centred(rows.size());
  std::vector<T> c(std::size_t(kFeatures) * kFeatures);
  timeItems(state, kItems, [&] {
    centre(rows, centred);
    syrk(centred.data(), c.data());
    benchmark::DoNotOptimize(c.data());
  });
}
#endif

#if VECML_BENCH_HAVE_EIGEN
// Centring with Eigen, then selfadjointView().rankUpdate() divided by n.
template <typename T>
void covarianceEigen(benchmark::State& state) {
  using Matrix = Eigen::Matrix<T, Eigen::Dynamic, Eigen::Dynamic>;
  using Rows = Eigen::Map<
      const Eigen::Matrix<T, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>>;
  const Rows rows(StatisticData<T>::get().rows.data(), kItems, kFeatures);
  Matrix centred(kItems, kFeatures);
  Matrix c(kFeatures, kFeatures);
  timeItems(state, kItems, [&] {
    centred = rows.rowwise() - rows.colwise().mean();
    c.setZero();
    c.template selfadjointView<Eigen::Lower>().rankUpdate(centred.transpose(),
                                                          T(1) / kItems);
    benchmark::DoNotOptimize(c.data());
  });
}
#endif

void statisticVecml(benchmark::State& state) {
  CDatasetStatistic<float> statistic(&StatisticData<float>::get().dataset);
  CDenseVector<float> mean, stdDev, variance;
  timeItems(state, kItems, [&] {
    statistic.statistic(mean, stdDev, variance);
    benchmark::DoNotOptimize(variance._data());
  });
}

void dumpStatisticVecml(benchmark::State& state) {
  CDatasetStatistic<float> statistic(&StatisticData<float>::get().dataset);
  const SilencedStdout silenced;
  timeItems(state, kItems, [&] { statistic.dumpStatistic(); });
}

// A kMapSide x kMapSide grid of two-dimensional map nodes.
CDataset<double> mapGrid() {
  CDataset<double> map(kMapSide * kMapSide);
  const CDenseVector<double> output(1);
  CDenseVector<double> position(2);
  for (int node = 0; node < kMapSide * kMapSide; ++node) {
    position[0] = node % kMapSide;
    position[1] = node / kMapSide;
    map.appendItem(CDatasetItem<double>(position, output, node));
  }
  return map;
}

void spearmanVecml(benchmark::State& state) {
  CDatasetStatistic<float> statistic(&StatisticData<float>::get().dataset);
  const CDataset<double> map = mapGrid();
  const CEuclideanMetric<double> mapMetric;
  const CEuclideanMetric<float> inputMetric;
  const int count = static_cast<int>(state.range(0));
  const SilencedStdout silenced;
  timeItems(state, count, [&] {
    benchmark::DoNotOptimize(
        statistic.spearman(count, map, mapMetric, inputMetric));
  });
}

// Registers `function` as <name>/<size>.
void registerSize(const std::string& name, void (*function)(benchmark::State&),
                  int size) {
  benchmark::RegisterBenchmark(name.c_str(), function)
      ->Arg(size)
      ->Unit(benchmark::kMillisecond);
}

template <typename T>
void registerCovariance(const std::string& group) {
  registerSize(group + "/vecml", covarianceVecml<T>, kFeatures);
  registerSize(group + "/hand", covarianceHand<T>, kFeatures);
#if VECML_BENCH_HAVE_OPENBLAS
  registerSize(group + "/openblas", covarianceOpenblas<T>, kFeatures);
#endif
#if VECML_BENCH_HAVE_EIGEN
  registerSize(group + "/eigen", covarianceEigen<T>, kFeatures);
#endif
}

[[maybe_unused]] const bool registered = [] {
  registerCovariance<float>("covariance_float");
  registerCovariance<double>("covariance_double");
  registerSize("statistic_float/vecml", statisticVecml, kFeatures);
  registerSize("dumpstatistic_float/vecml", dumpStatisticVecml, kFeatures);
  registerSize("spearman_float/vecml", spearmanVecml, kSpearmanItems);
  return true;
}();

}  // namespace
