// SPDX-License-Identifier: MIT
// Best-match searches under the Euclidean metrics, whose dense items are
// measured in blocks, against a plain reference search written here: same
// index and same distance bits for every form, range, exclusion, size and
// mix of item kinds, whichever instruction set the process uses.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "support/BitPattern.h"
#include "vecml/dataset/CDataset.h"
#include "vecml/dataset/CDatasetItem.h"
#include "vecml/metric/CMetric.h"
#include "vecml/vector/CDenseVector.h"
#include "vecml/vector/CSparseVector.h"

namespace {

template <typename T>
class CDatasetEuclideanSearchTest : public testing::Test {};
using FloatingTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CDatasetEuclideanSearchTest, FloatingTypes);

const int kAwkwardSizes[] = {1, 7, 17, 63, 65, 129};

// ---- reference ------------------------------------------------------------

// The two-vector kernel written out: walks the item's dimension, reading the
// query as 0 beyond its own, and sums (query - item)^2 in order.
template <typename T>
T referenceSquaredDistance(const std::vector<T>& item,
                           const std::vector<T>& query) {
  T sum = 0;
  for (std::size_t j = 0; j < item.size(); ++j) {
    const T difference = (j < query.size() ? query[j] : T(0)) - item[j];
    sum = sum + difference * difference;
  }
  return sum;
}

template <typename T>
struct Match {
  int index;
  T distance;
};

// The stated search: start at item `from` (index from + 1 when excluded),
// then strict improvement over from + 1 .. to, skipping `exclude`.
template <typename T>
Match<T> referenceSearch(const std::vector<std::vector<T>>& items,
                         const std::vector<T>& query, bool rooted, int from,
                         int to, int exclude) {
  const auto distanceOf = [&](int i) {
    const T sum = referenceSquaredDistance(items[i], query);
    return rooted ? std::sqrt(sum) : sum;
  };
  Match<T> best{exclude == from ? from + 1 : from, distanceOf(from)};
  for (int i = from + 1; i <= to; ++i) {
    if (i == exclude) continue;
    const T distance = distanceOf(i);
    if (best.distance > distance) best = {i, distance};
  }
  return best;
}

template <typename T>
void expectSameMatch(const Match<T>& actual, const Match<T>& expected) {
  EXPECT_EQ(actual.index, expected.index);
  EXPECT_EQ(bitsOf(actual.distance), bitsOf(expected.distance))
      << actual.distance << " vs " << expected.distance;
}

// ---- data -----------------------------------------------------------------

template <typename T>
std::vector<T> randomValues(int n, std::mt19937& random) {
  std::uniform_real_distribution<T> uniform(-1, 1);
  std::vector<T> values(n);
  for (T& value : values) value = uniform(random);
  return values;
}

template <typename T>
std::vector<std::vector<T>> randomRows(int count, int n, std::mt19937& random) {
  std::vector<std::vector<T>> rows;
  for (int i = 0; i < count; ++i) rows.push_back(randomValues<T>(n, random));
  return rows;
}

enum class Kind { dense, sparse };

// A dataset whose input i holds inputs[i] (dense, or sparse where kindOf(i)
// says so) and whose output i holds outputs[i].
template <typename T>
CDataset<T> datasetOf(const std::vector<std::vector<T>>& inputs,
                      const std::vector<std::vector<T>>& outputs,
                      const std::function<Kind(int)>& kindOf) {
  CDataset<T> data(static_cast<int>(inputs.size()), 1000);
  for (std::size_t i = 0; i < inputs.size(); ++i) {
    const CDenseVector<T> input(inputs[i]);
    const CDenseVector<T> output(outputs[i]);
    if (kindOf(static_cast<int>(i)) == Kind::sparse)
      data.appendItem(CDatasetItem<T>(CSparseVector<T>(input), output));
    else
      data.appendItem(CDatasetItem<T>(input, output));
  }
  return data;
}

template <typename T>
CDataset<T> denseDataset(const std::vector<std::vector<T>>& inputs) {
  return datasetOf<T>(inputs, inputs, [](int) { return Kind::dense; });
}

// ---- searches through the library -----------------------------------------

template <typename T>
Match<T> wholeInputSearch(const CDataset<T>& data, const CVector<T>& query,
                          const CMetric<T>& metric) {
  Match<T> match{-7, T(-7)};
  data.getBestMatchInput(query, metric, match.index, match.distance);
  EXPECT_EQ(data.getBestMatchIDInput(query, metric), match.index);
  EXPECT_EQ(data.bestMatchIDInput(query, metric), match.index);
  return match;
}

template <typename T>
Match<T> wholeOutputSearch(const CDataset<T>& data, const CVector<T>& query,
                           const CMetric<T>& metric) {
  Match<T> match{-7, T(-7)};
  data.getBestMatchOutput(query, metric, match.index, match.distance);
  EXPECT_EQ(data.getBestMatchIDOutput(query, metric), match.index);
  return match;
}

// Runs `check(metric, rooted)` for both Euclidean metrics.
template <typename T, typename Check>
void forBothEuclideanMetrics(Check check) {
  {
    SCOPED_TRACE("CEuclideanMetric");
    check(CEuclideanMetric<T>(), true);
  }
  {
    SCOPED_TRACE("CEuclideanMetric2");
    check(CEuclideanMetric2<T>(), false);
  }
}

// ---- tests ----------------------------------------------------------------

TYPED_TEST(CDatasetEuclideanSearchTest, WholeSearchesMatchTheReference) {
  using T = TypeParam;
  std::mt19937 random(20240611);
  for (const int count : kAwkwardSizes) {
    for (const int n : kAwkwardSizes) {
      SCOPED_TRACE("items " + std::to_string(count) + ", dimension " +
                   std::to_string(n));
      const auto inputs = randomRows<T>(count, n, random);
      const auto outputs = randomRows<T>(count, n, random);
      const auto query = randomValues<T>(n, random);
      const CDataset<T> data =
          datasetOf<T>(inputs, outputs, [](int) { return Kind::dense; });
      forBothEuclideanMetrics<T>([&](const CMetric<T>& metric, bool rooted) {
        expectSameMatch(
            wholeInputSearch(data, CDenseVector<T>(query), metric),
            referenceSearch(inputs, query, rooted, 0, count - 1, -1));
        expectSameMatch(
            wholeOutputSearch(data, CDenseVector<T>(query), metric),
            referenceSearch(outputs, query, rooted, 0, count - 1, -1));
      });
    }
  }
}

TYPED_TEST(CDatasetEuclideanSearchTest, RangesAndExclusionsMatchTheReference) {
  using T = TypeParam;
  std::mt19937 random(7);
  const int count = 129;
  const auto inputs = randomRows<T>(count, 17, random);
  const CDataset<T> data = denseDataset(inputs);
  const CDenseVector<T> query(randomValues<T>(17, random));
  const std::vector<T> queryValues = query.toSTL();
  const CEuclideanMetric<T> metric;
  const std::pair<int, int> ranges[] = {{0, 128},  {0, 0},  {5, 5},    {3, 70},
                                        {64, 128}, {1, 65}, {100, 128}};
  for (const auto& [from, to] : ranges) {
    SCOPED_TRACE(std::to_string(from) + ".." + std::to_string(to));
    EXPECT_EQ(data.bestMatchIDInput(query, metric, from, to),
              referenceSearch(inputs, queryValues, true, from, to, -1).index);
    for (const int exclude : {from, from + 1, (from + to) / 2, to, to + 1}) {
      EXPECT_EQ(
          data.bestMatchIDInput(query, metric, from, to, exclude),
          referenceSearch(inputs, queryValues, true, from, to, exclude).index)
          << "excluding " << exclude;
    }
  }
}

TYPED_TEST(CDatasetEuclideanSearchTest, ExcludingTheBestItemFindsTheNextBest) {
  using T = TypeParam;
  std::mt19937 random(11);
  const auto inputs = randomRows<T>(65, 7, random);
  const CDataset<T> data = denseDataset(inputs);
  const CDenseVector<T> query(randomValues<T>(7, random));
  const CEuclideanMetric2<T> metric;
  const int best = data.getBestMatchIDInput(query, metric);
  const int second = data.bestMatchIDInput(query, metric, 0, 64, best);
  EXPECT_NE(second, best);
  EXPECT_EQ(second,
            referenceSearch(inputs, query.toSTL(), false, 0, 64, best).index);
}

TYPED_TEST(CDatasetEuclideanSearchTest, TiesKeepTheEarliestItem) {
  using T = TypeParam;
  // Small integers give many exactly equal distances.
  std::mt19937 random(3);
  std::uniform_int_distribution<int> small(0, 2);
  std::vector<std::vector<T>> inputs(129, std::vector<T>(3));
  for (auto& row : inputs)
    for (T& value : row) value = T(small(random));
  const CDataset<T> data = denseDataset(inputs);
  const std::vector<T> query{1, 1, 1};
  forBothEuclideanMetrics<T>([&](const CMetric<T>& metric, bool rooted) {
    const Match<T> expected =
        referenceSearch(inputs, query, rooted, 0, 128, -1);
    expectSameMatch(wholeInputSearch(data, CDenseVector<T>(query), metric),
                    expected);
    EXPECT_EQ(inputs[expected.index], query) << "the first exact copy wins";
  });
}

TYPED_TEST(CDatasetEuclideanSearchTest,
           RootedDistancesAreComparedAfterTheRoot) {
  using T = TypeParam;
  // Two items (v, 1/2) whose squared distances from 0 differ but share their
  // square root: the rooted metric sees a tie and keeps item 0, the squared
  // one takes item 1.
  const std::vector<T> origin{0, 0};
  std::vector<T> larger{T(1.5), T(0.5)};
  std::vector<T> smaller = larger;
  bool found = false;
  for (int step = 0; step < 100000 && !found; ++step) {
    larger[0] = std::nextafter(larger[0], T(2));
    smaller[0] = std::nextafter(larger[0], T(0));
    const T largerSum = referenceSquaredDistance(larger, origin);
    const T smallerSum = referenceSquaredDistance(smaller, origin);
    found =
        largerSum > smallerSum && std::sqrt(largerSum) == std::sqrt(smallerSum);
  }
  ASSERT_TRUE(found);
  const CDataset<T> data = denseDataset<T>({larger, smaller});
  const CDenseVector<T> query(origin);
  EXPECT_EQ(data.getBestMatchIDInput(query, CEuclideanMetric<T>()), 0);
  EXPECT_EQ(data.getBestMatchIDInput(query, CEuclideanMetric2<T>()), 1);
}

TYPED_TEST(CDatasetEuclideanSearchTest, MixedItemKindsAndDimensionsMatch) {
  using T = TypeParam;
  std::mt19937 random(5);
  const int n = 17;
  for (const int count : kAwkwardSizes) {
    SCOPED_TRACE("items " + std::to_string(count));
    auto inputs = randomRows<T>(count, n, random);
    // Every fifth item is sparse (with some zeros stored away), every
    // seventh has another dimension than the query.
    for (int i = 0; i < count; ++i) {
      if (i % 5 == 2) inputs[i][i % n] = inputs[i][(i + 3) % n] = 0;
      if (i % 7 == 4) inputs[i].resize(i % 2 == 0 ? n + 3 : n - 5, T(0.5));
    }
    const CDataset<T> data = datasetOf<T>(inputs, inputs, [](int i) {
      return i % 5 == 2 ? Kind::sparse : Kind::dense;
    });
    const auto query = randomValues<T>(n, random);
    forBothEuclideanMetrics<T>([&](const CMetric<T>& metric, bool rooted) {
      expectSameMatch(wholeInputSearch(data, CDenseVector<T>(query), metric),
                      referenceSearch(inputs, query, rooted, 0, count - 1, -1));
    });
  }
}

TYPED_TEST(CDatasetEuclideanSearchTest, SparseQueryGoesThroughTheMetric) {
  using T = TypeParam;
  std::mt19937 random(9);
  auto inputs = randomRows<T>(65, 7, random);
  const CDataset<T> data = denseDataset(inputs);
  std::vector<T> query = randomValues<T>(7, random);
  query[2] = 0;
  const CSparseVector<T> sparseQuery{CDenseVector<T>(query)};
  // The sparse-dense kernel walks the dense item over the same positions.
  expectSameMatch(wholeInputSearch(data, sparseQuery, CEuclideanMetric<T>()),
                  referenceSearch(inputs, query, true, 0, 64, -1));
}

TYPED_TEST(CDatasetEuclideanSearchTest, NaNDistancesAreNeverTaken) {
  using T = TypeParam;
  const T nan = std::numeric_limits<T>::quiet_NaN();
  std::mt19937 random(13);
  auto inputs = randomRows<T>(129, 17, random);
  for (int i = 1; i < 129; i += 3) inputs[i][i % 17] = nan;
  const auto query = randomValues<T>(17, random);
  forBothEuclideanMetrics<T>([&](const CMetric<T>& metric, bool rooted) {
    const Match<T> expected =
        referenceSearch(inputs, query, rooted, 0, 128, -1);
    EXPECT_FALSE(std::isnan(expected.distance));
    expectSameMatch(
        wholeInputSearch(denseDataset(inputs), CDenseVector<T>(query), metric),
        expected);
  });
}

TYPED_TEST(CDatasetEuclideanSearchTest, ANaNStartKeepsTheStartingItem) {
  using T = TypeParam;
  const T nan = std::numeric_limits<T>::quiet_NaN();
  std::mt19937 random(17);
  auto inputs = randomRows<T>(65, 7, random);
  inputs[0][6] = nan;
  const CDataset<T> data = denseDataset(inputs);
  const CDenseVector<T> query(randomValues<T>(7, random));
  forBothEuclideanMetrics<T>([&](const CMetric<T>& metric, bool) {
    const Match<T> match = wholeInputSearch(data, query, metric);
    EXPECT_EQ(match.index, 0);
    EXPECT_TRUE(std::isnan(match.distance));
    EXPECT_EQ(data.bestMatchIDInput(query, metric, 0, 64, 0), 1);
  });
  // A NaN query makes every distance NaN.
  std::vector<T> nanQuery(7, T(0));
  nanQuery[3] = nan;
  EXPECT_EQ(data.bestMatchIDInput(CDenseVector<T>(nanQuery),
                                  CEuclideanMetric<T>(), 10, 64),
            10);
}

TYPED_TEST(CDatasetEuclideanSearchTest, EmptyVectorsAreAllAtDistanceZero) {
  using T = TypeParam;
  const CDataset<T> data =
      denseDataset<T>(std::vector<std::vector<T>>(17, std::vector<T>{}));
  Match<T> match{-7, T(-7)};
  data.getBestMatchInput(CDenseVector<T>(0), CEuclideanMetric<T>(), match.index,
                         match.distance);
  expectSameMatch(match, Match<T>{0, T(0)});
}

// Distances the other way round: a subclass of a Euclidean metric must be
// asked itself, not measured as its base class would.
template <typename T>
class NegatedEuclideanMetric : public CEuclideanMetric<T> {
 public:
  T distance(const CVector<T>& a, const CVector<T>& b) const override {
    return -CEuclideanMetric<T>::distance(a, b);
  }
};

TYPED_TEST(CDatasetEuclideanSearchTest, OtherMetricsAreAskedForEveryItem) {
  using T = TypeParam;
  std::mt19937 random(19);
  const auto inputs = randomRows<T>(63, 7, random);
  const CDataset<T> data = denseDataset(inputs);
  const auto query = randomValues<T>(7, random);
  const CDenseVector<T> denseQuery(query);

  const Match<T> farthest = [&] {
    Match<T> best{0, -std::sqrt(referenceSquaredDistance(inputs[0], query))};
    for (int i = 1; i < 63; ++i) {
      const T d = -std::sqrt(referenceSquaredDistance(inputs[i], query));
      if (best.distance > d) best = {i, d};
    }
    return best;
  }();
  expectSameMatch(
      wholeInputSearch(data, denseQuery, NegatedEuclideanMetric<T>()),
      farthest);

  // The null metric answers 0 for every item: the first one stays.
  EXPECT_EQ(data.getBestMatchIDInput(denseQuery, CMetric<T>()), 0);

  const CManhattenMetric<T> manhatten;
  Match<T> expected{0, manhatten.distance(*data[0].inputVector(), denseQuery)};
  for (int i = 1; i < 63; ++i) {
    const T d = manhatten.distance(*data[i].inputVector(), denseQuery);
    if (expected.distance > d) expected = {i, d};
  }
  expectSameMatch(wholeInputSearch(data, denseQuery, manhatten), expected);
}

// A dense vector of a class the vector operations do not know.
template <typename T>
class ForeignDenseVector : public CDenseVector<T> {
 public:
  using CDenseVector<T>::CDenseVector;
  ForeignDenseVector<T>* clone() const override {
    return new ForeignDenseVector<T>(*this);
  }
};

TYPED_TEST(CDatasetEuclideanSearchTest, ForeignVectorClassesStillThrow) {
  using T = TypeParam;
  std::mt19937 random(23);
  const auto inputs = randomRows<T>(17, 7, random);
  const CDataset<T> data = denseDataset(inputs);
  const ForeignDenseVector<T> foreignQuery(7, T(0.5));
  EXPECT_THROW(data.getBestMatchIDInput(foreignQuery, CEuclideanMetric<T>()),
               const char*);

  CDataset<T> mixed = denseDataset(inputs);
  mixed.setItem(9, CDatasetItem<T>(foreignQuery, CDenseVector<T>(1)));
  EXPECT_THROW(
      mixed.getBestMatchIDInput(CDenseVector<T>(7), CEuclideanMetric<T>()),
      const char*);
}

}  // namespace
