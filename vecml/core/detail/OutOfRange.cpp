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

template const int& zeroElement<int>();
template const float& zeroElement<float>();
template const double& zeroElement<double>();
template int& discardedElement<int>();
template float& discardedElement<float>();
template double& discardedElement<double>();

}  // namespace vecml::detail
