// SPDX-License-Identifier: MIT
// Kernels of the Euclidean distance: Gaussian, Plummer, triangular and
// Epanechnikov. Expected values follow the documented steps exactly.
#include <gtest/gtest.h>

#include <cmath>

#include "kernel/KernelTestSupport.h"
#include "metric/MetricTestSupport.h"
#include "support/CaptureOutput.h"
#include "vecml/kernel/CKernel.h"

namespace {

template <typename T>
class CKernelDistanceTest : public testing::Test {
 protected:
  const CDenseVector<T> a = denseOf<T>({0.7, -0.2, 1.5});
  const CDenseVector<T> b = denseOf<T>({0.1, 0.4, 1.0});
  // b as a sparse vector with an explicit zero-free layout.
  const CSparseVector<T> bSparse =
      sparse<T>(3, {{0, T(0.1)}, {1, T(0.4)}, {2, T(1.0)}});
  const T sigma = T(0.3);

  T squaredDistance() const { return a.euclideanDistance(b, true); }
  // The squared distance summed in T in index order, as the array forms do.
  T summedSquares() const {
    T sum = 0;
    for (int i = 0; i < a.dimension(); ++i) {
      const T d = a[i] - b[i];
      sum += d * d;
    }
    return sum;
  }
};

using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CKernelDistanceTest, ElementTypes);

template <typename T>
T expectedGaussian(T squaredDistance, T sigma) {
  const double denominator =
      static_cast<double>(sigma) * 2.0 * static_cast<double>(sigma);
  return static_cast<T>(
      std::exp(-static_cast<double>(squaredDistance) / denominator));
}

TYPED_TEST(CKernelDistanceTest, GaussianOfEqualVectorsIsOne) {
  using T = TypeParam;
  const auto kernel = quietly<CGaussianKernel<T>>(this->sigma);
  EXPECT_EQ(kernel.execute(this->a, this->a), T(1));
  EXPECT_EQ(kernel.execute(this->a, this->a._data()), T(1));
  EXPECT_EQ(kernel.execute(this->a._data(), this->a._data(), 3), T(1));
  EXPECT_EQ(kernel.execute(T(0)), T(1));
}

TYPED_TEST(CKernelDistanceTest, GaussianInOneDimensionEqualsTheScalarForm) {
  using T = TypeParam;
  const auto kernel = quietly<CGaussianKernel<T>>(this->sigma);
  for (double x : {0.1, 0.7, -1.3, 2.0}) {
    SCOPED_TRACE(x);
    EXPECT_EQ(kernel.execute(denseOf<T>({x}), denseOf<T>({0})),
              kernel.execute(T(x)));
  }
}

TYPED_TEST(CKernelDistanceTest, GaussianVectorFormsUseTheSquaredDistance) {
  using T = TypeParam;
  const auto kernel = quietly<CGaussianKernel<T>>(this->sigma);
  const T expected = expectedGaussian(this->squaredDistance(), this->sigma);
  EXPECT_EQ(kernel.execute(this->a, this->b), expected);
  EXPECT_EQ(kernel.execute(this->a, this->b._data()), expected);
  EXPECT_EQ(kernel.execute(this->a, this->bSparse),
            expectedGaussian(this->a.euclideanDistance(this->bSparse, true),
                             this->sigma));
}

TYPED_TEST(CKernelDistanceTest, GaussianArrayFormSumsNarrowedQuotients) {
  using T = TypeParam;
  const auto kernel = quietly<CGaussianKernel<T>>(this->sigma);
  const double denominator =
      static_cast<double>(this->sigma) * 2.0 * static_cast<double>(this->sigma);
  T sum = 0;
  for (int i = 0; i < 3; ++i) {
    const T d = this->a[i] - this->b[i];
    sum += static_cast<T>(static_cast<double>(d * d) / denominator);
  }
  EXPECT_EQ(kernel.execute(this->a._data(), this->b._data(), 3),
            static_cast<T>(std::exp(-static_cast<double>(sum))));
  EXPECT_EQ(kernel.execute(this->a._data(), this->b._data(), 0), T(1));
}

TYPED_TEST(CKernelDistanceTest, GaussianScalarFormSquaresItsArgument) {
  using T = TypeParam;
  const auto kernel = quietly<CGaussianKernel<T>>(this->sigma);
  const T x = T(0.7);
  EXPECT_EQ(kernel.execute(x), expectedGaussian(T(x * x), this->sigma));
  EXPECT_EQ(kernel.execute(-x), kernel.execute(x));
}

TYPED_TEST(CKernelDistanceTest, GaussianWithZeroBandwidthFollowsTheDivision) {
  using T = TypeParam;
  const auto kernel = quietly<CGaussianKernel<T>>(T(0));
  EXPECT_EQ(kernel.execute(this->a, this->b), T(0));          // exp(-inf)
  EXPECT_TRUE(std::isnan(kernel.execute(this->a, this->a)));  // exp(-0/0)
}

TYPED_TEST(CKernelDistanceTest, PlummerWithUnitEpsilonOfEqualVectorsIsOne) {
  using T = TypeParam;
  const auto kernel = quietly<CPlummerKernel<T>>(T(2));
  EXPECT_EQ(kernel.execute(this->a, this->a), T(1));
  EXPECT_EQ(kernel.execute(this->a, this->a._data()), T(1));
  EXPECT_EQ(kernel.execute(this->a._data(), this->a._data(), 3), T(1));
  EXPECT_EQ(kernel.execute(T(0)), T(1));
}

TYPED_TEST(CKernelDistanceTest, PlummerOfSquaredDistanceThreeIsAQuarter) {
  using T = TypeParam;
  const auto kernel = quietly<CPlummerKernel<T>>(T(2));
  const auto ones = denseOf<T>({1, 1, 1});
  const auto zeros = denseOf<T>({0, 0, 0});
  EXPECT_EQ(kernel.execute(ones, zeros), T(0.25));
  EXPECT_EQ(kernel.execute(ones, zeros._data()), T(0.25));
  EXPECT_EQ(kernel.execute(ones._data(), zeros._data(), 3), T(0.25));
  // The scalar form takes an already squared distance.
  EXPECT_EQ(kernel.execute(T(3)), T(0.25));
}

TYPED_TEST(CKernelDistanceTest, PlummerRaisesToMinusHalfTheBandwidth) {
  using T = TypeParam;
  auto kernel = quietly<CPlummerKernel<T>>(this->sigma);
  kernel.setEpsilon(T(0.3));
  const double epsilon = static_cast<double>(T(0.3));
  const auto expected = [&](T squaredDistance) {
    return static_cast<T>(
        std::pow(static_cast<double>(squaredDistance) + epsilon * epsilon,
                 -static_cast<double>(this->sigma) * 0.5));
  };
  EXPECT_EQ(kernel.execute(this->a, this->b),
            expected(this->squaredDistance()));
  EXPECT_EQ(kernel.execute(this->a, this->b._data()),
            expected(this->squaredDistance()));
  EXPECT_EQ(kernel.execute(this->a, this->bSparse),
            expected(this->a.euclideanDistance(this->bSparse, true)));
  EXPECT_EQ(kernel.execute(this->a._data(), this->b._data(), 3),
            expected(this->summedSquares()));
  EXPECT_EQ(kernel.execute(T(0.7)), expected(T(0.7)));
}

TYPED_TEST(CKernelDistanceTest, TriangularOfEqualVectorsIsNegativeZero) {
  using T = TypeParam;
  const auto kernel = quietly<CTriangularKernel<T>>(T(2));
  for (T value : {kernel.execute(this->a, this->a),
                  kernel.execute(this->a, this->a._data()),
                  kernel.execute(this->a._data(), this->a._data(), 3)}) {
    EXPECT_EQ(value, T(0));
    EXPECT_TRUE(std::signbit(value));
  }
}

TYPED_TEST(CKernelDistanceTest, TriangularAtDistanceSigmaIsMinusOne) {
  using T = TypeParam;
  const auto kernel = quietly<CTriangularKernel<T>>(T(5));
  const auto point = denseOf<T>({3, 4});
  const auto origin = denseOf<T>({0, 0});
  EXPECT_EQ(kernel.execute(point, origin), T(-1));
  EXPECT_EQ(kernel.execute(point, origin._data()), T(-1));
  EXPECT_EQ(kernel.execute(point._data(), origin._data(), 2), T(-1));
  // Farther away it keeps falling: no clipping at zero.
  EXPECT_EQ(kernel.execute(denseOf<T>({6, 8}), origin), T(-2));
}

TYPED_TEST(CKernelDistanceTest, TriangularIsTheNegatedScaledDistance) {
  using T = TypeParam;
  const auto kernel = quietly<CTriangularKernel<T>>(this->sigma);
  const T d = this->a.euclideanDistance(this->b, false);
  EXPECT_EQ(kernel.execute(this->a, this->b), -d / this->sigma);
  EXPECT_EQ(kernel.execute(this->a, this->b._data()), -d / this->sigma);
  EXPECT_EQ(kernel.execute(this->a, this->bSparse),
            -this->a.euclideanDistance(this->bSparse, false) / this->sigma);
  EXPECT_EQ(kernel.execute(this->a._data(), this->b._data(), 3),
            -std::sqrt(this->summedSquares()) / this->sigma);
}

TYPED_TEST(CKernelDistanceTest, EpanechnikovAtTheEdgesOfItsSupportIsZero) {
  using T = TypeParam;
  const auto origin = denseOf<T>({0, 0});
  const auto point = denseOf<T>({3, 4});
  // u = 5/5 = 1 and u = 5/-5 = -1: both outside the open interval.
  EXPECT_EQ(quietly<CEpanechnikovKernel<T>>(T(5)).execute(point, origin), T(0));
  EXPECT_EQ(quietly<CEpanechnikovKernel<T>>(T(-5)).execute(point, origin),
            T(0));
  EXPECT_EQ(quietly<CEpanechnikovKernel<T>>(T(2)).execute(point, origin), T(0));
}

TYPED_TEST(CKernelDistanceTest, EpanechnikovAtZeroDistanceIsThreeQuarters) {
  using T = TypeParam;
  const auto kernel = quietly<CEpanechnikovKernel<T>>(T(2));
  EXPECT_EQ(kernel.execute(this->a, this->a), T(0.75));
}

TYPED_TEST(CKernelDistanceTest, EpanechnikovInsideItsSupport) {
  using T = TypeParam;
  const auto kernel = quietly<CEpanechnikovKernel<T>>(T(10));
  EXPECT_EQ(kernel.execute(denseOf<T>({3, 4}), denseOf<T>({0, 0})), T(0.5625));
  const auto other = quietly<CEpanechnikovKernel<T>>(this->sigma * 10);
  const T u =
      this->a.euclideanDistance(this->bSparse, false) / T(this->sigma * 10);
  EXPECT_EQ(other.execute(this->a, this->bSparse), T(0.75) * (T(1) - u * u));
}

TYPED_TEST(CKernelDistanceTest, EpanechnikovOfNaNDistanceIsZero) {
  using T = TypeParam;
  const auto kernel = quietly<CEpanechnikovKernel<T>>(T(0));
  EXPECT_EQ(kernel.execute(this->a, this->a), T(0));  // u = 0/0
}

TYPED_TEST(CKernelDistanceTest, EpanechnikovVectorAndArrayFormIsNotDone) {
  using T = TypeParam;
  const auto kernel = quietly<CEpanechnikovKernel<T>>(T(2));
  T result = 0;
  EXPECT_EQ(
      captureStdout([&] { result = kernel.execute(this->a, this->a._data()); }),
      "CEpanechnikovKernel<Type>::execute( const CVector<Type>& "
      "rtVector1, const Type* ptVector2)\n");
  EXPECT_EQ(result, T(-1));
}

TYPED_TEST(CKernelDistanceTest, EpanechnikovArrayFormReturnsMinusOneQuietly) {
  using T = TypeParam;
  const auto kernel = quietly<CEpanechnikovKernel<T>>(T(2));
  T result = 0;
  EXPECT_EQ(captureStdout([&] {
              result = kernel.execute(this->a._data(), this->a._data(), 3);
            }),
            "");
  EXPECT_EQ(result, T(-1));
}

TYPED_TEST(CKernelDistanceTest, EpanechnikovScalarFormStaysInT) {
  using T = TypeParam;
  const auto kernel = quietly<CEpanechnikovKernel<T>>(this->sigma);
  const T x = T(0.7);
  EXPECT_EQ(kernel.execute(x), std::exp(-x / (this->sigma * this->sigma)));
}

}  // namespace
