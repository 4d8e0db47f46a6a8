// SPDX-License-Identifier: MIT
// Imports the variable "x" from a MAT file of arbitrary bytes into a
// float vector.
#include <cstdlib>

#include "FuzzSupport.h"
#include "vecml/vector/CDenseVector.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  const vecml_fuzz::ScratchFile file("mat_import_vector", data, size);
  CDenseVector<float> vector(3, 1.0f);
  const int result = vector.importFromMatFile(file.path(), "x");
  if (result != 0 && result != -2 && result != -3) std::abort();
  // Every element of the new dimension must be backed by storage.
  vector.sumElements();
  return 0;
}
