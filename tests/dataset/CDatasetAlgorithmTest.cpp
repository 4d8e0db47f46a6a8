// SPDX-License-Identifier: MIT
#include "vecml/dataset/CDatasetAlgorithm.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "dataset/DatasetAlgorithmTestSupport.h"
#include "vecml/metric/CMetric.h"

namespace {

using algorithm_test::datasetOf;
using algorithm_test::dense;
using algorithm_test::expectOutputsCopied;
using algorithm_test::inputOf;
using algorithm_test::sparse;
using testing::ElementsAre;
using testing::IsNan;

template <typename T>
class CDatasetAlgorithmTest : public testing::Test {};
using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CDatasetAlgorithmTest, ElementTypes);

template <typename T>
constexpr T kInfinity = std::numeric_limits<T>::infinity();

// Records the vectors it is asked about, in argument order, and answers 2.
template <typename T>
class RecordingMetric : public CMetric<T> {
 public:
  T distance(const CVector<T>& a, const CVector<T>& b) const override {
    firsts.push_back(a.toSTL());
    seconds.push_back(b.toSTL());
    return T(2);
  }
  mutable std::vector<std::vector<T>> firsts;
  mutable std::vector<std::vector<T>> seconds;
};

// --- minElements / maxElements ----------------------------------------------

TYPED_TEST(CDatasetAlgorithmTest, MinAndMaxElementsArePerComponent) {
  using T = TypeParam;
  const auto data = datasetOf<T>({{3, -1, 5}, {1, 4, 5}, {2, 0, 9}});
  EXPECT_THAT(minElements(data).toSTL(), ElementsAre(1, -1, 5));
  EXPECT_THAT(maxElements(data).toSTL(), ElementsAre(3, 4, 9));
}

TYPED_TEST(CDatasetAlgorithmTest, MinAndMaxElementsOfOneItemAreItsInput) {
  using T = TypeParam;
  const auto data = datasetOf<T>({{2, -7}});
  EXPECT_THAT(minElements(data).toSTL(), ElementsAre(2, -7));
  EXPECT_THAT(maxElements(data).toSTL(), ElementsAre(2, -7));
}

TYPED_TEST(CDatasetAlgorithmTest, MinAndMaxElementsCountUnstoredSparseAsZero) {
  using T = TypeParam;
  CDataset<T> data;
  data.appendItem(CDatasetItem<T>(sparse<T>(3, {{1, T(-2)}}), dense<T>({0})));
  data.appendItem(CDatasetItem<T>(dense<T>({1, 1, 1}), dense<T>({0})));
  EXPECT_THAT(minElements(data).toSTL(), ElementsAre(0, -2, 0));
  EXPECT_THAT(maxElements(data).toSTL(), ElementsAre(1, 1, 1));
}

TYPED_TEST(CDatasetAlgorithmTest, MinAndMaxElementsKeepTheFirstItemsDimension) {
  using T = TypeParam;
  const auto data = datasetOf<T>({{1, 2}, {0, 5, -9}, {3}});
  EXPECT_THAT(minElements(data).toSTL(), ElementsAre(0, 2));
  EXPECT_THAT(maxElements(data).toSTL(), ElementsAre(3, 5));
}

// --- applyScaleRange / scaleRange --------------------------------------------

TYPED_TEST(CDatasetAlgorithmTest, ApplyScaleRangeMultipliesThenAdds) {
  using T = TypeParam;
  const auto x = dense<T>({T(0.1), T(-2.3), T(7)});
  const auto a = dense<T>({T(0.7), T(0.3), T(-1.9)});
  const auto b = dense<T>({T(0.2), T(1.1), T(3)});
  const auto result = applyScaleRange(x, a, b);
  ASSERT_EQ(result.dimension(), 3);
  for (int j = 0; j < 3; ++j) {
    const T product = x[j] * a[j];
    EXPECT_EQ(result[j], product + b[j]) << j;
  }
  EXPECT_THAT(x.toSTL(), ElementsAre(T(0.1), T(-2.3), T(7)));
}

TYPED_TEST(CDatasetAlgorithmTest, ScaleRangeMapsTwoFourSixOntoTheUnitRange) {
  using T = TypeParam;
  const auto data = datasetOf<T>({{2}, {4}, {6}});
  CDenseVector<T> offset, factor;
  const auto scaled =
      scaleRange(data, dense<T>({0}), dense<T>({1}), offset, factor);
  ASSERT_EQ(scaled.items(), 3);
  EXPECT_THAT(inputOf(scaled, 0), ElementsAre(T(0)));
  EXPECT_THAT(inputOf(scaled, 1), ElementsAre(T(0.5)));
  EXPECT_THAT(inputOf(scaled, 2), ElementsAre(T(1)));
  EXPECT_THAT(factor.toSTL(), ElementsAre(T(0.25)));
  EXPECT_THAT(offset.toSTL(), ElementsAre(T(-0.5)));
}

TYPED_TEST(CDatasetAlgorithmTest, ScaleRangeFollowsTheStatedStepsExactly) {
  using T = TypeParam;
  const std::vector<std::vector<T>> inputs = {
      {T(0.3), T(-1.7)}, {T(2.9), T(0.1)}, {T(1.1), T(4.3)}};
  const auto lo = dense<T>({T(-1), T(0.2)});
  const auto hi = dense<T>({T(1), T(0.9)});
  const T min[] = {T(0.3), T(-1.7)};
  const T max[] = {T(2.9), T(4.3)};
  CDenseVector<T> offset, factor;
  const auto scaled = scaleRange(datasetOf<T>(inputs), lo, hi, offset, factor);
  for (int j = 0; j < 2; ++j) {
    const T expectedFactor = (hi[j] - lo[j]) / (max[j] - min[j]);
    const T expectedOffset =
        (max[j] * lo[j] - min[j] * hi[j]) / (max[j] - min[j]);
    EXPECT_EQ(factor[j], expectedFactor) << j;
    EXPECT_EQ(offset[j], expectedOffset) << j;
    for (int i = 0; i < 3; ++i) {
      const T product = inputs[i][j] * expectedFactor;
      EXPECT_EQ(inputOf(scaled, i)[j], product + expectedOffset) << i << j;
    }
  }
}

TYPED_TEST(CDatasetAlgorithmTest, ScaleRangeOfAConstantComponentIsNotGuarded) {
  using T = TypeParam;
  CDenseVector<T> offset, factor;
  const auto scaled =
      scaleRange(datasetOf<T>({{2, 1}, {2, 3}}), dense<T>({0, 0}),
                 dense<T>({1, 1}), offset, factor);
  // factor 1/0, offset (2*0 - 2*1)/0, input 2*inf - inf.
  EXPECT_EQ(factor[0], kInfinity<T>);
  EXPECT_EQ(offset[0], -kInfinity<T>);
  EXPECT_THAT(inputOf(scaled, 0)[0], IsNan());
  EXPECT_THAT(inputOf(scaled, 1)[0], IsNan());
  EXPECT_EQ(inputOf(scaled, 1)[1], T(1));
}

TYPED_TEST(CDatasetAlgorithmTest, ScaleRangeResizesOffsetAndFactor) {
  using T = TypeParam;
  CDenseVector<T> offset(5, T(9)), factor;
  scaleRange(datasetOf<T>({{0, 1}, {2, 5}}), dense<T>({0, 0}), dense<T>({1, 1}),
             offset, factor);
  EXPECT_THAT(factor.toSTL(), ElementsAre(T(0.5), T(0.25)));
  EXPECT_THAT(offset.toSTL(), ElementsAre(T(0), T(-0.25)));
}

TYPED_TEST(CDatasetAlgorithmTest, ScaleRangeResultHasCapacityAndGrowSize1000) {
  using T = TypeParam;
  CDenseVector<T> offset, factor;
  const auto small = scaleRange(datasetOf<T>({{1}, {2}}), dense<T>({0}),
                                dense<T>({1}), offset, factor);
  EXPECT_EQ(small.capacity(), 1000);
  EXPECT_EQ(small.growSize(), 1000);
  EXPECT_EQ(small.getInfo(), "none");

  const auto large = scaleRange(
      datasetOf<T>(std::vector<std::vector<T>>(1500, std::vector<T>{T(1)})),
      dense<T>({0}), dense<T>({1}), offset, factor);
  EXPECT_EQ(large.items(), 1500);
  EXPECT_GE(large.capacity(), 1500);
  EXPECT_EQ(large.growSize(), 1000);
}

TYPED_TEST(CDatasetAlgorithmTest, LearnedScaleRangeAppliesToOtherData) {
  using T = TypeParam;
  const auto training = datasetOf<T>({{T(1.5), T(-3)}, {T(4.25), T(7)}});
  CDenseVector<T> offset, factor;
  const auto scaled = scaleRange(training, dense<T>({-1, -1}), dense<T>({1, 1}),
                                 offset, factor);
  const auto again = applyScaleRange(training, factor, offset);
  ASSERT_EQ(again.items(), 2);
  for (int i = 0; i < 2; ++i) EXPECT_EQ(inputOf(again, i), inputOf(scaled, i));
  EXPECT_EQ(applyScaleRange(dense<T>({T(1.5), T(-3)}), factor, offset).toSTL(),
            inputOf(scaled, 0));
}

TYPED_TEST(CDatasetAlgorithmTest, ShortParameterVectorsReadAsZero) {
  using T = TypeParam;
  const auto scaled =
      applyScaleRange(datasetOf<T>({{2, 3, 4}}), dense<T>({5}), dense<T>({1}));
  EXPECT_THAT(inputOf(scaled, 0), ElementsAre(11, 0, 0));
}

// --- centerInput / zscore / applyZScore --------------------------------------

TYPED_TEST(CDatasetAlgorithmTest, CenterInputSubtractsTheMean) {
  using T = TypeParam;
  CDenseVector<T> mean(4, T(7));
  const auto centred = centerInput(datasetOf<T>({{1, 2}, {3, 6}}), mean);
  EXPECT_THAT(mean.toSTL(), ElementsAre(2, 4));
  EXPECT_THAT(inputOf(centred, 0), ElementsAre(-1, -2));
  EXPECT_THAT(inputOf(centred, 1), ElementsAre(1, 2));
}

TYPED_TEST(CDatasetAlgorithmTest, CenterInputAddsThenDividesByTheCount) {
  using T = TypeParam;
  const std::vector<T> values = {T(0.1), T(0.7), T(0.2)};
  CDenseVector<T> mean;
  const auto centred =
      centerInput(datasetOf<T>({{values[0]}, {values[1]}, {values[2]}}), mean);
  T sum = 0;
  for (const T v : values) sum = sum + v;
  const T expectedMean = sum / T(3);
  EXPECT_EQ(mean[0], expectedMean);
  for (int i = 0; i < 3; ++i)
    EXPECT_EQ(inputOf(centred, i)[0], values[i] - expectedMean) << i;
}

TYPED_TEST(CDatasetAlgorithmTest, CenterInputExpandsSparseInputs) {
  using T = TypeParam;
  CDataset<T> data;
  data.appendItem(CDatasetItem<T>(sparse<T>(3, {{2, T(6)}}), dense<T>({0})));
  data.appendItem(CDatasetItem<T>(dense<T>({2, 4, 0}), dense<T>({1})));
  CDenseVector<T> mean;
  const auto centred = centerInput(data, mean);
  EXPECT_THAT(mean.toSTL(), ElementsAre(1, 2, 3));
  EXPECT_EQ(centred[0].inputVector()->className(), "CDenseVector");
  EXPECT_THAT(inputOf(centred, 0), ElementsAre(-1, -2, 3));
  EXPECT_THAT(inputOf(centred, 1), ElementsAre(1, 2, -3));
}

TYPED_TEST(CDatasetAlgorithmTest, ZScoreOfOneAndThree) {
  using T = TypeParam;
  CDenseVector<T> mean, sd;
  const auto standard = zscore(datasetOf<T>({{1}, {3}}), mean, sd);
  EXPECT_THAT(mean.toSTL(), ElementsAre(2));
  // Population deviation: the divisor is 2, not 1 (which would give sqrt 2).
  EXPECT_THAT(sd.toSTL(), ElementsAre(1));
  EXPECT_THAT(inputOf(standard, 0), ElementsAre(-1));
  EXPECT_THAT(inputOf(standard, 1), ElementsAre(1));
}

TYPED_TEST(CDatasetAlgorithmTest, ZScoreFollowsTheStatedStepsExactly) {
  using T = TypeParam;
  const std::vector<std::vector<T>> inputs = {
      {T(0.1), T(-3.3)}, {T(0.7), T(1.9)}, {T(0.2), T(5.7)}, {T(1.3), T(-0.1)}};
  CDenseVector<T> mean(1), sd(7);
  const auto standard = zscore(datasetOf<T>(inputs), mean, sd);
  const T n = T(inputs.size());
  for (int j = 0; j < 2; ++j) {
    T expectedMean = 0;
    for (const auto& x : inputs) expectedMean = expectedMean + x[j];
    expectedMean = expectedMean / n;
    T squares = 0;
    for (const auto& x : inputs) {
      const T centred = x[j] - expectedMean;
      squares = squares + centred * centred;
    }
    const T expectedSd = std::sqrt(squares / n);
    EXPECT_EQ(mean[j], expectedMean) << j;
    EXPECT_EQ(sd[j], expectedSd) << j;
    for (int i = 0; i < 4; ++i) {
      const T centred = inputs[i][j] - expectedMean;
      EXPECT_EQ(inputOf(standard, i)[j], centred / expectedSd) << i << j;
    }
  }
  EXPECT_EQ(mean.dimension(), 2);
  EXPECT_EQ(sd.dimension(), 2);
}

TYPED_TEST(CDatasetAlgorithmTest, ZScoreOfAConstantComponentIsNotGuarded) {
  using T = TypeParam;
  CDenseVector<T> mean, sd;
  const auto standard = zscore(datasetOf<T>({{5, 1}, {5, 3}}), mean, sd);
  EXPECT_EQ(sd[0], T(0));
  EXPECT_THAT(inputOf(standard, 0)[0], IsNan());  // 0 / 0
  EXPECT_THAT(inputOf(standard, 1)[0], IsNan());
  EXPECT_EQ(inputOf(standard, 1)[1], T(1));
}

TYPED_TEST(CDatasetAlgorithmTest, ZScoreToleratesInputsShorterThanTheFirst) {
  using T = TypeParam;
  CDenseVector<T> mean, sd;
  const auto standard = zscore(datasetOf<T>({{1, 4}, {3}}), mean, sd);
  EXPECT_THAT(mean.toSTL(), ElementsAre(2, 2));
  EXPECT_THAT(sd.toSTL(), ElementsAre(1, std::sqrt(T(2))));
  EXPECT_THAT(inputOf(standard, 1), ElementsAre(1));
}

TYPED_TEST(CDatasetAlgorithmTest, ApplyZScoreSubtractsThenDivides) {
  using T = TypeParam;
  const auto x = dense<T>({T(0.3), T(-1.1)});
  const auto mean = dense<T>({T(0.7), T(0.2)});
  const auto sd = dense<T>({T(0.9), T(3)});
  const auto result = applyZScore(x, mean, sd);
  for (int j = 0; j < 2; ++j) {
    const T difference = x[j] - mean[j];
    EXPECT_EQ(result[j], difference / sd[j]) << j;
  }
}

TYPED_TEST(CDatasetAlgorithmTest, ApplyZScoreWithZeroDeviationIsNotGuarded) {
  using T = TypeParam;
  const auto result = applyZScore(dense<T>({3, -3, 1}), dense<T>({1, 1, 1}),
                                  dense<T>({0, 0, 0}));
  EXPECT_EQ(result[0], kInfinity<T>);
  EXPECT_EQ(result[1], -kInfinity<T>);
  EXPECT_THAT(result[2], IsNan());
}

TYPED_TEST(CDatasetAlgorithmTest, LearnedZScoreAppliesToOtherData) {
  using T = TypeParam;
  const auto training =
      datasetOf<T>({{T(0.5), T(2)}, {T(1.75), T(-4)}, {T(3), T(9.5)}});
  CDenseVector<T> mean, sd;
  const auto standard = zscore(training, mean, sd);
  const auto again = applyZScore(training, mean, sd);
  ASSERT_EQ(again.items(), 3);
  for (int i = 0; i < 3; ++i)
    EXPECT_EQ(inputOf(again, i), inputOf(standard, i)) << i;
}

// --- normalize / normalizeInputDataEuclidean ---------------------------------

TYPED_TEST(CDatasetAlgorithmTest, NormalizeWithTheEuclideanMetric) {
  using T = TypeParam;
  const auto result = normalize(datasetOf<T>({{3, 4}}), CEuclideanMetric<T>());
  EXPECT_THAT(inputOf(result, 0), ElementsAre(T(0.6), T(0.8)));
}

TYPED_TEST(CDatasetAlgorithmTest, NormalizeMeasuresFromTheOriginFirst) {
  using T = TypeParam;
  RecordingMetric<T> metric;
  const auto result = normalize(datasetOf<T>({{3, 4}, {-6, 1}}), metric);
  EXPECT_THAT(metric.firsts, ElementsAre(ElementsAre(0, 0), ElementsAre(0, 0)));
  EXPECT_THAT(metric.seconds,
              ElementsAre(ElementsAre(3, 4), ElementsAre(-6, 1)));
  EXPECT_THAT(inputOf(result, 0), ElementsAre(T(1.5), T(2)));
  EXPECT_THAT(inputOf(result, 1), ElementsAre(T(-3), T(0.5)));
}

TYPED_TEST(CDatasetAlgorithmTest, NormalizeOfAZeroInputIsNotGuarded) {
  using T = TypeParam;
  const auto result = normalize(datasetOf<T>({{0, 0}}), CEuclideanMetric<T>());
  EXPECT_THAT(inputOf(result, 0), ElementsAre(IsNan(), IsNan()));
}

TYPED_TEST(CDatasetAlgorithmTest, NormalizeHandsSparseInputsToTheMetric) {
  using T = TypeParam;
  CDataset<T> data;
  data.appendItem(CDatasetItem<T>(sparse<T>(2, {{1, T(5)}}), dense<T>({0})));
  const auto result = normalize(data, CEuclideanMetric<T>());
  EXPECT_EQ(result[0].inputVector()->className(), "CDenseVector");
  EXPECT_THAT(inputOf(result, 0), ElementsAre(0, 1));
}

TYPED_TEST(CDatasetAlgorithmTest, NormalizeInputDataEuclideanWorksInPlace) {
  using T = TypeParam;
  auto data = datasetOf<T>({{3, 4}, {T(0.3), T(0.7)}, {0, 0}});
  data.appendItem(CDatasetItem<T>(sparse<T>(3, {{0, T(-8)}}), dense<T>({0})));
  const CVector<T>* sparseInput = data[3].inputVector();
  normalizeInputDataEuclidean(data);
  EXPECT_THAT(inputOf(data, 0), ElementsAre(T(0.6), T(0.8)));
  const T length = std::sqrt(T(0.3) * T(0.3) + T(0.7) * T(0.7));
  EXPECT_THAT(inputOf(data, 1), ElementsAre(T(0.3) / length, T(0.7) / length));
  EXPECT_THAT(inputOf(data, 2), ElementsAre(IsNan(), IsNan()));
  EXPECT_EQ(data[3].inputVector(), sparseInput);
  EXPECT_THAT(inputOf(data, 3), ElementsAre(-1, 0, 0));
}

// --- applyWeights
// --------------------------------------------------------------

TYPED_TEST(CDatasetAlgorithmTest, ApplyWeightsMultipliesEveryInputInPlace) {
  using T = TypeParam;
  auto data = datasetOf<T>({{1, 2, 3}, {T(0.1), T(-4), 0}});
  data.appendItem(CDatasetItem<T>(sparse<T>(3, {{1, T(5)}}), dense<T>({0})));
  const CVector<T>* sparseInput = data[2].inputVector();
  const auto weights = dense<T>({T(0.3), 2, -1});
  applyWeights(data, weights);
  EXPECT_THAT(inputOf(data, 0), ElementsAre(T(0.3), 4, -3));
  EXPECT_THAT(inputOf(data, 1), ElementsAre(T(0.1) * T(0.3), -8, 0));
  EXPECT_EQ(data[2].inputVector(), sparseInput);
  EXPECT_THAT(inputOf(data, 2), ElementsAre(0, 10, 0));
}

TYPED_TEST(CDatasetAlgorithmTest, ApplyWeightsByZeroGivesZerosOrNaN) {
  using T = TypeParam;
  auto data = datasetOf<T>({{2, kInfinity<T>}});
  applyWeights(data, dense<T>({0, 0}));
  EXPECT_THAT(inputOf(data, 0), ElementsAre(0, IsNan()));
}

// --- removeProjection
// ----------------------------------------------------------

TYPED_TEST(CDatasetAlgorithmTest, RemoveProjectionAlongTheFirstAxis) {
  using T = TypeParam;
  const auto result =
      removeProjection(datasetOf<T>({{3, 4}}), dense<T>({1, 0}));
  EXPECT_THAT(inputOf(result, 0), ElementsAre(0, 4));
}

TYPED_TEST(CDatasetAlgorithmTest, RemoveProjectionDoesNotNormaliseV) {
  using T = TypeParam;
  // p = 3 * 2 = 6; x - p v = (3 - 12, 4).
  const auto result =
      removeProjection(datasetOf<T>({{3, 4}}), dense<T>({2, 0}));
  EXPECT_THAT(inputOf(result, 0), ElementsAre(-9, 4));
}

TYPED_TEST(CDatasetAlgorithmTest,
           RemoveProjectionFollowsTheStatedStepsExactly) {
  using T = TypeParam;
  const std::vector<std::vector<T>> inputs = {{T(0.3), T(1.7)},
                                              {T(-2.2), T(0.9)}};
  const auto v = dense<T>({T(0.6), T(0.8)});
  const auto result = removeProjection(datasetOf<T>(inputs), v);
  for (int i = 0; i < 2; ++i) {
    const T first = inputs[i][0] * v[0];
    const T p = first + inputs[i][1] * v[1];
    for (int j = 0; j < 2; ++j) {
      const T along = v[j] * p;
      EXPECT_EQ(inputOf(result, i)[j], inputs[i][j] - along) << i << j;
    }
  }
}

TYPED_TEST(CDatasetAlgorithmTest, RemoveProjectionOfSparseInputs) {
  using T = TypeParam;
  CDataset<T> data;
  data.appendItem(CDatasetItem<T>(sparse<T>(2, {{0, T(3)}}), dense<T>({0})));
  data.appendItem(CDatasetItem<T>(sparse<T>(2, {{1, T(4)}}), dense<T>({0})));
  const auto result = removeProjection(data, dense<T>({1, 0}));
  EXPECT_EQ(result[0].inputVector()->className(), "CDenseVector");
  EXPECT_THAT(inputOf(result, 0), ElementsAre(0, 0));
  EXPECT_THAT(inputOf(result, 1), ElementsAre(0, 4));
}

}  // namespace
