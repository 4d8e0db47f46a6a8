// SPDX-License-Identifier: MIT
#include "vecml/matrix/LinearAlgebra.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "matrix/LinearAlgebraTestSupport.h"
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

// Largest |a(i, j) - b(i, j)|. requires: equal shapes.
template <typename T>
T maxDifference(const CMatrix<T>& a, const CMatrix<T>& b) {
  EXPECT_EQ(a.rows(), b.rows());
  EXPECT_EQ(a.columns(), b.columns());
  return maxAbs(CMatrix<T>(a - b));
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

// ---- svd ------------------------------------------------------------------

// u * diag(values) * vt.
template <typename T>
CMatrix<T> recompose(const CMatrix<T>& u, const CDenseVector<T>& values,
                     const CMatrix<T>& vt) {
  return u * diagonal(values) * vt;
}

TYPED_TEST(LinearAlgebraTest, SvdOfDiagonalMatrix) {
  using T = TypeParam;
  const CMatrix<T> a = fromRows<T>(2, 2, {-2, 0, 0, 5});
  CMatrix<T> u, vt;
  CDenseVector<T> values;
  ASSERT_TRUE(svd(a, u, values, vt));
  EXPECT_EQ(elementsOf(values), (std::vector<T>{5, 2}));
  // u's columns take the positive sign; vt's rows carry a's signs.
  expectMatrix<T>(u, 2, 2, {0, 1, 1, 0});
  expectMatrix<T>(vt, 2, 2, {0, 1, -1, 0});
}

TYPED_TEST(LinearAlgebraTest, SvdOfTallWideAndSquareMatrices) {
  using T = TypeParam;
  struct Shape {
    int rows, columns;
  };
  for (const Shape shape : {Shape{1, 1}, Shape{1, 6}, Shape{6, 1}, Shape{9, 4},
                            Shape{4, 9}, Shape{12, 12}}) {
    SCOPED_TRACE(std::to_string(shape.rows) + " x " +
                 std::to_string(shape.columns));
    std::mt19937 random(shape.rows * 31 + shape.columns);
    const CMatrix<T> a = randomMatrix<T>(shape.rows, shape.columns, random);
    CMatrix<T> u, vt;
    CDenseVector<T> values;
    ASSERT_TRUE(svd(a, u, values, vt));
    const int k = std::min(shape.rows, shape.columns);
    ASSERT_EQ(u.rows(), shape.rows);
    ASSERT_EQ(u.columns(), k);
    ASSERT_EQ(values.dimension(), k);
    ASSERT_EQ(vt.rows(), k);
    ASSERT_EQ(vt.columns(), shape.columns);
    for (int j = 1; j < k; ++j) EXPECT_GE(values[j - 1], values[j]);
    EXPECT_GE(values[k - 1], 0);
    const T tol = std::max(shape.rows, shape.columns) * tolerance<T>();
    EXPECT_LE(maxDifference(recompose(u, values, vt), a), tol);
    EXPECT_LE(maxDifference(CMatrix<T>(u.transpose() * u), identity<T>(k)),
              tol);
    EXPECT_LE(maxDifference(CMatrix<T>(vt * vt.transpose()), identity<T>(k)),
              tol);
    expectSignRule(u);
  }
}

TYPED_TEST(LinearAlgebraTest, SvdFailuresLeaveOutputsUnchanged) {
  using T = TypeParam;
  Sentinels<T> out;
  expectFailure<T>(svd(CMatrix<T>(0, 3), out.matrix, out.vector, out.other),
                   LA_INVALID_SHAPE, "svd(): the matrix is empty (0 x 3).");
  CMatrix<T> a(3, 2);
  a(2, 1) = std::numeric_limits<T>::quiet_NaN();
  expectFailure<T>(svd(a, out.matrix, out.vector, out.other), LA_NOT_FINITE,
                   "svd(): the matrix holds a NaN or infinite element.");
  out.expectUnchanged();
}

// ---- cholesky ---------------------------------------------------------------

TYPED_TEST(LinearAlgebraTest, CholeskyOfTwoByTwoClosedForm) {
  using T = TypeParam;
  // [[4, 2], [2, 5]] = L L^T with L = [[2, 0], [1, 2]], exact in binary.
  CMatrix<T> lower;
  ASSERT_TRUE(cholesky(fromRows<T>(2, 2, {4, 2, 2, 5}), lower));
  expectMatrix<T>(lower, 2, 2, {2, 0, 1, 2});
  ASSERT_TRUE(cholesky(identity<T>(3), lower));
  expectMatrix<T>(lower, 3, 3, rowsOf(identity<T>(3)));
  ASSERT_TRUE(cholesky(fromRows<T>(1, 1, {9}), lower));
  expectMatrix<T>(lower, 1, 1, {3});
}

// a^T a + n I: symmetric positive definite.
template <typename T>
CMatrix<T> randomPositiveDefinite(int n, unsigned seed) {
  std::mt19937 random(seed);
  const CMatrix<T> a = randomMatrix<T>(n, n, random);
  return a.transpose() * a + identity<T>(n) * T(n);
}

TYPED_TEST(LinearAlgebraTest, CholeskyFactorsRandomMatrices) {
  using T = TypeParam;
  for (const int n : {2, 8, 25}) {
    SCOPED_TRACE(n);
    CMatrix<T> a = randomPositiveDefinite<T>(n, 200 + n);
    CMatrix<T> lower;
    ASSERT_TRUE(cholesky(a, lower));
    for (int j = 0; j < n; ++j) {
      EXPECT_GT(lower(j, j), 0);
      for (int i = 0; i < j; ++i) EXPECT_EQ(lower(i, j), 0);
    }
    EXPECT_LE(maxDifference(CMatrix<T>(lower * lower.transpose()), a),
              n * tolerance<T>() * maxAbs(a));
    // The strict upper triangle is never read.
    for (int j = 1; j < n; ++j)
      for (int i = 0; i < j; ++i) a(i, j) = std::numeric_limits<T>::infinity();
    CMatrix<T> fromLower;
    ASSERT_TRUE(cholesky(a, fromLower));
    EXPECT_EQ(rowsOf(fromLower), rowsOf(lower));
  }
}

TYPED_TEST(LinearAlgebraTest, CholeskyFailuresLeaveOutputsUnchanged) {
  using T = TypeParam;
  Sentinels<T> out;
  expectFailure<T>(cholesky(CMatrix<T>(3, 2), out.matrix), LA_INVALID_SHAPE,
                   "cholesky(): the matrix is 3 x 2, not square.");
  expectFailure<T>(cholesky(CMatrix<T>(2, 0), out.matrix), LA_INVALID_SHAPE,
                   "cholesky(): the matrix is empty (2 x 0).");
  CMatrix<T> a = identity<T>(3);
  a(2, 2) = std::numeric_limits<T>::quiet_NaN();
  expectFailure<T>(cholesky(a, out.matrix), LA_NOT_FINITE,
                   "cholesky(): the matrix holds a NaN or infinite element.");
  // [[1, 2], [2, 1]] has a leading minor of order 2 equal to -3.
  expectFailure<T>(cholesky(fromRows<T>(2, 2, {1, 2, 2, 1}), out.matrix),
                   LA_NOT_POSITIVE_DEFINITE,
                   "cholesky(): the matrix is not positive definite: its "
                   "leading minor of order 2 is not positive.");
  a(2, 2) = -1;
  expectFailure<T>(cholesky(a, out.matrix), LA_NOT_POSITIVE_DEFINITE,
                   "cholesky(): the matrix is not positive definite: its "
                   "leading minor of order 3 is not positive.");
  out.expectUnchanged();
}

// ---- solve and inverse
// --------------------------------------------------------

TYPED_TEST(LinearAlgebraTest, SolveTwoByTwoClosedForm) {
  using T = TypeParam;
  // [[2, 1], [1, 3]] x = [[3, 1], [5, 2]]: x = [[0.8, 0.2], [1.4, 0.6]].
  CMatrix<T> x;
  ASSERT_TRUE(solve(fromRows<T>(2, 2, {2, 1, 1, 3}),
                    fromRows<T>(2, 2, {3, 1, 5, 2}), x));
  EXPECT_LE(
      maxDifference(x, fromRows<T>(2, 2, {T(0.8), T(0.2), T(1.4), T(0.6)})),
      tolerance<T>());
  ASSERT_TRUE(solve(identity<T>(3), fromRows<T>(3, 1, {1, 2, 3}), x));
  expectMatrix<T>(x, 3, 1, {1, 2, 3});
  ASSERT_TRUE(solve(fromRows<T>(1, 1, {4}), fromRows<T>(1, 2, {2, -8}), x));
  expectMatrix<T>(x, 1, 2, {T(0.5), -2});
}

TYPED_TEST(LinearAlgebraTest, SolveAndInverseOfRandomMatrices) {
  using T = TypeParam;
  for (const int n : {1, 5, 20}) {
    SCOPED_TRACE(n);
    std::mt19937 random(300 + n);
    // Diagonally dominant, hence well conditioned.
    const CMatrix<T> a = randomMatrix<T>(n, n, random) + identity<T>(n) * T(n);
    const CMatrix<T> b = randomMatrix<T>(n, 3, random);
    CMatrix<T> x;
    ASSERT_TRUE(solve(a, b, x));
    EXPECT_LE(maxDifference(CMatrix<T>(a * x), b), n * tolerance<T>());
    CMatrix<T> inverted;
    ASSERT_TRUE(inverse(a, inverted));
    EXPECT_LE(maxDifference(CMatrix<T>(a * inverted), identity<T>(n)),
              n * tolerance<T>());
  }
  CMatrix<T> inverted;
  ASSERT_TRUE(inverse(fromRows<T>(2, 2, {4, 0, 0, -2}), inverted));
  expectMatrix<T>(inverted, 2, 2, {T(0.25), 0, 0, T(-0.5)});
}

TYPED_TEST(LinearAlgebraTest, OutputsMayBeTheOperands) {
  using T = TypeParam;
  const CMatrix<T> a = fromRows<T>(2, 2, {4, 2, 2, 5});
  CMatrix<T> b = fromRows<T>(2, 1, {8, 9});
  CMatrix<T> expected;
  ASSERT_TRUE(solve(a, b, expected));
  ASSERT_TRUE(solve(a, b, b));
  EXPECT_EQ(rowsOf(b), rowsOf(expected));

  CMatrix<T> inPlace = a;
  ASSERT_TRUE(inverse(a, expected));
  ASSERT_TRUE(inverse(inPlace, inPlace));
  EXPECT_EQ(rowsOf(inPlace), rowsOf(expected));

  inPlace = a;
  ASSERT_TRUE(cholesky(a, expected));
  ASSERT_TRUE(cholesky(inPlace, inPlace));
  EXPECT_EQ(rowsOf(inPlace), rowsOf(expected));

  inPlace = a;
  CDenseVector<T> values;
  ASSERT_TRUE(symmetricEigen(a, values, expected));
  ASSERT_TRUE(symmetricEigen(inPlace, values, inPlace));
  EXPECT_EQ(rowsOf(inPlace), rowsOf(expected));

  inPlace = a;
  CMatrix<T> vt;
  ASSERT_TRUE(svd(a, expected, values, vt));
  ASSERT_TRUE(svd(inPlace, inPlace, values, vt));
  EXPECT_EQ(rowsOf(inPlace), rowsOf(expected));
}

TYPED_TEST(LinearAlgebraTest, SolveFailuresLeaveOutputsUnchanged) {
  using T = TypeParam;
  Sentinels<T> out;
  const CMatrix<T> b = fromRows<T>(2, 1, {1, 1});
  expectFailure<T>(solve(CMatrix<T>(2, 3), b, out.matrix), LA_INVALID_SHAPE,
                   "solve(): the matrix is 2 x 3, not square.");
  expectFailure<T>(solve(CMatrix<T>(), b, out.matrix), LA_INVALID_SHAPE,
                   "solve(): the matrix is empty (0 x 0).");
  expectFailure<T>(solve(identity<T>(3), b, out.matrix), LA_INVALID_SHAPE,
                   "solve(): the right-hand side is 2 x 1, but needs 3 rows "
                   "and at least one column.");
  expectFailure<T>(solve(identity<T>(2), CMatrix<T>(2, 0), out.matrix),
                   LA_INVALID_SHAPE,
                   "solve(): the right-hand side is 2 x 0, but needs 2 rows "
                   "and at least one column.");
  CMatrix<T> a = identity<T>(2);
  a(0, 1) = std::numeric_limits<T>::quiet_NaN();
  expectFailure<T>(solve(a, b, out.matrix), LA_NOT_FINITE,
                   "solve(): the matrix holds a NaN or infinite element.");
  expectFailure<T>(
      solve(identity<T>(2),
            fromRows<T>(2, 1, {1, -std::numeric_limits<T>::infinity()}),
            out.matrix),
      LA_NOT_FINITE,
      "solve(): the right-hand side holds a NaN or infinite element.");
  // The second column is twice the first: U(1, 1) is exactly zero.
  expectFailure<T>(solve(fromRows<T>(2, 2, {1, 2, 2, 4}), b, out.matrix),
                   LA_SINGULAR,
                   "solve(): the matrix is singular: U(1, 1) of its LU "
                   "factorization is exactly zero.");
  // Tiny but non-zero pivots whose solution overflows.
  const T tiny = std::numeric_limits<T>::denorm_min();
  expectFailure<T>(
      solve(fromRows<T>(2, 2, {tiny, 0, 0, tiny}), b, out.matrix), LA_SINGULAR,
      "solve(): the matrix is numerically singular: the solution overflows.");
  out.expectUnchanged();
}

TYPED_TEST(LinearAlgebraTest, InverseFailuresLeaveOutputsUnchanged) {
  using T = TypeParam;
  Sentinels<T> out;
  expectFailure<T>(inverse(CMatrix<T>(1, 2), out.matrix), LA_INVALID_SHAPE,
                   "inverse(): the matrix is 1 x 2, not square.");
  expectFailure<T>(inverse(CMatrix<T>(), out.matrix), LA_INVALID_SHAPE,
                   "inverse(): the matrix is empty (0 x 0).");
  CMatrix<T> a = identity<T>(2);
  a(1, 0) = -std::numeric_limits<T>::infinity();
  expectFailure<T>(inverse(a, out.matrix), LA_NOT_FINITE,
                   "inverse(): the matrix holds a NaN or infinite element.");
  expectFailure<T>(inverse(CMatrix<T>(3, 3), out.matrix), LA_SINGULAR,
                   "inverse(): the matrix is singular: U(0, 0) of its LU "
                   "factorization is exactly zero.");
  out.expectUnchanged();
}

}  // namespace
