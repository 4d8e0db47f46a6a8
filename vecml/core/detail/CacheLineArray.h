// SPDX-License-Identifier: MIT
// Scratch arrays that the library allocates for its own use (packed matrix
// panels, packed triangles) start on a cache line, so every vector load of
// them stays within one line. Element arrays of vectors and matrices are
// plain new[] arrays that clients exchange freely and never come from here.
#ifndef VECML_CORE_DETAIL_CACHELINEARRAY_H
#define VECML_CORE_DETAIL_CACHELINEARRAY_H

#include <cstddef>
#include <cstring>
#include <memory>
#include <new>

namespace vecml::detail {

inline constexpr std::align_val_t kCacheLine{64};

/// Releases an array from makeCacheLineArray.
struct CacheLineRelease {
  template <typename T>
  void operator()(T* array) const noexcept {
    ::operator delete(array, kCacheLine);
  }
};

template <typename T>
using CacheLineArray = std::unique_ptr<T[], CacheLineRelease>;

/// \p n elements of T on a cache-line boundary, all bytes zero.
/// \throw std::bad_alloc when no memory is available.
template <typename T>
CacheLineArray<T> makeCacheLineArray(std::size_t n) {
  void* bytes = ::operator new(n * sizeof(T), kCacheLine);
  std::memset(bytes, 0, n * sizeof(T));
  return CacheLineArray<T>(static_cast<T*>(bytes));
}

}  // namespace vecml::detail

#endif
