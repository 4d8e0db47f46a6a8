// SPDX-License-Identifier: MIT
// The library's promise to callers on several threads: distinct objects may
// be used on distinct threads, and one object may be used through const
// members from several threads at once, also from inside the caller's own
// OpenMP parallel region (where the library's operations run serially).
// Every result equals the one computed alone. The ThreadSanitizer build
// runs these tests (label "threads").
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <thread>
#include <vector>

#include "support/DatasetBuilder.h"
#include "support/ThreadCounts.h"
#include "vecml/dataset/CDatasetStatistic.h"
#include "vecml/matrix/CMatrix.h"
#include "vecml/metric/CMetric.h"

namespace {

constexpr int kCallers = 3;

// A dataset of `items` random inputs of `features` elements, outputs the
// item number.
CDataset<float> randomDataset(int items, int features, unsigned seed) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<float> uniform(-1, 1);
  test_support::Rows<float> inputs(items, std::vector<float>(features));
  test_support::Rows<float> outputs(items, std::vector<float>(1));
  for (int n = 0; n < items; ++n) {
    for (float& x : inputs[n]) x = uniform(random);
    outputs[n][0] = static_cast<float>(n);
  }
  return test_support::denseDataset(inputs, outputs, 0, items, items);
}

CMatrix<float> randomMatrix(int rows, int columns, unsigned seed) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<float> uniform(-1, 1);
  CMatrix<float> m(rows, columns, false);
  for (int k = 0; k < rows * columns; ++k) m._data()[k] = uniform(random);
  return m;
}

// A dataset and two matrices made from one seed.
struct Operands {
  explicit Operands(unsigned seed)
      : data(randomDataset(300, 40, seed)),
        a(randomMatrix(70, 90, seed)),
        b(randomMatrix(90, 50, seed + 10)) {}

  // The bytes of what the operations give on them: covariance, best match
  // of the second item's input, and the product.
  std::string results() const {
    const CDatasetStatistic<float> statistic;
    const CMatrix<float> covariance = statistic.covarianceMatrix(data);
    const CEuclideanMetric<float> metric;
    const int best = data.getBestMatchIDInput(*data[1].inputVector(), metric);
    const CMatrix<float> product = a * b;
    return bytesOf(covariance._data(),
                   std::size_t(covariance.rows()) * covariance.columns()) +
           bytesOf(&best, 1) +
           bytesOf(product._data(),
                   std::size_t(product.rows()) * product.columns());
  }

  CDataset<float> data;
  CMatrix<float> a;
  CMatrix<float> b;
};

// Runs call(caller) on kCallers threads of its own at once.
template <typename Call>
void onCallerThreads(Call call) {
  std::vector<std::thread> callers;
  for (int caller = 0; caller < kCallers; ++caller)
    callers.emplace_back(call, caller);
  for (std::thread& caller : callers) caller.join();
}

TEST(ThreadSafetyThreadTest, DistinctObjectsOnDistinctThreads) {
  std::vector<std::string> alone(kCallers);
  for (int caller = 0; caller < kCallers; ++caller)
    alone[caller] = Operands(caller).results();
  std::vector<std::string> together(kCallers);
  onCallerThreads(
      [&](int caller) { together[caller] = Operands(caller).results(); });
  EXPECT_EQ(together, alone);
}

TEST(ThreadSafetyThreadTest, ConstUseOfOneObjectFromSeveralThreads) {
  const Operands shared(1);
  const std::string alone = shared.results();
  std::vector<std::string> together(kCallers);
  onCallerThreads([&](int caller) { together[caller] = shared.results(); });
  EXPECT_EQ(together, std::vector<std::string>(kCallers, alone));
}

TEST(ThreadSafetyThreadTest, ConstUseFromTheCallersParallelRegion) {
  const Operands shared(1);
  const std::string alone = shared.results();
  std::vector<std::string> together(kCallers);
#pragma omp parallel for num_threads(kCallers)
  for (int caller = 0; caller < kCallers; ++caller)
    together[caller] = shared.results();
  EXPECT_EQ(together, std::vector<std::string>(kCallers, alone));
}

}  // namespace
