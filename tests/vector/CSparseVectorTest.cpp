// SPDX-License-Identifier: MIT
#include "vecml/vector/CSparseVector.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <iterator>
#include <limits>
#include <memory>
#include <string>
#include <typeinfo>
#include <vector>

#include "support/RecordingArchive.h"
#include "support/TempFile.h"
#include "vector/SparseTestHelpers.h"

namespace {

template <typename T>
class CSparseVectorTest : public testing::Test {};
using ElementTypes = testing::Types<int, float, double>;
TYPED_TEST_SUITE(CSparseVectorTest, ElementTypes);

template <typename T>
class CSparseVectorFloatingTest : public testing::Test {};
using FloatingTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CSparseVectorFloatingTest, FloatingTypes);

// ---- constructors ----------------------------------------------------------

TYPED_TEST(CSparseVectorTest, SizedConstructorStoresZeroPairs) {
  using T = TypeParam;
  const CSparseVector<T> v(6, 3);
  EXPECT_EQ(v.dimension(), 6);
  EXPECT_EQ(v.getNumNonZero(), 3);
  EXPECT_EQ(entriesOf(v), Entries<T>({{0, 0}, {0, 0}, {0, 0}}));
  EXPECT_EQ(valuesOf(v), std::vector<T>(6, T(0)));
}

TYPED_TEST(CSparseVectorTest, SizedConstructorWithoutEntries) {
  using T = TypeParam;
  const CSparseVector<T> v(4, 0);
  EXPECT_EQ(v.dimension(), 4);
  EXPECT_EQ(v.getNumNonZero(), 0);
  EXPECT_EQ(v.begin(), v.end());
}

TYPED_TEST(CSparseVectorTest, ArrayConstructorSortsEntriesByIndex) {
  using T = TypeParam;
  T values[] = {40, 0, 20, 7};
  int positions[] = {4, 0, 2, 6};
  const CSparseVector<T> v(8, 4, values, positions);
  EXPECT_EQ(v.dimension(), 8);
  EXPECT_EQ(v.getNumNonZero(), 4);
  EXPECT_EQ(entriesOf(v), Entries<T>({{0, 0}, {2, 20}, {4, 40}, {6, 7}}));
  EXPECT_EQ(valuesOf(v), std::vector<T>({0, 0, 20, 0, 40, 0, 7, 0}));
}

TYPED_TEST(CSparseVectorTest, ArrayConstructorAcceptsEmptyVector) {
  using T = TypeParam;
  T value = 1;
  int position = 0;
  const CSparseVector<T> v(0, 0, &value, &position);
  EXPECT_EQ(v.dimension(), 0);
  EXPECT_EQ(v.getNumNonZero(), 0);
}

TYPED_TEST(CSparseVectorTest, CopyIsDeep) {
  using T = TypeParam;
  const CSparseVector<T> original = makeSparse<T>(5, {{1, 3}, {4, 0}});
  CSparseVector<T> copy(original);
  EXPECT_EQ(copy.dimension(), 5);
  EXPECT_EQ(entriesOf(copy), entriesOf(original));
  EXPECT_NE(copy.begin(), original.begin());
  copy.setElement(0, {1, 9});
  EXPECT_EQ(original.getElement(1), T(3));
}

TYPED_TEST(CSparseVectorTest, MoveTakesTheEntries) {
  using T = TypeParam;
  CSparseVector<T> source = makeSparse<T>(5, {{2, 8}});
  const auto* stored = source.begin();
  const CSparseVector<T> target(std::move(source));
  EXPECT_EQ(target.begin(), stored);
  EXPECT_EQ(target.dimension(), 5);
  EXPECT_EQ(entriesOf(target), Entries<T>({{2, 8}}));
  EXPECT_EQ(source.dimension(), 0);  // NOLINT(bugprone-use-after-move)
  EXPECT_EQ(source.getNumNonZero(), 0);
}

TYPED_TEST(CSparseVectorTest, AssignmentCopiesAndMoves) {
  using T = TypeParam;
  const CSparseVector<T> original = makeSparse<T>(3, {{0, 1}, {2, 5}});
  CSparseVector<T> copied(1, 0);
  copied = original;
  EXPECT_EQ(copied.dimension(), 3);
  EXPECT_EQ(entriesOf(copied), entriesOf(original));
  EXPECT_NE(copied.begin(), original.begin());

  CSparseVector<T> moved(1, 0);
  moved = makeSparse<T>(7, {{6, 2}});
  EXPECT_EQ(moved.dimension(), 7);
  EXPECT_EQ(entriesOf(moved), Entries<T>({{6, 2}}));
}

TEST(CSparseVector, ConvertsDenseVectorStoringNonZeroElements) {
  const CSparseVector<float> v(denseOf<float>({0, 2, 0, 3}));
  EXPECT_EQ(v.dimension(), 4);
  EXPECT_EQ(v.getNumNonZero(), 2);
  EXPECT_EQ(entriesOf(v), Entries<float>({{1, 2}, {3, 3}}));
}

TYPED_TEST(CSparseVectorTest, ConvertingConstructorDropsStoredZeros) {
  using T = TypeParam;
  const CSparseVector<T> withZeros =
      makeSparse<T>(6, {{0, 0}, {1, -4}, {3, 0}, {5, 2}});
  const CSparseVector<T> v(static_cast<const CVector<T>&>(withZeros));
  EXPECT_EQ(v.dimension(), 6);
  EXPECT_EQ(v.getNumNonZero(), 2);
  EXPECT_EQ(entriesOf(v), Entries<T>({{1, -4}, {5, 2}}));
}

TYPED_TEST(CSparseVectorTest, ConvertingAllZeroVectorStoresNothing) {
  using T = TypeParam;
  const CSparseVector<T> v(denseOf<T>({0, 0, 0}));
  EXPECT_EQ(v.dimension(), 3);
  EXPECT_EQ(v.getNumNonZero(), 0);
}

// ---- lookup ----------------------------------------------------------------

TYPED_TEST(CSparseVectorTest, LookupReturnsStoredValueOrZero) {
  using T = TypeParam;
  const CSparseVector<T> v = makeSparse<T>(5, {{1, 7}, {3, -2}});
  const std::vector<T> expected = {0, 7, 0, -2, 0};
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(v[i], expected[i]) << "index " << i;
    EXPECT_EQ(v.getElement(i), expected[i]) << "index " << i;
  }
}

TYPED_TEST(CSparseVectorTest, LookupFindsEveryEntryOfALongList) {
  using T = TypeParam;
  Entries<T> entries;
  for (int index = 3; index < 200; index += 7)
    entries.emplace_back(index, T(index / 7 + 1));
  const CSparseVector<T> v = makeSparse<T>(200, entries);
  for (int i = 0; i < 200; ++i) {
    const T expected = (i % 7 == 3) ? T(i / 7 + 1) : T(0);
    EXPECT_EQ(v[i], expected) << "index " << i;
    EXPECT_EQ(v.getElement(i), expected) << "index " << i;
  }
}

TYPED_TEST(CSparseVectorTest, UnstoredPositionsShareOneZero) {
  using T = TypeParam;
  const CSparseVector<T> v = makeSparse<T>(4, {{1, 5}});
  const CSparseVector<T> w(9, 0);
  EXPECT_EQ(&v[0], &v[3]);
  EXPECT_EQ(&v[0], &w[8]);
  EXPECT_NE(&v[1], &v[0]);
}

TYPED_TEST(CSparseVectorTest, GetElementOutsideTheDimensionReadsZero) {
  using T = TypeParam;
  const CSparseVector<T> v = makeSparse<T>(3, {{0, 4}, {2, 6}});
  EXPECT_EQ(v.getElement(-1), T(0));
  EXPECT_EQ(v.getElement(3), T(0));
  EXPECT_EQ(v.getElement(1000), T(0));
}

TYPED_TEST(CSparseVectorTest, LookupThroughTheBaseClass) {
  using T = TypeParam;
  const CSparseVector<T> sparse = makeSparse<T>(3, {{2, 9}});
  const CVector<T>& v = sparse;
  EXPECT_EQ(v[2], T(9));
  EXPECT_EQ(v[0], T(0));
  EXPECT_EQ(v.getElement(2), T(9));
  EXPECT_EQ(v.dimension(), 3);
}

// ---- setElement and counts -------------------------------------------------

TYPED_TEST(CSparseVectorTest, SetElementStoresAtEntryPosition) {
  using T = TypeParam;
  CSparseVector<T> v = makeSparse<T>(6, {{1, 1}, {4, 4}});
  v.setElement(1, {5, 8});
  EXPECT_EQ(entriesOf(v), Entries<T>({{1, 1}, {5, 8}}));
  EXPECT_EQ(v.getElement(4), T(0));
  EXPECT_EQ(v.getElement(5), T(8));
}

TYPED_TEST(CSparseVectorTest, SetElementIgnoresNegativePosition) {
  using T = TypeParam;
  CSparseVector<T> v = makeSparse<T>(3, {{1, 2}});
  v.setElement(-1, {0, 9});
  EXPECT_EQ(entriesOf(v), Entries<T>({{1, 2}}));
}

TYPED_TEST(CSparseVectorTest, GetNumNonZeroCountsStoredZeros) {
  using T = TypeParam;
  const CSparseVector<T> v = makeSparse<T>(5, {{0, 0}, {2, 3}, {4, 0}});
  EXPECT_EQ(v.getNumNonZero(), 3);
}

TYPED_TEST(CSparseVectorTest, BeginAndEndSpanTheStoredEntries) {
  using T = TypeParam;
  CSparseVector<T> v = makeSparse<T>(9, {{2, 1}, {5, 2}, {8, 3}});
  EXPECT_EQ(std::distance(v.begin(), v.end()), 3);
  for (auto& entry : v) entry.second = T(entry.second * 10);
  EXPECT_EQ(entriesOf(v), Entries<T>({{2, 10}, {5, 20}, {8, 30}}));
}

// ---- NaN and length --------------------------------------------------------

TYPED_TEST(CSparseVectorFloatingTest, IsNaNExaminesEveryStoredValue) {
  using T = TypeParam;
  const T nan = std::numeric_limits<T>::quiet_NaN();
  EXPECT_TRUE(makeSparse<T>(2, {{0, nan}, {1, 1}}).isNaN());
  EXPECT_TRUE(makeSparse<T>(9, {{1, 1}, {8, nan}}).isNaN());
  EXPECT_TRUE(makeSparse<T>(1, {{0, nan}}).isNaN());
  EXPECT_FALSE(makeSparse<T>(3, {{0, 1}, {2, 2}}).isNaN());
  EXPECT_FALSE(CSparseVector<T>(3, 0).isNaN());
}

TEST(CSparseVector, IntVectorIsNeverNaN) {
  EXPECT_FALSE(makeSparse<int>(3, {{0, 1}, {2, -5}}).isNaN());
}

TYPED_TEST(CSparseVectorTest, EuclideanLengthOfStoredValues) {
  using T = TypeParam;
  const CSparseVector<T> v = makeSparse<T>(10, {{2, 3}, {7, -4}});
  EXPECT_EQ(v.euclideanLength(true), T(25));
  EXPECT_EQ(v.euclideanLength(false), T(5));
  EXPECT_EQ(CSparseVector<T>(4, 0).euclideanLength(false), T(0));
}

TEST(CSparseVector, IntEuclideanLengthTruncatesTheRoot) {
  const CSparseVector<int> v = makeSparse<int>(3, {{0, 2}, {2, 3}});
  EXPECT_EQ(v.euclideanLength(true), 13);
  EXPECT_EQ(v.euclideanLength(false), 3);
}

TEST(CSparseVector, FloatEuclideanLengthRootsInSinglePrecision) {
  const CSparseVector<float> v = makeSparse<float>(3, {{0, 1}, {1, 1}});
  EXPECT_EQ(v.euclideanLength(false), std::sqrt(2.0f));
}

// ---- scalar arithmetic -----------------------------------------------------

TYPED_TEST(CSparseVectorTest, ScalarMultiplyScalesStoredValues) {
  using T = TypeParam;
  CSparseVector<T> v = makeSparse<T>(5, {{1, 3}, {2, 0}, {4, -2}});
  CVector<T>& base = v;
  base *= T(3);
  EXPECT_EQ(entriesOf(v), Entries<T>({{1, 9}, {2, 0}, {4, -6}}));
  v *= T(0);
  EXPECT_EQ(entriesOf(v), Entries<T>({{1, 0}, {2, 0}, {4, 0}}));
}

TYPED_TEST(CSparseVectorTest, ScalarDivideScalesStoredValues) {
  using T = TypeParam;
  CSparseVector<T> v = makeSparse<T>(5, {{0, 8}, {3, -6}});
  CVector<T>& base = v;
  base /= T(2);
  EXPECT_EQ(entriesOf(v), Entries<T>({{0, 4}, {3, -3}}));
}

TEST(CSparseVector, IntScalarDivideTruncatesTowardZero) {
  CSparseVector<int> v = makeSparse<int>(3, {{0, 7}, {2, -7}});
  v /= 2;
  EXPECT_EQ(entriesOf(v), Entries<int>({{0, 3}, {2, -3}}));
}

TYPED_TEST(CSparseVectorFloatingTest, ScalarDivideByZeroGivesInfinities) {
  using T = TypeParam;
  CSparseVector<T> v = makeSparse<T>(3, {{0, 1}, {1, 0}, {2, -1}});
  v /= T(0);
  EXPECT_EQ(v.getElement(0), std::numeric_limits<T>::infinity());
  EXPECT_TRUE(std::isnan(v.getElement(1)));
  EXPECT_EQ(v.getElement(2), -std::numeric_limits<T>::infinity());
}

// ---- conversions -----------------------------------------------------------

TYPED_TEST(CSparseVectorTest, CloneIsANewSparseCopy) {
  using T = TypeParam;
  const CSparseVector<T> v = makeSparse<T>(6, {{1, 5}, {3, 0}, {5, -1}});
  const std::unique_ptr<CVector<T>> copy(v.clone());
  ASSERT_NE(copy.get(), &v);
  EXPECT_EQ(typeid(*copy), typeid(CSparseVector<T>));
  const auto& sparse = static_cast<const CSparseVector<T>&>(*copy);
  EXPECT_EQ(sparse.dimension(), 6);
  EXPECT_EQ(entriesOf(sparse), entriesOf(v));
  EXPECT_NE(sparse.begin(), v.begin());
}

// Checks that `converted` is a new sparse vector of element type U holding
// the entries of `v` with each value converted.
template <typename U, typename T>
void expectConvertedCopy(const CVector<U>* converted,
                         const CSparseVector<T>& v) {
  ASSERT_NE(converted, nullptr);
  EXPECT_NE(static_cast<const void*>(converted), static_cast<const void*>(&v));
  ASSERT_EQ(typeid(*converted), typeid(CSparseVector<U>));
  const auto& sparse = static_cast<const CSparseVector<U>&>(*converted);
  EXPECT_EQ(sparse.dimension(), v.dimension());
  Entries<U> expected;
  for (const auto& [index, value] : v)
    expected.emplace_back(index, static_cast<U>(value));
  EXPECT_EQ(entriesOf(sparse), expected);
}

TYPED_TEST(CSparseVectorTest, ToDoubleAndToFloatAreNewConvertedCopies) {
  using T = TypeParam;
  const CSparseVector<T> v = makeSparse<T>(7, {{0, 3}, {2, 0}, {6, -12}});
  const std::unique_ptr<CVector<double>> asDouble(v.toDouble());
  expectConvertedCopy(asDouble.get(), v);
  const std::unique_ptr<CVector<float>> asFloat(v.toFloat());
  expectConvertedCopy(asFloat.get(), v);
}

TEST(CSparseVector, ConversionsRoundValuesOfTheOtherPrecision) {
  const CSparseVector<double> precise = makeSparse<double>(2, {{1, 0.1}});
  const std::unique_ptr<CVector<float>> narrowed(precise.toFloat());
  EXPECT_EQ(narrowed->getElement(1), 0.1f);
  const CSparseVector<float> single = makeSparse<float>(2, {{0, 0.1f}});
  const std::unique_ptr<CVector<double>> widened(single.toDouble());
  EXPECT_EQ(widened->getElement(0), static_cast<double>(0.1f));
}

TYPED_TEST(CSparseVectorTest, ToSTLListsEveryPosition) {
  using T = TypeParam;
  const CSparseVector<T> v = makeSparse<T>(4, {{1, 2}, {3, 5}});
  EXPECT_EQ(v.toSTL(), std::vector<T>({0, 2, 0, 5}));
}

TYPED_TEST(CSparseVectorTest, EqualityComparesEveryPosition) {
  using T = TypeParam;
  const CSparseVector<T> v = makeSparse<T>(4, {{1, 2}, {3, 5}});
  EXPECT_TRUE(v == denseOf<T>({0, 2, 0, 5}));
  EXPECT_TRUE(denseOf<T>({0, 2, 0, 5}) == v);
  EXPECT_FALSE(v == denseOf<T>({0, 2, 1, 5}));
  EXPECT_FALSE(v == denseOf<T>({0, 2, 0}));
}

// ---- sort ------------------------------------------------------------------

TEST(CSparseVector, SortMarksStoredIndices) {
  CSparseVector<double> v = makeSparse<double>(5, {{1, 9.5}, {3, -2}});
  EXPECT_EQ(v.sort().toSTL(), std::vector<int>({0, 1, 0, 3, 0}));
}

TYPED_TEST(CSparseVectorTest, SortReordersNothing) {
  using T = TypeParam;
  CSparseVector<T> v = makeSparse<T>(6, {{0, 9}, {2, 0}, {5, -3}});
  const CDenseVector<int> marks = v.sort();
  EXPECT_EQ(marks.toSTL(), std::vector<int>({0, 0, 2, 0, 0, 5}));
  EXPECT_EQ(entriesOf(v), Entries<T>({{0, 9}, {2, 0}, {5, -3}}));
}

TYPED_TEST(CSparseVectorTest, SortOfAnEmptyListIsAllZero) {
  using T = TypeParam;
  CSparseVector<T> v(3, 0);
  EXPECT_EQ(v.sort().toSTL(), std::vector<int>({0, 0, 0}));
}

// ---- free functions --------------------------------------------------------

TYPED_TEST(CSparseVectorTest, ProductWithScalarInBothOrders) {
  using T = TypeParam;
  const CSparseVector<T> v = makeSparse<T>(5, {{0, 2}, {2, 0}, {4, 3}});
  for (const CSparseVector<T>& result : {v * T(2), T(2) * v}) {
    EXPECT_EQ(result.dimension(), 5);
    EXPECT_EQ(entriesOf(result), Entries<T>({{0, 4}, {4, 6}}));
  }
  EXPECT_EQ(entriesOf(v), Entries<T>({{0, 2}, {2, 0}, {4, 3}}));
}

TYPED_TEST(CSparseVectorTest, ProductWithZeroStoresNothing) {
  using T = TypeParam;
  const CSparseVector<T> v = makeSparse<T>(3, {{0, 2}, {1, 5}});
  EXPECT_EQ((v * T(0)).getNumNonZero(), 0);
  EXPECT_EQ((T(0) * v).getNumNonZero(), 0);
  EXPECT_EQ((v * T(0)).dimension(), 3);
}

TYPED_TEST(CSparseVectorTest, DivisionByScalar) {
  using T = TypeParam;
  const CSparseVector<T> v = makeSparse<T>(6, {{1, 8}, {3, 0}, {5, -4}});
  const CSparseVector<T> result = v / T(4);
  EXPECT_EQ(result.dimension(), 6);
  EXPECT_EQ(entriesOf(result), Entries<T>({{1, 2}, {5, -1}}));
  EXPECT_EQ(entriesOf(v), Entries<T>({{1, 8}, {3, 0}, {5, -4}}));
}

TEST(CSparseVector, IntDivisionDropsValuesTruncatedToZero) {
  const CSparseVector<int> v = makeSparse<int>(4, {{1, 1}, {3, 4}});
  EXPECT_EQ(entriesOf(v / 2), Entries<int>({{3, 2}}));
}

TYPED_TEST(CSparseVectorTest, ElementMulWithDenseVector) {
  using T = TypeParam;
  const CSparseVector<T> v = makeSparse<T>(5, {{0, 2}, {2, 4}, {3, 0}});
  const CSparseVector<T> result = elementMul(v, denseOf<T>({3, 9, 0, 5, 7}));
  EXPECT_EQ(result.dimension(), 5);
  EXPECT_EQ(entriesOf(result), Entries<T>({{0, 6}}));
  EXPECT_EQ(entriesOf(v), Entries<T>({{0, 2}, {2, 4}, {3, 0}}));
}

TYPED_TEST(CSparseVectorTest, ElementMulWithSparseVector) {
  using T = TypeParam;
  const CSparseVector<T> v = makeSparse<T>(6, {{0, 2}, {2, 4}, {5, -1}});
  const CSparseVector<T> w = makeSparse<T>(6, {{2, 3}, {4, 8}, {5, 2}});
  const CSparseVector<T> result = elementMul(v, w);
  EXPECT_EQ(result.dimension(), 6);
  EXPECT_EQ(entriesOf(result), Entries<T>({{2, 12}, {5, -2}}));
}

TYPED_TEST(CSparseVectorTest, VectorProductAndDivisionInPlace) {
  using T = TypeParam;
  CSparseVector<T> v = makeSparse<T>(4, {{1, 6}, {3, 0}});
  v *= denseOf<T>({1, 2, 1, 1});
  EXPECT_EQ(entriesOf(v), Entries<T>({{1, 12}, {3, 0}}));
  v /= denseOf<T>({1, 3, 1, 1});
  EXPECT_EQ(entriesOf(v), Entries<T>({{1, 4}, {3, 0}}));
}

// ---- object identity and serialization -------------------------------------

TYPED_TEST(CSparseVectorTest, ClassNameAndIsA) {
  using T = TypeParam;
  const CSparseVector<T> v(2, 0);
  const CObject<T>& object = v;
  EXPECT_EQ(object.className(), "CSparseVector");
  EXPECT_TRUE(object.isA("CSparseVector"));
  EXPECT_FALSE(object.isA("CVector"));
  EXPECT_FALSE(object.isA("CDenseVector"));
  EXPECT_FALSE(object.isA("CSparseVecto"));
}

TYPED_TEST(CSparseVectorTest, SerializeWritesNothing) {
  using T = TypeParam;
  const TempFile file;
  CSparseVector<T> v = makeSparse<T>(4, {{1, 2}, {3, 5}});
  {
    std::fstream stream(file.path(), std::ios::out | std::ios::binary);
    EXPECT_TRUE(v.serialize(stream, IO_WRITE));
    EXPECT_EQ(stream.tellp(), std::streampos(0));
  }
  EXPECT_EQ(file.contents(), "");
  file.write("abc");
  {
    std::fstream stream(file.path(), std::ios::in | std::ios::binary);
    EXPECT_TRUE(v.serialize(stream, IO_READ));
    EXPECT_EQ(stream.tellg(), std::streampos(0));
  }
  EXPECT_EQ(v.dimension(), 4);
  EXPECT_EQ(entriesOf(v), Entries<T>({{1, 2}, {3, 5}}));
}

TYPED_TEST(CSparseVectorTest, Serialize2TouchesNoArchive) {
  using T = TypeParam;
  CSparseVector<T> v = makeSparse<T>(4, {{1, 2}});
  for (const bool loading : {false, true}) {
    RecordingArchive archive(loading);
    archive.numbers = {7, 7, 7};
    EXPECT_TRUE(v.serialize2(archive));
    EXPECT_TRUE(archive.calls.empty());
  }
  EXPECT_EQ(v.dimension(), 4);
  EXPECT_EQ(entriesOf(v), Entries<T>({{1, 2}}));
}

}  // namespace
