// SPDX-License-Identifier: MIT
// Every statistic gives the same bits on every thread count: awkward item
// and feature counts, and sizes large enough that several threads run.
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "CDatasetStatisticTestSupport.h"
#include "support/ThreadCounts.h"
#include "vecml/dataset/CDatasetStatistic.h"
#include "vecml/metric/CMetric.h"

namespace {

using statistic_test::captureConsole;
using statistic_test::cyclicLabels;
using statistic_test::randomRows;
using test_support::denseDataset;

template <typename T>
class CDatasetStatisticThreadTest : public ::testing::Test {};

using ElementTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(CDatasetStatisticThreadTest, ElementTypes);

template <typename T>
std::string bytesOfVector(const CDenseVector<T>& v) {
  return bytesOf(v._data(), static_cast<std::size_t>(v.dimension()));
}

template <typename T>
std::string bytesOfMatrix(const CMatrix<T>& m) {
  return bytesOf(m._data(), static_cast<std::size_t>(m.rows()) * m.columns());
}

// `items` random items of `features` inputs with three cyclic labels.
template <typename T>
CDataset<T> randomDataset(int items, int features) {
  return denseDataset(randomRows<T>(items, features, 7 + items, -2, 3),
                      cyclicLabels<T>(items, 3));
}

// The mean, covariance and autocorrelation results, all overloads.
template <typename T>
std::string triangleResults(CDataset<T>& data) {
  CDatasetStatistic<T> statistic(&data);
  return bytesOfVector(statistic.mean(data)) +
         bytesOfVector(statistic.mean(data, T(1))) +
         bytesOfMatrix(statistic.covarianceMatrix(data)) +
         bytesOfMatrix(statistic.covarianceMatrix(data, T(2))) +
         bytesOfMatrix(statistic.getAutoCorrelation());
}

// The per-feature results and the printed table.
template <typename T>
std::string featureResults(CDataset<T>& data) {
  CDatasetStatistic<T> statistic(&data);
  CDenseVector<T> mean, stdDev, variance;
  statistic.statistic(mean, stdDev, variance);
  std::string bytes =
      bytesOfVector(mean) + bytesOfVector(stdDev) + bytesOfVector(variance);
  statistic.statistic(*data[0].outputVector(), mean, stdDev, variance);
  bytes +=
      bytesOfVector(mean) + bytesOfVector(stdDev) + bytesOfVector(variance);
  bytes += bytesOfVector(statistic.minElements()) +
           bytesOfVector(statistic.maxElements());
  return bytes + captureConsole([&] { statistic.dumpStatistic(); });
}

// The class scatter matrices and their progress output.
template <typename T>
std::string scatterResults(CDataset<T>& data) {
  CDatasetStatistic<T> statistic(&data);
  std::string bytes;
  const std::string printed = captureConsole([&] {
    bytes = bytesOfMatrix(statistic.getSW()) + bytesOfMatrix(statistic.getSB());
  });
  return bytes + printed;
}

// The rank correlation of the first `count` items against a map space of
// three points, named by the cyclic labels, and its progress output.
template <typename T>
std::string spearmanResults(CDataset<T>& data, int count) {
  CDatasetStatistic<T> statistic(&data);
  CDataset<double> map = denseDataset(randomRows<double>(3, 5, 3, -1, 1),
                                      cyclicLabels<double>(3, 3));
  CEuclideanMetric<double> mapMetric;
  CEuclideanMetric<T> inputMetric;
  T rho = 0;
  const std::string printed = captureConsole(
      [&] { rho = statistic.spearman(count, map, mapMetric, inputMetric); });
  return bytesOf(&rho, 1) + printed;
}

TYPED_TEST(CDatasetStatisticThreadTest, TrianglesOnAwkwardSizes) {
  for (int items : awkwardSizes())
    for (int features : {1, 7, 65}) {
      SCOPED_TRACE(std::to_string(items) + " x " + std::to_string(features));
      CDataset<TypeParam> data = randomDataset<TypeParam>(items, features);
      expectSameBytesOnEveryThreadCount([&] { return triangleResults(data); });
    }
}

TYPED_TEST(CDatasetStatisticThreadTest, TrianglesOfManyFeatures) {
  CDataset<TypeParam> data = randomDataset<TypeParam>(40, 130);
  expectSameBytesOnEveryThreadCount([&] { return triangleResults(data); });
}

TYPED_TEST(CDatasetStatisticThreadTest, FeaturesOnAwkwardSizes) {
  for (int items : awkwardSizes())
    for (int features : {1, 7, 65, 130}) {
      SCOPED_TRACE(std::to_string(items) + " x " + std::to_string(features));
      CDataset<TypeParam> data = randomDataset<TypeParam>(items, features);
      expectSameBytesOnEveryThreadCount([&] { return featureResults(data); });
    }
}

TYPED_TEST(CDatasetStatisticThreadTest, FeaturesOfManyItems) {
  CDataset<TypeParam> data = randomDataset<TypeParam>(3000, 130);
  expectSameBytesOnEveryThreadCount([&] { return featureResults(data); });
}

TYPED_TEST(CDatasetStatisticThreadTest, ScatterOnAwkwardSizes) {
  for (int items : {1, 17, 129})
    for (int features : {1, 7, 65}) {
      SCOPED_TRACE(std::to_string(items) + " x " + std::to_string(features));
      CDataset<TypeParam> data = randomDataset<TypeParam>(items, features);
      expectSameBytesOnEveryThreadCount([&] { return scatterResults(data); });
    }
}

// One class per item, so that the between-class sum has work for several
// threads.
TYPED_TEST(CDatasetStatisticThreadTest, ScatterOfManyClasses) {
  using T = TypeParam;
  for (int features : {7, 65}) {
    SCOPED_TRACE(features);
    CDataset<T> data = denseDataset(randomRows<T>(129, features, 9, -2, 3),
                                    cyclicLabels<T>(129, 129));
    expectSameBytesOnEveryThreadCount([&] { return scatterResults(data); });
  }
}

TYPED_TEST(CDatasetStatisticThreadTest, SpearmanOnAwkwardSizes) {
  for (int items : awkwardSizes())
    for (int features : {1, 65}) {
      SCOPED_TRACE(std::to_string(items) + " x " + std::to_string(features));
      CDataset<TypeParam> data = randomDataset<TypeParam>(items, features);
      expectSameBytesOnEveryThreadCount(
          [&] { return spearmanResults(data, items); });
    }
}

// Several progress lines, and fewer items ranked than the dataset holds.
TYPED_TEST(CDatasetStatisticThreadTest, SpearmanOfManyItems) {
  CDataset<TypeParam> data = randomDataset<TypeParam>(320, 20);
  expectSameBytesOnEveryThreadCount([&] { return spearmanResults(data, 301); });
}

// A Euclidean metric that throws when its first argument starts with 100.
template <typename T>
class MarkedInputThrows : public CEuclideanMetric<T> {
 public:
  T distance(const CVector<T>& a, const CVector<T>& b) const override {
    if (a[0] == T(100)) throw std::runtime_error("marked input");
    return CEuclideanMetric<T>::distance(a, b);
  }
};

// A throwing distance leaves the progress text and the exception of the
// one-thread walk: the lines up to the item that throws, no more.
TYPED_TEST(CDatasetStatisticThreadTest, SpearmanWithThrowingDistance) {
  using T = TypeParam;
  test_support::Rows<T> rows = randomRows<T>(320, 20, 4, -2, 3);
  rows[250][0] = T(100);
  CDataset<T> data = denseDataset(rows, cyclicLabels<T>(320, 3));
  CDataset<double> map = denseDataset(randomRows<double>(3, 5, 3, -1, 1),
                                      cyclicLabels<double>(3, 3));
  CEuclideanMetric<double> mapMetric;
  MarkedInputThrows<T> inputMetric;
  expectSameBytesOnEveryThreadCount([&] {
    CDatasetStatistic<T> statistic(&data);
    std::string error;
    std::string printed = captureConsole([&] {
      try {
        statistic.spearman(320, map, mapMetric, inputMetric);
      } catch (const std::runtime_error& e) {
        error = e.what();
      }
    });
    EXPECT_EQ(error, "marked input");
    EXPECT_EQ(printed.find("looking at   300"), std::string::npos);
    return printed + error;
  });
}

}  // namespace
