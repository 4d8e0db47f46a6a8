// SPDX-License-Identifier: MIT
#include "vecml/core/CArchiv.h"

#include <gtest/gtest.h>

#include <type_traits>

#include "support/RecordingArchive.h"
#include "vecml/core/CObject.h"

namespace {

TEST(CArchiv, IsAbstractAndPolymorphic) {
  EXPECT_TRUE(std::is_abstract_v<CArchiv>);
  EXPECT_TRUE(std::has_virtual_destructor_v<CArchiv>);
}

TEST(CArchiv, OverloadsResolveByOperandType) {
  RecordingArchive archive;
  int i = 1;
  unsigned long size = 2;
  float f = 1.5f;
  double d = 2.5;
  bool b = true;
  std::string s = "CDenseVector";
  CObject<float> objectF;
  CObject<double> objectD;
  archive.write(i);
  archive.write(size);
  archive.write(f);
  archive.write(d);
  archive.write(b);
  archive.write(s);
  archive.write(objectF);
  archive.write(objectD);
  archive.writeSeparator();
  const std::vector<std::string> expected = {
      "write(int) 1",          "write(unsigned long) 2",
      "write(float) 1.5",      "write(double) 2.5",
      "write(bool) 1",         "write(string) CDenseVector",
      "write(CObject<float>)", "write(CObject<double>)",
      "writeSeparator"};
  EXPECT_EQ(archive.calls, expected);
}

}  // namespace
