// SPDX-License-Identifier: MIT
// Class names that are not plain identifiers never reach dlopen. The test
// program defines its own dlopen that records every file name asked for and
// forwards to the C library's, so a test can show which names got through.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "support/CaptureOutput.h"
#include "support/LoadedLibrary.h"
#include "support/TempFile.h"
#include "vecml/core/CObject.h"
#include "vecml/core/CObjectFactory.h"
#include "vecml/dataset/CDatasetItem.h"
#include "vecml/vector/CDenseVector.h"

namespace {

// Every file name passed to dlopen in this process, in call order.
std::vector<std::string>& dlopenFileNames() {
  static std::vector<std::string> names;
  return names;
}

// Kept out of line so that dlopen() below holds no cleanup code, which
// would stop the compiler from forwarding with a tail call.
__attribute__((noinline)) void recordDlopen(const char* file) {
  if (file != nullptr) dlopenFileNames().emplace_back(file);
}

using DlopenFunction = void* (*)(const char*, int);

DlopenFunction libraryDlopen() {
  static const auto real =
      reinterpret_cast<DlopenFunction>(dlsym(RTLD_NEXT, "dlopen"));
  return real;
}

}  // namespace

// The loader searches the paths of the object that called dlopen (for the
// factory, libvecml.so with the plug-in folder on its RUNPATH) and finds that
// object from the return address. Forwarding with a tail call keeps the
// caller's return address, so plug-ins are found as without this wrapper.
// <dlfcn.h> declares dlopen noexcept, which rules out a guaranteed tail
// call, so the wrapper has a name of its own and takes dlopen's symbol.
// clang guarantees the tail call on request; g++ makes it in optimised code
// only, so the wrapper is optimised also in debug builds. (The sanitizer
// runtime's own dlopen is a weak symbol, which this definition replaces.)
#if defined(__clang__)
#define VECML_TEST_TAIL_CALL [[clang::musttail]]
#define VECML_TEST_ALLOW_TAIL_CALL
#else
#define VECML_TEST_TAIL_CALL
#define VECML_TEST_ALLOW_TAIL_CALL __attribute__((optimize("O2")))
#endif

extern "C" void* recordingDlopen(const char* file, int mode) __asm__("dlopen");

extern "C" VECML_TEST_ALLOW_TAIL_CALL void* recordingDlopen(const char* file,
                                                            int mode) {
  recordDlopen(file);
  VECML_TEST_TAIL_CALL return libraryDlopen()(file, mode);
}

namespace {

const char* const kCounter = "CFloatCounter";
const char* const kCounterFile = "CFloatCounterFactory.so";

// The file names that reached dlopen while `callable` ran.
template <typename Callable>
std::vector<std::string> dlopenCallsDuring(Callable&& callable) {
  const std::size_t before = dlopenFileNames().size();
  callable();
  return std::vector<std::string>(dlopenFileNames().begin() + before,
                                  dlopenFileNames().end());
}

std::string missingPluginMessage(const std::string& className) {
  return "dlopen error: Cannot open shared object " + className +
         "Factory.so\n";
}

// A name of `length` letters.
std::string nameOfLength(std::size_t length) {
  return std::string(length, 'A');
}

const std::vector<std::string>& refusedNames() {
  static const std::vector<std::string> names = {
      "CDense/Vector",
      "..",
      "../../tmp/x",
      "/tmp/x",
      "/usr/lib/x86_64-linux-gnu/libz",
      "",
      std::string("CDenseVector\0/../../tmp/x", 25),
      "CDense Vector",
      " CDenseVector",
      "CDenseVector\n",
      "C-DenseVector",
      "CDenseVector.so",
      "9CDenseVector",
      "C\xc3\xa9",
      nameOfLength(246),
  };
  return names;
}

class CObjectFactoryNameTest : public testing::Test {
 protected:
  void SetUp() override {
    // Without a working wrapper the tests below would pass vacuously.
    CObjectFactory factory;
    const auto calls =
        dlopenCallsDuring([&] { factory.canProduce("CNoSuchClass"); });
    ASSERT_EQ(calls, std::vector<std::string>{"CNoSuchClassFactory.so"})
        << "the test program's dlopen does not see the factory's calls";
  }
};

TEST_F(CObjectFactoryNameTest, WrapperStillFindsPluginsOnTheLibrarysPath) {
  CObjectFactory factory;
  std::unique_ptr<CObject<float>> made;
  const auto calls = dlopenCallsDuring([&] {
    made.reset(static_cast<CObject<float>*>(
        factory.produceObject("CDenseVector", DT_FLOAT)));
  });
  EXPECT_EQ(calls, std::vector<std::string>{"CDenseVectorFactory.so"});
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(made->className(), "CDenseVector");
}

TEST_F(CObjectFactoryNameTest, RefusedNamesFailLikeAMissingPlugin) {
  for (const std::string& name : refusedNames()) {
    SCOPED_TRACE(testing::PrintToString(name));
    CObjectFactory factory;
    std::string output;
    const auto calls = dlopenCallsDuring([&] {
      output = captureStdout([&] {
        EXPECT_EQ(factory.produceObject(name, DT_FLOAT), nullptr);
        EXPECT_EQ(factory.produceObject(name, DT_DOUBLE), nullptr);
        EXPECT_FALSE(factory.canProduce(name));
      });
    });
    EXPECT_EQ(calls, std::vector<std::string>{});
    EXPECT_EQ(output, missingPluginMessage(name) + missingPluginMessage(name));
  }
}

TEST_F(CObjectFactoryNameTest, RefusedCStringNamesFailLikeAMissingPlugin) {
  for (const std::string& name : refusedNames()) {
    // A C string ends at the first NUL, which leaves a plain name here.
    if (name.find('\0') != std::string::npos) continue;
    SCOPED_TRACE(testing::PrintToString(name));
    CObjectFactory factory;
    std::string output;
    const auto calls = dlopenCallsDuring([&] {
      output = captureStdout([&] {
        EXPECT_EQ(factory.produceObject(name.c_str(), DT_FLOAT), nullptr);
        EXPECT_FALSE(factory.canProduce(name.c_str()));
      });
    });
    EXPECT_EQ(calls, std::vector<std::string>{});
    EXPECT_EQ(output, missingPluginMessage(name));
  }
}

TEST_F(CObjectFactoryNameTest, RefusedNameClosesThePluginAndKeepsItsName) {
  CObjectFactory factory;
  ASSERT_TRUE(factory.canProduce(kCounter));
  ASSERT_TRUE(isLoaded(kCounterFile));
  captureStdout([&] {
    EXPECT_EQ(factory.produceObject("../../tmp/x", DT_FLOAT), nullptr);
  });
  EXPECT_FALSE(isLoaded(kCounterFile));

  // The stored name still matches, so nothing is loaded for it.
  std::string output;
  const auto calls = dlopenCallsDuring([&] {
    EXPECT_TRUE(factory.canProduce(kCounter));
    output = captureStdout(
        [&] { EXPECT_EQ(factory.produceObject(kCounter, DT_FLOAT), nullptr); });
  });
  EXPECT_EQ(calls, std::vector<std::string>{});
  EXPECT_EQ(
      output,
      "dlsym error: Cannot find create_float in CFloatCounterFactory.so\n");

  EXPECT_FALSE(factory.canProduce(std::string("/tmp/x")));
  EXPECT_FALSE(isLoaded(kCounterFile));
}

TEST_F(CObjectFactoryNameTest, PlainNamesUpToTheLengthLimitReachDlopen) {
  for (const std::string& name :
       {std::string("_"), std::string("x9"), std::string("_C_9z"),
        nameOfLength(1), nameOfLength(245)}) {
    SCOPED_TRACE(name);
    CObjectFactory factory;
    const auto calls = dlopenCallsDuring([&] {
      EXPECT_EQ(captureStdout([&] {
                  EXPECT_EQ(factory.produceObject(name, DT_FLOAT), nullptr);
                }),
                missingPluginMessage(name));
    });
    EXPECT_EQ(calls, std::vector<std::string>{name + "Factory.so"});
  }
}

// A dataset item record whose input vector names a path instead of a class.
template <typename T>
class CDatasetItemClassNameTest : public CObjectFactoryNameTest {};

using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CDatasetItemClassNameTest, ElementTypes);

TYPED_TEST(CDatasetItemClassNameTest, PathAsClassNameLeavesANullVector) {
  const TempFile record;
  std::fstream file(record.path(), std::ios::in | std::ios::out |
                                       std::ios::binary | std::ios::trunc);
  ASSERT_TRUE(file.is_open());
  const std::int32_t id = 4;
  file.write(reinterpret_cast<const char*>(&id), sizeof id);
  file << "../../tmp/x\n"
       << "CDenseVector\n";
  const TypeParam values[] = {1.5, -2.0};
  CDenseVector<TypeParam>(2, values).serialize(file, IO_WRITE);
  file.seekg(0);

  // Reading uses the process-wide factory. After a failed load it would keep
  // the name of the plug-in held before, so another class is held first.
  ASSERT_TRUE(CObjectFactory::instance()->canProduce("CSparseVector"));
  CDatasetItem<TypeParam> item;
  // Reading hands the vectors held before over to the caller.
  std::unique_ptr<CVector<TypeParam>> oldInput(item.getInputVector());
  std::unique_ptr<CVector<TypeParam>> oldOutput(item.getOutputVector());
  std::string output;
  const auto calls = dlopenCallsDuring([&] {
    output = captureStdout([&] { EXPECT_TRUE(item.serialize(file, IO_READ)); });
  });

  EXPECT_EQ(calls, std::vector<std::string>{"CDenseVectorFactory.so"});
  EXPECT_EQ(output, missingPluginMessage("../../tmp/x"));
  EXPECT_EQ(item.id(), 4);
  EXPECT_EQ(item.getInputVector(), nullptr);
  ASSERT_NE(item.getOutputVector(), nullptr);
  ASSERT_EQ(item.outputDimension(), 2);
  EXPECT_EQ(item.getOutputComponent(0), TypeParam(1.5));
  EXPECT_EQ(item.getOutputComponent(1), TypeParam(-2.0));
}

}  // namespace
