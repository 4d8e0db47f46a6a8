// SPDX-License-Identifier: MIT
// Records in every report which of vecml's instruction-set paths ran and on
// how many threads, so that a table built from the report can say so.
#include <benchmark/benchmark.h>

#include <string>

#include "vecml/core/Threads.h"
#include "vecml/core/detail/CpuLevel.h"

namespace {

const char* pathName(vecml::detail::CpuLevel level) {
  return vecml::detail::choiceForCpu(level, "AVX-512", "AVX2", "baseline");
}

[[maybe_unused]] const bool recorded = [] {
  benchmark::AddCustomContext("vecml_path",
                              pathName(vecml::detail::cpuLevel()));
  benchmark::AddCustomContext("vecml_threads", std::to_string(getNumThreads()));
  return true;
}();

}  // namespace
