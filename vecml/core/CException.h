// SPDX-License-Identifier: MIT
// The library's exception type.
#ifndef VECML_CORE_CEXCEPTION_H
#define VECML_CORE_CEXCEPTION_H

#include <exception>
#include <string>

#include "vecml/core/Export.h"

/// Exception carrying a formatted message.
///
/// Every what() call writes "getting message" and every destruction writes
/// "destructor " to standard output, each on its own line, so that a client
/// can trace where exceptions pass.
class VECML_API CException : public std::exception {
 public:
  /// Takes \p message as it stands.
  explicit CException(const std::string& message);

  /// Formats like printf into a 1000-byte buffer.
  /// requires: the formatted text has at most 999 characters; a longer one
  ///           ends the process rather than being cut short.
  explicit CException(const char* format, ...)
      __attribute__((format(printf, 2, 3)));

  CException(const CException&) = default;
  CException& operator=(const CException&) = default;
  ~CException() override;

  /// Writes "getting message" to standard output.
  /// \return the stored message.
  const char* what() const noexcept override;

 private:
  std::string message;
};

#endif
