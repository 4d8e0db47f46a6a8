// SPDX-License-Identifier: MIT
// Every statistic against a plain element-by-element evaluation of its
// stated formula, bit for bit, on random data of awkward sizes (the
// vectorised paths sweep registers and padded blocks; these sizes leave
// every kind of remainder). The references below are written without any
// of the library's code paths.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <new>
#include <random>
#include <string>
#include <vector>

#include "dataset/CDatasetStatisticTestSupport.h"
#include "vecml/dataset/CDatasetStatistic.h"
#include "vecml/vector/CSparseVector.h"

namespace {

using statistic_test::captureConsole;
using statistic_test::cyclicLabels;
using statistic_test::denseDataset;
using statistic_test::randomRows;
using statistic_test::Rows;

template <typename T>
class CDatasetStatisticExactTest : public testing::Test {};
using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CDatasetStatisticExactTest, ElementTypes);

constexpr int kFeatureCounts[] = {1, 7, 17, 63, 65, 129};
constexpr int kItemCounts[] = {1, 2, 7, 129};
constexpr unsigned kSeed = 20240611u;

template <typename T>
using Matrix = std::vector<std::vector<T>>;

// Whether a and b have the same bit pattern.
template <typename T>
bool sameBits(T a, T b) {
  return std::memcmp(&a, &b, sizeof(T)) == 0;
}

template <typename T>
void expectSameBits(const std::vector<T>& expected, const CDenseVector<T>& v) {
  ASSERT_EQ(v.dimension(), static_cast<int>(expected.size()));
  for (int i = 0; i < v.dimension(); ++i)
    ASSERT_TRUE(sameBits(expected[i], v._data()[i]))
        << "element " << i << ": expected " << expected[i] << ", got "
        << v._data()[i];
}

template <typename T>
void expectSameBits(const Matrix<T>& expected, const CMatrix<T>& m) {
  const int d = static_cast<int>(expected.size());
  ASSERT_EQ(m.rows(), d);
  ASSERT_EQ(m.columns(), d);
  for (int i = 0; i < d; ++i)
    for (int j = 0; j < d; ++j)
      ASSERT_TRUE(sameBits(expected[i][j], m.getElement(i, j)))
          << "element (" << i << ", " << j << "): expected " << expected[i][j]
          << ", got " << m.getElement(i, j);
}

// The rows whose label (output element 0) equals `label`; all rows when
// `label` is null.
template <typename T>
Rows<T> selected(const Rows<T>& inputs, const Rows<T>& outputs,
                 const T* label) {
  Rows<T> result;
  for (std::size_t n = 0; n < inputs.size(); ++n)
    if (label == nullptr || outputs[n][0] == *label)
      result.push_back(inputs[n]);
  return result;
}

// mean = mean * T(1 - 1/k) + x * (1/k) per item, in T.
template <typename T>
std::vector<T> statedMean(const Rows<T>& rows, std::size_t d) {
  std::vector<T> mean(d, T(0));
  T k = 0;
  for (const auto& x : rows) {
    k += T(1);
    for (std::size_t i = 0; i < d; ++i)
      mean[i] = mean[i] * static_cast<T>(1.0 - 1.0 / static_cast<double>(k)) +
                x[i] * (T(1) / k);
  }
  return mean;
}

// C(i, j) = T(C(i, j) * (1 - 1/k) + (x[i] - m[i]) * (x[j] - m[j]) * (1/k))
// per item, the centred values and their product in T, the rest in double.
template <typename T>
Matrix<T> statedCovariance(const Rows<T>& rows, const std::vector<T>& m) {
  const std::size_t d = m.size();
  Matrix<T> c(d, std::vector<T>(d, T(0)));
  T k = 0;
  for (const auto& x : rows) {
    k += T(1);
    const double keep = 1.0 - 1.0 / static_cast<double>(k);
    const double step = 1.0 / static_cast<double>(k);
    for (std::size_t i = 0; i < d; ++i)
      for (std::size_t j = 0; j < d; ++j) {
        const T product = (x[i] - m[i]) * (x[j] - m[j]);
        c[i][j] = static_cast<T>(c[i][j] * keep + product * step);
      }
  }
  return c;
}

// R(i, j) = sum of x[i] * x[j] in T, then divided by n.
template <typename T>
Matrix<T> statedAutoCorrelation(const Rows<T>& rows, std::size_t d) {
  Matrix<T> r(d, std::vector<T>(d, T(0)));
  for (const auto& x : rows)
    for (std::size_t i = 0; i < d; ++i)
      for (std::size_t j = 0; j < d; ++j) r[i][j] += x[i] * x[j];
  for (auto& row : r)
    for (T& value : row) value /= static_cast<T>(rows.size());
  return r;
}

// Element-wise extreme, starting from the first row, every row combined.
template <typename T, typename Pick>
std::vector<T> statedExtreme(const Rows<T>& rows, Pick pick) {
  std::vector<T> result = rows[0];
  for (const auto& x : rows)
    for (std::size_t i = 0; i < result.size(); ++i)
      result[i] = pick(result[i], x[i]);
  return result;
}

template <typename T>
std::vector<T> statedMinimum(const Rows<T>& rows) {
  return statedExtreme(rows, [](T a, T b) { return std::min(a, b); });
}

template <typename T>
std::vector<T> statedMaximum(const Rows<T>& rows) {
  return statedExtreme(rows, [](T a, T b) { return std::max(a, b); });
}

template <typename T>
struct Moments {
  std::vector<T> mean;
  std::vector<T> stdDev;
  std::vector<T> variance;
};

// mean = (sum of x) / n; variance = sum of (x - mean)^2 scaled as `scale`
// says; stdDev = its square root.
template <typename T, typename Scale>
Moments<T> statedMoments(const Rows<T>& rows, std::size_t d, Scale scale) {
  Moments<T> result{std::vector<T>(d, T(0)), std::vector<T>(d),
                    std::vector<T>(d, T(0))};
  for (const auto& x : rows)
    for (std::size_t i = 0; i < d; ++i) result.mean[i] += x[i];
  for (T& m : result.mean) m /= static_cast<T>(rows.size());
  for (const auto& x : rows)
    for (std::size_t i = 0; i < d; ++i) {
      const T deviation = x[i] - result.mean[i];
      result.variance[i] += deviation * deviation;
    }
  for (std::size_t i = 0; i < d; ++i) {
    result.variance[i] = scale(result.variance[i]);
    result.stdDev[i] = std::sqrt(result.variance[i]);
  }
  return result;
}

// Sample variance: the sum times 1 / (n - 1), formed in double.
template <typename T>
Moments<T> statedStatistic(const Rows<T>& rows, std::size_t d) {
  const double factor = 1.0 / static_cast<double>(rows.size() - 1);
  return statedMoments(
      rows, d, [factor](T sum) { return static_cast<T>(sum * factor); });
}

// Population variance: the sum times 1 / k, in T.
template <typename T>
Moments<T> statedClassStatistic(const Rows<T>& rows, std::size_t d) {
  const T k = static_cast<T>(rows.size());
  return statedMoments(rows, d, [k](T sum) { return sum * (T(1) / k); });
}

template <typename T>
void expectSameBits(const Moments<T>& expected, const CDenseVector<T>& mean,
                    const CDenseVector<T>& stdDev,
                    const CDenseVector<T>& variance) {
  expectSameBits(expected.mean, mean);
  expectSameBits(expected.stdDev, stdDev);
  expectSameBits(expected.variance, variance);
}

// The table dumpStatistic prints for the stated extremes and moments.
template <typename T>
std::string statedTable(const Rows<T>& rows, std::size_t outputDim) {
  const std::size_t d = rows[0].size();
  const std::vector<T> low = statedMinimum(rows);
  const std::vector<T> high = statedMaximum(rows);
  const Moments<T> moments = statedStatistic(rows, d);
  std::string text = "\n\n Items      : " + std::to_string(rows.size()) +
                     "\n Input dim. : " + std::to_string(d) +
                     "\n Output dim.: " + std::to_string(outputDim) +
                     "\n Dataset statistic for input vectors: \n"
                     " Feature  |      Min       |      Max      |      Mean "
                     "     |   Std. Dev.   |   Variance    | \n"
                     " ---------|----------------|---------------|-----------"
                     "-----|---------------|---------------| \n";
  for (std::size_t i = 0; i < d; ++i) {
    char line[200];
    std::snprintf(
        line, sizeof line,
        "    %3.3d   |  %6.6e |  %6.6e |  %6.6e |  %6.6e |  %6.6e |\n",
        static_cast<int>(i), static_cast<double>(low[i]),
        static_cast<double>(high[i]), static_cast<double>(moments.mean[i]),
        static_cast<double>(moments.stdDev[i]),
        static_cast<double>(moments.variance[i]));
    text += line;
  }
  return text + "\n";
}

// Calls check(inputs, outputs, dataset) for every awkward shape, with a
// trace naming the shape and the seed.
template <typename T, typename Check>
void forEveryShape(Check check) {
  for (const int d : kFeatureCounts)
    for (const int n : kItemCounts) {
      const unsigned seed = kSeed + static_cast<unsigned>(d * 1000 + n);
      SCOPED_TRACE("d = " + std::to_string(d) + ", n = " + std::to_string(n) +
                   ", seed " + std::to_string(seed));
      const Rows<T> inputs = randomRows<T>(n, d, seed, -3.0, 5.0);
      const Rows<T> outputs = cyclicLabels<T>(n, 3);
      CDataset<T> data = denseDataset(inputs, outputs);
      check(inputs, outputs, data);
    }
}

TYPED_TEST(CDatasetStatisticExactTest, MeanFollowsItsSteps) {
  using T = TypeParam;
  forEveryShape<T>(
      [](const Rows<T>& inputs, const Rows<T>& outputs, CDataset<T>& data) {
        const CDatasetStatistic<T> statistic;
        const std::size_t d = inputs[0].size();
        expectSameBits(statedMean(inputs, d), statistic.mean(data));
        const T label = 1;
        expectSameBits(statedMean(selected(inputs, outputs, &label), d),
                       statistic.mean(data, label));
      });
}

TYPED_TEST(CDatasetStatisticExactTest, CovarianceFollowsItsSteps) {
  using T = TypeParam;
  forEveryShape<T>(
      [](const Rows<T>& inputs, const Rows<T>&, CDataset<T>& data) {
        const CDatasetStatistic<T> statistic;
        const std::size_t d = inputs[0].size();
        expectSameBits(statedCovariance(inputs, statedMean(inputs, d)),
                       statistic.covarianceMatrix(data));
      });
}

TYPED_TEST(CDatasetStatisticExactTest, LabelledCovarianceFollowsItsSteps) {
  using T = TypeParam;
  forEveryShape<T>(
      [](const Rows<T>& inputs, const Rows<T>& outputs, CDataset<T>& data) {
        const CDatasetStatistic<T> statistic;
        const std::size_t d = inputs[0].size();
        const T label = 1;
        const Rows<T> labelled = selected(inputs, outputs, &label);
        expectSameBits(statedCovariance(labelled, statedMean(labelled, d)),
                       statistic.covarianceMatrix(data, label));
      });
}

TYPED_TEST(CDatasetStatisticExactTest, AutoCorrelationFollowsItsSteps) {
  using T = TypeParam;
  forEveryShape<T>(
      [](const Rows<T>& inputs, const Rows<T>&, CDataset<T>& data) {
        const CDatasetStatistic<T> statistic(&data);
        expectSameBits(statedAutoCorrelation(inputs, inputs[0].size()),
                       statistic.getAutoCorrelation());
      });
}

TYPED_TEST(CDatasetStatisticExactTest, ExtremesFollowTheirSteps) {
  using T = TypeParam;
  forEveryShape<T>(
      [](const Rows<T>& inputs, const Rows<T>&, CDataset<T>& data) {
        const CDatasetStatistic<T> statistic(&data);
        expectSameBits(statedMinimum(inputs), statistic.minElements());
        expectSameBits(statedMaximum(inputs), statistic.maxElements());
      });
}

TYPED_TEST(CDatasetStatisticExactTest, StatisticFollowsItsSteps) {
  using T = TypeParam;
  forEveryShape<T>(
      [](const Rows<T>& inputs, const Rows<T>&, CDataset<T>& data) {
        const CDatasetStatistic<T> statistic(&data);
        CDenseVector<T> mean, stdDev, variance;
        statistic.statistic(mean, stdDev, variance);
        expectSameBits(statedStatistic(inputs, inputs[0].size()), mean, stdDev,
                       variance);
      });
}

TYPED_TEST(CDatasetStatisticExactTest, ClassStatisticFollowsItsSteps) {
  using T = TypeParam;
  forEveryShape<T>(
      [](const Rows<T>& inputs, const Rows<T>& outputs, CDataset<T>& data) {
        const CDatasetStatistic<T> statistic(&data);
        const T label = 0;
        CDenseVector<T> mean, stdDev, variance;
        statistic.statistic(CDenseVector<T>(std::vector<T>{label}), mean,
                            stdDev, variance);
        expectSameBits(statedClassStatistic(selected(inputs, outputs, &label),
                                            inputs[0].size()),
                       mean, stdDev, variance);
      });
}

TYPED_TEST(CDatasetStatisticExactTest, DumpStatisticPrintsTheStatedValues) {
  using T = TypeParam;
  forEveryShape<T>(
      [](const Rows<T>& inputs, const Rows<T>&, CDataset<T>& data) {
        const CDatasetStatistic<T> statistic(&data);
        EXPECT_EQ(captureConsole([&] { statistic.dumpStatistic(); }),
                  statedTable(inputs, 1));
      });
}

// Values whose products overflow float, underflow to subnormals or zero,
// and signed zeros, so that every path meets the same special cases.
template <typename T>
Rows<T> extremeRows(int n, int d, unsigned seed) {
  const T values[] = {T(0),     T(-0.0), T(1e-30), T(-3e-25), T(2e20),
                      T(-3e19), T(1.5),  T(-7),    T(1e-41),  T(6e37)};
  std::mt19937 random(seed);
  std::uniform_int_distribution<int> pick(
      0, static_cast<int>(std::size(values)) - 1);
  Rows<T> rows(n, std::vector<T>(d));
  for (auto& row : rows)
    for (T& value : row) value = values[pick(random)];
  return rows;
}

TYPED_TEST(CDatasetStatisticExactTest, SpecialValuesTakeTheStatedSteps) {
  using T = TypeParam;
  for (const int d : {17, 65}) {
    const Rows<T> inputs = extremeRows<T>(129, d, kSeed);
    CDataset<T> data = denseDataset(inputs, Rows<T>(inputs.size(), {T(0)}));
    const CDatasetStatistic<T> statistic(&data);
    const std::vector<T> mean = statedMean(inputs, d);
    expectSameBits(mean, statistic.mean(data));
    expectSameBits(statedCovariance(inputs, mean),
                   statistic.covarianceMatrix(data));
    expectSameBits(statedAutoCorrelation(inputs, d),
                   statistic.getAutoCorrelation());
    CDenseVector<T> m, s, v;
    statistic.statistic(m, s, v);
    expectSameBits(statedStatistic(inputs, d), m, s, v);
  }
}

// Sparse inputs are read element by element instead of from dense storage;
// they give the same values.
TYPED_TEST(CDatasetStatisticExactTest, SparseInputsGiveTheSameBits) {
  using T = TypeParam;
  const int d = 17;
  Rows<T> inputs = randomRows<T>(7, d, kSeed, -3.0, 5.0);
  for (auto& row : inputs)
    for (int i = 0; i < d; i += 3) row[i] = T(0);
  CDataset<T> data;
  for (std::size_t n = 0; n < inputs.size(); ++n) {
    const CDenseVector<T> dense(inputs[n]);
    const CDenseVector<T> output(std::vector<T>{T(0)});
    if (n % 2 == 1)
      data.appendItem(CDatasetItem<T>(CSparseVector<T>(dense), output, 0));
    else
      data.appendItem(CDatasetItem<T>(dense, output, 0));
  }
  const CDatasetStatistic<T> statistic(&data);
  const std::vector<T> mean = statedMean(inputs, d);
  expectSameBits(mean, statistic.mean(data));
  expectSameBits(statedCovariance(inputs, mean),
                 statistic.covarianceMatrix(data));
  expectSameBits(statedAutoCorrelation(inputs, d),
                 statistic.getAutoCorrelation());
  expectSameBits(statedMaximum(inputs), statistic.maxElements());
  CDenseVector<T> m, s, v;
  statistic.statistic(m, s, v);
  expectSameBits(statedStatistic(inputs, d), m, s, v);
}

// A d x d result beyond int elements is refused before any work, as the
// matrix itself refuses it.
TYPED_TEST(CDatasetStatisticExactTest, ResultsBeyondIntElementsThrow) {
  using T = TypeParam;
  CDataset<T> data;
  data.appendItem(
      CDatasetItem<T>(CDenseVector<T>(50000), CDenseVector<T>(1), 0));
  const CDatasetStatistic<T> statistic(&data);
  EXPECT_THROW(statistic.covarianceMatrix(data), std::bad_array_new_length);
  EXPECT_THROW(statistic.getAutoCorrelation(), std::bad_array_new_length);
}

}  // namespace
