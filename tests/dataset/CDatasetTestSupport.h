// SPDX-License-Identifier: MIT
// Builders, a scripted metric and the random formulas shared by the dataset
// container tests.
#ifndef VECML_TESTS_DATASET_CDATASETTESTSUPPORT_H
#define VECML_TESTS_DATASET_CDATASETTESTSUPPORT_H

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <utility>
#include <vector>

#include "support/DatasetBuilder.h"
#include "vecml/dataset/CDataset.h"
#include "vecml/dataset/CDatasetItem.h"
#include "vecml/metric/CMetric.h"
#include "vecml/vector/CDenseVector.h"

namespace cdataset_test {

using FloatingTypes = testing::Types<float, double>;

template <typename T>
CDatasetItem<T> makeItem(int id, std::vector<T> input, std::vector<T> output) {
  return CDatasetItem<T>(CDenseVector<T>(input), CDenseVector<T>(output), id);
}

// Item k has id k, input (k, k + 0.5) and output (10 k).
template <typename T>
std::vector<T> numberedInput(int k) {
  return {T(k), T(k) + T(0.5)};
}
template <typename T>
std::vector<T> numberedOutput(int k) {
  return {T(10 * k)};
}
template <typename T>
CDatasetItem<T> numberedItem(int k) {
  return makeItem<T>(k, numberedInput<T>(k), numberedOutput<T>(k));
}

// A dataset of numberedItem(0) .. numberedItem(n - 1) whose capacity is
// exactly n, so that the sanitizers see any access past the last item.
template <typename T>
CDataset<T> numberedDataset(int n) {
  test_support::Rows<T> inputs, outputs;
  for (int k = 0; k < n; ++k) {
    inputs.push_back(numberedInput<T>(k));
    outputs.push_back(numberedOutput<T>(k));
  }
  return test_support::denseDataset(inputs, outputs, 0, n);
}

template <typename T>
std::vector<int> idsOf(const CDataset<T>& data) {
  std::vector<int> ids;
  for (int i = 0; i < data.items(); ++i) ids.push_back(data[i].id());
  return ids;
}

// Distances scripted per item: an item vector whose first element is k is
// at distance table[k]. Every call checks that the item vector comes first
// and the query second.
template <typename T>
class ScriptedMetric : public CMetric<T> {
 public:
  ScriptedMetric(std::vector<T> table, const CVector<T>& query)
      : table(std::move(table)), query(&query) {}

  T distance(const CVector<T>& a, const CVector<T>& b) const override {
    EXPECT_EQ(&b, query) << "the query must be the second argument";
    return table.at(static_cast<std::size_t>(a.getElement(0)));
  }

 private:
  std::vector<T> table;
  const CVector<T>* query;
};

// Items 0 .. table.size() - 1 whose input and output first elements are
// their index, for ScriptedMetric.
template <typename T>
CDataset<T> indexedDataset(int n) {
  test_support::Rows<T> indices;
  for (int k = 0; k < n; ++k) indices.push_back({T(k)});
  return test_support::denseDataset(indices, indices, 0, n);
}

// trunc((double)((float)rand() * (float)count) * 2^-31), written out.
inline int scaledDraw(int count) {
  const float product =
      static_cast<float>(std::rand()) * static_cast<float>(count);
  return static_cast<int>(static_cast<double>(product) * 4.656612873077393e-10);
}

// Runs `action` until it starts and ends within one second of the clock,
// and returns that second: the random members reseed with time(0).
template <typename Action>
std::time_t withinOneSecond(Action&& action) {
  while (true) {
    const std::time_t before = std::time(nullptr);
    action();
    if (std::time(nullptr) == before) return before;
  }
}

}  // namespace cdataset_test

#endif
