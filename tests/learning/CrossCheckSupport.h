// SPDX-License-Identifier: MIT
// Exchange with the reference scripts of the cross-checks: the shipped data
// sets, their items as CSV text, and the numbers the scripts print.
#ifndef VECML_TESTS_LEARNING_CROSSCHECKSUPPORT_H
#define VECML_TESTS_LEARNING_CROSSCHECKSUPPORT_H

#include <gtest/gtest.h>

#include <cstdlib>
#include <iomanip>
#include <sstream>
#include <string>
#include <vector>

#include "support/TempFile.h"
#include "vecml/dataset/CDataset.h"

namespace test_support {

// The shipped data set `name` (a file of data/).
template <typename T>
CDataset<T> shippedDataset(const std::string& name) {
  CDataset<T> data;
  std::string error;
  const std::string path = std::string(VECML_DATA_DIR) + "/" + name;
  EXPECT_TRUE(data.read(path.c_str(), error)) << error;
  return data;
}

// Writes one CSV line per item: its inputs, then output element 0, each to
// the last bit.
template <typename T>
void writeItemsAsCsv(const CDataset<T>& data, const TempFile& file) {
  std::ostringstream text;
  text << std::setprecision(17);
  for (int n = 0; n < data.items(); ++n) {
    const CVector<T>& input = *data[n].inputVector();
    for (int i = 0; i < input.dimension(); ++i) text << input[i] << ',';
    text << (*data[n].outputVector())[0] << '\n';
  }
  file.write(text.str());
}

// The lines of a script's output, each split into numbers (float.hex text
// or decimal).
inline std::vector<std::vector<double>> numberLines(const std::string& text) {
  std::vector<std::vector<double>> lines;
  std::istringstream in(text);
  std::string line, word;
  while (std::getline(in, line)) {
    std::istringstream words(line);
    lines.emplace_back();
    while (words >> word)
      lines.back().push_back(std::strtod(word.c_str(), nullptr));
  }
  return lines;
}

}  // namespace test_support

#endif
