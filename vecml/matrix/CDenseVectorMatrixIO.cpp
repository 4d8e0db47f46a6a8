// SPDX-License-Identifier: MIT
// The dense vector's members that produce or exchange matrices: asMatrix
// and the MAT-file import and export, which share the matrix's record code.
#include <algorithm>
#include <cstdint>
#include <utility>

#include "vecml/matrix/CMatrix.h"
#include "vecml/matrix/detail/MatFileRecord.h"
#include "vecml/matrix/detail/StandardMatFileRecord.h"
#include "vecml/vector/CDenseVector.h"

template <typename T>
CMatrix<T> CDenseVector<T>::asMatrix() const {
  CMatrix<T> column(dimension(), 1);
  std::copy(begin(), end(), column._data());
  return column;
}

template <typename T>
bool CDenseVector<T>::exportToMatFile(const char* fileName,
                                      const char* variableName,
                                      bool append) const {
  return vecml::detail::writeMatRecord<std::int64_t>(
      fileName, variableName, append, dimension(), 1, _data(), dimension());
}

template <typename T>
int CDenseVector<T>::importFromMatFile(const char* fileName,
                                       const char* variableName) {
  CDenseVector<T>& v = *this;
  return vecml::detail::importMatRecord<T>(
      fileName, variableName, [&v](const vecml::detail::MatRecordShape& shape) {
        using Target = vecml::detail::MatImportTarget<T>;
        if (shape.rows > 1 && shape.columns > 1) return Target{-2, nullptr, 0};
        const std::int64_t n = std::max(shape.rows, shape.columns);
        if (shape.rows < 0 || shape.columns < 0 ||
            !vecml::detail::matElementsFitFile(n, sizeof(T), shape.fileLength))
          return Target{-3, nullptr, 0};
        v.resize(static_cast<int>(n));
        return Target{0, v._data(), n};
      });
}

template <typename T>
bool CDenseVector<T>::exportToStandardMatFile(const char* fileName,
                                              const char* variableName,
                                              bool append) const {
  return vecml::detail::writeMatRecord<std::int32_t>(
      fileName, variableName, append, dimension(), 1, _data(), dimension());
}

template <typename T>
int CDenseVector<T>::importFromStandardMatFile(const char* fileName,
                                               const char* variableName) {
  return vecml::detail::importStandardMatRecord<T>(
      fileName, variableName, [this](int rows, int columns, auto read) {
        if (rows > 1 && columns > 1) return vecml::detail::kMatNotAVector;
        // One count is at most 1, so the product fits in int.
        CDenseVector<T> loaded(rows * columns);
        if (!read(loaded._data())) return vecml::detail::kMatUnreadable;
        *this = std::move(loaded);
        return vecml::detail::kMatFound;
      });
}

#define VECML_DENSE_VECTOR_MATRIX_INSTANTIATE_(INSTANTIATE, T)                \
  INSTANTIATE CMatrix<T> CDenseVector<T>::asMatrix() const;                   \
  INSTANTIATE bool CDenseVector<T>::exportToMatFile(const char*, const char*, \
                                                    bool) const;              \
  INSTANTIATE int CDenseVector<T>::importFromMatFile(const char*,             \
                                                     const char*);            \
  INSTANTIATE bool CDenseVector<T>::exportToStandardMatFile(                  \
      const char*, const char*, bool) const;                                  \
  INSTANTIATE int CDenseVector<T>::importFromStandardMatFile(const char*,     \
                                                             const char*);
VECML_FOR_ELEMENT_TYPES(VECML_DENSE_VECTOR_MATRIX_INSTANTIATE_, template)
#undef VECML_DENSE_VECTOR_MATRIX_INSTANTIATE_
