// SPDX-License-Identifier: MIT
#include "vecml/core/CException.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <iostream>

namespace {

// Size of the formatting buffer; the message may use all but the terminator.
constexpr int kMessageBufferSize = 1000;

}  // namespace

CException::CException(const std::string& text) : message(text) {}

CException::CException(const char* format, ...) {
  char buffer[kMessageBufferSize];
  va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(buffer, sizeof buffer, format, arguments);
  va_end(arguments);
  // A message is never silently cut short: an over-long one is a programming
  // error in the thrower.
  if (length < 0 || length >= kMessageBufferSize) {
    std::cerr << "CException: message does not fit into "
              << kMessageBufferSize - 1 << " characters" << std::endl;
    std::abort();
  }
  message.assign(buffer, static_cast<std::size_t>(length));
}

CException::~CException() { std::cout << "destructor " << std::endl; }

const char* CException::what() const noexcept {
  std::cout << "getting message" << std::endl;
  return message.c_str();
}
