// SPDX-License-Identifier: MIT
// Neighbourhood rankings and the rank correlation between input and map
// space.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "dataset/CDatasetStatisticTestSupport.h"
#include "vecml/dataset/CDatasetStatistic.h"
#include "vecml/metric/CMetric.h"

namespace {

using statistic_test::captureConsole;
using statistic_test::denseDataset;
using statistic_test::Rows;
using statistic_test::scalarDataset;

template <typename T>
class CDatasetStatisticRankTest : public testing::Test {};
using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CDatasetStatisticRankTest, ElementTypes);

// Inserts each entry, in order, before the first entry that it precedes
// under `precedes` (the literal reading of an ordered container with a
// non-strict comparator), quadratic but plain.
template <typename Entry, typename Precedes>
std::vector<Entry> insertOneByOne(const std::vector<Entry>& entries,
                                  Precedes precedes) {
  std::vector<Entry> sequence;
  for (const Entry& entry : entries) {
    auto position = sequence.begin();
    while (position != sequence.end() && !precedes(entry, *position))
      ++position;
    sequence.insert(position, entry);
  }
  return sequence;
}

// Items with small integer coordinates (so that many distances tie) whose
// output element 0 names one of `mapItems` representatives.
template <typename T>
CDataset<T> tiedDataset(int n, int mapItems, unsigned seed) {
  std::mt19937 random(seed);
  std::uniform_int_distribution<int> coordinate(0, 3);
  std::uniform_int_distribution<int> representative(0, mapItems - 1);
  Rows<T> inputs, outputs;
  for (int i = 0; i < n; ++i) {
    inputs.push_back({T(coordinate(random)), T(coordinate(random))});
    outputs.push_back({T(representative(random)) + T(0.75)});  // truncated
  }
  return denseDataset(inputs, outputs);
}

CDataset<double> mapGrid(int items) {
  Rows<double> inputs;
  for (int i = 0; i < items; ++i)
    inputs.push_back({double(i % 3), double(i / 3)});
  return denseDataset(inputs, Rows<double>(items, {0.0}));
}

// The rank correlation by its stated steps, with the rankings built by
// one-by-one insertion under the library's own non-strict comparators.
template <typename T>
T statedSpearman(const CDataset<T>& data, int count,
                 const CDataset<double>& mapData,
                 const CMetric<double>& mapMetric,
                 const CMetric<T>& inputMetric) {
  using Statistic = CDatasetStatistic<T>;
  std::vector<typename Statistic::InputSpaceEntry> inputEntries;
  std::vector<typename Statistic::MapSpaceEntry> mapEntries;
  int p = 0;
  for (int i = 0; i < count; ++i)
    for (int j = 0; j < count; ++j) {
      if (i == j) continue;
      const int ri = static_cast<int>(data.item(i).outputComponent(0));
      const int rj = static_cast<int>(data.item(j).outputComponent(0));
      inputEntries.push_back(
          {p, inputMetric.distance(*data.item(i).inputVector(),
                                   *data.item(j).inputVector())});
      mapEntries.push_back(
          {p,
           {static_cast<T>(mapMetric.distance(*mapData.item(ri).inputVector(),
                                              *mapData.item(rj).inputVector())),
            T(0)}});
      ++p;
    }
  const auto inputOrder =
      insertOneByOne(inputEntries, &Statistic::compareInputSpace);
  const auto mapOrder = insertOneByOne(mapEntries, &Statistic::compareMapSpace);
  std::vector<int> inputRank(p);
  for (int position = 0; position < p; ++position)
    inputRank[inputOrder[position].first] = position;
  double s = 0;
  for (int position = 1; position <= p; ++position) {
    const double difference =
        position - inputRank[mapOrder[position - 1].first];
    s += difference * difference;
  }
  const double n = p;
  return static_cast<T>(1.0 - 6.0 * s / (n * n * n - n));
}

// Expects item i of `ranking` to hold these neighbours and distances.
template <typename T>
void expectRanking(const CDataset<T>& ranking, int i,
                   const std::vector<T>& neighbours,
                   const std::vector<T>& distances) {
  EXPECT_EQ(ranking.item(i).inputVector()->toSTL(), neighbours) << i;
  EXPECT_EQ(ranking.item(i).outputVector()->toSTL(), distances) << i;
}

TYPED_TEST(CDatasetStatisticRankTest, ComparatorsAreNotStrict) {
  using Statistic = CDatasetStatistic<TypeParam>;
  EXPECT_TRUE(Statistic::compareInputSpace({1, 2}, {0, 2}));
  EXPECT_TRUE(Statistic::compareInputSpace({0, 2}, {1, 2}));
  EXPECT_TRUE(Statistic::compareInputSpace({0, 1}, {1, 2}));
  EXPECT_FALSE(Statistic::compareInputSpace({0, 3}, {1, 2}));
  EXPECT_TRUE(Statistic::compareMapSpace({1, {2, 9}}, {0, {2, 0}}));
  EXPECT_TRUE(Statistic::compareMapSpace({0, {2, 0}}, {1, {2, 9}}));
  EXPECT_FALSE(Statistic::compareMapSpace({0, {3, 0}}, {1, {2, 9}}));
}

TYPED_TEST(CDatasetStatisticRankTest, EquallyDistantNeighboursAreBothRanked) {
  CDataset<TypeParam> data = scalarDataset<TypeParam>({0, 1, -1});
  const CEuclideanMetric<TypeParam> metric;
  const std::unique_ptr<CDataset<TypeParam>> ranking(
      CDatasetStatistic<TypeParam>(&data).rankInputSpace(3, metric));
  ASSERT_EQ(ranking->items(), 3);
  // Item 0 sees items 1 and 2 at distance 1: the later one comes first.
  expectRanking<TypeParam>(*ranking, 0, {2, 1}, {1, 1});
  expectRanking<TypeParam>(*ranking, 1, {0, 2}, {1, 2});
  expectRanking<TypeParam>(*ranking, 2, {0, 1}, {1, 2});
  for (int i = 0; i < 3; ++i) EXPECT_EQ(ranking->item(i).id(), i);
}

TYPED_TEST(CDatasetStatisticRankTest, RankingMatchesOneByOneInsertion) {
  using Statistic = CDatasetStatistic<TypeParam>;
  CDataset<TypeParam> data = tiedDataset<TypeParam>(25, 4, 31u);
  const CManhattenMetric<TypeParam> metric;
  const std::unique_ptr<CDataset<TypeParam>> ranking(
      Statistic(&data).rankInputSpace(20, metric));
  ASSERT_EQ(ranking->items(), 20);
  EXPECT_GE(ranking->capacity(), 20);
  for (int i = 0; i < 20; ++i) {
    std::vector<typename Statistic::InputSpaceEntry> entries;
    for (int j = 0; j < 20; ++j)
      if (j != i)
        entries.push_back({j, metric.distance(*data.item(i).inputVector(),
                                              *data.item(j).inputVector())});
    std::vector<TypeParam> neighbours, distances;
    for (const auto& entry :
         insertOneByOne(entries, &Statistic::compareInputSpace)) {
      neighbours.push_back(TypeParam(entry.first));
      distances.push_back(entry.second);
    }
    expectRanking(*ranking, i, neighbours, distances);
  }
}

TYPED_TEST(CDatasetStatisticRankTest, NaNDistancesRankLast) {
  CDataset<TypeParam> data = scalarDataset<TypeParam>(
      {0, std::numeric_limits<TypeParam>::quiet_NaN(), 1, 1});
  const CEuclideanMetric<TypeParam> metric;
  const std::unique_ptr<CDataset<TypeParam>> ranking(
      CDatasetStatistic<TypeParam>(&data).rankInputSpace(4, metric));
  EXPECT_EQ(ranking->item(0).inputVector()->toSTL(),
            std::vector<TypeParam>({3, 2, 1}));
}

TYPED_TEST(CDatasetStatisticRankTest, RankingCountIsClampedToTheItems) {
  CDataset<TypeParam> data = scalarDataset<TypeParam>({0, 1});
  const CEuclideanMetric<TypeParam> metric;
  const CDatasetStatistic<TypeParam> statistic(&data);
  const std::unique_ptr<CDataset<TypeParam>> all(
      statistic.rankInputSpace(5, metric));
  ASSERT_EQ(all->items(), 2);
  EXPECT_EQ(all->item(1).inputDimension(), 1);
  const std::unique_ptr<CDataset<TypeParam>> none(
      statistic.rankInputSpace(-3, metric));
  EXPECT_EQ(none->items(), 0);
  const std::unique_ptr<CDataset<TypeParam>> one(
      statistic.rankInputSpace(1, metric));
  ASSERT_EQ(one->items(), 1);
  EXPECT_EQ(one->item(0).inputDimension(), 0);
  const std::unique_ptr<CDataset<TypeParam>> unattached(
      CDatasetStatistic<TypeParam>().rankInputSpace(4, metric));
  EXPECT_EQ(unattached->items(), 0);
}

TYPED_TEST(CDatasetStatisticRankTest,
           MapRankingMeasuresBetweenRepresentatives) {
  // Items 0, 1, 2 are represented by map items 2, 0, 1 at 0, 10 and 4.
  CDataset<TypeParam> data =
      denseDataset<TypeParam>({{0}, {0}, {0}}, {{2.5}, {0}, {1.9}});
  const CDataset<double> mapData =
      denseDataset<double>({{10}, {4}, {0}}, {{0}, {0}, {0}});
  const CEuclideanMetric<double> metric;
  const std::unique_ptr<CDataset<TypeParam>> ranking(
      CDatasetStatistic<TypeParam>(&data).rankMapSpace(3, mapData, metric));
  ASSERT_EQ(ranking->items(), 3);
  expectRanking<TypeParam>(*ranking, 0, {2, 1}, {4, 10});
  expectRanking<TypeParam>(*ranking, 1, {2, 0}, {6, 10});
  expectRanking<TypeParam>(*ranking, 2, {0, 1}, {4, 6});
}

TYPED_TEST(CDatasetStatisticRankTest, MapRankingKeepsTiesLaterFirst) {
  CDataset<TypeParam> data =
      denseDataset<TypeParam>({{0}, {0}, {0}}, {{0}, {1}, {1}});
  const CDataset<double> mapData = denseDataset<double>({{0}, {3}}, {{0}, {0}});
  const CEuclideanMetric<double> metric;
  const std::unique_ptr<CDataset<TypeParam>> ranking(
      CDatasetStatistic<TypeParam>(&data).rankMapSpace(3, mapData, metric));
  expectRanking<TypeParam>(*ranking, 0, {2, 1}, {3, 3});
}

TYPED_TEST(CDatasetStatisticRankTest, SpearmanPrintsProgressEveryHundredItems) {
  const Rows<TypeParam> inputs(201, {TypeParam(1)});
  CDataset<TypeParam> data =
      denseDataset(inputs, Rows<TypeParam>(inputs.size(), {TypeParam(0)}));
  const CDataset<double> mapData = denseDataset<double>({{0}}, {{0}});
  const CEuclideanMetric<double> mapMetric;
  const CEuclideanMetric<TypeParam> inputMetric;
  const CDatasetStatistic<TypeParam> statistic(&data);
  EXPECT_EQ(captureConsole([&] {
              statistic.spearman(201, mapData, mapMetric, inputMetric);
            }),
            "looking at     0\n\x1b[A"
            "looking at   100\n\x1b[A"
            "looking at   200\n\x1b[A"
            "\n\n");
}

TYPED_TEST(CDatasetStatisticRankTest, SpearmanCountsInputRanksFromZero) {
  // Two items give the pairs (0, 1) and (1, 0) at equal distances in both
  // spaces; both rankings put pair 1 first. Input ranks 0 and 1 against map
  // positions 1 and 2 give S = 2 and 1 - 6 * 2 / (8 - 2) = -1.
  CDataset<TypeParam> data = denseDataset<TypeParam>({{0}, {1}}, {{0}, {1}});
  const CDataset<double> mapData = denseDataset<double>({{0}, {1}}, {{0}, {0}});
  const CEuclideanMetric<double> mapMetric;
  const CEuclideanMetric<TypeParam> inputMetric;
  TypeParam rho = 0;
  captureConsole([&] {
    rho = CDatasetStatistic<TypeParam>(&data).spearman(2, mapData, mapMetric,
                                                       inputMetric);
  });
  EXPECT_EQ(rho, TypeParam(-1));
}

TYPED_TEST(CDatasetStatisticRankTest, SpearmanMatchesItsStatedSteps) {
  CDataset<TypeParam> data = tiedDataset<TypeParam>(40, 9, 32u);
  const CDataset<double> mapData = mapGrid(9);
  const CManhattenMetric<double> mapMetric;
  const CEuclideanMetric<TypeParam> inputMetric;
  const CDatasetStatistic<TypeParam> statistic(&data);
  for (int count : {3, 17, 40}) {
    TypeParam rho = 0;
    captureConsole([&] {
      rho = statistic.spearman(count, mapData, mapMetric, inputMetric);
    });
    EXPECT_EQ(rho, statedSpearman(data, count, mapData, mapMetric, inputMetric))
        << count;
  }
}

TYPED_TEST(CDatasetStatisticRankTest, SpearmanOfFewerThanTwoItemsIsNaN) {
  CDataset<TypeParam> data = scalarDataset<TypeParam>({0, 1});
  const CDataset<double> mapData = denseDataset<double>({{0}}, {{0}});
  const CEuclideanMetric<double> mapMetric;
  const CEuclideanMetric<TypeParam> inputMetric;
  const CDatasetStatistic<TypeParam> statistic(&data);
  std::string text = captureConsole([&] {
    EXPECT_TRUE(
        std::isnan(statistic.spearman(1, mapData, mapMetric, inputMetric)));
  });
  EXPECT_EQ(text, "looking at     0\n\x1b[A\n\n");
  text = captureConsole([&] {
    EXPECT_TRUE(
        std::isnan(statistic.spearman(0, mapData, mapMetric, inputMetric)));
  });
  EXPECT_EQ(text, "\n\n");
}

}  // namespace
