// SPDX-License-Identifier: MIT
#include "vecml/learning/CLearnRate.h"

#include <cmath>
#include <cstdint>

#include "vecml/core/detail/Arithmetic.h"
#include "vecml/core/detail/BinaryIO.h"

using vecml::detail::add;
using vecml::detail::subtract;

template <typename T>
CLearnRate<T>::CLearnRate()
    : start(0),
      end(0),
      current(0),
      stepFactor(0),
      stepCount(0),
      iterationCount(0) {}

template <typename T>
CLearnRate<T>::~CLearnRate() = default;

template <typename T>
bool CLearnRate<T>::serialize(std::fstream& stream, IO_MODE mode) {
  using vecml::detail::readValue;
  using vecml::detail::writeValue;
  if (mode != IO_READ) {
    for (const T value : {start, end, current, stepFactor})
      writeValue(stream, static_cast<double>(value));
    writeValue(stream, static_cast<std::int32_t>(stepCount));
    writeValue(stream, static_cast<std::int32_t>(iterationCount));
    return !stream.fail();
  }
  // The reader takes one int more than the writer gives; steps is read
  // twice. The whole record is read before any field changes.
  double rates[4] = {0.0, 0.0, 0.0, 0.0};
  std::int32_t storedSteps = 0;
  std::int32_t storedIteration = 0;
  bool complete = true;
  for (double& value : rates) complete = complete && readValue(stream, value);
  complete = complete && readValue(stream, storedSteps) &&
             readValue(stream, storedSteps) &&
             readValue(stream, storedIteration);
  if (complete) {
    start = static_cast<T>(rates[0]);
    end = static_cast<T>(rates[1]);
    current = static_cast<T>(rates[2]);
    stepFactor = static_cast<T>(rates[3]);
    stepCount = storedSteps;
    iterationCount = storedIteration;
  }
  return false;
}

template <typename T>
std::string CLearnRate<T>::className() const {
  return "CLearnRate";
}

// Each level of the isA chain compares with the virtual className(), so the
// chain matches the most-derived name only.
template <typename T>
bool CLearnRate<T>::isA(const char* name) const {
  return className() == std::string(name) || CObject<T>::isA(name);
}

template <typename T>
T CLearnRate<T>::iterate() {
  return 0;
}

template <typename T>
T CLearnRate<T>::rate(int) {
  return 0;
}

// Destructor, className() and the isA link of one schedule.
#define VECML_DEFINE_LEARN_RATE_IDENTITY_(Schedule)                      \
  template <typename T>                                                  \
  Schedule<T>::~Schedule() = default;                                    \
  template <typename T>                                                  \
  std::string Schedule<T>::className() const {                           \
    return #Schedule;                                                    \
  }                                                                      \
  template <typename T>                                                  \
  bool Schedule<T>::isA(const char* name) const {                        \
    return className() == std::string(name) || CLearnRate<T>::isA(name); \
  }

VECML_DEFINE_LEARN_RATE_IDENTITY_(CConstantRate)
VECML_DEFINE_LEARN_RATE_IDENTITY_(CHarmonicRate)
VECML_DEFINE_LEARN_RATE_IDENTITY_(CLinearRate)
VECML_DEFINE_LEARN_RATE_IDENTITY_(CExponentialRate)
#undef VECML_DEFINE_LEARN_RATE_IDENTITY_

template <typename T>
CConstantRate<T>::CConstantRate(T value) {
  this->start = value;
  this->current = value;
}

template <typename T>
T CConstantRate<T>::iterate() {
  this->iterationCount = add(this->iterationCount, 1);
  return this->current;
}

template <typename T>
T CConstantRate<T>::rate(int) {
  return this->current;
}

template <typename T>
CHarmonicRate<T>::CHarmonicRate(T start) {
  this->start = start;
}

template <typename T>
T CHarmonicRate<T>::iterate() {
  this->current = this->start / static_cast<T>(add(this->iterationCount, 2));
  this->iterationCount = add(this->iterationCount, 1);
  return this->current;
}

template <typename T>
T CHarmonicRate<T>::rate(int t) {
  return this->start / static_cast<T>(add(t, 1));
}

namespace {

// start + t * (end - start) / (steps - 1) with one rounding for the product
// and the sum.
template <typename T>
T linearRate(T start, T end, int steps, int t) {
  const T slope = (end - start) / static_cast<T>(subtract(steps, 1));
  return std::fma(slope, static_cast<T>(t), start);
}

}  // namespace

template <typename T>
CLinearRate<T>::CLinearRate(T start, T end, int steps) {
  this->start = start;
  this->end = end;
  this->stepCount = steps;
}

template <typename T>
T CLinearRate<T>::iterate() {
  this->current =
      linearRate(this->start, this->end, this->stepCount, this->iterationCount);
  this->iterationCount = add(this->iterationCount, 1);
  return this->current;
}

template <typename T>
T CLinearRate<T>::rate(int t) {
  return linearRate(this->start, this->end, this->stepCount, t);
}

template <typename T>
CExponentialRate<T>::CExponentialRate(T start, T end, int steps) {
  this->start = start;
  this->end = end;
  this->current = start;
  this->stepCount = steps;
  const T ratio = end / start;
  this->stepFactor =
      static_cast<T>(std::pow(static_cast<double>(ratio), 1.0 / steps));
}

template <typename T>
T CExponentialRate<T>::iterate() {
  if (this->current > this->end)
    this->current = this->current * this->stepFactor;
  this->iterationCount = add(this->iterationCount, 1);
  return this->current;
}

template <typename T>
T CExponentialRate<T>::rate(int t) {
  const T ratio = this->end / this->start;
  const double exponent = static_cast<double>(t) /
                          static_cast<double>(subtract(this->stepCount, 1));
  return static_cast<T>(static_cast<double>(this->start) *
                        std::pow(static_cast<double>(ratio), exponent));
}

VECML_FOR_FLOATING_TYPES(VECML_LEARN_RATE_INSTANTIATIONS, template)
