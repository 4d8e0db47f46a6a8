// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <utility>
#include <vector>

#include "dataset/CDatasetTestSupport.h"
#include "vecml/dataset/CDataset.h"

namespace {

using cdataset_test::FloatingTypes;
using cdataset_test::idsOf;
using cdataset_test::numberedDataset;
using cdataset_test::scaledDraw;
using cdataset_test::withinOneSecond;

template <typename T>
class CDatasetRandomTest : public testing::Test {};
TYPED_TEST_SUITE(CDatasetRandomTest, FloatingTypes);

constexpr unsigned kSeed = 20240611;

// ---- random item -----------------------------------------------------------

TYPED_TEST(CDatasetRandomTest, RandomItemFollowsTheScaledDraw) {
  for (const int n : {1, 7, 1000}) {
    SCOPED_TRACE(n);
    CDataset<TypeParam> data = numberedDataset<TypeParam>(n);
    std::srand(kSeed);
    std::vector<int> expected;
    for (int k = 0; k < 200; ++k) expected.push_back(scaledDraw(n));
    std::srand(kSeed);
    const CDataset<TypeParam>& constData = data;
    for (int k = 0; k < 200; k += 2) {
      EXPECT_EQ(&constData.getRandomItem(), &data[expected[k]]);
      EXPECT_EQ(&data.randomItem(), &data[expected[k + 1]]);
    }
  }
}

// A draw of RAND_MAX - 63 or more becomes 2^31 as a float, so the formula
// gives items() itself.
TYPED_TEST(CDatasetRandomTest, DrawRoundedUpToTwoPowerThirtyOneGivesTheLast) {
  // glibc: the 13167th draw after srand(131) is 2147483598.
  constexpr unsigned kTopSeed = 131;
  constexpr int kDrawsBefore = 13166;
  std::srand(kTopSeed);
  for (int k = 0; k < kDrawsBefore; ++k) std::rand();
  if (static_cast<float>(std::rand()) != 2147483648.0f)
    GTEST_SKIP() << "this C library draws a different sequence";
  CDataset<TypeParam> data = numberedDataset<TypeParam>(5);
  std::srand(kTopSeed);
  for (int k = 0; k < kDrawsBefore; ++k) std::rand();
  EXPECT_EQ(&data.getRandomItem(), &data[4]);
}

// ---- shuffle ---------------------------------------------------------------

// The order randomShuffle() gives after srand(seed), by its formula.
std::vector<int> shuffledOrder(std::vector<int> ids, unsigned seed) {
  std::srand(seed);
  const int n = static_cast<int>(ids.size());
  for (int i = 1; i < n; ++i)
    std::swap(ids[i], ids[std::min(scaledDraw(i + 1), n - 1)]);
  return ids;
}

TYPED_TEST(CDatasetRandomTest, ShuffleReseedsWithTheTimeAndSwapsByTheFormula) {
  const CDataset<TypeParam> original = numberedDataset<TypeParam>(40);
  CDataset<TypeParam> shuffled;
  const std::time_t second = withinOneSecond([&] {
    shuffled = original;
    shuffled.randomShuffle();
  });
  EXPECT_EQ(idsOf(shuffled),
            shuffledOrder(idsOf(original), static_cast<unsigned>(second)));
  // Items keep their vectors.
  for (int i = 0; i < shuffled.items(); ++i) {
    const int id = shuffled[i].id();
    EXPECT_EQ(shuffled[i].inputComponent(1), TypeParam(id) + TypeParam(0.5));
  }
}

TYPED_TEST(CDatasetRandomTest, TwoShufflesInOneSecondGiveTheSameOrder) {
  const CDataset<TypeParam> original = numberedDataset<TypeParam>(30);
  CDataset<TypeParam> first;
  CDataset<TypeParam> second;
  withinOneSecond([&] {
    first = original;
    second = original;
    first.randomShuffle();
    second.randomShuffle();
  });
  EXPECT_EQ(idsOf(first), idsOf(second));
}

TYPED_TEST(CDatasetRandomTest, ShuffleOfFewerThanTwoItemsStillReseeds) {
  for (const int n : {0, 1}) {
    CDataset<TypeParam> data = numberedDataset<TypeParam>(n);
    int draw = 0;
    const std::time_t second = withinOneSecond([&] {
      data.randomShuffle();
      draw = std::rand();
    });
    std::srand(static_cast<unsigned>(second));
    EXPECT_EQ(std::rand(), draw);
    EXPECT_EQ(data.items(), n);
  }
}

// ---- subset ----------------------------------------------------------------

// The ids subset(k) gives after srand(seed), by reservoir sampling.
std::vector<int> sampledIds(int n, int k, unsigned seed) {
  std::srand(seed);
  std::vector<int> sample;
  for (int t = 0; t < k; ++t) sample.push_back(t);
  for (int t = k; t < n; ++t) {
    const int r = std::rand() % (t + 1);
    if (r < k) sample[r] = t;
  }
  return sample;
}

TYPED_TEST(CDatasetRandomTest, SubsetIsAReservoirSample) {
  const CDataset<TypeParam> data = numberedDataset<TypeParam>(50);
  for (const int k : {0, 1, 10, 49, 50}) {
    SCOPED_TRACE(k);
    std::srand(kSeed);
    const CDataset<TypeParam> sample = data.subset(k);
    EXPECT_EQ(idsOf(sample), sampledIds(50, k, kSeed));
    EXPECT_EQ(sample.capacity(), k);
    EXPECT_EQ(sample.growSize(), 1000);
  }
}

TYPED_TEST(CDatasetRandomTest, SubsetCopiesTheItems) {
  const CDataset<TypeParam> data = numberedDataset<TypeParam>(3);
  const CDataset<TypeParam> sample = data.subset(3);
  EXPECT_EQ(idsOf(sample), (std::vector<int>{0, 1, 2}));
  EXPECT_NE(sample[0].inputVector(), data[0].inputVector());
  EXPECT_EQ(sample[2].inputComponent(1), TypeParam(2.5));
}

TYPED_TEST(CDatasetRandomTest, SubsetOfANegativeCountIsEmpty) {
  const CDataset<TypeParam> data = numberedDataset<TypeParam>(3);
  EXPECT_EQ(data.subset(-2).items(), 0);
}

}  // namespace
