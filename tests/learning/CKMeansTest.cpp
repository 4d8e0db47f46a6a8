// SPDX-License-Identifier: MIT
// k-means: identity, seeding, Lloyd and online training, inertia.
#include "vecml/learning/CKMeans.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numeric>
#include <utility>
#include <vector>

#include "learning/CKMeansTestSupport.h"
#include "vecml/learning/detail/RandomSource.h"

namespace {

using test_support::Rows;
using testing::ElementsAre;
using testing::UnorderedElementsAreArray;
using vecml::detail::RandomSource;

template <typename T>
class CKMeansTest : public testing::Test {
 protected:
  // Two pairs of points on a line.
  CDataset<T> pairs = datasetOf<T>({{0}, {1}, {10}, {11}});
};

using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CKMeansTest, ElementTypes);

TYPED_TEST(CKMeansTest, NamesItself) {
  CKMeans<TypeParam> kmeans(2);
  EXPECT_EQ(kmeans.className(), "CKMeans");
  EXPECT_TRUE(kmeans.isA("CKMeans"));
  EXPECT_FALSE(kmeans.isA("CClusterAlgorithm"));
  EXPECT_FALSE(kmeans.isA("CObject"));
}

TYPED_TEST(CKMeansTest, StartsWithoutCentres) {
  CKMeans<TypeParam> kmeans(3);
  EXPECT_EQ(kmeans.clusters(), 3);
  EXPECT_EQ(kmeans.seed(), CKMeans<TypeParam>::kDefaultSeed);
  EXPECT_EQ(kmeans.iterations(), 0);
  EXPECT_EQ(kmeans.referenceVectors().items(), 0);
  EXPECT_EQ(kmeans.metric()->className(), "CEuclideanMetric");
  EXPECT_TRUE(std::isnan(kmeans.inertia(this->pairs)));
}

TYPED_TEST(CKMeansTest, SetCentresCopiesDenseInputs) {
  using T = TypeParam;
  CKMeans<T> kmeans(2);
  EXPECT_TRUE(kmeans.setCentres(datasetOf<T>({{1, 2}, {3, 4}})));
  EXPECT_EQ(centresOf(kmeans), (Rows<T>{{1, 2}, {3, 4}}));
  EXPECT_EQ(kmeans.referenceVectors()[0].inputVector()->className(),
            "CDenseVector");
}

TYPED_TEST(CKMeansTest, SetCentresRefusesAWrongCountOrDimension) {
  using T = TypeParam;
  CKMeans<T> kmeans(2);
  kmeans.setCentres(datasetOf<T>({{1}, {2}}));
  EXPECT_FALSE(kmeans.setCentres(datasetOf<T>({{1}})));
  EXPECT_FALSE(kmeans.setCentres(datasetOf<T>({{1}, {2, 3}})));
  EXPECT_EQ(centresOf(kmeans), (Rows<T>{{1}, {2}}));
}

TYPED_TEST(CKMeansTest, LloydRunsUntilTheAssignmentRepeats) {
  using T = TypeParam;
  CKMeans<T> kmeans(2);
  kmeans.setCentres(datasetOf<T>({{0}, {1}}));
  // 1: {0} and {1, 10, 11}; 2: {0, 1} and {10, 11}; 3: the same again.
  EXPECT_TRUE(kmeans.trainBatch(this->pairs, 100));
  EXPECT_EQ(kmeans.iterations(), 3);
  EXPECT_EQ(centresOf(kmeans), (Rows<T>{{0.5}, {10.5}}));
  EXPECT_THAT(kmeans.assignments(this->pairs), ElementsAre(0, 0, 1, 1));
  EXPECT_EQ(kmeans.inertia(this->pairs), T(1));
}

TYPED_TEST(CKMeansTest, LloydStopsAfterTheGivenEpochs) {
  using T = TypeParam;
  CKMeans<T> kmeans(2);
  kmeans.setCentres(datasetOf<T>({{0}, {1}}));
  kmeans.train(this->pairs, 1);
  EXPECT_EQ(kmeans.iterations(), 1);
  EXPECT_EQ(centresOf(kmeans), (Rows<T>{{0}, {T(22) / T(3)}}));
}

TYPED_TEST(CKMeansTest, MeanIsSummedInDoubleAndRoundedOnce) {
  using T = TypeParam;
  CKMeans<T> kmeans(1);
  kmeans.setCentres(datasetOf<T>({{0}}));
  const T third = T(1) / T(3);
  kmeans.trainBatch(datasetOf<T>({{third}, {third}, {T(1)}}), 1);
  const double sum = double(third) + double(third) + 1.0;
  EXPECT_EQ(centresOf(kmeans)[0][0], T(sum / 3.0));
}

TYPED_TEST(CKMeansTest, EmptyClusterKeepsItsCentre) {
  using T = TypeParam;
  CKMeans<T> kmeans(3);
  kmeans.setCentres(datasetOf<T>({{0}, {100}, {1000}}));
  kmeans.trainBatch(datasetOf<T>({{0}, {1}}), 5);
  EXPECT_EQ(centresOf(kmeans), (Rows<T>{{0.5}, {100}, {1000}}));
}

TYPED_TEST(CKMeansTest, OneClusterIsTheMean) {
  using T = TypeParam;
  CKMeans<T> kmeans(1);
  EXPECT_TRUE(kmeans.trainBatch(this->pairs, 10));
  EXPECT_EQ(centresOf(kmeans), (Rows<T>{{5.5}}));
  EXPECT_EQ(kmeans.iterations(), 2);
}

TYPED_TEST(CKMeansTest, AsManyClustersAsItemsHasNoInertia) {
  using T = TypeParam;
  CKMeans<T> kmeans(4);
  EXPECT_TRUE(kmeans.trainBatch(this->pairs, 10));
  EXPECT_EQ(kmeans.inertia(this->pairs), T(0));
  EXPECT_THAT(centresOf(kmeans),
              UnorderedElementsAreArray(Rows<T>{{0}, {1}, {10}, {11}}));
}

TYPED_TEST(CKMeansTest, DuplicatePointsSeedAndTrain) {
  using T = TypeParam;
  CKMeans<T> kmeans(2);
  const CDataset<T> same = datasetOf<T>({{3, 3}, {3, 3}, {3, 3}});
  EXPECT_TRUE(kmeans.trainBatch(same, 10));
  EXPECT_EQ(centresOf(kmeans), (Rows<T>{{3, 3}, {3, 3}}));
  EXPECT_THAT(kmeans.assignments(same), ElementsAre(0, 0, 0));
}

TYPED_TEST(CKMeansTest, BadInputLeavesTheAlgorithmUnchanged) {
  using T = TypeParam;
  CKMeans<T> kmeans(2);
  EXPECT_FALSE(kmeans.trainBatch(CDataset<T>(), 10));
  EXPECT_FALSE(kmeans.trainBatch(datasetOf<T>({{1}}), 10));
  EXPECT_FALSE(kmeans.seedCentres(datasetOf<T>({{1}})));
  EXPECT_FALSE(kmeans.trainBatch(datasetOf<T>({{1}, {2, 3}}), 10));
  EXPECT_EQ(kmeans.referenceVectors().items(), 0);
  kmeans.setCentres(datasetOf<T>({{1}, {2}}));
  EXPECT_FALSE(kmeans.trainBatch(datasetOf<T>({{1, 2}, {2, 3}}), 10));
  EXPECT_EQ(centresOf(kmeans), (Rows<T>{{1}, {2}}));
  CConstantRate<T> rate(T(0.5));
  EXPECT_FALSE(kmeans.trainOnline(CDataset<T>(), 1, rate));
  EXPECT_EQ(centresOf(kmeans), (Rows<T>{{1}, {2}}));
}

TYPED_TEST(CKMeansTest, NaNInputJoinsClusterZeroAndMakesItNaN) {
  using T = TypeParam;
  const T nan = std::numeric_limits<T>::quiet_NaN();
  CKMeans<T> kmeans(2);
  kmeans.setCentres(datasetOf<T>({{0}, {10}}));
  const CDataset<T> data = datasetOf<T>({{9}, {nan}, {11}});
  EXPECT_TRUE(kmeans.trainBatch(data, 1));
  EXPECT_THAT(kmeans.assignments(datasetOf<T>({{nan}})), ElementsAre(0));
  EXPECT_TRUE(std::isnan(centresOf(kmeans)[0][0]));
  EXPECT_EQ(centresOf(kmeans)[1][0], T(10));
}

TYPED_TEST(CKMeansTest, FirstSeedIsAUniformDrawOfTheSeed) {
  using T = TypeParam;
  const CDataset<T> data = datasetOf<T>(randomRows<T>(50, 3, 1));
  for (const std::uint64_t seed : {1u, 2u, 99u}) {
    CKMeans<T> kmeans(3, new CEuclideanMetric<T>(), seed);
    ASSERT_TRUE(kmeans.seedCentres(data));
    RandomSource random(seed);
    EXPECT_EQ(centresOf(kmeans)[0],
              data[random.index(50)].inputVector()->toSTL());
  }
}

TYPED_TEST(CKMeansTest, SeedingIsRepeatable) {
  using T = TypeParam;
  const CDataset<T> data = datasetOf<T>(randomRows<T>(200, 2, 3));
  CKMeans<T> first(8, new CEuclideanMetric<T>(), 42);
  CKMeans<T> second(8, new CEuclideanMetric<T>(), 42);
  CKMeans<T> other(8, new CEuclideanMetric<T>(), 43);
  first.seedCentres(data);
  second.seedCentres(data);
  other.seedCentres(data);
  EXPECT_EQ(centresOf(first), centresOf(second));
  EXPECT_NE(centresOf(first), centresOf(other));
}

TYPED_TEST(CKMeansTest, SeedingNeverPicksAChosenPointTwice) {
  using T = TypeParam;
  // Distinct points: a chosen one weighs 0, so k = n takes every point.
  const Rows<T> rows = randomRows<T>(12, 2, 5);
  CKMeans<T> kmeans(12);
  ASSERT_TRUE(kmeans.seedCentres(datasetOf<T>(rows)));
  EXPECT_THAT(centresOf(kmeans), UnorderedElementsAreArray(rows));
}

TYPED_TEST(CKMeansTest, SeedingPrefersFarPoints) {
  using T = TypeParam;
  // Nine points at the origin and one far away: after any first centre
  // at the origin the far point carries all the weight.
  Rows<T> rows(9, std::vector<T>{0, 0});
  rows.push_back({100, 100});
  CKMeans<T> kmeans(2);
  ASSERT_TRUE(kmeans.seedCentres(datasetOf<T>(rows)));
  EXPECT_THAT(centresOf(kmeans),
              UnorderedElementsAreArray(Rows<T>{{0, 0}, {100, 100}}));
}

TYPED_TEST(CKMeansTest, OnlineMovesTheWinnerByTheRateInShuffledOrder) {
  using T = TypeParam;
  const CDataset<T> data = datasetOf<T>({{0}, {4}, {8}});
  CKMeans<T> kmeans(1, new CEuclideanMetric<T>(), 7);
  CLinearRate<T> rate(T(0.5), T(0.1), 3);
  EXPECT_TRUE(kmeans.trainOnline(data, 2, rate));

  // The same steps by hand: the seeding draw, then one shuffle per epoch.
  RandomSource random(7);
  T centre = data[random.index(3)].inputVector()->toSTL()[0];
  int visit = 0;
  for (int epoch = 0; epoch < 2; ++epoch) {
    std::vector<int> order{0, 1, 2};
    for (int i = 2; i > 0; --i) std::swap(order[i], order[random.index(i + 1)]);
    for (const int j : order) {
      const float eta = float(rate.rate(visit++));
      const T sample = data[j].inputVector()->toSTL()[0];
      CDenseVector<T> target(1, centre);
      target.adaptToVec(CDenseVector<T>(1, sample), eta, 1.0f - eta);
      centre = target[0];
    }
  }
  EXPECT_EQ(centresOf(kmeans), (Rows<T>{{centre}}));
}

TYPED_TEST(CKMeansTest, OnlineWithRateZeroKeepsTheCentres) {
  using T = TypeParam;
  CKMeans<T> kmeans(2);
  kmeans.setCentres(datasetOf<T>({{1}, {2}}));
  CConstantRate<T> rate(T(0));
  EXPECT_TRUE(kmeans.trainOnline(this->pairs, 3, rate));
  EXPECT_EQ(centresOf(kmeans), (Rows<T>{{1}, {2}}));
}

TYPED_TEST(CKMeansTest, InertiaSumsSquaredEuclideanDistances) {
  using T = TypeParam;
  // Under the Manhattan metric the assignment differs from the Euclidean
  // one, and inertia still measures squared Euclidean distances.
  CKMeans<T> kmeans(2, new CManhattenMetric<T>());
  kmeans.setCentres(datasetOf<T>({{0, 0}, {3, 3}}));
  const CDataset<T> data = datasetOf<T>({{2, 2}, {0, 1}, {4, 0}});
  EXPECT_THAT(kmeans.assignments(data), ElementsAre(1, 0, 0));
  EXPECT_EQ(kmeans.inertia(data), T(2 + 1 + 16));
  EXPECT_EQ(kmeans.inertia(CDataset<T>()), T(0));
}

TYPED_TEST(CKMeansTest, TrainIsReachedThroughTheBase) {
  using T = TypeParam;
  CKMeans<T> kmeans(2);
  kmeans.setCentres(datasetOf<T>({{0}, {1}}));
  CClusterAlgorithm<T>& base = kmeans;
  base.train(this->pairs, 100);
  EXPECT_EQ(centresOf(kmeans), (Rows<T>{{0.5}, {10.5}}));
}

template <typename T>
class CKMeansDeathTest : public testing::Test {};
TYPED_TEST_SUITE(CKMeansDeathTest, ElementTypes);

TYPED_TEST(CKMeansDeathTest, NoClustersAborts) {
  EXPECT_DEATH(
      CKMeans<TypeParam>(0),
      testing::AllOf(testing::HasSubstr(
                         "ML_GEQ_CHK failed in File: CKMeans.cpp Line: 94."),
                     testing::HasSubstr("clusters=0 < 1")));
}

}  // namespace
