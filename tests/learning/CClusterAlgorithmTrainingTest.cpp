// SPDX-License-Identifier: MIT
// A client-side online vector quantiser built on the cluster algorithm base:
// it moves the winning prototype towards each sample with the metric's
// adaptVec, stepping a learning-rate schedule once per sample.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <set>
#include <string>

#include "learning/CClusterAlgorithmTestSupport.h"
#include "vecml/learning/CClusterAlgorithm.h"
#include "vecml/learning/CLearnRate.h"

namespace {

class COnlineQuantiser : public CClusterAlgorithm<float> {
 public:
  COnlineQuantiser(CMetric<float>* metric, CLearnRate<float>& schedule)
      : CClusterAlgorithm<float>(metric), schedule(schedule) {}

  std::string className() const override { return "COnlineQuantiser"; }

  void train(const CDataset<float>& data, int epochs) override {
    for (int epoch = 0; epoch < epochs; ++epoch) {
      for (int j = 0; j < data.items(); ++j) {
        const CVector<float>& sample = *data.item(j).inputVector();
        CVector<float>& winner =
            *referenceVectors().item(nearestNode(sample)).inputVector();
        metric()->adaptVec(winner, sample, schedule.iterate());
      }
    }
  }

 private:
  CLearnRate<float>& schedule;
};

constexpr unsigned kSeed = 18;
constexpr int kBlobs = 3;
constexpr int kPointsPerBlob = 100;
constexpr float kSpread = 0.5f;
constexpr float kCentres[kBlobs][2] = {{0, 0}, {6, 0}, {0, 6}};

// One standard normal value from the C generator (Box-Muller).
float gaussian() {
  const double u1 = (std::rand() + 1.0) / (RAND_MAX + 2.0);
  const double u2 = (std::rand() + 1.0) / (RAND_MAX + 2.0);
  return static_cast<float>(std::sqrt(-2.0 * std::log(u1)) *
                            std::cos(6.283185307179586 * u2));
}

// Three Gaussian blobs, interleaved so that one pass visits them in turn.
// The output of each item is the index of its blob.
CDataset<float> threeBlobs() {
  CDataset<float> data;
  for (int i = 0; i < kBlobs * kPointsPerBlob; ++i) {
    const float* centre = kCentres[i % kBlobs];
    data.appendItem(CDatasetItem<float>(
        denseOf<float>({centre[0] + kSpread * gaussian(),
                        centre[1] + kSpread * gaussian()}),
        CDenseVector<float>(1, static_cast<float>(i % kBlobs))));
  }
  return data;
}

TEST(CClusterAlgorithmTrainingTest, OnlineQuantisationReducesTheRmse) {
  SCOPED_TRACE("seed " + std::to_string(kSeed));
  RecordProperty("seed", static_cast<int>(kSeed));
  std::srand(kSeed);
  const CDataset<float> data = threeBlobs();

  const int epochs = 5;
  CLinearRate<float> schedule(0.3f, 0.01f, epochs * data.items());
  COnlineQuantiser quantiser(new CEuclideanMetric<float>(), schedule);
  std::set<float> startingBlobs;
  for (int k = 0; k < kBlobs; ++k) {
    const CDatasetItem<float>& start = data.getRandomItem();
    quantiser.referenceVectors().appendItem(start);
    startingBlobs.insert(start.outputComponent(0));
  }
  // With this seed all prototypes start in one blob, so the untrained error
  // is dominated by the blobs without a prototype.
  ASSERT_EQ(startingBlobs.size(), 1u);

  const float before = quantiser.rmse(data);
  quantiser.train(data, epochs);
  const float after = quantiser.rmse(data);

  // The quantisation error of the true blob centres, which training should
  // approach.
  COnlineQuantiser centres(new CEuclideanMetric<float>(), schedule);
  for (const auto& centre : kCentres) {
    centres.referenceVectors().appendItem(
        itemOf<float>({centre[0], centre[1]}));
  }
  const float best = centres.rmse(data);

  RecordProperty("rmse_before", std::to_string(before));
  RecordProperty("rmse_after", std::to_string(after));
  EXPECT_LT(after, 0.25f * before);
  EXPECT_LT(after, 1.1f * best);
  EXPECT_EQ(schedule.iteration(), epochs * data.items());
}

}  // namespace
