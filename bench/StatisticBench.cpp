// SPDX-License-Identifier: MIT
// Speed of the dataset statistics on 100,000 items of 64 float features: the
// covariance matrix next to the matrix-product formulation a user would pick
// otherwise (centre the data, then a symmetric rank-k update divided by n,
// all in float, the centring counted) and next to the stated running-average
// arithmetic written by hand over one flat array; the per-feature statistic
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
struct StatisticData {
  StatisticData() : rows(std::size_t(kItems) * kFeatures), dataset(kItems) {
    std::mt19937 random(1);
    std::uniform_real_distribution<float> uniform(-1, 1);
    for (float& x : rows) x = uniform(random);
    CDenseVector<float> output(1);
    for (int n = 0; n < kItems; ++n) {
      output[0] = static_cast<float>(n % (kMapSide * kMapSide));
      const CDenseVector<float> input(kFeatures,
                                      rows.data() + std::size_t(n) * kFeatures);
      dataset.appendItem(CDatasetItem<float>(input, output, n));
    }
  }

  static StatisticData& get() {
    static StatisticData data;
    return data;
  }

  std::vector<float> rows;
  CDataset<float> dataset;
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

void covarianceVecml(benchmark::State& state) {
  const CDataset<float>& data = StatisticData::get().dataset;
  const CDatasetStatistic<float> statistic;
  timeItems(state, kItems, [&] {
    const CMatrix<float> c = statistic.covarianceMatrix(data);
    benchmark::DoNotOptimize(c._data());
  });
}

// The stated running average (weights and update in double, narrowed to
// float after every item) over the flat rows, lower triangle only, compiled
// for this machine: what the arithmetic costs without a dataset around it.
void covarianceHand(benchmark::State& state) {
  const std::vector<float>& rows = StatisticData::get().rows;
  constexpr int d = kFeatures;
  std::vector<float> mean(d);
  std::vector<float> centred(d);
  std::vector<float> c(std::size_t(d) * d);
  timeItems(state, kItems, [&] {
    std::fill(mean.begin(), mean.end(), 0.0f);
    std::fill(c.begin(), c.end(), 0.0f);
    for (int n = 0; n < kItems; ++n) {
      const float k = static_cast<float>(n + 1);
      const float keep = static_cast<float>(1.0 - 1.0 / k);
      const float step = 1.0f / k;
      const float* x = rows.data() + std::size_t(n) * d;
      for (int i = 0; i < d; ++i) mean[i] = mean[i] * keep + x[i] * step;
    }
    for (int n = 0; n < kItems; ++n) {
      const double k = n + 1;
      const double keep = 1.0 - 1.0 / k;
      const double step = 1.0 / k;
      const float* x = rows.data() + std::size_t(n) * d;
      for (int i = 0; i < d; ++i) centred[i] = x[i] - mean[i];
      for (int j = 0; j < d; ++j) {
        float* column = c.data() + std::size_t(j) * d;
        for (int i = j; i < d; ++i)
          column[i] = static_cast<float>(
              column[i] * keep + double(centred[i] * centred[j]) * step);
      }
    }
    benchmark::DoNotOptimize(c.data());
  });
}

// The column means and the centred copy of the flat rows, in float.
void centre(const std::vector<float>& rows, std::vector<float>& centred) {
  constexpr int d = kFeatures;
  std::vector<float> mean(d, 0.0f);
  for (int n = 0; n < kItems; ++n)
    for (int i = 0; i < d; ++i) mean[i] += rows[std::size_t(n) * d + i];
  for (float& m : mean) m /= kItems;
  for (int n = 0; n < kItems; ++n)
    for (int i = 0; i < d; ++i)
      centred[std::size_t(n) * d + i] = rows[std::size_t(n) * d + i] - mean[i];
}

#if VECML_BENCH_HAVE_OPENBLAS
// Centring, then cblas_ssyrk: C = X^T X / n on the lower triangle, float.
void covarianceOpenblas(benchmark::State& state) {
  const std::vector<float>& rows = StatisticData::get().rows;
  std::vector<float> centred(rows.size());
  std::vector<float> c(std::size_t(kFeatures) * kFeatures);
  timeItems(state, kItems, [&] {
    centre(rows, centred);
    // The row-major n x d centred data is the column-major d x n matrix A;
    // A A^T is the d x d scatter.
    cblas_ssyrk(CblasColMajor, CblasLower, CblasNoTrans, kFeatures, kItems,
                1.0f / kItems, centred.data(), kFeatures, 0.0f, c.data(),
                kFeatures);
    benchmark::DoNotOptimize(c.data());
  });
}
#endif

#if VECML_BENCH_HAVE_EIGEN
// Centring with Eigen, then selfadjointView().rankUpdate() divided by n.
void covarianceEigen(benchmark::State& state) {
  using Rows = Eigen::Map<const Eigen::Matrix<float, Eigen::Dynamic,
                                              Eigen::Dynamic, Eigen::RowMajor>>;
  const Rows rows(StatisticData::get().rows.data(), kItems, kFeatures);
  Eigen::MatrixXf centred(kItems, kFeatures);
  Eigen::MatrixXf c(kFeatures, kFeatures);
  timeItems(state, kItems, [&] {
    centred = rows.rowwise() - rows.colwise().mean();
    c.setZero();
    c.selfadjointView<Eigen::Lower>().rankUpdate(centred.transpose(),
                                                 1.0f / kItems);
    benchmark::DoNotOptimize(c.data());
  });
}
#endif

void statisticVecml(benchmark::State& state) {
  CDatasetStatistic<float> statistic(&StatisticData::get().dataset);
  CDenseVector<float> mean, stdDev, variance;
  timeItems(state, kItems, [&] {
    statistic.statistic(mean, stdDev, variance);
    benchmark::DoNotOptimize(variance._data());
  });
}

void dumpStatisticVecml(benchmark::State& state) {
  CDatasetStatistic<float> statistic(&StatisticData::get().dataset);
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
  CDatasetStatistic<float> statistic(&StatisticData::get().dataset);
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

[[maybe_unused]] const bool registered = [] {
  registerSize("covariance_float/vecml", covarianceVecml, kFeatures);
  registerSize("covariance_float/hand", covarianceHand, kFeatures);
#if VECML_BENCH_HAVE_OPENBLAS
  registerSize("covariance_float/openblas", covarianceOpenblas, kFeatures);
#endif
#if VECML_BENCH_HAVE_EIGEN
  registerSize("covariance_float/eigen", covarianceEigen, kFeatures);
#endif
  registerSize("statistic_float/vecml", statisticVecml, kFeatures);
  registerSize("dumpstatistic_float/vecml", dumpStatisticVecml, kFeatures);
  registerSize("spearman_float/vecml", spearmanVecml, kSpearmanItems);
  return true;
}();

}  // namespace
