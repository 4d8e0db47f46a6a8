// Always-live check macros, the critical-message macro and zero-filled array
// allocation.
#ifndef VECML_CORE_MACROS_H
#define VECML_CORE_MACROS_H

#include <cstdlib>
#include <iostream>

#include "vecml/core/Export.h"

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

// Evaluates each operand once and reports when `first failsWhen second`.
#define VECML_CHECK_(macro, failsWhen, operatorText, a, b, file, line) \
  do {                                                                 \
    const auto& vecml_check_a_ = (a);                                  \
    const auto& vecml_check_b_ = (b);                                  \
    if (vecml_check_a_ failsWhen vecml_check_b_)                       \
      ::vecml::detail::reportFailedCheck(#macro, file, line, #a,       \
                                         vecml_check_a_, operatorText, \
                                         vecml_check_b_);              \
  } while (false)

// The *_AT forms report a given file name and line instead of the caller's;
// headers whose reported position is part of their interface use them.
#define ML_EQ_CHK_AT(a, b, file, line) \
  VECML_CHECK_(ML_EQ_CHK, !=, " != ", a, b, file, line)
#define ML_LEQ_CHK_AT(a, b, file, line) \
  VECML_CHECK_(ML_LEQ_CHK, >, " > ", a, b, file, line)
#define ML_LS_CHK_AT(a, b, file, line) \
  VECML_CHECK_(ML_LS_CHK, >=, " >= ", a, b, file, line)
#define ML_GEQ_CHK_AT(a, b, file, line) \
  VECML_CHECK_(ML_GEQ_CHK, <, " < ", a, b, file, line)

/// Aborts unless a == b, printing
/// "ML_EQ_CHK failed in File: <file> Line: <line>. <a text>=<a> != <b>".
#define ML_EQ_CHK(a, b) ML_EQ_CHK_AT(a, b, __FILE_NAME__, __LINE__)
/// Aborts when a > b.
#define ML_LEQ_CHK(a, b) ML_LEQ_CHK_AT(a, b, __FILE_NAME__, __LINE__)
/// Aborts when a >= b.
#define ML_LS_CHK(a, b) ML_LS_CHK_AT(a, b, __FILE_NAME__, __LINE__)
/// Aborts when a < b.
#define ML_GEQ_CHK(a, b) ML_GEQ_CHK_AT(a, b, __FILE_NAME__, __LINE__)

#define ML_CRITICAL_MSG_AT(msg, file, line) \
  ::vecml::detail::reportCriticalMessage(file, line, msg)
/// Prints the position and \p msg to the error stream and aborts.
#define ML_CRITICAL_MSG(msg) ML_CRITICAL_MSG_AT(msg, __FILE_NAME__, __LINE__)

/// Allocates \p n elements with new[] and sets all their bytes to zero.
/// \throw const char* "Out of memory during allocation of CDenseVector" when
///        no memory is available; std::bad_alloc (bad_array_new_length) for
///        a negative \p n.
template <typename T>
VECML_API T* NEWARRAY(int n);

extern template int* NEWARRAY<int>(int);
extern template float* NEWARRAY<float>(int);
extern template double* NEWARRAY<double>(int);

#endif
