// SPDX-License-Identifier: MIT
#include "vecml/core/NumericalHelpers.h"

#include <cmath>
#include <cstdlib>
#include <ctime>
#include <utility>

#include "vecml/core/Macros.h"
#include "vecml/core/detail/NumericalHelperCaches.h"
#include "vecml/core/detail/RandomScale.h"

namespace {

constexpr int kLastTabledFactorial = 32;
constexpr int kLastCachedLogFactorial = 100;

// 0! ... 32! in single precision, valid up to factorialTop. The float table
// is deliberate: factrl returns these factorials rounded to float.
float factorials[kLastTabledFactorial + 1] = {1.0f, 1.0f, 2.0f, 6.0f, 24.0f};
int factorialTop = 4;

// ln 0! ... ln 100!; 0.0 marks an entry not yet computed.
double logFactorials[kLastCachedLogFactorial + 1];

// One coordinate of the polar method, in [-1, 1): formed in double from the
// next rand() and narrowed to float.
float randomCoordinate() {
  return static_cast<float>(2.0 * (std::rand() * vecml::detail::kRandScale) -
                            1.0);
}

}  // namespace

double gammln(double x) {
  static const double coefficients[6] = {76.18009173,   -86.50532033,
                                         24.01409822,   -1.231739516,
                                         0.00120858003, -0.00000536382};
  const double shifted = x - 1.0;
  double tmp = shifted + 5.5;
  tmp -= (shifted + 0.5) * std::log(tmp);
  double series = 1.0;
  for (int j = 1; j <= 6; ++j) series += coefficients[j - 1] / (shifted + j);
  return std::log(2.50662827465 * series) - tmp;
}

double factrl(int n) {
  ML_GEQ_CHK_AT(n, 0, vecml::detail::kFactorialArgumentCheck);
  if (n > kLastTabledFactorial) return std::exp(gammln(n + 1.0));
  while (factorialTop < n) {
    const float previous = factorials[factorialTop];
    ++factorialTop;
    factorials[factorialTop] = previous * static_cast<float>(factorialTop);
  }
  return factorials[n];
}

double factln(int n) {
  ML_GEQ_CHK_AT(n, 0, vecml::detail::kLogFactorialArgumentCheck);
  if (n <= 1) return 0.0;
  if (n > kLastCachedLogFactorial) return gammln(n + 1.0);
  if (logFactorials[n] == 0.0) logFactorials[n] = gammln(n + 1.0);
  return logFactorials[n];
}

double bico(int n, int k) {
  // One call per statement: the first negative argument is the one
  // reported, and n - k is formed only once n and k are known to be >= 0.
  const double lnN = factln(n);
  const double lnK = factln(k);
  const double lnNMinusK = factln(n - k);
  return std::trunc(0.5 + std::exp(lnN - lnK - lnNMinusK));
}

float gauss_rnd() {
  float u1 = 0.0f;
  float u2 = 0.0f;
  float rsq = 0.0f;
  do {
    u1 = randomCoordinate();
    u2 = randomCoordinate();
    rsq = u1 * u1 + u2 * u2;
  } while (rsq >= 1.0f);
  const float logRsq = std::log(rsq);
  const double fac = std::sqrt(-2.0 * logRsq / rsq);
  return static_cast<float>(u1 * fac);
}

void init_rnd_seed() {
  std::srand(static_cast<unsigned int>(std::time(nullptr)));
}

namespace {

// Orders a pair so that the larger element ends in `second`.
template <typename T>
void putLargerSecond(T& first, T& second) {
  if (first > second) std::swap(first, second);
}

}  // namespace

template <typename T>
T getRank(int k, int n, T* arr) {
  if (n < 1 || k < 1 || k > n) return T(0);
  // Positions are counted from 1, as k is.
  const auto at = [arr](int position) -> T& { return arr[position - 1]; };
  int l = 1;
  int ir = n;
  for (;;) {
    if (ir <= l + 1) {
      if (ir == l + 1 && at(ir) < at(l)) std::swap(at(l), at(ir));
      return at(k);
    }
    const int mid = l + (ir - l) / 2;  // (l + ir) / 2 without overflow
    std::swap(at(mid), at(l + 1));
    // Median of three to l, the smallest to l + 1 and the largest to ir:
    // these bound both scans below, so neither leaves [l, ir].
    putLargerSecond(at(l + 1), at(ir));
    putLargerSecond(at(l), at(ir));
    putLargerSecond(at(l + 1), at(l));
    const T pivot = at(l);
    int i = l + 1;
    int j = ir;
    for (;;) {
      do ++i;
      while (at(i) < pivot);
      do --j;
      while (at(j) > pivot);
      if (j < i) break;
      std::swap(at(i), at(j));
    }
    at(l) = at(j);
    at(j) = pivot;
    if (j >= k) ir = j - 1;
    if (j <= k) l = i;
  }
}

VECML_FOR_ELEMENT_TYPES(VECML_GETRANK_INSTANTIATIONS, template)

namespace vecml::detail {

int factorialTableTop() { return factorialTop; }

double cachedLogFactorial(int n) {
  if (n < 0 || n > kLastCachedLogFactorial) return 0.0;
  return logFactorials[n];
}

}  // namespace vecml::detail
