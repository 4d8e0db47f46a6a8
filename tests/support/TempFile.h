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
    static int counter = 0;
    // Typed test names contain '/', which must not become a directory.
    std::string name = std::string(test->test_suite_name()) + "_" +
                       test->name() + "_" + std::to_string(getpid()) + "_" +
                       std::to_string(counter++);
    for (char& c : name)
      if (c == '/') c = '_';
    path_ = testing::TempDir() + "vecml_" + name;
  }
  ~TempFile() { std::remove(path_.c_str()); }
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
  std::string path_;
};

#endif
