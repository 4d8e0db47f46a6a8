// SPDX-License-Identifier: MIT
// Assignments of whole datasets to their nearest prototypes and the mean
// squared quantisation error.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "learning/CClusterAlgorithmTestSupport.h"
#include "vecml/vector/CSparseVector.h"

namespace {

using testing::ElementsAre;

template <typename T>
class CClusterAlgorithmAssignmentTest : public testing::Test {
 protected:
  // Prototypes at (0,0) and (10,0); items near the one or the other.
  CClusterAlgorithmAssignmentTest() {
    addPrototypes<T>(algorithm, {{0, 0}, {10, 0}});
    for (const auto& input : {denseOf<T>({3, 4}), denseOf<T>({10, 1}),
                              denseOf<T>({6, 0}), denseOf<T>({0.5, 0})})
      data.appendItem(CDatasetItem<T>(input, CDenseVector<T>(2, T(100))));
  }

  CFixedPrototypes<T> algorithm{new CEuclideanMetric<T>()};
  CDataset<T> data;
};

using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CClusterAlgorithmAssignmentTest, ElementTypes);

TYPED_TEST(CClusterAlgorithmAssignmentTest, AssignsEveryInputInItemOrder) {
  EXPECT_THAT(this->algorithm.assignments(this->data), ElementsAre(0, 1, 1, 0));
}

TYPED_TEST(CClusterAlgorithmAssignmentTest, AgreesWithNearestNode) {
  const std::vector<int> nodes = this->algorithm.assignments(this->data);
  for (int j = 0; j < this->data.items(); ++j)
    EXPECT_EQ(nodes[std::size_t(j)],
              this->algorithm.nearestNode(*this->data[j].inputVector()));
}

TYPED_TEST(CClusterAlgorithmAssignmentTest, EmptyDataHasNoAssignments) {
  EXPECT_TRUE(this->algorithm.assignments(CDataset<TypeParam>()).empty());
}

TYPED_TEST(CClusterAlgorithmAssignmentTest, NoPrototypeAssignsMinusOne) {
  CFixedPrototypes<TypeParam> empty(new CEuclideanMetric<TypeParam>());
  EXPECT_THAT(empty.assignments(this->data), ElementsAre(-1, -1, -1, -1));
  EXPECT_TRUE(std::isnan(empty.quantizationError(this->data)));
}

TYPED_TEST(CClusterAlgorithmAssignmentTest, TiesGoToTheLowerPrototype) {
  using T = TypeParam;
  CDataset<T> middle;
  middle.appendItem(itemOf<T>({5, 0}));
  EXPECT_THAT(this->algorithm.assignments(middle), ElementsAre(0));
}

TYPED_TEST(CClusterAlgorithmAssignmentTest, ErrorIsTheMeanSquareInDouble) {
  using T = TypeParam;
  // Nearest distances 5, 1, 4 and 0.5.
  const double expected = (25.0 + 1.0 + 16.0 + 0.25) / 4.0;
  EXPECT_EQ(this->algorithm.quantizationError(this->data), T(expected));
}

TYPED_TEST(CClusterAlgorithmAssignmentTest, ErrorSquaresASquaredMetricAgain) {
  using T = TypeParam;
  this->algorithm.setMetric(new CEuclideanMetric2<T>());
  const double expected = (625.0 + 1.0 + 256.0 + 0.0625) / 4.0;
  EXPECT_EQ(this->algorithm.quantizationError(this->data), T(expected));
}

TYPED_TEST(CClusterAlgorithmAssignmentTest, ErrorIsTheSquareOfRmse) {
  using T = TypeParam;
  const T rmse = this->algorithm.rmse(this->data);
  EXPECT_NEAR(this->algorithm.quantizationError(this->data), rmse * rmse, 1e-5);
}

TYPED_TEST(CClusterAlgorithmAssignmentTest, EmptyDataHasANaNError) {
  EXPECT_TRUE(
      std::isnan(this->algorithm.quantizationError(CDataset<TypeParam>())));
}

TYPED_TEST(CClusterAlgorithmAssignmentTest, NaNInputGivesANaNError) {
  using T = TypeParam;
  const T nan = std::numeric_limits<T>::quiet_NaN();
  this->data.appendItem(itemOf<T>({nan, 0}));
  // A NaN distance never replaces the first one: prototype 0 keeps it.
  EXPECT_EQ(this->algorithm.assignments(this->data).back(), 0);
  EXPECT_TRUE(std::isnan(this->algorithm.quantizationError(this->data)));
}

}  // namespace

namespace {

// Prototypes (2, b) and (2, 0) for the sample (0, 0): b^2 is one unit in
// the last place of 4, so the squared distances differ by one unit while
// their roots round to the same 2.
template <typename T>
std::vector<int> assignedWithRootTie(CMetric<T>* metric) {
  const T b = std::sqrt(std::nextafter(T(4), T(8)) - T(4));
  CFixedPrototypes<T> algorithm(metric);
  addPrototypes<T>(algorithm, {{2, b}, {2, 0}});
  CDataset<T> data;
  data.appendItem(itemOf<T>({0, 0}));
  const std::vector<int> nodes = algorithm.assignments(data);
  EXPECT_EQ(nodes.front(), algorithm.nearestNode(*data[0].inputVector()));
  return nodes;
}

TYPED_TEST(CClusterAlgorithmAssignmentTest, RootedTieKeepsTheLowerPrototype) {
  using T = TypeParam;
  EXPECT_THAT(assignedWithRootTie<T>(new CEuclideanMetric<T>()),
              ElementsAre(0));
  EXPECT_THAT(assignedWithRootTie<T>(new CEuclideanMetric2<T>()),
              ElementsAre(1));
}

TYPED_TEST(CClusterAlgorithmAssignmentTest, OtherInputsAndMetricsAgree) {
  using T = TypeParam;
  // A sparse input, an input of another dimension and a metric derived
  // from the Euclidean one are all searched as nearestNode() searches.
  const CSparseVector<T> sparse(denseOf<T>({9, 0}));
  this->data.appendItem(CDatasetItem<T>(sparse, CDenseVector<T>(1, T(0))));
  this->data.appendItem(itemOf<T>({9, 0, 1}));
  bool destroyed = false;
  for (CMetric<T>* metric :
       {static_cast<CMetric<T>*>(new CWatchedMetric<T>(&destroyed)),
        static_cast<CMetric<T>*>(new CManhattenMetric<T>()),
        static_cast<CMetric<T>*>(new CEuclideanMetric2<T>())}) {
    this->algorithm.setMetric(metric);
    const std::vector<int> nodes = this->algorithm.assignments(this->data);
    for (int j = 0; j < this->data.items(); ++j)
      EXPECT_EQ(nodes[std::size_t(j)],
                this->algorithm.nearestNode(*this->data[j].inputVector()));
  }
}

}  // namespace
