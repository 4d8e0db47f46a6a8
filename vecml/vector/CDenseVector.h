// SPDX-License-Identifier: MIT
// Dense vector: a dimension and one owned, contiguous element array.
#ifndef VECML_VECTOR_CDENSEVECTOR_H
#define VECML_VECTOR_CDENSEVECTOR_H

#include <ostream>
#include <string>
#include <vector>

#include "vecml/core/Export.h"
#include "vecml/core/Forward.h"
#include "vecml/core/Macros.h"
#include "vecml/core/detail/Instantiation.h"
#include "vecml/core/detail/OutOfRange.h"
#include "vecml/vector/CVector.h"

/// Vector of `dim` contiguous elements of T (int, float or double).
///
/// Invariant: dim >= 0, and data is null exactly when dim is 0. Element
/// arrays are allocated zero-filled.
///
/// Positions outside 0..dim-1: operator[] aborts with an ML_LS_CHK report
/// for i >= dim. Every other access that a caller can steer outside the
/// vector (a negative index, getElement, setElement, and operands of
/// different dimensions in the element-wise members, which walk this
/// vector's dimension) is a broken precondition; it is memory-safe: reads
/// give 0 and writes are dropped.
///
/// \code
///   CDenseVector<float> v(3, 1.0f);
///   v[1] = 4.0f;
///   float length = v.euclideanLength(false);  // sqrt(18)
/// \endcode
template <typename T>
class VECML_API CDenseVector : public CVector<T> {
 public:
  /// \p n zeros; n < 1 gives an empty vector.
  explicit CDenseVector(int n = 0);
  /// Copies \p n values (none when n < 1).
  CDenseVector(int n, const T* values);
  /// \p n copies of \p value.
  CDenseVector(int n, T value);
  explicit CDenseVector(const std::vector<T>& values);
  CDenseVector(const CDenseVector<T>& other);
  /// Takes the elements of \p other, leaving it empty.
  CDenseVector(CDenseVector<T>&& other) noexcept;
  /// Expands any vector (a sparse one included) through copy().
  CDenseVector(const CVector<T>& other);  // NOLINT: converting by design
  ~CDenseVector() override;

  /// Self-assignment writes "Copying myself, doing nothing" to the error
  /// stream and changes nothing.
  CDenseVector<T>& operator=(const CDenseVector<T>& other);
  CDenseVector<T>& operator=(CDenseVector<T>&& other) noexcept;

  /// Writes: tag (dataType()), dim, raw elements. Reads any tag, converting
  /// the stored elements to T. A record cut short (or with a negative dim)
  /// sets the stream's failbit and leaves the vector unchanged.
  /// A record with an unknown tag stores no elements and reads as dim
  /// zeros: that reading trusts its input, since the 8 bytes of tag and dim
  /// alone allocate and zero-fill dim elements (up to 2,147,483,647, 16 GiB
  /// for double). When that memory cannot be had, the const char* of
  /// NEWARRAY is thrown and the vector is unchanged.
  /// \return true.
  bool serialize(std::fstream& stream, IO_MODE mode) override;
  bool serialize2(CArchiv& archive) override;
  /// \return "CDenseVector".
  std::string className() const override;

  CDenseVector<T>* clone() const override;
  /// \return a new double copy, but this object itself for T = double.
  CVector<double>* toDouble() const override;
  /// \return a new float copy, but this object itself for T = float and
  ///         also, unconverted, for T = int.
  CVector<float>* toFloat() const override;
  std::vector<T> toSTL() const override;
  /// Sorts in place, ascending; equal values keep their order.
  /// \return for each position, the index the value had before sorting.
  CDenseVector<int> sort() override;
  /// int vectors divide with integer division; a zero int divisor raises
  /// SIGFPE.
  CDenseVector<T>& operator*=(const T& factor) override;
  CDenseVector<T>& operator/=(const T& divisor) override;
  int dimension() const override { return dim; }
  /// \return the number of elements unequal to 0.
  int getNumNonZero() const override;
  /// \return true when an element at index 1 or later is NaN; element 0 is
  ///         not examined.
  bool isNaN() const override;
  /// int sums wrap; the int root is truncated toward zero.
  T euclideanLength(bool squared) const override;

  /// requires: 0 <= i; i >= dimension() aborts with an ML_LS_CHK report
  /// at detail::kDenseConstIndexCheck.
  const T& operator[](int i) const override {
    if (static_cast<unsigned>(i) < static_cast<unsigned>(dim)) return data[i];
    ML_LS_CHK_AT(i, dim, vecml::detail::kDenseConstIndexCheck);
    return vecml::detail::zeroElement<T>();
  }
  /// requires: 0 <= i; i >= dimension() aborts with an ML_LS_CHK report
  /// at detail::kDenseIndexCheck.
  T& operator[](int i) {
    if (static_cast<unsigned>(i) < static_cast<unsigned>(dim)) return data[i];
    ML_LS_CHK_AT(i, dim, vecml::detail::kDenseIndexCheck);
    return vecml::detail::discardedElement<T>();
  }
  /// Unchecked read. requires: 0 <= i < dimension() (otherwise 0).
  T getElement(int i) const override;
  /// Unchecked write. requires: 0 <= i < dimension() (otherwise dropped).
  void setElement(int i, T value);

  /// Raw element array, owned by the vector (a plain `new T[]` array, or null
  /// for dimension 0).
  T* _data() const { return data; }
  /// Stores \p values as the element array without freeing the old one: the
  /// caller now owns the old array and releases it with `delete[]`; the
  /// vector releases \p values with `delete[]`.
  /// requires: \p values holds dimension() elements and comes from
  /// `new T[]` or NEWARRAY<T> (or is null when dimension() is 0).
  void _setData(T* values) { data = values; }
  bool isSparse() const { return false; }
  T* begin() { return data; }
  T* end() { return data + dim; }
  const T* begin() const { return data; }
  const T* end() const { return data + dim; }

  /// Replaces the contents by \p source (of any kind), with its dimension.
  void copy(const CVector<T>& source);
  void zeros();
  void ones();
  /// Keeps the first min(n, dim) elements and pads with zeros.
  void resize(int n);
  /// Appends the elements of \p other.
  void cat(const CDenseVector<T>& other);

  CDenseVector<T>& operator+=(T value);
  CDenseVector<T>& operator-=(T value);
  CDenseVector<T>& operator+=(const CVector<T>& other);
  CDenseVector<T>& operator-=(const CVector<T>& other);
  CDenseVector<T>& operator*=(const CVector<T>& other);
  CDenseVector<T>& operator/=(const CVector<T>& other);

  CDenseVector<T> squareroot() const;
  /// Raises element i to the power i (its own index); \p p is ignored.
  CDenseVector<T> power(int p) const;
  CDenseVector<T> maxElements(const CDenseVector<T>& other) const;
  CDenseVector<T> minElements(const CDenseVector<T>& other) const;
  /// \return elements start .. start+length-1; positions outside the vector
  ///         give 0, a negative length an empty vector.
  CDenseVector<T> subVector(int start, int length) const;
  /// Rotates left by \p k (taken modulo dimension()).
  CDenseVector<T> shiftLeft(int k) const;
  /// Rotates right by \p k (taken modulo dimension()).
  CDenseVector<T> shiftRight(int k) const;
  /// Maps element i linearly from [a[i], b[i]] onto [c[i], d[i]]:
  /// x*(d-c)/(b-a) + (c*b - d*a)/(b-a).
  CDenseVector<T> scale(const CDenseVector<T>& a, const CDenseVector<T>& b,
                        const CDenseVector<T>& c,
                        const CDenseVector<T>& d) const;

  /// int sums wrap.
  T sumElements() const;
  /// Sum / dim: NaN for an empty float vector, integer division for int
  /// (SIGFPE when empty).
  T mean() const;
  /// Population standard deviation (divisor dim).
  T stdDev() const;
  /// requires: dimension() >= 1 (an empty vector gives 0).
  T minElement() const;
  /// requires: dimension() >= 1 (an empty vector gives 0).
  T maxElement() const;
  /// \return the index of the first smallest element (0 when dim < 2).
  int minElementIndex() const;
  /// \return the index of the first largest element (0 when dim < 2).
  int maxElementIndex() const;
  /// Sum of absolute differences over this vector's dimension.
  T manhattenDistance(const CDenseVector<T>& other) const;
  /// Largest absolute difference over this vector's dimension (0 if empty).
  T maximumDistance(const CDenseVector<T>& other) const;

  /// \return a matrix of dimension() rows and 1 column holding the
  ///         elements (defined with CMatrix).
  CMatrix<T> asMatrix() const;

  /// Writes this vector as one MAT record of dimension() rows and 1 column
  /// (defined with CMatrix), in this library's own layout with 8-byte
  /// header fields, which only this library reads back; to exchange vectors
  /// with other numerical tools use exportToStandardMatFile().
  /// \return false when the file cannot be opened.
  bool exportToMatFile(const char* fileName, const char* variableName,
                       bool append) const;
  /// Reads the first MAT record named \p variableName, scanning as
  /// CMatrix::importFromMatFile does (defined with CMatrix). A record of
  /// n x 1 or 1 x n gives a vector of dimension n; elements the file lacks
  /// keep their old values (or 0 beyond the old dimension). A negative
  /// count, or elements that would take more memory than the whole file
  /// holds, give -3 and leave the vector unchanged.
  /// \return 0 when read, -1 when the file cannot be opened, -2 (vector
  ///         unchanged) when the record has more than one row and more than
  ///         one column, -3 when the variable is not found.
  int importFromMatFile(const char* fileName, const char* variableName);

  /// Writes this vector as one standard Level 4 MAT record of dimension()
  /// rows and 1 column, the layout other numerical tools exchange (see
  /// CMatrix::exportToStandardMatFile; defined with CMatrix).
  /// \return false when the file cannot be opened.
  bool exportToStandardMatFile(const char* fileName, const char* variableName,
                               bool append) const;
  /// Reads the first standard Level 4 MAT record named \p variableName as
  /// CMatrix::importFromStandardMatFile does (defined with CMatrix). A
  /// record of n x 1, 1 x n or, when empty, 0 x m or m x 0 gives a vector of
  /// its rows * columns elements. On any result but 0 the vector is
  /// unchanged.
  /// \return 0 when read, -1 when the file cannot be opened, -2 when the
  ///         record has more than one row and more than one column, -3 when
  ///         the variable is not found, -4 when the scan meets a record this
  ///         library cannot read.
  int importFromStandardMatFile(const char* fileName, const char* variableName);

  /// Writes "Vector dim: <dim>: ", a line end, "[ " and each element
  /// followed by a blank to \p os, then " ]" and two line ends to std::cout.
  /// \return std::cout.
  std::ostream& dump(std::ostream& os) const;

 private:
  // Frees the element array and takes \p fresh (n zero-filled elements,
  // null when n < 1) with dimension max(n, 0).
  void adopt(T* fresh, int n);

  int dim;
  T* data;
};

/// Element-wise product over x's dimension.
template <typename T>
VECML_API CDenseVector<T> elementMul(const CDenseVector<T>& x,
                                     const CDenseVector<T>& y);

#define VECML_DENSE_VECTOR_INSTANTIATIONS(INSTANTIATE, T)        \
  INSTANTIATE class CDenseVector<T>;                             \
  INSTANTIATE CDenseVector<T> elementMul(const CDenseVector<T>&, \
                                         const CDenseVector<T>&);
VECML_FOR_ELEMENT_TYPES(VECML_DENSE_VECTOR_INSTANTIATIONS, extern template)

#endif
