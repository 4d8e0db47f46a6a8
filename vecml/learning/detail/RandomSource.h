// SPDX-License-Identifier: MIT
// The random numbers of the learning algorithms: a seeded 64-bit Mersenne
// Twister whose draws are turned into numbers by fixed arithmetic, so that a
// seed gives the same run with every compiler and standard library (the
// standard distributions may differ between implementations). It never
// touches the C library's generator, which other parts of vecml reseed.
#ifndef VECML_LEARNING_DETAIL_RANDOMSOURCE_H
#define VECML_LEARNING_DETAIL_RANDOMSOURCE_H

#include <cmath>
#include <cstdint>
#include <random>

namespace vecml::detail {

class RandomSource {
 public:
  explicit RandomSource(std::uint64_t seed) : engine(seed) {}

  /// \return a double in [0, 1) with 53 random bits.
  double uniform() { return static_cast<double>(engine() >> 11) * 0x1.0p-53; }

  /// \return an integer in [0, count), each with the same probability up to
  ///         2^-53. requires: count > 0.
  int index(int count) {
    const int drawn = static_cast<int>(uniform() * count);
    return drawn < count ? drawn : count - 1;
  }

  /// \return a standard normal value (Box-Muller, one draw of two uniforms
  ///         per value).
  double normal() {
    const double radius = std::sqrt(-2.0 * std::log1p(-uniform()));
    return radius * std::cos(2.0 * 3.14159265358979323846 * uniform());
  }

 private:
  std::mt19937_64 engine;
};

}  // namespace vecml::detail

#endif
