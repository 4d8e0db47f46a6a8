// SPDX-License-Identifier: MIT
// The validating dataset file reader on arbitrary file contents: gzip
// data (hostile or cut short) or plain bytes, which zlib passes through.
#include <cstdlib>
#include <string>

#include "FuzzSupport.h"
#include "vecml/dataset/CDataset.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  const vecml_fuzz::ScratchFile file("dataset_gzip_file", data, size);
  CDataset<double> dataset;
  std::string error;
  if (!dataset.read(file.path(), error) && error.empty())
    std::abort();  // a rejection always says why
  return 0;
}
