// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "matrix/MatrixTestSupport.h"
#include "support/CaptureOutput.h"
#include "support/Python.h"
#include "support/TempFile.h"
#include "vecml/matrix/CMatrix.h"

namespace {

template <typename T>
class StandardMatFileTest : public testing::Test {};
TYPED_TEST_SUITE(StandardMatFileTest, ElementTypes);

// Type codes (MOPT as a decimal number) of little-endian full numeric data.
constexpr std::int32_t kDouble = 0, kSingle = 10, kInt32 = 20, kInt16 = 30,
                       kUint16 = 40, kUint8 = 50;

/// \p values stored one after another as S.
template <typename S>
std::string stored(const std::vector<S>& values) {
  std::string bytes;
  for (const S value : values) bytes += bytesOf(value);
  return bytes;
}

// One record as the standard layout has it: five 4-byte fields, the name
// bytes (given with their terminating zero, if any) and the data bytes.
std::string rawRecord(std::int32_t type, std::int32_t rows,
                      std::int32_t columns, std::int32_t imaginary,
                      std::int32_t nameLength, const std::string& nameBytes,
                      const std::string& data) {
  return stored<std::int32_t>({type, rows, columns, imaginary, nameLength}) +
         nameBytes + data;
}

std::string record(std::int32_t type, std::int32_t rows, std::int32_t columns,
                   const std::string& name, const std::string& data,
                   std::int32_t imaginary = 0) {
  return rawRecord(type, rows, columns, imaginary,
                   std::int32_t(name.size() + 1), name + std::string(1, '\0'),
                   data);
}

std::string doubleRecord(std::int32_t rows, std::int32_t columns,
                         const std::string& name,
                         const std::vector<double>& values) {
  return record(kDouble, rows, columns, name, stored(values));
}

/// Imports \p name into \p object, expecting nothing on standard output.
template <typename Object>
int importFrom(Object& object, const TempFile& file, const char* name) {
  int result = 1;
  const std::string output = captureStdout([&] {
    result = object.importFromStandardMatFile(file.path().c_str(), name);
  });
  EXPECT_EQ(output, "");
  return result;
}

/// A stored value as T: float rounds to nearest, int truncates toward zero.
/// requires: the value lies in T's range.
template <typename T>
T converted(double value) {
  return static_cast<T>(value);
}

// ---- export
// ------------------------------------------------------------------------

TEST(StandardMatFile, ExportedMatrixBytes) {
  TempFile file;
  const CMatrix<double> m = fromRows<double>(2, 2, {1.5, 2, 3, 4});
  EXPECT_TRUE(m.exportToStandardMatFile(file.path().c_str(), "A", false));
  const std::string expected = stored<std::int32_t>({0, 2, 2, 0, 2}) +
                               std::string("A\0", 2) +
                               stored<double>({1.5, 3, 2, 4});
  EXPECT_EQ(file.contents(), expected);
}

TYPED_TEST(StandardMatFileTest, ExportedVectorBytes) {
  TempFile file;
  const CDenseVector<TypeParam> v(std::vector<TypeParam>{1, 2, 3});
  EXPECT_TRUE(v.exportToStandardMatFile(file.path().c_str(), "vec", false));
  const std::string expected = stored<std::int32_t>({0, 3, 1, 0, 4}) +
                               std::string("vec\0", 4) +
                               stored<double>({1, 2, 3});
  EXPECT_EQ(file.contents(), expected);
}

TEST(StandardMatFile, IntAndFloatElementsExportAsExactDoubles) {
  TempFile ints;
  fromRows<int>(1, 2, {7, -7})
      .exportToStandardMatFile(ints.path().c_str(), "i", false);
  EXPECT_EQ(ints.contents(), doubleRecord(1, 2, "i", {7.0, -7.0}));
  TempFile floats;
  fromRows<float>(1, 1, {0.1f})
      .exportToStandardMatFile(floats.path().c_str(), "f", false);
  EXPECT_EQ(floats.contents(), doubleRecord(1, 1, "f", {double(0.1f)}));
}

TYPED_TEST(StandardMatFileTest, EmptyObjectsExportTheirShapeOnly) {
  TempFile file;
  CMatrix<TypeParam>(0, 3).exportToStandardMatFile(file.path().c_str(), "m",
                                                   false);
  CDenseVector<TypeParam>().exportToStandardMatFile(file.path().c_str(), "v",
                                                    true);
  EXPECT_EQ(file.contents(),
            doubleRecord(0, 3, "m", {}) + doubleRecord(0, 1, "v", {}));
}

TEST(StandardMatFile, AppendFalseReplacesAndAppendTrueCreates) {
  TempFile file;
  const CMatrix<float> m = fromRows<float>(1, 1, {1});
  EXPECT_TRUE(m.exportToStandardMatFile(file.path().c_str(), "a", true));
  EXPECT_TRUE(m.exportToStandardMatFile(file.path().c_str(), "b", true));
  EXPECT_EQ(file.contents(),
            doubleRecord(1, 1, "a", {1}) + doubleRecord(1, 1, "b", {1}));
  EXPECT_TRUE(m.exportToStandardMatFile(file.path().c_str(), "c", false));
  EXPECT_EQ(file.contents(), doubleRecord(1, 1, "c", {1}));
}

TEST(StandardMatFile, UnopenableFiles) {
  const std::string path = testing::TempDir() + "vecml_no_such_dir/x.mat";
  CMatrix<double> m = fromRows<double>(1, 1, {3});
  EXPECT_FALSE(m.exportToStandardMatFile(path.c_str(), "m", false));
  EXPECT_FALSE(m.exportToStandardMatFile(path.c_str(), "m", true));
  CDenseVector<double> v(1, 3.0);
  EXPECT_FALSE(v.exportToStandardMatFile(path.c_str(), "v", false));
  EXPECT_EQ(m.importFromStandardMatFile(path.c_str(), "m"), -1);
  EXPECT_EQ(v.importFromStandardMatFile(path.c_str(), "v"), -1);
  expectMatrix<double>(m, 1, 1, {3});
  EXPECT_EQ(elementsOf(v), std::vector<double>{3});
}

// ---- import
// ------------------------------------------------------------------------

TYPED_TEST(StandardMatFileTest, RoundTripOfMatricesAndVectors) {
  TempFile file;
  const char* path = file.path().c_str();
  ASSERT_TRUE(fromRows<TypeParam>(2, 3, {1, 2, 3, 4, 5, 6})
                  .exportToStandardMatFile(path, "m", false));
  ASSERT_TRUE(CDenseVector<TypeParam>(std::vector<TypeParam>{7, 8})
                  .exportToStandardMatFile(path, "v", true));
  CMatrix<TypeParam> m(4, 4);
  EXPECT_EQ(importFrom(m, file, "m"), 0);
  expectMatrix<TypeParam>(m, 2, 3, {1, 2, 3, 4, 5, 6});
  CDenseVector<TypeParam> v(5);
  EXPECT_EQ(importFrom(v, file, "v"), 0);
  EXPECT_EQ(elementsOf(v), (std::vector<TypeParam>{7, 8}));
}

TEST(StandardMatFile, ElementsAreReadColumnByColumn) {
  TempFile file;
  file.write(doubleRecord(2, 3, "m", {1, 2, 3, 4, 5, 6}));
  CMatrix<double> m;
  EXPECT_EQ(importFrom(m, file, "m"), 0);
  expectMatrix<double>(m, 2, 3, {1, 3, 5, 2, 4, 6});
}

// Imports one 1 x n record of precision \p type holding \p values into a
// matrix and a vector of T.
template <typename T, typename S>
void expectImportOf(std::int32_t type, const std::vector<S>& values) {
  SCOPED_TRACE(type);
  TempFile file;
  const int n = static_cast<int>(values.size());
  file.write(record(type, 1, n, "x", stored(values)));
  std::vector<T> expected;
  for (const S value : values) expected.push_back(converted<T>(value));
  CMatrix<T> m;
  EXPECT_EQ(importFrom(m, file, "x"), 0);
  expectMatrix<T>(m, 1, n, expected);
  CDenseVector<T> v;
  EXPECT_EQ(importFrom(v, file, "x"), 0);
  EXPECT_EQ(elementsOf(v), expected);
}

TYPED_TEST(StandardMatFileTest, EveryPrecisionIsConverted) {
  using T = TypeParam;
  expectImportOf<T, double>(kDouble, {0.1, 2.9, -2.9, 0.5});
  expectImportOf<T, float>(kSingle, {0.1f, 2.5f, -2.5f, 16777216.0f});
  expectImportOf<T, std::int32_t>(kInt32, {INT32_MAX, INT32_MIN, -7, 16777217});
  expectImportOf<T, std::int16_t>(kInt16, {INT16_MIN, INT16_MAX, -1});
  expectImportOf<T, std::uint16_t>(kUint16, {UINT16_MAX, 0, 1});
  expectImportOf<T, std::uint8_t>(kUint8, {UINT8_MAX, 0, 128});
}

TEST(StandardMatFile, ConversionRoundsFloatAndTruncatesInt) {
  TempFile file;
  file.write(doubleRecord(1, 3, "d", {0.1, 2.9, -2.9}) +
             record(kInt32, 1, 1, "i", stored<std::int32_t>({16777217})));
  CMatrix<int> i;
  EXPECT_EQ(importFrom(i, file, "d"), 0);
  expectMatrix<int>(i, 1, 3, {0, 2, -2});
  CMatrix<float> f;
  EXPECT_EQ(importFrom(f, file, "d"), 0);
  expectMatrix<float>(f, 1, 3, {0.1f, 2.9f, -2.9f});
  EXPECT_EQ(importFrom(f, file, "i"), 0);
  expectMatrix<float>(f, 1, 1, {16777216.0f});
}

TYPED_TEST(StandardMatFileTest, VectorShapes) {
  TempFile file;
  file.write(doubleRecord(3, 1, "column", {1, 2, 3}) +
             doubleRecord(1, 2, "row", {4, 5}) +
             doubleRecord(0, 4, "empty", {}) +
             doubleRecord(2, 3, "matrix", {1, 2, 3, 4, 5, 6}));
  CDenseVector<TypeParam> v(std::vector<TypeParam>{9, 9, 9, 9, 9});
  EXPECT_EQ(importFrom(v, file, "column"), 0);
  EXPECT_EQ(elementsOf(v), (std::vector<TypeParam>{1, 2, 3}));
  EXPECT_EQ(importFrom(v, file, "row"), 0);
  EXPECT_EQ(elementsOf(v), (std::vector<TypeParam>{4, 5}));
  EXPECT_EQ(importFrom(v, file, "matrix"), -2);
  EXPECT_EQ(elementsOf(v), (std::vector<TypeParam>{4, 5}));
  EXPECT_EQ(importFrom(v, file, "empty"), 0);
  EXPECT_EQ(v.dimension(), 0);
  CMatrix<TypeParam> m;
  EXPECT_EQ(importFrom(m, file, "empty"), 0);
  EXPECT_EQ(m.rows(), 0);
  EXPECT_EQ(m.columns(), 4);
  EXPECT_EQ(m._data(), nullptr);
}

TYPED_TEST(StandardMatFileTest, OtherVariablesOfEveryKindAreSkipped) {
  TempFile file;
  file.write(
      record(kDouble, 1, 2, "complex", stored<double>({1, 2, 3, 4}), 1) +
      record(kInt16, 2, 1, "complexShort", stored<std::int16_t>({1, 2, 3, 4}),
             1) +
      record(kUint8 + 1, 1, 2, "text", stored<std::uint8_t>({104, 105})) +
      record(kDouble + 2, 1, 3, "sparse", stored<double>({1, 1, 5})) +
      record(kSingle, 1, 1, "single", stored<float>({8})) +
      doubleRecord(1, 2, "x", {6, 7}) + doubleRecord(1, 1, "x", {0}));
  CMatrix<TypeParam> m;
  EXPECT_EQ(importFrom(m, file, "x"), 0);
  expectMatrix<TypeParam>(m, 1, 2, {6, 7});
  CDenseVector<TypeParam> v;
  EXPECT_EQ(importFrom(v, file, "x"), 0);
  EXPECT_EQ(elementsOf(v), (std::vector<TypeParam>{6, 7}));
  EXPECT_EQ(importFrom(v, file, "single"), 0);
  EXPECT_EQ(elementsOf(v), (std::vector<TypeParam>{8}));
}

TYPED_TEST(StandardMatFileTest, MissingVariableLeavesTheObjectUnchanged) {
  TempFile file;
  file.write(doubleRecord(1, 1, "a", {1}) + doubleRecord(1, 1, "", {2}));
  CMatrix<TypeParam> m = fromRows<TypeParam>(1, 1, {9});
  EXPECT_EQ(importFrom(m, file, "b"), -3);
  expectMatrix<TypeParam>(m, 1, 1, {9});
  CDenseVector<TypeParam> v(1, TypeParam(9));
  EXPECT_EQ(importFrom(v, file, "b"), -3);
  EXPECT_EQ(elementsOf(v), std::vector<TypeParam>{9});
  EXPECT_EQ(importFrom(m, file, ""), 0);
  expectMatrix<TypeParam>(m, 1, 1, {2});
  file.write("");
  EXPECT_EQ(importFrom(m, file, "a"), -3);
}

TEST(StandardMatFile, NamesCompareUpToTheirFirstZeroByteAndMayBeLong) {
  TempFile file;
  const std::string longName(1000, 'n');
  file.write(rawRecord(kDouble, 1, 1, 0, 6, std::string("ab\0cd\0", 6),
                       stored<double>({4})) +
             doubleRecord(1, 1, longName, {5}));
  CMatrix<double> m;
  EXPECT_EQ(importFrom(m, file, "ab"), 0);
  expectMatrix<double>(m, 1, 1, {4});
  EXPECT_EQ(importFrom(m, file, longName.c_str()), 0);
  expectMatrix<double>(m, 1, 1, {5});
}

TEST(StandardMatFile, DamageAfterTheVariableDoesNotMatter) {
  TempFile file;
  file.write(doubleRecord(1, 1, "x", {3}) + "junk");
  CMatrix<double> m;
  EXPECT_EQ(importFrom(m, file, "x"), 0);
  expectMatrix<double>(m, 1, 1, {3});
}

// ---- records this library cannot read
// --------------------------------------------

struct Unreadable {
  const char* what;
  std::string bytes;
};

std::vector<Unreadable> unreadableFiles() {
  const std::string one = stored<double>({1});
  const std::string bigEndianOne("\0\0\0\1", 4);
  return {
      {"complex variable", record(kDouble, 1, 1, "x", one + one, 1)},
      {"text variable", record(kUint8 + 1, 1, 1, "x", "a")},
      {"sparse variable", record(kDouble + 2, 1, 3, "x", one + one + one)},
      {"unknown precision", record(60, 1, 1, "x", one)},
      {"unknown class", record(kDouble + 3, 1, 1, "x", one)},
      {"big-endian type", record(1000, 1, 1, "x", one)},
      {"non-zero O digit", record(100, 1, 1, "x", one)},
      {"negative type", record(-10, 1, 1, "x", one)},
      {"negative rows", record(kDouble, -1, 1, "x", one)},
      {"negative columns", record(kDouble, 1, -1, "x", one)},
      {"imaginary flag 2", record(kDouble, 1, 1, "x", one + one, 2)},
      {"name length 0", rawRecord(kDouble, 1, 1, 0, 0, "", one)},
      {"negative name length", rawRecord(kDouble, 1, 1, 0, -2, "x", one)},
      {"name without zero byte", rawRecord(kDouble, 1, 1, 0, 1, "x", one)},
      {"name beyond the end", rawRecord(kDouble, 1, 1, 0, INT32_MAX, "x", one)},
      {"size overflows", record(kDouble, INT32_MAX, INT32_MAX, "x", one)},
      {"data beyond the end", record(kDouble, 1000, 1000, "x", one)},
      {"byte-swapped header", stored<std::int32_t>({0}) + bigEndianOne +
                                  bigEndianOne + stored<std::int32_t>({0, 2}) +
                                  std::string("x\0", 2) + one},
      {"unreadable record before",
       record(60, 1, 1, "a", one) + doubleRecord(1, 1, "x", {1})},
      {"bytes after the last record", doubleRecord(1, 1, "a", {1}) + "abc"},
  };
}

TYPED_TEST(StandardMatFileTest, UnreadableRecordsLeaveTheObjectUnchanged) {
  for (const Unreadable& unreadable : unreadableFiles()) {
    SCOPED_TRACE(unreadable.what);
    TempFile file;
    file.write(unreadable.bytes);
    CMatrix<TypeParam> m = fromRows<TypeParam>(1, 1, {9});
    EXPECT_EQ(importFrom(m, file, "x"), -4);
    expectMatrix<TypeParam>(m, 1, 1, {9});
    CDenseVector<TypeParam> v(1, TypeParam(9));
    EXPECT_EQ(importFrom(v, file, "x"), -4);
    EXPECT_EQ(elementsOf(v), std::vector<TypeParam>{9});
  }
}

TYPED_TEST(StandardMatFileTest, EveryCutOffsetGivesANegativeCode) {
  const std::string skipped =
      record(kInt16, 1, 2, "other", stored<std::int16_t>({1, 2, 3, 4}), 1);
  const std::string full = skipped + doubleRecord(2, 1, "x", {5, 6});
  TempFile file;
  for (std::size_t cut = 0; cut < full.size(); ++cut) {
    SCOPED_TRACE(cut);
    file.write(full.substr(0, cut));
    // A cut between whole records leaves a file without the variable.
    const int expected = cut == 0 || cut == skipped.size() ? -3 : -4;
    CMatrix<TypeParam> m = fromRows<TypeParam>(1, 1, {9});
    EXPECT_EQ(importFrom(m, file, "x"), expected);
    expectMatrix<TypeParam>(m, 1, 1, {9});
    CDenseVector<TypeParam> v(1, TypeParam(9));
    EXPECT_EQ(importFrom(v, file, "x"), expected);
    EXPECT_EQ(elementsOf(v), std::vector<TypeParam>{9});
  }
  file.write(full);
  CMatrix<TypeParam> m;
  EXPECT_EQ(importFrom(m, file, "x"), 0);
  expectMatrix<TypeParam>(m, 2, 1, {5, 6});
}

// ---- exchange with another tool
// ------------------------------------------------------

class StandardMatFileExchange : public testing::Test {
 protected:
  void SetUp() override {
    VECML_REQUIRE_PYTHON_MODULE("scipy.io", "python3-scipy");
  }
};

// Prints every variable of a file as "name dtype rows columns" followed by
// its elements column by column in hexadecimal floating point.
constexpr const char* kLoadScript = R"(import sys
import scipy.io
variables = scipy.io.loadmat(sys.argv[1])
for name in sorted(k for k in variables if not k.startswith('__')):
    a = variables[name]
    values = ' '.join(float(x).hex() for x in a.flatten(order='F'))
    print(name, a.dtype, a.shape[0], a.shape[1], values)
)";

struct LoadedVariable {
  std::string dtype;
  int rows = 0, columns = 0;
  std::vector<double> values;
};

std::map<std::string, LoadedVariable> parseLoaded(const std::string& text) {
  std::map<std::string, LoadedVariable> variables;
  std::istringstream lines(text);
  std::string line;
  while (std::getline(lines, line)) {
    std::istringstream fields(line);
    std::string name, value;
    LoadedVariable variable;
    fields >> name >> variable.dtype >> variable.rows >> variable.columns;
    while (fields >> value)
      variable.values.push_back(std::strtod(value.c_str(), nullptr));
    variables[name] = variable;
  }
  return variables;
}

TEST_F(StandardMatFileExchange, VecmlFilesLoadWithTheSameValues) {
  TempFile file;
  const char* path = file.path().c_str();
  ASSERT_TRUE(fromRows<double>(2, 3, {0.1, -2.5, 1e300, 1.0 / 3, 0.0, -1e-300})
                  .exportToStandardMatFile(path, "d", false));
  ASSERT_TRUE(fromRows<int>(1, 2, {INT32_MIN, 7})
                  .exportToStandardMatFile(path, "i", true));
  ASSERT_TRUE(CDenseVector<float>(std::vector<float>{0.1f, -3})
                  .exportToStandardMatFile(path, "v", true));
  const std::string output = runPython(kLoadScript, "'" + file.path() + "'");
  const std::map<std::string, LoadedVariable> loaded = parseLoaded(output);
  ASSERT_EQ(loaded.size(), 3u) << output;
  const LoadedVariable& d = loaded.at("d");
  EXPECT_EQ(d.dtype, "float64");
  EXPECT_EQ(d.rows, 2);
  EXPECT_EQ(d.columns, 3);
  EXPECT_EQ(d.values,
            (std::vector<double>{0.1, 1.0 / 3, -2.5, 0.0, 1e300, -1e-300}));
  const LoadedVariable& i = loaded.at("i");
  EXPECT_EQ(i.rows, 1);
  EXPECT_EQ(i.columns, 2);
  EXPECT_EQ(i.values, (std::vector<double>{INT32_MIN, 7}));
  const LoadedVariable& v = loaded.at("v");
  EXPECT_EQ(v.rows, 2);
  EXPECT_EQ(v.columns, 1);
  EXPECT_EQ(v.values, (std::vector<double>{double(0.1f), -3}));
}

// Saves arrays of every stored precision, and variables of kinds that
// cannot be read, in the standard layout.
constexpr const char* kSaveScript = R"(import sys
import numpy as np
import scipy.io
import scipy.sparse
m = np.array([[0.1, -2.5, 1e300], [1 / 3, 0.0, -1e-300]])
scipy.io.savemat(sys.argv[1], {
    'complex': np.array([[1 + 2j, 3]]),
    'text': 'hi',
    'sparse': scipy.sparse.csc_matrix(np.eye(2)),
    'd': m,
    'f': m[:, :2].astype(np.float32),
    'i32': np.array([[2147483647, -2147483648, 7]], dtype=np.int32),
    'i16': np.array([[-32768], [32767]], dtype=np.int16),
    'u16': np.array([[65535, 1]], dtype=np.uint16),
    'u8': np.array([[255, 0]], dtype=np.uint8),
    'row': np.arange(4.0),
}, format='4')
)";

TEST_F(StandardMatFileExchange, SavedFilesLoadInVecml) {
  TempFile file;
  ASSERT_EQ(runPython(kSaveScript, "'" + file.path() + "'"), "");
  CMatrix<double> d;
  EXPECT_EQ(importFrom(d, file, "d"), 0);
  expectMatrix<double>(d, 2, 3, {0.1, -2.5, 1e300, 1.0 / 3, 0.0, -1e-300});
  CMatrix<float> f;
  EXPECT_EQ(importFrom(f, file, "f"), 0);
  expectMatrix<float>(f, 2, 2, {0.1f, -2.5f, float(1.0 / 3), 0.0f});
  CMatrix<int> i;
  EXPECT_EQ(importFrom(i, file, "i32"), 0);
  expectMatrix<int>(i, 1, 3, {INT32_MAX, INT32_MIN, 7});
  EXPECT_EQ(importFrom(i, file, "i16"), 0);
  expectMatrix<int>(i, 2, 1, {-32768, 32767});
  EXPECT_EQ(importFrom(i, file, "u16"), 0);
  expectMatrix<int>(i, 1, 2, {65535, 1});
  CDenseVector<double> v;
  EXPECT_EQ(importFrom(v, file, "u8"), 0);
  EXPECT_EQ(elementsOf(v), (std::vector<double>{255, 0}));
  EXPECT_EQ(importFrom(v, file, "row"), 0);
  EXPECT_EQ(elementsOf(v), (std::vector<double>{0, 1, 2, 3}));
  for (const char* unreadable : {"complex", "text", "sparse"})
    EXPECT_EQ(importFrom(d, file, unreadable), -4) << unreadable;
  EXPECT_EQ(importFrom(d, file, "missing"), -3);
}

}  // namespace
