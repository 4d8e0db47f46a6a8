// SPDX-License-Identifier: MIT
// Nearest prototype of a dense sample under a Euclidean metric, measured by
// the block distance kernel instead of one virtual metric call per pair.
#ifndef VECML_LEARNING_DETAIL_DENSENEARESTCENTRE_H
#define VECML_LEARNING_DETAIL_DENSENEARESTCENTRE_H

#include <typeinfo>
#include <vector>

#include "vecml/core/detail/Arithmetic.h"
#include "vecml/dataset/CDataset.h"
#include "vecml/metric/CMetric.h"
#include "vecml/vector/detail/DenseDistanceBlock.h"
#include "vecml/vector/detail/ExactKind.h"

namespace vecml::detail {

/// Finds, for a sample, the prototype the metric's best-match search finds,
/// with the same distances: the block kernel gives every squared distance
/// the bits of the two-vector kernel, a squared metric keeps the first
/// strictly smallest sum, and a rooted metric the first prototype whose
/// rooted sum equals the smallest root (roots of neighbouring sums can
/// round to one value, so the earlier prototype wins that tie). A NaN first
/// distance is never replaced, as in the search.
template <typename T>
class DenseNearestCentre {
 public:
  /// Serves only a metric of exactly the class CEuclideanMetric or
  /// CEuclideanMetric2 and prototypes that are all exactly dense vectors of
  /// one dimension; otherwise nearest() always declines.
  DenseNearestCentre(const CDataset<T>& prototypes, const CMetric<T>& metric)
      : kernel(denseDistanceKernel<T>()) {
    const std::type_info& measure = typeid(metric);
    rooted = measure == typeid(CEuclideanMetric<T>);
    if (!rooted && measure != typeid(CEuclideanMetric2<T>)) return;
    for (int p = 0; p < prototypes.items(); ++p) {
      const CDenseVector<T>* dense = exactlyDense(*prototypes[p].inputVector());
      if (dense == nullptr || dense->dimension() != prototypes.inputDimension())
        return;
      rows.push_back(dense->_data());
    }
    count = prototypes.items();
    dimension = prototypes.inputDimension();
    // The last block is filled up with prototype 0, whose sums are unused.
    while (rows.size() % std::size_t(kernel.blockSize) != 0)
      rows.push_back(rows.front());
  }

  /// \return the size of the buffer that nearest() needs.
  std::size_t bufferSize() const { return rows.size(); }

  /// \return the nearest prototype of \p sample, using \p sums (bufferSize()
  ///         elements) as scratch; -1 when this search cannot serve the
  ///         sample (not exactly dense, another dimension, or no prototypes).
  int nearest(const CVector<T>& sample, T* sums) const {
    const CDenseVector<T>* dense = exactlyDense(sample);
    if (count == 0 || dense == nullptr || dense->dimension() != dimension)
      return -1;
    for (std::size_t row = 0; row < rows.size(); row += kernel.blockSize)
      kernel.compute(rows.data() + row, dense->_data(), dimension, sums + row);
    int index = 0;
    for (int p = 1; p < count; ++p)
      if (sums[index] > sums[p]) index = p;
    return rooted ? firstOfEqualRoot(sums, index) : index;
  }

 private:
  // Sums more than this factor above the smallest have a larger root.
  static constexpr T kSameRootBound = T(1) + T(1) / T(1 << 20);

  static int firstOfEqualRoot(const T* sums, int index) {
    const T smallest = sums[index];
    const T root = squareRoot(smallest);
    for (int p = 0; p < index; ++p)
      if (sums[p] <= smallest * kSameRootBound && squareRoot(sums[p]) == root)
        return p;
    return index;
  }

  DenseDistanceKernel<T> kernel;
  std::vector<const T*> rows;
  int count = 0;
  int dimension = 0;
  bool rooted = false;
};

}  // namespace vecml::detail

#endif
