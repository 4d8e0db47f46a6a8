// SPDX-License-Identifier: MIT
// Dataset items read on several threads at once: every read creates its
// vectors through the process-wide object factory, which switches between
// the dense and the sparse vector plug-ins all the time. The ThreadSanitizer
// build runs these tests (label "threads").
#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "support/RecordingArchive.h"
#include "support/TempFile.h"
#include "vecml/core/CObjectFactory.h"
#include "vecml/dataset/CDatasetItem.h"
#include "vecml/vector/CDenseVector.h"
#include "vecml/vector/CSparseVector.h"

namespace {

constexpr int kThreads = 2;
constexpr int kItems = 40;
constexpr int kRounds = 5;

// A dense or sparse vector of `dimension` elements, all 0 but `value` at
// `index`.
template <typename T>
std::unique_ptr<CVector<T>> vectorOfKind(bool dense, int dimension, int index,
                                         T value) {
  auto elements = std::make_unique<CDenseVector<T>>(dimension);
  elements->setElement(index, value);
  if (dense) return elements;
  return std::make_unique<CSparseVector<T>>(*elements);
}

// Item k: input dense for even k and sparse for odd k, the output the other
// kind; the input holds k at element 1 of 3, the output k + 1 at element 0
// of 2.
template <typename T>
CDatasetItem<T> numberedItem(int k) {
  const bool denseInput = k % 2 == 0;
  return CDatasetItem<T>(*vectorOfKind<T>(denseInput, 3, 1, T(k)),
                         *vectorOfKind<T>(!denseInput, 2, 0, T(k + 1)), k);
}

const char* inputClass(int k) {
  return k % 2 == 0 ? "CDenseVector" : "CSparseVector";
}
const char* outputClass(int k) {
  return k % 2 == 0 ? "CSparseVector" : "CDenseVector";
}

// Sparse vectors store no contents of their own, so only the dense vector
// of an item read back carries its number.
template <typename T>
bool isNumberedItem(const CDatasetItem<T>& item, int k) {
  if (item.inputVectorPtr() == nullptr || item.outputVectorPtr() == nullptr ||
      item.id() != k || item.inputVector()->className() != inputClass(k) ||
      item.outputVector()->className() != outputClass(k))
    return false;
  if (k % 2 == 0)
    return item.inputDimension() == 3 && item.inputComponent(1) == T(k);
  return item.outputDimension() == 2 && item.outputComponent(0) == T(k + 1);
}

template <typename T>
void writeNumberedItems(const TempFile& file) {
  std::fstream out(file.path(), std::ios::out | std::ios::binary);
  for (int k = 0; k < kItems; ++k) numberedItem<T>(k).serialize(out, IO_WRITE);
}

// Reads the numbered items back kRounds times. \return the items read wrong.
template <typename T>
int misreadItems(const std::string& path) {
  int wrong = 0;
  for (int round = 0; round < kRounds; ++round) {
    std::fstream in(path, std::ios::in | std::ios::binary);
    for (int k = 0; k < kItems; ++k) {
      // Null vectors: reading replaces them without releasing anything.
      CDatasetItem<T> item(nullptr, nullptr);
      item.serialize(in, IO_READ);
      wrong += !isNumberedItem(item, k);
    }
  }
  return wrong;
}

// Runs work(t) on kThreads threads. \return the sum of what they returned.
int sumOnThreads(const std::function<int(int)>& work) {
  std::atomic<int> total{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t)
    threads.emplace_back([&work, &total, t] { total += work(t); });
  for (std::thread& thread : threads) thread.join();
  return total;
}

TEST(CDatasetItemThreadTest, ThreadsReadTheirOwnItemFilesAtOnce) {
  TempFile floatFile, doubleFile;
  writeNumberedItems<float>(floatFile);
  writeNumberedItems<double>(doubleFile);
  const int wrong = sumOnThreads([&](int t) {
    return t % 2 == 0 ? misreadItems<float>(floatFile.path())
                      : misreadItems<double>(doubleFile.path());
  });
  EXPECT_EQ(wrong, 0);
}

// Loads item k from an archive that names the vector classes of item k;
// the archive supplies no vector contents.
template <typename T>
bool loadsFromArchive(int k) {
  RecordingArchive archive(true);
  archive.numbers = {double(k)};
  archive.strings = {inputClass(k), outputClass(k)};
  CDatasetItem<T> item;
  item.serialize2(archive);
  return item.id() == k && item.inputVector()->className() == inputClass(k) &&
         item.outputVector()->className() == outputClass(k);
}

TEST(CDatasetItemThreadTest, ThreadsLoadItemsFromArchivesAtOnce) {
  const int wrong = sumOnThreads([](int t) {
    int misloaded = 0;
    for (int k = 0; k < kItems * kRounds; ++k)
      misloaded += t % 2 == 0 ? !loadsFromArchive<float>(k + t)
                              : !loadsFromArchive<double>(k + t);
    return misloaded;
  });
  EXPECT_EQ(wrong, 0);
}

// Asks the shared factory for `className` through both overloads.
// \return the requests that did not give an object of that class.
template <typename T>
int wrongProductions(const char* className) {
  const DATATYPE type = std::is_same_v<T, float> ? DT_FLOAT : DT_DOUBLE;
  CObjectFactory* factory = CObjectFactory::instance();
  int wrong = !factory->canProduce(className);
  for (void* made : {factory->produceObject(className, type),
                     factory->produceObject(std::string(className), type)}) {
    std::unique_ptr<CObject<T>> object(static_cast<CObject<T>*>(made));
    wrong += !object || object->className() != className;
  }
  return wrong;
}

TEST(CDatasetItemThreadTest, ThreadsCallTheFactoryAtOnce) {
  const int wrong = sumOnThreads([](int t) {
    int failed = 0;
    for (int k = 0; k < kItems * kRounds; ++k)
      failed += t % 2 == 0 ? wrongProductions<float>(inputClass(k))
                           : wrongProductions<double>(outputClass(k));
    return failed;
  });
  EXPECT_EQ(wrong, 0);
}

}  // namespace
