// SPDX-License-Identifier: MIT
// Simplex search (Nelder-Mead) for optimizers whose problem supplies only
// the objective's values.
#ifndef VECML_LEARNING_CNELDERMEAD_H
#define VECML_LEARNING_CNELDERMEAD_H

#include <string>
#include <vector>

#include "vecml/core/Export.h"
#include "vecml/core/detail/Instantiation.h"
#include "vecml/learning/COptimizer.h"
#include "vecml/vector/CDenseVector.h"

/// Nelder-Mead simplex search, instantiated for float and double. It needs
/// only evaluate(): the problem derives from CNelderMead and defines it. The
/// search minimises f(x) = sign() * evaluate(x), so setMaximize(true) makes
/// it maximise evaluate().
///
/// Initial simplex, built from position() x0 of dimension n: vertex 0 is x0
/// and vertex k + 1 is x0 with coordinate k replaced by
/// (1 + relativeStep()) * x0[k] when x0[k] != 0, by zeroStep() when it is 0
/// (defaults 0.05 and 0.00025). The vertices are evaluated in that order
/// and sorted by their values.
///
/// The simplex stays sorted by f, best vertex first. Sorting is stable, so
/// of equal values the vertex that was earlier stays first; NaN values rank
/// after every number. One step, with centroid c of the n best vertices (a
/// sum in vertex order divided by n) and worst vertex w, tries points
/// a * c + b * w with coefficients reflection 1, expansion 2, contraction
/// 0.5 and shrink 0.5:
/// - reflection r = 2c - w. If f(r) < f(best): expansion e = 3c - 2w
///   replaces w when f(e) < f(r), else r replaces w.
/// - else if f(r) < f(second worst): r replaces w.
/// - else if f(r) < f(w): outside contraction o = 1.5c - 0.5w replaces w
///   when f(o) <= f(r), else the simplex shrinks.
/// - else inside contraction i = 0.5c + 0.5w replaces w when f(i) < f(w),
///   else the simplex shrinks.
/// - shrinking moves every vertex v but the best b to b + 0.5 (v - b) and
///   evaluates them in vertex order.
/// Then the simplex is sorted again and position() becomes its best vertex.
/// All arithmetic is in T.
///
/// Convergence, tested before each step: every coordinate of every vertex
/// differs from the best vertex's by at most xTolerance(), and every
/// vertex's value from the best value by at most fTolerance() (absolute
/// tolerances, defaults 1e-4 each). A NaN difference never passes the test.
///
/// The archive form is that of COptimizer (flag, sign, position); the
/// tolerances, steps and simplex are not stored.
///
/// \code
///   class CRosenbrock : public CNelderMead<double> {
///    public:
///     double evaluate(const CDenseVector<double>& x) override {
///       return 100 * std::pow(x[1] - x[0] * x[0], 2) + std::pow(1 - x[0], 2);
///     }
///   };
///   CRosenbrock search;
///   search.setTolerances(1e-10, 1e-10);
///   search.setPosition(CDenseVector<double>(std::vector<double>{-1.2, 1}));
///   double least = search.optimize(10000);  // position() is about (1, 1)
/// \endcode
template <typename T>
class VECML_API CNelderMead : public COptimizer<T> {
 public:
  /// Absolute tolerances on the spread of the vertices and of their values.
  explicit CNelderMead(T xTolerance = T(1e-4), T fTolerance = T(1e-4));
  ~CNelderMead() override;

  /// \return "CNelderMead".
  std::string className() const override;
  /// requires: \p name is not null.
  /// \return true exactly when \p name equals className().
  bool isA(const char* name) const override;

  /// Builds the initial simplex around position() when there is none or
  /// when position() is no longer the simplex's best vertex (the caller
  /// moved it), then tests for convergence and, unless converged, takes one
  /// step as described in the class comment.
  /// \return false when converged: no step was taken, and position() is
  ///         left alone unless this call built the simplex and one of its
  ///         new vertices is better than the start (position() is always
  ///         the best vertex); true after a step.
  bool step() override;
  /// Starts a new simplex around position() and steps until convergence or
  /// \p maxSteps steps; position() is the best vertex found.
  /// \return evaluate(position()) (without another evaluation when a
  ///         simplex was built).
  T optimize(int maxSteps) override;
  /// Drops the simplex: the next step() builds a new one around position().
  void restart();

  void setTolerances(T xTolerance, T fTolerance);
  T xTolerance() const { return xTol; }
  T fTolerance() const { return fTol; }
  /// Sets how the initial simplex leaves x0 along each axis (see the class
  /// comment).
  void setInitialSteps(T relativeStep, T zeroStep);
  T relativeStep() const { return relativeOffset; }
  T zeroStep() const { return zeroOffset; }

  /// \return the number of evaluate() calls made by the search so far.
  long evaluations() const { return evaluationCount; }
  /// \return the vertices, best first (empty before the first step).
  const std::vector<CDenseVector<T>>& simplex() const { return vertices; }
  /// \return sign() * evaluate() of each vertex, in simplex order.
  const std::vector<T>& simplexValues() const { return values; }

 private:
  // sign() * evaluate(x), counted.
  T objective(const CDenseVector<T>& x);
  void buildSimplex();
  bool hasConverged() const;
  // a * centroid + b * worst vertex, element by element.
  CDenseVector<T> combine(const CDenseVector<T>& centroid, T a, T b) const;
  CDenseVector<T> centroidOfBest() const;
  void shrinkTowardsBest();
  // Stable sort by value, NaN last; position() becomes the best vertex.
  void sortSimplex();
  bool positionIsBestVertex() const;

  T xTol;
  T fTol;
  T relativeOffset;
  T zeroOffset;
  long evaluationCount;
  std::vector<CDenseVector<T>> vertices;
  std::vector<T> values;
};

#define VECML_NELDER_MEAD_INSTANTIATIONS(INSTANTIATE, T) \
  INSTANTIATE class CNelderMead<T>;
VECML_FOR_FLOATING_TYPES(VECML_NELDER_MEAD_INSTANTIATIONS, extern template)

#endif
