// SPDX-License-Identifier: MIT
// An archive that keeps written values and texts in memory and hands them
// back in the same order when loading; whole objects are stored through
// their own serialize2. Separators are counted when storing and not read.
#ifndef VECML_TESTS_SUPPORT_MEMORYARCHIVE_H
#define VECML_TESTS_SUPPORT_MEMORYARCHIVE_H

#include <deque>
#include <string>

#include "vecml/core/CArchiv.h"
#include "vecml/core/CObject.h"

class MemoryArchive : public CArchiv {
 public:
  bool loading = false;
  int separators = 0;

  bool isLoading() override { return loading; }
  void writeSeparator() override { ++separators; }
  void readSeparator() override {}

#define VECML_TEST_SCALAR_(Type)                        \
  void write(Type& v) override { values.push_back(v); } \
  void read(Type& v) override {                         \
    v = static_cast<Type>(values.front());              \
    values.pop_front();                                 \
  }
  VECML_TEST_SCALAR_(float)
  VECML_TEST_SCALAR_(double)
  VECML_TEST_SCALAR_(unsigned int)
  VECML_TEST_SCALAR_(int)
  VECML_TEST_SCALAR_(short)
  VECML_TEST_SCALAR_(unsigned long)
  VECML_TEST_SCALAR_(long)
  VECML_TEST_SCALAR_(char)
  VECML_TEST_SCALAR_(unsigned char)
  VECML_TEST_SCALAR_(unsigned short)
  VECML_TEST_SCALAR_(bool)
#undef VECML_TEST_SCALAR_

  void write(std::string& text) override { texts.push_back(text); }
  void read(std::string& text) override {
    text = texts.front();
    texts.pop_front();
  }
  void write(CObject<int>& object) override { object.serialize2(*this); }
  void write(CObject<float>& object) override { object.serialize2(*this); }
  void write(CObject<double>& object) override { object.serialize2(*this); }
  void read(CObject<int>& object) override { object.serialize2(*this); }
  void read(CObject<float>& object) override { object.serialize2(*this); }
  void read(CObject<double>& object) override { object.serialize2(*this); }

 private:
  // double holds every value these tests store exactly.
  std::deque<double> values;
  std::deque<std::string> texts;
};

#endif
