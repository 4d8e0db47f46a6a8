// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/Sanitizers.h"
#include "vecml/vector/CDenseVector.h"

namespace {

using testing::HasSubstr;

TEST(CDenseVectorDeathTest, NonConstIndexReportsLine179) {
  CDenseVector<float> v(5);
  EXPECT_DEATH(v[7] = 1,
               HasSubstr("ML_LS_CHK failed in File: CDenseVector.h Line: 179. "
                         "i=7 >= 5\n"));
}

TEST(CDenseVectorDeathTest, ConstIndexReportsLine168) {
  const CDenseVector<double> v(2);
  EXPECT_DEATH(static_cast<void>(v[2]),
               HasSubstr("ML_LS_CHK failed in File: CDenseVector.h Line: 168. "
                         "i=2 >= 2\n"));
}

TEST(CDenseVectorDeathTest, IndexOfEmptyVectorAborts) {
  CDenseVector<int> v;
  EXPECT_DEATH(v[0] = 1,
               HasSubstr("ML_LS_CHK failed in File: CDenseVector.h Line: 179. "
                         "i=0 >= 0\n"));
}

TEST(CDenseVectorDeathTest, ThroughTheBaseInterfaceTheConstFormReports) {
  const CDenseVector<int> v(3);
  const CVector<int>& base = v;
  EXPECT_DEATH(static_cast<void>(base[3]),
               HasSubstr("CDenseVector.h Line: 168. i=3 >= 3\n"));
}

TEST(CDenseVectorDeathTest, IntDivisionByZeroIsFatal) {
  CDenseVector<int> v(2, 4);
  EXPECT_DIES_OF_SIGFPE(v /= 0);
}

TEST(CDenseVectorDeathTest, IntMeanOfEmptyVectorIsFatal) {
  const CDenseVector<int> empty;
  EXPECT_DIES_OF_SIGFPE(static_cast<void>(empty.mean()));
}

}  // namespace
