// SPDX-License-Identifier: MIT
// The float kernels run some steps in double and others in single
// precision. Each test uses inputs on which both choices give different
// floats, checks the result bit for bit against the documented choice, and
// checks that the inputs really tell the two apart. (The single-precision
// exponential itself mostly agrees with the narrowed double one, so the
// inputs are chosen where the precision of its argument shows.)
#include <gtest/gtest.h>

#include <cmath>

#include "kernel/KernelTestSupport.h"
#include "vecml/kernel/CKernel.h"

namespace {

constexpr float kSigma = 0.3f;
constexpr float kX = 0.7f;

TEST(CKernelPrecisionTest, GaussianDividesAndExponentiatesInDouble) {
  const auto kernel = quietly<CGaussianKernel<float>>(kSigma);
  const float squared = kX * kX;
  const double denominator = double(kSigma) * 2.0 * double(kSigma);
  const float viaDouble =
      static_cast<float>(std::exp(-double(squared) / denominator));
  const float inFloat = std::exp(-squared / (kSigma * 2.0f * kSigma));
  ASSERT_NE(viaDouble, inFloat);
  EXPECT_EQ(kernel.execute(kX), viaDouble);
  EXPECT_EQ(kernel.execute(denseOf<float>({kX}), denseOf<float>({0})),
            viaDouble);
}

TEST(CKernelPrecisionTest, GaussianArrayFormNarrowsEachQuotient) {
  const auto kernel = quietly<CGaussianKernel<float>>(kSigma);
  const float x[] = {0.1f, 0.1f, 0.2f};
  const float y[] = {0.0f, 0.0f, 0.0f};
  const double denominator = double(kSigma) * 2.0 * double(kSigma);
  float narrowedSum = 0;
  double wideSum = 0;
  for (float value : x) {
    narrowedSum += static_cast<float>(double(value * value) / denominator);
    wideSum += double(value * value) / denominator;
  }
  const float expected = static_cast<float>(std::exp(-double(narrowedSum)));
  ASSERT_NE(expected, static_cast<float>(std::exp(-wideSum)));
  EXPECT_EQ(kernel.execute(x, y, 3), expected);
}

TEST(CKernelPrecisionTest, PolynomialAddsAndRaisesInDouble) {
  const auto kernel = quietly<CPolynomialKernel<float>>(kSigma, 3, 0.1f);
  const float scaled = kX / kSigma;
  const float viaDouble =
      static_cast<float>(std::pow(double(scaled) + double(0.1f), 3));
  ASSERT_NE(viaDouble, std::pow(scaled + 0.1f, 3.0f));
  EXPECT_EQ(kernel.execute(kX), viaDouble);
}

TEST(CKernelPrecisionTest, PlummerAddsAndRaisesInDouble) {
  auto kernel = quietly<CPlummerKernel<float>>(kSigma);
  kernel.setEpsilon(0.3f);
  const double epsilon = double(0.3f);
  const float viaDouble = static_cast<float>(
      std::pow(double(kX) + epsilon * epsilon, -double(kSigma) * 0.5));
  ASSERT_NE(viaDouble, std::pow(kX + 0.3f * 0.3f, -kSigma * 0.5f));
  EXPECT_EQ(kernel.execute(kX), viaDouble);
}

TEST(CKernelPrecisionTest, EpanechnikovScalarFormStaysInFloat) {
  const auto kernel = quietly<CEpanechnikovKernel<float>>(kSigma);
  const float inFloat = std::exp(-kX / (kSigma * kSigma));
  ASSERT_NE(inFloat, static_cast<float>(
                         std::exp(-double(kX) / (double(kSigma) * kSigma))));
  EXPECT_EQ(kernel.execute(kX), inFloat);
}

TEST(CKernelPrecisionTest, LinearArrayFormFusesEachStep) {
  const auto kernel = quietly<CLinearKernel<float>>();
  const float x[] = {0.1f, 0.7f, 1.3f};
  const float y[] = {0.3f, -0.9f, 0.11f};
  float fused = 0;
  float plain = 0;
  for (int i = 0; i < 3; ++i) {
    fused = std::fma(x[i], y[i], fused);
    plain += x[i] * y[i];
  }
  ASSERT_NE(fused, plain);
  EXPECT_EQ(kernel.execute(x, y, 3), fused);
}

// The kernels that stay in float: quotients and sums in single precision,
// then the single-precision exponential.
TEST(CKernelPrecisionTest, DoubleExponentialStaysInFloat) {
  const auto kernel = quietly<CDoubleExponentialKernel<float>>(kSigma);
  const float inFloat = std::exp(-kX / kSigma);
  ASSERT_NE(inFloat, static_cast<float>(std::exp(-double(kX) / kSigma)));
  const float x[] = {kX};
  const float y[] = {0.0f};
  EXPECT_EQ(kernel.execute(x, y, 1), inFloat);
}

TEST(CKernelPrecisionTest, AnovaTermsStayInFloat) {
  const auto kernel = quietly<CAnovaKernel<float>>(0.1f, 1);
  const float inFloat = std::exp(-(kX * kX) / 0.1f);
  ASSERT_NE(inFloat, static_cast<float>(std::exp(-(double(kX) * kX) / 0.1f)));
  const float x[] = {kX};
  const float y[] = {0.0f};
  EXPECT_EQ(kernel.execute(x, y, 1), inFloat);
}

TEST(CKernelPrecisionTest, MultiVariateGaussianStaysInFloat) {
  const auto kernel = quietly<CMultiVariateGaussianKernel<float>>(
      CDenseVector<float>(1, kSigma));
  const float inFloat = std::exp(-(kX * kX / (kSigma * 2.0f * kSigma)));
  ASSERT_NE(inFloat, static_cast<float>(std::exp(-(
                         double(kX) * kX / (double(kSigma) * 2.0 * kSigma)))));
  const float x[] = {kX};
  const float y[] = {0.0f};
  EXPECT_EQ(kernel.execute(x, y, 1), inFloat);
}

TEST(CKernelPrecisionTest, ChiSquaredSumsInFloat) {
  const auto kernel = quietly<CChiSquaredKernel<float>>(kSigma);
  const float x[] = {0.1f, 0.7f, 1.3f};
  const float y[] = {0.1f, 0.1f, 1.1f};
  float sum = 0;
  double wide = 0;
  for (int i = 0; i < 3; ++i) {
    const float d = x[i] - y[i];
    sum += d * d / ((x[i] + y[i]) * kSigma);
    wide += double(d) * d / ((double(x[i]) + y[i]) * kSigma);
  }
  ASSERT_NE(sum, static_cast<float>(wide));
  EXPECT_EQ(kernel.execute(x, y, 3), sum);
}

}  // namespace
