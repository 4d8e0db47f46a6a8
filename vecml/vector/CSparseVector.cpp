// SPDX-License-Identifier: MIT
#include "vecml/vector/CSparseVector.h"

#include <algorithm>
#include <cmath>

#include "vecml/core/detail/Arithmetic.h"
#include "vecml/core/detail/MessagePositions.h"

// The C library's assertion report, called directly so that these checks
// stay live when NDEBUG is defined.
extern "C" [[noreturn]] void __assert_fail(const char* assertion,
                                           const char* file, unsigned int line,
                                           const char* function) noexcept;

// Asserts `condition`, reporting `text` at the fixed `position`.
#define VECML_SPARSE_ASSERT(condition, text, position)                 \
  ((condition) ? void(0)                                               \
               : __assert_fail(text, (position).file, (position).line, \
                               __PRETTY_FUNCTION__))

namespace {

// First entry whose index is not below `index`.
template <typename Entry>
const Entry* lowerBound(const Entry* first, const Entry* last, int index) {
  return std::lower_bound(
      first, last, index,
      [](const Entry& entry, int wanted) { return entry.first < wanted; });
}

// A sparse vector of element type U with the same entries, values converted.
template <typename U, typename T>
CSparseVector<U>* convertedCopy(const CSparseVector<T>& v) {
  auto* copy = new CSparseVector<U>(v.dimension(), v.getNumNonZero());
  int i = 0;
  for (const auto& [index, value] : v)
    copy->setElement(i++, {index, static_cast<U>(value)});
  return copy;
}

}  // namespace

template <typename T>
const T CSparseVector<T>::nullElement = 0;

template <typename T>
CSparseVector<T>::CSparseVector(int dim, int size)
    : elements(new Entry[size]()), dim(dim), size(size) {}

template <typename T>
CSparseVector<T>::CSparseVector(int d, int s, T* init_values, int* pos)
    : dim(d), size(s) {
  VECML_SPARSE_ASSERT(d >= 0, "d >= 0", vecml::detail::kSparseDimensionAssert);
  VECML_SPARSE_ASSERT(s >= 0, "s >= 0", vecml::detail::kSparseSizeAssert);
  VECML_SPARSE_ASSERT(init_values != nullptr, "init_values != __null",
                      vecml::detail::kSparseValuesAssert);
  VECML_SPARSE_ASSERT(pos != nullptr, "pos != __null",
                      vecml::detail::kSparsePositionsAssert);
  elements.reset(new Entry[s]);
  for (int i = 0; i < s; ++i) elements[i] = Entry(pos[i], init_values[i]);
  std::sort(begin(), end(),
            [](const Entry& a, const Entry& b) { return a.first < b.first; });
}

template <typename T>
CSparseVector<T>::CSparseVector(const CSparseVector<T>& other)
    : CVector<T>(other), dim(other.dim), size(other.size) {
  VECML_SPARSE_ASSERT(other.elements != nullptr, "elements != __null",
                      vecml::detail::kSparseCopySourceAssert);
  elements.reset(new Entry[size]);
  std::copy(other.begin(), other.end(), begin());
}

template <typename T>
CSparseVector<T>::CSparseVector(CSparseVector<T>&& other) noexcept
    : CVector<T>(other),
      elements(std::move(other.elements)),
      dim(std::exchange(other.dim, 0)),
      size(std::exchange(other.size, 0)) {}

template <typename T>
CSparseVector<T>::CSparseVector(const CVector<T>& v)
    : dim(v.dimension()), size(0) {
  int stored = 0;
  for (int i = 0; i < dim; ++i)
    if (v.getElement(i) != T(0)) ++stored;
  elements.reset(new Entry[stored]);
  for (int i = 0; i < dim; ++i) {
    const T value = v[i];
    if (value != T(0)) elements[size++] = Entry(i, value);
  }
}

template <typename T>
CSparseVector<T>::~CSparseVector() = default;

template <typename T>
CSparseVector<T>& CSparseVector<T>::operator=(CSparseVector<T> other) noexcept {
  std::swap(elements, other.elements);
  std::swap(dim, other.dim);
  std::swap(size, other.size);
  return *this;
}

template <typename T>
std::string CSparseVector<T>::className() const {
  return "CSparseVector";
}

template <typename T>
CSparseVector<T>* CSparseVector<T>::clone() const {
  return new CSparseVector<T>(*this);
}

template <typename T>
CVector<double>* CSparseVector<T>::toDouble() const {
  return convertedCopy<double>(*this);
}

template <typename T>
CVector<float>* CSparseVector<T>::toFloat() const {
  return convertedCopy<float>(*this);
}

template <typename T>
CDenseVector<int> CSparseVector<T>::sort() {
  CDenseVector<int> indices(dim);
  for (const auto& entry : *this) indices[entry.first] = entry.first;
  return indices;
}

template <typename T>
CSparseVector<T>& CSparseVector<T>::operator*=(const T& factor) {
  const T f = factor;
  for (auto& entry : *this)
    entry.second = vecml::detail::multiply(entry.second, f);
  return *this;
}

template <typename T>
CSparseVector<T>& CSparseVector<T>::operator/=(const T& divisor) {
  const T d = divisor;
  for (auto& entry : *this)
    entry.second = vecml::detail::divide(entry.second, d);
  return *this;
}

template <typename T>
bool CSparseVector<T>::isNaN() const {
  return std::any_of(begin(), end(), [](const Entry& entry) {
    return std::isnan(static_cast<double>(entry.second));
  });
}

template <typename T>
T CSparseVector<T>::euclideanLength(bool squared) const {
  T sum = 0;
  for (const auto& entry : *this)
    sum = vecml::detail::add(
        sum, vecml::detail::multiply(entry.second, entry.second));
  return squared ? sum : vecml::detail::squareRoot(sum);
}

template <typename T>
const T& CSparseVector<T>::operator[](int index) const {
  VECML_SPARSE_ASSERT(index >= 0, "index >= 0",
                      vecml::detail::kSparseIndexNotNegativeAssert);
  VECML_SPARSE_ASSERT(index < dim, "index < dim",
                      vecml::detail::kSparseIndexBelowDimensionAssert);
  const Entry* found = lowerBound(begin(), end(), index);
  return (found != end() && found->first == index) ? found->second
                                                   : nullElement;
}

template <typename T>
T CSparseVector<T>::getElement(int index) const {
  const Entry* found = lowerBound(begin(), end(), index);
  return (found != end() && found->first == index) ? found->second
                                                   : nullElement;
}

template <typename T>
void CSparseVector<T>::setElement(int i, Entry entry) {
  VECML_SPARSE_ASSERT(i < size, "index < size",
                      vecml::detail::kSparseEntryBelowSizeAssert);
  if (i >= 0) elements[i] = entry;
}

template <typename T>
CSparseVector<T>& CSparseVector<T>::operator*=(const CVector<T>& other) {
  CVector<T>::operator*=(other);
  return *this;
}

template <typename T>
CSparseVector<T>& CSparseVector<T>::operator/=(const CVector<T>& other) {
  CVector<T>::operator/=(other);
  return *this;
}

// The free operations apply the in-place operation to a copy and rebuild
// the result from its non-zero elements.
template <typename T>
static CSparseVector<T> withoutZeros(const CSparseVector<T>& v) {
  return CSparseVector<T>(static_cast<const CVector<T>&>(v));
}

template <typename T>
CSparseVector<T> operator*(const CSparseVector<T>& v, const T& factor) {
  CSparseVector<T> copy(v);
  copy *= factor;
  return withoutZeros(copy);
}

template <typename T>
CSparseVector<T> operator*(const T& factor, const CSparseVector<T>& v) {
  return v * factor;
}

template <typename T>
CSparseVector<T> operator/(const CSparseVector<T>& v, const T& divisor) {
  CSparseVector<T> copy(v);
  copy /= divisor;
  return withoutZeros(copy);
}

template <typename T>
CSparseVector<T> elementMul(const CSparseVector<T>& v, const CVector<T>& w) {
  CSparseVector<T> copy(v);
  static_cast<CVector<T>&>(copy) *= w;
  return withoutZeros(copy);
}

VECML_FOR_ELEMENT_TYPES(VECML_SPARSE_VECTOR_INSTANTIATIONS, template)
