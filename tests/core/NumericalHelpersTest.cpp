// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "vecml/core/NumericalHelpers.h"
#include "vecml/core/detail/NumericalHelperCaches.h"

namespace {

using testing::HasSubstr;

// The six-coefficient series written out step by step.
double gammlnByTheSteps(double x) {
  const double c[6] = {76.18009173,  -86.50532033,  24.01409822,
                       -1.231739516, 0.00120858003, -0.00000536382};
  const double xPrime = x - 1.0;
  const double tmp0 = xPrime + 5.5;
  const double tmp = tmp0 - (xPrime + 0.5) * std::log(tmp0);
  double ser = 1.0;
  ser += c[0] / (xPrime + 1.0);
  ser += c[1] / (xPrime + 2.0);
  ser += c[2] / (xPrime + 3.0);
  ser += c[3] / (xPrime + 4.0);
  ser += c[4] / (xPrime + 5.0);
  ser += c[5] / (xPrime + 6.0);
  return std::log(2.50662827465 * ser) - tmp;
}

TEST(Gammln, FollowsTheSixCoefficientSeriesExactly) {
  for (double x : {0.1, 0.5, 1.0, 1.5, 2.0, 2.75, 10.0, 33.0, 101.0, 1e4})
    EXPECT_EQ(gammln(x), gammlnByTheSteps(x)) << "x=" << x;
}

// The series is good to about 2e-10; agreement to that precision (relative,
// or absolute near the zeros at 1 and 2) is all the coefficients allow.
void expectNearLnGamma(double x, double lnGamma) {
  EXPECT_NEAR(gammln(x), lnGamma, 2e-10 * std::max(1.0, std::abs(lnGamma)))
      << "x=" << x;
}

TEST(Gammln, MatchesPublishedValues) {
  expectNearLnGamma(0.1, 2.2527126517342059599);
  expectNearLnGamma(0.5, 0.57236494292470008707);  // ln sqrt(pi)
  expectNearLnGamma(1.0, 0.0);
  expectNearLnGamma(1.5, -0.12078223763524522235);
  expectNearLnGamma(2.0, 0.0);
  expectNearLnGamma(3.0, 0.69314718055994530942);   // ln 2
  expectNearLnGamma(10.0, 12.801827480081469611);   // ln 9!
  expectNearLnGamma(101.0, 363.73937555556349014);  // ln 100!
  expectNearLnGamma(1000.0, 5905.2204232091812118);
}

TEST(Gammln, AgreesWithTheLibraryLogGammaOverARange) {
  for (double x = 0.05; x < 200.0; x *= 1.1)
    expectNearLnGamma(x, std::lgamma(x));
}

TEST(Factrl, ZeroAndOneAreOne) {
  EXPECT_EQ(factrl(0), 1.0);
  EXPECT_EQ(factrl(1), 1.0);
  EXPECT_EQ(factrl(5), 120.0);
}

TEST(Factrl, TableHoldsSinglePrecisionProducts) {
  float product = 1.0f;
  for (int n = 1; n <= 32; ++n) {
    product = product * static_cast<float>(n);
    EXPECT_EQ(factrl(n), static_cast<double>(product)) << "n=" << n;
  }
  // 32! is rounded to float, not to double.
  double exact = 1.0;
  for (int n = 1; n <= 32; ++n) exact *= n;
  EXPECT_NE(factrl(32), exact);
}

TEST(Factrl, AboveThirtyTwoComesFromTheGammaFunction) {
  EXPECT_EQ(factrl(33), std::exp(gammln(34.0)));
  EXPECT_EQ(factrl(50), std::exp(gammln(51.0)));
  EXPECT_NEAR(factrl(33), 8.68331761881189e36, 8.68331761881189e36 * 1e-9);
}

// The caches are process-wide, so their initial state is checked in a fresh
// process: the threadsafe death-test style re-runs this test alone.
TEST(FactrlCacheDeathTest, HighWaterIndexRisesOnDemandOnly) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        using vecml::detail::factorialTableTop;
        bool ok = factorialTableTop() == 4;
        ok = ok && factrl(3) == 6.0 && factorialTableTop() == 4;
        ok = ok && factrl(5) == 120.0 && factorialTableTop() == 5;
        ok = ok && factrl(2) == 2.0 && factorialTableTop() == 5;
        ok = ok && factrl(40) > 0.0 && factorialTableTop() == 5;
        ok = ok && factrl(32) > 0.0 && factorialTableTop() == 32;
        std::exit(ok ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

TEST(FactrlDeathTest, NegativeArgumentAborts) {
  EXPECT_DEATH(factrl(-1), HasSubstr("ML_GEQ_CHK failed in File: Macros.cpp "
                                     "Line: 77. n=-1 < 0\n"));
}

TEST(Factln, ZeroAndOneGiveZero) {
  EXPECT_EQ(factln(0), 0.0);
  EXPECT_EQ(factln(1), 0.0);
}

TEST(Factln, IsLogGammaOfNPlusOne) {
  for (int n : {2, 3, 10, 57, 100, 101, 150, 100000})
    EXPECT_EQ(factln(n), gammln(n + 1.0)) << "n=" << n;
  EXPECT_NEAR(factln(100), 363.73937555556349014, 363.74 * 2e-10);
}

TEST(Factln, RepeatedCallsReturnTheCachedEntry) {
  const double first = factln(42);
  EXPECT_EQ(vecml::detail::cachedLogFactorial(42), first);
  EXPECT_EQ(factln(42), first);
}

TEST(FactlnCacheDeathTest, HundredIsCachedAfterTheFirstCall) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        using vecml::detail::cachedLogFactorial;
        bool ok =
            cachedLogFactorial(100) == 0.0 && cachedLogFactorial(7) == 0.0;
        ok = ok && factln(100) == gammln(101.0);
        ok = ok && cachedLogFactorial(100) == gammln(101.0);
        ok = ok && cachedLogFactorial(7) == 0.0;
        // Small arguments and arguments above 100 leave the table alone.
        ok = ok && factln(1) == 0.0 && cachedLogFactorial(1) == 0.0;
        ok = ok && factln(101) > 0.0 && cachedLogFactorial(101) == 0.0;
        std::exit(ok ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

TEST(FactlnDeathTest, NegativeArgumentAborts) {
  EXPECT_DEATH(factln(-1), HasSubstr("ML_GEQ_CHK failed in File: Macros.cpp "
                                     "Line: 88. n=-1 < 0\n"));
}

TEST(Bico, SmallCoefficients) {
  EXPECT_EQ(bico(5, 2), 10.0);
  EXPECT_EQ(bico(10, 3), 120.0);
  EXPECT_EQ(bico(52, 5), 2598960.0);
  EXPECT_EQ(bico(30, 15), 155117520.0);
  for (int n : {0, 1, 7, 100, 500}) {
    EXPECT_EQ(bico(n, 0), 1.0) << "n=" << n;
    EXPECT_EQ(bico(n, n), 1.0) << "n=" << n;
  }
}

TEST(Bico, RoundsTheExponentialOfLogFactorials) {
  for (int n : {6, 40, 120, 300})
    for (int k = 0; k <= n; k += 3)
      EXPECT_EQ(bico(n, k), std::trunc(0.5 + std::exp(factln(n) - factln(k) -
                                                      factln(n - k))))
          << "n=" << n << " k=" << k;
}

TEST(BicoDeathTest, NegativeArgumentsReachTheFactlnCheck) {
  const std::string report = "ML_GEQ_CHK failed in File: Macros.cpp Line: 88. ";
  EXPECT_DEATH(bico(3, -1), HasSubstr(report + "n=-1 < 0\n"));
  EXPECT_DEATH(bico(3, 5), HasSubstr(report + "n=-2 < 0\n"));
  EXPECT_DEATH(bico(-4, 1), HasSubstr(report + "n=-4 < 0\n"));
}

// One polar-method deviate by the stated steps, drawing from rand().
float gaussByTheSteps() {
  float u1, u2, rsq;
  do {
    u1 = static_cast<float>(2.0 * (std::rand() * std::ldexp(1.0, -31)) - 1.0);
    u2 = static_cast<float>(2.0 * (std::rand() * std::ldexp(1.0, -31)) - 1.0);
    rsq = u1 * u1 + u2 * u2;
  } while (rsq >= 1.0f);
  const float logOfRsq = std::log(rsq);
  const double fac = std::sqrt(-2.0 * static_cast<double>(logOfRsq) /
                               static_cast<double>(rsq));
  return static_cast<float>(static_cast<double>(u1) * fac);
}

TEST(GaussRnd, SequenceFollowsThePolarMethod) {
  for (unsigned seed : {1u, 12345u, 4242u}) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    std::srand(seed);
    std::vector<float> expected;
    for (int i = 0; i < 2000; ++i) expected.push_back(gaussByTheSteps());
    const int nextRand = std::rand();
    std::srand(seed);
    for (int i = 0; i < 2000; ++i) ASSERT_EQ(gauss_rnd(), expected[i]) << i;
    // Exactly as many rand() values were consumed.
    EXPECT_EQ(std::rand(), nextRand);
  }
}

TEST(GaussRnd, EachCallConsumesAtLeastTwoRandValues) {
  const unsigned seed = 99;
  std::srand(seed);
  std::vector<int> draws;
  for (int i = 0; i < 8; ++i) draws.push_back(std::rand());
  std::srand(seed);
  gauss_rnd();
  const int next = std::rand();
  const auto found = std::find(draws.begin() + 2, draws.end(), next);
  EXPECT_NE(found, draws.end());
}

TEST(GaussRnd, LooksStandardNormal) {
  const unsigned seed = 2024;
  SCOPED_TRACE(testing::Message() << "seed " << seed);
  std::srand(seed);
  const int count = 200000;
  double sum = 0.0, sumOfSquares = 0.0;
  int withinOne = 0;
  for (int i = 0; i < count; ++i) {
    const double x = gauss_rnd();
    sum += x;
    sumOfSquares += x * x;
    if (std::abs(x) < 1.0) ++withinOne;
  }
  const double mean = sum / count;
  EXPECT_NEAR(mean, 0.0, 0.01);
  EXPECT_NEAR(sumOfSquares / count - mean * mean, 1.0, 0.02);
  EXPECT_NEAR(static_cast<double>(withinOne) / count, 0.6827, 0.005);
}

TEST(InitRndSeed, SeedsWithTheCurrentTime) {
  const std::time_t before = std::time(nullptr);
  init_rnd_seed();
  const int first = std::rand();
  const std::time_t after = std::time(nullptr);
  bool matched = false;
  for (std::time_t t = before; t <= after && !matched; ++t) {
    std::srand(static_cast<unsigned int>(t));
    matched = std::rand() == first;
  }
  EXPECT_TRUE(matched);
}

template <typename T>
class GetRankTest : public testing::Test {};
using ElementTypes = testing::Types<int, float, double>;
TYPED_TEST_SUITE(GetRankTest, ElementTypes);

TYPED_TEST(GetRankTest, SingleElementIsReturned) {
  TypeParam arr[1] = {TypeParam(7)};
  EXPECT_EQ(getRank(1, 1, arr), TypeParam(7));
  EXPECT_EQ(arr[0], TypeParam(7));
}

TYPED_TEST(GetRankTest, TwoElementsAreOrdered) {
  TypeParam arr[2] = {TypeParam(8), TypeParam(3)};
  EXPECT_EQ(getRank(2, 2, arr), TypeParam(8));
  EXPECT_EQ(arr[0], TypeParam(3));
  EXPECT_EQ(arr[1], TypeParam(8));
  TypeParam again[2] = {TypeParam(8), TypeParam(3)};
  EXPECT_EQ(getRank(1, 2, again), TypeParam(3));
}

TYPED_TEST(GetRankTest, FirstIsMinimumAndLastIsMaximum) {
  std::vector<TypeParam> arr{5, -2, 9, 0, 3, 9, -7, 4};
  const int n = static_cast<int>(arr.size());
  std::vector<TypeParam> copy = arr;
  EXPECT_EQ(getRank(1, n, arr.data()), TypeParam(-7));
  EXPECT_EQ(getRank(n, n, copy.data()), TypeParam(9));
}

// Expected orders traced by hand through the quickselect steps.
TYPED_TEST(GetRankTest, ReordersExactlyAsTheQuickselectSteps) {
  using V = std::vector<TypeParam>;
  V a{3, 7, 1, 6, 2, 5, 4};
  EXPECT_EQ(getRank(2, 7, a.data()), TypeParam(2));
  EXPECT_EQ(a, (V{1, 2, 3, 4, 7, 5, 6}));
  V b{3, 7, 1, 6, 2, 5, 4};
  EXPECT_EQ(getRank(6, 7, b.data()), TypeParam(6));
  EXPECT_EQ(b, (V{2, 3, 1, 4, 5, 6, 7}));
  V c{9, 2, 7, 2, 5, 9, 1, 5, 3, 2};
  EXPECT_EQ(getRank(4, 10, c.data()), TypeParam(2));
  EXPECT_EQ(c, (V{1, 2, 2, 2, 3, 5, 5, 9, 7, 9}));
}

// Checks getRank(k) against std::nth_element, and that the array is a
// permutation of the input partitioned around position k.
template <typename T>
void expectSelects(const std::vector<T>& input, int k) {
  std::vector<T> arr = input;
  const int n = static_cast<int>(arr.size());
  const T got = getRank(k, n, arr.data());
  std::vector<T> reference = input;
  std::nth_element(reference.begin(), reference.begin() + (k - 1),
                   reference.end());
  ASSERT_EQ(got, reference[k - 1]) << "n=" << n << " k=" << k;
  EXPECT_EQ(arr[k - 1], got);
  for (int i = 0; i < k - 1; ++i) ASSERT_LE(arr[i], got);
  for (int i = k; i < n; ++i) ASSERT_GE(arr[i], got);
  std::vector<T> sortedInput = input, sortedResult = arr;
  std::sort(sortedInput.begin(), sortedInput.end());
  std::sort(sortedResult.begin(), sortedResult.end());
  ASSERT_EQ(sortedResult, sortedInput);
}

TYPED_TEST(GetRankTest, AgreesWithNthElementOnRandomArrays) {
  const unsigned seed = 777;
  SCOPED_TRACE(testing::Message() << "seed " << seed);
  std::mt19937 generator(seed);
  // A narrow range gives many duplicates, a wide one nearly none.
  for (int range : {3, 1000000}) {
    std::uniform_int_distribution<int> value(-range, range);
    for (int n : {1, 2, 3, 4, 5, 7, 8, 16, 31, 64, 100, 257, 1000, 4097}) {
      std::vector<TypeParam> input(static_cast<std::size_t>(n));
      for (auto& x : input) x = static_cast<TypeParam>(value(generator));
      const int stride = n <= 64 ? 1 : n / 37;
      for (int k = 1; k <= n; k += stride) expectSelects(input, k);
      expectSelects(input, n);
    }
  }
}

TYPED_TEST(GetRankTest, SortedReversedAndConstantArrays) {
  const int n = 50;
  std::vector<TypeParam> ascending(n), descending(n), constant(n, 4);
  for (int i = 0; i < n; ++i) {
    ascending[i] = static_cast<TypeParam>(i);
    descending[i] = static_cast<TypeParam>(n - i);
  }
  for (int k = 1; k <= n; ++k) {
    expectSelects(ascending, k);
    expectSelects(descending, k);
    expectSelects(constant, k);
  }
}

TYPED_TEST(GetRankTest, RankOutsideTheArrayGivesZeroAndKeepsTheArray) {
  const std::vector<TypeParam> input{4, 1, 3};
  const std::vector<std::pair<int, int>> outside{{0, 3}, {4, 3},  {-1, 3},
                                                 {1, 0}, {1, -5}, {0, 0}};
  for (const auto& [k, n] : outside) {
    std::vector<TypeParam> arr = input;
    EXPECT_EQ(getRank(k, n, arr.data()), TypeParam(0)) << k << " " << n;
    EXPECT_EQ(arr, input);
  }
}

TEST(GetRankFloat, NaNsNeverLeadOutsideTheArray) {
  const float nan = std::nanf("");
  const unsigned seed = 31;
  SCOPED_TRACE(testing::Message() << "seed " << seed);
  std::mt19937 generator(seed);
  std::uniform_real_distribution<float> value(-1.0f, 1.0f);
  for (int n : {3, 4, 9, 40, 200}) {
    std::vector<float> input(static_cast<std::size_t>(n));
    for (auto& x : input) x = generator() % 4 == 0 ? nan : value(generator);
    for (int k = 1; k <= n; ++k) {
      std::vector<float> arr = input;
      getRank(k, n, arr.data());  // only memory safety is asked of NaNs
    }
  }
  SUCCEED();
}

}  // namespace
