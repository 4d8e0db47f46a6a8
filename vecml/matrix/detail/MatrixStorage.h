// SPDX-License-Identifier: MIT
// Storage arithmetic shared by the matrix's source files: element counts
// of a shape and the element-wise combination of two arrays.
#ifndef VECML_MATRIX_DETAIL_MATRIXSTORAGE_H
#define VECML_MATRIX_DETAIL_MATRIXSTORAGE_H

#include <algorithm>
#include <climits>
#include <cstdint>
#include <new>

#include "vecml/matrix/CMatrix.h"

namespace vecml::detail {

inline std::int64_t shapeProduct(int rows, int columns) {
  return static_cast<std::int64_t>(rows) * columns;
}

// Elements a shape stores: the product when positive, else 0.
// \throw std::bad_array_new_length when the product exceeds int.
inline int elementCount(int rows, int columns) {
  const std::int64_t product = shapeProduct(rows, columns);
  if (product > INT_MAX) throw std::bad_array_new_length();
  return product > 0 ? static_cast<int>(product) : 0;
}

template <typename T>
int storedCount(const CMatrix<T>& m) {
  return elementCount(m.rows(), m.columns());
}

// out[k] = op(left[k], right[k]) over count elements, where right holds
// only rightCount of them and the missing ones count as 0.
template <typename T, typename Op>
void combine(T* out, const T* left, int count, const T* right, int rightCount,
             Op op) {
  const int common = std::min(count, rightCount);
  for (int k = 0; k < common; ++k) out[k] = op(left[k], right[k]);
  for (int k = common; k < count; ++k) out[k] = op(left[k], T(0));
}

}  // namespace vecml::detail

#endif
