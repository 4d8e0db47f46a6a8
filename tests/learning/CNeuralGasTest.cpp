// SPDX-License-Identifier: MIT
#include "vecml/learning/CNeuralGas.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <set>
#include <vector>

#include "learning/CClusterAlgorithmTestSupport.h"
#include "learning/OnlineLearnerTestSupport.h"

namespace {

template <typename T>
class CNeuralGasTest : public testing::Test {};
using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CNeuralGasTest, ElementTypes);

TYPED_TEST(CNeuralGasTest, NamesItself) {
  CNeuralGas<TypeParam> gas(2);
  EXPECT_EQ(gas.className(), "CNeuralGas");
  EXPECT_TRUE(gas.isA("CNeuralGas"));
  EXPECT_FALSE(gas.isA("CObject"));
  EXPECT_EQ(gas.prototypes(), 2);
  EXPECT_EQ(gas.seed(), 1u);
  EXPECT_EQ(gas.metric()->className(), "CEuclideanMetric");
  EXPECT_EQ(gas.referenceVectors().items(), 0);
}

TYPED_TEST(CNeuralGasTest, DecaysRunFromStartToEnd) {
  CNeuralGas<TypeParam> gas(6);
  EXPECT_EQ(gas.stepSizeAt(0, 101), 0.5);
  EXPECT_DOUBLE_EQ(gas.stepSizeAt(100, 101), 0.005);
  EXPECT_DOUBLE_EQ(gas.stepSizeAt(50, 101), 0.5 * std::pow(0.01, 0.5));
  EXPECT_EQ(gas.rangeAt(0, 101), 3.0);
  EXPECT_DOUBLE_EQ(gas.rangeAt(100, 101), 0.01);
  // A run of one step stays at the start values.
  EXPECT_EQ(gas.stepSizeAt(0, 1), 0.5);
  EXPECT_EQ(gas.rangeAt(0, 1), 3.0);
  gas.setStepSizes(0.8, 0.2);
  gas.setRanges(2.0, 0.5);
  EXPECT_EQ(gas.stepSizeAt(0, 3), 0.8);
  EXPECT_DOUBLE_EQ(gas.stepSizeAt(1, 3), 0.4);
  EXPECT_DOUBLE_EQ(gas.stepSizeAt(2, 3), 0.2);
  EXPECT_DOUBLE_EQ(gas.rangeAt(1, 3), 1.0);
}

TYPED_TEST(CNeuralGasTest, EachPrototypeMovesByItsRank) {
  using T = TypeParam;
  CNeuralGas<T> gas(3);
  gas.setStepSizes(0.5, 0.1);
  gas.setRanges(2.0, 0.1);
  // Distances 2, 1, 1 from the sample: ranks 2, 0 (first of the tie), 1.
  addPrototypes<T>(gas, {{2, 0}, {1, 0}, {-1, 0}});
  CDataset<T> sample;
  sample.appendItem(itemOf<T>({0, 0}));
  gas.train(sample, 1);

  const double rankStep[] = {0.5, 0.5 * std::exp(-1 / 2.0),
                             0.5 * std::exp(-2 / 2.0)};
  const int rankOf[] = {2, 0, 1};
  const T starts[] = {2, 1, -1};
  for (int k = 0; k < 3; ++k) {
    SCOPED_TRACE(k);
    CDenseVector<T> expected = denseOf<T>({starts[k], 0});
    CEuclideanMetric<T>().adaptVec(expected, denseOf<T>({0, 0}),
                                   static_cast<float>(rankStep[rankOf[k]]));
    EXPECT_EQ(gas.referenceVectors().item(k).inputComponent(0), expected[0]);
  }
}

TYPED_TEST(CNeuralGasTest, FindsOnePrototypePerBlob) {
  using T = TypeParam;
  const CDataset<T> data = threeBlobs<T>();
  CNeuralGas<T> gas(3, new CEuclideanMetric<T>(), 4);
  gas.train(data, 20);
  const std::vector<std::vector<T>> centres{{0, 0}, {10, 0}, {0, 10}};
  std::set<int> winners;
  for (const auto& centre : centres) {
    const CDenseVector<T> point(centre);
    winners.insert(gas.nearestNode(point));
    EXPECT_LT(gas.nearestNodeDistance(point), 0.5);
  }
  EXPECT_EQ(winners.size(), 3u);
}

TYPED_TEST(CNeuralGasTest, OnePrototypeSettlesNearTheMean) {
  using T = TypeParam;
  const CDataset<T> data = blobs<T>({{2, -1}}, 40, 0.5);
  CNeuralGas<T> gas(1);
  gas.train(data, 10);
  EXPECT_NEAR(gas.referenceVectors().item(0).inputComponent(0), 2, 0.3);
  EXPECT_NEAR(gas.referenceVectors().item(0).inputComponent(1), -1, 0.3);
}

template <typename T>
using CNeuralGasDeathTest = CNeuralGasTest<T>;
TYPED_TEST_SUITE(CNeuralGasDeathTest, ElementTypes);

TYPED_TEST(CNeuralGasDeathTest, RefusesNoPrototypes) {
  EXPECT_DEATH(CNeuralGas<TypeParam>(0), "ML_GEQ_CHK failed .*prototypes=0");
}

TYPED_TEST(CNeuralGasDeathTest, RefusesDecaysThatAreNotPositiveAndFinite) {
  CNeuralGas<TypeParam> gas(2);
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double infinity = std::numeric_limits<double>::infinity();
  EXPECT_DEATH(gas.setStepSizes(0.0, 0.1),
               "ML_EQ_CHK failed .*startPositiveAndFinite=0");
  EXPECT_DEATH(gas.setStepSizes(0.5, nan),
               "ML_EQ_CHK failed .*endPositiveAndFinite=0");
  EXPECT_DEATH(gas.setRanges(infinity, 1.0),
               "ML_EQ_CHK failed .*startPositiveAndFinite=0");
  EXPECT_DEATH(gas.setRanges(1.0, -1.0),
               "ML_EQ_CHK failed .*endPositiveAndFinite=0");
}

}  // namespace
