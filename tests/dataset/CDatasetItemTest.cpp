// SPDX-License-Identifier: MIT
#include "vecml/dataset/CDatasetItem.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "vecml/vector/CDenseVector.h"
#include "vecml/vector/CSparseVector.h"

namespace {

template <typename T>
class CDatasetItemTest : public testing::Test {};
using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CDatasetItemTest, ElementTypes);

template <typename T>
CDenseVector<T> dense(std::vector<T> values) {
  return CDenseVector<T>(values);
}

// A sparse vector of dimension `dim` whose only entry is (index, value).
template <typename T>
CSparseVector<T> sparseWithOne(int dim, int index, T value) {
  CSparseVector<T> sparse(dim, 1);
  sparse.setElement(0, {index, value});
  return sparse;
}

TYPED_TEST(CDatasetItemTest, DefaultItemHasDenseVectorsOfDimensionOne) {
  CDatasetItem<TypeParam> item;
  EXPECT_EQ(item.inputDimension(), 1);
  EXPECT_EQ(item.outputDimension(), 1);
  EXPECT_EQ(item.id(), -1);
  EXPECT_EQ(item.inputVector()->className(), "CDenseVector");
  EXPECT_EQ(item.outputVector()->className(), "CDenseVector");
  EXPECT_EQ(item.className(), "CDatasetItem");
}

TYPED_TEST(CDatasetItemTest, DimensionConstructorMakesZeroVectors) {
  CDatasetItem<TypeParam> item(3, 2);
  EXPECT_EQ(item.inputDimension(), 3);
  EXPECT_EQ(item.outputDimension(), 2);
  EXPECT_EQ(item.inputComponent(2), TypeParam(0));
  EXPECT_EQ(item.id(), -1);
}

TYPED_TEST(CDatasetItemTest, VectorConstructorsCloneAndKeepTheKind) {
  const auto sparse = sparseWithOne<TypeParam>(5, 3, TypeParam(2));
  const auto out = dense<TypeParam>({7});
  CDatasetItem<TypeParam> item(sparse, out, 4);
  EXPECT_EQ(item.inputVector()->className(), "CSparseVector");
  EXPECT_NE(item.inputVectorPtr(), &sparse);
  EXPECT_EQ(item.getInputComponent(3), TypeParam(2));
  EXPECT_EQ(item.outputComponent(0), TypeParam(7));
  EXPECT_EQ(item.getOutputComponent(0), TypeParam(7));
  EXPECT_EQ(item.id(), 4);
  EXPECT_EQ(CDatasetItem<TypeParam>(sparse, out).id(), -1);
}

TYPED_TEST(CDatasetItemTest, AdoptingConstructorStoresThePointers) {
  auto* in = new CDenseVector<TypeParam>(2);
  auto* out = new CDenseVector<TypeParam>(1);
  CDatasetItem<TypeParam> item(in, out);
  EXPECT_EQ(item.getInputVector(), in);
  EXPECT_EQ(item.getOutputVector(), out);
  EXPECT_EQ(item.id(), -1);
}

TYPED_TEST(CDatasetItemTest, AccessorSynonymsAgree) {
  CDatasetItem<TypeParam> item(2, 3);
  const auto& constant = item;
  EXPECT_EQ(item.getInputVector(), item.inputVector());
  EXPECT_EQ(constant.inputVector(), item.inputVectorPtr());
  EXPECT_EQ(item.getOutputVector(), item.outputVector());
  EXPECT_EQ(constant.outputVector(), item.outputVectorPtr());
}

TYPED_TEST(CDatasetItemTest, CopiesCloneVectorsAndCopyTheId) {
  CDatasetItem<TypeParam> original(dense<TypeParam>({1, 2}),
                                   dense<TypeParam>({3}), 9);
  CDatasetItem<TypeParam> copy(original);
  EXPECT_NE(copy.inputVectorPtr(), original.inputVectorPtr());
  EXPECT_EQ(copy.inputComponent(1), TypeParam(2));
  EXPECT_EQ(copy.id(), 9);

  CDatasetItem<TypeParam> assigned;
  assigned = original;
  EXPECT_NE(assigned.outputVectorPtr(), original.outputVectorPtr());
  EXPECT_EQ(assigned.outputComponent(0), TypeParam(3));
  EXPECT_EQ(assigned.id(), 9);
}

TYPED_TEST(CDatasetItemTest, SelfAssignmentReleasesNothing) {
  CDatasetItem<TypeParam> item(dense<TypeParam>({5}), dense<TypeParam>({6}), 2);
  const CVector<TypeParam>* in = item.inputVectorPtr();
  const CVector<TypeParam>* out = item.outputVectorPtr();
  auto& self = item;
  item = self;
  EXPECT_EQ(item.inputVectorPtr(), in);
  EXPECT_EQ(item.outputVectorPtr(), out);
  EXPECT_EQ(item.inputComponent(0), TypeParam(5));
  EXPECT_EQ(item.id(), 2);
}

TYPED_TEST(CDatasetItemTest, MovingTakesTheVectors) {
  CDatasetItem<TypeParam> source(2, 1);
  source.setId(5);
  CVector<TypeParam>* in = source.inputVectorPtr();
  CDatasetItem<TypeParam> moved(std::move(source));
  EXPECT_EQ(moved.inputVectorPtr(), in);
  EXPECT_EQ(moved.id(), 5);
  EXPECT_EQ(source.inputVectorPtr(), nullptr);  // NOLINT: checked on purpose
}

TYPED_TEST(CDatasetItemTest, SettersStoreClones) {
  CDatasetItem<TypeParam> item;
  const auto in = dense<TypeParam>({1, 2, 3});
  item.setInputVector(in);
  item.setOutputVector(in);
  item.setId(11);
  EXPECT_EQ(item.inputDimension(), 3);
  EXPECT_EQ(item.outputDimension(), 3);
  EXPECT_NE(item.inputVectorPtr(), &in);
  EXPECT_EQ(item.id(), 11);
  item.setInputVector(*item.inputVectorPtr());  // from its own vector
  EXPECT_EQ(item.inputComponent(2), TypeParam(3));
}

TYPED_TEST(CDatasetItemTest, ComparisonsLookAtIdsOnlyAndAreNonStrict) {
  CDatasetItem<TypeParam> a(dense<TypeParam>({1}), dense<TypeParam>({1}), 3);
  CDatasetItem<TypeParam> b(dense<TypeParam>({2}), dense<TypeParam>({2}), 3);
  EXPECT_TRUE(a < b);
  EXPECT_TRUE(a > b);
  EXPECT_TRUE(a == b);
  EXPECT_FALSE(a != b);
  b.setId(4);
  EXPECT_TRUE(a < b);
  EXPECT_FALSE(a > b);
  EXPECT_TRUE(a != b);
}

TEST(CDatasetItemConversionTest, FloatToDoubleDropsTheId) {
  CDatasetItem<float> item(CDenseVector<float>(2, 0.1f),
                           CDenseVector<float>(1, 2.0f), 7);
  std::unique_ptr<CDatasetItem<double>> converted(item.convertToDouble());
  EXPECT_EQ(converted->id(), -1);
  EXPECT_EQ(converted->inputComponent(1), static_cast<double>(0.1f));
  EXPECT_EQ(converted->outputComponent(0), 2.0);

  std::unique_ptr<CDatasetItem<float>> same(item.convertToFloat());
  EXPECT_EQ(same->id(), 7);
  EXPECT_NE(same->inputVectorPtr(), item.inputVectorPtr());
  EXPECT_EQ(same->inputComponent(0), 0.1f);
}

TEST(CDatasetItemConversionTest, DoubleToFloatDropsTheId) {
  CDatasetItem<double> item(sparseWithOne(4, 1, 0.1),
                            CDenseVector<double>(1, 3.0), 7);
  std::unique_ptr<CDatasetItem<float>> converted(item.convertToFloat());
  EXPECT_EQ(converted->id(), -1);
  EXPECT_EQ(converted->inputComponent(1), 0.1f);
  EXPECT_EQ(converted->inputDimension(), 4);

  std::unique_ptr<CDatasetItem<double>> same(item.convertToDouble());
  EXPECT_EQ(same->id(), 7);
  EXPECT_EQ(same->inputVector()->className(), "CSparseVector");
}

}  // namespace
