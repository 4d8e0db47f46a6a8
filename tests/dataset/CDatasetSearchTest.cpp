// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "dataset/CDatasetTestSupport.h"
#include "vecml/dataset/CDataset.h"
#include "vecml/metric/CMetric.h"
#include "vecml/vector/CDenseVector.h"

namespace {

using cdataset_test::FloatingTypes;
using cdataset_test::indexedDataset;
using cdataset_test::makeItem;
using cdataset_test::ScriptedMetric;

template <typename T>
class CDatasetSearchTest : public testing::Test {
 protected:
  const CDenseVector<T> query{std::vector<T>{T(0.25)}};
};
TYPED_TEST_SUITE(CDatasetSearchTest, FloatingTypes);

template <typename T>
using Match = std::pair<int, T>;

// What an output-argument form such as &CDataset<T>::getBestMatchInput
// stores, starting from (-7, -7).
template <typename T, typename Form>
Match<T> matchOf(const CDataset<T>& data, Form form, const CVector<T>& query,
                 const CMetric<T>& metric) {
  Match<T> match{-7, T(-7)};
  (data.*form)(query, metric, match.first, match.second);
  return match;
}

TYPED_TEST(CDatasetSearchTest, TiesKeepTheEarlierItemInEveryWholeForm) {
  using T = TypeParam;
  const CDataset<T> data = indexedDataset<T>(3);
  const ScriptedMetric<T> metric({3, 1, 1}, this->query);
  EXPECT_EQ(data.getBestMatchIDInput(this->query, metric), 1);
  EXPECT_EQ(data.bestMatchIDInput(this->query, metric), 1);
  EXPECT_EQ(data.getBestMatchIDOutput(this->query, metric), 1);
  EXPECT_EQ(data.bestMatchIDOutput(this->query, metric), 1);
  const Match<T> expected{1, T(1)};
  for (const auto form :
       {&CDataset<T>::getBestMatchInput, &CDataset<T>::bestMatchInput,
        &CDataset<T>::getBestMatchOutput, &CDataset<T>::bestMatchOutput})
    EXPECT_EQ(matchOf(data, form, this->query, metric), expected);
}

TYPED_TEST(CDatasetSearchTest, InputAndOutputFormsSearchTheirOwnVectors) {
  using T = TypeParam;
  CDataset<T> data;
  // Input first elements 0, 1, 2; output first elements 2, 1, 0.
  for (int k = 0; k < 3; ++k)
    data.appendItem(makeItem<T>(k, {T(k)}, {T(2 - k)}));
  const ScriptedMetric<T> metric({4, 5, 6}, this->query);
  EXPECT_EQ(matchOf(data, &CDataset<T>::getBestMatchInput, this->query, metric),
            (Match<T>{0, T(4)}));
  EXPECT_EQ(
      matchOf(data, &CDataset<T>::getBestMatchOutput, this->query, metric),
      (Match<T>{2, T(4)}));
}

TYPED_TEST(CDatasetSearchTest, OnlyAStrictImprovementMoves) {
  using T = TypeParam;
  const CDataset<T> data = indexedDataset<T>(5);
  const ScriptedMetric<T> metric({2, 3, 1, 1, 0.5}, this->query);
  EXPECT_EQ(data.bestMatchIDInput(this->query, metric), 4);
  const ScriptedMetric<T> firstWins({2, 2, 2, 2, 2}, this->query);
  EXPECT_EQ(data.bestMatchIDInput(this->query, firstWins), 0);
}

TYPED_TEST(CDatasetSearchTest, OneItemGivesIndexZero) {
  using T = TypeParam;
  const CDataset<T> data = indexedDataset<T>(1);
  const ScriptedMetric<T> metric({9}, this->query);
  EXPECT_EQ(matchOf(data, &CDataset<T>::getBestMatchInput, this->query, metric),
            (Match<T>{0, T(9)}));
}

TYPED_TEST(CDatasetSearchTest, EmptyDatasetGivesMinusOneAndNoDistance) {
  using T = TypeParam;
  const CDataset<T> data;
  const ScriptedMetric<T> metric({}, this->query);
  EXPECT_EQ(matchOf(data, &CDataset<T>::getBestMatchInput, this->query, metric),
            (Match<T>{-1, T(-7)}));
  EXPECT_EQ(
      matchOf(data, &CDataset<T>::getBestMatchOutput, this->query, metric),
      (Match<T>{-1, T(-7)}));
  EXPECT_EQ(data.bestMatchIDInput(this->query, metric), -1);
  EXPECT_EQ(data.bestMatchIDOutput(this->query, metric), -1);
}

TYPED_TEST(CDatasetSearchTest, RealMetricFindsTheNearestInput) {
  using T = TypeParam;
  CDataset<T> data;
  data.appendItem(makeItem<T>(0, {0, 0}, {0}));
  data.appendItem(makeItem<T>(1, {3, 4}, {0}));
  data.appendItem(makeItem<T>(2, {1, 1}, {0}));
  const CEuclideanMetric<T> metric;
  EXPECT_EQ(matchOf(data, &CDataset<T>::getBestMatchInput,
                    CDenseVector<T>(std::vector<T>{3, 3}), metric),
            (Match<T>{1, T(1)}));
}

// ---- range forms -----------------------------------------------------------

TYPED_TEST(CDatasetSearchTest, RangeIncludesBothEnds) {
  using T = TypeParam;
  const CDataset<T> data = indexedDataset<T>(5);
  const ScriptedMetric<T> metric({0.5, 4, 3, 2, 1}, this->query);
  EXPECT_EQ(data.bestMatchIDInput(this->query, metric, 1, 3), 3);
  EXPECT_EQ(data.bestMatchIDInput(this->query, metric, 1, 1), 1);
  EXPECT_EQ(data.bestMatchIDInput(this->query, metric, 0, 4), 0);
}

TYPED_TEST(CDatasetSearchTest, RangeOutsideTheItemsIsCut) {
  using T = TypeParam;
  const CDataset<T> data = indexedDataset<T>(3);
  const ScriptedMetric<T> metric({3, 2, 1}, this->query);
  EXPECT_EQ(data.bestMatchIDInput(this->query, metric, 1, 99), 2);
  EXPECT_EQ(data.bestMatchIDInput(this->query, metric, -1, 2), -1);
  EXPECT_EQ(data.bestMatchIDInput(this->query, metric, 3, 3), -1);
  // from > to searches item `from` alone.
  EXPECT_EQ(data.bestMatchIDInput(this->query, metric, 1, 0), 1);
}

// Each case: distances of items 0.., from, to, excluded index, result.
struct ExclusionCase {
  std::vector<double> distances;
  int from, to, exclude, expected;
};

TYPED_TEST(CDatasetSearchTest, ExclusionForm) {
  using T = TypeParam;
  const std::vector<ExclusionCase> cases{
      // Item 0 excluded, its distance still the starting value.
      {{1, 5, 7}, 0, 2, 0, 1},
      // A later item strictly closer than the excluded start wins...
      {{5, 7, 2}, 0, 2, 0, 2},
      // ...but a tie with the excluded start does not move.
      {{5, 7, 5}, 0, 2, 0, 1},
      // An excluded item inside the range is skipped.
      {{3, 1, 2, 4}, 0, 3, 1, 2},
      {{3, 1, 2, 4}, 0, 3, 3, 1},
      {{3, 1, 2, 4}, 0, 3, -1, 1},
      // The excluded last start gives the index after it.
      {{3, 2, 1}, 2, 2, 2, 3},
  };
  for (const ExclusionCase& c : cases) {
    const int n = static_cast<int>(c.distances.size());
    SCOPED_TRACE(testing::Message() << "n=" << n << " from=" << c.from << " to="
                                    << c.to << " exclude=" << c.exclude);
    const CDataset<T> data = indexedDataset<T>(n);
    const ScriptedMetric<T> metric(
        std::vector<T>(c.distances.begin(), c.distances.end()), this->query);
    EXPECT_EQ(
        data.bestMatchIDInput(this->query, metric, c.from, c.to, c.exclude),
        c.expected);
  }
}

// ---- iterator form ---------------------------------------------------------

TYPED_TEST(CDatasetSearchTest, IteratorFormSearchesTheListedIndices) {
  using T = TypeParam;
  const CDataset<T> data = indexedDataset<T>(5);
  const ScriptedMetric<T> metric({0, 2, 9, 2, 1}, this->query);
  const std::vector<int> listed{3, 1, 4};
  EXPECT_EQ(
      data.bestMatchIDInput(this->query, metric, listed.begin(), listed.end()),
      4);
  // Ties keep the earlier listed index, whatever its value.
  const std::vector<int> tied{3, 1};
  EXPECT_EQ(
      data.bestMatchIDInput(this->query, metric, tied.begin(), tied.end()), 3);
  const int array[] = {2};
  EXPECT_EQ(data.bestMatchIDInput(this->query, metric, array, array + 1), 2);
}

}  // namespace
