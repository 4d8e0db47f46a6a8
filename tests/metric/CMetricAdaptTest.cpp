// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "metric/MetricTestSupport.h"
#include "support/CaptureOutput.h"
#include "vecml/core/CException.h"
#include "vecml/metric/CMetric.h"

namespace {

template <typename T>
class CMetricAdaptTest : public testing::Test {
 protected:
  CEuclideanMetric<T> euclidean;
  CEuclideanMetric2<T> euclidean2;
  CScalarMetric<T> scalar;
  CCoCosineMetric<T> coCosine;

  // The metrics whose adaptVec moves along a straight line, and those that
  // move on the unit sphere.
  std::vector<CMetric<T>*> linear() { return {&euclidean, &euclidean2}; }
  std::vector<CMetric<T>*> spherical() { return {&scalar, &coCosine}; }
};

using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CMetricAdaptTest, ElementTypes);

// The result of a spherical move by the stated steps: add weight * sample
// (sample itself for weight exactly 1 from eta 1), then divide by the rooted
// length summed in index order.
template <typename T>
std::vector<T> sphericalMove(std::vector<T> target,
                             const std::vector<T>& sample, float eta) {
  T length = 0;
  for (std::size_t i = 0; i < target.size(); ++i) {
    if (eta == 1.0f)
      target[i] = sample[i];
    else
      target[i] += T(1.0f / (1.0f - eta) - 1.0f) * sample[i];
    length += target[i] * target[i];
  }
  length = std::sqrt(length);
  for (T& element : target) element /= length;
  return target;
}

TYPED_TEST(CMetricAdaptTest, EuclideanMovesOnTheLineToTheSample) {
  for (CMetric<TypeParam>* metric : this->linear()) {
    SCOPED_TRACE(metric->className());
    auto target = dense<TypeParam>({1, 1});
    metric->adaptVec(target, dense<TypeParam>({3, 5}), 0.5f);
    EXPECT_EQ(target.toSTL(), (std::vector<TypeParam>{2, 3}));
  }
}

TYPED_TEST(CMetricAdaptTest, EuclideanWeightsAreFormedInFloat) {
  using T = TypeParam;
  const float eta = 0.1f;
  const std::vector<T> start = {T(1.3), T(-0.7), T(2)};
  const std::vector<T> sample = {T(0.2), T(5.5), T(-1)};
  std::vector<T> expected;
  for (std::size_t i = 0; i < start.size(); ++i)
    expected.push_back(T(1.0f - eta) * start[i] + T(eta) * sample[i]);
  for (CMetric<T>* metric : this->linear()) {
    SCOPED_TRACE(metric->className());
    CDenseVector<T> target(start);
    metric->adaptVec(target, CDenseVector<T>(sample), eta);
    EXPECT_EQ(target.toSTL(), expected);
  }
}

TYPED_TEST(CMetricAdaptTest, EuclideanWithEtaZeroKeepsTheTarget) {
  for (CMetric<TypeParam>* metric : this->linear()) {
    auto target = dense<TypeParam>({1.5f, -2});
    metric->adaptVec(target, dense<TypeParam>({7, 8}), 0.0f);
    EXPECT_EQ(target.toSTL(), (std::vector<TypeParam>{1.5f, -2}));
  }
}

TYPED_TEST(CMetricAdaptTest, EuclideanAcceptsASparseSample) {
  for (CMetric<TypeParam>* metric : this->linear()) {
    auto target = dense<TypeParam>({2, 4, 6});
    metric->adaptVec(target, sparse<TypeParam>(3, {{1, TypeParam(8)}}), 0.5f);
    EXPECT_EQ(target.toSTL(), (std::vector<TypeParam>{1, 6, 3}));
  }
}

TYPED_TEST(CMetricAdaptTest, MovingASparseTargetThrows) {
  std::vector<CMetric<TypeParam>*> metrics = this->linear();
  for (CMetric<TypeParam>* metric : this->spherical())
    metrics.push_back(metric);
  for (CMetric<TypeParam>* metric : metrics) {
    SCOPED_TRACE(metric->className());
    auto target = sparse<TypeParam>(2, {{0, TypeParam(1)}});
    captureStdout([&] {
      EXPECT_THROW(metric->adaptVec(target, dense<TypeParam>({0, 1}), 0.5f),
                   CException);
    });
  }
}

TYPED_TEST(CMetricAdaptTest, SphericalWithEtaOneTakesTheSampleDirection) {
  for (CMetric<TypeParam>* metric : this->spherical()) {
    SCOPED_TRACE(metric->className());
    auto target = dense<TypeParam>({5, 5});
    metric->adaptVec(target, dense<TypeParam>({3, 4}), 1.0f);
    EXPECT_EQ(target.toSTL(),
              (std::vector<TypeParam>{TypeParam(3) / 5, TypeParam(4) / 5}));
  }
}

TYPED_TEST(CMetricAdaptTest, SphericalWithEtaHalfNormalisesTheSum) {
  const TypeParam half = TypeParam(1) / std::sqrt(TypeParam(2));
  for (CMetric<TypeParam>* metric : this->spherical()) {
    SCOPED_TRACE(metric->className());
    auto target = dense<TypeParam>({1, 0});
    metric->adaptVec(target, dense<TypeParam>({0, 1}), 0.5f);
    EXPECT_EQ(target.toSTL(), (std::vector<TypeParam>{half, half}));
  }
}

TYPED_TEST(CMetricAdaptTest, SphericalFollowsTheStatedSteps) {
  using T = TypeParam;
  const std::vector<T> start = {T(0.6), T(-0.8), T(0)};
  const std::vector<T> sample = {T(0.1), T(0.3), T(-0.95)};
  for (float eta : {0.25f, 0.9f, -0.5f, 1.0f}) {
    SCOPED_TRACE(eta);
    for (CMetric<T>* metric : this->spherical()) {
      SCOPED_TRACE(metric->className());
      CDenseVector<T> target(start);
      metric->adaptVec(target, CDenseVector<T>(sample), eta);
      EXPECT_EQ(target.toSTL(), sphericalMove(start, sample, eta));
    }
  }
}

TYPED_TEST(CMetricAdaptTest, SphericalWithNaNEtaGivesNaN) {
  for (CMetric<TypeParam>* metric : this->spherical()) {
    auto target = dense<TypeParam>({1, 0});
    metric->adaptVec(target, dense<TypeParam>({0, 1}),
                     std::numeric_limits<float>::quiet_NaN());
    EXPECT_TRUE(std::isnan(target[0]));
    EXPECT_TRUE(std::isnan(target[1]));
  }
}

TYPED_TEST(CMetricAdaptTest, SphericalZeroLengthResultIsNotGuarded) {
  for (CMetric<TypeParam>* metric : this->spherical()) {
    auto target = dense<TypeParam>({1, 0});
    metric->adaptVec(target, dense<TypeParam>({-1, 0}), 0.5f);
    EXPECT_TRUE(std::isnan(target[0]));
    EXPECT_TRUE(std::isnan(target[1]));
  }
}

TYPED_TEST(CMetricAdaptTest, OtherMetricsLeaveTheTargetUnchanged) {
  for (const auto& [name, metric] : allMetrics<TypeParam>()) {
    if (name == "CEuclideanMetric" || name == "CEuclideanMetric2" ||
        name == "CScalarMetric" || name == "CCoCosineMetric")
      continue;
    SCOPED_TRACE(name);
    auto target = dense<TypeParam>({1, 2});
    metric->adaptVec(target, dense<TypeParam>({3, 4}), 0.5f);
    EXPECT_EQ(target.toSTL(), (std::vector<TypeParam>{1, 2}));
    auto sparseTarget = sparse<TypeParam>(2, {{1, TypeParam(2)}});
    metric->adaptVec(sparseTarget, dense<TypeParam>({3, 4}), 0.5f);
    EXPECT_EQ(sparseTarget.getElement(1), TypeParam(2));
  }
}

}  // namespace
