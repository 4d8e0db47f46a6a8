// SPDX-License-Identifier: MIT
// k-means against scikit-learn's Lloyd k-means on the shipped data sets:
// from the same initial centres (vecml's k-means++ choice, moved a little),
// both run to convergence and must assign every item alike, take as many
// iterations and agree on the inertia.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "learning/CKMeansTestSupport.h"
#include "support/Python.h"
#include "support/TempFile.h"

namespace {

// Reads the data from the arguments' hex tables, runs KMeans from the given
// centres with tol = 0 (stop only when the labels repeat) and prints the
// labels, the inertia and the iterations, one per line.
constexpr const char* kScript = R"(
import sys
import numpy as np
from sklearn.cluster import KMeans
def table(name, dtype):
    with open(name) as f:
        return np.array([[float.fromhex(v) for v in line.split(',')]
                         for line in f if line.strip()], dtype=dtype)
dtype = np.float32 if sys.argv[3] == 'float' else np.float64
x, centres = table(sys.argv[1], dtype), table(sys.argv[2], dtype)
km = KMeans(n_clusters=len(centres), init=centres, n_init=1,
            algorithm='lloyd', max_iter=1000, tol=0.0).fit(x)
print(' '.join(str(label) for label in km.labels_))
print(float(km.inertia_).hex())
print(km.n_iter_)
)";

// Writes rows as comma-separated hexadecimal floating-point text.
template <typename T>
void writeHexRows(const test_support::Rows<T>& rows, const TempFile& file) {
  std::ofstream out(file.path());
  char text[64];
  for (const std::vector<T>& row : rows) {
    for (std::size_t i = 0; i < row.size(); ++i) {
      std::snprintf(text, sizeof text, "%a", double(row[i]));
      out << (i == 0 ? "" : ",") << text;
    }
    out << '\n';
  }
}

template <typename T>
test_support::Rows<T> inputRows(const CDataset<T>& data) {
  test_support::Rows<T> rows;
  for (int j = 0; j < data.items(); ++j)
    rows.push_back(data[j].inputVector()->toSTL());
  return rows;
}

template <typename T>
class CKMeansCrossCheckTest : public testing::Test {
 protected:
  void SetUp() override {
    VECML_REQUIRE_PYTHON_MODULE("sklearn.cluster", "python3-sklearn");
  }

  // Seeds k centres on the data set `file`, trains vecml and scikit-learn
  // from them and compares the results.
  void crossCheck(const std::string& file, int clusters) {
    CDataset<T> data;
    std::string error;
    ASSERT_TRUE(
        data.read((std::string(VECML_DATA_DIR) + "/" + file).c_str(), error))
        << error;
    CKMeans<T> kmeans(clusters, new CEuclideanMetric<T>(), 2024);
    ASSERT_TRUE(kmeans.seedCentres(data));
    // The seeds are data points, and the data sets hold small integers, so
    // items lie exactly as far from two seeds; each side then breaks the tie
    // by its own rounding. Moving the seeds off the integers avoids that.
    test_support::Rows<T> seeds = centresOf(kmeans);
    const test_support::Rows<T> offsets =
        randomRows<T>(clusters, data.inputDimension(), 99);
    for (std::size_t c = 0; c < seeds.size(); ++c)
      for (std::size_t i = 0; i < seeds[c].size(); ++i)
        seeds[c][i] += T(0.1) * offsets[c][i];
    ASSERT_TRUE(kmeans.setCentres(datasetOf(seeds)));
    TempFile dataFile, centreFile;
    writeHexRows(inputRows(data), dataFile);
    writeHexRows(centresOf(kmeans), centreFile);
    ASSERT_TRUE(kmeans.trainBatch(data, 1000));

    const std::string type = sizeof(T) == 4 ? "float" : "double";
    std::istringstream reference(runPython(
        kScript,
        "'" + dataFile.path() + "' '" + centreFile.path() + "' " + type));
    std::string labelLine, inertiaText;
    int referenceIterations = 0;
    std::getline(reference, labelLine);
    std::getline(reference, inertiaText);
    reference >> referenceIterations;
    ASSERT_FALSE(inertiaText.empty()) << labelLine;

    std::istringstream labels(labelLine);
    const std::vector<int> nodes = kmeans.assignments(data);
    int differences = 0;
    for (const int node : nodes) {
      int label = -1;
      labels >> label;
      differences += node != label;
    }
    const double referenceInertia = std::strtod(inertiaText.c_str(), nullptr);
    const double relative =
        std::fabs(double(kmeans.inertia(data)) - referenceInertia) /
        referenceInertia;
    std::cout << "[ cross-check ] " << file << " " << type << " k=" << clusters
              << ": " << differences << " of " << nodes.size()
              << " assignments differ, inertia " << kmeans.inertia(data)
              << " vs " << referenceInertia << " (relative " << relative
              << "), iterations " << kmeans.iterations() << " vs "
              << referenceIterations << "\n";
    EXPECT_EQ(differences, 0);
    EXPECT_LE(relative, 1e-4);
    EXPECT_EQ(kmeans.iterations(), referenceIterations);
  }
};

using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CKMeansCrossCheckTest, ElementTypes);

TYPED_TEST(CKMeansCrossCheckTest, IrisThreeClusters) {
  this->crossCheck("iris.gz", 3);
}

TYPED_TEST(CKMeansCrossCheckTest, DigitsTenClusters) {
  this->crossCheck("digits.gz", 10);
}

}  // namespace
