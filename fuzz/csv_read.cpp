// SPDX-License-Identifier: MIT
// Reads a CSV table of arbitrary bytes into a dataset. The first input
// byte chooses the options (header, delimiter, label and output columns)
// so that every reading path is reachable; the rest is the table. A
// rejection must give a message and leave the dataset as it was; an
// accepted table is written back as CSV.
#include <cstdlib>
#include <sstream>
#include <string>

#include "FuzzSupport.h"
#include "vecml/dataset/CCsvFile.h"

namespace {

CCsvFile optionsFrom(std::uint8_t bits) {
  static const char kDelimiters[] = {',', ';', '\t', ' '};
  CCsvFile csv;
  csv.setHeader((bits & 1) != 0);
  csv.setDelimiter(kDelimiters[(bits >> 1) & 3]);
  if ((bits & 8) != 0) csv.setLabelColumn((bits >> 6) & 3);
  if ((bits & 16) != 0) csv.setOutputColumns({0});
  if ((bits & 32) != 0) csv.setInputColumns({1, 0});
  return csv;
}

std::string record(const CDataset<float>& dataset) {
  std::ostringstream out;
  dataset.write(out);
  return out.str();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  if (size == 0) return 0;
  const CCsvFile csv = optionsFrom(data[0]);
  std::istringstream in(
      std::string(reinterpret_cast<const char*>(data) + 1, size - 1));
  CDataset<float> dataset;
  dataset.appendItem(CDatasetItem<float>(CDenseVector<float>(2, 1.0f),
                                         CDenseVector<float>(1, 2.0f)));
  const std::string before = record(dataset);
  std::string error;
  if (!csv.read(in, dataset, error)) {
    if (error.empty() || record(dataset) != before) std::abort();
    return 0;
  }
  std::ostringstream out;
  if (!csv.write(out, dataset, error)) std::abort();
  return 0;
}
