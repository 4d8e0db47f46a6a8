// SPDX-License-Identifier: MIT
// The mean input of every cluster, summed in a fixed order so that the
// result does not depend on how many threads share the work.
#ifndef VECML_LEARNING_DETAIL_CENTREMEANS_H
#define VECML_LEARNING_DETAIL_CENTREMEANS_H

#include <algorithm>
#include <cstddef>
#include <vector>

#include "vecml/core/detail/Parallel.h"
#include "vecml/dataset/CDataset.h"
#include "vecml/vector/detail/ExactKind.h"

namespace vecml::detail {

/// Sums the inputs of the items of each cluster in double: within a block
/// of blockItems consecutive items in item order, then the block sums in
/// block order. Blocks are summed a wave at a time, one block per thread,
/// and each wave is added to the totals in block order, so the wave size
/// (the thread count) never changes a bit.
template <typename T>
class CentreMeans {
 public:
  /// \p nodes[j] is the cluster (0 .. clusters - 1) of item j of \p data,
  /// whose inputs have \p dimension elements.
  CentreMeans(const CDataset<T>& data, const std::vector<int>& nodes,
              int clusters, int dimension, int blockItems)
      : data(data),
        nodes(nodes),
        dimension(std::size_t(dimension)),
        cells(std::size_t(clusters) * std::size_t(dimension)),
        blockItems(std::size_t(blockItems)),
        sums(cells, 0.0),
        counts(std::size_t(clusters), 0) {
    const std::size_t items = nodes.size();
    const std::size_t blocks =
        (items + this->blockItems - 1) / this->blockItems;
    const double blockWork = double(this->blockItems) * double(dimension + 1);
    const std::size_t wave = std::size_t(
        std::max(1, threadsFor(double(blocks) * blockWork, blocks)));
    std::vector<double> partialSums(wave * cells);
    std::vector<long long> partialCounts(wave * counts.size());
    for (std::size_t first = 0; first < blocks; first += wave) {
      const std::size_t inWave = std::min(wave, blocks - first);
      parallelFor(inWave, blockWork, [&](std::size_t begin, std::size_t end) {
        for (std::size_t b = begin; b < end; ++b)
          sumBlock(first + b, partialSums.data() + b * cells,
                   partialCounts.data() + b * counts.size());
      });
      for (std::size_t b = 0; b < inWave; ++b)
        addBlock(b, partialSums, partialCounts);
    }
  }

  /// \return the number of items in cluster \p c.
  long long count(int c) const { return counts[std::size_t(c)]; }
  /// \return element \p i of the mean of cluster \p c (sum / count in
  ///         double). requires: count(c) > 0.
  double mean(int c, int i) const {
    return sums[std::size_t(c) * dimension + std::size_t(i)] /
           double(counts[std::size_t(c)]);
  }

 private:
  void sumBlock(std::size_t block, double* blockSums,
                long long* blockCounts) const {
    std::fill(blockSums, blockSums + cells, 0.0);
    std::fill(blockCounts, blockCounts + counts.size(), 0);
    const std::size_t end = std::min(nodes.size(), (block + 1) * blockItems);
    for (std::size_t j = block * blockItems; j < end; ++j) {
      const std::size_t c = std::size_t(nodes[j]);
      const CVector<T>& input = *data[int(j)].inputVector();
      const CDenseVector<T>* dense = exactlyDense(input);
      double* cell = blockSums + c * dimension;
      for (std::size_t i = 0; i < dimension; ++i)
        cell[i] += double(dense != nullptr ? dense->_data()[i] : input[int(i)]);
      ++blockCounts[c];
    }
  }

  void addBlock(std::size_t slot, const std::vector<double>& partialSums,
                const std::vector<long long>& partialCounts) {
    for (std::size_t k = 0; k < cells; ++k)
      sums[k] += partialSums[slot * cells + k];
    for (std::size_t c = 0; c < counts.size(); ++c)
      counts[c] += partialCounts[slot * counts.size() + c];
  }

  const CDataset<T>& data;
  const std::vector<int>& nodes;
  std::size_t dimension;
  std::size_t cells;
  std::size_t blockItems;
  std::vector<double> sums;
  std::vector<long long> counts;
};

}  // namespace vecml::detail

#endif
