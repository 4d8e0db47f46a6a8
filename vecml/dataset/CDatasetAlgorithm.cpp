// SPDX-License-Identifier: MIT
#include "vecml/dataset/CDatasetAlgorithm.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "vecml/core/Macros.h"
#include "vecml/core/detail/Arithmetic.h"
#include "vecml/core/detail/Parallel.h"
#include "vecml/vector/detail/ExactKind.h"

using vecml::detail::parallelFor;

namespace {

// Calls body(i) for every item number i of a dataset whose items take
// about `workPerItem` element operations each, on as many threads as that
// work is worth. Each item is changed by one thread only.
template <typename Body>
void forEachItem(int items, double workPerItem, Body body) {
  parallelFor(static_cast<std::size_t>(items), workPerItem,
              [&](std::size_t begin, std::size_t end) {
                for (std::size_t i = begin; i < end; ++i)
                  body(static_cast<int>(i));
              });
}

// Calls features(first, last) for contiguous ranges covering `d`
// components, each range walking all `items` inputs in order, on as many
// threads as that work is worth.
template <typename Features>
void forFeatureRanges(int d, int items, Features features) {
  parallelFor(static_cast<std::size_t>(std::max(d, 0)),
              static_cast<double>(items),
              [&](std::size_t first, std::size_t last) {
                features(static_cast<int>(first), static_cast<int>(last));
              });
}

// Element operations per item of a transformation of the inputs of data.
template <typename T>
double workPerInput(const CDataset<T>& data) {
  return std::max(data.inputDimension(), 1);
}

// Whether every input of data is exactly a dense vector.
template <typename T>
bool allInputsDense(const CDataset<T>& data) {
  for (int i = 0; i < data.items(); ++i)
    if (vecml::detail::exactlyDense(*data[i].inputVector()) == nullptr)
      return false;
  return true;
}

// The work per item for a change of the inputs of data in place: the
// vector operations on dense inputs throw, if at all, for the kinds of
// vectors alone, so on every item alike before changing it. Other inputs
// are left to one thread, which stops at the first item that throws.
template <typename T>
double workInPlace(const CDataset<T>& data, double workPerItem) {
  return allInputsDense(data) ? workPerItem : 0;
}

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
// cloning a second input per item. The copies are made in order on the
// calling thread; the items are then transformed independently.
template <typename T, typename Transform>
CDataset<T> transformInputs(const CDataset<T>& data, Transform transform) {
  const auto build = [&](double workPerItem) {
    CDataset<T> result;
    result.reserve(data.items());
    for (int i = 0; i < data.items(); ++i) result.appendItem(data[i]);
    forEachItem(data.items(), workPerItem, [&](int i) {
      transform(*data[i].inputVector(), denseInput(result[i]));
    });
    return result;
  };
  const double work = workPerInput(data);
  if (vecml::detail::threadsFor(data.items() * work, data.items()) <= 1)
    return build(0);
  try {
    return build(work);
  } catch (...) {
    // A transform that throws on one of several threads is run again in
    // item order on this thread, so the caller gets the exception of the
    // first item that throws, as with one thread.
    return build(0);
  }
}

// Per-component fold of all inputs, starting from item 0's input; only the
// components of item 0 are kept. Each range of components folds every
// input in item order.
template <typename T, typename Keep>
CDenseVector<T> foldComponents(const CDataset<T>& data, Keep keep) {
  if (data.items() == 0) return CDenseVector<T>();
  CDenseVector<T> folded(*data[0].inputVector());
  T* kept = folded._data();
  forFeatureRanges(folded.dimension(), data.items(), [&](int first, int last) {
    CDenseVector<T> scratch;
    for (int i = 0; i < data.items(); ++i) {
      const CDenseVector<T>& x = denseView(*data[i].inputVector(), scratch);
      const int n = std::min(x.dimension(), last);
      for (int j = first; j < n; ++j) kept[j] = keep(kept[j], x._data()[j]);
    }
  });
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

// mean += input for every item in order, as the dense vector addition does
// it: over mean's components, adding 0 where an input is shorter. Inputs
// that are all dense are added per range of components; any other input
// leaves the whole sum to the vector addition itself.
template <typename T>
void addInputs(const CDataset<T>& data, CDenseVector<T>& mean) {
  if (!allInputsDense(data)) {
    for (int i = 0; i < data.items(); ++i) mean += *data[i].inputVector();
    return;
  }
  T* sums = mean._data();
  forFeatureRanges(mean.dimension(), data.items(), [&](int first, int last) {
    for (int i = 0; i < data.items(); ++i) {
      const CVector<T>& input = *data[i].inputVector();
      const T* x = static_cast<const CDenseVector<T>&>(input)._data();
      const int common = std::clamp(input.dimension(), first, last);
      for (int j = first; j < common; ++j)
        sums[j] = vecml::detail::add(sums[j], x[j]);
      for (int j = common; j < last; ++j)
        sums[j] = vecml::detail::add(sums[j], T(0));
    }
  });
}

// Aborts with the bounds report on the first component of an input that
// lies beyond the `d` components of the first item.
template <typename T>
void checkNoLongerInput(CDataset<T>& data, int d) {
  for (int item = 0; item < data.items(); ++item)
    if (data[item].inputVector()->dimension() > d) {
      const int i = d;
      ML_LS_CHK(i, d);
    }
}

// The population standard deviation of the already centred (so dense)
// inputs, per component of the first item. Inputs are checked on the
// calling thread before the components are summed by ranges.
template <typename T>
void populationDeviation(CDataset<T>& centred, CDenseVector<T>& sd) {
  resetTo(sd, centred.inputDimension());
  checkNoLongerInput(centred, sd.dimension());
  T* sums = sd._data();
  forFeatureRanges(sd.dimension(), centred.items(), [&](int first, int last) {
    for (int item = 0; item < centred.items(); ++item) {
      const CDenseVector<T>& x = denseInput(centred[item]);
      const int n = std::min(x.dimension(), last);
      for (int i = first; i < n; ++i)
        sums[i] = sums[i] + x._data()[i] * x._data()[i];
    }
  });
  const T n = static_cast<T>(centred.items());
  for (T& s : sd) s = std::sqrt(s / n);
}

}  // namespace

template <typename T>
void applyWeights(CDataset<T>& data, const CDenseVector<T>& weights) {
  forEachItem(data.items(), workInPlace(data, weights.dimension()),
              [&](int i) { *data[i].inputVector() *= weights; });
}

template <typename T>
void normalizeInputDataEuclidean(CDataset<T>& data) {
  forEachItem(data.items(), workInPlace(data, 2 * workPerInput(data)),
              [&](int i) {
                CVector<T>& x = *data[i].inputVector();
                x /= x.euclideanLength(false);
              });
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
  addInputs(data, mean);
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
  forEachItem(centred.items(), workPerInput(centred),
              [&](int i) { denseInput(centred[i]) /= sd; });
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
  return transformInputs(data,
                         [&](const CVector<T>& input, CDenseVector<T>& x) {
                           CDenseVector<T> along(v);
                           along *= input * v;
                           x -= along;
                         });
}

VECML_FOR_FLOATING_TYPES(VECML_DATASET_ALGORITHM_INSTANTIATIONS, template)
