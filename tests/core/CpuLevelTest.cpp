// SPDX-License-Identifier: MIT
#include "vecml/core/detail/CpuLevel.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace {

using vecml::detail::CpuLevel;
using vecml::detail::requestedCpuLevel;

TEST(CpuLevelTest, RequestLowersTheSupportedLevel) {
  EXPECT_EQ(requestedCpuLevel(CpuLevel::avx512, "baseline"),
            CpuLevel::baseline);
  EXPECT_EQ(requestedCpuLevel(CpuLevel::avx512, "avx2"), CpuLevel::avx2);
  EXPECT_EQ(requestedCpuLevel(CpuLevel::avx512, "avx512"), CpuLevel::avx512);
  EXPECT_EQ(requestedCpuLevel(CpuLevel::avx2, "baseline"), CpuLevel::baseline);
}

TEST(CpuLevelTest, RequestNeverRaisesTheSupportedLevel) {
  EXPECT_EQ(requestedCpuLevel(CpuLevel::baseline, "avx512"),
            CpuLevel::baseline);
  EXPECT_EQ(requestedCpuLevel(CpuLevel::avx2, "avx512"), CpuLevel::avx2);
}

TEST(CpuLevelTest, MissingOrUnknownRequestKeepsTheSupportedLevel) {
  EXPECT_EQ(requestedCpuLevel(CpuLevel::avx2, nullptr), CpuLevel::avx2);
  EXPECT_EQ(requestedCpuLevel(CpuLevel::avx2, ""), CpuLevel::avx2);
  EXPECT_EQ(requestedCpuLevel(CpuLevel::avx2, "AVX512"), CpuLevel::avx2);
}

TEST(CpuLevelTest, ProcessLevelHonoursTheEnvironment) {
  const char* request = std::getenv("VECML_CPU");
  if (request != nullptr && std::string(request) == "baseline") {
    EXPECT_EQ(vecml::detail::cpuLevel(), CpuLevel::baseline);
  }
  EXPECT_EQ(vecml::detail::cpuLevel(), vecml::detail::cpuLevel());
}

}  // namespace
