// SPDX-License-Identifier: MIT
// The matrix's MAT-file members: this library's own layout with 8-byte
// header fields and the standard layout with 4-byte ones.
#include <cstdint>
#include <utility>

#include "vecml/matrix/CMatrix.h"
#include "vecml/matrix/detail/MatFileRecord.h"
#include "vecml/matrix/detail/MatrixStorage.h"
#include "vecml/matrix/detail/StandardMatFileRecord.h"

using vecml::detail::shapeProduct;
using vecml::detail::storedCount;

template <typename T>
bool CMatrix<T>::exportToMatFile(const char* fileName, const char* variableName,
                                 bool append) const {
  return vecml::detail::writeMatRecord<std::int64_t>(
      fileName, variableName, append, numRows, numColumns, data,
      storedCount(*this));
}

template <typename T>
int CMatrix<T>::importFromMatFile(const char* fileName,
                                  const char* variableName) {
  using vecml::detail::lowWord;
  return vecml::detail::importMatRecord<T>(
      fileName, variableName,
      [this](const vecml::detail::MatRecordShape& shape) {
        const int rows = lowWord(shape.rows);
        const int columns = lowWord(shape.columns);
        if (rows < 0 || columns < 0 ||
            !vecml::detail::matElementsFitFile(shapeProduct(rows, columns),
                                               sizeof(T), shape.fileLength))
          return vecml::detail::MatImportTarget<T>{-3, nullptr, 0};
        resize(rows, columns, false);
        return vecml::detail::MatImportTarget<T>{0, data, storedCount(*this)};
      });
}

template <typename T>
bool CMatrix<T>::exportToStandardMatFile(const char* fileName,
                                         const char* variableName,
                                         bool append) const {
  return vecml::detail::writeMatRecord<std::int32_t>(
      fileName, variableName, append, numRows, numColumns, data,
      storedCount(*this));
}

template <typename T>
int CMatrix<T>::importFromStandardMatFile(const char* fileName,
                                          const char* variableName) {
  return vecml::detail::importStandardMatRecord<T>(
      fileName, variableName, [this](int rows, int columns, auto read) {
        CMatrix<T> loaded(rows, columns, false);
        if (!read(loaded._data())) return vecml::detail::kMatUnreadable;
        *this = std::move(loaded);
        return vecml::detail::kMatFound;
      });
}

#define VECML_MATRIX_MAT_FILE_INSTANTIATE_(INSTANTIATE, T)                     \
  INSTANTIATE bool CMatrix<T>::exportToMatFile(const char*, const char*, bool) \
      const;                                                                   \
  INSTANTIATE int CMatrix<T>::importFromMatFile(const char*, const char*);     \
  INSTANTIATE bool CMatrix<T>::exportToStandardMatFile(                        \
      const char*, const char*, bool) const;                                   \
  INSTANTIATE int CMatrix<T>::importFromStandardMatFile(const char*,           \
                                                        const char*);
VECML_FOR_ELEMENT_TYPES(VECML_MATRIX_MAT_FILE_INSTANTIATE_, template)
#undef VECML_MATRIX_MAT_FILE_INSTANTIATE_
