// SPDX-License-Identifier: MIT
#include "vecml/matrix/CMatrix.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>
#include <new>
#include <vector>

#include "matrix/MatrixTestSupport.h"

namespace {

template <typename T>
class CMatrixTest : public testing::Test {};
TYPED_TEST_SUITE(CMatrixTest, ElementTypes);

template <typename T>
class CMatrixFloatingTest : public testing::Test {};
TYPED_TEST_SUITE(CMatrixFloatingTest, FloatingTypes);

// ---- identity and construction ---------------------------------------------

TYPED_TEST(CMatrixTest, ClassNameAndTypeTag) {
  const CMatrix<TypeParam> m;
  EXPECT_EQ(m.className(), "CMatrix");
  EXPECT_TRUE(m.isA("CMatrix"));
  EXPECT_FALSE(m.isA("CObject"));
  EXPECT_EQ(CMatrix<int>().dataType(), DT_INT);
  EXPECT_EQ(CMatrix<float>().dataType(), DT_FLOAT);
  EXPECT_EQ(CMatrix<double>().dataType(), DT_DOUBLE);
}

TYPED_TEST(CMatrixTest, DefaultIsZeroByZeroWithoutArray) {
  const CMatrix<TypeParam> m;
  EXPECT_EQ(m.rows(), 0);
  EXPECT_EQ(m.columns(), 0);
  EXPECT_EQ(m._data(), nullptr);
}

TYPED_TEST(CMatrixTest, ConstructionAllocatesZeros) {
  for (const bool init : {true, false}) {
    const CMatrix<TypeParam> m(2, 3, init);
    ASSERT_NE(m._data(), nullptr);
    expectMatrix<TypeParam>(m, 2, 3, {0, 0, 0, 0, 0, 0});
  }
}

TYPED_TEST(CMatrixTest, EmptyShapesHaveNoArray) {
  EXPECT_EQ(CMatrix<TypeParam>(0, 4)._data(), nullptr);
  EXPECT_EQ(CMatrix<TypeParam>(4, 0)._data(), nullptr);
  const CMatrix<TypeParam> negative(-2, 3);
  EXPECT_EQ(negative.rows(), -2);
  EXPECT_EQ(negative.columns(), 3);
  EXPECT_EQ(negative._data(), nullptr);
}

TYPED_TEST(CMatrixTest, ShapeBeyondIntCannotBeAllocated) {
  EXPECT_THROW(CMatrix<TypeParam>(65536, 65536), std::bad_array_new_length);
  CMatrix<TypeParam> m(1, 1);
  EXPECT_THROW(m.resize(65536, 32768), std::bad_array_new_length);
  EXPECT_EQ(m.rows(), 1);
}

TYPED_TEST(CMatrixTest, EmptyMatrixOperationsWork) {
  for (const CMatrix<TypeParam>& m :
       {CMatrix<TypeParam>(0, 3), CMatrix<TypeParam>(3, 0)}) {
    CMatrix<TypeParam> copy(m);
    EXPECT_EQ(copy._data(), nullptr);
    EXPECT_EQ(copy.rows(), m.rows());
    copy.zeros();
    EXPECT_FALSE(copy.isNaN());
    EXPECT_EQ(copy.sumElements(), TypeParam(0));
    EXPECT_EQ(copy.frobeniusNorm(), TypeParam(0));
    copy = m;
    EXPECT_EQ(copy.columns(), m.columns());
  }
}

TYPED_TEST(CMatrixTest, CopiesAreDeep) {
  CMatrix<TypeParam> original = fromRows<TypeParam>(2, 2, {1, 2, 3, 4});
  CMatrix<TypeParam> copy(original);
  EXPECT_NE(copy._data(), original._data());
  copy(0, 0) = 9;
  expectMatrix<TypeParam>(original, 2, 2, {1, 2, 3, 4});
  expectMatrix<TypeParam>(copy, 2, 2, {9, 2, 3, 4});
}

TYPED_TEST(CMatrixTest, AssignmentOfEqualShapeReusesTheArray) {
  const CMatrix<TypeParam> source = fromRows<TypeParam>(2, 2, {1, 2, 3, 4});
  CMatrix<TypeParam> target(2, 2);
  const TypeParam* array = target._data();
  target = source;
  EXPECT_EQ(target._data(), array);
  expectMatrix<TypeParam>(target, 2, 2, {1, 2, 3, 4});
}

TYPED_TEST(CMatrixTest, AssignmentTakesTheSourceShape) {
  CMatrix<TypeParam> target(1, 5);
  const CMatrix<TypeParam> source = fromRows<TypeParam>(3, 1, {1, 2, 3});
  target = source;
  expectMatrix<TypeParam>(target, 3, 1, {1, 2, 3});
  target = CMatrix<TypeParam>();
  EXPECT_EQ(target._data(), nullptr);
  EXPECT_EQ(target.rows(), 0);
}

TYPED_TEST(CMatrixTest, SelfAssignmentKeepsTheElements) {
  CMatrix<TypeParam> m = fromRows<TypeParam>(1, 2, {5, 6});
  CMatrix<TypeParam>& alias = m;
  m = alias;
  expectMatrix<TypeParam>(m, 1, 2, {5, 6});
}

TYPED_TEST(CMatrixTest, CopyKeepsVerbosity) {
  CMatrix<TypeParam> m(1, 1);
  m.setVerbose(VL_DEBUG);
  EXPECT_EQ(CMatrix<TypeParam>(m).verbose(), VL_DEBUG);
  CMatrix<TypeParam> target;
  target = m;
  EXPECT_EQ(target.verbose(), VL_DEBUG);
}

TYPED_TEST(CMatrixTest, MoveLeavesSourceEmpty) {
  CMatrix<TypeParam> source = fromRows<TypeParam>(1, 2, {1, 2});
  CMatrix<TypeParam> moved(std::move(source));
  expectMatrix<TypeParam>(moved, 1, 2, {1, 2});
  EXPECT_EQ(source.rows(), 0);  // NOLINT: a moved-from matrix is 0 x 0
  EXPECT_EQ(source._data(), nullptr);
  CMatrix<TypeParam> target(3, 3);
  target = std::move(moved);
  expectMatrix<TypeParam>(target, 1, 2, {1, 2});
}

// ---- shape changes and bulk data -------------------------------------------

TYPED_TEST(CMatrixTest, ResizeWithoutKeepGivesZeros) {
  CMatrix<TypeParam> m = fromRows<TypeParam>(2, 2, {1, 2, 3, 4});
  m.resize(3, 1, false);
  expectMatrix<TypeParam>(m, 3, 1, {0, 0, 0});
}

TYPED_TEST(CMatrixTest, ResizeWithKeepGrowsAroundTheOldValues) {
  CMatrix<TypeParam> m = fromRows<TypeParam>(2, 2, {1, 2, 3, 4});
  m.resize(3, 3, true);
  expectMatrix<TypeParam>(m, 3, 3, {1, 2, 0, 3, 4, 0, 0, 0, 0});
}

TYPED_TEST(CMatrixTest, ResizeWithKeepShrinksToTheSharedBlock) {
  CMatrix<TypeParam> m = fromRows<TypeParam>(3, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9});
  m.resize(2, 1, true);
  expectMatrix<TypeParam>(m, 2, 1, {1, 4});
  m.resize(0, 0, true);
  EXPECT_EQ(m._data(), nullptr);
}

TYPED_TEST(CMatrixTest, ResizeWithKeepFromOrToShapesWithoutElements) {
  CMatrix<TypeParam> negative(-2, 3);
  negative.resize(2, 2, true);
  expectMatrix<TypeParam>(negative, 2, 2, {0, 0, 0, 0});
  negative.resize(-1, 2, true);
  EXPECT_EQ(negative._data(), nullptr);
  EXPECT_EQ(negative.rows(), -1);
}

TYPED_TEST(CMatrixTest, SetDataRowMajorAndColumnMajor) {
  const TypeParam values[] = {1, 2, 3, 4};
  CMatrix<TypeParam> m(2, 2);
  m.setData(values, false);
  EXPECT_EQ(m.getElement(1, 0), TypeParam(3));
  m.setData(values, true);
  EXPECT_EQ(m.getElement(1, 0), TypeParam(2));
}

TYPED_TEST(CMatrixTest, StorageIsColumnMajor) {
  const CMatrix<TypeParam> m = fromRows<TypeParam>(2, 3, {1, 2, 3, 4, 5, 6});
  const std::vector<TypeParam> stored(m._data(), m._data() + 6);
  EXPECT_EQ(stored, (std::vector<TypeParam>{1, 4, 2, 5, 3, 6}));
}

TYPED_TEST(CMatrixTest, ZerosClearsEveryElement) {
  CMatrix<TypeParam> m = fromRows<TypeParam>(2, 1, {7, 8});
  m.zeros();
  expectMatrix<TypeParam>(m, 2, 1, {0, 0});
}

// ---- element access
// ----------------------------------------------------------

TYPED_TEST(CMatrixTest, ElementAccessForms) {
  CMatrix<TypeParam> m(2, 2);
  m.setElement(0, 1, 5);
  m(1, 0) = 6;
  EXPECT_EQ(m.getElement(0, 1), TypeParam(5));
  EXPECT_EQ(m.getElement(1, 0), TypeParam(6));
  EXPECT_EQ(m._data()[0 + 1 * 2], TypeParam(5));
}

TYPED_TEST(CMatrixTest, OutsideAccessReadsZeroAndDropsWrites) {
  CMatrix<TypeParam> m = fromRows<TypeParam>(2, 2, {1, 2, 3, 4});
  EXPECT_EQ(m.getElement(2, 0), TypeParam(0));  // would alias (0, 1)
  EXPECT_EQ(m.getElement(0, 2), TypeParam(0));
  EXPECT_EQ(m.getElement(-1, 1), TypeParam(0));
  m(2, 0) = 9;
  m.setElement(0, -1, 9);
  m.setElement(5, 5, 9);
  expectMatrix<TypeParam>(m, 2, 2, {1, 2, 3, 4});
  EXPECT_EQ(CMatrix<TypeParam>().getElement(0, 0), TypeParam(0));
  CMatrix<TypeParam> negative(-2, -3);  // six elements, no valid position
  negative(0, 0) = 9;
  EXPECT_EQ(negative.getElement(0, 0), TypeParam(0));
  EXPECT_EQ(negative.getElement(1, 1), TypeParam(0));
}

TYPED_TEST(CMatrixTest, BlockExtraction) {
  const CMatrix<TypeParam> m =
      fromRows<TypeParam>(3, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9});
  expectMatrix<TypeParam>(m(1, 1, 2, 2), 2, 2, {5, 6, 8, 9});
  expectMatrix<TypeParam>(m(0, 2, 3, 1), 3, 1, {3, 6, 9});
  // The part outside the matrix reads 0.
  expectMatrix<TypeParam>(m(2, 2, 2, 2), 2, 2, {9, 0, 0, 0});
  expectMatrix<TypeParam>(m(INT_MAX, 0, 2, 1), 2, 1, {0, 0});
}

TYPED_TEST(CMatrixTest, InsertPlacesTheBlock) {
  CMatrix<TypeParam> m(3, 3);
  m.insert(1, 0, fromRows<TypeParam>(2, 2, {1, 2, 3, 4}));
  expectMatrix<TypeParam>(m, 3, 3, {0, 0, 0, 1, 2, 0, 3, 4, 0});
  // Positions beyond the matrix are dropped.
  m.insert(2, 2, fromRows<TypeParam>(2, 2, {5, 6, 7, 8}));
  expectMatrix<TypeParam>(m, 3, 3, {0, 0, 0, 1, 2, 0, 3, 4, 5});
}

// ---- rows, columns and diagonals
// ---------------------------------------------

TYPED_TEST(CMatrixTest, GetRowColumnDiagonal) {
  const CMatrix<TypeParam> m = fromRows<TypeParam>(2, 3, {1, 2, 3, 4, 5, 6});
  EXPECT_EQ(elementsOf(m.getRow(1)), (std::vector<TypeParam>{4, 5, 6}));
  EXPECT_EQ(elementsOf(m.getColumn(2)), (std::vector<TypeParam>{3, 6}));
  EXPECT_EQ(elementsOf(m.getDiagonal()), (std::vector<TypeParam>{1, 5}));
}

TYPED_TEST(CMatrixTest, DiagonalLengthIsTheRowCount) {
  const CMatrix<TypeParam> tall = fromRows<TypeParam>(3, 2, {1, 2, 3, 4, 5, 6});
  EXPECT_EQ(elementsOf(tall.getDiagonal()), (std::vector<TypeParam>{1, 4, 0}));
}

TYPED_TEST(CMatrixTest, SetRowReadsThroughGetElement) {
  CMatrix<TypeParam> m(2, 3);
  m.setRow(1, CDenseVector<TypeParam>(std::vector<TypeParam>{7, 8, 9}));
  expectMatrix<TypeParam>(m, 2, 3, {0, 0, 0, 7, 8, 9});
  // A shorter vector supplies 0 for its missing elements.
  m.setRow(0, CDenseVector<TypeParam>(std::vector<TypeParam>{1}));
  expectMatrix<TypeParam>(m, 2, 3, {1, 0, 0, 7, 8, 9});
}

TYPED_TEST(CMatrixTest, SetColumnAndDiagonals) {
  CMatrix<TypeParam> m(2, 3);
  CDenseVector<TypeParam> column(std::vector<TypeParam>{1, 2});
  m.setColumn(2, column);
  expectMatrix<TypeParam>(m, 2, 3, {0, 0, 1, 0, 0, 2});
  m.setDiagonal(TypeParam(5));
  expectMatrix<TypeParam>(m, 2, 3, {5, 0, 1, 0, 5, 2});
  CDenseVector<TypeParam> diagonal(std::vector<TypeParam>{3, 4, 99});
  m.setDiagonal(diagonal);
  expectMatrix<TypeParam>(m, 2, 3, {3, 0, 1, 0, 4, 2});
}

TYPED_TEST(CMatrixTest, DiagonalSettersStopAtTheRowCountNotTheColumns) {
  CMatrix<TypeParam> m(3, 2);
  m.setDiagonal(TypeParam(1));  // (2, 2) lies outside and is dropped
  expectMatrix<TypeParam>(m, 3, 2, {1, 0, 0, 1, 0, 0});
}

// ---- reductions
// ----------------------------------------------------------------

TYPED_TEST(CMatrixTest, TraceIsBoundedByTheColumnCount) {
  // 2 x 3: (0,0) + (1,1) + (2,2), the last outside the matrix and read as 0.
  const CMatrix<TypeParam> wide = fromRows<TypeParam>(2, 3, {1, 2, 3, 4, 5, 6});
  EXPECT_EQ(wide.trace(), TypeParam(6));
  // 3 x 2: only (0,0) and (1,1), although there are three rows.
  const CMatrix<TypeParam> tall = fromRows<TypeParam>(3, 2, {1, 2, 3, 4, 5, 6});
  EXPECT_EQ(tall.trace(), TypeParam(5));
  EXPECT_EQ(CMatrix<TypeParam>().trace(), TypeParam(0));
}

TYPED_TEST(CMatrixTest, SumElements) {
  EXPECT_EQ(fromRows<TypeParam>(2, 2, {1, 2, 3, 4}).sumElements(),
            TypeParam(10));
}

TEST(CMatrix, SumElementsVisitsRowByRow) {
  const CMatrix<float> m = fromRows<float>(2, 2, {1e8f, 1.0f, -1e8f, 1.0f});
  float rowByRow = 0;
  for (const float x : {1e8f, 1.0f, -1e8f, 1.0f}) rowByRow += x;
  EXPECT_EQ(m.sumElements(), rowByRow);
  EXPECT_EQ(rowByRow, 1.0f);  // storage order would give 2
}

TEST(CMatrix, IntSumElementsWraps) {
  EXPECT_EQ(fromRows<int>(1, 2, {INT_MAX, 1}).sumElements(), INT_MIN);
}

TYPED_TEST(CMatrixTest, MinAndMaxReportTheFirstRowMajorPosition) {
  const CMatrix<TypeParam> m = fromRows<TypeParam>(2, 2, {2, 1, 1, 2});
  int row = -1, column = -1;
  EXPECT_EQ(m.minElement(row, column), TypeParam(1));
  EXPECT_EQ(row, 0);
  EXPECT_EQ(column, 1);
  EXPECT_EQ(m.maxElement(row, column), TypeParam(2));
  EXPECT_EQ(row, 0);
  EXPECT_EQ(column, 0);
  const CMatrix<TypeParam> n = fromRows<TypeParam>(2, 2, {3, 5, 0, 5});
  EXPECT_EQ(n.minElement(row, column), TypeParam(0));
  EXPECT_EQ(row, 1);
  EXPECT_EQ(column, 0);
  EXPECT_EQ(n.maxElement(row, column), TypeParam(5));
  EXPECT_EQ(row, 0);
  EXPECT_EQ(column, 1);
}

TYPED_TEST(CMatrixTest, MinOfEmptyMatrixIsZeroAtOrigin) {
  int row = -1, column = -1;
  EXPECT_EQ(CMatrix<TypeParam>().minElement(row, column), TypeParam(0));
  EXPECT_EQ(row, 0);
  EXPECT_EQ(column, 0);
}

TYPED_TEST(CMatrixFloatingTest, FrobeniusNormFusesInStorageOrder) {
  using T = TypeParam;
  const std::vector<T> rowMajor = {T(0.1), T(1.7), T(-2.3), T(3e-3)};
  const CMatrix<T> m = fromRows<T>(2, 2, rowMajor);
  T sum = 0;
  for (const T x : {rowMajor[0], rowMajor[2], rowMajor[1], rowMajor[3]})
    sum = std::fma(x, x, sum);
  EXPECT_EQ(m.frobeniusNorm(), std::sqrt(sum));
}

TEST(CMatrix, IntFrobeniusNorm) {
  EXPECT_EQ(fromRows<int>(1, 2, {3, 4}).frobeniusNorm(), 5);
  EXPECT_EQ(fromRows<int>(1, 2, {2, 2}).frobeniusNorm(), 2);  // sqrt 8
  // 65536^2 wraps to 0 in 32 bits, leaving 3^2.
  EXPECT_EQ(fromRows<int>(1, 2, {65536, 3}).frobeniusNorm(), 3);
}

TYPED_TEST(CMatrixFloatingTest, IsNaNLooksAtEveryElement) {
  const TypeParam nan = std::numeric_limits<TypeParam>::quiet_NaN();
  EXPECT_TRUE(fromRows<TypeParam>(1, 2, {nan, 1}).isNaN());
  EXPECT_TRUE(fromRows<TypeParam>(2, 1, {1, nan}).isNaN());
  EXPECT_FALSE(fromRows<TypeParam>(1, 2, {1, 2}).isNaN());
  EXPECT_FALSE(CMatrix<TypeParam>().isNaN());
}

TEST(CMatrix, IntIsNeverNaN) {
  EXPECT_FALSE(fromRows<int>(1, 2, {INT_MIN, INT_MAX}).isNaN());
}

// ---- placeholders
// ----------------------------------------------------------------

TYPED_TEST(CMatrixTest, InvertReturnsTheMatrixItself) {
  const CMatrix<TypeParam> m = fromRows<TypeParam>(2, 2, {1, 2, 3, 4});
  expectMatrix<TypeParam>(m.invert(), 2, 2, {1, 2, 3, 4});
}

TYPED_TEST(CMatrixTest, EigReturnsFalseAndTouchesNothing) {
  CMatrix<TypeParam> m = fromRows<TypeParam>(1, 1, {2});
  CDenseVector<TypeParam> values(std::vector<TypeParam>{7});
  CMatrix<TypeParam> vectors = fromRows<TypeParam>(1, 1, {8});
  EXPECT_FALSE(m.eig(values, vectors, 1, MT_SYMMETRIC));
  EXPECT_EQ(elementsOf(values), std::vector<TypeParam>{7});
  expectMatrix<TypeParam>(vectors, 1, 1, {8});
  expectMatrix<TypeParam>(m, 1, 1, {2});
}

TYPED_TEST(CMatrixTest, LUFactorizationLeavesItsOutputsAlone) {
  const CMatrix<TypeParam> m = fromRows<TypeParam>(2, 2, {4, 3, 6, 3});
  CMatrix<TypeParam> lower = fromRows<TypeParam>(1, 1, {5});
  CMatrix<TypeParam> upper;
  CDenseVector<int> permutation(std::vector<int>{1, 0});
  EXPECT_TRUE(m.calcLUFactorization(lower, upper, permutation));
  expectMatrix<TypeParam>(lower, 1, 1, {5});
  EXPECT_EQ(upper.rows(), 0);
  EXPECT_EQ(upper._data(), nullptr);
  EXPECT_EQ(elementsOf(permutation), (std::vector<int>{1, 0}));
}

TYPED_TEST(CMatrixTest, DeterminantOfThePlaceholderFactorization) {
  EXPECT_EQ(CMatrix<TypeParam>().determinant(), TypeParam(1));
  EXPECT_EQ(CMatrix<TypeParam>(0, 3).determinant(), TypeParam(1));
  // The empty U has no diagonal: it reads as 0.
  EXPECT_EQ(fromRows<TypeParam>(2, 2, {1, 0, 0, 1}).determinant(),
            TypeParam(0));
  EXPECT_EQ(fromRows<TypeParam>(1, 1, {7}).determinant(), TypeParam(0));
}

}  // namespace
