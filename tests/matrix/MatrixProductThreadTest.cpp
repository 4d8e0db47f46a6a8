// SPDX-License-Identifier: MIT
// Matrix products and matrix x vector products split over threads: every
// thread count gives the bytes of the one-thread result, on every
// instruction-set path, for shapes that leave partial tiles and partial
// blocks of rows and that are large enough to run several threads.
#include <gtest/gtest.h>

#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "matrix/MatrixTestSupport.h"
#include "support/ThreadCounts.h"
#include "vecml/matrix/detail/MatrixProduct.h"
#include "vecml/vector/CSparseVector.h"

namespace {

using vecml::detail::ProductOperands;

template <typename T>
class MatrixProductThreadTest : public testing::Test {};
TYPED_TEST_SUITE(MatrixProductThreadTest, FloatingTypes);

// Shapes with b's column stride ldb longer than its depth.
std::vector<ProductShape> productShapes() {
  std::vector<ProductShape> shapes;
  for (int n : awkwardSizes()) {
    shapes.push_back({n, n, n, n + 3});
    shapes.push_back({n, 300, 40, 303});
    shapes.push_back({40, 300, n, 303});
  }
  // Few columns (split by rows), few rows, and several cache blocks.
  const ProductShape more[] = {{129, 65, 7, 68},     {1000, 300, 3, 303},
                               {1000, 300, 1, 303},  {2, 513, 600, 516},
                               {300, 200, 150, 203}, {700, 24, 1100, 27}};
  shapes.insert(shapes.end(), std::begin(more), std::end(more));
  return shapes;
}

std::string describe(const ProductShape& shape) {
  return std::to_string(shape.m) + "x" + std::to_string(shape.depth) + " * " +
         std::to_string(shape.depth) + "x" + std::to_string(shape.n);
}

TYPED_TEST(MatrixProductThreadTest, ProductIsTheSameOnEveryThreadCount) {
  using T = TypeParam;
  const unsigned seed = 19;
  std::printf("product seed %u\n", seed);
  std::mt19937 random(seed);
  for (const ProductShape& shape : productShapes()) {
    SCOPED_TRACE(describe(shape));
    const CMatrix<T> a = randomMatrix<T>(shape.m, shape.depth, random);
    const CMatrix<T> b = randomMatrix<T>(shape.depth, shape.n, random);
    expectSameBytesOnEveryThreadCount([&] {
      const CMatrix<T> c = a * b;
      return bytesOf(c._data(), static_cast<std::size_t>(c.rows()) *
                                    static_cast<std::size_t>(c.columns()));
    });
  }
}

// Every path the processor supports, with c prefilled, so that a block that
// one thread leaves unwritten shows.
TYPED_TEST(MatrixProductThreadTest, EveryPathIsTheSameOnEveryThreadCount) {
  using T = TypeParam;
  std::mt19937 random(23);
  std::uniform_real_distribution<T> uniform(-1, 1);
  for (const ProductShape& shape : productShapes()) {
    std::vector<T> a(static_cast<std::size_t>(shape.m) * shape.depth);
    std::vector<T> b(static_cast<std::size_t>(shape.ldb) * shape.n);
    for (T& x : a) x = uniform(random);
    for (T& x : b) x = uniform(random);
    for (const auto level : availableLevels()) {
      SCOPED_TRACE(describe(shape) + ", level " +
                   std::to_string(static_cast<int>(level)));
      expectSameBytesOnEveryThreadCount([&] {
        std::vector<T> c(static_cast<std::size_t>(shape.m) * shape.n, T(7));
        vecml::detail::multiplyColumnMajor(
            ProductOperands<T>{a.data(), b.data(), c.data(), shape.m,
                               shape.depth, shape.n, shape.ldb},
            level);
        return bytesOf(c.data(), c.size());
      });
    }
  }
}

// rows x columns matrices times dense and sparse vectors.
TYPED_TEST(MatrixProductThreadTest, MatrixVectorIsTheSameOnEveryThreadCount) {
  using T = TypeParam;
  const unsigned seed = 29;
  std::printf("matrix x vector seed %u\n", seed);
  std::mt19937 random(seed);
  std::vector<std::pair<int, int>> shapes;
  for (int rows : awkwardSizes()) shapes.emplace_back(rows, 600);
  shapes.insert(shapes.end(), {{129, 4000}, {1000, 700}, {4100, 70}});
  for (const auto& [rows, columns] : shapes) {
    SCOPED_TRACE(std::to_string(rows) + "x" + std::to_string(columns));
    const CMatrix<T> a = randomMatrix<T>(rows, columns, random);
    // Every third element of x is zero, so the sparse x is truly sparse.
    CDenseVector<T> dense = randomMatrix<T>(columns, 1, random).getColumn(0);
    for (int j = 0; j < columns; j += 3) dense[j] = T(0);
    const CSparseVector<T> sparse(dense);
    for (const CVector<T>* x : {static_cast<const CVector<T>*>(&dense),
                                static_cast<const CVector<T>*>(&sparse)}) {
      expectSameBytesOnEveryThreadCount([&] {
        const CDenseVector<T> y = a * *x;
        return bytesOf(y._data(), static_cast<std::size_t>(y.dimension()));
      });
    }
  }
}

}  // namespace
