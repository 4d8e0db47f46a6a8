// SPDX-License-Identifier: MIT
#include "vecml/kernel/CKernel.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "kernel/KernelTestSupport.h"
#include "support/CaptureOutput.h"

namespace {

template <typename T>
class CKernelTest : public testing::Test {};

using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CKernelTest, ElementTypes);

TYPED_TEST(CKernelTest, ClassNamesAndPluginNamesAreExact) {
  for (const auto& [name, factoryFile, kernel] : allKernels<TypeParam>()) {
    EXPECT_EQ(kernel->className(), name);
    EXPECT_EQ(kernel->factoryObject(), factoryFile);
  }
}

TYPED_TEST(CKernelTest, EpanechnikovAnswersToItsBaseName) {
  auto kernel = quietly<CEpanechnikovKernel<TypeParam>>(TypeParam(1));
  EXPECT_EQ(kernel.className(), "CKernel");
  EXPECT_TRUE(kernel.isA("CKernel"));
  EXPECT_FALSE(kernel.isA("CEpanechnikovKernel"));
}

TYPED_TEST(CKernelTest, MultiVariateGaussianNamesNoPlugin) {
  auto kernel = quietly<CMultiVariateGaussianKernel<TypeParam>>(
      CDenseVector<TypeParam>(1));
  EXPECT_TRUE(kernel.factoryObject().empty());
}

TYPED_TEST(CKernelTest, IsAMatchesOnlyTheMostDerivedName) {
  for (const auto& [name, factoryFile, kernel] : allKernels<TypeParam>()) {
    SCOPED_TRACE(name);
    EXPECT_TRUE(kernel->isA(name.c_str()));
    EXPECT_EQ(kernel->isA("CKernel"), name == "CKernel");
    EXPECT_FALSE(kernel->isA("CObject"));
    EXPECT_FALSE(kernel->isA(""));
  }
  auto anova = quietly<CAnovaKernel<TypeParam>>(TypeParam(1), 1);
  EXPECT_FALSE(anova.isA("CAnovaKernel"));
}

TYPED_TEST(CKernelTest, DataTypeAndVerbosityComeFromCObject) {
  const DATATYPE expected = CObject<TypeParam>().dataType();
  for (const auto& [name, factoryFile, kernel] : allKernels<TypeParam>()) {
    EXPECT_EQ(kernel->dataType(), expected);
    EXPECT_EQ(kernel->verbose(), 3);
  }
}

TYPED_TEST(CKernelTest, ConstructorsWriteTheirLine) {
  using T = TypeParam;
  EXPECT_EQ(captureStdout([] { CGaussianKernel<T> k(T(2.5)); }),
            "Gaussian Kernel: (sigma=2.5)\n");
  EXPECT_EQ(captureStdout([] { CLinearKernel<T> k; }), "Linear Kernel\n");
  EXPECT_EQ(captureStdout([] { CPolynomialKernel<T> k(T(1), 2, T(0)); }),
            "Polynomial Kernel\n");
  EXPECT_EQ(captureStdout([] { CDoubleExponentialKernel<T> k(T(1)); }),
            "CDoubleExponentialKernel\n");
  EXPECT_EQ(captureStdout([] { CAnovaKernel<T> k(T(1), 2); }),
            "Anova Kernel\n");
  EXPECT_EQ(captureStdout([] { CChiSquaredKernel<T> k(T(1)); }),
            "Chi Squared Kernel\n");
  EXPECT_EQ(captureStdout(
                [] { CMultiVariateGaussianKernel<T> k(CDenseVector<T>(2)); }),
            "Multivariate Gaussian Kernel\n");
}

TYPED_TEST(CKernelTest, GaussianLinePrintsSigmaWithDefaultFormatting) {
  using T = TypeParam;
  EXPECT_EQ(captureStdout([] { CGaussianKernel<T> k(T(0.1)); }),
            "Gaussian Kernel: (sigma=0.1)\n");
  EXPECT_EQ(captureStdout([] { CGaussianKernel<T> k(T(1234567)); }),
            "Gaussian Kernel: (sigma=1.23457e+06)\n");
}

TYPED_TEST(CKernelTest, SomeConstructorsAndAllCopiesAreSilent) {
  using T = TypeParam;
  EXPECT_EQ(captureStdout([] { CPlummerKernel<T> k(T(1)); }), "");
  EXPECT_EQ(captureStdout([] { CTriangularKernel<T> k(T(1)); }), "");
  EXPECT_EQ(captureStdout([] { CEpanechnikovKernel<T> k(T(1)); }), "");
  for (const auto& entry : allKernels<TypeParam>()) {
    SCOPED_TRACE(entry.className);
    std::unique_ptr<CKernel<T>> copy;
    EXPECT_EQ(captureStdout([&] { copy.reset(entry.kernel->clone()); }), "");
  }
}

TYPED_TEST(CKernelTest, SetBandwidthReplacesTheBandwidth) {
  using T = TypeParam;
  auto kernel = quietly<CGaussianKernel<T>>(T(0.1));
  EXPECT_EQ(kernel.bandwidth(), T(0.1));
  kernel.setBandwidth(T(3.25));
  EXPECT_EQ(kernel.bandwidth(), T(3.25));
}

TYPED_TEST(CKernelTest, KernelsWithoutScalarBandwidthHoldMinusOne) {
  using T = TypeParam;
  EXPECT_EQ(quietly<CLinearKernel<T>>().bandwidth(), T(-1));
  EXPECT_EQ(
      quietly<CMultiVariateGaussianKernel<T>>(CDenseVector<T>(2)).bandwidth(),
      T(-1));
}

TYPED_TEST(CKernelTest, SettersReplaceTheirField) {
  using T = TypeParam;
  auto plummer = quietly<CPlummerKernel<T>>(T(2));
  EXPECT_EQ(plummer.epsilon(), T(1));
  plummer.setEpsilon(T(0.5));
  EXPECT_EQ(plummer.epsilon(), T(0.5));

  auto polynomial = quietly<CPolynomialKernel<T>>(T(2), 3, T(0.25));
  EXPECT_EQ(polynomial.bandwidth(), T(2));
  EXPECT_EQ(polynomial.degree(), 3);
  EXPECT_EQ(polynomial.r(), T(0.25));
  polynomial.setDegree(5);
  polynomial.setR(T(-1.5));
  EXPECT_EQ(polynomial.degree(), 5);
  EXPECT_EQ(polynomial.r(), T(-1.5));

  auto anova = quietly<CAnovaKernel<T>>(T(2), 4);
  EXPECT_EQ(anova.degree(), 4);
  anova.setDegree(0);
  EXPECT_EQ(anova.degree(), 0);
}

TYPED_TEST(CKernelTest, PlummerSetEpsilonIsVirtual) {
  using T = TypeParam;
  struct CountingPlummer : CPlummerKernel<T> {
    CountingPlummer() : CPlummerKernel<T>(T(1)) {}
    void setEpsilon(T epsilon) override {
      ++calls;
      CPlummerKernel<T>::setEpsilon(epsilon);
    }
    int calls = 0;
  };
  CountingPlummer counting;
  CPlummerKernel<T>& plummer = counting;
  plummer.setEpsilon(T(3));
  EXPECT_EQ(counting.calls, 1);
  EXPECT_EQ(plummer.epsilon(), T(3));
}

TYPED_TEST(CKernelTest, MultiVariateScalarBandwidthFillsEveryDimension) {
  using T = TypeParam;
  auto kernel = quietly<CMultiVariateGaussianKernel<T>>(
      CDenseVector<T>(std::vector<T>{T(1), T(2), T(3)}));
  kernel.setBandwidth(T(0.5));
  EXPECT_EQ(kernel.bandwidth(), T(0.5));
  EXPECT_EQ(kernel.bandwidths(), CDenseVector<T>(3, T(0.5)));

  CKernel<T>& base = kernel;
  base.setBandwidth(T(4));
  EXPECT_EQ(kernel.bandwidth(), T(4));
  EXPECT_EQ(kernel.bandwidths(), CDenseVector<T>(3, T(0.5)));

  kernel.setBandwidth(CDenseVector<T>(std::vector<T>{T(7), T(8)}));
  EXPECT_EQ(kernel.bandwidths(), CDenseVector<T>(std::vector<T>{T(7), T(8)}));
}

TYPED_TEST(CKernelTest, CloneIsAnIndependentCopyOfTheSameClass) {
  using T = TypeParam;
  const CDenseVector<T> x(std::vector<T>{T(0.5), T(1)});
  const CDenseVector<T> y(std::vector<T>{T(0.25), T(2)});
  for (const auto& [name, factoryFile, kernel] : allKernels<TypeParam>()) {
    SCOPED_TRACE(name);
    std::unique_ptr<CKernel<T>> copy(kernel->clone());
    ASSERT_NE(copy.get(), kernel.get());
    EXPECT_EQ(copy->className(), name);
    EXPECT_EQ(typeid(*copy), typeid(*kernel));
    EXPECT_EQ(copy->bandwidth(), kernel->bandwidth());
    EXPECT_EQ(copy->execute(x, y), kernel->execute(x, y));
    copy->setBandwidth(T(9));
    EXPECT_NE(kernel->bandwidth(), T(9));
  }
}

TYPED_TEST(CKernelTest, CopyAndAssignmentCopyEveryField) {
  using T = TypeParam;
  auto source = quietly<CPolynomialKernel<T>>(T(2), 3, T(0.5));
  source.setVerbose(VERBOSE_LEVEL(7));
  const CPolynomialKernel<T> copy(source);
  EXPECT_EQ(copy.verbose(), VERBOSE_LEVEL(7));
  EXPECT_EQ(copy.bandwidth(), T(2));
  EXPECT_EQ(copy.degree(), 3);
  EXPECT_EQ(copy.r(), T(0.5));

  auto target = quietly<CPolynomialKernel<T>>(T(1), 1, T(0));
  EXPECT_EQ(captureStdout([&] { target = source; }), "");
  EXPECT_EQ(target.verbose(), VERBOSE_LEVEL(7));
  EXPECT_EQ(target.bandwidth(), T(2));
  EXPECT_EQ(target.degree(), 3);
  EXPECT_EQ(target.r(), T(0.5));

  auto plummer = quietly<CPlummerKernel<T>>(T(2));
  plummer.setEpsilon(T(0.25));
  auto plummerTarget = quietly<CPlummerKernel<T>>(T(1));
  plummerTarget = plummer;
  EXPECT_EQ(plummerTarget.epsilon(), T(0.25));
  EXPECT_EQ(plummerTarget.bandwidth(), T(2));

  auto anova = quietly<CAnovaKernel<T>>(T(3), 4);
  const CAnovaKernel<T> anovaCopy(anova);
  EXPECT_EQ(anovaCopy.degree(), 4);
  EXPECT_EQ(anovaCopy.bandwidth(), T(3));

  auto multi =
      quietly<CMultiVariateGaussianKernel<T>>(CDenseVector<T>(2, T(3)));
  auto multiTarget =
      quietly<CMultiVariateGaussianKernel<T>>(CDenseVector<T>(5));
  multiTarget = multi;
  EXPECT_EQ(multiTarget.bandwidths(), CDenseVector<T>(2, T(3)));
}

TYPED_TEST(CKernelTest, UnsupportedScalarFormsReturnMinusOne) {
  using T = TypeParam;
  EXPECT_EQ(quietly<CTriangularKernel<T>>(T(2)).execute(T(3)), T(-1));
  EXPECT_EQ(quietly<CDoubleExponentialKernel<T>>(T(2)).execute(T(3)), T(-1));
  EXPECT_EQ(quietly<CAnovaKernel<T>>(T(2), 2).execute(T(3)), T(-1));
  EXPECT_EQ(quietly<CChiSquaredKernel<T>>(T(2)).execute(T(3)), T(-1));
  EXPECT_EQ(
      quietly<CMultiVariateGaussianKernel<T>>(CDenseVector<T>(1)).execute(T(3)),
      T(-1));
}

}  // namespace
