// SPDX-License-Identifier: MIT
// Reading delimited text into datasets: layout, numbers, quoting, column
// selection and every error message.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "dataset/CCsvFileTestSupport.h"
#include "dataset/CDatasetFileTestSupport.h"
#include "support/TempFile.h"
#include "vecml/dataset/CCsvFile.h"
#include "vecml/dataset/CDataset.h"

namespace {

using namespace csv_file_test;
using dataset_file_test::expectSentinel;
using dataset_file_test::sentinelDataset;
using testing::ElementsAre;

template <typename T>
class CCsvFileReadTest : public testing::Test {};
TYPED_TEST_SUITE(CCsvFileReadTest, FloatingTypes);

TYPED_TEST(CCsvFileReadTest, ReadsEveryColumnAsInputWithIdsInFileOrder) {
  using T = TypeParam;
  const CDataset<T> data = readOk<T>(CCsvFile(), "1,2,3\n4,5,6\n-7,8.5,9\n");
  ASSERT_EQ(data.items(), 3);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(data[i].id(), i);
    EXPECT_EQ(data[i].inputVector()->className(), "CDenseVector");
    EXPECT_EQ(data[i].outputVector()->className(), "CDenseVector");
    EXPECT_EQ(data[i].outputDimension(), 0);
  }
  EXPECT_THAT(inputOf(data, 2), ElementsAre(T(-7), T(8.5), T(9)));
}

TYPED_TEST(CCsvFileReadTest, ReplacesItemsButKeepsInfoAndGrowSize) {
  using T = TypeParam;
  CDataset<T> data = sentinelDataset<T>();
  std::string error;
  ASSERT_TRUE(readText(CCsvFile(), "1\n2\n", data, error)) << error;
  ASSERT_EQ(data.items(), 2);
  EXPECT_EQ(data[0].id(), 0);
  EXPECT_EQ(data.getInfo(), "sentinel");
  EXPECT_EQ(data.growSize(), 11);
}

TYPED_TEST(CCsvFileReadTest, ValuesAreWhatTheCLibraryReads) {
  using T = TypeParam;
  const std::vector<std::string> texts = {"0.1",
                                          "-2.5e-3",
                                          "+1.5",
                                          "1E10",
                                          ".5",
                                          "5.",
                                          "-0",
                                          "3.4e38",
                                          "1.17549435e-38",
                                          "1e-40",
                                          "0.30000000000000004",
                                          "123456789012345678901234567890",
                                          "4.9406564584124654e-324"};
  for (const std::string& text : texts) {
    SCOPED_TRACE(text);
    CDataset<T> data;
    std::string error;
    if (!readText(CCsvFile(), text + "\n", data, error)) {
      // Only values beyond T's range may be refused.
      EXPECT_THAT(error, testing::HasSubstr("is out of range"));
      continue;
    }
    const T expected = strtoT<T>(text);
    EXPECT_EQ(data[0].inputComponent(0), expected);
    EXPECT_EQ(std::signbit(data[0].inputComponent(0)), std::signbit(expected));
  }
}

TYPED_TEST(CCsvFileReadTest, AcceptsInfinityAndNaNInAnyCase) {
  using T = TypeParam;
  const CDataset<T> data = readOk<T>(CCsvFile(), "inf,-Infinity,NaN,nan\n");
  const std::vector<T> values = inputOf(data, 0);
  EXPECT_EQ(values[0], std::numeric_limits<T>::infinity());
  EXPECT_EQ(values[1], -std::numeric_limits<T>::infinity());
  EXPECT_TRUE(std::isnan(values[2]));
  EXPECT_TRUE(std::isnan(values[3]));
}

TYPED_TEST(CCsvFileReadTest, RefusesTextThatIsNotADecimalNumber) {
  for (const std::string text :
       {"abc", "0x10", "+-1", "1e", "1.5abc", "1 2", "--1", "++1", "1,5"}) {
    SCOPED_TRACE(text);
    CCsvFile csv;
    csv.setDelimiter(';');
    EXPECT_EQ(readError<TypeParam>(csv, "2;" + text + "\n"),
              kReadPrefix + "line 1, column 2: '" + text + "' is not a number");
  }
}

TYPED_TEST(CCsvFileReadTest, AnEmptyFieldIsNotANumber) {
  EXPECT_EQ(readError<TypeParam>(CCsvFile(), "1,,3\n"),
            kReadPrefix + "line 1, column 2: '' is not a number");
  EXPECT_EQ(readError<TypeParam>(CCsvFile(), "1,2,\n"),
            kReadPrefix + "line 1, column 3: '' is not a number");
}

TYPED_TEST(CCsvFileReadTest, NamesTheLineAndColumnOfABadField) {
  const std::string text =
      "1,2,3\n4,5,6\n\n7,8,9\n1,2,3\n4,5,6\n7,8,abc\n1,2,3\n";
  EXPECT_EQ(readError<TypeParam>(CCsvFile(), text),
            kReadPrefix + "line 7, column 3: 'abc' is not a number");
}

TYPED_TEST(CCsvFileReadTest, CutsLongFieldsInMessages) {
  const std::string field(100, 'z');
  EXPECT_EQ(readError<TypeParam>(CCsvFile(), field + "\n"),
            kReadPrefix + "line 1, column 1: '" + field.substr(0, 40) +
                "...' is not a number");
}

TEST(CCsvFileReadRangeTest, RefusesValuesBeyondTheElementType) {
  const CCsvFile csv;
  EXPECT_EQ(readError<float>(csv, "1,1e39\n"),
            kReadPrefix + "line 1, column 2: '1e39' is out of range for float");
  EXPECT_EQ(
      readError<float>(csv, "-1e-50\n"),
      kReadPrefix + "line 1, column 1: '-1e-50' is out of range for float");
  EXPECT_EQ(readError<double>(csv, "1e39,1e-50\n"), "");
  EXPECT_EQ(
      readError<double>(csv, "1e309\n"),
      kReadPrefix + "line 1, column 1: '1e309' is out of range for double");
}

TYPED_TEST(CCsvFileReadTest, RefusesLinesWithAnotherColumnCount) {
  EXPECT_EQ(readError<TypeParam>(CCsvFile(), "1,2,3\n4,5,6\n7,8\n"),
            kReadPrefix + "line 3: 2 columns, expected 3");
  CCsvFile csv;
  csv.setHeader(true);
  EXPECT_EQ(readError<TypeParam>(csv, "a,b\n1,2,3\n"),
            kReadPrefix + "line 2: 3 columns, expected 2");
}

TYPED_TEST(CCsvFileReadTest, RefusesAnEmptyFile) {
  for (const std::string text : {"", "\n", " \t \n\n", "\r\n"}) {
    EXPECT_EQ(readError<TypeParam>(CCsvFile(), text),
              kReadPrefix + "the file is empty");
  }
  CCsvFile csv;
  csv.setHeader(true);
  EXPECT_EQ(readError<TypeParam>(csv, ""), kReadPrefix + "the file is empty");
}

TYPED_TEST(CCsvFileReadTest, LeavesTheDatasetUnchangedOnError) {
  using T = TypeParam;
  for (const std::string text : {"", "1,2\n3\n", "1,x\n", "\"1\n"}) {
    SCOPED_TRACE(text);
    CDataset<T> data = sentinelDataset<T>();
    std::string error;
    EXPECT_FALSE(readText(CCsvFile(), text, data, error));
    expectSentinel(data);
  }
}

TYPED_TEST(CCsvFileReadTest, AHeaderLineNamesTheColumns) {
  using T = TypeParam;
  CCsvFile csv;
  csv.setHeader(true);
  csv.setOutputColumns({1});
  const CDataset<T> data = readOk<T>(csv, "a, b ,c\n1,2,3\n4,5,6\n");
  ASSERT_EQ(data.items(), 2);
  EXPECT_EQ(data[0].id(), 0);
  EXPECT_THAT(inputOf(data, 1), ElementsAre(T(4), T(6)));
  EXPECT_THAT(outputOf(data, 1), ElementsAre(T(5)));
  EXPECT_THAT(csv.inputNames(), ElementsAre("a", "c"));
  EXPECT_THAT(csv.outputNames(), ElementsAre("b"));
}

TYPED_TEST(CCsvFileReadTest, WithoutTheHeaderOptionANameLineIsBad) {
  EXPECT_EQ(readError<TypeParam>(CCsvFile(), "a,b\n1,2\n"),
            kReadPrefix + "line 1, column 1: 'a' is not a number");
}

TYPED_TEST(CCsvFileReadTest, AHeaderAloneGivesAnEmptyDataset) {
  using T = TypeParam;
  CCsvFile csv;
  csv.setHeader(true);
  CDataset<T> data = sentinelDataset<T>();
  std::string error;
  ASSERT_TRUE(readText(csv, "a,b\n\n", data, error)) << error;
  EXPECT_EQ(data.items(), 0);
  EXPECT_THAT(csv.inputNames(), ElementsAre("a", "b"));
}

TYPED_TEST(CCsvFileReadTest, NoNamesWithoutAHeader) {
  CCsvFile csv;
  csv.setHeader(true);
  readOk<TypeParam>(csv, "a,b\n1,2\n");
  csv.setHeader(false);
  readOk<TypeParam>(csv, "1,2\n");
  EXPECT_TRUE(csv.inputNames().empty());
  EXPECT_TRUE(csv.outputNames().empty());
}

TYPED_TEST(CCsvFileReadTest, SkipsBlankLinesButCountsThem) {
  using T = TypeParam;
  EXPECT_EQ(readOk<T>(CCsvFile(), "\n1\n  \n\t\n2\n\n").items(), 2);
  EXPECT_EQ(readError<T>(CCsvFile(), "\n\n1\n \nx\n"),
            kReadPrefix + "line 5, column 1: 'x' is not a number");
}

TYPED_TEST(CCsvFileReadTest, AcceptsCarriageReturnLineEndsAndAByteOrderMark) {
  using T = TypeParam;
  const CDataset<T> data = readOk<T>(CCsvFile(),
                                     "\xEF\xBB\xBF"
                                     "1,2\r\n3,4\r\n");
  ASSERT_EQ(data.items(), 2);
  EXPECT_THAT(inputOf(data, 0), ElementsAre(T(1), T(2)));
  EXPECT_THAT(inputOf(data, 1), ElementsAre(T(3), T(4)));
  // A last line without a line end is read as well.
  EXPECT_EQ(readOk<T>(CCsvFile(), "1\n2").items(), 2);
}

TYPED_TEST(CCsvFileReadTest, DropsSpacesAndTabsAroundFields) {
  using T = TypeParam;
  const CDataset<T> data = readOk<T>(CCsvFile(), "  1 ,\t2\t,  3  \n");
  EXPECT_THAT(inputOf(data, 0), ElementsAre(T(1), T(2), T(3)));
}

TYPED_TEST(CCsvFileReadTest, ReadsOtherDelimiters) {
  using T = TypeParam;
  CCsvFile csv;
  csv.setDelimiter(';');
  EXPECT_EQ(csv.delimiter(), ';');
  EXPECT_THAT(inputOf(readOk<T>(csv, "1;2.5\n"), 0), ElementsAre(T(1), T(2.5)));
  csv.setDelimiter('\t');
  // Spaces still pad fields; the tab separates them.
  EXPECT_THAT(inputOf(readOk<T>(csv, "1 \t 2\t3\n"), 0),
              ElementsAre(T(1), T(2), T(3)));
  EXPECT_EQ(readError<T>(csv, "1\t\t3\n"),
            kReadPrefix + "line 1, column 2: '' is not a number");
  csv.setDelimiter(' ');
  EXPECT_THAT(inputOf(readOk<T>(csv, "1 2\t\n"), 0), ElementsAre(T(1), T(2)));
}

TYPED_TEST(CCsvFileReadTest, RefusesDelimitersThatOccurInNumbers) {
  for (const char delimiter : {'.', '-', '+', 'e', 'E', '5', 'n', '"', '\n'}) {
    CCsvFile csv;
    csv.setDelimiter(delimiter);
    EXPECT_EQ(readError<TypeParam>(csv, "1\n"),
              kReadPrefix + "the delimiter '" + std::string(1, delimiter) +
                  "' cannot separate numbers");
  }
}

TYPED_TEST(CCsvFileReadTest, ReadsQuotedFields) {
  using T = TypeParam;
  CCsvFile csv;
  csv.setHeader(true);
  const CDataset<T> data = readOk<T>(
      csv, "\"a,b\", \"say \"\"hi\"\"\" ,\" c \"\n\"1.5\" , 2,\"3\"\n");
  EXPECT_THAT(inputOf(data, 0), ElementsAre(T(1.5), T(2), T(3)));
  EXPECT_THAT(csv.inputNames(), ElementsAre("a,b", "say \"hi\"", " c "));
}

TYPED_TEST(CCsvFileReadTest, QuotesKeepSpacesThatAreNotANumber) {
  EXPECT_EQ(readError<TypeParam>(CCsvFile(), "\" 1\"\n"),
            kReadPrefix + "line 1, column 1: ' 1' is not a number");
}

TYPED_TEST(CCsvFileReadTest, RefusesBrokenQuotes) {
  CCsvFile csv;
  csv.setHeader(true);
  EXPECT_EQ(readError<TypeParam>(csv, "a,\"b\n1,2\n"),
            kReadPrefix + "line 1, column 2: unterminated quote");
  EXPECT_EQ(readError<TypeParam>(csv, "a,b\n1,\"2\"x\n"),
            kReadPrefix + "line 2, column 2: text after the closing quote");
}

TYPED_TEST(CCsvFileReadTest, SelectsInputAndOutputColumnsInTheirOrder) {
  using T = TypeParam;
  CCsvFile csv;
  csv.setInputColumns({3, 0, 3});
  csv.setOutputColumns({2, 1});
  EXPECT_THAT(csv.inputColumns(), ElementsAre(3, 0, 3));
  EXPECT_THAT(csv.outputColumns(), ElementsAre(2, 1));
  const CDataset<T> data = readOk<T>(csv, "0,1,2,3,4\n");
  EXPECT_THAT(inputOf(data, 0), ElementsAre(T(3), T(0), T(3)));
  EXPECT_THAT(outputOf(data, 0), ElementsAre(T(2), T(1)));
}

TYPED_TEST(CCsvFileReadTest, DefaultInputsAreTheColumnsNotUsedOtherwise) {
  using T = TypeParam;
  CCsvFile csv;
  csv.setOutputColumns({1});
  csv.setLabelColumn(3);
  const CDataset<T> data = readOk<T>(csv, "0,1,2,3,4\n");
  EXPECT_THAT(inputOf(data, 0), ElementsAre(T(0), T(2), T(4)));
  EXPECT_THAT(outputOf(data, 0), ElementsAre(T(1), T(3)));
}

TYPED_TEST(CCsvFileReadTest, RefusesColumnsOutsideTheLines) {
  CCsvFile csv;
  csv.setInputColumns({0, 3});
  EXPECT_EQ(readError<TypeParam>(csv, "1,2,3\n"),
            kReadPrefix + "column 3 is selected, but lines have 3 columns");
  csv.setInputColumns({});
  csv.setOutputColumns({-1});
  EXPECT_EQ(readError<TypeParam>(csv, "1,2,3\n"),
            kReadPrefix + "column -1 is selected, but lines have 3 columns");
  csv.setOutputColumns({});
  csv.setLabelColumn(-2);
  EXPECT_EQ(readError<TypeParam>(csv, "1,2,3\n"),
            kReadPrefix + "column -2 is selected, but lines have 3 columns");
}

TYPED_TEST(CCsvFileReadTest, ReadsFilesAndNamesThemInErrors) {
  using T = TypeParam;
  TempFile file;
  file.write("1,2\n3,x\n");
  CDataset<T> data;
  std::string error;
  EXPECT_FALSE(CCsvFile().read(file.path().c_str(), data, error));
  EXPECT_EQ(error, kReadPrefix + "line 2, column 2: 'x' is not a number" +
                       "; file: " + file.path());
  file.write("1,2\n3,4\n");
  ASSERT_TRUE(CCsvFile().read(file.path().c_str(), data, error)) << error;
  EXPECT_EQ(data.items(), 2);
}

TYPED_TEST(CCsvFileReadTest, ReportsAFileThatCannotBeOpened) {
  CDataset<TypeParam> data = sentinelDataset<TypeParam>();
  std::string error;
  const std::string name = testing::TempDir() + "vecml_no_such_dir/none.csv";
  EXPECT_FALSE(CCsvFile().read(name.c_str(), data, error));
  EXPECT_EQ(error, kReadPrefix + "cannot open the file; file: " + name);
  expectSentinel(data);
}

TEST(CCsvFileOptionsTest, Defaults) {
  const CCsvFile csv;
  EXPECT_EQ(csv.delimiter(), ',');
  EXPECT_FALSE(csv.header());
  EXPECT_TRUE(csv.inputColumns().empty());
  EXPECT_TRUE(csv.outputColumns().empty());
  EXPECT_EQ(csv.labelColumn(), -1);
  EXPECT_TRUE(csv.labelNames().empty());
}

}  // namespace
