// SPDX-License-Identifier: MIT
// The matrix allocates its element array with new[] and releases it with
// delete[] through every change of shape, and vectors that cross between
// matrices and client arrays release theirs the same way. The sanitizer
// build and valgrind report any mismatched pair.
#include <gtest/gtest.h>

#include "vecml/matrix/CMatrix.h"
#include "vecml/vector/CDenseVector.h"

namespace {

template <typename T>
class CMatrixElementArrayTest : public testing::Test {};
using ElementTypes = testing::Types<int, float, double>;
TYPED_TEST_SUITE(CMatrixElementArrayTest, ElementTypes);

TYPED_TEST(CMatrixElementArrayTest, EveryShapeChangeReleasesWithArrayDelete) {
  using T = TypeParam;
  CMatrix<T> m(2, 3);
  m.resize(4, 4, true);
  m.resize(1, 2);
  CMatrix<T> other(5, 1);
  m = other;
  CMatrix<T> copy(m);
  CMatrix<T> moved(std::move(copy));
  moved.resize(0, 0);
  EXPECT_EQ(m.rows(), 5);
}

TYPED_TEST(CMatrixElementArrayTest, VectorsFromClientArraysBecomeMatrices) {
  using T = TypeParam;
  CDenseVector<T> v(3);
  delete[] v._data();
  v._setData(new T[3]{1, 2, 3});
  CMatrix<T> asMatrix = v.asMatrix();
  EXPECT_EQ(asMatrix(2, 0), T(3));
}

TYPED_TEST(CMatrixElementArrayTest, ClientTakesTheArrayOfAMatrixColumn) {
  using T = TypeParam;
  CMatrix<T> m(2, 2);
  m(1, 1) = T(4);
  CDenseVector<T> column = m.getColumn(1);
  T* taken = column._data();
  column._setData(new T[2]());
  EXPECT_EQ(taken[1], T(4));
  delete[] taken;
}

}  // namespace
