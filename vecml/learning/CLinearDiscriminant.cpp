// SPDX-License-Identifier: MIT
#include "vecml/learning/CLinearDiscriminant.h"

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
using vecml::detail::LearnedDirections;
using vecml::detail::loadElements;
using vecml::detail::readElements;
using vecml::detail::readValue;
using vecml::detail::storeElements;
using vecml::detail::writeElements;
using vecml::detail::writeValue;

namespace {

// The class of every item (its whole output vector, numbered in order of
// first appearance) and the size of every class.
struct OutputClasses {
  std::vector<int> classOf;
  std::vector<int> sizes;
};

template <typename T>
OutputClasses findOutputClasses(const CDataset<T>& data) {
  OutputClasses classes;
  std::vector<CDenseVector<T>> outputs;
  for (int n = 0; n < data.items(); ++n) {
    const CVector<T>& output = *data.item(n).outputVector();
    std::size_t c = 0;
    while (c < outputs.size() && !(output == outputs[c])) ++c;
    if (c == outputs.size()) {
      outputs.emplace_back(output);
      classes.sizes.push_back(0);
    }
    ++classes.sizes[c];
    classes.classOf.push_back(static_cast<int>(c));
  }
  return classes;
}

// Flips every column of m whose entry of largest magnitude (the first of
// equal ones) is negative, as symmetricEigen() orients its eigenvectors.
void orientColumns(CMatrix<double>& m) {
  for (int j = 0; j < m.columns(); ++j) {
    int largest = 0;
    for (int i = 1; i < m.rows(); ++i)
      if (std::fabs(m(i, j)) > std::fabs(m(largest, j))) largest = i;
    if (m(largest, j) < 0)
      for (int i = 0; i < m.rows(); ++i) m(i, j) = -m(i, j);
  }
}

// Class means (class c at c * d) from the class sums.
std::vector<double> classMeans(const std::vector<double>& sums, int d,
                               const std::vector<int>& sizes) {
  std::vector<double> means(sums.size());
  for (std::size_t e = 0; e < sums.size(); ++e)
    means[e] = sums[e] / sizes[e / static_cast<std::size_t>(d)];
  return means;
}

// The mean of all items: the class sums added in class order, over n.
std::vector<double> overallMean(const std::vector<double>& sums, int d, int n) {
  std::vector<double> mean(static_cast<std::size_t>(d), 0.0);
  for (std::size_t e = 0; e < sums.size(); ++e)
    mean[e % static_cast<std::size_t>(d)] += sums[e];
  for (double& m : mean) m /= n;
  return mean;
}

// Sum over classes of size * (m_c - m)(m_c - m)^T.
CMatrix<double> betweenScatter(const std::vector<double>& means,
                               const std::vector<double>& mean,
                               const std::vector<int>& sizes) {
  const int d = static_cast<int>(mean.size());
  CMatrix<double> scatter(d, d, true);
  for (std::size_t c = 0; c < sizes.size(); ++c) {
    const double* classMean = means.data() + c * static_cast<std::size_t>(d);
    for (int j = 0; j < d; ++j) {
      const double weighted = sizes[c] * (classMean[j] - mean[j]);
      for (int i = 0; i < d; ++i)
        scatter(i, j) += (classMean[i] - mean[i]) * weighted;
    }
  }
  return scatter;
}

// The generalized eigenvectors of between v = lambda within v with the k
// largest eigenvalues (columns of `directions`, v^T within v = 1) and all
// eigenvalues in descending order.
bool generalizedEigen(const CMatrix<double>& within,
                      const CMatrix<double>& between, int k,
                      CMatrix<double>& directions,
                      CDenseVector<double>& eigenvalues) {
  CMatrix<double> lower, half, whitened, eigenvectors;
  // whitened = L^-1 between L^-T, as L^-1 (L^-1 between)^T: between is
  // symmetric.
  return cholesky(within, lower) && solve(lower, between, half) &&
         solve(lower, half.transpose(), whitened) &&
         symmetricEigen(whitened, eigenvalues, eigenvectors,
                        EIGEN_DESCENDING) &&
         solve(lower.transpose(), leadingColumns(eigenvectors, k), directions);
}

}  // namespace

template <typename T>
CLinearDiscriminant<T>::CLinearDiscriminant(int directions)
    : requested(directions) {
  ML_GEQ_CHK(directions, 0);
}

template <typename T>
CLinearDiscriminant<T>::~CLinearDiscriminant() = default;

template <typename T>
std::string CLinearDiscriminant<T>::className() const {
  return "CLinearDiscriminant";
}

template <typename T>
bool CLinearDiscriminant<T>::train(const CDataset<T>& samples) {
  const int n = samples.items();
  const int d = samples.inputDimension();
  if (d == 0 || !inputsHaveDimension(samples, d)) return false;
  const OutputClasses classes = findOutputClasses(samples);
  const int classTotal = static_cast<int>(classes.sizes.size());
  const int most = std::min(classTotal - 1, d);
  const int k = requested == 0 ? most : requested;
  if (most < 1 || k > most) return false;

  const std::vector<double> sums =
      groupSums(samples, d, classes.classOf, classTotal);
  const std::vector<double> means = classMeans(sums, d, classes.sizes);
  const std::vector<double> mean = overallMean(sums, d, n);
  const CMatrix<double> within =
      centredScatter(samples, d, means, classes.classOf);
  CMatrix<double> directions;
  CDenseVector<double> eigenvalues;
  if (!generalizedEigen(within, betweenScatter(means, mean, classes.sizes), k,
                        directions, eigenvalues))
    return false;
  orientColumns(directions);

  // backward = V (V^T V)^-1, from (V^T V) backward^T = V^T.
  const CMatrix<double> transposed = directions.transpose();
  CMatrix<double> backwardTransposed;
  if (!solve(transposed * directions, transposed, backwardTransposed))
    return false;
  CDenseVector<T> newValues(k);
  for (int j = 0; j < k; ++j) newValues[j] = static_cast<T>(eigenvalues[j]);
  learned =
      LearnedDirections<T>(mean, directions, backwardTransposed.transpose());
  values = newValues;
  classCount = classTotal;
  this->setDirections(k);
  return true;
}

template <typename T>
CDenseVector<T> CLinearDiscriminant<T>::project(const CVector<T>& x) const {
  return learned.project(x);
}

template <typename T>
CDenseVector<T> CLinearDiscriminant<T>::reconstruct(
    const CVector<T>& coordinates) const {
  return learned.reconstruct(coordinates);
}

template <typename T>
bool CLinearDiscriminant<T>::adopt(int newRequested, int newClassCount,
                                   const LearnedDirections<T>& newLearned,
                                   const std::vector<T>& newValues) {
  const int k = newLearned.directions();
  const bool countsFit = k == 0 ? newClassCount == 0 : newClassCount > k;
  if (newRequested < 0 || (k > 0 && newRequested != 0 && newRequested != k) ||
      !countsFit || static_cast<int>(newValues.size()) != k)
    return false;
  for (T value : newValues)
    if (!std::isfinite(value)) return false;
  requested = newRequested;
  classCount = newClassCount;
  learned = newLearned;
  values = CDenseVector<T>(k, newValues.data());
  this->setDirections(k);
  return true;
}

template <typename T>
bool CLinearDiscriminant<T>::serialize(std::fstream& stream, IO_MODE mode) {
  if (!CProjection<T>::serialize(stream, mode)) return false;
  if (mode != IO_READ) {
    writeValue(stream, static_cast<std::int32_t>(requested));
    writeValue(stream, static_cast<std::int32_t>(classCount));
    learned.write(stream);
    writeElements(stream, values._data(), values.dimension());
    return stream.good();
  }
  std::int32_t newRequested = -1, newClassCount = -1;
  LearnedDirections<T> newLearned;
  std::vector<T> newValues;
  return readValue(stream, newRequested) && readValue(stream, newClassCount) &&
         newLearned.read(stream) &&
         readElements(stream, newLearned.directions(), newValues) &&
         adopt(newRequested, newClassCount, newLearned, newValues) &&
         stream.good();
}

template <typename T>
bool CLinearDiscriminant<T>::serialize2(CArchiv& archive) {
  if (!archive.isLoading()) {
    archive.write(requested);
    archive.write(classCount);
    learned.store(archive);
    storeElements(archive, values);
    return true;
  }
  int newRequested = -1, newClassCount = -1;
  archive.read(newRequested);
  archive.read(newClassCount);
  LearnedDirections<T> newLearned;
  return newLearned.load(archive) &&
         adopt(newRequested, newClassCount, newLearned,
               loadElements<T>(archive, newLearned.directions()));
}

VECML_FOR_FLOATING_TYPES(VECML_LINEAR_DISCRIMINANT_INSTANTIATIONS, template)
