// SPDX-License-Identifier: MIT
// Text rules shared by reading and writing delimited tables: which
// delimiters are usable, what pads a field, and how numbers are read and
// written (always in the C locale).
#ifndef VECML_DATASET_DETAIL_CSVTEXT_H
#define VECML_DATASET_DETAIL_CSVTEXT_H

#include <charconv>
#include <cmath>
#include <limits>
#include <string>
#include <system_error>
#include <type_traits>

#if !defined(__cpp_lib_to_chars)
#include <locale.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#endif

namespace vecml::detail {

inline std::string csvFileSuffix(const char* fileName) {
  return std::string("; file: ") + fileName;
}

// A delimiter must not be able to occur inside a written number or name
// quote, else the written file would not read back.
inline bool isUsableDelimiter(char c) {
  const bool inNumbers = (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') ||
                         (c >= 'A' && c <= 'Z') || c == '+' || c == '-' ||
                         c == '.';
  return !inNumbers && c != '"' && c != '\r' && c != '\n' && c != '\0';
}

inline std::string delimiterProblem(char delimiter) {
  return "the delimiter '" + std::string(1, delimiter) +
         "' cannot separate numbers";
}

// Spaces and tabs around fields are dropped, unless one is the delimiter.
inline bool isPadding(char c, char delimiter) {
  return (c == ' ' || c == '\t') && c != delimiter;
}

enum class Parsed { kNumber, kNotANumber, kOutOfRange };

#if defined(__cpp_lib_to_chars)

// from_chars reads the C locale's number syntax without a leading '+',
// which is accepted here as strtod accepts it.
template <typename T>
Parsed parseNumber(const std::string& text, T& value) {
  const char* first = text.data();
  const char* const last = first + text.size();
  if (first != last && *first == '+' && ++first != last && *first == '-')
    return Parsed::kNotANumber;
  const std::from_chars_result result = std::from_chars(first, last, value);
  if (result.ptr != last) return Parsed::kNotANumber;
  if (result.ec == std::errc::result_out_of_range) return Parsed::kOutOfRange;
  return result.ec == std::errc() ? Parsed::kNumber : Parsed::kNotANumber;
}

template <typename T>
std::string formatNumber(T value) {
  char buffer[64];
  const std::to_chars_result result = std::to_chars(
      buffer, buffer + sizeof buffer, value, std::chars_format::general,
      std::numeric_limits<T>::max_digits10);
  return std::string(buffer, result.ptr);
}

#else

// Switches the calling thread to the C locale while it exists, so that the
// decimal point is '.' whatever the process locale is.
class CLocaleScope {
 public:
  CLocaleScope() : previous(uselocale(cLocale())) {}
  ~CLocaleScope() { uselocale(previous); }
  CLocaleScope(const CLocaleScope&) = delete;
  CLocaleScope& operator=(const CLocaleScope&) = delete;

 private:
  static locale_t cLocale() {
    static const locale_t locale = newlocale(LC_ALL_MASK, "C", locale_t(0));
    return locale;
  }
  locale_t previous;
};

template <typename T>
T strtoNumber(const char* text, char** end) {
  if constexpr (std::is_same_v<T, float>) return std::strtof(text, end);
  return std::strtod(text, end);
}

// strtod also skips leading white space and reads hexadecimal numbers;
// both are refused so that this path accepts what from_chars accepts.
template <typename T>
Parsed parseNumber(const std::string& text, T& value) {
  const std::size_t digits = text.find_first_not_of("+-");
  if (text.empty() || text[0] == ' ' || text[0] == '\t' ||
      (digits != std::string::npos &&
       text.compare(digits, 2, "0x") * text.compare(digits, 2, "0X") == 0))
    return Parsed::kNotANumber;
  CLocaleScope cLocale;
  char* end = nullptr;
  errno = 0;
  const T parsed = strtoNumber<T>(text.c_str(), &end);
  if (end != text.c_str() + text.size()) return Parsed::kNotANumber;
  if (errno == ERANGE && (std::isinf(parsed) || parsed == 0))
    return Parsed::kOutOfRange;
  value = parsed;
  return Parsed::kNumber;
}

template <typename T>
std::string formatNumber(T value) {
  CLocaleScope cLocale;
  char buffer[64];
  const int length =
      std::snprintf(buffer, sizeof buffer, "%.*g",
                    std::numeric_limits<T>::max_digits10, double(value));
  return std::string(buffer, std::size_t(length));
}

#endif

}  // namespace vecml::detail

#endif
