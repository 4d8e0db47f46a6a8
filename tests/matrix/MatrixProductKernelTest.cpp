#include "vecml/matrix/detail/MatrixProduct.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <random>
#include <vector>

#include "matrix/MatrixTestSupport.h"

namespace {

using vecml::detail::ProductOperands;

template <typename T>
class MatrixProductKernelTest : public testing::Test {};
TYPED_TEST_SUITE(MatrixProductKernelTest, FloatingTypes);

// c(i, j) = fma(a(i, k), b(k, j), c) from 0, k ascending.
template <typename T>
std::vector<T> sequential(const ProductOperands<T>& p) {
  std::vector<T> c(static_cast<std::size_t>(p.m * p.n));
  for (std::ptrdiff_t i = 0; i < p.m; ++i)
    for (std::ptrdiff_t j = 0; j < p.n; ++j) {
      T sum = 0;
      for (std::ptrdiff_t k = 0; k < p.depth; ++k)
        sum = std::fma(p.a[i + k * p.m], p.b[k + j * p.ldb], sum);
      c[static_cast<std::size_t>(i + j * p.m)] = sum;
    }
  return c;
}

// Every path the product can take, whatever the processor running the
// tests, gives the sequential result bit for bit.
TYPED_TEST(MatrixProductKernelTest, EveryPathMatchesTheSequentialSum) {
  using T = TypeParam;
  const unsigned seed = 42;
  std::printf("kernel seed %u\n", seed);
  std::mt19937 random(seed);
  std::uniform_real_distribution<T> uniform(-1, 1);
  // m, depth, n, extra rows of b beyond depth (its column stride).
  const int shapes[][4] = {{1, 1, 1, 0},
                           {16, 3, 4, 0},
                           {19, 40, 9, 2},
                           {64, 17, 12, 5},
                           {33, 600, 5, 0}};
  for (const auto& shape : shapes) {
    const int m = shape[0], depth = shape[1], n = shape[2];
    const int ldb = depth + shape[3];
    std::vector<T> a(static_cast<std::size_t>(m * depth));
    std::vector<T> b(static_cast<std::size_t>(ldb * n));
    for (T& x : a) x = uniform(random);
    for (T& x : b) x = uniform(random);
    std::vector<T> c(static_cast<std::size_t>(m * n), T(7));
    const ProductOperands<T> p{a.data(), b.data(), c.data(), m, depth, n, ldb};
    const std::vector<T> expected = sequential(p);
    SCOPED_TRACE(testing::Message() << m << "x" << depth << "x" << n);
    vecml::detail::productByColumns(p);
    EXPECT_EQ(c, expected);
#ifdef VECML_PRODUCT_AVX2
    if (vecml::detail::cpuHasAvx2Fma()) {
      std::fill(c.begin(), c.end(), T(7));
      vecml::detail::productAvx2(p);
      EXPECT_EQ(c, expected);
    }
#endif
    std::fill(c.begin(), c.end(), T(7));
    vecml::detail::multiplyColumnMajor(p);
    EXPECT_EQ(c, expected);
  }
}

}  // namespace
