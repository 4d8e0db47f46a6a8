// SPDX-License-Identifier: MIT
// Saving and loading the learned projections: both forms restore the same
// state, and cut or inconsistent records are refused without a change.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <fstream>
#include <limits>
#include <string>

#include "learning/ProjectionTestSupport.h"
#include "support/MemoryArchive.h"
#include "support/TempFile.h"
#include "support/ThreadCounts.h"
#include "vecml/learning/CLinearDiscriminant.h"
#include "vecml/learning/CPrincipalComponents.h"

namespace {

using test_support::labelled;

template <typename T>
std::string bytesOfVector(const CDenseVector<T>& v) {
  return bytesOf(v._data(), static_cast<std::size_t>(v.dimension()));
}

template <typename T>
std::string bytesOfMatrix(const CMatrix<T>& m) {
  return bytesOf(m._data(), static_cast<std::size_t>(m.rows()) * m.columns());
}

// Everything a projection shows: its own results (own()), the counts, and
// what project and reconstruct make of a fixed point.
template <typename P, typename T>
std::string stateOf(const P& projection, const std::string& own) {
  std::string state = own + std::to_string(projection.directions());
  if (projection.directions() == 0) return state;
  const CDenseVector<T> x(std::vector<T>{1, -2, 0.5});
  const CDenseVector<T> c(projection.directions(), T(0.25));
  return state + bytesOfVector(projection.mean()) +
         bytesOfVector(projection.project(x)) +
         bytesOfVector(projection.reconstruct(c));
}

template <typename T>
std::string stateOf(const CPrincipalComponents<T>& pca) {
  return stateOf<CPrincipalComponents<T>, T>(
      pca, std::to_string(pca.requestedComponents()) +
               bytesOfMatrix(pca.components()) +
               bytesOfVector(pca.explainedVariance()) +
               bytesOfVector(pca.explainedVarianceRatio()));
}

template <typename T>
std::string stateOf(const CLinearDiscriminant<T>& lda) {
  return stateOf<CLinearDiscriminant<T>, T>(
      lda, std::to_string(lda.requestedDirections()) + "/" +
               std::to_string(lda.classes()) +
               bytesOfMatrix(lda.directionMatrix()) +
               bytesOfVector(lda.eigenvalues()));
}

// Three classes in three dimensions; `shift` moves every input.
template <typename T>
CDataset<T> samples(T shift) {
  return labelled<T>({{1 + shift, 2, 0},
                      {2, 1 + shift, 1},
                      {0, 1, 2},
                      {2, 3, 1},
                      {5, 1, 0},
                      {6, 2, 2 + shift},
                      {4, 0, 1},
                      {5, 3, 3},
                      {1, 6, 5},
                      {2, 5, 4},
                      {0, 7, 6},
                      {3, 6, 4 + shift}},
                     {0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2});
}

template <typename P>
class LearnedProjectionSerializeTest : public testing::Test {
 protected:
  using T = typename std::conditional_t<
      std::is_same_v<P, CPrincipalComponents<float>> ||
          std::is_same_v<P, CLinearDiscriminant<float>>,
      float, double>;

  // A trained projection, two directions of the three-class samples.
  static P trained(T shift = 0) {
    P projection(2);
    EXPECT_TRUE(projection.train(samples<T>(shift)));
    return projection;
  }

  // Writes `projection` with serialize to the file, returning its bytes.
  std::string written(P& projection) {
    std::fstream out(file.path(),
                     std::ios::out | std::ios::binary | std::ios::trunc);
    EXPECT_TRUE(projection.serialize(out, IO_WRITE));
    out.close();
    return file.contents();
  }

  // Reads `bytes` with serialize into `projection`.
  bool readInto(P& projection, const std::string& bytes) {
    file.write(bytes);
    std::fstream in(file.path(), std::ios::in | std::ios::binary);
    return projection.serialize(in, IO_READ);
  }

  TempFile file;
};

using Projections =
    testing::Types<CPrincipalComponents<float>, CPrincipalComponents<double>,
                   CLinearDiscriminant<float>, CLinearDiscriminant<double>>;
TYPED_TEST_SUITE(LearnedProjectionSerializeTest, Projections);

TYPED_TEST(LearnedProjectionSerializeTest, StreamFormRestoresTheState) {
  TypeParam original = this->trained();
  const std::string bytes = this->written(original);
  TypeParam copy;
  ASSERT_TRUE(this->readInto(copy, bytes));
  EXPECT_EQ(stateOf(copy), stateOf(original));
}

TYPED_TEST(LearnedProjectionSerializeTest, UntrainedStaysUntrained) {
  TypeParam untrained(1);
  const std::string bytes = this->written(untrained);
  TypeParam copy = this->trained();
  ASSERT_TRUE(this->readInto(copy, bytes));
  EXPECT_EQ(stateOf(copy), stateOf(untrained));
  EXPECT_EQ(copy.directions(), 0);
}

TYPED_TEST(LearnedProjectionSerializeTest, EveryCutRecordIsRefused) {
  TypeParam original = this->trained();
  const std::string bytes = this->written(original);
  TypeParam target = this->trained(1);
  const std::string before = stateOf(target);
  for (std::size_t size = 0; size < bytes.size(); ++size) {
    EXPECT_FALSE(this->readInto(target, bytes.substr(0, size))) << size;
    ASSERT_EQ(stateOf(target), before) << size;
  }
}

// Overwrites the 4-byte int at `offset` of the record.
std::string withInt(std::string bytes, std::size_t offset, std::int32_t value) {
  std::memcpy(&bytes[offset], &value, sizeof value);
  return bytes;
}

TYPED_TEST(LearnedProjectionSerializeTest, InconsistentRecordsAreRefused) {
  using T = typename TestFixture::T;
  TypeParam original = this->trained();
  const std::string bytes = this->written(original);
  // d and k follow the counts: one int for PCA, two for LDA.
  const std::size_t shape =
      std::is_base_of_v<CLinearDiscriminant<T>, TypeParam> ? 8 : 4;
  std::string nan = bytes;
  const T notANumber = std::numeric_limits<T>::quiet_NaN();
  std::memcpy(&nan[shape + 8], &notANumber, sizeof notANumber);
  const std::string refused[] = {
      withInt(bytes, 0, -1),
      withInt(bytes, 0, 1),
      withInt(bytes, shape, -3),
      withInt(bytes, shape + 4, 4),
      withInt(bytes, shape + 4, 0),
      withInt(bytes, shape, 0x7fffffff),
      nan,
  };
  TypeParam target = this->trained(1);
  const std::string before = stateOf(target);
  for (const std::string& record : refused) {
    EXPECT_FALSE(this->readInto(target, record));
    EXPECT_EQ(stateOf(target), before);
  }
}

TYPED_TEST(LearnedProjectionSerializeTest, ArchiveFormRestoresTheState) {
  TypeParam original = this->trained();
  MemoryArchive archive;
  ASSERT_TRUE(original.serialize2(archive));
  archive.loading = true;
  TypeParam copy;
  ASSERT_TRUE(copy.serialize2(archive));
  EXPECT_EQ(stateOf(copy), stateOf(original));
}

TYPED_TEST(LearnedProjectionSerializeTest, ArchiveShapesAreValidated) {
  using T = typename TestFixture::T;
  MemoryArchive archive;
  int requested = 0, classes = 3, d = 2, k = 3;
  archive.write(requested);
  if (std::is_base_of_v<CLinearDiscriminant<T>, TypeParam>)
    archive.write(classes);
  archive.write(d);
  archive.write(k);
  archive.loading = true;
  TypeParam target = this->trained(1);
  const std::string before = stateOf(target);
  EXPECT_FALSE(target.serialize2(archive));
  EXPECT_EQ(stateOf(target), before);
}

}  // namespace
