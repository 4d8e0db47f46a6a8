// SPDX-License-Identifier: MIT
// The validating readers: every rejection, its message, and an unchanged
// dataset afterwards.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>

#include "dataset/CDatasetFileTestSupport.h"
#include "support/Sanitizers.h"
#include "support/TempFile.h"
#include "vecml/dataset/CDataset.h"

namespace {

using namespace dataset_file_test;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

template <typename T>
class CDatasetFileChecked : public testing::Test {};
TYPED_TEST_SUITE(CDatasetFileChecked, FloatingTypes);

const std::string kPrefix = "CDataset::read(): ";

// Reads `bytes` with the validating stream reader into a sentinel dataset.
// \return the error text; empty when the read succeeded.
template <typename T>
std::string rejection(const std::string& bytes) {
  CDataset<T> data = sentinelDataset<T>();
  std::istringstream in(bytes);
  std::string error;
  if (data.read(in, error)) return "";
  expectSentinel(data);
  return error;
}

// The small record with the 32-bit field at `offset` replaced by `value`.
std::string smallRecordWith(int offset, std::int32_t value) {
  std::string record = smallRecord();
  record.replace(std::size_t(offset), 4, bytesOf(value));
  return record;
}

TYPED_TEST(CDatasetFileChecked, AcceptsAWellFormedRecord) {
  CDataset<TypeParam> data = sentinelDataset<TypeParam>();
  std::istringstream in(smallRecord());
  std::string error;
  ASSERT_TRUE(data.read(in, error)) << error;
  EXPECT_EQ(error, "");
  expectSmallDataset(data);
}

TYPED_TEST(CDatasetFileChecked, AcceptsAnEmptyDataset) {
  CDataset<TypeParam> data = sentinelDataset<TypeParam>();
  std::istringstream in(recordOf(CDataset<TypeParam>()));
  std::string error;
  ASSERT_TRUE(data.read(in, error)) << error;
  EXPECT_EQ(data.items(), 0);
  EXPECT_EQ(data.getInfo(), "none");
  EXPECT_EQ(data.growSize(), 1000);
}

TYPED_TEST(CDatasetFileChecked, LeavesTheStreamRightAfterTheRecord) {
  std::istringstream in(smallRecord() + "tail");
  CDataset<TypeParam> data;
  std::string error;
  ASSERT_TRUE(data.read(in, error)) << error;
  std::string rest;
  in >> rest;
  EXPECT_EQ(rest, "tail");
}

TYPED_TEST(CDatasetFileChecked, RejectsWrongTags) {
  const std::string rest = smallRecord().substr(kCountOffset);
  EXPECT_EQ(rejection<TypeParam>(
                RecordBytes().cString("CDataset 0.2").raw(rest).str()),
            kPrefix + "wrong file type: the tag is not \"CDataset 0.1\"");
  EXPECT_EQ(rejection<TypeParam>(
                RecordBytes().int32(13).raw("CDataset 0.1x").raw(rest).str()),
            kPrefix + "wrong file type: the tag is not \"CDataset 0.1\"");
  EXPECT_EQ(rejection<TypeParam>(RecordBytes()
                                     .int32(14)
                                     .raw(std::string("CDataset 0.1\0", 14))
                                     .raw(rest)
                                     .str()),
            kPrefix + "wrong file type: tag length 14 instead of 13");
  EXPECT_EQ(rejection<TypeParam>(RecordBytes().int32(-1).raw(rest).str()),
            kPrefix + "wrong file type: tag length -1 instead of 13");
}

TYPED_TEST(CDatasetFileChecked, RejectsNegativeCountsAndLengths) {
  EXPECT_EQ(rejection<TypeParam>(smallRecordWith(kCountOffset, -1)),
            kPrefix + "negative item count -1");
  EXPECT_EQ(rejection<TypeParam>(smallRecordWith(kCountOffset + 8, -2)),
            kPrefix + "negative input dimension -2");
  EXPECT_EQ(rejection<TypeParam>(smallRecordWith(kCountOffset + 12, INT_MIN)),
            kPrefix + "negative output dimension -2147483648");
  EXPECT_EQ(rejection<TypeParam>(smallRecordWith(kInfoLengthOffset, -4)),
            kPrefix + "negative info length -4");
}

TYPED_TEST(CDatasetFileChecked, AcceptsAnyGrowSize) {
  CDataset<TypeParam> data;
  std::istringstream in(smallRecordWith(kCountOffset + 4, -3));
  std::string error;
  ASSERT_TRUE(data.read(in, error)) << error;
  EXPECT_EQ(data.growSize(), -3);
}

TYPED_TEST(CDatasetFileChecked, RejectsInfoWithoutItsNul) {
  EXPECT_EQ(rejection<TypeParam>(smallRecordWith(kInfoLengthOffset, 0)),
            kPrefix + "info length 0 leaves no room for the terminating NUL");
  // Length 3 ends the info at "abc" and takes its NUL for item data.
  EXPECT_EQ(rejection<TypeParam>(smallRecordWith(kInfoLengthOffset, 3)),
            kPrefix + "the info text is not terminated by a NUL");
}

TYPED_TEST(CDatasetFileChecked, InfoEndsAtItsFirstNul) {
  CDataset<TypeParam> data;
  std::istringstream in(
      recordHeader(0, 1, 0, 0, std::string("ab\0cd", 5)).str());
  std::string error;
  ASSERT_TRUE(data.read(in, error)) << error;
  EXPECT_EQ(data.getInfo(), "ab");
}

TYPED_TEST(CDatasetFileChecked, RejectsItemsWithoutValues) {
  EXPECT_EQ(rejection<TypeParam>(recordHeader(5, 1, 0, 0).str()),
            kPrefix +
                "item count 5 with input and output dimension 0: items "
                "without values cannot be checked against the data");
}

TYPED_TEST(CDatasetFileChecked, RejectsDataNoStreamCouldHold) {
  EXPECT_EQ(rejection<TypeParam>(recordHeader(INT_MAX, 1, INT_MAX, 2).str()),
            kPrefix +
                "oversize data: 2147483647 items of 2147483649 values exceed "
                "any stream");
}

// Every cut of the small record names the field or item where it ends.
TYPED_TEST(CDatasetFileChecked, RecordCutAtEveryOffsetNamesWhereItEnds) {
  const std::string record = smallRecord();
  const struct {
    int end;
    const char* field;
  } fields[] = {{4, "the tag length"},       {17, "the type tag"},
                {21, "the item count"},      {25, "the grow size"},
                {29, "the input dimension"}, {33, "the output dimension"},
                {37, "the info length"},     {41, "the info text"}};
  for (std::size_t cut = 0; cut < record.size(); ++cut) {
    SCOPED_TRACE("cut at " + std::to_string(cut));
    std::string where;
    for (const auto& field : fields)
      if (where.empty() && int(cut) < field.end) where = field.field;
    if (where.empty())
      where =
          "item " + std::to_string((int(cut) - kItemsOffset) / 12) + " of 3";
    EXPECT_EQ(rejection<TypeParam>(record.substr(0, cut)),
              kPrefix + "dataset file truncated in " + where);
  }
}

TYPED_TEST(CDatasetFileChecked, EveryCorruptedByteIsRejectedOrRead) {
  forEachCorruptedByte(smallRecord(), [](const std::string& corrupt) {
    const std::string error = rejection<TypeParam>(corrupt);
    if (!error.empty()) {
      EXPECT_THAT(error, StartsWith(kPrefix));
    }
  });
}

// --- Files ------------------------------------------------------------------

template <typename T>
std::string fileRejection(const std::string& path) {
  CDataset<T> data = sentinelDataset<T>();
  std::string error;
  if (data.read(path.c_str(), error)) return "";
  expectSentinel(data);
  return error;
}

TYPED_TEST(CDatasetFileChecked, ReadsAFileWrittenByTheLibrary) {
  TempFile file;
  CDataset<TypeParam> written;
  std::istringstream in(smallRecord());
  ASSERT_TRUE(written.read(in));
  ASSERT_TRUE(written.write(file.path().c_str()));
  CDataset<TypeParam> data = sentinelDataset<TypeParam>();
  std::string error;
  ASSERT_TRUE(data.read(file.path().c_str(), error)) << error;
  expectSmallDataset(data);
}

TYPED_TEST(CDatasetFileChecked, FileMessagesNameTheFile) {
  TempFile file;
  writeGzip(file.path(), smallRecordWith(kCountOffset, -1));
  EXPECT_EQ(fileRejection<TypeParam>(file.path()),
            kPrefix + "negative item count -1; file: " + file.path());
}

TYPED_TEST(CDatasetFileChecked, RejectsAFileThatCannotBeOpened) {
  const std::string path = testing::TempDir() + "vecml_no_such_file.gz";
  EXPECT_EQ(fileRejection<TypeParam>(path),
            kPrefix + "cannot open file; file: " + path);
  CDataset<TypeParam> data = sentinelDataset<TypeParam>();
  std::string error;
  EXPECT_FALSE(data.read(nullptr, error));
  EXPECT_EQ(error, kPrefix + "no file name given");
  expectSentinel(data);
}

TYPED_TEST(CDatasetFileChecked, RejectsDataAfterTheRecord) {
  TempFile file;
  writeGzip(file.path(), smallRecord() + "x");
  EXPECT_EQ(
      fileRejection<TypeParam>(file.path()),
      kPrefix + "data continue after the last item; file: " + file.path());
}

TYPED_TEST(CDatasetFileChecked, ReadsAnUncompressedFile) {
  TempFile file;
  file.write(smallRecord());
  CDataset<TypeParam> data;
  std::string error;
  ASSERT_TRUE(data.read(file.path().c_str(), error)) << error;
  expectSmallDataset(data);
}

TYPED_TEST(CDatasetFileChecked, CutRecordInAWholeGzipFileIsRejected) {
  const std::string record = smallRecord();
  for (std::size_t cut = 0; cut < record.size(); ++cut) {
    SCOPED_TRACE("cut at " + std::to_string(cut));
    TempFile file;
    writeGzip(file.path(), record.substr(0, cut));
    const std::string error = fileRejection<TypeParam>(file.path());
    EXPECT_THAT(error, StartsWith(kPrefix + "dataset file truncated in "));
    EXPECT_THAT(error, EndsWith("; file: " + file.path()));
  }
}

// The compressed file cut at every offset is rejected: a cut inside the
// compressed data is a broken gzip stream, a cut of a byte or none leaves
// too short a plain file.
TYPED_TEST(CDatasetFileChecked, CompressedFileCutAtEveryOffsetIsRejected) {
  TempFile whole;
  writeGzip(whole.path(), smallRecord());
  const std::string compressed = whole.contents();
  for (std::size_t cut = 0; cut < compressed.size(); ++cut) {
    SCOPED_TRACE("cut at " + std::to_string(cut));
    TempFile file;
    file.write(compressed.substr(0, cut));
    const std::string error = fileRejection<TypeParam>(file.path());
    if (cut < 2)
      EXPECT_EQ(error, kPrefix + "dataset file truncated in the tag length" +
                           "; file: " + file.path());
    else
      EXPECT_EQ(error, kPrefix +
                           "broken gzip stream (corrupt or cut-off data); "
                           "file: " +
                           file.path());
  }
}

// A damaged compressed byte is rejected, unless it lies in a header field
// that gzip does not check; then the data are the original ones.
TYPED_TEST(CDatasetFileChecked, EveryCorruptedCompressedByteIsCaught) {
  TempFile whole;
  writeGzip(whole.path(), smallRecord());
  int accepted = 0;
  forEachFlippedFileByte(whole.contents(), [&](const std::string& path) {
    CDataset<TypeParam> data = sentinelDataset<TypeParam>();
    std::string error;
    if (data.read(path.c_str(), error)) {
      ++accepted;
      expectSmallDataset(data);
    } else {
      EXPECT_THAT(error, StartsWith(kPrefix));
      EXPECT_THAT(error, EndsWith("; file: " + path));
      expectSentinel(data);
    }
  });
  // Only the modification time, extra flags and system bytes are unchecked.
  EXPECT_LE(accepted, 6);
}

#ifndef VECML_TESTS_ASAN
// Loads `path` under a 256 MiB address-space limit; exits 0 when both
// readers coped and the validating one gave `expected`. (The address
// sanitizer reserves its shadow memory up front, so it cannot run under
// such a limit.)
template <typename T>
[[noreturn]] void loadUnderSmallLimit(const std::string& path,
                                      const std::string& expected) {
  const rlim_t limit = rlim_t(256) << 20;
  const rlimit addressSpace{limit, limit};
  setrlimit(RLIMIT_AS, &addressSpace);
  CDataset<T> data;
  std::string error;
  const bool checked = data.read(path.c_str(), error);
  const bool trusted = data.read(path.c_str());
  // The death-test child made its own file and exits without unwinding, so
  // its TempFile cannot remove it.
  std::remove(path.c_str());
  std::exit(!checked && error == expected && trusted && data.items() == 0 ? 0
                                                                          : 1);
}

template <typename T>
class CDatasetFileCheckedDeathTest : public testing::Test {};
TYPED_TEST_SUITE(CDatasetFileCheckedDeathTest, FloatingTypes);

TYPED_TEST(CDatasetFileCheckedDeathTest, HugeDeclaredSizesCostNoMemory) {
  const struct {
    std::string record;
    std::string reason;
  } cases[] = {
      {recordHeader(2000000000, 1, 16, 1).floats({1, 2, 3, 4, 5}).str(),
       "dataset file truncated in item 0 of 2000000000"},
      {recordHeader(2, 1, 2000000000, 1).floats({1, 2}).str(),
       "dataset file truncated in item 0 of 2"},
      {recordHeader(2, 1, 1, 0).str().substr(0, kInfoLengthOffset) +
           bytesOf(std::int32_t(2000000000)) + "abc",
       "dataset file truncated in the info text"},
  };
  for (const auto& test : cases) {
    TempFile file;
    writeGzip(file.path(), test.record);
    ASSERT_LT(test.record.size(), 100u);
    EXPECT_EXIT(
        loadUnderSmallLimit<TypeParam>(
            file.path(), kPrefix + test.reason + "; file: " + file.path()),
        testing::ExitedWithCode(0), "");
  }
}
#endif

}  // namespace
