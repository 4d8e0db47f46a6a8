// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "vecml/vector/CSparseVector.h"
#include "vector/SparseTestHelpers.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;

template <typename T>
class CSparseVectorDeathTest : public testing::Test {};
using ElementTypes = testing::Types<int, float, double>;
TYPED_TEST_SUITE(CSparseVectorDeathTest, ElementTypes);

// Matches the C library's report of the failed assertion `text` made at
// `line` of the sparse vector's source file.
testing::Matcher<const std::string&> assertionAt(int line,
                                                 const std::string& text) {
  return AllOf(HasSubstr("CSparseVector.cpp:" + std::to_string(line) + ": "),
               HasSubstr("Assertion `" + text + "' failed."));
}

TYPED_TEST(CSparseVectorDeathTest, NegativeDimensionIsAsserted) {
  using T = TypeParam;
  T values[] = {1};
  int positions[] = {0};
  EXPECT_DEATH(CSparseVector<T>(-1, 1, values, positions),
               assertionAt(65, "d >= 0"));
}

TYPED_TEST(CSparseVectorDeathTest, DimensionIsAssertedFirst) {
  using T = TypeParam;
  EXPECT_DEATH(CSparseVector<T>(-1, -1, nullptr, nullptr),
               assertionAt(65, "d >= 0"));
}

TYPED_TEST(CSparseVectorDeathTest, NegativeSizeIsAsserted) {
  using T = TypeParam;
  EXPECT_DEATH(CSparseVector<T>(3, -1, nullptr, nullptr),
               assertionAt(66, "s >= 0"));
}

TYPED_TEST(CSparseVectorDeathTest, MissingValuesAreAsserted) {
  using T = TypeParam;
  EXPECT_DEATH(CSparseVector<T>(3, 1, nullptr, nullptr),
               assertionAt(67, "init_values != __null"));
}

TYPED_TEST(CSparseVectorDeathTest, MissingPositionsAreAsserted) {
  using T = TypeParam;
  T values[] = {1};
  EXPECT_DEATH(CSparseVector<T>(3, 1, values, nullptr),
               assertionAt(68, "pos != __null"));
}

TYPED_TEST(CSparseVectorDeathTest, CopyOfMovedFromVectorIsAsserted) {
  using T = TypeParam;
  CSparseVector<T> source = makeSparse<T>(3, {{1, 2}});
  const CSparseVector<T> target(std::move(source));
  EXPECT_EQ(target.getNumNonZero(), 1);
  // NOLINTNEXTLINE(bugprone-use-after-move): the point of this test
  EXPECT_DEATH(CSparseVector<T>{source},
               assertionAt(116, "elements != __null"));
}

TYPED_TEST(CSparseVectorDeathTest, NegativeIndexIsAsserted) {
  using T = TypeParam;
  const CSparseVector<T> v = makeSparse<T>(3, {{0, 1}});
  EXPECT_DEATH(v[-1], assertionAt(139, "index >= 0"));
}

TYPED_TEST(CSparseVectorDeathTest, IndexAtDimensionIsAsserted) {
  using T = TypeParam;
  const CSparseVector<T> v = makeSparse<T>(3, {{2, 1}});
  EXPECT_DEATH(v[3], assertionAt(140, "index < dim"));
}

TYPED_TEST(CSparseVectorDeathTest, IndexIsAssertedThroughTheBaseClass) {
  using T = TypeParam;
  const CSparseVector<T> sparse(4, 0);
  const CVector<T>& v = sparse;
  EXPECT_DEATH(v[-5], assertionAt(139, "index >= 0"));
  EXPECT_DEATH(v[4], assertionAt(140, "index < dim"));
}

TYPED_TEST(CSparseVectorDeathTest, SetElementAtSizeIsAsserted) {
  using T = TypeParam;
  CSparseVector<T> v = makeSparse<T>(5, {{0, 1}, {3, 2}});
  EXPECT_DEATH(v.setElement(2, {4, 3}), assertionAt(162, "index < size"));
}

TYPED_TEST(CSparseVectorDeathTest,
           SortOfIndexBeyondDimensionFailsTheDenseCheck) {
  using T = TypeParam;
  CSparseVector<T> v = makeSparse<T>(3, {{1, 1}, {5, 2}});
  EXPECT_DEATH(v.sort(),
               HasSubstr("ML_LS_CHK failed in File: CDenseVector.h Line: 179. "
                         "i=5 >= 3"));
}

}  // namespace
