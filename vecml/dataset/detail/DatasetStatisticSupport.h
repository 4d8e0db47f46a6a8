// SPDX-License-Identifier: MIT
// Helpers that every part of CDatasetStatistic uses.
#ifndef VECML_DATASET_DETAIL_DATASETSTATISTICSUPPORT_H
#define VECML_DATASET_DETAIL_DATASETSTATISTICSUPPORT_H

#include <algorithm>

#include "vecml/dataset/CDataset.h"
#include "vecml/vector/CDenseVector.h"

namespace vecml::detail {

// The stored dataset, or an empty one when none is attached, so that every
// member can treat "no dataset" like "no items".
template <typename T>
const CDataset<T>& orEmpty(const CDataset<T>* data) {
  static const CDataset<T> empty(0, 0);
  return data != nullptr ? *data : empty;
}

// Clamps an item count asked for by the caller to the items there are.
inline int clampCount(int count, int items) {
  return std::clamp(count, 0, items);
}

// out[i] = x[i] - centre[i] in T for the first `d` elements.
template <typename T>
void centreInput(const T* x, const CDenseVector<T>& centre, int d, T* out) {
  const T* m = centre._data();
  for (int i = 0; i < d; ++i) out[i] = x[i] - m[i];
}

}  // namespace vecml::detail

#endif
