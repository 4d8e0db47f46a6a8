// SPDX-License-Identifier: MIT
// The settings of the online prototype learners: map shape, seed, and the
// decaying step size and neighbourhood range. Installed with the public
// headers, whose classes hold them.
#ifndef VECML_LEARNING_DETAIL_ONLINESETTINGS_H
#define VECML_LEARNING_DETAIL_ONLINESETTINGS_H

#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "vecml/core/Macros.h"
#include "vecml/dataset/CDataset.h"

namespace vecml::detail {

/// A value that decays exponentially from start to end over a run of
/// sample steps.
struct Decay {
  double start;
  double end;

  /// start * (end / start)^(step / (steps - 1)), all in double: start at
  /// step 0, end at step steps - 1. With one step or none, start.
  double at(std::int64_t step, std::int64_t steps) const {
    if (steps <= 1) return start;
    const double exponent =
        static_cast<double>(step) / static_cast<double>(steps - 1);
    return start * std::pow(end / start, exponent);
  }
};

/// \return the decay from \p start to \p end. Aborts with an ML_EQ_CHK
///         report unless both are positive and finite (NaN and infinities
///         are refused too).
inline Decay checkedDecay(double start, double end) {
  const bool startPositiveAndFinite = std::isfinite(start) && start > 0.0;
  ML_EQ_CHK(startPositiveAndFinite, true);
  const bool endPositiveAndFinite = std::isfinite(end) && end > 0.0;
  ML_EQ_CHK(endPositiveAndFinite, true);
  return {start, end};
}

/// What an online learner stores besides its prototypes.
struct OnlineSettings {
  /// The prototype layout: {count} for a gas, {rows, columns} for a map.
  std::vector<std::int32_t> shape;
  std::uint64_t seed;
  Decay stepSize;
  Decay range;

  /// The number of prototypes the shape describes (the product).
  std::int64_t units() const {
    std::int64_t product = 1;
    for (std::int32_t extent : shape) product *= extent;
    return product;
  }

  /// True when every extent is at least 1, the units fit an int, and every
  /// decay value is positive and finite.
  bool valid() const {
    for (std::int32_t extent : shape) {
      if (extent < 1) return false;
    }
    const auto positiveFinite = [](double v) {
      return std::isfinite(v) && v > 0.0;
    };
    return units() <= std::numeric_limits<int>::max() &&
           positiveFinite(stepSize.start) && positiveFinite(stepSize.end) &&
           positiveFinite(range.start) && positiveFinite(range.end);
  }

  /// True when \p prototypes fit these settings: none (not trained yet), or
  /// units() of them with one input dimension.
  template <typename T>
  bool fits(const CDataset<T>& prototypes) const {
    if (prototypes.items() == 0) return true;
    if (prototypes.items() != units()) return false;
    const int dimension = prototypes.inputDimension();
    for (int i = 1; i < prototypes.items(); ++i) {
      if (prototypes.item(i).inputVector()->dimension() != dimension)
        return false;
    }
    return true;
  }
};

}  // namespace vecml::detail

#endif
