// SPDX-License-Identifier: MIT
// The multivariate Gaussian kernel aborts when the operands' dimension is
// not that of its bandwidth vector.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kernel/KernelTestSupport.h"
#include "vecml/kernel/CKernel.h"

namespace {

using testing::HasSubstr;

template <typename T>
class CKernelDeathTest : public testing::Test {
 protected:
  const CMultiVariateGaussianKernel<T> kernel =
      quietly<CMultiVariateGaussianKernel<T>>(CDenseVector<T>(2, T(1)));
  const CDenseVector<T> three = CDenseVector<T>(3, T(1));
  const CDenseVector<T> two = CDenseVector<T>(2, T(1));
};

using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CKernelDeathTest, ElementTypes);

TYPED_TEST(CKernelDeathTest, ArrayFormChecksIDim) {
  EXPECT_DEATH(
      this->kernel.execute(this->three._data(), this->three._data(), 3),
      HasSubstr("ML_EQ_CHK failed in File: CKernel.cpp Line: 548. "
                "iDim=3 != 2\n"));
  EXPECT_DEATH(this->kernel.execute(this->two._data(), this->two._data(), 0),
               HasSubstr("CKernel.cpp Line: 548. iDim=0 != 2\n"));
}

TYPED_TEST(CKernelDeathTest, TwoVectorFormChecksTheFirstVector) {
  EXPECT_DEATH(this->kernel.execute(this->three, this->two),
               HasSubstr("ML_EQ_CHK failed in File: CKernel.cpp Line: 538. "
                         "bandwidthVector.dimension()=2 != 3\n"));
}

TYPED_TEST(CKernelDeathTest, VectorAndArrayFormChecksTheVector) {
  EXPECT_DEATH(this->kernel.execute(this->three, this->three._data()),
               HasSubstr("ML_EQ_CHK failed in File: CKernel.cpp Line: 538. "
                         "bandwidthVector.dimension()=2 != 3\n"));
}

TYPED_TEST(CKernelDeathTest, ShorterDenseSecondVectorTripsItsIndexCheck) {
  EXPECT_DEATH(
      this->kernel.execute(this->two, CDenseVector<TypeParam>(1)),
      HasSubstr(
          "ML_LS_CHK failed in File: CDenseVector.h Line: 168. i=1 >= 1"));
}

}  // namespace
