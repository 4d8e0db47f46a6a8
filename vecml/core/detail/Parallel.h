// SPDX-License-Identifier: MIT
// Splitting a kernel's independent outputs over the library's threads.
//
// A kernel states how much work it has (roughly, in element operations);
// below kMinWorkPerThread per thread it stays on the calling thread, so
// short calls pay nothing. Blocks are contiguous and each output is still
// computed by the serial code, so results do not depend on the split.
#ifndef VECML_CORE_DETAIL_PARALLEL_H
#define VECML_CORE_DETAIL_PARALLEL_H

#include <cstddef>
#include <functional>

#include "vecml/core/Export.h"

namespace vecml::detail {

/// Work (element operations) that repays one more thread: a thread start
/// and join costs a few microseconds.
inline constexpr double kMinWorkPerThread = 1 << 16;

/// \return the positive integer that \p text starts with (such as "4" or
///         "4,2"), or 0 for a null, empty, non-numeric or non-positive text.
VECML_API int parseThreadCount(const char* text);

/// \return the default thread count: from \p vecmlNumThreads, else from
///         \p ompNumThreads (the texts of the two environment variables, or
///         null), else \p processors, and at least 1.
VECML_API int defaultThreadCount(const char* vecmlNumThreads,
                                 const char* ompNumThreads, int processors);

/// \return the threads to use for \p work element operations split into at
///         most \p pieces independent pieces: 1 inside a caller's parallel
///         region, else getNumThreads() limited by the pieces and by one
///         thread per kMinWorkPerThread of work.
VECML_API int threadsFor(double work, std::size_t pieces);

/// Runs task(thread) for thread = 0 .. threads - 1 on \p threads threads
/// (the calling thread is one of them) and returns when all have finished.
/// An exception thrown by a task is rethrown here after the others end.
VECML_API void runOnThreads(int threads, const std::function<void(int)>& task);

/// \return the start of block \p block of \p blocks equal contiguous blocks
///         of [0, count); block \p blocks starts at count.
inline std::size_t blockStart(std::size_t count, int block, int blocks) {
  return static_cast<std::size_t>(static_cast<unsigned __int128>(count) *
                                  static_cast<unsigned>(block) /
                                  static_cast<unsigned>(blocks));
}

/// Calls body(begin, end) over contiguous blocks covering [0, count), on as
/// many threads as threadsFor(count * workPerPiece, count) allows; with one
/// thread that is a single call body(0, count).
template <typename Body>
void parallelFor(std::size_t count, double workPerPiece, Body&& body) {
  const int threads =
      threadsFor(static_cast<double>(count) * workPerPiece, count);
  if (threads <= 1) {
    body(std::size_t{0}, count);
    return;
  }
  runOnThreads(threads, [&](int thread) {
    body(blockStart(count, thread, threads),
         blockStart(count, thread + 1, threads));
  });
}

}  // namespace vecml::detail

#endif
