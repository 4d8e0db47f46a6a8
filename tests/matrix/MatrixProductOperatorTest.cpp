// SPDX-License-Identifier: MIT
// The matrix product and matrix x vector operators against the sequential
// fused sums, bit for bit, on shapes that leave partial register tiles and
// span several cache blocks; they pass on whichever path VECML_CPU selects.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "matrix/MatrixTestSupport.h"
#include "vecml/vector/CSparseVector.h"

namespace {

template <typename T>
class MatrixProductOperatorTest : public testing::Test {};
TYPED_TEST_SUITE(MatrixProductOperatorTest, FloatingTypes);

// (i, j) = fma(a(i, k), b(k, j), sum) from +0, k ascending.
template <typename T>
std::vector<T> sequentialProduct(const CMatrix<T>& a, const CMatrix<T>& b) {
  std::vector<T> rowMajor;
  for (int i = 0; i < a.rows(); ++i)
    for (int j = 0; j < b.columns(); ++j) {
      T sum = 0;
      for (int k = 0; k < a.columns(); ++k)
        sum = std::fma(a.getElement(i, k), b.getElement(k, j), sum);
      rowMajor.push_back(sum);
    }
  return rowMajor;
}

// y(i) = fma(a(i, j), x[j], y(i)) from +0, j ascending.
template <typename T>
std::vector<T> sequentialProduct(const CMatrix<T>& a, const std::vector<T>& x) {
  std::vector<T> y(static_cast<std::size_t>(a.rows()), T(0));
  for (int i = 0; i < a.rows(); ++i)
    for (int j = 0; j < a.columns(); ++j)
      y[i] = std::fma(a.getElement(i, j), x[j], y[i]);
  return y;
}

// Equal bits; NaN matches NaN (which NaN payload survives is not fixed).
template <typename T>
void expectSameBits(const std::vector<T>& actual,
                    const std::vector<T>& expected) {
  ASSERT_EQ(actual.size(), expected.size());
  for (std::size_t k = 0; k < actual.size(); ++k)
    if (std::isnan(expected[k]))
      EXPECT_TRUE(std::isnan(actual[k])) << "element " << k;
    else
      EXPECT_EQ(std::memcmp(&actual[k], &expected[k], sizeof(T)), 0)
          << "element " << k << ": " << actual[k] << " != " << expected[k];
}

TYPED_TEST(MatrixProductOperatorTest, ProductIsTheSequentialFusedSum) {
  using T = TypeParam;
  const unsigned seed = 2024;
  std::printf("product seed %u\n", seed);
  std::mt19937 random(seed);
  // rows of a, columns of a (= rows of b), columns of b.
  std::vector<std::vector<int>> shapes;
  for (int n : {1, 7, 17, 63, 65, 129}) shapes.push_back({n, n, n});
  for (const std::vector<int>& shape :
       std::vector<std::vector<int>>{{65, 129, 7},
                                     {1, 300, 1},
                                     {300, 1, 300},
                                     {17, 700, 33},
                                     {7, 65, 129},
                                     {129, 17, 3},
                                     {2, 1025, 2}})
    shapes.push_back(shape);
  for (const std::vector<int>& shape : shapes) {
    SCOPED_TRACE(testing::Message() << shape[0] << "x" << shape[1] << " * "
                                    << shape[1] << "x" << shape[2]);
    const CMatrix<T> a = randomMatrix<T>(shape[0], shape[1], random);
    const CMatrix<T> b = randomMatrix<T>(shape[1], shape[2], random);
    const CMatrix<T> product = a * b;
    ASSERT_EQ(product.rows(), shape[0]);
    ASSERT_EQ(product.columns(), shape[2]);
    expectSameBits(rowsOf(product), sequentialProduct(a, b));
  }
}

TYPED_TEST(MatrixProductOperatorTest, ProductPropagatesSpecialValues) {
  using T = TypeParam;
  std::mt19937 random(3);
  CMatrix<T> a = randomMatrix<T>(40, 20, random);
  CMatrix<T> b = randomMatrix<T>(20, 15, random);
  a(0, 0) = std::numeric_limits<T>::infinity();
  a(1, 5) = std::numeric_limits<T>::quiet_NaN();
  a(2, 3) = -std::numeric_limits<T>::infinity();
  b(3, 4) = T(0);
  for (int k = 0; k < 20; ++k) {
    a(39, k) = T(-0.0);
    b(k, 14) = T(-0.0);
  }
  const std::vector<T> product = rowsOf(a * b);
  expectSameBits(product, sequentialProduct(a, b));
  EXPECT_TRUE(std::isinf(product[0 * 15 + 1]));
  EXPECT_TRUE(std::isnan(product[1 * 15 + 0]));
  EXPECT_TRUE(std::isnan(product[2 * 15 + 4]));
  EXPECT_FALSE(std::signbit(product[39 * 15 + 14]));
}

TYPED_TEST(MatrixProductOperatorTest, MatrixByVectorIsTheSequentialFusedSum) {
  using T = TypeParam;
  const unsigned seed = 99;
  std::printf("matrix x vector seed %u\n", seed);
  std::mt19937 random(seed);
  std::uniform_real_distribution<T> uniform(-1, 1);
  const int shapes[][2] = {{1, 1},    {7, 7},     {17, 17},  {63, 63},
                           {65, 65},  {129, 129}, {1, 300},  {300, 1},
                           {65, 129}, {129, 7},   {1031, 6}, {33, 701}};
  for (const auto& shape : shapes) {
    SCOPED_TRACE(testing::Message() << shape[0] << "x" << shape[1]);
    const CMatrix<T> a = randomMatrix<T>(shape[0], shape[1], random);
    std::vector<T> x(static_cast<std::size_t>(shape[1]));
    for (T& value : x) value = uniform(random);
    CDenseVector<T> dense(shape[1]);
    for (int j = 0; j < shape[1]; ++j) dense[j] = x[j];
    const CDenseVector<T> y = a * dense;
    ASSERT_EQ(y.dimension(), shape[0]);
    expectSameBits(elementsOf(y), sequentialProduct(a, x));
  }
}

TYPED_TEST(MatrixProductOperatorTest, MatrixBySparseVectorReadsZeros) {
  using T = TypeParam;
  std::mt19937 random(5);
  const CMatrix<T> a = randomMatrix<T>(37, 11, random);
  CSparseVector<T> sparse(11, 2);
  sparse.setElement(0, {2, T(0.5)});
  sparse.setElement(1, {9, T(-3)});
  std::vector<T> x(11, T(0));
  x[2] = T(0.5);
  x[9] = T(-3);
  expectSameBits(elementsOf(a * sparse), sequentialProduct(a, x));
}

TYPED_TEST(MatrixProductOperatorTest, MatrixByVectorSpecialValues) {
  using T = TypeParam;
  std::mt19937 random(11);
  CMatrix<T> a = randomMatrix<T>(21, 6, random);
  CDenseVector<T> x(6);
  for (int j = 0; j < 6; ++j) x[j] = T(j + 1);
  a(3, 2) = std::numeric_limits<T>::infinity();
  a(4, 0) = std::numeric_limits<T>::quiet_NaN();
  a(20, 1) = std::numeric_limits<T>::infinity();
  a(20, 5) = -std::numeric_limits<T>::infinity();
  for (int j = 0; j < 6; ++j) a(19, j) = T(-0.0);
  const std::vector<T> y = elementsOf(a * x);
  expectSameBits(y, sequentialProduct(a, x.toSTL()));
  EXPECT_TRUE(std::isinf(y[3]));
  EXPECT_TRUE(std::isnan(y[4]));
  EXPECT_TRUE(std::isnan(y[20]));
  EXPECT_EQ(y[19], T(0));
  EXPECT_FALSE(std::signbit(y[19]));
}

}  // namespace
