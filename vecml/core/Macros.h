// Always-live check macros, the critical-message macro, zero-filled array
// allocation and the numerical helpers.
#ifndef VECML_CORE_MACROS_H
#define VECML_CORE_MACROS_H

#include <cstdlib>
#include <iostream>

#include "vecml/core/Export.h"
#include "vecml/core/detail/MessagePositions.h"

namespace vecml::detail {

// Prints the one-line report of a failed check and aborts. Out of the hot
// path so that a passing check costs one comparison.
template <typename A, typename B>
[[noreturn]] __attribute__((noinline, cold)) void reportFailedCheck(
    const char* macro, const char* file, int line, const char* firstText,
    const A& first, const char* operatorText, const B& second) {
  std::cerr << macro << " failed in File: " << file << " Line: " << line << ". "
            << firstText << "=" << first << operatorText << second << std::endl;
  std::abort();
}

[[noreturn]] VECML_API void reportCriticalMessage(const char* file, int line,
                                                  const char* message);

}  // namespace vecml::detail

// Evaluates each operand once and reports `position` when
// `first failsWhen second`.
#define VECML_CHECK_(macro, failsWhen, operatorText, a, b, position)          \
  do {                                                                        \
    const auto& vecml_check_a_ = (a);                                         \
    const auto& vecml_check_b_ = (b);                                         \
    if (vecml_check_a_ failsWhen vecml_check_b_)                              \
      ::vecml::detail::reportFailedCheck(#macro, (position).file,             \
                                         (position).line, #a, vecml_check_a_, \
                                         operatorText, vecml_check_b_);       \
  } while (false)

// The caller's own position, as the plain check macros report it.
#define VECML_HERE_ (::vecml::detail::MessagePosition{__FILE_NAME__, __LINE__})

// The *_AT forms report a fixed MessagePosition (see
// vecml/core/detail/MessagePositions.h) instead of the caller's own.
#define ML_EQ_CHK_AT(a, b, position) \
  VECML_CHECK_(ML_EQ_CHK, !=, " != ", a, b, position)
#define ML_LEQ_CHK_AT(a, b, position) \
  VECML_CHECK_(ML_LEQ_CHK, >, " > ", a, b, position)
#define ML_LS_CHK_AT(a, b, position) \
  VECML_CHECK_(ML_LS_CHK, >=, " >= ", a, b, position)
#define ML_GEQ_CHK_AT(a, b, position) \
  VECML_CHECK_(ML_GEQ_CHK, <, " < ", a, b, position)

/// Aborts unless a == b, printing
/// "ML_EQ_CHK failed in File: <file> Line: <line>. <a text>=<a> != <b>".
#define ML_EQ_CHK(a, b) ML_EQ_CHK_AT(a, b, VECML_HERE_)
/// Aborts when a > b.
#define ML_LEQ_CHK(a, b) ML_LEQ_CHK_AT(a, b, VECML_HERE_)
/// Aborts when a >= b.
#define ML_LS_CHK(a, b) ML_LS_CHK_AT(a, b, VECML_HERE_)
/// Aborts when a < b.
#define ML_GEQ_CHK(a, b) ML_GEQ_CHK_AT(a, b, VECML_HERE_)

#define ML_CRITICAL_MSG_AT(msg, position) \
  ::vecml::detail::reportCriticalMessage((position).file, (position).line, msg)
/// Prints the position and \p msg to the error stream and aborts.
#define ML_CRITICAL_MSG(msg) ML_CRITICAL_MSG_AT(msg, VECML_HERE_)

/// Allocates \p n elements with the array form of new, on a 64-byte
/// boundary (a cache line, so vector kernels load whole lines), and sets
/// all their bytes to zero. Vectors and matrices own arrays made this
/// way; release any other one with DELETEARRAY, never with plain delete[].
/// \throw const char* "Out of memory during allocation of CDenseVector" when
///        no memory is available; std::bad_alloc (bad_array_new_length) for
///        a negative \p n.
template <typename T>
VECML_API T* NEWARRAY(int n);

/// Releases an array from NEWARRAY with the array form of delete; null is
/// ignored.
template <typename T>
VECML_API void DELETEARRAY(T* array) noexcept;

extern template int* NEWARRAY<int>(int);
extern template float* NEWARRAY<float>(int);
extern template double* NEWARRAY<double>(int);
extern template void DELETEARRAY<int>(int*) noexcept;
extern template void DELETEARRAY<float>(float*) noexcept;
extern template void DELETEARRAY<double>(double*) noexcept;

// Numerical helpers. factrl and factln keep process-wide caches and
// gauss_rnd and init_rnd_seed share the C library's generator: callers on
// several threads serialise their uses.

/// ln Gamma(x) from the six-coefficient Lanczos series, good to about 2e-10.
/// requires: x > 0 (other values give NaN, infinities or meaningless
/// numbers).
VECML_API double gammln(double x);

/// n!, from a single-precision table for n <= 32 (so rounded to float) and
/// exp(gammln(n + 1)) above. The table is filled on demand up to n.
/// requires: n >= 0; otherwise aborts with
/// "ML_GEQ_CHK failed in File: <file> Line: <line>. n=<n> < 0" with the
/// position detail::kFactorialArgumentCheck.
VECML_API double factrl(int n);

/// ln n!: 0 for n <= 1, gammln(n + 1) above, cached for n <= 100.
/// requires: n >= 0; otherwise aborts with
/// "ML_GEQ_CHK failed in File: <file> Line: <line>. n=<n> < 0" with the
/// position detail::kLogFactorialArgumentCheck.
VECML_API double factln(int n);

/// Binomial coefficient n over k, rounded to an integral value from
/// exp(factln(n) - factln(k) - factln(n - k)).
/// requires: 0 <= k <= n; otherwise the factln check aborts, reporting the
/// first negative argument among n, k and n - k.
VECML_API double bico(int n, int k);

/// A standard normal deviate by the polar method; consumes at least two
/// rand() values per call and keeps no state between calls.
VECML_API float gauss_rnd();

/// Seeds the C library generator with the current time in seconds.
VECML_API void init_rnd_seed();

/// The k-th smallest (k counted from 1) of arr[0] ... arr[n-1] by
/// quickselect; reorders the array in place so that this element ends at
/// arr[k-1] with no larger element before it and no smaller one after it.
/// NaNs make the order meaningless but never lead outside the array.
/// requires: 1 <= k <= n and arr holds n elements; for k or n outside that
/// range it returns 0 and leaves the array untouched.
template <typename T>
VECML_API T getRank(int k, int n, T* arr);

extern template int getRank<int>(int, int, int*);
extern template float getRank<float>(int, int, float*);
extern template double getRank<double>(int, int, double*);

namespace vecml::detail {

/// Highest n whose n! the factrl table holds (4 before factrl fills more).
VECML_API int factorialTableTop();

/// The ln n! cached by factln for 0 <= n <= 100; 0.0 while not computed
/// and for every other n.
VECML_API double cachedLogFactorial(int n);

}  // namespace vecml::detail

#endif
