// SPDX-License-Identifier: MIT
#include "vecml/learning/CGradientDescent.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "vecml/core/Macros.h"

namespace {

template <typename T>
void requireSchedule(const CLearnRate<T>* schedule) {
  if (schedule == nullptr)
    ML_CRITICAL_MSG("CGradientDescent needs a learning-rate schedule");
}

}  // namespace

template <typename T>
CGradientDescent<T>::CGradientDescent(CLearnRate<T>* schedule,
                                      T gradientTolerance, T stepTolerance)
    : rateSchedule(schedule),
      gradientTol(gradientTolerance),
      stepTol(stepTolerance),
      stepCount(0),
      hasConverged(false),
      gradientNorm(0) {
  requireSchedule(schedule);
}

template <typename T>
CGradientDescent<T>::~CGradientDescent() = default;

template <typename T>
std::string CGradientDescent<T>::className() const {
  return "CGradientDescent";
}

template <typename T>
bool CGradientDescent<T>::isA(const char* name) const {
  return className() == std::string(name) || COptimizer<T>::isA(name);
}

template <typename T>
bool CGradientDescent<T>::gradient(const CDenseVector<T>&, CDenseVector<T>&) {
  return false;
}

template <typename T>
void CGradientDescent<T>::setSchedule(CLearnRate<T>* schedule) {
  requireSchedule(schedule);
  rateSchedule = schedule;
}

template <typename T>
void CGradientDescent<T>::setTolerances(T gradientTolerance, T stepTolerance) {
  gradientTol = gradientTolerance;
  stepTol = stepTolerance;
}

template <typename T>
CDenseVector<T> CGradientDescent<T>::centralDifferences(
    const CDenseVector<T>& x) {
  const T relativeStep = std::cbrt(std::numeric_limits<T>::epsilon());
  CDenseVector<T> g(x.dimension());
  CDenseVector<T> probe = x;
  for (int i = 0; i < x.dimension(); ++i) {
    const T h = relativeStep * std::max(T(1), std::abs(x[i]));
    const T above = x[i] + h;
    const T below = x[i] - h;
    probe[i] = above;
    const T valueAbove = this->evaluate(probe);
    probe[i] = below;
    const T valueBelow = this->evaluate(probe);
    probe[i] = x[i];
    g[i] = (valueAbove - valueBelow) / (above - below);
  }
  return g;
}

template <typename T>
CDenseVector<T> CGradientDescent<T>::gradientAt(const CDenseVector<T>& x) {
  CDenseVector<T> g(x.dimension());
  if (!gradient(x, g)) return centralDifferences(x);
  ML_EQ_CHK(g.dimension(), x.dimension());
  return g;
}

template <typename T>
bool CGradientDescent<T>::step() {
  CDenseVector<T>& x = this->position();
  const CDenseVector<T> g = gradientAt(x);
  gradientNorm = g.euclideanLength(false);
  const T rate = rateSchedule->rate(stepCount);
  hasConverged =
      std::isfinite(gradientNorm) && std::isfinite(rate) &&
      (gradientNorm <= gradientTol || rate * gradientNorm <= stepTol);
  if (hasConverged || !std::isfinite(gradientNorm) || !std::isfinite(rate))
    return false;
  const T scaledRate = rate * this->sign();
  for (int i = 0; i < x.dimension(); ++i) x[i] = x[i] - scaledRate * g[i];
  ++stepCount;
  return true;
}

template <typename T>
T CGradientDescent<T>::optimize(int maxSteps) {
  restart();
  for (int k = 0; k < maxSteps && step(); ++k) {
  }
  return this->evaluate(this->position());
}

VECML_FOR_FLOATING_TYPES(VECML_GRADIENT_DESCENT_INSTANTIATIONS, template)
