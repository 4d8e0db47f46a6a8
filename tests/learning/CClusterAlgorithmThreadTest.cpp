// SPDX-License-Identifier: MIT
// Assignments and quantisation errors of datasets long enough to be split
// over threads: every thread count gives the bits of one thread.
#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <string>
#include <vector>

#include "learning/CClusterAlgorithmTestSupport.h"
#include "support/ThreadCounts.h"

namespace {

template <typename T>
class CClusterAlgorithmThreadTest : public testing::Test {
 protected:
  // Enough items x prototypes x elements for seven threads; duplicate
  // prototypes make ties and a few NaN inputs make NaN distances.
  CClusterAlgorithmThreadTest() {
    std::mt19937 engine(7);
    std::uniform_real_distribution<double> uniform(-1.0, 1.0);
    const auto randomItem = [&] {
      CDenseVector<T> input(kDimension);
      for (T& element : input) element = T(uniform(engine));
      return CDatasetItem<T>(input, CDenseVector<T>(1, T(0)));
    };
    for (int p = 0; p < kPrototypes; ++p) {
      const CDatasetItem<T> prototype = randomItem();
      algorithm.referenceVectors().appendItem(prototype);
      if (p % 10 == 0) algorithm.referenceVectors().appendItem(prototype);
    }
    for (int j = 0; j < 3001; ++j) data.appendItem(randomItem());
    for (int j = 0; j < 3001; j += 500)
      data[j].inputVector()->operator*=(std::numeric_limits<T>::quiet_NaN());
  }

  static constexpr int kDimension = 4;
  static constexpr int kPrototypes = 40;
  CFixedPrototypes<T> algorithm{new CEuclideanMetric<T>()};
  CDataset<T> data;
};

using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CClusterAlgorithmThreadTest, ElementTypes);

TYPED_TEST(CClusterAlgorithmThreadTest, AssignmentsMatchOneThread) {
  expectSameBytesOnEveryThreadCount([&] {
    const std::vector<int> nodes = this->algorithm.assignments(this->data);
    return bytesOf(nodes.data(), nodes.size());
  });
}

TYPED_TEST(CClusterAlgorithmThreadTest, ErrorMatchesOneThread) {
  // Without the NaN items, so that the error has bits worth comparing.
  CDataset<TypeParam> finite;
  for (int j = 0; j < this->data.items(); ++j)
    if (j % 500 != 0) finite.appendItem(this->data[j]);
  expectSameBytesOnEveryThreadCount([&] {
    const TypeParam error = this->algorithm.quantizationError(finite);
    return bytesOf(&error, 1);
  });
}

}  // namespace
