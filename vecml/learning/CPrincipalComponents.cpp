// SPDX-License-Identifier: MIT
#include "vecml/learning/CPrincipalComponents.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "vecml/core/Macros.h"
#include "vecml/learning/detail/CentredScatter.h"
#include "vecml/matrix/LinearAlgebra.h"

using vecml::detail::centredScatter;
using vecml::detail::groupSums;
using vecml::detail::inputsHaveDimension;
using vecml::detail::leadingColumns;
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

VECML_FOR_FLOATING_TYPES(VECML_PRINCIPAL_COMPONENTS_INSTANTIATIONS, template)
