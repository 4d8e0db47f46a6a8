// SPDX-License-Identifier: MIT
// k-means saved and restored through the stream and the archive forms, and
// stream records cut short.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "learning/CKMeansTestSupport.h"
#include "support/MemoryArchive.h"
#include "support/TempFile.h"

namespace {

using test_support::Rows;

template <typename T>
class CKMeansSerializeTest : public testing::Test {
 protected:
  // Three trained clusters (fewer than the four characters of the default
  // info text, which the record must not depend on).
  CKMeansSerializeTest() : data(datasetOf<T>(randomRows<T>(60, 3, 11))) {
    trained.trainBatch(data, 20);
  }

  // Writes `kmeans` to `file` with the stream form; returns the result.
  static bool writeTo(CKMeans<T>& kmeans, const TempFile& file) {
    std::fstream out(file.path(), std::ios::out | std::ios::binary);
    return kmeans.serialize(out, IO_WRITE);
  }

  static bool readFrom(CKMeans<T>& kmeans, const TempFile& file) {
    std::fstream in(file.path(), std::ios::in | std::ios::binary);
    return kmeans.serialize(in, IO_READ);
  }

  // Expects `loaded` to equal `trained` in every saved part and in what it
  // computes.
  void expectSameAsTrained(const CKMeans<T>& loaded) const {
    EXPECT_EQ(centresOf(loaded), centresOf(trained));
    EXPECT_EQ(loaded.clusters(), trained.clusters());
    EXPECT_EQ(loaded.iterations(), trained.iterations());
    EXPECT_EQ(loaded.seed(), trained.seed());
    EXPECT_EQ(loaded.assignments(data), trained.assignments(data));
  }

  CDataset<T> data;
  CKMeans<T> trained{3, new CEuclideanMetric<T>(), 1234};
};

using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CKMeansSerializeTest, ElementTypes);

TYPED_TEST(CKMeansSerializeTest, StreamFormRoundTrips) {
  TempFile file;
  ASSERT_TRUE(this->writeTo(this->trained, file));
  CKMeans<TypeParam> loaded(1);
  ASSERT_TRUE(this->readFrom(loaded, file));
  this->expectSameAsTrained(loaded);
}

TYPED_TEST(CKMeansSerializeTest, WritingKeepsTheCentresInfoText) {
  TempFile file;
  this->trained.referenceVectors().setInfo("three centres of my data");
  ASSERT_TRUE(this->writeTo(this->trained, file));
  EXPECT_EQ(this->trained.referenceVectors().getInfo(),
            "three centres of my data");
  CKMeans<TypeParam> loaded(1);
  ASSERT_TRUE(this->readFrom(loaded, file));
  this->expectSameAsTrained(loaded);
}

TYPED_TEST(CKMeansSerializeTest, StreamFormRoundTripsWithoutCentres) {
  TempFile file;
  CKMeans<TypeParam> empty(5, new CEuclideanMetric<TypeParam>(), 9);
  ASSERT_TRUE(this->writeTo(empty, file));
  CKMeans<TypeParam> loaded(1);
  ASSERT_TRUE(this->readFrom(loaded, file));
  EXPECT_EQ(loaded.clusters(), 5);
  EXPECT_EQ(loaded.seed(), 9u);
  EXPECT_EQ(loaded.referenceVectors().items(), 0);
}

TYPED_TEST(CKMeansSerializeTest, StreamRecordEndsWithTheParameters) {
  TempFile file;
  ASSERT_TRUE(this->writeTo(this->trained, file));
  const std::string bytes = file.contents();
  const std::size_t tail = 2 * sizeof(std::int32_t) + sizeof(std::uint64_t);
  ASSERT_GT(bytes.size(), tail);
  std::int32_t clusters = 0, iterations = 0;
  std::uint64_t seed = 0;
  const char* at = bytes.data() + bytes.size() - tail;
  std::memcpy(&clusters, at, sizeof clusters);
  std::memcpy(&iterations, at + 4, sizeof iterations);
  std::memcpy(&seed, at + 8, sizeof seed);
  EXPECT_EQ(clusters, 3);
  EXPECT_EQ(iterations, this->trained.iterations());
  EXPECT_EQ(seed, 1234u);
}

TYPED_TEST(CKMeansSerializeTest, EveryCutRecordFailsAndChangesNothing) {
  using T = TypeParam;
  TempFile whole;
  ASSERT_TRUE(this->writeTo(this->trained, whole));
  const std::string bytes = whole.contents();
  CKMeans<T> kept(2, new CEuclideanMetric<T>(), 5);
  kept.setCentres(datasetOf<T>({{1, 2, 3}, {4, 5, 6}}));
  for (std::size_t length = 0; length < bytes.size(); ++length) {
    TempFile cut;
    cut.write(bytes.substr(0, length));
    EXPECT_FALSE(this->readFrom(kept, cut)) << "cut at " << length;
  }
  EXPECT_EQ(centresOf(kept), (Rows<T>{{1, 2, 3}, {4, 5, 6}}));
  EXPECT_EQ(kept.clusters(), 2);
  EXPECT_EQ(kept.seed(), 5u);
}

TYPED_TEST(CKMeansSerializeTest, InconsistentRecordFails) {
  using T = TypeParam;
  TempFile file;
  ASSERT_TRUE(this->writeTo(this->trained, file));
  std::string bytes = file.contents();
  // A cluster count that disagrees with the three stored centres.
  const std::int32_t four = 4;
  std::memcpy(&bytes[bytes.size() - 16], &four, sizeof four);
  file.write(bytes);
  CKMeans<T> loaded(1);
  EXPECT_FALSE(this->readFrom(loaded, file));
  EXPECT_EQ(loaded.clusters(), 1);
}

TYPED_TEST(CKMeansSerializeTest, ArchiveFormRoundTrips) {
  MemoryArchive archive;
  EXPECT_TRUE(this->trained.serialize2(archive));
  archive.loading = true;
  CKMeans<TypeParam> loaded(1);
  EXPECT_TRUE(loaded.serialize2(archive));
  this->expectSameAsTrained(loaded);
}

TYPED_TEST(CKMeansSerializeTest, InconsistentArchiveRecordFails) {
  using T = TypeParam;
  // Three centres stored for two clusters.
  CKMeans<T> odd(2);
  for (const auto& centre : {T(1), T(2), T(3)})
    odd.referenceVectors().appendItem(
        CDatasetItem<T>(CDenseVector<T>(1, centre), CDenseVector<T>(1, T(0))));
  MemoryArchive archive;
  odd.serialize2(archive);
  archive.loading = true;
  EXPECT_FALSE(this->trained.serialize2(archive));
  EXPECT_EQ(this->trained.clusters(), 3);
  EXPECT_EQ(this->trained.referenceVectors().items(), 3);
}

}  // namespace
