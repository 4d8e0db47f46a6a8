// SPDX-License-Identifier: MIT
#include "vecml/core/CObject.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>

#include "support/RecordingArchive.h"

namespace {

template <typename T>
class CObjectTest : public testing::Test {};

using ElementTypes = testing::Types<int, float, double>;
TYPED_TEST_SUITE(CObjectTest, ElementTypes);

// A derived class answers isA only for its own name.
template <typename T>
class CDerived : public CObject<T> {
 public:
  std::string className() const override { return "CDerived"; }
};

TEST(CObjectDataType, IsFixedPerInstantiation) {
  EXPECT_EQ(CObject<int>().dataType(), DT_INT);
  EXPECT_EQ(CObject<float>().dataType(), DT_FLOAT);
  EXPECT_EQ(CObject<double>().dataType(), DT_DOUBLE);
  EXPECT_EQ(static_cast<int>(DT_INT), 0);
  EXPECT_EQ(static_cast<int>(DT_FLOAT), 1);
  EXPECT_EQ(static_cast<int>(DT_DOUBLE), 2);
}

TEST(CObjectTypes, EnumerationsHaveTheirStoredWidths) {
  EXPECT_EQ(sizeof(DATATYPE), 4u);
  EXPECT_EQ(sizeof(IO_MODE), 4u);
  EXPECT_EQ(sizeof(VERBOSE_LEVEL), 1u);
  EXPECT_EQ(static_cast<int>(IO_READ), 0);
  EXPECT_EQ(static_cast<int>(IO_WRITE), 1);
}

TYPED_TEST(CObjectTest, NewObjectHasVerbosityThree) {
  CObject<TypeParam> object;
  EXPECT_EQ(object.verbose(), 3);
}

TYPED_TEST(CObjectTest, VerbosityIsStoredAndCopied) {
  CObject<TypeParam> object;
  object.setVerbose(VL_DEBUG);
  EXPECT_EQ(object.verbose(), VL_DEBUG);
  CObject<TypeParam> copy(object);
  EXPECT_EQ(copy.verbose(), VL_DEBUG);
}

TYPED_TEST(CObjectTest, ClassNameIsCObject) {
  EXPECT_EQ(CObject<TypeParam>().className(), "CObject");
}

TYPED_TEST(CObjectTest, IsAComparesExactNames) {
  CObject<TypeParam> base;
  EXPECT_TRUE(base.isA("CObject"));
  EXPECT_FALSE(base.isA("CObjec"));
  EXPECT_FALSE(base.isA("CObjectX"));
  EXPECT_FALSE(base.isA(""));

  CDerived<TypeParam> derived;
  EXPECT_TRUE(derived.isA("CDerived"));
  EXPECT_FALSE(derived.isA("CObject"));
  EXPECT_FALSE(derived.isA(""));
}

TYPED_TEST(CObjectTest, BaseSerializeTouchesNothing) {
  const std::string path = testing::TempDir() + "vecml_cobject_serialize.bin";
  {
    std::fstream stream(path, std::ios::out | std::ios::binary);
    CObject<TypeParam> object;
    EXPECT_TRUE(object.serialize(stream, IO_WRITE));
    EXPECT_EQ(stream.tellp(), std::streampos(0));
  }
  {
    std::fstream stream(path, std::ios::in | std::ios::binary);
    CObject<TypeParam> object;
    EXPECT_TRUE(object.serialize(stream, IO_READ));
    EXPECT_EQ(stream.tellg(), std::streampos(0));
    EXPECT_TRUE(stream.good());
  }
  std::remove(path.c_str());
}

TYPED_TEST(CObjectTest, BaseSerialize2TouchesNoArchive) {
  CObject<TypeParam> object;
  RecordingArchive writing(false);
  RecordingArchive loading(true);
  EXPECT_TRUE(object.serialize2(writing));
  EXPECT_TRUE(object.serialize2(loading));
  EXPECT_TRUE(writing.calls.empty());
  EXPECT_TRUE(loading.calls.empty());
}

}  // namespace
