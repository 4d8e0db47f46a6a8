// SPDX-License-Identifier: MIT
// The validating dataset record reader on arbitrary bytes. It must bound
// itself, so nothing is capped here. A record it accepts must survive a
// write and a second validating read unchanged.
#include <cstdlib>
#include <sstream>
#include <string>

#include "FuzzSupport.h"
#include "vecml/dataset/CDataset.h"

namespace {

std::string written(const CDataset<float>& dataset) {
  std::ostringstream out;
  dataset.write(out);
  return out.str();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  std::istringstream in(std::string(reinterpret_cast<const char*>(data), size));
  CDataset<float> dataset;
  std::string error;
  if (!dataset.read(in, error)) {
    if (error.empty()) std::abort();  // a rejection always says why
    return 0;
  }
  const std::string record = written(dataset);
  std::istringstream again(record);
  CDataset<float> copy;
  if (!copy.read(again, error) || written(copy) != record) std::abort();
  return 0;
}
