// SPDX-License-Identifier: MIT
// Column-major matrix product whose every element is the sequential fused
// sum c(i, j) = fma(a(i, K-1), b(K-1, j), ... fma(a(i, 0), b(0, j), 0)).
//
// The fast paths pack panels of a and b, block over rows, columns and depth
// for the caches and keep a register tile of c in vector registers; a
// product with fewer than four columns runs as matrix x vector products
// over eight columns of a at a time. None of that reorders any element's
// own chain: depth blocks are taken in ascending order with the partial sum
// stored in c between them (a store and reload is exact), and a fused
// multiply-add rounds the same way in every instruction set. So every path
// gives the bits of the plain loop.
//
// Large products run on the library's threads (vecml/core/Threads.h), each
// thread computing whole columns of c, or whole rows when c has fewer than
// four columns; so every thread count gives the same bits too. The packing
// space (at most about 2.6 MB) is kept per thread from one product to the
// next and released when the thread ends.
#ifndef VECML_MATRIX_DETAIL_MATRIXPRODUCT_H
#define VECML_MATRIX_DETAIL_MATRIXPRODUCT_H

#include <cstddef>

#include "vecml/core/Export.h"
#include "vecml/core/detail/CpuLevel.h"
#include "vecml/core/detail/Instantiation.h"

namespace vecml::detail {

/// Operands of c = a * b: a is m x depth (column stride m), b is depth x n
/// with column stride ldb >= depth, c is m x n (column stride m) and
/// receives the result (its old contents are ignored).
template <typename T>
struct ProductOperands {
  const T* a;
  const T* b;
  T* c;
  std::ptrdiff_t m, depth, n, ldb;
};

/// c = a * b on the kernels of the lower of \p level and cpuLevel(), so a
/// caller can compare every path the processor supports; float and double.
/// requires: the arrays hold the shapes described in ProductOperands.
template <typename T>
VECML_API void multiplyColumnMajor(const ProductOperands<T>& p, CpuLevel level);

/// c = a * b on the kernels of cpuLevel().
template <typename T>
VECML_API void multiplyColumnMajor(const ProductOperands<T>& p);

#define VECML_MATRIX_PRODUCT_INSTANTIATIONS(INSTANTIATE, T)          \
  INSTANTIATE void multiplyColumnMajor<T>(const ProductOperands<T>&, \
                                          CpuLevel);                 \
  INSTANTIATE void multiplyColumnMajor<T>(const ProductOperands<T>&);
VECML_FOR_FLOATING_TYPES(VECML_MATRIX_PRODUCT_INSTANTIATIONS, extern template)

}  // namespace vecml::detail

#endif
