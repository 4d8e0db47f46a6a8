// SPDX-License-Identifier: MIT
// The binary reader of CMatrix<float>::serialize on arbitrary bytes.
#include "FuzzSupport.h"
#include "vecml/matrix/CMatrix.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  CMatrix<float> matrix(2, 2, true);
  vecml_fuzz::readFileStream(
      "matrix_serialize", data, size,
      [&](std::fstream& stream) { matrix.serialize(stream, IO_READ); });
  // Every stored element must be backed by storage. (A shape such as
  // 2^31 - 1 rows by 0 columns is valid, so nothing walks the rows.)
  matrix.frobeniusNorm();
  return 0;
}
