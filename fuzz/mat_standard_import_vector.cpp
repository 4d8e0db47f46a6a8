// SPDX-License-Identifier: MIT
// Imports the variable "x" from a standard Level 4 MAT file (4-byte header
// fields) of arbitrary bytes into a float vector. Any result but 0 must
// leave the vector as it was.
#include <cstdlib>

#include "FuzzSupport.h"
#include "vecml/vector/CDenseVector.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  const vecml_fuzz::ScratchFile file("mat_standard_import_vector", data, size);
  CDenseVector<float> vector(3, 1.0f);
  const int result = vector.importFromStandardMatFile(file.path(), "x");
  if (result != 0 && result != -2 && result != -3 && result != -4) std::abort();
  if (result != 0 && !(vector == CDenseVector<float>(3, 1.0f))) std::abort();
  // Every element of the new dimension must be backed by storage.
  vector.sumElements();
  return 0;
}
