// SPDX-License-Identifier: MIT
// Datasets and comparisons shared by the tests of the learned projections.
#ifndef VECML_TESTS_LEARNING_PROJECTIONTESTSUPPORT_H
#define VECML_TESTS_LEARNING_PROJECTIONTESTSUPPORT_H

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/DatasetBuilder.h"
#include "vecml/dataset/CDataset.h"
#include "vecml/matrix/CMatrix.h"
#include "vecml/vector/CDenseVector.h"

namespace test_support {

// Inputs with one-element outputs, the labels.
template <typename T>
CDataset<T> labelled(const Rows<T>& inputs, const std::vector<T>& labels) {
  Rows<T> outputs;
  for (T label : labels) outputs.push_back({label});
  return denseDataset(inputs, outputs);
}

// Inputs with empty outputs.
template <typename T>
CDataset<T> unlabelled(const Rows<T>& inputs) {
  return denseDataset(inputs, Rows<T>(inputs.size()));
}

template <typename T>
std::vector<T> elementsOf(const CDenseVector<T>& v) {
  return std::vector<T>(v._data(), v._data() + v.dimension());
}

// Column-major elements, as stored.
template <typename T>
std::vector<T> elementsOf(const CMatrix<T>& m) {
  return std::vector<T>(m._data(), m._data() + m.rows() * m.columns());
}

// Expects \p actual to hold \p expected within \p tolerance per element.
template <typename T>
void expectNear(const std::vector<T>& actual,
                const std::vector<double>& expected, double tolerance) {
  ASSERT_EQ(actual.size(), expected.size());
  for (std::size_t e = 0; e < expected.size(); ++e)
    EXPECT_NEAR(actual[e], expected[e], tolerance) << "element " << e;
}

}  // namespace test_support

#endif
