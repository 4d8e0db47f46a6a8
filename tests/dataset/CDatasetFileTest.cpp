// SPDX-License-Identifier: MIT
// The dataset record: its exact bytes and the trusting reader.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <sstream>
#include <string>

#include "dataset/CDatasetFileTestSupport.h"
#include "vecml/dataset/CDataset.h"
#include "vecml/vector/CDenseVector.h"
#include "vecml/vector/CSparseVector.h"

namespace {

using namespace dataset_file_test;
using testing::HasSubstr;

template <typename T>
class CDatasetFileRecord : public testing::Test {};
TYPED_TEST_SUITE(CDatasetFileRecord, FloatingTypes);

// Reads `bytes` with the trusting reader, capturing the error stream.
template <typename T>
bool readRecord(CDataset<T>& data, const std::string& bytes,
                std::string* errors = nullptr) {
  std::istringstream in(bytes);
  testing::internal::CaptureStderr();
  const bool result = data.read(in);
  const std::string captured = testing::internal::GetCapturedStderr();
  if (errors != nullptr) *errors = captured;
  return result;
}

TYPED_TEST(CDatasetFileRecord, EmptyDefaultDatasetWrites42Bytes) {
  const std::string record = recordOf(CDataset<TypeParam>());
  EXPECT_EQ(record, recordHeader(0, 1000, 0, 0, "none").str());
  ASSERT_EQ(record.size(), 42u);
  EXPECT_EQ(record.substr(4, 13), std::string("CDataset 0.1", 13));
}

TYPED_TEST(CDatasetFileRecord, WritesDenseAndSparseItemsAsFloats) {
  using T = TypeParam;
  CDataset<T> data(2, 5);
  data.setInfo("ab");
  const T inputs[] = {T(1.5), T(-2)};
  const T outputs[] = {T(3)};
  data.appendItem(CDatasetItem<T>(CDenseVector<T>(2, inputs),
                                  CDenseVector<T>(1, outputs), 8));
  T sparseValue[] = {T(4)};
  int sparseIndex[] = {1};
  data.appendItem(
      CDatasetItem<T>(CSparseVector<T>(2, 1, sparseValue, sparseIndex),
                      CSparseVector<T>(1, 0), 9));
  const std::string expected = recordHeader(2, 5, 2, 1, "ab")
                                   .floats({1.5f, -2.0f, 3.0f})
                                   .floats({0.0f, 4.0f, 0.0f})
                                   .str();
  EXPECT_EQ(recordOf(data), expected);
}

TYPED_TEST(CDatasetFileRecord, WritesEveryItemWithTheFirstItemsDimensions) {
  using T = TypeParam;
  CDataset<T> data;
  data.appendItem(
      CDatasetItem<T>(CDenseVector<T>(2, T(1)), CDenseVector<T>(1, T(2))));
  data.appendItem(
      CDatasetItem<T>(CDenseVector<T>(1, T(3)), CDenseVector<T>(0)));
  data.appendItem(
      CDatasetItem<T>(CDenseVector<T>(3, T(4)), CDenseVector<T>(2, T(5))));
  const std::string expected = recordHeader(3, 1000, 2, 1)
                                   .floats({1, 1, 2})
                                   .floats({3, 0, 0})
                                   .floats({4, 4, 5})
                                   .str();
  EXPECT_EQ(recordOf(data), expected);
}

TEST(CDatasetFileRecord, DoubleValuesGoThroughFloat) {
  CDataset<double> data;
  data.appendItem(CDatasetItem<double>(CDenseVector<double>(1, 0.1),
                                       CDenseVector<double>(1, 0.1)));
  const std::string record = recordOf(data);
  EXPECT_EQ(record, recordHeader(1, 1000, 1, 1).floats({0.1f, 0.1f}).str());

  CDataset<double> loaded;
  ASSERT_TRUE(readRecord(loaded, record));
  ASSERT_EQ(loaded.items(), 1);
  EXPECT_EQ(loaded[0].inputComponent(0), 0.100000001490116119384765625);
  EXPECT_EQ(loaded[0].outputComponent(0), static_cast<double>(0.1f));
}

TYPED_TEST(CDatasetFileRecord, LoadedItemsAreNumberedInFileOrder) {
  CDataset<TypeParam> data;
  ASSERT_TRUE(readRecord(data, smallRecord()));
  expectSmallDataset(data);
  EXPECT_EQ(data.getType(), "CDataset 0.1");
}

TYPED_TEST(CDatasetFileRecord, ReadReplacesItemsGrowSizeAndInfo) {
  CDataset<TypeParam> data = sentinelDataset<TypeParam>();
  ASSERT_TRUE(readRecord(data, smallRecord()));
  expectSmallDataset(data);
}

TYPED_TEST(CDatasetFileRecord, RoundTripKeepsValuesInfoAndGrowSize) {
  CDataset<TypeParam> data;
  ASSERT_TRUE(readRecord(data, smallRecord()));
  EXPECT_EQ(recordOf(data), smallRecord());
}

TYPED_TEST(CDatasetFileRecord, ReadReservesTheDeclaredCount) {
  const int count = 100000;  // more than is reserved before items arrive
  RecordBytes record = recordHeader(count, 1000, 1, 0);
  for (int k = 0; k < count; ++k) record.floats({float(k)});
  CDataset<TypeParam> data(10, 1000);
  ASSERT_TRUE(readRecord(data, record.str()));
  ASSERT_EQ(data.items(), count);
  EXPECT_EQ(data.capacity(), count);
  EXPECT_EQ(data[count - 1].id(), count - 1);
  EXPECT_EQ(data[count - 1].inputComponent(0), TypeParam(count - 1));
}

TYPED_TEST(CDatasetFileRecord, ReadStopsRightAfterTheRecord) {
  std::istringstream in(smallRecord() + recordHeader(0, 3, 0, 0, "x").str());
  CDataset<TypeParam> first, second;
  ASSERT_TRUE(first.read(in));
  ASSERT_TRUE(second.read(in));
  expectSmallDataset(first);
  EXPECT_EQ(second.items(), 0);
  EXPECT_EQ(second.getInfo(), "x");
}

TYPED_TEST(CDatasetFileRecord, EmptyItemsRoundTrip) {
  using T = TypeParam;
  CDataset<T> data;
  for (int k = 0; k < 3; ++k)
    data.appendItem(CDatasetItem<T>(CDenseVector<T>(0), CDenseVector<T>(0)));
  const std::string record = recordOf(data);
  EXPECT_EQ(record, recordHeader(3, 1000, 0, 0).str());
  CDataset<T> loaded;
  ASSERT_TRUE(readRecord(loaded, record));
  ASSERT_EQ(loaded.items(), 3);
  EXPECT_EQ(loaded[2].id(), 2);
  EXPECT_EQ(loaded[2].inputDimension(), 0);
}

// --- Wrong tags ------------------------------------------------------------

TYPED_TEST(CDatasetFileRecord, OtherVersionTagIsRejectedAndChangesNothing) {
  const std::string record =
      RecordBytes().cString("CDataset 0.2").raw(smallRecord().substr(17)).str();
  CDataset<TypeParam> data = sentinelDataset<TypeParam>();
  std::string errors;
  EXPECT_FALSE(readRecord(data, record, &errors));
  EXPECT_EQ(errors, "Wrong file type!\n");
  expectSentinel(data);
}

TYPED_TEST(CDatasetFileRecord, TagWithoutNulOrWithBadLengthIsWrong) {
  const std::string rest = smallRecord().substr(17);
  const std::string records[] = {
      RecordBytes().int32(12).raw("CDataset 0.1").raw(rest).str(),
      RecordBytes().int32(0).raw(rest).str(),
      RecordBytes().int32(-13).raw(std::string("CDataset 0.1", 13)).str(),
      RecordBytes().int32(INT_MAX).raw("CDataset 0.1").str(),
      "",
      "\x0d",
  };
  for (const std::string& record : records) {
    CDataset<TypeParam> data = sentinelDataset<TypeParam>();
    std::string errors;
    EXPECT_FALSE(readRecord(data, record, &errors));
    EXPECT_EQ(errors, "Wrong file type!\n");
    expectSentinel(data);
  }
}

TYPED_TEST(CDatasetFileRecord, TagComparesAsTextUpToItsNul) {
  // A longer tag field whose text ends at the same NUL still matches; the
  // bytes behind the NUL are skipped.
  const std::string record = RecordBytes()
                                 .int32(16)
                                 .raw(std::string("CDataset 0.1\0xyz", 16))
                                 .raw(smallRecord().substr(17))
                                 .str();
  CDataset<TypeParam> data;
  ASSERT_TRUE(readRecord(data, record));
  expectSmallDataset(data);
}

// --- Damage after the tag: not reported, and cheap ---------------------------

TYPED_TEST(CDatasetFileRecord, NegativeCountReadsNoItems) {
  CDataset<TypeParam> data = sentinelDataset<TypeParam>();
  ASSERT_TRUE(readRecord(data, recordHeader(-5, 3, 2, 1, "neg").str()));
  EXPECT_EQ(data.items(), 0);
  EXPECT_EQ(data.getInfo(), "neg");
  EXPECT_EQ(data.growSize(), 3);
}

TYPED_TEST(CDatasetFileRecord, NegativeDimensionsCountAsZero) {
  CDataset<TypeParam> data;
  const std::string record =
      recordHeader(2, 3, -4, 1).floats({5.0f, 6.0f}).str();
  ASSERT_TRUE(readRecord(data, record));
  ASSERT_EQ(data.items(), 2);
  EXPECT_EQ(data[1].inputDimension(), 0);
  EXPECT_EQ(data[1].outputComponent(0), TypeParam(6));
}

TYPED_TEST(CDatasetFileRecord, ItemsWithoutElementsAreCapped) {
  CDataset<TypeParam> data;
  ASSERT_TRUE(readRecord(data, recordHeader(INT_MAX, 3, 0, 0).str()));
  EXPECT_EQ(data.items(), 1 << 16);
  EXPECT_EQ(data.getLast().id(), (1 << 16) - 1);
}

TYPED_TEST(CDatasetFileRecord, HugeCountsWithLittleDataCostNothing) {
  const std::string records[] = {
      recordHeader(2000000000, 3, 16, 1).floats({1, 2, 3}).str(),
      recordHeader(2, 3, INT_MAX, INT_MAX).floats({1, 2, 3}).str(),
      recordHeader(2, 3, INT_MAX, 0).floats({1, 2, 3}).str(),
  };
  for (const std::string& record : records) {
    CDataset<TypeParam> data(0, 1000);
    ASSERT_TRUE(readRecord(data, record));
    EXPECT_EQ(data.items(), 0);
    EXPECT_LE(data.capacity(), 1 << 16);
    EXPECT_EQ(data.getInfo(), "none");
  }
}

TYPED_TEST(CDatasetFileRecord, HugeInfoLengthKeepsTheBytesThatArrive) {
  CDataset<TypeParam> data;
  const std::string record =
      recordHeader(1, 3, 1, 0).str().substr(0, kInfoLengthOffset) +
      bytesOf(std::int32_t(INT_MAX)) + "partial";
  ASSERT_TRUE(readRecord(data, record));
  EXPECT_EQ(data.getInfo(), "partial");
  EXPECT_EQ(data.items(), 0);
}

TYPED_TEST(CDatasetFileRecord, NegativeInfoLengthGivesAnEmptyInfo) {
  CDataset<TypeParam> data;
  const std::string header = recordHeader(1, 3, 1, 0).str();
  const std::string record = header.substr(0, kInfoLengthOffset) +
                             bytesOf(std::int32_t(-3)) + bytesOf(2.5f);
  ASSERT_TRUE(readRecord(data, record));
  EXPECT_EQ(data.getInfo(), "");
  ASSERT_EQ(data.items(), 1);
  EXPECT_EQ(data[0].inputComponent(0), TypeParam(2.5));
}

// Every cut of the small record: what arrived is used, nothing is reported
// after the tag, and only complete items are made.
TYPED_TEST(CDatasetFileRecord, RecordCutAtEveryOffset) {
  const std::string record = smallRecord();
  for (std::size_t cut = 0; cut < record.size(); ++cut) {
    SCOPED_TRACE("cut at " + std::to_string(cut));
    CDataset<TypeParam> data = sentinelDataset<TypeParam>();
    std::string errors;
    const bool result = readRecord(data, record.substr(0, cut), &errors);
    if (cut < std::size_t(kCountOffset)) {
      EXPECT_FALSE(result);
      EXPECT_EQ(errors, "Wrong file type!\n");
      expectSentinel(data);
      continue;
    }
    EXPECT_TRUE(result);
    EXPECT_EQ(errors, "");
    const int complete =
        cut < std::size_t(kItemsOffset) ? 0 : int(cut - kItemsOffset) / 12;
    ASSERT_EQ(data.items(), complete);
    for (int k = 0; k < complete; ++k) expectSmallItem(data, k);
  }
}

TYPED_TEST(CDatasetFileRecord, EveryCorruptedByteIsSurvived) {
  forEachCorruptedByte(smallRecord(), [](const std::string& corrupt) {
    CDataset<TypeParam> data;
    readRecord(data, corrupt);
    EXPECT_LE(data.items(), 1 << 16);
  });
}

}  // namespace
