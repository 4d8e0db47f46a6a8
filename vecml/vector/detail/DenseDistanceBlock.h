// SPDX-License-Identifier: MIT
// Squared Euclidean distances from one query to a block of dense rows, for
// best-match searches. A single distance is a sequential sum and cannot be
// split, but the rows of a block are independent: with vector registers
// each lane carries one row's running sum, so a search overlaps many rows'
// dependency chains while every row keeps the exact order (and bits) of the
// two-vector kernel.
#ifndef VECML_VECTOR_DETAIL_DENSEDISTANCEBLOCK_H
#define VECML_VECTOR_DETAIL_DENSEDISTANCEBLOCK_H

#include "vecml/core/detail/CpuLevel.h"

#include "vecml/core/detail/SimdLanes.h"

namespace vecml::detail {

/// The most rows any kernel's block holds; callers size their buffers by it.
constexpr int kMaxDistanceBlock = 32;

/// Computes sums[k] = sum over j = 0 .. n-1, in that order, of
/// (query[j] - rows[k][j]) * (query[j] - rows[k][j]), each step rounded in T,
/// for every k below the kernel's block size.
/// requires: every rows[k] and query point to n readable elements.
template <typename T>
using DenseDistanceFunction = void (*)(const T* const* rows, const T* query,
                                       int n, T* sums);

/// A block kernel and the number of rows it takes per call.
template <typename T>
struct DenseDistanceKernel {
  int blockSize;
  DenseDistanceFunction<T> compute;
};

/// Continues sums[k] for k < count over the elements from .. n-1, row by
/// row, with the kernels' arithmetic.
template <typename T>
[[gnu::always_inline]] inline void continueSquaredDistances(
    const T* const* rows, const T* query, int from, int n, int count, T* sums) {
  for (int k = 0; k < count; ++k) {
    const T* row = rows[k];
    T sum = sums[k];
    for (int j = from; j < n; ++j) {
      const T difference = query[j] - row[j];
      sum = sum + difference * difference;
    }
    sums[k] = sum;
  }
}

// Rows per block of the plain kernel: the processor overlaps the rows'
// chains by itself.
constexpr int kBaselineDistanceBlock = 8;

template <typename T>
void squaredDistancesBaseline(const T* const* rows, const T* query, int n,
                              T* sums) {
  for (int k = 0; k < kBaselineDistanceBlock; ++k) sums[k] = 0;
  continueSquaredDistances(rows, query, 0, n, kBaselineDistanceBlock, sums);
}

#if VECML_HAVE_X86_KERNELS

#define VECML_TRANSPOSE_ VECML_TARGET_AVX2 __attribute__((always_inline)) inline

// Transposes a square of registers (rows in, columns out: register j then
// holds element j of every row).
VECML_TRANSPOSE_ void transposeLanes(__m256 (&r)[8]) {
  __m256 pairs[8];
  for (int i = 0; i < 8; i += 2) {
    pairs[i] = _mm256_unpacklo_ps(r[i], r[i + 1]);
    pairs[i + 1] = _mm256_unpackhi_ps(r[i], r[i + 1]);
  }
  __m256 quads[8];
  for (int h = 0; h < 8; h += 4) {
    quads[h] = _mm256_shuffle_ps(pairs[h], pairs[h + 2], 0x44);
    quads[h + 1] = _mm256_shuffle_ps(pairs[h], pairs[h + 2], 0xee);
    quads[h + 2] = _mm256_shuffle_ps(pairs[h + 1], pairs[h + 3], 0x44);
    quads[h + 3] = _mm256_shuffle_ps(pairs[h + 1], pairs[h + 3], 0xee);
  }
  for (int j = 0; j < 4; ++j) {
    r[j] = _mm256_permute2f128_ps(quads[j], quads[j + 4], 0x20);
    r[j + 4] = _mm256_permute2f128_ps(quads[j], quads[j + 4], 0x31);
  }
}

VECML_TRANSPOSE_ void transposeLanes(__m256d (&r)[4]) {
  const __m256d low01 = _mm256_unpacklo_pd(r[0], r[1]);
  const __m256d high01 = _mm256_unpackhi_pd(r[0], r[1]);
  const __m256d low23 = _mm256_unpacklo_pd(r[2], r[3]);
  const __m256d high23 = _mm256_unpackhi_pd(r[2], r[3]);
  r[0] = _mm256_permute2f128_pd(low01, low23, 0x20);
  r[1] = _mm256_permute2f128_pd(high01, high23, 0x20);
  r[2] = _mm256_permute2f128_pd(low01, low23, 0x31);
  r[3] = _mm256_permute2f128_pd(high01, high23, 0x31);
}

#undef VECML_TRANSPOSE_

// Independent groups of kWidth rows per block: each group's sums form one
// chain of additions, and a few chains in flight keep the adders busy.
constexpr int kDistanceGroups = 4;

// The rows' squares (query - row)^2 for kWidth elements are formed in
// row registers, transposed into one register per element and added to the
// group's sums element by element, in order; the last n % kWidth elements
// continue each sum row by row.
template <typename T>
VECML_TARGET_AVX2 __attribute__((always_inline)) inline void
squaredDistanceGroups(const T* const* rows, const T* query, int n, T* sums) {
  using Lane = Avx2Lane<T>;
  using Vec = typename Lane::Vec;
  constexpr int kWidth = Lane::kWidth;
  Vec total[kDistanceGroups];
  for (Vec& sum : total) sum = Lane::zero();
  const int vectorEnd = n - n % kWidth;
  for (int j = 0; j < vectorEnd; j += kWidth) {
    const Vec q = Lane::load(query + j);
    for (int group = 0; group < kDistanceGroups; ++group) {
      Vec squares[kWidth];
      for (int lane = 0; lane < kWidth; ++lane) {
        const Vec difference =
            Lane::subtract(q, Lane::load(rows[group * kWidth + lane] + j));
        squares[lane] = Lane::multiply(difference, difference);
      }
      transposeLanes(squares);
      for (const Vec& square : squares)
        total[group] = Lane::add(total[group], square);
    }
  }
  for (int group = 0; group < kDistanceGroups; ++group)
    Lane::store(sums + group * kWidth, total[group]);
  continueSquaredDistances(rows, query, vectorEnd, n, kDistanceGroups * kWidth,
                           sums);
}

template <typename T>
constexpr int avx2DistanceBlock() {
  return Avx2Lane<T>::kWidth * kDistanceGroups;
}
static_assert(avx2DistanceBlock<float>() <= kMaxDistanceBlock);

template <typename T>
VECML_TARGET_AVX2 void squaredDistancesAvx2(const T* const* rows,
                                            const T* query, int n, T* sums) {
  squaredDistanceGroups(rows, query, n, sums);
}

// The same 256-bit kernel; compiled for AVX-512 it has twice the registers.
template <typename T>
VECML_TARGET_AVX512 void squaredDistancesAvx512(const T* const* rows,
                                                const T* query, int n,
                                                T* sums) {
  squaredDistanceGroups(rows, query, n, sums);
}

#endif  // VECML_HAVE_X86_KERNELS

/// \return the block kernel that cpuLevel() allows (T float or double).
template <typename T>
DenseDistanceKernel<T> denseDistanceKernel() {
  const DenseDistanceKernel<T> baseline{kBaselineDistanceBlock,
                                        squaredDistancesBaseline<T>};
#if VECML_HAVE_X86_KERNELS
  return choiceForCpu<DenseDistanceKernel<T>>(
      cpuLevel(), {avx2DistanceBlock<T>(), squaredDistancesAvx512<T>},
      {avx2DistanceBlock<T>(), squaredDistancesAvx2<T>}, baseline);
#else
  return baseline;
#endif
}

}  // namespace vecml::detail

#endif
