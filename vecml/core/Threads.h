// SPDX-License-Identifier: MIT
// The number of threads the library's heavy operations use.
//
// Matrix products, matrix-by-vector products, best-match searches, dataset
// statistics and transformations and dataset reading split their work over
// this many threads (OpenMP). Every result is bit-identical for any thread
// count: the work is split into independent outputs (elements, features,
// items), each computed exactly as on one thread. A call made from inside
// a parallel region of the caller runs on the calling thread only, and so
// does work too small to repay starting threads.
#ifndef VECML_CORE_THREADS_H
#define VECML_CORE_THREADS_H

#include "vecml/core/Export.h"

/// Sets the number of threads for later calls from any thread. \p n >= 1
/// is used as given, even above the processor count; \p n <= 0 restores the
/// default: the environment variable VECML_NUM_THREADS, else
/// OMP_NUM_THREADS (its first entry), else the number of processors this
/// process may run on. Environment values that are not positive integers
/// are ignored. One thread runs the serial code and starts no threads.
VECML_API void setNumThreads(int n);

/// \return the number of threads the library's parallel operations use
///         (always >= 1).
VECML_API int getNumThreads();

#endif
