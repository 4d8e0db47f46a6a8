// SPDX-License-Identifier: MIT
// Sparse vector: ascending (index, value) entries and a logical dimension.
#ifndef VECML_VECTOR_CSPARSEVECTOR_H
#define VECML_VECTOR_CSPARSEVECTOR_H

#include <memory>
#include <string>
#include <utility>

#include "vecml/core/Export.h"
#include "vecml/core/Forward.h"
#include "vecml/core/detail/Instantiation.h"
#include "vecml/vector/CDenseVector.h"
#include "vecml/vector/CVector.h"

/// Vector that stores only some positions, as (index, value) entries in
/// ascending index order; every other position reads as 0.
///
/// The constructor and accessor preconditions are checked with assertions
/// that stay live in every build and report "CSparseVector.cpp" with the
/// line of the check, e.g.
/// "CSparseVector.cpp:139: ...: Assertion `index >= 0' failed.".
///
/// A sparse vector has no binary stream or archive form of its own:
/// serialize() and serialize2() are those of CVector and CObject.
template <typename T>
class VECML_API CSparseVector : public CVector<T> {
 public:
  using Entry = std::pair<int, T>;

  /// \p size entries, all (0, 0), of a vector of dimension \p dim.
  CSparseVector(int dim, int size);
  /// Entry i is (pos[i], init_values[i]); the entries are then sorted by
  /// index. requires (asserted): d >= 0, s >= 0, both arrays non-null.
  CSparseVector(int d, int s, T* init_values, int* pos);
  /// Deep copy. requires (asserted): \p other was not moved from.
  CSparseVector(const CSparseVector<T>& other);
  /// Takes the entries of \p other, which is left with dimension 0 and no
  /// entry array.
  CSparseVector(CSparseVector<T>&& other) noexcept;
  /// Stores every element of \p v unequal to 0, in index order.
  explicit CSparseVector(const CVector<T>& v);
  ~CSparseVector() override;
  /// Copy and move assignment (the source is taken by value).
  CSparseVector<T>& operator=(CSparseVector<T> other) noexcept;

  /// \return "CSparseVector".
  std::string className() const override;
  CSparseVector<T>* clone() const override;
  /// \return a new copy with values converted to double.
  CVector<double>* toDouble() const override;
  /// \return a new copy with values converted to float.
  CVector<float>* toFloat() const override;
  /// Reorders nothing. \return a dense int vector of dimension() with
  /// element k = k for every stored index k and 0 elsewhere; a stored index
  /// not below dimension() aborts with the dense ML_LS_CHK report.
  CDenseVector<int> sort() override;
  CSparseVector<T>& operator*=(const T& factor) override;
  /// A zero int divisor raises SIGFPE.
  CSparseVector<T>& operator/=(const T& divisor) override;
  int dimension() const override { return dim; }
  /// \return the number of stored entries, stored zeros included.
  int getNumNonZero() const override { return size; }
  /// \return true when any stored value is NaN.
  bool isNaN() const override;
  T euclideanLength(bool squared) const override;
  /// \return the stored value at \p index, or a shared 0.
  /// requires (asserted): 0 <= index < dimension().
  const T& operator[](int index) const override;
  /// Like operator[] without the assertions.
  T getElement(int index) const override;

  /// Stores \p entry at entry position \p i; the caller keeps the list
  /// ascending. requires (asserted): i < getNumNonZero(); a negative i is
  /// ignored.
  void setElement(int i, Entry entry);

  CSparseVector<T>& operator*=(const CVector<T>& other);
  CSparseVector<T>& operator/=(const CVector<T>& other);

  Entry* begin() { return elements.get(); }
  Entry* end() { return elements.get() + size; }
  const Entry* begin() const { return elements.get(); }
  const Entry* end() const { return elements.get() + size; }

 private:
  static const T nullElement;

  std::unique_ptr<Entry[]> elements;
  int dim;
  int size;
};

/// Scales a copy; stored zeros disappear from the result.
template <typename T>
VECML_API CSparseVector<T> operator*(const CSparseVector<T>& v,
                                     const T& factor);
template <typename T>
VECML_API CSparseVector<T> operator*(const T& factor,
                                     const CSparseVector<T>& v);
template <typename T>
VECML_API CSparseVector<T> operator/(const CSparseVector<T>& v,
                                     const T& divisor);
/// Element-wise product of a copy of \p v with \p w; stored zeros disappear.
template <typename T>
VECML_API CSparseVector<T> elementMul(const CSparseVector<T>& v,
                                      const CVector<T>& w);

#define VECML_SPARSE_VECTOR_INSTANTIATIONS(INSTANTIATE, T)                   \
  INSTANTIATE class CSparseVector<T>;                                        \
  INSTANTIATE CSparseVector<T> operator*(const CSparseVector<T>&, const T&); \
  INSTANTIATE CSparseVector<T> operator*(const T&, const CSparseVector<T>&); \
  INSTANTIATE CSparseVector<T> operator/(const CSparseVector<T>&, const T&); \
  INSTANTIATE CSparseVector<T> elementMul(const CSparseVector<T>&,           \
                                          const CVector<T>&);
VECML_FOR_ELEMENT_TYPES(VECML_SPARSE_VECTOR_INSTANTIATIONS, extern template)

#endif
