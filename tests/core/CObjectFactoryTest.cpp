// SPDX-License-Identifier: MIT
#include "vecml/core/CObjectFactory.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "support/CaptureOutput.h"
#include "support/LoadedLibrary.h"
#include "vecml/core/CObject.h"
#include "vecml/metric/CMetric.h"
#include "vecml/vector/CDenseVector.h"

namespace {

// Test-only plug-ins (tests/plugins): their create_float returns a
// CDenseVector<float> whose dimension counts the create_float calls since the
// plug-in was loaded; they have no create_double.
const char* const kCounter = "CFloatCounter";
const char* const kTwinCounter = "CFloatCounterTwin";
const char* const kCounterFile = "CFloatCounterFactory.so";
const char* const kTwinCounterFile = "CFloatCounterTwinFactory.so";

template <typename T>
std::unique_ptr<CObject<T>> adopt(void* produced) {
  return std::unique_ptr<CObject<T>>(static_cast<CObject<T>*>(produced));
}

// Produces a float object from a counting plug-in through the overload of
// produceObject that takes a `Name` (const char* or std::string).
// \return the plug-in's create_float calls since its load, or -1 when
//         nothing was produced.
template <typename Name>
int countedLoad(CObjectFactory& factory, const Name& counter) {
  auto made = adopt<float>(factory.produceObject(counter, DT_FLOAT));
  if (!made) return -1;
  return static_cast<CDenseVector<float>&>(*made).dimension();
}

TEST(CObjectFactoryTest, InstanceIsCreatedOnceAndKept) {
  CObjectFactory* factory = CObjectFactory::instance();
  ASSERT_NE(factory, nullptr);
  EXPECT_EQ(CObjectFactory::instance(), factory);
}

TEST(CObjectFactoryTest, NewFactoryHoldsNoPlugin) {
  { CObjectFactory unused; }  // destroying it closes nothing
  CObjectFactory factory;
  EXPECT_EQ(countedLoad(factory, kCounter), 1);
}

TEST(CObjectFactoryTest, TwoRequestsForTheSameClassLoadThePluginOnce) {
  CObjectFactory factory;
  EXPECT_EQ(countedLoad(factory, kCounter), 1);
  EXPECT_EQ(countedLoad(factory, kCounter), 2);
  EXPECT_EQ(countedLoad(factory, std::string(kCounter)), 3);
  EXPECT_TRUE(factory.canProduce(kCounter));
  EXPECT_TRUE(factory.canProduce(std::string(kCounter)));
  EXPECT_EQ(countedLoad(factory, kCounter), 4);
}

TEST(CObjectFactoryTest, AlternatingClassesClosesAndReopensEachTime) {
  CObjectFactory factory;
  EXPECT_EQ(countedLoad(factory, kCounter), 1);
  EXPECT_EQ(countedLoad(factory, kTwinCounter), 1);
  EXPECT_FALSE(isLoaded(kCounterFile));
  EXPECT_EQ(countedLoad(factory, kCounter), 1);
  EXPECT_FALSE(isLoaded(kTwinCounterFile));
  EXPECT_EQ(countedLoad(factory, std::string(kTwinCounter)), 1);
  EXPECT_FALSE(isLoaded(kCounterFile));
}

TEST(CObjectFactoryTest, CanProduceSwitchesToTheRequestedPlugin) {
  CObjectFactory factory;
  EXPECT_EQ(countedLoad(factory, kCounter), 1);
  EXPECT_TRUE(factory.canProduce(kTwinCounter));
  EXPECT_TRUE(isLoaded(kTwinCounterFile));
  EXPECT_FALSE(isLoaded(kCounterFile));
  EXPECT_EQ(countedLoad(factory, kTwinCounter), 1);
  EXPECT_TRUE(factory.canProduce(std::string(kCounter)));
  EXPECT_FALSE(isLoaded(kTwinCounterFile));
  EXPECT_EQ(countedLoad(factory, kCounter), 1);
}

TEST(CObjectFactoryTest, CanProduceMissingPluginIsFalseAndClosesThePrevious) {
  CObjectFactory factory;
  EXPECT_EQ(countedLoad(factory, kCounter), 1);
  const std::string output = captureStdout([&] {
    EXPECT_FALSE(factory.canProduce("CNoSuchClass"));
    EXPECT_FALSE(factory.canProduce(std::string("CNoSuchClass")));
  });
  EXPECT_EQ(output, "");
  EXPECT_FALSE(isLoaded(kCounterFile));
}

TEST(CObjectFactoryTest, MissingPluginPrintsTheDlopenMessage) {
  CObjectFactory factory;
  const char* const expected =
      "dlopen error: Cannot open shared object CNoSuchClassFactory.so\n";
  void* made = &factory;
  EXPECT_EQ(captureStdout([&] {
              made = factory.produceObject("CNoSuchClass", DT_FLOAT);
            }),
            expected);
  EXPECT_EQ(made, nullptr);
  made = &factory;
  EXPECT_EQ(captureStdout([&] {
              made =
                  factory.produceObject(std::string("CNoSuchClass"), DT_DOUBLE);
            }),
            expected);
  EXPECT_EQ(made, nullptr);
}

TEST(CObjectFactoryTest, FailedLoadKeepsTheEarlierNameWithoutAPlugin) {
  CObjectFactory factory;
  EXPECT_EQ(countedLoad(factory, kCounter), 1);
  captureStdout([&] {
    EXPECT_EQ(factory.produceObject("CNoSuchClass", DT_FLOAT), nullptr);
  });
  EXPECT_FALSE(isLoaded(kCounterFile));

  // The stored name still matches, so nothing is loaded for it.
  EXPECT_TRUE(factory.canProduce(kCounter));
  EXPECT_FALSE(isLoaded(kCounterFile));
  int produced = 0;
  EXPECT_EQ(
      captureStdout([&] { produced = countedLoad(factory, kCounter); }),
      "dlsym error: Cannot find create_float in CFloatCounterFactory.so\n");
  EXPECT_EQ(produced, -1);

  // Any other class recovers.
  EXPECT_EQ(countedLoad(factory, kTwinCounter), 1);
  EXPECT_EQ(countedLoad(factory, kCounter), 1);
}

TEST(CObjectFactoryTest, UnknownDataTypeIsReportedByTheStringOverloadOnly) {
  CObjectFactory factory;
  for (DATATYPE type : {DT_INT, static_cast<DATATYPE>(7)}) {
    EXPECT_EQ(countedLoad(factory, kTwinCounter), 1);
    void* made = &factory;
    EXPECT_EQ(captureStdout([&] {
                made = factory.produceObject(std::string(kCounter), type);
              }),
              "CObjectFactory: Unknown data type!\n");
    EXPECT_EQ(made, nullptr);
    EXPECT_TRUE(isLoaded(kCounterFile));
    EXPECT_EQ(countedLoad(factory, kCounter), 1);

    EXPECT_EQ(countedLoad(factory, kTwinCounter), 1);
    made = &factory;
    EXPECT_EQ(
        captureStdout([&] { made = factory.produceObject(kCounter, type); }),
        "");
    EXPECT_EQ(made, nullptr);
    EXPECT_TRUE(isLoaded(kCounterFile));
    EXPECT_EQ(countedLoad(factory, kCounter), 1);
  }
}

TEST(CObjectFactoryTest, MissingEntryPointGivesNullAndAMessage) {
  CObjectFactory factory;
  EXPECT_EQ(countedLoad(factory, kTwinCounter), 1);
  void* made = &factory;
  EXPECT_EQ(
      captureStdout([&] { made = factory.produceObject(kCounter, DT_DOUBLE); }),
      "dlsym error: Cannot find create_double in CFloatCounterFactory.so\n");
  EXPECT_EQ(made, nullptr);
  EXPECT_EQ(countedLoad(factory, kCounter), 1);  // the plug-in stays held
}

TEST(CObjectFactoryTest, DestructorClosesThePlugin) {
  {
    CObjectFactory factory;
    EXPECT_EQ(countedLoad(factory, kCounter), 1);
    EXPECT_TRUE(isLoaded(kCounterFile));
  }
  EXPECT_FALSE(isLoaded(kCounterFile));
}

TEST(CObjectFactoryTest, ObjectsOutliveTheClosedPluginThatMadeThem) {
  CObjectFactory* factory = CObjectFactory::instance();
  auto vector = adopt<float>(factory->produceObject("CDenseVector", DT_FLOAT));
  ASSERT_NE(vector, nullptr);
  auto metric =
      adopt<double>(factory->produceObject("CEuclideanMetric", DT_DOUBLE));
  ASSERT_NE(metric, nullptr);
  EXPECT_FALSE(isLoaded("CDenseVectorFactory.so"));

  auto& dense = dynamic_cast<CDenseVector<float>&>(*vector);
  EXPECT_EQ(dense.className(), "CDenseVector");
  dense.resize(3);
  dense.ones();
  std::unique_ptr<CVector<float>> copy(dense.clone());
  EXPECT_EQ(copy->euclideanLength(true), 3.0f);
  copy.reset();
  vector.reset();

  EXPECT_TRUE(factory->canProduce("CSparseVector"));
  EXPECT_FALSE(isLoaded("CEuclideanMetricFactory.so"));
  auto& euclidean = dynamic_cast<CMetric<double>&>(*metric);
  EXPECT_TRUE(euclidean.isA("CEuclideanMetric"));
  const double values[] = {3.0, 4.0};
  EXPECT_EQ(euclidean.distance(CDenseVector<double>(2, values),
                               CDenseVector<double>(2, 0.0)),
            5.0);
}

TEST(CObjectFactoryTest, CountingPluginObjectOutlivesItsPlugin) {
  CObjectFactory factory;
  auto made = adopt<float>(factory.produceObject(kCounter, DT_FLOAT));
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(countedLoad(factory, kTwinCounter), 1);
  EXPECT_FALSE(isLoaded(kCounterFile));
  auto& vector = static_cast<CDenseVector<float>&>(*made);
  ASSERT_EQ(vector.dimension(), 1);
  vector[0] = 2.0f;
  EXPECT_EQ(vector.euclideanLength(false), 2.0f);
}

// Every library class that has a plug-in, for both element types.
template <typename T>
class CObjectFactoryProduceTest : public testing::Test {};

using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CObjectFactoryProduceTest, ElementTypes);

TYPED_TEST(CObjectFactoryProduceTest, ProducesEveryLibraryClass) {
  const DATATYPE type = CObject<TypeParam>().dataType();
  for (const char* name :
       {"CDenseVector", "CSparseVector", "CMetric", "CEuclideanMetric",
        "CEuclideanMetric2", "CManhattenMetric", "CMaximumMetric",
        "CScalarMetric", "CCoCosineMetric", "CAngleMetric",
        "CHyperbolicMetric"}) {
    SCOPED_TRACE(name);
    EXPECT_TRUE(CObjectFactory::instance()->canProduce(name));
    auto made =
        adopt<TypeParam>(CObjectFactory::instance()->produceObject(name, type));
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->className(), name);
    EXPECT_EQ(made->dataType(), type);
    EXPECT_EQ(made->verbose(), 3);
  }
}

TYPED_TEST(CObjectFactoryProduceTest, ProducedVectorsAreEmpty) {
  const DATATYPE type = CObject<TypeParam>().dataType();
  for (const std::string name : {"CDenseVector", "CSparseVector"}) {
    SCOPED_TRACE(name);
    auto made =
        adopt<TypeParam>(CObjectFactory::instance()->produceObject(name, type));
    ASSERT_NE(made, nullptr);
    auto& vector = dynamic_cast<CVector<TypeParam>&>(*made);
    EXPECT_EQ(vector.dimension(), 0);
    EXPECT_EQ(vector.getNumNonZero(), 0);
  }
}

}  // namespace
