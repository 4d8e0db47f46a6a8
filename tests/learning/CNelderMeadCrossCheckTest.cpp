// SPDX-License-Identifier: MIT
// CNelderMead against scipy.optimize.minimize(method="Nelder-Mead") from the
// same starts with the same absolute tolerances.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "learning/OptimizerTestProblems.h"
#include "support/Python.h"
#include "support/TempFile.h"
#include "vecml/learning/CNelderMead.h"

namespace {

// Both sides stop when vertices and values are within 1e-10 of the best.
constexpr double kTolerance = 1e-10;
constexpr int kMaxSteps = 100000;

// Reads the objective's name and the start (hexadecimal floats, one a line)
// from the file argv[1]; prints the number of evaluations and the minimiser
// found, in hexadecimal.
constexpr const char* kScript = R"(
import sys
from scipy.optimize import minimize

def rosenbrock(x):
    total = 0.0
    for i in range(len(x) - 1):
        valley = x[i + 1] - x[i] * x[i]
        slope = 1.0 - x[i]
        total += 100.0 * valley * valley + slope * slope
    return total

def bowl(x):
    total = 0.0
    for i in range(len(x)):
        offset = x[i] - CENTRE[i]
        total += float(i + 1) * offset * offset
    return total

lines = open(sys.argv[1]).read().split()
CENTRE = [float.fromhex(v) for v in lines[2:]]
start = [float.fromhex(v) for v in lines[1].split(',')]
objective = rosenbrock if lines[0] == 'rosenbrock' else bowl
result = minimize(objective, start, method='Nelder-Mead',
                  options={'xatol': 1e-10, 'fatol': 1e-10,
                           'maxiter': 100000, 'maxfev': 100000})
print(result.nfev, ' '.join(float(v).hex() for v in result.x))
)";

struct Reference {
  long evaluations = 0;
  std::vector<double> minimiser;
};

std::string hexList(const std::vector<double>& values, char separator) {
  std::ostringstream text;
  for (std::size_t i = 0; i < values.size(); ++i) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%a", values[i]);
    text << (i == 0 ? "" : std::string(1, separator)) << buffer;
  }
  return text.str();
}

Reference scipyMinimum(const std::string& objective,
                       const std::vector<double>& start,
                       const std::vector<double>& centre) {
  TempFile input;
  input.write(objective + "\n" + hexList(start, ',') + "\n" +
              hexList(centre, '\n') + "\n");
  const std::string output = runPython(kScript, "'" + input.path() + "'");
  std::istringstream text(output);
  Reference reference;
  text >> reference.evaluations;
  std::string value;
  while (text >> value)
    reference.minimiser.push_back(std::strtod(value.c_str(), nullptr));
  EXPECT_EQ(reference.minimiser.size(), start.size()) << output;
  return reference;
}

// Runs \p search from \p start and compares with scipy's result.
template <typename Problem>
void expectScipyMinimum(Problem& search, const std::string& objective,
                        const std::vector<double>& start,
                        const std::vector<double>& centre = {}) {
  const Reference reference = scipyMinimum(objective, start, centre);
  search.setTolerances(kTolerance, kTolerance);
  search.setPosition(CDenseVector<double>(start));
  search.optimize(kMaxSteps);
  ASSERT_EQ(reference.minimiser.size(), start.size());
  double largest = 0;
  for (std::size_t i = 0; i < start.size(); ++i)
    largest =
        std::max(largest, std::abs(search.position()[static_cast<int>(i)] -
                                   reference.minimiser[i]));
  EXPECT_LE(largest, 1e-6);
  std::cout << "[ cross-check ] " << objective << " " << start.size()
            << "-D: largest coordinate difference " << largest
            << ", evaluations " << search.evaluations() << " (scipy "
            << reference.evaluations << ")\n";
}

class CNelderMeadCrossCheckTest : public testing::Test {
 protected:
  void SetUp() override {
    VECML_REQUIRE_PYTHON_MODULE("scipy.optimize", "python3-scipy");
  }
};

TEST_F(CNelderMeadCrossCheckTest, RosenbrockIn2D) {
  CRosenbrockProblem<CNelderMead<double>> search;
  expectScipyMinimum(search, "rosenbrock", {-1.2, 1.0});
}

TEST_F(CNelderMeadCrossCheckTest, RosenbrockIn4D) {
  CRosenbrockProblem<CNelderMead<double>> search;
  expectScipyMinimum(search, "rosenbrock", {-1.2, 1.0, -1.2, 1.0});
}

TEST_F(CNelderMeadCrossCheckTest, QuadraticBowlIn3D) {
  const std::vector<double> centre{1.5, -2.0, 0.25};
  CBowlProblem<CNelderMead<double>> search(centre);
  expectScipyMinimum(search, "bowl", {0.0, 0.0, 0.0}, centre);
}

}  // namespace
