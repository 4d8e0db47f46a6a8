// SPDX-License-Identifier: MIT
#include "vecml/learning/CNearestNeighbours.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "support/DatasetBuilder.h"
#include "vecml/vector/CSparseVector.h"

namespace {

using test_support::denseDataset;
using testing::ElementsAre;
using testing::HasSubstr;

template <typename T>
CDenseVector<T> vec(std::vector<T> values) {
  return CDenseVector<T>(values);
}

// Points on a line with the given labels (output element 0).
template <typename T>
CDataset<T> labelledLine(const std::vector<T>& positions,
                         const std::vector<T>& labels) {
  test_support::Rows<T> inputs, outputs;
  for (std::size_t n = 0; n < positions.size(); ++n) {
    inputs.push_back({positions[n]});
    outputs.push_back({labels[n]});
  }
  return denseDataset(inputs, outputs);
}

template <typename T>
class CNearestNeighboursTest : public testing::Test {
 protected:
  CEuclideanMetric<T> metric;
};
using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CNearestNeighboursTest, ElementTypes);

TYPED_TEST(CNearestNeighboursTest, NamesItselfAndKeepsItsSettings) {
  using T = TypeParam;
  CNearestNeighbours<T> knn(this->metric, 3);
  EXPECT_EQ(knn.className(), "CNearestNeighbours");
  EXPECT_TRUE(knn.isA("CNearestNeighbours"));
  EXPECT_FALSE(knn.isA("CObject"));
  EXPECT_EQ(knn.k(), 3);
  EXPECT_EQ(&knn.metric(), &this->metric);
  EXPECT_EQ(knn.samples().items(), 0);
  knn.setK(1);
  EXPECT_EQ(knn.k(), 1);
  EXPECT_EQ(CNearestNeighbours<T>(this->metric).k(), 1);
}

TYPED_TEST(CNearestNeighboursTest, TrainCopiesTheSamples) {
  using T = TypeParam;
  CNearestNeighbours<T> knn(this->metric);
  {
    CDataset<T> data = labelledLine<T>({T(0), T(1)}, {T(0), T(1)});
    ASSERT_TRUE(knn.train(data));
  }
  EXPECT_EQ(knn.samples().items(), 2);
  EXPECT_EQ(knn.classify(vec<T>({T(0.9)})), T(1));
}

TYPED_TEST(CNearestNeighboursTest, RefusesUnusableSamplesAndKeepsTheOldOnes) {
  using T = TypeParam;
  CNearestNeighbours<T> knn(this->metric);
  ASSERT_TRUE(knn.train(labelledLine<T>({T(0)}, {T(4)})));
  const T nan = std::numeric_limits<T>::quiet_NaN();
  EXPECT_FALSE(knn.train(CDataset<T>()));
  EXPECT_FALSE(
      knn.train(denseDataset<T>({{T(0)}, {T(0), T(1)}}, {{T(0)}, {T(0)}})));
  EXPECT_FALSE(
      knn.train(denseDataset<T>({{T(0)}, {T(1)}}, {{T(0)}, {T(0), T(1)}})));
  EXPECT_FALSE(knn.train(denseDataset<T>({{T(0)}}, {{}})));
  EXPECT_FALSE(knn.train(denseDataset<T>({{}}, {{T(0)}})));
  EXPECT_FALSE(knn.train(labelledLine<T>({T(0), T(1)}, {T(0), nan})));
  CDataset<T> withoutVectors;
  withoutVectors.appendItem(CDatasetItem<T>(nullptr, nullptr));
  EXPECT_FALSE(knn.train(withoutVectors));
  EXPECT_EQ(knn.samples().items(), 1);
  EXPECT_EQ(knn.classify(vec<T>({T(9)})), T(4));
}

TYPED_TEST(CNearestNeighboursTest, NeighboursAreNearestFirstLowerIndexOnTies) {
  using T = TypeParam;
  CNearestNeighbours<T> knn(this->metric, 4);
  ASSERT_TRUE(knn.train(labelledLine<T>({T(5), T(1), T(3), T(-1), T(1)},
                                        {T(0), T(0), T(0), T(0), T(0)})));
  // Distances from 2: 3, 1, 1, 3, 1.
  EXPECT_THAT(knn.neighbours(vec<T>({T(2)})), ElementsAre(1, 2, 4, 0));
  knn.setK(10);  // more than there are: all of them
  EXPECT_THAT(knn.neighbours(vec<T>({T(2)})), ElementsAre(1, 2, 4, 0, 3));
}

TYPED_TEST(CNearestNeighboursTest, NanDistancesRankLast) {
  using T = TypeParam;
  const T nan = std::numeric_limits<T>::quiet_NaN();
  CNearestNeighbours<T> knn(this->metric, 3);
  ASSERT_TRUE(knn.train(
      labelledLine<T>({nan, T(7), nan, T(1)}, {T(0), T(0), T(0), T(0)})));
  EXPECT_THAT(knn.neighbours(vec<T>({T(0)})), ElementsAre(3, 1, 0));
}

TYPED_TEST(CNearestNeighboursTest, ReadsAnyVectorKind) {
  using T = TypeParam;
  CNearestNeighbours<T> knn(this->metric);
  ASSERT_TRUE(knn.train(labelledLine<T>({T(0), T(2)}, {T(0), T(1)})));
  const CSparseVector<T> query(vec<T>({T(1.5)}));
  EXPECT_EQ(knn.classify(query), T(1));
}

TYPED_TEST(CNearestNeighboursTest, TheLastOutputElementIsTheRoundedLabel) {
  using T = TypeParam;
  CNearestNeighbours<T> knn(this->metric);
  ASSERT_TRUE(knn.train(
      denseDataset<T>({{T(0)}, {T(10)}, {T(20)}},
                      {{T(9), T(2.5)}, {T(9), T(-0.5)}, {T(9), T(1.4)}})));
  EXPECT_EQ(knn.classify(vec<T>({T(0)})), T(3));
  EXPECT_EQ(knn.classify(vec<T>({T(10)})), T(-1));
  EXPECT_EQ(knn.classify(vec<T>({T(20)})), T(1));
}

TYPED_TEST(CNearestNeighboursTest, MajorityVoteWithTiesToTheNearerLabel) {
  using T = TypeParam;
  CNearestNeighbours<T> knn(this->metric, 3);
  ASSERT_TRUE(knn.train(labelledLine<T>({T(0), T(1), T(2), T(3), T(4)},
                                        {T(1), T(2), T(2), T(1), T(3)})));
  EXPECT_EQ(knn.classify(vec<T>({T(0)})), T(2));  // 1, 2, 2
  knn.setK(4);
  EXPECT_EQ(knn.classify(vec<T>({T(0)})), T(1));    // 1, 2, 2, 1: 1 is nearer
  EXPECT_EQ(knn.classify(vec<T>({T(3.9)})), T(2));  // 3, 1, 2, 2
}

TYPED_TEST(CNearestNeighboursTest, RegressionAveragesTheNeighboursOutputs) {
  using T = TypeParam;
  CNearestNeighbours<T> knn(this->metric, 2);
  ASSERT_TRUE(knn.train(
      denseDataset<T>({{T(0)}, {T(1)}, {T(5)}},
                      {{T(1), T(10)}, {T(2), T(20)}, {T(100), T(0)}})));
  const CDenseVector<T> mean = knn.regress(vec<T>({T(0.2)}));
  ASSERT_EQ(mean.dimension(), 2);
  EXPECT_EQ(mean[0], (T(1) + T(2)) / T(2));
  EXPECT_EQ(mean[1], T(15));
}

TYPED_TEST(CNearestNeighboursTest, LeaveOneOutLeavesOutExactlyTheItem) {
  using T = TypeParam;
  CNearestNeighbours<T> knn(this->metric);
  // Items 0 and 1 are equal points with different labels: each is
  // predicted from the other. Item 2 ties between them and takes item 0.
  ASSERT_TRUE(
      knn.train(labelledLine<T>({T(0), T(0), T(1)}, {T(0), T(1), T(0)})));
  double accuracy = -1;
  ASSERT_TRUE(knn.leaveOneOutAccuracy(accuracy));
  EXPECT_EQ(accuracy, 1.0 / 3.0);
}

TYPED_TEST(CNearestNeighboursTest, LeaveOneOutMeanSquaredError) {
  using T = TypeParam;
  CNearestNeighbours<T> knn(this->metric);
  ASSERT_TRUE(knn.train(denseDataset<T>(
      {{T(0)}, {T(1)}, {T(3)}}, {{T(1), T(0)}, {T(2), T(0)}, {T(4), T(2)}})));
  // Predictions: item 1's, item 0's, item 1's outputs. Squared errors
  // 1 + 0, 1 + 0, 4 + 4 over 3 items * 2 elements.
  double error = -1;
  ASSERT_TRUE(knn.leaveOneOutError(error));
  EXPECT_EQ(error, 10.0 / 6.0);
}

TYPED_TEST(CNearestNeighboursTest, LeaveOneOutNeedsMoreItemsThanK) {
  using T = TypeParam;
  CNearestNeighbours<T> knn(this->metric, 2);
  ASSERT_TRUE(knn.train(labelledLine<T>({T(0), T(1)}, {T(0), T(1)})));
  double result = -1;
  EXPECT_FALSE(knn.leaveOneOutAccuracy(result));
  EXPECT_FALSE(knn.leaveOneOutError(result));
  EXPECT_EQ(result, -1);
  knn.setK(1);
  EXPECT_TRUE(knn.leaveOneOutAccuracy(result));
  EXPECT_EQ(result, 0.0);
}

TYPED_TEST(CNearestNeighboursTest, UsesTheMetricItIsGiven) {
  using T = TypeParam;
  CMaximumMetric<T> maximum;
  CNearestNeighbours<T> knn(this->metric);
  ASSERT_TRUE(knn.train(
      denseDataset<T>({{T(0), T(3)}, {T(2), T(2)}}, {{T(0)}, {T(1)}})));
  // From the origin: Euclidean 3 vs sqrt(8); maximum 3 vs 2.
  EXPECT_EQ(knn.classify(vec<T>({T(0), T(0)})), T(1));
  knn.setMetric(maximum);
  EXPECT_EQ(knn.classify(vec<T>({T(0), T(0)})), T(1));
  EXPECT_EQ(&knn.metric(), &maximum);
  CManhattenMetric<T> manhatten;  // 3 vs 4
  knn.setMetric(manhatten);
  EXPECT_EQ(knn.classify(vec<T>({T(0), T(0)})), T(0));
}

template <typename T>
class CNearestNeighboursDeathTest : public testing::Test {
 protected:
  CEuclideanMetric<T> metric;
};
TYPED_TEST_SUITE(CNearestNeighboursDeathTest, ElementTypes);

TYPED_TEST(CNearestNeighboursDeathTest, KBelowOneAborts) {
  using T = TypeParam;
  EXPECT_DEATH(CNearestNeighbours<T>(this->metric, 0),
               HasSubstr("ML_GEQ_CHK failed in File: CNearestNeighbours.cpp"));
  CNearestNeighbours<T> knn(this->metric);
  EXPECT_DEATH(knn.setK(-2), HasSubstr("k=-2 < 1"));
}

TYPED_TEST(CNearestNeighboursDeathTest, QueriesBeforeTrainingAbort) {
  using T = TypeParam;
  CNearestNeighbours<T> knn(this->metric);
  EXPECT_DEATH(knn.classify(vec<T>({T(1)})),
               HasSubstr("sampleSet.items()=0 < 1"));
}

TYPED_TEST(CNearestNeighboursDeathTest, AQueryOfAnotherDimensionAborts) {
  using T = TypeParam;
  CNearestNeighbours<T> knn(this->metric);
  ASSERT_TRUE(knn.train(labelledLine<T>({T(0)}, {T(0)})));
  EXPECT_DEATH(knn.regress(vec<T>({T(1), T(2)})),
               HasSubstr("query.dimension()=2 != 1"));
}

}  // namespace
