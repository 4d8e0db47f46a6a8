// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "CDatasetTestSupport.h"
#include "vecml/dataset/CDataset.h"

namespace {

using cdataset_test::FloatingTypes;
using cdataset_test::numberedDataset;
using testing::HasSubstr;

template <typename T>
class CDatasetAccessTest : public testing::Test {};
TYPED_TEST_SUITE(CDatasetAccessTest, FloatingTypes);

template <typename T>
class CDatasetAccessDeathTest : public testing::Test {};
TYPED_TEST_SUITE(CDatasetAccessDeathTest, FloatingTypes);

TYPED_TEST(CDatasetAccessTest, EveryAccessorSynonymReachesTheSameItem) {
  auto data = numberedDataset<TypeParam>(3);
  const auto& constant = data;
  EXPECT_EQ(&data.getItem(1), &data.item(1));
  EXPECT_EQ(&data[1], &data(1));
  EXPECT_EQ(&constant.getItem(1), &constant[1]);
  EXPECT_EQ(&constant.item(1), &constant(1));
  EXPECT_EQ(&data.getLast(), &data[2]);
  EXPECT_EQ(data[1].id(), 1);
}

TYPED_TEST(CDatasetAccessTest, MovingTakesTheItemsAndSettings) {
  auto source = numberedDataset<TypeParam>(3);
  source.setInfo("moved");
  source.setGrowSize(7);
  const CDatasetItem<TypeParam>* first = &source[0];
  CDataset<TypeParam> moved(std::move(source));
  EXPECT_EQ(moved.items(), 3);
  EXPECT_EQ(&moved[0], first);  // the items themselves, not copies
  EXPECT_EQ(moved.getInfo(), "moved");
  EXPECT_EQ(moved.growSize(), 7);
  EXPECT_EQ(source.items(), 0);  // NOLINT: checked on purpose
  EXPECT_EQ(source.getType(), "CDataset 0.1");
}

TYPED_TEST(CDatasetAccessTest, MoveAssignmentExchangesOnlyTheItems) {
  auto source = numberedDataset<TypeParam>(2);
  source.setInfo("source");
  CDataset<TypeParam> target;
  target.setInfo("target");
  target = std::move(source);
  EXPECT_EQ(target.items(), 2);
  EXPECT_EQ(target.getInfo(), "target");
}

TYPED_TEST(CDatasetAccessTest, FoldsAreMovedNotCopied) {
  std::vector<CDataset<TypeParam>> folds =
      numberedDataset<TypeParam>(5).createFolds(2);
  const CDatasetItem<TypeParam>* first = &folds[0][0];
  folds.reserve(folds.capacity() + 8);
  EXPECT_EQ(&folds[0][0], first);
}

TYPED_TEST(CDatasetAccessDeathTest, IndexPastTheLastItemAborts) {
  auto data = numberedDataset<TypeParam>(2);
  EXPECT_DEATH(data[2], HasSubstr("ML_LS_CHK failed in File: CDataset.h"));
  EXPECT_DEATH(data.getItem(5), HasSubstr(". i=5 >= 2"));
}

TYPED_TEST(CDatasetAccessDeathTest, NegativeIndexAborts) {
  const auto data = numberedDataset<TypeParam>(2);
  EXPECT_DEATH(data.item(-1), HasSubstr("ML_GEQ_CHK failed in File: "
                                        "CDataset.h"));
  EXPECT_DEATH(data(-3), HasSubstr(". i=-3 < 0"));
}

TYPED_TEST(CDatasetAccessDeathTest, LastItemOfAnEmptyDatasetAborts) {
  CDataset<TypeParam> data;
  EXPECT_DEATH(data.getLast(), HasSubstr(". i=-1 < 0"));
}

TYPED_TEST(CDatasetAccessDeathTest, IteratorSearchOverABadIndexAborts) {
  const auto data = numberedDataset<TypeParam>(2);
  const std::vector<int> listed{0, 4};
  CEuclideanMetric<TypeParam> metric;
  EXPECT_DEATH(data.bestMatchIDInput(*data[0].inputVector(), metric,
                                     listed.begin(), listed.end()),
               HasSubstr(". i=4 >= 2"));
}

}  // namespace
