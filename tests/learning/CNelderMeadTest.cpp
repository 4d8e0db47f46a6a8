// SPDX-License-Identifier: MIT
#include "vecml/learning/CNelderMead.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "learning/OptimizerTestProblems.h"

namespace {

template <typename T>
CDenseVector<T> vec(std::vector<T> values) {
  return CDenseVector<T>(values);
}

// A problem that returns a fixed value, or NaN, wherever it is asked.
template <typename T>
class CFlatProblem : public CNelderMead<T> {
 public:
  explicit CFlatProblem(T value) : value(value) {}
  T evaluate(const CDenseVector<T>&) override { return value; }
  T value;
};

// f(x) = x[0] + x[1]: used to read the initial simplex.
template <typename T>
class CPlaneProblem : public CNelderMead<T> {
 public:
  using CNelderMead<T>::CNelderMead;
  T evaluate(const CDenseVector<T>& x) override { return x[0] + x[1]; }
};

// (x - 3)^2 in one dimension.
template <typename T>
class CParabolaProblem : public CNelderMead<T> {
 public:
  T evaluate(const CDenseVector<T>& x) override {
    return (x[0] - T(3)) * (x[0] - T(3));
  }
};

template <typename T>
class CNelderMeadTest : public testing::Test {};
using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CNelderMeadTest, ElementTypes);

TYPED_TEST(CNelderMeadTest, NamesItselfAndKeepsTheDefaults) {
  using T = TypeParam;
  CFlatProblem<T> search(T(1));
  EXPECT_EQ(search.className(), "CNelderMead");
  EXPECT_TRUE(search.isA("CNelderMead"));
  EXPECT_FALSE(search.isA("COptimizer"));
  EXPECT_FALSE(search.isA("CObject"));
  EXPECT_EQ(search.xTolerance(), T(1e-4));
  EXPECT_EQ(search.fTolerance(), T(1e-4));
  EXPECT_EQ(search.relativeStep(), T(0.05));
  EXPECT_EQ(search.zeroStep(), T(0.00025));
  EXPECT_EQ(search.evaluations(), 0);
  EXPECT_TRUE(search.simplex().empty());
}

TYPED_TEST(CNelderMeadTest, BuildsTheInitialSimplexAlongEachAxisAndSortsIt) {
  using T = TypeParam;
  CPlaneProblem<T> search(T(1), T(1));  // converged at once
  search.setPosition(vec<T>({T(2), T(0)}));
  EXPECT_FALSE(search.step());
  EXPECT_EQ(search.evaluations(), 3);
  const auto& simplex = search.simplex();
  ASSERT_EQ(simplex.size(), 3u);
  const T stepped = (T(1) + T(0.05)) * T(2);
  // Values 2, 2 + stepped - 2 and 2.00025, sorted ascending.
  EXPECT_EQ(simplex[0][0], T(2));
  EXPECT_EQ(simplex[0][1], T(0));
  EXPECT_EQ(simplex[1][0], T(2));
  EXPECT_EQ(simplex[1][1], T(0.00025));
  EXPECT_EQ(simplex[2][0], stepped);
  EXPECT_EQ(simplex[2][1], T(0));
  EXPECT_EQ(search.simplexValues()[0], T(2));
  EXPECT_EQ(search.position()[0], T(2));
}

TYPED_TEST(CNelderMeadTest, ConvergingAtOnceLeavesTheBestInitialVertex) {
  using T = TypeParam;
  CPlaneProblem<T> search(T(1), T(1));
  search.setPosition(vec<T>({T(-2), T(0)}));
  EXPECT_FALSE(search.step());
  EXPECT_EQ(search.position()[0], (T(1) + T(0.05)) * T(-2));
  EXPECT_EQ(search.position()[1], T(0));
}

TYPED_TEST(CNelderMeadTest, InitialStepsAreSettable) {
  using T = TypeParam;
  CPlaneProblem<T> search(T(10), T(10));
  search.setInitialSteps(T(0.5), T(-1));
  search.setPosition(vec<T>({T(2), T(0)}));
  search.step();
  const auto& simplex = search.simplex();
  EXPECT_EQ(simplex[0][1], T(-1));  // the zero coordinate, now lowest
  EXPECT_EQ(simplex[2][0], T(3));
}

TYPED_TEST(CNelderMeadTest, FirstStepExpandsWithTheStatedCoefficients) {
  using T = TypeParam;
  CParabolaProblem<T> search;
  search.setPosition(vec<T>({T(1)}));
  ASSERT_TRUE(search.step());
  // Simplex (1.05, 1) after sorting: centroid 1.05, worst 1; the reflection
  // 2c - w improves on the best, and so does the expansion 3c - 2w.
  const T centroid = (T(1) + T(0.05)) * T(1);
  const T expanded = T(3) * centroid + T(-2) * T(1);
  EXPECT_EQ(search.position()[0], expanded);
  EXPECT_EQ(search.evaluations(), 4);
}

TYPED_TEST(CNelderMeadTest, MinimisesAQuadraticBowl) {
  using T = TypeParam;
  CBowlProblem<CNelderMead<T>> search({T(1), T(-2), T(0.5)});
  search.setTolerances(T(1e-6), T(1e-9));
  search.setPosition(vec<T>({T(0), T(0), T(0)}));
  const T least = search.optimize(5000);
  const T tolerance = std::is_same_v<T, float> ? T(1e-3) : T(1e-5);
  for (int i = 0; i < 3; ++i)
    EXPECT_NEAR(search.position()[i], search.centre[i], tolerance);
  EXPECT_EQ(least, search.evaluate(search.position()));
  EXPECT_FALSE(search.step());  // converged
}

TYPED_TEST(CNelderMeadTest, MaximisesWhenAsked) {
  using T = TypeParam;
  // The bowl turned upside down by the sign: maximising -bowl.
  class CCap : public CBowlProblem<CNelderMead<T>> {
   public:
    using CBowlProblem<CNelderMead<T>>::CBowlProblem;
    T evaluate(const CDenseVector<T>& x) override {
      return -CBowlProblem<CNelderMead<T>>::evaluate(x);
    }
  };
  CCap search({T(2), T(3)});
  search.setMaximize(true);
  search.setTolerances(T(1e-6), T(1e-9));
  search.setPosition(vec<T>({T(0), T(0)}));
  const T best = search.optimize(5000);
  EXPECT_NEAR(search.position()[0], T(2), T(1e-3));
  EXPECT_NEAR(search.position()[1], T(3), T(1e-3));
  EXPECT_LE(best, T(0));
  EXPECT_EQ(best, search.evaluate(search.position()));
}

TYPED_TEST(CNelderMeadTest, FindsTheRosenbrockMinimum) {
  using T = TypeParam;
  CRosenbrockProblem<CNelderMead<T>> search;
  search.setTolerances(T(1e-10), T(1e-10));
  search.setPosition(vec<T>({T(-1.2), T(1)}));
  search.optimize(10000);
  const T tolerance = std::is_same_v<T, float> ? T(1e-2) : T(1e-6);
  EXPECT_NEAR(search.position()[0], T(1), tolerance);
  EXPECT_NEAR(search.position()[1], T(1), tolerance);
}

TYPED_TEST(CNelderMeadTest, EqualValuesKeepTheEarlierVertexFirst) {
  using T = TypeParam;
  CFlatProblem<T> search(T(7));
  search.setTolerances(T(1e-3), T(0));
  const CDenseVector<T> start = vec<T>({T(4), T(-1)});
  search.setPosition(start);
  // Every trial point ties with the worst vertex, so the simplex shrinks
  // towards the starting point, which stays first.
  EXPECT_EQ(search.optimize(100), T(7));
  EXPECT_EQ(search.position()[0], T(4));
  EXPECT_EQ(search.position()[1], T(-1));
  EXPECT_FALSE(search.step());
}

TYPED_TEST(CNelderMeadTest, NanValuesRankLastAndNeverConverge) {
  using T = TypeParam;
  CFlatProblem<T> search(std::numeric_limits<T>::quiet_NaN());
  search.setTolerances(T(1e30), T(1e30));
  search.setPosition(vec<T>({T(1), T(2)}));
  search.optimize(20);
  // 3 vertices, then per step a reflection, a contraction and 2 shrunk
  // vertices.
  EXPECT_EQ(search.evaluations(), 3 + 20 * 4);
  EXPECT_EQ(search.position()[0], T(1));
  EXPECT_EQ(search.position()[1], T(2));
  EXPECT_TRUE(search.step());
}

TYPED_TEST(CNelderMeadTest, NanRegionsAreAvoided) {
  using T = TypeParam;
  // NaN left of 0.5: the search keeps to the defined side.
  class CWall : public CNelderMead<T> {
   public:
    T evaluate(const CDenseVector<T>& x) override {
      if (x[0] < T(0.5)) return std::numeric_limits<T>::quiet_NaN();
      return x[0] * x[0];
    }
  };
  CWall search;
  search.setTolerances(T(1e-6), T(1e-6));
  search.setPosition(vec<T>({T(2)}));
  search.optimize(1000);
  EXPECT_GE(search.position()[0], T(0.5));
  EXPECT_NEAR(search.position()[0], T(0.5), T(1e-4));
}

TYPED_TEST(CNelderMeadTest, AMovedPositionStartsANewSimplex) {
  using T = TypeParam;
  CParabolaProblem<T> search;
  search.setPosition(vec<T>({T(1)}));
  search.step();
  search.setPosition(vec<T>({T(10)}));
  search.step();
  // Built around 10 and stepped once towards 3: never near the old one.
  EXPECT_GT(search.simplex().back()[0], T(9));
  search.restart();
  EXPECT_TRUE(search.simplex().empty());
}

TYPED_TEST(CNelderMeadTest, AnEmptyPositionConvergesAtOnce) {
  using T = TypeParam;
  CFlatProblem<T> search(T(5));
  EXPECT_EQ(search.optimize(10), T(5));
  EXPECT_EQ(search.evaluations(), 1);
  EXPECT_EQ(search.position().dimension(), 0);
  EXPECT_FALSE(search.step());
  EXPECT_EQ(search.evaluations(), 1);
}

TYPED_TEST(CNelderMeadTest, NoStepsEvaluatesThePositionOnly) {
  using T = TypeParam;
  CParabolaProblem<T> search;
  search.setPosition(vec<T>({T(1)}));
  EXPECT_EQ(search.optimize(0), T(4));
  EXPECT_EQ(search.position()[0], T(1));
  EXPECT_TRUE(search.simplex().empty());
}

}  // namespace
