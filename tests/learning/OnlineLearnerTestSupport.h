// SPDX-License-Identifier: MIT
// Shared helpers of the neural gas and self-organising map tests: data
// builders, a maker of each learner for typed tests, and the bytes of
// prototypes and stored records.
#ifndef VECML_TESTS_LEARNING_ONLINELEARNERTESTSUPPORT_H
#define VECML_TESTS_LEARNING_ONLINELEARNERTESTSUPPORT_H

#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

#include "support/TempFile.h"
#include "support/ThreadCounts.h"
#include "vecml/dataset/CDataset.h"
#include "vecml/dataset/CDatasetItem.h"
#include "vecml/learning/CClusterAlgorithm.h"
#include "vecml/learning/CNeuralGas.h"
#include "vecml/learning/CSelfOrganizingMap.h"
#include "vecml/learning/detail/RandomSource.h"
#include "vecml/vector/CDenseVector.h"

// `perBlob` points normally spread by `spread` around each centre; the
// output element is the blob's number.
template <typename T>
CDataset<T> blobs(const std::vector<std::vector<double>>& centres, int perBlob,
                  double spread, std::uint64_t seed = 7) {
  vecml::detail::RandomSource random(seed);
  CDataset<T> data;
  for (std::size_t blob = 0; blob < centres.size(); ++blob) {
    for (int k = 0; k < perBlob; ++k) {
      std::vector<T> point;
      for (double centre : centres[blob])
        point.push_back(static_cast<T>(centre + spread * random.normal()));
      data.appendItem(
          CDatasetItem<T>(CDenseVector<T>(point), CDenseVector<T>(1, T(blob))));
    }
  }
  return data;
}

// Three well-separated blobs of 30 points in the plane.
template <typename T>
CDataset<T> threeBlobs() {
  return blobs<T>({{0, 0}, {10, 0}, {0, 10}}, 30, 0.3);
}

// The bytes of every prototype's input elements, in prototype order.
template <typename T>
std::string prototypeBytes(const CClusterAlgorithm<T>& algorithm) {
  std::string bytes;
  const CDataset<T>& prototypes = algorithm.referenceVectors();
  for (int i = 0; i < prototypes.items(); ++i) {
    for (int j = 0; j < prototypes.item(i).inputVector()->dimension(); ++j) {
      const T value = prototypes.item(i).inputComponent(j);
      bytes += bytesOf(&value, 1);
    }
  }
  return bytes;
}

// What serialize(IO_WRITE) stores for `algorithm`; `written` receives its
// result.
template <typename T>
std::string storedRecord(CClusterAlgorithm<T>& algorithm, bool& written) {
  TempFile file;
  {
    std::fstream out(file.path(), std::ios::out | std::ios::binary);
    written = algorithm.serialize(out, IO_WRITE);
  }
  return file.contents();
}

// serialize(IO_READ) of `record` into `algorithm`.
template <typename T>
bool readRecord(CClusterAlgorithm<T>& algorithm, const std::string& record) {
  TempFile file;
  file.write(record);
  std::fstream in(file.path(), std::ios::in | std::ios::binary);
  return algorithm.serialize(in, IO_READ);
}

// The element type of a learner class template instance.
template <typename Learner>
struct ElementOf;
template <template <typename> class Learner, typename T>
struct ElementOf<Learner<T>> {
  using type = T;
};

// Makes each learner of the typed tests with a small layout: a gas of
// four prototypes, a 2 x 2 map.
template <typename Learner>
struct LearnerMaker;

// setDecays() sets the step size (learning rate) and the range (radius)
// decays; decayValues() reads them back as the values at the first and
// last of two steps. extents is the number of 4-byte shape values stored.
template <typename T>
struct LearnerMaker<CNeuralGas<T>> {
  static constexpr int extents = 1;
  static CNeuralGas<T> make(std::uint64_t seed) {
    return CNeuralGas<T>(4, new CEuclideanMetric<T>(), seed);
  }
  static void setDecays(CNeuralGas<T>& gas, double a, double b, double c,
                        double d) {
    gas.setStepSizes(a, b);
    gas.setRanges(c, d);
  }
  static std::vector<double> decayValues(const CNeuralGas<T>& gas) {
    return {gas.stepSizeAt(0, 2), gas.stepSizeAt(1, 2), gas.rangeAt(0, 2),
            gas.rangeAt(1, 2)};
  }
};

template <typename T>
struct LearnerMaker<CSelfOrganizingMap<T>> {
  static constexpr int extents = 2;
  static CSelfOrganizingMap<T> make(std::uint64_t seed) {
    return CSelfOrganizingMap<T>(2, 2, new CEuclideanMetric<T>(), seed);
  }
  static void setDecays(CSelfOrganizingMap<T>& map, double a, double b,
                        double c, double d) {
    map.setLearningRates(a, b);
    map.setRadii(c, d);
  }
  static std::vector<double> decayValues(const CSelfOrganizingMap<T>& map) {
    return {map.learningRateAt(0, 2), map.learningRateAt(1, 2),
            map.radiusAt(0, 2), map.radiusAt(1, 2)};
  }
};

using OnlineLearners =
    testing::Types<CNeuralGas<float>, CNeuralGas<double>,
                   CSelfOrganizingMap<float>, CSelfOrganizingMap<double>>;

#endif
