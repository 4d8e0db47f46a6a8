// SPDX-License-Identifier: MIT
// Squared Euclidean distances from one sample to many centres at once, the
// centres stored transposed (element i of every centre side by side), so
// that each vector lane carries one centre's running sum. Every sum is
// formed in element order from 0, each step rounded in T, which gives it
// the bits of the two-vector distance kernel without any transposing.
#ifndef VECML_LEARNING_DETAIL_CENTRELANES_H
#define VECML_LEARNING_DETAIL_CENTRELANES_H

#include <cstddef>
#include <limits>

#include "vecml/core/detail/CpuLevel.h"
#include "vecml/core/detail/SimdLanes.h"

namespace vecml::detail {

/// Centres per block of the kernels: the padded centre count is a multiple.
constexpr int kCentreBlock = 32;

/// Computes sums[c] = sum over i = 0 .. n-1, in that order, of
/// (sample[i] - lanes[i * padded + c])^2 for c < padded.
/// \return the smallest of the sums that are not NaN (+infinity when all
///         are NaN); the minimum of exact values is the same in any order.
/// requires: padded a multiple of kCentreBlock; lanes holds n * padded
/// elements and sample n.
template <typename T>
using CentreSumsFunction = T (*)(const T* lanes, int padded, const T* sample,
                                 int n, T* sums);

template <typename T>
T centreSumsBaseline(const T* lanes, int padded, const T* sample, int n,
                     T* sums) {
  T smallest = std::numeric_limits<T>::infinity();
  for (int block = 0; block < padded; block += kCentreBlock) {
    T total[kCentreBlock] = {};
    for (int i = 0; i < n; ++i) {
      const T* row = lanes + std::size_t(i) * std::size_t(padded) + block;
      for (int c = 0; c < kCentreBlock; ++c) {
        const T difference = sample[i] - row[c];
        total[c] = total[c] + difference * difference;
      }
    }
    for (int c = 0; c < kCentreBlock; ++c) {
      sums[block + c] = total[c];
      // A NaN sum fails the comparison and is passed over.
      if (total[c] < smallest) smallest = total[c];
    }
  }
  return smallest;
}

#if VECML_HAVE_X86_KERNELS

// The lane-wise minimum; where the sum is NaN the running value stays (the
// instruction returns its second operand when either is NaN).
VECML_TARGET_AVX2 inline __m256 minimumOf(__m256 sum, __m256 smallest) {
  return _mm256_min_ps(sum, smallest);
}
VECML_TARGET_AVX2 inline __m256d minimumOf(__m256d sum, __m256d smallest) {
  return _mm256_min_pd(sum, smallest);
}

template <typename T>
VECML_TARGET_AVX2 T centreSumsAvx2(const T* lanes, int padded, const T* sample,
                                   int n, T* sums) {
  using Lane = Avx2Lane<T>;
  using Vec = typename Lane::Vec;
  constexpr int kVectors = kCentreBlock / Lane::kWidth;
  Vec smallest = Lane::broadcast(std::numeric_limits<T>::infinity());
  for (int block = 0; block < padded; block += kCentreBlock) {
    Vec total[kVectors];
    for (Vec& sum : total) sum = Lane::zero();
    for (int i = 0; i < n; ++i) {
      const Vec x = Lane::broadcast(sample[i]);
      const T* row = lanes + std::size_t(i) * std::size_t(padded) + block;
      for (int v = 0; v < kVectors; ++v) {
        const Vec difference =
            Lane::subtract(x, Lane::load(row + v * Lane::kWidth));
        total[v] = Lane::add(total[v], Lane::multiply(difference, difference));
      }
    }
    for (int v = 0; v < kVectors; ++v) {
      Lane::store(sums + block + v * Lane::kWidth, total[v]);
      smallest = minimumOf(total[v], smallest);
    }
  }
  T lanesOfSmallest[Lane::kWidth];
  Lane::store(lanesOfSmallest, smallest);
  T result = lanesOfSmallest[0];
  for (const T lane : lanesOfSmallest)
    if (lane < result) result = lane;
  return result;
}

#endif  // VECML_HAVE_X86_KERNELS

/// \return the kernel that cpuLevel() allows (the AVX2 one also on AVX-512
///         processors: the centre blocks are short enough for it).
template <typename T>
CentreSumsFunction<T> centreSumsKernel() {
#if VECML_HAVE_X86_KERNELS
  return choiceForCpu<CentreSumsFunction<T>>(
      cpuLevel(), centreSumsAvx2<T>, centreSumsAvx2<T>, centreSumsBaseline<T>);
#else
  return centreSumsBaseline<T>;
#endif
}

}  // namespace vecml::detail

#endif
