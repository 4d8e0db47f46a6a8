// SPDX-License-Identifier: MIT
// Nearest prototype of a dense sample under a Euclidean metric, measured by
// a kernel over all prototypes at once instead of one virtual metric call
// per pair.
#ifndef VECML_LEARNING_DETAIL_DENSENEARESTCENTRE_H
#define VECML_LEARNING_DETAIL_DENSENEARESTCENTRE_H

#include <cmath>
#include <typeinfo>
#include <vector>

#include "vecml/core/detail/Arithmetic.h"
#include "vecml/dataset/CDataset.h"
#include "vecml/learning/detail/CentreLanes.h"
#include "vecml/metric/CMetric.h"
#include "vecml/vector/detail/ExactKind.h"

namespace vecml::detail {

/// Finds, for a sample, the prototype the metric's best-match search finds,
/// with the same distances: the centre-lane kernel gives every squared
/// distance the bits of the two-vector kernel, a squared metric keeps the first
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
      : kernel(centreSumsKernel<T>()) {
    const std::type_info& measure = typeid(metric);
    rooted = measure == typeid(CEuclideanMetric<T>);
    if (!rooted && measure != typeid(CEuclideanMetric2<T>)) return;
    const int n = prototypes.inputDimension();
    std::vector<const T*> rows;
    for (int p = 0; p < prototypes.items(); ++p) {
      const CDenseVector<T>* dense = exactlyDense(*prototypes[p].inputVector());
      if (dense == nullptr || dense->dimension() != n) return;
      rows.push_back(dense->_data());
    }
    count = prototypes.items();
    dimension = n;
    padded = (count + kCentreBlock - 1) / kCentreBlock * kCentreBlock;
    // Element i of every prototype side by side; the padding repeats
    // prototype 0, so its extra sums only repeat prototype 0's.
    lanes.resize(std::size_t(dimension) * std::size_t(padded));
    for (int i = 0; i < dimension; ++i)
      for (int p = 0; p < padded; ++p)
        lanes[std::size_t(i) * std::size_t(padded) + std::size_t(p)] =
            rows[std::size_t(p < count ? p : 0)][i];
  }

  /// \return the size of the buffer that nearest() needs.
  std::size_t bufferSize() const { return std::size_t(padded); }

  /// \return the nearest prototype of \p sample, using \p sums (bufferSize()
  ///         elements) as scratch; -1 when this search cannot serve the
  ///         sample (not exactly dense, another dimension, or no prototypes).
  int nearest(const CVector<T>& sample, T* sums) const {
    const CDenseVector<T>* dense = exactlyDense(sample);
    if (count == 0 || dense == nullptr || dense->dimension() != dimension)
      return -1;
    const T smallest =
        kernel(lanes.data(), padded, dense->_data(), dimension, sums);
    // A NaN first distance is never replaced. Otherwise the first sum
    // equal to the smallest wins, or under a rooted metric the first whose
    // root equals the smallest root; the padding (copies of prototype 0)
    // comes after every real prototype and is never reached.
    if (std::isnan(sums[0])) return 0;
    const T bound = rooted ? smallest * kSameRootBound : smallest;
    for (int p = 0;; ++p)
      if (sums[p] <= bound &&
          (sums[p] == smallest || squareRoot(sums[p]) == squareRoot(smallest)))
        return p;
  }

 private:
  // Sums more than this factor above the smallest have a larger root.
  static constexpr T kSameRootBound = T(1) + T(1) / T(1 << 20);

  CentreSumsFunction<T> kernel;
  std::vector<T> lanes;
  int count = 0;
  int padded = 0;
  int dimension = 0;
  bool rooted = false;
};

}  // namespace vecml::detail

#endif
