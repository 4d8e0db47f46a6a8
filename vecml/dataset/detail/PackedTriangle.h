// SPDX-License-Identifier: MIT
// A symmetric d x d matrix that is updated once per dataset item from one
// vector x of that item, element (i, j) from x[i] * x[j] only. The product
// is commutative, so (i, j) and (j, i) see the same values in the same order
// and stay equal: only the lower triangle is kept and updated, and it is
// mirrored when the result is read out.
//
// Layout: the rows are padded with zeros to a multiple of kTriangleBlock,
// and column j stores the rows from its block's first row (j rounded down
// to kTriangleBlock) to the padded end, contiguously and column after
// column. Every vector path can therefore sweep each column in whole
// registers without tails; the few elements above the diagonal that it also
// updates hold the mirrored values and are never read.
//
// The columns are independent outputs: they are split over threads in
// contiguous ranges of about equal element counts, and every thread applies
// every item, in item order, to its own columns (see TriangleSweep.h).
#ifndef VECML_DATASET_DETAIL_PACKEDTRIANGLE_H
#define VECML_DATASET_DETAIL_PACKEDTRIANGLE_H

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <new>
#include <vector>

#include "vecml/core/detail/CacheLineArray.h"
#include "vecml/core/detail/Parallel.h"
#include "vecml/dataset/detail/TriangleSweep.h"
#include "vecml/matrix/CMatrix.h"

namespace vecml::detail {

/// The lower triangle of a symmetric d x d matrix, zero at first, updated
/// with blocks of item vectors of padded() elements.
template <typename T>
class PackedTriangle {
 public:
  /// requires: d >= 0.
  /// \throw std::bad_array_new_length when a d x d matrix would not fit in
  ///        int elements, as CMatrix does.
  explicit PackedTriangle(int d)
      : d(d),
        rows(paddedRows(d)),
        starts(columnStarts(d, rows)),
        state(makeCacheLineArray<T>(starts.back())) {}

  int dimension() const { return d; }
  /// The length of an item vector: d rounded up to whole blocks.
  int padded() const { return rows; }

  /// Calls columns(first, last) for contiguous column ranges covering
  /// [0, d), one per thread, on as many threads as \p items updates of the
  /// whole triangle are worth; with one thread that is columns(0, d).
  template <typename Columns>
  void splitColumns(std::size_t items, Columns columns) const {
    const std::size_t size = starts.back();
    const int threads =
        threadsFor(static_cast<double>(items) * static_cast<double>(size),
                   static_cast<std::size_t>(d));
    if (threads <= 1) {
      columns(0, d);
      return;
    }
    runOnThreads(threads, [&](int thread) {
      columns(columnAt(blockStart(size, thread, threads)),
              columnAt(blockStart(size, thread + 1, threads)));
    });
  }

  /// Every element (i, j) of the columns first .. last - 1 becomes, for
  /// every item of \p block in order,
  /// T(double(element) * keep + double(x[i] * x[j]) * step).
  void update(const ItemBlock<T, RunningAverageStep>& block, int first,
              int last) {
    static const auto sweep = pickSweep<T, RunningAverageStep>();
    sweepInChunks(sweep, block, first, last);
  }

  /// Every element (i, j) of the columns first .. last - 1 becomes, for
  /// every item of \p block in order, element + x[i] * x[j] in T.
  void update(const ItemBlock<T, SumOfProductsStep>& block, int first,
              int last) {
    static const auto sweep = pickSweep<T, SumOfProductsStep>();
    sweepInChunks(sweep, block, first, last);
  }

  /// \return the full symmetric d x d matrix.
  CMatrix<T> toMatrix() const {
    CMatrix<T> result(d, d);
    T* a = result._data();
    for (int j = 0; j < d; ++j) {
      const T* column = state.get() + starts[j] - base(j);
      for (int i = j; i < d; ++i) {
        const T value = column[i];
        a[i + static_cast<std::ptrdiff_t>(j) * d] = value;
        a[j + static_cast<std::ptrdiff_t>(i) * d] = value;
      }
    }
    return result;
  }

 private:
  // Elements of state that a block of items sweeps at a time: while they
  // stay in the core's own caches, every item of the block finds them there.
  static constexpr std::size_t kChunk = 8192;

  // Applies `sweep` with the items of \p block to columns first .. last - 1
  // a few at a time, every item to the first columns before the next ones.
  template <typename Step>
  void sweepInChunks(Sweep<T, Step> sweep, const ItemBlock<T, Step>& block,
                     int first, int last) {
    while (first < last) {
      int end = first + 1;
      while (end < last && starts[end + 1] - starts[first] <= kChunk) ++end;
      sweep(state.get() + starts[first], block, first, end, rows);
      first = end;
    }
  }

  // The first row that column j stores.
  static int base(int j) { return j / kTriangleBlock * kTriangleBlock; }

  // d rounded up to whole blocks, once the d x d result is known to fit.
  static int paddedRows(int d) {
    const std::int64_t rows = d;
    if (rows * rows > INT_MAX) throw std::bad_array_new_length();
    return static_cast<int>((rows + kTriangleBlock - 1) / kTriangleBlock *
                            kTriangleBlock);
  }

  // The offset of every column in the packed storage and, last, its size:
  // column j holds padded - base(j) rows, at most d * d / 2 + d *
  // kTriangleBlock in all.
  static std::vector<std::size_t> columnStarts(int d, int padded) {
    std::vector<std::size_t> result(static_cast<std::size_t>(d) + 1);
    for (int j = 0; j < d; ++j)
      result[j + 1] = result[j] + static_cast<std::size_t>(padded - base(j));
    return result;
  }

  // The first column that starts at or after \p offset (d past the end).
  int columnAt(std::size_t offset) const {
    return static_cast<int>(
        std::lower_bound(starts.begin(), starts.end() - 1, offset) -
        starts.begin());
  }

  int d;
  int rows;
  std::vector<std::size_t> starts;
  CacheLineArray<T> state;
};

/// One thread's share of a triangle update: its columns first .. last - 1
/// and the block of items that waits to be applied to them.
template <typename T, typename Step>
class ColumnShare {
 public:
  ColumnShare(PackedTriangle<T>& triangle, int first, int last)
      : triangle(triangle),
        first(first),
        last(last),
        block(triangle.padded()) {}

  /// Adds the next item, updated with \p step. \return its vector of
  /// triangle.padded() elements, to fill before the next call; its
  /// elements from the dimension on are zero and must stay so.
  T* add(const Step& step) {
    if (block.full()) flush();
    return block.add(step);
  }

  /// Applies the items that are still waiting.
  void finish() {
    if (block.size() > 0) flush();
  }

 private:
  void flush() {
    triangle.update(block, first, last);
    block.clear();
  }

  PackedTriangle<T>& triangle;
  int first;
  int last;
  ItemBlock<T, Step> block;
};

}  // namespace vecml::detail

#endif
