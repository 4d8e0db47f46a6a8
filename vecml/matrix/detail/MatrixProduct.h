// Column-major matrix product whose every element is the sequential fused
// sum c(i, j) = fma(a(i, K-1), b(K-1, j), ... fma(a(i, 0), b(0, j), 0)).
//
// Blocking over rows and columns and vectorising over rows never reorders
// any element's own sum, and a fused multiply-add rounds the same way in
// every instruction set, so all paths give bit-identical results. Processors
// with AVX2 and FMA run register tiles; others run the plain column loop.
#ifndef VECML_MATRIX_DETAIL_MATRIXPRODUCT_H
#define VECML_MATRIX_DETAIL_MATRIXPRODUCT_H

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
#define VECML_PRODUCT_AVX2 1
#include <immintrin.h>
#endif

namespace vecml::detail {

// Operands of c = a * b: a is m x depth (leading dimension m), b is
// depth x n with column stride ldb >= depth, c is m x n (leading dimension
// m) and receives the result.
template <typename T>
struct ProductOperands {
  const T* a;
  const T* b;
  T* c;
  std::ptrdiff_t m, depth, n, ldb;
};

// Rows first..m-1 of column j, one fused step per k, vectorised over rows.
template <typename T>
inline __attribute__((always_inline)) void productColumn(
    const ProductOperands<T>& p, std::ptrdiff_t j, std::ptrdiff_t first) {
  T* c = p.c + j * p.m;
  std::fill(c + first, c + p.m, T(0));
  for (std::ptrdiff_t k = 0; k < p.depth; ++k) {
    const T bkj = p.b[k + j * p.ldb];
    const T* ak = p.a + k * p.m;
    for (std::ptrdiff_t i = first; i < p.m; ++i)
      c[i] = std::fma(ak[i], bkj, c[i]);
  }
}

template <typename T>
void productByColumns(const ProductOperands<T>& p) {
  for (std::ptrdiff_t j = 0; j < p.n; ++j) productColumn(p, j, 0);
}

#ifdef VECML_PRODUCT_AVX2

#define VECML_AVX2_FMA_ __attribute__((target("avx2,fma")))
#define VECML_AVX2_FMA_INLINE_ \
  __attribute__((target("avx2,fma"), always_inline)) inline

// One 256-bit register of T and the operations a tile needs.
template <typename T>
struct Avx2Lane;

template <>
struct Avx2Lane<double> {
  using Vec = __m256d;
  static constexpr int kWidth = 4;
  VECML_AVX2_FMA_INLINE_ static Vec zero() { return _mm256_setzero_pd(); }
  VECML_AVX2_FMA_INLINE_ static Vec load(const double* p) {
    return _mm256_loadu_pd(p);
  }
  VECML_AVX2_FMA_INLINE_ static Vec broadcast(double x) {
    return _mm256_set1_pd(x);
  }
  VECML_AVX2_FMA_INLINE_ static Vec fma(Vec a, Vec b, Vec c) {
    return _mm256_fmadd_pd(a, b, c);
  }
  VECML_AVX2_FMA_INLINE_ static void store(double* p, Vec v) {
    _mm256_storeu_pd(p, v);
  }
};

template <>
struct Avx2Lane<float> {
  using Vec = __m256;
  static constexpr int kWidth = 8;
  VECML_AVX2_FMA_INLINE_ static Vec zero() { return _mm256_setzero_ps(); }
  VECML_AVX2_FMA_INLINE_ static Vec load(const float* p) {
    return _mm256_loadu_ps(p);
  }
  VECML_AVX2_FMA_INLINE_ static Vec broadcast(float x) {
    return _mm256_set1_ps(x);
  }
  VECML_AVX2_FMA_INLINE_ static Vec fma(Vec a, Vec b, Vec c) {
    return _mm256_fmadd_ps(a, b, c);
  }
  VECML_AVX2_FMA_INLINE_ static void store(float* p, Vec v) {
    _mm256_storeu_ps(p, v);
  }
};

// A tile is kTileRows rows (two registers) by kTileColumns columns of c,
// held in registers for the whole k loop.
template <typename T>
constexpr std::ptrdiff_t kTileRows = 2 * Avx2Lane<T>::kWidth;
constexpr std::ptrdiff_t kTileColumns = 4;
// Rows per block: a block of a (packed) stays in the level-2 cache while
// every column tile of b passes over it.
constexpr std::size_t kBlockBytes = std::size_t(1) << 17;

// c(i0.., j0..) tile from a packed panel: the tile's rows of a, k-major.
template <typename T>
VECML_AVX2_FMA_INLINE_ void productTile(const ProductOperands<T>& p,
                                        const T* panel, std::ptrdiff_t i0,
                                        std::ptrdiff_t j0) {
  using Lane = Avx2Lane<T>;
  typename Lane::Vec upper[kTileColumns], lower[kTileColumns];
  for (int jj = 0; jj < kTileColumns; ++jj)
    upper[jj] = lower[jj] = Lane::zero();
  const T* b = p.b + j0 * p.ldb;
  for (std::ptrdiff_t k = 0; k < p.depth; ++k) {
    const typename Lane::Vec a0 = Lane::load(panel + k * kTileRows<T>);
    const typename Lane::Vec a1 =
        Lane::load(panel + k * kTileRows<T> + Lane::kWidth);
    for (int jj = 0; jj < kTileColumns; ++jj) {
      const typename Lane::Vec bkj = Lane::broadcast(b[k + jj * p.ldb]);
      upper[jj] = Lane::fma(a0, bkj, upper[jj]);
      lower[jj] = Lane::fma(a1, bkj, lower[jj]);
    }
  }
  for (int jj = 0; jj < kTileColumns; ++jj) {
    T* c = p.c + i0 + (j0 + jj) * p.m;
    Lane::store(c, upper[jj]);
    Lane::store(c + Lane::kWidth, lower[jj]);
  }
}

// Copies rows i0..i0+kTileRows-1 of a into panel, k-major, so a tile reads
// a contiguously instead of with stride m.
template <typename T>
VECML_AVX2_FMA_INLINE_ void packPanel(const ProductOperands<T>& p,
                                      std::ptrdiff_t i0, T* panel) {
  for (std::ptrdiff_t k = 0; k < p.depth; ++k)
    std::copy(p.a + i0 + k * p.m, p.a + i0 + k * p.m + kTileRows<T>,
              panel + k * kTileRows<T>);
}

template <typename T>
VECML_AVX2_FMA_ void productAvx2(const ProductOperands<T>& p) {
  const std::ptrdiff_t tiledRows = p.m - p.m % kTileRows<T>;
  const std::ptrdiff_t tiledColumns = p.n - p.n % kTileColumns;
  const std::ptrdiff_t blockRows = std::max<std::ptrdiff_t>(
      kTileRows<T>,
      static_cast<std::ptrdiff_t>(
          kBlockBytes / (sizeof(T) * std::max<std::ptrdiff_t>(p.depth, 1))) /
          kTileRows<T> * kTileRows<T>);
  std::vector<T> packed(
      static_cast<std::size_t>(std::min(blockRows, tiledRows) * p.depth));
  for (std::ptrdiff_t r0 = 0; r0 < tiledRows; r0 += blockRows) {
    const std::ptrdiff_t r1 = std::min(tiledRows, r0 + blockRows);
    for (std::ptrdiff_t i0 = r0; i0 < r1; i0 += kTileRows<T>)
      packPanel(p, i0, packed.data() + (i0 - r0) * p.depth);
    for (std::ptrdiff_t j0 = 0; j0 < tiledColumns; j0 += kTileColumns)
      for (std::ptrdiff_t i0 = r0; i0 < r1; i0 += kTileRows<T>)
        productTile(p, packed.data() + (i0 - r0) * p.depth, i0, j0);
  }
  for (std::ptrdiff_t j = 0; j < p.n; ++j)
    productColumn(p, j, j < tiledColumns ? tiledRows : 0);
}

#undef VECML_AVX2_FMA_INLINE_
#undef VECML_AVX2_FMA_

inline bool cpuHasAvx2Fma() {
  static const bool supported =
      __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
  return supported;
}

#endif  // VECML_PRODUCT_AVX2

/// c = a * b as described at the top of this file; int is not supported.
template <typename T>
void multiplyColumnMajor(const ProductOperands<T>& p) {
  if (p.m <= 0 || p.n <= 0) return;
#ifdef VECML_PRODUCT_AVX2
  if (cpuHasAvx2Fma()) return productAvx2(p);
#endif
  productByColumns(p);
}

}  // namespace vecml::detail

#endif
