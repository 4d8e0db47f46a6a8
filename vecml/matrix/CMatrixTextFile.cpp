// SPDX-License-Identifier: MIT
// The matrix text file: save() writes the shape and the elements in
// storage order, load() reads them back.
#include <algorithm>
#include <climits>
#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

#include "vecml/matrix/CMatrix.h"
#include "vecml/matrix/detail/MatrixStorage.h"

using vecml::detail::storedCount;

namespace {

const char* const kLoadPrefix = "load(): ";

// Characters from the read position to the end of the file; 0 when that
// cannot be told (a pipe or a device).
std::int64_t charactersLeft(std::ifstream& in) {
  const std::int64_t position = in.tellg();
  if (position < 0) return 0;
  in.seekg(0, std::ios::end);
  const std::int64_t end = in.tellg();
  in.seekg(position);
  return std::max<std::int64_t>(end - position, 0);
}

std::string shapeText(int rows, int columns) {
  return std::to_string(rows) + " x " + std::to_string(columns);
}

// Reads the shape at the start of `in` and checks it against the rest of
// the file: each value takes at least one character, and so does each row
// and column of a matrix without elements (else a few bytes could stand for
// a matrix whose rows alone fill gigabytes once a product or diagonal is
// taken). \return an empty string, or why the shape cannot be used.
std::string readShape(std::ifstream& in, int& rows, int& columns) {
  // A file of unknown length (a device such as /dev/zero, a pipe) is not
  // parsed at all, so that skipping blanks cannot go on for ever; no such
  // file could back a matrix with elements anyway.
  if (charactersLeft(in) == 0) return "the shape is not two numbers";
  in >> rows >> columns;
  if (in.fail()) return "the shape is not two numbers";
  if (rows < 0 || columns < 0)
    return "negative shape " + shapeText(rows, columns);
  const std::int64_t available =
      std::min<std::int64_t>(charactersLeft(in), INT_MAX);
  const std::int64_t count = static_cast<std::int64_t>(rows) * columns;
  if (std::max<std::int64_t>({rows, columns, count}) > available)
    return "the file is too short for a " + shapeText(rows, columns) +
           " matrix";
  return "";
}

}  // namespace

template <typename T>
void save(const CMatrix<T>& m, const char* path) {
  std::ofstream out(path, std::ios::trunc);
  out << m.rows() << " " << m.columns() << " ";
  const T* data = m._data();
  for (int k = 0; k < storedCount(m); ++k) out << data[k] << " ";
}

template <typename T>
void load(CMatrix<T>& m, const char* path) {
  std::ifstream in(path);
  if (!in.is_open()) {
    m.resize(0, 0, false);
    return;
  }
  int rows = 0, columns = 0;
  if (!readShape(in, rows, columns).empty()) return;
  m.resize(rows, columns, false);
  T* data = m._data();
  // Reads that fail leave their elements 0.
  for (int k = 0; k < rows * columns; ++k) in >> data[k];
}

template <typename T>
bool load(CMatrix<T>& m, const char* path, std::string& error) {
  std::ifstream in(path);
  std::string problem = "cannot open the file";
  int rows = 0, columns = 0;
  std::vector<T> values;
  if (in.is_open()) problem = readShape(in, rows, columns);
  if (problem.empty()) {
    values.resize(static_cast<std::size_t>(rows) * columns);
    for (std::size_t k = 0; k < values.size() && problem.empty(); ++k)
      if (!(in >> values[k]))
        problem = "value " + std::to_string(k + 1) + " of " +
                  std::to_string(values.size()) + " is missing or not a number";
  }
  if (!problem.empty()) {
    error = kLoadPrefix + problem + "; file: " + path;
    return false;
  }
  m.resize(rows, columns, false);
  std::copy(values.begin(), values.end(), m._data());
  return true;
}

VECML_FOR_FLOATING_TYPES(VECML_MATRIX_TEXT_FILE_INSTANTIATIONS, template)
