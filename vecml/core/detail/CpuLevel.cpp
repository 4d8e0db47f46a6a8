// SPDX-License-Identifier: MIT
#include "vecml/core/detail/CpuLevel.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace vecml::detail {

namespace {

CpuLevel supportedCpuLevel() {
#if VECML_HAVE_X86_KERNELS
  __builtin_cpu_init();
  const bool avx2 =
      __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
  const bool avx512 = avx2 && __builtin_cpu_supports("avx512f") &&
                      __builtin_cpu_supports("avx512vl") &&
                      __builtin_cpu_supports("avx512dq") &&
                      __builtin_cpu_supports("avx512bw");
  if (avx512) return CpuLevel::avx512;
  if (avx2) return CpuLevel::avx2;
#endif
  return CpuLevel::baseline;
}

}  // namespace

CpuLevel requestedCpuLevel(CpuLevel supported, const char* request) {
  if (request == nullptr) return supported;
  static constexpr struct {
    const char* name;
    CpuLevel level;
  } kNames[] = {{"baseline", CpuLevel::baseline},
                {"avx2", CpuLevel::avx2},
                {"avx512", CpuLevel::avx512}};
  for (const auto& entry : kNames)
    if (std::strcmp(request, entry.name) == 0)
      return std::min(supported, entry.level);
  return supported;
}

CpuLevel cpuLevel() {
  static const CpuLevel level =
      requestedCpuLevel(supportedCpuLevel(), std::getenv("VECML_CPU"));
  return level;
}

}  // namespace vecml::detail
