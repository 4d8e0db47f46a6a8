// SPDX-License-Identifier: MIT
// The binary reader of CDenseVector<double>::serialize on arbitrary bytes.
#include "FuzzSupport.h"
#include "vecml/vector/CDenseVector.h"

namespace {

// A record with an unknown element tag reads no elements but still makes
// a zero vector of the stored dimension, which the file cannot bound.
constexpr std::int32_t kMaxUnknownTagDimension = 1 << 20;

bool knownTag(std::int32_t tag) {
  return tag == DT_INT || tag == DT_FLOAT || tag == DT_DOUBLE;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  if (!knownTag(vecml_fuzz::int32At(data, size, 0)) &&
      vecml_fuzz::int32At(data, size, 4) > kMaxUnknownTagDimension)
    return 0;
  CDenseVector<double> vector(2, 1.0);
  vecml_fuzz::readFileStream(
      "dense_vector_serialize", data, size,
      [&](std::fstream& stream) { vector.serialize(stream, IO_READ); });
  // Every element of the new dimension must be backed by storage.
  vector.euclideanLength(true);
  return 0;
}
