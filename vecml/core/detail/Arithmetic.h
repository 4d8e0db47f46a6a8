// SPDX-License-Identifier: MIT
// Element arithmetic without undefined behaviour: int sums and products wrap
// as two's complement, int division by zero raises SIGFPE (the hardware's
// fatal arithmetic error) instead of being undefined, and conversions of
// floating-point values to int never overflow.
#ifndef VECML_CORE_DETAIL_ARITHMETIC_H
#define VECML_CORE_DETAIL_ARITHMETIC_H

#include <climits>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <type_traits>

namespace vecml::detail {

template <typename T>
inline T add(T a, T b) {
  if constexpr (std::is_same_v<T, int>)
    return static_cast<int>(static_cast<unsigned>(a) +
                            static_cast<unsigned>(b));
  else
    return a + b;
}

template <typename T>
inline T subtract(T a, T b) {
  if constexpr (std::is_same_v<T, int>)
    return static_cast<int>(static_cast<unsigned>(a) -
                            static_cast<unsigned>(b));
  else
    return a - b;
}

template <typename T>
inline T multiply(T a, T b) {
  if constexpr (std::is_same_v<T, int>)
    return static_cast<int>(static_cast<unsigned>(a) *
                            static_cast<unsigned>(b));
  else
    return a * b;
}

/// Integer division toward zero. A zero divisor raises SIGFPE and ends the
/// process, as the processor would; INT_MIN / -1 wraps to INT_MIN.
template <typename T>
inline T divide(T a, T b) {
  if constexpr (std::is_same_v<T, int>) {
    if (b == 0) {
      std::raise(SIGFPE);
      std::abort();  // SIGFPE was caught or ignored: still fatal
    }
    if (b == -1) return subtract(0, a);
    return a / b;
  } else {
    return a / b;
  }
}

/// Converts to int truncating toward zero. NaN and values outside the int
/// range give INT_MIN, the processor's "integer indefinite" value.
template <typename F>
inline int truncateToInt(F value) {
  if (!(value > F(INT_MIN) - F(1) && value < F(INT_MAX) + F(1))) return INT_MIN;
  return static_cast<int>(value);
}

/// Square root in T: float and double in their own precision; for int the
/// root is taken in double and truncated toward zero (a negative, wrapped
/// int gives INT_MIN).
template <typename T>
inline T squareRoot(T value) {
  if constexpr (std::is_same_v<T, int>)
    return truncateToInt(std::sqrt(static_cast<double>(value)));
  else
    return std::sqrt(value);
}

/// Absolute value; for int, |INT_MIN| wraps to INT_MIN.
template <typename T>
inline T absolute(T value) {
  return value < T(0) ? subtract(T(0), value) : value;
}

/// Converts a stored element of any element type to T: floating-point to
/// int truncates toward zero (see truncateToInt), everything else converts
/// by value.
template <typename T, typename S>
inline T convertElement(S value) {
  if constexpr (std::is_same_v<T, int> && !std::is_same_v<S, int>)
    return truncateToInt(value);
  else
    return static_cast<T>(value);
}

}  // namespace vecml::detail

#endif
