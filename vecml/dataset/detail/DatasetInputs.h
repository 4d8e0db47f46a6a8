// SPDX-License-Identifier: MIT
// Sequential reads of the input vectors of a dataset's items as plain
// element arrays, for walks that visit every item once.
#ifndef VECML_DATASET_DETAIL_DATASETINPUTS_H
#define VECML_DATASET_DETAIL_DATASETINPUTS_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "vecml/core/detail/Parallel.h"
#include "vecml/dataset/CDataset.h"
#include "vecml/dataset/CDatasetItem.h"
#include "vecml/dataset/detail/Prefetch.h"
#include "vecml/vector/CDenseVector.h"
#include "vecml/vector/detail/ExactKind.h"

namespace vecml::detail {

/// The first d input elements of item after item of a dataset: straight
/// from the storage of a dense input that has them all, otherwise copied
/// element by element through the checked operator[], so that a shorter
/// input aborts with its index report instead of being read past its end.
/// Dense means exactly CDenseVector<T> (a pointer comparison of the type,
/// cheaper per item than a dynamic_cast); other vectors, derived ones
/// included, take the element-wise copy, which gives the same values.
///
/// Every item's input lives in its own heap blocks (the vector object, then
/// its elements) that hardware prefetchers cannot foresee, and the walks
/// over them do little work per element. So each read also asks for the
/// vector object 2 * kAhead items ahead and for the elements of the input
/// kAhead items ahead, whose object the earlier request brought in.
template <typename T>
class DatasetInputs {
 public:
  /// requires: \p data outlives this object and keeps its items.
  DatasetInputs(const CDataset<T>& data, int d)
      : data(data), d(d), copy(static_cast<std::size_t>(std::max(d, 0))) {}

  /// The first d input elements of item \p n, valid until the next call.
  /// requires: 0 <= n < items() (checked by the dataset).
  const T* operator()(int n) {
    prefetch(n);
    const CVector<T>& input = *data.item(n).inputVector();
    if (const T* elements = denseElements(input)) return elements;
    for (int i = 0; i < d; ++i) copy[i] = input[i];
    return copy.data();
  }

 private:
  static constexpr int kAhead = 8;
  // Cache lines asked for per input: beyond a few lines the hardware
  // prefetchers follow the elements themselves.
  static constexpr int kLines = 8;

  const T* denseElements(const CVector<T>& v) const {
    const CDenseVector<T>* dense = exactlyDense(v);
    return dense != nullptr && dense->dimension() >= d ? dense->_data()
                                                       : nullptr;
  }

  void prefetch(int n) const {
    const int items = data.items();
    if (n < items - 2 * kAhead)
      __builtin_prefetch(data.item(n + 2 * kAhead).inputVector());
    if (n < items - kAhead) {
      const T* elements = denseElements(*data.item(n + kAhead).inputVector());
      if (elements == nullptr) return;
      prefetchLines(elements, static_cast<std::intptr_t>(d) * sizeof(T),
                    kLines);
    }
  }

  const CDataset<T>& data;
  int d;
  std::vector<T> copy;
};

/// Reads the first \p d input elements of every item of \p data once, so
/// that an input too short for them aborts here, on the calling thread,
/// with the report the serial walk would give, before any thread starts.
template <typename T>
void checkInputs(const CDataset<T>& data, int d) {
  DatasetInputs<T> inputs(data, d);
  for (int n = 0; n < data.items(); ++n) inputs(n);
}

/// As checkInputs(data, d) for the items numbered in \p items only.
template <typename T>
void checkInputs(const CDataset<T>& data, int d,
                 const std::vector<int>& items) {
  DatasetInputs<T> inputs(data, d);
  for (int n : items) inputs(n);
}

/// Operations per item that one thread's share must reach: every thread
/// walks all the items (and the calling thread checks them first), so a
/// thread taking only a few features of each item costs more in walking
/// than it saves.
inline constexpr double kMinItemWorkPerThread = 64;

/// Calls features(first, last) for contiguous ranges covering the d
/// features, one per thread, on as many threads as walks over the inputs
/// of \p items are worth, at \p workPerElement operations per item and
/// feature (with one thread that is features(0, d)). Each
/// feature's walk keeps the serial item order; with several threads, the
/// inputs are checked on the calling thread first.
template <typename T, typename Features>
void splitFeatures(const CDataset<T>& data, int d,
                   const std::vector<int>& items, Features features,
                   double workPerElement = 1) {
  const double itemWork = d * workPerElement;
  const auto shares = static_cast<std::size_t>(
      std::min<double>(d, itemWork / kMinItemWorkPerThread));
  const int threads =
      threadsFor(static_cast<double>(items.size()) * itemWork, shares);
  if (threads <= 1) {
    features(0, d);
    return;
  }
  checkInputs(data, d, items);
  runOnThreads(threads, [&](int thread) {
    features(static_cast<int>(blockStart(d, thread, threads)),
             static_cast<int>(blockStart(d, thread + 1, threads)));
  });
}

}  // namespace vecml::detail

#endif
