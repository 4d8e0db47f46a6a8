// SPDX-License-Identifier: MIT
// Cache hints for walks over a dataset's items, whose vectors and element
// arrays lie at addresses the hardware prefetchers cannot foresee.
#ifndef VECML_DATASET_DETAIL_PREFETCH_H
#define VECML_DATASET_DETAIL_PREFETCH_H

#include <algorithm>
#include <cstdint>

namespace vecml::detail {

inline constexpr std::intptr_t kCacheLineBytes = 64;

/// Asks the cache for the lines holding the first min(\p bytes, \p maxLines
/// * kCacheLineBytes) bytes from \p start: one line more than \p maxLines
/// when \p start is not on a line boundary.
inline void prefetchLines(const void* start, std::intptr_t bytes,
                          int maxLines) {
  const auto from = reinterpret_cast<std::uintptr_t>(start);
  const std::uintptr_t end =
      from +
      std::uintptr_t(std::min<std::intptr_t>(
          bytes, static_cast<std::intptr_t>(maxLines) * kCacheLineBytes));
  for (std::uintptr_t line = from & ~std::uintptr_t(kCacheLineBytes - 1);
       line < end; line += kCacheLineBytes)
    __builtin_prefetch(reinterpret_cast<const void*>(line));
}

}  // namespace vecml::detail

#endif
