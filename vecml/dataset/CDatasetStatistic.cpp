// SPDX-License-Identifier: MIT
#include "vecml/dataset/CDatasetStatistic.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <iostream>
#include <memory>
#include <vector>

#include "vecml/core/Macros.h"
#include "vecml/core/detail/Arithmetic.h"
#include "vecml/dataset/CDatasetItem.h"
#include "vecml/dataset/detail/DatasetInputs.h"
#include "vecml/dataset/detail/DatasetStatisticSupport.h"
#include "vecml/dataset/detail/PackedTriangle.h"

using vecml::detail::centreInput;
using vecml::detail::checkInputs;
using vecml::detail::ColumnShare;
using vecml::detail::DatasetInputs;
using vecml::detail::orEmpty;
using vecml::detail::PackedTriangle;
using vecml::detail::RunningAverageStep;
using vecml::detail::splitFeatures;
using vecml::detail::SumOfProductsStep;

namespace {

template <typename T>
bool everyItem(const CDatasetItem<T>&) {
  return true;
}

// Accepts the items whose output element 0 equals `label` exactly.
template <typename T>
struct HasLabel {
  T label;
  bool operator()(const CDatasetItem<T>& item) const {
    return (*item.outputVector())[0] == label;
  }
};

// The numbers of the items `counts` accepts, in order, decided on the
// calling thread.
template <typename T, typename Counts>
std::vector<int> countedItems(const CDataset<T>& data, Counts counts) {
  std::vector<int> counted;
  for (int n = 0; n < data.items(); ++n)
    if (counts(data.item(n))) counted.push_back(n);
  return counted;
}

// Running average of the inputs of the items `counts` accepts.
template <typename T, typename Counts>
CDenseVector<T> runningMean(const CDataset<T>& data, Counts counts) {
  const int d = data.inputDimension();
  CDenseVector<T> mean(d);
  T* m = mean._data();
  const std::vector<int> counted = countedItems(data, counts);
  splitFeatures(data, d, counted, [&](int first, int last) {
    DatasetInputs<T> inputs(data, d);
    T k = 0;
    for (int n : counted) {
      k += T(1);
      const T keep = static_cast<T>(1.0 - 1.0 / static_cast<double>(k));
      const T step = T(1) / k;
      const T* x = inputs(n);
      for (int i = first; i < last; ++i) m[i] = m[i] * keep + x[i] * step;
    }
  });
  return mean;
}

// Running covariance of the items `counts` accepts around `mean`, on the
// packed lower triangle (see PackedTriangle.h for why that is exact).
// requires: `mean` was computed over the same items, so every input read
// here was read there and its checks have passed.
template <typename T, typename Counts>
CMatrix<T> runningCovariance(const CDataset<T>& data,
                             const CDenseVector<T>& mean, Counts counts) {
  const int d = data.inputDimension();
  PackedTriangle<T> covariance(d);
  const std::vector<int> counted = countedItems(data, counts);
  covariance.splitColumns(counted.size(), [&](int first, int last) {
    ColumnShare<T, RunningAverageStep> share(covariance, first, last);
    DatasetInputs<T> inputs(data, d);
    T k = 0;
    for (int n : counted) {
      k += T(1);
      const double weight = 1.0 / static_cast<double>(k);
      centreInput(inputs(n), mean, d, share.add({1.0 - weight, weight}));
    }
    share.finish();
  });
  return covariance.toMatrix();
}

// Element-wise minimum and maximum of inputs, starting from the first
// item's input and combining inputs into it with std::min / std::max (the
// first item is combined again, which changes nothing).
template <typename T>
struct Extremes {
  explicit Extremes(const CDataset<T>& data)
      : minimum(data.items() == 0
                    ? CDenseVector<T>()
                    : CDenseVector<T>(*data.item(0).inputVector())),
        maximum(minimum) {}

  // Includes the elements first .. last - 1 of x.
  void include(const T* x, int first, int last) {
    T* low = minimum._data();
    T* high = maximum._data();
    for (int i = first; i < last; ++i) {
      low[i] = std::min(low[i], x[i]);
      high[i] = std::max(high[i], x[i]);
    }
  }

  CDenseVector<T> minimum;
  CDenseVector<T> maximum;
};

// Both extremes of all inputs in one pass.
template <typename T>
Extremes<T> extremes(const CDataset<T>& data) {
  Extremes<T> result(data);
  const int d = result.minimum.dimension();
  const std::vector<int> all = countedItems(data, everyItem<T>);
  splitFeatures(data, d, all, [&](int first, int last) {
    DatasetInputs<T> inputs(data, d);
    for (int n : all) result.include(inputs(n), first, last);
  });
  return result;
}

// Ignores the inputs a pass shows it.
template <typename T>
void ignore(const T*, int, int) {}

// Sums the first `d` input elements of the items `counts` accepts into
// `sum` (in item order, in T), showing each of those inputs to
// visit(x, first, last) for the elements first .. last - 1 it sums.
// \return the number of those items.
template <typename T, typename Counts, typename Visit>
int sumInputs(const CDataset<T>& data, int d, Counts counts,
              CDenseVector<T>& sum, Visit visit) {
  sum.zeros();
  T* s = sum._data();
  const std::vector<int> counted = countedItems(data, counts);
  splitFeatures(data, d, counted, [&](int first, int last) {
    DatasetInputs<T> inputs(data, d);
    for (int n : counted) {
      const T* x = inputs(n);
      visit(x, first, last);
      for (int i = first; i < last; ++i) s[i] += x[i];
    }
  });
  return static_cast<int>(counted.size());
}

// Sums the squared deviations from `mean` of the items `counts` accepts.
template <typename T, typename Counts>
void sumSquaredDeviations(const CDataset<T>& data, const CDenseVector<T>& mean,
                          Counts counts, CDenseVector<T>& sum) {
  const int d = mean.dimension();
  sum.zeros();
  const T* m = mean._data();
  T* s = sum._data();
  const std::vector<int> counted = countedItems(data, counts);
  splitFeatures(data, d, counted, [&](int first, int last) {
    DatasetInputs<T> inputs(data, d);
    for (int n : counted) {
      const T* x = inputs(n);
      for (int i = first; i < last; ++i) {
        const T deviation = x[i] - m[i];
        s[i] += deviation * deviation;
      }
    }
  });
}

template <typename T>
void takeSquareRoots(const CDenseVector<T>& variance, CDenseVector<T>& stdDev) {
  for (int i = 0; i < variance.dimension(); ++i)
    stdDev[i] = std::sqrt(variance[i]);
}

// The three-vector statistic over all items of `data`: mean, sample
// variance and its square root, showing every input to `visit` on the way.
template <typename T, typename Visit>
void sampleStatistic(const CDataset<T>& data, int d, CDenseVector<T>& mean,
                     CDenseVector<T>& stdDev, CDenseVector<T>& variance,
                     Visit visit) {
  mean.resize(d);
  stdDev.resize(d);
  variance.resize(d);
  const int n = sumInputs(data, d, everyItem<T>, mean, visit);
  mean /= static_cast<T>(n);
  sumSquaredDeviations(data, mean, everyItem<T>, variance);
  const double factor = 1.0 / static_cast<double>(n - 1);
  for (int i = 0; i < d; ++i)
    variance[i] = static_cast<T>(static_cast<double>(variance[i]) * factor);
  takeSquareRoots(variance, stdDev);
}

}  // namespace

template <typename T>
CDatasetStatistic<T>::CDatasetStatistic() : dataset(nullptr) {}

template <typename T>
CDatasetStatistic<T>::CDatasetStatistic(CDataset<T>* data) : dataset(data) {}

template <typename T>
CDatasetStatistic<T>::~CDatasetStatistic() = default;

template <typename T>
std::string CDatasetStatistic<T>::className() const {
  return "CDatasetStatistic";
}

template <typename T>
int CDatasetStatistic<T>::inputDimension() const {
  return orEmpty(dataset).inputDimension();
}

template <typename T>
CDenseVector<T> CDatasetStatistic<T>::mean(const CDataset<T>& data) const {
  return runningMean(data, everyItem<T>);
}

template <typename T>
CDenseVector<T> CDatasetStatistic<T>::mean(const CDataset<T>& data,
                                           T label) const {
  return runningMean(data, HasLabel<T>{label});
}

template <typename T>
CDenseVector<T> CDatasetStatistic<T>::maxElements() const {
  return extremes(orEmpty(dataset)).maximum;
}

template <typename T>
CDenseVector<T> CDatasetStatistic<T>::minElements() const {
  return extremes(orEmpty(dataset)).minimum;
}

template <typename T>
void CDatasetStatistic<T>::statistic(CDenseVector<T>& mean,
                                     CDenseVector<T>& stdDev,
                                     CDenseVector<T>& variance) const {
  sampleStatistic(orEmpty(dataset), inputDimension(), mean, stdDev, variance,
                  ignore<T>);
}
template <typename T>
void CDatasetStatistic<T>::statistic(const CDenseVector<T>& output,
                                     CDenseVector<T>& mean,
                                     CDenseVector<T>& stdDev,
                                     CDenseVector<T>& variance) const {
  const CDataset<T>& data = orEmpty(dataset);
  const auto inClass = [&output](const CDatasetItem<T>& item) {
    return *item.outputVector() == output;
  };
  const int d = inputDimension();
  mean.resize(d);
  stdDev.resize(d);
  variance.resize(d);
  const T k = static_cast<T>(sumInputs(data, d, inClass, mean, ignore<T>));
  mean /= k;
  sumSquaredDeviations(data, mean, inClass, variance);
  variance *= T(1) / k;
  takeSquareRoots(variance, stdDev);
}

template <typename T>
void CDatasetStatistic<T>::dumpStatistic() const {
  const CDataset<T>& data = orEmpty(dataset);
  // The extremes are gathered during the statistic's first pass.
  Extremes<T> range(data);
  CDenseVector<T> average;
  CDenseVector<T> deviation;
  CDenseVector<T> variance;
  sampleStatistic(data, inputDimension(), average, deviation, variance,
                  [&range](const T* x, int first, int last) {
                    range.include(x, first, last);
                  });
  const CDenseVector<T>& minimum = range.minimum;
  const CDenseVector<T>& maximum = range.maximum;
  std::printf("\n\n");
  std::printf(" Items      : %d\n", data.items());
  std::printf(" Input dim. : %d\n", inputDimension());
  if (data.items() > 0)
    std::printf(" Output dim.: %d\n", data.outputDimension());
  std::printf(" Dataset statistic for input vectors: \n");
  std::printf(
      " Feature  |      Min       |      Max      |      Mean      |   Std. "
      "Dev.   |   Variance    | \n");
  std::printf(
      " ---------|----------------|---------------|----------------|---------"
      "------|---------------| \n");
  for (int i = 0; i < average.dimension(); ++i)
    std::printf(
        "    %3.3d   |  %6.6e |  %6.6e |  %6.6e |  %6.6e |  %6.6e |\n", i,
        static_cast<double>(minimum[i]), static_cast<double>(maximum[i]),
        static_cast<double>(average[i]), static_cast<double>(deviation[i]),
        static_cast<double>(variance[i]));
  std::printf("\n");
}

template <typename T>
CMatrix<T> CDatasetStatistic<T>::covarianceMatrix(
    const CDataset<T>& data) const {
  return runningCovariance(data, mean(data), everyItem<T>);
}

template <typename T>
CMatrix<T> CDatasetStatistic<T>::covarianceMatrix(const CDataset<T>& data,
                                                  T label) const {
  return runningCovariance(data, mean(data, label), HasLabel<T>{label});
}

// The products x[i] * x[j] and x[j] * x[i] are equal, so as for the
// covariance only the lower triangle is summed.
template <typename T>
CMatrix<T> CDatasetStatistic<T>::getAutoCorrelation() const {
  const CDataset<T>& data = orEmpty(dataset);
  const int d = inputDimension();
  PackedTriangle<T> sums(d);
  checkInputs(data, d);
  sums.splitColumns(
      static_cast<std::size_t>(data.items()), [&](int first, int last) {
        ColumnShare<T, SumOfProductsStep> share(sums, first, last);
        DatasetInputs<T> inputs(data, d);
        for (int n = 0; n < data.items(); ++n)
          std::copy_n(inputs(n), d, share.add({}));
        share.finish();
      });
  CMatrix<T> correlation = sums.toMatrix();
  correlation /= static_cast<T>(data.items());
  return correlation;
}

VECML_FOR_FLOATING_TYPES(VECML_DATASET_STATISTIC_INSTANTIATIONS, template)
