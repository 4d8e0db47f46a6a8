// SPDX-License-Identifier: MIT
#include "vecml/dataset/CDatasetAlgorithm.h"

#include <algorithm>
#include <cmath>

#include "vecml/core/Macros.h"

namespace {

// The item's input as a dense vector, expanding a sparse one in place.
template <typename T>
CDenseVector<T>& denseInput(CDatasetItem<T>& item) {
  if (auto* dense = dynamic_cast<CDenseVector<T>*>(item.inputVector()))
    return *dense;
  item.setInputVector(CDenseVector<T>(*item.inputVector()));
  return static_cast<CDenseVector<T>&>(*item.inputVector());
}

// v itself when it is dense, otherwise its expansion into scratch.
template <typename T>
const CDenseVector<T>& denseView(const CVector<T>& v,
                                 CDenseVector<T>& scratch) {
  if (const auto* dense = dynamic_cast<const CDenseVector<T>*>(&v))
    return *dense;
  scratch.copy(v);
  return scratch;
}

// A new dataset with a copy of every item of data (output vector and id
// included) whose input is first expanded to a dense copy and then handed
// to transform(source input, dense copy) to be changed in place. Copying
// the whole item and changing its input where it lies saves building and
// cloning a second input per item.
template <typename T, typename Transform>
CDataset<T> transformInputs(const CDataset<T>& data, Transform transform) {
  CDataset<T> result;
  result.reserve(data.items());
  for (int i = 0; i < data.items(); ++i) {
    const CDatasetItem<T>& source = data[i];
    result.appendItem(source);
    transform(*source.inputVector(), denseInput(result.getLast()));
  }
  return result;
}

// Per-component fold of all inputs, starting from item 0's input; only the
// components of item 0 are kept.
template <typename T, typename Keep>
CDenseVector<T> foldComponents(const CDataset<T>& data, Keep keep) {
  if (data.items() == 0) return CDenseVector<T>();
  CDenseVector<T> folded(*data[0].inputVector());
  T* kept = folded._data();
  CDenseVector<T> scratch;
  for (int i = 0; i < data.items(); ++i) {
    const CDenseVector<T>& x = denseView(*data[i].inputVector(), scratch);
    const int n = std::min(x.dimension(), folded.dimension());
    for (int j = 0; j < n; ++j) kept[j] = keep(kept[j], x._data()[j]);
  }
  return folded;
}

// An element-wise change of x in place with two parameter vectors; the
// vector and dataset forms of applyScaleRange and applyZScore share one.
template <typename T>
using ParameterStep = void (*)(CDenseVector<T>& x, const CDenseVector<T>& p,
                               const CDenseVector<T>& q);

// x = x * a + b, element by element.
template <typename T>
void scaleAndShift(CDenseVector<T>& x, const CDenseVector<T>& a,
                   const CDenseVector<T>& b) {
  x *= a;
  x += b;
}

// x = (x - mean) / sd, element by element.
template <typename T>
void standardize(CDenseVector<T>& x, const CDenseVector<T>& mean,
                 const CDenseVector<T>& sd) {
  x -= mean;
  x /= sd;
}

template <typename T>
CDenseVector<T> stepped(const CDenseVector<T>& x, ParameterStep<T> step,
                        const CDenseVector<T>& p, const CDenseVector<T>& q) {
  CDenseVector<T> result(x);
  step(result, p, q);
  return result;
}

template <typename T>
CDataset<T> steppedInputs(const CDataset<T>& data, ParameterStep<T> step,
                          const CDenseVector<T>& p, const CDenseVector<T>& q) {
  return transformInputs(
      data, [&](const CVector<T>&, CDenseVector<T>& x) { step(x, p, q); });
}

// A zero vector of n elements in v, keeping its storage when it
// already has that size.
template <typename T>
void resetTo(CDenseVector<T>& v, int n) {
  if (v.dimension() != n) v.resize(n);
  v.zeros();
}

// The population standard deviation of the already centred inputs, per
// component of the first item.
template <typename T>
void populationDeviation(CDataset<T>& centred, CDenseVector<T>& sd) {
  resetTo(sd, centred.inputDimension());
  T* sums = sd._data();
  for (int item = 0; item < centred.items(); ++item) {
    const CDenseVector<T>& x = denseInput(centred[item]);
    for (int i = 0; i < x.dimension(); ++i) {
      ML_LS_CHK(i, sd.dimension());
      sums[i] = sums[i] + x._data()[i] * x._data()[i];
    }
  }
  const T n = static_cast<T>(centred.items());
  for (T& s : sd) s = std::sqrt(s / n);
}

}  // namespace

template <typename T>
void applyWeights(CDataset<T>& data, const CDenseVector<T>& weights) {
  for (int i = 0; i < data.items(); ++i) *data[i].inputVector() *= weights;
}

template <typename T>
void normalizeInputDataEuclidean(CDataset<T>& data) {
  for (int i = 0; i < data.items(); ++i) {
    CVector<T>& x = *data[i].inputVector();
    x /= x.euclideanLength(false);
  }
}

template <typename T>
CDenseVector<T> minElements(const CDataset<T>& data) {
  return foldComponents(data, [](T kept, T x) { return std::min(kept, x); });
}

template <typename T>
CDenseVector<T> maxElements(const CDataset<T>& data) {
  return foldComponents(data, [](T kept, T x) { return std::max(kept, x); });
}

template <typename T>
CDenseVector<T> applyScaleRange(const CDenseVector<T>& x,
                                const CDenseVector<T>& a,
                                const CDenseVector<T>& b) {
  return stepped(x, scaleAndShift<T>, a, b);
}

template <typename T>
CDataset<T> applyScaleRange(const CDataset<T>& data, const CDenseVector<T>& a,
                            const CDenseVector<T>& b) {
  return steppedInputs(data, scaleAndShift<T>, a, b);
}

template <typename T>
CDataset<T> scaleRange(const CDataset<T>& data, CDenseVector<T> lo,
                       CDenseVector<T> hi, CDenseVector<T>& offset,
                       CDenseVector<T>& factor) {
  const CDenseVector<T> smallest = minElements(data);
  const CDenseVector<T> largest = maxElements(data);
  const int n = data.inputDimension();
  offset.resize(n);
  factor.resize(n);
  for (int j = 0; j < n; ++j) {
    const T low = lo.getElement(j);
    const T high = hi.getElement(j);
    const T min = smallest._data()[j];
    const T max = largest._data()[j];
    factor._data()[j] = (high - low) / (max - min);
    offset._data()[j] = (max * low - min * high) / (max - min);
  }
  return applyScaleRange(data, factor, offset);
}

template <typename T>
CDenseVector<T> applyZScore(const CDenseVector<T>& x,
                            const CDenseVector<T>& mean,
                            const CDenseVector<T>& sd) {
  return stepped(x, standardize<T>, mean, sd);
}

template <typename T>
CDataset<T> applyZScore(const CDataset<T>& data, const CDenseVector<T>& mean,
                        const CDenseVector<T>& sd) {
  return steppedInputs(data, standardize<T>, mean, sd);
}

template <typename T>
CDataset<T> centerInput(const CDataset<T>& data, CDenseVector<T>& mean) {
  resetTo(mean, data.inputDimension());
  for (int i = 0; i < data.items(); ++i) mean += *data[i].inputVector();
  mean /= static_cast<T>(data.items());
  return transformInputs(
      data, [&](const CVector<T>&, CDenseVector<T>& x) { x -= mean; });
}

template <typename T>
CDataset<T> zscore(const CDataset<T>& data, CDenseVector<T>& mean,
                   CDenseVector<T>& sd) {
  // The centred copy is ours, so it is divided where it lies.
  CDataset<T> centred = centerInput(data, mean);
  populationDeviation(centred, sd);
  for (int i = 0; i < centred.items(); ++i) denseInput(centred[i]) /= sd;
  return centred;
}

template <typename T>
CDataset<T> normalize(const CDataset<T>& data, const CMetric<T>& metric) {
  const CDenseVector<T> origin(data.inputDimension());
  return transformInputs(data,
                         [&](const CVector<T>& input, CDenseVector<T>& x) {
                           x /= metric.distance(origin, input);
                         });
}

template <typename T>
CDataset<T> removeProjection(const CDataset<T>& data,
                             const CDenseVector<T>& v) {
  // Holds p * v for the current item; same size every time, so no
  // allocation after the first.
  CDenseVector<T> along(v);
  return transformInputs(data,
                         [&](const CVector<T>& input, CDenseVector<T>& x) {
                           along = v;
                           along *= input * v;
                           x -= along;
                         });
}

VECML_FOR_FLOATING_TYPES(VECML_DATASET_ALGORITHM_INSTANTIATIONS, template)
