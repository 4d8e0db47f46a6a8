// SPDX-License-Identifier: MIT
// Best-match search over a dataset's inputs or outputs. Dense queries under
// a Euclidean metric are measured a block of items at a time.
#include <algorithm>
#include <typeinfo>

#include "vecml/core/detail/Arithmetic.h"
#include "vecml/dataset/CDataset.h"
#include "vecml/vector/CDenseVector.h"
#include "vecml/vector/detail/DenseDistanceBlock.h"
#include "vecml/vector/detail/ExactKind.h"

using vecml::detail::exactlyDense;

namespace {

template <typename T>
const CVector<T>& searchedVector(const CDatasetItem<T>& item, bool onInputs) {
  return onInputs ? *item.inputVector() : *item.outputVector();
}

// Result of a search so far. Only a strictly smaller distance replaces the
// best one: ties keep the earlier item, a NaN distance is never taken, and
// after a NaN start nothing is.
template <typename T>
struct RunningBest {
  T distance;
  int index;

  void offer(T candidate, int candidateIndex) {
    if (distance > candidate) {
      distance = candidate;
      index = candidateIndex;
    }
  }
};

// Measures items for a Euclidean metric (rooted or squared) and a dense
// query without the metric's virtual calls: dense items of the query's
// dimension are queued and measured a block at a time by the block kernel,
// which gives each distance the bits of the metric's own. Offers reach the
// running best in item order.
template <typename T>
class EuclideanBlocks {
 public:
  EuclideanBlocks(const CVector<T>& query, const CMetric<T>& metric,
                  RunningBest<T>& best)
      : best(best) {
    const std::type_info& measure = typeid(metric);
    rooted = measure == typeid(CEuclideanMetric<T>);
    if (rooted || measure == typeid(CEuclideanMetric2<T>))
      this->query = exactlyDense(query);
    if (this->query != nullptr) {
      kernel = vecml::detail::denseDistanceKernel<T>();
      dimension = denseDimension(*this->query);
    }
  }

  /// Queues item \p index, whose searched vector is \p vector, when the
  /// blocks can measure it; otherwise measures what is queued and returns
  /// false, so that the caller measures the item itself, after the queued
  /// ones.
  bool take(const CVector<T>& vector, int index) {
    if (query == nullptr) return false;
    const CDenseVector<T>* dense = exactlyDense(vector);
    if (dense == nullptr || denseDimension(*dense) != dimension) {
      flush();
      return false;
    }
    rows[pending] = dense->_data();
    indices[pending] = index;
    if (++pending == kernel.blockSize) flush();
    return true;
  }

  /// Measures the queued items and offers them in order.
  void flush() {
    if (pending == 0) return;
    // Unused rows of a partial block read the query, which is in bounds.
    std::fill(rows + pending, rows + kernel.blockSize, query->_data());
    kernel.compute(rows, query->_data(), dimension, sums);
    for (int k = 0; k < pending; ++k)
      best.offer(rooted ? vecml::detail::squareRoot(sums[k]) : sums[k],
                 indices[k]);
    pending = 0;
  }

 private:
  // Qualified call: the class is known, so skip the virtual lookup.
  static int denseDimension(const CDenseVector<T>& vector) {
    return vector.CDenseVector<T>::dimension();
  }

  RunningBest<T>& best;
  const CDenseVector<T>* query = nullptr;
  bool rooted = false;
  int dimension = 0;
  vecml::detail::DenseDistanceKernel<T> kernel{};
  int pending = 0;
  const T* rows[vecml::detail::kMaxDistanceBlock];
  int indices[vecml::detail::kMaxDistanceBlock];
  T sums[vecml::detail::kMaxDistanceBlock];
};

}  // namespace

template <typename T>
void CDataset<T>::bestMatch(const CVector<T>& query, const CMetric<T>& metric,
                            bool onInputs, int from, int to, int exclude,
                            int& id, T& distance) const {
  if (from < 0 || from >= items()) {
    id = -1;
    return;
  }
  RunningBest<T> best{
      metric.distance(searchedVector(itemList[from], onInputs), query),
      exclude == from ? from + 1 : from};
  id = best.index;
  distance = best.distance;
  EuclideanBlocks<T> blocks(query, metric, best);
  const int last = std::min(to, items() - 1);
  for (int i = from + 1; i <= last; ++i) {
    if (i == exclude) continue;
    const CVector<T>& vector = searchedVector(itemList[i], onInputs);
    if (!blocks.take(vector, i)) best.offer(metric.distance(vector, query), i);
  }
  blocks.flush();
  id = best.index;
  distance = best.distance;
}

template <typename T>
int CDataset<T>::bestMatchID(const CVector<T>& query, const CMetric<T>& metric,
                             bool onInputs, int from, int to,
                             int exclude) const {
  int id = -1;
  T distance{};
  bestMatch(query, metric, onInputs, from, to, exclude, id, distance);
  return id;
}

// The whole-dataset and plain range searches pass -1 as the excluded index:
// it never equals an index of the searched range.
template <typename T>
int CDataset<T>::getBestMatchIDInput(const CVector<T>& query,
                                     const CMetric<T>& metric) const {
  return bestMatchID(query, metric, true, 0, items() - 1, -1);
}

template <typename T>
int CDataset<T>::bestMatchIDInput(const CVector<T>& query,
                                  const CMetric<T>& metric) const {
  return getBestMatchIDInput(query, metric);
}

template <typename T>
int CDataset<T>::getBestMatchIDOutput(const CVector<T>& query,
                                      const CMetric<T>& metric) const {
  return bestMatchID(query, metric, false, 0, items() - 1, -1);
}

template <typename T>
int CDataset<T>::bestMatchIDOutput(const CVector<T>& query,
                                   const CMetric<T>& metric) const {
  return getBestMatchIDOutput(query, metric);
}

template <typename T>
void CDataset<T>::getBestMatchInput(const CVector<T>& query,
                                    const CMetric<T>& metric, int& id,
                                    T& distance) const {
  bestMatch(query, metric, true, 0, items() - 1, -1, id, distance);
}

template <typename T>
void CDataset<T>::bestMatchInput(const CVector<T>& query,
                                 const CMetric<T>& metric, int& id,
                                 T& distance) const {
  getBestMatchInput(query, metric, id, distance);
}

template <typename T>
void CDataset<T>::getBestMatchOutput(const CVector<T>& query,
                                     const CMetric<T>& metric, int& id,
                                     T& distance) const {
  bestMatch(query, metric, false, 0, items() - 1, -1, id, distance);
}

template <typename T>
void CDataset<T>::bestMatchOutput(const CVector<T>& query,
                                  const CMetric<T>& metric, int& id,
                                  T& distance) const {
  getBestMatchOutput(query, metric, id, distance);
}

template <typename T>
int CDataset<T>::bestMatchIDInput(const CVector<T>& query,
                                  const CMetric<T>& metric, int from,
                                  int to) const {
  return bestMatchID(query, metric, true, from, to, -1);
}

template <typename T>
int CDataset<T>::bestMatchIDInput(const CVector<T>& query,
                                  const CMetric<T>& metric, int from, int to,
                                  int exclude) const {
  return bestMatchID(query, metric, true, from, to, exclude);
}

#define VECML_DATASET_SEARCH_INSTANTIATE_(INSTANTIATE, T)                     \
  INSTANTIATE void CDataset<T>::bestMatch(                                    \
      const CVector<T>&, const CMetric<T>&, bool, int, int, int, int&, T&)    \
      const;                                                                  \
  INSTANTIATE int CDataset<T>::bestMatchID(                                   \
      const CVector<T>&, const CMetric<T>&, bool, int, int, int) const;       \
  INSTANTIATE int CDataset<T>::getBestMatchIDInput(const CVector<T>&,         \
                                                   const CMetric<T>&) const;  \
  INSTANTIATE int CDataset<T>::bestMatchIDInput(const CVector<T>&,            \
                                                const CMetric<T>&) const;     \
  INSTANTIATE int CDataset<T>::getBestMatchIDOutput(const CVector<T>&,        \
                                                    const CMetric<T>&) const; \
  INSTANTIATE int CDataset<T>::bestMatchIDOutput(const CVector<T>&,           \
                                                 const CMetric<T>&) const;    \
  INSTANTIATE void CDataset<T>::getBestMatchInput(                            \
      const CVector<T>&, const CMetric<T>&, int&, T&) const;                  \
  INSTANTIATE void CDataset<T>::bestMatchInput(                               \
      const CVector<T>&, const CMetric<T>&, int&, T&) const;                  \
  INSTANTIATE void CDataset<T>::getBestMatchOutput(                           \
      const CVector<T>&, const CMetric<T>&, int&, T&) const;                  \
  INSTANTIATE void CDataset<T>::bestMatchOutput(                              \
      const CVector<T>&, const CMetric<T>&, int&, T&) const;                  \
  INSTANTIATE int CDataset<T>::bestMatchIDInput(                              \
      const CVector<T>&, const CMetric<T>&, int, int) const;                  \
  INSTANTIATE int CDataset<T>::bestMatchIDInput(                              \
      const CVector<T>&, const CMetric<T>&, int, int, int) const;
VECML_FOR_FLOATING_TYPES(VECML_DATASET_SEARCH_INSTANTIATE_, template)
#undef VECML_DATASET_SEARCH_INSTANTIATE_
