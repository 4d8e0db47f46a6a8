// SPDX-License-Identifier: MIT
// Every dataset transformation gives the same bits on every thread count:
// awkward item counts, and sizes large enough that several threads run.
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "CDatasetStatisticTestSupport.h"
#include "support/ThreadCounts.h"
#include "vecml/dataset/CDatasetAlgorithm.h"
#include "vecml/metric/CMetric.h"

namespace {

using statistic_test::cyclicLabels;
using statistic_test::randomRows;
using test_support::denseDataset;

template <typename T>
class CDatasetAlgorithmThreadTest : public ::testing::Test {};

using ElementTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(CDatasetAlgorithmThreadTest, ElementTypes);

template <typename T>
std::string bytesOfVector(const CDenseVector<T>& v) {
  return bytesOf(v._data(), static_cast<std::size_t>(v.dimension()));
}

// The elements of every input of `data`, item by item.
template <typename T>
std::string bytesOfInputs(const CDataset<T>& data) {
  std::string bytes;
  for (int i = 0; i < data.items(); ++i) {
    const std::vector<T> input = data[i].inputVector()->toSTL();
    bytes += bytesOf(input.data(), input.size());
  }
  return bytes;
}

// `items` random items of `features` inputs, some negative.
template <typename T>
CDataset<T> randomDataset(int items, int features) {
  return denseDataset(randomRows<T>(items, features, 11 + items, -2, 3),
                      cyclicLabels<T>(items, 3));
}

// A parameter vector of `features` elements away from zero.
template <typename T>
CDenseVector<T> randomParameters(int features, unsigned seed) {
  return CDenseVector<T>(randomRows<T>(1, features, seed, 0.5, 2)[0]);
}

// The results of every transformation that returns new data.
template <typename T>
std::string newDataResults(const CDataset<T>& data, int features) {
  const CDenseVector<T> a = randomParameters<T>(features, 1);
  const CDenseVector<T> b = randomParameters<T>(features, 2);
  CDenseVector<T> lo(features), hi(features), offset, factor, mean, sd;
  hi.ones();
  std::string bytes =
      bytesOfVector(minElements(data)) + bytesOfVector(maxElements(data)) +
      bytesOfInputs(applyScaleRange(data, a, b)) +
      bytesOfInputs(scaleRange(data, lo, hi, offset, factor)) +
      bytesOfVector(offset) + bytesOfVector(factor) +
      bytesOfInputs(applyZScore(data, a, b)) +
      bytesOfInputs(centerInput(data, mean)) + bytesOfVector(mean);
  bytes += bytesOfInputs(zscore(data, mean, sd)) + bytesOfVector(mean) +
           bytesOfVector(sd);
  CEuclideanMetric<T> metric;
  bytes += bytesOfInputs(normalize(data, metric)) +
           bytesOfInputs(removeProjection(data, a));
  return bytes;
}

// The results of the two transformations in place, on a fresh copy.
template <typename T>
std::string inPlaceResults(const CDataset<T>& data, int features) {
  CDataset<T> weighted(data);
  applyWeights(weighted, randomParameters<T>(features, 3));
  CDataset<T> normalized(data);
  normalizeInputDataEuclidean(normalized);
  return bytesOfInputs(weighted) + bytesOfInputs(normalized);
}

template <typename T>
void expectSameResults(int items, int features) {
  SCOPED_TRACE(std::to_string(items) + " x " + std::to_string(features));
  const CDataset<T> data = randomDataset<T>(items, features);
  expectSameBytesOnEveryThreadCount(
      [&] { return newDataResults(data, features); });
  expectSameBytesOnEveryThreadCount(
      [&] { return inPlaceResults(data, features); });
}

TYPED_TEST(CDatasetAlgorithmThreadTest, AwkwardSizes) {
  for (int items : awkwardSizes())
    for (int features : {1, 7, 65})
      expectSameResults<TypeParam>(items, features);
}

TYPED_TEST(CDatasetAlgorithmThreadTest, ManyItems) {
  expectSameResults<TypeParam>(3000, 130);
}

TYPED_TEST(CDatasetAlgorithmThreadTest, ManyFeatures) {
  expectSameResults<TypeParam>(129, 600);
}

// Inputs shorter than the first item add zeros to the mean and are left
// out of the minima and maxima, on every thread count.
TYPED_TEST(CDatasetAlgorithmThreadTest, ShorterInputs) {
  using T = TypeParam;
  test_support::Rows<T> rows = randomRows<T>(3000, 130, 5, -2, 3);
  for (std::size_t i = 1; i < rows.size(); i += 7) rows[i].resize(i % 130);
  const CDataset<T> data = denseDataset(rows, cyclicLabels<T>(3000, 3));
  expectSameBytesOnEveryThreadCount([&] {
    CDenseVector<T> mean;
    return bytesOfVector(minElements(data)) + bytesOfVector(maxElements(data)) +
           bytesOfInputs(centerInput(data, mean)) + bytesOfVector(mean);
  });
}

// A Euclidean metric that throws, naming the value, when its second
// argument starts with 100 or more.
template <typename T>
class LargeInputThrows : public CEuclideanMetric<T> {
 public:
  T distance(const CVector<T>& a, const CVector<T>& b) const override {
    if (b[0] >= T(100)) throw std::runtime_error(std::to_string(b[0]));
    return CEuclideanMetric<T>::distance(a, b);
  }
};

// Of several items that throw, the caller gets the exception of the first,
// on every thread count.
TYPED_TEST(CDatasetAlgorithmThreadTest, ThrowingTransformReportsFirstItem) {
  using T = TypeParam;
  test_support::Rows<T> rows = randomRows<T>(3000, 130, 6, -2, 3);
  // The first thrower lies late in its thread's block, later ones open
  // blocks of 2, 3 and 7 threads, so they throw first.
  rows[999][0] = T(101);
  for (int later : {1000, 1500, 2142}) rows[later][0] = T(100);
  const CDataset<T> data = denseDataset(rows, cyclicLabels<T>(3000, 3));
  const LargeInputThrows<T> metric;
  expectSameBytesOnEveryThreadCount([&] {
    try {
      normalize(data, metric);
    } catch (const std::runtime_error& e) {
      return std::string(e.what());
    }
    return std::string("no exception");
  });
}

}  // namespace
