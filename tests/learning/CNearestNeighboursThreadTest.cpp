// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "support/DatasetBuilder.h"
#include "support/ThreadCounts.h"
#include "vecml/learning/CNearestNeighbours.h"
#include "vecml/learning/detail/RandomSource.h"

namespace {

// Enough elements per input that the larger sizes are split over threads.
constexpr int kInputDimension = 24;
constexpr std::uint64_t kSeed = 20;

// \p items random inputs in [0, 1), outputs (a random value, a label 0..2).
template <typename T>
CDataset<T> randomSamples(int items) {
  vecml::detail::RandomSource random(kSeed);
  test_support::Rows<T> inputs(items), outputs(items);
  for (int n = 0; n < items; ++n) {
    for (int i = 0; i < kInputDimension; ++i)
      inputs[n].push_back(static_cast<T>(random.uniform()));
    outputs[n] = {static_cast<T>(random.uniform()),
                  static_cast<T>(random.index(3))};
  }
  return test_support::denseDataset(inputs, outputs);
}

template <typename T>
class CNearestNeighboursThreadTest : public testing::Test {};
using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CNearestNeighboursThreadTest, ElementTypes);

TYPED_TEST(CNearestNeighboursThreadTest, LeaveOneOutIsTheSameOnEveryCount) {
  using T = TypeParam;
  CEuclideanMetric<T> metric;
  for (int items : awkwardSizes()) {
    if (items < 2) continue;  // leave-one-out needs more items than k
    CNearestNeighbours<T> knn(metric, items > 3 ? 3 : 1);
    ASSERT_TRUE(knn.train(randomSamples<T>(items)));
    expectSameBytesOnEveryThreadCount([&] {
      double results[2] = {-1, -1};
      EXPECT_TRUE(knn.leaveOneOutAccuracy(results[0]));
      EXPECT_TRUE(knn.leaveOneOutError(results[1]));
      return bytesOf(results, 2);
    });
  }
}

}  // namespace
