// SPDX-License-Identifier: MIT
// Cache hints for walks over a dataset's items, whose vectors and element
// arrays lie at addresses the hardware prefetchers cannot foresee.
#ifndef VECML_DATASET_DETAIL_PREFETCH_H
#define VECML_DATASET_DETAIL_PREFETCH_H

#include <algorithm>
#include <cstdint>

namespace vecml::detail {

inline constexpr std::intptr_t kCacheLineBytes = 64;

/// Asks the cache for the lines holding the first \p bytes bytes from
/// \p start, at most \p maxLines of them.
inline void prefetchLines(const void* start, std::intptr_t bytes,
                          int maxLines) {
  const auto* first = static_cast<const char*>(start);
  const std::intptr_t end = std::min<std::intptr_t>(
      bytes, static_cast<std::intptr_t>(maxLines) * kCacheLineBytes);
  for (std::intptr_t offset = 0; offset < end; offset += kCacheLineBytes)
    __builtin_prefetch(first + offset);
}

}  // namespace vecml::detail

#endif
