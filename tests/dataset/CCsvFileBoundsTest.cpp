// SPDX-License-Identifier: MIT
// Reading delimited text from hostile or endless sources: overlong fields and
// lines are refused with their position, devices without end are not read
// for ever, and a long line costs memory in proportion to its values.
#include <gtest/gtest.h>

#include <cstdlib>
#include <istream>
#include <sstream>
#include <streambuf>
#include <string>
#include <utility>

#include "dataset/CCsvFileTestSupport.h"
#include "dataset/CDatasetFileTestSupport.h"
#include "support/PeakMemory.h"
#include "support/Sanitizers.h"
#include "vecml/dataset/CCsvFile.h"
#include "vecml/dataset/CDataset.h"

namespace {

using namespace csv_file_test;
using dataset_file_test::expectSentinel;
using dataset_file_test::sentinelDataset;

template <typename T>
class CCsvFileBoundsTest : public testing::Test {};
TYPED_TEST_SUITE(CCsvFileBoundsTest, FloatingTypes);

// A stream buffer that gives `head` once and then `pattern` for ever, the
// way a device or a pipe with a busy writer does.
class EndlessBuffer : public std::streambuf {
 public:
  EndlessBuffer(std::string head, const std::string& pattern)
      : chunk(std::move(head)), repeated(pattern) {
    while (repeated.size() < 4096) repeated += pattern;
    setg(chunk.data(), chunk.data(), chunk.data() + chunk.size());
  }

 protected:
  int_type underflow() override {
    chunk = repeated;
    setg(chunk.data(), chunk.data(), chunk.data() + chunk.size());
    return traits_type::to_int_type(chunk[0]);
  }

 private:
  std::string chunk;
  std::string repeated;
};

// Reads an endless source into a sentinel dataset, which must stay as it
// was. \return the error.
template <typename T>
std::string endlessError(const CCsvFile& csv, const std::string& head,
                         const std::string& pattern) {
  EndlessBuffer buffer(head, pattern);
  std::istream in(&buffer);
  CDataset<T> data = sentinelDataset<T>();
  std::string error;
  EXPECT_FALSE(csv.read(in, data, error));
  expectSentinel(data);
  return error;
}

const std::string kLongestField(CCsvFile::kMaxFieldLength, '0');

TYPED_TEST(CCsvFileBoundsTest, AcceptsFieldsUpToTheLongest) {
  using T = TypeParam;
  const CDataset<T> data =
      readOk<T>(CCsvFile(), "1," + kLongestField.substr(1) + "7,\"" +
                                kLongestField.substr(1) + "5\"\n");
  ASSERT_EQ(data.items(), 1);
  EXPECT_EQ(data[0].inputComponent(1), T(7));
  EXPECT_EQ(data[0].inputComponent(2), T(5));
}

TYPED_TEST(CCsvFileBoundsTest, RefusesALongerFieldNamingItsColumn) {
  const std::string expected = kReadPrefix +
                               "line 2, column 2: a field of more than "
                               "65536 bytes";
  EXPECT_EQ(readError<TypeParam>(CCsvFile(), "1,2\n3," + kLongestField + "1\n"),
            expected);
  EXPECT_EQ(
      readError<TypeParam>(CCsvFile(), "1,2\n3, \"" + kLongestField + "1\"\n"),
      expected);
}

TYPED_TEST(CCsvFileBoundsTest, AnEndlessFieldEndsAtTheBound) {
  EXPECT_EQ(endlessError<TypeParam>(CCsvFile(), "", std::string(1, '\0')),
            kReadPrefix + "line 1, column 1: a field of more than 65536 bytes");
  CCsvFile csv;
  csv.setHeader(true);
  EXPECT_EQ(endlessError<TypeParam>(csv, "a,b\n1,\"", "x"),
            kReadPrefix + "line 2, column 2: a field of more than 65536 bytes");
}

TYPED_TEST(CCsvFileBoundsTest, ADeviceWithoutEndIsRefused) {
  CDataset<TypeParam> data = sentinelDataset<TypeParam>();
  std::string error;
  EXPECT_FALSE(CCsvFile().read("/dev/zero", data, error));
  EXPECT_EQ(error, kReadPrefix +
                       "line 1, column 1: a field of more than 65536 bytes; "
                       "file: /dev/zero");
  expectSentinel(data);
}

// Peak memory of reading one line of n "1," fields, measured in a fresh
// process: its growth beyond what the process held before must stay within
// 10 bytes per input byte plus 16 MB. The address sanitizer keeps freed
// memory in quarantine, so its builds skip the measurement.
template <typename T>
void readLongLineWithinMemoryBound() {
  const std::string line = [] {
    std::string text;
    for (int k = 0; k < 4 * 1024 * 1024; ++k) text += "1,";
    return text + "1\n";
  }();
  std::istringstream in(line);
  CDataset<T> data;
  std::string error;
  bool read = false;
  const long long grownBytes =
      peakGrowth([&] { read = CCsvFile().read(in, data, error); });
  if (!read || data.items() != 1) std::exit(2);
  std::exit(grownBytes <=
                    10LL * static_cast<long long>(line.size()) + (16LL << 20)
                ? 0
                : 1);
}

template <typename T>
class CCsvFileBoundsDeathTest : public testing::Test {};
TYPED_TEST_SUITE(CCsvFileBoundsDeathTest, FloatingTypes);

// Blanks are dropped without being kept, so only the line bound ends them.
// Scanning 128 MiB takes seconds in a debug build; run in a child process,
// the test stays out of the valgrind run.
TEST(CCsvFileBoundsLineDeathTest, AnEndlessLineEndsAtTheBound) {
  CCsvFile csv;
  csv.setInputColumns({0});
  EXPECT_EXIT(
      {
        const std::string error = endlessError<float>(csv, "1", " ");
        std::exit(
            error == kReadPrefix + "line 1: more than 134217728 bytes" ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

TYPED_TEST(CCsvFileBoundsDeathTest, ALongLineStaysWithinTenTimesItsSize) {
#ifdef VECML_TESTS_ASAN
  GTEST_SKIP() << "peak memory is not measurable under AddressSanitizer";
#endif
  EXPECT_EXIT(readLongLineWithinMemoryBound<TypeParam>(),
              testing::ExitedWithCode(0), "");
}

}  // namespace
