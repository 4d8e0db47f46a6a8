// SPDX-License-Identifier: MIT
// Loads a matrix text file of arbitrary bytes.
#include "FuzzSupport.h"
#include "vecml/matrix/CMatrix.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  const vecml_fuzz::ScratchFile file("matrix_load", data, size);
  CMatrix<double> matrix(2, 2, true);
  load(matrix, file.path());
  // Every stored element must be backed by storage. (A shape such as
  // 2^31 - 1 rows by 0 columns is valid, so nothing walks the rows.)
  matrix.frobeniusNorm();
  return 0;
}
