// SPDX-License-Identifier: MIT
#include "vecml/learning/CPrincipalComponents.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "vecml/core/Macros.h"
#include "vecml/core/detail/BinaryIO.h"
#include "vecml/learning/detail/CentredScatter.h"
#include "vecml/matrix/LinearAlgebra.h"

using vecml::detail::centredScatter;
using vecml::detail::groupSums;
using vecml::detail::inputsHaveDimension;
using vecml::detail::leadingColumns;
using vecml::detail::loadElements;
using vecml::detail::readElements;
using vecml::detail::readValue;
using vecml::detail::storeElements;
using vecml::detail::writeElements;
using vecml::detail::writeValue;

namespace {

// Whether a record's variances and ratios are ones a training can give.
template <typename T>
bool validSpectrum(const std::vector<T>& variance,
                   const std::vector<T>& ratio) {
  for (T v : variance)
    if (!std::isfinite(v) || v < 0) return false;
  for (T r : ratio)
    if (!std::isnan(r) && !(r >= 0 && r <= 1)) return false;
  return true;
}

}  // namespace
using vecml::detail::LearnedDirections;

template <typename T>
CPrincipalComponents<T>::CPrincipalComponents(int components)
    : requested(components) {
  ML_GEQ_CHK(components, 0);
}

template <typename T>
CPrincipalComponents<T>::~CPrincipalComponents() = default;

template <typename T>
std::string CPrincipalComponents<T>::className() const {
  return "CPrincipalComponents";
}

template <typename T>
bool CPrincipalComponents<T>::train(const CDataset<T>& samples) {
  const int n = samples.items();
  const int d = samples.inputDimension();
  const int k = requested == 0 ? std::min(n, d) : requested;
  if (n < 2 || d == 0 || k > std::min(n, d) || !inputsHaveDimension(samples, d))
    return false;

  // One group holding every item: its centre is the mean.
  const std::vector<int> everyItem(static_cast<std::size_t>(n), 0);
  std::vector<double> mean = groupSums(samples, d, everyItem, 1);
  for (double& m : mean) m /= n;
  CMatrix<double> covariance = centredScatter(samples, d, mean, everyItem);
  covariance /= static_cast<double>(n - 1);

  CDenseVector<double> eigenvalues;
  CMatrix<double> eigenvectors;
  if (!symmetricEigen(covariance, eigenvalues, eigenvectors, EIGEN_DESCENDING))
    return false;
  const CMatrix<double> components = leadingColumns(eigenvectors, k);

  double total = 0.0;
  for (int j = 0; j < d; ++j) total += std::max(eigenvalues[j], 0.0);
  CDenseVector<T> newVariance(k), newRatio(k);
  for (int j = 0; j < k; ++j) {
    const double value = std::max(eigenvalues[j], 0.0);
    newVariance[j] = static_cast<T>(value);
    newRatio[j] = static_cast<T>(value / total);
    if (!std::isfinite(newVariance[j])) return false;
  }
  learned = LearnedDirections<T>(mean, components, components);
  variance = newVariance;
  ratio = newRatio;
  this->setDirections(k);
  return true;
}

template <typename T>
CDenseVector<T> CPrincipalComponents<T>::project(const CVector<T>& x) const {
  return learned.project(x);
}

template <typename T>
CDenseVector<T> CPrincipalComponents<T>::reconstruct(
    const CVector<T>& coordinates) const {
  return learned.reconstruct(coordinates);
}

template <typename T>
bool CPrincipalComponents<T>::adopt(int newRequested,
                                    const LearnedDirections<T>& newLearned,
                                    const std::vector<T>& newVariance,
                                    const std::vector<T>& newRatio) {
  const int k = newLearned.directions();
  if (newRequested < 0 || (k > 0 && newRequested != 0 && newRequested != k) ||
      static_cast<int>(newVariance.size()) != k ||
      static_cast<int>(newRatio.size()) != k ||
      !validSpectrum(newVariance, newRatio))
    return false;
  requested = newRequested;
  learned = newLearned;
  variance = CDenseVector<T>(k, newVariance.data());
  ratio = CDenseVector<T>(k, newRatio.data());
  this->setDirections(k);
  return true;
}

template <typename T>
bool CPrincipalComponents<T>::serialize(std::fstream& stream, IO_MODE mode) {
  if (!CProjection<T>::serialize(stream, mode)) return false;
  if (mode != IO_READ) {
    writeValue(stream, static_cast<std::int32_t>(requested));
    learned.write(stream);
    writeElements(stream, variance._data(), variance.dimension());
    writeElements(stream, ratio._data(), ratio.dimension());
    return stream.good();
  }
  std::int32_t newRequested = -1;
  LearnedDirections<T> newLearned;
  std::vector<T> newVariance, newRatio;
  return readValue(stream, newRequested) && newLearned.read(stream) &&
         readElements(stream, newLearned.directions(), newVariance) &&
         readElements(stream, newLearned.directions(), newRatio) &&
         adopt(newRequested, newLearned, newVariance, newRatio) &&
         stream.good();
}

template <typename T>
bool CPrincipalComponents<T>::serialize2(CArchiv& archive) {
  if (!archive.isLoading()) {
    archive.write(requested);
    learned.store(archive);
    storeElements(archive, variance);
    storeElements(archive, ratio);
    return true;
  }
  int newRequested = -1;
  archive.read(newRequested);
  LearnedDirections<T> newLearned;
  if (!newLearned.load(archive)) return false;
  const std::vector<T> newVariance =
      loadElements<T>(archive, newLearned.directions());
  const std::vector<T> newRatio =
      loadElements<T>(archive, newLearned.directions());
  return adopt(newRequested, newLearned, newVariance, newRatio);
}

VECML_FOR_FLOATING_TYPES(VECML_PRINCIPAL_COMPONENTS_INSTANTIATIONS, template)
