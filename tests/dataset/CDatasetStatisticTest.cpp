// SPDX-License-Identifier: MIT
// Attachment, means, extremes, the per-feature statistic and its table.
#include "vecml/dataset/CDatasetStatistic.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "dataset/CDatasetStatisticTestSupport.h"
#include "vecml/vector/CSparseVector.h"

namespace {

using statistic_test::captureConsole;
using statistic_test::cyclicLabels;
using statistic_test::denseDataset;
using statistic_test::randomRows;
using statistic_test::Rows;
using statistic_test::scalarDataset;

template <typename T>
class CDatasetStatisticTest : public testing::Test {};
using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CDatasetStatisticTest, ElementTypes);

template <typename T>
std::vector<T> elements(const CDenseVector<T>& v) {
  return v.toSTL();
}

// The running average over `rows` by its stated steps: the count in T,
// 1 - 1/k in double narrowed to T, 1/k in T.
template <typename T>
std::vector<T> statedRunningMean(const Rows<T>& rows, std::size_t d) {
  std::vector<T> mean(d, T(0));
  T k = 0;
  for (const auto& x : rows) {
    k += T(1);
    const T keep = static_cast<T>(1.0 - 1.0 / static_cast<double>(k));
    const T step = T(1) / k;
    for (std::size_t i = 0; i < d; ++i) mean[i] = mean[i] * keep + x[i] * step;
  }
  return mean;
}

TYPED_TEST(CDatasetStatisticTest, AttachesWithoutOwning) {
  CDatasetStatistic<TypeParam> unattached;
  EXPECT_EQ(unattached.getData(), nullptr);
  EXPECT_EQ(unattached.className(), "CDatasetStatistic");
  EXPECT_TRUE(unattached.isA("CDatasetStatistic"));

  CDataset<TypeParam> first = scalarDataset<TypeParam>({1, 2});
  CDataset<TypeParam> second = scalarDataset<TypeParam>({3});
  CDatasetStatistic<TypeParam> statistic(&first);
  EXPECT_EQ(statistic.getData(), &first);
  statistic.setData(&second);
  EXPECT_EQ(statistic.getData(), &second);
  { CDatasetStatistic<TypeParam> scoped(&first); }
  EXPECT_EQ(first.items(), 2);  // still alive and intact
}

TYPED_TEST(CDatasetStatisticTest, InputDimensionComesFromTheFirstItem) {
  CDataset<TypeParam> data =
      denseDataset<TypeParam>({{1, 2, 3}, {4, 5, 6}}, {{0}, {0}});
  EXPECT_EQ(CDatasetStatistic<TypeParam>(&data).inputDimension(), 3);
  CDataset<TypeParam> empty;
  EXPECT_EQ(CDatasetStatistic<TypeParam>(&empty).inputDimension(), 0);
  EXPECT_EQ(CDatasetStatistic<TypeParam>().inputDimension(), 0);
}

TYPED_TEST(CDatasetStatisticTest, MeanOfTwoItemsIsTheirMidpoint) {
  const CDataset<TypeParam> data = scalarDataset<TypeParam>({0, 2});
  const CDenseVector<TypeParam> mean =
      CDatasetStatistic<TypeParam>().mean(data);
  EXPECT_EQ(elements(mean), std::vector<TypeParam>({1}));
}

TYPED_TEST(CDatasetStatisticTest, MeanFollowsTheRunningAverageExactly) {
  const Rows<TypeParam> rows = randomRows<TypeParam>(300, 4, 11u, -2.0, 3.0);
  const CDataset<TypeParam> data =
      denseDataset(rows, Rows<TypeParam>(rows.size(), {TypeParam(0)}));
  const CDenseVector<TypeParam> mean =
      CDatasetStatistic<TypeParam>().mean(data);
  EXPECT_EQ(elements(mean), statedRunningMean(rows, 4));
  for (int i = 0; i < 4; ++i) {
    double sum = 0;
    for (const auto& row : rows) sum += row[i];
    EXPECT_NEAR(mean[i], sum / 300.0,
                statistic_test::tolerance<TypeParam>() * 3.0);
  }
}

TYPED_TEST(CDatasetStatisticTest, LabelledMeanCountsOnlyThatLabel) {
  const Rows<TypeParam> rows = randomRows<TypeParam>(90, 3, 12u, -1.0, 1.0);
  const CDataset<TypeParam> data =
      denseDataset(rows, cyclicLabels<TypeParam>(90, 3));
  Rows<TypeParam> labelTwo;
  for (std::size_t n = 2; n < rows.size(); n += 3) labelTwo.push_back(rows[n]);
  const CDenseVector<TypeParam> mean =
      CDatasetStatistic<TypeParam>().mean(data, TypeParam(2));
  EXPECT_EQ(elements(mean), statedRunningMean(labelTwo, 3));
}

TYPED_TEST(CDatasetStatisticTest, MeanForAnAbsentLabelIsTheZeroVector) {
  const CDataset<TypeParam> data =
      denseDataset<TypeParam>({{1, 2}, {3, 4}}, {{0}, {1}});
  const CDenseVector<TypeParam> mean =
      CDatasetStatistic<TypeParam>().mean(data, TypeParam(7));
  EXPECT_EQ(elements(mean), std::vector<TypeParam>({0, 0}));
}

TYPED_TEST(CDatasetStatisticTest, MeanUsesItsArgumentNotTheStoredDataset) {
  CDataset<TypeParam> stored = scalarDataset<TypeParam>({10, 20});
  const CDataset<TypeParam> argument = scalarDataset<TypeParam>({1, 3});
  const CDatasetStatistic<TypeParam> statistic(&stored);
  EXPECT_EQ(elements(statistic.mean(argument)), std::vector<TypeParam>({2}));
}

TYPED_TEST(CDatasetStatisticTest, MeanOfAnEmptyDatasetIsEmpty) {
  const CDataset<TypeParam> empty;
  EXPECT_EQ(CDatasetStatistic<TypeParam>().mean(empty).dimension(), 0);
  EXPECT_EQ(CDatasetStatistic<TypeParam>().mean(empty, 0).dimension(), 0);
}

TYPED_TEST(CDatasetStatisticTest, MeanReadsSparseInputs) {
  CSparseVector<TypeParam> sparse(3, 1);
  sparse.setElement(0, {1, TypeParam(4)});
  CDataset<TypeParam> data;
  data.appendItem(CDatasetItem<TypeParam>(sparse, CDenseVector<TypeParam>(1)));
  data.appendItem(CDatasetItem<TypeParam>(
      CDenseVector<TypeParam>(std::vector<TypeParam>{2, 2, 2}),
      CDenseVector<TypeParam>(1)));
  EXPECT_EQ(elements(CDatasetStatistic<TypeParam>().mean(data)),
            std::vector<TypeParam>({1, 3, 1}));
}

TYPED_TEST(CDatasetStatisticTest, ExtremesAreElementWise) {
  CDataset<TypeParam> data = denseDataset<TypeParam>(
      {{1, -5, 2}, {3, -7, 2}, {-2, 0, 2}}, {{0}, {0}, {0}});
  const CDatasetStatistic<TypeParam> statistic(&data);
  EXPECT_EQ(elements(statistic.maxElements()),
            std::vector<TypeParam>({3, 0, 2}));
  EXPECT_EQ(elements(statistic.minElements()),
            std::vector<TypeParam>({-2, -7, 2}));
}

TYPED_TEST(CDatasetStatisticTest, ExtremesOfOneItemAreItsInput) {
  CDataset<TypeParam> data = denseDataset<TypeParam>({{4, -1}}, {{0}});
  const CDatasetStatistic<TypeParam> statistic(&data);
  EXPECT_EQ(elements(statistic.maxElements()), std::vector<TypeParam>({4, -1}));
  EXPECT_EQ(elements(statistic.minElements()), std::vector<TypeParam>({4, -1}));
}

TYPED_TEST(CDatasetStatisticTest, ExtremesOfAnEmptyDatasetAreEmpty) {
  CDataset<TypeParam> empty;
  const CDatasetStatistic<TypeParam> statistic(&empty);
  EXPECT_EQ(statistic.maxElements().dimension(), 0);
  EXPECT_EQ(statistic.minElements().dimension(), 0);
}

TYPED_TEST(CDatasetStatisticTest, StatisticOfZeroAndTwo) {
  CDataset<TypeParam> data = scalarDataset<TypeParam>({0, 2});
  CDenseVector<TypeParam> mean, stdDev, variance;
  CDatasetStatistic<TypeParam>(&data).statistic(mean, stdDev, variance);
  EXPECT_EQ(elements(mean), std::vector<TypeParam>({1}));
  EXPECT_EQ(elements(variance), std::vector<TypeParam>({2}));
  EXPECT_EQ(elements(stdDev),
            std::vector<TypeParam>({std::sqrt(TypeParam(2))}));
}

TYPED_TEST(CDatasetStatisticTest, ClassStatisticOfZeroAndTwoUsesDivisorK) {
  CDataset<TypeParam> data = scalarDataset<TypeParam>({0, 2});
  CDenseVector<TypeParam> mean, stdDev, variance;
  CDatasetStatistic<TypeParam>(&data).statistic(CDenseVector<TypeParam>(1),
                                                mean, stdDev, variance);
  EXPECT_EQ(elements(mean), std::vector<TypeParam>({1}));
  EXPECT_EQ(elements(variance), std::vector<TypeParam>({1}));
  EXPECT_EQ(elements(stdDev), std::vector<TypeParam>({1}));
}

TYPED_TEST(CDatasetStatisticTest, StatisticResizesItsResults) {
  CDataset<TypeParam> data =
      denseDataset<TypeParam>({{1, 2}, {3, 6}}, {{0}, {0}});
  CDenseVector<TypeParam> mean(5, TypeParam(9)), stdDev(1), variance;
  CDatasetStatistic<TypeParam>(&data).statistic(mean, stdDev, variance);
  EXPECT_EQ(elements(mean), std::vector<TypeParam>({2, 4}));
  EXPECT_EQ(elements(variance), std::vector<TypeParam>({2, 8}));
  EXPECT_EQ(stdDev.dimension(), 2);
}

TYPED_TEST(CDatasetStatisticTest, StatisticOfOneItemHasNaNVariance) {
  CDataset<TypeParam> data = scalarDataset<TypeParam>({5});
  CDenseVector<TypeParam> mean, stdDev, variance;
  CDatasetStatistic<TypeParam>(&data).statistic(mean, stdDev, variance);
  EXPECT_EQ(elements(mean), std::vector<TypeParam>({5}));
  EXPECT_TRUE(std::isnan(variance[0]));  // 0 * (1 / 0)
  EXPECT_TRUE(std::isnan(stdDev[0]));
}

TYPED_TEST(CDatasetStatisticTest, StatisticOfAnEmptyDatasetIsEmpty) {
  CDataset<TypeParam> empty;
  CDenseVector<TypeParam> mean(2), stdDev(2), variance(2);
  CDatasetStatistic<TypeParam>(&empty).statistic(mean, stdDev, variance);
  EXPECT_EQ(mean.dimension(), 0);
  EXPECT_EQ(stdDev.dimension(), 0);
  EXPECT_EQ(variance.dimension(), 0);
}

// Sum in T, division by n in T, squared deviations in T, and the factor
// 1 / (n - 1) applied in double.
TYPED_TEST(CDatasetStatisticTest, StatisticFollowsItsStepsOnRandomItems) {
  using T = TypeParam;
  const Rows<T> rows = randomRows<T>(400, 64, 13u, -3.0, 4.0);
  CDataset<T> data = denseDataset(rows, Rows<T>(rows.size(), {T(0)}));
  CDenseVector<T> mean, stdDev, variance;
  CDatasetStatistic<T>(&data).statistic(mean, stdDev, variance);
  for (int i = 0; i < 64; ++i) {
    T sum = 0;
    double sumDouble = 0;
    for (const auto& row : rows) {
      sum += row[i];
      sumDouble += row[i];
    }
    const T m = sum / T(400);
    T squares = 0;
    double squaresDouble = 0;
    const double mDouble = sumDouble / 400.0;
    for (const auto& row : rows) {
      squares += (row[i] - m) * (row[i] - m);
      squaresDouble += (row[i] - mDouble) * (row[i] - mDouble);
    }
    const T v = static_cast<T>(static_cast<double>(squares) * (1.0 / 399.0));
    EXPECT_EQ(mean[i], m);
    EXPECT_EQ(variance[i], v);
    EXPECT_EQ(stdDev[i], std::sqrt(v));
    EXPECT_NEAR(mean[i], mDouble, statistic_test::tolerance<T>());
    EXPECT_NEAR(variance[i], squaresDouble / 399.0,
                statistic_test::tolerance<T>() * 10.0);
  }
}

TYPED_TEST(CDatasetStatisticTest, ClassStatisticCountsOnlyEqualOutputs) {
  using T = TypeParam;
  CDataset<T> data = denseDataset<T>({{1}, {100}, {3}, {6}, {-50}},
                                     {{1, 2}, {1, 3}, {1, 2}, {1, 2}, {2}});
  CDenseVector<T> mean, stdDev, variance;
  CDatasetStatistic<T>(&data).statistic(CDenseVector<T>(std::vector<T>{1, 2}),
                                        mean, stdDev, variance);
  const T m = T(10) / T(3);
  const T squares = (T(1) - m) * (T(1) - m) + (T(3) - m) * (T(3) - m) +
                    (T(6) - m) * (T(6) - m);
  EXPECT_EQ(mean[0], m);
  EXPECT_EQ(variance[0], squares * (T(1) / T(3)));
  EXPECT_EQ(stdDev[0], std::sqrt(squares * (T(1) / T(3))));
}

// Sum and division by k in T, squared deviations in T times 1 / k in T.
TYPED_TEST(CDatasetStatisticTest, ClassStatisticFollowsItsStepsOnRandomItems) {
  using T = TypeParam;
  const Rows<T> rows = randomRows<T>(300, 64, 14u, -3.0, 4.0);
  CDataset<T> data = denseDataset(rows, cyclicLabels<T>(300, 3));
  CDenseVector<T> mean, stdDev, variance;
  CDatasetStatistic<T>(&data).statistic(CDenseVector<T>(1, T(1)), mean, stdDev,
                                        variance);
  for (int i = 0; i < 64; ++i) {
    T sum = 0;
    for (std::size_t n = 1; n < rows.size(); n += 3) sum += rows[n][i];
    const T m = sum / T(100);
    T squares = 0;
    for (std::size_t n = 1; n < rows.size(); n += 3)
      squares += (rows[n][i] - m) * (rows[n][i] - m);
    EXPECT_EQ(mean[i], m);
    EXPECT_EQ(variance[i], squares * (T(1) / T(100)));
    EXPECT_EQ(stdDev[i], std::sqrt(variance[i]));
  }
}

TYPED_TEST(CDatasetStatisticTest, ClassStatisticWithoutMatchesIsNaN) {
  CDataset<TypeParam> data = scalarDataset<TypeParam>({1, 2});
  CDenseVector<TypeParam> mean, stdDev, variance;
  CDatasetStatistic<TypeParam>(&data).statistic(
      CDenseVector<TypeParam>(1, TypeParam(4)), mean, stdDev, variance);
  ASSERT_EQ(mean.dimension(), 1);
  EXPECT_TRUE(std::isnan(mean[0]));
  EXPECT_TRUE(std::isnan(variance[0]));
  EXPECT_TRUE(std::isnan(stdDev[0]));
}

const char kTableHead[] =
    " Dataset statistic for input vectors: \n"
    " Feature  |      Min       |      Max      |      Mean      |   Std. "
    "Dev.   |   Variance    | \n"
    " ---------|----------------|---------------|----------------|----------"
    "-----|---------------| \n";

TYPED_TEST(CDatasetStatisticTest, DumpStatisticPrintsTheWholeTable) {
  CDataset<TypeParam> data =
      denseDataset<TypeParam>({{0, 1}, {2, 5}}, {{1, 0, 0}, {0, 1, 0}});
  const CDatasetStatistic<TypeParam> statistic(&data);
  const std::string expected =
      std::string("\n\n Items      : 2\n Input dim. : 2\n Output dim.: 3\n") +
      kTableHead +
      "    000   |  0.000000e+00 |  2.000000e+00 |  1.000000e+00 |  "
      "1.414214e+00 |  2.000000e+00 |\n"
      "    001   |  1.000000e+00 |  5.000000e+00 |  3.000000e+00 |  "
      "2.828427e+00 |  8.000000e+00 |\n"
      "\n";
  EXPECT_EQ(captureConsole([&] { statistic.dumpStatistic(); }), expected);
}

TYPED_TEST(CDatasetStatisticTest, DumpStatisticNumbersFeaturesWithThreeDigits) {
  const Rows<TypeParam> rows(2, std::vector<TypeParam>(12, TypeParam(-0.5)));
  CDataset<TypeParam> data = denseDataset(rows, Rows<TypeParam>(2, {0}));
  const std::string text = captureConsole(
      [&] { CDatasetStatistic<TypeParam>(&data).dumpStatistic(); });
  EXPECT_NE(text.find("\n    011   |  -5.000000e-01 |  -5.000000e-01 |  "
                      "-5.000000e-01 |  0.000000e+00 |  0.000000e+00 |\n"),
            std::string::npos);
}

TYPED_TEST(CDatasetStatisticTest,
           DumpStatisticOfAnEmptyDatasetHasNoOutputLine) {
  CDataset<TypeParam> empty;
  const std::string expected =
      std::string("\n\n Items      : 0\n Input dim. : 0\n") + kTableHead + "\n";
  EXPECT_EQ(captureConsole(
                [&] { CDatasetStatistic<TypeParam>(&empty).dumpStatistic(); }),
            expected);
  EXPECT_EQ(
      captureConsole([] { CDatasetStatistic<TypeParam>().dumpStatistic(); }),
      expected);
}

}  // namespace
