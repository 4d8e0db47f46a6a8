// SPDX-License-Identifier: MIT
// Leave-one-out k-nearest-neighbour accuracy on the standardised wine data
// against scikit-learn's KNeighborsClassifier with LeaveOneOut.
#include <gtest/gtest.h>

#include <iostream>
#include <sstream>
#include <string>
#include <utility>

#include "support/Python.h"
#include "support/TempFile.h"
#include "vecml/dataset/CCsvFile.h"
#include "vecml/dataset/CDatasetAlgorithm.h"
#include "vecml/learning/CNearestNeighbours.h"

namespace {

// Writes the wine table (13 measurements, then the class) to the CSV file
// argv[1] with values as repr() gives them, so nothing is lost; then prints
// the number of items and, for each k in argv[2:], the number of items that
// the leave-one-out k-neighbour classifier on standardised inputs predicts.
constexpr const char* kScript = R"(
import sys
from sklearn.datasets import load_wine
from sklearn.model_selection import LeaveOneOut, cross_val_score
from sklearn.neighbors import KNeighborsClassifier
from sklearn.pipeline import make_pipeline
from sklearn.preprocessing import StandardScaler

wine = load_wine()
with open(sys.argv[1], 'w') as table:
    for row, label in zip(wine.data, wine.target):
        table.write(','.join(repr(float(v)) for v in row) + ',%d\n' % label)
# Standardised once over all items, as the C++ side does.
inputs = StandardScaler().fit_transform(wine.data)
counts = []
for k in sys.argv[2:]:
    classifier = KNeighborsClassifier(n_neighbors=int(k))
    scores = cross_val_score(classifier, inputs, wine.target, cv=LeaveOneOut())
    counts.append(str(int(round(scores.sum()))))
print(len(wine.target), ' '.join(counts))
)";

template <typename T>
class CNearestNeighboursCrossCheckTest : public testing::Test {
 protected:
  void SetUp() override {
    VECML_REQUIRE_PYTHON_MODULE("sklearn.neighbors", "python3-sklearn");
  }
};
using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CNearestNeighboursCrossCheckTest, ElementTypes);

TYPED_TEST(CNearestNeighboursCrossCheckTest, WineLeaveOneOutAccuracy) {
  using T = TypeParam;
  TempFile table;
  const std::string output = runPython(kScript, "'" + table.path() + "' 1 5");
  std::istringstream counts(output);
  int items = 0, correctWithOne = 0, correctWithFive = 0;
  counts >> items >> correctWithOne >> correctWithFive;
  ASSERT_TRUE(counts) << output;

  CCsvFile csv;
  csv.setLabelColumn(13);
  CDataset<T> wine;
  std::string error;
  ASSERT_TRUE(csv.read(table.path().c_str(), wine, error)) << error;
  ASSERT_EQ(wine.items(), items);
  CDenseVector<T> mean, sd;
  const CDataset<T> standard = zscore(wine, mean, sd);

  CEuclideanMetric<T> metric;
  for (const auto& [k, correct] :
       {std::pair{1, correctWithOne}, std::pair{5, correctWithFive}}) {
    CNearestNeighbours<T> knn(metric, k);
    ASSERT_TRUE(knn.train(standard));
    double accuracy = -1;
    ASSERT_TRUE(knn.leaveOneOutAccuracy(accuracy));
    EXPECT_EQ(accuracy, static_cast<double>(correct) / items) << "k = " << k;
    std::cout << "[ cross-check ] wine, k = " << k << ": " << accuracy * items
              << " of " << items << " (scikit-learn " << correct << ")\n";
  }
}

}  // namespace
