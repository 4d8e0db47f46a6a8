// SPDX-License-Identifier: MIT
// zscore on random data against mean and population deviation computed
// independently in double precision.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "dataset/DatasetAlgorithmTestSupport.h"
#include "vecml/dataset/CDatasetAlgorithm.h"

namespace {

using algorithm_test::datasetOf;
using algorithm_test::inputOf;

template <typename T>
class CDatasetAlgorithmZScoreTest : public testing::Test {};
using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CDatasetAlgorithmZScoreTest, ElementTypes);

// Relative tolerance of the library's single pass in T against the
// reference: float sums of a few hundred terms lose a few ulps per term.
template <typename T>
constexpr double kTolerance = 1e-4;
template <>
constexpr double kTolerance<double> = 1e-12;

constexpr unsigned kSeed = 20240611;
constexpr int kItems = 300;
constexpr int kDimension = 5;

// Component k is offset_k + scale_k * u with u uniform in [-1, 1), so the
// components differ in mean and spread.
template <typename T>
std::vector<std::vector<T>> randomInputs() {
  std::mt19937 generator(kSeed);
  std::uniform_real_distribution<double> uniform(-1.0, 1.0);
  const double offsets[kDimension] = {0.0, 3.5, -4.25, 1.0, 5.0};
  const double scales[kDimension] = {1.0, 0.5, 2.0, 3.0, 0.75};
  std::vector<std::vector<T>> inputs(kItems, std::vector<T>(kDimension));
  for (auto& x : inputs)
    for (int k = 0; k < kDimension; ++k)
      x[k] = static_cast<T>(offsets[k] + scales[k] * uniform(generator));
  return inputs;
}

TYPED_TEST(CDatasetAlgorithmZScoreTest, MatchesAnIndependentReference) {
  using T = TypeParam;
  SCOPED_TRACE("seed " + std::to_string(kSeed));
  const auto inputs = randomInputs<T>();
  CDenseVector<T> mean, sd;
  const auto standard = zscore(datasetOf<T>(inputs), mean, sd);
  ASSERT_EQ(standard.items(), kItems);
  ASSERT_EQ(mean.dimension(), kDimension);
  ASSERT_EQ(sd.dimension(), kDimension);
  const double tolerance = kTolerance<T>;
  for (int k = 0; k < kDimension; ++k) {
    // Two passes in double over the same T values.
    double sum = 0;
    for (const auto& x : inputs) sum += x[k];
    const double referenceMean = sum / kItems;
    double squares = 0;
    for (const auto& x : inputs)
      squares += (x[k] - referenceMean) * (x[k] - referenceMean);
    const double referenceSd = std::sqrt(squares / kItems);

    EXPECT_NEAR(mean[k], referenceMean,
                tolerance * (std::fabs(referenceMean) + referenceSd))
        << k;
    EXPECT_NEAR(sd[k], referenceSd, tolerance * referenceSd) << k;
    for (int i = 0; i < kItems; ++i) {
      const double z = (inputs[i][k] - referenceMean) / referenceSd;
      EXPECT_NEAR(inputOf(standard, i)[k], z, tolerance * (1 + std::fabs(z)))
          << i << ' ' << k;
    }
  }
}

TYPED_TEST(CDatasetAlgorithmZScoreTest, StandardisedDataHaveMeanZeroAndSdOne) {
  using T = TypeParam;
  CDenseVector<T> mean, sd, standardMean, standardSd;
  const auto standard = zscore(datasetOf<T>(randomInputs<T>()), mean, sd);
  zscore(standard, standardMean, standardSd);
  for (int k = 0; k < kDimension; ++k) {
    EXPECT_NEAR(standardMean[k], 0.0, kTolerance<T>) << k;
    EXPECT_NEAR(standardSd[k], 1.0, kTolerance<T>) << k;
  }
}

}  // namespace
