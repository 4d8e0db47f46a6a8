// SPDX-License-Identifier: MIT
#include "vecml/core/Threads.h"

#include <omp.h>

#include <atomic>
#include <cstdlib>

#include "vecml/core/detail/Parallel.h"

namespace {

// 0 means "not set": the default from the environment applies.
std::atomic<int> configuredThreads{0};

int defaultThreads() {
  static const int threads = vecml::detail::defaultThreadCount(
      std::getenv("VECML_NUM_THREADS"), std::getenv("OMP_NUM_THREADS"),
      omp_get_num_procs());
  return threads;
}

}  // namespace

void setNumThreads(int n) {
  configuredThreads.store(n > 0 ? n : 0, std::memory_order_relaxed);
}

int getNumThreads() {
  const int configured = configuredThreads.load(std::memory_order_relaxed);
  return configured > 0 ? configured : defaultThreads();
}
