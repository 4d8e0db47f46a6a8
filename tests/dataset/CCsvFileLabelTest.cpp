// SPDX-License-Identifier: MIT
// Class-label columns: numeric labels, names numbered by first appearance,
// preset names, and the mapping kept by the last successful read.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "dataset/CCsvFileTestSupport.h"
#include "vecml/dataset/CCsvFile.h"
#include "vecml/dataset/CDataset.h"

namespace {

using namespace csv_file_test;
using testing::ElementsAre;

template <typename T>
class CCsvFileLabelTest : public testing::Test {};
TYPED_TEST_SUITE(CCsvFileLabelTest, FloatingTypes);

template <typename T>
std::vector<T> labelsOf(const CDataset<T>& data) {
  std::vector<T> labels;
  for (int i = 0; i < data.items(); ++i)
    labels.push_back(data[i].outputComponent(data[i].outputDimension() - 1));
  return labels;
}

CCsvFile labelledOnColumn(int column) {
  CCsvFile csv;
  csv.setLabelColumn(column);
  return csv;
}

TYPED_TEST(CCsvFileLabelTest, NumericLabelsKeepTheirValues) {
  using T = TypeParam;
  CCsvFile csv = labelledOnColumn(0);
  const CDataset<T> data = readOk<T>(csv, "2,1\n-0.5,3\n2,4\n");
  EXPECT_EQ(csv.labelColumn(), 0);
  EXPECT_THAT(labelsOf(data), ElementsAre(T(2), T(-0.5), T(2)));
  EXPECT_THAT(inputOf(data, 1), ElementsAre(T(3)));
  EXPECT_TRUE(csv.labelNames().empty());
}

TYPED_TEST(CCsvFileLabelTest, NamesAreNumberedByFirstAppearance) {
  using T = TypeParam;
  CCsvFile csv = labelledOnColumn(4);
  csv.setHeader(true);
  const CDataset<T> data =
      readOk<T>(csv,
                "sepal_length,sepal_width,petal_length,petal_width,kind\n"
                "5.1,3.5,1.4,0.2,Iris-setosa\n"
                "7.0,3.2,4.7,1.4,Iris-versicolor\n"
                "6.3,3.3,6.0,2.5,Iris-virginica\n"
                "4.9,3.0,1.4,0.2,Iris-setosa\n");
  ASSERT_EQ(data.items(), 4);
  EXPECT_EQ(data[0].inputDimension(), 4);
  EXPECT_EQ(data[0].outputDimension(), 1);
  EXPECT_THAT(labelsOf(data), ElementsAre(T(0), T(1), T(2), T(0)));
  EXPECT_THAT(inputOf(data, 0),
              ElementsAre(strtoT<T>("5.1"), strtoT<T>("3.5"), strtoT<T>("1.4"),
                          strtoT<T>("0.2")));
  EXPECT_THAT(csv.labelNames(),
              ElementsAre("Iris-setosa", "Iris-versicolor", "Iris-virginica"));
  EXPECT_THAT(csv.outputNames(), ElementsAre("kind"));
}

TYPED_TEST(CCsvFileLabelTest, MixedLabelsAreAllNames) {
  using T = TypeParam;
  CCsvFile csv = labelledOnColumn(1);
  const CDataset<T> data = readOk<T>(csv, "0,7\n0,cat\n0,7\n0, 1 \n");
  EXPECT_THAT(labelsOf(data), ElementsAre(T(0), T(1), T(0), T(2)));
  EXPECT_THAT(csv.labelNames(), ElementsAre("7", "cat", "1"));
}

TYPED_TEST(CCsvFileLabelTest, PresetNamesKeepTheirNumbers) {
  using T = TypeParam;
  CCsvFile csv = labelledOnColumn(1);
  csv.setLabelNames({"b", "a"});
  const CDataset<T> data = readOk<T>(csv, "0,a\n0,c\n0,b\n");
  EXPECT_THAT(labelsOf(data), ElementsAre(T(1), T(2), T(0)));
  EXPECT_THAT(csv.labelNames(), ElementsAre("b", "a", "c"));
  // The preset stays as set: a second file starts from it again.
  const CDataset<T> second = readOk<T>(csv, "0,d\n0,a\n");
  EXPECT_THAT(labelsOf(second), ElementsAre(T(2), T(1)));
  EXPECT_THAT(csv.labelNames(), ElementsAre("b", "a", "d"));
}

TYPED_TEST(CCsvFileLabelTest, PresetNamesMakeNumericLabelsNames) {
  using T = TypeParam;
  CCsvFile csv = labelledOnColumn(0);
  csv.setLabelNames({"5"});
  EXPECT_THAT(labelsOf(readOk<T>(csv, "9,1\n5,1\n")), ElementsAre(T(1), T(0)));
  EXPECT_THAT(csv.labelNames(), ElementsAre("5", "9"));
}

TYPED_TEST(CCsvFileLabelTest, TheLabelFollowsTheOutputColumns) {
  using T = TypeParam;
  CCsvFile csv = labelledOnColumn(0);
  csv.setOutputColumns({2});
  csv.setHeader(true);
  const CDataset<T> data = readOk<T>(csv, "k,x,y\nno,1,2\nyes,3,4\n");
  EXPECT_THAT(inputOf(data, 1), ElementsAre(T(3)));
  EXPECT_THAT(outputOf(data, 1), ElementsAre(T(4), T(1)));
  EXPECT_THAT(csv.inputNames(), ElementsAre("x"));
  EXPECT_THAT(csv.outputNames(), ElementsAre("y", "k"));
}

TYPED_TEST(CCsvFileLabelTest, AFailedReadKeepsTheLastMapping) {
  using T = TypeParam;
  CCsvFile csv = labelledOnColumn(1);
  csv.setHeader(true);
  readOk<T>(csv, "x,class\n1,a\n");
  EXPECT_NE(readError<T>(csv, "y,class\n1,b\nz,c\n"), "");
  EXPECT_THAT(csv.labelNames(), ElementsAre("a"));
  EXPECT_THAT(csv.inputNames(), ElementsAre("x"));
}

TYPED_TEST(CCsvFileLabelTest, ANumericReadClearsTheNames) {
  using T = TypeParam;
  CCsvFile csv = labelledOnColumn(1);
  readOk<T>(csv, "1,a\n");
  readOk<T>(csv, "1,2\n");
  EXPECT_TRUE(csv.labelNames().empty());
}

}  // namespace
