// SPDX-License-Identifier: MIT
// Helpers shared by the gzip stream tests: a buffer that shows its areas,
// byte patterns, and whole-file round trips through the streams and through
// the gzip command.
#ifndef VECML_TESTS_STREAM_STREAMTESTSUPPORT_H
#define VECML_TESTS_STREAM_STREAMTESTSUPPORT_H

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdio>
#include <iterator>
#include <string>

#include "stream/ZlibCallLog.h"
#include "support/TempFile.h"
#include "vecml/stream/gzstream.h"

/// A gzstreambuf whose protected operations and areas tests can reach.
class ProbeBuffer : public gzstreambuf {
 public:
  using gzstreambuf::overflow;
  using gzstreambuf::sync;
  using gzstreambuf::underflow;

  std::ptrdiff_t pending() const { return pptr() - pbase(); }
  std::ptrdiff_t putAreaSize() const { return epptr() - pbase(); }
  /// Characters before the read position that can be put back.
  std::ptrdiff_t putbackAvailable() const { return gptr() - eback(); }
  std::ptrdiff_t unreadInGetArea() const { return egptr() - gptr(); }
  const char* readPosition() const { return gptr(); }
};

/// \p count bytes that run through every byte value, in an order that
/// does not repeat every 256 bytes.
inline std::string patternBytes(std::size_t count) {
  std::string bytes(count, '\0');
  for (std::size_t i = 0; i < count; ++i)
    bytes[i] = static_cast<char>((i * 7 + i / 256) % 256);
  return bytes;
}

/// Everything an igzstream reads from \p path.
inline std::string readThroughStream(const std::string& path) {
  igzstream in(path.c_str());
  return std::string(std::istreambuf_iterator<char>(in), {});
}

/// Writes \p bytes to \p path through an ogzstream.
inline void writeThroughStream(const std::string& path,
                               const std::string& bytes) {
  ogzstream out(path.c_str());
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

/// Standard output of the shell command \p command, which must succeed.
inline std::string commandOutput(const std::string& command) {
  std::FILE* pipe = popen(command.c_str(), "r");
  EXPECT_NE(pipe, nullptr) << command;
  if (pipe == nullptr) return {};
  std::string output;
  char chunk[4096];
  std::size_t count;
  while ((count = std::fread(chunk, 1, sizeof chunk, pipe)) > 0)
    output.append(chunk, count);
  EXPECT_EQ(pclose(pipe), 0) << command;
  return output;
}

/// \p path in single quotes for the shell.
inline std::string shellQuoted(const std::string& path) {
  return "'" + path + "'";
}

/// What the gzip command decompresses \p path to.
inline std::string gunzipWithCommand(const std::string& path) {
  return commandOutput("gzip -dc " + shellQuoted(path));
}

/// The gzip command's compressed form of the plain file \p path.
inline std::string gzipWithCommand(const std::string& path) {
  return commandOutput("gzip -c " + shellQuoted(path));
}

/// A ProbeBuffer and a temporary file for it, with zlib's calls recorded.
class GzstreamBufferFixture : public testing::Test {
 protected:
  /// Writes \p bytes to the file through an ogzstream, unrecorded.
  void compressIntoFile(const std::string& bytes) {
    writeThroughStream(file.path(), bytes);
    log.clear();
  }
  /// \return whether the buffer opened the file with \p mode.
  bool openBuffer(int mode) {
    return buffer.open(file.path().c_str(), mode) == &buffer;
  }

  TempFile file;
  ZlibCallLog log;
  ProbeBuffer buffer;
};

#endif
