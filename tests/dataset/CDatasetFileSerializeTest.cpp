// SPDX-License-Identifier: MIT
// The dataset's binary stream and archive serialization.
#include <gtest/gtest.h>

#include <climits>
#include <fstream>
#include <string>
#include <type_traits>
#include <vector>

#include "dataset/CDatasetFileTestSupport.h"
#include "support/RecordingArchive.h"
#include "support/TempFile.h"
#include "vecml/dataset/CDataset.h"
#include "vecml/vector/CDenseVector.h"
#include "vecml/vector/CSparseVector.h"

namespace {

using namespace dataset_file_test;

template <typename T>
class CDatasetSerialize : public testing::Test {};
TYPED_TEST_SUITE(CDatasetSerialize, FloatingTypes);

// A dense vector as its serialize() writes it: tag, dimension, elements.
template <typename T>
std::string denseBytes(std::vector<T> values) {
  std::string bytes = bytesOf(std::int32_t(std::is_same_v<T, float> ? 1 : 2)) +
                      bytesOf(std::int32_t(values.size()));
  for (T value : values) bytes += bytesOf(value);
  return bytes;
}

// Items k = 0..n-1 with input (k) and output (k, -k), ids 10 + k.
template <typename T>
CDataset<T> pairsDataset(int n, const std::string& info) {
  CDataset<T> data;
  data.setInfo(info);
  for (int k = 0; k < n; ++k) {
    const T output[] = {T(k), T(-k)};
    data.appendItem(CDatasetItem<T>(CDenseVector<T>(1, T(k)),
                                    CDenseVector<T>(2, output), 10 + k));
  }
  return data;
}

template <typename T>
std::string serialized(CDataset<T>& data) {
  TempFile file;
  {
    std::fstream out(file.path(), std::ios::out | std::ios::binary);
    EXPECT_FALSE(data.serialize(out, IO_WRITE));
  }
  return file.contents();
}

template <typename T>
void deserialize(CDataset<T>& data, const std::string& bytes) {
  TempFile file;
  file.write(bytes);
  std::fstream in(file.path(), std::ios::in | std::ios::binary);
  EXPECT_FALSE(data.serialize(in, IO_READ));
}

TYPED_TEST(CDatasetSerialize, WritesOnePairPerInfoCharacter) {
  using T = TypeParam;
  CDataset<T> data = pairsDataset<T>(3, "ab");
  const std::string expected = bytesOf(std::int32_t(3)) +
                               bytesOf(std::int32_t(2)) + "ab" +
                               denseBytes<T>({0}) + denseBytes<T>({0, 0}) +
                               denseBytes<T>({1}) + denseBytes<T>({1, -1});
  EXPECT_EQ(serialized(data), expected);
}

TYPED_TEST(CDatasetSerialize, AnyNonZeroModeWrites) {
  CDataset<TypeParam> data = pairsDataset<TypeParam>(1, "a");
  TempFile file;
  {
    std::fstream out(file.path(), std::ios::out | std::ios::binary);
    EXPECT_FALSE(data.serialize(out, static_cast<IO_MODE>(7)));
  }
  EXPECT_EQ(file.contents(), serialized(data));
}

TYPED_TEST(CDatasetSerialize, EmptyInfoWritesNoItems) {
  CDataset<TypeParam> data = pairsDataset<TypeParam>(2, "");
  EXPECT_EQ(serialized(data),
            bytesOf(std::int32_t(2)) + bytesOf(std::int32_t(0)));
}

TYPED_TEST(CDatasetSerialize, InfoLongerThanTheItemsWritesOnlyTheItems) {
  using T = TypeParam;
  CDataset<T> data = pairsDataset<T>(1, "abcd");
  EXPECT_EQ(serialized(data), bytesOf(std::int32_t(1)) +
                                  bytesOf(std::int32_t(4)) + "abcd" +
                                  denseBytes<T>({0}) + denseBytes<T>({0, 0}));
}

TYPED_TEST(CDatasetSerialize, SparseVectorsWriteNothingOfTheirOwn) {
  using T = TypeParam;
  CDataset<T> data;
  data.setInfo("s");
  data.appendItem(
      CDatasetItem<T>(CSparseVector<T>(3, 0), CDenseVector<T>(1, T(2))));
  EXPECT_EQ(serialized(data), bytesOf(std::int32_t(1)) +
                                  bytesOf(std::int32_t(1)) + "s" +
                                  denseBytes<T>({2}));
}

TYPED_TEST(CDatasetSerialize, ReadAppendsInfoLengthItemsWithoutEmptying) {
  using T = TypeParam;
  CDataset<T> data = sentinelDataset<T>();
  const std::string bytes = bytesOf(std::int32_t(50)) +
                            bytesOf(std::int32_t(2)) + "xy" +
                            denseBytes<T>({1.5}) + denseBytes<T>({2, 3}) +
                            denseBytes<T>({4}) + denseBytes<T>({});
  deserialize(data, bytes);
  ASSERT_EQ(data.items(), 3);
  EXPECT_EQ(data[0].id(), 99);  // the item that was there
  EXPECT_EQ(data[1].id(), -1);
  EXPECT_EQ(data[2].id(), -1);
  EXPECT_EQ(data[1].inputComponent(0), T(1.5));
  EXPECT_EQ(data[1].outputComponent(1), T(3));
  EXPECT_EQ(data[2].outputDimension(), 0);
  EXPECT_EQ(data[2].inputVector()->className(), "CDenseVector");
  EXPECT_EQ(data.getInfo(), "xy");
  EXPECT_GE(data.capacity(), 50);
}

TYPED_TEST(CDatasetSerialize, RoundTripWhenTheInfoIsAsLongAsTheItemCount) {
  using T = TypeParam;
  CDataset<T> data = pairsDataset<T>(3, "abc");
  CDataset<T> loaded(0, 1000);
  deserialize(loaded, serialized(data));
  ASSERT_EQ(loaded.items(), 3);
  EXPECT_EQ(loaded.getInfo(), "abc");
  for (int k = 0; k < 3; ++k) {
    EXPECT_EQ(loaded[k].inputComponent(0), T(k));
    EXPECT_EQ(loaded[k].outputComponent(1), T(-k));
  }
}

TYPED_TEST(CDatasetSerialize, InfoReadStopsAtItsFirstNul) {
  CDataset<TypeParam> data;
  data.clear();
  deserialize(data, bytesOf(std::int32_t(0)) + bytesOf(std::int32_t(0)));
  EXPECT_EQ(data.getInfo(), "");
  // K = 3 with "a\0b" ends the info at "a" but still reads three pairs.
  deserialize(data, bytesOf(std::int32_t(0)) + bytesOf(std::int32_t(3)) +
                        std::string("a\0b", 3) + denseBytes<TypeParam>({1}) +
                        denseBytes<TypeParam>({2}));
  EXPECT_EQ(data.getInfo(), "a");
  EXPECT_EQ(data.items(), 1);
}

TYPED_TEST(CDatasetSerialize, ShortOrHugeDataStopReading) {
  CDataset<TypeParam> data;
  data.clear();
  deserialize(data, bytesOf(std::int32_t(INT_MAX)) +
                        bytesOf(std::int32_t(INT_MAX)) + "abc");
  EXPECT_EQ(data.getInfo(), "abc");
  EXPECT_EQ(data.items(), 0);
  EXPECT_LE(data.capacity(), 1 << 16);
  deserialize(data, bytesOf(std::int32_t(-1)) + bytesOf(std::int32_t(-1)));
  EXPECT_EQ(data.getInfo(), "");
  EXPECT_EQ(data.items(), 0);
  deserialize(data, "");
  EXPECT_EQ(data.items(), 0);
}

// --- Archive ----------------------------------------------------------------

template <typename T>
std::string objectCall(const char* direction) {
  return std::string(direction) +
         (std::is_same_v<T, float> ? "(CObject<float>)" : "(CObject<double>)");
}

TYPED_TEST(CDatasetSerialize, ArchiveStoresA64BitCountAndEachItem) {
  using T = TypeParam;
  CDataset<T> data = pairsDataset<T>(2, "ab");
  RecordingArchive archive(false);
  EXPECT_TRUE(data.serialize2(archive));
  const std::vector<std::string> expected = {"isLoading",
                                             "write(unsigned long) 2",
                                             "writeSeparator",
                                             objectCall<T>("write"),
                                             objectCall<T>("write"),
                                             "writeSeparator"};
  EXPECT_EQ(archive.calls, expected);
}

TYPED_TEST(CDatasetSerialize, ArchiveStoresAnEmptyDataset) {
  CDataset<TypeParam> data;
  RecordingArchive archive(false);
  EXPECT_TRUE(data.serialize2(archive));
  const std::vector<std::string> expected = {
      "isLoading", "write(unsigned long) 0", "writeSeparator",
      "writeSeparator"};
  EXPECT_EQ(archive.calls, expected);
}

TYPED_TEST(CDatasetSerialize, ArchiveLoadsA32BitCountOfDefaultItems) {
  using T = TypeParam;
  CDataset<T> data = sentinelDataset<T>();
  RecordingArchive archive(true);
  archive.numbers = {3};
  EXPECT_TRUE(data.serialize2(archive));
  const std::vector<std::string> expected = {
      "isLoading", "read(unsigned int)", objectCall<T>("read"),
      objectCall<T>("read"), objectCall<T>("read")};
  EXPECT_EQ(archive.calls, expected);
  ASSERT_EQ(data.items(), 3);
  for (int k = 0; k < 3; ++k) {
    EXPECT_EQ(data[k].id(), -1);
    EXPECT_EQ(data[k].inputDimension(), 1);
    EXPECT_EQ(data[k].outputDimension(), 1);
    EXPECT_EQ(data[k].inputVector()->className(), "CDenseVector");
  }
  EXPECT_EQ(data.getInfo(), "sentinel");
}

TYPED_TEST(CDatasetSerialize, ArchiveLoadingZeroItemsEmptiesTheDataset) {
  CDataset<TypeParam> data = sentinelDataset<TypeParam>();
  RecordingArchive archive(true);
  archive.numbers = {0};
  EXPECT_TRUE(data.serialize2(archive));
  EXPECT_EQ(data.items(), 0);
}

}  // namespace
