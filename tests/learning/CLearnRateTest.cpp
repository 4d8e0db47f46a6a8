// SPDX-License-Identifier: MIT
#include "vecml/learning/CLearnRate.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <memory>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace {

template <typename T>
class CLearnRateTest : public testing::Test {};
using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CLearnRateTest, ElementTypes);

// One schedule of every class with the name it must report.
template <typename T>
std::vector<std::pair<std::string, std::unique_ptr<CLearnRate<T>>>>
allSchedules() {
  std::vector<std::pair<std::string, std::unique_ptr<CLearnRate<T>>>> all;
  all.emplace_back("CLearnRate", std::make_unique<CLearnRate<T>>());
  all.emplace_back("CConstantRate", std::make_unique<CConstantRate<T>>(T(1)));
  all.emplace_back("CHarmonicRate", std::make_unique<CHarmonicRate<T>>(T(1)));
  all.emplace_back("CLinearRate",
                   std::make_unique<CLinearRate<T>>(T(1), T(0), 5));
  all.emplace_back("CExponentialRate",
                   std::make_unique<CExponentialRate<T>>(T(1), T(0.25), 2));
  return all;
}

// A client schedule derived from a library one: the isA chain still
// compares with the most-derived name.
template <typename T>
class CClientRate : public CHarmonicRate<T> {
 public:
  CClientRate() : CHarmonicRate<T>(T(1)) {}
  std::string className() const override { return "CClientRate"; }
};

TYPED_TEST(CLearnRateTest, ClassNamesAreExact) {
  for (const auto& [name, schedule] : allSchedules<TypeParam>())
    EXPECT_EQ(schedule->className(), name);
}

TYPED_TEST(CLearnRateTest, IsAMatchesOnlyTheMostDerivedName) {
  for (const auto& [name, schedule] : allSchedules<TypeParam>()) {
    SCOPED_TRACE(name);
    EXPECT_TRUE(schedule->isA(name.c_str()));
    EXPECT_EQ(schedule->isA("CLearnRate"), name == "CLearnRate");
    EXPECT_FALSE(schedule->isA("CObject"));
    EXPECT_FALSE(schedule->isA(""));
  }
  CClientRate<TypeParam> client;
  EXPECT_TRUE(client.isA("CClientRate"));
  EXPECT_FALSE(client.isA("CHarmonicRate"));
  EXPECT_FALSE(client.isA("CLearnRate"));
}

TYPED_TEST(CLearnRateTest, DataTypeAndVerbosityComeFromCObject) {
  for (const auto& [name, schedule] : allSchedules<TypeParam>()) {
    EXPECT_EQ(schedule->dataType(), CObject<TypeParam>().dataType());
    EXPECT_EQ(schedule->verbose(), 3);
  }
}

template <typename T>
void expectFields(const CLearnRate<T>& schedule, T start, T end, T current,
                  T factor, int steps, int iteration) {
  EXPECT_EQ(schedule.startRate(), start);
  EXPECT_EQ(schedule.endRate(), end);
  EXPECT_EQ(schedule.currentRate(), current);
  EXPECT_EQ(schedule.factor(), factor);
  EXPECT_EQ(schedule.steps(), steps);
  EXPECT_EQ(schedule.iteration(), iteration);
}

TYPED_TEST(CLearnRateTest, FieldsNotGivenToAConstructorStartAtZero) {
  using T = TypeParam;
  expectFields(CLearnRate<T>(), T(0), T(0), T(0), T(0), 0, 0);
  expectFields(CConstantRate<T>(T(0.5)), T(0.5), T(0), T(0.5), T(0), 0, 0);
  expectFields(CHarmonicRate<T>(T(2)), T(2), T(0), T(0), T(0), 0, 0);
  expectFields(CLinearRate<T>(T(1), T(0.5), 9), T(1), T(0.5), T(0), T(0), 9, 0);
  expectFields(CExponentialRate<T>(T(1), T(0.25), 2), T(1), T(0.25), T(1),
               T(0.5), 2, 0);
}

TYPED_TEST(CLearnRateTest, NullScheduleGivesZeroAndNeverMoves) {
  CLearnRate<TypeParam> schedule;
  EXPECT_EQ(schedule.rate(0), TypeParam(0));
  EXPECT_EQ(schedule.rate(1000), TypeParam(0));
  EXPECT_EQ(schedule.iterate(), TypeParam(0));
  EXPECT_EQ(schedule.iteration(), 0);
}

TYPED_TEST(CLearnRateTest, ConstantRate) {
  CConstantRate<TypeParam> schedule(TypeParam(0.1));
  EXPECT_EQ(schedule.rate(1000), TypeParam(0.1));
  EXPECT_EQ(schedule.rate(-3), TypeParam(0.1));
  EXPECT_EQ(schedule.iterate(), TypeParam(0.1));
  EXPECT_EQ(schedule.iterate(), TypeParam(0.1));
  EXPECT_EQ(schedule.iteration(), 2);
  EXPECT_EQ(schedule.currentRate(), TypeParam(0.1));
}

TYPED_TEST(CLearnRateTest, HarmonicRate) {
  CHarmonicRate<TypeParam> schedule(TypeParam(1));
  EXPECT_EQ(schedule.rate(0), TypeParam(1));
  EXPECT_EQ(schedule.rate(1), TypeParam(0.5));
  EXPECT_EQ(schedule.iterate(), TypeParam(0.5));
  EXPECT_EQ(schedule.iterate(), TypeParam(1) / TypeParam(3));
  EXPECT_EQ(schedule.iterate(), TypeParam(0.25));
  EXPECT_EQ(schedule.currentRate(), TypeParam(0.25));
  EXPECT_EQ(schedule.iteration(), 3);
}

TYPED_TEST(CLearnRateTest, HarmonicFormulaIsExactInT) {
  using T = TypeParam;
  const T start = T(0.7);
  CHarmonicRate<T> schedule(start);
  for (int t : {0, 1, 2, 6, 99, 12345, 16777217, INT_MAX - 1})
    EXPECT_EQ(schedule.rate(t), start / static_cast<T>(t + 1)) << t;
  // After the k-th call the current rate is rate(k): ahead of iteration.
  for (int k = 1; k <= 50; ++k) {
    EXPECT_EQ(schedule.iterate(), schedule.rate(k)) << k;
    EXPECT_EQ(schedule.currentRate(), start / static_cast<T>(k + 1)) << k;
  }
}

TYPED_TEST(CLearnRateTest, LinearRate) {
  CLinearRate<TypeParam> schedule(TypeParam(1), TypeParam(0), 5);
  EXPECT_EQ(schedule.rate(0), TypeParam(1));
  EXPECT_EQ(schedule.rate(4), TypeParam(0));
  EXPECT_EQ(schedule.rate(6), TypeParam(-0.5));  // not clamped
  EXPECT_EQ(schedule.iterate(), TypeParam(1));
  EXPECT_EQ(schedule.iterate(), TypeParam(0.75));
  EXPECT_EQ(schedule.iteration(), 2);
  EXPECT_EQ(schedule.currentRate(), TypeParam(0.75));
}

TYPED_TEST(CLearnRateTest, LinearFormulaIsOneFusedMultiplyAdd) {
  using T = TypeParam;
  const unsigned seed = 5;
  SCOPED_TRACE(testing::Message() << "seed " << seed);
  std::mt19937 generator(seed);
  std::uniform_real_distribution<double> value(-3.0, 3.0);
  int fusedDiffers = 0;
  for (int trial = 0; trial < 200; ++trial) {
    const T start = static_cast<T>(value(generator));
    const T end = static_cast<T>(value(generator));
    const int steps = 2 + trial % 17;
    CLinearRate<T> schedule(start, end, steps);
    const T slope = (end - start) / static_cast<T>(steps - 1);
    for (int t = 0; t < 40; ++t) {
      const T expected = std::fma(slope, static_cast<T>(t), start);
      ASSERT_EQ(schedule.rate(t), expected) << start << " " << end << " " << t;
      const T product = slope * static_cast<T>(t);
      if (product + start != expected) ++fusedDiffers;
    }
  }
  // The data exercise the single rounding of the fused form.
  EXPECT_GT(fusedDiffers, 0);
}

TYPED_TEST(CLearnRateTest, LinearIterateLagsRateByOne) {
  using T = TypeParam;
  CLinearRate<T> schedule(T(0.9), T(0.1), 7);
  for (int k = 1; k <= 10; ++k) {
    EXPECT_EQ(schedule.iterate(), schedule.rate(k - 1)) << k;
    EXPECT_EQ(schedule.iteration(), k);
  }
}

TYPED_TEST(CLearnRateTest, ExponentialRate) {
  using T = TypeParam;
  CExponentialRate<T> schedule(T(1), T(0.25), 2);
  EXPECT_EQ(schedule.factor(), T(0.5));
  EXPECT_EQ(schedule.rate(0), T(1));
  EXPECT_EQ(schedule.rate(1), T(0.25));
  EXPECT_EQ(schedule.rate(2), T(0.0625));  // not clamped
  EXPECT_EQ(schedule.iterate(), T(0.5));
  EXPECT_EQ(schedule.iterate(), T(0.25));
  EXPECT_EQ(schedule.iterate(), T(0.25));
  EXPECT_EQ(schedule.iterate(), T(0.25));
  EXPECT_EQ(schedule.iteration(), 4);
}

TYPED_TEST(CLearnRateTest, IncreasingExponentialNeverMovesByIterate) {
  using T = TypeParam;
  CExponentialRate<T> schedule(T(0.1), T(2), 10);
  EXPECT_GT(schedule.factor(), T(1));
  for (int k = 1; k <= 20; ++k) EXPECT_EQ(schedule.iterate(), T(0.1));
  EXPECT_EQ(schedule.iteration(), 20);
  EXPECT_GT(schedule.rate(5), T(0.1));
}

TYPED_TEST(CLearnRateTest, ExponentialFormulasAreExact) {
  using T = TypeParam;
  const std::vector<std::tuple<T, T, int>> schedules{
      {T(0.9), T(0.01), 100}, {T(0.3), T(0.2), 7}, {T(2), T(3), 4}};
  for (const auto& [start, end, steps] : schedules) {
    CExponentialRate<T> schedule(start, end, steps);
    const T ratio = end / start;
    EXPECT_EQ(schedule.factor(),
              static_cast<T>(std::pow(static_cast<double>(ratio),
                                      1.0 / static_cast<double>(steps))));
    for (int t : {0, 1, 2, 5, 50, 99, 100, 150}) {
      const double exponent =
          static_cast<double>(t) / static_cast<double>(steps - 1);
      EXPECT_EQ(schedule.rate(t),
                static_cast<T>(static_cast<double>(start) *
                               std::pow(static_cast<double>(ratio), exponent)))
          << t;
    }
    // Stepping multiplies by the factor in T while above the end rate.
    T current = start;
    for (int k = 1; k <= steps + 5; ++k) {
      if (current > end) current = current * schedule.factor();
      ASSERT_EQ(schedule.iterate(), current) << k;
    }
  }
}

TYPED_TEST(CLearnRateTest, SingleStepDividesByZero) {
  using T = TypeParam;
  CLinearRate<T> linear(T(1), T(0), 1);
  EXPECT_TRUE(std::isinf(linear.rate(1)));
  EXPECT_TRUE(std::isnan(linear.rate(0)));
  CExponentialRate<T> exponential(T(1), T(0.5), 1);
  EXPECT_EQ(exponential.factor(), T(0.5));
  EXPECT_TRUE(std::isnan(exponential.rate(0)));
  EXPECT_EQ(exponential.rate(1), T(0));
}

TYPED_TEST(CLearnRateTest, ZeroStartMakesExponentialNonFinite) {
  using T = TypeParam;
  CExponentialRate<T> fromZero(T(0), T(1), 4);
  EXPECT_TRUE(std::isinf(fromZero.factor()));
  EXPECT_TRUE(std::isnan(fromZero.rate(1)));  // 0 * inf
  CExponentialRate<T> zeroToZero(T(0), T(0), 4);
  EXPECT_TRUE(std::isnan(zeroToZero.factor()));
  EXPECT_TRUE(std::isnan(zeroToZero.rate(2)));
}

}  // namespace
