// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "dataset/DatasetAlgorithmTestSupport.h"
#include "support/ThreadCounts.h"
#include "vecml/dataset/CDatasetAlgorithm.h"

namespace {

using algorithm_test::datasetOf;
using testing::ContainsRegex;

template <typename T>
class CDatasetAlgorithmDeathTest : public testing::Test {};
using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CDatasetAlgorithmDeathTest, ElementTypes);

// The deviation is accumulated per component of the first item; a longer
// input reaches past it and the bounds check on i stops the process.
TYPED_TEST(CDatasetAlgorithmDeathTest,
           ZScoreOfAnInputLongerThanTheFirstAborts) {
  using T = TypeParam;
  const auto data = datasetOf<T>({{1, 2}, {3, 4, 5}});
  CDenseVector<T> mean, sd;
  EXPECT_DEATH(
      zscore(data, mean, sd),
      ContainsRegex("ML_LS_CHK failed in File: CDatasetAlgorithm\\.cpp "
                    "Line: [0-9]+\\. i=2 >= 2\n"));
}

TYPED_TEST(CDatasetAlgorithmDeathTest, ZScoreReportsTheFirstOutOfRangeIndex) {
  using T = TypeParam;
  const auto data = datasetOf<T>({{1}, {2}, {3, 4, 5, 6}});
  CDenseVector<T> mean, sd;
  EXPECT_DEATH(
      zscore(data, mean, sd),
      ContainsRegex("ML_LS_CHK failed in File: CDatasetAlgorithm\\.cpp "
                    "Line: [0-9]+\\. i=1 >= 1\n"));
}

// Large enough for several threads: the check still reports the first
// longer input, before any thread starts.
TYPED_TEST(CDatasetAlgorithmDeathTest,
           ZScoreOnSeveralThreadsReportsFirstIndex) {
  using T = TypeParam;
  test_support::Rows<T> rows(3000, std::vector<T>(130, T(1)));
  rows[2000].resize(131);
  rows[2500].resize(140);
  const auto data = datasetOf<T>(rows);
  CDenseVector<T> mean, sd;
  EXPECT_DEATH(
      {
        ScopedThreadCount threads(3);
        zscore(data, mean, sd);
      },
      ContainsRegex("ML_LS_CHK failed in File: CDatasetAlgorithm\\.cpp "
                    "Line: [0-9]+\\. i=130 >= 130\n"));
}

}  // namespace
