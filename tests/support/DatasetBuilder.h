// SPDX-License-Identifier: MIT
// The one way tests build datasets of dense items.
#ifndef VECML_TESTS_SUPPORT_DATASETBUILDER_H
#define VECML_TESTS_SUPPORT_DATASETBUILDER_H

#include <cstddef>
#include <vector>

#include "vecml/dataset/CDataset.h"
#include "vecml/dataset/CDatasetItem.h"
#include "vecml/vector/CDenseVector.h"

namespace test_support {

template <typename T>
using Rows = std::vector<std::vector<T>>;

// A dataset whose item n holds the dense input inputs[n], the dense output
// outputs[n] and the id firstId + n, made with the given capacity and grow
// size.
template <typename T>
CDataset<T> denseDataset(const Rows<T>& inputs, const Rows<T>& outputs,
                         int firstId = 0, int capacity = 1000,
                         int growSize = 1000) {
  CDataset<T> data(capacity, growSize);
  for (std::size_t n = 0; n < inputs.size(); ++n)
    data.appendItem(CDatasetItem<T>(CDenseVector<T>(inputs[n]),
                                    CDenseVector<T>(outputs[n]),
                                    firstId + static_cast<int>(n)));
  return data;
}

}  // namespace test_support

#endif
