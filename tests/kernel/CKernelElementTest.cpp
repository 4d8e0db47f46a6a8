// SPDX-License-Identifier: MIT
// Kernels that combine the operands element by element or through their
// scalar product: linear, polynomial, double exponential, Anova, chi squared
// and the multivariate Gaussian. Expected values follow the documented
// steps exactly.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "kernel/KernelTestSupport.h"
#include "metric/MetricTestSupport.h"
#include "vecml/kernel/CKernel.h"

namespace {

template <typename T>
class CKernelElementTest : public testing::Test {
 protected:
  const CDenseVector<T> a = denseOf<T>({0.1, 0.7, 1.3});
  const CDenseVector<T> b = denseOf<T>({0.3, -0.9, 0.11});
  const CSparseVector<T> aSparse =
      sparse<T>(3, {{0, T(0.1)}, {1, T(0.7)}, {2, T(1.3)}});
  const CDenseVector<T> empty;
  const T sigma = T(0.3);

  // The three forms that take two operands, on a and b.
  template <typename Kernel>
  void expectAllForms(const Kernel& kernel, T expected) const {
    EXPECT_EQ(kernel.execute(a, b), expected);
    EXPECT_EQ(kernel.execute(aSparse, b), expected);
    EXPECT_EQ(kernel.execute(a, b._data()), expected);
    EXPECT_EQ(kernel.execute(aSparse, b._data()), expected);
    EXPECT_EQ(kernel.execute(a._data(), b._data(), 3), expected);
  }

  // The forms on no elements at all.
  template <typename Kernel>
  void expectEmptyForms(const Kernel& kernel, T expected) const {
    EXPECT_EQ(kernel.execute(empty, empty), expected);
    EXPECT_EQ(kernel.execute(empty, b._data()), expected);
    EXPECT_EQ(kernel.execute(a._data(), b._data(), 0), expected);
    EXPECT_EQ(kernel.execute(a._data(), b._data(), -4), expected);
  }

  // Sum over i of term(a[i], b[i]) in T in index order.
  template <typename Term>
  T sumOver(Term term) const {
    T sum = 0;
    for (int i = 0; i < 3; ++i) sum += term(a[i], b[i]);
    return sum;
  }

  T fusedProduct() const {
    T sum = 0;
    for (int i = 0; i < 3; ++i) sum = std::fma(a[i], b[i], sum);
    return sum;
  }
};

using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CKernelElementTest, ElementTypes);

TYPED_TEST(CKernelElementTest, LinearVectorFormsUseTheVectorProduct) {
  using T = TypeParam;
  const auto kernel = quietly<CLinearKernel<T>>();
  EXPECT_EQ(kernel.execute(this->a, this->b), this->a * this->b);
  EXPECT_EQ(kernel.execute(this->aSparse, this->b), this->aSparse * this->b);
  EXPECT_EQ(kernel.execute(this->a, this->b._data()), this->a * this->b);
}

TYPED_TEST(CKernelElementTest, LinearArrayFormAccumulatesByFusedSteps) {
  using T = TypeParam;
  const auto kernel = quietly<CLinearKernel<T>>();
  EXPECT_EQ(kernel.execute(this->a._data(), this->b._data(), 3),
            this->fusedProduct());
  EXPECT_EQ(kernel.execute(this->a._data(), this->b._data(), 0), T(0));
  EXPECT_EQ(kernel.execute(this->a._data(), this->b._data(), -1), T(0));
}

TYPED_TEST(CKernelElementTest, LinearScalarFormReturnsItsArgument) {
  using T = TypeParam;
  const auto kernel = quietly<CLinearKernel<T>>();
  EXPECT_EQ(kernel.execute(T(2.5)), T(2.5));
  EXPECT_EQ(kernel.execute(T(-0.1)), T(-0.1));
}

TYPED_TEST(CKernelElementTest, PolynomialRaisesTheShiftedScaledProduct) {
  using T = TypeParam;
  const auto kernel = quietly<CPolynomialKernel<T>>(this->sigma, 3, T(0.1));
  const double r = static_cast<double>(T(0.1));
  const auto expected = [&](T product) {
    return static_cast<T>(
        std::pow(static_cast<double>(product / this->sigma) + r, 3));
  };
  EXPECT_EQ(kernel.execute(this->a, this->b), expected(this->a * this->b));
  EXPECT_EQ(kernel.execute(this->aSparse, this->b),
            expected(this->aSparse * this->b));
  EXPECT_EQ(kernel.execute(this->a, this->b._data()),
            expected(this->a * this->b));
  EXPECT_EQ(kernel.execute(this->a._data(), this->b._data(), 3),
            expected(this->fusedProduct()));
  EXPECT_EQ(kernel.execute(T(0.7)), expected(T(0.7)));
}

TYPED_TEST(CKernelElementTest, PolynomialOfDegreeZeroIsOne) {
  using T = TypeParam;
  const auto kernel = quietly<CPolynomialKernel<T>>(this->sigma, 0, T(5));
  this->expectAllForms(kernel, T(1));
  EXPECT_EQ(kernel.execute(T(3)), T(1));
}

TYPED_TEST(CKernelElementTest, PolynomialPowerIsReal) {
  using T = TypeParam;
  // A negative base to a negative degree: the real power gives 1/base^2.
  const auto kernel = quietly<CPolynomialKernel<T>>(T(1), -2, T(0));
  EXPECT_EQ(kernel.execute(T(-2)), T(0.25));
}

TYPED_TEST(CKernelElementTest, DoubleExponentialOfTheL1Distance) {
  using T = TypeParam;
  const auto kernel = quietly<CDoubleExponentialKernel<T>>(this->sigma);
  const T l1 = this->sumOver([](T x, T y) { return std::abs(x - y); });
  this->expectAllForms(kernel, std::exp(-l1 / this->sigma));
}

TYPED_TEST(CKernelElementTest, DoubleExponentialOfNoElementsIsOne) {
  using T = TypeParam;
  this->expectEmptyForms(quietly<CDoubleExponentialKernel<T>>(this->sigma),
                         T(1));
}

TYPED_TEST(CKernelElementTest, AnovaOfDegreeZeroIsOneForAnyInput) {
  using T = TypeParam;
  const auto kernel = quietly<CAnovaKernel<T>>(this->sigma, 0);
  this->expectAllForms(kernel, T(1));
  this->expectEmptyForms(kernel, T(1));
  const T nan = std::numeric_limits<T>::quiet_NaN();
  const auto nans = CDenseVector<T>(3, nan);
  EXPECT_EQ(kernel.execute(nans, nans), T(1));
  EXPECT_EQ(kernel.execute(nans._data(), this->b._data(), 3), T(1));
  EXPECT_EQ(quietly<CAnovaKernel<T>>(T(0), 0).execute(this->a, this->a), T(1));
}

TYPED_TEST(CKernelElementTest, AnovaMultipliesTheSumOfExponentials) {
  using T = TypeParam;
  const T sigma = this->sigma;
  const T sum = this->sumOver(
      [sigma](T x, T y) { return std::exp(-((x - y) * (x - y)) / sigma); });
  this->expectAllForms(quietly<CAnovaKernel<T>>(sigma, 1), sum);
  this->expectAllForms(quietly<CAnovaKernel<T>>(sigma, 3),
                       T(T(T(T(1) * sum) * sum) * sum));
}

TYPED_TEST(CKernelElementTest, AnovaOfNegativeDegreeIsOne) {
  using T = TypeParam;
  this->expectAllForms(quietly<CAnovaKernel<T>>(this->sigma, -2), T(1));
}

TYPED_TEST(CKernelElementTest, AnovaOfNoElementsIsZeroToTheDegree) {
  using T = TypeParam;
  this->expectEmptyForms(quietly<CAnovaKernel<T>>(this->sigma, 2), T(0));
}

TYPED_TEST(CKernelElementTest, ChiSquaredSumsScaledQuotients) {
  using T = TypeParam;
  const T sigma = this->sigma;
  const T sum = this->sumOver(
      [sigma](T x, T y) { return (x - y) * (x - y) / ((x + y) * sigma); });
  this->expectAllForms(quietly<CChiSquaredKernel<T>>(sigma), sum);
}

TYPED_TEST(CKernelElementTest, ChiSquaredOfTwoZerosInOneDimensionIsNaN) {
  using T = TypeParam;
  const auto kernel = quietly<CChiSquaredKernel<T>>(this->sigma);
  const auto x = denseOf<T>({1, 0, 2});
  const auto y = denseOf<T>({3, 0, 2});
  EXPECT_TRUE(std::isnan(kernel.execute(x, y)));
  EXPECT_TRUE(std::isnan(kernel.execute(x, y._data())));
  EXPECT_TRUE(std::isnan(kernel.execute(x._data(), y._data(), 3)));
}

TYPED_TEST(CKernelElementTest, ChiSquaredOfNoElementsIsZero) {
  using T = TypeParam;
  this->expectEmptyForms(quietly<CChiSquaredKernel<T>>(this->sigma), T(0));
}

TYPED_TEST(CKernelElementTest, MultiVariateGaussianScalesEachDimension) {
  using T = TypeParam;
  const auto widths = denseOf<T>({0.3, 1.7, 0.45});
  const auto kernel = quietly<CMultiVariateGaussianKernel<T>>(widths);
  T sum = 0;
  for (int i = 0; i < 3; ++i) {
    const T d = this->a[i] - this->b[i];
    sum += d * d / (widths[i] * T(2) * widths[i]);
  }
  this->expectAllForms(kernel, std::exp(-sum));
}

TYPED_TEST(CKernelElementTest, MultiVariateGaussianOfEqualVectorsIsOne) {
  using T = TypeParam;
  const auto kernel =
      quietly<CMultiVariateGaussianKernel<T>>(denseOf<T>({0.3, 1.7, 0.45}));
  EXPECT_EQ(kernel.execute(this->a, this->a), T(1));
  EXPECT_EQ(kernel.execute(this->a, this->a._data()), T(1));
  EXPECT_EQ(kernel.execute(this->a._data(), this->a._data(), 3), T(1));
}

TYPED_TEST(CKernelElementTest, MultiVariateGaussianOfNoDimensions) {
  using T = TypeParam;
  const auto kernel =
      quietly<CMultiVariateGaussianKernel<T>>(CDenseVector<T>());
  EXPECT_EQ(kernel.execute(this->empty, this->empty), T(1));
  EXPECT_EQ(kernel.execute(this->a._data(), this->b._data(), 0), T(1));
}

}  // namespace
