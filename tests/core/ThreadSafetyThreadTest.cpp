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

// The bytes of what the operations give on one dataset and one pair of
// matrices: covariance, best match of the first item's input, and the
// product.
std::string results(const CDataset<float>& data, const CMatrix<float>& a,
                    const CMatrix<float>& b) {
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

TEST(ThreadSafetyThreadTest, DistinctObjectsOnDistinctThreads) {
  std::vector<std::string> alone(kCallers);
  for (int caller = 0; caller < kCallers; ++caller)
    alone[caller] =
        results(randomDataset(300, 40, caller), randomMatrix(70, 90, caller),
                randomMatrix(90, 50, caller + 10));
  std::vector<std::string> together(kCallers);
  std::vector<std::thread> callers;
  for (int caller = 0; caller < kCallers; ++caller)
    callers.emplace_back([&together, caller] {
      together[caller] =
          results(randomDataset(300, 40, caller), randomMatrix(70, 90, caller),
                  randomMatrix(90, 50, caller + 10));
    });
  for (std::thread& caller : callers) caller.join();
  EXPECT_EQ(together, alone);
}

TEST(ThreadSafetyThreadTest, ConstUseOfOneObjectFromSeveralThreads) {
  const CDataset<float> data = randomDataset(300, 40, 1);
  const CMatrix<float> a = randomMatrix(70, 90, 2);
  const CMatrix<float> b = randomMatrix(90, 50, 3);
  const std::string alone = results(data, a, b);
  std::vector<std::string> together(kCallers);
  std::vector<std::thread> callers;
  for (int caller = 0; caller < kCallers; ++caller)
    callers.emplace_back(
        [&, caller] { together[caller] = results(data, a, b); });
  for (std::thread& caller : callers) caller.join();
  EXPECT_EQ(together, std::vector<std::string>(kCallers, alone));
}

TEST(ThreadSafetyThreadTest, ConstUseFromTheCallersParallelRegion) {
  const CDataset<float> data = randomDataset(300, 40, 1);
  const CMatrix<float> a = randomMatrix(70, 90, 2);
  const CMatrix<float> b = randomMatrix(90, 50, 3);
  const std::string alone = results(data, a, b);
  std::vector<std::string> together(kCallers);
#pragma omp parallel for num_threads(kCallers)
  for (int caller = 0; caller < kCallers; ++caller)
    together[caller] = results(data, a, b);
  EXPECT_EQ(together, std::vector<std::string>(kCallers, alone));
}

}  // namespace
