// SPDX-License-Identifier: MIT
#include "vecml/vector/CDenseVector.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <map>
#include <type_traits>
#include <utility>

#include "vecml/core/CArchiv.h"
#include "vecml/core/detail/Arithmetic.h"
#include "vecml/core/detail/BinaryIO.h"
#include "vecml/vector/CVectorOperations.h"

using vecml::detail::absolute;
using vecml::detail::add;
using vecml::detail::divide;
using vecml::detail::multiply;
using vecml::detail::squareRoot;
using vecml::detail::subtract;

namespace {

// A zero-filled array of n elements, or null for n < 1.
template <typename T>
T* allocate(int n) {
  return n > 0 ? NEWARRAY<T>(n) : nullptr;
}

// Element i of v, or 0 outside it.
template <typename T>
T elementOrZero(const CDenseVector<T>& v, long long i) {
  return (i >= 0 && i < v.dimension()) ? v._data()[i] : T(0);
}

// Rotation offset in 0..n-1 for any k.
int rotation(int k, int n) { return static_cast<int>(((k % n) + n) % n); }

}  // namespace

template <typename T>
CDenseVector<T>::CDenseVector(int n)
    : dim(std::max(n, 0)), data(allocate<T>(n)) {}

template <typename T>
CDenseVector<T>::CDenseVector(int n, const T* values) : CDenseVector(n) {
  if (dim > 0) std::copy(values, values + dim, data);
}

template <typename T>
CDenseVector<T>::CDenseVector(int n, T value) : CDenseVector(n) {
  std::fill(begin(), end(), value);
}

template <typename T>
CDenseVector<T>::CDenseVector(const std::vector<T>& values)
    : CDenseVector(static_cast<int>(values.size()), values.data()) {}

template <typename T>
CDenseVector<T>::CDenseVector(const CDenseVector<T>& other)
    : CVector<T>(other), dim(other.dim), data(allocate<T>(other.dim)) {
  std::copy(other.begin(), other.end(), data);
}

template <typename T>
CDenseVector<T>::CDenseVector(CDenseVector<T>&& other) noexcept
    : CVector<T>(other),
      dim(std::exchange(other.dim, 0)),
      data(std::exchange(other.data, nullptr)) {}

template <typename T>
CDenseVector<T>::CDenseVector(const CVector<T>& other) : dim(0), data(nullptr) {
  copy(other);
}

template <typename T>
CDenseVector<T>::~CDenseVector() {
  delete[] data;
}

template <typename T>
CDenseVector<T>& CDenseVector<T>::operator=(const CDenseVector<T>& other) {
  if (this == &other) {
    std::cerr << "Copying myself, doing nothing" << std::endl;
    return *this;
  }
  if (dim != other.dim) {
    adopt(allocate<T>(other.dim), other.dim);
  }
  std::copy(other.begin(), other.end(), data);
  return *this;
}

template <typename T>
CDenseVector<T>& CDenseVector<T>::operator=(CDenseVector<T>&& other) noexcept {
  if (this != &other) {
    delete[] data;
    dim = std::exchange(other.dim, 0);
    data = std::exchange(other.data, nullptr);
  }
  return *this;
}

template <typename T>
void CDenseVector<T>::adopt(T* fresh, int n) {
  delete[] data;
  data = fresh;
  dim = std::max(n, 0);
}

template <typename T>
bool CDenseVector<T>::serialize(std::fstream& stream, IO_MODE mode) {
  if (!CVector<T>::serialize(stream, mode)) return false;
  if (mode != IO_READ) {
    vecml::detail::writeValue(stream,
                              static_cast<std::int32_t>(this->dataType()));
    vecml::detail::writeValue(stream, static_cast<std::int32_t>(dim));
    vecml::detail::writeElements(stream, data, dim);
    return true;
  }
  // A cut or negative record sets the stream's failbit and keeps the vector.
  std::int32_t tag = 0;
  std::int32_t storedDim = 0;
  std::vector<T> values(0);
  if (!vecml::detail::readValue(stream, tag) ||
      !vecml::detail::readValue(stream, storedDim) || storedDim < 0 ||
      (vecml::detail::storedElementSize(tag) > 0 &&
       !vecml::detail::readConvertedElements(stream, tag, storedDim, values))) {
    stream.setstate(std::ios::failbit);
    return true;
  }
  // Only now that the whole record has been read is the old content dropped.
  T* fresh = allocate<T>(storedDim);
  std::copy(values.begin(), values.end(), fresh);
  adopt(fresh, storedDim);
  return true;
}

template <typename T>
bool CDenseVector<T>::serialize2(CArchiv& archive) {
  if (archive.isLoading()) {
    int storedDim = 0;
    archive.read(storedDim);
    adopt(allocate<T>(storedDim), storedDim);
    for (int i = 0; i < dim; ++i) archive.read(data[i]);
    return true;
  }
  archive.write(dim);
  archive.writeSeparator();
  for (int i = 0; i < dim; ++i) archive.write(data[i]);
  if (dim != 0) archive.writeSeparator();
  return true;
}

template <typename T>
std::string CDenseVector<T>::className() const {
  return "CDenseVector";
}

template <typename T>
CDenseVector<T>* CDenseVector<T>::clone() const {
  return new CDenseVector<T>(*this);
}

// A new vector of element type U holding each element converted.
template <typename T, typename U>
static CDenseVector<U>* convertedCopy(const CDenseVector<T>& v) {
  auto* copy = new CDenseVector<U>(v.dimension());
  std::transform(v.begin(), v.end(), copy->begin(),
                 [](T x) { return static_cast<U>(x); });
  return copy;
}

template <typename T>
CVector<double>* CDenseVector<T>::toDouble() const {
  if constexpr (std::is_same_v<T, double>)
    return const_cast<CDenseVector<double>*>(this);
  else
    return convertedCopy<T, double>(*this);
}

template <typename T>
CVector<float>* CDenseVector<T>::toFloat() const {
  if constexpr (std::is_same_v<T, double>) {
    return convertedCopy<T, float>(*this);
  } else {
    // float returns itself; int returns itself too, unconverted, so its
    // elements are read as float bits by whoever uses the pointer.
    return reinterpret_cast<CVector<float>*>(
        const_cast<CDenseVector<T>*>(this));
  }
}

template <typename T>
std::vector<T> CDenseVector<T>::toSTL() const {
  return std::vector<T>(begin(), end());
}

template <typename T>
CDenseVector<int> CDenseVector<T>::sort() {
  // An ordered multimap keeps equal values in insertion (index) order.
  std::multimap<double, int> order;
  for (int i = 0; i < dim; ++i) order.emplace(static_cast<double>(data[i]), i);
  const std::vector<T> before(begin(), end());
  CDenseVector<int> indices(dim);
  int j = 0;
  for (const auto& entry : order) {
    data[j] = before[entry.second];
    indices._data()[j] = entry.second;
    ++j;
  }
  return indices;
}

template <typename T>
CDenseVector<T>& CDenseVector<T>::operator*=(const T& factor) {
  const T f = factor;
  for (T& x : *this) x = multiply(x, f);
  return *this;
}

template <typename T>
CDenseVector<T>& CDenseVector<T>::operator/=(const T& divisor) {
  const T d = divisor;
  for (T& x : *this) x = divide(x, d);
  return *this;
}

template <typename T>
int CDenseVector<T>::getNumNonZero() const {
  return static_cast<int>(
      std::count_if(begin(), end(), [](T x) { return x != T(0); }));
}

template <typename T>
bool CDenseVector<T>::isNaN() const {
  for (int i = 1; i < dim; ++i)
    if (std::isnan(static_cast<double>(data[i]))) return true;
  return false;
}

template <typename T>
T CDenseVector<T>::euclideanLength(bool squared) const {
  T sum = 0;
  for (const T x : *this) sum = add(sum, multiply(x, x));
  return squared ? sum : squareRoot(sum);
}

template <typename T>
T CDenseVector<T>::getElement(int i) const {
  return elementOrZero(*this, i);
}

template <typename T>
void CDenseVector<T>::setElement(int i, T value) {
  if (i >= 0 && i < dim) data[i] = value;
}

template <typename T>
void CDenseVector<T>::copy(const CVector<T>& source) {
  if (&source == this) return;
  adopt(allocate<T>(source.dimension()), source.dimension());
  CVectorOperations<T>::getInstance().getElementCopy(*this, source)(*this,
                                                                    source);
}

template <typename T>
void CDenseVector<T>::zeros() {
  std::fill(begin(), end(), T(0));
}

template <typename T>
void CDenseVector<T>::ones() {
  std::fill(begin(), end(), T(1));
}

template <typename T>
void CDenseVector<T>::resize(int n) {
  T* fresh = allocate<T>(n);
  const int kept = std::min(std::max(n, 0), dim);
  std::copy(data, data + kept, fresh);
  adopt(fresh, n);
}

template <typename T>
void CDenseVector<T>::cat(const CDenseVector<T>& other) {
  const int otherDim = other.dim;
  T* fresh = allocate<T>(dim + otherDim);
  std::copy(begin(), end(), fresh);
  std::copy(other.begin(), other.end(), fresh + dim);
  adopt(fresh, dim + otherDim);
}

template <typename T>
CDenseVector<T>& CDenseVector<T>::operator+=(T value) {
  for (T& x : *this) x = add(x, value);
  return *this;
}

template <typename T>
CDenseVector<T>& CDenseVector<T>::operator-=(T value) {
  for (T& x : *this) x = subtract(x, value);
  return *this;
}

template <typename T>
CDenseVector<T>& CDenseVector<T>::operator+=(const CVector<T>& other) {
  CVectorOperations<T>::getInstance().getElementAddition(*this, other)(
      *this, *this, other);
  return *this;
}

template <typename T>
CDenseVector<T>& CDenseVector<T>::operator-=(const CVector<T>& other) {
  CVectorOperations<T>::getInstance().getElementSubtraction(*this, other)(
      *this, *this, other);
  return *this;
}

template <typename T>
CDenseVector<T>& CDenseVector<T>::operator*=(const CVector<T>& other) {
  CVector<T>::operator*=(other);
  return *this;
}

template <typename T>
CDenseVector<T>& CDenseVector<T>::operator/=(const CVector<T>& other) {
  CVector<T>::operator/=(other);
  return *this;
}

template <typename T>
CDenseVector<T> CDenseVector<T>::squareroot() const {
  CDenseVector<T> result(*this);
  for (T& x : result) x = squareRoot(x);
  return result;
}

template <typename T>
CDenseVector<T> CDenseVector<T>::power(int) const {
  CDenseVector<T> result(dim);
  for (int i = 0; i < dim; ++i) {
    if constexpr (std::is_same_v<T, int>)
      result.data[i] = vecml::detail::truncateToInt(
          std::pow(static_cast<double>(data[i]), static_cast<double>(i)));
    else
      result.data[i] = std::pow(data[i], static_cast<T>(i));
  }
  return result;
}

template <typename T>
CDenseVector<T> CDenseVector<T>::maxElements(
    const CDenseVector<T>& other) const {
  CDenseVector<T> result(dim);
  for (int i = 0; i < dim; ++i)
    result.data[i] = std::max(data[i], elementOrZero(other, i));
  return result;
}

template <typename T>
CDenseVector<T> CDenseVector<T>::minElements(
    const CDenseVector<T>& other) const {
  CDenseVector<T> result(dim);
  for (int i = 0; i < dim; ++i)
    result.data[i] = std::min(data[i], elementOrZero(other, i));
  return result;
}

template <typename T>
CDenseVector<T> CDenseVector<T>::subVector(int start, int length) const {
  CDenseVector<T> result(length);
  for (int j = 0; j < result.dim; ++j)
    result.data[j] = elementOrZero(*this, static_cast<long long>(start) + j);
  return result;
}

template <typename T>
CDenseVector<T> CDenseVector<T>::shiftLeft(int k) const {
  CDenseVector<T> result(dim);
  if (dim == 0) return result;
  const int offset = rotation(k, dim);
  std::rotate_copy(begin(), begin() + offset, end(), result.begin());
  return result;
}

template <typename T>
CDenseVector<T> CDenseVector<T>::shiftRight(int k) const {
  CDenseVector<T> result(dim);
  if (dim == 0) return result;
  const int offset = rotation(k, dim);
  std::rotate_copy(begin(), end() - offset, end(), result.begin());
  return result;
}

template <typename T>
CDenseVector<T> CDenseVector<T>::scale(const CDenseVector<T>& a,
                                       const CDenseVector<T>& b,
                                       const CDenseVector<T>& c,
                                       const CDenseVector<T>& d) const {
  CDenseVector<T> result(dim);
  for (int i = 0; i < dim; ++i) {
    const T from = elementOrZero(a, i), to = elementOrZero(b, i);
    const T low = elementOrZero(c, i), high = elementOrZero(d, i);
    const T width = subtract(to, from);
    const T slope = divide(multiply(data[i], subtract(high, low)), width);
    const T offset =
        divide(subtract(multiply(low, to), multiply(high, from)), width);
    result.data[i] = add(slope, offset);
  }
  return result;
}

template <typename T>
T CDenseVector<T>::sumElements() const {
  T sum = 0;
  for (const T x : *this) sum = add(sum, x);
  return sum;
}

template <typename T>
T CDenseVector<T>::mean() const {
  if constexpr (std::is_same_v<T, int>)
    return divide(sumElements(), dim);
  else
    return sumElements() / static_cast<T>(dim);
}

template <typename T>
T CDenseVector<T>::stdDev() const {
  const T average = mean();
  T sum = 0;
  for (const T x : *this) {
    const T deviation = subtract(x, average);
    sum = add(sum, multiply(deviation, deviation));
  }
  // The divisor is dim (population form), taken through float.
  const float divisor = static_cast<float>(dim);
  if constexpr (std::is_same_v<T, int>)
    return vecml::detail::truncateToInt(
        std::sqrt(static_cast<float>(sum) / divisor));
  else
    return std::sqrt(sum / static_cast<T>(divisor));
}

template <typename T>
T CDenseVector<T>::minElement() const {
  if (dim == 0) return T(0);
  T smallest = data[0];
  for (const T x : *this)
    if (x < smallest) smallest = x;
  return smallest;
}

template <typename T>
T CDenseVector<T>::maxElement() const {
  if (dim == 0) return T(0);
  T largest = data[0];
  for (const T x : *this)
    if (x > largest) largest = x;
  return largest;
}

template <typename T>
int CDenseVector<T>::minElementIndex() const {
  int best = 0;
  for (int i = 1; i < dim; ++i)
    if (data[i] < data[best]) best = i;
  return best;
}

template <typename T>
int CDenseVector<T>::maxElementIndex() const {
  int best = 0;
  for (int i = 1; i < dim; ++i)
    if (data[i] > data[best]) best = i;
  return best;
}

template <typename T>
T CDenseVector<T>::manhattenDistance(const CDenseVector<T>& other) const {
  T sum = 0;
  for (int i = 0; i < dim; ++i)
    sum = add(sum, absolute(subtract(data[i], elementOrZero(other, i))));
  return sum;
}

template <typename T>
T CDenseVector<T>::maximumDistance(const CDenseVector<T>& other) const {
  T largest = 0;
  for (int i = 0; i < dim; ++i) {
    const T distance = absolute(subtract(data[i], elementOrZero(other, i)));
    if (distance > largest) largest = distance;
  }
  return largest;
}

template <typename T>
std::ostream& CDenseVector<T>::dump(std::ostream& os) const {
  os << "Vector dim: " << dim << ": " << std::endl << "[ ";
  for (const T x : *this) os << x << " ";
  std::cout << " ]" << std::endl << std::endl;
  return std::cout;
}

template <typename T>
CDenseVector<T> elementMul(const CDenseVector<T>& x, const CDenseVector<T>& y) {
  CDenseVector<T> result(x.dimension());
  for (int i = 0; i < x.dimension(); ++i)
    result[i] = multiply(x._data()[i], elementOrZero(y, i));
  return result;
}

VECML_FOR_ELEMENT_TYPES(VECML_DENSE_VECTOR_INSTANTIATIONS, template)
