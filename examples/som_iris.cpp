// SPDX-License-Identifier: MIT
// Self-organising map of the iris flowers: trains an 8 x 8 map on the
// standardised measurements and draws it as an SVG grid, each unit coloured
// by the species of most of the flowers it wins.
// Usage: som_iris [iris dataset file] [SVG file to write (som_iris.svg)]
#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "vecml/vecml.h"

namespace {

constexpr int kSpecies = 3;
const std::array<const char*, kSpecies> kSpeciesNames{"setosa", "versicolor",
                                                      "virginica"};
const std::array<const char*, kSpecies> kSpeciesColours{"#1b9e77", "#d95f02",
                                                        "#7570b3"};

// The species (output element 0) of most of the flowers each unit wins; -1
// for a unit that wins none. A tie goes to the lower species number.
std::vector<int> majoritySpecies(const CSelfOrganizingMap<float>& map,
                                 const CDataset<float>& flowers) {
  std::vector<std::array<int, kSpecies>> counts(map.units(), {0, 0, 0});
  const std::vector<int> winners = map.assignments(flowers);
  for (int i = 0; i < flowers.items(); ++i) {
    const int species = static_cast<int>(flowers[i].outputComponent(0));
    if (species >= 0 && species < kSpecies) ++counts[winners[i]][species];
  }
  std::vector<int> majority(map.units(), -1);
  for (int unit = 0; unit < map.units(); ++unit) {
    for (int species = 0; species < kSpecies; ++species) {
      const int best = majority[unit];
      if (counts[unit][species] > (best < 0 ? 0 : counts[unit][best]))
        majority[unit] = species;
    }
  }
  return majority;
}

// Writes the map as a grid of squares (row 0 at the top), a legend and a
// caption. Returns false when the file cannot be written.
bool writeMapPicture(const std::string& fileName,
                     const CSelfOrganizingMap<float>& map,
                     const std::vector<int>& species,
                     const std::string& caption) {
  const int cell = 40, margin = 20;
  const int gridWidth = map.columns() * cell, gridHeight = map.rows() * cell;
  // Room for the legend beside the grid and for the caption below it
  // (about 7 pixels a character at 13 pixels).
  const int width = std::max(gridWidth + 2 * margin + 140,
                             static_cast<int>(caption.size()) * 7 + 2 * margin);
  const int height = gridHeight + 2 * margin + 30;
  std::ofstream svg(fileName);
  svg << "<svg xmlns='http://www.w3.org/2000/svg' width='" << width
      << "' height='" << height << "'>\n<rect width='100%' height='100%' "
      << "fill='white'/>\n";
  for (int unit = 0; unit < map.units(); ++unit) {
    const char* fill =
        species[unit] < 0 ? "white" : kSpeciesColours[species[unit]];
    svg << "<rect x='" << margin + map.unitColumn(unit) * cell << "' y='"
        << margin + map.unitRow(unit) * cell << "' width='" << cell
        << "' height='" << cell << "' fill='" << fill << "' stroke='grey'/>\n";
  }
  const int legendX = margin + gridWidth + 20;
  for (int entry = 0; entry <= kSpecies; ++entry) {
    const bool empty = entry == kSpecies;
    const int y = margin + entry * 25;
    svg << "<rect x='" << legendX << "' y='" << y
        << "' width='16' height='16' stroke='grey' fill='"
        << (empty ? "white" : kSpeciesColours[entry]) << "'/>\n<text x='"
        << legendX + 22 << "' y='" << y + 13 << "' font-size='13'>"
        << (empty ? "no flower" : kSpeciesNames[entry]) << "</text>\n";
  }
  svg << "<text x='" << margin << "' y='" << margin + gridHeight + 25
      << "' font-size='13'>" << caption << "</text>\n</svg>\n";
  return static_cast<bool>(svg);
}

}  // namespace

int main(int argc, char** argv) {
  const std::string dataFile = argc > 1 ? argv[1] : VECML_EXAMPLE_DATA;
  const std::string pictureFile = argc > 2 ? argv[2] : "som_iris.svg";

  // Read the flowers (4 measurements in, the species 0, 1, 2 out) and
  // standardise every measurement to mean 0 and standard deviation 1.
  CDataset<float> flowers;
  std::string error;
  if (!flowers.read(dataFile.c_str(), error)) {
    std::cerr << error << '\n';
    return EXIT_FAILURE;
  }
  CDenseVector<float> mean, sd;
  const CDataset<float> standardised = zscore(flowers, mean, sd);

  // An 8 x 8 map; the seed makes every run draw the same.
  CSelfOrganizingMap<float> map(8, 8, new CEuclideanMetric<float>(), 1);
  // The radius ends at one unit so that neighbours stay alike.
  map.setRadii(4.0, 1.0);
  map.train(standardised, 100);
  const float quantisation = map.quantizationError(standardised);
  const float topographic = map.topographicError(standardised);
  std::cout << "quantisation error: " << quantisation
            << "\ntopographic error:  " << topographic << '\n';

  std::ostringstream caption;
  caption << "iris on an 8 x 8 map: quantisation error " << quantisation
          << ", topographic error " << topographic;
  if (!writeMapPicture(pictureFile, map, majoritySpecies(map, standardised),
                       caption.str())) {
    std::cerr << "cannot write " << pictureFile << '\n';
    return EXIT_FAILURE;
  }
  std::cout << "map: " << std::filesystem::absolute(pictureFile).string()
            << '\n';
  return EXIT_SUCCESS;
}
