// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "learning/CClusterAlgorithmTestSupport.h"
#include "support/RecordingArchive.h"
#include "support/TempFile.h"
#include "vecml/learning/CClusterAlgorithm.h"

namespace {

template <typename T>
class CClusterAlgorithmSerializeTest : public testing::Test {
 protected:
  // Four prototypes: as many as the default info "none" has characters,
  // which is how many items the dataset's record holds.
  CClusterAlgorithmSerializeTest() {
    addPrototypes<T>(algorithm, {{1, 2}, {3, 4}, {5, 6}, {7, 8}});
  }

  // Writes `algorithm` to `file` with `mode`; returns serialize's result.
  static bool writeTo(CClusterAlgorithm<T>& algorithm, const TempFile& file,
                      IO_MODE mode) {
    std::fstream out(file.path(), std::ios::out | std::ios::binary);
    return algorithm.serialize(out, mode);
  }

  CFixedPrototypes<T> algorithm{new CEuclideanMetric<T>()};
};

using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CClusterAlgorithmSerializeTest, ElementTypes);

// What the reference dataset alone writes with serialize(IO_WRITE).
template <typename T>
std::string datasetRecord(const CClusterAlgorithm<T>& algorithm) {
  TempFile file;
  {
    std::fstream out(file.path(), std::ios::out | std::ios::binary);
    algorithm.getReferenceVectors().serialize(out, IO_WRITE);
  }
  return file.contents();
}

TYPED_TEST(CClusterAlgorithmSerializeTest, WritingStopsAfterTheDataset) {
  TempFile file;
  EXPECT_FALSE(this->writeTo(this->algorithm, file, IO_WRITE));
  // The dataset's record and nothing after it: no metric name or record.
  const std::string record = datasetRecord(this->algorithm);
  EXPECT_NE(record.find("none"), std::string::npos);
  EXPECT_EQ(file.contents(), record);
}

TYPED_TEST(CClusterAlgorithmSerializeTest, ReadingStopsAfterTheDataset) {
  using T = TypeParam;
  TempFile file;
  this->writeTo(this->algorithm, file, IO_WRITE);

  bool destroyed = false;
  auto* metric = new CWatchedMetric<T>(&destroyed);
  CFixedPrototypes<T> reader(metric);
  addPrototypes<T>(reader, {{9, 9}});
  reader.referenceVectors().setInfo("old");
  {
    std::fstream in(file.path(), std::ios::in | std::ios::binary);
    EXPECT_FALSE(reader.serialize(in, IO_READ));
    // The whole record was consumed and nothing more was asked for.
    EXPECT_EQ(in.tellg(),
              std::streampos(datasetRecord(this->algorithm).size()));
  }
  EXPECT_FALSE(destroyed);
  EXPECT_EQ(reader.metric(), metric);

  // The stored prototypes are appended to the one already present,
  // and the stored info text replaces the old one.
  const CDataset<T>& references = reader.referenceVectors();
  EXPECT_EQ(references.getInfo(), "none");
  ASSERT_EQ(references.items(), 5);
  EXPECT_EQ(references.item(0).inputComponent(0), T(9));
  for (int i = 1; i < 5; ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(references.item(i).inputComponent(0), T(2 * i - 1));
    EXPECT_EQ(references.item(i).inputComponent(1), T(2 * i));
    EXPECT_EQ(references.item(i).id(), -1);
  }
  EXPECT_EQ(reader.nearestNode(denseOf<T>({5, 6})), 3);
}

TYPED_TEST(CClusterAlgorithmSerializeTest, OtherModesAreHandedOnToTheDataset) {
  // Any mode but IO_WRITE takes the reading branch, which passes the mode
  // on; the dataset writes for every mode but IO_READ.
  TempFile file;
  EXPECT_FALSE(this->writeTo(this->algorithm, file, static_cast<IO_MODE>(2)));
  EXPECT_EQ(file.contents(), datasetRecord(this->algorithm));
  EXPECT_EQ(this->algorithm.referenceVectors().items(), 4);
}

TYPED_TEST(CClusterAlgorithmSerializeTest, ArchiveFormIsTheEmptyBaseForm) {
  RecordingArchive storing(false);
  RecordingArchive loading(true);
  EXPECT_TRUE(this->algorithm.serialize2(storing));
  EXPECT_TRUE(this->algorithm.serialize2(loading));
  EXPECT_TRUE(storing.calls.empty());
  EXPECT_TRUE(loading.calls.empty());
  EXPECT_EQ(this->algorithm.referenceVectors().items(), 4);
}

}  // namespace
