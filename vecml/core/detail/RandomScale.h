// SPDX-License-Identifier: MIT
// The scale that maps the C library generator's values into [0, 1].
#ifndef VECML_CORE_DETAIL_RANDOMSCALE_H
#define VECML_CORE_DETAIL_RANDOMSCALE_H

namespace vecml::detail {

/// 2^-31: rand() * kRandScale lies in [0, 1) for this C library, whose
/// RAND_MAX is 2^31 - 1; a draw rounded up on the way (as a float) reaches 1.
inline constexpr double kRandScale = 1.0 / 2147483648.0;

}  // namespace vecml::detail

#endif
