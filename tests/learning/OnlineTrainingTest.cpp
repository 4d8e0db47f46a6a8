// SPDX-License-Identifier: MIT
// Behaviour shared by the online learners (neural gas, self-organising
// map): seeded initialisation and sample orders, what training leaves
// alone, and what it improves.
#include "vecml/learning/detail/OnlineTraining.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "learning/CClusterAlgorithmTestSupport.h"
#include "learning/OnlineLearnerTestSupport.h"

namespace {

template <typename Learner>
class OnlineTrainingTest : public testing::Test {
 protected:
  using Maker = LearnerMaker<Learner>;
  using T = typename ElementOf<Learner>::type;
};
TYPED_TEST_SUITE(OnlineTrainingTest, OnlineLearners);

TYPED_TEST(OnlineTrainingTest, TheSameSeedGivesTheSameBits) {
  auto first = TestFixture::Maker::make(5);
  auto second = TestFixture::Maker::make(5);
  const auto data = threeBlobs<typename TestFixture::T>();
  first.train(data, 3);
  second.train(data, 3);
  EXPECT_EQ(first.referenceVectors().items(), 4);
  EXPECT_EQ(prototypeBytes(first), prototypeBytes(second));
}

TYPED_TEST(OnlineTrainingTest, AnotherSeedGivesOtherPrototypes) {
  auto first = TestFixture::Maker::make(5);
  auto second = TestFixture::Maker::make(6);
  const auto data = threeBlobs<typename TestFixture::T>();
  first.train(data, 3);
  second.train(data, 3);
  EXPECT_NE(prototypeBytes(first), prototypeBytes(second));
}

TYPED_TEST(OnlineTrainingTest, InitialisationCopiesDistinctItems) {
  using T = typename TestFixture::T;
  CDataset<T> data;
  for (int i = 0; i < 6; ++i) data.appendItem(itemOf<T>({T(i), T(-i)}));
  auto learner = TestFixture::Maker::make(3);
  ASSERT_TRUE(learner.initialise(data));
  const CDataset<T>& prototypes = learner.referenceVectors();
  ASSERT_EQ(prototypes.items(), 4);
  std::vector<int> chosen;
  for (int k = 0; k < 4; ++k) {
    const T x = prototypes.item(k).inputComponent(0);
    EXPECT_EQ(prototypes.item(k).inputComponent(1), -x);
    EXPECT_EQ(prototypes.item(k).outputComponent(0), T(k));
    EXPECT_EQ(prototypes.item(k).id(), k);
    chosen.push_back(static_cast<int>(x));
  }
  std::sort(chosen.begin(), chosen.end());
  EXPECT_EQ(std::unique(chosen.begin(), chosen.end()), chosen.end());
}

TYPED_TEST(OnlineTrainingTest, InitialisationDrawsTheDocumentedShuffle) {
  using T = typename TestFixture::T;
  CDataset<T> data;
  for (int i = 0; i < 6; ++i) data.appendItem(itemOf<T>({T(i)}));
  vecml::detail::RandomSource random(3);
  std::vector<int> expected{0, 1, 2, 3, 4, 5};
  for (int k = 0; k < 4; ++k) {
    std::swap(expected[k], expected[k + random.index(6 - k)]);
  }
  auto learner = TestFixture::Maker::make(3);
  ASSERT_TRUE(learner.initialise(data));
  for (int k = 0; k < 4; ++k) {
    EXPECT_EQ(learner.referenceVectors().item(k).inputComponent(0),
              T(expected[k]));
  }
}

TYPED_TEST(OnlineTrainingTest, TooFewItemsLeaveTheLearnerUntouched) {
  using T = typename TestFixture::T;
  CDataset<T> data;
  for (int i = 0; i < 3; ++i) data.appendItem(itemOf<T>({T(i)}));
  auto learner = TestFixture::Maker::make(1);
  EXPECT_FALSE(learner.initialise(data));
  learner.train(data, 5);
  EXPECT_EQ(learner.referenceVectors().items(), 0);
}

TYPED_TEST(OnlineTrainingTest, EmptyDataOrNoEpochsChangeNothing) {
  using T = typename TestFixture::T;
  const auto data = threeBlobs<T>();
  auto learner = TestFixture::Maker::make(1);
  learner.train(CDataset<T>(), 4);
  EXPECT_EQ(learner.referenceVectors().items(), 0);
  learner.train(data, 0);
  EXPECT_EQ(learner.referenceVectors().items(), 0);
  learner.train(data, 1);
  const std::string trained = prototypeBytes(learner);
  learner.train(data, -2);
  learner.train(CDataset<T>(), 3);
  EXPECT_EQ(prototypeBytes(learner), trained);
}

TYPED_TEST(OnlineTrainingTest, TrainingLowersTheQuantisationError) {
  const auto data = threeBlobs<typename TestFixture::T>();
  auto initial = TestFixture::Maker::make(2);
  ASSERT_TRUE(initial.initialise(data));
  auto trained = TestFixture::Maker::make(2);
  trained.train(data, 1);
  auto longer = TestFixture::Maker::make(2);
  longer.train(data, 10);
  // The same seed starts all three from the same prototypes.
  EXPECT_LT(trained.quantizationError(data), initial.quantizationError(data));
  EXPECT_LT(longer.quantizationError(data), initial.quantizationError(data));
}

TYPED_TEST(OnlineTrainingTest, DuplicatePointsPullEveryPrototypeOntoThem) {
  using T = typename TestFixture::T;
  CDataset<T> data;
  for (int i = 0; i < 8; ++i) data.appendItem(itemOf<T>({T(1.5), T(-2)}));
  auto learner = TestFixture::Maker::make(4);
  learner.train(data, 3);
  for (int k = 0; k < learner.referenceVectors().items(); ++k) {
    EXPECT_NEAR(learner.referenceVectors().item(k).inputComponent(0), 1.5,
                1e-5);
    EXPECT_NEAR(learner.referenceVectors().item(k).inputComponent(1), -2, 1e-5);
  }
  EXPECT_NEAR(learner.quantizationError(data), 0, 1e-9);
}

TYPED_TEST(OnlineTrainingTest, OneDimensionalDataGiveOneDimensionalPrototypes) {
  using T = typename TestFixture::T;
  const auto data = blobs<T>({{-5}, {5}}, 20, 0.1);
  auto learner = TestFixture::Maker::make(4);
  learner.train(data, 5);
  ASSERT_EQ(learner.referenceVectors().items(), 4);
  EXPECT_EQ(learner.referenceVectors().inputDimension(), 1);
  // Both blobs are covered: one prototype between them would cost about 25.
  EXPECT_LT(learner.quantizationError(data), 2.0);
}

TYPED_TEST(OnlineTrainingTest, AsManyItemsAsPrototypesAreLearnedClosely) {
  using T = typename TestFixture::T;
  CDataset<T> data;
  for (int i = 0; i < 4; ++i) data.appendItem(itemOf<T>({T(10 * i), T(0)}));
  auto learner = TestFixture::Maker::make(8);
  TestFixture::Maker::setDecays(learner, 0.5, 0.01, 0.5, 0.01);
  learner.train(data, 30);
  // Started on the items and with a narrow neighbourhood, each prototype
  // stays with its item.
  EXPECT_LT(learner.quantizationError(data), 1e-2);
  std::vector<int> winners = learner.assignments(data);
  std::sort(winners.begin(), winners.end());
  EXPECT_EQ(std::unique(winners.begin(), winners.end()), winners.end());
}

TYPED_TEST(OnlineTrainingTest, NaNInputsDoNotBreakTraining) {
  using T = typename TestFixture::T;
  auto data = threeBlobs<T>();
  const T nan = std::numeric_limits<T>::quiet_NaN();
  data.appendItem(itemOf<T>({nan, T(0)}));
  auto learner = TestFixture::Maker::make(4);
  learner.train(data, 2);
  EXPECT_EQ(learner.referenceVectors().items(), 4);
  EXPECT_EQ(learner.assignments(data).size(), std::size_t(data.items()));
}

}  // namespace
