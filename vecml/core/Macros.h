// SPDX-License-Identifier: MIT
// Always-live check macros, the critical-message macro and zero-filled
// array allocation.
#ifndef VECML_CORE_MACROS_H
#define VECML_CORE_MACROS_H

#include <cstdlib>
#include <iostream>

#include "vecml/core/Export.h"
// Declared here before they had a header of their own; clients that reach
// the numerical helpers through this header keep building.
#include "vecml/core/NumericalHelpers.h"
#include "vecml/core/detail/Instantiation.h"
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

/// Allocates \p n elements with the array form of new and sets all their
/// bytes to zero. The array is a plain `new T[n]`: release it with
/// `delete[]`, and hand it to a vector or matrix (`_setData`), which releases
/// it the same way. Its alignment is that of new, nothing more.
/// \throw const char* "Out of memory during allocation of CDenseVector" when
///        no memory is available; std::bad_alloc (bad_array_new_length) for
///        a negative \p n.
template <typename T>
VECML_API T* NEWARRAY(int n);

#define VECML_NEWARRAY_INSTANTIATIONS(INSTANTIATE, T) \
  INSTANTIATE T* NEWARRAY<T>(int);
VECML_FOR_ELEMENT_TYPES(VECML_NEWARRAY_INSTANTIATIONS, extern template)

#endif
