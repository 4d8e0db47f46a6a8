// SPDX-License-Identifier: MIT
// Builders and checks shared by the dataset transformation tests.
#ifndef VECML_TESTS_DATASET_DATASETALGORITHMTESTSUPPORT_H
#define VECML_TESTS_DATASET_DATASETALGORITHMTESTSUPPORT_H

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "support/DatasetBuilder.h"
#include "vecml/dataset/CDataset.h"
#include "vecml/dataset/CDatasetItem.h"
#include "vecml/vector/CDenseVector.h"
#include "vecml/vector/CSparseVector.h"

namespace algorithm_test {

template <typename T>
CDenseVector<T> dense(const std::vector<T>& values) {
  return CDenseVector<T>(values);
}

// A sparse vector of dimension \p dim storing the given (index, value)
// entries, which must be in ascending index order.
template <typename T>
CSparseVector<T> sparse(int dim,
                        const std::vector<std::pair<int, T>>& entries) {
  CSparseVector<T> v(dim, static_cast<int>(entries.size()));
  for (int k = 0; k < static_cast<int>(entries.size()); ++k)
    v.setElement(k, entries[k]);
  return v;
}

// A dataset with one item per input; item i has the output (i) and id
// 10 + i, so that outputs and ids tell the items apart.
template <typename T>
CDataset<T> datasetOf(const test_support::Rows<T>& inputs) {
  test_support::Rows<T> outputs;
  for (std::size_t i = 0; i < inputs.size(); ++i) outputs.push_back({T(i)});
  return test_support::denseDataset(inputs, outputs, 10);
}

// Input vector \p i of \p data, element by element.
template <typename T>
std::vector<T> inputOf(const CDataset<T>& data, int i) {
  return data[i].inputVector()->toSTL();
}

// Every item of \p result carries its own copy of the output vector of the
// item at the same position of \p source (same kind, same values) and the
// same id.
template <typename T>
void expectOutputsCopied(const CDataset<T>& source, const CDataset<T>& result) {
  ASSERT_EQ(result.items(), source.items());
  for (int i = 0; i < source.items(); ++i) {
    SCOPED_TRACE("item " + std::to_string(i));
    const CVector<T>& expected = *source[i].outputVector();
    const CVector<T>& actual = *result[i].outputVector();
    EXPECT_NE(&actual, &expected);
    EXPECT_EQ(actual.className(), expected.className());
    EXPECT_EQ(actual.toSTL(), expected.toSTL());
    EXPECT_EQ(actual.getNumNonZero(), expected.getNumNonZero());
    EXPECT_EQ(result[i].id(), source[i].id());
  }
}

}  // namespace algorithm_test

#endif
