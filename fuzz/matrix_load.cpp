// SPDX-License-Identifier: MIT
// Loads a matrix text file of arbitrary bytes, plainly and checked. A
// checked load that fails must give a message and leave the matrix as it
// was.
#include <cstdlib>
#include <string>

#include "FuzzSupport.h"
#include "vecml/matrix/CMatrix.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  const vecml_fuzz::ScratchFile file("matrix_load", data, size);
  CMatrix<double> matrix(2, 2, true);
  load(matrix, file.path());
  // Every stored element must be backed by storage, and the shape by the
  // file, so walking the rows stays cheap.
  matrix.frobeniusNorm();
  matrix.getDiagonal();

  CMatrix<double> checked(1, 1);
  checked.setElement(0, 0, 1.0);
  std::string error;
  if (!load(checked, file.path(), error) &&
      (error.empty() || checked.rows() != 1 || checked.columns() != 1 ||
       checked.getElement(0, 0) != 1.0))
    std::abort();
  return 0;
}
