// SPDX-License-Identifier: MIT
#include "vecml/core/detail/MessagePositions.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using vecml::detail::MessagePosition;

std::string text(const MessagePosition& position) {
  return std::string(position.file) + ":" + std::to_string(position.line);
}

// Each fixed position is part of a documented message; a change here is a
// change of that message.
TEST(MessagePositions, DenseVectorIndexChecks) {
  EXPECT_EQ(text(vecml::detail::kDenseConstIndexCheck), "CDenseVector.h:168");
  EXPECT_EQ(text(vecml::detail::kDenseIndexCheck), "CDenseVector.h:179");
}

TEST(MessagePositions, SparseVectorAssertions) {
  EXPECT_EQ(text(vecml::detail::kSparseDimensionAssert),
            "CSparseVector.cpp:65");
  EXPECT_EQ(text(vecml::detail::kSparseSizeAssert), "CSparseVector.cpp:66");
  EXPECT_EQ(text(vecml::detail::kSparseValuesAssert), "CSparseVector.cpp:67");
  EXPECT_EQ(text(vecml::detail::kSparsePositionsAssert),
            "CSparseVector.cpp:68");
  EXPECT_EQ(text(vecml::detail::kSparseCopySourceAssert),
            "CSparseVector.cpp:116");
  EXPECT_EQ(text(vecml::detail::kSparseIndexNotNegativeAssert),
            "CSparseVector.cpp:139");
  EXPECT_EQ(text(vecml::detail::kSparseIndexBelowDimensionAssert),
            "CSparseVector.cpp:140");
  EXPECT_EQ(text(vecml::detail::kSparseEntryBelowSizeAssert),
            "CSparseVector.cpp:162");
}

TEST(MessagePositions, DatasetItemProduction) {
  EXPECT_EQ(text(vecml::detail::kItemInputProduction), "CDatasetItem.h:345");
  EXPECT_EQ(text(vecml::detail::kItemOutputProduction), "CDatasetItem.h:350");
}

TEST(MessagePositions, DatasetSubset) {
  EXPECT_EQ(text(vecml::detail::kSubsetCountCheck), "CDataset.h:1314");
}

TEST(MessagePositions, MultiVariateGaussianKernel) {
  EXPECT_EQ(text(vecml::detail::kKernelVectorDimensionCheck),
            "CKernel.cpp:538");
  EXPECT_EQ(text(vecml::detail::kKernelArrayDimensionCheck), "CKernel.cpp:548");
}

TEST(MessagePositions, FactorialHelpers) {
  EXPECT_EQ(text(vecml::detail::kFactorialArgumentCheck), "Macros.cpp:77");
  EXPECT_EQ(text(vecml::detail::kLogFactorialArgumentCheck), "Macros.cpp:88");
}

}  // namespace
