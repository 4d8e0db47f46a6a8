// SPDX-License-Identifier: MIT
// Imports the variable "x" from a MAT file of arbitrary bytes into a
// double matrix.
#include <cstdlib>

#include "FuzzSupport.h"
#include "vecml/matrix/CMatrix.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  const vecml_fuzz::ScratchFile file("mat_import_matrix", data, size);
  CMatrix<double> matrix(2, 2, true);
  const int result = matrix.importFromMatFile(file.path(), "x");
  if (result != 0 && result != -3) std::abort();  // the file does open
  // Every stored element must be backed by storage. (A shape such as
  // 2^31 - 1 rows by 0 columns is valid, so nothing walks the rows.)
  matrix.frobeniusNorm();
  return 0;
}
