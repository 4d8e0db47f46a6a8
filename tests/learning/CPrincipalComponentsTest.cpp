// SPDX-License-Identifier: MIT
#include "vecml/learning/CPrincipalComponents.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "learning/ProjectionTestSupport.h"
#include "vecml/vector/CSparseVector.h"

namespace {

using test_support::elementsOf;
using test_support::expectNear;
using test_support::Rows;
using test_support::unlabelled;

template <typename T>
class CPrincipalComponentsTest : public testing::Test {
 protected:
  // Spread 2 along x and 1 along y around (1, 1): sample variances 8/3 and
  // 2/3 along the axes.
  const CDataset<T> cross = unlabelled<T>({{3, 1}, {-1, 1}, {1, 2}, {1, 0}});
  static constexpr double kTolerance = std::is_same_v<T, float> ? 1e-6 : 1e-13;
};

using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CPrincipalComponentsTest, ElementTypes);

TYPED_TEST(CPrincipalComponentsTest, NamesItselfOnly) {
  CPrincipalComponents<TypeParam> pca;
  EXPECT_EQ(pca.className(), "CPrincipalComponents");
  EXPECT_TRUE(pca.isA("CPrincipalComponents"));
  EXPECT_FALSE(pca.isA("CProjection"));
  EXPECT_FALSE(pca.isA("CObject"));
}

TYPED_TEST(CPrincipalComponentsTest, StartsUntrained) {
  CPrincipalComponents<TypeParam> pca(3);
  EXPECT_EQ(pca.requestedComponents(), 3);
  EXPECT_EQ(pca.directions(), 0);
  EXPECT_EQ(pca.mean().dimension(), 0);
  EXPECT_EQ(pca.components().columns(), 0);
  EXPECT_EQ(pca.explainedVariance().dimension(), 0);
  EXPECT_EQ(CPrincipalComponents<TypeParam>().requestedComponents(), 0);
}

TYPED_TEST(CPrincipalComponentsTest, LearnsMeanComponentsAndVariances) {
  CPrincipalComponents<TypeParam> pca;
  ASSERT_TRUE(pca.train(this->cross));
  EXPECT_EQ(pca.directions(), 2);
  expectNear(elementsOf(pca.mean()), {1, 1}, this->kTolerance);
  expectNear(elementsOf(pca.components()), {1, 0, 0, 1}, this->kTolerance);
  expectNear(elementsOf(pca.explainedVariance()), {8.0 / 3, 2.0 / 3},
             this->kTolerance);
  expectNear(elementsOf(pca.explainedVarianceRatio()), {0.8, 0.2},
             this->kTolerance);
}

TYPED_TEST(CPrincipalComponentsTest, ProjectsAndReconstructs) {
  using T = TypeParam;
  CPrincipalComponents<T> pca;
  ASSERT_TRUE(pca.train(this->cross));
  const CDenseVector<T> coordinates =
      pca.project(CDenseVector<T>(std::vector<T>{3, 0.5}));
  expectNear(elementsOf(coordinates), {2, -0.5}, this->kTolerance);
  expectNear(elementsOf(pca.reconstruct(coordinates)), {3, 0.5},
             this->kTolerance);
}

TYPED_TEST(CPrincipalComponentsTest, OneComponentKeepsThePartAlongIt) {
  using T = TypeParam;
  CPrincipalComponents<T> pca(1);
  ASSERT_TRUE(pca.train(this->cross));
  EXPECT_EQ(pca.directions(), 1);
  EXPECT_EQ(pca.components().rows(), 2);
  EXPECT_EQ(pca.components().columns(), 1);
  expectNear(elementsOf(pca.explainedVarianceRatio()), {0.8}, this->kTolerance);
  const CDenseVector<T> x(std::vector<T>{3, 2});
  expectNear(elementsOf(pca.project(x)), {2}, this->kTolerance);
  expectNear(elementsOf(pca.reconstruct(pca.project(x))), {3, 1},
             this->kTolerance);
}

TYPED_TEST(CPrincipalComponentsTest, OrientsEachComponentByItsLargestEntry) {
  // The main direction is (-1, 1) / sqrt 2 up to sign; its first entry of
  // largest magnitude must be positive.
  CPrincipalComponents<TypeParam> pca(1);
  ASSERT_TRUE(pca.train(unlabelled<TypeParam>({{2, -2}, {-2, 2}, {0, 0}})));
  const double half = std::sqrt(0.5);
  expectNear(elementsOf(pca.components()), {half, -half}, this->kTolerance);
}

TYPED_TEST(CPrincipalComponentsTest, FewerItemsThanFeaturesGiveNMinusZero) {
  CPrincipalComponents<TypeParam> pca;
  ASSERT_TRUE(pca.train(unlabelled<TypeParam>({{0, 0, 0}, {2, 0, 0}})));
  EXPECT_EQ(pca.directions(), 2);
  expectNear(elementsOf(pca.explainedVariance()), {2, 0}, this->kTolerance);
  expectNear(elementsOf(pca.explainedVarianceRatio()), {1, 0},
             this->kTolerance);
}

TYPED_TEST(CPrincipalComponentsTest, ADimensionOfOneIsItsOwnComponent) {
  CPrincipalComponents<TypeParam> pca;
  ASSERT_TRUE(pca.train(unlabelled<TypeParam>({{1}, {2}, {6}})));
  expectNear(elementsOf(pca.mean()), {3}, this->kTolerance);
  expectNear(elementsOf(pca.components()), {1}, this->kTolerance);
  expectNear(elementsOf(pca.explainedVariance()), {7}, 10 * this->kTolerance);
  expectNear(elementsOf(pca.explainedVarianceRatio()), {1}, this->kTolerance);
}

TYPED_TEST(CPrincipalComponentsTest, EqualItemsHaveNoVarianceAndNoRatio) {
  CPrincipalComponents<TypeParam> pca;
  ASSERT_TRUE(pca.train(unlabelled<TypeParam>({{1, 5}, {1, 5}, {1, 5}})));
  expectNear(elementsOf(pca.mean()), {1, 5}, 0);
  expectNear(elementsOf(pca.explainedVariance()), {0, 0}, 0);
  EXPECT_TRUE(std::isnan(pca.explainedVarianceRatio()[0]));
}

TYPED_TEST(CPrincipalComponentsTest, SparseInputsGiveTheDenseResult) {
  using T = TypeParam;
  CDataset<T> sparse;
  for (int n = 0; n < this->cross.items(); ++n)
    sparse.appendItem(CDatasetItem<T>(
        CSparseVector<T>(*this->cross[n].inputVector()), CDenseVector<T>()));
  CPrincipalComponents<T> fromSparse, fromDense;
  ASSERT_TRUE(fromSparse.train(sparse));
  ASSERT_TRUE(fromDense.train(this->cross));
  EXPECT_EQ(elementsOf(fromSparse.components()),
            elementsOf(fromDense.components()));
  EXPECT_EQ(elementsOf(fromSparse.explainedVariance()),
            elementsOf(fromDense.explainedVariance()));
}

// Each bad training set leaves the object as the first training made it.
TYPED_TEST(CPrincipalComponentsTest, RefusesWhatItCannotLearnFrom) {
  using T = TypeParam;
  const T nan = std::numeric_limits<T>::quiet_NaN();
  const T inf = std::numeric_limits<T>::infinity();
  const std::vector<CDataset<T>> refused{
      unlabelled<T>({}),
      unlabelled<T>({{1, 2}}),
      unlabelled<T>({{}, {}}),
      unlabelled<T>({{1, 2}, {3, 4}, {5}}),
      unlabelled<T>({{1, 2}, {3, nan}, {5, 6}}),
      unlabelled<T>({{1, 2}, {3, inf}, {5, 6}}),
  };
  for (int requested : {0, 2}) {
    CPrincipalComponents<T> pca(requested);
    ASSERT_TRUE(pca.train(this->cross));
    for (const CDataset<T>& data : refused) {
      EXPECT_FALSE(pca.train(data)) << data.items() << " items";
      EXPECT_EQ(pca.directions(), 2);
      expectNear(elementsOf(pca.mean()), {1, 1}, this->kTolerance);
      expectNear(elementsOf(pca.explainedVariance()), {8.0 / 3, 2.0 / 3},
                 this->kTolerance);
    }
  }
}

TYPED_TEST(CPrincipalComponentsTest, RefusesMoreComponentsThanItemsOrFeatures) {
  using T = TypeParam;
  EXPECT_FALSE(CPrincipalComponents<T>(3).train(this->cross));
  EXPECT_FALSE(CPrincipalComponents<T>(3).train(
      unlabelled<T>({{1, 2, 3, 4}, {0, 1, 0, 1}})));
  EXPECT_TRUE(CPrincipalComponents<T>(2).train(
      unlabelled<T>({{1, 2, 3, 4}, {0, 1, 0, 1}})));
}

TEST(CPrincipalComponentsFloatTest, RefusesVariancesBeyondFloat) {
  CPrincipalComponents<float> pca;
  EXPECT_FALSE(pca.train(unlabelled<float>({{1e30f, 0}, {-1e30f, 1}})));
  EXPECT_EQ(pca.directions(), 0);
  CPrincipalComponents<double> wide;
  EXPECT_TRUE(wide.train(unlabelled<double>({{1e30, 0}, {-1e30, 1}})));
}

template <typename T>
class CPrincipalComponentsDeathTest : public testing::Test {};
TYPED_TEST_SUITE(CPrincipalComponentsDeathTest, ElementTypes);

TYPED_TEST(CPrincipalComponentsDeathTest, NegativeComponentCountAborts) {
  EXPECT_DEATH(CPrincipalComponents<TypeParam>(-1),
               "ML_GEQ_CHK failed in File: CPrincipalComponents.cpp Line: "
               "[0-9]+\\. components=-1 < 0");
}

TYPED_TEST(CPrincipalComponentsDeathTest, ProjectingUntrainedAborts) {
  CPrincipalComponents<TypeParam> pca;
  EXPECT_DEATH(pca.project(CDenseVector<TypeParam>(2)),
               "ML_LS_CHK failed in File: LearnedDirections.cpp Line: "
               "[0-9]+\\. 0=0 >= 0");
  EXPECT_DEATH(pca.reconstruct(CDenseVector<TypeParam>(2)),
               "ML_LS_CHK failed in File: LearnedDirections.cpp");
}

TYPED_TEST(CPrincipalComponentsDeathTest, WrongDimensionsAbort) {
  using T = TypeParam;
  CPrincipalComponents<T> pca(1);
  ASSERT_TRUE(pca.train(unlabelled<T>({{0, 0}, {2, 0}})));
  EXPECT_DEATH(pca.project(CDenseVector<T>(3)),
               "ML_EQ_CHK failed in File: LearnedDirections.cpp Line: "
               "[0-9]+\\. x.dimension\\(\\)=3 != 2");
  EXPECT_DEATH(pca.reconstruct(CDenseVector<T>(2)),
               "ML_EQ_CHK failed in File: LearnedDirections.cpp Line: "
               "[0-9]+\\. coordinates.dimension\\(\\)=2 != 1");
}

}  // namespace
