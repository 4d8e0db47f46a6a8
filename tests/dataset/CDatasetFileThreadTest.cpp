// SPDX-License-Identifier: MIT
// Dataset files read with one thread inflating ahead of the one building
// items: every reader gives the dataset, the result and the message that
// one thread gives, for whole, cut-off, damaged and hostile files.
#include <gtest/gtest.h>

#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "dataset/CDatasetFileTestSupport.h"
#include "support/InflatingGzip.h"
#include "support/TempFile.h"
#include "support/ThreadCounts.h"
#include "vecml/dataset/CDataset.h"

namespace {

using namespace dataset_file_test;

// Items of 31 inputs and 2 outputs: their values are more than two threads'
// share of work, so the reading is split between two threads.
constexpr int kItems = 4099;
constexpr int kInputs = 31;
constexpr int kOutputs = 2;

// The record of kItems items of random small values (so that the file
// compresses well and stays short), grow size 5, info "threads".
std::string bigRecord() {
  std::mt19937 random(7);
  std::uniform_int_distribution<int> level(-8, 8);
  RecordBytes record = recordHeader(kItems, 5, kInputs, kOutputs, "threads");
  std::string values;
  for (int k = 0; k < kItems * (kInputs + kOutputs); ++k) {
    const float value = float(level(random)) / 4.0f;
    values += bytesOf(value);
  }
  return record.raw(values).str();
}

// The gzip file of bigRecord().
const std::string& bigFile() {
  static const std::string compressed = [] {
    TempFile file;
    writeGzip(file.path(), bigRecord());
    return file.contents();
  }();
  return compressed;
}

// A dataset's record (values, dimensions, info and grow size), its item ids
// and its item count, as bytes.
template <typename T>
std::string stateOf(const CDataset<T>& data) {
  std::string state = recordOf(data);
  for (int i = 0; i < data.items(); ++i) state += bytesOf(data[i].id());
  return state;
}

// What each reader makes of the file `path` and of `record` (its contents)
// when it reads them into a sentinel dataset: the result, the message, the
// dataset and where the stream readers stopped.
template <typename T>
std::string everyRead(const TempFile& path, const std::string& record) {
  std::string outcome;
  const auto note = [&](bool read, const std::string& error,
                        const CDataset<T>& data) {
    outcome += std::string(read ? "true:" : "false:") + error + ":" +
               stateOf(data) + "|";
  };
  {
    CDataset<T> data = sentinelDataset<T>();
    note(data.read(path.path().c_str()), "", data);
  }
  {
    CDataset<T> data = sentinelDataset<T>();
    std::string error;
    note(data.read(path.path().c_str(), error), error, data);
  }
  {
    CDataset<T> data = sentinelDataset<T>();
    std::istringstream in(record);
    note(data.read(in), "", data);
    outcome += std::to_string(in.tellg()) + "|";
  }
  {
    CDataset<T> data = sentinelDataset<T>();
    std::istringstream in(record);
    std::string error;
    note(data.read(in, error), error, data);
  }
  return outcome;
}

// Every thread count reads the same file: its name is in the messages.
template <typename T>
void expectSameReadsOnEveryThreadCount(const std::string& file,
                                       const std::string& record) {
  TempFile path;
  path.write(file);
  expectSameBytesOnEveryThreadCount([&] { return everyRead<T>(path, record); });
}

template <typename T>
class CDatasetFileThreadTest : public testing::Test {};
using FloatingTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CDatasetFileThreadTest, FloatingTypes);

TYPED_TEST(CDatasetFileThreadTest, AWholeFileReadsAlike) {
  expectSameReadsOnEveryThreadCount<TypeParam>(bigFile(), bigRecord());
}

TYPED_TEST(CDatasetFileThreadTest, AFileCutAnywhereFailsAlike) {
  const std::string& file = bigFile();
  const std::string record = bigRecord();
  constexpr std::size_t kCuts = 19;
  for (std::size_t cut = 0; cut < kCuts; ++cut) {
    const std::size_t fileAt = file.size() * cut / kCuts;
    const std::size_t recordAt = record.size() * cut / kCuts + cut % 5;
    SCOPED_TRACE("cut " + std::to_string(cut));
    expectSameReadsOnEveryThreadCount<TypeParam>(file.substr(0, fileAt),
                                                 record.substr(0, recordAt));
  }
}

TYPED_TEST(CDatasetFileThreadTest, ADamagedFileFailsAlike) {
  const std::string record = bigRecord();
  for (const std::size_t at :
       {std::size_t(20), bigFile().size() / 2, bigFile().size() - 6}) {
    std::string damaged = bigFile();
    damaged[at] = static_cast<char>(damaged[at] ^ 0x5a);
    SCOPED_TRACE("byte " + std::to_string(at));
    expectSameReadsOnEveryThreadCount<TypeParam>(damaged, record);
  }
}

TYPED_TEST(CDatasetFileThreadTest, HostileFilesFailAlike) {
  const std::string record = bigRecord();
  // Data that go on after the record, and after the gzip member.
  expectSameReadsOnEveryThreadCount<TypeParam>(
      inflating_gzip::gzipWithRun(record, 0, 4), record + std::string(9, 'x'));
  expectSameReadsOnEveryThreadCount<TypeParam>(bigFile() + "GARBAGE", record);
  // A declared count far beyond the data, and items wider than any block.
  for (const auto& [count, inputs] :
       std::vector<std::pair<std::int32_t, std::int32_t>>{
           {1 << 30, kInputs}, {3, 1 << 20}, {2, 1 << 28}}) {
    const std::string hostile =
        recordHeader(count, 5, inputs, kOutputs, "threads").str() +
        record.substr(
            recordHeader(kItems, 5, kInputs, kOutputs, "threads").str().size());
    TempFile file;
    writeGzip(file.path(), hostile);
    expectSameReadsOnEveryThreadCount<TypeParam>(file.contents(), hostile);
  }
}

}  // namespace
