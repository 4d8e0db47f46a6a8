// SPDX-License-Identifier: MIT
// Read access to the numerical helpers' process-wide caches, for tests.
#ifndef VECML_CORE_DETAIL_NUMERICALHELPERCACHES_H
#define VECML_CORE_DETAIL_NUMERICALHELPERCACHES_H

#include "vecml/core/Export.h"

namespace vecml::detail {

/// Highest n whose n! the factrl table holds (4 before factrl fills more).
VECML_API int factorialTableTop();

/// The ln n! cached by factln for 0 <= n <= 100; 0.0 while not computed
/// and for every other n.
VECML_API double cachedLogFactorial(int n);

}  // namespace vecml::detail

#endif
