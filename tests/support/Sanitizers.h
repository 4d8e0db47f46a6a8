// SPDX-License-Identifier: MIT
// What the sanitizers change about how a test process dies.
#ifndef VECML_TESTS_SUPPORT_SANITIZERS_H
#define VECML_TESTS_SUPPORT_SANITIZERS_H

#include <gtest/gtest.h>

#include <csignal>

#if defined(__SANITIZE_ADDRESS__)
#define VECML_TESTS_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VECML_TESTS_ASAN 1
#endif
#endif

#ifdef VECML_TESTS_ASAN
// The address sanitizer reports a fatal SIGFPE itself and exits non-zero.
#define EXPECT_DIES_OF_SIGFPE(statement) \
  EXPECT_EXIT(statement, testing::ExitedWithCode(1), "AddressSanitizer: FPE")
#else
#define EXPECT_DIES_OF_SIGFPE(statement) \
  EXPECT_EXIT(statement, testing::KilledBySignal(SIGFPE), "")
#endif

#endif
