// SPDX-License-Identifier: MIT
// Saving and loading the online learners (neural gas, self-organising map)
// in the stream and the archive form.
#include "vecml/learning/detail/OnlineRecord.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "learning/OnlineLearnerTestSupport.h"
#include "support/MemoryArchive.h"
#include "support/RecordingArchive.h"
#include "support/TempFile.h"

namespace {

template <typename Learner>
class OnlineRecordTest : public testing::Test {
 protected:
  using Maker = LearnerMaker<Learner>;
  using T = typename ElementOf<Learner>::type;

  OnlineRecordTest() {
    Maker::setDecays(writer, 0.4, 0.02, 1.5, 0.25);
    writer.train(data, 2);
    writer.referenceVectors().setInfo("writer's own text");
    Maker::setDecays(reader, 0.3, 0.03, 2.5, 0.5);
    reader.train(data, 1);
    reader.referenceVectors().setInfo("reader's own text");
  }

  // Expects `loaded` to hold the writer's prototypes and settings and to
  // assign every item as the writer does.
  void expectSameAsWriter(const Learner& loaded) {
    EXPECT_EQ(prototypeBytes(loaded), prototypeBytes(writer));
    EXPECT_EQ(loaded.seed(), writer.seed());
    EXPECT_EQ(Maker::decayValues(loaded), Maker::decayValues(writer));
    EXPECT_EQ(loaded.assignments(data), writer.assignments(data));
  }

  // Expects the reader to be as the fixture made it.
  void expectReaderUnchanged(const std::string& prototypes) {
    EXPECT_EQ(prototypeBytes(reader), prototypes);
    EXPECT_EQ(reader.seed(), 11u);
    EXPECT_EQ(
        Maker::decayValues(reader),
        (std::vector<double>{0.3, 0.3 * (0.03 / 0.3), 2.5, 2.5 * (0.5 / 2.5)}));
    EXPECT_EQ(reader.referenceVectors().getInfo(), "reader's own text");
  }

  // The stored record with the 8-byte value at `offsetFromEnd` bytes
  // before the end replaced by `value`.
  std::string recordWithDouble(int offsetFromEnd, double value) {
    bool written = false;
    std::string record = storedRecord(writer, written);
    std::memcpy(&record[record.size() - offsetFromEnd], &value, sizeof value);
    return record;
  }

  CDataset<T> data = threeBlobs<T>();
  Learner writer = Maker::make(3);
  Learner reader = Maker::make(11);
};
TYPED_TEST_SUITE(OnlineRecordTest, OnlineLearners);

TYPED_TEST(OnlineRecordTest, StreamFormRestoresPrototypesAndSettings) {
  bool written = false;
  const std::string record = storedRecord(this->writer, written);
  EXPECT_TRUE(written);
  // Writing keeps the writer's own info text.
  EXPECT_EQ(this->writer.referenceVectors().getInfo(), "writer's own text");
  EXPECT_TRUE(readRecord(this->reader, record));
  this->expectSameAsWriter(this->reader);
  // The info text is not stored: the reader keeps its own.
  EXPECT_EQ(this->reader.referenceVectors().getInfo(), "reader's own text");
}

TYPED_TEST(OnlineRecordTest, StreamFormEndsWithTheSettings) {
  bool written = false;
  const std::string record = storedRecord(this->writer, written);
  const std::string decays = record.substr(record.size() - 32);
  std::vector<double> stored(4);
  std::memcpy(stored.data(), decays.data(), 32);
  EXPECT_EQ(stored, (std::vector<double>{0.4, 0.02, 1.5, 0.25}));
  std::uint64_t seed = 0;
  std::memcpy(&seed, &record[record.size() - 40], sizeof seed);
  EXPECT_EQ(seed, 3u);
  std::int32_t firstExtent = 0;
  std::memcpy(&firstExtent,
              &record[record.size() - 40 - 4 * TestFixture::Maker::extents],
              sizeof firstExtent);
  // Four prototypes for the gas, two rows for the map.
  EXPECT_EQ(firstExtent, TestFixture::Maker::extents == 1 ? 4 : 2);
}

TYPED_TEST(OnlineRecordTest, AnUntrainedLearnerRoundTrips) {
  auto untrained = TestFixture::Maker::make(21);
  bool written = false;
  const std::string record = storedRecord(untrained, written);
  EXPECT_TRUE(written);
  EXPECT_TRUE(readRecord(this->reader, record));
  EXPECT_EQ(this->reader.referenceVectors().items(), 0);
  EXPECT_EQ(this->reader.seed(), 21u);
}

TYPED_TEST(OnlineRecordTest, EveryCutRecordFailsAndChangesNothing) {
  bool written = false;
  const std::string record = storedRecord(this->writer, written);
  const std::string before = prototypeBytes(this->reader);
  for (std::size_t length = 0; length < record.size(); ++length) {
    SCOPED_TRACE(length);
    EXPECT_FALSE(readRecord(this->reader, record.substr(0, length)));
    this->expectReaderUnchanged(before);
    if (testing::Test::HasFailure()) break;
  }
}

TYPED_TEST(OnlineRecordTest, InconsistentSettingsAreRefused) {
  const std::string before = prototypeBytes(this->reader);
  const double nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_FALSE(readRecord(this->reader, this->recordWithDouble(8, nan)));
  EXPECT_FALSE(readRecord(this->reader, this->recordWithDouble(32, 0.0)));
  EXPECT_FALSE(readRecord(this->reader, this->recordWithDouble(16, -1.0)));
  // A shape that does not match the number of stored prototypes.
  bool written = false;
  std::string record = storedRecord(this->writer, written);
  const std::int32_t extent = 3;
  std::memcpy(&record[record.size() - 40 - 4 * TestFixture::Maker::extents],
              &extent, sizeof extent);
  EXPECT_FALSE(readRecord(this->reader, record));
  this->expectReaderUnchanged(before);
}

TYPED_TEST(OnlineRecordTest, OtherModesNeitherWriteNorRead) {
  TempFile file;
  {
    std::fstream out(file.path(), std::ios::out | std::ios::binary);
    EXPECT_FALSE(this->writer.serialize(out, static_cast<IO_MODE>(2)));
  }
  EXPECT_EQ(file.contents(), "");
}

TYPED_TEST(OnlineRecordTest, ArchiveFormRestoresPrototypesAndSettings) {
  MemoryArchive archive;
  EXPECT_TRUE(this->writer.serialize2(archive));
  archive.loading = true;
  EXPECT_TRUE(this->reader.serialize2(archive));
  this->expectSameAsWriter(this->reader);
}

TYPED_TEST(OnlineRecordTest, ArchiveFormStoresSettingsThenPrototypes) {
  using T = typename TestFixture::T;
  RecordingArchive archive(false);
  EXPECT_TRUE(this->writer.serialize2(archive));
  std::vector<std::string> expected{"isLoading"};
  for (int k = 0; k < TestFixture::Maker::extents; ++k) {
    expected.push_back(TestFixture::Maker::extents == 1 ? "write(int) 4"
                                                        : "write(int) 2");
    expected.push_back("writeSeparator");
  }
  for (const char* call :
       {"write(unsigned long) 3", "write(double) 0.4", "write(double) 0.02",
        "write(double) 1.5", "write(double) 0.25"}) {
    expected.push_back(call);
    expected.push_back("writeSeparator");
  }
  expected.push_back(std::is_same_v<T, float> ? "write(CObject<float>)"
                                              : "write(CObject<double>)");
  expected.push_back("writeSeparator");
  EXPECT_EQ(archive.calls, expected);
}

TYPED_TEST(OnlineRecordTest, ArchiveLoadingRefusesInvalidSettings) {
  const std::string before = prototypeBytes(this->reader);
  RecordingArchive archive(true);
  // A zero extent first, then seed and decays.
  archive.numbers = {0, 2, 5, 0.5, 0.1, 1, 0.1};
  EXPECT_FALSE(this->reader.serialize2(archive));
  this->expectReaderUnchanged(before);
}

}  // namespace
