// SPDX-License-Identifier: MIT
// Introspective sort that stays inside its range for any comparison.
//
// For a strict weak ordering it makes the same comparisons and moves as the
// classic introsort (median-of-three quicksort with a depth limit of
// 2 * floor(log2 n), heap sort below that depth, and a final insertion sort
// that is guarded on the first 16 elements and unguarded beyond), so the
// order of equivalent elements is the classic one too. The classic scans
// rely on sentinels that a non-strict comparison such as "id <=" does not
// provide and would run off the range; here each scan also stops at the
// storage bounds. Wherever the classic algorithm stays inside the storage
// the result is the same; elsewhere the range still comes out ordered by
// any comparison that is a total preorder.
#ifndef VECML_DATASET_DETAIL_INTROSORT_H
#define VECML_DATASET_DETAIL_INTROSORT_H

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <utility>

namespace vecml::detail {

// Ranges up to this length are left to the final insertion sort.
inline constexpr std::ptrdiff_t kIntroSortThreshold = 16;

// floor(log2 n) for n >= 1.
inline int floorLog2(std::ptrdiff_t n) {
  int log = 0;
  for (; n > 1; n >>= 1) ++log;
  return log;
}

// Moves the hole at `hole` up towards `top` until \p value fits there.
template <typename Iterator, typename Value, typename Less>
void pushHeap(Iterator first, std::ptrdiff_t hole, std::ptrdiff_t top,
              Value value, Less& less) {
  std::ptrdiff_t parent = (hole - 1) / 2;
  while (hole > top && less(first[parent], value)) {
    first[hole] = std::move(first[parent]);
    hole = parent;
    parent = (hole - 1) / 2;
  }
  first[hole] = std::move(value);
}

// Sifts the hole at `hole` down to a leaf along the larger children, then
// pushes \p value back up from there.
template <typename Iterator, typename Value, typename Less>
void adjustHeap(Iterator first, std::ptrdiff_t hole, std::ptrdiff_t length,
                Value value, Less& less) {
  const std::ptrdiff_t top = hole;
  std::ptrdiff_t child = hole;
  while (child < (length - 1) / 2) {
    child = 2 * (child + 1);
    if (less(first[child], first[child - 1])) --child;
    first[hole] = std::move(first[child]);
    hole = child;
  }
  if ((length & 1) == 0 && child == (length - 2) / 2) {
    child = 2 * (child + 1);
    first[hole] = std::move(first[child - 1]);
    hole = child - 1;
  }
  pushHeap(first, hole, top, std::move(value), less);
}

// Heap sort of [first, last); every access is by index below its length.
template <typename Iterator, typename Less>
void heapSort(Iterator first, Iterator last, Less& less) {
  const std::ptrdiff_t length = last - first;
  if (length < 2) return;
  for (std::ptrdiff_t parent = (length - 2) / 2;; --parent) {
    auto value = std::move(first[parent]);
    adjustHeap(first, parent, length, std::move(value), less);
    if (parent == 0) break;
  }
  for (std::ptrdiff_t end = length - 1; end > 0; --end) {
    auto value = std::move(first[end]);
    first[end] = std::move(first[0]);
    adjustHeap(first, std::ptrdiff_t{0}, end, std::move(value), less);
  }
}

// Swaps the median of *a, *b and *c into *result.
template <typename Iterator, typename Less>
void moveMedianToFirst(Iterator result, Iterator a, Iterator b, Iterator c,
                       Less& less) {
  if (less(*a, *b)) {
    if (less(*b, *c)) {
      std::iter_swap(result, b);
    } else if (less(*a, *c)) {
      std::iter_swap(result, c);
    } else {
      std::iter_swap(result, a);
    }
  } else if (less(*a, *c)) {
    std::iter_swap(result, a);
  } else if (less(*b, *c)) {
    std::iter_swap(result, c);
  } else {
    std::iter_swap(result, b);
  }
}

// Hoare partition of [first, last) around *pivot, which sits just before
// first. The left scan may pass last (a non-strict comparison lets it) but
// stops at the storage end; the right scan stops at the pivot, where the
// classic scan would either stop too or leave the range without changing
// the result. \return the start of the upper part.
template <typename Iterator, typename Less>
Iterator partitionAroundPivot(Iterator first, Iterator last, Iterator pivot,
                              Iterator storageEnd, Less& less) {
  while (true) {
    while (first != storageEnd && less(*first, *pivot)) ++first;
    --last;
    while (less(*pivot, *last) && last != pivot) --last;
    if (!(first < last)) return first;
    std::iter_swap(first, last);
    ++first;
  }
}

// Quicksort until ranges are short or the depth budget is spent. A cut past
// `last` (possible only with a non-strict comparison) widens the range that
// the loop continues on; it never passes storageEnd.
template <typename Iterator, typename Less>
void introSortLoop(Iterator first, Iterator last, Iterator storageEnd,
                   int depthLimit, Less& less) {
  while (last - first > kIntroSortThreshold) {
    if (depthLimit == 0) {
      heapSort(first, last, less);
      return;
    }
    --depthLimit;
    const Iterator middle = first + (last - first) / 2;
    moveMedianToFirst(first, first + 1, middle, last - 1, less);
    const Iterator cut =
        partitionAroundPivot(first + 1, last, first, storageEnd, less);
    introSortLoop(cut, last, storageEnd, depthLimit, less);
    last = cut;
  }
}

// Inserts *position into the ordered run before it, stopping at begin.
template <typename Iterator, typename Less>
void linearInsert(Iterator begin, Iterator position, Less& less) {
  auto value = std::move(*position);
  while (position != begin && less(value, *std::prev(position))) {
    *position = std::move(*std::prev(position));
    --position;
  }
  *position = std::move(value);
}

// Insertion sort that moves an element below the first straight to the
// front.
template <typename Iterator, typename Less>
void guardedInsertionSort(Iterator first, Iterator last, Less& less) {
  if (first == last) return;
  for (Iterator i = first + 1; i != last; ++i) {
    if (less(*i, *first)) {
      auto value = std::move(*i);
      std::move_backward(first, i, i + 1);
      *first = std::move(value);
    } else {
      linearInsert(first, i, less);
    }
  }
}

// Sorts [first, last) with \p less, which is called as less(a, b) on
// elements; see the file comment for the order produced.
template <typename Iterator, typename Less>
void introSort(Iterator first, Iterator last, Less less) {
  const std::ptrdiff_t length = last - first;
  if (length == 0) return;
  introSortLoop(first, last, last, 2 * floorLog2(length), less);
  if (length > kIntroSortThreshold) {
    guardedInsertionSort(first, first + kIntroSortThreshold, less);
    for (Iterator i = first + kIntroSortThreshold; i != last; ++i)
      linearInsert(first, i, less);
  } else {
    guardedInsertionSort(first, last, less);
  }
}

}  // namespace vecml::detail

#endif
