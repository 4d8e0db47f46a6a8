// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>

#include "vecml/matrix/detail/Lapack.h"

namespace {

using vecml::detail::lapackWorkspaceSize;

TEST(LapackWorkspaceTest, RoundsTheReportedSizeUp) {
  int size = 0;
  ASSERT_TRUE(lapackWorkspaceSize(100.0, size));
  EXPECT_GE(size, 100);
  EXPECT_LE(size, 101);
  // 2^24 + 1 is not a float: the report 2^24 may stand for it.
  ASSERT_TRUE(lapackWorkspaceSize(16777216.0f, size));
  EXPECT_GE(size, 16777217);
}

TEST(LapackWorkspaceTest, NeverLessThanOne) {
  int size = 0;
  ASSERT_TRUE(lapackWorkspaceSize(0.0, size));
  EXPECT_EQ(size, 1);
}

TEST(LapackWorkspaceTest, RefusesSizesBeyondInt) {
  int size = 7;
  EXPECT_FALSE(lapackWorkspaceSize(double(INT_MAX) + 1, size));
  EXPECT_FALSE(lapackWorkspaceSize(3e9f, size));
  EXPECT_FALSE(
      lapackWorkspaceSize(std::numeric_limits<double>::infinity(), size));
  EXPECT_FALSE(lapackWorkspaceSize(std::nan(""), size));
  EXPECT_EQ(size, 7);
}

}  // namespace
