// SPDX-License-Identifier: MIT
#include "vecml/matrix/detail/MatrixProduct.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "vecml/core/detail/CacheLineArray.h"
#include "vecml/core/detail/Parallel.h"
#include "vecml/core/detail/SimdLanes.h"

namespace vecml::detail {

namespace {

// The kernels of one instruction set (MatrixProductTile.inc) and the cache
// blocks that suit them.
template <typename T>
struct TileKernel {
  // b is a packed panel when ldb is 0, else read in place. narrowTile
  // covers only narrowColumns of the panel's columns, for the last columns
  // of c.
  void (*tile)(const T* a, const T* b, std::ptrdiff_t ldb, T* c,
               std::ptrdiff_t ldc, std::ptrdiff_t depth, bool carry);
  void (*narrowTile)(const T* a, const T* b, std::ptrdiff_t ldb, T* c,
                     std::ptrdiff_t ldc, std::ptrdiff_t depth, bool carry);
  void (*packRows)(const T* a, std::ptrdiff_t lda, std::ptrdiff_t count,
                   std::ptrdiff_t depth, T* packed);
  void (*packColumns)(const T* b, std::ptrdiff_t ldb, std::ptrdiff_t count,
                      std::ptrdiff_t depth, T* packed);
  // y = a * x for rows rows of a (column stride lda).
  void (*column)(const T* a, std::ptrdiff_t lda, std::ptrdiff_t rows,
                 const T* x, T* y, std::ptrdiff_t depth);
  std::ptrdiff_t tileRows, tileColumns, narrowColumns;
  // Depth of a packed panel pair: a tile's panel of b stays in the level-1
  // cache while the row tiles pass over it.
  std::ptrdiff_t depthBlock;
  // Rows of a packed at once (a multiple of tileRows): the packed block of
  // a stays in the level-2 cache while every column tile passes over it.
  std::ptrdiff_t rowBlock;
  // Columns of b packed at once (a multiple of tileColumns).
  std::ptrdiff_t columnBlock;
};

// Largest tileRows * narrowColumns of any kernel, for the edge scratch tile.
constexpr std::ptrdiff_t kScratchElements = 32 * 4;

// A product whose a has at most this many row tiles reads b in place
// instead of packing it: each panel of b would serve too few tiles to pay
// for its packing.
constexpr std::ptrdiff_t kFewRowTiles = 4;

// Products with fewer columns than this run column by column as
// matrix x vector products: a register tile would mostly hold padding.
constexpr std::ptrdiff_t kFewColumns = 4;

// Fused steps that the register tiles do in the time the threading
// threshold's element operation takes (a vector of them per instruction):
// a tiled product counts its work in vectors of steps, so products up to
// about 100 x 100 stay on the calling thread, where a second thread gains
// too little to repay starting it.
constexpr double kTileStepsPerOperation = 8;

// Rows of c in one cache line: the unit of a split by rows, so that no two
// threads write to the same line of c.
template <typename T>
constexpr std::ptrdiff_t kRowsPerLine =
    static_cast<std::ptrdiff_t>(kCacheLine) / sizeof(T);

std::ptrdiff_t roundUp(std::ptrdiff_t value, std::ptrdiff_t step) {
  return (value + step - 1) / step * step;
}

// Room for the packed panels of at least \p elements, on a cache line and
// kept per thread from one product to the next: panels of this size are
// beyond what the allocator recycles, and fresh pages on every product would
// cost as much as packing them. The contents are written before they are
// read.
template <typename T>
T* panelSpace(std::ptrdiff_t elements) {
  thread_local CacheLineArray<T> space;
  thread_local std::ptrdiff_t capacity = 0;
  if (capacity < elements) {
    space = makeCacheLineArray<T>(static_cast<std::size_t>(elements));
    capacity = elements;
  }
  return space.get();
}

// A range of rows, columns or depth: first and count.
struct Span {
  std::ptrdiff_t first, count;
};

#if VECML_HAVE_X86_KERNELS
namespace avx2 {
#define VECML_TILE_TARGET VECML_TARGET_AVX2
#include "vecml/matrix/detail/MatrixProductTile.inc"
#undef VECML_TILE_TARGET
}  // namespace avx2

namespace avx512 {
#define VECML_TILE_TARGET VECML_TARGET_AVX512
#include "vecml/matrix/detail/MatrixProductTile.inc"
#undef VECML_TILE_TARGET
}  // namespace avx512
#endif

// A tile's panel of b: packed (ldb 0) or in place with column stride ldb.
template <typename T>
struct PanelOfB {
  const T* data;
  std::ptrdiff_t ldb;
};

// The tile of c at (i0, j0): the full register tile, or for the last rows
// and columns of c narrow tiles that cover them, each partial one run in a
// scratch tile so that no element outside c is touched.
template <typename T>
void runTile(const ProductOperands<T>& p, const TileKernel<T>& kernel,
             const T* packedA, PanelOfB<T> b, std::ptrdiff_t i0,
             std::ptrdiff_t j0, Span depth) {
  const bool carry = depth.first > 0;
  T* c = p.c + i0 + j0 * p.m;
  const std::ptrdiff_t height = std::min(kernel.tileRows, p.m - i0);
  const std::ptrdiff_t width = std::min(kernel.tileColumns, p.n - j0);
  if (height == kernel.tileRows && width == kernel.tileColumns)
    return kernel.tile(packedA, b.data, b.ldb, c, p.m, depth.count, carry);
  for (std::ptrdiff_t q = 0; q < width; q += kernel.narrowColumns) {
    const T* bq = b.data + (b.ldb == 0 ? q : q * b.ldb);
    T* cq = c + q * p.m;
    const std::ptrdiff_t part = std::min(kernel.narrowColumns, width - q);
    if (height == kernel.tileRows && part == kernel.narrowColumns) {
      kernel.narrowTile(packedA, bq, b.ldb, cq, p.m, depth.count, carry);
      continue;
    }
    alignas(64) T scratch[kScratchElements] = {};
    for (std::ptrdiff_t j = 0; j < part && carry; ++j)
      std::copy(cq + j * p.m, cq + j * p.m + height,
                scratch + j * kernel.tileRows);
    kernel.narrowTile(packedA, bq, b.ldb, scratch, kernel.tileRows, depth.count,
                      carry);
    for (std::ptrdiff_t j = 0; j < part; ++j)
      std::copy(scratch + j * kernel.tileRows,
                scratch + j * kernel.tileRows + height, cq + j * p.m);
  }
}

// Whether full column tiles read b in place: when few row tiles share each
// panel, and b's column stride is not a multiple of 1 KiB (such columns
// share few level-1 cache sets).
template <typename T>
bool readsBInPlace(const ProductOperands<T>& p, const TileKernel<T>& kernel) {
  return p.m <= kFewRowTiles * kernel.tileRows &&
         p.ldb * static_cast<std::ptrdiff_t>(sizeof(T)) % 1024 != 0;
}

template <typename T>
void productBlocked(const ProductOperands<T>& p, const TileKernel<T>& kernel) {
  const std::ptrdiff_t depthBlock = std::min(p.depth, kernel.depthBlock);
  const std::ptrdiff_t rowBlock =
      std::min(roundUp(p.m, kernel.tileRows), kernel.rowBlock);
  const std::ptrdiff_t columnBlock =
      std::min(roundUp(p.n, kernel.tileColumns), kernel.columnBlock);
  const bool inPlace = readsBInPlace(p, kernel);
  // rowBlock * sizeof(T) is a multiple of 64, so both panels are aligned.
  T* const packedA = panelSpace<T>((rowBlock + columnBlock) * depthBlock);
  T* const packedB = packedA + rowBlock * depthBlock;
  for (std::ptrdiff_t jc = 0; jc < p.n; jc += columnBlock) {
    const Span columns{jc, std::min(columnBlock, p.n - jc)};
    // Columns below packedFrom are read in place; a partial tile's columns
    // are always packed, padded with zeros.
    const std::ptrdiff_t packedFrom =
        inPlace ? columns.count - columns.count % kernel.tileColumns : 0;
    for (std::ptrdiff_t pc = 0; pc < p.depth; pc += depthBlock) {
      const Span depth{pc, std::min(depthBlock, p.depth - pc)};
      const T* b = p.b + depth.first + columns.first * p.ldb;
      kernel.packColumns(b + packedFrom * p.ldb, p.ldb,
                         columns.count - packedFrom, depth.count,
                         packedB + packedFrom * depth.count);
      for (std::ptrdiff_t ic = 0; ic < p.m; ic += rowBlock) {
        const Span rows{ic, std::min(rowBlock, p.m - ic)};
        kernel.packRows(p.a + rows.first + depth.first * p.m, p.m, rows.count,
                        depth.count, packedA);
        for (std::ptrdiff_t jr = 0; jr < columns.count;
             jr += kernel.tileColumns) {
          const PanelOfB<T> panel =
              jr < packedFrom ? PanelOfB<T>{b + jr * p.ldb, p.ldb}
                              : PanelOfB<T>{packedB + jr * depth.count, 0};
          for (std::ptrdiff_t ir = 0; ir < rows.count; ir += kernel.tileRows)
            runTile(p, kernel, packedA + ir * depth.count, panel, ic + ir,
                    jc + jr, depth);
        }
      }
    }
  }
}

// The plain loop over a block of c's rows: column by column, one fused step
// per k over the block's rows.
template <typename T>
void productByColumns(const ProductOperands<T>& p, Span rows) {
  for (std::ptrdiff_t j = 0; j < p.n; ++j) {
    T* c = p.c + rows.first + j * p.m;
    std::fill(c, c + rows.count, T(0));
    for (std::ptrdiff_t k = 0; k < p.depth; ++k) {
      const T bkj = p.b[k + j * p.ldb];
      const T* ak = p.a + rows.first + k * p.m;
      for (std::ptrdiff_t i = 0; i < rows.count; ++i)
        c[i] = std::fma(ak[i], bkj, c[i]);
    }
  }
}

// All of c's rows for the product q of some of c's columns; kernel is null
// on the plain path.
template <typename T>
void productOfColumns(const ProductOperands<T>& q,
                      const TileKernel<T>* kernel) {
  if (kernel == nullptr) return productByColumns(q, Span{0, q.m});
  productBlocked(q, *kernel);
}

// A block of c's rows for a product with few columns, as matrix x vector
// products.
template <typename T>
void productOfRows(const ProductOperands<T>& p, const TileKernel<T>* kernel,
                   Span rows) {
  if (kernel == nullptr) return productByColumns(p, rows);
  for (std::ptrdiff_t j = 0; j < p.n; ++j)
    kernel->column(p.a + rows.first, p.m, rows.count, p.b + j * p.ldb,
                   p.c + rows.first + j * p.m, p.depth);
}

// Splits c over the library's threads: a product with few columns by
// blocks of rows (whole cache lines of c), any other by blocks of whole
// register tiles of columns. Every element is still computed by one thread
// with its whole chain, so the split never changes a bit; one thread runs
// the whole product in one call.
template <typename T>
void productOnThreads(const ProductOperands<T>& p,
                      const TileKernel<T>* kernel) {
  const bool byRows = p.n < kFewColumns;
  const double work =
      static_cast<double>(p.m) * p.depth * p.n /
      (byRows || kernel == nullptr ? 1 : kTileStepsPerOperation);
  const std::ptrdiff_t extent = byRows ? p.m : p.n;
  const std::ptrdiff_t unit = byRows              ? kRowsPerLine<T>
                              : kernel != nullptr ? kernel->tileColumns
                                                  : 1;
  const std::ptrdiff_t pieces = (extent + unit - 1) / unit;
  parallelFor(
      static_cast<std::size_t>(pieces), work / static_cast<double>(pieces),
      [&](std::size_t begin, std::size_t end) {
        const std::ptrdiff_t first = static_cast<std::ptrdiff_t>(begin) * unit;
        const Span block{
            first,
            std::min(static_cast<std::ptrdiff_t>(end) * unit, extent) - first};
        if (byRows) return productOfRows(p, kernel, block);
        productOfColumns(ProductOperands<T>{p.a, p.b + block.first * p.ldb,
                                            p.c + block.first * p.m, p.m,
                                            p.depth, block.count, p.ldb},
                         kernel);
      });
}

#if VECML_HAVE_X86_KERNELS
// The kernels of each instruction set with their tile shapes and cache
// blocks (measured on an AVX-512 processor with 32 KiB level-1 and 1 MiB
// level-2 data caches per core). Matrix x vector products stream the matrix
// from memory; 256-bit loads measured faster at that there, so the AVX-512
// set uses them too.
template <typename T>
struct Kernels {
  static constexpr TileKernel<T> avx2 =
      avx2::tileKernel<Avx2Lane<T>, Avx2Lane<T>, 2, 6>(
          256, sizeof(T) == sizeof(float) ? 256 : 128, 1020);
  static constexpr TileKernel<T> avx512 =
      avx512::tileKernel<Avx512Lane<T>, Avx2Lane<T>, 2, 12>(
          sizeof(T) == sizeof(float) ? 384 : 256,
          sizeof(T) == sizeof(float) ? 320 : 256, 1020);
  static_assert(avx512.tileRows * avx512.narrowColumns <= kScratchElements &&
                    avx2.tileRows * avx2.narrowColumns <= kScratchElements,
                "edge scratch tile too small");
};
#endif

}  // namespace

template <typename T>
void multiplyColumnMajor(const ProductOperands<T>& p, CpuLevel level) {
  if (p.m <= 0 || p.n <= 0) return;
  if (p.depth <= 0) {
    std::fill(p.c, p.c + p.m * p.n, T(0));
    return;
  }
#if VECML_HAVE_X86_KERNELS
  productOnThreads(p, choiceForCpu<const TileKernel<T>*>(
                          std::min(level, cpuLevel()), &Kernels<T>::avx512,
                          &Kernels<T>::avx2, nullptr));
#else
  static_cast<void>(level);
  productOnThreads(p, static_cast<const TileKernel<T>*>(nullptr));
#endif
}

template <typename T>
void multiplyColumnMajor(const ProductOperands<T>& p) {
  multiplyColumnMajor(p, cpuLevel());
}

VECML_FOR_FLOATING_TYPES(VECML_MATRIX_PRODUCT_INSTANTIATIONS, template)

}  // namespace vecml::detail
