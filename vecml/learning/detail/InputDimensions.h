// SPDX-License-Identifier: MIT
// Checking that a dataset's inputs can be averaged element by element.
#ifndef VECML_LEARNING_DETAIL_INPUTDIMENSIONS_H
#define VECML_LEARNING_DETAIL_INPUTDIMENSIONS_H

#include "vecml/dataset/CDataset.h"

namespace vecml::detail {

/// \return true when every input of \p data has \p dimension elements.
template <typename T>
bool allInputsOf(const CDataset<T>& data, int dimension) {
  for (int j = 0; j < data.items(); ++j)
    if (data[j].inputDimension() != dimension) return false;
  return true;
}

}  // namespace vecml::detail

#endif
