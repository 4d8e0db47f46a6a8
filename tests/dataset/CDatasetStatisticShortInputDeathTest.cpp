// SPDX-License-Identifier: MIT
// Every walk over the inputs reads a dense input that is shorter than the
// first one through its checked accessor, wherever it stands in the
// dataset, and so ends with the vector's index report instead of reading
// past its end.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "dataset/CDatasetStatisticTestSupport.h"
#include "vecml/dataset/CDatasetStatistic.h"

namespace {

using statistic_test::denseDataset;
using statistic_test::randomRows;
using statistic_test::Rows;
using testing::HasSubstr;

template <typename T>
class CDatasetStatisticShortInputDeathTest : public testing::Test {};
using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CDatasetStatisticShortInputDeathTest, ElementTypes);

// 40 items of 5 features, except item `shortItem`, which has 3.
template <typename T>
CDataset<T> withShortInput(int shortItem) {
  Rows<T> inputs = randomRows<T>(40, 5, 7u, -1.0, 1.0);
  inputs[shortItem].resize(3);
  return denseDataset(inputs, Rows<T>(inputs.size(), {T(0)}));
}

constexpr char kReport[] =
    "ML_LS_CHK failed in File: CDenseVector.h Line: 168. i=3 >= 3";

TYPED_TEST(CDatasetStatisticShortInputDeathTest, EveryWalkAborts) {
  using T = TypeParam;
  for (const int shortItem : {1, 20, 39}) {
    SCOPED_TRACE("short item " + std::to_string(shortItem));
    CDataset<T> data = withShortInput<T>(shortItem);
    const CDatasetStatistic<T> statistic(&data);
    CDenseVector<T> mean, stdDev, variance;
    const std::function<void()> walks[] = {
        [&] { statistic.mean(data); },
        [&] { statistic.mean(data, T(0)); },
        [&] { statistic.covarianceMatrix(data); },
        [&] { statistic.covarianceMatrix(data, T(0)); },
        [&] { statistic.getAutoCorrelation(); },
        [&] { statistic.minElements(); },
        [&] { statistic.maxElements(); },
        [&] { statistic.statistic(mean, stdDev, variance); },
        [&] {
          statistic.statistic(CDenseVector<T>(1), mean, stdDev, variance);
        },
        [&] { statistic.dumpStatistic(); },
    };
    for (const auto& walk : walks) EXPECT_DEATH(walk(), HasSubstr(kReport));
  }
}

}  // namespace
