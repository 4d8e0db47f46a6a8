// SPDX-License-Identifier: MIT
#include "vecml/learning/CGradientDescent.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "learning/OptimizerTestProblems.h"
#include "vecml/learning/CLearnRate.h"

namespace {

using testing::HasSubstr;

template <typename T>
CDenseVector<T> vec(std::vector<T> values) {
  return CDenseVector<T>(values);
}

// The bowl with its exact gradient.
template <typename T>
class CBowlWithGradient : public CBowlProblem<CGradientDescent<T>> {
 public:
  using CBowlProblem<CGradientDescent<T>>::CBowlProblem;
  bool gradient(const CDenseVector<T>& x, CDenseVector<T>& g) override {
    for (int i = 0; i < x.dimension(); ++i)
      g[i] = T(2) * T(i + 1) * (x[i] - this->centre[i]);
    return true;
  }
};

// x[0]^3, numeric gradient only.
template <typename T>
class CCubeProblem : public CGradientDescent<T> {
 public:
  using CGradientDescent<T>::CGradientDescent;
  T evaluate(const CDenseVector<T>& x) override { return x[0] * x[0] * x[0]; }
};

template <typename T>
class CGradientDescentTest : public testing::Test {};
using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CGradientDescentTest, ElementTypes);

TYPED_TEST(CGradientDescentTest, NamesItselfAndKeepsTheDefaults) {
  using T = TypeParam;
  CConstantRate<T> rate(T(0.1));
  CCubeProblem<T> search(&rate);
  EXPECT_EQ(search.className(), "CGradientDescent");
  EXPECT_TRUE(search.isA("CGradientDescent"));
  EXPECT_FALSE(search.isA("COptimizer"));
  EXPECT_EQ(search.schedule(), &rate);
  EXPECT_EQ(search.gradientTolerance(), T(1e-6));
  EXPECT_EQ(search.stepTolerance(), T(1e-12));
  EXPECT_EQ(search.steps(), 0);
  EXPECT_FALSE(search.converged());
  CDenseVector<T> x(1, T(1)), g(1);
  EXPECT_FALSE(search.CGradientDescent<T>::gradient(x, g));
}

TYPED_TEST(CGradientDescentTest, StepsAgainstTheUserGradientAtRateOfStepT) {
  using T = TypeParam;
  CHarmonicRate<T> rate(T(0.25));
  CBowlWithGradient<T> search({T(1), T(-1)}, &rate);
  search.setPosition(vec<T>({T(3), T(2)}));
  ASSERT_TRUE(search.step());
  // Gradient (2 * 1 * 2, 2 * 2 * 3) at rate(0) = 0.25.
  EXPECT_EQ(search.position()[0], T(3) - T(0.25) * T(4));
  EXPECT_EQ(search.position()[1], T(2) - T(0.25) * T(12));
  const T x0 = search.position()[0];
  ASSERT_TRUE(search.step());
  // Second step at rate(1) = 0.125.
  EXPECT_EQ(search.position()[0], x0 - rate.rate(1) * (T(2) * (x0 - T(1))));
  EXPECT_EQ(search.steps(), 2);
  EXPECT_EQ(rate.iteration(), 0);  // the schedule is only asked
}

TYPED_TEST(CGradientDescentTest, CentralDifferencesUseTheRoundedPoints) {
  using T = TypeParam;
  CConstantRate<T> rate(T(0.01));
  CCubeProblem<T> search(&rate);
  const T x = T(2);
  search.setPosition(vec<T>({x}));
  ASSERT_TRUE(search.step());
  const T h = std::cbrt(std::numeric_limits<T>::epsilon()) * x;
  const T above = x + h;
  const T below = x - h;
  const T g = (above * above * above - below * below * below) / (above - below);
  EXPECT_EQ(search.position()[0], x - T(0.01) * g);
  EXPECT_NEAR(g, T(12), T(1e-2));
}

TYPED_TEST(CGradientDescentTest, ReachesTheBowlMinimumWithUserGradient) {
  using T = TypeParam;
  CConstantRate<T> rate(T(0.1));
  CBowlWithGradient<T> search({T(1), T(-2), T(0.5)}, &rate);
  search.setPosition(vec<T>({T(0), T(0), T(0)}));
  const T least = search.optimize(10000);
  EXPECT_TRUE(search.converged());
  for (int i = 0; i < 3; ++i)
    EXPECT_NEAR(search.position()[i], search.centre[i], T(1e-5));
  EXPECT_EQ(least, search.evaluate(search.position()));
  EXPECT_LE(search.lastGradientNorm(), T(1e-6));
}

TYPED_TEST(CGradientDescentTest, ReachesTheBowlMinimumWithNumericGradient) {
  using T = TypeParam;
  CConstantRate<T> rate(T(0.1));
  CBowlProblem<CGradientDescent<T>> search({T(1), T(-2), T(0.5)}, &rate);
  // Float differences are too coarse for a 1e-6 gradient norm.
  search.setTolerances(std::is_same_v<T, float> ? T(1e-3) : T(1e-6), T(1e-12));
  search.setPosition(vec<T>({T(0), T(0), T(0)}));
  search.optimize(10000);
  EXPECT_TRUE(search.converged());
  const T tolerance = std::is_same_v<T, float> ? T(1e-3) : T(1e-6);
  for (int i = 0; i < 3; ++i)
    EXPECT_NEAR(search.position()[i], search.centre[i], tolerance);
}

TYPED_TEST(CGradientDescentTest, ClimbsWhenMaximising) {
  using T = TypeParam;
  class CCap : public CBowlWithGradient<T> {
   public:
    using CBowlWithGradient<T>::CBowlWithGradient;
    T evaluate(const CDenseVector<T>& x) override {
      return -CBowlWithGradient<T>::evaluate(x);
    }
    bool gradient(const CDenseVector<T>& x, CDenseVector<T>& g) override {
      CBowlWithGradient<T>::gradient(x, g);
      g *= T(-1);
      return true;
    }
  };
  CConstantRate<T> rate(T(0.1));
  CCap search({T(2), T(3)}, &rate);
  search.setMaximize(true);
  search.setPosition(vec<T>({T(0), T(0)}));
  search.optimize(10000);
  EXPECT_NEAR(search.position()[0], T(2), T(1e-5));
  EXPECT_NEAR(search.position()[1], T(3), T(1e-5));
}

TYPED_TEST(CGradientDescentTest, StopsAtAZeroGradientWithoutMoving) {
  using T = TypeParam;
  CConstantRate<T> rate(T(0.1));
  CBowlWithGradient<T> search({T(1)}, &rate);
  search.setPosition(vec<T>({T(1)}));
  EXPECT_FALSE(search.step());
  EXPECT_TRUE(search.converged());
  EXPECT_EQ(search.position()[0], T(1));
  EXPECT_EQ(search.steps(), 0);
}

TYPED_TEST(CGradientDescentTest, AZeroRateStopsTheSearch) {
  using T = TypeParam;
  CConstantRate<T> rate(T(0));
  CBowlWithGradient<T> search({T(1)}, &rate);
  search.setPosition(vec<T>({T(5)}));
  EXPECT_EQ(search.optimize(100), T(16));
  EXPECT_TRUE(search.converged());
  EXPECT_EQ(search.position()[0], T(5));
}

TYPED_TEST(CGradientDescentTest, ANanObjectiveStopsWithoutConverging) {
  using T = TypeParam;
  CConstantRate<T> rate(T(0.1));
  CCubeProblem<T> search(&rate);
  search.setPosition(vec<T>({std::numeric_limits<T>::quiet_NaN()}));
  EXPECT_FALSE(search.step());
  EXPECT_FALSE(search.converged());
  EXPECT_TRUE(std::isnan(search.lastGradientNorm()));
}

TYPED_TEST(CGradientDescentTest, OptimizeRestartsTheStepCount) {
  using T = TypeParam;
  CHarmonicRate<T> rate(T(0.1));
  CBowlWithGradient<T> search({T(0)}, &rate);
  search.setPosition(vec<T>({T(1)}));
  search.optimize(3);
  EXPECT_EQ(search.steps(), 3);
  search.optimize(2);
  EXPECT_EQ(search.steps(), 2);
  CConstantRate<T> other(T(0.2));
  search.setSchedule(&other);
  EXPECT_EQ(search.schedule(), &other);
  search.setTolerances(T(1), T(2));
  EXPECT_EQ(search.gradientTolerance(), T(1));
  EXPECT_EQ(search.stepTolerance(), T(2));
}

template <typename T>
class CGradientDescentDeathTest : public testing::Test {};
TYPED_TEST_SUITE(CGradientDescentDeathTest, ElementTypes);

TYPED_TEST(CGradientDescentDeathTest, ANullScheduleAborts) {
  using T = TypeParam;
  EXPECT_DEATH(CCubeProblem<T> search(nullptr),
               HasSubstr("CGradientDescent needs a learning-rate schedule"));
  CConstantRate<T> rate(T(0.1));
  CCubeProblem<T> search(&rate);
  EXPECT_DEATH(search.setSchedule(nullptr),
               HasSubstr("CGradientDescent needs a learning-rate schedule"));
}

TYPED_TEST(CGradientDescentDeathTest, AGradientOfTheWrongDimensionAborts) {
  using T = TypeParam;
  class CShortGradient : public CCubeProblem<T> {
   public:
    using CCubeProblem<T>::CCubeProblem;
    bool gradient(const CDenseVector<T>&, CDenseVector<T>& g) override {
      g = CDenseVector<T>(3);
      return true;
    }
  };
  CConstantRate<T> rate(T(0.1));
  CShortGradient search(&rate);
  search.setPosition(vec<T>({T(1)}));
  EXPECT_DEATH(search.step(), HasSubstr("ML_EQ_CHK failed in File: "
                                        "CGradientDescent.cpp"));
}

}  // namespace
