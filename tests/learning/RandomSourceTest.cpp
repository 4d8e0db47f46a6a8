// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <random>

#include "vecml/learning/detail/RandomSource.h"

using vecml::detail::RandomSource;

TEST(RandomSourceTest, UniformTakesTheTop53BitsOfTheEngine) {
  std::mt19937_64 engine(7);
  RandomSource source(7);
  for (int i = 0; i < 100; ++i) {
    const double expected = static_cast<double>(engine() >> 11) * 0x1.0p-53;
    EXPECT_EQ(source.uniform(), expected);
  }
}

TEST(RandomSourceTest, SameSeedSameSequence) {
  RandomSource a(42), b(42), c(43);
  bool differs = false;
  for (int i = 0; i < 20; ++i) {
    const double x = a.uniform();
    EXPECT_EQ(x, b.uniform());
    differs = differs || x != c.uniform();
  }
  EXPECT_TRUE(differs);
}

TEST(RandomSourceTest, IndexStaysInRangeAndReachesEveryValue) {
  RandomSource source(1);
  int seen[5] = {};
  for (int i = 0; i < 1000; ++i) {
    const int k = source.index(5);
    ASSERT_GE(k, 0);
    ASSERT_LT(k, 5);
    ++seen[k];
  }
  for (int count : seen) EXPECT_GT(count, 100);
}

TEST(RandomSourceTest, NormalHasUnitSpread) {
  RandomSource source(3);
  double sum = 0, squares = 0;
  const int n = 20000;
  for (int i = 0; i < n; ++i) {
    const double x = source.normal();
    ASSERT_TRUE(std::isfinite(x));
    sum += x;
    squares += x * x;
  }
  EXPECT_NEAR(sum / n, 0.0, 0.05);
  EXPECT_NEAR(squares / n, 1.0, 0.05);
}
