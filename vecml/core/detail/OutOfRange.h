// SPDX-License-Identifier: MIT
// Targets of memory-safe access outside an object's storage: reads get a
// shared 0, writes land in a per-thread sink that is reset on every use.
#ifndef VECML_CORE_DETAIL_OUTOFRANGE_H
#define VECML_CORE_DETAIL_OUTOFRANGE_H

#include "vecml/core/Export.h"
#include "vecml/core/detail/Instantiation.h"

namespace vecml::detail {

/// \return a reference to a 0 of type T.
template <typename T>
VECML_API const T& zeroElement();

/// \return a reference to this thread's sink, set to 0; what is written
///         through it is dropped.
template <typename T>
VECML_API T& discardedElement();

#define VECML_OUT_OF_RANGE_INSTANTIATIONS(INSTANTIATE, T) \
  INSTANTIATE const T& zeroElement<T>();                  \
  INSTANTIATE T& discardedElement<T>();
VECML_FOR_ELEMENT_TYPES(VECML_OUT_OF_RANGE_INSTANTIATIONS, extern template)

}  // namespace vecml::detail

#endif
