// SPDX-License-Identifier: MIT
// Odometer stepping over an n-dimensional box of counters.
#include <algorithm>
#include <cstddef>
#include <vector>

#include "vecml/matrix/CMatrix.h"

namespace {

// One step of an odometer over the box start..end (end inclusive), the
// last or the first dimension fastest; a dimension that reached its end
// goes back to its start and carries into the next slower one.
template <typename T>
void stepOdometer(const std::vector<T>& start, const std::vector<T>& end,
                  std::vector<T>& counter, bool init, bool lastFastest) {
  const std::size_t dimensions =
      std::min({start.size(), end.size(), counter.size()});
  if (init) {
    std::copy(start.begin(), start.begin() + dimensions, counter.begin());
    return;
  }
  for (std::size_t step = 0; step < dimensions; ++step) {
    const std::size_t k = lastFastest ? dimensions - 1 - step : step;
    if (counter[k] < end[k]) {
      counter[k] += T(1);
      return;
    }
    counter[k] = start[k];
  }
}

}  // namespace

template <typename T>
void nDimFor(const std::vector<T>& start, const std::vector<T>& end,
             std::vector<T>& counter, bool init) {
  stepOdometer(start, end, counter, init, true);
}

template <typename T>
void nDimForReverse(const std::vector<T>& start, const std::vector<T>& end,
                    std::vector<T>& counter, bool init) {
  stepOdometer(start, end, counter, init, false);
}

VECML_FOR_ELEMENT_TYPES(VECML_NDIMFOR_INSTANTIATIONS, template)
