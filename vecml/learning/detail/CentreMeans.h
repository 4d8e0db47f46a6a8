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

/// Sums the inputs of the items of each cluster in double: the items are
/// cut into blocks (as many as there are whole multiples of blockItems, at
/// least one and at most kMaxBlocks, equal and contiguous), each block is
/// summed in item order, and the block sums are then added in block order.
/// The cut depends on the item count only, and the blocks are shared out
/// over threads whole, so the thread count never changes a bit.
template <typename T>
class CentreMeans {
 public:
  /// Most blocks: bounds the memory of the block sums.
  static constexpr int kMaxBlocks = 64;

  /// \p nodes[j] is the cluster (0 .. clusters - 1) of item j of \p data,
  /// whose inputs have \p dimension elements.
  CentreMeans(const CDataset<T>& data, const std::vector<int>& nodes,
              int clusters, int dimension, int blockItems)
      : data(data),
        nodes(nodes),
        dimension(std::size_t(dimension)),
        cells(std::size_t(clusters) * std::size_t(dimension)),
        sums(cells, 0.0),
        counts(std::size_t(clusters), 0) {
    const std::size_t items = nodes.size();
    blocks = int(std::clamp<std::size_t>(items / std::size_t(blockItems), 1,
                                         kMaxBlocks));
    std::vector<double> blockSums(std::size_t(blocks) * cells);
    std::vector<long long> blockCounts(std::size_t(blocks) * counts.size());
    const double blockWork = double(items) / blocks * double(dimension + 1);
    parallelFor(std::size_t(blocks), blockWork,
                [&](std::size_t begin, std::size_t end) {
                  for (std::size_t b = begin; b < end; ++b)
                    sumBlock(int(b), blockSums.data() + b * cells,
                             blockCounts.data() + b * counts.size());
                });
    for (std::size_t b = 0; b < std::size_t(blocks); ++b)
      addBlock(b, blockSums, blockCounts);
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
  void sumBlock(int block, double* blockSums, long long* blockCounts) const {
    std::fill(blockSums, blockSums + cells, 0.0);
    std::fill(blockCounts, blockCounts + counts.size(), 0);
    const std::size_t end = blockStart(nodes.size(), block + 1, blocks);
    for (std::size_t j = blockStart(nodes.size(), block, blocks); j < end;
         ++j) {
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
  int blocks = 1;
  std::vector<double> sums;
  std::vector<long long> counts;
};

}  // namespace vecml::detail

#endif
