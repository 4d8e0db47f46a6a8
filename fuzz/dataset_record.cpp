// SPDX-License-Identifier: MIT
// The trusting dataset record reader on arbitrary bytes. No cap is needed
// before the call: the reader makes items only as their values arrive and
// at most 65,536 items without values, so its memory follows the input.
#include <sstream>
#include <string>

#include "FuzzSupport.h"
#include "vecml/dataset/CDataset.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  std::istringstream in(std::string(reinterpret_cast<const char*>(data), size));
  CDataset<float> dataset;
  if (dataset.read(in)) {
    // Writing visits every element of every item just read.
    std::ostringstream out;
    dataset.write(out);
  }
  return 0;
}
