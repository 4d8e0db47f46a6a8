// SPDX-License-Identifier: MIT
// Linear discriminants give the same bits on every thread count: awkward
// item and feature counts, and sizes large enough that several threads run.
#include <gtest/gtest.h>

#include <string>

#include "dataset/CDatasetStatisticTestSupport.h"
#include "learning/ProjectionTestSupport.h"
#include "support/ThreadCounts.h"
#include "vecml/learning/CLinearDiscriminant.h"

namespace {

using statistic_test::cyclicLabels;
using statistic_test::randomRows;
using test_support::denseDataset;

template <typename T>
class CLinearDiscriminantThreadTest : public ::testing::Test {};

using ElementTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(CLinearDiscriminantThreadTest, ElementTypes);

// `items` random items of `features` inputs in four cyclic classes.
template <typename T>
CDataset<T> randomClasses(int items, int features) {
  return denseDataset(randomRows<T>(items, features, 3 + items, -1, 2),
                      cyclicLabels<T>(items, 4));
}

// Everything training learns from `data`, and the first item's projection.
template <typename T>
std::string learned(const CDataset<T>& data) {
  CLinearDiscriminant<T> lda;
  if (!lda.train(data)) return "refused";
  const CDenseVector<T> projected = lda.project(*data[0].inputVector());
  const CMatrix<T>& v = lda.directionMatrix();
  return bytesOf(lda.mean()._data(), lda.mean().dimension()) +
         bytesOf(v._data(), static_cast<std::size_t>(v.rows()) * v.columns()) +
         bytesOf(lda.eigenvalues()._data(), lda.directions()) +
         bytesOf(projected._data(), projected.dimension());
}

TYPED_TEST(CLinearDiscriminantThreadTest, AwkwardSizes) {
  for (int items : awkwardSizes())
    for (int features : {1, 7, 65}) {
      SCOPED_TRACE(std::to_string(items) + " x " + std::to_string(features));
      const CDataset<TypeParam> data =
          randomClasses<TypeParam>(items, features);
      expectSameBytesOnEveryThreadCount([&] { return learned(data); });
    }
}

TYPED_TEST(CLinearDiscriminantThreadTest, ManyItemsAndFeatures) {
  const CDataset<TypeParam> data = randomClasses<TypeParam>(3000, 130);
  ASSERT_NE(learned(data), "refused");
  expectSameBytesOnEveryThreadCount([&] { return learned(data); });
}

}  // namespace
