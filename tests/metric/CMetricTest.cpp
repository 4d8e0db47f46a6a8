// SPDX-License-Identifier: MIT
#include "vecml/metric/CMetric.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <limits>

#include "metric/MetricTestSupport.h"
#include "support/RecordingArchive.h"

namespace {

template <typename T>
class CMetricTest : public testing::Test {};

using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CMetricTest, ElementTypes);

// A client metric derived from a concrete one: the isA chain still compares
// with the most-derived name.
template <typename T>
class CClientMetric : public CEuclideanMetric<T> {
 public:
  std::string className() const override { return "CClientMetric"; }
};

TYPED_TEST(CMetricTest, ClassNamesAreExact) {
  for (const auto& [name, metric] : allMetrics<TypeParam>()) {
    EXPECT_EQ(metric->className(), name);
  }
}

TYPED_TEST(CMetricTest, IsAMatchesOnlyTheMostDerivedName) {
  for (const auto& [name, metric] : allMetrics<TypeParam>()) {
    SCOPED_TRACE(name);
    EXPECT_TRUE(metric->isA(name.c_str()));
    EXPECT_EQ(metric->isA("CMetric"), name == "CMetric");
    EXPECT_FALSE(metric->isA("CObject"));
    EXPECT_FALSE(metric->isA(""));
    EXPECT_FALSE(metric->isA((name + " ").c_str()));
  }
  CAngleMetric<TypeParam> angle;
  EXPECT_FALSE(angle.isA("CMetric"));
  EXPECT_TRUE(angle.isA("CAngleMetric"));

  CClientMetric<TypeParam> client;
  EXPECT_TRUE(client.isA("CClientMetric"));
  EXPECT_FALSE(client.isA("CEuclideanMetric"));
  EXPECT_FALSE(client.isA("CMetric"));
}

TYPED_TEST(CMetricTest, DataTypeAndVerbosityComeFromCObject) {
  const DATATYPE expected = CObject<TypeParam>().dataType();
  for (const auto& [name, metric] : allMetrics<TypeParam>()) {
    EXPECT_EQ(metric->dataType(), expected);
    EXPECT_EQ(metric->verbose(), 3);
  }
}

TYPED_TEST(CMetricTest, SerializationHooksTouchNothing) {
  const std::string path = testing::TempDir() + "vecml_cmetric_serialize.bin";
  for (const auto& [name, metric] : allMetrics<TypeParam>()) {
    SCOPED_TRACE(name);
    {
      std::fstream stream(path, std::ios::out | std::ios::binary);
      EXPECT_TRUE(metric->serialize(stream, IO_WRITE));
      EXPECT_EQ(stream.tellp(), std::streampos(0));
    }
    {
      std::fstream stream(path, std::ios::in | std::ios::binary);
      EXPECT_TRUE(metric->serialize(stream, IO_READ));
      EXPECT_TRUE(stream.good());
    }
    RecordingArchive storing(false);
    RecordingArchive loading(true);
    EXPECT_TRUE(metric->serialize2(storing));
    EXPECT_TRUE(metric->serialize2(loading));
    EXPECT_TRUE(storing.calls.empty());
    EXPECT_TRUE(loading.calls.empty());
  }
  std::remove(path.c_str());
}

TYPED_TEST(CMetricTest, NullMetricDistanceIsZero) {
  CMetric<TypeParam> metric;
  EXPECT_EQ(metric.distance(dense<TypeParam>({1, 2}), dense<TypeParam>({5})),
            TypeParam(0));
  EXPECT_EQ(
      metric.distance(CDenseVector<TypeParam>(), CDenseVector<TypeParam>()),
      TypeParam(0));
}

TYPED_TEST(CMetricTest, EuclideanOfTheThreeFourTriangle) {
  const auto origin = dense<TypeParam>({0, 0});
  const auto point = dense<TypeParam>({3, 4});
  EXPECT_EQ(CEuclideanMetric<TypeParam>().distance(origin, point),
            TypeParam(5));
  EXPECT_EQ(CEuclideanMetric2<TypeParam>().distance(origin, point),
            TypeParam(25));
}

TYPED_TEST(CMetricTest, EuclideanDelegatesToTheVectorOperation) {
  const auto a = dense<TypeParam>({0.1f, -2.5f, 7.25f});
  const auto b = sparse<TypeParam>(3, {{1, TypeParam(0.3)}});
  for (const CVector<TypeParam>* other :
       {static_cast<const CVector<TypeParam>*>(&a),
        static_cast<const CVector<TypeParam>*>(&b)}) {
    EXPECT_EQ(CEuclideanMetric<TypeParam>().distance(a, *other),
              a.euclideanDistance(*other, false));
    EXPECT_EQ(CEuclideanMetric2<TypeParam>().distance(a, *other),
              a.euclideanDistance(*other, true));
    EXPECT_EQ(CEuclideanMetric<TypeParam>().distance(*other, a),
              other->euclideanDistance(a, false));
  }
}

TYPED_TEST(CMetricTest, ManhattenAndMaximumOfOppositePoints) {
  const auto a = dense<TypeParam>({1, -2});
  const auto b = dense<TypeParam>({-1, 2});
  EXPECT_EQ(CManhattenMetric<TypeParam>().distance(a, b), TypeParam(6));
  EXPECT_EQ(CMaximumMetric<TypeParam>().distance(a, b), TypeParam(4));
}

TYPED_TEST(CMetricTest, ManhattenAndMaximumOfEmptyVectorsAreZero) {
  const CDenseVector<TypeParam> empty;
  EXPECT_EQ(CManhattenMetric<TypeParam>().distance(empty, empty), TypeParam(0));
  EXPECT_EQ(CMaximumMetric<TypeParam>().distance(empty, empty), TypeParam(0));
  const auto longer = dense<TypeParam>({-9, 9});
  EXPECT_EQ(CManhattenMetric<TypeParam>().distance(empty, longer),
            TypeParam(0));
  EXPECT_EQ(CMaximumMetric<TypeParam>().distance(empty, longer), TypeParam(0));
}

TYPED_TEST(CMetricTest, ManhattenAndMaximumWalkTheFirstDimensionOnly) {
  const auto a = dense<TypeParam>({1, 2});
  const auto b = dense<TypeParam>({0, 0, 100});
  EXPECT_EQ(CManhattenMetric<TypeParam>().distance(a, b), TypeParam(3));
  EXPECT_EQ(CMaximumMetric<TypeParam>().distance(a, b), TypeParam(2));
}

TYPED_TEST(CMetricTest, ManhattenSumsInIndexOrder) {
  const auto a = dense<TypeParam>({0.1f, 1e8f, -3.3f, 0.7f});
  const auto b = dense<TypeParam>({-0.2f, 0.5f, 1e-3f, -1e8f});
  TypeParam expected = 0;
  for (int i = 0; i < a.dimension(); ++i) {
    const TypeParam d = a[i] - b[i];
    expected += d < 0 ? -d : d;
  }
  EXPECT_EQ(CManhattenMetric<TypeParam>().distance(a, b), expected);
}

TYPED_TEST(CMetricTest, ManhattenAndMaximumReadSparseVectors) {
  const auto a = dense<TypeParam>({1, 2, 3});
  const auto b = sparse<TypeParam>(3, {{1, TypeParam(-4)}});
  EXPECT_EQ(CManhattenMetric<TypeParam>().distance(a, b), TypeParam(10));
  EXPECT_EQ(CMaximumMetric<TypeParam>().distance(a, b), TypeParam(6));
  EXPECT_EQ(CManhattenMetric<TypeParam>().distance(b, a), TypeParam(10));
  EXPECT_EQ(CMaximumMetric<TypeParam>().distance(b, a), TypeParam(6));
}

TYPED_TEST(CMetricTest, MaximumLetsALaterDifferenceReplaceNaN) {
  const TypeParam nan = std::numeric_limits<TypeParam>::quiet_NaN();
  const auto zeros = dense<TypeParam>({0, 0});
  EXPECT_EQ(
      CMaximumMetric<TypeParam>().distance(dense<TypeParam>({nan, 1}), zeros),
      TypeParam(1));
  EXPECT_TRUE(std::isnan(
      CMaximumMetric<TypeParam>().distance(dense<TypeParam>({1, nan}), zeros)));
  EXPECT_TRUE(std::isnan(CManhattenMetric<TypeParam>().distance(
      dense<TypeParam>({nan, 1}), zeros)));
}

TYPED_TEST(CMetricTest, ScalarIsOneMinusTheProduct) {
  CScalarMetric<TypeParam> metric;
  EXPECT_EQ(metric.distance(dense<TypeParam>({1, 0}), dense<TypeParam>({1, 0})),
            TypeParam(0));
  EXPECT_EQ(metric.distance(dense<TypeParam>({1, 0}), dense<TypeParam>({0, 1})),
            TypeParam(1));
  // No normalisation.
  EXPECT_EQ(metric.distance(dense<TypeParam>({2, 0}), dense<TypeParam>({3, 1})),
            TypeParam(-5));
  const auto a = dense<TypeParam>({0.3f, -0.7f, 0.2f});
  const auto b = sparse<TypeParam>(3, {{1, TypeParam(0.9)}});
  EXPECT_EQ(metric.distance(a, b), TypeParam(1) - a * b);
}

TYPED_TEST(CMetricTest, CoCosineIsOneMinusTheCosine) {
  CCoCosineMetric<TypeParam> metric;
  const auto x = dense<TypeParam>({1, 0});
  EXPECT_EQ(metric.distance(x, dense<TypeParam>({2, 0})), TypeParam(0));
  EXPECT_EQ(metric.distance(x, dense<TypeParam>({-1, 0})), TypeParam(2));
  EXPECT_EQ(metric.distance(x, dense<TypeParam>({0, 3})), TypeParam(1));
  EXPECT_EQ(metric.distance(x, dense<TypeParam>({0, 0})), TypeParam(1));
  const auto a = dense<TypeParam>({0.3f, -0.7f, 0.2f});
  const auto b = dense<TypeParam>({1.5f, 0.25f, -4});
  EXPECT_EQ(metric.distance(a, b), TypeParam(1) - a.coCosineDistance(b));
}

TYPED_TEST(CMetricTest, AngleOfOrthogonalAndOppositeVectors) {
  CAngleMetric<TypeParam> metric;
  const auto x = dense<TypeParam>({1, 0});
  EXPECT_EQ(metric.distance(x, dense<TypeParam>({0, 1})),
            std::acos(TypeParam(0)));
  EXPECT_NEAR(metric.distance(x, dense<TypeParam>({0, 1})), 1.5707963267948966,
              1e-6);
  EXPECT_EQ(metric.distance(x, dense<TypeParam>({-2, 0})),
            std::acos(TypeParam(-1)));
  EXPECT_EQ(metric.distance(x, sparse<TypeParam>(2, {{1, TypeParam(5)}})),
            std::acos(TypeParam(0)));
}

TYPED_TEST(CMetricTest, AngleWithAZeroVectorIsNaN) {
  CAngleMetric<TypeParam> metric;
  EXPECT_TRUE(std::isnan(
      metric.distance(dense<TypeParam>({1, 0}), dense<TypeParam>({0, 0}))));
  EXPECT_TRUE(std::isnan(
      metric.distance(dense<TypeParam>({0, 0}), dense<TypeParam>({0, 0}))));
}

TYPED_TEST(CMetricTest, AngleFollowsTheStatedStepsWithoutClamping) {
  CAngleMetric<TypeParam> metric;
  bool sawRoundingBeyondOne = false;
  for (int n = 1; n <= 12; ++n) {
    SCOPED_TRACE(n);
    const CDenseVector<TypeParam> ones(n, TypeParam(1));
    const TypeParam ab = ones * ones;
    const TypeParam quotient = ab / (std::sqrt(ab) * std::sqrt(ab));
    const TypeParam angle = metric.distance(ones, ones);
    if (quotient > 1) {
      sawRoundingBeyondOne = true;
      EXPECT_TRUE(std::isnan(angle));
    } else {
      EXPECT_EQ(angle, std::acos(quotient));
    }
  }
  EXPECT_TRUE(sawRoundingBeyondOne);
}

TYPED_TEST(CMetricTest, HyperbolicIgnoresElementsBeyondTheSecond) {
  EXPECT_EQ(CHyperbolicMetric<TypeParam>().distance(
                dense<TypeParam>({0, 0, 7}), dense<TypeParam>({0, 0, -3})),
            TypeParam(0));
}

TYPED_TEST(CMetricTest, HyperbolicFollowsThePoincareFormula) {
  using T = TypeParam;
  const T x0 = T(0.5), x1 = T(-0.25), y0 = T(0.125), y1 = T(0.3);
  const T dx = x0 - y0, dy = x1 - y1;
  const T expected = std::acosh(
      T(1) + T(2) * (dx * dx + dy * dy) /
                 ((T(1) - (x0 * x0 + x1 * x1)) * (T(1) - (y0 * y0 + y1 * y1))));
  EXPECT_EQ(CHyperbolicMetric<T>().distance(dense<T>({x0, x1, 9}),
                                            dense<T>({y0, y1})),
            expected);
  EXPECT_EQ(CHyperbolicMetric<T>().distance(dense<T>({x0, x1}),
                                            sparse<T>(2, {{0, y0}, {1, y1}})),
            expected);
}

TYPED_TEST(CMetricTest, HyperbolicOutsideTheUnitDiscIsNotGuarded) {
  CHyperbolicMetric<TypeParam> metric;
  EXPECT_TRUE(std::isnan(
      metric.distance(dense<TypeParam>({2, 0}), dense<TypeParam>({0, 0}))));
  EXPECT_TRUE(std::isinf(
      metric.distance(dense<TypeParam>({1, 0}), dense<TypeParam>({0, 0}))));
}

template <typename T>
class CMetricDeathTest : public testing::Test {};
TYPED_TEST_SUITE(CMetricDeathTest, ElementTypes);

TYPED_TEST(CMetricDeathTest, HyperbolicOfAShortDenseVectorAborts) {
  const auto shortVector = dense<TypeParam>({0.5f});
  const auto point = dense<TypeParam>({0, 0});
  EXPECT_DEATH(
      CHyperbolicMetric<TypeParam>().distance(shortVector, point),
      testing::HasSubstr("ML_LS_CHK failed in File: CDenseVector.h Line: 168. "
                         "i=1 >= 1"));
  EXPECT_DEATH(CHyperbolicMetric<TypeParam>().distance(point, shortVector),
               testing::HasSubstr("i=1 >= 1"));
}

TYPED_TEST(CMetricDeathTest, ManhattenWithAShorterSecondDenseVectorAborts) {
  const auto a = dense<TypeParam>({1, 2, 3});
  const auto b = dense<TypeParam>({1, 2});
  EXPECT_DEATH(
      CManhattenMetric<TypeParam>().distance(a, b),
      testing::HasSubstr("ML_LS_CHK failed in File: CDenseVector.h Line: 168. "
                         "i=2 >= 2"));
  EXPECT_DEATH(CMaximumMetric<TypeParam>().distance(a, b),
               testing::HasSubstr("i=2 >= 2"));
}

}  // namespace
