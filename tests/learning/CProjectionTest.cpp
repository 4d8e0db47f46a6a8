// SPDX-License-Identifier: MIT
#include "vecml/learning/CProjection.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <string>
#include <vector>

#include "support/RecordingArchive.h"
#include "support/TempFile.h"

namespace {

// A dataset whose items have the given inputs and an empty output.
template <typename T>
CDataset<T> inputs(const std::vector<std::vector<T>>& vectors) {
  CDataset<T> data;
  for (const auto& values : vectors)
    data.appendItem(
        CDatasetItem<T>(CDenseVector<T>(values), CDenseVector<T>(0)));
  return data;
}

// Projects onto the first `wanted` coordinates (fewer when the samples have
// fewer); keeps the base's class name.
template <typename T>
class CLeadingCoordinates : public CProjection<T> {
 public:
  explicit CLeadingCoordinates(int wanted) : wanted(wanted) {}

  bool train(const CDataset<T>& samples) override {
    if (samples.items() == 0) return false;
    inputDimension = samples.inputDimension();
    this->setDirections(std::min(wanted, inputDimension));
    return true;
  }

  CDenseVector<T> project(const CVector<T>& x) const override {
    CDenseVector<T> coordinates(this->directions());
    for (int i = 0; i < this->directions(); ++i) coordinates[i] = x[i];
    return coordinates;
  }

  CDenseVector<T> reconstruct(const CVector<T>& coordinates) const override {
    CDenseVector<T> point(inputDimension);
    for (int i = 0; i < this->directions(); ++i) point[i] = coordinates[i];
    return point;
  }

 private:
  int wanted;
  int inputDimension = 0;
};

// The same projection under its own class name.
template <typename T>
class CNamedProjection : public CLeadingCoordinates<T> {
 public:
  CNamedProjection() : CLeadingCoordinates<T>(1) {}
  std::string className() const override { return "CNamedProjection"; }
};

template <typename T>
class CProjectionTest : public testing::Test {};
using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CProjectionTest, ElementTypes);

TYPED_TEST(CProjectionTest, StartsWithoutDirections) {
  CLeadingCoordinates<TypeParam> projection(2);
  EXPECT_EQ(projection.directions(), 0);
  EXPECT_EQ(projection.verbose(), 3);
}

TYPED_TEST(CProjectionTest, ProjectsOntoTheLeadingCoordinates) {
  using T = TypeParam;
  CLeadingCoordinates<T> projection(2);
  const CDataset<T> samples = inputs<T>({{1, 2, 3}, {4, 5, 6}});
  ASSERT_TRUE(projection.train(samples));
  EXPECT_EQ(projection.directions(), 2);
  const CDenseVector<T> coordinates =
      projection.project(*samples[1].inputVector());
  EXPECT_EQ(coordinates.toSTL(), (std::vector<T>{T(4), T(5)}));
  EXPECT_EQ(projection.reconstruct(coordinates).toSTL(),
            (std::vector<T>{T(4), T(5), T(0)}));
}

TYPED_TEST(CProjectionTest, FailedTrainingKeepsTheDirections) {
  CLeadingCoordinates<TypeParam> projection(2);
  EXPECT_FALSE(projection.train(CDataset<TypeParam>()));
  EXPECT_EQ(projection.directions(), 0);
  ASSERT_TRUE(projection.train(inputs<TypeParam>({{7}})));
  EXPECT_EQ(projection.directions(), 1);
}

TYPED_TEST(CProjectionTest, ClassNameAndIsAComeFromTheObjectModel) {
  CLeadingCoordinates<TypeParam> unnamed(1);
  EXPECT_EQ(unnamed.className(), "CProjection");
  EXPECT_TRUE(unnamed.isA("CProjection"));
  EXPECT_FALSE(unnamed.isA("CObject"));
  CNamedProjection<TypeParam> named;
  EXPECT_TRUE(named.isA("CNamedProjection"));
  EXPECT_FALSE(named.isA("CProjection"));
  EXPECT_FALSE(named.isA("CObject"));
}

TYPED_TEST(CProjectionTest, SerializationHooksTouchNothing) {
  CLeadingCoordinates<TypeParam> projection(2);
  TempFile file;
  {
    std::fstream out(file.path(), std::ios::out | std::ios::binary);
    EXPECT_TRUE(projection.serialize(out, IO_WRITE));
  }
  EXPECT_EQ(file.contents(), "");
  RecordingArchive storing(false);
  RecordingArchive loading(true);
  EXPECT_TRUE(projection.serialize2(storing));
  EXPECT_TRUE(projection.serialize2(loading));
  EXPECT_TRUE(storing.calls.empty());
  EXPECT_TRUE(loading.calls.empty());
}

}  // namespace
