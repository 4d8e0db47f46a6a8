// SPDX-License-Identifier: MIT
// The vector kernels of PackedTriangle: a block of item vectors applied, one
// item after the other, to a range of packed columns, one register at a
// time.
//
// Every path applies the same correctly rounded operations to every element
// in the same order (no reassociation, no fusing), so the baseline, AVX2 and
// AVX-512 paths give the same bits.
#ifndef VECML_DATASET_DETAIL_TRIANGLESWEEP_H
#define VECML_DATASET_DETAIL_TRIANGLESWEEP_H

#include <cstddef>
#include <cstring>

#include "vecml/core/detail/CacheLineArray.h"
#include "vecml/core/detail/CpuLevel.h"

#if VECML_HAVE_X86_KERNELS
#include <immintrin.h>
#endif

namespace vecml::detail {

/// Rows of a packed column are padded to a multiple of this many elements:
/// the doubles in the widest register a path uses (64 bytes), so that every
/// path's sweep comes out even.
inline constexpr int kTriangleBlock = 8;

/// One register of `Bytes` bytes of doubles (Wide) and the same number of
/// elements of T (Narrow).
template <typename T, int Bytes>
struct Lanes {
  static constexpr int count = static_cast<int>(Bytes / sizeof(double));
  typedef double Wide __attribute__((vector_size(Bytes)));
  typedef T Narrow __attribute__((vector_size(count * sizeof(T))));
};

/// Moves between T elements and registers of doubles: load and store
/// widen and narrow, product gives double(x[i..] * xj) with the product in
/// T. For double, load and store are plain moves.
template <typename T, int Bytes>
struct Widening {
  using Wide = typename Lanes<T, Bytes>::Wide;
  [[gnu::always_inline]] static inline void load(Wide& w, const T* p) {
    std::memcpy(&w, p, sizeof w);
  }
  [[gnu::always_inline]] static inline void store(T* p, const Wide& w) {
    std::memcpy(p, &w, sizeof w);
  }
  [[gnu::always_inline]] static inline void product(Wide& w, const T* x, T xj) {
    load(w, x);
    w *= xj;
  }
};

#if VECML_HAVE_X86_KERNELS
// GCC splits generic float-to-double vector conversions into 128-bit
// pieces, so the float paths name their one-instruction conversions (the
// 512-bit ones in their masked form, whose unmasked form GCC 12 reports as
// reading an uninitialised register). The
// wide ones carry their target and reach the kernels through the flattened
// sweeps below.

template <>
struct Widening<float, 16> {
  using Wide = Lanes<float, 16>::Wide;
  // Two floats in the low half of a register.
  [[gnu::always_inline]] static inline __m128 loadPair(const float* p) {
    return _mm_loadl_pi(_mm_setzero_ps(), reinterpret_cast<const __m64*>(p));
  }
  [[gnu::always_inline]] static inline void load(Wide& w, const float* p) {
    w = _mm_cvtps_pd(loadPair(p));
  }
  [[gnu::always_inline]] static inline void store(float* p, const Wide& w) {
    _mm_storel_pi(reinterpret_cast<__m64*>(p), _mm_cvtpd_ps(w));
  }
  [[gnu::always_inline]] static inline void product(Wide& w, const float* x,
                                                    float xj) {
    w = _mm_cvtps_pd(_mm_mul_ps(loadPair(x), _mm_set1_ps(xj)));
  }
};

template <>
struct Widening<float, 32> {
  using Wide = Lanes<float, 32>::Wide;
  VECML_TARGET_AVX2 static inline void load(Wide& w, const float* p) {
    w = _mm256_cvtps_pd(_mm_loadu_ps(p));
  }
  VECML_TARGET_AVX2 static inline void store(float* p, const Wide& w) {
    _mm_storeu_ps(p, _mm256_cvtpd_ps(w));
  }
  VECML_TARGET_AVX2 static inline void product(Wide& w, const float* x,
                                               float xj) {
    w = _mm256_cvtps_pd(_mm_mul_ps(_mm_loadu_ps(x), _mm_set1_ps(xj)));
  }
};

template <>
struct Widening<float, 64> {
  using Wide = Lanes<float, 64>::Wide;
  VECML_TARGET_AVX512 static inline void load(Wide& w, const float* p) {
    w = _mm512_maskz_cvtps_pd(0xFF, _mm256_loadu_ps(p));
  }
  VECML_TARGET_AVX512 static inline void store(float* p, const Wide& w) {
    _mm256_storeu_ps(p, _mm512_maskz_cvtpd_ps(0xFF, w));
  }
  VECML_TARGET_AVX512 static inline void product(Wide& w, const float* x,
                                                 float xj) {
    w = _mm512_maskz_cvtps_pd(
        0xFF, _mm256_mul_ps(_mm256_loadu_ps(x), _mm256_set1_ps(xj)));
  }
};
#endif

/// The running-average update of one item:
/// s = T(double(s) * keep + double(x[i] * x[j]) * step), the product in T.
struct RunningAverageStep {
  double keep;
  double step;

  template <typename T, int Bytes>
  using State = typename Lanes<T, Bytes>::Wide;

  template <typename T, int Bytes>
  [[gnu::always_inline]] static inline void load(State<T, Bytes>& s,
                                                 const T* p) {
    Widening<T, Bytes>::load(s, p);
  }

  template <typename T, int Bytes>
  [[gnu::always_inline]] static inline void store(T* p,
                                                  const State<T, Bytes>& s) {
    Widening<T, Bytes>::store(p, s);
  }

  template <typename T, int Bytes>
  [[gnu::always_inline]] inline void apply(State<T, Bytes>& s, const T* xi,
                                           T xj) const {
    typename Lanes<T, Bytes>::Wide added;
    Widening<T, Bytes>::product(added, xi, xj);
    s = s * keep + added * step;
  }
};

/// The plain sum of one item: s = s + x[i] * x[j], all in T.
struct SumOfProductsStep {
  template <typename T, int Bytes>
  using State = typename Lanes<T, Bytes>::Narrow;

  template <typename T, int Bytes>
  [[gnu::always_inline]] static inline void load(State<T, Bytes>& s,
                                                 const T* p) {
    std::memcpy(&s, p, sizeof s);
  }

  template <typename T, int Bytes>
  [[gnu::always_inline]] static inline void store(T* p,
                                                  const State<T, Bytes>& s) {
    std::memcpy(p, &s, sizeof s);
  }

  template <typename T, int Bytes>
  [[gnu::always_inline]] inline void apply(State<T, Bytes>& s, const T* xi,
                                           T xj) const {
    State<T, Bytes> product;
    std::memcpy(&product, xi, sizeof product);
    s = s + product * xj;
  }
};

/// Up to kCapacity consecutive item vectors, each of `padded` elements whose
/// tail beyond the item's own elements stays zero, with the update `Step`
/// of each item.
template <typename T, typename Step>
class ItemBlock {
 public:
  static constexpr int kCapacity = 8;

  explicit ItemBlock(int padded)
      : padded(padded),
        vectors(makeCacheLineArray<T>(static_cast<std::size_t>(padded) *
                                      kCapacity)) {}

  /// Adds an item updated with \p step. \return its vector to fill.
  /// requires: !full().
  T* add(const Step& step) {
    steps[count] = step;
    return vectors.get() + static_cast<std::ptrdiff_t>(count++) * padded;
  }

  bool full() const { return count == kCapacity; }
  int size() const { return count; }
  void clear() { count = 0; }

  const T* item(int b) const {
    return vectors.get() + static_cast<std::ptrdiff_t>(b) * padded;
  }
  const Step& stepOf(int b) const { return steps[b]; }

 private:
  int padded;
  int count = 0;
  CacheLineArray<T> vectors;
  Step steps[kCapacity];
};

/// Applies the items of \p block, one after the other, to the packed
/// columns first .. last - 1, the first of which starts at \p column, from
/// the register that holds the diagonal down to the padded end. The
/// registers of one item are independent, so the processor overlaps their
/// updates freely.
template <int Bytes, typename T, typename Step>
[[gnu::always_inline]] inline void sweepColumns(T* column,
                                                const ItemBlock<T, Step>& block,
                                                int first, int last,
                                                int padded) {
  constexpr int count = Lanes<T, Bytes>::count;
  static_assert(kTriangleBlock % count == 0,
                "a register must divide the padding");
  for (int b = 0; b < block.size(); ++b) {
    const T* x = block.item(b);
    const Step& step = block.stepOf(b);
    T* s = column;
    for (int j = first; j < last; ++j) {
      const int base = j / kTriangleBlock * kTriangleBlock;
      const T xj = x[j];
      for (int i = j / count * count; i < padded; i += count) {
        typename Step::template State<T, Bytes> state;
        Step::template load<T, Bytes>(state, s + (i - base));
        step.template apply<T, Bytes>(state, x + i, xj);
        Step::template store<T, Bytes>(s + (i - base), state);
      }
      s += padded - base;
    }
  }
}

template <typename T, typename Step>
[[gnu::flatten]] void sweepBaseline(T* column, const ItemBlock<T, Step>& block,
                                    int first, int last, int padded) {
  sweepColumns<16>(column, block, first, last, padded);
}

template <typename T, typename Step>
[[gnu::flatten]] VECML_TARGET_AVX2 void sweepAvx2(
    T* column, const ItemBlock<T, Step>& block, int first, int last,
    int padded) {
  sweepColumns<32>(column, block, first, last, padded);
}

template <typename T, typename Step>
[[gnu::flatten]] VECML_TARGET_AVX512 void sweepAvx512(
    T* column, const ItemBlock<T, Step>& block, int first, int last,
    int padded) {
  sweepColumns<64>(column, block, first, last, padded);
}

template <typename T, typename Step>
using Sweep = void (*)(T*, const ItemBlock<T, Step>&, int, int, int);

/// The sweep for `Step` on the widest path this process may use.
template <typename T, typename Step>
Sweep<T, Step> pickSweep() {
  return choiceForCpu<Sweep<T, Step>>(cpuLevel(), sweepAvx512<T, Step>,
                                      sweepAvx2<T, Step>,
                                      sweepBaseline<T, Step>);
}

}  // namespace vecml::detail

#endif
