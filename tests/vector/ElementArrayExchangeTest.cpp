// SPDX-License-Identifier: MIT
// Element arrays pass between client code and vectors in both directions:
// arrays the client made with new[] or NEWARRAY are handed in with
// _setData and released by the vector, and arrays taken out with _data()
// are released by the client with delete[]. The sanitizer build and
// valgrind report any mismatched pair.
#include <gtest/gtest.h>

#include <vector>

#include "vecml/core/Macros.h"
#include "vecml/vector/CDenseVector.h"
#include "vecml/vector/CSparseVector.h"

namespace {

template <typename T>
class ElementArrayExchangeTest : public testing::Test {};
using ElementTypes = testing::Types<int, float, double>;
TYPED_TEST_SUITE(ElementArrayExchangeTest, ElementTypes);

TYPED_TEST(ElementArrayExchangeTest, VectorReleasesAClientNewArray) {
  using T = TypeParam;
  CDenseVector<T> v(4);
  T* old = v._data();
  v._setData(new T[4]{1, 2, 3, 4});
  delete[] old;  // the client owns the old array now
  EXPECT_EQ(v.toSTL(), std::vector<T>({1, 2, 3, 4}));
}

TYPED_TEST(ElementArrayExchangeTest, VectorReleasesANewArrayArray) {
  using T = TypeParam;
  CDenseVector<T> v(3, T(7));
  T* old = v._data();
  T* fresh = NEWARRAY<T>(3);
  fresh[1] = T(5);
  v._setData(fresh);
  delete[] old;
  EXPECT_EQ(v.toSTL(), std::vector<T>({0, 5, 0}));
}

TYPED_TEST(ElementArrayExchangeTest, ClientReleasesAnArrayTakenOut) {
  using T = TypeParam;
  T* taken = nullptr;
  {
    CDenseVector<T> v(std::vector<T>{1, 2, 3});
    taken = v._data();
    v._setData(new T[3]());
  }
  EXPECT_EQ(taken[2], T(3));
  delete[] taken;
}

// Every later change of the array (reshaping by assignment, copy, move)
// releases a client array with delete[] too.
TYPED_TEST(ElementArrayExchangeTest, ReshapingReleasesAClientArray) {
  using T = TypeParam;
  CDenseVector<T> v(2);
  delete[] v._data();
  v._setData(new T[2]{8, 9});
  v = CDenseVector<T>(5, T(1));  // move assignment
  delete[] v._data();
  v._setData(new T[5]());
  const CDenseVector<T> wider(7, T(2));
  v = wider;  // copy assignment to another dimension
  EXPECT_EQ(v.dimension(), 7);
  delete[] v._data();
  v._setData(new T[7]());
  v.copy(CDenseVector<T>(1, T(3)));
  EXPECT_EQ(v.toSTL(), std::vector<T>({3}));
}

TYPED_TEST(ElementArrayExchangeTest, SparseVectorsFromClientArrays) {
  using T = TypeParam;
  CDenseVector<T> dense(4);
  delete[] dense._data();
  dense._setData(new T[4]{0, 6, 0, 2});
  CSparseVector<T> sparse(dense);
  CSparseVector<T> copy(sparse);
  CSparseVector<T> moved(std::move(copy));
  int positions[] = {3, 1};
  T* values = new T[2]{2, 6};
  CSparseVector<T> fromArrays(4, 2, values, positions);
  delete[] values;  // the sparse vector copies what it is given
  EXPECT_EQ(moved.getNumNonZero(), 2);
  EXPECT_EQ(fromArrays[1], T(6));
  EXPECT_EQ(sparse[3], T(2));
}

}  // namespace
