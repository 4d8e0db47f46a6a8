// SPDX-License-Identifier: MIT
// Rank correlation between input space and map space, and the neighbour
// rankings of CDatasetStatistic.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <memory>
#include <numeric>
#include <vector>

#include "vecml/core/detail/Arithmetic.h"
#include "vecml/core/detail/Parallel.h"
#include "vecml/dataset/CDatasetItem.h"
#include "vecml/dataset/CDatasetStatistic.h"
#include "vecml/dataset/detail/DatasetStatisticSupport.h"

using vecml::detail::blockStart;
using vecml::detail::clampCount;
using vecml::detail::orEmpty;

namespace {

// Whether the entry keyed `a` (its insertion number) with distance `da`
// stands before the one keyed `b` after inserting the entries one by one,
// each before the first entry whose distance is not smaller: ascending
// distance, and among equal distances the later inserted first. This strict
// total order gives the order that the non-strict comparators describe,
// without handing a non-strict comparator to a sorting algorithm. NaN,
// which no distance order can place, goes last.
template <typename T>
bool rankedBefore(T da, std::size_t a, T db, std::size_t b) {
  const bool nanA = std::isnan(da);
  const bool nanB = std::isnan(db);
  if (nanA != nanB) return nanB;
  if (!nanA && da != db) return da < db;
  return a > b;
}

// The entry numbers 0 .. distances.size() - 1 in ranked order. The sort
// moves each distance along with its number, so that comparisons read
// neighbouring memory instead of looking distances up all over the list.
template <typename T>
std::vector<std::size_t> rankOrder(const std::vector<T>& distances) {
  struct Entry {
    T distance;
    std::size_t number;
  };
  std::vector<Entry> entries(distances.size());
  for (std::size_t number = 0; number < entries.size(); ++number)
    entries[number] = {distances[number], number};
  std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) {
    return rankedBefore(a.distance, a.number, b.distance, b.number);
  });
  std::vector<std::size_t> order(entries.size());
  for (std::size_t position = 0; position < order.size(); ++position)
    order[position] = entries[position].number;
  return order;
}

// 1 - 6 S / (N^3 - N) over the N entries of both lists, S summing the
// squared differences between an entry's position in the map ranking,
// counted from 1, and its position in the input ranking, counted from 0.
template <typename T>
double rankCorrelation(const std::vector<T>& inputDistances,
                       const std::vector<T>& mapDistances) {
  const std::size_t pairs = inputDistances.size();
  std::vector<std::size_t> inputRank(pairs);
  const std::vector<std::size_t> inputOrder = rankOrder(inputDistances);
  for (std::size_t position = 0; position < pairs; ++position)
    inputRank[inputOrder[position]] = position;
  const std::vector<std::size_t> mapOrder = rankOrder(mapDistances);
  double s = 0;
  for (std::size_t position = 1; position <= pairs; ++position) {
    const double difference =
        static_cast<double>(position) -
        static_cast<double>(inputRank[mapOrder[position - 1]]);
    s += difference * difference;
  }
  const double n = static_cast<double>(pairs);
  return 1.0 - 6.0 * s / (n * n * n - n);
}

// For each of the first `count` items, the input in `mapData` of the item
// that its output element 0 (truncated) names.
template <typename T>
std::vector<const CVector<double>*> representatives(
    const CDataset<T>& data, int count, const CDataset<double>& mapData) {
  std::vector<const CVector<double>*> inputs(count);
  for (int i = 0; i < count; ++i) {
    const int representative =
        vecml::detail::truncateToInt((*data.item(i).outputVector())[0]);
    ML_GEQ_CHK(representative, 0);
    ML_LS_CHK(representative, mapData.items());
    inputs[i] = mapData.item(representative).inputVector();
  }
  return inputs;
}

// Distance between the representatives of items i and j, narrowed to T.
template <typename T>
T mapDistance(const std::vector<const CVector<double>*>& inputs,
              const CMetric<double>& metric, int i, int j) {
  return static_cast<T>(metric.distance(*inputs[i], *inputs[j]));
}

// A new dataset holding, for each of the first `count` items i, the other
// item numbers j in ranked order of distance(i, j) and those distances.
template <typename T, typename Distance>
CDataset<T>* rankNeighbours(int count, Distance distance) {
  auto ranking = std::make_unique<CDataset<T>>(count, 1000);
  std::vector<T> distances;
  std::vector<int> neighbours;
  for (int i = 0; i < count; ++i) {
    distances.clear();
    neighbours.clear();
    for (int j = 0; j < count; ++j) {
      if (j == i) continue;
      neighbours.push_back(j);
      distances.push_back(distance(i, j));
    }
    const std::vector<std::size_t> order = rankOrder(distances);
    CDenseVector<T> indices(count - 1);
    CDenseVector<T> sorted(count - 1);
    for (std::size_t r = 0; r < order.size(); ++r) {
      indices._data()[r] = static_cast<T>(neighbours[order[r]]);
      sorted._data()[r] = distances[order[r]];
    }
    ranking->appendItem(CDatasetItem<T>(indices, sorted, i));
  }
  return ranking.release();
}

// The progress line for item i, overwritten by the next one.
void reportProgress(int i) { std::printf("looking at %5d\n\033[A", i); }

// Calls measure(first, last) for ranges of the items 0 .. count - 1 that
// together cover them, on as many threads as `work` element operations are
// worth, and writes a progress line for every hundredth item. With one
// thread the lines come between the items; with several they all follow
// the measuring, which gives the same text.
template <typename Measure>
void measureWithProgress(int count, double work, Measure measure) {
  const auto inOrder = [&] {
    for (int i = 0; i < count; ++i) {
      if (i % 100 == 0) reportProgress(i);
      measure(i, i + 1);
    }
  };
  const int threads =
      vecml::detail::threadsFor(work, static_cast<std::size_t>(count));
  if (threads <= 1) {
    inOrder();
    return;
  }
  try {
    vecml::detail::runOnThreads(threads, [&](int thread) {
      measure(static_cast<int>(blockStart(count, thread, threads)),
              static_cast<int>(blockStart(count, thread + 1, threads)));
    });
  } catch (...) {
    // A measure that throws is run again in order, so the caller sees the
    // progress and the exception that one thread gives.
    inOrder();
    throw;
  }
  for (int i = 0; i < count; i += 100) reportProgress(i);
}

}  // namespace

template <typename T>
T CDatasetStatistic<T>::spearman(int count, const CDataset<double>& mapData,
                                 const CMetric<double>& mapMetric,
                                 const CMetric<T>& inputMetric) const {
  const CDataset<T>& data = orEmpty(dataset);
  count = clampCount(count, data.items());
  const std::vector<const CVector<double>*> mapInputs =
      representatives(data, count, mapData);
  // Entry p of both lists belongs to the p-th ordered pair (i, j), so
  // item i's pairs start at i * (count - 1) and the items can be measured
  // independently.
  const std::size_t row = static_cast<std::size_t>(std::max(count - 1, 0));
  const std::size_t pairs = static_cast<std::size_t>(count) * row;
  std::vector<T> inputDistances(pairs);
  std::vector<T> mapDistances(pairs);
  const auto measure = [&](int first, int last) {
    for (int i = first; i < last; ++i) {
      std::size_t p = static_cast<std::size_t>(i) * row;
      for (int j = 0; j < count; ++j) {
        if (j == i) continue;
        inputDistances[p] = inputMetric.distance(*data.item(i).inputVector(),
                                                 *data.item(j).inputVector());
        mapDistances[p] = mapDistance<T>(mapInputs, mapMetric, i, j);
        ++p;
      }
    }
  };
  const double work =
      static_cast<double>(pairs) *
      std::max(data.inputDimension() + mapData.inputDimension(), 1);
  measureWithProgress(count, work, measure);
  std::printf("\n\n");
  return static_cast<T>(rankCorrelation(inputDistances, mapDistances));
}

template <typename T>
CDataset<T>* CDatasetStatistic<T>::rankInputSpace(
    int count, const CMetric<T>& metric) const {
  const CDataset<T>& data = orEmpty(dataset);
  return rankNeighbours<T>(clampCount(count, data.items()), [&](int i, int j) {
    return metric.distance(*data.item(i).inputVector(),
                           *data.item(j).inputVector());
  });
}

template <typename T>
CDataset<T>* CDatasetStatistic<T>::rankMapSpace(
    int count, const CDataset<double>& mapData,
    const CMetric<double>& mapMetric) const {
  const CDataset<T>& data = orEmpty(dataset);
  count = clampCount(count, data.items());
  const std::vector<const CVector<double>*> mapInputs =
      representatives(data, count, mapData);
  return rankNeighbours<T>(count, [&](int i, int j) {
    return mapDistance<T>(mapInputs, mapMetric, i, j);
  });
}

#define VECML_STATISTIC_RANK_INSTANTIATE_(INSTANTIATE, T)                      \
  INSTANTIATE T CDatasetStatistic<T>::spearman(                                \
      int, const CDataset<double>&, const CMetric<double>&, const CMetric<T>&) \
      const;                                                                   \
  INSTANTIATE CDataset<T>* CDatasetStatistic<T>::rankInputSpace(               \
      int, const CMetric<T>&) const;                                           \
  INSTANTIATE CDataset<T>* CDatasetStatistic<T>::rankMapSpace(                 \
      int, const CDataset<double>&, const CMetric<double>&) const;
VECML_FOR_FLOATING_TYPES(VECML_STATISTIC_RANK_INSTANTIATE_, template)
#undef VECML_STATISTIC_RANK_INSTANTIATE_
