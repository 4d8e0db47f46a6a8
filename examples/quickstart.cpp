// SPDX-License-Identifier: MIT
// Quick start: read the iris flowers, standardise them, print their
// statistics, group them with k-means, report how the groups match the
// species, save the centres and draw what was learned as an SVG scatter
// plot.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include "vecml/vecml.h"

namespace {

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

int main(int argc, char** argv) {
  // 1. Read the iris flowers (4 measurements in, the species 0, 1, 2 out)
  //    with the reader that checks the file instead of trusting it; the
  //    shipped file unless another is named.
  CDataset<float> flowers;
  std::string error;
  const char* dataFile = argc > 1 ? argv[1] : VECML_EXAMPLE_DATA;
  if (!flowers.read(dataFile, error)) {
    std::cerr << error << '\n';
    return EXIT_FAILURE;
  }

  // 2. Standardise every measurement to mean 0 and standard deviation 1.
  CDenseVector<float> mean, sd;
  CDataset<float> standardised = zscore(flowers, mean, sd);

  // 3. Print the per-feature table of the standardised data.
  CDatasetStatistic<float> statistic(&standardised);
  statistic.dumpStatistic();

  // 4. Group the flowers around three centres (k-means++ seeding from a
  //    fixed seed, then Lloyd iterations until nothing moves), and count
  //    how the groups meet the species.
  CKMeans<float> kmeans(3);
  kmeans.trainBatch(standardised, 100);
  std::printf("\nk-means: %d iterations, rmse %.4f, inertia %.2f\n",
              kmeans.iterations(), kmeans.rmse(standardised),
              kmeans.inertia(standardised));
  const std::vector<int> cluster = kmeans.assignments(standardised);
  int count[3][3] = {};
  for (int i = 0; i < standardised.items(); ++i)
    ++count[cluster[i]][int(standardised[i].outputComponent(0))];
  std::printf("cluster  setosa  versicolor  virginica\n");
  for (int k = 0; k < 3; ++k)
    std::printf("%7d  %6d  %10d  %9d\n", k, count[k][0], count[k][1],
                count[k][2]);

  // 5. Save the centres as a dataset file and draw petal length against
  //    petal width (features 2 and 3) with the centres on top.
  const std::string centreFile = "quickstart-centres.gz";
  const std::string plotFile = "quickstart.svg";
  if (!kmeans.referenceVectors().write(centreFile.c_str()) ||
      !writeScatterPlot(plotFile,
                        "iris: petal length (x) and width (y) as z-scores; "
                        "rings: k-means centres",
                        standardised, kmeans.referenceVectors(), 2, 3)) {
    std::cerr << "cannot write the result files\n";
    return EXIT_FAILURE;
  }

  std::cout << "\ncentres: " << std::filesystem::absolute(centreFile).string()
            << "\nplot:    " << std::filesystem::absolute(plotFile).string()
            << '\n';
  return EXIT_SUCCESS;
}
