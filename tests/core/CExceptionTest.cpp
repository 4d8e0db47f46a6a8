// SPDX-License-Identifier: MIT
#include "vecml/core/CException.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "support/CaptureOutput.h"

namespace {

using testing::HasSubstr;

TEST(CException, WhatAndDestructionTraceOnStandardOutput) {
  std::string message;
  const std::string output = captureStdout([&] {
    try {
      throw CException("Adaptation of sparse vectors is not supported.");
    } catch (const CException& exception) {
      message = exception.what();
    }
  });
  EXPECT_EQ(output, "getting message\ndestructor \n");
  EXPECT_EQ(message, "Adaptation of sparse vectors is not supported.");
}

TEST(CException, FormatsLikePrintf) {
  const std::string output = captureStdout([] {
    const CException exception("value %d of %s", 3, "three");
    EXPECT_STREQ(exception.what(), "value 3 of three");
  });
  EXPECT_EQ(output, "getting message\ndestructor \n");
}

TEST(CException, StringConstructorKeepsTextVerbatim) {
  captureStdout([] {
    const CException exception(std::string("100% literal"));
    EXPECT_STREQ(exception.what(), "100% literal");
  });
}

TEST(CException, IsAStdException) {
  const std::string output = captureStdout([] {
    try {
      throw CException("code %d", 7);
    } catch (const std::exception& exception) {
      EXPECT_STREQ(exception.what(), "code 7");
    }
  });
  EXPECT_EQ(output, "getting message\ndestructor \n");
}

TEST(CException, AcceptsExactly999Characters) {
  captureStdout([] {
    const std::string longest(999, 'x');
    const CException exception("%s", longest.c_str());
    EXPECT_EQ(std::string(exception.what()), longest);
  });
}

TEST(CExceptionDeathTest, MessageOver999CharactersEndsTheProcess) {
  const std::string tooLong(1000, 'x');
  EXPECT_DEATH(
      CException("%s", tooLong.c_str()),
      HasSubstr("CException: message does not fit into 999 characters"));
}

}  // namespace
