// SPDX-License-Identifier: MIT
// Every kernel with a plug-in is produced by the object factory under the
// file name its factoryObject() returns.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "kernel/KernelTestSupport.h"
#include "support/CaptureOutput.h"
#include "vecml/core/CObjectFactory.h"
#include "vecml/kernel/CKernel.h"

namespace {

template <typename T>
class CKernelFactoryTest : public testing::Test {
 protected:
  // Asks the factory for the class whose plug-in file is \p factoryFile.
  static std::unique_ptr<CKernel<T>> produce(const std::string& factoryFile) {
    const std::string suffix = "Factory.so";
    const std::string name =
        factoryFile.substr(0, factoryFile.size() - suffix.size());
    void* made = nullptr;
    captureStdout([&] {
      made = CObjectFactory::instance()->produceObject(name,
                                                       CObject<T>().dataType());
    });
    return std::unique_ptr<CKernel<T>>(
        dynamic_cast<CKernel<T>*>(static_cast<CObject<T>*>(made)));
  }
};

using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CKernelFactoryTest, ElementTypes);

TYPED_TEST(CKernelFactoryTest, ProducesEveryKernelThatNamesAPlugin) {
  for (const auto& entry : allKernels<TypeParam>()) {
    const std::string factoryFile = entry.kernel->factoryObject();
    if (factoryFile.empty()) continue;  // the multivariate Gaussian
    SCOPED_TRACE(factoryFile);
    const auto made = this->produce(factoryFile);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->className(), entry.className);
    EXPECT_EQ(made->factoryObject(), factoryFile);
    EXPECT_EQ(made->dataType(), CObject<TypeParam>().dataType());
    EXPECT_EQ(typeid(*made), typeid(*entry.kernel));
  }
}

TYPED_TEST(CKernelFactoryTest, IrregularPluginNamesAreServed) {
  EXPECT_EQ(this->produce("CPlummerFactory.so")->className(), "CPlummerKernel");
  EXPECT_EQ(this->produce("CAnovaKernelFactory.so")->className(),
            "CAnoveKernel");
  EXPECT_EQ(this->produce("CChiSquaredKernelFactory.so")->className(),
            "CChiSquaredKernelFactoryKernel");
  EXPECT_EQ(this->produce("CEpanechnikovKernelFactory.so")->className(),
            "CKernel");
}

TYPED_TEST(CKernelFactoryTest, ProducedKernelsHaveUnitBandwidth) {
  using T = TypeParam;
  const auto gaussian = this->produce("CGaussianKernelFactory.so");
  EXPECT_EQ(gaussian->bandwidth(), T(1));
  EXPECT_EQ(gaussian->execute(T(0)), T(1));
  const auto polynomial = this->produce("CPolynomialKernelFactory.so");
  EXPECT_EQ(polynomial->execute(T(2)), T(9));  // (2/1 + 1)^2
  const auto anova = this->produce("CAnovaKernelFactory.so");
  EXPECT_EQ(static_cast<CAnovaKernel<T>&>(*anova).degree(), 1);
  const auto plummer = this->produce("CPlummerFactory.so");
  EXPECT_EQ(static_cast<CPlummerKernel<T>&>(*plummer).epsilon(), T(1));
  EXPECT_EQ(this->produce("CLinearKernelFactory.so")->bandwidth(), T(-1));
}

TYPED_TEST(CKernelFactoryTest, ProducingPrintsTheConstructorLine) {
  using T = TypeParam;
  std::unique_ptr<CObject<T>> made;
  EXPECT_EQ(captureStdout([&] {
              made.reset(static_cast<CObject<T>*>(
                  CObjectFactory::instance()->produceObject(
                      "CChiSquaredKernel", CObject<T>().dataType())));
            }),
            "Chi Squared Kernel\n");
  ASSERT_NE(made, nullptr);
}

TYPED_TEST(CKernelFactoryTest, MultiVariateGaussianComesUnderItsClassName) {
  const auto kernel = this->produce("CMultiVariateGaussianKernelFactory.so");
  ASSERT_NE(kernel, nullptr);
  EXPECT_EQ(kernel->className(), "CMultiVariateGaussianKernel");
  EXPECT_EQ(kernel->factoryObject(), "");
}

}  // namespace
