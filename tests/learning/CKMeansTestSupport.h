// SPDX-License-Identifier: MIT
// Shared helpers of the k-means tests: datasets from rows and the centres
// of an algorithm as rows.
#ifndef VECML_TESTS_LEARNING_CKMEANSTESTSUPPORT_H
#define VECML_TESTS_LEARNING_CKMEANSTESTSUPPORT_H

#include <random>
#include <vector>

#include "support/DatasetBuilder.h"
#include "vecml/learning/CKMeans.h"

// A dataset with the given inputs and one-element zero outputs.
template <typename T>
CDataset<T> datasetOf(const test_support::Rows<T>& inputs) {
  return test_support::denseDataset<T>(
      inputs, test_support::Rows<T>(inputs.size(), std::vector<T>{T(0)}));
}

// `count` rows of `dimension` elements uniform in [-1, 1), from `seed`.
template <typename T>
test_support::Rows<T> randomRows(int count, int dimension, unsigned seed) {
  std::mt19937 engine(seed);
  std::uniform_real_distribution<double> uniform(-1.0, 1.0);
  test_support::Rows<T> rows(static_cast<std::size_t>(count),
                             std::vector<T>(std::size_t(dimension)));
  for (auto& row : rows)
    for (T& element : row) element = T(uniform(engine));
  return rows;
}

// The centres of `kmeans`, in order.
template <typename T>
test_support::Rows<T> centresOf(const CKMeans<T>& kmeans) {
  test_support::Rows<T> rows;
  const CDataset<T>& centres = kmeans.referenceVectors();
  for (int c = 0; c < centres.items(); ++c)
    rows.push_back(centres[c].inputVector()->toSTL());
  return rows;
}

#endif
