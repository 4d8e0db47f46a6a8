// SPDX-License-Identifier: MIT
// Builders and inspectors shared by the sparse vector and vector operation
// tests.
#ifndef VECML_TESTS_VECTOR_SPARSETESTHELPERS_H
#define VECML_TESTS_VECTOR_SPARSETESTHELPERS_H

#include <cstddef>
#include <utility>
#include <vector>

#include "vecml/vector/CDenseVector.h"
#include "vecml/vector/CSparseVector.h"
#include "vecml/vector/CVector.h"

template <typename T>
using Entries = std::vector<std::pair<int, T>>;

/// A sparse vector of dimension \p dim storing \p entries exactly as given
/// (in the given order, stored zeros included).
template <typename T>
CSparseVector<T> makeSparse(int dim, const Entries<T>& entries) {
  CSparseVector<T> v(dim, static_cast<int>(entries.size()));
  for (std::size_t i = 0; i < entries.size(); ++i)
    v.setElement(static_cast<int>(i), entries[i]);
  return v;
}

/// A sparse vector storing the non-zero elements of \p values.
template <typename T>
CSparseVector<T> sparseOf(const std::vector<T>& values) {
  Entries<T> entries;
  for (std::size_t i = 0; i < values.size(); ++i)
    if (values[i] != T(0)) entries.emplace_back(static_cast<int>(i), values[i]);
  return makeSparse(static_cast<int>(values.size()), entries);
}

template <typename T>
CDenseVector<T> denseOf(const std::vector<T>& values) {
  return CDenseVector<T>(values);
}

/// The stored entries of \p v, in stored order.
template <typename T>
Entries<T> entriesOf(const CSparseVector<T>& v) {
  return Entries<T>(v.begin(), v.end());
}

/// Every element of \p v, read with getElement over its dimension.
template <typename T>
std::vector<T> valuesOf(const CVector<T>& v) {
  std::vector<T> values;
  for (int i = 0; i < v.dimension(); ++i) values.push_back(v.getElement(i));
  return values;
}

#endif
