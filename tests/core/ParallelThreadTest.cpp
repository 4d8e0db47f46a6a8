// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <omp.h>

#include <atomic>
#include <cstdlib>
#include <stdexcept>
#include <vector>

#include "support/ThreadCounts.h"
#include "vecml/core/detail/Parallel.h"

namespace {

using vecml::detail::kMinWorkPerThread;
using vecml::detail::parallelFor;
using vecml::detail::runOnThreads;
using vecml::detail::threadsFor;

TEST(ParallelThreadTest, BlocksCoverEveryPieceOnceForEveryThreadCount) {
  for (int threads : testedThreadCounts()) {
    ScopedThreadCount scoped(threads);
    for (std::size_t count : {0u, 1u, 7u, 17u, 63u, 65u, 129u}) {
      std::vector<int> visits(count, 0);
      parallelFor(count, kMinWorkPerThread,
                  [&](std::size_t begin, std::size_t end) {
                    for (std::size_t i = begin; i < end; ++i) ++visits[i];
                  });
      EXPECT_EQ(visits, std::vector<int>(count, 1)) << threads << " " << count;
    }
  }
}

TEST(ParallelThreadTest, SmallWorkStaysOnTheCallingThread) {
  ScopedThreadCount scoped(4);
  EXPECT_EQ(threadsFor(kMinWorkPerThread - 1, 1000), 1);
  EXPECT_EQ(threadsFor(2 * kMinWorkPerThread, 1000), 2);
  EXPECT_EQ(threadsFor(100 * kMinWorkPerThread, 1000), 4);
  EXPECT_EQ(threadsFor(100 * kMinWorkPerThread, 3), 3);
  EXPECT_EQ(threadsFor(100 * kMinWorkPerThread, 0), 1);
}

TEST(ParallelThreadTest, OneThreadStartsNoTeam) {
  ScopedThreadCount scoped(1);
  EXPECT_EQ(threadsFor(1e12, 1000), 1);
  int calls = 0;
  parallelFor(1000, 1e9, [&](std::size_t begin, std::size_t end) {
    ++calls;
    EXPECT_EQ(begin, 0u);
    EXPECT_EQ(end, 1000u);
    EXPECT_FALSE(omp_in_parallel());
  });
  EXPECT_EQ(calls, 1);
}

TEST(ParallelThreadTest, CallsFromTheCallersParallelRegionRunSerially) {
  ScopedThreadCount scoped(4);
  std::atomic<int> nestedTeams{0};
#pragma omp parallel num_threads(2)
  {
    if (threadsFor(1e12, 1000) != 1) ++nestedTeams;
  }
  EXPECT_EQ(nestedTeams.load(), 0);
}

TEST(ParallelThreadTest, ATaskExceptionReachesTheCaller) {
  EXPECT_THROW(runOnThreads(3,
                            [](int thread) {
                              if (thread == 1) throw std::runtime_error("x");
                            }),
               std::runtime_error);
}

TEST(ParallelThreadTest, EnvironmentSetsTheDefault) {
  const int expected =
      vecml::detail::parseThreadCount(std::getenv("VECML_NUM_THREADS"));
  if (expected == 0) GTEST_SKIP() << "VECML_NUM_THREADS is not set";
  EXPECT_EQ(getNumThreads(), expected);
}

}  // namespace
