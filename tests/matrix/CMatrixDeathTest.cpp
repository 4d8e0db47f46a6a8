// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

#include "support/Sanitizers.h"
#include "vecml/matrix/CMatrix.h"

namespace {

using testing::HasSubstr;

// The dense vector's checked index operator reports its own header line.
const char kShortVectorReport[] =
    "ML_LS_CHK failed in File: CDenseVector.h Line: 179. i=2 >= 2\n";

TEST(CMatrixDeathTest, SetColumnWithShortVectorAborts) {
  CMatrix<float> m(3, 2);
  CDenseVector<float> v(std::vector<float>{1, 2});
  EXPECT_DEATH(m.setColumn(0, v), HasSubstr(kShortVectorReport));
}

TEST(CMatrixDeathTest, SetDiagonalWithShortVectorAborts) {
  CMatrix<double> m(3, 3);
  CDenseVector<double> v(std::vector<double>{1, 2});
  EXPECT_DEATH(m.setDiagonal(v), HasSubstr(kShortVectorReport));
}

TEST(CMatrixDeathTest, SetColumnOutsideTheMatrixStillChecksTheVector) {
  CMatrix<int> m(3, 1);
  CDenseVector<int> v(std::vector<int>{1, 2});
  EXPECT_DEATH(m.setColumn(5, v), HasSubstr(kShortVectorReport));
}

TEST(CMatrixDeathTest, IntDivisionByZeroIsFatal) {
  CMatrix<int> m(1, 1);
  EXPECT_DIES_OF_SIGFPE(m /= 0);
}

}  // namespace
