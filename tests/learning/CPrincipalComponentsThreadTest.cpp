// SPDX-License-Identifier: MIT
// Principal components give the same bits on every thread count: awkward
// item and feature counts, and sizes large enough that several threads run.
#include <gtest/gtest.h>

#include <string>

#include "dataset/CDatasetStatisticTestSupport.h"
#include "learning/ProjectionTestSupport.h"
#include "support/ThreadCounts.h"
#include "vecml/learning/CPrincipalComponents.h"

namespace {

using statistic_test::randomRows;
using test_support::unlabelled;

template <typename T>
class CPrincipalComponentsThreadTest : public ::testing::Test {};

using ElementTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(CPrincipalComponentsThreadTest, ElementTypes);

// Everything training learns from `data`, and the first item's projection.
template <typename T>
std::string learned(const CDataset<T>& data) {
  CPrincipalComponents<T> pca;
  if (!pca.train(data)) return "refused";
  const CDenseVector<T> projected = pca.project(*data[0].inputVector());
  return bytesOf(pca.mean()._data(), pca.mean().dimension()) +
         bytesOf(pca.components()._data(),
                 static_cast<std::size_t>(pca.components().rows()) *
                     pca.components().columns()) +
         bytesOf(pca.explainedVariance()._data(), pca.directions()) +
         bytesOf(pca.explainedVarianceRatio()._data(), pca.directions()) +
         bytesOf(projected._data(), projected.dimension());
}

TYPED_TEST(CPrincipalComponentsThreadTest, AwkwardSizes) {
  for (int items : awkwardSizes())
    for (int features : {1, 7, 65}) {
      SCOPED_TRACE(std::to_string(items) + " x " + std::to_string(features));
      const CDataset<TypeParam> data =
          unlabelled(randomRows<TypeParam>(items, features, 11 + items, -2, 3));
      expectSameBytesOnEveryThreadCount([&] { return learned(data); });
    }
}

TYPED_TEST(CPrincipalComponentsThreadTest, ManyItemsAndFeatures) {
  const CDataset<TypeParam> data =
      unlabelled(randomRows<TypeParam>(3000, 130, 5, -1, 4));
  ASSERT_NE(learned(data), "refused");
  expectSameBytesOnEveryThreadCount([&] { return learned(data); });
}

}  // namespace
