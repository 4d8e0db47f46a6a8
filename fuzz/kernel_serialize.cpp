// SPDX-License-Identifier: MIT
// The binary reader of CPolynomialKernel<double>::serialize on arbitrary
// bytes, then one evaluation with whatever parameters it read.
#include "FuzzSupport.h"
#include "vecml/kernel/CKernel.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  CPolynomialKernel<double> kernel(1.0, 2, 1.0);
  vecml_fuzz::readFileStream(
      "kernel_serialize", data, size,
      [&](std::fstream& stream) { kernel.serialize(stream, IO_READ); });
  kernel.execute(0.5);
  return 0;
}
