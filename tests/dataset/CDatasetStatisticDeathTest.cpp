// SPDX-License-Identifier: MIT
// Broken preconditions of the statistic that end the process with a report.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "dataset/CDatasetStatisticTestSupport.h"
#include "vecml/dataset/CDatasetStatistic.h"
#include "vecml/metric/CMetric.h"

namespace {

using statistic_test::denseDataset;
using testing::HasSubstr;

template <typename T>
class CDatasetStatisticDeathTest : public testing::Test {};
using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CDatasetStatisticDeathTest, ElementTypes);

TYPED_TEST(CDatasetStatisticDeathTest, ShorterInputAbortsWithItsIndexCheck) {
  const CDataset<TypeParam> data =
      denseDataset<TypeParam>({{1, 2}, {3}}, {{0}, {0}});
  EXPECT_DEATH(CDatasetStatistic<TypeParam>().covarianceMatrix(data),
               HasSubstr("ML_LS_CHK failed in File: CDenseVector.h Line: 168. "
                         "i=1 >= 1"));
}

TYPED_TEST(CDatasetStatisticDeathTest, LabelOfAnEmptyOutputAbortsWithItsCheck) {
  const CDataset<TypeParam> data = denseDataset<TypeParam>({{1}}, {{}});
  EXPECT_DEATH(CDatasetStatistic<TypeParam>().mean(data, TypeParam(0)),
               HasSubstr("ML_LS_CHK failed in File: CDenseVector.h Line: 168. "
                         "i=0 >= 0"));
}

TYPED_TEST(CDatasetStatisticDeathTest, RepresentativeBeyondTheMapAborts) {
  CDataset<TypeParam> data = denseDataset<TypeParam>({{0}, {1}}, {{0}, {2}});
  const CDataset<double> mapData = denseDataset<double>({{0}, {1}}, {{0}, {0}});
  const CEuclideanMetric<double> mapMetric;
  const CEuclideanMetric<TypeParam> inputMetric;
  const CDatasetStatistic<TypeParam> statistic(&data);
  EXPECT_DEATH(
      statistic.spearman(2, mapData, mapMetric, inputMetric),
      HasSubstr("ML_LS_CHK failed in File: CDatasetStatisticRank.cpp "));
  EXPECT_DEATH(statistic.rankMapSpace(2, mapData, mapMetric),
               HasSubstr(". representative=2 >= 2"));
}

TYPED_TEST(CDatasetStatisticDeathTest, NegativeRepresentativeAborts) {
  CDataset<TypeParam> data = denseDataset<TypeParam>({{0}, {1}}, {{-1}, {0}});
  const CDataset<double> mapData = denseDataset<double>({{0}}, {{0}});
  const CEuclideanMetric<double> mapMetric;
  EXPECT_DEATH(
      CDatasetStatistic<TypeParam>(&data).rankMapSpace(2, mapData, mapMetric),
      HasSubstr("ML_GEQ_CHK failed in File: CDatasetStatisticRank.cpp "));
  EXPECT_DEATH(
      CDatasetStatistic<TypeParam>(&data).rankMapSpace(2, mapData, mapMetric),
      HasSubstr(". representative=-1 < 0"));
}

}  // namespace
