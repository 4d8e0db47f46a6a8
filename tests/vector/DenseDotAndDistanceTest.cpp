// SPDX-License-Identifier: MIT
// The dense-dense scalar product and Euclidean distance against plain
// sequential sums written here, bit for bit, on random vectors of awkward
// dimensions; int sums wrap (the reference uses the library's wrapping
// int arithmetic).
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <vector>

#include "support/BitPattern.h"
#include "vecml/core/detail/Arithmetic.h"
#include "vecml/vector/CDenseVector.h"
#include "vecml/vector/CSparseVector.h"
#include "vecml/vector/CVectorOperations.h"

namespace {

template <typename T>
class DenseDotAndDistanceTest : public testing::Test {};
using ElementTypes = testing::Types<int, float, double>;
TYPED_TEST_SUITE(DenseDotAndDistanceTest, ElementTypes);

const int kAwkwardDimensions[] = {0, 1, 7, 17, 63, 65, 129, 1024};

using vecml::detail::add;
using vecml::detail::multiply;
using vecml::detail::subtract;

// Element i of x, 0 beyond it.
template <typename T>
T elementOr0(const std::vector<T>& x, std::size_t i) {
  return i < x.size() ? x[i] : T(0);
}

// The sums walk the first operand's dimension in order.
template <typename T>
T referenceDot(const std::vector<T>& a, const std::vector<T>& b) {
  T sum = 0;
  for (std::size_t i = 0; i < a.size(); ++i)
    sum = add(sum, multiply(a[i], elementOr0(b, i)));
  return sum;
}

template <typename T>
T referenceSquaredDistance(const std::vector<T>& a, const std::vector<T>& b) {
  T sum = 0;
  for (std::size_t i = 0; i < a.size(); ++i) {
    const T difference = subtract(elementOr0(b, i), a[i]);
    sum = add(sum, multiply(difference, difference));
  }
  return sum;
}

// The rooted distance: for int the root of the wrapped sum in double,
// truncated toward zero (a negative sum gives INT_MIN).
template <typename T>
T referenceDistance(const std::vector<T>& a, const std::vector<T>& b) {
  const T sum = referenceSquaredDistance(a, b);
  if constexpr (std::is_same_v<T, int>) {
    const double root = std::sqrt(static_cast<double>(sum));
    return std::isnan(root) ? INT_MIN : static_cast<int>(root);
  } else {
    return std::sqrt(sum);
  }
}

// int elements large enough that products and sums wrap.
template <typename T>
std::vector<T> randomValues(int n, std::mt19937& random) {
  std::vector<T> values(n);
  if constexpr (std::is_same_v<T, int>) {
    std::uniform_int_distribution<int> uniform(-100000, 100000);
    for (T& value : values) value = uniform(random);
  } else {
    std::uniform_real_distribution<T> uniform(-10, 10);
    for (T& value : values) value = uniform(random);
  }
  return values;
}

#define EXPECT_SAME_BITS(actual, expected)    \
  EXPECT_EQ(bitsOf(actual), bitsOf(expected)) \
      << (actual) << " vs " << (expected)

TYPED_TEST(DenseDotAndDistanceTest, EqualDimensionsMatchTheSequentialSums) {
  using T = TypeParam;
  std::mt19937 random(42);
  for (const int n : kAwkwardDimensions) {
    SCOPED_TRACE("dimension " + std::to_string(n));
    for (int round = 0; round < 3; ++round) {
      const std::vector<T> x = randomValues<T>(n, random);
      const std::vector<T> y = randomValues<T>(n, random);
      const CDenseVector<T> a(x), b(y);
      EXPECT_SAME_BITS(a * b, referenceDot(x, y));
      EXPECT_SAME_BITS(a.euclideanDistance(b, true),
                       referenceSquaredDistance(x, y));
      EXPECT_SAME_BITS(a.euclideanDistance(b, false), referenceDistance(x, y));
    }
  }
}

// Client arrays may start anywhere a T may: the kernels give the same bits
// with the elements at every offset from a 64-byte boundary.
TYPED_TEST(DenseDotAndDistanceTest, ArraysAtEveryElementOffsetGiveTheSameBits) {
  using T = TypeParam;
  constexpr int kLineElements = 64 / sizeof(T);
  std::mt19937 random(11);
  for (const int n : {17, 65, 129}) {
    const std::vector<T> x = randomValues<T>(n, random);
    const std::vector<T> y = randomValues<T>(n, random);
    alignas(64) T xStorage[129 + 16], yStorage[129 + 16];
    for (int offset = 0; offset < kLineElements; ++offset) {
      SCOPED_TRACE("dimension " + std::to_string(n) + ", offset " +
                   std::to_string(offset));
      std::copy(x.begin(), x.end(), xStorage + offset);
      std::copy(y.begin(), y.end(), yStorage + (kLineElements - 1 - offset));
      CDenseVector<T> a(n), b(n);
      T* const ownA = a._data();
      T* const ownB = b._data();
      a._setData(xStorage + offset);
      b._setData(yStorage + (kLineElements - 1 - offset));
      const T dot = a * b;
      const T squared = a.euclideanDistance(b, true);
      a._setData(ownA);  // the vectors release only their own arrays
      b._setData(ownB);
      EXPECT_SAME_BITS(dot, referenceDot(x, y));
      EXPECT_SAME_BITS(squared, referenceSquaredDistance(x, y));
    }
  }
}

TYPED_TEST(DenseDotAndDistanceTest, IntSumsWrap) {
  if constexpr (std::is_same_v<TypeParam, int>) {
    const std::vector<int> x{INT_MAX, 2, 65536}, y{1, INT_MAX, 65536};
    const CDenseVector<int> a(x), b(y);
    EXPECT_EQ(a * b, referenceDot(x, y));
    EXPECT_EQ(a * b, static_cast<int>(0x7fffffffu + 0xfffffffeu + 0u));
    EXPECT_EQ(a.euclideanDistance(b, true), referenceSquaredDistance(x, y));
  }
}

TYPED_TEST(DenseDotAndDistanceTest, TheFirstOperandsDimensionIsWalked) {
  using T = TypeParam;
  std::mt19937 random(7);
  const std::vector<T> longer = randomValues<T>(65, random);
  const std::vector<T> shorter = randomValues<T>(17, random);
  const CDenseVector<T> a(longer), b(shorter);
  // The shorter second operand reads as 0 beyond its end.
  EXPECT_SAME_BITS(a * b, referenceDot(longer, shorter));
  EXPECT_SAME_BITS(a.euclideanDistance(b, true),
                   referenceSquaredDistance(longer, shorter));
  // The longer second operand's tail is not read.
  EXPECT_SAME_BITS(b * a, referenceDot(shorter, longer));
  EXPECT_SAME_BITS(b.euclideanDistance(a, true),
                   referenceSquaredDistance(shorter, longer));
}

TYPED_TEST(DenseDotAndDistanceTest, NaNAndInfinityFlowThroughInOrder) {
  using T = TypeParam;
  if constexpr (!std::is_same_v<T, int>) {
    const T inf = std::numeric_limits<T>::infinity();
    const std::vector<T> x{1, inf, 3, -inf}, y{2, 1, 0, 1};
    const CDenseVector<T> a(x), b(y);
    EXPECT_TRUE(std::isnan(a * b));  // inf + -inf
    EXPECT_SAME_BITS(a * b, referenceDot(x, y));
    EXPECT_SAME_BITS(a.euclideanDistance(b, true),
                     referenceSquaredDistance(x, y));
  }
}

// A dense vector of a class the dispatch does not know.
template <typename T>
class DerivedDenseVector : public CDenseVector<T> {
 public:
  using CDenseVector<T>::CDenseVector;
};

TYPED_TEST(DenseDotAndDistanceTest,
           KernelsConvertSubclassesAndRefuseOtherKinds) {
  using T = TypeParam;
  std::mt19937 random(3);
  const std::vector<T> x = randomValues<T>(17, random);
  const std::vector<T> y = randomValues<T>(17, random);
  const CDenseVector<T> a(x), b(y);
  const auto& ops = CVectorOperations<T>::getInstance();
  const auto dot = ops.getScalarProduct(a, b);
  const auto distance = ops.getEuclideanDistance(a, b);

  const DerivedDenseVector<T> derived(17, x.data());
  EXPECT_SAME_BITS(dot(derived, b), referenceDot(x, y));
  EXPECT_SAME_BITS(distance(b, derived), referenceSquaredDistance(y, x));

  const CSparseVector<T> sparse(a);
  EXPECT_THROW(dot(sparse, b), std::bad_cast);
  EXPECT_THROW(distance(a, sparse), std::bad_cast);
  // Through the members the dispatch refuses the unknown class.
  EXPECT_THROW(derived * b, const char*);
}

}  // namespace
