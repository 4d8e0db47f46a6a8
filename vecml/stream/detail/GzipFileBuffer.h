// SPDX-License-Identifier: MIT
// Reading one gzip member from a file that is already open, with every way
// the data can end told apart, and opening a file for reading without
// blocking on anything but a regular file.
#ifndef VECML_STREAM_DETAIL_GZIPFILEBUFFER_H
#define VECML_STREAM_DETAIL_GZIPFILEBUFFER_H

#include <cstdint>
#include <memory>
#include <streambuf>
#include <vector>

#include "vecml/core/Export.h"

// zlib's stream state, declared here so that this header needs no zlib.
struct z_stream_s;

namespace vecml::detail {

/// Why openRegularFile() gave no file.
enum class OpenProblem { none, cannotOpen, directory, notRegularFile };

/// Opens \p name for reading. The open itself never waits (a FIFO without
/// a writer would block it otherwise), and only a regular file is kept:
/// devices, FIFOs and sockets can deliver data without end or never.
/// \return the descriptor and the file's size in \p size; -1 with the
///         reason in \p problem when there is no regular file to read.
VECML_API int openRegularFile(const char* name, OpenProblem& problem,
                              std::uint64_t& size);

/// Input stream buffer over an open file descriptor, which it owns and
/// closes. A file that starts with the gzip magic bytes must hold exactly
/// one gzip member: its data are inflated and checked against the stored
/// CRC and length, and nothing may follow the member. Any other file is
/// read as it stands. Memory is fixed (two 64 KiB buffers and zlib's
/// state), and every call does work only in proportion to the bytes it
/// reads from the file and hands out.
class VECML_API GzipFileBuffer : public std::streambuf {
 public:
  /// How the data have ended so far; anything but `good` ends the input.
  enum class State {
    good,
    broken,        ///< corrupt or cut-off compressed data
    trailingData,  ///< bytes after the end of the gzip member
    readError,     ///< the file could not be read
    noMemory       ///< zlib could not set up its state
  };

  explicit GzipFileBuffer(int fd);
  ~GzipFileBuffer() override;
  GzipFileBuffer(const GzipFileBuffer&) = delete;
  GzipFileBuffer& operator=(const GzipFileBuffer&) = delete;

  State state() const { return current; }

 protected:
  int_type underflow() override;
  /// Reads up to \p wanted bytes into \p to; long reads of compressed data
  /// are inflated there directly. \return the number read.
  std::streamsize xsgetn(char* to, std::streamsize wanted) override;

 private:
  // Reads the next bytes of the file into the input buffer.
  // \return the number read; 0 at the end of the file or on an error.
  std::size_t readInput();
  // Decides between gzip and plain data from the first two bytes.
  void detectFormat();
  // Puts the next bytes into the get area. \return how many; 0 at the end.
  std::size_t nextPlain();
  std::size_t nextInflated();
  // Inflates the next bytes, at most \p room, into \p to.
  // \return how many; 0 at the end.
  std::size_t inflateInto(char* to, std::size_t room);
  // Called at the end of the gzip member: notes any byte after it.
  void checkNothingFollows();
  std::size_t fail(State why);

  int fd;
  std::unique_ptr<z_stream_s> zs;  // null when zlib could not start
  bool gzip = false;
  bool ended = false;
  State current = State::good;
  std::vector<unsigned char> input;
  std::vector<char> output;
};

}  // namespace vecml::detail

#endif
