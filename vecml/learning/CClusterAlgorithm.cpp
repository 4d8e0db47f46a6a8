// SPDX-License-Identifier: MIT
#include "vecml/learning/CClusterAlgorithm.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "vecml/core/detail/Parallel.h"
#include "vecml/learning/detail/DenseNearestCentre.h"

template <typename T>
CClusterAlgorithm<T>::CClusterAlgorithm(CMetric<T>* metric)
    : references(1000, 1000), distanceMetric(metric) {}

template <typename T>
CClusterAlgorithm<T>::~CClusterAlgorithm() {
  delete distanceMetric;
}

template <typename T>
bool CClusterAlgorithm<T>::serialize(std::fstream& stream, IO_MODE mode) {
  if (!CObject<T>::serialize(stream, mode)) return false;
  // The dataset's serialize reports false in both directions, so the stored
  // form ends here: the metric is never written, and reading leaves the
  // metric given to the constructor in place.
  return references.serialize(stream, mode);
}

template <typename T>
void CClusterAlgorithm<T>::setMetric(CMetric<T>* metric) {
  // Deleting the metric that is about to be stored again would leave a
  // dangling pointer.
  if (metric == distanceMetric) return;
  delete distanceMetric;
  distanceMetric = metric;
}

// The prototype search is the dataset's own best match over its inputs,
// which calls distance(item input, query), keeps the first of equal
// distances and starts from item 0's distance, so a NaN never takes over.

template <typename T>
int CClusterAlgorithm<T>::nearestNode(const CVector<T>& x) const {
  if (references.items() == 0) return -1;
  return references.getBestMatchIDInput(x, *distanceMetric);
}

template <typename T>
T CClusterAlgorithm<T>::nearestNodeDistance(const CVector<T>& x) const {
  if (references.items() == 0) return std::numeric_limits<T>::quiet_NaN();
  int index = 0;
  T distance = T(0);
  references.getBestMatchInput(x, *distanceMetric, index, distance);
  return distance;
}

template <typename T>
T CClusterAlgorithm<T>::rmse(const CDataset<T>& data) const {
  const T count = static_cast<T>(data.items());
  T sum = T(0);
  for (int j = 0; j < data.items(); ++j) {
    const T distance = nearestNodeDistance(*data.item(j).inputVector());
    sum += distance * distance;
  }
  return std::sqrt(sum / count);
}

namespace {

// Element operations of one nearest-prototype search among the prototypes.
template <typename T>
double searchWork(const CDataset<T>& data, const CDataset<T>& references) {
  return std::max(1.0, double(references.items()) *
                           double(std::max(data.inputDimension(), 1)));
}

}  // namespace

// Dense inputs under a Euclidean metric are measured by the block kernel
// without a virtual call per pair; it finds what nearestNode() finds, which
// still serves every other input.
template <typename T>
std::vector<int> CClusterAlgorithm<T>::assignments(
    const CDataset<T>& data) const {
  std::vector<int> nodes(std::size_t(data.items()));
  const vecml::detail::DenseNearestCentre<T> dense(references, *distanceMetric);
  const auto assignRange = [&](std::size_t begin, std::size_t end) {
    std::vector<T> sums(dense.bufferSize());
    for (std::size_t j = begin; j < end; ++j) {
      const CVector<T>& x = *data.item(int(j)).inputVector();
      const int node = dense.nearest(x, sums.data());
      nodes[j] = node >= 0 ? node : nearestNode(x);
    }
  };
  vecml::detail::parallelFor(nodes.size(), searchWork(data, references),
                             assignRange);
  return nodes;
}

template <typename T>
T CClusterAlgorithm<T>::quantizationError(const CDataset<T>& data) const {
  std::vector<T> distances(std::size_t(data.items()));
  vecml::detail::parallelFor(
      distances.size(), searchWork(data, references),
      [&](std::size_t begin, std::size_t end) {
        for (std::size_t j = begin; j < end; ++j)
          distances[j] = nearestNodeDistance(*data.item(int(j)).inputVector());
      });
  double sum = 0.0;
  for (const T distance : distances) sum += double(distance) * double(distance);
  return static_cast<T>(sum / double(data.items()));
}

VECML_FOR_FLOATING_TYPES(VECML_CLUSTER_ALGORITHM_INSTANTIATIONS, template)
