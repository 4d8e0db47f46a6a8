// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "dataset/CDatasetTestSupport.h"
#include "vecml/dataset/CDataset.h"

namespace {

using cdataset_test::FloatingTypes;
using cdataset_test::idsOf;
using cdataset_test::makeItem;

template <typename T>
class CDatasetSortTest : public testing::Test {};
TYPED_TEST_SUITE(CDatasetSortTest, FloatingTypes);

// Item k of `ids` carries k as its input, to follow it through the sort.
// The capacity is exactly the item count, so that the address sanitizer
// sees any access past the last item.
template <typename T>
CDataset<T> datasetWithIds(const std::vector<int>& ids) {
  CDataset<T> data(static_cast<int>(ids.size()), 1000);
  for (int k = 0; k < static_cast<int>(ids.size()); ++k)
    data.appendItem(makeItem<T>(ids[k], {T(k)}, {T(ids[k])}));
  return data;
}

// The input values, i.e. the original positions, in dataset order.
template <typename T>
std::vector<int> originsOf(const CDataset<T>& data) {
  std::vector<int> origins;
  for (int i = 0; i < data.items(); ++i)
    origins.push_back(static_cast<int>(data[i].inputComponent(0)));
  return origins;
}

template <typename T>
void expectSortedPermutation(const CDataset<T>& data,
                             const std::vector<int>& ids) {
  const std::vector<int> sortedIds = idsOf(data);
  EXPECT_TRUE(std::is_sorted(sortedIds.begin(), sortedIds.end()));
  std::vector<int> origins = originsOf(data);
  for (int i = 0; i < data.items(); ++i)
    EXPECT_EQ(sortedIds[i], ids[origins[i]]) << "item " << i;
  std::sort(origins.begin(), origins.end());
  for (int k = 0; k < static_cast<int>(origins.size()); ++k)
    ASSERT_EQ(origins[k], k);
}

std::vector<int> shuffledDistinctIds(int n, unsigned seed) {
  std::vector<int> ids;
  for (int k = 0; k < n; ++k) ids.push_back(3 * k - 50);
  std::shuffle(ids.begin(), ids.end(), std::mt19937(seed));
  return ids;
}

template <typename T>
bool idLessOrEqual(CDatasetItem<T> a, CDatasetItem<T> b) {
  return a.id() <= b.id();
}

// Sorts a dataset of `ids` with each sortdata() form and checks the result.
template <typename T>
void expectBothFormsSort(const std::vector<int>& ids) {
  CDataset<T> data = datasetWithIds<T>(ids);
  ASSERT_EQ(data.capacity(), static_cast<int>(ids.size()));
  data.sortdata();
  expectSortedPermutation(data, ids);
  CDataset<T> viaLess = datasetWithIds<T>(ids);
  viaLess.sortdata(&idLessOrEqual<T>);
  expectSortedPermutation(viaLess, ids);
}

std::vector<int> randomIds(std::mt19937& random, int n, int idRange) {
  std::uniform_int_distribution<int> id(0, idRange - 1);
  std::vector<int> ids;
  for (int k = 0; k < n; ++k) ids.push_back(id(random));
  return ids;
}

template <typename T>
bool idLess(CDatasetItem<T> a, CDatasetItem<T> b) {
  return a.id() < b.id();
}

template <typename T>
bool idGreater(CDatasetItem<T> a, CDatasetItem<T> b) {
  return a.id() > b.id();
}

TYPED_TEST(CDatasetSortTest, DistinctIdsSortLikeTheStandardSort) {
  constexpr unsigned kSeed = 42;
  for (const int n : {0, 1, 2, 16, 17, 100, 1000}) {
    SCOPED_TRACE(n);
    const std::vector<int> ids = shuffledDistinctIds(n, kSeed);
    std::vector<int> expected = ids;
    std::sort(expected.begin(), expected.end());
    CDataset<TypeParam> data = datasetWithIds<TypeParam>(ids);
    data.sortdata();
    EXPECT_EQ(idsOf(data), expected);
    expectSortedPermutation(data, ids);
    CDataset<TypeParam> viaLess = datasetWithIds<TypeParam>(ids);
    viaLess.sortdata(&idLessOrEqual<TypeParam>);
    EXPECT_EQ(idsOf(viaLess), expected);
  }
}

TYPED_TEST(CDatasetSortTest, AllEqualIdsStayInsideTheStorage) {
  for (const int n : {2, 16, 17, 100, 1000}) {
    SCOPED_TRACE(n);
    expectBothFormsSort<TypeParam>(std::vector<int>(n, -1));
  }
}

TYPED_TEST(CDatasetSortTest, ManyEqualIdsComeOutNonDecreasing) {
  constexpr unsigned kSeed = 17;
  std::mt19937 random(kSeed);
  for (const int n : {17, 100, 1000}) {
    for (const int idRange : {2, 3, 10}) {
      SCOPED_TRACE(testing::Message() << "n=" << n << " ids=" << idRange);
      expectBothFormsSort<TypeParam>(randomIds(random, n, idRange));
    }
  }
}

// With a strict comparison the order of equal ids is that of the standard
// sort, which is well defined for it.
TYPED_TEST(CDatasetSortTest, StrictComparisonOrdersTiesLikeTheStandardSort) {
  constexpr unsigned kSeed = 8;
  std::mt19937 random(kSeed);
  for (const int n : {5, 17, 40, 300}) {
    SCOPED_TRACE(n);
    CDataset<TypeParam> data =
        datasetWithIds<TypeParam>(randomIds(random, n, 5));
    std::vector<CDatasetItem<TypeParam>> items;
    for (int i = 0; i < data.items(); ++i) items.push_back(data[i]);
    std::sort(items.begin(), items.end(), &idLess<TypeParam>);
    data.sortdata(&idLess<TypeParam>);
    for (int i = 0; i < n; ++i)
      EXPECT_EQ(data[i].inputComponent(0), items[i].inputComponent(0));
  }
}

TYPED_TEST(CDatasetSortTest, CallerComparisonDecidesTheOrder) {
  CDataset<TypeParam> data = datasetWithIds<TypeParam>({4, 9, 1, 7});
  data.sortdata(&idGreater<TypeParam>);
  EXPECT_EQ(idsOf(data), (std::vector<int>{9, 7, 4, 1}));
}

TYPED_TEST(CDatasetSortTest, NullComparisonLeavesTheOrder) {
  CDataset<TypeParam> data = datasetWithIds<TypeParam>({4, 9, 1});
  data.sortdata(nullptr);
  EXPECT_EQ(idsOf(data), (std::vector<int>{4, 9, 1}));
}

}  // namespace
