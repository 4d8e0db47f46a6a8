// Speed of the dataset statistics on 100,000 items of 64 float features:
// the covariance matrix, the per-feature statistic, and the printed table
// (with standard output sent to /dev/null while it is timed).
#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <random>

#include "vecml/dataset/CDatasetStatistic.h"

namespace {

constexpr int kItems = 100000;
constexpr int kFeatures = 64;

const CDataset<float>& randomDataset() {
  static const CDataset<float> data = [] {
    std::mt19937 random(1);
    std::uniform_real_distribution<float> uniform(-1, 1);
    CDataset<float> result(kItems, 1000);
    CDenseVector<float> input(kFeatures);
    const CDenseVector<float> output(1);
    for (int n = 0; n < kItems; ++n) {
      for (float& x : input) x = uniform(random);
      result.appendItem(CDatasetItem<float>(input, output, n));
    }
    return result;
  }();
  return data;
}

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

void covariance(benchmark::State& state) {
  const CDataset<float>& data = randomDataset();
  const CDatasetStatistic<float> statistic;
  for (auto _ : state) {
    CMatrix<float> c = statistic.covarianceMatrix(data);
    benchmark::DoNotOptimize(c._data());
  }
  state.SetItemsProcessed(state.iterations() * kItems);
}

void perFeatureStatistic(benchmark::State& state) {
  CDataset<float> data = randomDataset();
  const CDatasetStatistic<float> statistic(&data);
  CDenseVector<float> mean, stdDev, variance;
  for (auto _ : state) {
    statistic.statistic(mean, stdDev, variance);
    benchmark::DoNotOptimize(variance._data());
  }
  state.SetItemsProcessed(state.iterations() * kItems);
}

void dumpStatistic(benchmark::State& state) {
  CDataset<float> data = randomDataset();
  const CDatasetStatistic<float> statistic(&data);
  const SilencedStdout silenced;
  for (auto _ : state) statistic.dumpStatistic();
  state.SetItemsProcessed(state.iterations() * kItems);
}

BENCHMARK(covariance)->Unit(benchmark::kMillisecond);
BENCHMARK(perFeatureStatistic)->Unit(benchmark::kMillisecond);
BENCHMARK(dumpStatistic)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
