// SPDX-License-Identifier: MIT
// The dataset's introspective sort against the standard library's sort.
#include "vecml/dataset/detail/IntroSort.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <utility>
#include <vector>

namespace {

using vecml::detail::introSort;

// (key, original position): the position shows where equal keys end up.
using Keyed = std::pair<int, int>;

std::vector<Keyed> randomKeys(std::mt19937& random, int n, int keyRange) {
  std::uniform_int_distribution<int> key(0, keyRange - 1);
  std::vector<Keyed> values;
  for (int i = 0; i < n; ++i) values.emplace_back(key(random), i);
  return values;
}

bool keyLess(const Keyed& a, const Keyed& b) { return a.first < b.first; }
bool keyLessOrEqual(const Keyed& a, const Keyed& b) {
  return a.first <= b.first;
}

// Sorted copies of both, so that a result can be checked to be a
// permutation of its input.
void expectPermutation(std::vector<Keyed> result, std::vector<Keyed> input) {
  std::sort(result.begin(), result.end());
  std::sort(input.begin(), input.end());
  EXPECT_EQ(result, input);
}

TEST(CDatasetIntroSortTest, StrictOrderWithTiesMatchesTheStandardSort) {
  constexpr unsigned kSeed = 1234;
  std::mt19937 random(kSeed);
  SCOPED_TRACE(kSeed);
  std::vector<int> sizes{0,  1,  2,  3,   15,  16,   17,
                         18, 33, 64, 100, 257, 1000, 5000};
  for (int n = 4; n < 120; n += 7) sizes.push_back(n);
  for (const int n : sizes) {
    for (const int keyRange : {1, 2, 5, 50, 1000000}) {
      SCOPED_TRACE(testing::Message() << "n=" << n << " keys=" << keyRange);
      std::vector<Keyed> expected = randomKeys(random, n, keyRange);
      std::vector<Keyed> actual = expected;
      std::sort(expected.begin(), expected.end(), keyLess);
      introSort(actual.begin(), actual.end(), keyLess);
      EXPECT_EQ(actual, expected);
    }
  }
}

TEST(CDatasetIntroSortTest, SortedAndReversedInputsMatchTheStandardSort) {
  for (const int n : {17, 100, 1000}) {
    std::vector<Keyed> ascending;
    for (int i = 0; i < n; ++i) ascending.emplace_back(i / 3, i);
    std::vector<Keyed> descending(ascending.rbegin(), ascending.rend());
    for (std::vector<Keyed> input : {ascending, descending}) {
      std::vector<Keyed> expected = input;
      std::sort(expected.begin(), expected.end(), keyLess);
      introSort(input.begin(), input.end(), keyLess);
      EXPECT_EQ(input, expected);
    }
  }
}

// McIlroy's adversary decides the values of still undecided ("gas")
// elements only when it must, so that quicksort keeps choosing bad pivots.
// The values it ends with depend on the whole sequence of comparisons, so
// equal outcomes for two sorts mean equal comparison sequences, through the
// heap-sort fallback the adversary forces.
class Adversary {
 public:
  explicit Adversary(int n) : value(n, n), gas(n) {}

  bool less(int x, int y) {
    ++comparisons;
    if (value[x] == gas && value[y] == gas) freeze(x == candidate ? x : y);
    if (value[x] == gas) {
      candidate = x;
    } else if (value[y] == gas) {
      candidate = y;
    }
    return value[x] < value[y];
  }

  std::vector<int> value;
  long comparisons = 0;

 private:
  void freeze(int x) { value[x] = solid++; }

  int gas;
  int solid = 0;
  int candidate = 0;
};

template <typename Sort>
Adversary runAdversary(int n, Sort sort, std::vector<int>& order) {
  Adversary adversary(n);
  order.resize(n);
  for (int i = 0; i < n; ++i) order[i] = i;
  sort(order.begin(), order.end(),
       [&adversary](int x, int y) { return adversary.less(x, y); });
  return adversary;
}

TEST(CDatasetIntroSortTest, AdversaryDrivesBothSortsAlike) {
  for (const int n : {17, 100, 1000, 4000}) {
    SCOPED_TRACE(n);
    std::vector<int> standardOrder;
    std::vector<int> ownOrder;
    const Adversary standard = runAdversary(
        n,
        [](auto first, auto last, auto less) { std::sort(first, last, less); },
        standardOrder);
    const Adversary own = runAdversary(
        n,
        [](auto first, auto last, auto less) { introSort(first, last, less); },
        ownOrder);
    EXPECT_EQ(own.value, standard.value);
    EXPECT_EQ(own.comparisons, standard.comparisons);
    EXPECT_EQ(ownOrder, standardOrder);
    // The depth limit keeps the count far below quadratic.
    EXPECT_LT(own.comparisons, 40L * n * 12);
  }
}

TEST(CDatasetIntroSortTest, NonStrictOrderStaysInsideAndSorts) {
  constexpr unsigned kSeed = 99;
  std::mt19937 random(kSeed);
  for (const int n : {2, 16, 17, 18, 100, 1000, 3000}) {
    for (const int keyRange : {1, 2, 3, 10, 1000000}) {
      SCOPED_TRACE(testing::Message() << "n=" << n << " keys=" << keyRange);
      const std::vector<Keyed> input = randomKeys(random, n, keyRange);
      // An exact-size heap block, so that the address sanitizer sees any
      // access outside it.
      std::vector<Keyed> values(input);
      values.shrink_to_fit();
      introSort(values.begin(), values.end(), keyLessOrEqual);
      EXPECT_TRUE(std::is_sorted(values.begin(), values.end(), keyLess));
      expectPermutation(values, input);
    }
  }
}

TEST(CDatasetIntroSortTest, ArbitraryComparisonsStayInside) {
  constexpr unsigned kSeed = 7;
  std::mt19937 random(kSeed);
  std::bernoulli_distribution coin;
  const auto always = [](const Keyed&, const Keyed&) { return true; };
  const auto never = [](const Keyed&, const Keyed&) { return false; };
  const auto flip = [&](const Keyed&, const Keyed&) { return coin(random); };
  for (const int n : {17, 100, 1000}) {
    SCOPED_TRACE(n);
    const std::vector<Keyed> input = randomKeys(random, n, 10);
    std::vector<Keyed> values(input);
    introSort(values.begin(), values.end(), always);
    expectPermutation(values, input);
    values = input;
    introSort(values.begin(), values.end(), never);
    expectPermutation(values, input);
    values = input;
    introSort(values.begin(), values.end(), flip);
    expectPermutation(values, input);
  }
}

TEST(CDatasetIntroSortTest, HeapSortMatchesTheStandardHeapSort) {
  std::mt19937 random(5);
  for (const int n : {0, 1, 2, 3, 10, 17, 64, 333}) {
    SCOPED_TRACE(n);
    std::vector<Keyed> expected = randomKeys(random, n, 4);
    std::vector<Keyed> actual = expected;
    std::partial_sort(expected.begin(), expected.end(), expected.end(),
                      keyLess);
    auto less = keyLess;
    vecml::detail::heapSort(actual.begin(), actual.end(), less);
    EXPECT_EQ(actual, expected);
  }
}

TEST(CDatasetIntroSortTest, FloorLog2) {
  EXPECT_EQ(vecml::detail::floorLog2(1), 0);
  EXPECT_EQ(vecml::detail::floorLog2(2), 1);
  EXPECT_EQ(vecml::detail::floorLog2(17), 4);
  EXPECT_EQ(vecml::detail::floorLog2(1024), 10);
  EXPECT_EQ(vecml::detail::floorLog2(1025), 10);
}

}  // namespace
