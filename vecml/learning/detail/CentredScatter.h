// SPDX-License-Identifier: MIT
// Sums of the inputs of groups of items and the scatter of the inputs
// around their group's centre, both accumulated in double whatever the
// element type, for the projections that learn from second moments.
#ifndef VECML_LEARNING_DETAIL_CENTREDSCATTER_H
#define VECML_LEARNING_DETAIL_CENTREDSCATTER_H

#include <cstddef>
#include <numeric>
#include <vector>

#include "vecml/dataset/CDataset.h"
#include "vecml/dataset/detail/DatasetInputs.h"
#include "vecml/dataset/detail/PackedTriangle.h"
#include "vecml/matrix/CMatrix.h"

namespace vecml::detail {

/// \return true when \p data has items and every input has dimension \p d.
template <typename T>
bool inputsHaveDimension(const CDataset<T>& data, int d) {
  for (int n = 0; n < data.items(); ++n)
    if (data.item(n).inputVector()->dimension() != d) return false;
  return data.items() > 0;
}

/// The sums of the inputs of every group: element (g, i) at g * d + i, each
/// summed in double over the items n with group[n] == g in item order.
/// Features are split over threads; each sum stays in the serial order.
/// requires: every input has d elements; group[n] < groups for every item.
template <typename T>
std::vector<double> groupSums(const CDataset<T>& data, int d,
                              const std::vector<int>& group, int groups) {
  std::vector<double> sums(static_cast<std::size_t>(groups) * d, 0.0);
  std::vector<int> all(static_cast<std::size_t>(data.items()));
  std::iota(all.begin(), all.end(), 0);
  splitFeatures(data, d, all, [&](int first, int last) {
    DatasetInputs<T> inputs(data, d);
    for (int n : all) {
      const T* x = inputs(n);
      double* sum = sums.data() + static_cast<std::size_t>(group[n]) * d;
      for (int i = first; i < last; ++i) sum[i] += static_cast<double>(x[i]);
    }
  });
  return sums;
}

/// The d x d scatter of the inputs around their group's centre: the sum
/// over the items n, in item order, of c c^T with
/// c = double(x_n) - centres[group[n] * d ..], products and sums in double.
/// Columns are split over threads; every element keeps the serial order,
/// so the result does not depend on the thread count.
/// requires: as groupSums(), with centres of groups * d elements.
template <typename T>
CMatrix<double> centredScatter(const CDataset<T>& data, int d,
                               const std::vector<double>& centres,
                               const std::vector<int>& group) {
  PackedTriangle<double> scatter(d);
  scatter.splitColumns(
      static_cast<std::size_t>(data.items()), [&](int first, int last) {
        ColumnShare<double, SumOfProductsStep> share(scatter, first, last);
        DatasetInputs<T> inputs(data, d);
        for (int n = 0; n < data.items(); ++n) {
          const T* x = inputs(n);
          const double* centre =
              centres.data() + static_cast<std::size_t>(group[n]) * d;
          double* c = share.add({});
          for (int i = 0; i < d; ++i)
            c[i] = static_cast<double>(x[i]) - centre[i];
        }
        share.finish();
      });
  return scatter.toMatrix();
}

}  // namespace vecml::detail

#endif
