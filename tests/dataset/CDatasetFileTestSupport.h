// SPDX-License-Identifier: MIT
// Record builders, gzip file helpers and a sentinel dataset shared by the
// dataset file tests.
#ifndef VECML_TESTS_DATASET_CDATASETFILETESTSUPPORT_H
#define VECML_TESTS_DATASET_CDATASETFILETESTSUPPORT_H

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <initializer_list>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "support/DatasetBuilder.h"
#include "support/TempFile.h"
#include "vecml/dataset/CDataset.h"
#include "vecml/dataset/CDatasetItem.h"
#include "vecml/stream/gzstream.h"
#include "vecml/vector/CDenseVector.h"

namespace dataset_file_test {

using FloatingTypes = testing::Types<float, double>;

template <typename V>
std::string bytesOf(const V& value) {
  return std::string(reinterpret_cast<const char*>(&value), sizeof value);
}

// Builds record bytes field by field.
class RecordBytes {
 public:
  RecordBytes& int32(std::int32_t value) {
    bytes += bytesOf(value);
    return *this;
  }
  RecordBytes& raw(const std::string& text) {
    bytes += text;
    return *this;
  }
  // Length (with the NUL), the text and its NUL.
  RecordBytes& cString(const std::string& text) {
    int32(static_cast<std::int32_t>(text.size() + 1));
    bytes += text;
    bytes += '\0';
    return *this;
  }
  RecordBytes& floats(std::initializer_list<float> values) {
    for (float value : values) bytes += bytesOf(value);
    return *this;
  }
  const std::string& str() const { return bytes; }

 private:
  std::string bytes;
};

inline RecordBytes recordHeader(std::int32_t count, std::int32_t growSize,
                                std::int32_t inDim, std::int32_t outDim,
                                const std::string& info = "none") {
  return RecordBytes()
      .cString("CDataset 0.1")
      .int32(count)
      .int32(growSize)
      .int32(inDim)
      .int32(outDim)
      .cString(info);
}

// Offsets of the fields of smallRecord().
constexpr int kCountOffset = 4 + 13;
constexpr int kInfoLengthOffset = kCountOffset + 16;
constexpr int kItemsOffset = kInfoLengthOffset + 4 + 4;  // info "abc"
constexpr int kItemBytes = 3 * 4;
constexpr int kSmallItems = 3;

// Item k of the small record: input (k, k + 0.5), output (10 k).
inline std::vector<float> smallItemValues(int k) {
  return {float(k), float(k) + 0.5f, float(10 * k)};
}

// Three items of two inputs and one output, grow size 7, info "abc".
inline std::string smallRecord() {
  RecordBytes record = recordHeader(kSmallItems, 7, 2, 1, "abc");
  for (int k = 0; k < kSmallItems; ++k) {
    const std::vector<float> values = smallItemValues(k);
    record.floats({values[0], values[1], values[2]});
  }
  return record.str();
}

template <typename T>
void expectSmallItem(const CDataset<T>& data, int k) {
  const std::vector<float> values = smallItemValues(k);
  const CDatasetItem<T>& item = data[k];
  EXPECT_EQ(item.id(), k);
  ASSERT_EQ(item.inputDimension(), 2);
  ASSERT_EQ(item.outputDimension(), 1);
  EXPECT_EQ(item.inputVector()->className(), "CDenseVector");
  EXPECT_EQ(item.outputVector()->className(), "CDenseVector");
  EXPECT_EQ(item.inputComponent(0), T(values[0]));
  EXPECT_EQ(item.inputComponent(1), T(values[1]));
  EXPECT_EQ(item.outputComponent(0), T(values[2]));
}

// The first `count` items of the small record, info "abc", grow size 7.
template <typename T>
void expectSmallDataset(const CDataset<T>& data, int count = kSmallItems) {
  ASSERT_EQ(data.items(), count);
  for (int k = 0; k < count; ++k) expectSmallItem(data, k);
  EXPECT_EQ(data.getInfo(), "abc");
  EXPECT_EQ(data.growSize(), 7);
}

// A one-item dataset whose every field differs from what a read would
// produce, to see that a rejected read leaves it alone.
template <typename T>
CDataset<T> sentinelDataset() {
  CDataset<T> data =
      test_support::denseDataset<T>({{T(42)}}, {{T(-1), T(-1)}}, 99, 4, 11);
  data.setInfo("sentinel");
  return data;
}

template <typename T>
void expectSentinel(const CDataset<T>& data) {
  ASSERT_EQ(data.items(), 1);
  EXPECT_EQ(data[0].id(), 99);
  ASSERT_EQ(data[0].inputDimension(), 1);
  ASSERT_EQ(data[0].outputDimension(), 2);
  EXPECT_EQ(data[0].inputComponent(0), T(42));
  EXPECT_EQ(data[0].outputComponent(1), T(-1));
  EXPECT_EQ(data.getInfo(), "sentinel");
  EXPECT_EQ(data.growSize(), 11);
  EXPECT_EQ(data.getType(), "CDataset 0.1");
}

template <typename T>
std::string recordOf(const CDataset<T>& data) {
  std::ostringstream out;
  EXPECT_TRUE(data.write(out));
  return out.str();
}

// Compresses `bytes` into the gzip file `path` with the library's stream.
inline void writeGzip(const std::string& path, const std::string& bytes) {
  ogzstream out(path.c_str(), std::ios::out);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  out.close();
  ASSERT_TRUE(out.good());
}

// The decompressed contents of the gzip file `path`.
inline std::string readGzip(const std::string& path) {
  igzstream in(path.c_str(), std::ios::in);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

// Calls check(corrupt) for `record` with each byte in turn set to 0xff,
// 0x7f and 0x80, the extremes of the integer fields' sign and size.
template <typename Check>
void forEachCorruptedByte(const std::string& record, Check&& check) {
  for (std::size_t at = 0; at < record.size(); ++at) {
    for (const char value : {'\xff', '\x7f', '\x80'}) {
      SCOPED_TRACE("byte " + std::to_string(at));
      std::string corrupt = record;
      corrupt[at] = value;
      check(corrupt);
    }
  }
}

// Calls check(path) for copies of the file `compressed` (its bytes), each
// with one byte flipped, in turn for every byte.
template <typename Check>
void forEachFlippedFileByte(const std::string& compressed, Check&& check) {
  for (std::size_t at = 0; at < compressed.size(); ++at) {
    SCOPED_TRACE("byte " + std::to_string(at));
    std::string corrupt = compressed;
    corrupt[at] = static_cast<char>(corrupt[at] ^ 0x5a);
    TempFile file;
    file.write(corrupt);
    check(file.path());
  }
}

inline bool haveGzipCommand() {
  return std::system("command -v gzip > /dev/null 2>&1") == 0;
}

}  // namespace dataset_file_test

#endif
