// SPDX-License-Identifier: MIT
// Dataset items and datasets hold vectors whose element arrays came from
// client code (new[] or NEWARRAY handed in with _setData); copying,
// assigning and destroying them releases every array with delete[]. The
// sanitizer build and valgrind report any mismatched pair.
#include <gtest/gtest.h>

#include "vecml/core/Macros.h"
#include "vecml/dataset/CDataset.h"
#include "vecml/dataset/CDatasetItem.h"
#include "vecml/vector/CDenseVector.h"

namespace {

template <typename T>
class CDatasetItemElementArrayTest : public testing::Test {};
using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CDatasetItemElementArrayTest, ElementTypes);

// A dense vector of n elements whose array the client made with new[].
template <typename T>
CDenseVector<T>* vectorOnClientArray(int n, T first) {
  auto* v = new CDenseVector<T>(n);
  delete[] v->_data();
  T* values = new T[n]();
  values[0] = first;
  v->_setData(values);
  return v;
}

TYPED_TEST(CDatasetItemElementArrayTest, AdoptedVectorsAreReleased) {
  using T = TypeParam;
  CDatasetItem<T> item(vectorOnClientArray<T>(3, T(1)),
                       vectorOnClientArray<T>(1, T(2)));
  EXPECT_EQ(item.inputComponent(0), T(1));
  CDatasetItem<T> copy(item);
  item = copy;
}

TYPED_TEST(CDatasetItemElementArrayTest, ClonedVectorsAndDatasetsAreReleased) {
  using T = TypeParam;
  CDenseVector<T>* in = vectorOnClientArray<T>(2, T(5));
  CDenseVector<T> out(1);
  T* old = out._data();
  out._setData(NEWARRAY<T>(1));
  delete[] old;
  CDataset<T> data;
  data.appendItem(CDatasetItem<T>(*in, out, 0));
  data.appendItem(CDatasetItem<T>(*in, out, 1));
  delete in;
  CDataset<T> copy(data);
  EXPECT_EQ(copy.items(), 2);
  EXPECT_EQ(copy[1].inputComponent(0), T(5));
}

TYPED_TEST(CDatasetItemElementArrayTest, ClientTakesAnItemVectorsArray) {
  using T = TypeParam;
  CDatasetItem<T> item(vectorOnClientArray<T>(2, T(3)),
                       vectorOnClientArray<T>(1, T(4)));
  auto* input = static_cast<CDenseVector<T>*>(item.inputVector());
  T* taken = input->_data();
  input->_setData(new T[2]());
  EXPECT_EQ(taken[0], T(3));
  delete[] taken;
}

}  // namespace
