// SPDX-License-Identifier: MIT
// Builders and comparisons shared by the matrix tests.
#ifndef VECML_TESTS_MATRIX_MATRIXTESTSUPPORT_H
#define VECML_TESTS_MATRIX_MATRIXTESTSUPPORT_H

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "vecml/matrix/CMatrix.h"

using ElementTypes = testing::Types<int, float, double>;
using FloatingTypes = testing::Types<float, double>;

/// A rows x columns matrix from its elements listed row by row.
template <typename T>
CMatrix<T> fromRows(int rows, int columns, const std::vector<T>& values) {
  CMatrix<T> m(rows, columns, true);
  m.setData(values.data(), false);
  return m;
}

/// The elements of a matrix row by row.
template <typename T>
std::vector<T> rowsOf(const CMatrix<T>& m) {
  std::vector<T> values;
  for (int i = 0; i < m.rows(); ++i)
    for (int j = 0; j < m.columns(); ++j) values.push_back(m.getElement(i, j));
  return values;
}

template <typename T>
std::vector<T> elementsOf(const CDenseVector<T>& v) {
  return std::vector<T>(v.begin(), v.end());
}

/// Same shape and exactly the same elements.
template <typename T>
void expectMatrix(const CMatrix<T>& m, int rows, int columns,
                  const std::vector<T>& rowMajor) {
  ASSERT_EQ(m.rows(), rows);
  ASSERT_EQ(m.columns(), columns);
  EXPECT_EQ(rowsOf(m), rowMajor);
}

/// The raw bytes of a value, as the binary formats write it.
template <typename V>
std::string bytesOf(const V& value) {
  return std::string(reinterpret_cast<const char*>(&value), sizeof value);
}

#endif
