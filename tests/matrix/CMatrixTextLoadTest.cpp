// SPDX-License-Identifier: MIT
// Loading the text form from hostile files: shapes that are not numbers,
// negative or larger than the file, endless devices, and the checked load
// that reports each of these.
#include <gtest/gtest.h>

#include <string>

#include "matrix/MatrixTestSupport.h"
#include "support/TempFile.h"
#include "vecml/matrix/CMatrix.h"

namespace {

template <typename T>
class CMatrixTextLoadTest : public testing::Test {};
TYPED_TEST_SUITE(CMatrixTextLoadTest, FloatingTypes);

// The error of a checked load of `path` into a 1 x 1 matrix holding 5,
// which must be left as it was; empty when the load succeeds.
template <typename T>
std::string refusal(const std::string& path) {
  CMatrix<T> m = fromRows<T>(1, 1, {5});
  std::string error;
  if (load(m, path.c_str(), error)) return "";
  expectMatrix<T>(m, 1, 1, {5});
  return error;
}

// Loads `text` both ways into a 1 x 1 matrix holding 5; both must leave
// it unchanged. \return the checked load's error without its file suffix.
template <typename T>
std::string refusalOf(const std::string& text) {
  TempFile file;
  file.write(text);
  CMatrix<T> m = fromRows<T>(1, 1, {5});
  load(m, file.path().c_str());
  expectMatrix<T>(m, 1, 1, {5});
  const std::string error = refusal<T>(file.path());
  const std::string suffix = "; file: " + file.path();
  const std::size_t at = error.rfind(suffix);
  EXPECT_EQ(at + suffix.size(), error.size()) << error;
  return error.substr(0, at);
}

TYPED_TEST(CMatrixTextLoadTest, AShapeNumberOutOfRangeIsNotAShape) {
  EXPECT_EQ(refusalOf<TypeParam>("99999999999 2 1 2"),
            "load(): the shape is not two numbers");
}

TYPED_TEST(CMatrixTextLoadTest, RowsWithoutColumnsNeedOneCharacterEach) {
  EXPECT_EQ(refusalOf<TypeParam>("2147483647 0 "),
            "load(): the file is too short for a 2147483647 x 0 matrix");
  EXPECT_EQ(refusalOf<TypeParam>("0 3 "),
            "load(): the file is too short for a 0 x 3 matrix");
  // One blank after the shape backs one row, as save() writes it.
  TempFile file;
  save(CMatrix<TypeParam>(1, 0), file.path().c_str());
  CMatrix<TypeParam> m;
  load(m, file.path().c_str());
  EXPECT_EQ(m.rows(), 1);
  EXPECT_EQ(m.columns(), 0);
}

TYPED_TEST(CMatrixTextLoadTest, RefusesNegativeShapes) {
  EXPECT_EQ(refusalOf<TypeParam>("-5 -5"), "load(): negative shape -5 x -5");
  EXPECT_EQ(refusalOf<TypeParam>("2 -1 1 2 3"),
            "load(): negative shape 2 x -1");
}

TYPED_TEST(CMatrixTextLoadTest, RefusesTextThatIsNoShape) {
  for (const std::string text : {"", " \n", "x 2", "2", "2 y 1 2"}) {
    SCOPED_TRACE(text);
    EXPECT_EQ(refusalOf<TypeParam>(text),
              "load(): the shape is not two numbers");
  }
}

TYPED_TEST(CMatrixTextLoadTest, AnEndlessDeviceIsNotRead) {
  CMatrix<TypeParam> m = fromRows<TypeParam>(1, 1, {5});
  load(m, "/dev/zero");
  expectMatrix<TypeParam>(m, 1, 1, {5});
  EXPECT_EQ(refusal<TypeParam>("/dev/zero"),
            "load(): the shape is not two numbers; file: /dev/zero");
}

// The plain load keeps these values 0 (see CMatrixIoTest).
TYPED_TEST(CMatrixTextLoadTest, CheckedLoadReportsMissingAndBadValues) {
  TempFile file;
  file.write("2 2 1 2 3 ");
  EXPECT_EQ(
      refusal<TypeParam>(file.path()),
      "load(): value 4 of 4 is missing or not a number; file: " + file.path());
  file.write("2 2 1 x 3 4");
  EXPECT_EQ(
      refusal<TypeParam>(file.path()),
      "load(): value 2 of 4 is missing or not a number; file: " + file.path());
}

TYPED_TEST(CMatrixTextLoadTest, CheckedLoadReportsAFileThatCannotBeOpened) {
  const std::string path = testing::TempDir() + "vecml_no_such_dir/m.txt";
  EXPECT_EQ(refusal<TypeParam>(path),
            "load(): cannot open the file; file: " + path);
}

TYPED_TEST(CMatrixTextLoadTest, CheckedLoadReadsWhatSaveWrote) {
  using T = TypeParam;
  TempFile file;
  save(fromRows<T>(2, 3, {1, -2, 3, 4, 5, 6.5}), file.path().c_str());
  CMatrix<T> m(7, 7);
  std::string error;
  ASSERT_TRUE(load(m, file.path().c_str(), error)) << error;
  expectMatrix<T>(m, 2, 3, {1, -2, 3, 4, 5, 6.5});
}

}  // namespace
