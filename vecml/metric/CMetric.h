// SPDX-License-Identifier: MIT
// Distance metrics: the null metric CMetric and its eight concrete metrics.
//
// A metric measures the distance between two vectors and says how a
// reference vector is moved towards a sample in the metric's own geometry.
// Metrics hold no data: one object may be shared freely, and whoever is
// handed a metric pointer decides on its ownership.
#ifndef VECML_METRIC_CMETRIC_H
#define VECML_METRIC_CMETRIC_H

#include <string>

#include "vecml/core/CObject.h"
#include "vecml/core/Export.h"
#include "vecml/core/detail/Instantiation.h"
#include "vecml/vector/CVector.h"

/// The null metric (distance 0, no adaptation) and base of all metrics,
/// instantiated for float and double.
///
/// Distances read both operands with the vector's operator[] or through the
/// dispatching vector operations, so dense and sparse vectors both work.
/// Dimensions are never compared: the caller passes vectors of equal
/// dimension; otherwise a distance gives whatever the vector operations give
/// (a dense operand read at a position >= its dimension aborts with the
/// ML_LS_CHK report). Zero vectors and out-of-domain input give NaN or
/// infinities; no metric throws or reports anything of its own.
///
/// isA(name) is true exactly for className(): every level of the chain
/// (concrete metric, CMetric, CObject) compares with the virtual className(),
/// so a CEuclideanMetric is not isA("CMetric").
///
/// \code
///   CEuclideanMetric<float> metric;
///   float d = metric.distance(a, b);     // |a - b|
///   metric.adaptVec(reference, a, 0.1f);  // reference moves 10% towards a
/// \endcode
template <typename T>
class VECML_API CMetric : public CObject<T> {
 public:
  CMetric();
  ~CMetric() override;

  /// \return "CMetric".
  std::string className() const override;
  /// requires: \p name is not null.
  /// \return true exactly when \p name equals className().
  bool isA(const char* name) const override;
  /// \return 0.
  virtual T distance(const CVector<T>& a, const CVector<T>& b) const;
  /// Moves \p target towards \p sample by the step \p eta; here: nothing.
  virtual void adaptVec(CVector<T>& target, const CVector<T>& sample,
                        float eta);
};

/// Rooted Euclidean distance.
template <typename T>
class VECML_API CEuclideanMetric : public CMetric<T> {
 public:
  CEuclideanMetric();
  ~CEuclideanMetric() override;

  /// \return "CEuclideanMetric".
  std::string className() const override;
  bool isA(const char* name) const override;
  /// \return a.euclideanDistance(b, false).
  T distance(const CVector<T>& a, const CVector<T>& b) const override;
  /// target = (1 - eta) * target + eta * sample, the weight 1 - eta formed
  /// in float (target + eta * sample when that weight is exactly 1).
  /// \throw CException when \p target is sparse.
  void adaptVec(CVector<T>& target, const CVector<T>& sample,
                float eta) override;
};

/// Squared Euclidean distance.
template <typename T>
class VECML_API CEuclideanMetric2 : public CMetric<T> {
 public:
  CEuclideanMetric2();
  ~CEuclideanMetric2() override;

  /// \return "CEuclideanMetric2".
  std::string className() const override;
  bool isA(const char* name) const override;
  /// \return a.euclideanDistance(b, true).
  T distance(const CVector<T>& a, const CVector<T>& b) const override;
  /// The same move as CEuclideanMetric::adaptVec.
  /// \throw CException when \p target is sparse.
  void adaptVec(CVector<T>& target, const CVector<T>& sample,
                float eta) override;
};

/// Sum of absolute differences; adaptVec does nothing.
template <typename T>
class VECML_API CManhattenMetric : public CMetric<T> {
 public:
  CManhattenMetric();
  ~CManhattenMetric() override;

  /// \return "CManhattenMetric".
  std::string className() const override;
  bool isA(const char* name) const override;
  /// \return the sum of |a[i] - b[i]| over i < a.dimension() (0 when
  ///         a.dimension() <= 0). requires: b.dimension() >= a.dimension().
  T distance(const CVector<T>& a, const CVector<T>& b) const override;
};

/// Largest absolute difference; adaptVec does nothing.
template <typename T>
class VECML_API CMaximumMetric : public CMetric<T> {
 public:
  CMaximumMetric();
  ~CMaximumMetric() override;

  /// \return "CMaximumMetric".
  std::string className() const override;
  bool isA(const char* name) const override;
  /// \return the largest |a[i] - b[i]| over i < a.dimension(), starting
  ///         from 0 (0 when a.dimension() <= 0). A NaN difference is taken
  ///         and replaced by the next difference.
  ///         requires: b.dimension() >= a.dimension().
  T distance(const CVector<T>& a, const CVector<T>& b) const override;
};

/// One minus the scalar product, meant for unit-length vectors.
template <typename T>
class VECML_API CScalarMetric : public CMetric<T> {
 public:
  CScalarMetric();
  ~CScalarMetric() override;

  /// \return "CScalarMetric".
  std::string className() const override;
  bool isA(const char* name) const override;
  /// \return 1 - a * b (no normalisation).
  T distance(const CVector<T>& a, const CVector<T>& b) const override;
  /// Moves \p target towards \p sample and back onto the unit sphere:
  /// target becomes sample when eta is exactly 1, otherwise
  /// target += (1 / (1 - eta) - 1) * sample (weight formed in float); then
  /// target /= its rooted Euclidean length. A zero-length result divides
  /// by zero (NaN or infinities).
  /// \throw CException when \p target is sparse.
  void adaptVec(CVector<T>& target, const CVector<T>& sample,
                float eta) override;
};

/// One minus the cosine of the angle between both vectors.
template <typename T>
class VECML_API CCoCosineMetric : public CMetric<T> {
 public:
  CCoCosineMetric();
  ~CCoCosineMetric() override;

  /// \return "CCoCosineMetric".
  std::string className() const override;
  bool isA(const char* name) const override;
  /// \return 1 - a.coCosineDistance(b) (1 when either vector is zero).
  T distance(const CVector<T>& a, const CVector<T>& b) const override;
  /// The same move as CScalarMetric::adaptVec.
  /// \throw CException when \p target is sparse.
  void adaptVec(CVector<T>& target, const CVector<T>& sample,
                float eta) override;
};

/// Angle between both vectors in radians; adaptVec does nothing.
template <typename T>
class VECML_API CAngleMetric : public CMetric<T> {
 public:
  CAngleMetric();
  ~CAngleMetric() override;

  /// \return "CAngleMetric".
  std::string className() const override;
  bool isA(const char* name) const override;
  /// \return acos(a*b / (sqrt(a*a) * sqrt(b*b))), the quotient not clamped:
  ///         a zero vector, or rounding beyond +-1, gives NaN.
  T distance(const CVector<T>& a, const CVector<T>& b) const override;
};

/// Distance of the Poincare disc model between the points formed by the
/// first two elements of each vector; adaptVec does nothing.
template <typename T>
class VECML_API CHyperbolicMetric : public CMetric<T> {
 public:
  CHyperbolicMetric();
  ~CHyperbolicMetric() override;

  /// \return "CHyperbolicMetric".
  std::string className() const override;
  bool isA(const char* name) const override;
  /// With x = (a[0], a[1]) and y = (b[0], b[1]):
  /// \return acosh(1 + 2*|x - y|^2 / ((1 - |x|^2) * (1 - |y|^2))); further
  ///         elements are ignored, points outside the unit disc give NaN or
  ///         infinities. requires: both vectors have at least two elements.
  T distance(const CVector<T>& a, const CVector<T>& b) const override;
};

#define VECML_METRIC_INSTANTIATIONS(INSTANTIATE, T) \
  INSTANTIATE class CMetric<T>;                     \
  INSTANTIATE class CEuclideanMetric<T>;            \
  INSTANTIATE class CEuclideanMetric2<T>;           \
  INSTANTIATE class CManhattenMetric<T>;            \
  INSTANTIATE class CMaximumMetric<T>;              \
  INSTANTIATE class CScalarMetric<T>;               \
  INSTANTIATE class CCoCosineMetric<T>;             \
  INSTANTIATE class CAngleMetric<T>;                \
  INSTANTIATE class CHyperbolicMetric<T>;
VECML_FOR_FLOATING_TYPES(VECML_METRIC_INSTANTIATIONS, extern template)

#endif
