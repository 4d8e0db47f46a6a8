// SPDX-License-Identifier: MIT
#include "vecml/matrix/LinearAlgebra.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "matrix/MatrixTestSupport.h"

namespace {

template <typename T>
class LinearAlgebraTest : public testing::Test {};
TYPED_TEST_SUITE(LinearAlgebraTest, FloatingTypes);

// Backward errors of these LAPACK routines are a small multiple of the
// machine epsilon times the operand's norm; 64 epsilons leave room for the
// sizes used here.
template <typename T>
T tolerance() {
  return 64 * std::numeric_limits<T>::epsilon();
}

template <typename T>
T maxAbs(const CMatrix<T>& m) {
  T largest = 0;
  for (int k = 0; k < m.rows() * m.columns(); ++k)
    largest = std::max(largest, std::fabs(m._data()[k]));
  return largest;
}

// Largest |a(i, j) - b(i, j)|. requires: equal shapes.
template <typename T>
T maxDifference(const CMatrix<T>& a, const CMatrix<T>& b) {
  EXPECT_EQ(a.rows(), b.rows());
  EXPECT_EQ(a.columns(), b.columns());
  return maxAbs(CMatrix<T>(a - b));
}

template <typename T>
CMatrix<T> identity(int n) {
  CMatrix<T> m(n, n);
  m.setDiagonal(T(1));
  return m;
}

template <typename T>
CMatrix<T> diagonal(const CDenseVector<T>& values) {
  CMatrix<T> m(values.dimension(), values.dimension());
  for (int k = 0; k < values.dimension(); ++k) m(k, k) = values[k];
  return m;
}

// a random n x n symmetric matrix, both triangles set.
template <typename T>
CMatrix<T> randomSymmetric(int n, unsigned seed) {
  std::mt19937 random(seed);
  CMatrix<T> m = randomMatrix<T>(n, n, random);
  return m + m.transpose();
}

// Every column's component of largest magnitude (the first on a tie) is
// positive.
template <typename T>
void expectSignRule(const CMatrix<T>& m) {
  for (int j = 0; j < m.columns(); ++j) {
    int largest = 0;
    for (int i = 1; i < m.rows(); ++i)
      if (std::fabs(m.getElement(i, j)) > std::fabs(m.getElement(largest, j)))
        largest = i;
    EXPECT_GT(m.getElement(largest, j), 0) << "column " << j;
  }
}

// Outputs holding recognisable values, to show that failures leave them.
template <typename T>
struct Sentinels {
  CDenseVector<T> vector{2, T(7)};
  CMatrix<T> matrix = fromRows<T>(1, 2, {5, 6});
  CMatrix<T> other = fromRows<T>(2, 1, {8, 9});

  void expectUnchanged() const {
    EXPECT_EQ(elementsOf(vector), (std::vector<T>{7, 7}));
    expectMatrix<T>(matrix, 1, 2, {5, 6});
    expectMatrix<T>(other, 2, 1, {8, 9});
  }
};

template <typename T>
void expectFailure(const CLinearAlgebraResult& result, LINALG_STATUS status,
                   const std::string& message) {
  EXPECT_FALSE(result);
  EXPECT_FALSE(result.ok());
  EXPECT_EQ(result.status(), status);
  EXPECT_EQ(result.message(), message);
}

// ---- result ----------------------------------------------------------------

TEST(CLinearAlgebraResultTest, DefaultIsSuccessWithoutMessage) {
  const CLinearAlgebraResult result;
  EXPECT_TRUE(result);
  EXPECT_TRUE(result.ok());
  EXPECT_EQ(result.status(), LA_SUCCESS);
  EXPECT_EQ(result.message(), "");
}

TEST(CLinearAlgebraResultTest, CarriesStatusAndMessage) {
  const CLinearAlgebraResult result(LA_SINGULAR, "solve(): singular.");
  EXPECT_FALSE(result);
  EXPECT_EQ(result.status(), LA_SINGULAR);
  EXPECT_EQ(result.message(), "solve(): singular.");
}

// ---- symmetricEigen
// ----------------------------------------------------------

TYPED_TEST(LinearAlgebraTest, EigenOfDiagonalMatrix) {
  using T = TypeParam;
  const CMatrix<T> a = fromRows<T>(3, 3, {3, 0, 0, 0, 1, 0, 0, 0, 2});
  CDenseVector<T> values;
  CMatrix<T> vectors;
  ASSERT_TRUE(symmetricEigen(a, values, vectors));
  EXPECT_EQ(elementsOf(values), (std::vector<T>{1, 2, 3}));
  expectMatrix<T>(vectors, 3, 3, {0, 0, 1, 1, 0, 0, 0, 1, 0});

  ASSERT_TRUE(symmetricEigen(a, values, vectors, EIGEN_DESCENDING));
  EXPECT_EQ(elementsOf(values), (std::vector<T>{3, 2, 1}));
  expectMatrix<T>(vectors, 3, 3, {1, 0, 0, 0, 0, 1, 0, 1, 0});
}

TYPED_TEST(LinearAlgebraTest, EigenOfTwoByTwoClosedForm) {
  using T = TypeParam;
  // [[2, 1], [1, 2]]: eigenvalues 1 and 3 with vectors (1, -1) and (1, 1)
  // over sqrt(2); on the tie of magnitudes the first component is positive.
  const CMatrix<T> a = fromRows<T>(2, 2, {2, 1, 1, 2});
  CDenseVector<T> values;
  CMatrix<T> vectors;
  ASSERT_TRUE(symmetricEigen(a, values, vectors));
  const T tol = tolerance<T>();
  EXPECT_NEAR(values[0], 1, tol);
  EXPECT_NEAR(values[1], 3, tol);
  const T r = T(1) / std::sqrt(T(2));
  EXPECT_LE(maxDifference(vectors, fromRows<T>(2, 2, {r, r, -r, r})), tol);
}

TYPED_TEST(LinearAlgebraTest, EigenReadsOnlyTheLowerTriangle) {
  using T = TypeParam;
  CMatrix<T> a = randomSymmetric<T>(5, 11);
  CDenseVector<T> values;
  CMatrix<T> vectors;
  ASSERT_TRUE(symmetricEigen(a, values, vectors));
  for (int j = 1; j < 5; ++j)
    for (int i = 0; i < j; ++i) a(i, j) = std::numeric_limits<T>::quiet_NaN();
  CDenseVector<T> lowerValues;
  CMatrix<T> lowerVectors;
  ASSERT_TRUE(symmetricEigen(a, lowerValues, lowerVectors));
  EXPECT_EQ(elementsOf(lowerValues), elementsOf(values));
  EXPECT_EQ(rowsOf(lowerVectors), rowsOf(vectors));
}

TYPED_TEST(LinearAlgebraTest, EigenDecomposesRandomSymmetricMatrices) {
  using T = TypeParam;
  for (const int n : {1, 2, 7, 30}) {
    SCOPED_TRACE(n);
    const CMatrix<T> a = randomSymmetric<T>(n, 100 + n);
    for (const EIGEN_ORDER order : {EIGEN_ASCENDING, EIGEN_DESCENDING}) {
      CDenseVector<T> values;
      CMatrix<T> vectors;
      ASSERT_TRUE(symmetricEigen(a, values, vectors, order));
      ASSERT_EQ(values.dimension(), n);
      for (int k = 1; k < n; ++k)
        EXPECT_TRUE(order == EIGEN_ASCENDING ? values[k - 1] <= values[k]
                                             : values[k - 1] >= values[k]);
      const T scale = n * tolerance<T>() * maxAbs(a);
      EXPECT_LE(maxDifference(CMatrix<T>(a * vectors),
                              CMatrix<T>(vectors * diagonal(values))),
                scale);
      EXPECT_LE(maxDifference(CMatrix<T>(vectors.transpose() * vectors),
                              identity<T>(n)),
                n * tolerance<T>());
      expectSignRule(vectors);
    }
  }
}

TYPED_TEST(LinearAlgebraTest, EigenOfOneByOne) {
  using T = TypeParam;
  CDenseVector<T> values;
  CMatrix<T> vectors;
  ASSERT_TRUE(symmetricEigen(fromRows<T>(1, 1, {-4}), values, vectors));
  EXPECT_EQ(elementsOf(values), std::vector<T>{-4});
  expectMatrix<T>(vectors, 1, 1, {1});
}

TYPED_TEST(LinearAlgebraTest, EigenFailuresLeaveOutputsUnchanged) {
  using T = TypeParam;
  Sentinels<T> out;
  expectFailure<T>(symmetricEigen(CMatrix<T>(2, 3), out.vector, out.matrix),
                   LA_INVALID_SHAPE,
                   "symmetricEigen(): the matrix is 2 x 3, not square.");
  expectFailure<T>(symmetricEigen(CMatrix<T>(), out.vector, out.matrix),
                   LA_INVALID_SHAPE,
                   "symmetricEigen(): the matrix is empty (0 x 0).");
  CMatrix<T> a = identity<T>(2);
  a(1, 0) = std::numeric_limits<T>::infinity();
  expectFailure<T>(
      symmetricEigen(a, out.vector, out.matrix), LA_NOT_FINITE,
      "symmetricEigen(): the matrix holds a NaN or infinite element.");
  out.expectUnchanged();
}

}  // namespace
