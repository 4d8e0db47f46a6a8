// SPDX-License-Identifier: MIT
// Raw host-order binary values and element blocks on standard streams, with
// reads that never allocate more than the stream actually delivers.
#ifndef VECML_CORE_DETAIL_BINARYIO_H
#define VECML_CORE_DETAIL_BINARYIO_H

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <istream>
#include <ostream>
#include <vector>

#include "vecml/core/Types.h"
#include "vecml/core/detail/Arithmetic.h"

namespace vecml::detail {

template <typename V>
inline void writeValue(std::ostream& stream, const V& value) {
  stream.write(reinterpret_cast<const char*>(&value), sizeof value);
}

/// \return false (and \p value unchanged) when the stream runs short.
template <typename V>
inline bool readValue(std::istream& stream, V& value) {
  V read{};
  if (!stream.read(reinterpret_cast<char*>(&read), sizeof read)) return false;
  value = read;
  return true;
}

template <typename T>
inline void writeElements(std::ostream& stream, const T* values, int count) {
  if (count > 0)
    stream.write(reinterpret_cast<const char*>(values),
                 static_cast<std::streamsize>(sizeof(T)) * count);
}

/// Size in bytes of one stored element of type \p tag, 0 for unknown tags.
inline std::size_t storedElementSize(std::int32_t tag) {
  switch (tag) {
    case DT_INT:
      return sizeof(std::int32_t);
    case DT_FLOAT:
      return sizeof(float);
    case DT_DOUBLE:
      return sizeof(double);
    default:
      return 0;
  }
}

/// Reads \p count raw bytes in bounded chunks, so a count claimed by a file
/// costs memory only as far as the file really holds data.
/// \return false when the stream ends first.
inline bool readBytes(std::istream& stream, std::size_t count,
                      std::vector<char>& bytes) {
  constexpr std::size_t kChunk = std::size_t(1) << 20;
  bytes.clear();
  while (bytes.size() < count) {
    const std::size_t chunk = std::min(kChunk, count - bytes.size());
    const std::size_t done = bytes.size();
    bytes.resize(done + chunk);
    if (!stream.read(bytes.data() + done, static_cast<std::streamsize>(chunk)))
      return false;
  }
  return true;
}

/// Reads \p count elements stored with element-type \p tag and converts
/// each to T (floating point to int truncates toward zero).
/// requires: storedElementSize(tag) > 0 and count >= 0.
/// \return false when the stream ends first; \p out is then unspecified.
template <typename T>
bool readConvertedElements(std::istream& stream, std::int32_t tag, int count,
                           std::vector<T>& out) {
  const std::size_t width = storedElementSize(tag);
  std::vector<char> bytes;
  if (!readBytes(stream, width * static_cast<std::size_t>(count), bytes))
    return false;
  out.resize(static_cast<std::size_t>(count));
  for (std::size_t i = 0; i < out.size(); ++i) {
    const char* raw = bytes.data() + i * width;
    if (tag == DT_INT) {
      std::int32_t v;
      std::memcpy(&v, raw, sizeof v);
      out[i] = convertElement<T>(v);
    } else if (tag == DT_FLOAT) {
      float v;
      std::memcpy(&v, raw, sizeof v);
      out[i] = convertElement<T>(v);
    } else {
      double v;
      std::memcpy(&v, raw, sizeof v);
      out[i] = convertElement<T>(v);
    }
  }
  return true;
}

}  // namespace vecml::detail

#endif
