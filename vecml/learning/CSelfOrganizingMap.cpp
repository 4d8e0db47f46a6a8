// SPDX-License-Identifier: MIT
#include "vecml/learning/CSelfOrganizingMap.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

#include "vecml/core/Macros.h"
#include "vecml/core/detail/Parallel.h"
#include "vecml/learning/detail/OnlineTraining.h"

template <typename T>
CSelfOrganizingMap<T>::CSelfOrganizingMap(int rows, int columns,
                                          CMetric<T>* metric,
                                          std::uint64_t seed)
    : CClusterAlgorithm<T>(metric),
      settings{{rows, columns},
               seed,
               {0.5, 0.01},
               {std::max(rows, columns) / 2.0, 0.5}} {
  ML_GEQ_CHK(rows, 1);
  ML_GEQ_CHK(columns, 1);
  ML_LEQ_CHK(settings.units(), std::int64_t{std::numeric_limits<int>::max()});
}

template <typename T>
std::string CSelfOrganizingMap<T>::className() const {
  return "CSelfOrganizingMap";
}

template <typename T>
void CSelfOrganizingMap<T>::setLearningRates(double start, double end) {
  settings.stepSize = vecml::detail::checkedDecay(start, end);
}

template <typename T>
void CSelfOrganizingMap<T>::setRadii(double start, double end) {
  settings.range = vecml::detail::checkedDecay(start, end);
}

template <typename T>
double CSelfOrganizingMap<T>::learningRateAt(std::int64_t step,
                                             std::int64_t steps) const {
  return settings.stepSize.at(step, steps);
}

template <typename T>
double CSelfOrganizingMap<T>::radiusAt(std::int64_t step,
                                       std::int64_t steps) const {
  return settings.range.at(step, steps);
}

template <typename T>
int CSelfOrganizingMap<T>::unitIndex(int row, int column) const {
  ML_GEQ_CHK(row, 0);
  ML_LS_CHK(row, rows());
  ML_GEQ_CHK(column, 0);
  ML_LS_CHK(column, columns());
  return row * columns() + column;
}

template <typename T>
int CSelfOrganizingMap<T>::unitRow(int unit) const {
  ML_GEQ_CHK(unit, 0);
  ML_LS_CHK(unit, units());
  return unit / columns();
}

template <typename T>
int CSelfOrganizingMap<T>::unitColumn(int unit) const {
  ML_GEQ_CHK(unit, 0);
  ML_LS_CHK(unit, units());
  return unit % columns();
}

template <typename T>
double CSelfOrganizingMap<T>::squaredGridDistance(int a, int b) const {
  const double rowStep = unitRow(a) - unitRow(b);
  const double columnStep = unitColumn(a) - unitColumn(b);
  return rowStep * rowStep + columnStep * columnStep;
}

template <typename T>
double CSelfOrganizingMap<T>::gridDistance(int a, int b) const {
  return std::sqrt(squaredGridDistance(a, b));
}

template <typename T>
bool CSelfOrganizingMap<T>::adjacent(int a, int b) const {
  return squaredGridDistance(a, b) == 1.0;
}

template <typename T>
std::pair<int, int> CSelfOrganizingMap<T>::bestTwoUnits(
    const CVector<T>& x) const {
  const CDataset<T>& prototypes = this->referenceVectors();
  const CMetric<T>& metric = *this->metric();
  int best = 0, second = -1;
  T bestDistance = metric.distance(*prototypes.item(0).inputVector(), x);
  T secondDistance = bestDistance;
  for (int unit = 1; unit < prototypes.items(); ++unit) {
    const T distance = metric.distance(*prototypes.item(unit).inputVector(), x);
    if (bestDistance > distance) {
      second = best;
      secondDistance = bestDistance;
      best = unit;
      bestDistance = distance;
    } else if (second < 0 || secondDistance > distance) {
      second = unit;
      secondDistance = distance;
    }
  }
  return {best, second};
}

template <typename T>
T CSelfOrganizingMap<T>::topographicError(const CDataset<T>& data) const {
  if (data.items() == 0) return std::numeric_limits<T>::quiet_NaN();
  // One flag per item, each set by one thread; counted serially afterwards.
  std::vector<char> apart(static_cast<std::size_t>(data.items()), 0);
  const double workPerItem =
      static_cast<double>(units()) * std::max(1, data.inputDimension());
  vecml::detail::parallelFor(
      apart.size(), workPerItem, [&](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end; ++i) {
          const auto [best, second] =
              bestTwoUnits(*data.item(static_cast<int>(i)).inputVector());
          apart[i] = second >= 0 && !adjacent(best, second);
        }
      });
  const auto count = std::count(apart.begin(), apart.end(), char{1});
  return static_cast<T>(count) / static_cast<T>(data.items());
}

template <typename T>
bool CSelfOrganizingMap<T>::initialise(const CDataset<T>& data) {
  vecml::detail::RandomSource random(settings.seed);
  return vecml::detail::drawPrototypes(*this, data, units(), random);
}

template <typename T>
void CSelfOrganizingMap<T>::train(const CDataset<T>& data, int epochs) {
  vecml::detail::trainOnline(
      *this, settings, data, epochs,
      [this](const CVector<T>& sample, std::int64_t step, std::int64_t steps) {
        adapt(sample, step, steps);
      });
}

template <typename T>
void CSelfOrganizingMap<T>::adapt(const CVector<T>& sample, std::int64_t step,
                                  std::int64_t steps) {
  const int winner = this->nearestNode(sample);
  const double rate = learningRateAt(step, steps);
  const double radius = radiusAt(step, steps);
  const double twoRadiusSquared = 2.0 * radius * radius;
  CDataset<T>& prototypes = this->referenceVectors();
  for (int unit = 0; unit < prototypes.items(); ++unit) {
    const double eta =
        rate * std::exp(-squaredGridDistance(unit, winner) / twoRadiusSquared);
    this->metric()->adaptVec(*prototypes.item(unit).inputVector(), sample,
                             static_cast<float>(eta));
  }
}

template <typename T>
bool CSelfOrganizingMap<T>::serialize(std::fstream& stream, IO_MODE mode) {
  return vecml::detail::serializeOnline(*this, settings, stream, mode);
}

template <typename T>
bool CSelfOrganizingMap<T>::serialize2(CArchiv& archive) {
  return vecml::detail::serializeOnline(*this, settings, archive);
}

VECML_FOR_FLOATING_TYPES(VECML_SELF_ORGANIZING_MAP_INSTANTIATIONS, template)
