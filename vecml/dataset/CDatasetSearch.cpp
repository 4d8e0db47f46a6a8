// SPDX-License-Identifier: MIT
// Best-match search over a dataset's inputs or outputs. Dense queries under
// a Euclidean metric are measured a block of items at a time; long searches
// are split into contiguous ranges of items, one per thread.
#include <algorithm>
#include <typeinfo>
#include <vector>

#include "vecml/core/detail/Arithmetic.h"
#include "vecml/core/detail/Parallel.h"
#include "vecml/dataset/CDataset.h"
#include "vecml/dataset/detail/Prefetch.h"
#include "vecml/vector/CDenseVector.h"
#include "vecml/vector/detail/DenseDistanceBlock.h"
#include "vecml/vector/detail/ExactKind.h"

using vecml::detail::exactlyDense;

namespace {

// Cache lines of a queued row fetched ahead of its block's measurement: the
// rows lie anywhere on the heap, where the hardware prefetchers cannot
// foresee them.
constexpr int kPrefetchRowLines = 8;

template <typename T>
const CVector<T>* searchedVector(const CDatasetItem<T>& item, bool onInputs) {
  return onInputs ? item.inputVector() : item.outputVector();
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
  /// ones. A queued row's elements are fetched into the cache while the
  /// rest of its block is gathered.
  bool take(const CVector<T>& vector, int index) {
    if (query == nullptr) return false;
    const CDenseVector<T>* dense = exactlyDense(vector);
    if (dense == nullptr || denseDimension(*dense) != dimension) {
      flush();
      return false;
    }
    const T* row = dense->_data();
    vecml::detail::prefetchLines(row, std::intptr_t(dimension) * sizeof(T),
                                 kPrefetchRowLines);
    rows[pending] = row;
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

// One search: the query, the metric, which vectors of the items are
// searched and which item is skipped.
template <typename T>
struct Search {
  const std::vector<CDatasetItem<T>>& items;
  const CVector<T>& query;
  const CMetric<T>& metric;
  bool onInputs;
  int exclude;

  /// Offers items begin .. end - 1 to \p best, in order.
  void serial(int begin, int end, RunningBest<T>& best) const {
    EuclideanBlocks<T> blocks(query, metric, best);
    for (int i = begin; i < end; ++i) {
      if (i == exclude) continue;
      const CVector<T>& vector = *searchedVector(items[i], onInputs);
      if (!blocks.take(vector, i))
        best.offer(metric.distance(vector, query), i);
    }
    blocks.flush();
  }

  /// As serial(), with the items split into contiguous ranges, one per
  /// thread. Every range starts from \p best and keeps only strict
  /// improvements on it, so its result is the first of its closest items
  /// or its unchanged start; offering the ranges' results in range order
  /// then gives the item the serial search finds, with its distance.
  void parallel(int begin, int end, RunningBest<T>& best) const {
    const std::size_t count = std::size_t(std::max(end - begin, 0));
    const double perItem = std::max(query.dimension(), 1);
    const int threads =
        vecml::detail::threadsFor(double(count) * perItem, count);
    if (threads <= 1) {
      serial(begin, end, best);
      return;
    }
    std::vector<RunningBest<T>> found(std::size_t(threads), best);
    vecml::detail::runOnThreads(threads, [&](int thread) {
      using vecml::detail::blockStart;
      RunningBest<T> local = best;
      serial(begin + int(blockStart(count, thread, threads)),
             begin + int(blockStart(count, thread + 1, threads)), local);
      found[std::size_t(thread)] = local;
    });
    for (const RunningBest<T>& range : found)
      best.offer(range.distance, range.index);
  }
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
      metric.distance(*searchedVector(itemList[from], onInputs), query),
      exclude == from ? from + 1 : from};
  id = best.index;
  distance = best.distance;
  const Search<T> search{itemList, query, metric, onInputs, exclude};
  search.parallel(from + 1, std::min(to, items() - 1) + 1, best);
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
