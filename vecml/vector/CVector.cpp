// SPDX-License-Identifier: MIT
#include "vecml/vector/CVector.h"

#include "vecml/core/detail/Arithmetic.h"
#include "vecml/vector/CDenseVector.h"
#include "vecml/vector/CVectorOperations.h"

template <typename T>
CVector<T>::~CVector() = default;

template <typename T>
bool CVector<T>::serialize(std::fstream& stream, IO_MODE mode) {
  return CObject<T>::serialize(stream, mode);
}

template <typename T>
std::string CVector<T>::className() const {
  return "CVector";
}

template <typename T>
std::vector<T> CVector<T>::toSTL() const {
  return CDenseVector<T>(*this).toSTL();
}

template <typename T>
bool CVector<T>::operator==(const CVector<T>& other) const {
  if (dimension() != other.dimension()) return false;
  for (int i = 0; i < dimension(); ++i)
    if (!(getElement(i) == other[i])) return false;
  return true;
}

template <typename T>
T CVector<T>::operator*(const CVector<T>& other) const {
  return CVectorOperations<T>::getInstance().getScalarProduct(*this, other)(
      *this, other);
}

template <typename T>
CVector<T>& CVector<T>::operator*=(const CVector<T>& other) {
  CVectorOperations<T>::getInstance().getElementProduct(*this, other)(*this,
                                                                      other);
  return *this;
}

template <typename T>
CVector<T>& CVector<T>::operator/=(const CVector<T>& other) {
  CVectorOperations<T>::getInstance().getElementDivision(*this, other)(*this,
                                                                       other);
  return *this;
}

template <typename T>
T CVector<T>::euclideanDistance(const CVector<T>& other, bool squared) const {
  const T sum = CVectorOperations<T>::getInstance().getEuclideanDistance(
      *this, other)(*this, other);
  return squared ? sum : vecml::detail::squareRoot(sum);
}

template <typename T>
T CVector<T>::coCosineDistance(const CVector<T>& other) const {
  return CVectorOperations<T>::getInstance().getCoCosineDistance(*this, other)(
      *this, other);
}

template <typename T>
void CVector<T>::adaptToVec(const CVector<T>& target, float rate, float keep) {
  CVectorOperations<T>::getInstance().getElementAdapt(*this, target)(
      *this, target, rate, keep);
}

VECML_FOR_ELEMENT_TYPES(VECML_VECTOR_INSTANTIATIONS, template)
