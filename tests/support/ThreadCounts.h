// SPDX-License-Identifier: MIT
// Running a computation on several thread counts and holding every result
// to the bits of the one-thread result.
#ifndef VECML_TESTS_SUPPORT_THREADCOUNTS_H
#define VECML_TESTS_SUPPORT_THREADCOUNTS_H

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "vecml/core/Threads.h"

/// Sets the library's thread count for a scope and restores the default.
class ScopedThreadCount {
 public:
  explicit ScopedThreadCount(int threads) { setNumThreads(threads); }
  ~ScopedThreadCount() { setNumThreads(0); }
  ScopedThreadCount(const ScopedThreadCount&) = delete;
  ScopedThreadCount& operator=(const ScopedThreadCount&) = delete;
};

/// The thread counts every parallel operation is checked with; 1 is the
/// serial reference.
inline const std::vector<int>& testedThreadCounts() {
  static const std::vector<int> counts{1, 2, 3, 7};
  return counts;
}

/// The awkward sizes (items, rows) parallel operations are checked on.
inline const std::vector<int>& awkwardSizes() {
  static const std::vector<int> sizes{1, 7, 17, 63, 65, 129};
  return sizes;
}

/// The bytes of \p count values at \p data, for comparisons to the last bit.
template <typename T>
std::string bytesOf(const T* data, std::size_t count) {
  std::string bytes(count * sizeof(T), '\0');
  if (count != 0) std::memcpy(bytes.data(), data, bytes.size());
  return bytes;
}

/// Runs \p compute (returning a byte string of its result) with one thread
/// and then with every other tested count, expecting the same bytes.
template <typename Compute>
void expectSameBytesOnEveryThreadCount(Compute compute) {
  std::string serial;
  {
    ScopedThreadCount one(1);
    serial = compute();
  }
  for (int threads : testedThreadCounts()) {
    if (threads == 1) continue;
    ScopedThreadCount scoped(threads);
    EXPECT_EQ(compute(), serial) << "with " << threads << " threads";
  }
}

#endif
