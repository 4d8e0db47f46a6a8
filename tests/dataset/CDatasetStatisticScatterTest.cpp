// SPDX-License-Identifier: MIT
// Class discovery, within- and between-class scatter, and the discriminant
// analysis entry point.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "dataset/CDatasetStatisticTestSupport.h"
#include "vecml/dataset/CDatasetStatistic.h"

namespace {

using statistic_test::captureConsole;
using statistic_test::denseDataset;
using statistic_test::entries;
using statistic_test::randomRows;
using statistic_test::Rows;
using statistic_test::scalarDataset;
using statistic_test::Square;

template <typename T>
class CDatasetStatisticScatterTest : public testing::Test {};
using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CDatasetStatisticScatterTest, ElementTypes);

// Runs `scatter` on a statistic over `data`, discarding its console output.
template <typename T, typename Scatter>
CMatrix<T> quietly(CDataset<T>& data, Scatter scatter) {
  CMatrix<T> result;
  captureConsole([&] { result = (CDatasetStatistic<T>(&data).*scatter)(); });
  return result;
}

// Class means in order of first appearance (the class sum starts with the
// first member's input, later members are added in item order, and the sum
// is divided by the count in T), and the members of each class.
template <typename T>
struct Classes {
  std::vector<std::vector<T>> means;
  std::vector<std::vector<std::size_t>> members;
};

template <typename T>
Classes<T> statedClasses(const Rows<T>& inputs, const Rows<T>& outputs) {
  Classes<T> classes;
  Rows<T> classOutputs;
  for (std::size_t n = 0; n < inputs.size(); ++n) {
    std::size_t c = 0;
    while (c < classOutputs.size() && classOutputs[c] != outputs[n]) ++c;
    if (c == classOutputs.size()) {
      classOutputs.push_back(outputs[n]);
      classes.means.push_back(inputs[n]);
      classes.members.push_back({n});
      continue;
    }
    for (std::size_t i = 0; i < inputs[n].size(); ++i)
      classes.means[c][i] += inputs[n][i];
    classes.members[c].push_back(n);
  }
  for (std::size_t c = 0; c < classes.means.size(); ++c)
    for (T& value : classes.means[c])
      value /= static_cast<T>(classes.members[c].size());
  return classes;
}

// Random items of `d` features with `labels` cycling output labels, and the
// classes they form.
template <typename T>
struct LabelledItems {
  LabelledItems(int n, int d, int labels, unsigned seed)
      : inputs(randomRows<T>(n, d, seed, -2.0, 2.0)),
        outputs(statistic_test::cyclicLabels<T>(n, labels)),
        data(denseDataset(inputs, outputs)),
        classes(statedClasses(inputs, outputs)) {}

  Rows<T> inputs;
  Rows<T> outputs;
  CDataset<T> data;
  Classes<T> classes;
};

TYPED_TEST(CDatasetStatisticScatterTest, OneItemIsOneClassWithZeroScatter) {
  CDataset<TypeParam> data = denseDataset<TypeParam>({{3, 4}}, {{1}});
  CMatrix<TypeParam> scatter;
  const std::string text = captureConsole(
      [&] { scatter = CDatasetStatistic<TypeParam>(&data).getSW(); });
  EXPECT_EQ(text,
            "start\n"
            "get mean\n"
            "info\n"
            "FOUND 1 classes\n"
            "Elements: 1\n"
            "Vector dim: 2: \n"
            "[ 3 4  ]\n"
            "\n");
  EXPECT_EQ(entries(scatter), Square<TypeParam>({{0, 0}, {0, 0}}));
}

TYPED_TEST(CDatasetStatisticScatterTest, DiscoveryReportsEveryComparison) {
  CDataset<TypeParam> data =
      denseDataset<TypeParam>({{1}, {4}, {5}}, {{0, 1}, {0, 2}, {0, 1}});
  const std::string text =
      captureConsole([&] { CDatasetStatistic<TypeParam>(&data).getSB(); });
  EXPECT_EQ(text,
            "start\n"
            "get mean\n"
            "working on item 1\n"
            "checking against class 0 of 1\n"
            "insert new \n"
            "working on item 2\n"
            "checking against class 0 of 2\n"
            "info\n"
            "FOUND 2 classes\n"
            "Elements: 2\n"
            "Vector dim: 1: \n"
            "[ 3  ]\n"
            "\n"
            "Elements: 1\n"
            "Vector dim: 1: \n"
            "[ 4  ]\n"
            "\n");
}

TYPED_TEST(CDatasetStatisticScatterTest,
           OutputsDifferingInOneElementAreTwoClasses) {
  CDataset<TypeParam> data =
      denseDataset<TypeParam>({{1}, {1}}, {{0, 0, 1}, {0, 0, 2}});
  const std::string text =
      captureConsole([&] { CDatasetStatistic<TypeParam>(&data).getSW(); });
  EXPECT_NE(text.find("working on item 1\n"
                      "checking against class 0 of 1\n"
                      "insert new \n"
                      "info\n"
                      "FOUND 2 classes\n"),
            std::string::npos);
}

TYPED_TEST(CDatasetStatisticScatterTest, WithinClassScatterOfZeroAndTwoIsTwo) {
  CDataset<TypeParam> data = scalarDataset<TypeParam>({0, 2});
  EXPECT_EQ(entries(quietly(data, &CDatasetStatistic<TypeParam>::getSW)),
            Square<TypeParam>({{2}}));
}

TYPED_TEST(CDatasetStatisticScatterTest, WithinClassScatterSumsTheClasses) {
  CDataset<TypeParam> data =
      denseDataset<TypeParam>({{1}, {4}, {5}}, {{0}, {1}, {0}});
  // Class 0 around 3 gives 4 + 4, class 1 around 4 gives 0; no division.
  EXPECT_EQ(entries(quietly(data, &CDatasetStatistic<TypeParam>::getSW)),
            Square<TypeParam>({{8}}));
}

TYPED_TEST(CDatasetStatisticScatterTest, WithinClassScatterUsesFusedSteps) {
  using T = TypeParam;
  LabelledItems<T> items(60, 3, 4, 41u);
  const auto& means = items.classes.means;
  Square<T> stated(3, std::vector<T>(3, T(0)));
  for (std::size_t c = 0; c < means.size(); ++c)
    for (std::size_t n : items.classes.members[c])
      for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
          stated[i][j] =
              std::fma(items.inputs[n][j] - means[c][j],
                       items.inputs[n][i] - means[c][i], stated[i][j]);
  EXPECT_EQ(entries(quietly(items.data, &CDatasetStatistic<T>::getSW)), stated);
}

TYPED_TEST(CDatasetStatisticScatterTest,
           BetweenClassScatterOfOneClassIsMinusTheMean) {
  CDataset<TypeParam> data =
      denseDataset<TypeParam>({{1, 2}, {2, 4}, {3, 9}}, {{7}, {7}, {7}});
  EXPECT_EQ(entries(quietly(data, &CDatasetStatistic<TypeParam>::getSB)),
            Square<TypeParam>({{-2, -5}, {-2, -5}}));
}

TYPED_TEST(CDatasetStatisticScatterTest, BetweenClassScatterFollowsItsFormula) {
  using T = TypeParam;
  LabelledItems<T> items(120, 8, 6, 42u);
  std::vector<T> m = items.inputs[0];
  for (std::size_t n = 1; n < items.inputs.size(); ++n)
    for (int i = 0; i < 8; ++i) m[i] += items.inputs[n][i];
  for (T& value : m) value /= T(120);
  Square<T> stated(8, std::vector<T>(8, T(0)));
  for (const auto& mc : items.classes.means)
    for (int i = 0; i < 8; ++i)
      for (int j = 0; j < 8; ++j)
        stated[i][j] = std::fma(mc[i] - m[i], mc[j], stated[i][j]) - m[j];
  EXPECT_EQ(entries(quietly(items.data, &CDatasetStatistic<T>::getSB)), stated);
}

TYPED_TEST(CDatasetStatisticScatterTest, EmptyDatasetReportsNoClass) {
  CDataset<TypeParam> empty;
  CMatrix<TypeParam> scatter(2, 2);
  const std::string text = captureConsole(
      [&] { scatter = CDatasetStatistic<TypeParam>(&empty).getSW(); });
  EXPECT_EQ(text, "start\nget mean\ninfo\nFOUND 0 classes\n");
  EXPECT_EQ(scatter.rows(), 0);
  EXPECT_EQ(quietly(empty, &CDatasetStatistic<TypeParam>::getSB).rows(), 0);
}

TYPED_TEST(CDatasetStatisticScatterTest, LdaIsEmptyAndWritesOnlyStart) {
  CDataset<TypeParam> data = scalarDataset<TypeParam>({0, 2});
  CMatrix<TypeParam> lda(3, 3);
  const std::string text = captureConsole(
      [&] { lda = CDatasetStatistic<TypeParam>(&data).getLDA(); });
  EXPECT_EQ(text, "start\n");
  EXPECT_EQ(lda.rows(), 0);
  EXPECT_EQ(lda.columns(), 0);
}

}  // namespace
