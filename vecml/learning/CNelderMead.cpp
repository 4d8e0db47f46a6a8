// SPDX-License-Identifier: MIT
#include "vecml/learning/CNelderMead.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numeric>
#include <utility>

namespace {

// Reflection, expansion, contraction and shrink coefficients.
constexpr double kReflection = 1;
constexpr double kExpansion = 2;
constexpr double kContraction = 0.5;
constexpr double kShrink = 0.5;

// A strict weak order on objective values with NaN after every number, so
// that sorting stays well defined whatever the objective returns.
template <typename T>
bool ranksBefore(T a, T b) {
  return !std::isnan(a) && (std::isnan(b) || a < b);
}

}  // namespace

template <typename T>
CNelderMead<T>::CNelderMead(T xTolerance, T fTolerance)
    : xTol(xTolerance),
      fTol(fTolerance),
      relativeOffset(T(0.05)),
      zeroOffset(T(0.00025)),
      evaluationCount(0) {}

template <typename T>
CNelderMead<T>::~CNelderMead() = default;

template <typename T>
std::string CNelderMead<T>::className() const {
  return "CNelderMead";
}

template <typename T>
bool CNelderMead<T>::isA(const char* name) const {
  return className() == std::string(name) || COptimizer<T>::isA(name);
}

template <typename T>
void CNelderMead<T>::setTolerances(T xTolerance, T fTolerance) {
  xTol = xTolerance;
  fTol = fTolerance;
}

template <typename T>
void CNelderMead<T>::setInitialSteps(T relativeStep, T zeroStep) {
  relativeOffset = relativeStep;
  zeroOffset = zeroStep;
}

template <typename T>
void CNelderMead<T>::restart() {
  vertices.clear();
  values.clear();
}

template <typename T>
T CNelderMead<T>::objective(const CDenseVector<T>& x) {
  ++evaluationCount;
  return this->sign() * this->evaluate(x);
}

template <typename T>
void CNelderMead<T>::buildSimplex() {
  restart();
  const CDenseVector<T> start = this->position();
  vertices.push_back(start);
  for (int k = 0; k < start.dimension(); ++k) {
    CDenseVector<T> vertex = start;
    vertex[k] =
        start[k] != T(0) ? (T(1) + relativeOffset) * start[k] : zeroOffset;
    vertices.push_back(std::move(vertex));
  }
  for (const CDenseVector<T>& vertex : vertices)
    values.push_back(objective(vertex));
  sortSimplex();
}

template <typename T>
void CNelderMead<T>::sortSimplex() {
  std::vector<std::size_t> order(vertices.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::stable_sort(order.begin(), order.end(),
                   [this](std::size_t a, std::size_t b) {
                     return ranksBefore(values[a], values[b]);
                   });
  std::vector<CDenseVector<T>> sortedVertices;
  std::vector<T> sortedValues;
  sortedVertices.reserve(order.size());
  sortedValues.reserve(order.size());
  for (std::size_t index : order) {
    sortedVertices.push_back(std::move(vertices[index]));
    sortedValues.push_back(values[index]);
  }
  vertices = std::move(sortedVertices);
  values = std::move(sortedValues);
  this->position() = vertices.front();
}

template <typename T>
bool CNelderMead<T>::positionIsBestVertex() const {
  if (vertices.empty()) return false;
  const CDenseVector<T>& best = vertices.front();
  const CDenseVector<T>& x = this->position();
  // Bitwise, so that a NaN coordinate still matches itself; an empty vector
  // may have no element array to compare.
  return x.dimension() == best.dimension() &&
         (x.dimension() == 0 ||
          std::memcmp(x._data(), best._data(), sizeof(T) * x.dimension()) == 0);
}

template <typename T>
bool CNelderMead<T>::hasConverged() const {
  const CDenseVector<T>& best = vertices.front();
  for (std::size_t j = 1; j < vertices.size(); ++j) {
    if (!(std::abs(values[0] - values[j]) <= fTol)) return false;
    for (int i = 0; i < best.dimension(); ++i)
      if (!(std::abs(vertices[j][i] - best[i]) <= xTol)) return false;
  }
  return true;
}

template <typename T>
CDenseVector<T> CNelderMead<T>::centroidOfBest() const {
  const std::size_t n = vertices.size() - 1;
  CDenseVector<T> centroid = vertices.front();
  for (std::size_t j = 1; j < n; ++j) centroid += vertices[j];
  centroid /= static_cast<T>(n);
  return centroid;
}

template <typename T>
CDenseVector<T> CNelderMead<T>::combine(const CDenseVector<T>& centroid, T a,
                                        T b) const {
  const CDenseVector<T>& worst = vertices.back();
  CDenseVector<T> point(centroid.dimension());
  for (int i = 0; i < centroid.dimension(); ++i)
    point[i] = a * centroid[i] + b * worst[i];
  return point;
}

template <typename T>
void CNelderMead<T>::shrinkTowardsBest() {
  const CDenseVector<T>& best = vertices.front();
  for (std::size_t j = 1; j < vertices.size(); ++j) {
    CDenseVector<T>& vertex = vertices[j];
    for (int i = 0; i < best.dimension(); ++i)
      vertex[i] = best[i] + T(kShrink) * (vertex[i] - best[i]);
    values[j] = objective(vertex);
  }
}

template <typename T>
bool CNelderMead<T>::step() {
  if (!positionIsBestVertex()) buildSimplex();
  if (hasConverged()) return false;

  const std::size_t worst = vertices.size() - 1;
  const CDenseVector<T> centroid = centroidOfBest();
  const auto replaceWorst = [&](CDenseVector<T>&& point, T value) {
    vertices[worst] = std::move(point);
    values[worst] = value;
  };

  CDenseVector<T> reflected =
      combine(centroid, T(1 + kReflection), T(-kReflection));
  const T reflectedValue = objective(reflected);
  bool shrink = false;
  if (reflectedValue < values[0]) {
    CDenseVector<T> expanded =
        combine(centroid, T(1 + kReflection * kExpansion),
                T(-kReflection * kExpansion));
    const T expandedValue = objective(expanded);
    if (expandedValue < reflectedValue)
      replaceWorst(std::move(expanded), expandedValue);
    else
      replaceWorst(std::move(reflected), reflectedValue);
  } else if (reflectedValue < values[worst - 1]) {
    replaceWorst(std::move(reflected), reflectedValue);
  } else if (reflectedValue < values[worst]) {
    CDenseVector<T> outside =
        combine(centroid, T(1 + kContraction * kReflection),
                T(-kContraction * kReflection));
    const T outsideValue = objective(outside);
    shrink = !(outsideValue <= reflectedValue);
    if (!shrink) replaceWorst(std::move(outside), outsideValue);
  } else {
    CDenseVector<T> inside =
        combine(centroid, T(1 - kContraction), T(kContraction));
    const T insideValue = objective(inside);
    shrink = !(insideValue < values[worst]);
    if (!shrink) replaceWorst(std::move(inside), insideValue);
  }
  if (shrink) shrinkTowardsBest();
  sortSimplex();
  return true;
}

template <typename T>
T CNelderMead<T>::optimize(int maxSteps) {
  restart();
  for (int k = 0; k < maxSteps && step(); ++k) {
  }
  if (values.empty()) return this->evaluate(this->position());
  return this->sign() * values.front();
}

VECML_FOR_FLOATING_TYPES(VECML_NELDER_MEAD_INSTANTIATIONS, template)
