// SPDX-License-Identifier: MIT
#include "vecml/core/Threads.h"

#include <gtest/gtest.h>

#include "vecml/core/detail/Parallel.h"

using vecml::detail::defaultThreadCount;
using vecml::detail::parseThreadCount;

TEST(ThreadsTest, ParsesTheLeadingPositiveInteger) {
  EXPECT_EQ(parseThreadCount("4"), 4);
  EXPECT_EQ(parseThreadCount("4,2"), 4);
  EXPECT_EQ(parseThreadCount("12 "), 12);
  EXPECT_EQ(parseThreadCount(nullptr), 0);
  EXPECT_EQ(parseThreadCount(""), 0);
  EXPECT_EQ(parseThreadCount("0"), 0);
  EXPECT_EQ(parseThreadCount("-3"), 0);
  EXPECT_EQ(parseThreadCount(" 3"), 0);
  EXPECT_EQ(parseThreadCount("many"), 0);
  EXPECT_EQ(parseThreadCount("99999999999999999999"), 0);
}

TEST(ThreadsTest, DefaultPrefersVecmlThenOpenMpThenProcessors) {
  EXPECT_EQ(defaultThreadCount("3", "5", 8), 3);
  EXPECT_EQ(defaultThreadCount(nullptr, "5", 8), 5);
  EXPECT_EQ(defaultThreadCount("zero", "5,1", 8), 5);
  EXPECT_EQ(defaultThreadCount(nullptr, nullptr, 8), 8);
  EXPECT_EQ(defaultThreadCount("0", "", 2), 2);
  EXPECT_EQ(defaultThreadCount(nullptr, nullptr, 0), 1);
}

TEST(ThreadsTest, SetNumThreadsOverridesAndNonPositiveRestoresTheDefault) {
  const int initial = getNumThreads();
  EXPECT_GE(initial, 1);
  setNumThreads(7);
  EXPECT_EQ(getNumThreads(), 7);
  setNumThreads(1);
  EXPECT_EQ(getNumThreads(), 1);
  setNumThreads(0);
  EXPECT_EQ(getNumThreads(), initial);
  setNumThreads(5);
  setNumThreads(-2);
  EXPECT_EQ(getNumThreads(), initial);
}
