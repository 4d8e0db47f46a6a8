// SPDX-License-Identifier: MIT
// Binary and archive records of the kernels.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "kernel/KernelTestSupport.h"
#include "support/RecordingArchive.h"
#include "support/TempFile.h"
#include "vecml/kernel/CKernel.h"

namespace {

template <typename V>
std::string bytesOf(V value) {
  std::string bytes(sizeof value, '\0');
  std::memcpy(bytes.data(), &value, sizeof value);
  return bytes;
}

// The bytes serialize() writes for \p kernel with \p mode.
template <typename T>
std::string written(CObject<T>& kernel, const TempFile& file,
                    IO_MODE mode = IO_WRITE) {
  {
    std::fstream stream(file.path(),
                        std::ios::out | std::ios::binary | std::ios::trunc);
    EXPECT_TRUE(kernel.serialize(stream, mode));
    EXPECT_TRUE(stream.good());
  }
  return file.contents();
}

// Reads \p bytes into \p kernel. \return whether the stream is still good.
template <typename T>
bool readInto(CObject<T>& kernel, const TempFile& file,
              const std::string& bytes) {
  file.write(bytes);
  std::fstream stream(file.path(), std::ios::in | std::ios::binary);
  EXPECT_TRUE(kernel.serialize(stream, IO_READ));
  return !stream.fail();
}

template <typename T>
class CKernelSerializeTest : public testing::Test {
 protected:
  TempFile file;
};

using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CKernelSerializeTest, ElementTypes);

TYPED_TEST(CKernelSerializeTest, BaseRecordIsTheBandwidthAsADouble) {
  using T = TypeParam;
  auto gaussian = quietly<CGaussianKernel<T>>(T(0.1));
  EXPECT_EQ(written(gaussian, this->file), bytesOf(double(T(0.1))));
  auto linear = quietly<CLinearKernel<T>>();
  EXPECT_EQ(written(linear, this->file), bytesOf(-1.0));
  auto multi = quietly<CMultiVariateGaussianKernel<T>>(CDenseVector<T>(4));
  EXPECT_EQ(written(multi, this->file), bytesOf(-1.0));
}

TYPED_TEST(CKernelSerializeTest, EveryModeButReadWrites) {
  using T = TypeParam;
  auto kernel = quietly<CTriangularKernel<T>>(T(2));
  EXPECT_EQ(written(kernel, this->file, static_cast<IO_MODE>(7)), bytesOf(2.0));
}

TYPED_TEST(CKernelSerializeTest, PlummerAppendsEpsilon) {
  using T = TypeParam;
  auto kernel = quietly<CPlummerKernel<T>>(T(2));
  kernel.setEpsilon(T(0.5));
  EXPECT_EQ(written(kernel, this->file), bytesOf(2.0) + bytesOf(0.5));
}

TYPED_TEST(CKernelSerializeTest, PolynomialWritesDegreeBeforeR) {
  using T = TypeParam;
  auto kernel = quietly<CPolynomialKernel<T>>(T(2), 3, T(0.25));
  const std::string bytes = written(kernel, this->file);
  ASSERT_EQ(bytes.size(), 20u);
  EXPECT_EQ(bytes, bytesOf(2.0) + bytesOf(std::int32_t(3)) + bytesOf(0.25));
}

TYPED_TEST(CKernelSerializeTest, AnovaAppendsDegree) {
  using T = TypeParam;
  auto kernel = quietly<CAnovaKernel<T>>(T(2), -5);
  EXPECT_EQ(written(kernel, this->file),
            bytesOf(2.0) + bytesOf(std::int32_t(-5)));
}

TYPED_TEST(CKernelSerializeTest, RecordsRoundTrip) {
  using T = TypeParam;
  auto plummer = quietly<CPlummerKernel<T>>(T(2.5));
  plummer.setEpsilon(T(0.75));
  auto plummerCopy = quietly<CPlummerKernel<T>>(T(1));
  EXPECT_TRUE(readInto(plummerCopy, this->file, written(plummer, this->file)));
  EXPECT_EQ(plummerCopy.bandwidth(), T(2.5));
  EXPECT_EQ(plummerCopy.epsilon(), T(0.75));

  auto polynomial = quietly<CPolynomialKernel<T>>(T(0.1), 4, T(-0.3));
  auto polynomialCopy = quietly<CPolynomialKernel<T>>(T(1), 1, T(0));
  EXPECT_TRUE(
      readInto(polynomialCopy, this->file, written(polynomial, this->file)));
  EXPECT_EQ(polynomialCopy.bandwidth(), T(0.1));
  EXPECT_EQ(polynomialCopy.degree(), 4);
  EXPECT_EQ(polynomialCopy.r(), T(-0.3));

  auto anova = quietly<CAnovaKernel<T>>(T(7), 2);
  auto anovaCopy = quietly<CAnovaKernel<T>>(T(1), 1);
  EXPECT_TRUE(readInto(anovaCopy, this->file, written(anova, this->file)));
  EXPECT_EQ(anovaCopy.bandwidth(), T(7));
  EXPECT_EQ(anovaCopy.degree(), 2);

  auto gaussian = quietly<CGaussianKernel<T>>(T(0.3));
  auto gaussianCopy = quietly<CGaussianKernel<T>>(T(1));
  EXPECT_TRUE(
      readInto(gaussianCopy, this->file, written(gaussian, this->file)));
  EXPECT_EQ(gaussianCopy.bandwidth(), T(0.3));
}

TYPED_TEST(CKernelSerializeTest, ReadingKeepsTheWholeDoubleBandwidth) {
  using T = TypeParam;
  auto kernel = quietly<CGaussianKernel<T>>(T(1));
  EXPECT_TRUE(readInto(kernel, this->file, bytesOf(0.1)));
  EXPECT_EQ(kernel.bandwidth(), T(0.1));
  EXPECT_EQ(written(kernel, this->file), bytesOf(0.1));
}

TYPED_TEST(CKernelSerializeTest, TruncatedBaseRecordFailsAndKeepsTheKernel) {
  using T = TypeParam;
  auto kernel = quietly<CGaussianKernel<T>>(T(3));
  for (std::size_t size : {0u, 1u, 7u}) {
    SCOPED_TRACE(size);
    EXPECT_FALSE(readInto(kernel, this->file, bytesOf(9.0).substr(0, size)));
    EXPECT_EQ(kernel.bandwidth(), T(3));
  }
}

TYPED_TEST(CKernelSerializeTest, TruncatedAppendedFieldsKeepTheWholeKernel) {
  using T = TypeParam;
  const std::string polynomialRecord =
      bytesOf(9.0) + bytesOf(std::int32_t(8)) + bytesOf(7.0);
  for (std::size_t size : {4u, 8u, 10u, 12u, 19u}) {
    SCOPED_TRACE(size);
    auto polynomial = quietly<CPolynomialKernel<T>>(T(2), 3, T(0.25));
    EXPECT_FALSE(
        readInto(polynomial, this->file, polynomialRecord.substr(0, size)));
    EXPECT_EQ(polynomial.bandwidth(), T(2));
    EXPECT_EQ(polynomial.degree(), 3);
    EXPECT_EQ(polynomial.r(), T(0.25));
  }

  auto plummer = quietly<CPlummerKernel<T>>(T(2));
  EXPECT_FALSE(readInto(plummer, this->file, bytesOf(9.0) + "abc"));
  EXPECT_EQ(plummer.bandwidth(), T(2));
  EXPECT_EQ(plummer.epsilon(), T(1));

  auto anova = quietly<CAnovaKernel<T>>(T(2), 3);
  EXPECT_FALSE(readInto(anova, this->file, bytesOf(9.0) + "ab"));
  EXPECT_EQ(anova.bandwidth(), T(2));
  EXPECT_EQ(anova.degree(), 3);
}

TEST(CKernelSerializeRecordTest, FloatAndDoubleRecordsAreTheSame) {
  TempFile file;
  auto floatKernel = quietly<CPolynomialKernel<float>>(0.5f, 2, 0.125f);
  auto doubleKernel = quietly<CPolynomialKernel<double>>(0.5, 2, 0.125);
  EXPECT_EQ(written(floatKernel, file), written(doubleKernel, file));
}

TYPED_TEST(CKernelSerializeTest, ArchiveStoresTheBandwidth) {
  using T = TypeParam;
  auto kernel = quietly<CGaussianKernel<T>>(T(2));
  RecordingArchive archive(false);
  EXPECT_TRUE(kernel.serialize2(archive));
  EXPECT_EQ(archive.calls,
            (std::vector<std::string>{"isLoading", "write(double) 2",
                                      "writeSeparator"}));
}

TYPED_TEST(CKernelSerializeTest, ArchiveLoadsTheBandwidth) {
  using T = TypeParam;
  auto kernel = quietly<CTriangularKernel<T>>(T(2));
  RecordingArchive archive(true);
  archive.numbers = {0.5};
  EXPECT_TRUE(kernel.serialize2(archive));
  EXPECT_EQ(archive.calls,
            (std::vector<std::string>{"isLoading", "read(double)"}));
  EXPECT_EQ(kernel.bandwidth(), T(0.5));
}

TYPED_TEST(CKernelSerializeTest, ArchiveOfTheAppendedFields) {
  using T = TypeParam;
  auto plummer = quietly<CPlummerKernel<T>>(T(2));
  plummer.setEpsilon(T(0.5));
  RecordingArchive storing(false);
  EXPECT_TRUE(plummer.serialize2(storing));
  EXPECT_EQ(storing.calls,
            (std::vector<std::string>{"isLoading", "write(double) 2",
                                      "writeSeparator", "isLoading",
                                      "write(double) 0.5", "writeSeparator"}));

  auto polynomial = quietly<CPolynomialKernel<T>>(T(2), 3, T(0.25));
  RecordingArchive storingPolynomial(false);
  EXPECT_TRUE(polynomial.serialize2(storingPolynomial));
  EXPECT_EQ(storingPolynomial.calls,
            (std::vector<std::string>{"isLoading", "write(double) 2",
                                      "writeSeparator", "isLoading",
                                      "write(int) 3", "writeSeparator",
                                      "write(double) 0.25", "writeSeparator"}));

  auto anova = quietly<CAnovaKernel<T>>(T(2), 4);
  RecordingArchive storingAnova(false);
  EXPECT_TRUE(anova.serialize2(storingAnova));
  EXPECT_EQ(storingAnova.calls,
            (std::vector<std::string>{"isLoading", "write(double) 2",
                                      "writeSeparator", "isLoading",
                                      "write(int) 4", "writeSeparator"}));
}

TYPED_TEST(CKernelSerializeTest, ArchiveLoadsTheAppendedFields) {
  using T = TypeParam;
  auto polynomial = quietly<CPolynomialKernel<T>>(T(1), 1, T(0));
  RecordingArchive loading(true);
  loading.numbers = {0.5, 6, -2.5};
  EXPECT_TRUE(polynomial.serialize2(loading));
  EXPECT_EQ(loading.calls,
            (std::vector<std::string>{"isLoading", "read(double)", "isLoading",
                                      "read(int)", "read(double)"}));
  EXPECT_EQ(polynomial.bandwidth(), T(0.5));
  EXPECT_EQ(polynomial.degree(), 6);
  EXPECT_EQ(polynomial.r(), T(-2.5));

  auto plummer = quietly<CPlummerKernel<T>>(T(1));
  RecordingArchive loadingPlummer(true);
  loadingPlummer.numbers = {3, 0.125};
  EXPECT_TRUE(plummer.serialize2(loadingPlummer));
  EXPECT_EQ(plummer.bandwidth(), T(3));
  EXPECT_EQ(plummer.epsilon(), T(0.125));

  auto anova = quietly<CAnovaKernel<T>>(T(1), 1);
  RecordingArchive loadingAnova(true);
  loadingAnova.numbers = {3, 9};
  EXPECT_TRUE(anova.serialize2(loadingAnova));
  EXPECT_EQ(loadingAnova.calls,
            (std::vector<std::string>{"isLoading", "read(double)", "isLoading",
                                      "read(int)"}));
  EXPECT_EQ(anova.degree(), 9);
}

}  // namespace
