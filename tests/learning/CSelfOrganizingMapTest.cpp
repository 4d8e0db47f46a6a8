// SPDX-License-Identifier: MIT
#include "vecml/learning/CSelfOrganizingMap.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include "learning/CClusterAlgorithmTestSupport.h"
#include "learning/OnlineLearnerTestSupport.h"

namespace {

template <typename T>
class CSelfOrganizingMapTest : public testing::Test {};
using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CSelfOrganizingMapTest, ElementTypes);

// `count` points evenly spaced on the segment from (0, 0) to (1, 2).
template <typename T>
CDataset<T> pointsOnALine(int count) {
  CDataset<T> data;
  for (int i = 0; i < count; ++i) {
    const T t = T(i) / T(count - 1);
    data.appendItem(itemOf<T>({t, 2 * t}));
  }
  return data;
}

TYPED_TEST(CSelfOrganizingMapTest, NamesItself) {
  CSelfOrganizingMap<TypeParam> map(3, 4);
  EXPECT_EQ(map.className(), "CSelfOrganizingMap");
  EXPECT_TRUE(map.isA("CSelfOrganizingMap"));
  EXPECT_FALSE(map.isA("CObject"));
  EXPECT_EQ(map.rows(), 3);
  EXPECT_EQ(map.columns(), 4);
  EXPECT_EQ(map.units(), 12);
  EXPECT_EQ(map.seed(), 1u);
  EXPECT_EQ(map.metric()->className(), "CEuclideanMetric");
}

TYPED_TEST(CSelfOrganizingMapTest, UnitsAreNumberedRowByRow) {
  CSelfOrganizingMap<TypeParam> map(3, 4);
  EXPECT_EQ(map.unitIndex(0, 0), 0);
  EXPECT_EQ(map.unitIndex(1, 2), 6);
  EXPECT_EQ(map.unitIndex(2, 3), 11);
  EXPECT_EQ(map.unitRow(6), 1);
  EXPECT_EQ(map.unitColumn(6), 2);
  EXPECT_EQ(map.unitRow(11), 2);
  EXPECT_EQ(map.unitColumn(11), 3);
  EXPECT_DOUBLE_EQ(map.gridDistance(0, 11), std::sqrt(13.0));
  EXPECT_EQ(map.gridDistance(5, 5), 0.0);
}

TYPED_TEST(CSelfOrganizingMapTest, AdjacencyIsTheFourNeighbourhood) {
  CSelfOrganizingMap<TypeParam> map(3, 4);
  EXPECT_TRUE(map.adjacent(5, 6));  // same row
  EXPECT_TRUE(map.adjacent(5, 1));  // same column
  EXPECT_TRUE(map.adjacent(5, 9));
  EXPECT_FALSE(map.adjacent(5, 10));  // diagonal
  EXPECT_FALSE(map.adjacent(3, 4));   // end of one row, start of the next
  EXPECT_FALSE(map.adjacent(5, 5));
  EXPECT_FALSE(map.adjacent(4, 6));
}

TYPED_TEST(CSelfOrganizingMapTest, DecaysRunFromStartToEnd) {
  CSelfOrganizingMap<TypeParam> map(3, 8);
  EXPECT_EQ(map.learningRateAt(0, 11), 0.5);
  EXPECT_DOUBLE_EQ(map.learningRateAt(10, 11), 0.01);
  EXPECT_EQ(map.radiusAt(0, 11), 4.0);
  EXPECT_DOUBLE_EQ(map.radiusAt(10, 11), 0.5);
  EXPECT_DOUBLE_EQ(map.radiusAt(5, 11), 4.0 * std::pow(0.125, 0.5));
  EXPECT_EQ(map.radiusAt(0, 1), 4.0);
  map.setLearningRates(0.9, 0.1);
  map.setRadii(3.0, 1.0);
  EXPECT_EQ(map.learningRateAt(0, 5), 0.9);
  EXPECT_DOUBLE_EQ(map.learningRateAt(4, 5), 0.1);
  EXPECT_DOUBLE_EQ(map.radiusAt(4, 5), 1.0);
}

TYPED_TEST(CSelfOrganizingMapTest, EveryUnitMovesByItsGridNeighbourhood) {
  using T = TypeParam;
  CSelfOrganizingMap<T> map(1, 3);
  map.setLearningRates(0.5, 0.1);
  map.setRadii(1.5, 0.5);
  addPrototypes<T>(map, {{4}, {-2}, {1}});
  CDataset<T> sample;
  sample.appendItem(itemOf<T>({0}));
  map.train(sample, 1);
  // The winner is unit 2; units 1 and 0 lie 1 and 2 steps away.
  const T starts[] = {4, -2, 1};
  const double steps[] = {2, 1, 0};
  for (int unit = 0; unit < 3; ++unit) {
    SCOPED_TRACE(unit);
    const double eta =
        0.5 * std::exp(-steps[unit] * steps[unit] / (2 * 1.5 * 1.5));
    CDenseVector<T> expected = denseOf<T>({starts[unit]});
    CEuclideanMetric<T>().adaptVec(expected, denseOf<T>({0}),
                                   static_cast<float>(eta));
    EXPECT_EQ(map.referenceVectors().item(unit).inputComponent(0), expected[0]);
  }
}

TYPED_TEST(CSelfOrganizingMapTest, BestTwoUnitsKeepTheLowerIndexOnTies) {
  using T = TypeParam;
  CSelfOrganizingMap<T> map(2, 2);
  addPrototypes<T>(map, {{5}, {1}, {1}, {2}});
  EXPECT_EQ(map.bestTwoUnits(denseOf<T>({0})), std::make_pair(1, 2));
  EXPECT_EQ(map.bestTwoUnits(denseOf<T>({6})), std::make_pair(0, 3));
  EXPECT_EQ(map.bestTwoUnits(denseOf<T>({1.75})), std::make_pair(3, 1));
}

TYPED_TEST(CSelfOrganizingMapTest, NaNDistancesNeverComeAheadOfNumbers) {
  using T = TypeParam;
  CSelfOrganizingMap<T> map(1, 3);
  const T nan = std::numeric_limits<T>::quiet_NaN();
  addPrototypes<T>(map, {{3}, {nan}, {1}});
  EXPECT_EQ(map.bestTwoUnits(denseOf<T>({0})), std::make_pair(2, 0));
}

TYPED_TEST(CSelfOrganizingMapTest, TopographicErrorCountsUnitsApart) {
  using T = TypeParam;
  CSelfOrganizingMap<T> map(1, 3);
  addPrototypes<T>(map, {{0}, {10}, {1}});
  CDataset<T> data;
  data.appendItem(itemOf<T>({0.2}));  // best 0, second 2: two steps apart
  data.appendItem(itemOf<T>({9}));    // best 1, second 2: neighbours
  EXPECT_EQ(map.topographicError(data), T(0.5));
  EXPECT_TRUE(std::isnan(map.topographicError(CDataset<T>())));
}

TYPED_TEST(CSelfOrganizingMapTest, AOneUnitMapHasNoSecondUnit) {
  using T = TypeParam;
  const CDataset<T> data = blobs<T>({{1, 1}}, 20, 0.2);
  CSelfOrganizingMap<T> map(1, 1);
  map.train(data, 5);
  ASSERT_EQ(map.referenceVectors().items(), 1);
  EXPECT_EQ(map.bestTwoUnits(*data[0].inputVector()), std::make_pair(0, -1));
  EXPECT_EQ(map.topographicError(data), T(0));
  EXPECT_EQ(map.assignments(data), std::vector<int>(20, 0));
  EXPECT_NEAR(map.referenceVectors().item(0).inputComponent(0), 1, 0.2);
}

TYPED_TEST(CSelfOrganizingMapTest, ALineMapOrdersItselfAlongLinearData) {
  using T = TypeParam;
  const CDataset<T> data = pointsOnALine<T>(60);
  CSelfOrganizingMap<T> map(1, 6, new CEuclideanMetric<T>(), 2);
  map.train(data, 40);
  EXPECT_EQ(map.topographicError(data), T(0));
  // The prototypes follow the line in one direction.
  std::vector<T> along;
  for (int unit = 0; unit < 6; ++unit)
    along.push_back(map.referenceVectors().item(unit).inputComponent(0));
  const bool rising = along[5] > along[0];
  for (int unit = 1; unit < 6; ++unit) {
    EXPECT_EQ(along[unit] > along[unit - 1], rising) << unit;
  }
  // Six equal cells of a segment of length sqrt(5) give about 0.012.
  EXPECT_LT(map.quantizationError(data), 0.03);
}

TYPED_TEST(CSelfOrganizingMapTest, AColumnMapWorksLikeARowMap) {
  using T = TypeParam;
  const CDataset<T> data = pointsOnALine<T>(40);
  CSelfOrganizingMap<T> map(5, 1);
  map.train(data, 30);
  EXPECT_EQ(map.topographicError(data), T(0));
}

template <typename T>
using CSelfOrganizingMapDeathTest = CSelfOrganizingMapTest<T>;
TYPED_TEST_SUITE(CSelfOrganizingMapDeathTest, ElementTypes);

TYPED_TEST(CSelfOrganizingMapDeathTest, RefusesEmptyOrOversizedGrids) {
  using Map = CSelfOrganizingMap<TypeParam>;
  EXPECT_DEATH(Map(0, 3), "ML_GEQ_CHK failed .*rows=0");
  EXPECT_DEATH(Map(3, 0), "ML_GEQ_CHK failed .*columns=0");
  EXPECT_DEATH(Map(65536, 65536), "ML_LEQ_CHK failed .*units");
}

TYPED_TEST(CSelfOrganizingMapDeathTest, RefusesUnitsOffTheGrid) {
  CSelfOrganizingMap<TypeParam> map(2, 3);
  EXPECT_DEATH(map.unitRow(-1), "ML_GEQ_CHK failed .*unit=-1");
  EXPECT_DEATH(map.unitColumn(6), "ML_LS_CHK failed .*unit=6");
  EXPECT_DEATH(map.unitIndex(2, 0), "ML_LS_CHK failed .*row=2");
  EXPECT_DEATH(map.unitIndex(0, -1), "ML_GEQ_CHK failed .*column=-1");
}

TYPED_TEST(CSelfOrganizingMapDeathTest, RefusesDecaysThatAreNotPositive) {
  CSelfOrganizingMap<TypeParam> map(2, 3);
  EXPECT_DEATH(map.setLearningRates(-0.5, 0.1),
               "ML_EQ_CHK failed .*startPositiveAndFinite=0");
  EXPECT_DEATH(map.setRadii(2.0, 0.0),
               "ML_EQ_CHK failed .*endPositiveAndFinite=0");
}

}  // namespace
