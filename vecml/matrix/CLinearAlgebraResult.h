// SPDX-License-Identifier: MIT
// Outcome of a linear-algebra routine: a status code and a message.
#ifndef VECML_MATRIX_CLINEARALGEBRARESULT_H
#define VECML_MATRIX_CLINEARALGEBRARESULT_H

#include <string>
#include <utility>

#include "vecml/core/Export.h"

/// Why a linear-algebra routine failed, or LA_SUCCESS.
enum LINALG_STATUS {
  LA_SUCCESS = 0,
  LA_INVALID_SHAPE = 1,
  LA_NOT_FINITE = 2,
  LA_SINGULAR = 3,
  LA_NOT_POSITIVE_DEFINITE = 4,
  LA_NOT_CONVERGED = 5
};

/// Outcome of a linear-algebra routine (symmetricEigen(), svd(), cholesky(),
/// solve(), inverse()). A failed routine has left its outputs as they were;
/// message() then says in one sentence which routine failed and why.
///
/// \code
///   CLinearAlgebraResult result = cholesky(a, lower);
///   if (!result) std::cerr << result.message() << '\n';
/// \endcode
class VECML_API CLinearAlgebraResult {
 public:
  /// Success, with an empty message.
  CLinearAlgebraResult() : code(LA_SUCCESS) {}
  CLinearAlgebraResult(LINALG_STATUS status, std::string message)
      : code(status), text(std::move(message)) {}

  LINALG_STATUS status() const { return code; }
  /// \return "" on success, else one sentence naming the routine and cause.
  const std::string& message() const { return text; }
  /// \return status() == LA_SUCCESS.
  bool ok() const { return code == LA_SUCCESS; }
  /// \return ok().
  explicit operator bool() const { return ok(); }

 private:
  LINALG_STATUS code;
  std::string text;
};

#endif
