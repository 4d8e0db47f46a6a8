// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "matrix/MatrixTestSupport.h"
#include "support/RecordingArchive.h"
#include "support/TempFile.h"
#include "vecml/matrix/CMatrix.h"

namespace {

template <typename T>
class CMatrixIoTest : public testing::Test {};
TYPED_TEST_SUITE(CMatrixIoTest, ElementTypes);

template <typename T>
class CMatrixTextTest : public testing::Test {};
TYPED_TEST_SUITE(CMatrixTextTest, FloatingTypes);

// ---- dump -------------------------------------------------------------------

template <typename T>
std::string dumped(const CMatrix<T>& m) {
  std::ostringstream os;
  EXPECT_EQ(&m.dump(os), &os);
  return os.str();
}

TEST(CMatrixDump, IdentityText) {
  CMatrix<float> identity(2, 2);
  identity.setDiagonal(1.0f);
  EXPECT_EQ(dumped(identity), "2x2 matrix:\n[ 1 0  ]\n[ 0 1  ]\n\n");
}

TEST(CMatrixDump, PrecisionFiveStaysSet) {
  std::ostringstream os;
  fromRows<double>(1, 2, {1.0 / 3.0, 123456.7}).dump(os);
  EXPECT_EQ(os.str(), "1x2 matrix:\n[ 0.33333 1.2346e+05  ]\n\n");
  EXPECT_EQ(os.precision(), 5);
}

TEST(CMatrixDump, FloatElementsUseThePrecisionToo) {
  EXPECT_EQ(dumped(fromRows<float>(1, 2, {1.0f / 3.0f, -2.0f})),
            "1x2 matrix:\n[ 0.33333 -2  ]\n\n");
}

TEST(CMatrixDump, IntElementsAreIntegers) {
  EXPECT_EQ(dumped(fromRows<int>(2, 1, {-7, 1234567})),
            "2x1 matrix:\n[ -7  ]\n[ 1234567  ]\n\n");
}

TYPED_TEST(CMatrixIoTest, DumpOfEmptyMatrices) {
  EXPECT_EQ(dumped(CMatrix<TypeParam>(0, 3)), "0x3 matrix:\n\n");
  EXPECT_EQ(dumped(CMatrix<TypeParam>(2, 0)), "2x0 matrix:\n[  ]\n[  ]\n\n");
}

// ---- text files
// ---------------------------------------------------------------

TYPED_TEST(CMatrixTextTest, SaveWritesShapeThenColumnMajorElements) {
  TempFile file;
  save(fromRows<TypeParam>(2, 2, {1, 2, 3, 4.5}), file.path().c_str());
  EXPECT_EQ(file.contents(), "2 2 1 3 2 4.5 ");
}

TYPED_TEST(CMatrixTextTest, SaveUsesDefaultFormatting) {
  TempFile file;
  save(fromRows<TypeParam>(1, 1, {TypeParam(0.1234567)}), file.path().c_str());
  EXPECT_EQ(file.contents(), "1 1 0.123457 ");
}

TYPED_TEST(CMatrixTextTest, SaveAndLoadRoundTrip) {
  TempFile file;
  const CMatrix<TypeParam> m = fromRows<TypeParam>(2, 3, {1, -2, 3, 4, 5, 6});
  save(m, file.path().c_str());
  CMatrix<TypeParam> loaded(7, 7);
  load(loaded, file.path().c_str());
  expectMatrix<TypeParam>(loaded, 2, 3, {1, -2, 3, 4, 5, 6});
}

TYPED_TEST(CMatrixTextTest, LoadOfMissingFileGivesEmptyMatrix) {
  CMatrix<TypeParam> m = fromRows<TypeParam>(1, 1, {5});
  load(m, (testing::TempDir() + "vecml_no_such_dir/none.txt").c_str());
  EXPECT_EQ(m.rows(), 0);
  EXPECT_EQ(m.columns(), 0);
  EXPECT_EQ(m._data(), nullptr);
}

TYPED_TEST(CMatrixTextTest, SaveToUnopenablePathWritesNothing) {
  const std::string path = testing::TempDir() + "vecml_no_such_dir/m.txt";
  save(CMatrix<TypeParam>(1, 1), path.c_str());
  EXPECT_FALSE(std::ifstream(path).is_open());
}

TYPED_TEST(CMatrixTextTest, LoadLeavesMissingValuesZero) {
  TempFile file;
  file.write("2 2 1 2 3");
  CMatrix<TypeParam> m;
  load(m, file.path().c_str());
  expectMatrix<TypeParam>(m, 2, 2, {1, 3, 2, 0});
}

TYPED_TEST(CMatrixTextTest, LoadRefusesShapesTheFileCannotHold) {
  TempFile file;
  file.write("100000 100000 1 2 3");
  CMatrix<TypeParam> m = fromRows<TypeParam>(1, 1, {5});
  load(m, file.path().c_str());
  expectMatrix<TypeParam>(m, 1, 1, {5});
  file.write("65536 65536 1");
  load(m, file.path().c_str());
  expectMatrix<TypeParam>(m, 1, 1, {5});
}

TYPED_TEST(CMatrixTextTest, LoadRefusesANegativeShape) {
  TempFile file;
  file.write("-2 3 1 2");
  CMatrix<TypeParam> m = fromRows<TypeParam>(1, 1, {5});
  load(m, file.path().c_str());
  expectMatrix<TypeParam>(m, 1, 1, {5});
}

// ---- binary stream form
// ------------------------------------------------------------

template <typename T>
void writeMatrix(const TempFile& file, CMatrix<T>& m, IO_MODE mode = IO_WRITE) {
  std::fstream out(file.path(), std::ios::out | std::ios::binary);
  EXPECT_TRUE(m.serialize(out, mode));
}

template <typename T>
void readMatrix(const TempFile& file, CMatrix<T>& m, bool expectGood) {
  std::fstream in(file.path(), std::ios::in | std::ios::binary);
  EXPECT_TRUE(m.serialize(in, IO_READ));
  EXPECT_EQ(!in.fail(), expectGood);
}

std::string header(std::int32_t code, std::int32_t rows, std::int32_t columns) {
  return bytesOf(code) + bytesOf(rows) + bytesOf(columns);
}

TEST(CMatrixSerialize, WritesCodeShapeAndColumnMajorElements) {
  TempFile file;
  CMatrix<float> m = fromRows<float>(2, 2, {1.5f, 2, 3, 4});
  writeMatrix(file, m);
  EXPECT_EQ(file.contents(), header(1, 2, 2) + bytesOf(1.5f) + bytesOf(3.0f) +
                                 bytesOf(2.0f) + bytesOf(4.0f));
}

TEST(CMatrixSerialize, IntAndDoubleLayouts) {
  TempFile ints;
  CMatrix<int> i = fromRows<int>(1, 2, {7, -1});
  writeMatrix(ints, i, static_cast<IO_MODE>(7));  // any mode but 0 writes
  EXPECT_EQ(ints.contents(), header(0, 1, 2) + bytesOf(std::int32_t(7)) +
                                 bytesOf(std::int32_t(-1)));
  TempFile doubles;
  CMatrix<double> d = fromRows<double>(1, 1, {0.1});
  writeMatrix(doubles, d);
  EXPECT_EQ(doubles.contents(), header(2, 1, 1) + bytesOf(0.1));
}

TYPED_TEST(CMatrixIoTest, RoundTrip) {
  TempFile file;
  CMatrix<TypeParam> m = fromRows<TypeParam>(2, 3, {1, 2, 3, -4, 5, 6});
  writeMatrix(file, m);
  CMatrix<TypeParam> read(1, 1);
  readMatrix(file, read, true);
  expectMatrix<TypeParam>(read, 2, 3, {1, 2, 3, -4, 5, 6});
}

TYPED_TEST(CMatrixIoTest, EmptyMatrixRoundTrip) {
  TempFile file;
  CMatrix<TypeParam> m(0, 3);
  writeMatrix(file, m);
  EXPECT_EQ(file.contents().size(), 12u);
  CMatrix<TypeParam> read(2, 2);
  readMatrix(file, read, true);
  EXPECT_EQ(read.rows(), 0);
  EXPECT_EQ(read.columns(), 3);
  EXPECT_EQ(read._data(), nullptr);
}

TEST(CMatrixSerialize, FloatWrittenIsReadByDoubleConverted) {
  TempFile file;
  CMatrix<float> f = fromRows<float>(1, 2, {0.1f, -2.5f});
  writeMatrix(file, f);
  CMatrix<double> d;
  readMatrix(file, d, true);
  expectMatrix<double>(d, 1, 2, {double(0.1f), -2.5});
}

TEST(CMatrixSerialize, IntReaderTruncatesTowardZero) {
  TempFile file;
  CMatrix<double> d = fromRows<double>(1, 3, {2.7, -2.7, 5});
  writeMatrix(file, d);
  CMatrix<int> i;
  readMatrix(file, i, true);
  expectMatrix<int>(i, 1, 3, {2, -2, 5});
  CMatrix<float> f;
  readMatrix(file, f, true);
  expectMatrix<float>(f, 1, 3, {2.7f, -2.7f, 5.0f});
}

TYPED_TEST(CMatrixIoTest, IntElementsReadIntoEveryType) {
  TempFile file;
  file.write(header(0, 2, 1) + bytesOf(std::int32_t(3)) +
             bytesOf(std::int32_t(-9)));
  CMatrix<TypeParam> m;
  readMatrix(file, m, true);
  expectMatrix<TypeParam>(m, 2, 1, {3, -9});
}

TYPED_TEST(CMatrixIoTest, MalformedStreamsLeaveTheMatrixUnchanged) {
  const std::vector<std::string> malformed = {
      "",                               // no header
      header(1, 2, 2).substr(0, 10),    // cut header
      header(1, 2, 2) + bytesOf(1.0f),  // cut element block
      header(7, 1, 1) + bytesOf(1.0),   // unknown code
      header(2, 100000, 100000),        // more than the file holds
      header(0, 65536, 65536),          // more than an int count
  };
  for (const std::string& bytes : malformed) {
    TempFile file;
    file.write(bytes);
    CMatrix<TypeParam> m = fromRows<TypeParam>(1, 2, {4, 5});
    readMatrix(file, m, false);
    expectMatrix<TypeParam>(m, 1, 2, {4, 5});
  }
}

// ---- archive form
// --------------------------------------------------------------------

std::string writeOf(int) { return "write(int) "; }
std::string writeOf(float) { return "write(float) "; }
std::string writeOf(double) { return "write(double) "; }
std::string readOf(int) { return "read(int)"; }
std::string readOf(float) { return "read(float)"; }
std::string readOf(double) { return "read(double)"; }

TYPED_TEST(CMatrixIoTest, ArchiveStoresRowByRow) {
  const std::string w = writeOf(TypeParam());
  CMatrix<TypeParam> m = fromRows<TypeParam>(2, 2, {1, 2, 3, 4});
  RecordingArchive archive;
  EXPECT_TRUE(m.serialize2(archive));
  EXPECT_EQ(archive.calls,
            (std::vector<std::string>{
                "isLoading", "write(int) 2", "writeSeparator", "write(int) 2",
                "writeSeparator", w + "1", w + "2", "writeSeparator", w + "3",
                w + "4", "writeSeparator"}));
}

TYPED_TEST(CMatrixIoTest, ArchiveStoresOnlyTheShapeOfEmptyMatrices) {
  const std::vector<std::string> shapeOnly = {"isLoading", "write(int) 0",
                                              "writeSeparator", "write(int) 3",
                                              "writeSeparator"};
  CMatrix<TypeParam> m(0, 3);
  RecordingArchive archive;
  EXPECT_TRUE(m.serialize2(archive));
  EXPECT_EQ(archive.calls, shapeOnly);
  // Positive rows with negative columns: one separator per (empty) row.
  CMatrix<TypeParam> negative(2, -1);
  RecordingArchive rows;
  negative.serialize2(rows);
  EXPECT_EQ(rows.calls,
            (std::vector<std::string>{
                "isLoading", "write(int) 2", "writeSeparator", "write(int) -1",
                "writeSeparator", "writeSeparator", "writeSeparator"}));
}

TYPED_TEST(CMatrixIoTest, ArchiveLoadsRowByRow) {
  const std::string r = readOf(TypeParam());
  RecordingArchive archive(true);
  archive.numbers = {2, 3, 1, 2, 3, 4, 5, 6};
  CMatrix<TypeParam> m(1, 1);
  EXPECT_TRUE(m.serialize2(archive));
  expectMatrix<TypeParam>(m, 2, 3, {1, 2, 3, 4, 5, 6});
  EXPECT_EQ(archive.calls,
            (std::vector<std::string>{"isLoading", "read(int)", "read(int)", r,
                                      r, r, r, r, r}));
}

TYPED_TEST(CMatrixIoTest, ArchiveLoadOfEmptyShapeHasNoArray) {
  RecordingArchive archive(true);
  archive.numbers = {4, 0};
  CMatrix<TypeParam> m(2, 2);
  EXPECT_TRUE(m.serialize2(archive));
  EXPECT_EQ(m.rows(), 4);
  EXPECT_EQ(m.columns(), 0);
  EXPECT_EQ(m._data(), nullptr);
  EXPECT_EQ(archive.calls.size(), 3u);
}

}  // namespace
