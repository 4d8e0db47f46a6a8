// SPDX-License-Identifier: MIT
// The matrix's free arithmetic: element-wise and scalar operators, the
// matrix and matrix-by-vector products and the outer product of vectors.
#include <algorithm>
#include <cstddef>
#include <vector>

#include "vecml/core/detail/Arithmetic.h"
#include "vecml/matrix/CMatrix.h"
#include "vecml/matrix/detail/MatrixProduct.h"
#include "vecml/matrix/detail/MatrixStorage.h"
#include "vecml/vector/CDenseVector.h"

using vecml::detail::combine;
using vecml::detail::divide;
using vecml::detail::multiply;
using vecml::detail::shapeProduct;
using vecml::detail::storedCount;

namespace {

// c = a * b, where b has bRows rows (column stride bRows) and n columns;
// rows of b from bRows up to a.columns() count as 0. c is zero-filled.
template <typename T>
void multiplyInto(const CMatrix<T>& a, const T* b, int bRows, int n, T* c) {
  const int depth = a.columns();
  if (a.rows() <= 0 || n <= 0 || depth <= 0) return;
  std::vector<T> padded;
  if (bRows < depth) {
    // A b without rows (bRows <= 0) has no storage to copy from.
    const int kept = std::max(bRows, 0);
    padded.assign(static_cast<std::size_t>(shapeProduct(depth, n)), T(0));
    for (int j = 0; j < n; ++j)
      std::copy(b + shapeProduct(kept, j), b + shapeProduct(kept, j + 1),
                padded.begin() + shapeProduct(depth, j));
    b = padded.data();
    bRows = depth;
  }
  vecml::detail::multiplyColumnMajor(vecml::detail::ProductOperands<T>{
      a._data(), b, c, a.rows(), depth, n, bRows});
}

}  // namespace

template <typename T>
CMatrix<T> operator+(const CMatrix<T>& a, const CMatrix<T>& b) {
  CMatrix<T> sum(a);
  sum += b;
  return sum;
}

template <typename T>
CMatrix<T> operator-(const CMatrix<T>& a, const CMatrix<T>& b) {
  CMatrix<T> difference(a);
  difference -= b;
  return difference;
}

template <typename T>
CMatrix<T> elementMul(const CMatrix<T>& a, const CMatrix<T>& b) {
  CMatrix<T> product(a);
  combine(product._data(), a._data(), storedCount(a), b._data(), storedCount(b),
          multiply<T>);
  return product;
}

template <typename T>
CMatrix<T> elementDiv(const CMatrix<T>& a, const CMatrix<T>& b) {
  CMatrix<T> quotient(a);
  combine(quotient._data(), a._data(), storedCount(a), b._data(),
          storedCount(b), divide<T>);
  return quotient;
}

template <typename T>
CMatrix<T> operator+(const CMatrix<T>& a, const T& value) {
  CMatrix<T> result(a);
  result += value;
  return result;
}

template <typename T>
CMatrix<T> operator-(const CMatrix<T>& a, const T& value) {
  CMatrix<T> result(a);
  result -= value;
  return result;
}

template <typename T>
CMatrix<T> operator*(const CMatrix<T>& a, const T& factor) {
  CMatrix<T> result(a);
  result *= factor;
  return result;
}

template <typename T>
CMatrix<T> operator/(const CMatrix<T>& a, const T& divisor) {
  CMatrix<T> result(a);
  result /= divisor;
  return result;
}

template <typename T>
CMatrix<T> operator*(const CMatrix<T>& a, const CMatrix<T>& b) {
  CMatrix<T> product(a.rows(), b.columns());
  multiplyInto(a, b._data(), b.rows(), b.columns(), product._data());
  return product;
}

template <typename T>
CDenseVector<T> operator*(const CMatrix<T>& a, const CVector<T>& x) {
  const CDenseVector<T> dense(x);
  CDenseVector<T> y(a.rows());
  multiplyInto(a, dense._data(), dense.dimension(), 1, y._data());
  return y;
}

template <typename T>
CMatrix<T> outerProduct(const CDenseVector<T>& a, const CDenseVector<T>& b) {
  const std::vector<T> left = a.toSTL();
  CMatrix<T> product(a.dimension(), b.dimension());
  for (int j = 0; j < b.dimension(); ++j) {
    const T bj = b.getElement(j);
    T* column = product._data() + shapeProduct(a.dimension(), j);
    for (std::size_t i = 0; i < left.size(); ++i) column[i] = left[i] * bj;
  }
  return product;
}

VECML_FOR_FLOATING_TYPES(VECML_MATRIX_OPERATOR_INSTANTIATIONS, template)
