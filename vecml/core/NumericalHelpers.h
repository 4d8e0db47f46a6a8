// SPDX-License-Identifier: MIT
// Numerical helpers: ln Gamma, factorials and binomial coefficients, a
// standard normal deviate, seeding of the C library generator and k-th
// smallest selection.
#ifndef VECML_CORE_NUMERICALHELPERS_H
#define VECML_CORE_NUMERICALHELPERS_H

#include "vecml/core/Export.h"
#include "vecml/core/detail/Instantiation.h"

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

#define VECML_GETRANK_INSTANTIATIONS(INSTANTIATE, T) \
  INSTANTIATE T getRank<T>(int, int, T*);
VECML_FOR_ELEMENT_TYPES(VECML_GETRANK_INSTANTIATIONS, extern template)

#endif
