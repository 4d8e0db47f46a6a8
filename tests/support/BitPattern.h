// SPDX-License-Identifier: MIT
// The bit pattern of a floating-point value, for tests that hold results
// to the last bit: NaN then compares equal to itself and -0 differs from 0.
#ifndef VECML_TESTS_SUPPORT_BITPATTERN_H
#define VECML_TESTS_SUPPORT_BITPATTERN_H

#include <cstdint>
#include <cstring>
#include <type_traits>

template <typename T>
auto bitsOf(T value) {
  using Bits = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;
  static_assert(sizeof(Bits) == sizeof(T));
  Bits bits;
  std::memcpy(&bits, &value, sizeof bits);
  return bits;
}

#endif
