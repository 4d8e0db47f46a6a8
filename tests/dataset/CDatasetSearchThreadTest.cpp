// SPDX-License-Identifier: MIT
// Best-match searches split over several threads: every form finds the
// item, and the distance bits, that one thread finds, whichever thread's
// range holds the closest item, its ties, the excluded item or a NaN.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "support/ThreadCounts.h"
#include "vecml/core/detail/Parallel.h"
#include "vecml/dataset/CDataset.h"
#include "vecml/dataset/CDatasetItem.h"
#include "vecml/metric/CMetric.h"
#include "vecml/vector/CDenseVector.h"
#include "vecml/vector/CSparseVector.h"

namespace {

using vecml::detail::blockStart;

template <typename T>
class CDatasetSearchThreadTest : public testing::Test {};
using FloatingTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CDatasetSearchThreadTest, FloatingTypes);

// Element operations a search must hold for seven (four) threads to share
// it.
constexpr int kSevenThreadsOfWork = 7 * (1 << 16) + 1;
constexpr int kFourThreadsOfWork = 4 * (1 << 16) + 1;

// The item counts searched: the awkward ones and one of many ranges.
std::vector<int> itemCounts() {
  std::vector<int> counts = awkwardSizes();
  counts.push_back(3001);
  return counts;
}

// The indices where a search of items 1 .. n - 1 (all but the starting
// item) is cut into ranges for some tested thread count, and the indices
// just before them; none with one item, where nothing is cut.
std::vector<int> rangeBoundaries(int n) {
  std::vector<int> indices;
  if (n < 2) return indices;
  const std::size_t searched = std::size_t(n - 1);
  for (int threads : testedThreadCounts())
    for (int range = 1; range < threads; ++range) {
      const int start =
          1 + static_cast<int>(blockStart(searched, range, threads));
      indices.push_back(start - 1);
      indices.push_back(start);
    }
  return indices;
}

// Appends the bytes of `value` to `bytes`.
template <typename V>
void append(std::string& bytes, V value) {
  bytes += bytesOf(&value, 1);
}

// A range search: items from .. to, skipping item `exclude`.
struct Range {
  int from, to, exclude;
};

// Ranges that start, end and skip at the edges of a dataset of `n` items and
// inside it; `many` adds more starts, ends and excluded items.
std::vector<Range> searchedRanges(int n, bool many) {
  std::vector<int> froms{0, n / 3}, tos{n - 1};
  if (many) {
    froms.push_back(1);
    tos.push_back(n + 5);
  }
  std::vector<Range> ranges;
  for (const int from : froms)
    for (const int to : tos) {
      ranges.push_back({from, to, from});
      ranges.push_back({from, to, (from + to) / 2});
      if (many) {
        ranges.push_back({from, to, from + 1});
        ranges.push_back({from, to, -1});
      }
    }
  return ranges;
}

// The whole-dataset searches with an index and a distance as results, over
// the inputs and the outputs; the results' bytes.
template <typename T>
std::string wholeSearches(const CDataset<T>& data, const CVector<T>& query,
                          const CMetric<T>& metric) {
  std::string bytes;
  for (const auto form :
       {&CDataset<T>::getBestMatchInput, &CDataset<T>::bestMatchInput,
        &CDataset<T>::getBestMatchOutput, &CDataset<T>::bestMatchOutput}) {
    int id = -7;
    T distance = T(-7);
    (data.*form)(query, metric, id, distance);
    append(bytes, id);
    append(bytes, distance);
  }
  return bytes;
}

// The range searches over `ranges`, with and without their excluded item;
// the results' bytes.
template <typename T>
std::string rangeSearches(const CDataset<T>& data, const CVector<T>& query,
                          const CMetric<T>& metric,
                          const std::vector<Range>& ranges) {
  std::string bytes;
  for (const Range& range : ranges) {
    append(bytes, data.bestMatchIDInput(query, metric, range.from, range.to));
    append(bytes, data.bestMatchIDInput(query, metric, range.from, range.to,
                                        range.exclude));
  }
  return bytes;
}

// Every search form over `data`, the range forms over `ranges`; the
// results' bytes in a fixed order.
template <typename T>
std::string everySearch(const CDataset<T>& data, const CVector<T>& query,
                        const CMetric<T>& metric,
                        const std::vector<Range>& ranges) {
  std::string bytes = wholeSearches(data, query, metric);
  append(bytes, data.getBestMatchIDInput(query, metric));
  append(bytes, data.bestMatchIDInput(query, metric));
  append(bytes, data.getBestMatchIDOutput(query, metric));
  append(bytes, data.bestMatchIDOutput(query, metric));
  bytes += rangeSearches(data, query, metric, ranges);
  std::vector<int> listed;
  for (int k = data.items() - 1; k >= 0; --k) listed.push_back(k);
  append(bytes,
         data.bestMatchIDInput(query, metric, listed.begin(), listed.end()));
  return bytes;
}

// ---- distances from a table, the metric's generic path --------------------

// The distance of an item vector whose first element is k is table[k]; the
// query is not read. Its dimension is what makes a search long enough for
// several threads, so the items can stay small.
template <typename T>
class TableMetric : public CMetric<T> {
 public:
  explicit TableMetric(std::vector<T> table) : table(std::move(table)) {}

  T distance(const CVector<T>& a, const CVector<T>&) const override {
    return table.at(static_cast<std::size_t>(a.getElement(0)));
  }

 private:
  std::vector<T> table;
};

// Items 0 .. n - 1 whose input holds k and whose output holds n - 1 - k, so
// the outputs meet the table in reverse order.
template <typename T>
CDataset<T> indexedItems(int n) {
  CDataset<T> data(n, 1);
  for (int k = 0; k < n; ++k)
    data.appendItem(CDatasetItem<T>(CDenseVector<T>(1, T(k)),
                                    CDenseVector<T>(1, T(n - 1 - k)), k));
  return data;
}

// A query whose dimension gives a search over `n` items the work of seven
// threads.
template <typename T>
CDenseVector<T> longQuery(int n) {
  return CDenseVector<T>(kSevenThreadsOfWork / std::max(n - 1, 1) + 1);
}

// Distances with ties, signed zeros, infinities and NaNs at the range
// boundaries, and a unique smallest distance at `smallest`.
template <typename T>
std::vector<T> awkwardTable(int n, int smallest) {
  std::mt19937 random(static_cast<unsigned>(n));
  std::uniform_int_distribution<int> level(2, 5);
  std::vector<T> table(static_cast<std::size_t>(n));
  for (T& value : table) value = T(level(random));
  const std::vector<T> specials{T(1),
                                T(1),
                                T(-0.0),
                                T(0),
                                std::numeric_limits<T>::quiet_NaN(),
                                std::numeric_limits<T>::infinity(),
                                T(0),
                                T(-0.0)};
  const std::vector<int> boundaries = rangeBoundaries(n);
  for (std::size_t k = 0; k < boundaries.size(); ++k)
    table[std::size_t(boundaries[k])] = specials[k % specials.size()];
  if (smallest >= 0) table[std::size_t(smallest)] = T(-1);
  return table;
}

TYPED_TEST(CDatasetSearchThreadTest, TableDistancesGiveTheSerialResults) {
  using T = TypeParam;
  for (const int n : itemCounts()) {
    const CDataset<T> data = indexedItems<T>(n);
    const CDenseVector<T> query = longQuery<T>(n);
    for (const int smallest : {-1, n / 2}) {
      const TableMetric<T> metric(awkwardTable<T>(n, smallest));
      expectSameBytesOnEveryThreadCount([&] {
        return everySearch(data, query, metric, searchedRanges(n, true));
      });
    }
  }
}

TYPED_TEST(CDatasetSearchThreadTest, TiesAcrossRangesKeepTheFirstItem) {
  using T = TypeParam;
  for (const int n : itemCounts()) {
    if (n < 3) continue;
    const CDataset<T> data = indexedItems<T>(n);
    const CDenseVector<T> query = longQuery<T>(n);
    // Ties at the last index of every range and the first of the next; the
    // starting item is farther.
    std::vector<T> table(std::size_t(n), T(3));
    const std::vector<int> boundaries = rangeBoundaries(n);
    int first = n;
    for (const int index : boundaries)
      if (index > 0) {
        table[std::size_t(index)] = T(1);
        first = std::min(first, index);
      }
    const TableMetric<T> metric(table);
    for (int threads : testedThreadCounts()) {
      ScopedThreadCount scoped(threads);
      int id = -7;
      T distance = T(-7);
      data.getBestMatchInput(query, metric, id, distance);
      EXPECT_EQ(id, first) << n << " items, " << threads << " threads";
      EXPECT_EQ(distance, T(1));
    }
  }
}

TYPED_TEST(CDatasetSearchThreadTest, AStartingNaNWinsOnEveryThreadCount) {
  using T = TypeParam;
  const int n = 129;
  const CDataset<T> data = indexedItems<T>(n);
  const CDenseVector<T> query = longQuery<T>(n);
  std::vector<T> table(std::size_t(n), T(-1));
  table[0] = std::numeric_limits<T>::quiet_NaN();
  const TableMetric<T> metric(table);
  for (int threads : testedThreadCounts()) {
    ScopedThreadCount scoped(threads);
    EXPECT_EQ(data.getBestMatchIDInput(query, metric), 0);
    EXPECT_EQ(data.bestMatchIDInput(query, metric, 0, n - 1, 0), 1);
  }
}

// ---- Euclidean distances, the metrics' block path --------------------------

// `n` items of dimension `d`: random inputs and outputs near the query,
// copies of one vector (ties) at the range boundaries, a NaN element in one
// item, and a sparse item and one of another dimension, which the blocks
// leave to the metric.
template <typename T>
CDataset<T> euclideanItems(int n, int d, const std::vector<T>& tied) {
  std::mt19937 random(unsigned(n * 31 + d));
  std::uniform_int_distribution<int> level(-4, 4);
  const std::vector<int> boundaries = rangeBoundaries(n);
  CDataset<T> data(n, 1);
  for (int k = 0; k < n; ++k) {
    std::vector<T> input(static_cast<std::size_t>(d)),
        output(static_cast<std::size_t>(d));
    for (T& value : input) value = T(level(random)) / T(4);
    for (T& value : output) value = T(level(random)) / T(4);
    if (std::find(boundaries.begin(), boundaries.end(), k) != boundaries.end())
      input = output = tied;
    if (k == n / 3)
      input[std::size_t(d / 2)] = std::numeric_limits<T>::quiet_NaN();
    const CDenseVector<T> dense(input);
    if (k == n / 2 && k > 0) {
      data.appendItem(
          CDatasetItem<T>(CSparseVector<T>(dense), CDenseVector<T>(output), k));
    } else if (k == 2 * n / 3 && k > 0) {
      data.appendItem(CDatasetItem<T>(CDenseVector<T>(d - 1, T(0)),
                                      CDenseVector<T>(output), k));
    } else {
      data.appendItem(CDatasetItem<T>(dense, CDenseVector<T>(output), k));
    }
  }
  return data;
}

TYPED_TEST(CDatasetSearchThreadTest, EuclideanDistancesGiveTheSerialResults) {
  using T = TypeParam;
  const CEuclideanMetric<T> rooted;
  const CEuclideanMetric2<T> squared;
  const std::vector<int> counts = itemCounts();
  for (std::size_t k = 0; k < counts.size(); ++k) {
    const int n = counts[k];
    // Four threads keep the test short; the table tests split seven ways.
    const int d = kFourThreadsOfWork / std::max(n - 1, 1) + 1;
    const std::vector<T> queryValues(std::size_t(d), T(0.125));
    std::vector<T> tied = queryValues;
    tied[0] = T(0.25);
    const CDataset<T> data = euclideanItems<T>(n, d, tied);
    const CDenseVector<T> query(queryValues);
    // The rooted and the squared distance in turn.
    const CMetric<T>& metric =
        k % 2 == 0 ? static_cast<const CMetric<T>&>(rooted) : squared;
    expectSameBytesOnEveryThreadCount([&] {
      return wholeSearches(data, query, metric) +
             rangeSearches(data, query, metric, searchedRanges(n, false));
    });
  }
}

}  // namespace
