// SPDX-License-Identifier: MIT
// Records of MAT files: five header fields (type, rows, columns, imaginary
// flag, name length), the zero-terminated name, then rows * columns doubles
// column by column. Files are plain concatenations of such records. This
// file reads and writes the library's own records, whose header fields are
// 8 bytes wide; StandardMatFileRecord.h reads the standard layout with
// 4-byte fields.
#ifndef VECML_MATRIX_DETAIL_MATFILERECORD_H
#define VECML_MATRIX_DETAIL_MATFILERECORD_H

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <iostream>

#include "vecml/core/detail/Arithmetic.h"
#include "vecml/core/detail/BinaryIO.h"

namespace vecml::detail {

// Names up to 255 bytes plus the terminating zero fit the name buffer.
constexpr std::int32_t kMatNameBufferBytes = 256;
// Elements are converted through a buffer of this many doubles.
constexpr std::int64_t kMatChunkElements = 512;

/// Writes one record of \p count elements of \p elements under
/// \p variableName, appending to \p fileName or replacing it. The header
/// fields are written as \p Field: std::int64_t for this library's own
/// records, std::int32_t for the standard layout that other tools read.
/// requires: the name length and both counts fit in \p Field.
/// \return false when the file cannot be opened.
template <typename Field, typename T>
bool writeMatRecord(const char* fileName, const char* variableName, bool append,
                    Field rows, Field columns, const T* elements,
                    std::int64_t count) {
  std::ofstream file(
      fileName, std::ios::binary | (append ? std::ios::app : std::ios::trunc));
  if (!file.is_open()) return false;
  const Field nameLength = static_cast<Field>(std::strlen(variableName) + 1);
  // Type 0: little-endian IEEE doubles, full numeric matrix, no imaginary
  // part.
  for (const Field field : {Field(0), rows, columns, Field(0), nameLength})
    writeValue(file, field);
  file.write(variableName, nameLength);
  double chunk[kMatChunkElements];
  for (std::int64_t done = 0; done < count; done += kMatChunkElements) {
    const std::int64_t n = std::min(kMatChunkElements, count - done);
    std::copy(elements + done, elements + done + n, chunk);
    file.write(reinterpret_cast<const char*>(chunk),
               static_cast<std::streamsize>(n * sizeof(double)));
  }
  file.close();
  return true;
}

// Length of the whole file, or 0 when it cannot be told.
inline std::int64_t matFileLength(std::ifstream& file) {
  file.seekg(0, std::ios::end);
  const std::int64_t length = file.tellg();
  file.seekg(0, std::ios::beg);
  return std::max<std::int64_t>(length, 0);
}

// Moves \p bytes forward; a skip past the end leaves the stream at the end
// with eofbit set, as reading and discarding those bytes would.
inline void skipMatBytes(std::ifstream& file, std::int64_t bytes,
                         std::int64_t fileLength) {
  if (!file) return;
  const std::int64_t position = file.tellg();
  if (bytes > fileLength - position) {
    file.seekg(0, std::ios::end);
    file.setstate(std::ios::eofbit | std::ios::failbit);
  } else {
    file.seekg(bytes, std::ios::cur);
  }
}

// Bytes of the rows * columns doubles of a record: INT64_MAX when that does
// not fit in 64 bits, 0 or below when there are none.
inline std::int64_t matDataBytes(std::int64_t rows, std::int64_t columns) {
  std::int64_t count = 0, bytes = 0;
  if (__builtin_mul_overflow(rows, columns, &count) ||
      __builtin_mul_overflow(count, std::int64_t(sizeof(double)), &bytes))
    return INT64_MAX;
  return bytes;
}

// Skips the data of a record (nothing when it has none; a size beyond 64
// bits runs past the end).
inline void skipMatData(std::ifstream& file, std::int64_t rows,
                        std::int64_t columns, std::int64_t fileLength) {
  const std::int64_t bytes = matDataBytes(rows, columns);
  if (bytes > 0) skipMatBytes(file, bytes, fileLength);
}

// \return \p scanned plus the bytes of one record with a name of
// \p nameBytes: five 8-byte header fields, the name and its data
// (saturating at INT64_MAX). requires: scanned >= 0, nameBytes >= 0.
inline std::int64_t addMatRecordBytes(std::int64_t scanned,
                                      std::int32_t nameBytes, std::int64_t rows,
                                      std::int64_t columns) {
  std::int64_t total = 0;
  if (__builtin_add_overflow(scanned, 5 * 8 + std::int64_t(nameBytes),
                             &total) ||
      __builtin_add_overflow(
          total, std::max<std::int64_t>(matDataBytes(rows, columns), 0),
          &total))
    return INT64_MAX;
  return total;
}

// The low 32 bits of a header field, as a signed count.
inline std::int32_t lowWord(std::int64_t field) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(field));
}

// Writes \p name with every byte that is not printable ASCII, and the
// backslash, as \xNN, so that a file cannot send control sequences to the
// terminal.
inline void writeEscapedName(std::ostream& out, const char* name) {
  static const char kHex[] = "0123456789abcdef";
  for (const char* at = name; *at != '\0'; ++at) {
    const unsigned char byte = static_cast<unsigned char>(*at);
    if (byte >= 0x20 && byte < 0x7f && byte != '\\')
      out << *at;
    else
      out << "\\x" << kHex[byte >> 4] << kHex[byte & 15];
  }
}

/// Header fields of a record found by findMatRecord().
struct MatRecordShape {
  std::int64_t rows = 0;
  std::int64_t columns = 0;
  std::int64_t fileLength = 0;
};

/// Scans \p file from its start for the first record named \p variableName,
/// printing "Read variable <name>" (escaped as by writeEscapedName) for
/// every header read, including the one attempted at the end of the file
/// (whose name is empty). A record only matches when its header and name
/// were read in full. Names longer than the buffer are skipped unread (an
/// empty name is printed) and never match; a negative name length ends the
/// scan. The scan also ends once the records passed over reach beyond the
/// file's length as told when it was opened, so that a device without end
/// (/dev/zero reads as an endless run of empty records) or a file that
/// keeps growing is not read for ever.
/// \return true with \p file at the record's data and \p shape filled.
inline bool findMatRecord(std::ifstream& file, const char* variableName,
                          MatRecordShape& shape) {
  const std::int64_t fileLength = matFileLength(file);
  std::int64_t scanned = 0;
  while (!file.eof() && scanned <= fileLength) {
    std::int64_t type = 0, rows = 0, columns = 0, imaginary = 0, nameLength = 0;
    for (std::int64_t* field :
         {&type, &rows, &columns, &imaginary, &nameLength})
      readValue(file, *field);
    // One byte beyond the buffer keeps a full-length name terminated.
    char name[kMatNameBufferBytes + 1] = {};
    const std::int32_t nameBytes = lowWord(nameLength);
    const bool nameFits = nameBytes >= 0 && nameBytes <= kMatNameBufferBytes;
    if (nameFits)
      file.read(name, nameBytes);
    else if (nameBytes > 0)
      skipMatBytes(file, nameBytes, fileLength);
    std::cout << "Read variable ";
    writeEscapedName(std::cout, name);
    std::cout << std::endl;
    if (!file || nameBytes < 0) return false;
    if (nameFits && std::strcmp(name, variableName) == 0) {
      shape = {rows, columns, fileLength};
      return true;
    }
    scanned = addMatRecordBytes(scanned, nameBytes, rows, columns);
    skipMatData(file, rows, columns, fileLength);
  }
  return false;
}

/// \return whether \p count elements of \p elementBytes each fit in an int
///         count and in no more memory than the whole file holds.
inline bool matElementsFitFile(std::int64_t count, std::size_t elementBytes,
                               std::int64_t fileLength) {
  return count >= 0 && count <= INT_MAX &&
         count * static_cast<std::int64_t>(elementBytes) <= fileLength;
}

/// Reads up to \p count doubles into \p out, converting each to T; stops at
/// the first element the file does not hold in full, leaving the rest of
/// \p out as it was.
template <typename T>
void readMatElements(std::istream& file, T* out, std::int64_t count) {
  double chunk[kMatChunkElements];
  for (std::int64_t done = 0; done < count; done += kMatChunkElements) {
    const std::int64_t wanted = std::min(kMatChunkElements, count - done);
    file.read(reinterpret_cast<char*>(chunk),
              static_cast<std::streamsize>(wanted * sizeof(double)));
    const std::int64_t complete =
        file.gcount() / static_cast<std::streamsize>(sizeof(double));
    std::transform(chunk, chunk + complete, out + done,
                   [](double value) { return convertElement<T>(value); });
    if (complete < wanted) return;
  }
}

/// Where the elements of a matched record go, or why they are not read.
template <typename T>
struct MatImportTarget {
  int result;  // 0 to read; otherwise the import's result code
  T* elements;
  std::int64_t count;
};

/// Opens \p fileName, finds \p variableName and lets \p prepare (called
/// with the MatRecordShape) size the object and say where the elements go.
/// \return -1 (cannot open), -3 (not found) or the target's result.
template <typename T, typename Prepare>
int importMatRecord(const char* fileName, const char* variableName,
                    Prepare prepare) {
  std::ifstream file(fileName, std::ios::binary);
  if (!file.is_open()) return -1;
  MatRecordShape shape;
  if (!findMatRecord(file, variableName, shape)) return -3;
  const MatImportTarget<T> target = prepare(shape);
  if (target.result == 0) readMatElements(file, target.elements, target.count);
  return target.result;
}

}  // namespace vecml::detail

#endif
