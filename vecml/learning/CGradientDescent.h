// SPDX-License-Identifier: MIT
// Gradient descent under a learning-rate schedule, with the problem's own
// gradient or central differences.
#ifndef VECML_LEARNING_CGRADIENTDESCENT_H
#define VECML_LEARNING_CGRADIENTDESCENT_H

#include <string>

#include "vecml/core/Export.h"
#include "vecml/core/detail/Instantiation.h"
#include "vecml/learning/CLearnRate.h"
#include "vecml/learning/COptimizer.h"
#include "vecml/vector/CDenseVector.h"

/// Gradient descent, instantiated for float and double. The problem derives
/// from CGradientDescent, defines evaluate() and, when it can, gradient().
///
/// Step t (counted from 0 since the last optimize() or restart()) moves
/// x <- x - rate_t * sign() * g(x), element by element in T, where
/// rate_t = schedule->rate(t) and g is the gradient of evaluate() (so
/// setMaximize(true) climbs). The schedule is asked with rate(t) only and is
/// never changed, so one schedule may serve several searches. The optimizer
/// does not own the schedule: the caller keeps it alive while the optimizer
/// uses it.
///
/// Gradient: gradient(x, g) of the problem when it returns true; otherwise
/// central differences, coordinate by coordinate in index order:
/// g[i] = (evaluate(x + h e_i) - evaluate(x - h e_i)) / (x[i] + h - (x[i] -
/// h)), with h = cbrt(epsilon) * max(1, |x[i]|), epsilon the machine epsilon of
/// T (h is about 6.1e-6 * max(1, |x[i]|) for double, 4.9e-3 * max(1, |x[i]|)
/// for float). The divisor is the difference of the two points as rounded,
/// not 2h.
///
/// Stopping, tested before each move: step() returns false, leaving the
/// position as it is, when the Euclidean norm of g is at most
/// gradientTolerance() (default 1e-6), when rate_t times that norm is at
/// most stepTolerance() (default 1e-12; so a zero or negative rate stops the
/// search too), or when the norm or rate_t is not finite. converged() tells
/// the tolerances (true) from the rest (false).
///
/// The archive form is that of COptimizer (flag, sign, position).
///
/// \code
///   class CBowl : public CGradientDescent<double> {
///    public:
///     using CGradientDescent<double>::CGradientDescent;
///     double evaluate(const CDenseVector<double>& x) override {
///       return x[0] * x[0] + 4 * x[1] * x[1];
///     }
///   };
///   CConstantRate<double> rate(0.1);
///   CBowl search(&rate);
///   search.setPosition(CDenseVector<double>(2, 1.0));
///   search.optimize(1000);  // position() is about (0, 0)
/// \endcode
template <typename T>
class VECML_API CGradientDescent : public COptimizer<T> {
 public:
  /// Borrows \p schedule (not owned).
  /// requires: \p schedule is not null (a null one aborts with
  /// "CGradientDescent needs a learning-rate schedule").
  explicit CGradientDescent(CLearnRate<T>* schedule,
                            T gradientTolerance = T(1e-6),
                            T stepTolerance = T(1e-12));
  ~CGradientDescent() override;

  /// \return "CGradientDescent".
  std::string className() const override;
  /// requires: \p name is not null.
  /// \return true exactly when \p name equals className().
  bool isA(const char* name) const override;

  /// The problem's gradient of evaluate() at \p x, written to \p g; the
  /// default has none and returns false, so that central differences are
  /// used.
  /// requires: when returning true, \p g has x's dimension (else the step
  /// aborts with an ML_EQ_CHK report).
  /// \return true when \p g holds the gradient.
  virtual bool gradient(const CDenseVector<T>& x, CDenseVector<T>& g);

  /// One step of the search as described in the class comment.
  /// \return false (position unchanged) when the search stops.
  bool step() override;
  /// Restarts the step count and steps until the search stops or
  /// \p maxSteps steps were taken.
  /// \return evaluate(position()).
  T optimize(int maxSteps) override;
  /// Restarts the step count, so the next step uses rate(0).
  void restart() { stepCount = 0; }

  /// Borrows \p schedule (not owned). requires: not null, as above.
  void setSchedule(CLearnRate<T>* schedule);
  CLearnRate<T>* schedule() const { return rateSchedule; }
  void setTolerances(T gradientTolerance, T stepTolerance);
  T gradientTolerance() const { return gradientTol; }
  T stepTolerance() const { return stepTol; }

  /// \return the steps taken since the last optimize() or restart().
  int steps() const { return stepCount; }
  /// \return true when the last step() stopped the search on a tolerance.
  bool converged() const { return hasConverged; }
  /// \return the gradient norm found by the last step().
  T lastGradientNorm() const { return gradientNorm; }

 private:
  // The problem's gradient, or central differences when it has none.
  CDenseVector<T> gradientAt(const CDenseVector<T>& x);
  CDenseVector<T> centralDifferences(const CDenseVector<T>& x);

  CLearnRate<T>* rateSchedule;
  T gradientTol;
  T stepTol;
  int stepCount;
  bool hasConverged;
  T gradientNorm;
};

#define VECML_GRADIENT_DESCENT_INSTANTIATIONS(INSTANTIATE, T) \
  INSTANTIATE class CGradientDescent<T>;
VECML_FOR_FLOATING_TYPES(VECML_GRADIENT_DESCENT_INSTANTIATIONS, extern template)

#endif
