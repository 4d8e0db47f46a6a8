// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <string>

#include "support/RecordingArchive.h"
#include "support/TempFile.h"
#include "vecml/learning/CLearnRate.h"

namespace {

template <typename V>
std::string bytesOf(const V& value) {
  return std::string(reinterpret_cast<const char*>(&value), sizeof value);
}

// The stored form of four rates and the given ints, as the reader sees it.
std::string record(double start, double end, double current, double factor,
                   std::int32_t first, std::int32_t second) {
  return bytesOf(start) + bytesOf(end) + bytesOf(current) + bytesOf(factor) +
         bytesOf(first) + bytesOf(second);
}

template <typename T>
class CLearnRateSerializeTest : public testing::Test {};
using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CLearnRateSerializeTest, ElementTypes);

template <typename T>
bool writeSchedule(const TempFile& file, CLearnRate<T>& schedule,
                   IO_MODE mode = IO_WRITE) {
  std::fstream out(file.path(), std::ios::out | std::ios::binary);
  return schedule.serialize(out, mode);
}

// Reads \p schedule from \p file; \p failed tells whether the stream failed.
template <typename T>
bool readSchedule(const TempFile& file, CLearnRate<T>& schedule, bool& failed) {
  std::fstream in(file.path(), std::ios::in | std::ios::binary);
  const bool result = schedule.serialize(in, IO_READ);
  failed = in.fail();
  return result;
}

// A schedule with six distinct fields: 0.9, 0.1, current, factor, 5, 3.
template <typename T>
CExponentialRate<T> steppedSchedule() {
  CExponentialRate<T> schedule(T(0.9), T(0.1), 5);
  for (int k = 0; k < 3; ++k) schedule.iterate();
  return schedule;
}

template <typename T>
void expectSameRates(const CLearnRate<T>& a, const CLearnRate<T>& b) {
  EXPECT_EQ(a.startRate(), b.startRate());
  EXPECT_EQ(a.endRate(), b.endRate());
  EXPECT_EQ(a.currentRate(), b.currentRate());
  EXPECT_EQ(a.factor(), b.factor());
}

TYPED_TEST(CLearnRateSerializeTest, WritesFourDoublesAndTwoInts) {
  using T = TypeParam;
  TempFile file;
  CExponentialRate<T> schedule = steppedSchedule<T>();
  EXPECT_TRUE(writeSchedule(file, schedule));
  const std::string expected =
      record(static_cast<double>(T(0.9)), static_cast<double>(T(0.1)),
             static_cast<double>(schedule.currentRate()),
             static_cast<double>(schedule.factor()), 5, 3);
  EXPECT_EQ(expected.size(), 40u);
  EXPECT_EQ(file.contents(), expected);
}

TYPED_TEST(CLearnRateSerializeTest, UnsetFieldsAreWrittenAsZero) {
  using T = TypeParam;
  TempFile file;
  CHarmonicRate<T> schedule(T(0.5));
  EXPECT_TRUE(writeSchedule(file, schedule));
  EXPECT_EQ(file.contents(), record(0.5, 0.0, 0.0, 0.0, 0, 0));
}

TYPED_TEST(CLearnRateSerializeTest, AnyModeButReadWrites) {
  using T = TypeParam;
  TempFile file;
  CConstantRate<T> schedule(T(0.25));
  EXPECT_TRUE(writeSchedule(file, schedule, static_cast<IO_MODE>(7)));
  EXPECT_EQ(file.contents(), record(0.25, 0.0, 0.25, 0.0, 0, 0));
}

TYPED_TEST(CLearnRateSerializeTest, FailedWriteReturnsFalse) {
  using T = TypeParam;
  TempFile file;
  file.write("");
  CConstantRate<T> schedule(T(0.25));
  std::fstream readOnly(file.path(), std::ios::in | std::ios::binary);
  EXPECT_FALSE(schedule.serialize(readOnly, IO_WRITE));
}

TYPED_TEST(CLearnRateSerializeTest, ReadTakesFortyFourBytes) {
  using T = TypeParam;
  TempFile file;
  // The first int is overwritten by the second; the third is the iteration.
  file.write(record(0.5, 0.125, 0.25, 0.75, 111, 12) +
             bytesOf(std::int32_t(34)) + bytesOf(std::int32_t(99)));
  CLearnRate<T> schedule;
  std::fstream in(file.path(), std::ios::in | std::ios::binary);
  EXPECT_FALSE(schedule.serialize(in, IO_READ));
  EXPECT_FALSE(in.fail());
  EXPECT_EQ(in.tellg(), std::streampos(44));
  EXPECT_EQ(schedule.startRate(), T(0.5));
  EXPECT_EQ(schedule.endRate(), T(0.125));
  EXPECT_EQ(schedule.currentRate(), T(0.25));
  EXPECT_EQ(schedule.factor(), T(0.75));
  EXPECT_EQ(schedule.steps(), 12);
  EXPECT_EQ(schedule.iteration(), 34);
}

TEST(CLearnRateSerialize, FloatReaderRoundsStoredDoubles) {
  TempFile file;
  file.write(record(0.1, 1e300, -0.3, 0.7, 0, 1) + bytesOf(std::int32_t(2)));
  CLearnRate<float> schedule;
  bool failed = true;
  EXPECT_FALSE(readSchedule(file, schedule, failed));
  EXPECT_FALSE(failed);
  EXPECT_EQ(schedule.startRate(), 0.1f);
  EXPECT_EQ(schedule.endRate(), static_cast<float>(1e300));  // infinity
  EXPECT_EQ(schedule.currentRate(), -0.3f);
  EXPECT_EQ(schedule.factor(), 0.7f);
}

TYPED_TEST(CLearnRateSerializeTest, RoundTripTakesIterationFromTheNextBytes) {
  using T = TypeParam;
  TempFile file;
  CExponentialRate<T> written = steppedSchedule<T>();
  {
    std::fstream out(file.path(), std::ios::out | std::ios::binary);
    EXPECT_TRUE(written.serialize(out, IO_WRITE));
    out.write("\x4d\x00\x00\x00", 4);  // whatever follows the record
  }
  CHarmonicRate<T> read(T(7));
  bool failed = true;
  EXPECT_FALSE(readSchedule(file, read, failed));
  EXPECT_FALSE(failed);
  expectSameRates(read, written);
  EXPECT_EQ(read.steps(), written.iteration());
  EXPECT_EQ(read.iteration(), 0x4d);
}

TYPED_TEST(CLearnRateSerializeTest, CutRecordSetsFailbitAndKeepsTheSchedule) {
  using T = TypeParam;
  const std::string full =
      record(0.5, 0.125, 0.25, 0.75, 111, 12) + bytesOf(std::int32_t(34));
  for (std::size_t length = 0; length < full.size(); ++length) {
    SCOPED_TRACE(length);
    TempFile file;
    file.write(full.substr(0, length));
    CExponentialRate<T> schedule = steppedSchedule<T>();
    const CExponentialRate<T> before = schedule;
    bool failed = false;
    EXPECT_FALSE(readSchedule(file, schedule, failed));
    EXPECT_TRUE(failed);
    expectSameRates(schedule, before);
    EXPECT_EQ(schedule.steps(), before.steps());
    EXPECT_EQ(schedule.iteration(), before.iteration());
  }
}

TYPED_TEST(CLearnRateSerializeTest, ArchiveFormTouchesNothing) {
  CLinearRate<TypeParam> schedule(TypeParam(1), TypeParam(0), 5);
  RecordingArchive storing(false);
  RecordingArchive loading(true);
  loading.numbers = {1, 2, 3};
  EXPECT_TRUE(schedule.serialize2(storing));
  EXPECT_TRUE(schedule.serialize2(loading));
  EXPECT_TRUE(storing.calls.empty());
  EXPECT_TRUE(loading.calls.empty());
  EXPECT_EQ(schedule.startRate(), TypeParam(1));
  EXPECT_EQ(schedule.steps(), 5);
}

}  // namespace
