// SPDX-License-Identifier: MIT
#include "vecml/learning/CNearestNeighbours.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

#include "vecml/core/Macros.h"
#include "vecml/core/detail/Parallel.h"

namespace {

// Every item has both vectors, the first item's dimensions (both positive)
// and finite outputs.
template <typename T>
bool usableSamples(const CDataset<T>& samples) {
  if (samples.items() == 0) return false;
  const CDatasetItem<T>& first = samples[0];
  if (first.inputVector() == nullptr || first.outputVector() == nullptr)
    return false;
  const int inputs = first.inputVector()->dimension();
  const int outputs = first.outputVector()->dimension();
  if (inputs < 1 || outputs < 1) return false;
  for (int i = 0; i < samples.items(); ++i) {
    const CDatasetItem<T>& item = samples[i];
    if (item.inputVector() == nullptr || item.outputVector() == nullptr ||
        item.inputVector()->dimension() != inputs ||
        item.outputVector()->dimension() != outputs)
      return false;
    for (int j = 0; j < outputs; ++j)
      if (!std::isfinite(item.outputComponent(j))) return false;
  }
  return true;
}

// Orders (distance, index) pairs: smaller distance first, NaN after every
// number, the lower index first at equal distance.
template <typename T>
bool closer(const std::pair<T, int>& a, const std::pair<T, int>& b) {
  const bool aNaN = std::isnan(a.first);
  const bool bNaN = std::isnan(b.first);
  if (aNaN != bNaN) return bNaN;
  if (!aNaN && a.first != b.first) return a.first < b.first;
  return a.second < b.second;
}

}  // namespace

template <typename T>
CNearestNeighbours<T>::CNearestNeighbours(const CMetric<T>& metric, int k)
    : distanceMetric(&metric), neighbourCount(1) {
  setK(k);
}

template <typename T>
CNearestNeighbours<T>::~CNearestNeighbours() = default;

template <typename T>
std::string CNearestNeighbours<T>::className() const {
  return "CNearestNeighbours";
}

template <typename T>
bool CNearestNeighbours<T>::isA(const char* name) const {
  return className() == std::string(name) || CObject<T>::isA(name);
}

template <typename T>
void CNearestNeighbours<T>::setK(int k) {
  ML_GEQ_CHK(k, 1);
  neighbourCount = k;
}

template <typename T>
bool CNearestNeighbours<T>::train(const CDataset<T>& samples) {
  if (!usableSamples(samples)) return false;
  std::vector<T> itemLabels;
  itemLabels.reserve(samples.items());
  const int labelElement = samples.outputDimension() - 1;
  for (int i = 0; i < samples.items(); ++i)
    itemLabels.push_back(std::round(samples[i].outputComponent(labelElement)));
  sampleSet = samples;
  labels = std::move(itemLabels);
  return true;
}

template <typename T>
void CNearestNeighbours<T>::requireQuery(const CVector<T>& query) const {
  ML_GEQ_CHK(sampleSet.items(), 1);
  ML_EQ_CHK(query.dimension(), sampleSet.inputDimension());
}

template <typename T>
std::vector<int> CNearestNeighbours<T>::nearest(const CVector<T>& query,
                                                int excluded) const {
  std::vector<std::pair<T, int>> candidates;
  candidates.reserve(sampleSet.items());
  for (int i = 0; i < sampleSet.items(); ++i)
    if (i != excluded)
      candidates.emplace_back(
          distanceMetric->distance(*sampleSet[i].inputVector(), query), i);
  const auto count = std::min<std::size_t>(neighbourCount, candidates.size());
  std::partial_sort(candidates.begin(), candidates.begin() + count,
                    candidates.end(), closer<T>);
  std::vector<int> ids;
  ids.reserve(count);
  for (std::size_t n = 0; n < count; ++n) ids.push_back(candidates[n].second);
  return ids;
}

template <typename T>
T CNearestNeighbours<T>::vote(const std::vector<int>& neighbourIds) const {
  std::map<T, int> votes;
  for (int id : neighbourIds) ++votes[labels[id]];
  // Walking the neighbours nearest first, a label only wins with strictly
  // more votes, so ties go to the label of the nearer neighbour.
  T winner = labels[neighbourIds.front()];
  for (int id : neighbourIds)
    if (votes[labels[id]] > votes[winner]) winner = labels[id];
  return winner;
}

template <typename T>
CDenseVector<T> CNearestNeighbours<T>::meanOutput(
    const std::vector<int>& neighbourIds) const {
  CDenseVector<T> mean(sampleSet.outputDimension());
  for (int id : neighbourIds)
    for (int j = 0; j < mean.dimension(); ++j)
      mean[j] += sampleSet[id].outputComponent(j);
  mean /= static_cast<T>(neighbourIds.size());
  return mean;
}

template <typename T>
std::vector<int> CNearestNeighbours<T>::neighbours(
    const CVector<T>& query) const {
  requireQuery(query);
  return nearest(query, -1);
}

template <typename T>
T CNearestNeighbours<T>::classify(const CVector<T>& query) const {
  return vote(neighbours(query));
}

template <typename T>
CDenseVector<T> CNearestNeighbours<T>::regress(const CVector<T>& query) const {
  return meanOutput(neighbours(query));
}

template <typename T>
template <typename Score>
double CNearestNeighbours<T>::sumOverItems(Score score) const {
  const std::size_t n = static_cast<std::size_t>(sampleSet.items());
  std::vector<double> scores(n);
  const double workPerItem =
      static_cast<double>(n) * static_cast<double>(sampleSet.inputDimension());
  vecml::detail::parallelFor(n, workPerItem,
                             [&](std::size_t begin, std::size_t end) {
                               for (std::size_t i = begin; i < end; ++i)
                                 scores[i] = score(static_cast<int>(i));
                             });
  double sum = 0;
  for (double s : scores) sum += s;
  return sum;
}

template <typename T>
bool CNearestNeighbours<T>::leaveOneOutAccuracy(double& accuracy) const {
  if (sampleSet.items() <= neighbourCount) return false;
  const double correct = sumOverItems([this](int i) {
    const T predicted = vote(nearest(*sampleSet[i].inputVector(), i));
    return predicted == labels[i] ? 1.0 : 0.0;
  });
  accuracy = correct / sampleSet.items();
  return true;
}

template <typename T>
bool CNearestNeighbours<T>::leaveOneOutError(double& meanSquaredError) const {
  if (sampleSet.items() <= neighbourCount) return false;
  const double squaredErrors = sumOverItems([this](int i) {
    const CDenseVector<T> predicted =
        meanOutput(nearest(*sampleSet[i].inputVector(), i));
    double sum = 0;
    for (int j = 0; j < predicted.dimension(); ++j) {
      const double difference =
          static_cast<double>(predicted[j]) - sampleSet[i].outputComponent(j);
      sum += difference * difference;
    }
    return sum;
  });
  meanSquaredError = squaredErrors / (static_cast<double>(sampleSet.items()) *
                                      sampleSet.outputDimension());
  return true;
}

VECML_FOR_FLOATING_TYPES(VECML_NEAREST_NEIGHBOURS_INSTANTIATIONS, template)
