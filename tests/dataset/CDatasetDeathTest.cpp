// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "dataset/CDatasetTestSupport.h"
#include "vecml/dataset/CDataset.h"

namespace {

using cdataset_test::FloatingTypes;
using cdataset_test::numberedDataset;
using testing::AllOf;
using testing::HasSubstr;

template <typename T>
class CDatasetDeathTest : public testing::Test {};
TYPED_TEST_SUITE(CDatasetDeathTest, FloatingTypes);

TYPED_TEST(CDatasetDeathTest, SubsetOfMoreItemsThanThereAreAborts) {
  const CDataset<TypeParam> data = numberedDataset<TypeParam>(3);
  EXPECT_DEATH(data.subset(4),
               HasSubstr("ML_LEQ_CHK failed in File: CDataset.h Line: 1314. "
                         "iNbItems=4 > 3\n"));
}

TYPED_TEST(CDatasetDeathTest, RandomItemOfAnEmptyDatasetAborts) {
  CDataset<TypeParam> data;
  const auto report =
      AllOf(HasSubstr("ML_GEQ_CHK failed in File: CDataset.cpp"),
            HasSubstr(". itemCount=0 < 1\n"));
  EXPECT_DEATH(data.randomItem(), report);
  const CDataset<TypeParam>& constData = data;
  EXPECT_DEATH(constData.getRandomItem(), report);
}

}  // namespace
