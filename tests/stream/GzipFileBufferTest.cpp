// SPDX-License-Identifier: MIT
// The validating readers' gzip buffer handed reads of every length: short
// ones through its own buffer, long ones inflated straight into the
// reader's memory, in any mix.
#include <gtest/gtest.h>

#include <istream>
#include <random>
#include <string>
#include <vector>

#include "support/TempFile.h"
#include "vecml/stream/detail/GzipFileBuffer.h"
#include "vecml/stream/gzstream.h"

namespace {

using vecml::detail::GzipFileBuffer;
using vecml::detail::OpenProblem;
using vecml::detail::openRegularFile;

// 300,000 bytes of a few letters (so that they compress), from a seed.
std::string someBytes() {
  std::mt19937 random(3);
  std::uniform_int_distribution<int> letter('a', 'h');
  std::string bytes(300000, ' ');
  for (char& c : bytes) c = static_cast<char>(letter(random));
  return bytes;
}

std::string gzipOf(const std::string& bytes) {
  TempFile file;
  ogzstream out(file.path().c_str(), std::ios::out);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  out.close();
  return file.contents();
}

// Reads the file holding `contents` with reads of the lengths in `steps`
// (repeated) and returns what arrived and the buffer's final state.
std::pair<std::string, GzipFileBuffer::State> readInSteps(
    const std::string& contents, const std::vector<std::size_t>& steps) {
  TempFile file;
  file.write(contents);
  OpenProblem problem{};
  std::uint64_t size = 0;
  GzipFileBuffer buffer(openRegularFile(file.path().c_str(), problem, size));
  std::istream in(&buffer);
  std::string arrived;
  std::vector<char> chunk;
  for (std::size_t k = 0; in; ++k) {
    chunk.resize(steps[k % steps.size()]);
    in.read(chunk.data(), static_cast<std::streamsize>(chunk.size()));
    arrived.append(chunk.data(), static_cast<std::size_t>(in.gcount()));
  }
  return {arrived, buffer.state()};
}

const std::vector<std::vector<std::size_t>> kStepMixes{
    {1}, {70000}, {4096}, {4095, 1, 100000}, {3, 65536, 7, 5000}};

TEST(GzipFileBufferTest, ReadsOfEveryLengthGiveTheInflatedBytes) {
  const std::string bytes = someBytes();
  const std::string compressed = gzipOf(bytes);
  for (const auto& steps : kStepMixes) {
    const auto [arrived, state] = readInSteps(compressed, steps);
    EXPECT_EQ(arrived, bytes);
    EXPECT_EQ(state, GzipFileBuffer::State::good);
  }
}

TEST(GzipFileBufferTest, ACutOffMemberEndsWithItsBytesSoFar) {
  const std::string bytes = someBytes();
  const std::string compressed = gzipOf(bytes);
  for (const auto& steps : kStepMixes) {
    const auto [arrived, state] =
        readInSteps(compressed.substr(0, compressed.size() / 2), steps);
    EXPECT_EQ(bytes.compare(0, arrived.size(), arrived), 0);
    EXPECT_LT(arrived.size(), bytes.size());
    EXPECT_EQ(state, GzipFileBuffer::State::broken);
  }
}

TEST(GzipFileBufferTest, PlainFilesReadAsTheyStand) {
  const std::string bytes = someBytes();
  for (const auto& steps : kStepMixes) {
    const auto [arrived, state] = readInSteps(bytes, steps);
    EXPECT_EQ(arrived, bytes);
    EXPECT_EQ(state, GzipFileBuffer::State::good);
  }
}

}  // namespace
