// SPDX-License-Identifier: MIT
// Reading records of the standard Level 4 MAT layout, the one other
// numerical tools write: five 4-byte header fields (type, rows, columns,
// imaginary flag, name length), the zero-terminated name, the real part
// column by column and, when the flag is set, the imaginary part. The type
// is the decimal number MOPT: M byte order (0 little-endian IEEE), O always
// 0, P element precision, T class (0 full numeric, 1 text, 2 sparse).
// Writing shares writeMatRecord() with the library's own records.
#ifndef VECML_MATRIX_DETAIL_STANDARDMATFILERECORD_H
#define VECML_MATRIX_DETAIL_STANDARDMATFILERECORD_H

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <string>

#include "vecml/core/detail/Arithmetic.h"
#include "vecml/matrix/detail/MatFileRecord.h"

namespace vecml::detail {

// Import results shared with the library's own records.
constexpr int kMatFound = 0;
constexpr int kMatCannotOpen = -1;
// Vectors only: the record has more than one row and more than one column.
constexpr int kMatNotAVector = -2;
constexpr int kMatNotFound = -3;
// The file holds a record this library cannot read: complex, text or sparse
// data under the requested name, a type other than little-endian numeric
// data, impossible sizes, or a record that ends before its data do.
constexpr int kMatUnreadable = -4;

/// Bytes of one element of precision \p precision (the P of MOPT: 0 double,
/// 1 single, 2 int32, 3 int16, 4 uint16, 5 uint8), 0 when unknown.
inline std::int64_t standardMatElementBytes(std::int32_t precision) {
  constexpr std::int64_t bytes[] = {8, 4, 4, 2, 2, 1};
  return precision >= 0 && precision < 6 ? bytes[precision] : 0;
}

/// Shape and element precision of the record findStandardMatRecord() found.
struct StandardMatShape {
  std::int32_t rows = 0;
  std::int32_t columns = 0;
  std::int32_t precision = 0;
};

// The five header fields, in file order.
struct StandardMatHeader {
  std::int32_t type, rows, columns, imaginary, nameLength;
};
static_assert(sizeof(StandardMatHeader) == 20, "read as one block");

// Bytes of the real and imaginary data of \p header, or -1 when the header
// is not one of little-endian data of a known precision and class, or its
// sizes are negative or overflow.
inline std::int64_t standardMatDataBytes(const StandardMatHeader& header) {
  // With M and O zero, a valid type is 10 * P + T, T at most 2.
  const std::int64_t elementBytes = standardMatElementBytes(header.type / 10);
  const bool known = header.type >= 0 && header.type % 10 <= 2 &&
                     elementBytes > 0 && header.rows >= 0 &&
                     header.columns >= 0 &&
                     (header.imaginary == 0 || header.imaginary == 1);
  std::int64_t bytes = 0;
  if (!known ||
      __builtin_mul_overflow(std::int64_t(header.rows) * header.columns,
                             elementBytes * (1 + header.imaginary), &bytes))
    return -1;
  return bytes;
}

/// Scans \p file from its start for the first record named \p variableName
/// (compared up to the record name's first zero byte), skipping the data of
/// other records, imaginary parts included. Every record is checked in full
/// against the file's length before it is skipped or matched, so nothing is
/// read or sought beyond the end.
/// \return kMatFound with \p file at the record's data and \p shape filled,
///         kMatNotFound when the file ends cleanly between records, or
///         kMatUnreadable.
inline int findStandardMatRecord(std::ifstream& file, const char* variableName,
                                 StandardMatShape& shape) {
  const std::int64_t fileLength = matFileLength(file);
  for (;;) {
    StandardMatHeader header{};
    file.read(reinterpret_cast<char*>(&header), sizeof header);
    if (file.gcount() == 0) return kMatNotFound;
    if (!file) return kMatUnreadable;
    const std::int64_t dataBytes = standardMatDataBytes(header);
    const std::int64_t left = fileLength - std::int64_t(file.tellg());
    if (dataBytes < 0 || header.nameLength < 1 ||
        header.nameLength > left - dataBytes)
      return kMatUnreadable;
    std::string name(static_cast<std::size_t>(header.nameLength), '\0');
    if (!file.read(&name[0], header.nameLength) || name.back() != '\0')
      return kMatUnreadable;
    if (std::strcmp(name.c_str(), variableName) == 0) {
      if (header.type % 10 != 0 || header.imaginary != 0) return kMatUnreadable;
      shape = {header.rows, header.columns, header.type / 10};
      return kMatFound;
    }
    file.seekg(dataBytes, std::ios::cur);
  }
}

// One stored element of precision \p precision at \p raw, as a double
// (which holds every stored value exactly).
inline double standardMatElement(const char* raw, std::int32_t precision) {
  const auto as = [raw](auto value) {
    std::memcpy(&value, raw, sizeof value);
    return static_cast<double>(value);
  };
  switch (precision) {
    case 0:
      return as(double());
    case 1:
      return as(float());
    case 2:
      return as(std::int32_t());
    case 3:
      return as(std::int16_t());
    case 4:
      return as(std::uint16_t());
    default:
      return as(std::uint8_t());
  }
}

/// Reads \p count elements of \p shape's precision into \p out, converting
/// each to T as the library's own import does (float rounds to nearest, int
/// truncates toward zero).
/// \return false when the file ends first (\p out is then partly written).
template <typename T>
bool readStandardMatElements(std::istream& file, const StandardMatShape& shape,
                             T* out, std::int64_t count) {
  const std::int64_t width = standardMatElementBytes(shape.precision);
  char chunk[kMatChunkElements * sizeof(double)];
  for (std::int64_t done = 0; done < count; done += kMatChunkElements) {
    const std::int64_t n = std::min(kMatChunkElements, count - done);
    if (!file.read(chunk, static_cast<std::streamsize>(n * width)))
      return false;
    for (std::int64_t k = 0; k < n; ++k)
      out[done + k] = convertElement<T>(
          standardMatElement(chunk + k * width, shape.precision));
  }
  return true;
}

/// Opens \p fileName, finds \p variableName and hands its shape and a
/// reader to \p commit, which builds the new object, fills it with
/// read(elements) (a bool(T*) reading rows * columns elements) and only
/// then replaces the caller's object, so that a failure leaves it unchanged.
/// \return kMatCannotOpen, the scan's failure, kMatUnreadable when the
///         elements exceed an int count or cannot be read, or commit's
///         result.
template <typename T, typename Commit>
int importStandardMatRecord(const char* fileName, const char* variableName,
                            Commit commit) {
  std::ifstream file(fileName, std::ios::binary);
  if (!file.is_open()) return kMatCannotOpen;
  StandardMatShape shape;
  const int found = findStandardMatRecord(file, variableName, shape);
  if (found != kMatFound) return found;
  const std::int64_t count = std::int64_t(shape.rows) * shape.columns;
  if (count > INT_MAX) return kMatUnreadable;
  return commit(shape.rows, shape.columns, [&](T* elements) {
    return readStandardMatElements(file, shape, elements, count);
  });
}

}  // namespace vecml::detail

#endif
