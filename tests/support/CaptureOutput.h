// SPDX-License-Identifier: MIT
// Runs a callable and returns what it wrote to standard output.
#ifndef VECML_TESTS_SUPPORT_CAPTUREOUTPUT_H
#define VECML_TESTS_SUPPORT_CAPTUREOUTPUT_H

#include <gtest/gtest.h>

#include <iostream>
#include <string>

template <typename Callable>
std::string captureStdout(Callable&& callable) {
  testing::internal::CaptureStdout();
  callable();
  std::cout.flush();
  return testing::internal::GetCapturedStdout();
}

#endif
