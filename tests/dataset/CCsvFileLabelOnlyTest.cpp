// SPDX-License-Identifier: MIT
// Tables whose records hold fewer values than an item's output: the label
// slot of the output vector is not backed by the table, and a table of the
// label column alone backs nothing at all.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "dataset/CCsvFileTestSupport.h"
#include "vecml/dataset/CCsvFile.h"
#include "vecml/dataset/CDataset.h"

namespace {

using namespace csv_file_test;
using testing::ElementsAre;

template <typename T>
class CCsvFileLabelOnlyTest : public testing::Test {};
TYPED_TEST_SUITE(CCsvFileLabelOnlyTest, FloatingTypes);

TYPED_TEST(CCsvFileLabelOnlyTest, ALabelColumnAloneGivesLabelOnlyItems) {
  using T = TypeParam;
  CCsvFile csv;
  csv.setDelimiter(' ');
  csv.setLabelColumn(0);
  const CDataset<T> data = readOk<T>(csv, "a\nb\na\n");
  ASSERT_EQ(data.items(), 3);
  for (int i = 0; i < data.items(); ++i) {
    EXPECT_EQ(data[i].inputDimension(), 0);
    EXPECT_EQ(data[i].outputDimension(), 1);
  }
  EXPECT_EQ(data[0].outputComponent(0), T(0));
  EXPECT_EQ(data[1].outputComponent(0), T(1));
  EXPECT_EQ(data[2].outputComponent(0), T(0));
}

TYPED_TEST(CCsvFileLabelOnlyTest, TheLabelFollowsTheLastRecordsOutputs) {
  using T = TypeParam;
  CCsvFile csv;
  csv.setOutputColumns({1});
  csv.setLabelColumn(2);
  const CDataset<T> data = readOk<T>(csv, "1,2,x\n");
  ASSERT_EQ(data.items(), 1);
  EXPECT_THAT(inputOf(data, 0), ElementsAre(T(1)));
  EXPECT_EQ(data[0].outputDimension(), 2);
  EXPECT_EQ(data[0].outputComponent(0), T(2));
  EXPECT_EQ(data[0].outputComponent(1), T(0));
}

}  // namespace
