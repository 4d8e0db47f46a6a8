// SPDX-License-Identifier: MIT
// The binary reader of CDenseVector<double>::serialize on arbitrary bytes.
//
// A record with an unknown element tag reads no elements but still makes a
// zero vector of the stored dimension, which the input cannot bound (8
// bytes can ask for 16 GiB). fuzz/run.sh caps single allocations below the
// fuzzer's memory limit, so such a request fails the way it fails for any
// caller: NEWARRAY throws its text and the vector stays as it was.
#include <cstdlib>
#include <vector>

#include "FuzzSupport.h"
#include "vecml/vector/CDenseVector.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  CDenseVector<double> vector(2, 1.0);
  try {
    vecml_fuzz::readFileStream(
        "dense_vector_serialize", data, size,
        [&](std::fstream& stream) { vector.serialize(stream, IO_READ); });
  } catch (const char*) {
    if (vector.toSTL() != std::vector<double>{1.0, 1.0}) std::abort();
  }
  // Every element of the new dimension must be backed by storage.
  vector.euclideanLength(true);
  return 0;
}
