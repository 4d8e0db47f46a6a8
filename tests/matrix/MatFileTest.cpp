// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "matrix/MatrixTestSupport.h"
#include "support/CaptureOutput.h"
#include "support/TempFile.h"
#include "vecml/matrix/CMatrix.h"

namespace {

template <typename T>
class MatFileTest : public testing::Test {};
TYPED_TEST_SUITE(MatFileTest, ElementTypes);

// One record as the format lays it out: five 8-byte fields, the name bytes
// (given with their terminating zero) and the doubles.
std::string rawRecord(std::int64_t rows, std::int64_t columns,
                      std::int64_t nameLength, const std::string& nameBytes,
                      const std::vector<double>& values, std::int64_t type = 0,
                      std::int64_t imaginary = 0) {
  std::string bytes = bytesOf(type) + bytesOf(rows) + bytesOf(columns) +
                      bytesOf(imaginary) + bytesOf(nameLength) + nameBytes;
  for (const double x : values) bytes += bytesOf(x);
  return bytes;
}

std::string record(std::int64_t rows, std::int64_t columns,
                   const std::string& name, const std::vector<double>& values,
                   std::int64_t type = 0, std::int64_t imaginary = 0) {
  return rawRecord(rows, columns, std::int64_t(name.size() + 1),
                   name + std::string(1, '\0'), values, type, imaginary);
}

std::string lines(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += "Read variable " + name + "\n";
  return text;
}

template <typename Object>
int importCapturing(Object& object, const TempFile& file, const char* name,
                    std::string& output) {
  int result = 1;
  output = captureStdout(
      [&] { result = object.importFromMatFile(file.path().c_str(), name); });
  return result;
}

template <typename T>
int importVector(CDenseVector<T>& v, const TempFile& file, const char* name,
                 std::string& output) {
  return importCapturing(v, file, name, output);
}

// ---- export
// ------------------------------------------------------------------------

TEST(MatFile, ExportedRecordBytes) {
  TempFile file;
  const CMatrix<double> m = fromRows<double>(2, 2, {1.5, 2, 3, 4});
  EXPECT_TRUE(m.exportToMatFile(file.path().c_str(), "A", false));
  const std::string expected =
      bytesOf(std::int64_t(0)) + bytesOf(std::int64_t(2)) +
      bytesOf(std::int64_t(2)) + bytesOf(std::int64_t(0)) +
      bytesOf(std::int64_t(2)) + std::string("A\0", 2) + bytesOf(1.5) +
      bytesOf(3.0) + bytesOf(2.0) + bytesOf(4.0);
  EXPECT_EQ(file.contents(), expected);
}

TEST(MatFile, IntAndFloatElementsExportAsExactDoubles) {
  TempFile ints;
  fromRows<int>(1, 2, {7, -7}).exportToMatFile(ints.path().c_str(), "i", false);
  EXPECT_EQ(ints.contents(), record(1, 2, "i", {7.0, -7.0}));
  TempFile floats;
  fromRows<float>(1, 1, {0.1f})
      .exportToMatFile(floats.path().c_str(), "f", false);
  EXPECT_EQ(floats.contents(), record(1, 1, "f", {double(0.1f)}));
}

TYPED_TEST(MatFileTest, VectorIsARecordOfDimRowsAndOneColumn) {
  TempFile file;
  const CDenseVector<TypeParam> v(std::vector<TypeParam>{1, 2, 3});
  EXPECT_TRUE(v.exportToMatFile(file.path().c_str(), "v", false));
  EXPECT_EQ(file.contents(), record(3, 1, "v", {1, 2, 3}));
}

TYPED_TEST(MatFileTest, EmptyObjectsExportTheirShapeOnly) {
  TempFile file;
  CMatrix<TypeParam>(0, 3).exportToMatFile(file.path().c_str(), "m", false);
  CDenseVector<TypeParam>().exportToMatFile(file.path().c_str(), "v", true);
  EXPECT_EQ(file.contents(), record(0, 3, "m", {}) + record(0, 1, "v", {}));
}

TEST(MatFile, AppendFalseReplacesAndAppendTrueCreates) {
  TempFile file;
  const CMatrix<float> m = fromRows<float>(1, 1, {1});
  EXPECT_TRUE(m.exportToMatFile(file.path().c_str(), "a", true));
  EXPECT_TRUE(m.exportToMatFile(file.path().c_str(), "b", true));
  EXPECT_EQ(file.contents(), record(1, 1, "a", {1}) + record(1, 1, "b", {1}));
  EXPECT_TRUE(m.exportToMatFile(file.path().c_str(), "c", false));
  EXPECT_EQ(file.contents(), record(1, 1, "c", {1}));
}

TEST(MatFile, UnopenableFiles) {
  const std::string path = testing::TempDir() + "vecml_no_such_dir/x.mat";
  CMatrix<double> m = fromRows<double>(1, 1, {3});
  EXPECT_FALSE(m.exportToMatFile(path.c_str(), "m", false));
  EXPECT_FALSE(m.exportToMatFile(path.c_str(), "m", true));
  CDenseVector<double> v(1);
  EXPECT_FALSE(v.exportToMatFile(path.c_str(), "v", false));
  int result = 0;
  EXPECT_EQ(
      captureStdout([&] { result = m.importFromMatFile(path.c_str(), "m"); }),
      "");
  EXPECT_EQ(result, -1);
  EXPECT_EQ(
      captureStdout([&] { result = v.importFromMatFile(path.c_str(), "v"); }),
      "");
  EXPECT_EQ(result, -1);
  expectMatrix<double>(m, 1, 1, {3});
}

// ---- import
// ------------------------------------------------------------------------

TYPED_TEST(MatFileTest, TwoMatricesInOneFile) {
  TempFile file;
  const char* path = file.path().c_str();
  ASSERT_TRUE(fromRows<TypeParam>(2, 2, {1, 2, 3, 4})
                  .exportToMatFile(path, "first", false));
  ASSERT_TRUE(fromRows<TypeParam>(1, 3, {5, 6, 7})
                  .exportToMatFile(path, "second", true));
  CMatrix<TypeParam> m(4, 4);
  std::string output;
  EXPECT_EQ(importCapturing(m, file, "first", output), 0);
  EXPECT_EQ(output, lines({"first"}));
  expectMatrix<TypeParam>(m, 2, 2, {1, 2, 3, 4});
  EXPECT_EQ(importCapturing(m, file, "second", output), 0);
  EXPECT_EQ(output, lines({"first", "second"}));
  expectMatrix<TypeParam>(m, 1, 3, {5, 6, 7});
}

TYPED_TEST(MatFileTest, MissingNamePrintsEveryRecordAndAnEmptyLine) {
  TempFile file;
  file.write(record(1, 1, "a", {1}) + record(2, 1, "b", {2, 3}));
  CMatrix<TypeParam> m = fromRows<TypeParam>(1, 1, {9});
  std::string output;
  EXPECT_EQ(importCapturing(m, file, "c", output), -3);
  EXPECT_EQ(output, lines({"a", "b", ""}));
  expectMatrix<TypeParam>(m, 1, 1, {9});
  CDenseVector<TypeParam> v(1, TypeParam(9));
  EXPECT_EQ(importVector(v, file, "c", output), -3);
  EXPECT_EQ(output, lines({"a", "b", ""}));
  EXPECT_EQ(elementsOf(v), std::vector<TypeParam>{9});
}

TYPED_TEST(MatFileTest, EmptyFileHasOnlyTheFinalLine) {
  TempFile file;
  file.write("");
  CMatrix<TypeParam> m;
  std::string output;
  EXPECT_EQ(importCapturing(m, file, "a", output), -3);
  EXPECT_EQ(output, lines({""}));
}

TYPED_TEST(MatFileTest, VectorRoundTripAndRowRecords) {
  TempFile file;
  const CDenseVector<TypeParam> v(std::vector<TypeParam>{1, 2, 3});
  v.exportToMatFile(file.path().c_str(), "v", false);
  fromRows<TypeParam>(1, 4, {4, 5, 6, 7})
      .exportToMatFile(file.path().c_str(), "row", true);
  CDenseVector<TypeParam> read;
  std::string output;
  EXPECT_EQ(importVector(read, file, "v", output), 0);
  EXPECT_EQ(elementsOf(read), (std::vector<TypeParam>{1, 2, 3}));
  EXPECT_EQ(importVector(read, file, "row", output), 0);
  EXPECT_EQ(elementsOf(read), (std::vector<TypeParam>{4, 5, 6, 7}));
}

TYPED_TEST(MatFileTest, VectorRefusesATwoByThreeRecord) {
  TempFile file;
  file.write(record(2, 3, "m", {1, 2, 3, 4, 5, 6}));
  CDenseVector<TypeParam> v(std::vector<TypeParam>{8, 9});
  std::string output;
  EXPECT_EQ(importVector(v, file, "m", output), -2);
  EXPECT_EQ(output, lines({"m"}));
  EXPECT_EQ(elementsOf(v), (std::vector<TypeParam>{8, 9}));
}

TYPED_TEST(MatFileTest, VectorTakesTheRecordsDimension) {
  TempFile file;
  file.write(record(2, 1, "v", {1, 2}) + record(1, 0, "e", {}));
  CDenseVector<TypeParam> v(std::vector<TypeParam>{9, 9, 9, 9, 9});
  std::string output;
  EXPECT_EQ(importVector(v, file, "v", output), 0);
  EXPECT_EQ(elementsOf(v), (std::vector<TypeParam>{1, 2}));
  // 1 x 0 gives the larger count, 1.
  EXPECT_EQ(importVector(v, file, "e", output), 0);
  EXPECT_EQ(v.dimension(), 1);
}

TEST(MatFile, ImportConvertsToTheElementType) {
  TempFile file;
  file.write(record(1, 3, "x", {0.1, 2.9, -2.9}));
  CMatrix<float> f;
  std::string output;
  EXPECT_EQ(importCapturing(f, file, "x", output), 0);
  expectMatrix<float>(f, 1, 3, {0.1f, 2.9f, -2.9f});
  CMatrix<int> i;
  EXPECT_EQ(importCapturing(i, file, "x", output), 0);
  expectMatrix<int>(i, 1, 3, {0, 2, -2});
  CDenseVector<int> v;
  EXPECT_EQ(importVector(v, file, "x", output), 0);
  EXPECT_EQ(elementsOf(v), (std::vector<int>{0, 2, -2}));
}

TEST(MatFile, HandMadeFileWithSeveralRecords) {
  TempFile file;
  // Type code and imaginary flag are read and ignored; a negative product
  // skips no data.
  file.write(record(2, 2, "first", {1, 2, 3, 4}) + record(-1, 5, "odd", {}) +
             record(1, 2, "second", {5, 6}, 10, 0) +
             record(3, 1, "third", {7, 8, 9}, 0, 1));
  CMatrix<double> m;
  std::string output;
  EXPECT_EQ(importCapturing(m, file, "second", output), 0);
  EXPECT_EQ(output, lines({"first", "odd", "second"}));
  expectMatrix<double>(m, 1, 2, {5, 6});
  EXPECT_EQ(importCapturing(m, file, "third", output), 0);
  EXPECT_EQ(output, lines({"first", "odd", "second", "third"}));
  expectMatrix<double>(m, 3, 1, {7, 8, 9});
  CDenseVector<double> v;
  EXPECT_EQ(importVector(v, file, "third", output), 0);
  EXPECT_EQ(elementsOf(v), (std::vector<double>{7, 8, 9}));
}

TEST(MatFile, FirstOfTwoEqualNamesWins) {
  TempFile file;
  file.write(record(1, 1, "x", {1}) + record(1, 1, "x", {2}));
  CMatrix<double> m;
  std::string output;
  EXPECT_EQ(importCapturing(m, file, "x", output), 0);
  expectMatrix<double>(m, 1, 1, {1});
}

TEST(MatFile, NameIsComparedUpToItsFirstZeroByte) {
  TempFile file;
  file.write(rawRecord(1, 1, 6, std::string("ab\0cd\0", 6), {4}));
  CMatrix<double> m;
  std::string output;
  EXPECT_EQ(importCapturing(m, file, "ab", output), 0);
  EXPECT_EQ(output, lines({"ab"}));
}

TEST(MatFile, EmptyNames) {
  TempFile file;
  file.write(record(1, 1, "a", {1}));
  CMatrix<double> m;
  std::string output;
  // The attempt past the end never matches, not even the empty name.
  EXPECT_EQ(importCapturing(m, file, "", output), -3);
  EXPECT_EQ(output, lines({"a", ""}));
  file.write(record(1, 1, "a", {1}) + record(1, 1, "", {2}));
  EXPECT_EQ(importCapturing(m, file, "", output), 0);
  expectMatrix<double>(m, 1, 1, {2});
}

TEST(MatFile, SizesUseTheLowThirtyTwoBits) {
  TempFile file;
  const std::int64_t oneAbove = (std::int64_t(1) << 32) + 1;
  file.write(record(oneAbove, 2, "m", {1, 2}));
  CMatrix<double> m;
  std::string output;
  EXPECT_EQ(importCapturing(m, file, "m", output), 0);
  expectMatrix<double>(m, 1, 2, {1, 2});
  // A count of 2^40 is 0 in its low word.
  file.write(record(1, std::int64_t(1) << 40, "m", {}));
  EXPECT_EQ(importCapturing(m, file, "m", output), 0);
  EXPECT_EQ(m.rows(), 1);
  EXPECT_EQ(m.columns(), 0);
  EXPECT_EQ(m._data(), nullptr);
}

// ---- truncated files
// ---------------------------------------------------------------

TYPED_TEST(MatFileTest, TruncationInsideAnotherRecordsData) {
  TempFile file;
  const std::string full =
      record(1, 1, "a", {1}) + record(1, 3, "b", {1, 2, 3});
  file.write(full.substr(0, full.size() - 12));
  CMatrix<TypeParam> m = fromRows<TypeParam>(1, 1, {9});
  std::string output;
  // The skip runs past the end: no further attempt, so no empty line.
  EXPECT_EQ(importCapturing(m, file, "c", output), -3);
  EXPECT_EQ(output, lines({"a", "b"}));
  expectMatrix<TypeParam>(m, 1, 1, {9});
}

TYPED_TEST(MatFileTest, TruncationInsideAHeaderOrName) {
  const std::string first = record(1, 1, "a", {1});
  const std::string second = record(1, 1, "bc", {2});
  for (const std::size_t cut : {std::size_t(20), std::size_t(41)}) {
    TempFile file;
    file.write(first + second.substr(0, cut));  // cut in header, in name
    CMatrix<TypeParam> m;
    std::string output;
    SCOPED_TRACE(cut);
    EXPECT_EQ(importCapturing(m, file, "b", output), -3);
    EXPECT_EQ(importCapturing(m, file, "bc", output), -3);
  }
  TempFile file;
  file.write(first + second.substr(0, 20));
  CMatrix<TypeParam> m;
  std::string output;
  importCapturing(m, file, "bc", output);
  EXPECT_EQ(output, lines({"a", ""}));
}

TYPED_TEST(MatFileTest, TruncationInsideTheMatchedMatrixLeavesZeros) {
  TempFile file;
  const std::string full = record(2, 2, "m", {1, 2, 3, 4});
  file.write(full.substr(0, full.size() - 5));  // 3 doubles and 3 bytes
  CMatrix<TypeParam> m(5, 5);
  std::string output;
  EXPECT_EQ(importCapturing(m, file, "m", output), 0);
  EXPECT_EQ(output, lines({"m"}));
  expectMatrix<TypeParam>(m, 2, 2, {1, 3, 2, 0});
}

TYPED_TEST(MatFileTest, TruncationInsideTheMatchedVectorKeepsOldValues) {
  TempFile file;
  const std::string full = record(1, 4, "v", {1, 2, 3, 4});
  file.write(full.substr(0, full.size() - 16));
  CDenseVector<TypeParam> v(std::vector<TypeParam>{9, 9, 9});
  std::string output;
  EXPECT_EQ(importVector(v, file, "v", output), 0);
  EXPECT_EQ(elementsOf(v), (std::vector<TypeParam>{1, 2, 9, 0}));
}

// ---- malformed sizes and names
// -----------------------------------------------------

TYPED_TEST(MatFileTest, AbsurdOrNegativeSizesOfTheMatchedMatrix) {
  const std::int64_t huge = INT32_MAX;
  const std::int64_t lowWordMinusOne = 0xFFFFFFFFll;
  for (const std::string& bytes :
       {record(huge, huge, "m", {1}), record(-2, 1, "m", {1}),
        record(1, -2, "m", {1}), record(lowWordMinusOne, 1, "m", {1}),
        record(1, huge, "m", {1})}) {
    TempFile file;
    file.write(bytes);
    CMatrix<TypeParam> m = fromRows<TypeParam>(1, 1, {9});
    std::string output;
    EXPECT_EQ(importCapturing(m, file, "m", output), -3);
    EXPECT_EQ(output, lines({"m"}));
    expectMatrix<TypeParam>(m, 1, 1, {9});
  }
}

TYPED_TEST(MatFileTest, AbsurdOrNegativeSizesOfTheMatchedVector) {
  const std::int64_t huge = INT32_MAX;
  for (const std::string& bytes :
       {record(-2, 1, "v", {1}), record(1, -2, "v", {1}),
        record(1, huge, "v", {1}),
        record(1, std::int64_t(1) << 40, "v", {1})}) {
    TempFile file;
    file.write(bytes);
    CDenseVector<TypeParam> v(1, TypeParam(9));
    std::string output;
    EXPECT_EQ(importVector(v, file, "v", output), -3);
    EXPECT_EQ(output, lines({"v"}));
    EXPECT_EQ(elementsOf(v), std::vector<TypeParam>{9});
  }
}

TEST(MatFile, ElementsMayNotTakeMoreMemoryThanTheFile) {
  // 20 elements claimed, 2 present in a 58-byte file: 160 bytes as double
  // (and 80 as float) cannot be allocated, 8 floats (32 bytes) can.
  TempFile file;
  file.write(record(20, 1, "m", {1, 2}));
  CMatrix<double> m;
  std::string output;
  EXPECT_EQ(importCapturing(m, file, "m", output), -3);
  EXPECT_EQ(m._data(), nullptr);
  CMatrix<float> tooMany;
  EXPECT_EQ(importCapturing(tooMany, file, "m", output), -3);
  file.write(record(8, 1, "m", {1, 2}));
  CMatrix<float> f;
  EXPECT_EQ(importCapturing(f, file, "m", output), 0);
  expectMatrix<float>(f, 8, 1, {1, 2, 0, 0, 0, 0, 0, 0});
}

TEST(MatFile, AbsurdSizeOfASkippedRecordEndsTheScan) {
  TempFile file;
  const std::int64_t big = std::int64_t(1) << 40;
  file.write(record(big, big, "a", {}) + record(1, 1, "b", {1}));
  CMatrix<double> m;
  std::string output;
  EXPECT_EQ(importCapturing(m, file, "b", output), -3);
  EXPECT_EQ(output, lines({"a"}));
}

TYPED_TEST(MatFileTest, LongestNameThatFitsMatches) {
  TempFile file;
  const std::string name(255, 'n');
  fromRows<TypeParam>(1, 1, {3}).exportToMatFile(file.path().c_str(),
                                                 name.c_str(), false);
  CMatrix<TypeParam> m;
  std::string output;
  EXPECT_EQ(importCapturing(m, file, name.c_str(), output), 0);
  EXPECT_EQ(output, lines({name}));
}

TEST(MatFile, FullBufferWithoutTerminatorStaysInBounds) {
  TempFile file;
  const std::string name(256, 'x');
  file.write(rawRecord(1, 1, 256, name, {5}) + record(1, 1, "y", {6}));
  CMatrix<double> m;
  std::string output;
  EXPECT_EQ(importCapturing(m, file, "y", output), 0);
  EXPECT_EQ(output, lines({name, "y"}));
  expectMatrix<double>(m, 1, 1, {6});
}

TYPED_TEST(MatFileTest, LongerNamesAreSkippedAndNeverMatch) {
  TempFile file;
  const std::string name(300, 'l');
  const char* path = file.path().c_str();
  fromRows<TypeParam>(1, 1, {1}).exportToMatFile(path, name.c_str(), false);
  fromRows<TypeParam>(1, 1, {2}).exportToMatFile(path, "b", true);
  CMatrix<TypeParam> m;
  std::string output;
  EXPECT_EQ(importCapturing(m, file, "b", output), 0);
  EXPECT_EQ(output, lines({"", "b"}));
  expectMatrix<TypeParam>(m, 1, 1, {2});
  EXPECT_EQ(importCapturing(m, file, name.c_str(), output), -3);
  EXPECT_EQ(output, lines({"", "b", ""}));
}

TEST(MatFile, NegativeNameLengthEndsTheScan) {
  TempFile file;
  file.write(rawRecord(1, 1, -5, "", {1}) + record(1, 1, "b", {2}));
  CMatrix<double> m = fromRows<double>(1, 1, {9});
  std::string output;
  EXPECT_EQ(importCapturing(m, file, "b", output), -3);
  EXPECT_EQ(output, lines({""}));
  expectMatrix<double>(m, 1, 1, {9});
}

TEST(MatFile, HugeNameLengthRunsPastTheEnd) {
  TempFile file;
  file.write(rawRecord(1, 1, INT32_MAX, "abc", {}));
  CMatrix<double> m;
  std::string output;
  EXPECT_EQ(importCapturing(m, file, "abc", output), -3);
  EXPECT_EQ(output, lines({""}));
}

// /dev/zero reads as an endless run of empty records; the scan stops at the
// length the file had when it was opened (0 here), after one header.
TYPED_TEST(MatFileTest, AnEndlessDeviceEndsAfterOneRecord) {
  CMatrix<TypeParam> m = fromRows<TypeParam>(1, 1, {9});
  CDenseVector<TypeParam> v(std::vector<TypeParam>{7});
  int matrixResult = 1, vectorResult = 1;
  const std::string output = captureStdout([&] {
    matrixResult = m.importFromMatFile("/dev/zero", "x");
    vectorResult = v.importFromMatFile("/dev/zero", "x");
  });
  EXPECT_EQ(matrixResult, -3);
  EXPECT_EQ(vectorResult, -3);
  EXPECT_EQ(output, lines({"", ""}));
  expectMatrix<TypeParam>(m, 1, 1, {9});
  EXPECT_EQ(v.getElement(0), TypeParam(7));
}

TEST(MatFile, NamesAreShownWithControlBytesEscaped) {
  TempFile file;
  const std::string name = "a\x1b[31mb\\\x7f\xc3\xa9";
  fromRows<double>(1, 1, {1}).exportToMatFile(file.path().c_str(), name.c_str(),
                                              false);
  CMatrix<double> m;
  std::string output;
  EXPECT_EQ(importCapturing(m, file, "none", output), -3);
  EXPECT_EQ(output, lines({"a\\x1b[31mb\\x5c\\x7f\\xc3\\xa9", ""}));
  // The name still matches as stored.
  EXPECT_EQ(importCapturing(m, file, name.c_str(), output), 0);
  expectMatrix<double>(m, 1, 1, {1});
}

}  // namespace
