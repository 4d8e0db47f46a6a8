// SPDX-License-Identifier: MIT
// k-means: seeding, Lloyd and online training, inertia.
#include "vecml/learning/CKMeans.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <utility>
#include <vector>

#include "vecml/core/Macros.h"
#include "vecml/core/detail/Parallel.h"
#include "vecml/learning/detail/CentreMeans.h"
#include "vecml/learning/detail/InputDimensions.h"
#include "vecml/learning/detail/RandomSource.h"
#include "vecml/vector/CDenseVector.h"

using vecml::detail::RandomSource;

namespace {

// A centre: a dense copy of an input, with a one-element zero output.
template <typename T>
CDatasetItem<T> centreOf(const CVector<T>& input) {
  return CDatasetItem<T>(CDenseVector<T>(input), CDenseVector<T>(1, T(0)));
}

// Lowers weights[j] to the squared distance from centre to item j's input
// (a NaN square counts as 0), item by item over the library's threads.
template <typename T>
void lowerWeights(const CDataset<T>& data, const CVector<T>& centre,
                  const CMetric<T>& metric, std::vector<double>& weights) {
  vecml::detail::parallelFor(
      weights.size(), std::max(centre.dimension(), 1),
      [&](std::size_t begin, std::size_t end) {
        for (std::size_t j = begin; j < end; ++j) {
          const double d = metric.distance(centre, *data[int(j)].inputVector());
          const double square = std::isnan(d) ? 0.0 : d * d;
          weights[j] = std::min(weights[j], square);
        }
      });
}

// The item drawn with probability proportional to its weight; a uniform draw
// when the weights sum to 0 or to no finite value.
int drawByWeight(const std::vector<double>& weights, RandomSource& random) {
  const double total = std::accumulate(weights.begin(), weights.end(), 0.0);
  const int count = int(weights.size());
  if (!(total > 0.0) || !std::isfinite(total)) return random.index(count);
  const double target = random.uniform() * total;
  double running = 0.0;
  int last = 0;
  for (int j = 0; j < count; ++j) {
    if (weights[std::size_t(j)] <= 0.0) continue;
    running += weights[std::size_t(j)];
    last = j;
    if (running > target) return j;
  }
  // Rounding let the running sum end at the target: the last weighted item.
  return last;
}

// The k-means++ centres of data: see the class comment.
template <typename T>
CDataset<T> kMeansPlusPlus(const CDataset<T>& data, int clusters,
                           const CMetric<T>& metric, RandomSource& random) {
  CDataset<T> centres;
  std::vector<double> weights(std::size_t(data.items()), HUGE_VAL);
  int chosen = random.index(data.items());
  for (int c = 0; c < clusters; ++c) {
    if (c > 0) chosen = drawByWeight(weights, random);
    centres.appendItem(centreOf(*data[chosen].inputVector()));
    if (c + 1 < clusters)
      lowerWeights(data, *centres.getLast().inputVector(), metric, weights);
  }
  return centres;
}

// Fisher-Yates shuffle of 0 .. count - 1 from the generator.
std::vector<int> shuffledOrder(int count, RandomSource& random) {
  std::vector<int> order(static_cast<std::size_t>(count));
  std::iota(order.begin(), order.end(), 0);
  for (int i = count - 1; i > 0; --i)
    std::swap(order[std::size_t(i)], order[std::size_t(random.index(i + 1))]);
  return order;
}

}  // namespace

template <typename T>
CKMeans<T>::CKMeans(int clusters, CMetric<T>* metric, std::uint64_t seed)
    : CClusterAlgorithm<T>(metric), clusterCount(clusters), randomSeed(seed) {
  ML_GEQ_CHK(clusters, 1);
}

template <typename T>
std::string CKMeans<T>::className() const {
  return "CKMeans";
}

// Each level compares with the virtual className(), so only the most-derived
// name matches.
template <typename T>
bool CKMeans<T>::isA(const char* name) const {
  return className() == std::string(name) || CClusterAlgorithm<T>::isA(name);
}

template <typename T>
bool CKMeans<T>::setCentres(const CDataset<T>& centres) {
  if (centres.items() != clusterCount ||
      !vecml::detail::allInputsOf(centres, centres.inputDimension()))
    return false;
  CDataset<T>& own = this->referenceVectors();
  own.clear();
  for (int c = 0; c < clusterCount; ++c)
    own.appendItem(centreOf(*centres[c].inputVector()));
  return true;
}

template <typename T>
bool CKMeans<T>::seedCentres(const CDataset<T>& data) {
  if (data.items() < clusterCount ||
      !vecml::detail::allInputsOf(data, data.inputDimension()))
    return false;
  this->referenceVectors().clear();
  RandomSource random(randomSeed);
  return seedIfEmpty(data, random);
}

template <typename T>
bool CKMeans<T>::dimensionsFit(const CDataset<T>& data) const {
  const CDataset<T>& centres = this->referenceVectors();
  if (data.items() == 0) return false;
  if (centres.items() == 0)
    return data.items() >= clusterCount &&
           vecml::detail::allInputsOf(data, data.inputDimension());
  return centres.items() == clusterCount &&
         vecml::detail::allInputsOf(data, centres.inputDimension());
}

template <typename T>
bool CKMeans<T>::seedIfEmpty(const CDataset<T>& data, RandomSource& random) {
  if (this->referenceVectors().items() != 0) return true;
  return setCentres(
      kMeansPlusPlus(data, clusterCount, *this->metric(), random));
}

template <typename T>
bool CKMeans<T>::trainBatch(const CDataset<T>& data, int epochs) {
  if (!dimensionsFit(data)) return false;
  RandomSource random(randomSeed);
  seedIfEmpty(data, random);
  iterationsRun = 0;
  std::vector<int> previous;
  for (int epoch = 0; epoch < epochs; ++epoch) {
    std::vector<int> nodes = this->assignments(data);
    moveCentresToMeans(data, nodes);
    ++iterationsRun;
    if (nodes == previous) break;
    previous = std::move(nodes);
  }
  return true;
}

template <typename T>
void CKMeans<T>::train(const CDataset<T>& data, int epochs) {
  trainBatch(data, epochs);
}

template <typename T>
void CKMeans<T>::moveCentresToMeans(const CDataset<T>& data,
                                    const std::vector<int>& nodes) {
  CDataset<T>& centres = this->referenceVectors();
  const int dimension = centres.inputDimension();
  const vecml::detail::CentreMeans<T> means(data, nodes, clusterCount,
                                            dimension, kMeanBlock);
  CDenseVector<T> mean(dimension);
  for (int c = 0; c < clusterCount; ++c) {
    if (means.count(c) == 0) continue;
    for (int i = 0; i < dimension; ++i) mean[i] = T(means.mean(c, i));
    centres[c].setInputVector(mean);
  }
}

template <typename T>
bool CKMeans<T>::trainOnline(const CDataset<T>& data, int epochs,
                             CLearnRate<T>& rate) {
  if (!dimensionsFit(data)) return false;
  RandomSource random(randomSeed);
  seedIfEmpty(data, random);
  CDataset<T>& centres = this->referenceVectors();
  int visit = 0;
  for (int epoch = 0; epoch < epochs; ++epoch)
    for (const int j : shuffledOrder(data.items(), random)) {
      const CVector<T>& x = *data[j].inputVector();
      CVector<T>& winner = *centres[this->nearestNode(x)].inputVector();
      this->metric()->adaptVec(winner, x, float(rate.rate(visit++)));
    }
  return true;
}

template <typename T>
T CKMeans<T>::inertia(const CDataset<T>& data) const {
  if (this->referenceVectors().items() == 0)
    return std::numeric_limits<T>::quiet_NaN();
  const std::vector<int> nodes = this->assignments(data);
  const CDataset<T>& centres = this->referenceVectors();
  double sum = 0.0;
  for (int j = 0; j < data.items(); ++j)
    sum +=
        double(centres[nodes[std::size_t(j)]].inputVector()->euclideanDistance(
            *data[j].inputVector(), true));
  return T(sum);
}

VECML_FOR_FLOATING_TYPES(VECML_KMEANS_INSTANTIATIONS, template)
