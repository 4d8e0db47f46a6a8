// SPDX-License-Identifier: MIT
// Objectives shared by the optimizer tests: the Rosenbrock valley and a
// weighted quadratic bowl, as problems of any search method.
#ifndef VECML_TESTS_LEARNING_OPTIMIZERTESTPROBLEMS_H
#define VECML_TESTS_LEARNING_OPTIMIZERTESTPROBLEMS_H

#include <utility>
#include <vector>

#include "vecml/vector/CDenseVector.h"

// sum over i of 100 (x[i+1] - x[i]^2)^2 + (1 - x[i])^2, in index order;
// least value 0 at (1, ..., 1).
template <typename T>
T rosenbrock(const CDenseVector<T>& x) {
  T sum = 0;
  for (int i = 0; i + 1 < x.dimension(); ++i) {
    const T valley = x[i + 1] - x[i] * x[i];
    const T slope = T(1) - x[i];
    sum += T(100) * valley * valley + slope * slope;
  }
  return sum;
}

// Adds the Rosenbrock objective to a search method.
template <typename Search>
class CRosenbrockProblem : public Search {
 public:
  using T = decltype(std::declval<Search&>().sign());
  using Search::Search;
  T evaluate(const CDenseVector<T>& x) override { return rosenbrock(x); }
};

// sum over i of (i + 1) (x[i] - centre[i])^2, in index order; least value 0
// at centre. Its gradient is 2 (i + 1) (x[i] - centre[i]).
template <typename Search>
class CBowlProblem : public Search {
 public:
  using T = decltype(std::declval<Search&>().sign());

  template <typename... Arguments>
  explicit CBowlProblem(std::vector<T> centre, Arguments&&... arguments)
      : Search(std::forward<Arguments>(arguments)...),
        centre(std::move(centre)) {}

  T evaluate(const CDenseVector<T>& x) override {
    T sum = 0;
    for (int i = 0; i < x.dimension(); ++i) {
      const T offset = x[i] - centre[i];
      sum += T(i + 1) * offset * offset;
    }
    return sum;
  }

  std::vector<T> centre;
};

#endif
