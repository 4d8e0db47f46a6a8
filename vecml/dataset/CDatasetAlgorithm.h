// SPDX-License-Identifier: MIT
// Dataset transformations: range scaling, z-scores, centring, normalisation
// and projection removal of the input vectors of a dataset.
#ifndef VECML_DATASET_CDATASETALGORITHM_H
#define VECML_DATASET_CDATASETALGORITHM_H

#include "vecml/core/Export.h"
#include "vecml/core/Forward.h"
#include "vecml/core/detail/Instantiation.h"
#include "vecml/dataset/CDataset.h"
#include "vecml/metric/CMetric.h"
#include "vecml/vector/CDenseVector.h"

// Free function templates for float and double that rescale, centre,
// standardise, normalise or project the input vectors of a dataset. Only
// input vectors are measured and changed; output vectors are never touched.
//
// Functions that return a dataset build a new one (capacity and grow size
// 1000 with room for all items, info "none", no meta data) holding, for
// every source item in order, a dense transformed input, a copy of the
// source's output vector (same kind, same values) and the source's id. An
// empty dataset gives an empty dataset, and vectors whose dimension comes
// from the first item (means, deviations, offsets, factors, extremes) are
// then empty too.
//
// Dimensions are not compared and divisors are not guarded: a constant
// component, a zero-length input or a zero deviation gives the infinities or
// NaN of the division. requires for all functions: every input vector and
// every parameter vector has the input dimension of the first item. A
// mismatch is memory-safe: element-wise steps walk the input's dimension
// and read missing parameter positions as 0, and positions beyond the first
// item's input dimension are left out of the per-component results (zscore
// aborts instead, see there).
//
// \code
//   CDenseVector<float> mean, sd;
//   CDataset<float> standard = zscore(training, mean, sd);
//   CDataset<float> sameScale = applyZScore(test, mean, sd);
// \endcode

/// Multiplies every input vector element-wise by \p weights, in place.
template <typename T>
VECML_API void applyWeights(CDataset<T>& data, const CDenseVector<T>& weights);

/// Divides every input vector by its Euclidean length, in place.
template <typename T>
VECML_API void normalizeInputDataEuclidean(CDataset<T>& data);

/// \return the per-component minima over all input vectors (empty when the
///         dataset is empty).
template <typename T>
VECML_API CDenseVector<T> minElements(const CDataset<T>& data);

/// \return the per-component maxima over all input vectors (empty when the
///         dataset is empty).
template <typename T>
VECML_API CDenseVector<T> maxElements(const CDataset<T>& data);

/// \return x * a + b, element by element (product first, then the sum).
template <typename T>
VECML_API CDenseVector<T> applyScaleRange(const CDenseVector<T>& x,
                                          const CDenseVector<T>& a,
                                          const CDenseVector<T>& b);

/// \return a new dataset whose inputs are applyScaleRange(input, a, b).
template <typename T>
VECML_API CDataset<T> applyScaleRange(const CDataset<T>& data,
                                      const CDenseVector<T>& a,
                                      const CDenseVector<T>& b);

/// Maps each input component linearly from the data's [min, max] onto
/// [lo, hi]: factor = (hi - lo) / (max - min),
/// offset = (max * lo - min * hi) / (max - min), x becomes
/// x * factor + offset. A component with max == min gives infinities or
/// NaN.
/// \param offset, factor resized to the input dimension and filled with
///        the values used, for applyScaleRange(other, factor, offset).
/// \return the scaled dataset.
template <typename T>
VECML_API CDataset<T> scaleRange(const CDataset<T>& data, CDenseVector<T> lo,
                                 CDenseVector<T> hi, CDenseVector<T>& offset,
                                 CDenseVector<T>& factor);

/// \return (x - mean) / sd, element by element (difference first).
template <typename T>
VECML_API CDenseVector<T> applyZScore(const CDenseVector<T>& x,
                                      const CDenseVector<T>& mean,
                                      const CDenseVector<T>& sd);

/// \return a new dataset whose inputs are applyZScore(input, mean, sd).
template <typename T>
VECML_API CDataset<T> applyZScore(const CDataset<T>& data,
                                  const CDenseVector<T>& mean,
                                  const CDenseVector<T>& sd);

/// Subtracts the mean input from every input.
/// \param mean set to the sum of all inputs divided by the item count.
/// \return the centred dataset.
template <typename T>
VECML_API CDataset<T> centerInput(const CDataset<T>& data,
                                  CDenseVector<T>& mean);

/// Standardises the inputs: centred by centerInput(), then divided element
/// by element by the population standard deviation (divisor n, not n - 1).
/// A constant component (sd 0) gives infinities or NaN.
/// requires: no input is longer than the first item's; a longer one aborts
/// with "ML_LS_CHK failed in File: CDatasetAlgorithm.cpp Line: <line>.
/// i=<first item's input dimension> >= <the same>".
/// \param mean, sd set to the values used, for applyZScore(other, mean, sd).
/// \return the standardised dataset.
template <typename T>
VECML_API CDataset<T> zscore(const CDataset<T>& data, CDenseVector<T>& mean,
                             CDenseVector<T>& sd);

/// \return a new dataset whose inputs are divided by their distance from the
///         origin under \p metric, measured as metric.distance(zero, input).
///         A zero input gives 0 / 0.
template <typename T>
VECML_API CDataset<T> normalize(const CDataset<T>& data,
                                const CMetric<T>& metric);

/// \return a new dataset whose inputs x are x - (x . v) v.
/// requires: \p v has unit length, for this to remove exactly the
/// component along v (v is not normalised here).
template <typename T>
VECML_API CDataset<T> removeProjection(const CDataset<T>& data,
                                       const CDenseVector<T>& v);

#define VECML_DATASET_ALGORITHM_INSTANTIATIONS(INSTANTIATE, T)                 \
  INSTANTIATE void applyWeights(CDataset<T>&, const CDenseVector<T>&);         \
  INSTANTIATE void normalizeInputDataEuclidean(CDataset<T>&);                  \
  INSTANTIATE CDenseVector<T> minElements(const CDataset<T>&);                 \
  INSTANTIATE CDenseVector<T> maxElements(const CDataset<T>&);                 \
  INSTANTIATE CDenseVector<T> applyScaleRange(                                 \
      const CDenseVector<T>&, const CDenseVector<T>&, const CDenseVector<T>&); \
  INSTANTIATE CDataset<T> applyScaleRange(                                     \
      const CDataset<T>&, const CDenseVector<T>&, const CDenseVector<T>&);     \
  INSTANTIATE CDataset<T> scaleRange(const CDataset<T>&, CDenseVector<T>,      \
                                     CDenseVector<T>, CDenseVector<T>&,        \
                                     CDenseVector<T>&);                        \
  INSTANTIATE CDenseVector<T> applyZScore(                                     \
      const CDenseVector<T>&, const CDenseVector<T>&, const CDenseVector<T>&); \
  INSTANTIATE CDataset<T> applyZScore(                                         \
      const CDataset<T>&, const CDenseVector<T>&, const CDenseVector<T>&);     \
  INSTANTIATE CDataset<T> centerInput(const CDataset<T>&, CDenseVector<T>&);   \
  INSTANTIATE CDataset<T> zscore(const CDataset<T>&, CDenseVector<T>&,         \
                                 CDenseVector<T>&);                            \
  INSTANTIATE CDataset<T> normalize(const CDataset<T>&, const CMetric<T>&);    \
  INSTANTIATE CDataset<T> removeProjection(const CDataset<T>&,                 \
                                           const CDenseVector<T>&);
VECML_FOR_FLOATING_TYPES(VECML_DATASET_ALGORITHM_INSTANTIATIONS,
                         extern template)

#endif
