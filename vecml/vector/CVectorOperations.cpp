// SPDX-License-Identifier: MIT
#include "vecml/vector/CVectorOperations.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <type_traits>
#include <typeinfo>
#include <utility>

#include "vecml/core/CException.h"
#include "vecml/core/detail/Arithmetic.h"
#include "vecml/vector/CDenseVector.h"
#include "vecml/vector/CSparseVector.h"
#include "vecml/vector/detail/ExactKind.h"

using vecml::detail::add;
using vecml::detail::divide;
using vecml::detail::multiply;
using vecml::detail::subtract;
using vecml::detail::truncateToInt;

const char* UnsupportedArgumentsException::what() const noexcept {
  return "Unsupported argument types for this operation";
}

namespace {

// Converts an operand to its concrete kind. The exact class is recognised
// by one typeid comparison, which is much cheaper than the dynamic_cast that
// a subclass needs; a wrong kind still ends in std::bad_cast.
template <typename Concrete, typename T>
const Concrete& as(const CVector<T>& v) {
  if (const Concrete* exact = vecml::detail::exactly<Concrete>(v))
    return *exact;
  return dynamic_cast<const Concrete&>(v);
}
template <typename Concrete, typename T>
Concrete& as(CVector<T>& v) {
  if (Concrete* exact = vecml::detail::exactly<Concrete>(v)) return *exact;
  return dynamic_cast<Concrete&>(v);
}

template <typename T>
const CDenseVector<T>& asDense(const CVector<T>& v) {
  return as<CDenseVector<T>>(v);
}
template <typename T>
CDenseVector<T>& asDense(CVector<T>& v) {
  return as<CDenseVector<T>>(v);
}
template <typename T>
const CSparseVector<T>& asSparse(const CVector<T>& v) {
  return as<CSparseVector<T>>(v);
}
template <typename T>
CSparseVector<T>& asSparse(CVector<T>& v) {
  return as<CSparseVector<T>>(v);
}

// Element i of a dense vector, 0 outside it.
template <typename T>
T at(const CDenseVector<T>& v, int i) {
  return (i >= 0 && i < v.dimension()) ? v._data()[i] : T(0);
}

// Calls visit(index, valueOfA, valueOfB) for every index stored in a or b,
// ascending; the side that does not store an index contributes 0.
template <typename T, typename Visit>
void mergeEntries(const CSparseVector<T>& a, const CSparseVector<T>& b,
                  Visit visit) {
  const auto* p = a.begin();
  const auto* q = b.begin();
  while (p != a.end() || q != b.end()) {
    if (q == b.end() || (p != a.end() && p->first < q->first)) {
      visit(p->first, p->second, T(0));
      ++p;
    } else if (p == a.end() || q->first < p->first) {
      visit(q->first, T(0), q->second);
      ++q;
    } else {
      visit(p->first, p->second, q->second);
      ++p;
      ++q;
    }
  }
}

// Calls visit(i, dense[i], sparse value at i or 0) for every i of the dense
// vector, ascending. Stored entries outside the dense vector are skipped.
template <typename T, typename Visit>
void walkDenseWithSparse(const CDenseVector<T>& dense,
                         const CSparseVector<T>& sparse, Visit visit) {
  const T* values = dense._data();
  const auto* entry = sparse.begin();
  for (int i = 0; i < dense.dimension(); ++i) {
    while (entry != sparse.end() && entry->first < i) ++entry;
    const bool stored = entry != sparse.end() && entry->first == i;
    visit(i, values[i], stored ? entry->second : T(0));
  }
}

// ---- scalar product -------------------------------------------------------

template <typename T>
T scalarProductSS(const CVector<T>& a, const CVector<T>& b) {
  T sum = 0;
  mergeEntries(asSparse(a), asSparse(b),
               [&](int, T x, T y) { sum = add(sum, multiply(x, y)); });
  return sum;
}

template <typename T>
T scalarProductSD(const CVector<T>& a, const CVector<T>& b) {
  const CDenseVector<T>& dense = asDense(b);
  T sum = 0;
  for (const auto& [index, value] : asSparse(a))
    sum = add(sum, multiply(value, at(dense, index)));
  return sum;
}

template <typename T>
T scalarProductDS(const CVector<T>& a, const CVector<T>& b) {
  const CDenseVector<T>& dense = asDense(a);
  T sum = 0;
  for (const auto& [index, value] : asSparse(b))
    sum = add(sum, multiply(at(dense, index), value));
  return sum;
}

template <typename T>
T scalarProductDD(const CVector<T>& a, const CVector<T>& b) {
  const CDenseVector<T>& x = asDense(a);
  const CDenseVector<T>& y = asDense(b);
  const int n = x.dimension();
  const int common = std::min(n, y.dimension());
  const T* xs = x._data();
  const T* ys = y._data();
  T sum = 0;
  for (int i = 0; i < common; ++i) sum = add(sum, multiply(xs[i], ys[i]));
  for (int i = common; i < n; ++i) sum = add(sum, multiply(xs[i], T(0)));
  return sum;
}

// ---- squared euclidean distance --------------------------------------------

template <typename T>
T squaredDifference(T a, T b) {
  const T difference = subtract(b, a);
  return multiply(difference, difference);
}

template <typename T>
T euclideanDistanceSS(const CVector<T>& a, const CVector<T>& b) {
  T sum = 0;
  mergeEntries(asSparse(a), asSparse(b),
               [&](int, T x, T y) { sum = add(sum, squaredDifference(x, y)); });
  return sum;
}

template <typename T>
T euclideanDistanceSD(const CVector<T>& a, const CVector<T>& b) {
  T sum = 0;
  walkDenseWithSparse(asDense(b), asSparse(a), [&](int, T y, T x) {
    sum = add(sum, squaredDifference(x, y));
  });
  return sum;
}

template <typename T>
T euclideanDistanceDS(const CVector<T>& a, const CVector<T>& b) {
  T sum = 0;
  walkDenseWithSparse(asDense(a), asSparse(b), [&](int, T x, T y) {
    sum = add(sum, squaredDifference(x, y));
  });
  return sum;
}

template <typename T>
T euclideanDistanceDD(const CVector<T>& a, const CVector<T>& b) {
  const CDenseVector<T>& x = asDense(a);
  const CDenseVector<T>& y = asDense(b);
  const int n = x.dimension();
  const int common = std::min(n, y.dimension());
  const T* xs = x._data();
  const T* ys = y._data();
  T sum = 0;
  for (int i = 0; i < common; ++i)
    sum = add(sum, squaredDifference(xs[i], ys[i]));
  for (int i = common; i < n; ++i)
    sum = add(sum, squaredDifference(xs[i], T(0)));
  return sum;
}

// ---- coCosine distance -----------------------------------------------------

// The three sums of the cosine: a.b, a.a and b.b.
template <typename T>
struct CosineSums {
  T ab = 0, aa = 0, bb = 0;

  void addPair(T x, T y) {
    ab = add(ab, multiply(x, y));
    aa = add(aa, multiply(x, x));
    bb = add(bb, multiply(y, y));
  }

  // ab / sqrt(aa * bb), or ab itself when aa * bb is not positive. int sums
  // are divided and rooted in double and the quotient truncated.
  T cosine() const {
    const T norms = multiply(aa, bb);
    if (!(norms > 0)) return ab;
    if constexpr (std::is_same_v<T, int>)
      return truncateToInt(double(ab) / std::sqrt(double(norms)));
    else
      return ab / std::sqrt(norms);
  }
};

template <typename T>
T coCosineSS(const CVector<T>& a, const CVector<T>& b) {
  CosineSums<T> sums;
  mergeEntries(asSparse(a), asSparse(b),
               [&](int, T x, T y) { sums.addPair(x, y); });
  return sums.cosine();
}

template <typename T>
T coCosineSD(const CVector<T>& a, const CVector<T>& b) {
  CosineSums<T> sums;
  walkDenseWithSparse(asDense(b), asSparse(a),
                      [&](int, T y, T x) { sums.addPair(x, y); });
  return sums.cosine();
}

template <typename T>
T coCosineDS(const CVector<T>& a, const CVector<T>& b) {
  CosineSums<T> sums;
  walkDenseWithSparse(asDense(a), asSparse(b),
                      [&](int, T x, T y) { sums.addPair(x, y); });
  return sums.cosine();
}

template <typename T>
T coCosineDD(const CVector<T>& a, const CVector<T>& b) {
  const CDenseVector<T>& x = asDense(a);
  const CDenseVector<T>& y = asDense(b);
  CosineSums<T> sums;
  for (int i = 0; i < x.dimension(); ++i) sums.addPair(x._data()[i], at(y, i));
  return sums.cosine();
}

// ---- element product and division ------------------------------------------

struct Multiply {
  template <typename T>
  T operator()(T x, T y) const {
    return multiply(x, y);
  }
};

struct Divide {
  template <typename T>
  T operator()(T x, T y) const {
    return divide(x, y);
  }
};

// Sparse destination: each stored value is combined with the source's value
// at its index and keeps its index.
template <typename T, typename Op>
void elementwiseSS(CVector<T>& dst, const CVector<T>& src) {
  const CSparseVector<T>& source = asSparse(src);
  for (auto& entry : asSparse(dst))
    entry.second = Op()(entry.second, source.getElement(entry.first));
}

template <typename T, typename Op>
void elementwiseSD(CVector<T>& dst, const CVector<T>& src) {
  const CDenseVector<T>& source = asDense(src);
  for (auto& entry : asSparse(dst))
    entry.second = Op()(entry.second, at(source, entry.first));
}

// Dense destination, sparse source: unstored positions combine with 0.
template <typename T, typename Op>
void elementwiseDS(CVector<T>& dst, const CVector<T>& src) {
  CDenseVector<T>& destination = asDense(dst);
  T* values = destination._data();
  walkDenseWithSparse(destination, asSparse(src),
                      [&](int i, T x, T y) { values[i] = Op()(x, y); });
}

template <typename T, typename Op>
void elementwiseDD(CVector<T>& dst, const CVector<T>& src) {
  CDenseVector<T>& x = asDense(dst);
  const CDenseVector<T>& y = asDense(src);
  const int n = x.dimension();
  const int common = std::min(n, y.dimension());
  T* xs = x._data();
  const T* ys = y._data();
  for (int i = 0; i < common; ++i) xs[i] = Op()(xs[i], ys[i]);
  for (int i = common; i < n; ++i) xs[i] = Op()(xs[i], T(0));
}

// ---- element copy ----------------------------------------------------------

// A sparse destination takes the source's entries that lie inside its own
// dimension.
template <typename T>
void copySS(CVector<T>& dst, const CVector<T>& src) {
  CSparseVector<T>& destination = asSparse(dst);
  const CSparseVector<T>& source = asSparse(src);
  const int dim = destination.dimension();
  const auto inside = [dim](const std::pair<int, T>& entry) {
    return entry.first >= 0 && entry.first < dim;
  };
  CSparseVector<T> copy(dim, static_cast<int>(std::count_if(
                                 source.begin(), source.end(), inside)));
  int position = 0;
  for (const auto& entry : source)
    if (inside(entry)) copy.setElement(position++, entry);
  destination = std::move(copy);
}

template <typename T>
[[noreturn]] void unsupported_arguments(CVector<T>&, const CVector<T>&) {
  throw UnsupportedArgumentsException();
}

template <typename T>
void copyDS(CVector<T>& dst, const CVector<T>& src) {
  CDenseVector<T>& destination = asDense(dst);
  T* values = destination._data();
  walkDenseWithSparse(destination, asSparse(src),
                      [&](int i, T, T y) { values[i] = y; });
}

template <typename T>
void copyDD(CVector<T>& dst, const CVector<T>& src) {
  CDenseVector<T>& x = asDense(dst);
  const CDenseVector<T>& y = asDense(src);
  const int n = x.dimension();
  const int common = std::min(n, y.dimension());
  std::copy(y._data(), y._data() + common, x._data());
  std::fill(x._data() + common, x._data() + n, T(0));
}

// ---- element addition and subtraction --------------------------------------

struct Add {
  template <typename T>
  T operator()(T x, T y) const {
    return add(x, y);
  }
};

struct Subtract {
  template <typename T>
  T operator()(T x, T y) const {
    return subtract(x, y);
  }
};

// Writes result[i], dropping positions outside the result.
template <typename T>
void put(CDenseVector<T>& result, int i, T value) {
  if (i >= 0 && i < result.dimension()) result._data()[i] = value;
}

// Clears the result over a's dimension, then stores a's entries and
// combines b's entries into them.
template <typename T, typename Op>
void combineSS(CDenseVector<T>& result, const CVector<T>& a,
               const CVector<T>& b) {
  const CSparseVector<T>& first = asSparse(a);
  const int cleared = std::min(first.dimension(), result.dimension());
  std::fill(result._data(), result._data() + cleared, T(0));
  for (const auto& [index, value] : first) put(result, index, value);
  for (const auto& [index, value] : asSparse(b))
    put(result, index, Op()(at(result, index), value));
}

template <typename T, typename Op>
void combineSD(CDenseVector<T>& result, const CVector<T>& a,
               const CVector<T>& b) {
  walkDenseWithSparse(asDense(b), asSparse(a),
                      [&](int i, T y, T x) { put(result, i, Op()(x, y)); });
}

template <typename T, typename Op>
void combineDS(CDenseVector<T>& result, const CVector<T>& a,
               const CVector<T>& b) {
  walkDenseWithSparse(asDense(a), asSparse(b),
                      [&](int i, T x, T y) { put(result, i, Op()(x, y)); });
}

template <typename T, typename Op>
void combineDD(CDenseVector<T>& result, const CVector<T>& a,
               const CVector<T>& b) {
  const CDenseVector<T>& x = asDense(a);
  const CDenseVector<T>& y = asDense(b);
  const int n = std::min(x.dimension(), result.dimension());
  const int common = std::min(n, y.dimension());
  const T* xs = x._data();
  const T* ys = y._data();
  T* out = result._data();
  for (int i = 0; i < common; ++i) out[i] = Op()(xs[i], ys[i]);
  for (int i = common; i < n; ++i) out[i] = Op()(xs[i], T(0));
}

// ---- element adapt ---------------------------------------------------------

// rate * source for one element: for int formed in single precision and
// truncated toward zero, otherwise in T.
template <typename T>
T scaled(float factor, T value) {
  if constexpr (std::is_same_v<T, int>)
    return truncateToInt(factor * static_cast<float>(value));
  else
    return static_cast<T>(factor) * value;
}

// keep * dst + rate * src, or dst + rate * src when keep is exactly 1.
template <typename T>
T adapted(T destination, T source, float rate, float keep) {
  const T kept = keep == 1.0f ? destination : scaled(keep, destination);
  return add(kept, scaled(rate, source));
}

template <typename T>
[[noreturn]] void adaptSparse(CVector<T>&, const CVector<T>&, float, float) {
  throw CException("Adaptation of sparse vectors is not supported.");
}

template <typename T>
void adaptDS(CVector<T>& dst, const CVector<T>& src, float rate, float keep) {
  CDenseVector<T>& destination = asDense(dst);
  T* values = destination._data();
  if (keep != 1.0f) {
    for (int i = 0; i < destination.dimension(); ++i)
      values[i] = scaled(keep, values[i]);
  }
  for (const auto& [index, value] : asSparse(src))
    put(destination, index, add(at(destination, index), scaled(rate, value)));
}

template <typename T>
void adaptDD(CVector<T>& dst, const CVector<T>& src, float rate, float keep) {
  CDenseVector<T>& x = asDense(dst);
  const CDenseVector<T>& y = asDense(src);
  const int n = x.dimension();
  const int common = std::min(n, y.dimension());
  T* xs = x._data();
  const T* ys = y._data();
  if (keep == 1.0f) {
    for (int i = 0; i < common; ++i) xs[i] = add(xs[i], scaled(rate, ys[i]));
  } else {
    for (int i = 0; i < common; ++i) xs[i] = adapted(xs[i], ys[i], rate, keep);
  }
  for (int i = common; i < n; ++i) xs[i] = adapted(xs[i], T(0), rate, keep);
}

}  // namespace

template <typename T>
CVectorOperations<T>::CVectorOperations()
    : scalarProduct{scalarProductSS<T>, scalarProductSD<T>, scalarProductDS<T>,
                    scalarProductDD<T>},
      euclideanDistance{euclideanDistanceSS<T>, euclideanDistanceSD<T>,
                        euclideanDistanceDS<T>, euclideanDistanceDD<T>},
      coCosineDistance{coCosineSS<T>, coCosineSD<T>, coCosineDS<T>,
                       coCosineDD<T>},
      elementProduct{elementwiseSS<T, Multiply>, elementwiseSD<T, Multiply>,
                     elementwiseDS<T, Multiply>, elementwiseDD<T, Multiply>},
      elementDivision{elementwiseSS<T, Divide>, elementwiseSD<T, Divide>,
                      elementwiseDS<T, Divide>, elementwiseDD<T, Divide>},
      elementCopy{copySS<T>, unsupported_arguments<T>, copyDS<T>, copyDD<T>},
      elementAddition{combineSS<T, Add>, combineSD<T, Add>, combineDS<T, Add>,
                      combineDD<T, Add>},
      elementSubtraction{combineSS<T, Subtract>, combineSD<T, Subtract>,
                         combineDS<T, Subtract>, combineDD<T, Subtract>},
      elementAdapt{adaptSparse<T>, adaptSparse<T>, adaptDS<T>, adaptDD<T>} {}

template <typename T>
CVectorOperations<T>& CVectorOperations<T>::getInstance() {
  static CVectorOperations<T> instance;
  return instance;
}

template <typename T>
int CVectorOperations<T>::getIndex(const std::type_info& first,
                                   const std::type_info& second) const {
  const auto kind = [](const std::type_info& type) {
    if (type == typeid(CDenseVector<T>)) return 1;
    if (type == typeid(CSparseVector<T>)) return 0;
    throw "bad operation requested";
  };
  const int firstKind = kind(first);
  return 2 * firstKind + kind(second);
}

template <typename T>
typename CVectorOperations<T>::ScalarFunction
CVectorOperations<T>::lookupScalarFunction(const ScalarFunction* table,
                                           const CVector<T>& a,
                                           const CVector<T>& b) const {
  return table[getIndex(typeid(a), typeid(b))];
}

template <typename T>
typename CVectorOperations<T>::InplaceFunction
CVectorOperations<T>::lookupInplaceFunction(const InplaceFunction* table,
                                            const CVector<T>& a,
                                            const CVector<T>& b) const {
  return table[getIndex(typeid(a), typeid(b))];
}

template <typename T>
typename CVectorOperations<T>::InplaceFunctionArg
CVectorOperations<T>::lookupInplaceFunctionArg(const InplaceFunctionArg* table,
                                               const CVector<T>& a,
                                               const CVector<T>& b) const {
  return table[getIndex(typeid(a), typeid(b))];
}

template <typename T>
typename CVectorOperations<T>::CopyFunction
CVectorOperations<T>::lookupCopyFunction(const CopyFunction* table,
                                         const CVector<T>& a,
                                         const CVector<T>& b) const {
  return table[getIndex(typeid(a), typeid(b))];
}

template <typename T>
typename CVectorOperations<T>::ScalarFunction
CVectorOperations<T>::getScalarProduct(const CVector<T>& a,
                                       const CVector<T>& b) const {
  return lookupScalarFunction(scalarProduct, a, b);
}

template <typename T>
typename CVectorOperations<T>::ScalarFunction
CVectorOperations<T>::getEuclideanDistance(const CVector<T>& a,
                                           const CVector<T>& b) const {
  return lookupScalarFunction(euclideanDistance, a, b);
}

template <typename T>
typename CVectorOperations<T>::ScalarFunction
CVectorOperations<T>::getCoCosineDistance(const CVector<T>& a,
                                          const CVector<T>& b) const {
  return lookupScalarFunction(coCosineDistance, a, b);
}

template <typename T>
typename CVectorOperations<T>::InplaceFunction
CVectorOperations<T>::getElementProduct(const CVector<T>& dst,
                                        const CVector<T>& src) const {
  return lookupInplaceFunction(elementProduct, dst, src);
}

template <typename T>
typename CVectorOperations<T>::InplaceFunction
CVectorOperations<T>::getElementDivision(const CVector<T>& dst,
                                         const CVector<T>& src) const {
  return lookupInplaceFunction(elementDivision, dst, src);
}

template <typename T>
typename CVectorOperations<T>::InplaceFunction
CVectorOperations<T>::getElementCopy(const CVector<T>& dst,
                                     const CVector<T>& src) const {
  return lookupInplaceFunction(elementCopy, dst, src);
}

template <typename T>
typename CVectorOperations<T>::CopyFunction
CVectorOperations<T>::getElementAddition(const CVector<T>& a,
                                         const CVector<T>& b) const {
  return lookupCopyFunction(elementAddition, a, b);
}

template <typename T>
typename CVectorOperations<T>::CopyFunction
CVectorOperations<T>::getElementSubtraction(const CVector<T>& a,
                                            const CVector<T>& b) const {
  return lookupCopyFunction(elementSubtraction, a, b);
}

template <typename T>
typename CVectorOperations<T>::InplaceFunctionArg
CVectorOperations<T>::getElementAdapt(const CVector<T>& dst,
                                      const CVector<T>& src) const {
  return lookupInplaceFunctionArg(elementAdapt, dst, src);
}

VECML_FOR_ELEMENT_TYPES(VECML_VECTOR_OPERATIONS_INSTANTIATIONS, template)
