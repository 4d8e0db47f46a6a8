// SPDX-License-Identifier: MIT
// Quick start: read the iris flowers, standardise them, print their
// statistics, learn a few prototypes by online vector quantisation, save the
// prototypes and draw what was learned as an SVG scatter plot.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

#include "vecml/vecml.h"

namespace {

// Online vector quantisation: every sample pulls its nearest prototype a
// step towards itself; the step shrinks linearly over the whole training.
class COnlineQuantiser : public CClusterAlgorithm<float> {
 public:
  // Starts from `count` items of `data` drawn at random; each prototype's
  // output is its number.
  COnlineQuantiser(const CDataset<float>& data, int count)
      : CClusterAlgorithm<float>(new CEuclideanMetric<float>()) {
    for (int k = 0; k < count; ++k) {
      const CVector<float>& start = *data.getRandomItem().inputVector();
      referenceVectors().appendItem(
          CDatasetItem<float>(start, CDenseVector<float>(1, float(k)), k));
    }
  }

  std::string className() const override { return "COnlineQuantiser"; }

  void train(const CDataset<float>& data, int epochs) override {
    CLinearRate<float> schedule(0.03f, 0.001f, epochs * data.items());
    std::printf("epoch  0  rmse %.4f\n", rmse(data));
    for (int epoch = 1; epoch <= epochs; ++epoch) {
      for (int step = 0; step < data.items(); ++step) {
        const CVector<float>& sample = *data.getRandomItem().inputVector();
        CDatasetItem<float>& winner = referenceVectors()[nearestNode(sample)];
        metric()->adaptVec(*winner.inputVector(), sample, schedule.iterate());
      }
      std::printf("epoch %2d  rmse %.4f  (learning rate %.3f)\n", epoch,
                  rmse(data), schedule.currentRate());
    }
  }
};

// Writes an SVG scatter plot of input features `x` and `y`: one dot per item,
// coloured by its class (output element 0), and a ring per prototype.
// Returns false when the file cannot be written.
bool writeScatterPlot(const std::string& fileName, const std::string& title,
                      const CDataset<float>& data,
                      const CDataset<float>& prototypes, int x, int y) {
  const float size = 480.0f, margin = 40.0f;
  const CDenseVector<float> low = minElements(data), high = maxElements(data);
  auto px = [&](const CDatasetItem<float>& item) {
    return margin + (item.inputComponent(x) - low[x]) / (high[x] - low[x]) *
                        (size - 2 * margin);
  };
  auto py = [&](const CDatasetItem<float>& item) {
    return size - margin -
           (item.inputComponent(y) - low[y]) / (high[y] - low[y]) *
               (size - 2 * margin);
  };
  const char* colours[] = {"#1b9e77", "#d95f02", "#7570b3"};

  std::ofstream svg(fileName);
  svg << "<svg xmlns='http://www.w3.org/2000/svg' width='" << size
      << "' height='" << size << "'>\n<rect width='100%' height='100%' "
      << "fill='white'/>\n<text x='" << margin / 2 << "' y='15' font-size='13'>"
      << title << "</text>\n<rect x='" << margin / 2 << "' y='" << margin / 2
      << "' width='" << size - margin << "' height='" << size - margin
      << "' fill='none' stroke='grey'/>\n";
  for (int i = 0; i < data.items(); ++i) {
    const int label = int(data[i].outputComponent(0));
    svg << "<circle cx='" << px(data[i]) << "' cy='" << py(data[i])
        << "' r='4' fill='" << colours[label % 3] << "'/>\n";
  }
  for (int k = 0; k < prototypes.items(); ++k) {
    svg << "<circle cx='" << px(prototypes[k]) << "' cy='" << py(prototypes[k])
        << "' r='9' fill='none' stroke='black' stroke-width='3'/>\n";
  }
  svg << "</svg>\n";
  return bool(svg);
}

}  // namespace

int main() {
  // 1. Read the iris flowers (4 measurements in, the species 0, 1, 2 out)
  //    with the reader that checks the file instead of trusting it.
  CDataset<float> flowers;
  std::string error;
  if (!flowers.read(VECML_EXAMPLE_DATA, error)) {
    std::cerr << error << '\n';
    return EXIT_FAILURE;
  }

  // 2. Standardise every measurement to mean 0 and standard deviation 1.
  CDenseVector<float> mean, sd;
  CDataset<float> standardised = zscore(flowers, mean, sd);

  // 3. Print the per-feature table of the standardised data.
  CDatasetStatistic<float> statistic(&standardised);
  statistic.dumpStatistic();

  // 4. Learn six prototypes; a fixed seed makes every run the same.
  std::srand(3);
  COnlineQuantiser quantiser(standardised, 6);
  quantiser.train(standardised, 10);

  // 5. Save the prototypes as a dataset file and draw petal length against
  //    petal width (features 2 and 3) with the prototypes on top.
  const std::string prototypeFile = "quickstart-prototypes.gz";
  const std::string plotFile = "quickstart.svg";
  if (!quantiser.referenceVectors().write(prototypeFile.c_str()) ||
      !writeScatterPlot(plotFile,
                        "iris: petal length (x) and width (y) as z-scores; "
                        "rings: prototypes",
                        standardised, quantiser.referenceVectors(), 2, 3)) {
    std::cerr << "cannot write the result files\n";
    return EXIT_FAILURE;
  }

  std::cout << "\nprototypes: "
            << std::filesystem::absolute(prototypeFile).string()
            << "\nplot:       " << std::filesystem::absolute(plotFile).string()
            << '\n';
  return EXIT_SUCCESS;
}
