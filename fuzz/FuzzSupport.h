// SPDX-License-Identifier: MIT
// Helpers shared by the fuzz harnesses: a scratch file for readers that take
// file names or file streams, and silent standard streams so that the
// readers' console lines do not drown the fuzzer's own output.
#ifndef VECML_FUZZ_FUZZSUPPORT_H
#define VECML_FUZZ_FUZZSUPPORT_H

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <streambuf>
#include <string>

namespace vecml_fuzz {

/// A file holding one input, removed again when the object goes away.
/// The name carries the process id, so parallel fuzzer jobs do not meet.
class ScratchFile {
 public:
  ScratchFile(const char* stem, const std::uint8_t* data, std::size_t size)
      : name(directory() + "/vecml-fuzz-" + std::to_string(getpid()) + "-" +
             stem) {
    std::FILE* file = std::fopen(name.c_str(), "wb");
    if (file == nullptr) std::abort();  // the harness cannot work without it
    if (size > 0 && std::fwrite(data, 1, size, file) != size) std::abort();
    std::fclose(file);
  }
  ~ScratchFile() { std::remove(name.c_str()); }
  ScratchFile(const ScratchFile&) = delete;
  ScratchFile& operator=(const ScratchFile&) = delete;

  const char* path() const { return name.c_str(); }

 private:
  static std::string directory() {
    const char* tmp = std::getenv("TMPDIR");
    return tmp != nullptr && *tmp != '\0' ? tmp : "/tmp";
  }

  std::string name;
};

/// Writes the input to a scratch file and hands \p read a binary input
/// stream on it, the form the serialize() readers take.
template <typename Read>
void readFileStream(const char* stem, const std::uint8_t* data,
                    std::size_t size, Read&& read) {
  const ScratchFile file(stem, data, size);
  std::fstream stream(file.path(), std::ios::in | std::ios::binary);
  read(stream);
}

/// Discards everything written to it.
class DiscardBuffer : public std::streambuf {
 protected:
  int overflow(int c) override { return traits_type::not_eof(c); }
  std::streamsize xsputn(const char*, std::streamsize n) override { return n; }
};

/// Sends std::cout and std::cerr nowhere for the rest of the process,
/// unless VECML_FUZZ_VERBOSE is set (useful when reproducing a finding).
inline void silenceStandardStreams() {
  if (std::getenv("VECML_FUZZ_VERBOSE") != nullptr) return;
  static DiscardBuffer discard;
  std::cout.rdbuf(&discard);
  std::cerr.rdbuf(&discard);
}

/// \return the 32-bit host-order integer at \p data + \p offset, 0 when the
///         input is shorter.
inline std::int32_t int32At(const std::uint8_t* data, std::size_t size,
                            std::size_t offset) {
  std::int32_t value = 0;
  if (size >= offset + sizeof value)
    std::memcpy(&value, data + offset, sizeof value);
  return value;
}

}  // namespace vecml_fuzz

// libFuzzer calls this once before the first input. Every harness is a
// single translation unit that includes this header, so it is defined here.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
  vecml_fuzz::silenceStandardStreams();
  return 0;
}

#endif
