// SPDX-License-Identifier: MIT
// Shared helpers of the cluster algorithm tests: a minimal derived
// algorithm, metrics that record or announce what happens to them, and
// prototype builders.
#ifndef VECML_TESTS_LEARNING_CCLUSTERALGORITHMTESTSUPPORT_H
#define VECML_TESTS_LEARNING_CCLUSTERALGORITHMTESTSUPPORT_H

#include <initializer_list>
#include <utility>
#include <vector>

#include "vecml/dataset/CDataset.h"
#include "vecml/dataset/CDatasetItem.h"
#include "vecml/learning/CClusterAlgorithm.h"
#include "vecml/metric/CMetric.h"
#include "vecml/vector/CDenseVector.h"

// The smallest concrete algorithm: train() only records its arguments.
template <typename T>
class CFixedPrototypes : public CClusterAlgorithm<T> {
 public:
  using CClusterAlgorithm<T>::CClusterAlgorithm;

  void train(const CDataset<T>& data, int epochs) override {
    trainedOn = &data;
    trainedEpochs = epochs;
  }

  const CDataset<T>* trainedOn = nullptr;
  int trainedEpochs = 0;
};

// Reads each prototype's first element as its distance to any sample, so a
// test sets distances by choosing prototypes. Records every call as the
// pair (first element of the first argument, of the second argument).
template <typename T>
class CRecordingMetric : public CMetric<T> {
 public:
  explicit CRecordingMetric(std::vector<std::pair<T, T>>* calls)
      : calls(calls) {}

  T distance(const CVector<T>& a, const CVector<T>& b) const override {
    calls->emplace_back(a[0], b[0]);
    return a[0];
  }

 private:
  std::vector<std::pair<T, T>>* calls;
};

// Sets *destroyed when it is deleted.
template <typename T>
class CWatchedMetric : public CEuclideanMetric<T> {
 public:
  explicit CWatchedMetric(bool* destroyed) : destroyed(destroyed) {}
  ~CWatchedMetric() override { *destroyed = true; }

 private:
  bool* destroyed;
};

template <typename T>
CDenseVector<T> denseOf(std::initializer_list<T> values) {
  return CDenseVector<T>(std::vector<T>(values));
}

// An item with the given input and a one-element output; id -1.
template <typename T>
CDatasetItem<T> itemOf(std::initializer_list<T> input) {
  return CDatasetItem<T>(denseOf<T>(input), CDenseVector<T>(1, T(0)));
}

// Appends one prototype per entry of `inputs`, in order.
template <typename T>
void addPrototypes(CClusterAlgorithm<T>& algorithm,
                   std::initializer_list<std::initializer_list<T>> inputs) {
  for (const auto& input : inputs) {
    algorithm.referenceVectors().appendItem(itemOf<T>(input));
  }
}

#endif
