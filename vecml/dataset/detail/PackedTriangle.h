// SPDX-License-Identifier: MIT
// A symmetric d x d matrix that is updated once per dataset item from one
// vector x of that item, element (i, j) from x[i] * x[j] only. The product
// is commutative, so (i, j) and (j, i) see the same values in the same order
// and stay equal: only the lower triangle is kept and updated, and it is
// mirrored when the result is read out.
//
// Layout: the rows are padded with zeros to a multiple of kBlock<T> (one
// cache line), and column j stores the rows from its block's first row (j
// rounded down to kBlock<T>) to the padded end, contiguously and column after
// column. Every vector path can therefore sweep each column in whole
// registers without tails; the few elements above the diagonal that it also
// updates hold the mirrored values and are never read.
//
// Every path applies the same correctly rounded operations to every element
// in the same order (no reassociation, no fusing), so the baseline, AVX2 and
// AVX-512 paths give the same bits.
#ifndef VECML_DATASET_DETAIL_PACKEDTRIANGLE_H
#define VECML_DATASET_DETAIL_PACKEDTRIANGLE_H

#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

#include "vecml/core/detail/CacheLineArray.h"
#include "vecml/core/detail/CpuLevel.h"
#include "vecml/matrix/CMatrix.h"

namespace vecml::detail {

/// Elements of T in the widest register a path uses (64 bytes): the row
/// padding that makes every path's column sweep come out even.
template <typename T>
inline constexpr int kBlock = static_cast<int>(64 / sizeof(T));

/// One register of `Bytes` bytes of T, and its elements widened to double
/// (one or two registers). A whole register of floats converts to doubles
/// in two direct instructions on every path.
template <typename T, int Bytes>
struct Lanes {
  static constexpr int count = static_cast<int>(Bytes / sizeof(T));
  typedef T Narrow __attribute__((vector_size(Bytes)));
  typedef double Wide __attribute__((vector_size(count * sizeof(double))));
};

/// The running-average update of one item:
/// s = T(double(s) * keep + double(x[i] * x[j]) * step), the product in T.
struct RunningAverageStep {
  double keep;
  double step;

  template <typename V>
  [[gnu::always_inline]] inline void apply(
      typename V::Narrow& s, const typename V::Narrow& product) const {
    const typename V::Wide old = __builtin_convertvector(s, typename V::Wide);
    const typename V::Wide added =
        __builtin_convertvector(product, typename V::Wide);
    s = __builtin_convertvector(old * keep + added * step, typename V::Narrow);
  }
};

/// The plain sum of one item: s = s + x[i] * x[j], all in T.
struct SumOfProductsStep {
  template <typename V>
  [[gnu::always_inline]] inline void apply(
      typename V::Narrow& s, const typename V::Narrow& product) const {
    s = s + product;
  }
};

/// Applies `step` to the register of V at row \p i of a packed column
/// whose first stored row is \p base, with the products x[i..] * xj.
template <typename V, typename T, typename Step>
[[gnu::always_inline]] inline void updateRegister(T* column, int base,
                                                  const T* x, int i, T xj,
                                                  const Step& step) {
  typename V::Narrow xi;
  typename V::Narrow si;
  std::memcpy(&xi, x + i, sizeof xi);
  std::memcpy(&si, column + (i - base), sizeof si);
  step.template apply<V>(si, xi * xj);
  std::memcpy(column + (i - base), &si, sizeof si);
}

/// Applies `step` to every element of the packed triangle `state` with the
/// products of the item vector `x` (padded rows), column by column, one
/// register of `Bytes` at a time from the register that holds the diagonal.
/// When the diagonal lies in that register's second half, the half alone
/// covers it, which spares the rows above the diagonal.
template <int Bytes, typename T, typename Step>
[[gnu::always_inline]] inline void sweepColumns(T* state, const T* x, int d,
                                                int padded, const Step& step) {
  using V = Lanes<T, Bytes>;
  static_assert(kBlock<T> % V::count == 0,
                "a register must divide the padding");
  T* column = state;
  for (int j = 0; j < d; ++j) {
    const int base = j / kBlock<T> * kBlock<T>;
    const T xj = x[j];
    int i = j / V::count * V::count;
    if constexpr (Bytes > 16) {
      using Half = Lanes<T, Bytes / 2>;
      if (j - i >= Half::count) {
        updateRegister<Half>(column, base, x, i + Half::count, xj, step);
        i += V::count;
      }
    }
    for (; i < padded; i += V::count)
      updateRegister<V>(column, base, x, i, xj, step);
    column += padded - base;
  }
}

template <typename T, typename Step>
void sweepBaseline(T* state, const T* x, int d, int padded, Step step) {
  sweepColumns<16>(state, x, d, padded, step);
}

template <typename T, typename Step>
VECML_TARGET_AVX2 void sweepAvx2(T* state, const T* x, int d, int padded,
                                 Step step) {
  sweepColumns<32>(state, x, d, padded, step);
}

template <typename T, typename Step>
VECML_TARGET_AVX512 void sweepAvx512(T* state, const T* x, int d, int padded,
                                     Step step) {
  sweepColumns<64>(state, x, d, padded, step);
}

/// The sweep for `Step` on the widest path this process may use.
template <typename T, typename Step>
auto pickSweep() -> void (*)(T*, const T*, int, int, Step) {
  return choiceForCpu(cpuLevel(), sweepAvx512<T, Step>, sweepAvx2<T, Step>,
                      sweepBaseline<T, Step>);
}

/// The lower triangle of a symmetric d x d matrix, zero at first, updated
/// one item at a time from the item vector in item().
template <typename T>
class PackedTriangle {
 public:
  /// requires: d >= 0.
  /// \throw std::bad_array_new_length when a d x d matrix would not fit in
  ///        int elements, as CMatrix does.
  explicit PackedTriangle(int d)
      : d(d),
        padded(paddedRows(d)),
        x(makeCacheLineArray<T>(static_cast<std::size_t>(padded))),
        state(makeCacheLineArray<T>(
            static_cast<std::size_t>(packedSize(d, padded)))),
        averageSweep(pickSweep<T, RunningAverageStep>()),
        sumSweep(pickSweep<T, SumOfProductsStep>()) {}

  /// The item vector: d elements to fill before each update, followed by
  /// zeros that must stay zero.
  T* item() { return x.get(); }

  /// Every element (i, j) becomes
  /// T(double(element) * keep + double(x[i] * x[j]) * step).
  void addRunningAverage(double keep, double step) {
    averageSweep(state.get(), x.get(), d, padded,
                 RunningAverageStep{keep, step});
  }

  /// Every element (i, j) becomes element + x[i] * x[j] in T.
  void addProducts() {
    sumSweep(state.get(), x.get(), d, padded, SumOfProductsStep{});
  }

  /// \return the full symmetric d x d matrix.
  CMatrix<T> toMatrix() const {
    CMatrix<T> result(d, d);
    T* a = result._data();
    const T* column = state.get();
    for (int j = 0; j < d; ++j) {
      const int base = j / kBlock<T> * kBlock<T>;
      for (int i = j; i < d; ++i) {
        const T value = column[i - base];
        a[i + static_cast<std::ptrdiff_t>(j) * d] = value;
        a[j + static_cast<std::ptrdiff_t>(i) * d] = value;
      }
      column += padded - base;
    }
    return result;
  }

 private:
  // d rounded up to whole blocks, once the d x d result is known to fit.
  static int paddedRows(int d) {
    const std::int64_t rows = d;
    if (rows * rows > INT_MAX) throw std::bad_array_new_length();
    return static_cast<int>((rows + kBlock<T> - 1) / kBlock<T> * kBlock<T>);
  }

  // Elements of the packed columns: column j holds padded - base(j) rows,
  // at most d * d / 2 + 2 * d * kBlock in all, which fits in int when d * d
  // does.
  static int packedSize(int d, int padded) {
    int size = 0;
    for (int j = 0; j < d; ++j) size += padded - j / kBlock<T> * kBlock<T>;
    return size;
  }

  int d;
  int padded;
  CacheLineArray<T> x;
  CacheLineArray<T> state;
  void (*averageSweep)(T*, const T*, int, int, RunningAverageStep);
  void (*sumSweep)(T*, const T*, int, int, SumOfProductsStep);
};

}  // namespace vecml::detail

#endif
