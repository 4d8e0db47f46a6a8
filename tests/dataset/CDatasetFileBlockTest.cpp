// SPDX-License-Identifier: MIT
// The dataset record written and read in blocks: random datasets of awkward
// shapes, mixed dense and sparse items, records larger than one block and
// items wider than one, compared byte for byte with records built here from
// the field layout, and cut or damaged records of several blocks.
#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "dataset/CDatasetFileTestSupport.h"
#include "vecml/dataset/CDataset.h"
#include "vecml/vector/CDenseVector.h"
#include "vecml/vector/CSparseVector.h"

namespace {

using namespace dataset_file_test;

struct Shape {
  int items;
  int inDim;
  int outDim;
};

std::string describe(const Shape& shape) {
  return std::to_string(shape.items) + " items of " +
         std::to_string(shape.inDim) + " + " + std::to_string(shape.outDim);
}

// Small and odd shapes, one of several blocks of whole items, and one whose
// items are wider than a block.
const Shape kShapes[] = {{1, 1, 1},   {7, 7, 1},    {17, 17, 3},
                         {63, 1, 63}, {65, 65, 0},  {129, 129, 7},
                         {7, 0, 17},  {3, 20000, 1}};

// Element values of a dataset, item by item (inputs, then outputs), with
// every fifth value zero so that sparse items leave gaps.
template <typename T>
std::vector<std::vector<T>> randomValues(const Shape& shape,
                                         std::mt19937& random) {
  std::uniform_real_distribution<T> uniform(-100, 100);
  std::vector<std::vector<T>> values(shape.items);
  for (std::vector<T>& item : values) {
    item.resize(std::size_t(shape.inDim + shape.outDim));
    for (std::size_t j = 0; j < item.size(); ++j)
      item[j] = j % 5 == 4 ? T(0) : uniform(random);
  }
  return values;
}

// Item k holds a sparse input when k % 3 == 1 and a sparse output when
// k % 3 == 2; the other vectors are dense.
template <typename T>
CDataset<T> datasetOf(const Shape& shape,
                      const std::vector<std::vector<T>>& values) {
  CDataset<T> data(0, 5);
  data.setInfo("block test");
  for (int k = 0; k < shape.items; ++k) {
    const CDenseVector<T> in(shape.inDim, values[k].data());
    const CDenseVector<T> out(shape.outDim, values[k].data() + shape.inDim);
    if (k % 3 == 1)
      data.appendItem(CDatasetItem<T>(CSparseVector<T>(in), out, k));
    else if (k % 3 == 2)
      data.appendItem(CDatasetItem<T>(in, CSparseVector<T>(out), k));
    else
      data.appendItem(CDatasetItem<T>(in, out, k));
  }
  return data;
}

template <typename T>
std::string referenceRecord(const Shape& shape,
                            const std::vector<std::vector<T>>& values) {
  RecordBytes record =
      recordHeader(shape.items, 5, shape.inDim, shape.outDim, "block test");
  for (const std::vector<T>& item : values)
    for (T value : item) record.raw(bytesOf(static_cast<float>(value)));
  return record.str();
}

// Checks that `data` holds `values` as a freshly read dataset does: dense
// vectors, ids in file order, values gone through float.
template <typename T>
void expectLoaded(const CDataset<T>& data, const Shape& shape,
                  const std::vector<std::vector<T>>& values) {
  ASSERT_EQ(data.items(), shape.items);
  EXPECT_EQ(data.getInfo(), "block test");
  EXPECT_EQ(data.growSize(), 5);
  for (int k = 0; k < shape.items; ++k) {
    const CDatasetItem<T>& item = data[k];
    ASSERT_EQ(item.id(), k);
    ASSERT_EQ(item.inputVector()->className(), "CDenseVector");
    ASSERT_EQ(item.outputVector()->className(), "CDenseVector");
    ASSERT_EQ(item.inputDimension(), shape.inDim);
    ASSERT_EQ(item.outputDimension(), shape.outDim);
    for (int j = 0; j < shape.inDim + shape.outDim; ++j) {
      const T got = j < shape.inDim ? item.inputComponent(j)
                                    : item.outputComponent(j - shape.inDim);
      ASSERT_EQ(got, T(static_cast<float>(values[k][j])))
          << "item " << k << " value " << j;
    }
  }
}

template <typename T>
class CDatasetFileBlock : public testing::Test {
 protected:
  std::mt19937 random{20260421};
};
TYPED_TEST_SUITE(CDatasetFileBlock, FloatingTypes);

TYPED_TEST(CDatasetFileBlock, StreamRoundTripsMatchTheFieldLayout) {
  using T = TypeParam;
  for (const Shape& shape : kShapes) {
    SCOPED_TRACE(describe(shape));
    const auto values = randomValues<T>(shape, this->random);
    const std::string expected = referenceRecord(shape, values);
    ASSERT_EQ(recordOf(datasetOf(shape, values)), expected);

    CDataset<T> trusted = sentinelDataset<T>();
    std::istringstream in(expected);
    ASSERT_TRUE(trusted.read(in));
    expectLoaded(trusted, shape, values);
    EXPECT_EQ(recordOf(trusted), expected);

    CDataset<T> checked = sentinelDataset<T>();
    std::istringstream checkedIn(expected);
    std::string error;
    ASSERT_TRUE(checked.read(checkedIn, error)) << error;
    expectLoaded(checked, shape, values);
  }
}

TYPED_TEST(CDatasetFileBlock, FileRoundTripsMatchTheFieldLayout) {
  using T = TypeParam;
  for (const Shape& shape : kShapes) {
    SCOPED_TRACE(describe(shape));
    const auto values = randomValues<T>(shape, this->random);
    TempFile file;
    ASSERT_TRUE(datasetOf(shape, values).write(file.path().c_str()));
    ASSERT_EQ(readGzip(file.path()), referenceRecord(shape, values));

    CDataset<T> trusted = sentinelDataset<T>();
    ASSERT_TRUE(trusted.read(file.path().c_str()));
    expectLoaded(trusted, shape, values);

    CDataset<T> checked = sentinelDataset<T>();
    std::string error;
    ASSERT_TRUE(checked.read(file.path().c_str(), error)) << error;
    expectLoaded(checked, shape, values);
  }
}

// A dense vector whose getElement() differs from its storage: the record
// holds what getElement() gives, as for every vector class but the dense
// vector itself.
template <typename T>
class OffsetDenseVector : public CDenseVector<T> {
 public:
  using CDenseVector<T>::CDenseVector;
  T getElement(int i) const override {
    return CDenseVector<T>::getElement(i) + 1;
  }
  CDenseVector<T>* clone() const override {
    return new OffsetDenseVector(*this);
  }
};

TYPED_TEST(CDatasetFileBlock, DerivedVectorClassesAreWrittenThroughGetElement) {
  using T = TypeParam;
  CDataset<T> data(0, 5);
  data.setInfo("block test");
  for (int k = 0; k < 3; ++k)
    data.appendItem(CDatasetItem<T>(OffsetDenseVector<T>(2, T(k)),
                                    CDenseVector<T>(1, T(10 * k)), k));
  const std::string expected = recordHeader(3, 5, 2, 1, "block test")
                                   .floats({1, 1, 0, 2, 2, 10, 3, 3, 20})
                                   .str();
  EXPECT_EQ(recordOf(data), expected);
}

TYPED_TEST(CDatasetFileBlock, ShortAndLongItemsAcrossBlocksUseTheFirstShape) {
  using T = TypeParam;
  const Shape shape{200, 100, 2};  // 160 whole items fill a block
  auto values = randomValues<T>(shape, this->random);
  CDataset<T> data = datasetOf(shape, values);
  // Item 90 is shorter than the first (zeros written past its end), item
  // 150 longer (cut to the first item's dimensions).
  data[90].setInputVector(CDenseVector<T>(60, values[90].data()));
  std::fill(values[90].begin() + 60, values[90].begin() + 100, T(0));
  std::vector<T> longer(values[150].begin(), values[150].begin() + 100);
  longer.resize(130, T(7));
  data[150].setInputVector(CSparseVector<T>(CDenseVector<T>(longer)));
  EXPECT_EQ(recordOf(data), referenceRecord(shape, values));
}

// Bytes of the record header before the items of a "block test" record.
constexpr std::size_t kHeaderBytes = 4 + 13 + 16 + 4 + 11;

TYPED_TEST(CDatasetFileBlock, RecordsCutWithinAndBetweenBlocks) {
  using T = TypeParam;
  for (const Shape& shape : {Shape{129, 129, 7}, Shape{3, 20000, 1}}) {
    SCOPED_TRACE(describe(shape));
    const auto values = randomValues<T>(shape, this->random);
    const std::string record = referenceRecord(shape, values);
    const std::size_t itemBytes = std::size_t(shape.inDim + shape.outDim) * 4;
    const std::size_t blockBytes = std::size_t(1) << 16;
    std::vector<std::size_t> cuts = {kHeaderBytes, record.size() - 1};
    for (std::size_t at :
         {kHeaderBytes + itemBytes, kHeaderBytes + 2 * itemBytes, blockBytes,
          kHeaderBytes + blockBytes / itemBytes * itemBytes})
      for (std::size_t offset : {at - 1, at, at + 1})
        if (offset > kHeaderBytes && offset < record.size())
          cuts.push_back(offset);

    for (const std::size_t cut : cuts) {
      SCOPED_TRACE("cut at " + std::to_string(cut));
      const std::string bytes = record.substr(0, cut);
      const int complete = static_cast<int>((cut - kHeaderBytes) / itemBytes);
      const Shape arrived{complete, shape.inDim, shape.outDim};

      CDataset<T> trusted;
      std::istringstream in(bytes);
      ASSERT_TRUE(trusted.read(in));
      expectLoaded(trusted, arrived, values);

      CDataset<T> checked = sentinelDataset<T>();
      std::istringstream checkedIn(bytes);
      std::string error;
      ASSERT_FALSE(checked.read(checkedIn, error));
      EXPECT_EQ(error, "CDataset::read(): dataset file truncated in item " +
                           std::to_string(complete) + " of " +
                           std::to_string(shape.items));
      expectSentinel(checked);
    }
  }
}

TYPED_TEST(CDatasetFileBlock, CountRaisedBeyondTheDataKeepsTheItemsThatArrive) {
  using T = TypeParam;
  const Shape shape{129, 129, 7};
  const auto values = randomValues<T>(shape, this->random);
  std::string record = referenceRecord(shape, values);
  record.replace(kCountOffset, 4, bytesOf(std::int32_t(shape.items + 1)));

  CDataset<T> trusted;
  std::istringstream in(record);
  ASSERT_TRUE(trusted.read(in));
  expectLoaded(trusted, shape, values);

  TempFile file;
  writeGzip(file.path(), record);
  CDataset<T> checked = sentinelDataset<T>();
  std::string error;
  ASSERT_FALSE(checked.read(file.path().c_str(), error));
  EXPECT_EQ(error,
            "CDataset::read(): dataset file truncated in item 129 of "
            "130; file: " +
                file.path());
  expectSentinel(checked);
}

TYPED_TEST(CDatasetFileBlock, FileWithHugeCountAndLittleDataReservesLittle) {
  using T = TypeParam;
  TempFile file;
  writeGzip(file.path(),
            recordHeader(2000000000, 3, 16, 1).floats({1, 2, 3}).str());
  CDataset<T> trusted(0, 1000);
  ASSERT_TRUE(trusted.read(file.path().c_str()));
  EXPECT_EQ(trusted.items(), 0);
  EXPECT_LE(trusted.capacity(), 1 << 16);

  CDataset<T> checked(0, 1000);
  std::string error;
  ASSERT_FALSE(checked.read(file.path().c_str(), error));
  EXPECT_LE(checked.capacity(), 1 << 16);
}

TYPED_TEST(CDatasetFileBlock, FilesReadTheDeclaredCountWhateverTheyCompressTo) {
  using T = TypeParam;
  const int count = 100000;  // more than is reserved before items arrive
  for (const bool zeros : {true, false}) {
    SCOPED_TRACE(zeros ? "zeros" : "distinct values");
    RecordBytes record = recordHeader(count, 1000, 1, 0);
    for (int k = 0; k < count; ++k) record.floats({zeros ? 0.0f : float(k)});
    TempFile file;
    writeGzip(file.path(), record.str());

    CDataset<T> trusted(10, 1000);
    ASSERT_TRUE(trusted.read(file.path().c_str()));
    ASSERT_EQ(trusted.items(), count);
    EXPECT_EQ(trusted.capacity(), count);
    EXPECT_EQ(trusted[count - 1].inputComponent(0),
              zeros ? T(0) : T(count - 1));

    CDataset<T> checked;
    std::string error;
    ASSERT_TRUE(checked.read(file.path().c_str(), error)) << error;
    ASSERT_EQ(checked.items(), count);
    EXPECT_EQ(checked.capacity(), count);
    EXPECT_EQ(checked[count - 1].id(), count - 1);
  }
}

}  // namespace
