// SPDX-License-Identifier: MIT
// Covariance and autocorrelation matrices.
#include <gtest/gtest.h>

#include <vector>

#include "dataset/CDatasetStatisticTestSupport.h"
#include "vecml/dataset/CDatasetStatistic.h"
#include "vecml/vector/CSparseVector.h"

namespace {

using statistic_test::cyclicLabels;
using statistic_test::denseDataset;
using statistic_test::entries;
using statistic_test::randomRows;
using statistic_test::Rows;
using statistic_test::scalarDataset;
using statistic_test::Square;

template <typename T>
class CDatasetStatisticMatrixTest : public testing::Test {};
using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CDatasetStatisticMatrixTest, ElementTypes);

// The running covariance over `rows` around `mean` by its stated steps, for
// every (i, j) separately: centred values and their product in T, weights
// and the update in double, narrowed to T.
template <typename T>
Square<T> statedCovariance(const Rows<T>& rows, const std::vector<T>& mean) {
  const std::size_t d = mean.size();
  Square<T> c(d, std::vector<T>(d, T(0)));
  T k = 0;
  for (const auto& x : rows) {
    k += T(1);
    for (std::size_t i = 0; i < d; ++i)
      for (std::size_t j = 0; j < d; ++j)
        c[i][j] =
            static_cast<T>(c[i][j] * (1.0 - 1.0 / static_cast<double>(k)) +
                           (x[i] - mean[i]) * (x[j] - mean[j]) *
                               (1.0 / static_cast<double>(k)));
  }
  return c;
}

// Covariance with divisor n, computed in double with a two-pass mean.
template <typename T>
Square<double> referenceCovariance(const Rows<T>& rows) {
  const std::size_t d = rows[0].size();
  std::vector<double> mean(d, 0.0);
  for (const auto& x : rows)
    for (std::size_t i = 0; i < d; ++i) mean[i] += x[i];
  for (double& m : mean) m /= static_cast<double>(rows.size());
  Square<double> c(d, std::vector<double>(d, 0.0));
  for (const auto& x : rows)
    for (std::size_t i = 0; i < d; ++i)
      for (std::size_t j = 0; j < d; ++j)
        c[i][j] += (x[i] - mean[i]) * (x[j] - mean[j]);
  for (auto& row : c)
    for (double& value : row) value /= static_cast<double>(rows.size());
  return c;
}

TYPED_TEST(CDatasetStatisticMatrixTest, CovarianceOfZeroAndTwoIsOne) {
  const CDataset<TypeParam> data = scalarDataset<TypeParam>({0, 2});
  EXPECT_EQ(entries(CDatasetStatistic<TypeParam>().covarianceMatrix(data)),
            Square<TypeParam>({{1}}));
}

TYPED_TEST(CDatasetStatisticMatrixTest, AutoCorrelationOfZeroAndTwoIsTwo) {
  CDataset<TypeParam> data = scalarDataset<TypeParam>({0, 2});
  EXPECT_EQ(entries(CDatasetStatistic<TypeParam>(&data).getAutoCorrelation()),
            Square<TypeParam>({{2}}));
}

TYPED_TEST(CDatasetStatisticMatrixTest, CovarianceFollowsItsStepsExactly) {
  using T = TypeParam;
  const Rows<T> rows = randomRows<T>(300, 6, 21u, -2.0, 5.0);
  const CDataset<T> data = denseDataset(rows, Rows<T>(rows.size(), {T(0)}));
  const CDatasetStatistic<T> statistic;
  const CMatrix<T> covariance = statistic.covarianceMatrix(data);
  ASSERT_EQ(covariance.rows(), 6);
  ASSERT_EQ(covariance.columns(), 6);
  EXPECT_EQ(entries(covariance),
            statedCovariance(rows, statistic.mean(data).toSTL()));
  const Square<double> reference = referenceCovariance(rows);
  for (int i = 0; i < 6; ++i)
    for (int j = 0; j < 6; ++j)
      EXPECT_NEAR(covariance.getElement(i, j), reference[i][j],
                  statistic_test::tolerance<T>() * 10.0)
          << i << ", " << j;
}

TYPED_TEST(CDatasetStatisticMatrixTest, LabelledCovarianceCountsOnlyThatLabel) {
  using T = TypeParam;
  const Rows<T> rows = randomRows<T>(120, 4, 22u, -1.0, 1.0);
  const CDataset<T> data = denseDataset(rows, cyclicLabels<T>(120, 4));
  Rows<T> labelOne;
  for (std::size_t n = 1; n < rows.size(); n += 4) labelOne.push_back(rows[n]);
  const CDatasetStatistic<T> statistic;
  EXPECT_EQ(entries(statistic.covarianceMatrix(data, T(1))),
            statedCovariance(labelOne, statistic.mean(data, T(1)).toSTL()));
}

TYPED_TEST(CDatasetStatisticMatrixTest, CovarianceForAnAbsentLabelIsZero) {
  const CDataset<TypeParam> data =
      denseDataset<TypeParam>({{1, 2}, {5, 3}}, {{0}, {0}});
  EXPECT_EQ(entries(CDatasetStatistic<TypeParam>().covarianceMatrix(
                data, TypeParam(3))),
            Square<TypeParam>({{0, 0}, {0, 0}}));
}

TYPED_TEST(CDatasetStatisticMatrixTest, CovarianceOfAnEmptyDatasetIsEmpty) {
  const CDataset<TypeParam> empty;
  const CMatrix<TypeParam> covariance =
      CDatasetStatistic<TypeParam>().covarianceMatrix(empty);
  EXPECT_EQ(covariance.rows(), 0);
  EXPECT_EQ(covariance.columns(), 0);
}

TYPED_TEST(CDatasetStatisticMatrixTest, CovarianceOfSparseInputsMatchesDense) {
  using T = TypeParam;
  CSparseVector<T> sparse(3, 1);
  sparse.setElement(0, {2, T(6)});
  CDataset<T> mixed;
  mixed.appendItem(CDatasetItem<T>(sparse, CDenseVector<T>(1)));
  mixed.appendItem(CDatasetItem<T>(CDenseVector<T>(std::vector<T>{1, 2, 3}),
                                   CDenseVector<T>(1)));
  const CDataset<T> dense = denseDataset<T>({{0, 0, 6}, {1, 2, 3}}, {{0}, {0}});
  const CDatasetStatistic<T> statistic;
  EXPECT_EQ(entries(statistic.covarianceMatrix(mixed)),
            entries(statistic.covarianceMatrix(dense)));
}

TYPED_TEST(CDatasetStatisticMatrixTest, AutoCorrelationFollowsItsStepsExactly) {
  using T = TypeParam;
  const Rows<T> rows = randomRows<T>(350, 5, 23u, -1.0, 2.0);
  CDataset<T> data = denseDataset(rows, Rows<T>(rows.size(), {T(0)}));
  const CMatrix<T> correlation =
      CDatasetStatistic<T>(&data).getAutoCorrelation();
  Square<T> stated(5, std::vector<T>(5, T(0)));
  Square<double> reference(5, std::vector<double>(5, 0.0));
  for (const auto& x : rows)
    for (int i = 0; i < 5; ++i)
      for (int j = 0; j < 5; ++j) {
        stated[i][j] += x[i] * x[j];
        reference[i][j] += static_cast<double>(x[i]) * x[j];
      }
  for (int i = 0; i < 5; ++i)
    for (int j = 0; j < 5; ++j) {
      stated[i][j] /= T(350);
      EXPECT_NEAR(correlation.getElement(i, j), reference[i][j] / 350.0,
                  statistic_test::tolerance<T>() * 10.0);
    }
  EXPECT_EQ(entries(correlation), stated);
}

TYPED_TEST(CDatasetStatisticMatrixTest,
           AutoCorrelationOfAnEmptyDatasetIsEmpty) {
  CDataset<TypeParam> empty;
  const CMatrix<TypeParam> correlation =
      CDatasetStatistic<TypeParam>(&empty).getAutoCorrelation();
  EXPECT_EQ(correlation.rows(), 0);
  EXPECT_EQ(correlation.columns(), 0);
}

}  // namespace
