// SPDX-License-Identifier: MIT
// Builders and comparisons shared by the matrix tests.
#ifndef VECML_TESTS_MATRIX_MATRIXTESTSUPPORT_H
#define VECML_TESTS_MATRIX_MATRIXTESTSUPPORT_H

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "vecml/core/detail/CpuLevel.h"
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

/// A matrix product's shape: c is m x n, a is m x depth, b has ldb >= depth
/// rows.
struct ProductShape {
  int m, depth, n, ldb;
};

/// A rows x columns matrix of elements uniform in [-1, 1), drawn in storage
/// order.
template <typename T>
CMatrix<T> randomMatrix(int rows, int columns, std::mt19937& random) {
  std::uniform_real_distribution<T> uniform(-1, 1);
  CMatrix<T> m(rows, columns, false);
  for (int k = 0; k < rows * columns; ++k) m._data()[k] = uniform(random);
  return m;
}

/// Every instruction-set path this processor (and VECML_CPU) allows; the
/// lower paths run whatever the processor, so one run compares them all.
inline std::vector<vecml::detail::CpuLevel> availableLevels() {
  using vecml::detail::CpuLevel;
  std::vector<CpuLevel> levels;
  for (CpuLevel level : {CpuLevel::baseline, CpuLevel::avx2, CpuLevel::avx512})
    if (level <= vecml::detail::cpuLevel()) levels.push_back(level);
  return levels;
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
