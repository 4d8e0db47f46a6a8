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

// The bytes of the centres and the assignment after `train` ran on `kmeans`.
template <typename T, typename Train>
std::string resultBytes(CKMeans<T>& kmeans, const CDataset<T>& data,
                        Train train) {
  train(kmeans);
  std::string bytes;
  for (const std::vector<T>& centre : centresOf(kmeans))
    bytes += bytesOf(centre.data(), centre.size());
  const std::vector<int> nodes = kmeans.assignments(data);
  return bytes + bytesOf(nodes.data(), nodes.size());
}

TYPED_TEST(CKMeansThreadTest, SeededLloydMatchesOneThread) {
  using T = TypeParam;
  expectSameBytesOnEveryThreadCount([&] {
    CKMeans<T> kmeans(6, new CEuclideanMetric<T>(), 3);
    return resultBytes(kmeans, this->data,
                       [&](CKMeans<T>& k) { k.trainBatch(this->data, 4); });
  });
}

TYPED_TEST(CKMeansThreadTest, SquaredMetricLloydMatchesOneThread) {
  using T = TypeParam;
  expectSameBytesOnEveryThreadCount([&] {
    CKMeans<T> kmeans(6, new CEuclideanMetric2<T>(), 4);
    return resultBytes(kmeans, this->data,
                       [&](CKMeans<T>& k) { k.trainBatch(this->data, 3); });
  });
}

}  // namespace
