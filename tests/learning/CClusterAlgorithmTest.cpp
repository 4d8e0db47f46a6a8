// SPDX-License-Identifier: MIT
#include "vecml/learning/CClusterAlgorithm.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "learning/CClusterAlgorithmTestSupport.h"

namespace {

using testing::ElementsAre;
using testing::Pair;

template <typename T>
class CClusterAlgorithmTest : public testing::Test {
 protected:
  static constexpr T kNaN = std::numeric_limits<T>::quiet_NaN();

  std::vector<std::pair<T, T>> calls;
  CFixedPrototypes<T> algorithm{new CRecordingMetric<T>(&calls)};
};

using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CClusterAlgorithmTest, ElementTypes);

// A derived algorithm that names itself.
template <typename T>
class CNamedAlgorithm : public CFixedPrototypes<T> {
 public:
  using CFixedPrototypes<T>::CFixedPrototypes;
  std::string className() const override { return "CNamedAlgorithm"; }
};

TYPED_TEST(CClusterAlgorithmTest, StartsWithAnEmptyReferenceDataset) {
  const CDataset<TypeParam>& references = this->algorithm.referenceVectors();
  EXPECT_EQ(references.items(), 0);
  EXPECT_EQ(references.capacity(), 1000);
  EXPECT_EQ(references.growSize(), 1000);
  EXPECT_EQ(this->algorithm.verbose(), 3);
  EXPECT_EQ(this->algorithm.dataType(), CObject<TypeParam>().dataType());
}

TYPED_TEST(CClusterAlgorithmTest, StoresTheMetricItWasGiven) {
  auto* metric = new CEuclideanMetric<TypeParam>();
  CFixedPrototypes<TypeParam> algorithm(metric);
  EXPECT_EQ(algorithm.metric(), metric);
  const auto& constAlgorithm = algorithm;
  EXPECT_EQ(constAlgorithm.metric(), metric);
}

TYPED_TEST(CClusterAlgorithmTest,
           NameComesFromCObjectUntilADerivedClassSetsIt) {
  EXPECT_EQ(this->algorithm.className(), "CObject");
  EXPECT_TRUE(this->algorithm.isA("CObject"));
  EXPECT_FALSE(this->algorithm.isA("CClusterAlgorithm"));

  CNamedAlgorithm<TypeParam> named(new CMetric<TypeParam>());
  EXPECT_EQ(named.className(), "CNamedAlgorithm");
  EXPECT_TRUE(named.isA("CNamedAlgorithm"));
  EXPECT_FALSE(named.isA("CObject"));
}

TYPED_TEST(CClusterAlgorithmTest, TrainIsReachedThroughTheBase) {
  CDataset<TypeParam> data;
  CClusterAlgorithm<TypeParam>& base = this->algorithm;
  base.train(data, 7);
  EXPECT_EQ(this->algorithm.trainedOn, &data);
  EXPECT_EQ(this->algorithm.trainedEpochs, 7);
}

TYPED_TEST(CClusterAlgorithmTest, PrototypesAtDistancesTwoOneOne) {
  using T = TypeParam;
  addPrototypes<T>(this->algorithm, {{2}, {1}, {1}});
  const CDenseVector<T> x = denseOf<T>({0});
  EXPECT_EQ(this->algorithm.nearestNode(x), 1);
  EXPECT_EQ(this->algorithm.nearestNodeDistance(x), T(1));
}

TYPED_TEST(CClusterAlgorithmTest, OnePrototypeIsNodeZeroAfterOneMetricCall) {
  using T = TypeParam;
  addPrototypes<T>(this->algorithm, {{5}});
  EXPECT_EQ(this->algorithm.nearestNode(denseOf<T>({0})), 0);
  EXPECT_EQ(this->calls.size(), 1u);
  EXPECT_EQ(this->algorithm.nearestNodeDistance(denseOf<T>({0})), T(5));
  EXPECT_EQ(this->calls.size(), 2u);
}

TYPED_TEST(CClusterAlgorithmTest, MeasuresEachPrototypeOncePrototypeFirst) {
  using T = TypeParam;
  addPrototypes<T>(this->algorithm, {{4}, {3}, {6}});
  EXPECT_EQ(this->algorithm.nearestNode(denseOf<T>({9})), 1);
  EXPECT_THAT(this->calls, ElementsAre(Pair(T(4), T(9)), Pair(T(3), T(9)),
                                       Pair(T(6), T(9))));
  this->calls.clear();
  EXPECT_EQ(this->algorithm.nearestNodeDistance(denseOf<T>({8})), T(3));
  EXPECT_THAT(this->calls, ElementsAre(Pair(T(4), T(8)), Pair(T(3), T(8)),
                                       Pair(T(6), T(8))));
}

TYPED_TEST(CClusterAlgorithmTest, TiesKeepTheLowerIndex) {
  using T = TypeParam;
  addPrototypes<T>(this->algorithm, {{3}, {1}, {2}, {1}});
  EXPECT_EQ(this->algorithm.nearestNode(denseOf<T>({0})), 1);

  CFixedPrototypes<T> equal(new CRecordingMetric<T>(&this->calls));
  addPrototypes<T>(equal, {{1}, {1}});
  EXPECT_EQ(equal.nearestNode(denseOf<T>({0})), 0);
}

TYPED_TEST(CClusterAlgorithmTest, NaNDistanceNeverReplacesTheRunningValue) {
  using T = TypeParam;
  const T nan = this->kNaN;
  addPrototypes<T>(this->algorithm, {{2}, {nan}, {1}});
  EXPECT_EQ(this->algorithm.nearestNode(denseOf<T>({0})), 2);
  EXPECT_EQ(this->algorithm.nearestNodeDistance(denseOf<T>({0})), T(1));

  // A NaN first distance stays: nothing is strictly smaller than NaN.
  CFixedPrototypes<T> nanFirst(new CRecordingMetric<T>(&this->calls));
  addPrototypes<T>(nanFirst, {{nan}, {1}});
  EXPECT_EQ(nanFirst.nearestNode(denseOf<T>({0})), 0);
  EXPECT_TRUE(std::isnan(nanFirst.nearestNodeDistance(denseOf<T>({0}))));
}

TYPED_TEST(CClusterAlgorithmTest, EmptyReferenceSetCallsNoMetric) {
  using T = TypeParam;
  CDataset<T> data;
  data.appendItem(itemOf<T>({1}));
  EXPECT_EQ(this->algorithm.nearestNode(denseOf<T>({0})), -1);
  EXPECT_TRUE(std::isnan(this->algorithm.nearestNodeDistance(denseOf<T>({0}))));
  EXPECT_TRUE(std::isnan(this->algorithm.rmse(data)));
  EXPECT_TRUE(this->calls.empty());
}

// rmse of the points (3,4) and (0,0) for one prototype at the origin.
template <typename T>
T rmseAroundTheOrigin(CMetric<T>* metric) {
  CFixedPrototypes<T> algorithm(metric);
  addPrototypes<T>(algorithm, {{0, 0}});
  CDataset<T> data;
  data.appendItem(itemOf<T>({3, 4}));
  data.appendItem(itemOf<T>({0, 0}));
  return algorithm.rmse(data);
}

TYPED_TEST(CClusterAlgorithmTest, RmseOfOnePrototypeAtTheOrigin) {
  using T = TypeParam;
  EXPECT_EQ(rmseAroundTheOrigin<T>(new CEuclideanMetric<T>()),
            std::sqrt((T(25) + T(0)) / T(2)));
  // A squared metric's distances are squared again.
  EXPECT_EQ(rmseAroundTheOrigin<T>(new CEuclideanMetric2<T>()),
            std::sqrt((T(625) + T(0)) / T(2)));
}

TYPED_TEST(CClusterAlgorithmTest, RmseTakesEachInputsNearestPrototype) {
  using T = TypeParam;
  CFixedPrototypes<T> algorithm(new CEuclideanMetric<T>());
  addPrototypes<T>(algorithm, {{0, 0}, {10, 0}});
  CDataset<T> data;
  // The outputs lie far from every prototype; only the inputs count.
  for (const auto& input : {denseOf<T>({3, 4}), denseOf<T>({10, 1}),
                            denseOf<T>({6, 0}), denseOf<T>({0.5, 0})}) {
    data.appendItem(CDatasetItem<T>(input, CDenseVector<T>(2, T(100))));
  }
  T sum = T(0);
  for (T nearest : {T(5), T(1), T(4), T(0.5)}) sum += nearest * nearest;
  EXPECT_EQ(algorithm.rmse(data), std::sqrt(sum / T(4)));
}

TYPED_TEST(CClusterAlgorithmTest, RmseOfEmptyDataIsNaN) {
  using T = TypeParam;
  addPrototypes<T>(this->algorithm, {{1}});
  EXPECT_TRUE(std::isnan(this->algorithm.rmse(CDataset<T>())));
  EXPECT_TRUE(this->calls.empty());
}

TYPED_TEST(CClusterAlgorithmTest, SetMetricDestroysThePreviousMetric) {
  using T = TypeParam;
  bool firstDestroyed = false, secondDestroyed = false;
  CFixedPrototypes<T> algorithm(new CWatchedMetric<T>(&firstDestroyed));
  auto* second = new CWatchedMetric<T>(&secondDestroyed);
  algorithm.setMetric(second);
  EXPECT_TRUE(firstDestroyed);
  EXPECT_FALSE(secondDestroyed);
  EXPECT_EQ(algorithm.metric(), second);
}

TYPED_TEST(CClusterAlgorithmTest, SetMetricOnANullMetricStoresTheNewOne) {
  using T = TypeParam;
  CFixedPrototypes<T> algorithm(nullptr);
  auto* metric = new CEuclideanMetric<T>();
  algorithm.setMetric(metric);
  EXPECT_EQ(algorithm.metric(), metric);
}

TYPED_TEST(CClusterAlgorithmTest, SetMetricWithTheHeldMetricKeepsIt) {
  using T = TypeParam;
  bool destroyed = false;
  auto* metric = new CWatchedMetric<T>(&destroyed);
  CFixedPrototypes<T> algorithm(metric);
  algorithm.setMetric(metric);
  EXPECT_FALSE(destroyed);
  EXPECT_EQ(algorithm.metric(), metric);
}

TYPED_TEST(CClusterAlgorithmTest, DestructorDestroysTheMetric) {
  using T = TypeParam;
  bool destroyed = false;
  {
    CFixedPrototypes<T> algorithm(new CWatchedMetric<T>(&destroyed));
    EXPECT_FALSE(destroyed);
  }
  EXPECT_TRUE(destroyed);
}

TYPED_TEST(CClusterAlgorithmTest, SearchesUseTheReplacedMetric) {
  using T = TypeParam;
  addPrototypes<T>(this->algorithm, {{3, 0}, {1, 5}});
  EXPECT_EQ(this->algorithm.nearestNode(denseOf<T>({0, 0})), 1);
  this->algorithm.setMetric(new CEuclideanMetric<T>());
  EXPECT_EQ(this->algorithm.nearestNode(denseOf<T>({0, 0})), 0);
  EXPECT_EQ(this->algorithm.nearestNodeDistance(denseOf<T>({0, 0})), T(3));
}

TYPED_TEST(CClusterAlgorithmTest, ReferenceVectorsIsTheEmbeddedDataset) {
  using T = TypeParam;
  addPrototypes<T>(this->algorithm, {{4}, {2}});
  this->algorithm.referenceVectors().item(0).setInputVector(denseOf<T>({1}));
  EXPECT_EQ(this->algorithm.nearestNode(denseOf<T>({0})), 0);
  EXPECT_EQ(this->algorithm.nearestNodeDistance(denseOf<T>({0})), T(1));
}

TYPED_TEST(CClusterAlgorithmTest, GetReferenceVectorsReturnsACopy) {
  using T = TypeParam;
  addPrototypes<T>(this->algorithm, {{4}, {2}});
  this->algorithm.referenceVectors().setInfo("prototypes");
  CDataset<T> copy = this->algorithm.getReferenceVectors();
  ASSERT_EQ(copy.items(), 2);
  EXPECT_EQ(copy.item(0).inputComponent(0), T(4));
  EXPECT_EQ(copy.item(1).inputComponent(0), T(2));
  EXPECT_EQ(copy.getInfo(), "prototypes");
  EXPECT_EQ(copy.growSize(), 1000);

  copy.item(0).setInputVector(denseOf<T>({9}));
  copy.removeLastItem();
  EXPECT_EQ(this->algorithm.referenceVectors().items(), 2);
  EXPECT_EQ(this->algorithm.referenceVectors().item(0).inputComponent(0), T(4));
}

}  // namespace
