// SPDX-License-Identifier: MIT
// Speed of the learning algorithms against scikit-learn: Lloyd k-means on
// 100,000 float items of 16 features, 64 clusters, 20 iterations from fixed
// centres (the first 64 items); principal components of 100,000 float items
// of 64 features. bench/sklearn_peers.py times scikit-learn on the same
// data, which both sides generate from one formula, and the same centres.
//
// With VECML_BENCH_KMEANS_LABELS set, the benchmark writes its final
// assignment and centres next to it, for the peer script's check.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "vecml/dataset/CDataset.h"
#include "vecml/dataset/CDatasetItem.h"
#include "vecml/learning/CKMeans.h"
#include "vecml/learning/CPrincipalComponents.h"
#include "vecml/vector/CDenseVector.h"

namespace {

constexpr int kItems = 100000;
constexpr int kFeatures = 16;
constexpr int kClusters = 64;
constexpr int kIterations = 20;

// Element n of the row-major data: a SplitMix64 value of n mapped to
// [-1, 1) in double and rounded to float (sklearn_peers.py repeats it).
float dataElement(std::uint64_t n) {
  std::uint64_t z = n + 0x9e3779b97f4a7c15u;
  z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9u;
  z = (z ^ (z >> 27)) * 0x94d049bb133111ebu;
  z ^= z >> 31;
  return float(double(z >> 11) * 0x1.0p-53 * 2.0 - 1.0);
}

// The first \p items items of \p features features of the row-major data.
CDataset<float> benchData(int items, int features) {
  CDataset<float> data(items);
  CDenseVector<float> input(features);
  const CDenseVector<float> output(1);
  for (int j = 0; j < items; ++j) {
    for (int i = 0; i < features; ++i)
      input[i] = dataElement(std::uint64_t(j) * features + std::uint64_t(i));
    data.appendItem(CDatasetItem<float>(input, output));
  }
  return data;
}

struct KMeansInput {
  CDataset<float> data = benchData(kItems, kFeatures);
  CDataset<float> centres = benchData(kClusters, kFeatures);
};

// Built once, outside every timing loop.
const KMeansInput& kmeansInput() {
  static const KMeansInput input;
  return input;
}

constexpr int kPcaFeatures = 64;

void pcaVecml(benchmark::State& state) {
  static const CDataset<float> data = benchData(kItems, kPcaFeatures);
  for (auto _ : state) {
    CPrincipalComponents<float> pca;
    if (!pca.train(data)) state.SkipWithError("train");
    benchmark::DoNotOptimize(pca.explainedVariance());
  }
}

// Writes the final assignment to VECML_BENCH_KMEANS_LABELS and the final
// centres (comma-separated hexadecimal floats) to the same name with
// ".centres" appended.
void writeResult(const CKMeans<float>& kmeans, const CDataset<float>& data) {
  const char* path = std::getenv("VECML_BENCH_KMEANS_LABELS");
  if (path == nullptr) return;
  std::ofstream labels(path);
  for (const int label : kmeans.assignments(data)) labels << label << '\n';
  std::ofstream centres(std::string(path) + ".centres");
  char text[32];
  for (int c = 0; c < kmeans.referenceVectors().items(); ++c) {
    const CVector<float>& centre = *kmeans.referenceVectors()[c].inputVector();
    for (int i = 0; i < centre.dimension(); ++i) {
      std::snprintf(text, sizeof text, "%a", double(centre[i]));
      centres << (i == 0 ? "" : ",") << text;
    }
    centres << '\n';
  }
}

void kmeansVecml(benchmark::State& state) {
  const KMeansInput& input = kmeansInput();
  CKMeans<float> kmeans(kClusters);
  for (auto _ : state) {
    kmeans.setCentres(input.centres);
    if (!kmeans.trainBatch(input.data, kIterations))
      state.SkipWithError("trainBatch");
  }
  state.counters["lloyd_iterations"] = kmeans.iterations();
  writeResult(kmeans, input.data);
}

[[maybe_unused]] const bool registered = [] {
  benchmark::RegisterBenchmark("kmeans_float/vecml/100000", kmeansVecml)
      ->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("pca_float/vecml/100000", pcaVecml)
      ->Unit(benchmark::kMillisecond);
  return true;
}();

}  // namespace
