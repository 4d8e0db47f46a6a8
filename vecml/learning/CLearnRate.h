// SPDX-License-Identifier: MIT
// Learning-rate schedules: the null schedule CLearnRate and the constant,
// harmonic, linear and exponential schedules.
//
// A schedule gives the step size of a learning algorithm at iteration t,
// either on request (rate(t), which changes nothing) or by stepping
// (iterate(), which advances the schedule's own iteration counter and
// current rate). Algorithms hold a schedule through a CLearnRate<T> pointer.
#ifndef VECML_LEARNING_CLEARNRATE_H
#define VECML_LEARNING_CLEARNRATE_H

#include <fstream>
#include <string>

#include "vecml/core/CObject.h"
#include "vecml/core/Export.h"
#include "vecml/core/Forward.h"
#include "vecml/core/detail/Instantiation.h"

/// The null schedule (rate 0, stepping changes nothing) and base of all
/// schedules, instantiated for float and double.
///
/// Every schedule holds the same fields: start, end and current rate, the
/// per-step factor, the number of steps the schedule spans and the number of
/// iterations taken. Fields a constructor is not given start at 0.
///
/// rate(t) and iterate() of the harmonic and linear schedules disagree by
/// one about which iteration the current rate belongs to, and the
/// exponential schedule steps by (end / start)^(1 / steps) while its rate(t)
/// uses t / (steps - 1): callers that mix rate(t) and iterate() on one
/// object see these differences. No argument is checked: steps == 1 makes
/// the linear and exponential rate(t) divide by zero, start == 0 makes the
/// exponential factor and rate NaN or infinite.
///
/// isA(name) is true exactly for className(): every level of the chain
/// compares with the virtual className(), so a CExponentialRate is not
/// isA("CLearnRate").
///
/// \code
///   CLinearRate<float> schedule(0.5f, 0.01f, 100);
///   for (int t = 0; t < 100; ++t) train(schedule.iterate());
/// \endcode
template <typename T>
class VECML_API CLearnRate : public CObject<T> {
 public:
  /// All fields 0.
  CLearnRate();
  ~CLearnRate() override;

  /// Writes start, end and current rate and factor as 8-byte doubles, then
  /// steps and iteration as 4-byte ints (40 bytes, host byte order) for any
  /// mode but IO_READ; \return true when the stream's fail and bad bits are
  /// clear afterwards.
  ///
  /// IO_READ consumes 44 bytes: four doubles into start, end, current rate
  /// and factor (converted to T), then three ints, the first two both into
  /// steps (the second wins) and the third into iteration. A record read
  /// back after the writer's 40 bytes therefore takes steps from the written
  /// iteration and iteration from the 4 bytes that follow. A record cut
  /// short sets the stream's failbit and leaves the schedule unchanged.
  /// \return false after every read.
  bool serialize(std::fstream& stream, IO_MODE mode) override;

  /// \return "CLearnRate".
  std::string className() const override;
  /// requires: \p name is not null.
  /// \return true exactly when \p name equals className().
  bool isA(const char* name) const override;

  /// Advances the schedule by one iteration. Here: changes nothing.
  /// \return the new current rate; here 0.
  virtual T iterate();
  /// The rate at iteration \p t; does not change the schedule.
  /// \return here 0.
  virtual T rate(int t);

  T startRate() const { return start; }
  T endRate() const { return end; }
  /// The rate after the most recent iterate().
  T currentRate() const { return current; }
  /// Per-step multiplier of the exponential schedule.
  T factor() const { return stepFactor; }
  /// Number of iterations the linear and exponential schedules span.
  int steps() const { return stepCount; }
  /// Number of iterate() calls so far (or the value read by serialize).
  int iteration() const { return iterationCount; }

 protected:
  T start;
  T end;
  T current;
  T stepFactor;
  int stepCount;
  int iterationCount;
};

/// The same rate at every iteration.
template <typename T>
class VECML_API CConstantRate : public CLearnRate<T> {
 public:
  /// Start and current rate \p value.
  explicit CConstantRate(T value);
  ~CConstantRate() override;

  /// \return "CConstantRate".
  std::string className() const override;
  bool isA(const char* name) const override;
  /// Counts the iteration. \return the current rate.
  T iterate() override;
  /// \return the current rate, whatever \p t.
  T rate(int t) override;
};

/// start / (t + 1).
template <typename T>
class VECML_API CHarmonicRate : public CLearnRate<T> {
 public:
  /// Start rate \p start; the current rate stays 0 until the first
  /// iterate().
  explicit CHarmonicRate(T start);
  ~CHarmonicRate() override;

  /// \return "CHarmonicRate".
  std::string className() const override;
  bool isA(const char* name) const override;
  /// current = start / (iteration + 2) in T, then counts the iteration: after
  /// the k-th call the current rate equals rate(k).
  /// \return the current rate.
  T iterate() override;
  /// \return start / (t + 1), t + 1 converted to T.
  T rate(int t) override;
};

/// Falls in a straight line from the start rate at iteration 0 to the end
/// rate at iteration steps - 1.
template <typename T>
class VECML_API CLinearRate : public CLearnRate<T> {
 public:
  /// The current rate stays 0 until the first iterate().
  CLinearRate(T start, T end, int steps);
  ~CLinearRate() override;

  /// \return "CLinearRate".
  std::string className() const override;
  bool isA(const char* name) const override;
  /// current = rate(iteration) before the iteration is counted: after the
  /// k-th call the current rate equals rate(k - 1).
  /// \return the current rate.
  T iterate() override;
  /// \return fma((end - start) / (steps - 1), t, start), all in T.
  T rate(int t) override;
};

/// Falls geometrically from the start rate to the end rate.
template <typename T>
class VECML_API CExponentialRate : public CLearnRate<T> {
 public:
  /// Current rate \p start; factor = pow(end / start, 1.0 / steps), the
  /// quotient in T and the power in double, rounded to T.
  CExponentialRate(T start, T end, int steps);
  ~CExponentialRate() override;

  /// \return "CExponentialRate".
  std::string className() const override;
  bool isA(const char* name) const override;
  /// Multiplies the current rate by the factor while it is above the end
  /// rate (so an increasing schedule never moves); counts the iteration in
  /// any case. \return the current rate.
  T iterate() override;
  /// \return start * pow(end / start, t / (steps - 1)), the quotient
  ///         end / start in T, exponent, power and product in double, the
  ///         result rounded to T; not clamped at the end rate.
  T rate(int t) override;
};

#define VECML_LEARN_RATE_INSTANTIATIONS(INSTANTIATE, T) \
  INSTANTIATE class CLearnRate<T>;                      \
  INSTANTIATE class CConstantRate<T>;                   \
  INSTANTIATE class CHarmonicRate<T>;                   \
  INSTANTIATE class CLinearRate<T>;                     \
  INSTANTIATE class CExponentialRate<T>;
VECML_FOR_FLOATING_TYPES(VECML_LEARN_RATE_INSTANTIATIONS, extern template)

#endif
