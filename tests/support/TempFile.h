// SPDX-License-Identifier: MIT
// A file name under the test temporary directory, removed when the object
// goes out of scope.
#ifndef VECML_TESTS_SUPPORT_TEMPFILE_H
#define VECML_TESTS_SUPPORT_TEMPFILE_H

#include <gtest/gtest.h>

#include <unistd.h>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

class TempFile {
 public:
  TempFile() {
    const auto* test = testing::UnitTest::GetInstance()->current_test_info();
    // Typed test names contain '/', which must not become a directory.
    std::string name =
        std::string(test->test_suite_name()) + "_" + test->name();
    for (char& c : name)
      if (c == '/') c = '_';
    // A death test's child process runs the test body again and dies
    // without destructors. It numbers its files like the parent (the count
    // restarts with every test) under the parent's process id with a
    // suffix, so that the parent's object removes the child's file too.
    const bool child = inDeathTestChild();
    path_ = testing::TempDir() + "vecml_" + name + "_" +
            std::to_string(child ? getppid() : getpid()) + "_" +
            std::to_string(nextNumber(name)) + (child ? kChildSuffix : "");
  }
  ~TempFile() {
    std::remove(path_.c_str());
    std::remove((path_ + kChildSuffix).c_str());
  }
  TempFile(const TempFile&) = delete;
  TempFile& operator=(const TempFile&) = delete;

  const std::string& path() const { return path_; }

  std::string contents() const {
    std::ifstream in(path_, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
  }

  void write(const std::string& bytes) const {
    std::ofstream(path_, std::ios::binary | std::ios::trunc) << bytes;
  }

 private:
  static constexpr const char* kChildSuffix = ".death-child";

  // \return 0, 1, 2, ... for the files of one test, from 0 in every test.
  static int nextNumber(const std::string& test) {
    static std::string currentTest;
    static int counter = 0;
    if (test != currentTest) {
      currentTest = test;
      counter = 0;
    }
    return counter++;
  }

  // \return true in the process a threadsafe death test starts.
  static bool inDeathTestChild() {
    std::ifstream in("/proc/self/cmdline", std::ios::binary);
    const std::string arguments(std::istreambuf_iterator<char>(in), {});
    return arguments.find("--gtest_internal_run_death_test") !=
           std::string::npos;
  }

  std::string path_;
};

#endif
