// SPDX-License-Identifier: MIT
// Base of optimizers that move a position vector towards the minimum or the
// maximum of an objective.
#ifndef VECML_LEARNING_COPTIMIZER_H
#define VECML_LEARNING_COPTIMIZER_H

#include <string>

#include "vecml/core/CObject.h"
#include "vecml/core/Export.h"
#include "vecml/core/Forward.h"
#include "vecml/core/detail/Instantiation.h"
#include "vecml/vector/CDenseVector.h"

/// Abstract optimizer, instantiated for float and double.
///
/// It holds the direction of optimisation and the current position. A
/// derived optimizer always minimises sign() * evaluate(x): sign() is -1
/// when maximising and +1 when minimising, so one search routine serves
/// both directions. A search method (gradient descent, a simplex search)
/// implements step() and optimize(); the problem supplies evaluate(),
/// typically in a class derived from the search method.
///
/// The archive form stores the flag, the sign and the position; the sign is
/// stored, not recomputed, so a record whose sign disagrees with its flag
/// loads as it stands. The binary stream form is that of CObject (empty).
///
/// isA(name) is true exactly for className(): every level compares with the
/// virtual className(), so a derived optimizer is not isA("COptimizer").
///
/// \code
///   class CQuadraticDescent : public COptimizer<double> { ... };
///   CQuadraticDescent search;
///   search.setPosition(CDenseVector<double>(2, 0.0));
///   double best = search.optimize(100);
/// \endcode
template <typename T>
class VECML_API COptimizer : public CObject<T> {
 public:
  /// Minimising (sign +1) from an empty position.
  COptimizer();
  ~COptimizer() override;

  /// Stores: maximize, separator, sign, separator, position (whole-object
  /// write), separator. Loads the same three without separators.
  /// \return true.
  bool serialize2(CArchiv& archive) override;
  /// \return "COptimizer".
  std::string className() const override;
  /// requires: \p name is not null.
  /// \return true exactly when \p name equals className().
  bool isA(const char* name) const override;

  /// The objective at \p x, in its own orientation (not multiplied by
  /// sign()).
  virtual T evaluate(const CDenseVector<T>& x) = 0;
  /// Moves position() by one step of the search towards smaller values of
  /// sign() * evaluate().
  /// \return false when the search has converged and the step left the
  ///         position as it was.
  virtual bool step() = 0;
  /// Searches from position() with at most \p maxSteps steps, stopping
  /// early once the search has converged; position() holds the result.
  /// \return evaluate(position()) at the end.
  virtual T optimize(int maxSteps) = 0;

  /// Sets the direction: sign() becomes -1 when \p maximize, else +1.
  void setMaximize(bool maximize);
  bool isMaximize() const { return maximizing; }
  /// \return -1 when maximising, +1 when minimising (or as loaded).
  T sign() const { return objectiveSign; }

  /// Replaces the position by \p position (dense-vector assignment).
  void setPosition(CDenseVector<T> position);
  /// \return a copy of the position.
  CDenseVector<T> getPosition() const { return currentPosition; }
  /// \return the stored position, for the search to move in place.
  CDenseVector<T>& position() { return currentPosition; }
  const CDenseVector<T>& position() const { return currentPosition; }

 private:
  bool maximizing;
  CDenseVector<T> currentPosition;
  T objectiveSign;
};

#define VECML_OPTIMIZER_INSTANTIATIONS(INSTANTIATE, T) \
  INSTANTIATE class COptimizer<T>;
VECML_FOR_FLOATING_TYPES(VECML_OPTIMIZER_INSTANTIATIONS, extern template)

#endif
