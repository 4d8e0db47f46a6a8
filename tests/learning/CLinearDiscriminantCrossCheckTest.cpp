// SPDX-License-Identifier: MIT
// Linear discriminants of the iris flowers against scikit-learn's
// LinearDiscriminantAnalysis (eigen and SVD solvers).
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <iostream>
#include <vector>

#include "learning/CrossCheckSupport.h"
#include "support/Python.h"
#include "vecml/learning/CLinearDiscriminant.h"

namespace {

using test_support::numberLines;
using test_support::shippedDataset;
using test_support::writeItemsAsCsv;

// Prints the eigen solver's explained_variance_ratio_ and the rows of its
// scalings_ (one per feature), then per item the SVD solver's transform,
// one line each, as float.hex.
constexpr const char* kLdaScript = R"(import sys
import numpy as np
from sklearn.discriminant_analysis import LinearDiscriminantAnalysis as Lda
data = np.loadtxt(sys.argv[1], delimiter=',')
x, y = data[:, :-1], data[:, -1]
eigen = Lda(solver='eigen').fit(x, y)
rows = [eigen.explained_variance_ratio_[:2], *eigen.scalings_[:, :2],
        *Lda(solver='svd').fit(x, y).transform(x)]
for row in rows:
    print(' '.join(float.hex(float(v)) for v in row))
)";

// Pearson correlation of two equally long sequences.
double correlation(const std::vector<double>& a, const std::vector<double>& b) {
  const double n = static_cast<double>(a.size());
  double meanA = 0, meanB = 0;
  for (std::size_t e = 0; e < a.size(); ++e) {
    meanA += a[e] / n;
    meanB += b[e] / n;
  }
  double ab = 0, aa = 0, bb = 0;
  for (std::size_t e = 0; e < a.size(); ++e) {
    ab += (a[e] - meanA) * (b[e] - meanB);
    aa += (a[e] - meanA) * (a[e] - meanA);
    bb += (b[e] - meanB) * (b[e] - meanB);
  }
  return ab / std::sqrt(aa * bb);
}

template <typename T>
class CLinearDiscriminantCrossCheckTest : public testing::Test {};
using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CLinearDiscriminantCrossCheckTest, ElementTypes);

TYPED_TEST(CLinearDiscriminantCrossCheckTest, IrisMatchesScikitLearn) {
  using T = TypeParam;
  VECML_REQUIRE_PYTHON_MODULE("sklearn.discriminant_analysis",
                              "python3-sklearn");
  const CDataset<T> iris = shippedDataset<T>("iris.gz");
  ASSERT_EQ(iris.items(), 150);
  TempFile csv;
  writeItemsAsCsv(iris, csv);
  const std::string output = runPython(kLdaScript, "'" + csv.path() + "'");
  const auto lines = numberLines(output);
  ASSERT_EQ(lines.size(), 1u + 4u + 150u) << output;

  CLinearDiscriminant<T> lda;
  ASSERT_TRUE(lda.train(iris));
  ASSERT_EQ(lda.directions(), 2);
  const double total = lda.eigenvalues()[0] + lda.eigenvalues()[1];
  double ratioDifference = 0, scalingDifference = 0, worstCorrelation = 1;
  for (int j = 0; j < 2; ++j) {
    ratioDifference = std::max(
        ratioDifference, std::fabs(lda.eigenvalues()[j] / total - lines[0][j]));
    // The eigen solver's directions have v^T (Sw / n) v = 1, these
    // v^T Sw v = 1: a factor sqrt(n), and any sign.
    const CMatrix<T>& v = lda.directionMatrix();
    const double sign = v.getElement(0, j) * lines[1][j] < 0 ? -1.0 : 1.0;
    for (int i = 0; i < 4; ++i) {
      const double reference = lines[1 + i][j];
      scalingDifference = std::max(
          scalingDifference,
          std::fabs(v.getElement(i, j) * std::sqrt(150.0) * sign - reference) /
              std::fabs(reference));
    }
    std::vector<double> ours, theirs;
    for (int n = 0; n < 150; ++n) {
      ours.push_back(lda.project(*iris[n].inputVector())[j]);
      theirs.push_back(lines[5 + n][j]);
    }
    worstCorrelation =
        std::min(worstCorrelation, std::fabs(correlation(ours, theirs)));
  }
  const double tolerance = std::is_same_v<T, float> ? 1e-5 : 1e-9;
  EXPECT_LT(ratioDifference, tolerance);
  EXPECT_LT(scalingDifference, tolerance);
  EXPECT_GT(worstCorrelation, 1 - 1e-6);
  std::cout << "iris LDA: max |ratio difference| " << ratioDifference
            << ", max relative direction difference " << scalingDifference
            << ", 1 - min |correlation| with the SVD solver "
            << 1 - worstCorrelation << '\n';
}

}  // namespace
