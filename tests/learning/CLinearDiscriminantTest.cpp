// SPDX-License-Identifier: MIT
#include "vecml/learning/CLinearDiscriminant.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <type_traits>
#include <vector>

#include "learning/ProjectionTestSupport.h"
#include "vecml/dataset/CDatasetStatistic.h"

namespace {

using test_support::denseDataset;
using test_support::elementsOf;
using test_support::expectNear;
using test_support::labelled;
using test_support::Rows;

template <typename T>
class CLinearDiscriminantTest : public testing::Test {
 protected:
  // Two classes of four points at distance 1 around (0, 0) and (4, 0):
  // Sw = diag(4, 4), Sb = diag(32, 0), so lambda = 8 along v = (1/2, 0).
  const CDataset<T> twoRings = labelled<T>(
      {{1, 0}, {-1, 0}, {0, 1}, {0, -1}, {5, 0}, {3, 0}, {4, 1}, {4, -1}},
      {0, 0, 0, 0, 1, 1, 1, 1});
  // Three classes in three dimensions, spread unevenly.
  const CDataset<T> threeClasses =
      labelled<T>({{1, 2, 0},
                   {2, 1, 1},
                   {0, 1, 2},
                   {2, 3, 1},
                   {5, 1, 0},
                   {6, 2, 2},
                   {4, 0, 1},
                   {5, 3, 3},
                   {1, 6, 5},
                   {2, 5, 4},
                   {0, 7, 6},
                   {3, 6, 4}},
                  {0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2});
  static constexpr double kTolerance = std::is_same_v<T, float> ? 1e-5 : 1e-12;
};

using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CLinearDiscriminantTest, ElementTypes);

TYPED_TEST(CLinearDiscriminantTest, NamesItselfOnly) {
  CLinearDiscriminant<TypeParam> lda;
  EXPECT_EQ(lda.className(), "CLinearDiscriminant");
  EXPECT_TRUE(lda.isA("CLinearDiscriminant"));
  EXPECT_FALSE(lda.isA("CProjection"));
}

TYPED_TEST(CLinearDiscriminantTest, StartsUntrained) {
  CLinearDiscriminant<TypeParam> lda(1);
  EXPECT_EQ(lda.requestedDirections(), 1);
  EXPECT_EQ(lda.directions(), 0);
  EXPECT_EQ(lda.classes(), 0);
  EXPECT_EQ(lda.mean().dimension(), 0);
  EXPECT_EQ(CLinearDiscriminant<TypeParam>().requestedDirections(), 0);
}

TYPED_TEST(CLinearDiscriminantTest, FindsTheDirectionBetweenTwoClasses) {
  CLinearDiscriminant<TypeParam> lda;
  ASSERT_TRUE(lda.train(this->twoRings));
  EXPECT_EQ(lda.classes(), 2);
  EXPECT_EQ(lda.directions(), 1);
  expectNear(elementsOf(lda.mean()), {2, 0}, this->kTolerance);
  expectNear(elementsOf(lda.directionMatrix()), {0.5, 0}, this->kTolerance);
  expectNear(elementsOf(lda.eigenvalues()), {8}, 10 * this->kTolerance);
}

TYPED_TEST(CLinearDiscriminantTest, ProjectsAndReconstructsWithinTheSpan) {
  using T = TypeParam;
  CLinearDiscriminant<T> lda;
  ASSERT_TRUE(lda.train(this->twoRings));
  const CDenseVector<T> coordinates =
      lda.project(CDenseVector<T>(std::vector<T>{4, 3}));
  expectNear(elementsOf(coordinates), {1}, this->kTolerance);
  expectNear(elementsOf(lda.reconstruct(coordinates)), {4, 0},
             this->kTolerance);
}

// v^T Sw v = I for the scatter that CDatasetStatistic::getSW() reports, and
// each direction's largest entry is positive.
TYPED_TEST(CLinearDiscriminantTest, DirectionsAreWithinScatterOrthonormal) {
  using T = TypeParam;
  CLinearDiscriminant<T> lda;
  ASSERT_TRUE(lda.train(this->threeClasses));
  EXPECT_EQ(lda.classes(), 3);
  ASSERT_EQ(lda.directions(), 2);
  CDataset<T> data = this->threeClasses;
  testing::internal::CaptureStdout();
  const CMatrix<T> within = CDatasetStatistic<T>(&data).getSW();
  testing::internal::GetCapturedStdout();
  const CMatrix<T>& v = lda.directionMatrix();
  const CMatrix<T> product = v.transpose() * within * v;
  expectNear(elementsOf(product), {1, 0, 0, 1}, 100 * this->kTolerance);
  EXPECT_GT(lda.eigenvalues()[0], lda.eigenvalues()[1]);
  for (int j = 0; j < 2; ++j) {
    int largest = 0;
    for (int i = 1; i < 3; ++i)
      if (std::abs(v.getElement(i, j)) > std::abs(v.getElement(largest, j)))
        largest = i;
    EXPECT_GT(v.getElement(largest, j), 0) << "direction " << j;
  }
  // Projecting a reconstruction gives back the coordinates.
  const CDenseVector<T> c(std::vector<T>{0.5, -2});
  expectNear(elementsOf(lda.project(lda.reconstruct(c))), {0.5, -2},
             100 * this->kTolerance);
}

TYPED_TEST(CLinearDiscriminantTest, AClassIsTheWholeOutputVector) {
  using T = TypeParam;
  const Rows<T> inputs = {{1, 0}, {-1, 0}, {0, 1}, {0, -1},
                          {5, 0}, {3, 0},  {4, 1}, {4, -1}};
  const Rows<T> outputs = {{1, 0}, {1, 0}, {1, 0}, {1, 0},
                           {1, 1}, {1, 1}, {1, 1}, {1, 1}};
  CLinearDiscriminant<T> lda;
  ASSERT_TRUE(lda.train(denseDataset(inputs, outputs)));
  EXPECT_EQ(lda.classes(), 2);
  expectNear(elementsOf(lda.directionMatrix()), {0.5, 0}, this->kTolerance);
}

TYPED_TEST(CLinearDiscriminantTest, ADimensionOfOneHasOneDirection) {
  using T = TypeParam;
  CLinearDiscriminant<T> lda;
  // Sw = 2 + 2 + 2 = 6, Sb = 2 * (3^2 + 0 + 3^2) = 36: lambda 6.
  ASSERT_TRUE(lda.train(
      labelled<T>({{-4}, {-2}, {-1}, {1}, {2}, {4}}, {0, 0, 1, 1, 2, 2})));
  EXPECT_EQ(lda.directions(), 1);
  expectNear(elementsOf(lda.eigenvalues()), {6}, 10 * this->kTolerance);
  expectNear(elementsOf(lda.directionMatrix()), {1 / std::sqrt(6.0)},
             this->kTolerance);
}

TYPED_TEST(CLinearDiscriminantTest, RefusesWhatItCannotLearnFrom) {
  using T = TypeParam;
  const T nan = std::numeric_limits<T>::quiet_NaN();
  const std::vector<CDataset<T>> refused{
      labelled<T>({}, {}),
      labelled<T>({{}, {}}, {0, 1}),
      labelled<T>({{1, 2}, {3, 4}, {5, 6}}, {0, 0, 0}),
      labelled<T>({{1, 2}, {3, 4}, {5}}, {0, 1, 0}),
      // Every class is one repeated point: Sw is zero.
      labelled<T>({{1, 2}, {1, 2}, {3, 5}, {3, 5}}, {0, 0, 1, 1}),
      labelled<T>({{1, 0}, {-1, 0}, {0, 1}, {0, nan}, {5, 0}, {3, 0}},
                  {0, 0, 0, 0, 1, 1}),
  };
  CLinearDiscriminant<T> lda;
  ASSERT_TRUE(lda.train(this->twoRings));
  for (const CDataset<T>& data : refused) {
    EXPECT_FALSE(lda.train(data)) << data.items() << " items";
    EXPECT_EQ(lda.directions(), 1);
    EXPECT_EQ(lda.classes(), 2);
    expectNear(elementsOf(lda.mean()), {2, 0}, this->kTolerance);
    expectNear(elementsOf(lda.eigenvalues()), {8}, 10 * this->kTolerance);
  }
}

TYPED_TEST(CLinearDiscriminantTest, RefusesMoreDirectionsThanClassesAllow) {
  EXPECT_FALSE(CLinearDiscriminant<TypeParam>(2).train(this->twoRings));
  EXPECT_TRUE(CLinearDiscriminant<TypeParam>(1).train(this->twoRings));
  EXPECT_FALSE(CLinearDiscriminant<TypeParam>(3).train(this->threeClasses));
}

template <typename T>
class CLinearDiscriminantDeathTest : public testing::Test {};
TYPED_TEST_SUITE(CLinearDiscriminantDeathTest, ElementTypes);

TYPED_TEST(CLinearDiscriminantDeathTest, NegativeDirectionCountAborts) {
  EXPECT_DEATH(CLinearDiscriminant<TypeParam>(-2),
               "ML_GEQ_CHK failed in File: CLinearDiscriminant.cpp Line: "
               "[0-9]+\\. directions=-2 < 0");
}

TYPED_TEST(CLinearDiscriminantDeathTest, ProjectingUntrainedAborts) {
  CLinearDiscriminant<TypeParam> lda;
  EXPECT_DEATH(lda.project(CDenseVector<TypeParam>(2)),
               "ML_LS_CHK failed in File: LearnedDirections.cpp");
}

}  // namespace
