// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "support/CaptureOutput.h"
#include "support/RecordingArchive.h"
#include "support/TempFile.h"
#include "vecml/core/CObjectFactory.h"
#include "vecml/dataset/CDatasetItem.h"
#include "vecml/vector/CDenseVector.h"
#include "vecml/vector/CSparseVector.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

template <typename T>
class CDatasetItemSerializeTest : public testing::Test {};
using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CDatasetItemSerializeTest, ElementTypes);

template <typename V>
std::string bytesOf(V value) {
  return std::string(reinterpret_cast<const char*>(&value), sizeof value);
}

// The dense vector's own record: element-type tag, dimension, elements.
template <typename T>
std::string denseRecord(std::vector<T> values) {
  std::string record = bytesOf<std::int32_t>(std::is_same_v<T, float> ? 1 : 2) +
                       bytesOf<std::int32_t>(static_cast<int>(values.size()));
  for (T value : values) record += bytesOf(value);
  return record;
}

template <typename T>
void writeItem(CDatasetItem<T>& item, const TempFile& file) {
  std::fstream out(file.path(), std::ios::out | std::ios::binary);
  ASSERT_TRUE(item.serialize(out, IO_WRITE));
}

TYPED_TEST(CDatasetItemSerializeTest, WritesIdClassNamesAndVectorRecords) {
  using T = TypeParam;
  CDatasetItem<T> item(CDenseVector<T>(std::vector<T>{1, 2}),
                       CDenseVector<T>(std::vector<T>{3}), 6);
  TempFile file;
  writeItem(item, file);
  EXPECT_EQ(file.contents(), bytesOf<std::int32_t>(6) + "CDenseVector\n" +
                                 denseRecord<T>({1, 2}) + "CDenseVector\n" +
                                 denseRecord<T>({3}));
}

TYPED_TEST(CDatasetItemSerializeTest, ReadsBackThroughTheVectorPlugins) {
  using T = TypeParam;
  CDatasetItem<T> item(CDenseVector<T>(std::vector<T>{1.5, -2}),
                       CDenseVector<T>(std::vector<T>{3}), 6);
  TempFile file;
  writeItem(item, file);

  CDatasetItem<T> loaded;
  std::unique_ptr<CVector<T>> oldInput(loaded.inputVectorPtr());
  std::unique_ptr<CVector<T>> oldOutput(loaded.outputVectorPtr());
  std::fstream in(file.path(), std::ios::in | std::ios::binary);
  EXPECT_TRUE(loaded.serialize(in, IO_READ));
  EXPECT_EQ(loaded.id(), 6);
  EXPECT_NE(loaded.inputVectorPtr(), oldInput.get());
  EXPECT_EQ(loaded.inputVector()->className(), "CDenseVector");
  EXPECT_EQ(loaded.inputDimension(), 2);
  EXPECT_EQ(loaded.inputComponent(0), T(1.5));
  EXPECT_EQ(loaded.inputComponent(1), T(-2));
  EXPECT_EQ(loaded.outputComponent(0), T(3));
  // The vectors held before reading were handed over, not released: the
  // pointers taken above are still valid.
  EXPECT_EQ(oldInput->dimension(), 1);
  EXPECT_EQ(oldOutput->dimension(), 1);
}

TYPED_TEST(CDatasetItemSerializeTest, SparseVectorsComeBackAsSparse) {
  using T = TypeParam;
  CDatasetItem<T> item(CSparseVector<T>(3, 0), CDenseVector<T>(1), 2);
  TempFile file;
  writeItem(item, file);
  EXPECT_EQ(file.contents(), bytesOf<std::int32_t>(2) + "CSparseVector\n" +
                                 "CDenseVector\n" + denseRecord<T>({0}));

  CDatasetItem<T> loaded;
  std::unique_ptr<CVector<T>> oldInput(loaded.inputVectorPtr());
  std::unique_ptr<CVector<T>> oldOutput(loaded.outputVectorPtr());
  std::fstream in(file.path(), std::ios::in | std::ios::binary);
  loaded.serialize(in, IO_READ);
  EXPECT_EQ(loaded.inputVector()->className(), "CSparseVector");
  EXPECT_EQ(loaded.outputDimension(), 1);
}

TYPED_TEST(CDatasetItemSerializeTest, UnknownClassNameLeavesANullVector) {
  using T = TypeParam;
  TempFile file;
  file.write(bytesOf<std::int32_t>(1) + "NoSuchVector\n" + "CSparseVector\n");
  // A failed load keeps the factory's previous plug-in name, which would
  // then produce nothing: start from a plug-in the record does not name.
  CObjectFactory::instance()->canProduce("CDenseVector");
  CDatasetItem<T> loaded;
  std::unique_ptr<CVector<T>> oldInput(loaded.inputVectorPtr());
  std::unique_ptr<CVector<T>> oldOutput(loaded.outputVectorPtr());
  std::fstream in(file.path(), std::ios::in | std::ios::binary);
  const std::string printed =
      captureStdout([&] { EXPECT_TRUE(loaded.serialize(in, IO_READ)); });
  EXPECT_THAT(printed, HasSubstr("NoSuchVectorFactory.so"));
  EXPECT_EQ(loaded.inputVectorPtr(), nullptr);
  EXPECT_EQ(loaded.outputVector()->className(), "CSparseVector");
}

TYPED_TEST(CDatasetItemSerializeTest, ArchiveStoresIdNamesAndVectors) {
  using T = TypeParam;
  CDatasetItem<T> item(CDenseVector<T>(2), CSparseVector<T>(2, 0), 5);
  RecordingArchive archive;
  EXPECT_TRUE(item.serialize2(archive));
  const std::string object = std::is_same_v<T, float>
                                 ? "write(CObject<float>)"
                                 : "write(CObject<double>)";
  EXPECT_THAT(
      archive.calls,
      ElementsAre("isLoading", "write(int) 5", "writeSeparator",
                  "write(string) CDenseVector", "writeSeparator", object,
                  "writeSeparator", "write(string) CSparseVector",
                  "writeSeparator", object));
}

TYPED_TEST(CDatasetItemSerializeTest, ArchiveLoadsVectorsThroughThePlugins) {
  using T = TypeParam;
  RecordingArchive archive(true);
  archive.numbers = {8};
  archive.strings = {"CSparseVector", "CDenseVector"};
  CDatasetItem<T> item;
  EXPECT_TRUE(item.serialize2(archive));
  const std::string object = std::is_same_v<T, float> ? "read(CObject<float>)"
                                                      : "read(CObject<double>)";
  EXPECT_THAT(archive.calls,
              ElementsAre("isLoading", "read(int)", "read(string)", object,
                          "read(string)", object));
  EXPECT_EQ(item.id(), 8);
  EXPECT_EQ(item.inputVector()->className(), "CSparseVector");
  EXPECT_EQ(item.outputVector()->className(), "CDenseVector");
}

TEST(CDatasetItemSerializeDeathTest, UnproducibleInputAbortsFromLine345) {
  RecordingArchive archive(true);
  archive.strings = {"NoSuchVector", "CDenseVector"};
  CDatasetItem<float> item;
  EXPECT_DEATH(item.serialize2(archive),
               HasSubstr("ML_CRITICAL_MSG in File: CDatasetItem.h Line: 345\n"
                         "Unable to produce CVector object\n"));
}

TEST(CDatasetItemSerializeDeathTest, UnproducibleOutputAbortsFromLine350) {
  RecordingArchive archive(true);
  archive.strings = {"CDenseVector", "NoSuchVector"};
  CDatasetItem<double> item;
  EXPECT_DEATH(item.serialize2(archive),
               HasSubstr("ML_CRITICAL_MSG in File: CDatasetItem.h Line: 350\n"
                         "Unable to produce CVector object\n"));
}

}  // namespace
