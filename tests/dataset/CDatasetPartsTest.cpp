// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "dataset/CDatasetTestSupport.h"
#include "vecml/dataset/CDataset.h"
#include "vecml/matrix/CMatrix.h"
#include "vecml/vector/CSparseVector.h"

namespace {

using cdataset_test::FloatingTypes;
using cdataset_test::idsOf;
using cdataset_test::makeItem;
using cdataset_test::numberedDataset;

template <typename T>
class CDatasetPartsTest : public testing::Test {};
TYPED_TEST_SUITE(CDatasetPartsTest, FloatingTypes);

// ---- split -----------------------------------------------------------------

TYPED_TEST(CDatasetPartsTest, SplitMovesTheLastItemsInReverseOrder) {
  CDataset<TypeParam> data = numberedDataset<TypeParam>(10);
  const CDataset<TypeParam> part = data.split(25.0);
  EXPECT_EQ(idsOf(part), (std::vector<int>{9, 8}));
  EXPECT_EQ(idsOf(data), (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7}));
  EXPECT_EQ(part[0].inputComponent(1), TypeParam(9.5));
  EXPECT_EQ(part.capacity(), 10);
  EXPECT_EQ(part.growSize(), 1000);
}

// The count is floor(n * (percent / 100.0)): 100 * 0.29 is just below 29.
TYPED_TEST(CDatasetPartsTest, SplitCountDividesThePercentageFirst) {
  ASSERT_EQ(std::floor(100 * (29.0 / 100.0)), 28.0);
  CDataset<TypeParam> data = numberedDataset<TypeParam>(100);
  EXPECT_EQ(data.split(29.0).items(), 28);
  EXPECT_EQ(data.items(), 72);
}

TYPED_TEST(CDatasetPartsTest, SplitCountIsLimitedToTheItems) {
  const std::vector<std::pair<double, int>> cases{
      {0.0, 0},
      {100.0, 4},
      {150.0, 4},
      {-10.0, 0},
      {std::numeric_limits<double>::quiet_NaN(), 0},
      {std::numeric_limits<double>::infinity(), 4}};
  for (const auto& [percent, moved] : cases) {
    SCOPED_TRACE(percent);
    CDataset<TypeParam> data = numberedDataset<TypeParam>(4);
    EXPECT_EQ(data.split(percent).items(), moved);
    EXPECT_EQ(data.items(), 4 - moved);
  }
  CDataset<TypeParam> all = numberedDataset<TypeParam>(3);
  EXPECT_EQ(idsOf(all.split(100.0)), (std::vector<int>{2, 1, 0}));
}

// ---- extract ---------------------------------------------------------------

TYPED_TEST(CDatasetPartsTest, ExtractInsideKeepsTheUpperEnd) {
  CDataset<TypeParam> data = numberedDataset<TypeParam>(10);
  const CDataset<TypeParam> part = data.extract(2, 4, true);
  EXPECT_EQ(idsOf(part), (std::vector<int>{2, 3, 4}));
  EXPECT_EQ(idsOf(data), (std::vector<int>{0, 1, 4, 5, 6, 7, 8, 9}));
  EXPECT_EQ(part.growSize(), 1000);
}

TYPED_TEST(CDatasetPartsTest, ExtractUpToTheLastItemRemovesItToo) {
  CDataset<TypeParam> data = numberedDataset<TypeParam>(10);
  const CDataset<TypeParam> part = data.extract(7, 9, true);
  EXPECT_EQ(idsOf(part), (std::vector<int>{7, 8, 9}));
  EXPECT_EQ(idsOf(data), (std::vector<int>{0, 1, 2, 3, 4, 5, 6}));
}

TYPED_TEST(CDatasetPartsTest, ExtractOfOneInnerItemRemovesNothing) {
  CDataset<TypeParam> data = numberedDataset<TypeParam>(10);
  EXPECT_EQ(idsOf(data.extract(3, 3, true)), (std::vector<int>{3}));
  EXPECT_EQ(data.items(), 10);
}

TYPED_TEST(CDatasetPartsTest, ExtractWithoutRemovalCopies) {
  CDataset<TypeParam> data = numberedDataset<TypeParam>(5);
  const CDataset<TypeParam> part = data.extract(1, 4, false);
  EXPECT_EQ(idsOf(part), (std::vector<int>{1, 2, 3, 4}));
  EXPECT_EQ(data.items(), 5);
  EXPECT_NE(part[0].inputVector(), data[1].inputVector());
}

TYPED_TEST(CDatasetPartsTest, ExtractCutsItsRangeToTheItems) {
  CDataset<TypeParam> data = numberedDataset<TypeParam>(6);
  EXPECT_EQ(idsOf(data.extract(-2, 1, true)), (std::vector<int>{0, 1}));
  EXPECT_EQ(idsOf(data), (std::vector<int>{1, 2, 3, 4, 5}));
  EXPECT_EQ(idsOf(data.extract(3, 20, true)), (std::vector<int>{4, 5}));
  EXPECT_EQ(idsOf(data), (std::vector<int>{1, 2, 3}));
  EXPECT_EQ(data.extract(2, 1, true).items(), 0);
  EXPECT_EQ(data.items(), 3);
  CDataset<TypeParam> empty;
  EXPECT_EQ(empty.extract(0, 0, true).items(), 0);
}

TYPED_TEST(CDatasetPartsTest, ExtractGrowsLikeAppend) {
  CDataset<TypeParam> data = numberedDataset<TypeParam>(1200);
  const CDataset<TypeParam> part = data.extract(0, 1100, false);
  EXPECT_EQ(part.items(), 1101);
  EXPECT_EQ(part.capacity(), 2100);
}

// ---- folds -----------------------------------------------------------------

TYPED_TEST(CDatasetPartsTest, FoldsTakeItemsRoundRobin) {
  CDataset<TypeParam> data = numberedDataset<TypeParam>(7);
  data.setInfo("source");
  const std::vector<CDataset<TypeParam>> folds = data.createFolds(3);
  ASSERT_EQ(folds.size(), 3u);
  EXPECT_EQ(idsOf(folds[0]), (std::vector<int>{0, 3, 6}));
  EXPECT_EQ(idsOf(folds[1]), (std::vector<int>{1, 4}));
  EXPECT_EQ(idsOf(folds[2]), (std::vector<int>{2, 5}));
  for (const CDataset<TypeParam>& fold : folds) {
    EXPECT_EQ(fold.growSize(), 1000);
    EXPECT_EQ(fold.getInfo(), "none");
  }
  EXPECT_NE(folds[0][0].inputVector(), data[0].inputVector());
}

TYPED_TEST(CDatasetPartsTest, MoreFoldsThanItemsLeavesEmptyFolds) {
  const CDataset<TypeParam> data = numberedDataset<TypeParam>(2);
  const std::vector<CDataset<TypeParam>> folds = data.createFolds(4);
  ASSERT_EQ(folds.size(), 4u);
  EXPECT_EQ(idsOf(folds[1]), (std::vector<int>{1}));
  EXPECT_EQ(folds[3].items(), 0);
}

TYPED_TEST(CDatasetPartsTest, NoFoldsForANonPositiveCount) {
  const CDataset<TypeParam> data = numberedDataset<TypeParam>(2);
  EXPECT_TRUE(data.createFolds(0).empty());
  EXPECT_TRUE(data.createFolds(-3).empty());
}

// ---- flat arrays -----------------------------------------------------------

TYPED_TEST(CDatasetPartsTest, SetDataToVectorWritesRowsOfInputThenOutput) {
  using T = TypeParam;
  const CDataset<T> data = numberedDataset<T>(3);
  std::vector<T> buffer(9, T(-1));
  data.setDataToVector(buffer.data());
  EXPECT_EQ(buffer, (std::vector<T>{0, 0.5, 0, 1, 1.5, 10, 2, 2.5, 20}));
}

TYPED_TEST(CDatasetPartsTest, SetDataToVectorFillsInTheZerosOfSparseItems) {
  using T = TypeParam;
  T values[] = {T(7)};
  int positions[] = {2};
  const CSparseVector<T> input(3, 1, values, positions);
  const CSparseVector<T> output(1, 0, values, positions);
  CDataset<T> data;
  data.appendItem(CDatasetItem<T>(input, output, 0));
  std::vector<T> buffer(4, T(-1));
  data.setDataToVector(buffer.data());
  EXPECT_EQ(buffer, (std::vector<T>{0, 0, 7, 0}));
}

TYPED_TEST(CDatasetPartsTest, GetDataFromVectorNumbersItemsFromOne) {
  using T = TypeParam;
  CDataset<T> data = numberedDataset<T>(5);
  const std::vector<T> buffer{1, 2, 3, 4, 5, 6};
  data.getDataFromVector(buffer.data(), 2, 2, 1);
  EXPECT_EQ(idsOf(data), (std::vector<int>{1, 2}));
  EXPECT_TRUE(data[0].inputVector()->isA("CDenseVector"));
  EXPECT_TRUE(data[1].outputVector()->isA("CDenseVector"));
  std::vector<T> written(6);
  data.setDataToVector(written.data());
  EXPECT_EQ(written, buffer);
  EXPECT_EQ(data.capacity(), 5);
}

TYPED_TEST(CDatasetPartsTest, GetDataFromVectorTakesNegativeDimensionsAsZero) {
  using T = TypeParam;
  CDataset<T> data;
  const std::vector<T> buffer{1, 2};
  data.getDataFromVector(buffer.data(), 2, 1, -4);
  EXPECT_EQ(data.items(), 2);
  EXPECT_EQ(data.outputDimension(), 0);
  EXPECT_EQ(data[1].inputComponent(0), T(2));
  data.getDataFromVector(nullptr, 0, 3, 3);
  EXPECT_EQ(data.items(), 0);
}

// ---- matrices --------------------------------------------------------------

TYPED_TEST(CDatasetPartsTest, MatricesHoldOneRowPerItem) {
  using T = TypeParam;
  const CDataset<T> data = numberedDataset<T>(3);
  const CMatrix<T> inputs = data.getInputMatrix();
  ASSERT_EQ(inputs.rows(), 3);
  ASSERT_EQ(inputs.columns(), 2);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(inputs.getElement(i, 0), T(i));
    EXPECT_EQ(inputs.getElement(i, 1), T(i) + T(0.5));
  }
  const CMatrix<T> outputs = data.getOutputMatrix();
  ASSERT_EQ(outputs.rows(), 3);
  ASSERT_EQ(outputs.columns(), 1);
  EXPECT_EQ(outputs.getElement(2, 0), T(20));
}

TYPED_TEST(CDatasetPartsTest, MatrixRowsOfOtherDimensionsAreCutOrPadded) {
  using T = TypeParam;
  CDataset<T> data;
  data.appendItem(makeItem<T>(0, {1, 2}, {1}));
  data.appendItem(makeItem<T>(1, {3}, {1}));
  data.appendItem(makeItem<T>(2, {4, 5, 6}, {1}));
  const CMatrix<T> inputs = data.getInputMatrix();
  ASSERT_EQ(inputs.columns(), 2);
  EXPECT_EQ(inputs.getElement(1, 0), T(3));
  EXPECT_EQ(inputs.getElement(1, 1), T(0));
  EXPECT_EQ(inputs.getElement(2, 1), T(5));
}

TYPED_TEST(CDatasetPartsTest, EmptyDatasetGivesEmptyMatrices) {
  const CDataset<TypeParam> data;
  EXPECT_EQ(data.getInputMatrix().rows(), 0);
  EXPECT_EQ(data.getInputMatrix().columns(), 0);
  EXPECT_EQ(data.getOutputMatrix().rows(), 0);
  EXPECT_EQ(data.getOutputMatrix().columns(), 0);
}

}  // namespace
