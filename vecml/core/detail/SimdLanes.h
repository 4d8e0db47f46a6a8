// SPDX-License-Identifier: MIT
// One vector register of float or double and the few operations the
// library's kernels need (matrix product, distance blocks), for each wide
// instruction set. Every operation
// carries its set's target attribute, so it inlines only into functions
// compiled for that set (see vecml/core/detail/CpuLevel.h).
#ifndef VECML_CORE_DETAIL_SIMDLANES_H
#define VECML_CORE_DETAIL_SIMDLANES_H

#include "vecml/core/detail/CpuLevel.h"

#if VECML_HAVE_X86_KERNELS
#include <immintrin.h>

#define VECML_LANE_AVX2_ VECML_TARGET_AVX2 __attribute__((always_inline)) static
#define VECML_LANE_AVX512_ \
  VECML_TARGET_AVX512 __attribute__((always_inline)) static

namespace vecml::detail {

template <typename T>
struct Avx2Lane;

template <>
struct Avx2Lane<float> {
  using Element = float;
  using Vec = __m256;
  static constexpr int kWidth = 8;
  VECML_LANE_AVX2_ Vec zero() { return _mm256_setzero_ps(); }
  VECML_LANE_AVX2_ Vec load(const float* p) { return _mm256_loadu_ps(p); }
  VECML_LANE_AVX2_ void store(float* p, Vec v) { _mm256_storeu_ps(p, v); }
  VECML_LANE_AVX2_ Vec broadcast(float x) { return _mm256_set1_ps(x); }
  VECML_LANE_AVX2_ Vec fma(Vec a, Vec b, Vec c) {
    return _mm256_fmadd_ps(a, b, c);
  }
  VECML_LANE_AVX2_ Vec add(Vec a, Vec b) { return _mm256_add_ps(a, b); }
  VECML_LANE_AVX2_ Vec subtract(Vec a, Vec b) { return _mm256_sub_ps(a, b); }
  VECML_LANE_AVX2_ Vec multiply(Vec a, Vec b) { return _mm256_mul_ps(a, b); }
};

template <>
struct Avx2Lane<double> {
  using Element = double;
  using Vec = __m256d;
  static constexpr int kWidth = 4;
  VECML_LANE_AVX2_ Vec zero() { return _mm256_setzero_pd(); }
  VECML_LANE_AVX2_ Vec load(const double* p) { return _mm256_loadu_pd(p); }
  VECML_LANE_AVX2_ void store(double* p, Vec v) { _mm256_storeu_pd(p, v); }
  VECML_LANE_AVX2_ Vec broadcast(double x) { return _mm256_set1_pd(x); }
  VECML_LANE_AVX2_ Vec fma(Vec a, Vec b, Vec c) {
    return _mm256_fmadd_pd(a, b, c);
  }
  VECML_LANE_AVX2_ Vec add(Vec a, Vec b) { return _mm256_add_pd(a, b); }
  VECML_LANE_AVX2_ Vec subtract(Vec a, Vec b) { return _mm256_sub_pd(a, b); }
  VECML_LANE_AVX2_ Vec multiply(Vec a, Vec b) { return _mm256_mul_pd(a, b); }
};

template <typename T>
struct Avx512Lane;

template <>
struct Avx512Lane<float> {
  using Element = float;
  using Vec = __m512;
  static constexpr int kWidth = 16;
  VECML_LANE_AVX512_ Vec zero() { return _mm512_setzero_ps(); }
  VECML_LANE_AVX512_ Vec load(const float* p) { return _mm512_loadu_ps(p); }
  VECML_LANE_AVX512_ void store(float* p, Vec v) { _mm512_storeu_ps(p, v); }
  VECML_LANE_AVX512_ Vec broadcast(float x) { return _mm512_set1_ps(x); }
  VECML_LANE_AVX512_ Vec fma(Vec a, Vec b, Vec c) {
    return _mm512_fmadd_ps(a, b, c);
  }
};

template <>
struct Avx512Lane<double> {
  using Element = double;
  using Vec = __m512d;
  static constexpr int kWidth = 8;
  VECML_LANE_AVX512_ Vec zero() { return _mm512_setzero_pd(); }
  VECML_LANE_AVX512_ Vec load(const double* p) { return _mm512_loadu_pd(p); }
  VECML_LANE_AVX512_ void store(double* p, Vec v) { _mm512_storeu_pd(p, v); }
  VECML_LANE_AVX512_ Vec broadcast(double x) { return _mm512_set1_pd(x); }
  VECML_LANE_AVX512_ Vec fma(Vec a, Vec b, Vec c) {
    return _mm512_fmadd_pd(a, b, c);
  }
};

}  // namespace vecml::detail

#undef VECML_LANE_AVX512_
#undef VECML_LANE_AVX2_

#endif  // VECML_HAVE_X86_KERNELS

#endif
