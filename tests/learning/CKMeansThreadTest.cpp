// SPDX-License-Identifier: MIT
// k-means on data long enough for its seeding, assignment and centre means
// to be split over threads: every thread count gives the bits of one.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "learning/CKMeansTestSupport.h"
#include "support/ThreadCounts.h"

namespace {

template <typename T>
class CKMeansThreadTest : public testing::Test {
 protected:
  // Five mean blocks of eight-element inputs: enough work for threads in
  // every stage.
  CDataset<T> data =
      datasetOf<T>(randomRows<T>(4 * CKMeans<T>::kMeanBlock + 123, 8, 17));
};

using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CKMeansThreadTest, ElementTypes);

// The bytes of the centres and the assignment after seeding and `epochs`
// Lloyd iterations under `metric`.
template <typename T>
std::string lloydBytes(const CDataset<T>& data, CMetric<T>* metric,
                       int epochs) {
  CKMeans<T> kmeans(6, metric, 3);
  kmeans.trainBatch(data, epochs);
  std::string bytes;
  for (const std::vector<T>& centre : centresOf(kmeans))
    bytes += bytesOf(centre.data(), centre.size());
  const std::vector<int> nodes = kmeans.assignments(data);
  return bytes + bytesOf(nodes.data(), nodes.size());
}

TYPED_TEST(CKMeansThreadTest, SeededLloydMatchesOneThread) {
  expectSameBytesOnEveryThreadCount([&] {
    return lloydBytes(this->data, new CEuclideanMetric<TypeParam>(), 4);
  });
}

TYPED_TEST(CKMeansThreadTest, SquaredMetricLloydMatchesOneThread) {
  expectSameBytesOnEveryThreadCount([&] {
    return lloydBytes(this->data, new CEuclideanMetric2<TypeParam>(), 3);
  });
}

}  // namespace
