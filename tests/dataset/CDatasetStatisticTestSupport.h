// SPDX-License-Identifier: MIT
// Datasets, console capture and reference helpers for the statistic tests.
#ifndef VECML_TESTS_DATASET_CDATASETSTATISTICTESTSUPPORT_H
#define VECML_TESTS_DATASET_CDATASETSTATISTICTESTSUPPORT_H

#include <gtest/gtest.h>

#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "support/CaptureOutput.h"
#include "support/DatasetBuilder.h"
#include "vecml/dataset/CDataset.h"
#include "vecml/dataset/CDatasetItem.h"
#include "vecml/matrix/CMatrix.h"
#include "vecml/vector/CDenseVector.h"

namespace statistic_test {

using test_support::denseDataset;
using test_support::Rows;

// Items with one-element inputs and the one-element output 0.
template <typename T>
CDataset<T> scalarDataset(const std::vector<T>& values) {
  Rows<T> inputs;
  for (T value : values) inputs.push_back({value});
  return denseDataset(inputs, Rows<T>(values.size(), {T(0)}));
}

// `n` rows of `d` values drawn uniformly from [low, high) with `seed`.
template <typename T>
Rows<T> randomRows(int n, int d, unsigned seed, double low, double high) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> uniform(low, high);
  Rows<T> rows(n, std::vector<T>(d));
  for (auto& row : rows)
    for (T& value : row) value = static_cast<T>(uniform(random));
  return rows;
}

// `n` one-element outputs cycling through the labels 0 .. labels - 1.
template <typename T>
Rows<T> cyclicLabels(int n, int labels) {
  Rows<T> outputs;
  for (int i = 0; i < n; ++i) outputs.push_back({static_cast<T>(i % labels)});
  return outputs;
}

// What `callable` writes to standard output through std::cout and printf.
template <typename Callable>
std::string captureConsole(Callable&& callable) {
  return captureStdout([&] {
    callable();
    std::fflush(stdout);
  });
}

template <typename T>
using Square = std::vector<std::vector<T>>;

// The elements of `m`, row by row.
template <typename T>
Square<T> entries(const CMatrix<T>& m) {
  Square<T> result(m.rows(), std::vector<T>(m.columns()));
  for (int i = 0; i < m.rows(); ++i)
    for (int j = 0; j < m.columns(); ++j) result[i][j] = m.getElement(i, j);
  return result;
}

// Tolerance for comparing with a double-precision reference.
template <typename T>
double tolerance() {
  return sizeof(T) == sizeof(float) ? 1e-4 : 1e-11;
}

}  // namespace statistic_test

#endif
