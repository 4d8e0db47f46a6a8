// SPDX-License-Identifier: MIT
#include "vecml/metric/CMetric.h"

#include <cmath>

namespace {

template <typename T>
T absoluteDifference(const CVector<T>& a, const CVector<T>& b, int i) {
  return std::abs(a[i] - b[i]);
}

// Euclidean metrics move the target along the straight line to the sample.
template <typename T>
void moveLinearly(CVector<T>& target, const CVector<T>& sample, float eta) {
  target.adaptToVec(sample, eta, 1.0f - eta);
}

// Scalar-product metrics are meant for unit vectors: the target steps in the
// sample's direction and is then projected back onto the unit sphere.
template <typename T>
void moveOnUnitSphere(CVector<T>& target, const CVector<T>& sample, float eta) {
  if (eta == 1.0f)
    target.adaptToVec(sample, 1.0f, 0.0f);
  else
    target.adaptToVec(sample, 1.0f / (1.0f - eta) - 1.0f, 1.0f);
  const T length = target.euclideanLength(false);
  target /= length;
}

}  // namespace

template <typename T>
CMetric<T>::CMetric() = default;

template <typename T>
CMetric<T>::~CMetric() = default;

template <typename T>
std::string CMetric<T>::className() const {
  return "CMetric";
}

// Each level of the isA chain compares with the virtual className(), so the
// chain matches the most-derived name only.
template <typename T>
bool CMetric<T>::isA(const char* name) const {
  return className() == name || CObject<T>::isA(name);
}

template <typename T>
T CMetric<T>::distance(const CVector<T>&, const CVector<T>&) const {
  return 0;
}

template <typename T>
void CMetric<T>::adaptVec(CVector<T>&, const CVector<T>&, float) {}

// Constructors, destructor, className() and the isA link of one concrete
// metric; all are compiled here so that plug-ins creating a metric carry no
// code of it.
#define VECML_DEFINE_METRIC_IDENTITY_(Metric)            \
  template <typename T>                                  \
  Metric<T>::Metric() = default;                         \
  template <typename T>                                  \
  Metric<T>::~Metric() = default;                        \
  template <typename T>                                  \
  std::string Metric<T>::className() const {             \
    return #Metric;                                      \
  }                                                      \
  template <typename T>                                  \
  bool Metric<T>::isA(const char* name) const {          \
    return className() == name || CMetric<T>::isA(name); \
  }

VECML_DEFINE_METRIC_IDENTITY_(CEuclideanMetric)
VECML_DEFINE_METRIC_IDENTITY_(CEuclideanMetric2)
VECML_DEFINE_METRIC_IDENTITY_(CManhattenMetric)
VECML_DEFINE_METRIC_IDENTITY_(CMaximumMetric)
VECML_DEFINE_METRIC_IDENTITY_(CScalarMetric)
VECML_DEFINE_METRIC_IDENTITY_(CCoCosineMetric)
VECML_DEFINE_METRIC_IDENTITY_(CAngleMetric)
VECML_DEFINE_METRIC_IDENTITY_(CHyperbolicMetric)
#undef VECML_DEFINE_METRIC_IDENTITY_

template <typename T>
T CEuclideanMetric<T>::distance(const CVector<T>& a,
                                const CVector<T>& b) const {
  return a.euclideanDistance(b, false);
}

template <typename T>
void CEuclideanMetric<T>::adaptVec(CVector<T>& target, const CVector<T>& sample,
                                   float eta) {
  moveLinearly(target, sample, eta);
}

template <typename T>
T CEuclideanMetric2<T>::distance(const CVector<T>& a,
                                 const CVector<T>& b) const {
  return a.euclideanDistance(b, true);
}

template <typename T>
void CEuclideanMetric2<T>::adaptVec(CVector<T>& target,
                                    const CVector<T>& sample, float eta) {
  moveLinearly(target, sample, eta);
}

template <typename T>
T CManhattenMetric<T>::distance(const CVector<T>& a,
                                const CVector<T>& b) const {
  T sum = 0;
  for (int i = 0; i < a.dimension(); ++i) sum += absoluteDifference(a, b, i);
  return sum;
}

template <typename T>
T CMaximumMetric<T>::distance(const CVector<T>& a, const CVector<T>& b) const {
  T largest = 0;
  for (int i = 0; i < a.dimension(); ++i) {
    const T difference = absoluteDifference(a, b, i);
    // Written as "not greater" so that a NaN difference is taken over.
    if (!(largest > difference)) largest = difference;
  }
  return largest;
}

template <typename T>
T CScalarMetric<T>::distance(const CVector<T>& a, const CVector<T>& b) const {
  return T(1) - a * b;
}

template <typename T>
void CScalarMetric<T>::adaptVec(CVector<T>& target, const CVector<T>& sample,
                                float eta) {
  moveOnUnitSphere(target, sample, eta);
}

template <typename T>
T CCoCosineMetric<T>::distance(const CVector<T>& a, const CVector<T>& b) const {
  return T(1) - a.coCosineDistance(b);
}

template <typename T>
void CCoCosineMetric<T>::adaptVec(CVector<T>& target, const CVector<T>& sample,
                                  float eta) {
  moveOnUnitSphere(target, sample, eta);
}

template <typename T>
T CAngleMetric<T>::distance(const CVector<T>& a, const CVector<T>& b) const {
  const T ab = a * b;
  const T aa = a * a;
  const T bb = b * b;
  return std::acos(ab / (std::sqrt(aa) * std::sqrt(bb)));
}

template <typename T>
T CHyperbolicMetric<T>::distance(const CVector<T>& a,
                                 const CVector<T>& b) const {
  const T x0 = a[0], x1 = a[1];
  const T y0 = b[0], y1 = b[1];
  const T d0 = x0 - y0, d1 = x1 - y1;
  const T differenceSquared = d0 * d0 + d1 * d1;
  const T xSquared = x0 * x0 + x1 * x1;
  const T ySquared = y0 * y0 + y1 * y1;
  return std::acosh(T(1) + T(2) * differenceSquared /
                               ((T(1) - xSquared) * (T(1) - ySquared)));
}

VECML_FOR_FLOATING_TYPES(VECML_METRIC_INSTANTIATIONS, template)
