// SPDX-License-Identifier: MIT
// Principal components of the handwritten digits against scikit-learn's
// PCA (full SVD solver).
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <iostream>
#include <vector>

#include "learning/CrossCheckSupport.h"
#include "support/Python.h"
#include "vecml/learning/CPrincipalComponents.h"

namespace {

using test_support::numberLines;
using test_support::shippedDataset;
using test_support::writeItemsAsCsv;

// Prints explained_variance_, explained_variance_ratio_ and the rows of
// components_, one line each, as float.hex.
constexpr const char* kPcaScript = R"(import sys
import numpy as np
from sklearn.decomposition import PCA
x = np.loadtxt(sys.argv[1], delimiter=',')[:, :-1]
pca = PCA(svd_solver='full').fit(x)
for row in [pca.explained_variance_, pca.explained_variance_ratio_,
            *pca.components_]:
    print(' '.join(float.hex(float(v)) for v in row))
)";

template <typename T>
class CPrincipalComponentsCrossCheckTest : public testing::Test {};
using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CPrincipalComponentsCrossCheckTest, ElementTypes);

TYPED_TEST(CPrincipalComponentsCrossCheckTest, DigitsMatchScikitLearn) {
  using T = TypeParam;
  VECML_REQUIRE_PYTHON_MODULE("sklearn.decomposition", "python3-sklearn");
  const CDataset<T> digits = shippedDataset<T>("digits.gz");
  ASSERT_EQ(digits.items(), 1797);
  TempFile csv;
  writeItemsAsCsv(digits, csv);
  const std::string output = runPython(kPcaScript, "'" + csv.path() + "'");
  const auto lines = numberLines(output);
  ASSERT_EQ(lines.size(), 2u + 64u) << output;

  CPrincipalComponents<T> pca;
  ASSERT_TRUE(pca.train(digits));
  ASSERT_EQ(pca.directions(), 64);
  const std::vector<double>& variance = lines[0];
  double varianceDifference = 0, ratioDifference = 0, componentDifference = 0;
  int compared = 0;
  for (int j = 0; j < 64; ++j) {
    varianceDifference =
        std::max(varianceDifference,
                 std::fabs(pca.explainedVariance()[j] - variance[j]));
    ratioDifference =
        std::max(ratioDifference,
                 std::fabs(pca.explainedVarianceRatio()[j] - lines[1][j]));
    // A component is defined (up to sign) only when its variance stands
    // apart from its neighbours'; the digits have three constant pixels,
    // whose zero variances share a subspace.
    const double gap = std::min(j > 0 ? variance[j - 1] - variance[j] : 1e300,
                                j < 63 ? variance[j] - variance[j + 1] : 1e300);
    if (gap < 1e-6 * variance[0]) continue;
    ++compared;
    const std::vector<double>& reference = lines[2 + j];
    const CMatrix<T>& components = pca.components();
    double agreement = 0;
    for (int i = 0; i < 64; ++i)
      agreement += components.getElement(i, j) * reference[i];
    const double sign = agreement < 0 ? -1.0 : 1.0;
    for (int i = 0; i < 64; ++i)
      componentDifference = std::max(
          componentDifference,
          std::fabs(components.getElement(i, j) - sign * reference[i]));
  }
  EXPECT_LT(varianceDifference, 1e-4);
  EXPECT_LT(ratioDifference, 1e-4);
  EXPECT_LT(componentDifference, 1e-4);
  EXPECT_GE(compared, 60);
  std::cout << "digits PCA: max |variance difference| " << varianceDifference
            << ", max |ratio difference| " << ratioDifference
            << ", max |component difference| " << componentDifference
            << " over " << compared << " components\n";
}

}  // namespace
