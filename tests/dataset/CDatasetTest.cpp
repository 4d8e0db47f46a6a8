// SPDX-License-Identifier: MIT
#include "vecml/dataset/CDataset.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

#include "dataset/CDatasetTestSupport.h"
#include "vecml/vector/CDenseVector.h"

namespace {

using cdataset_test::FloatingTypes;
using cdataset_test::idsOf;
using cdataset_test::makeItem;
using cdataset_test::numberedDataset;
using cdataset_test::numberedItem;

template <typename T>
class CDatasetTest : public testing::Test {};
TYPED_TEST_SUITE(CDatasetTest, FloatingTypes);

// ---- construction and identity ---------------------------------------------

TYPED_TEST(CDatasetTest, DefaultsAndIdentity) {
  const CDataset<TypeParam> data;
  EXPECT_EQ(data.className(), "CDataset");
  EXPECT_TRUE(data.isA("CDataset"));
  EXPECT_FALSE(data.isA("CObject"));
  EXPECT_EQ(data.getType(), "CDataset 0.1");
  EXPECT_EQ(data.getInfo(), "none");
  EXPECT_EQ(data.growSize(), 1000);
  EXPECT_EQ(data.capacity(), 1000);
  EXPECT_EQ(data.metaData(), nullptr);
  EXPECT_EQ(data.items(), 0);
  EXPECT_EQ(data.inputDimension(), 0);
  EXPECT_EQ(data.outputDimension(), 0);
  EXPECT_EQ(CDataset<float>().dataType(), DT_FLOAT);
  EXPECT_EQ(CDataset<double>().dataType(), DT_DOUBLE);
}

TYPED_TEST(CDatasetTest, ConstructorReservesCapacityAndKeepsGrowSize) {
  const CDataset<TypeParam> data(5, 7);
  EXPECT_EQ(data.capacity(), 5);
  EXPECT_EQ(data.growSize(), 7);
  EXPECT_EQ(CDataset<TypeParam>(-3, 2).capacity(), 0);
}

TYPED_TEST(CDatasetTest, SettersAndGetters) {
  CDataset<TypeParam> data;
  int marker = 0;
  data.setInfo("points");
  data.setGrowSize(12);
  data.setMetaData(&marker);
  EXPECT_EQ(data.getInfo(), "points");
  EXPECT_EQ(data.growSize(), 12);
  EXPECT_EQ(data.metaData(), &marker);
  EXPECT_EQ(data.getType(), "CDataset 0.1");
}

TYPED_TEST(CDatasetTest, ReserveNeverShrinks) {
  CDataset<TypeParam> data(4, 1);
  data.reserve(10);
  EXPECT_EQ(data.capacity(), 10);
  data.reserve(3);
  data.reserve(-1);
  EXPECT_EQ(data.capacity(), 10);
}

// ---- access ----------------------------------------------------------------

TYPED_TEST(CDatasetTest, AllAccessorsReachTheSameItem) {
  CDataset<TypeParam> data = numberedDataset<TypeParam>(3);
  const CDataset<TypeParam>& constData = data;
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(&data.getItem(i), &data[i]);
    EXPECT_EQ(&data.item(i), &data[i]);
    EXPECT_EQ(&data(i), &data[i]);
    EXPECT_EQ(&constData.getItem(i), &data[i]);
    EXPECT_EQ(&constData.item(i), &data[i]);
    EXPECT_EQ(&constData[i], &data[i]);
    EXPECT_EQ(&constData(i), &data[i]);
    EXPECT_EQ(data[i].id(), i);
  }
  EXPECT_EQ(&data.getLast(), &data[2]);
}

TYPED_TEST(CDatasetTest, DimensionsComeFromTheFirstItem) {
  CDataset<TypeParam> data;
  data.appendItem(makeItem<TypeParam>(0, {1, 2, 3}, {4, 5}));
  data.appendItem(makeItem<TypeParam>(1, {1}, {4, 5, 6, 7}));
  EXPECT_EQ(data.inputDimension(), 3);
  EXPECT_EQ(data.outputDimension(), 2);
}

// ---- appending and inserting -----------------------------------------------

TYPED_TEST(CDatasetTest, AppendStoresACopy) {
  CDataset<TypeParam> data;
  const CDatasetItem<TypeParam> item = makeItem<TypeParam>(7, {1, 2}, {3});
  EXPECT_TRUE(data.appendItem(item));
  ASSERT_EQ(data.items(), 1);
  EXPECT_EQ(data[0].id(), 7);
  EXPECT_NE(data[0].inputVector(), item.inputVector());
  EXPECT_NE(data[0].outputVector(), item.outputVector());
  EXPECT_EQ(data[0].inputComponent(1), TypeParam(2));
  EXPECT_EQ(data[0].outputComponent(0), TypeParam(3));
}

TYPED_TEST(CDatasetTest, AppendGrowsByTheGrowSize) {
  CDataset<TypeParam> data(2, 3);
  std::vector<int> capacities;
  for (int k = 0; k < 6; ++k) {
    data.appendItem(numberedItem<TypeParam>(k));
    capacities.push_back(data.capacity());
  }
  EXPECT_EQ(capacities, (std::vector<int>{2, 2, 5, 5, 5, 8}));
  EXPECT_EQ(idsOf(data), (std::vector<int>{0, 1, 2, 3, 4, 5}));
}

TYPED_TEST(CDatasetTest, AppendWithoutGrowSizeStillAppends) {
  for (const int growSize : {0, -5}) {
    CDataset<TypeParam> data(1, growSize);
    for (int k = 0; k < 4; ++k) data.appendItem(numberedItem<TypeParam>(k));
    EXPECT_EQ(idsOf(data), (std::vector<int>{0, 1, 2, 3}));
    EXPECT_GE(data.capacity(), 4);
  }
}

TYPED_TEST(CDatasetTest, AppendingItsOwnItemWhileFullCopiesItFirst) {
  CDataset<TypeParam> data = numberedDataset<TypeParam>(2);
  ASSERT_EQ(data.capacity(), 2);
  data.appendItem(data[1]);
  EXPECT_EQ(idsOf(data), (std::vector<int>{0, 1, 1}));
  EXPECT_EQ(data[2].inputComponent(1), TypeParam(1.5));
}

TYPED_TEST(CDatasetTest, InsertAtTheEndIsRefused) {
  CDataset<TypeParam> data = numberedDataset<TypeParam>(2);
  EXPECT_FALSE(data.insertItem(2, numberedItem<TypeParam>(9)));
  EXPECT_FALSE(data.insertItem(-1, numberedItem<TypeParam>(9)));
  EXPECT_EQ(idsOf(data), (std::vector<int>{0, 1}));
  CDataset<TypeParam> empty;
  EXPECT_FALSE(empty.insertItem(0, numberedItem<TypeParam>(9)));
  EXPECT_EQ(empty.items(), 0);
}

TYPED_TEST(CDatasetTest, InsertAtZeroOfOneItemPutsTheNewItemFirst) {
  CDataset<TypeParam> data = numberedDataset<TypeParam>(1);
  const CDatasetItem<TypeParam> item = numberedItem<TypeParam>(5);
  EXPECT_TRUE(data.insertItem(0, item));
  EXPECT_EQ(idsOf(data), (std::vector<int>{5, 0}));
  EXPECT_NE(data[0].inputVector(), item.inputVector());
}

TYPED_TEST(CDatasetTest, InsertInTheMiddleGrowsByTheGrowSize) {
  CDataset<TypeParam> data(2, 3);
  data.appendItem(numberedItem<TypeParam>(0));
  data.appendItem(numberedItem<TypeParam>(1));
  EXPECT_TRUE(data.insertItem(1, numberedItem<TypeParam>(8)));
  EXPECT_EQ(data.capacity(), 5);
  EXPECT_TRUE(data.insertItem(1, data[2]));
  EXPECT_EQ(idsOf(data), (std::vector<int>{0, 1, 8, 1}));
}

// ---- replacing and removing ------------------------------------------------

TYPED_TEST(CDatasetTest, SetItemAssignsACopyInRangeOnly) {
  CDataset<TypeParam> data = numberedDataset<TypeParam>(3);
  const CDatasetItem<TypeParam> item = makeItem<TypeParam>(42, {9}, {8, 7});
  EXPECT_FALSE(data.setItem(3, item));
  EXPECT_FALSE(data.setItem(-1, item));
  EXPECT_EQ(idsOf(data), (std::vector<int>{0, 1, 2}));
  EXPECT_TRUE(data.setItem(1, item));
  EXPECT_EQ(idsOf(data), (std::vector<int>{0, 42, 2}));
  EXPECT_NE(data[1].inputVector(), item.inputVector());
  EXPECT_EQ(data[1].inputDimension(), 1);
  EXPECT_EQ(data[1].outputComponent(1), TypeParam(7));
}

TYPED_TEST(CDatasetTest, RemoveItemKeepsTheOrderOfTheRest) {
  CDataset<TypeParam> data = numberedDataset<TypeParam>(4);
  EXPECT_FALSE(data.removeItem(4));
  EXPECT_FALSE(data.removeItem(-1));
  EXPECT_TRUE(data.removeItem(1));
  EXPECT_EQ(idsOf(data), (std::vector<int>{0, 2, 3}));
}

TYPED_TEST(CDatasetTest, RemoveLastItem) {
  CDataset<TypeParam> data = numberedDataset<TypeParam>(2);
  data.removeLastItem();
  EXPECT_EQ(idsOf(data), (std::vector<int>{0}));
  data.removeLastItem();
  data.removeLastItem();
  EXPECT_EQ(data.items(), 0);
}

TYPED_TEST(CDatasetTest, ClearKeepsTheCapacity) {
  CDataset<TypeParam> data = numberedDataset<TypeParam>(3);
  data.clear();
  EXPECT_EQ(data.items(), 0);
  EXPECT_EQ(data.capacity(), 3);
}

TYPED_TEST(CDatasetTest, MergeAppendsCopiesInOrder) {
  CDataset<TypeParam> data = numberedDataset<TypeParam>(1);
  const CDataset<TypeParam> other = numberedDataset<TypeParam>(3);
  data.merge(other);
  EXPECT_EQ(idsOf(data), (std::vector<int>{0, 0, 1, 2}));
  EXPECT_EQ(data.capacity(), 4);
  EXPECT_NE(data[3].inputVector(), other[2].inputVector());
}

TYPED_TEST(CDatasetTest, MergeWithItselfDoubles) {
  CDataset<TypeParam> data = numberedDataset<TypeParam>(3);
  data.merge(data);
  EXPECT_EQ(idsOf(data), (std::vector<int>{0, 1, 2, 0, 1, 2}));
}

// ---- copying ---------------------------------------------------------------

TYPED_TEST(CDatasetTest, CopyConstructorCopiesItemsAndSettings) {
  int marker = 0;
  CDataset<TypeParam> data = numberedDataset<TypeParam>(2);
  data.setInfo("mine");
  data.setGrowSize(7);
  data.setMetaData(&marker);
  const CDataset<TypeParam> copy(data);
  EXPECT_EQ(idsOf(copy), (std::vector<int>{0, 1}));
  EXPECT_NE(copy[0].inputVector(), data[0].inputVector());
  EXPECT_EQ(copy.getInfo(), "mine");
  EXPECT_EQ(copy.growSize(), 7);
  EXPECT_EQ(copy.metaData(), &marker);
  EXPECT_EQ(copy.getType(), "CDataset 0.1");
}

TYPED_TEST(CDatasetTest, AssignmentCopiesTheItemsOnly) {
  int mine = 0;
  int theirs = 0;
  CDataset<TypeParam> target = numberedDataset<TypeParam>(5);
  target.setInfo("mine");
  target.setGrowSize(7);
  target.setMetaData(&mine);
  CDataset<TypeParam> source(1, 1000);
  source.appendItem(numberedItem<TypeParam>(3));
  source.appendItem(numberedItem<TypeParam>(4));
  source.setMetaData(&theirs);
  ASSERT_EQ(source.getInfo(), "none");
  target = source;
  EXPECT_EQ(idsOf(target), (std::vector<int>{3, 4}));
  EXPECT_NE(target[0].inputVector(), source[0].inputVector());
  EXPECT_EQ(target.getInfo(), "mine");
  EXPECT_EQ(target.growSize(), 7);
  EXPECT_EQ(target.metaData(), &mine);
}

TYPED_TEST(CDatasetTest, AssignmentReservesTheOtherCount) {
  CDataset<TypeParam> target(1, 1000);
  target = numberedDataset<TypeParam>(6);
  EXPECT_EQ(target.capacity(), 6);
}

TYPED_TEST(CDatasetTest, SelfAssignmentChangesNothing) {
  CDataset<TypeParam> data = numberedDataset<TypeParam>(2);
  const CVector<TypeParam>* vector = data[1].inputVector();
  CDataset<TypeParam>& alias = data;
  data = alias;
  EXPECT_EQ(idsOf(data), (std::vector<int>{0, 1}));
  EXPECT_EQ(data[1].inputVector(), vector);
}

// ---- seeding ---------------------------------------------------------------

TEST(CDatasetSeedTest, InitRandomSeedSeedsWithTheTime) {
  int draw = 0;
  const std::time_t second = cdataset_test::withinOneSecond([&] {
    CDataset<float>::initRandomSeed();
    draw = std::rand();
  });
  std::srand(static_cast<unsigned>(second));
  EXPECT_EQ(std::rand(), draw);
}

}  // namespace
