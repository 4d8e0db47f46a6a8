// SPDX-License-Identifier: MIT
// Pieces shared by the online (sample by sample) prototype learners: the
// decay law of their step sizes and neighbourhood ranges, seeded sample
// orders, and the prototype items they start from.
#ifndef VECML_LEARNING_DETAIL_ONLINETRAINING_H
#define VECML_LEARNING_DETAIL_ONLINETRAINING_H

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <utility>
#include <vector>

#include "vecml/core/Macros.h"
#include "vecml/dataset/CDataset.h"
#include "vecml/dataset/CDatasetItem.h"
#include "vecml/learning/CClusterAlgorithm.h"
#include "vecml/learning/detail/OnlineRecord.h"
#include "vecml/learning/detail/RandomSource.h"
#include "vecml/vector/CDenseVector.h"
#include "vecml/vector/CVector.h"

namespace vecml::detail {

/// The first \p count entries of a seeded Fisher-Yates shuffle of
/// 0 .. items - 1: for k = 0, 1, ... entry k is swapped with entry
/// k + random.index(items - k). With count == items, a random permutation.
/// requires: 0 <= count <= items.
inline std::vector<int> randomDistinctIndices(int count, int items,
                                              RandomSource& random) {
  std::vector<int> order(static_cast<std::size_t>(items));
  std::iota(order.begin(), order.end(), 0);
  for (int k = 0; k < count && k + 1 < items; ++k) {
    std::swap(order[k], order[k + random.index(items - k)]);
  }
  order.resize(static_cast<std::size_t>(count));
  return order;
}

/// A prototype record: a copy of \p input, and as output one element
/// holding the prototype's number \p index, which is also its id.
template <typename T>
CDatasetItem<T> prototypeItem(const CVector<T>& input, int index) {
  return CDatasetItem<T>(input, CDenseVector<T>(1, static_cast<T>(index)),
                         index);
}

/// The order of ranks for \p distances: indices sorted by ascending
/// distance, equal distances by index, NaN distances last.
template <typename T>
std::vector<int> rankOrder(const std::vector<T>& distances) {
  std::vector<int> order(distances.size());
  std::iota(order.begin(), order.end(), 0);
  std::stable_sort(order.begin(), order.end(), [&](int a, int b) {
    const T da = distances[a], db = distances[b];
    return !std::isnan(da) && (std::isnan(db) || da < db);
  });
  return order;
}

/// Replaces the prototypes of \p algorithm by copies of the inputs of
/// \p count distinct items of \p data, the first \p count entries of
/// randomDistinctIndices(), numbered 0 .. count - 1.
/// \return false (prototypes unchanged) when \p data has fewer items.
template <typename T>
bool drawPrototypes(CClusterAlgorithm<T>& algorithm, const CDataset<T>& data,
                    int count, RandomSource& random) {
  if (data.items() < count) return false;
  const std::vector<int> chosen =
      randomDistinctIndices(count, data.items(), random);
  CDataset<T>& prototypes = algorithm.referenceVectors();
  prototypes.clear();
  for (int k = 0; k < count; ++k) {
    prototypes.appendItem(
        prototypeItem(*data.item(chosen[k]).inputVector(), k));
  }
  return true;
}

/// One online training run: a new RandomSource(settings.seed); prototypes
/// drawn with drawPrototypes() when there are none; then \p epochs passes,
/// each over a fresh random permutation of the items, calling
/// adapt(sample input, step, steps) with step = 0 .. steps - 1 and steps =
/// epochs * items. Does nothing for epochs <= 0, empty data, or too few
/// items to draw the prototypes.
template <typename T, typename Adapt>
void trainOnline(CClusterAlgorithm<T>& algorithm,
                 const OnlineSettings& settings, const CDataset<T>& data,
                 int epochs, Adapt&& adapt) {
  if (epochs <= 0 || data.items() == 0) return;
  RandomSource random(settings.seed);
  if (algorithm.referenceVectors().items() == 0 &&
      !drawPrototypes(algorithm, data, static_cast<int>(settings.units()),
                      random))
    return;
  const std::int64_t steps = std::int64_t{epochs} * data.items();
  std::int64_t step = 0;
  for (int epoch = 0; epoch < epochs; ++epoch) {
    for (int index :
         randomDistinctIndices(data.items(), data.items(), random)) {
      adapt(*data.item(index).inputVector(), step++, steps);
    }
  }
}

}  // namespace vecml::detail

#endif
