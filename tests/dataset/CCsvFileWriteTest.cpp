// SPDX-License-Identifier: MIT
// Writing datasets as delimited text: layout, digits, header names, label
// names, refusals, and round trips through text.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "dataset/CCsvFileTestSupport.h"
#include "support/TempFile.h"
#include "vecml/dataset/CCsvFile.h"
#include "vecml/dataset/CDataset.h"
#include "vecml/dataset/CDatasetItem.h"
#include "vecml/vector/CDenseVector.h"
#include "vecml/vector/CSparseVector.h"

namespace {

using namespace csv_file_test;

template <typename T>
class CCsvFileWriteTest : public testing::Test {};
TYPED_TEST_SUITE(CCsvFileWriteTest, FloatingTypes);

template <typename T>
CDatasetItem<T> itemOf(std::vector<T> input, std::vector<T> output) {
  return CDatasetItem<T>(CDenseVector<T>(input), CDenseVector<T>(output));
}

// Two items of two inputs and one output with short decimal values.
template <typename T>
CDataset<T> smallDataset() {
  CDataset<T> data;
  data.appendItem(itemOf<T>({T(0.5), T(-2)}, {T(1)}));
  data.appendItem(itemOf<T>({T(1024), T(0.125)}, {T(0)}));
  return data;
}

TYPED_TEST(CCsvFileWriteTest, WritesInputsThenOutputsPerLine) {
  EXPECT_EQ(writeText(CCsvFile(), smallDataset<TypeParam>()),
            "0.5,-2,1\n1024,0.125,0\n");
}

TYPED_TEST(CCsvFileWriteTest, UsesTheDelimiter) {
  CCsvFile csv;
  csv.setDelimiter('\t');
  EXPECT_EQ(writeText(csv, smallDataset<TypeParam>()),
            "0.5\t-2\t1\n1024\t0.125\t0\n");
}

TEST(CCsvFileDigitsTest, PrintsMaxDigits10SignificantDigits) {
  CDataset<float> floats;
  floats.appendItem(itemOf<float>({0.1f}, {}));
  EXPECT_EQ(writeText(CCsvFile(), floats), "0.100000001\n");
  CDataset<double> doubles;
  doubles.appendItem(itemOf<double>({0.1}, {}));
  EXPECT_EQ(writeText(CCsvFile(), doubles), "0.10000000000000001\n");
}

TYPED_TEST(CCsvFileWriteTest, WritesInfinityAndNaNSoTheyReadBack) {
  using T = TypeParam;
  CDataset<T> data;
  data.appendItem(itemOf<T>(
      {std::numeric_limits<T>::infinity(), -std::numeric_limits<T>::infinity(),
       std::numeric_limits<T>::quiet_NaN()},
      {}));
  const std::string text = writeText(CCsvFile(), data);
  EXPECT_EQ(text, "inf,-inf,nan\n");
  const CDataset<T> back = readOk<T>(CCsvFile(), text);
  EXPECT_EQ(back[0].inputComponent(1), -std::numeric_limits<T>::infinity());
}

TYPED_TEST(CCsvFileWriteTest, WritesSparseVectorsElementByElement) {
  using T = TypeParam;
  CDataset<T> data;
  const CSparseVector<T> input(CDenseVector<T>(std::vector<T>{0, 4, 0}));
  data.appendItem(CDatasetItem<T>(input, CDenseVector<T>(1, T(2))));
  EXPECT_EQ(writeText(CCsvFile(), data), "0,4,0,2\n");
}

// smallDataset() under the names a header gets without names from a read.
const std::string kSmallWithNumberedNames =
    "x0,x1,y0\n0.5,-2,1\n1024,0.125,0\n";

TYPED_TEST(CCsvFileWriteTest, HeaderNamesDefaultToXAndY) {
  CCsvFile csv;
  csv.setHeader(true);
  EXPECT_EQ(writeText(csv, smallDataset<TypeParam>()), kSmallWithNumberedNames);
}

TYPED_TEST(CCsvFileWriteTest, HeaderNamesComeFromTheLastRead) {
  using T = TypeParam;
  CCsvFile csv;
  csv.setHeader(true);
  csv.setOutputColumns({0});
  const std::string text = "out,\"a,1\",\" b\",\"c\"\"\"\n1,2,3,4\n";
  const CDataset<T> data = readOk<T>(csv, text);
  EXPECT_EQ(writeText(csv, data), "\"a,1\",\" b\",\"c\"\"\",out\n2,3,4,1\n");
  // Names that do not fit the dataset's dimensions are replaced.
  EXPECT_EQ(writeText(csv, smallDataset<T>()), kSmallWithNumberedNames);
}

TYPED_TEST(CCsvFileWriteTest, WritesLabelNamesBack) {
  using T = TypeParam;
  CCsvFile csv;
  csv.setHeader(true);
  csv.setLabelColumn(2);
  const std::string text =
      "a,b,kind\n0.5,1,red\n2,-4,\"dark, blue\"\n0,0,red\n";
  const CDataset<T> data = readOk<T>(csv, text);
  EXPECT_EQ(writeText(csv, data), text);
  // Values that name no label are written as numbers.
  CDataset<T> other;
  other.appendItem(itemOf<T>({T(1)}, {T(1)}));
  other.appendItem(itemOf<T>({T(1)}, {T(0.5)}));
  other.appendItem(itemOf<T>({T(1)}, {T(2)}));
  other.appendItem(itemOf<T>({T(1)}, {T(-1)}));
  csv.setHeader(false);
  EXPECT_EQ(writeText(csv, other), "1,\"dark, blue\"\n1,0.5\n1,2\n1,-1\n");
}

TYPED_TEST(CCsvFileWriteTest, AnEmptyDatasetWritesOnlyTheHeader) {
  CCsvFile csv;
  EXPECT_EQ(writeText(csv, CDataset<TypeParam>()), "");
  csv.setHeader(true);
  EXPECT_EQ(writeText(csv, CDataset<TypeParam>()), "\n");
}

TYPED_TEST(CCsvFileWriteTest, RefusesItemsOfOtherDimensions) {
  using T = TypeParam;
  CDataset<T> data = smallDataset<T>();
  data.appendItem(itemOf<T>({T(1)}, {T(1)}));
  std::ostringstream out;
  std::string error;
  EXPECT_FALSE(CCsvFile().write(out, data, error));
  EXPECT_EQ(error, kWritePrefix +
                       "item 2 has dimensions 1 and 1, the first item 2 and 1");
  EXPECT_EQ(out.str(), "");
}

TYPED_TEST(CCsvFileWriteTest, RefusesADelimiterThatOccursInNumbers) {
  CCsvFile csv;
  csv.setDelimiter('.');
  std::ostringstream out;
  std::string error;
  EXPECT_FALSE(csv.write(out, smallDataset<TypeParam>(), error));
  EXPECT_EQ(error, kWritePrefix + "the delimiter '.' cannot separate numbers");
  EXPECT_EQ(out.str(), "");
}

TYPED_TEST(CCsvFileWriteTest, ReportsAFailingStream) {
  std::ostringstream out;
  out.setstate(std::ios::badbit);
  std::string error;
  EXPECT_FALSE(CCsvFile().write(out, smallDataset<TypeParam>(), error));
  EXPECT_EQ(error, kWritePrefix + "the stream could not be written");
}

TYPED_TEST(CCsvFileWriteTest, WritesFiles) {
  using T = TypeParam;
  TempFile file;
  std::string error;
  ASSERT_TRUE(CCsvFile().write(file.path().c_str(), smallDataset<T>(), error))
      << error;
  EXPECT_EQ(file.contents(), "0.5,-2,1\n1024,0.125,0\n");
}

TYPED_TEST(CCsvFileWriteTest, LeavesTheFileAloneWhenTheDatasetIsRefused) {
  using T = TypeParam;
  TempFile file;
  file.write("old");
  CDataset<T> data = smallDataset<T>();
  data.appendItem(itemOf<T>({T(1)}, {}));
  std::string error;
  EXPECT_FALSE(CCsvFile().write(file.path().c_str(), data, error));
  EXPECT_EQ(error, kWritePrefix +
                       "item 2 has dimensions 1 and 0, the first item 2 and "
                       "1; file: " +
                       file.path());
  EXPECT_EQ(file.contents(), "old");
}

TYPED_TEST(CCsvFileWriteTest, ReportsAFileThatCannotBeOpened) {
  const std::string name = testing::TempDir() + "vecml_no_such_dir/out.csv";
  std::string error;
  EXPECT_FALSE(
      CCsvFile().write(name.c_str(), smallDataset<TypeParam>(), error));
  EXPECT_EQ(error,
            kWritePrefix + "cannot open the file for writing; file: " + name);
}

// Seeded random values of every magnitude, written and read back: the
// digits written identify each value exactly.
TYPED_TEST(CCsvFileWriteTest, RandomValuesSurviveARoundTrip) {
  using T = TypeParam;
  std::mt19937 generator(20240611);
  std::uniform_real_distribution<double> mantissa(-1.0, 1.0);
  std::uniform_int_distribution<int> exponent(-30, 30);
  CDataset<T> data;
  for (int i = 0; i < 200; ++i) {
    std::vector<T> input(4), output(2);
    for (T& value : input)
      value =
          static_cast<T>(std::ldexp(mantissa(generator), exponent(generator)));
    for (T& value : output) value = static_cast<T>(mantissa(generator));
    data.appendItem(itemOf<T>(input, output));
  }
  CCsvFile csv;
  csv.setOutputColumns({4, 5});
  const CDataset<T> back = readOk<T>(csv, writeText(csv, data));
  ASSERT_EQ(back.items(), data.items());
  for (int i = 0; i < data.items(); ++i) {
    EXPECT_EQ(inputOf(back, i), inputOf(data, i));
    EXPECT_EQ(outputOf(back, i), outputOf(data, i));
  }
}

// Text -> dataset -> text -> dataset: the only change from the original
// text is T's rounding of each value.
TYPED_TEST(CCsvFileWriteTest, TextSurvivesARoundTripUpToRounding) {
  using T = TypeParam;
  const std::vector<std::string> values = {
      "0.1", "3.14159265358979323846", "-2.5e-7", "1e30", "7", "0.3"};
  const std::string text = values[0] + "," + values[1] + "," + values[2] +
                           "\n" + values[3] + "," + values[4] + "," +
                           values[5] + "\n";
  CCsvFile csv;
  csv.setOutputColumns({2});
  const CDataset<T> back = readOk<T>(csv, writeText(csv, readOk<T>(csv, text)));
  ASSERT_EQ(back.items(), 2);
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(back[i].inputComponent(0), strtoT<T>(values[3 * i]));
    EXPECT_EQ(back[i].inputComponent(1), strtoT<T>(values[3 * i + 1]));
    EXPECT_EQ(back[i].outputComponent(0), strtoT<T>(values[3 * i + 2]));
  }
}

}  // namespace
