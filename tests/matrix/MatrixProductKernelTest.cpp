// SPDX-License-Identifier: MIT
#include "vecml/matrix/detail/MatrixProduct.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <limits>
#include <random>
#include <vector>

#include "matrix/MatrixTestSupport.h"

namespace {

using vecml::detail::CpuLevel;
using vecml::detail::ProductOperands;

template <typename T>
class MatrixProductKernelTest : public testing::Test {};
TYPED_TEST_SUITE(MatrixProductKernelTest, FloatingTypes);

// Operands with their storage; c starts filled with 7 so a path that
// leaves an element unwritten shows.
template <typename T>
struct Product {
  std::vector<T> a, b, c;
  ProductShape shape;

  Product(ProductShape s, std::mt19937& random) : shape(s) {
    std::uniform_real_distribution<T> uniform(-1, 1);
    a.resize(static_cast<std::size_t>(s.m) * s.depth);
    b.resize(static_cast<std::size_t>(s.ldb) * s.n);
    for (T& x : a) x = uniform(random);
    for (T& x : b) x = uniform(random);
  }

  ProductOperands<T> operands() {
    c.assign(static_cast<std::size_t>(shape.m) * shape.n, T(7));
    return {a.data(),    b.data(), c.data(), shape.m,
            shape.depth, shape.n,  shape.ldb};
  }

  // c(i, j) = fma(a(i, k), b(k, j), c) from +0, k ascending.
  std::vector<T> sequential() const {
    std::vector<T> result(static_cast<std::size_t>(shape.m) * shape.n);
    for (int i = 0; i < shape.m; ++i)
      for (int j = 0; j < shape.n; ++j) {
        T sum = 0;
        for (int k = 0; k < shape.depth; ++k)
          sum = std::fma(a[i + static_cast<std::size_t>(k) * shape.m],
                         b[k + static_cast<std::size_t>(j) * shape.ldb], sum);
        result[i + static_cast<std::size_t>(j) * shape.m] = sum;
      }
    return result;
  }
};

// Bit for bit, except that any NaN matches any NaN: which input NaN's
// payload survives a fused step depends on the instruction's operand order.
template <typename T>
void expectSameBits(const std::vector<T>& actual,
                    const std::vector<T>& expected) {
  ASSERT_EQ(actual.size(), expected.size());
  for (std::size_t k = 0; k < actual.size(); ++k) {
    if (std::isnan(expected[k])) {
      EXPECT_TRUE(std::isnan(actual[k])) << "element " << k;
      continue;
    }
    EXPECT_EQ(std::memcmp(&actual[k], &expected[k], sizeof(T)), 0)
        << "element " << k << ": " << actual[k] << " != " << expected[k];
  }
}

template <typename T>
void expectEveryPathSequential(Product<T>& product) {
  const std::vector<T> expected = product.sequential();
  for (CpuLevel level : availableLevels()) {
    SCOPED_TRACE(testing::Message() << "level " << static_cast<int>(level));
    vecml::detail::multiplyColumnMajor(product.operands(), level);
    expectSameBits(product.c, expected);
  }
  vecml::detail::multiplyColumnMajor(product.operands());
  expectSameBits(product.c, expected);
}

TYPED_TEST(MatrixProductKernelTest, EveryPathMatchesTheSequentialSum) {
  using T = TypeParam;
  const unsigned seed = 42;
  std::printf("kernel seed %u\n", seed);
  std::mt19937 random(seed);
  std::vector<ProductShape> shapes;
  for (int n : {1, 7, 17, 63, 65, 129}) shapes.push_back({n, n, n, n});
  const ProductShape uneven[] = {
      {65, 129, 7, 129},  {1, 300, 1, 300},   {300, 1, 300, 1},
      {17, 700, 33, 700}, {333, 40, 29, 40},  {19, 40, 9, 42},
      {64, 17, 12, 22},   {33, 600, 5, 600},  {40, 1000, 13, 1003},
      {3, 5, 4100, 5},    {129, 3, 2, 3},     {2, 513, 3, 513},
      {700, 24, 25, 24},  {31, 385, 12, 385}, {32, 384, 12, 384}};
  shapes.insert(shapes.end(), std::begin(uneven), std::end(uneven));
  for (const ProductShape& shape : shapes) {
    SCOPED_TRACE(testing::Message()
                 << shape.m << "x" << shape.depth << " * " << shape.depth << "x"
                 << shape.n << " (ldb " << shape.ldb << ")");
    Product<T> product(shape, random);
    expectEveryPathSequential(product);
  }
}

// Client arrays may start anywhere a T may: every path gives the same bits
// with a, b and c at odd element offsets from the allocator's alignment.
TYPED_TEST(MatrixProductKernelTest, OperandsAtOddElementOffsets) {
  using T = TypeParam;
  std::mt19937 random(5);
  // The last two run as matrix x vector products, whose first rows run
  // one at a time up to a's first vector boundary.
  for (const ProductShape shape :
       {ProductShape{65, 40, 33, 40}, ProductShape{17, 129, 7, 131},
        ProductShape{300, 17, 1, 19}, ProductShape{45, 40, 3, 40}}) {
    Product<T> product(shape, random);
    const std::vector<T> expected = product.sequential();
    for (const std::size_t offset : {1, 3, 5}) {
      SCOPED_TRACE(testing::Message()
                   << shape.m << "x" << shape.depth << ", offset " << offset);
      std::vector<T> a(offset), b(offset);
      a.insert(a.end(), product.a.begin(), product.a.end());
      b.insert(b.end(), product.b.begin(), product.b.end());
      for (CpuLevel level : availableLevels()) {
        std::vector<T> c(offset + expected.size(), T(7));
        vecml::detail::multiplyColumnMajor(
            ProductOperands<T>{a.data() + offset, b.data() + offset,
                               c.data() + offset, shape.m, shape.depth, shape.n,
                               shape.ldb},
            level);
        expectSameBits(std::vector<T>(c.begin() + offset, c.end()), expected);
      }
    }
  }
}

TYPED_TEST(MatrixProductKernelTest, SpecialValuesFollowTheChain) {
  using T = TypeParam;
  const T inf = std::numeric_limits<T>::infinity();
  const T nan = std::numeric_limits<T>::quiet_NaN();
  std::mt19937 random(7);
  // Wide enough for every tile, with rows and columns past the tiles.
  Product<T> product({37, 9, 14, 9}, random);
  // Rows 0 and 1 times column 3 are sums of -0 products only: the chain
  // from +0 gives +0, not -0.
  for (int k = 0; k < 9; ++k) {
    product.a[0 + k * 37] = T(-1);
    product.a[1 + k * 37] = T(-0.0);
    product.b[k + 3 * 9] = T(0);
  }
  // inf * 0 makes NaN, inf + -inf makes NaN, inf alone stays inf.
  product.a[5 + 2 * 37] = inf;
  product.a[6 + 2 * 37] = inf;
  product.a[6 + 4 * 37] = -inf;
  product.a[20 + 8 * 37] = nan;
  product.b[2 + 10 * 9] = T(0);
  product.b[2 + 11 * 9] = T(2);
  product.b[4 + 11 * 9] = T(2);
  product.a[36 + 3 * 37] = inf;
  expectEveryPathSequential(product);
  const std::vector<T> expected = product.sequential();
  EXPECT_FALSE(std::signbit(expected[0 + 3 * 37]));
  EXPECT_FALSE(std::signbit(expected[1 + 3 * 37]));
  EXPECT_TRUE(std::isnan(expected[5 + 10 * 37]));
  EXPECT_TRUE(std::isnan(expected[6 + 11 * 37]));
  EXPECT_TRUE(std::isnan(expected[20 + 0 * 37]));
  EXPECT_TRUE(std::isinf(expected[36 + 0 * 37]));
}

TYPED_TEST(MatrixProductKernelTest, EmptyDepthGivesZeros) {
  using T = TypeParam;
  std::vector<T> c(6, T(7));
  for (CpuLevel level : availableLevels()) {
    vecml::detail::multiplyColumnMajor(
        ProductOperands<T>{nullptr, nullptr, c.data(), 2, 0, 3, 0}, level);
    EXPECT_EQ(c, std::vector<T>(6, T(0)));
  }
}

TYPED_TEST(MatrixProductKernelTest, EmptyResultTouchesNothing) {
  using T = TypeParam;
  for (CpuLevel level : availableLevels()) {
    vecml::detail::multiplyColumnMajor(
        ProductOperands<T>{nullptr, nullptr, nullptr, 0, 5, 3, 5}, level);
    vecml::detail::multiplyColumnMajor(
        ProductOperands<T>{nullptr, nullptr, nullptr, 4, 5, 0, 5}, level);
  }
}

}  // namespace
