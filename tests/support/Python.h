// SPDX-License-Identifier: MIT
// Runs short scripts under the system's python3, for tests that cross-check
// vecml against numpy, scipy and scikit-learn on the same data.
#ifndef VECML_TESTS_SUPPORT_PYTHON_H
#define VECML_TESTS_SUPPORT_PYTHON_H

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "support/TempFile.h"

// The Debian interpreter, which sees the python3-* packages whatever python3
// comes first on PATH.
constexpr const char* kPython = "/usr/bin/python3";

// Runs \p script with the arguments \p arguments (each quoted by the caller
// where needed, e.g. "'/tmp/a' 3") under kPython.
// \return what it wrote to standard output and error, followed by
//         "exit <status>" when it failed.
inline std::string runPython(const std::string& script,
                             const std::string& arguments) {
  TempFile scriptFile;
  scriptFile.write(script);
  const std::string command = std::string(kPython) + " '" + scriptFile.path() +
                              "' " + arguments + " 2>&1";
  FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return "exit: popen failed";
  std::string output;
  char buffer[256];
  while (std::fgets(buffer, sizeof buffer, pipe) != nullptr) output += buffer;
  const int status = pclose(pipe);
  return status == 0 ? output : output + "exit " + std::to_string(status);
}

// \return true when kPython can import \p module (e.g. "sklearn.cluster").
inline bool pythonHas(const std::string& module) {
  const std::string probe =
      std::string(kPython) + " -c 'import " + module + "' > /dev/null 2>&1";
  return std::system(probe.c_str()) == 0;
}

// Skips the current test, naming the Debian package, when kPython cannot
// import \p module. Use in SetUp() or at the top of a test body.
#define VECML_REQUIRE_PYTHON_MODULE(module, package)           \
  do {                                                         \
    if (!pythonHas(module))                                    \
      GTEST_SKIP() << package << " not installed: " << kPython \
                   << " cannot import " << module;             \
  } while (false)

#endif
