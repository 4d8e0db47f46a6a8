// SPDX-License-Identifier: MIT
// The topographic error of datasets long enough to be split over threads:
// every thread count gives the bits of one thread.
#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "learning/OnlineLearnerTestSupport.h"
#include "support/ThreadCounts.h"
#include "vecml/learning/CSelfOrganizingMap.h"

namespace {

template <typename T>
class CSelfOrganizingMapThreadTest : public testing::Test {};
using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CSelfOrganizingMapThreadTest, ElementTypes);

TYPED_TEST(CSelfOrganizingMapThreadTest, TopographicErrorMatchesOneThread) {
  using T = TypeParam;
  // 64 units x 8 elements per item: enough work for seven threads from
  // about 900 items; a NaN item and duplicates make the odd cases.
  CDataset<T> data = blobs<T>({{0, 0, 0, 0, 0, 0, 0, 0},
                               {3, 3, 3, 3, 0, 0, 0, 0},
                               {0, 0, 0, 0, 3, 3, 3, 3}},
                              400, 1.0);
  data.appendItem(data[5]);
  CSelfOrganizingMap<T> map(8, 8);
  map.train(data, 1);
  data[17].inputVector()->operator*=(std::numeric_limits<T>::quiet_NaN());
  for (int items : awkwardSizes()) {
    SCOPED_TRACE(items);
    CDataset<T> part = data.extract(0, items * 9 - 1, false);
    expectSameBytesOnEveryThreadCount([&] {
      const T error = map.topographicError(part);
      return bytesOf(&error, 1);
    });
  }
}

}  // namespace
