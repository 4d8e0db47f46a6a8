// SPDX-License-Identifier: MIT
// Dispatch of binary vector operations by the kinds of both operands.
#ifndef VECML_VECTOR_CVECTOROPERATIONS_H
#define VECML_VECTOR_CVECTOROPERATIONS_H

#include <exception>
#include <typeinfo>

#include "vecml/core/Export.h"
#include "vecml/core/Forward.h"
#include "vecml/core/detail/Instantiation.h"
#include "vecml/vector/CVector.h"

/// Thrown by a vector operation that has no kernel for the kinds of its
/// operands: copying a dense vector into a sparse one.
class VECML_API UnsupportedArgumentsException : public std::exception {
 public:
  /// \return "Unsupported argument types for this operation".
  const char* what() const noexcept override;
};

/// One table of four kernels per binary vector operation, indexed by the
/// kinds of the first and second operand:
/// 0 sparse/sparse, 1 sparse/dense, 2 dense/sparse, 3 dense/dense.
///
/// Kernels do not compare dimensions. A dense operand is walked over the
/// first (destination) operand's dimension; positions beyond a vector's
/// dimension, and stored sparse indices outside the destination, are a
/// broken precondition that stays memory-safe: such positions read as 0 and
/// writes to them are dropped.
///
/// Sparse destinations: a product or division keeps the destination's
/// entries (each stored value combined with the source's value at its
/// index); a copy replaces them with the source's entries inside the
/// destination's dimension. A sparse + sparse addition or subtraction clears
/// the result over the first operand's dimension only.
///
/// int arithmetic: sums and products wrap as two's complement; the
/// coCosine distance divides and roots in double and truncates toward zero;
/// adaptation truncates each float product toward zero before adding it.
///
/// Failures (the only exceptions a caller of the vector operations sees): a
/// copy from a dense into a sparse vector throws
/// UnsupportedArgumentsException; adapting a sparse destination throws
/// CException("Adaptation of sparse vectors is not supported."); operands
/// of any other class throw the const char* "bad operation requested".
template <typename T>
class VECML_API CVectorOperations {
 public:
  using ScalarFunction = T (*)(const CVector<T>& a, const CVector<T>& b);
  using InplaceFunction = void (*)(CVector<T>& dst, const CVector<T>& src);
  using CopyFunction = void (*)(CDenseVector<T>& result, const CVector<T>& a,
                                const CVector<T>& b);
  using InplaceFunctionArg = void (*)(CVector<T>& dst, const CVector<T>& src,
                                      float rate, float keep);

  /// \return the one instance for T, built on first use.
  static CVectorOperations<T>& getInstance();

  CVectorOperations(const CVectorOperations<T>&) = delete;
  CVectorOperations<T>& operator=(const CVectorOperations<T>&) = delete;

  /// \return the table index for the dynamic types of two operands.
  /// \throw const char* "bad operation requested" for other classes.
  int getIndex(const std::type_info& first, const std::type_info& second) const;

  ScalarFunction lookupScalarFunction(const ScalarFunction* table,
                                      const CVector<T>& a,
                                      const CVector<T>& b) const;
  InplaceFunction lookupInplaceFunction(const InplaceFunction* table,
                                        const CVector<T>& a,
                                        const CVector<T>& b) const;
  InplaceFunctionArg lookupInplaceFunctionArg(const InplaceFunctionArg* table,
                                              const CVector<T>& a,
                                              const CVector<T>& b) const;
  CopyFunction lookupCopyFunction(const CopyFunction* table,
                                  const CVector<T>& a,
                                  const CVector<T>& b) const;

  /// Sum of a[i] * b[i].
  ScalarFunction getScalarProduct(const CVector<T>& a,
                                  const CVector<T>& b) const;
  /// Sum of (b[i] - a[i])^2 (squared distance).
  ScalarFunction getEuclideanDistance(const CVector<T>& a,
                                      const CVector<T>& b) const;
  /// ab / sqrt(aa * bb) when aa * bb > 0, otherwise ab.
  ScalarFunction getCoCosineDistance(const CVector<T>& a,
                                     const CVector<T>& b) const;
  /// dst[i] = dst[i] * src[i].
  InplaceFunction getElementProduct(const CVector<T>& dst,
                                    const CVector<T>& src) const;
  /// dst[i] = dst[i] / src[i].
  InplaceFunction getElementDivision(const CVector<T>& dst,
                                     const CVector<T>& src) const;
  /// dst[i] = src[i] over the destination's dimension.
  InplaceFunction getElementCopy(const CVector<T>& dst,
                                 const CVector<T>& src) const;
  /// result[i] = a[i] + b[i].
  CopyFunction getElementAddition(const CVector<T>& a,
                                  const CVector<T>& b) const;
  /// result[i] = a[i] - b[i].
  CopyFunction getElementSubtraction(const CVector<T>& a,
                                     const CVector<T>& b) const;
  /// dst[i] = keep * dst[i] + rate * src[i] (dst[i] + rate * src[i] when
  /// keep is exactly 1).
  InplaceFunctionArg getElementAdapt(const CVector<T>& dst,
                                     const CVector<T>& src) const;

 private:
  CVectorOperations();

  ScalarFunction scalarProduct[4];
  ScalarFunction euclideanDistance[4];
  ScalarFunction coCosineDistance[4];
  InplaceFunction elementProduct[4];
  InplaceFunction elementDivision[4];
  InplaceFunction elementCopy[4];
  CopyFunction elementAddition[4];
  CopyFunction elementSubtraction[4];
  InplaceFunctionArg elementAdapt[4];
};

#define VECML_VECTOR_OPERATIONS_INSTANTIATIONS(INSTANTIATE, T) \
  INSTANTIATE class CVectorOperations<T>;
VECML_FOR_ELEMENT_TYPES(VECML_VECTOR_OPERATIONS_INSTANTIATIONS, extern template)

#endif
