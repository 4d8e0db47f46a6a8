// SPDX-License-Identifier: MIT
// Shared helpers of the metric tests.
#ifndef VECML_TESTS_LEARNING_METRICTESTSUPPORT_H
#define VECML_TESTS_LEARNING_METRICTESTSUPPORT_H

#include <initializer_list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "vecml/metric/CMetric.h"
#include "vecml/vector/CDenseVector.h"
#include "vecml/vector/CSparseVector.h"

template <typename T>
CDenseVector<T> dense(std::initializer_list<T> values) {
  return CDenseVector<T>(std::vector<T>(values));
}

// A sparse vector of dimension `dim` storing `entries` (index, value).
template <typename T>
CSparseVector<T> sparse(int dim, std::vector<std::pair<int, T>> entries) {
  std::vector<int> positions;
  std::vector<T> values;
  for (const auto& [index, value] : entries) {
    positions.push_back(index);
    values.push_back(value);
  }
  return CSparseVector<T>(dim, static_cast<int>(entries.size()), values.data(),
                          positions.data());
}

// One object of every metric class with the name it must report.
template <typename T>
std::vector<std::pair<std::string, std::unique_ptr<CMetric<T>>>> allMetrics() {
  std::vector<std::pair<std::string, std::unique_ptr<CMetric<T>>>> metrics;
  metrics.emplace_back("CMetric", std::make_unique<CMetric<T>>());
  metrics.emplace_back("CEuclideanMetric",
                       std::make_unique<CEuclideanMetric<T>>());
  metrics.emplace_back("CEuclideanMetric2",
                       std::make_unique<CEuclideanMetric2<T>>());
  metrics.emplace_back("CManhattenMetric",
                       std::make_unique<CManhattenMetric<T>>());
  metrics.emplace_back("CMaximumMetric", std::make_unique<CMaximumMetric<T>>());
  metrics.emplace_back("CScalarMetric", std::make_unique<CScalarMetric<T>>());
  metrics.emplace_back("CCoCosineMetric",
                       std::make_unique<CCoCosineMetric<T>>());
  metrics.emplace_back("CAngleMetric", std::make_unique<CAngleMetric<T>>());
  metrics.emplace_back("CHyperbolicMetric",
                       std::make_unique<CHyperbolicMetric<T>>());
  return metrics;
}

#endif
