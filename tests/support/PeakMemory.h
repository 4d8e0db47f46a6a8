// SPDX-License-Identifier: MIT
// How much a piece of work raises this process's peak resident memory, for
// tests that bound a reader's memory by the size of its input.
#ifndef VECML_TESTS_SUPPORT_PEAKMEMORY_H
#define VECML_TESTS_SUPPORT_PEAKMEMORY_H

#include <cstdlib>
#include <fstream>
#include <string>

// A value of the form "VmHWM:  1234 kB" from /proc/self/status, in bytes.
inline long long statusBytes(const std::string& field) {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line))
    if (line.compare(0, field.size() + 1, field + ":") == 0)
      return std::atoll(line.c_str() + field.size() + 1) * 1024;
  return -1;
}

// The growth of this process's peak resident memory while `work` runs,
// counted from the resident size just before it.
template <typename Work>
long long peakGrowth(Work&& work) {
  // Writing 5 sets the peak back to the current resident size.
  std::ofstream("/proc/self/clear_refs") << "5";
  const long long before = statusBytes("VmRSS");
  work();
  return statusBytes("VmHWM") - before;
}

#endif
