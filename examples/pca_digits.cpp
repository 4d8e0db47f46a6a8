// SPDX-License-Identifier: MIT
// Principal components of the handwritten digits: prints how much of the
// variance the leading components explain and draws every digit at its
// first two components as an SVG scatter plot, coloured by digit.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

#include "vecml/vecml.h"

namespace {

const char* const kColours[] = {"#1f77b4", "#ff7f0e", "#2ca02c", "#d62728",
                                "#9467bd", "#8c564b", "#e377c2", "#7f7f7f",
                                "#bcbd22", "#17becf"};

// Maps coordinates of the range [low, high] onto [from, to] pixels.
struct Axis {
  float low, high, from, to;
  float operator()(float value) const {
    return from + (value - low) / (high - low) * (to - from);
  }
};

// "PC<number> (<percent>% of the variance)".
std::string axisLabel(int component, float ratio) {
  char text[64];
  std::snprintf(text, sizeof text, "PC%d (%.1f%% of the variance)",
                component + 1, 100.0 * ratio);
  return text;
}

// Writes the digits' first two coordinates (`points`, one item per digit,
// output 0 the digit) as an SVG scatter plot with a legend and labelled
// axes. Returns false when the file cannot be written.
bool writeScatterPlot(const std::string& fileName,
                      const CDataset<float>& points,
                      const CDenseVector<float>& ratios) {
  const float width = 640, height = 560, margin = 60, legendWidth = 90;
  // Keeps the outermost dots off the frame.
  const float inset = 8;
  const CDenseVector<float> low = minElements(points);
  const CDenseVector<float> high = maxElements(points);
  const Axis x{low[0], high[0], margin + inset,
               width - legendWidth - margin / 2 - inset};
  const Axis y{low[1], high[1], height - margin - inset, margin / 2 + inset};

  std::ofstream svg(fileName);
  svg << "<svg xmlns='http://www.w3.org/2000/svg' width='" << width
      << "' height='" << height << "' font-family='sans-serif'>\n"
      << "<rect width='100%' height='100%' fill='white'/>\n"
      << "<rect x='" << x.from - inset << "' y='" << y.to - inset << "' width='"
      << x.to - x.from + 2 * inset << "' height='" << y.from - y.to + 2 * inset
      << "' fill='none' stroke='grey'/>\n";
  for (int n = 0; n < points.items(); ++n) {
    const int digit = static_cast<int>(points[n].outputComponent(0));
    svg << "<circle cx='" << x(points[n].inputComponent(0)) << "' cy='"
        << y(points[n].inputComponent(1)) << "' r='2.5' fill='"
        << kColours[digit % 10] << "' fill-opacity='0.7'/>\n";
  }
  svg << "<text x='" << (x.from + x.to) / 2 << "' y='" << height - 20
      << "' text-anchor='middle' font-size='14'>" << axisLabel(0, ratios[0])
      << "</text>\n<text transform='translate(20 " << (y.from + y.to) / 2
      << ") rotate(-90)' text-anchor='middle' font-size='14'>"
      << axisLabel(1, ratios[1]) << "</text>\n";
  for (int digit = 0; digit < 10; ++digit) {
    const float top = margin + 22.0f * digit;
    svg << "<circle cx='" << width - legendWidth + 10 << "' cy='" << top
        << "' r='5' fill='" << kColours[digit] << "'/>\n<text x='"
        << width - legendWidth + 22 << "' y='" << top + 5
        << "' font-size='13'>digit " << digit << "</text>\n";
  }
  svg << "</svg>\n";
  return static_cast<bool>(svg);
}

}  // namespace

int main(int argc, char** argv) {
  // 1. Read the digits: 64 pixel counts in, the digit 0..9 out.
  const char* dataFile = argc > 1 ? argv[1] : VECML_EXAMPLE_DATA;
  CDataset<float> digits;
  std::string error;
  if (!digits.read(dataFile, error)) {
    std::cerr << error << '\n';
    return EXIT_FAILURE;
  }

  // 2. Learn every principal component.
  CPrincipalComponents<float> pca;
  if (!pca.train(digits)) {
    std::cerr << "the digits have too few items for principal components\n";
    return EXIT_FAILURE;
  }
  const CDenseVector<float>& ratios = pca.explainedVarianceRatio();
  std::printf("explained variance ratio of the first components:\n");
  float cumulative = 0;
  for (int j = 0; j < 10 && j < pca.directions(); ++j) {
    cumulative += ratios[j];
    std::printf("  PC%-2d %.4f  (together %.4f)\n", j + 1, ratios[j],
                cumulative);
  }

  // 3. Every digit at its first two coordinates, its digit as output.
  CDataset<float> points;
  for (int n = 0; n < digits.items(); ++n) {
    const CDenseVector<float> all = pca.project(*digits[n].inputVector());
    const CDenseVector<float> xy(2, all._data());
    points.appendItem(CDatasetItem<float>(xy, *digits[n].outputVector(), n));
  }
  const std::string plotFile = "pca_digits.svg";
  if (!writeScatterPlot(plotFile, points, ratios)) {
    std::cerr << "cannot write " << plotFile << '\n';
    return EXIT_FAILURE;
  }
  std::cout << "plot: " << std::filesystem::absolute(plotFile).string() << '\n';
  return EXIT_SUCCESS;
}
