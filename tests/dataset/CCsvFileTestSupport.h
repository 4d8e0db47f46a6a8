// SPDX-License-Identifier: MIT
// Helpers shared by the delimited-text exchange tests.
#ifndef VECML_TESTS_DATASET_CCSVFILETESTSUPPORT_H
#define VECML_TESTS_DATASET_CCSVFILETESTSUPPORT_H

#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "vecml/dataset/CCsvFile.h"
#include "vecml/dataset/CDataset.h"
#include "vecml/vector/CVector.h"

namespace csv_file_test {

using FloatingTypes = testing::Types<float, double>;

const std::string kReadPrefix = "CCsvFile::read(): ";
const std::string kWritePrefix = "CCsvFile::write(): ";

// Reads `text` with `csv`; on failure the error is in `error`.
template <typename T>
bool readText(const CCsvFile& csv, const std::string& text, CDataset<T>& data,
              std::string& error) {
  std::istringstream in(text);
  return csv.read(in, data, error);
}

// The dataset read from `text`; fails the test when the read fails.
template <typename T>
CDataset<T> readOk(const CCsvFile& csv, const std::string& text) {
  CDataset<T> data;
  std::string error;
  EXPECT_TRUE(readText(csv, text, data, error)) << error;
  return data;
}

// The error of reading `text`; empty when the read succeeds.
template <typename T>
std::string readError(const CCsvFile& csv, const std::string& text) {
  CDataset<T> data;
  std::string error;
  return readText(csv, text, data, error) ? "" : error;
}

template <typename T>
std::string writeText(const CCsvFile& csv, const CDataset<T>& data) {
  std::ostringstream out;
  std::string error;
  EXPECT_TRUE(csv.write(out, data, error)) << error;
  return out.str();
}

// What the C library makes of `text` for T: the reference for every value.
template <typename T>
T strtoT(const std::string& text) {
  if constexpr (std::is_same_v<T, float>)
    return std::strtof(text.c_str(), nullptr);
  return std::strtod(text.c_str(), nullptr);
}

template <typename T>
std::vector<T> elementsOf(const CVector<T>& vector) {
  std::vector<T> values;
  for (int j = 0; j < vector.dimension(); ++j)
    values.push_back(vector.getElement(j));
  return values;
}

template <typename T>
std::vector<T> inputOf(const CDataset<T>& data, int i) {
  return elementsOf(*data[i].inputVector());
}

template <typename T>
std::vector<T> outputOf(const CDataset<T>& data, int i) {
  return elementsOf(*data[i].outputVector());
}

}  // namespace csv_file_test

#endif
