// SPDX-License-Identifier: MIT
// A CArchiv that records every call as text, and replays queued values when
// loading, so tests can pin the exact sequence an object's serialize2 uses.
#ifndef VECML_TESTS_SUPPORT_RECORDINGARCHIVE_H
#define VECML_TESTS_SUPPORT_RECORDINGARCHIVE_H

#include <deque>
#include <sstream>
#include <string>
#include <vector>

#include "vecml/core/CArchiv.h"

class RecordingArchive : public CArchiv {
 public:
  explicit RecordingArchive(bool loading = false) : loading(loading) {}

  std::vector<std::string> calls;
  // Values handed out by the numeric read operations, in order.
  std::deque<double> numbers;
  std::deque<std::string> strings;

  bool isLoading() override {
    calls.push_back("isLoading");
    return loading;
  }

  void writeSeparator() override { calls.push_back("writeSeparator"); }
  void write(float& v) override { record("write(float)", v); }
  void write(double& v) override { record("write(double)", v); }
  void write(unsigned int& v) override { record("write(unsigned int)", v); }
  void write(int& v) override { record("write(int)", v); }
  void write(short& v) override { record("write(short)", v); }
  void write(unsigned long& v) override { record("write(unsigned long)", v); }
  void write(long& v) override { record("write(long)", v); }
  void write(char& v) override { record("write(char)", int(v)); }
  void write(unsigned char& v) override {
    record("write(unsigned char)", int(v));
  }
  void write(unsigned short& v) override { record("write(unsigned short)", v); }
  void write(bool& v) override { record("write(bool)", v); }
  void write(std::string& v) override { record("write(string)", v); }
  void write(CObject<int>&) override { calls.push_back("write(CObject<int>)"); }
  void write(CObject<float>&) override {
    calls.push_back("write(CObject<float>)");
  }
  void write(CObject<double>&) override {
    calls.push_back("write(CObject<double>)");
  }

  void readSeparator() override { calls.push_back("readSeparator"); }
  void read(float& v) override { v = static_cast<float>(next("read(float)")); }
  void read(double& v) override { v = next("read(double)"); }
  void read(unsigned int& v) override {
    v = static_cast<unsigned int>(next("read(unsigned int)"));
  }
  void read(int& v) override { v = static_cast<int>(next("read(int)")); }
  void read(short& v) override { v = static_cast<short>(next("read(short)")); }
  void read(unsigned long& v) override {
    v = static_cast<unsigned long>(next("read(unsigned long)"));
  }
  void read(long& v) override { v = static_cast<long>(next("read(long)")); }
  void read(char& v) override { v = static_cast<char>(next("read(char)")); }
  void read(unsigned char& v) override {
    v = static_cast<unsigned char>(next("read(unsigned char)"));
  }
  void read(unsigned short& v) override {
    v = static_cast<unsigned short>(next("read(unsigned short)"));
  }
  void read(bool& v) override { v = next("read(bool)") != 0; }
  void read(std::string& v) override {
    calls.push_back("read(string)");
    v = strings.empty() ? std::string() : strings.front();
    if (!strings.empty()) strings.pop_front();
  }
  void read(CObject<int>&) override { calls.push_back("read(CObject<int>)"); }
  void read(CObject<float>&) override {
    calls.push_back("read(CObject<float>)");
  }
  void read(CObject<double>&) override {
    calls.push_back("read(CObject<double>)");
  }

 private:
  template <typename V>
  void record(const char* call, const V& value) {
    std::ostringstream text;
    text << call << ' ' << value;
    calls.push_back(text.str());
  }

  double next(const char* call) {
    calls.push_back(call);
    if (numbers.empty()) return 0;
    const double value = numbers.front();
    numbers.pop_front();
    return value;
  }

  bool loading;
};

#endif
