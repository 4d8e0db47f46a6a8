// SPDX-License-Identifier: MIT
// Abstract vector: the interface shared by dense and sparse vectors.
#ifndef VECML_VECTOR_CVECTOR_H
#define VECML_VECTOR_CVECTOR_H

#include <string>
#include <vector>

#include "vecml/core/CObject.h"
#include "vecml/core/Export.h"
#include "vecml/core/Forward.h"
#include "vecml/core/detail/Instantiation.h"

/// Abstract vector of int, float or double elements.
///
/// Binary operations between two vectors (scalar product, distances,
/// element-wise product and division, adaptation) are not virtual: they ask
/// CVectorOperations<T> for the kernel that fits the dynamic kinds (dense or
/// sparse) of both operands. Dimensions are not compared; see
/// CVectorOperations for what a mismatch gives.
template <typename T>
class VECML_API CVector : public CObject<T> {
 public:
  ~CVector() override;

  /// Writes and reads nothing of its own. \return true.
  bool serialize(std::fstream& stream, IO_MODE mode) override;
  /// \return "CVector".
  std::string className() const override;

  /// \return a heap copy of the same kind, owned by the caller.
  virtual CVector<T>* clone() const = 0;
  /// \return a double vector owned by the caller, or this very object where
  ///         the concrete class says so.
  virtual CVector<double>* toDouble() const = 0;
  /// \return a float vector owned by the caller, or this very object where
  ///         the concrete class says so.
  virtual CVector<float>* toFloat() const = 0;
  /// \return the elements in order (through a temporary dense copy).
  virtual std::vector<T> toSTL() const;
  /// Sorting as defined by the concrete class. \return index vector.
  virtual CDenseVector<int> sort() = 0;
  /// \return true when the dimensions agree and getElement(i) of this vector
  ///         equals other[i] for every i (NaN is unequal to everything).
  virtual bool operator==(const CVector<T>& other) const;
  virtual CVector<T>& operator*=(const T& factor) = 0;
  virtual CVector<T>& operator/=(const T& divisor) = 0;
  virtual int dimension() const = 0;
  virtual int getNumNonZero() const = 0;
  virtual bool isNaN() const = 0;
  /// \return the sum of squared elements, or its square root unless
  ///         \p squared.
  virtual T euclideanLength(bool squared) const = 0;
  virtual const T& operator[](int i) const = 0;
  virtual T getElement(int i) const = 0;

  /// \return the scalar product of this vector and \p other.
  T operator*(const CVector<T>& other) const;
  /// Element-wise product in place.
  CVector<T>& operator*=(const CVector<T>& other);
  /// Element-wise division in place.
  CVector<T>& operator/=(const CVector<T>& other);
  /// \return the Euclidean distance, or its square when \p squared.
  T euclideanDistance(const CVector<T>& other, bool squared) const;
  /// \return the cosine of the angle between both vectors; see
  ///         CVectorOperations for zero vectors and int.
  T coCosineDistance(const CVector<T>& other) const;
  /// Moves this vector towards \p target:
  /// this = keep * this + rate * target (this + rate * target when keep is
  /// exactly 1).
  /// \throw CException when this vector is sparse.
  void adaptToVec(const CVector<T>& target, float rate, float keep);
};

#define VECML_VECTOR_INSTANTIATIONS(INSTANTIATE, T) \
  INSTANTIATE class CVector<T>;
VECML_FOR_ELEMENT_TYPES(VECML_VECTOR_INSTANTIATIONS, extern template)

#endif
