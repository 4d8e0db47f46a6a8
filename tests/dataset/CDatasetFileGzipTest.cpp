// SPDX-License-Identifier: MIT
// The dataset record in gzip files: writing, the trusting file reader, and
// exchange with the gzip command.
#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>
#include <string>

#include "dataset/CDatasetFileTestSupport.h"
#include "support/TempFile.h"
#include "vecml/dataset/CDataset.h"

namespace {

using namespace dataset_file_test;

template <typename T>
class CDatasetFileGzip : public testing::Test {};
TYPED_TEST_SUITE(CDatasetFileGzip, FloatingTypes);

// Reads the file `path` with the trusting reader, capturing the error
// stream into `errors`.
template <typename T>
bool readFile(CDataset<T>& data, const std::string& path, std::string& errors) {
  testing::internal::CaptureStderr();
  const bool result = data.read(path.c_str());
  errors = testing::internal::GetCapturedStderr();
  return result;
}

template <typename T>
CDataset<T> smallDataset() {
  CDataset<T> data;
  std::istringstream in(smallRecord());
  EXPECT_TRUE(data.read(in));
  return data;
}

TYPED_TEST(CDatasetFileGzip, WrittenFileHoldsTheCompressedRecord) {
  TempFile file;
  ASSERT_TRUE(smallDataset<TypeParam>().write(file.path().c_str()));
  EXPECT_EQ(file.contents().substr(0, 2), "\x1f\x8b");
  EXPECT_EQ(readGzip(file.path()), smallRecord());
}

TYPED_TEST(CDatasetFileGzip, EmptyDatasetFileDecompressesTo42Bytes) {
  TempFile file;
  ASSERT_TRUE(CDataset<TypeParam>().write(file.path().c_str()));
  EXPECT_EQ(readGzip(file.path()), recordHeader(0, 1000, 0, 0).str());
}

TYPED_TEST(CDatasetFileGzip, FileRoundTrip) {
  TempFile file;
  ASSERT_TRUE(smallDataset<TypeParam>().write(file.path().c_str()));
  CDataset<TypeParam> loaded = sentinelDataset<TypeParam>();
  std::string errors;
  ASSERT_TRUE(readFile(loaded, file.path(), errors));
  EXPECT_EQ(errors, "");
  expectSmallDataset(loaded);
}

TYPED_TEST(CDatasetFileGzip, WriteToAnUnopenableFileFails) {
  const std::string path = testing::TempDir() + "vecml_no_such_dir/x.gz";
  EXPECT_FALSE(smallDataset<TypeParam>().write(path.c_str()));
  EXPECT_FALSE(smallDataset<TypeParam>().write(nullptr));
}

TYPED_TEST(CDatasetFileGzip, ReadOfAMissingFileFailsAndChangesNothing) {
  const std::string path = testing::TempDir() + "vecml_no_such_file.gz";
  CDataset<TypeParam> data = sentinelDataset<TypeParam>();
  std::string errors;
  EXPECT_FALSE(readFile(data, path, errors));
  EXPECT_EQ(errors, "");
  EXPECT_FALSE(data.read(nullptr));
  expectSentinel(data);
}

TYPED_TEST(CDatasetFileGzip, WrongTagInAFileStillReturnsTrue) {
  TempFile file;
  writeGzip(file.path(), RecordBytes().cString("CDataset 0.2").str() +
                             smallRecord().substr(17));
  CDataset<TypeParam> data = sentinelDataset<TypeParam>();
  std::string errors;
  EXPECT_TRUE(readFile(data, file.path(), errors));
  EXPECT_EQ(errors, "Wrong file type!\n");
  expectSentinel(data);
}

TYPED_TEST(CDatasetFileGzip, UncompressedFileIsReadAsItStands) {
  TempFile file;
  file.write(smallRecord());
  CDataset<TypeParam> data;
  std::string errors;
  ASSERT_TRUE(readFile(data, file.path(), errors));
  expectSmallDataset(data);
}

TYPED_TEST(CDatasetFileGzip, GzipCommandDecompressesAWrittenFile) {
  if (!haveGzipCommand()) GTEST_SKIP() << "no gzip command";
  TempFile file, plain;
  ASSERT_TRUE(smallDataset<TypeParam>().write(file.path().c_str()));
  const std::string command =
      "gzip -dc '" + file.path() + "' > '" + plain.path() + "'";
  ASSERT_EQ(std::system(command.c_str()), 0);
  EXPECT_EQ(plain.contents(), smallRecord());
}

TYPED_TEST(CDatasetFileGzip, RecordCompressedByTheGzipCommandReadsBack) {
  if (!haveGzipCommand()) GTEST_SKIP() << "no gzip command";
  TempFile plain, file;
  plain.write(smallRecord());
  const std::string command =
      "gzip -9 -c '" + plain.path() + "' > '" + file.path() + "'";
  ASSERT_EQ(std::system(command.c_str()), 0);
  CDataset<TypeParam> trusted, checked;
  std::string errors;
  ASSERT_TRUE(readFile(trusted, file.path(), errors));
  expectSmallDataset(trusted);
  ASSERT_TRUE(checked.read(file.path().c_str(), errors)) << errors;
  expectSmallDataset(checked);
}

// The compressed file cut at every offset: the trusting reader opens it,
// uses what decompresses and makes only items that are complete.
TYPED_TEST(CDatasetFileGzip, CompressedFileCutAtEveryOffset) {
  TempFile whole;
  ASSERT_TRUE(smallDataset<TypeParam>().write(whole.path().c_str()));
  const std::string compressed = whole.contents();
  for (std::size_t cut = 0; cut < compressed.size(); ++cut) {
    SCOPED_TRACE("cut at " + std::to_string(cut));
    TempFile file;
    file.write(compressed.substr(0, cut));
    CDataset<TypeParam> data = sentinelDataset<TypeParam>();
    std::string errors;
    EXPECT_TRUE(readFile(data, file.path(), errors));
    if (!errors.empty()) {
      EXPECT_EQ(errors, "Wrong file type!\n");
      expectSentinel(data);
      continue;
    }
    ASSERT_LE(data.items(), kSmallItems);
    for (int k = 0; k < data.items(); ++k) expectSmallItem(data, k);
  }
}

TYPED_TEST(CDatasetFileGzip, EveryCorruptedCompressedByteIsSurvived) {
  TempFile whole;
  ASSERT_TRUE(smallDataset<TypeParam>().write(whole.path().c_str()));
  forEachFlippedFileByte(whole.contents(), [](const std::string& path) {
    CDataset<TypeParam> data;
    std::string errors;
    EXPECT_TRUE(readFile(data, path, errors));
    EXPECT_LE(data.items(), 1 << 16);
  });
}

}  // namespace
