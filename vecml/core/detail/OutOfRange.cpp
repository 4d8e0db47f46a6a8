// SPDX-License-Identifier: MIT
#include "vecml/core/detail/OutOfRange.h"

namespace vecml::detail {

template <typename T>
const T& zeroElement() {
  static const T zero = 0;
  return zero;
}

template <typename T>
T& discardedElement() {
  thread_local T sink;
  sink = 0;
  return sink;
}

VECML_FOR_ELEMENT_TYPES(VECML_OUT_OF_RANGE_INSTANTIATIONS, template)

}  // namespace vecml::detail
