// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <vector>

#include "matrix/MatrixTestSupport.h"
#include "vecml/matrix/CMatrix.h"

namespace {

template <typename T>
class NDimForTest : public testing::Test {};
TYPED_TEST_SUITE(NDimForTest, ElementTypes);

template <typename T>
using Steps = std::vector<std::vector<T>>;

// The counter after each of `count` steps from the initial position.
template <typename T, typename Step>
Steps<T> walk(const std::vector<T>& start, const std::vector<T>& end, int count,
              Step step) {
  std::vector<T> counter(start.size(), T(9));
  step(start, end, counter, true);
  Steps<T> seen;
  for (int n = 0; n < count; ++n) {
    step(start, end, counter, false);
    seen.push_back(counter);
  }
  return seen;
}

TYPED_TEST(NDimForTest, LastDimensionRunsFastestAndWraps) {
  using T = TypeParam;
  EXPECT_EQ(walk<T>({0, 0}, {1, 2}, 6, nDimFor<T>),
            (Steps<T>{{0, 1}, {0, 2}, {1, 0}, {1, 1}, {1, 2}, {0, 0}}));
}

TYPED_TEST(NDimForTest, ReverseRunsTheFirstDimensionFastest) {
  using T = TypeParam;
  EXPECT_EQ(walk<T>({0, 0}, {1, 2}, 6, nDimForReverse<T>),
            (Steps<T>{{1, 0}, {0, 1}, {1, 1}, {0, 2}, {1, 2}, {0, 0}}));
}

TYPED_TEST(NDimForTest, InitCopiesTheStartOnly) {
  using T = TypeParam;
  std::vector<T> counter = {5, 5, 5};
  nDimFor<T>({1, 2}, {3, 3}, counter, true);
  EXPECT_EQ(counter, (std::vector<T>{1, 2, 5}));
  nDimForReverse<T>({3, 4}, {3, 4}, counter, true);
  EXPECT_EQ(counter, (std::vector<T>{3, 4, 5}));
}

TYPED_TEST(NDimForTest, CounterIsNeverResized) {
  using T = TypeParam;
  std::vector<T> counter = {0, 0, 7};
  nDimFor<T>({0, 0}, {1, 1}, counter, false);
  EXPECT_EQ(counter, (std::vector<T>{0, 1, 7}));
}

TEST(NDimFor, FloatingEndIsReachedByWholeSteps) {
  // 0.5, 1.5 and 2.5, the first value not below 1.7, then back to 0.5.
  EXPECT_EQ(walk<double>({0.5}, {1.7}, 3, nDimFor<double>),
            (Steps<double>{{1.5}, {2.5}, {0.5}}));
}

TEST(NDimFor, ShortCounterOrEndLimitsTheDimensions) {
  std::vector<int> counter = {0};
  nDimFor<int>({0, 0}, {1, 1}, counter, false);
  EXPECT_EQ(counter, std::vector<int>{1});
  std::vector<int> longer = {0, 0};
  nDimForReverse<int>({0, 0}, {1}, longer, false);
  EXPECT_EQ(longer, (std::vector<int>{1, 0}));
  nDimFor<int>({4, 4}, {5}, longer, true);
  EXPECT_EQ(longer, (std::vector<int>{4, 0}));
}

TEST(NDimFor, EmptyBoxDoesNothing) {
  std::vector<float> counter = {3};
  nDimFor<float>({}, {}, counter, false);
  nDimForReverse<float>({}, {}, counter, true);
  EXPECT_EQ(counter, std::vector<float>{3});
}

}  // namespace
