// Targets of memory-safe access outside an object's storage: reads get a
// shared 0, writes land in a per-thread sink that is reset on every use.
#ifndef VECML_CORE_DETAIL_OUTOFRANGE_H
#define VECML_CORE_DETAIL_OUTOFRANGE_H

#include "vecml/core/Export.h"

namespace vecml::detail {

/// \return a reference to a 0 of type T.
template <typename T>
VECML_API const T& zeroElement();

/// \return a reference to this thread's sink, set to 0; what is written
///         through it is dropped.
template <typename T>
VECML_API T& discardedElement();

extern template const int& zeroElement<int>();
extern template const float& zeroElement<float>();
extern template const double& zeroElement<double>();
extern template int& discardedElement<int>();
extern template float& discardedElement<float>();
extern template double& discardedElement<double>();

}  // namespace vecml::detail

#endif
