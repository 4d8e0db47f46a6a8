// SPDX-License-Identifier: MIT
#include "vecml/core/detail/Parallel.h"

#include <omp.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <exception>
#include <mutex>

#include "vecml/core/Threads.h"

namespace vecml::detail {

int parseThreadCount(const char* text) {
  if (text == nullptr || *text < '0' || *text > '9') return 0;
  errno = 0;
  const long value = std::strtol(text, nullptr, 10);
  if (errno != 0 || value <= 0 || value > INT_MAX) return 0;
  return static_cast<int>(value);
}

int defaultThreadCount(const char* vecmlNumThreads, const char* ompNumThreads,
                       int processors) {
  for (const char* text : {vecmlNumThreads, ompNumThreads}) {
    const int parsed = parseThreadCount(text);
    if (parsed > 0) return parsed;
  }
  return std::max(1, processors);
}

int threadsFor(double work, std::size_t pieces) {
  if (omp_in_parallel()) return 1;
  const double byWork = work / kMinWorkPerThread;
  int threads = getNumThreads();
  if (byWork < threads) threads = std::max(1, static_cast<int>(byWork));
  if (pieces < static_cast<std::size_t>(threads))
    threads = std::max<int>(1, static_cast<int>(pieces));
  return threads;
}

void runOnThreads(int threads, const std::function<void(int)>& task) {
  if (threads <= 1) {
    task(0);
    return;
  }
  std::exception_ptr failure;
  std::mutex failureLock;
#pragma omp parallel num_threads(threads)
  {
    // The runtime may give fewer threads than asked for; the remaining
    // blocks then run on the threads it gave, in turn.
    const int team = omp_get_num_threads();
    for (int thread = omp_get_thread_num(); thread < threads; thread += team) {
      try {
        task(thread);
      } catch (...) {
        const std::lock_guard<std::mutex> guard(failureLock);
        if (!failure) failure = std::current_exception();
      }
    }
  }
  if (failure) std::rethrow_exception(failure);
}

}  // namespace vecml::detail
