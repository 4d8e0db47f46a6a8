// SPDX-License-Identifier: MIT
#include "vecml/learning/CNeuralGas.h"

#include <cmath>
#include <vector>

#include "vecml/core/Macros.h"
#include "vecml/learning/detail/OnlineTraining.h"

template <typename T>
CNeuralGas<T>::CNeuralGas(int prototypes, CMetric<T>* metric,
                          std::uint64_t seed)
    : CClusterAlgorithm<T>(metric),
      settings{{prototypes}, seed, {0.5, 0.005}, {prototypes / 2.0, 0.01}} {
  ML_GEQ_CHK(prototypes, 1);
}

template <typename T>
std::string CNeuralGas<T>::className() const {
  return "CNeuralGas";
}

template <typename T>
void CNeuralGas<T>::setStepSizes(double start, double end) {
  settings.stepSize = vecml::detail::checkedDecay(start, end);
}

template <typename T>
void CNeuralGas<T>::setRanges(double start, double end) {
  settings.range = vecml::detail::checkedDecay(start, end);
}

template <typename T>
double CNeuralGas<T>::stepSizeAt(std::int64_t step, std::int64_t steps) const {
  return settings.stepSize.at(step, steps);
}

template <typename T>
double CNeuralGas<T>::rangeAt(std::int64_t step, std::int64_t steps) const {
  return settings.range.at(step, steps);
}

template <typename T>
bool CNeuralGas<T>::initialise(const CDataset<T>& data) {
  vecml::detail::RandomSource random(settings.seed);
  return vecml::detail::drawPrototypes(*this, data, prototypes(), random);
}

template <typename T>
void CNeuralGas<T>::train(const CDataset<T>& data, int epochs) {
  vecml::detail::trainOnline(
      *this, settings, data, epochs,
      [this](const CVector<T>& sample, std::int64_t step, std::int64_t steps) {
        adapt(sample, step, steps);
      });
}

template <typename T>
void CNeuralGas<T>::adapt(const CVector<T>& sample, std::int64_t step,
                          std::int64_t steps) {
  CDataset<T>& references = this->referenceVectors();
  std::vector<T> distances(static_cast<std::size_t>(references.items()));
  for (int i = 0; i < references.items(); ++i) {
    distances[i] =
        this->metric()->distance(*references.item(i).inputVector(), sample);
  }
  const double stepSize = stepSizeAt(step, steps);
  const double range = rangeAt(step, steps);
  const std::vector<int> order = vecml::detail::rankOrder(distances);
  for (std::size_t rank = 0; rank < order.size(); ++rank) {
    const double eta = stepSize * std::exp(-static_cast<double>(rank) / range);
    this->metric()->adaptVec(*references.item(order[rank]).inputVector(),
                             sample, static_cast<float>(eta));
  }
}

template <typename T>
bool CNeuralGas<T>::serialize(std::fstream& stream, IO_MODE mode) {
  return vecml::detail::serializeOnline(*this, settings, stream, mode);
}

template <typename T>
bool CNeuralGas<T>::serialize2(CArchiv& archive) {
  return vecml::detail::serializeOnline(*this, settings, archive);
}

VECML_FOR_FLOATING_TYPES(VECML_NEURAL_GAS_INSTANTIATIONS, template)
