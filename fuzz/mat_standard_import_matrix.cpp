// SPDX-License-Identifier: MIT
// Imports the variable "x" from a standard Level 4 MAT file (4-byte header
// fields) of arbitrary bytes into a double matrix. Any result but 0 must
// leave the matrix as it was.
#include <cstdlib>

#include "FuzzSupport.h"
#include "vecml/matrix/CMatrix.h"

namespace {

bool same(const CMatrix<double>& a, const CMatrix<double>& b) {
  if (a.rows() != b.rows() || a.columns() != b.columns()) return false;
  for (int i = 0; i < a.rows(); ++i)
    for (int j = 0; j < a.columns(); ++j)
      if (a.getElement(i, j) != b.getElement(i, j)) return false;
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  const vecml_fuzz::ScratchFile file("mat_standard_import_matrix", data, size);
  CMatrix<double> matrix(2, 3, true);
  matrix.setElement(1, 2, 5.0);
  const CMatrix<double> before(matrix);
  const int result = matrix.importFromStandardMatFile(file.path(), "x");
  if (result != 0 && result != -3 && result != -4) std::abort();
  if (result != 0 && !same(matrix, before)) std::abort();
  // Every stored element must be backed by storage.
  matrix.frobeniusNorm();
  return 0;
}
