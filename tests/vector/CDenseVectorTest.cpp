// SPDX-License-Identifier: MIT
#include "vecml/vector/CDenseVector.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>
#include <memory>
#include <vector>

#include "support/CaptureOutput.h"
#include "vecml/vector/CSparseVector.h"

namespace {

template <typename T>
CDenseVector<T> vec(std::vector<T> values) {
  return CDenseVector<T>(values);
}

template <typename T>
class CDenseVectorTest : public testing::Test {};
using ElementTypes = testing::Types<int, float, double>;
TYPED_TEST_SUITE(CDenseVectorTest, ElementTypes);

template <typename T>
class CDenseVectorFloatingTest : public testing::Test {};
using FloatingTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CDenseVectorFloatingTest, FloatingTypes);

// ---- construction and shape ------------------------------------------------

TEST(CDenseVector, NonPositiveDimensionGivesEmptyVector) {
  EXPECT_EQ(CDenseVector<float>(0).dimension(), 0);
  EXPECT_EQ(CDenseVector<float>(-3).dimension(), 0);
  EXPECT_EQ(CDenseVector<float>(-3)._data(), nullptr);
  EXPECT_EQ(CDenseVector<float>(0)._data(), nullptr);
  EXPECT_EQ(CDenseVector<double>(std::vector<double>{}).dimension(), 0);
}

TYPED_TEST(CDenseVectorTest, ConstructorsFillAsAsked) {
  using T = TypeParam;
  const CDenseVector<T> zeros(3);
  EXPECT_EQ(zeros.toSTL(), std::vector<T>(3, T(0)));
  const T values[] = {T(1), T(2), T(3)};
  EXPECT_EQ(CDenseVector<T>(3, values).toSTL(), std::vector<T>({1, 2, 3}));
  EXPECT_EQ(CDenseVector<T>(2, T(7)).toSTL(), std::vector<T>({7, 7}));
  EXPECT_EQ(vec<T>({4, 5}).toSTL(), std::vector<T>({4, 5}));
}

TYPED_TEST(CDenseVectorTest, CopiesAreDeep) {
  using T = TypeParam;
  CDenseVector<T> original = vec<T>({1, 2});
  CDenseVector<T> copy(original);
  copy[0] = 9;
  EXPECT_EQ(original[0], T(1));
  EXPECT_NE(copy._data(), original._data());
}

TYPED_TEST(CDenseVectorTest, MoveLeavesSourceEmpty) {
  using T = TypeParam;
  CDenseVector<T> source = vec<T>({1, 2});
  const T* storage = source._data();
  CDenseVector<T> target(std::move(source));
  EXPECT_EQ(target._data(), storage);
  EXPECT_EQ(source.dimension(), 0);  // NOLINT: checking the moved-from state
  CDenseVector<T> assigned;
  assigned = std::move(target);
  EXPECT_EQ(assigned.toSTL(), std::vector<T>({1, 2}));
}

TYPED_TEST(CDenseVectorTest, ConvertingConstructorExpandsSparse) {
  using T = TypeParam;
  T values[] = {T(2), T(3)};
  int positions[] = {3, 1};
  const CSparseVector<T> sparse(5, 2, values, positions);
  const CDenseVector<T> dense(static_cast<const CVector<T>&>(sparse));
  EXPECT_EQ(dense.toSTL(), std::vector<T>({0, 3, 0, 2, 0}));
}

TYPED_TEST(CDenseVectorTest, AssignmentResizesAndCopies) {
  using T = TypeParam;
  CDenseVector<T> target = vec<T>({1});
  const CDenseVector<T> source = vec<T>({4, 5, 6});
  target = source;
  EXPECT_EQ(target.toSTL(), source.toSTL());
  CDenseVector<T> same = vec<T>({7, 8});
  const T* before = same._data();
  const CDenseVector<T> equalSize = vec<T>({1, 2});
  same = equalSize;
  EXPECT_EQ(same._data(), before);  // equal dimensions reuse the array
  EXPECT_EQ(same.toSTL(), std::vector<T>({1, 2}));
}

TEST(CDenseVector, SelfAssignmentReportsAndKeepsContents) {
  CDenseVector<float> v = vec<float>({1, 2});
  CDenseVector<float>& alias = v;
  testing::internal::CaptureStderr();
  v = alias;
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Copying myself, doing nothing\n");
  EXPECT_EQ(v.toSTL(), std::vector<float>({1, 2}));
}

TYPED_TEST(CDenseVectorTest, CopyTakesSourceDimension) {
  using T = TypeParam;
  CDenseVector<T> v = vec<T>({1, 2, 3});
  v.copy(vec<T>({4, 5}));
  EXPECT_EQ(v.toSTL(), std::vector<T>({4, 5}));
  v.copy(v);  // copying itself changes nothing
  EXPECT_EQ(v.toSTL(), std::vector<T>({4, 5}));
}

TYPED_TEST(CDenseVectorTest, ZerosOnesResizeCat) {
  using T = TypeParam;
  CDenseVector<T> v = vec<T>({1, 2});
  v.resize(5);
  EXPECT_EQ(v.toSTL(), std::vector<T>({1, 2, 0, 0, 0}));
  v.resize(1);
  EXPECT_EQ(v.toSTL(), std::vector<T>({1}));
  v.resize(-1);
  EXPECT_EQ(v.dimension(), 0);
  v = vec<T>({1, 2});
  v.cat(vec<T>({3}));
  EXPECT_EQ(v.toSTL(), std::vector<T>({1, 2, 3}));
  v.cat(v);
  EXPECT_EQ(v.toSTL(), std::vector<T>({1, 2, 3, 1, 2, 3}));
  v.ones();
  EXPECT_EQ(v.toSTL(), std::vector<T>(6, T(1)));
  v.zeros();
  EXPECT_EQ(v.toSTL(), std::vector<T>(6, T(0)));
}

// ---- element access --------------------------------------------------------

TYPED_TEST(CDenseVectorTest, UncheckedAccessIsMemorySafeOutside) {
  using T = TypeParam;
  CDenseVector<T> v = vec<T>({1, 2});
  EXPECT_EQ(v.getElement(1), T(2));
  EXPECT_EQ(v.getElement(2), T(0));  // not checked: no abort
  EXPECT_EQ(v.getElement(-1), T(0));
  v.setElement(0, 5);
  v.setElement(2, 9);  // dropped
  v.setElement(-1, 9);
  EXPECT_EQ(v.toSTL(), std::vector<T>({5, 2}));
  v[-1] = 3;  // a negative index is not checked; the write goes nowhere
  EXPECT_EQ(v[-1], T(0));
  EXPECT_EQ(v.toSTL(), std::vector<T>({5, 2}));
}

TYPED_TEST(CDenseVectorTest, RawAccessAndIterators) {
  using T = TypeParam;
  CDenseVector<T> v = vec<T>({1, 2, 3});
  EXPECT_FALSE(v.isSparse());
  EXPECT_EQ(v.begin(), v._data());
  EXPECT_EQ(v.end(), v._data() + 3);
  T* replacement = NEWARRAY<T>(3);
  T* old = v._data();
  v._setData(replacement);
  EXPECT_EQ(v._data(), replacement);
  delete[] old;  // _setData does not free the old array
}

// ---- arithmetic in place ---------------------------------------------------

TYPED_TEST(CDenseVectorTest, ScalarArithmetic) {
  using T = TypeParam;
  CDenseVector<T> v = vec<T>({2, 4});
  v += T(1);
  EXPECT_EQ(v.toSTL(), std::vector<T>({3, 5}));
  v -= T(2);
  EXPECT_EQ(v.toSTL(), std::vector<T>({1, 3}));
  v *= T(4);
  EXPECT_EQ(v.toSTL(), std::vector<T>({4, 12}));
  v /= T(8);
  if constexpr (std::is_same_v<T, int>) {
    EXPECT_EQ(v.toSTL(), std::vector<T>({0, 1}));  // integer division
  } else {
    EXPECT_EQ(v.toSTL(), std::vector<T>({T(0.5), T(1.5)}));
  }
}

TYPED_TEST(CDenseVectorTest, VectorArithmeticThroughDispatch) {
  using T = TypeParam;
  CDenseVector<T> v = vec<T>({6, 8});
  v += vec<T>({1, 2});
  EXPECT_EQ(v.toSTL(), std::vector<T>({7, 10}));
  v -= vec<T>({3, 4});
  EXPECT_EQ(v.toSTL(), std::vector<T>({4, 6}));
  v *= vec<T>({2, 3});
  EXPECT_EQ(v.toSTL(), std::vector<T>({8, 18}));
  v /= vec<T>({4, 6});
  EXPECT_EQ(v.toSTL(), std::vector<T>({2, 3}));
}

TEST(CDenseVector, ProductBySparseZeroesUnstoredPositions) {
  float value = 2;
  int position = 1;
  const CSparseVector<float> sparse(3, 1, &value, &position);
  CDenseVector<float> v = vec<float>({4, 5, 6});
  v *= sparse;
  EXPECT_EQ(v.toSTL(), std::vector<float>({0, 10, 0}));
}

TEST(CDenseVector, IntScalarArithmeticWraps) {
  CDenseVector<int> v = vec<int>({INT_MAX, INT_MIN});
  v += 1;
  EXPECT_EQ(v.toSTL(), std::vector<int>({INT_MIN, INT_MIN + 1}));
  v *= 2;
  EXPECT_EQ(v.toSTL(), std::vector<int>({0, 2}));
}

// ---- element-wise results
// ----------------------------------------------------

TYPED_TEST(CDenseVectorTest, PowerIgnoresItsArgument) {
  using T = TypeParam;
  EXPECT_EQ(vec<T>({2, 2, 2}).power(7).toSTL(), std::vector<T>({1, 2, 4}));
  EXPECT_EQ(vec<T>({3, 3, 3, 3}).power(0).toSTL(),
            std::vector<T>({1, 3, 9, 27}));
}

TYPED_TEST(CDenseVectorTest, SquareRootPerElement) {
  using T = TypeParam;
  EXPECT_EQ(vec<T>({4, 9, 0}).squareroot().toSTL(), std::vector<T>({2, 3, 0}));
  if constexpr (std::is_same_v<T, int>) {
    EXPECT_EQ(vec<T>({8}).squareroot()[0], 2);  // truncated
  }
}

TYPED_TEST(CDenseVectorTest, MaxAndMinElements) {
  using T = TypeParam;
  const CDenseVector<T> a = vec<T>({1, 5, 3});
  const CDenseVector<T> b = vec<T>({2, 4, 3});
  EXPECT_EQ(a.maxElements(b).toSTL(), std::vector<T>({2, 5, 3}));
  EXPECT_EQ(a.minElements(b).toSTL(), std::vector<T>({1, 4, 3}));
  // Walks this vector's dimension; the shorter operand reads as 0 beyond.
  EXPECT_EQ(a.maxElements(vec<T>({9})).toSTL(), std::vector<T>({9, 5, 3}));
}

TYPED_TEST(CDenseVectorTest, SubVectorAndItsOutsidePositions) {
  using T = TypeParam;
  const CDenseVector<T> v = vec<T>({1, 2, 3, 4});
  EXPECT_EQ(v.subVector(1, 2).toSTL(), std::vector<T>({2, 3}));
  EXPECT_EQ(v.subVector(3, 3).toSTL(), std::vector<T>({4, 0, 0}));
  EXPECT_EQ(v.subVector(-1, 2).toSTL(), std::vector<T>({0, 1}));
  EXPECT_EQ(v.subVector(0, -2).dimension(), 0);
  EXPECT_EQ(v.subVector(INT_MAX, 1).toSTL(), std::vector<T>({0}));
}

TYPED_TEST(CDenseVectorTest, ShiftsRotate) {
  using T = TypeParam;
  const CDenseVector<T> v = vec<T>({1, 2, 3, 4, 5});
  EXPECT_EQ(v.shiftLeft(2).toSTL(), std::vector<T>({3, 4, 5, 1, 2}));
  EXPECT_EQ(v.shiftRight(2).toSTL(), std::vector<T>({4, 5, 1, 2, 3}));
  EXPECT_EQ(v.shiftLeft(0).toSTL(), v.toSTL());
  EXPECT_EQ(v.shiftLeft(5).toSTL(), v.toSTL());
  EXPECT_EQ(v.shiftRight(5).toSTL(), v.toSTL());
  // Outside 0..dim the shift is taken modulo the dimension.
  EXPECT_EQ(v.shiftLeft(7).toSTL(), v.shiftLeft(2).toSTL());
  EXPECT_EQ(v.shiftLeft(-1).toSTL(), v.shiftRight(1).toSTL());
  EXPECT_EQ(CDenseVector<T>().shiftLeft(3).dimension(), 0);
}

TYPED_TEST(CDenseVectorFloatingTest, ScaleMapsRangesByTheStatedFormula) {
  using T = TypeParam;
  const CDenseVector<T> x = vec<T>({0, 5, T(0.3)});
  const CDenseVector<T> a = vec<T>({0, 0, T(0.1)});
  const CDenseVector<T> b = vec<T>({10, 10, T(0.7)});
  const CDenseVector<T> c = vec<T>({-1, 0, T(0.2)});
  const CDenseVector<T> d = vec<T>({1, 100, T(0.9)});
  const CDenseVector<T> result = x.scale(a, b, c, d);
  for (int i = 0; i < 3; ++i) {
    const T width = b[i] - a[i];
    const T expected =
        x[i] * (d[i] - c[i]) / width + (c[i] * b[i] - d[i] * a[i]) / width;
    EXPECT_EQ(result[i], expected) << i;
  }
  EXPECT_EQ(result[0], T(-1));
  EXPECT_EQ(result[1], T(50));
}

TEST(CDenseVector, ScaleWithZeroWidthGivesInfinityOrNaN) {
  const CDenseVector<double> r =
      vec<double>({1, 0}).scale(vec<double>({2, 2}), vec<double>({2, 2}),
                                vec<double>({0, 0}), vec<double>({1, 0}));
  EXPECT_TRUE(std::isinf(r[0]) || std::isnan(r[0]));
  EXPECT_TRUE(std::isnan(r[1]));
}

TEST(CDenseVector, IntScaleUsesIntegerArithmetic) {
  const CDenseVector<int> r = vec<int>({5}).scale(vec<int>({0}), vec<int>({3}),
                                                  vec<int>({0}), vec<int>({2}));
  EXPECT_EQ(r[0], 5 * 2 / 3 + (0 * 3 - 2 * 0) / 3);
}

TYPED_TEST(CDenseVectorTest, ElementMulWalksFirstOperand) {
  using T = TypeParam;
  EXPECT_EQ(elementMul(vec<T>({1, 2, 3}), vec<T>({4, 5, 6})).toSTL(),
            std::vector<T>({4, 10, 18}));
  EXPECT_EQ(elementMul(vec<T>({1, 2}), vec<T>({3})).toSTL(),
            std::vector<T>({3, 0}));
}

// ---- reductions ------------------------------------------------------------

TYPED_TEST(CDenseVectorTest, SumAndMean) {
  using T = TypeParam;
  EXPECT_EQ(vec<T>({1, 2, 4}).sumElements(), T(7));
  if constexpr (std::is_same_v<T, int>) {
    EXPECT_EQ(vec<T>({1, 2, 4}).mean(), 2);
    EXPECT_EQ(vec<T>({-7, 0}).mean(), -3);  // toward zero
  } else {
    EXPECT_EQ(vec<T>({1, 2, 4}).mean(), T(7) / T(3));
    EXPECT_TRUE(std::isnan(CDenseVector<T>().mean()));
  }
}

TEST(CDenseVector, IntSumWraps) {
  EXPECT_EQ(vec<int>({INT_MAX, 1}).sumElements(), INT_MIN);
}

TYPED_TEST(CDenseVectorTest, StdDevDividesByN) {
  using T = TypeParam;
  EXPECT_EQ(vec<T>({1, 3}).stdDev(), T(1));
}

TEST(CDenseVector, StdDevPrecisionRules) {
  const std::vector<double> values = {0.1, 0.25, 0.7, 1.3, 2.9, 3.3, 7.1};
  const int n = static_cast<int>(values.size());
  double sum = 0;
  for (double v : values) sum += v;
  const double mean = sum / n;
  double squares = 0;
  for (double v : values) squares += (v - mean) * (v - mean);
  // double: the divisor goes through float first.
  EXPECT_EQ(CDenseVector<double>(values).stdDev(),
            std::sqrt(squares / double(float(n))));

  std::vector<float> floats(values.begin(), values.end());
  float fsum = 0;
  for (float v : floats) fsum += v;
  const float fmean = fsum / float(n);
  float fsquares = 0;
  for (float v : floats) fsquares += (v - fmean) * (v - fmean);
  EXPECT_EQ(CDenseVector<float>(floats).stdDev(),
            std::sqrt(fsquares / float(n)));

  // int: integer mean 2, squares summed as int, root in float, truncated.
  const CDenseVector<int> ints = vec<int>({1, 2, 6});
  const int imean = 9 / 3;
  const int isquares = (1 - imean) * (1 - imean) + (2 - imean) * (2 - imean) +
                       (6 - imean) * (6 - imean);
  EXPECT_EQ(ints.stdDev(), int(std::sqrt(float(isquares) / 3.0f)));
}

TYPED_TEST(CDenseVectorTest, MinMaxAndTheirFirstIndex) {
  using T = TypeParam;
  EXPECT_EQ(vec<T>({1, 0, 0}).minElementIndex(), 1);
  EXPECT_EQ(vec<T>({3, 5, 5}).maxElementIndex(), 1);
  EXPECT_EQ(vec<T>({3, -2, 5}).minElement(), T(-2));
  EXPECT_EQ(vec<T>({3, -2, 5}).maxElement(), T(5));
  EXPECT_EQ(vec<T>({4}).minElementIndex(), 0);
  EXPECT_EQ(CDenseVector<T>().maxElementIndex(), 0);
  EXPECT_EQ(CDenseVector<T>().minElement(), T(0));  // documented precondition
}

TYPED_TEST(CDenseVectorTest, NonZeroCount) {
  using T = TypeParam;
  EXPECT_EQ(vec<T>({0, 1, 0, -2}).getNumNonZero(), 2);
}

TYPED_TEST(CDenseVectorFloatingTest, IsNaNSkipsElementZero) {
  using T = TypeParam;
  const T nan = std::numeric_limits<T>::quiet_NaN();
  EXPECT_FALSE(vec<T>({nan, 1}).isNaN());
  EXPECT_TRUE(vec<T>({1, nan}).isNaN());
  EXPECT_FALSE(vec<T>({nan}).isNaN());
  EXPECT_FALSE(CDenseVector<T>().isNaN());
}

TEST(CDenseVector, IntIsNeverNaN) { EXPECT_FALSE(vec<int>({1, 2, 3}).isNaN()); }

TYPED_TEST(CDenseVectorTest, EuclideanLength) {
  using T = TypeParam;
  EXPECT_EQ(vec<T>({3, 4}).euclideanLength(true), T(25));
  EXPECT_EQ(vec<T>({3, 4}).euclideanLength(false), T(5));
  if constexpr (std::is_same_v<T, int>) {
    EXPECT_EQ(vec<T>({1, 1}).euclideanLength(false), 1);  // sqrt 2 truncated
  }
}

TEST(CDenseVector, IntEuclideanLengthWraps) {
  const int big = 1 << 16;
  EXPECT_EQ(vec<int>({big, big}).euclideanLength(true),
            int(2u * (unsigned(big) * unsigned(big))));
}

TYPED_TEST(CDenseVectorTest, ManhattenAndMaximumDistance) {
  using T = TypeParam;
  const CDenseVector<T> a = vec<T>({1, 5, -2});
  const CDenseVector<T> b = vec<T>({4, 3, -2});
  EXPECT_EQ(a.manhattenDistance(b), T(5));
  EXPECT_EQ(a.maximumDistance(b), T(3));
  EXPECT_EQ(CDenseVector<T>().maximumDistance(CDenseVector<T>()), T(0));
}

// ---- sort
// --------------------------------------------------------------------

TYPED_TEST(CDenseVectorTest, SortReturnsOriginalIndices) {
  using T = TypeParam;
  CDenseVector<T> v = vec<T>({3, 1, 2});
  EXPECT_EQ(v.sort().toSTL(), std::vector<int>({1, 2, 0}));
  EXPECT_EQ(v.toSTL(), std::vector<T>({1, 2, 3}));
  CDenseVector<T> ties = vec<T>({5, 5});
  EXPECT_EQ(ties.sort().toSTL(), std::vector<int>({0, 1}));
  CDenseVector<T> mixed = vec<T>({2, 1, 2, 1});
  EXPECT_EQ(mixed.sort().toSTL(), std::vector<int>({1, 3, 0, 2}));
  CDenseVector<T> empty;
  EXPECT_EQ(empty.sort().dimension(), 0);
}

// ---- conversions -----------------------------------------------------------

TYPED_TEST(CDenseVectorTest, CloneIsAnOwnedCopy) {
  using T = TypeParam;
  const CDenseVector<T> v = vec<T>({1, 2});
  std::unique_ptr<CDenseVector<T>> copy(v.clone());
  EXPECT_NE(copy.get(), &v);
  EXPECT_EQ(copy->toSTL(), v.toSTL());
}

TEST(CDenseVector, ConversionsReturnSelfWhereStated) {
  CDenseVector<double> d = vec<double>({1.5});
  EXPECT_EQ(static_cast<void*>(d.toDouble()), static_cast<void*>(&d));
  CDenseVector<float> f = vec<float>({1.5f});
  EXPECT_EQ(static_cast<void*>(f.toFloat()), static_cast<void*>(&f));
  CDenseVector<int> i = vec<int>({3});
  EXPECT_EQ(static_cast<void*>(i.toFloat()), static_cast<void*>(&i));
}

TEST(CDenseVector, ConversionsCopyOtherwise) {
  std::unique_ptr<CVector<double>> fromInt(vec<int>({3, -4}).toDouble());
  EXPECT_EQ(fromInt->toSTL(), std::vector<double>({3, -4}));
  EXPECT_EQ(fromInt->className(), "CDenseVector");
  std::unique_ptr<CVector<double>> fromFloat(vec<float>({0.1f}).toDouble());
  EXPECT_EQ((*fromFloat)[0], double(0.1f));
  std::unique_ptr<CVector<float>> fromDouble(vec<double>({0.1}).toFloat());
  EXPECT_EQ((*fromDouble)[0], 0.1f);
}

TEST(CDenseVector, ToSTLOfAnyVectorGoesThroughDenseCopy) {
  double value = 4;
  int position = 2;
  const CSparseVector<double> sparse(3, 1, &value, &position);
  const CVector<double>& any = sparse;
  EXPECT_EQ(any.toSTL(), std::vector<double>({0, 0, 4}));
}

// ---- comparison and identity ---------------------------------------------

TYPED_TEST(CDenseVectorTest, EqualityComparesElementwise) {
  using T = TypeParam;
  EXPECT_TRUE(vec<T>({1, 2}) == vec<T>({1, 2}));
  EXPECT_FALSE(vec<T>({1, 2}) == vec<T>({1, 3}));
  EXPECT_FALSE(vec<T>({1, 2}) == vec<T>({1, 2, 0}));
  EXPECT_TRUE(CDenseVector<T>() == CDenseVector<T>());
}

TYPED_TEST(CDenseVectorFloatingTest, NaNIsUnequal) {
  using T = TypeParam;
  const T nan = std::numeric_limits<T>::quiet_NaN();
  const CDenseVector<T> v = vec<T>({nan});
  EXPECT_FALSE(v == v);
}

TEST(CDenseVector, EqualityAcrossKinds) {
  float value = 2;
  int position = 1;
  const CSparseVector<float> sparse(2, 1, &value, &position);
  EXPECT_TRUE(vec<float>({0, 2}) == sparse);
  EXPECT_TRUE(sparse == vec<float>({0, 2}));
}

TYPED_TEST(CDenseVectorTest, NamesAndTypeTag) {
  using T = TypeParam;
  const CDenseVector<T> v;
  EXPECT_EQ(v.className(), "CDenseVector");
  EXPECT_TRUE(v.isA("CDenseVector"));
  EXPECT_FALSE(v.isA("CVector"));
  EXPECT_FALSE(v.isA("CObject"));
  EXPECT_EQ(v.dataType(), CObject<T>().dataType());
  EXPECT_EQ(v.verbose(), 3);
}

// ---- dump ------------------------------------------------------------------

TEST(CDenseVector, DumpSplitsBetweenStreamAndStandardOutput) {
  std::ostringstream given;
  std::ostream* returned = nullptr;
  const std::string standardOutput = captureStdout([&] {
    returned = &vec<float>({1, 2}).dump(given);
  });
  EXPECT_EQ(given.str(), "Vector dim: 2: \n[ 1 2 ");
  EXPECT_EQ(standardOutput, " ]\n\n");
  EXPECT_EQ(returned, &std::cout);
}

}  // namespace
