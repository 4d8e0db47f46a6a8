// SPDX-License-Identifier: MIT
// The matrix text file: save() writes the shape and the elements in
// storage order, load() reads them back.
#include <algorithm>
#include <climits>
#include <cstdint>
#include <fstream>

#include "vecml/matrix/CMatrix.h"
#include "vecml/matrix/detail/MatrixStorage.h"

using vecml::detail::shapeProduct;
using vecml::detail::storedCount;

namespace {

// Characters from the read position to the end of the file; 0 when that
// cannot be told.
std::int64_t charactersLeft(std::ifstream& in) {
  const std::int64_t position = in.tellg();
  if (position < 0) return 0;
  in.seekg(0, std::ios::end);
  const std::int64_t end = in.tellg();
  in.seekg(position);
  return std::max<std::int64_t>(end - position, 0);
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
  int rows = 0, columns = 0;
  in >> rows >> columns;
  // Every value takes at least one character of the file.
  if (shapeProduct(rows, columns) >
      std::min<std::int64_t>(charactersLeft(in), INT_MAX))
    rows = columns = 0;
  m.resize(rows, columns, false);
  T* data = m._data();
  for (int k = 0; k < storedCount(m); ++k) in >> data[k];
}

VECML_FOR_FLOATING_TYPES(VECML_MATRIX_TEXT_FILE_INSTANTIATIONS, template)
