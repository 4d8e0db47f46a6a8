// SPDX-License-Identifier: MIT
// Builders and measures shared by the linear-algebra tests.
#ifndef VECML_TESTS_MATRIX_LINEARALGEBRATESTSUPPORT_H
#define VECML_TESTS_MATRIX_LINEARALGEBRATESTSUPPORT_H

#include <algorithm>
#include <cmath>

#include "matrix/MatrixTestSupport.h"
#include "vecml/matrix/CMatrix.h"
#include "vecml/vector/CDenseVector.h"

/// The n x n identity.
template <typename T>
CMatrix<T> identity(int n) {
  CMatrix<T> m(n, n);
  m.setDiagonal(T(1));
  return m;
}

/// The square matrix with \p values on its diagonal.
template <typename T>
CMatrix<T> diagonal(const CDenseVector<T>& values) {
  CMatrix<T> m(values.dimension(), values.dimension());
  for (int k = 0; k < values.dimension(); ++k) m(k, k) = values[k];
  return m;
}

/// Largest magnitude of an element (0 for an empty matrix).
template <typename T>
T maxAbs(const CMatrix<T>& m) {
  T largest = 0;
  for (int k = 0; k < m.rows() * m.columns(); ++k)
    largest = std::max(largest, std::fabs(m._data()[k]));
  return largest;
}

#endif
