// SPDX-License-Identifier: MIT
#include "vecml/matrix/CMatrix.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <functional>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>

#include "vecml/core/CArchiv.h"
#include "vecml/core/Macros.h"
#include "vecml/core/detail/Arithmetic.h"
#include "vecml/core/detail/BinaryIO.h"
#include "vecml/matrix/detail/MatrixStorage.h"

using vecml::detail::add;
using vecml::detail::combine;
using vecml::detail::divide;
using vecml::detail::elementCount;
using vecml::detail::multiply;
using vecml::detail::shapeProduct;
using vecml::detail::storedCount;
using vecml::detail::subtract;

namespace {

// A zero-filled array of count elements, or null when there are none.
template <typename T>
T* allocate(int count) {
  return count > 0 ? NEWARRAY<T>(count) : nullptr;
}

template <typename T, typename Op>
void applyEach(CMatrix<T>& m, Op op) {
  T* data = m._data();
  const int count = storedCount(m);
  for (int k = 0; k < count; ++k) data[k] = op(data[k]);
}

// The first element that is better than all before it, row-major.
template <typename T, typename Better>
T extremeElement(const CMatrix<T>& m, int& row, int& column, Better better) {
  T best = m.getElement(0, 0);
  row = column = 0;
  for (int i = 0; i < m.rows(); ++i)
    for (int j = 0; j < m.columns(); ++j)
      if (better(m.getElement(i, j), best)) {
        best = m.getElement(i, j);
        row = i;
        column = j;
      }
  return best;
}

// Puts one line end and flushes, as every line of dump() ends.
void endLine(std::ostream& os) {
  os.put('\n');
  os.flush();
}

}  // namespace

template <typename T>
CMatrix<T>::CMatrix(int rows, int columns, bool /*init: always zeroed*/)
    : numRows(rows),
      numColumns(columns),
      data(allocate<T>(elementCount(rows, columns))) {}

template <typename T>
CMatrix<T>::CMatrix(const CMatrix<T>& other)
    : CObject<T>(other),
      numRows(other.numRows),
      numColumns(other.numColumns),
      data(allocate<T>(storedCount(other))) {
  std::copy(other.data, other.data + storedCount(other), data);
}

template <typename T>
CMatrix<T>::CMatrix(CMatrix<T>&& other) noexcept
    : CObject<T>(other),
      numRows(std::exchange(other.numRows, 0)),
      numColumns(std::exchange(other.numColumns, 0)),
      data(std::exchange(other.data, nullptr)) {}

template <typename T>
CMatrix<T>::~CMatrix() {
  delete[] data;
}

template <typename T>
CMatrix<T>& CMatrix<T>::operator=(const CMatrix<T>& other) {
  if (this == &other) return *this;
  CObject<T>::operator=(other);
  if (numRows != other.numRows || numColumns != other.numColumns) {
    T* fresh = allocate<T>(storedCount(other));
    delete[] data;
    data = fresh;
    numRows = other.numRows;
    numColumns = other.numColumns;
  }
  std::copy(other.data, other.data + storedCount(other), data);
  return *this;
}

template <typename T>
CMatrix<T>& CMatrix<T>::operator=(CMatrix<T>&& other) noexcept {
  if (this != &other) {
    CObject<T>::operator=(other);
    delete[] data;
    numRows = std::exchange(other.numRows, 0);
    numColumns = std::exchange(other.numColumns, 0);
    data = std::exchange(other.data, nullptr);
  }
  return *this;
}

template <typename T>
bool CMatrix<T>::serialize(std::fstream& stream, IO_MODE mode) {
  using vecml::detail::readValue;
  if (mode != IO_READ) {
    vecml::detail::writeValue(stream,
                              static_cast<std::int32_t>(this->dataType()));
    vecml::detail::writeValue(stream, static_cast<std::int32_t>(numRows));
    vecml::detail::writeValue(stream, static_cast<std::int32_t>(numColumns));
    vecml::detail::writeElements(stream, data, storedCount(*this));
    return true;
  }
  std::int32_t code = 0, rows = 0, columns = 0;
  std::vector<T> values;
  // The whole record is read before the old content is dropped.
  if (!readValue(stream, code) || !readValue(stream, rows) ||
      !readValue(stream, columns) ||
      vecml::detail::storedElementSize(code) == 0 ||
      shapeProduct(rows, columns) > INT_MAX ||
      !vecml::detail::readConvertedElements(
          stream, code, elementCount(rows, columns), values)) {
    stream.setstate(std::ios::failbit);
    return true;
  }
  T* fresh = allocate<T>(elementCount(rows, columns));
  std::copy(values.begin(), values.end(), fresh);
  delete[] data;
  data = fresh;
  numRows = rows;
  numColumns = columns;
  return true;
}

template <typename T>
bool CMatrix<T>::serialize2(CArchiv& archive) {
  if (archive.isLoading()) {
    int rows = 0, columns = 0;
    archive.read(rows);
    archive.read(columns);
    T* fresh = allocate<T>(elementCount(rows, columns));
    delete[] data;
    data = fresh;
    numRows = rows;
    numColumns = columns;
    for (int i = 0; i < numRows; ++i)
      for (int j = 0; j < numColumns; ++j) {
        T value{};
        archive.read(value);
        setElement(i, j, value);
      }
    return true;
  }
  int rows = numRows, columns = numColumns;
  archive.write(rows);
  archive.writeSeparator();
  archive.write(columns);
  archive.writeSeparator();
  if (numRows > 0 && shapeProduct(numRows, numColumns) != 0)
    for (int i = 0; i < numRows; ++i) {
      for (int j = 0; j < numColumns; ++j) {
        T value = getElement(i, j);
        archive.write(value);
      }
      archive.writeSeparator();
    }
  return true;
}

template <typename T>
std::string CMatrix<T>::className() const {
  return "CMatrix";
}

template <typename T>
void CMatrix<T>::resize(int rows, int columns, bool keep) {
  T* fresh = allocate<T>(elementCount(rows, columns));
  const int keptRows = keep ? std::max(std::min(rows, numRows), 0) : 0;
  if (keptRows > 0) {
    const int keptColumns = std::max(std::min(columns, numColumns), 0);
    for (int j = 0; j < keptColumns; ++j)
      std::copy(data + shapeProduct(numRows, j),
                data + shapeProduct(numRows, j) + keptRows,
                fresh + shapeProduct(rows, j));
  }
  delete[] data;
  data = fresh;
  numRows = rows;
  numColumns = columns;
}

template <typename T>
void CMatrix<T>::setData(const T* source, bool columnMajor) {
  if (columnMajor) {
    std::copy(source, source + storedCount(*this), data);
    return;
  }
  for (int i = 0; i < numRows; ++i)
    for (int j = 0; j < numColumns; ++j)
      (*this)(i, j) = source[shapeProduct(i, numColumns) + j];
}

template <typename T>
void CMatrix<T>::zeros() {
  std::fill(data, data + storedCount(*this), T(0));
}

template <typename T>
CMatrix<T> CMatrix<T>::operator()(int r0, int c0, int nRows,
                                  int nColumns) const {
  CMatrix<T> block(nRows, nColumns);
  for (int j = 0; j < nColumns; ++j)
    for (int i = 0; i < nRows; ++i)
      block(i, j) = getElement(add(r0, i), add(c0, j));
  return block;
}

template <typename T>
void CMatrix<T>::insert(int r0, int c0, const CMatrix<T>& block) {
  for (int j = 0; j < block.numColumns; ++j)
    for (int i = 0; i < block.numRows; ++i)
      (*this)(add(r0, i), add(c0, j)) = block.getElement(i, j);
}

template <typename T>
CDenseVector<T> CMatrix<T>::getRow(int i) const {
  CDenseVector<T> row(numColumns);
  for (int j = 0; j < numColumns; ++j) row._data()[j] = getElement(i, j);
  return row;
}

template <typename T>
CDenseVector<T> CMatrix<T>::getColumn(int j) const {
  CDenseVector<T> column(numRows);
  for (int i = 0; i < numRows; ++i) column._data()[i] = getElement(i, j);
  return column;
}

template <typename T>
CDenseVector<T> CMatrix<T>::getDiagonal() const {
  CDenseVector<T> diagonal(numRows);
  for (int k = 0; k < numRows; ++k) diagonal._data()[k] = getElement(k, k);
  return diagonal;
}

template <typename T>
void CMatrix<T>::setRow(int i, const CDenseVector<T>& v) {
  for (int j = 0; j < numColumns; ++j) (*this)(i, j) = v.getElement(j);
}

template <typename T>
void CMatrix<T>::setColumn(int j, CDenseVector<T>& v) {
  for (int i = 0; i < numRows; ++i) (*this)(i, j) = v[i];
}

template <typename T>
void CMatrix<T>::setDiagonal(T value) {
  for (int k = 0; k < numRows; ++k) (*this)(k, k) = value;
}

template <typename T>
void CMatrix<T>::setDiagonal(CDenseVector<T>& v) {
  for (int k = 0; k < numRows; ++k) (*this)(k, k) = v[k];
}

template <typename T>
T CMatrix<T>::trace() const {
  T sum = 0;
  for (int k = 0; k < numColumns; ++k) sum = add(sum, getElement(k, k));
  return sum;
}

template <typename T>
T CMatrix<T>::sumElements() const {
  T sum = 0;
  for (int i = 0; i < numRows; ++i)
    for (int j = 0; j < numColumns; ++j) sum = add(sum, getElement(i, j));
  return sum;
}

template <typename T>
T CMatrix<T>::minElement(int& row, int& column) const {
  return extremeElement(*this, row, column, std::less<T>());
}

template <typename T>
T CMatrix<T>::maxElement(int& row, int& column) const {
  return extremeElement(*this, row, column, std::greater<T>());
}

template <typename T>
T CMatrix<T>::frobeniusNorm() const {
  T sum = 0;
  for (int k = 0; k < storedCount(*this); ++k) {
    if constexpr (std::is_same_v<T, int>)
      sum = add(sum, multiply(data[k], data[k]));
    else
      sum = std::fma(data[k], data[k], sum);
  }
  return vecml::detail::squareRoot(sum);
}

template <typename T>
bool CMatrix<T>::isNaN() const {
  return std::any_of(data, data + storedCount(*this), [](T value) {
    return std::isnan(static_cast<double>(value));
  });
}

template <typename T>
CMatrix<T>& CMatrix<T>::operator*=(T factor) {
  applyEach(*this, [factor](T x) { return multiply(x, factor); });
  return *this;
}

template <typename T>
CMatrix<T>& CMatrix<T>::operator+=(T value) {
  applyEach(*this, [value](T x) { return add(x, value); });
  return *this;
}

template <typename T>
CMatrix<T>& CMatrix<T>::operator-=(T value) {
  applyEach(*this, [value](T x) { return subtract(x, value); });
  return *this;
}

template <typename T>
CMatrix<T>& CMatrix<T>::operator/=(T divisor) {
  applyEach(*this, [divisor](T x) { return divide(x, divisor); });
  return *this;
}

template <typename T>
CMatrix<T>& CMatrix<T>::operator+=(const CMatrix<T>& other) {
  combine(data, data, storedCount(*this), other.data, storedCount(other),
          add<T>);
  return *this;
}

template <typename T>
CMatrix<T>& CMatrix<T>::operator-=(const CMatrix<T>& other) {
  combine(data, data, storedCount(*this), other.data, storedCount(other),
          subtract<T>);
  return *this;
}

template <typename T>
CMatrix<T> CMatrix<T>::transpose() const {
  CMatrix<T> result(numColumns, numRows);
  for (int i = 0; i < numColumns; ++i)
    for (int j = 0; j < numRows; ++j)
      result(i, j) = data[j + shapeProduct(i, numRows)];
  return result;
}

template <typename T>
void CMatrix<T>::replicateMatrix(int m, int n, const CMatrix<T>& block) {
  if (&block == this) return replicateMatrix(m, n, CMatrix<T>(block));
  resize(multiply(block.numRows, m), multiply(block.numColumns, n), false);
  for (int a = 0; a < m; ++a)
    for (int b = 0; b < n; ++b)
      insert(multiply(block.numRows, a), multiply(block.numColumns, b), block);
}

template <typename T>
CMatrix<T> CMatrix<T>::invert() const {
  return *this;
}

template <typename T>
bool CMatrix<T>::eig(CDenseVector<T>&, CMatrix<T>&, int, TMatrixType) {
  return false;
}

template <typename T>
bool CMatrix<T>::calcLUFactorization(CMatrix<T>&, CMatrix<T>&,
                                     CDenseVector<int>&) const {
  return true;
}

template <typename T>
T CMatrix<T>::determinant() const {
  CMatrix<T> lower, upper;
  CDenseVector<int> permutation;
  calcLUFactorization(lower, upper, permutation);
  T product = 1;
  for (int k = 0; k < numRows; ++k)
    product = multiply(product, upper.getElement(k, k));
  int sign = 1;
  for (int k = 0; k < permutation.dimension(); ++k)
    if (permutation[k] != k) sign = -sign;
  return multiply(static_cast<T>(sign), product);
}

template <typename T>
std::ostream& CMatrix<T>::dump(std::ostream& os) const {
  os << numRows << "x" << numColumns << " matrix:";
  endLine(os);
  os.precision(5);
  for (int i = 0; i < numRows; ++i) {
    os << "[ ";
    for (int j = 0; j < numColumns; ++j) {
      if constexpr (std::is_same_v<T, int>)
        os << getElement(i, j) << " ";
      else
        os << static_cast<double>(getElement(i, j)) << " ";
    }
    os << " ]";
    endLine(os);
  }
  endLine(os);
  return os;
}

VECML_FOR_ELEMENT_TYPES(VECML_MATRIX_INSTANTIATIONS, template)
