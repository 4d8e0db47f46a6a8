// SPDX-License-Identifier: MIT
// What every dataset transformation promises about its result: outputs and
// ids copied unchanged, dense inputs, a fresh dataset, an untouched source
// and empty results for empty data.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "dataset/DatasetAlgorithmTestSupport.h"
#include "vecml/dataset/CDatasetAlgorithm.h"
#include "vecml/metric/CMetric.h"

namespace {

using algorithm_test::dense;
using algorithm_test::expectOutputsCopied;
using algorithm_test::sparse;

template <typename T>
class CDatasetAlgorithmResultTest : public testing::Test {};
using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CDatasetAlgorithmResultTest, ElementTypes);

template <typename T>
using Transformation = std::function<CDataset<T>(const CDataset<T>&)>;

// Every function that builds a new dataset, with parameters for inputs of
// dimension 2.
template <typename T>
std::vector<std::pair<std::string, Transformation<T>>> transformations() {
  return {
      {"applyScaleRange",
       [](const CDataset<T>& data) {
         return applyScaleRange(data, dense<T>({2, 3}), dense<T>({1, 1}));
       }},
      {"scaleRange",
       [](const CDataset<T>& data) {
         CDenseVector<T> offset, factor;
         return scaleRange(data, dense<T>({0, 0}), dense<T>({1, 1}), offset,
                           factor);
       }},
      {"applyZScore",
       [](const CDataset<T>& data) {
         return applyZScore(data, dense<T>({1, 1}), dense<T>({2, 2}));
       }},
      {"centerInput",
       [](const CDataset<T>& data) {
         CDenseVector<T> mean;
         return centerInput(data, mean);
       }},
      {"zscore",
       [](const CDataset<T>& data) {
         CDenseVector<T> mean, sd;
         return zscore(data, mean, sd);
       }},
      {"normalize",
       [](const CDataset<T>& data) {
         return normalize(data, CEuclideanMetric<T>());
       }},
      {"removeProjection",
       [](const CDataset<T>& data) {
         return removeProjection(data, dense<T>({T(0.6), T(0.8)}));
       }},
  };
}

// Dense and sparse inputs and outputs, a stored zero, an output without
// entries and assorted ids.
template <typename T>
CDataset<T> mixedDataset() {
  CDataset<T> data(4, 7);
  data.setInfo("mixed");
  data.appendItem(CDatasetItem<T>(dense<T>({1, 2}),
                                  sparse<T>(3, {{0, T(5)}, {2, T(-1)}}), 4));
  data.appendItem(
      CDatasetItem<T>(sparse<T>(2, {{1, T(3)}}), dense<T>({7, 8}), 9));
  data.appendItem(
      CDatasetItem<T>(dense<T>({4, -2}), sparse<T>(3, {{1, T(0)}}), 2));
  data.appendItem(
      CDatasetItem<T>(sparse<T>(2, {{0, T(-1)}}), sparse<T>(4, {}), -1));
  return data;
}

TYPED_TEST(CDatasetAlgorithmResultTest, OutputVectorsAndIdsAreCopiedUnchanged) {
  using T = TypeParam;
  const auto source = mixedDataset<T>();
  for (const auto& [name, transform] : transformations<T>()) {
    SCOPED_TRACE(name);
    expectOutputsCopied(source, transform(source));
  }
}

TYPED_TEST(CDatasetAlgorithmResultTest, InPlaceFunctionsLeaveOutputsAlone) {
  using T = TypeParam;
  const auto source = mixedDataset<T>();
  auto weighted = source;
  applyWeights(weighted, dense<T>({2, 3}));
  expectOutputsCopied(source, weighted);
  auto normalised = source;
  normalizeInputDataEuclidean(normalised);
  expectOutputsCopied(source, normalised);
}

TYPED_TEST(CDatasetAlgorithmResultTest, ResultInputsAreDense) {
  using T = TypeParam;
  const auto source = mixedDataset<T>();
  for (const auto& [name, transform] : transformations<T>()) {
    SCOPED_TRACE(name);
    const auto result = transform(source);
    for (int i = 0; i < result.items(); ++i) {
      EXPECT_EQ(result[i].inputVector()->className(), "CDenseVector") << i;
      EXPECT_EQ(result[i].inputDimension(), 2) << i;
    }
  }
}

TYPED_TEST(CDatasetAlgorithmResultTest, ResultsAreFreshDatasets) {
  using T = TypeParam;
  const auto source = mixedDataset<T>();
  for (const auto& [name, transform] : transformations<T>()) {
    SCOPED_TRACE(name);
    const auto result = transform(source);
    EXPECT_EQ(result.growSize(), 1000);
    EXPECT_EQ(result.capacity(), 1000);
    EXPECT_EQ(result.getInfo(), "none");
    EXPECT_EQ(result.metaData(), nullptr);
  }
}

TYPED_TEST(CDatasetAlgorithmResultTest, SourceDatasetIsUnchanged) {
  using T = TypeParam;
  const auto source = mixedDataset<T>();
  const auto reference = mixedDataset<T>();
  for (const auto& [name, transform] : transformations<T>()) {
    SCOPED_TRACE(name);
    transform(source);
    ASSERT_EQ(source.items(), reference.items());
    for (int i = 0; i < source.items(); ++i) {
      EXPECT_EQ(source[i].inputVector()->className(),
                reference[i].inputVector()->className());
      EXPECT_EQ(source[i].inputVector()->toSTL(),
                reference[i].inputVector()->toSTL());
    }
    expectOutputsCopied(reference, source);
  }
}

TYPED_TEST(CDatasetAlgorithmResultTest, EmptyDatasetsGiveEmptyResults) {
  using T = TypeParam;
  const CDataset<T> empty;
  for (const auto& [name, transform] : transformations<T>()) {
    SCOPED_TRACE(name);
    EXPECT_EQ(transform(empty).items(), 0);
  }
  EXPECT_EQ(minElements(empty).dimension(), 0);
  EXPECT_EQ(maxElements(empty).dimension(), 0);
}

TYPED_TEST(CDatasetAlgorithmResultTest, EmptyDatasetsGiveEmptyParameters) {
  using T = TypeParam;
  const CDataset<T> empty;
  CDenseVector<T> mean(3, T(1)), sd(3, T(1));
  zscore(empty, mean, sd);
  EXPECT_EQ(mean.dimension(), 0);
  EXPECT_EQ(sd.dimension(), 0);
  CDenseVector<T> centre(2, T(1));
  centerInput(empty, centre);
  EXPECT_EQ(centre.dimension(), 0);
  CDenseVector<T> offset(2, T(1)), factor(2, T(1));
  scaleRange(empty, dense<T>({0}), dense<T>({1}), offset, factor);
  EXPECT_EQ(offset.dimension(), 0);
  EXPECT_EQ(factor.dimension(), 0);
}

TYPED_TEST(CDatasetAlgorithmResultTest, InPlaceFunctionsAcceptEmptyDatasets) {
  using T = TypeParam;
  CDataset<T> empty;
  applyWeights(empty, dense<T>({1}));
  normalizeInputDataEuclidean(empty);
  EXPECT_EQ(empty.items(), 0);
}

}  // namespace
