// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdio>
#include <limits>
#include <random>
#include <vector>

#include "matrix/MatrixTestSupport.h"
#include "vecml/matrix/CMatrix.h"
#include "vecml/vector/CSparseVector.h"

namespace {

template <typename T>
class CMatrixArithmeticTest : public testing::Test {};
TYPED_TEST_SUITE(CMatrixArithmeticTest, ElementTypes);

template <typename T>
class CMatrixProductTest : public testing::Test {};
TYPED_TEST_SUITE(CMatrixProductTest, FloatingTypes);

// ---- scalar and element-wise operations ------------------------------------

TYPED_TEST(CMatrixArithmeticTest, ScalarOperationsInPlace) {
  CMatrix<TypeParam> m = fromRows<TypeParam>(1, 3, {2, 4, 7});
  m *= TypeParam(3);
  expectMatrix<TypeParam>(m, 1, 3, {6, 12, 21});
  m += TypeParam(1);
  expectMatrix<TypeParam>(m, 1, 3, {7, 13, 22});
  m -= TypeParam(2);
  expectMatrix<TypeParam>(m, 1, 3, {5, 11, 20});
  m /= TypeParam(2);
  expectMatrix<TypeParam>(m, 1, 3,
                          {TypeParam(5) / TypeParam(2),
                           TypeParam(11) / TypeParam(2), TypeParam(10)});
}

TEST(CMatrixArithmetic, IntDivisionTruncatesAndIntArithmeticWraps) {
  CMatrix<int> m = fromRows<int>(1, 3, {7, -7, INT_MAX});
  m /= 2;
  expectMatrix<int>(m, 1, 3, {3, -3, INT_MAX / 2});
  CMatrix<int> big = fromRows<int>(1, 2, {INT_MAX, INT_MIN});
  big *= 2;
  expectMatrix<int>(big, 1, 2, {-2, 0});
  big += INT_MIN;
  expectMatrix<int>(big, 1, 2, {INT_MAX - 1, INT_MIN});
}

TEST(CMatrixArithmetic, FloatDivisionIsTrueDivision) {
  CMatrix<float> m = fromRows<float>(1, 2, {1, 2});
  m /= 3.0f;
  expectMatrix<float>(m, 1, 2, {1.0f / 3.0f, 2.0f / 3.0f});
  m /= 0.0f;
  EXPECT_TRUE(std::isinf(m.getElement(0, 0)));
}

TEST(CMatrixArithmetic, IntDivisionOfEmptyMatrixByZeroDoesNothing) {
  CMatrix<int> m(0, 4);
  m /= 0;
  EXPECT_EQ(m._data(), nullptr);
}

TYPED_TEST(CMatrixArithmeticTest, MatrixAdditionAndSubtractionInPlace) {
  CMatrix<TypeParam> m = fromRows<TypeParam>(2, 2, {1, 2, 3, 4});
  m += fromRows<TypeParam>(2, 2, {10, 20, 30, 40});
  expectMatrix<TypeParam>(m, 2, 2, {11, 22, 33, 44});
  m -= fromRows<TypeParam>(2, 2, {1, 1, 1, 1});
  expectMatrix<TypeParam>(m, 2, 2, {10, 21, 32, 43});
  m += m;
  expectMatrix<TypeParam>(m, 2, 2, {20, 42, 64, 86});
}

TYPED_TEST(CMatrixArithmeticTest, RightOperandIsReadInStorageOrder) {
  // Only the element count matters: a 1 x 4 operand adds in storage order.
  CMatrix<TypeParam> m = fromRows<TypeParam>(2, 2, {1, 2, 3, 4});
  m += fromRows<TypeParam>(1, 4, {10, 20, 30, 40});
  expectMatrix<TypeParam>(m, 2, 2, {11, 32, 23, 44});
}

TYPED_TEST(CMatrixArithmeticTest, MissingRightElementsCountAsZero) {
  CMatrix<TypeParam> m = fromRows<TypeParam>(2, 2, {1, 2, 3, 4});
  m += fromRows<TypeParam>(1, 1, {10});
  expectMatrix<TypeParam>(m, 2, 2, {11, 2, 3, 4});
  m -= CMatrix<TypeParam>();
  expectMatrix<TypeParam>(m, 2, 2, {11, 2, 3, 4});
}

TYPED_TEST(CMatrixProductTest, FreeElementWiseOperators) {
  using T = TypeParam;
  const CMatrix<T> a = fromRows<T>(1, 3, {1, 2, 3});
  const CMatrix<T> b = fromRows<T>(1, 4, {4, 5, 6, 100});  // extra ignored
  expectMatrix<T>(a + b, 1, 3, {5, 7, 9});
  expectMatrix<T>(a - b, 1, 3, {-3, -3, -3});
  expectMatrix<T>(elementMul(a, b), 1, 3, {4, 10, 18});
  expectMatrix<T>(elementDiv(a, b), 1, 3,
                  {T(1) / T(4), T(2) / T(5), T(3) / T(6)});
  expectMatrix<T>(a, 1, 3, {1, 2, 3});
}

TYPED_TEST(CMatrixProductTest, ElementDivByMissingElementDividesByZero) {
  const CMatrix<TypeParam> a = fromRows<TypeParam>(1, 2, {1, 2});
  const CMatrix<TypeParam> q = elementDiv(a, fromRows<TypeParam>(1, 1, {2}));
  EXPECT_EQ(q.getElement(0, 0), TypeParam(0.5));
  EXPECT_TRUE(std::isinf(q.getElement(0, 1)));
}

TYPED_TEST(CMatrixProductTest, FreeScalarOperators) {
  using T = TypeParam;
  const CMatrix<T> a = fromRows<T>(2, 1, {1, 2});
  expectMatrix<T>(a + T(1), 2, 1, {2, 3});
  expectMatrix<T>(a - T(1), 2, 1, {0, 1});
  expectMatrix<T>(a * T(3), 2, 1, {3, 6});
  expectMatrix<T>(a / T(3), 2, 1, {T(1) / T(3), T(2) / T(3)});
}

// ---- products
// -----------------------------------------------------------------

// The defining sum: each element from 0, fused, k ascending. Rows of b
// beyond its storage count as 0.
template <typename T>
CMatrix<T> sequentialProduct(const CMatrix<T>& a, const CMatrix<T>& b) {
  CMatrix<T> c(a.rows(), b.columns());
  for (int i = 0; i < a.rows(); ++i)
    for (int j = 0; j < b.columns(); ++j) {
      T sum = 0;
      for (int k = 0; k < a.columns(); ++k)
        sum = std::fma(a.getElement(i, k), b.getElement(k, j), sum);
      c(i, j) = sum;
    }
  return c;
}

TYPED_TEST(CMatrixProductTest, ProductUsesFusedMultiplyAdd) {
  using T = TypeParam;
  // x * x is not representable; only a fused step keeps its low part.
  const int half = (std::numeric_limits<T>::digits + 1) / 2;
  const T x = T(1) + std::ldexp(T(1), -half);
  const T roundedSquare = x * x;
  const CMatrix<T> a = fromRows<T>(1, 2, {-roundedSquare, x});
  const CMatrix<T> b = fromRows<T>(2, 1, {1, x});
  const T expected = std::fma(x, x, -roundedSquare);
  ASSERT_NE(expected, T(0));
  expectMatrix<T>(a * b, 1, 1, {expected});
}

TYPED_TEST(CMatrixProductTest, ProductIsBitIdenticalToTheSequentialSum) {
  using T = TypeParam;
  const unsigned seed = 20240611;
  std::printf("product seed %u\n", seed);
  std::mt19937 random(seed);
  // Shapes around the register-tile and block edges.
  const int shapes[][3] = {{1, 1, 1},    {3, 5, 2},    {8, 4, 4},
                           {16, 7, 4},   {17, 9, 13},  {37, 64, 41},
                           {64, 64, 64}, {70, 33, 70}, {5, 300, 9},
                           {129, 1, 3},  {2, 0, 3}};
  for (const auto& shape : shapes) {
    const CMatrix<T> a = randomMatrix<T>(shape[0], shape[1], random);
    const CMatrix<T> b = randomMatrix<T>(shape[1], shape[2], random);
    SCOPED_TRACE(testing::Message() << shape[0] << "x" << shape[1] << " * "
                                    << shape[1] << "x" << shape[2]);
    const CMatrix<T> product = a * b;
    expectMatrix<T>(product, shape[0], shape[2],
                    rowsOf(sequentialProduct(a, b)));
  }
}

TYPED_TEST(CMatrixProductTest, ProductWithMismatchedInnerSizes) {
  using T = TypeParam;
  std::mt19937 random(7);
  const CMatrix<T> a = randomMatrix<T>(20, 6, random);
  // More rows in b than a has columns: the extra rows are not used.
  const CMatrix<T> tall = randomMatrix<T>(9, 5, random);
  expectMatrix<T>(a * tall, 20, 5, rowsOf(sequentialProduct(a, tall)));
  // Fewer rows: the missing ones count as 0.
  const CMatrix<T> shortB = randomMatrix<T>(4, 5, random);
  const CMatrix<T> product = a * shortB;
  expectMatrix<T>(product, 20, 5, rowsOf(sequentialProduct(a, shortB)));
  expectMatrix<T>(product, 20, 5,
                  rowsOf(sequentialProduct(a(0, 0, 20, 4), shortB)));
  // A b with a negative row count has no rows at all.
  const CMatrix<T> noRows(-2, 5);
  expectMatrix<T>(a * noRows, 20, 5, rowsOf(sequentialProduct(a, noRows)));
  expectMatrix<T>(a * noRows, 20, 5, std::vector<T>(100, T(0)));
}

TYPED_TEST(CMatrixProductTest, ProductShapes) {
  using T = TypeParam;
  const CMatrix<T> a = fromRows<T>(2, 3, {1, 2, 3, 4, 5, 6});
  const CMatrix<T> b = fromRows<T>(3, 1, {1, 0, -1});
  expectMatrix<T>(a * b, 2, 1, {-2, -2});
  const CMatrix<T> empty = CMatrix<T>(2, 0) * CMatrix<T>(0, 3);
  expectMatrix<T>(empty, 2, 3, {0, 0, 0, 0, 0, 0});
  EXPECT_EQ((CMatrix<T>(0, 3) * b)._data(), nullptr);
}

TYPED_TEST(CMatrixProductTest, MatrixByVectorIsTheFusedRowSum) {
  using T = TypeParam;
  std::mt19937 random(11);
  for (const int rows : {1, 7, 33}) {
    const CMatrix<T> a = randomMatrix<T>(rows, 19, random);
    const CMatrix<T> x = randomMatrix<T>(19, 1, random);
    const CDenseVector<T> y = a * CDenseVector<T>(x.getColumn(0));
    EXPECT_EQ(elementsOf(y), rowsOf(sequentialProduct(a, x)));
  }
}

TYPED_TEST(CMatrixProductTest, MatrixByVectorAcceptsSparseAndShortVectors) {
  using T = TypeParam;
  const CMatrix<T> a = fromRows<T>(2, 3, {1, 2, 3, 4, 5, 6});
  CSparseVector<T> sparse(3, 1);
  sparse.setElement(0, {2, T(2)});
  EXPECT_EQ(elementsOf(a * sparse), (std::vector<T>{6, 12}));
  const CDenseVector<T> shortX(std::vector<T>{1, 1});
  EXPECT_EQ(elementsOf(a * shortX), (std::vector<T>{3, 9}));
  EXPECT_EQ((CMatrix<T>(0, 3) * shortX).dimension(), 0);
}

// ---- reshaping products
// ----------------------------------------------------------

TYPED_TEST(CMatrixArithmeticTest, Transpose) {
  const CMatrix<TypeParam> m = fromRows<TypeParam>(2, 3, {1, 2, 3, 4, 5, 6});
  expectMatrix<TypeParam>(m.transpose(), 3, 2, {1, 4, 2, 5, 3, 6});
  EXPECT_EQ(CMatrix<TypeParam>(0, 4).transpose().rows(), 4);
}

TYPED_TEST(CMatrixArithmeticTest, ReplicateMatrixTilesTheBlock) {
  CMatrix<TypeParam> m(1, 1);
  m.replicateMatrix(2, 3, fromRows<TypeParam>(2, 1, {1, 2}));
  expectMatrix<TypeParam>(m, 4, 3, {1, 1, 1, 2, 2, 2, 1, 1, 1, 2, 2, 2});
}

TYPED_TEST(CMatrixArithmeticTest, ReplicateMatrixOfItself) {
  CMatrix<TypeParam> m = fromRows<TypeParam>(1, 2, {1, 2});
  m.replicateMatrix(2, 1, m);
  expectMatrix<TypeParam>(m, 2, 2, {1, 2, 1, 2});
  m.replicateMatrix(0, 3, m);
  EXPECT_EQ(m.rows(), 0);
  EXPECT_EQ(m.columns(), 6);
}

TYPED_TEST(CMatrixArithmeticTest, AsMatrixIsOneColumn) {
  const CDenseVector<TypeParam> v(std::vector<TypeParam>{1, 2, 3});
  expectMatrix<TypeParam>(v.asMatrix(), 3, 1, {1, 2, 3});
  const CMatrix<TypeParam> empty = CDenseVector<TypeParam>().asMatrix();
  EXPECT_EQ(empty.rows(), 0);
  EXPECT_EQ(empty.columns(), 1);
  EXPECT_EQ(empty._data(), nullptr);
}

TYPED_TEST(CMatrixProductTest, OuterProduct) {
  using T = TypeParam;
  const CDenseVector<T> a(std::vector<T>{1, 2});
  const CDenseVector<T> b(std::vector<T>{3, 4, 5});
  expectMatrix<T>(outerProduct(a, b), 2, 3, {3, 4, 5, 6, 8, 10});
  EXPECT_EQ(outerProduct(a, CDenseVector<T>()).columns(), 0);
}

}  // namespace
