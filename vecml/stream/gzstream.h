// SPDX-License-Identifier: MIT
// Standard input and output streams over gzip-compressed files.
#ifndef VECML_STREAM_GZSTREAM_H
#define VECML_STREAM_GZSTREAM_H

#include "vecml/core/Forward.h"

#include <istream>
#include <ostream>
#include <streambuf>

#include "vecml/core/Export.h"

// zlib's handle type, declared here so that users of the streams do not
// need zlib's headers.
struct gzFile_s;

/// Stream buffer that reads a gzip file through zlib's gzread or writes one
/// through gzwrite, one direction per open file.
///
/// One fixed 303-byte buffer serves both directions. Reading keeps its first
/// 4 bytes for putback and fetches at most 299 bytes per gzread; writing
/// collects up to 302 bytes and hands them to gzwrite together with the
/// character that overflows the area (at most 303 bytes per call). The
/// buffer cannot seek. Every successful open starts with empty get and put
/// areas, so nothing of a previous file carries over. A file that is not
/// gzip-compressed reads back as it is; damaged compressed data ends the
/// input as if the data had ended.
class VECML_API gzstreambuf : public std::streambuf {
 public:
  /// Size of the buffer shared by reading and writing.
  static constexpr int bufferSize = 303;

  /// A closed buffer with an empty get area and a 302-byte put area.
  gzstreambuf();
  /// Closes the file (see close()).
  ~gzstreambuf() override;
  gzstreambuf(const gzstreambuf&) = delete;
  gzstreambuf& operator=(const gzstreambuf&) = delete;

  /// \return true between a successful open() and close().
  bool is_open() const { return opened; }

  /// Opens the gzip file \p name for reading (std::ios::in in \p mode) or
  /// writing (std::ios::out), with zlib's default compression.
  ///
  /// Fails on an open buffer without changing anything. Otherwise \p mode
  /// is stored, also when it is then refused: modes holding std::ios::app,
  /// std::ios::ate, or both std::ios::in and std::ios::out fail. A mode
  /// with neither direction is handed to zlib as "b" and fails there.
  /// Other bits (binary, trunc) are ignored; writing always truncates.
  /// requires: \p name is a null-terminated path (a null name fails).
  /// \return this buffer on success, nullptr on failure.
  gzstreambuf* open(const char* name, int mode);

  /// Flushes pending output to zlib and closes the file, which completes
  /// it. The buffer is closed afterwards even when this fails.
  /// \return this buffer on success; nullptr when the buffer was not open
  /// or zlib's gzclose reported an error.
  gzstreambuf* close();

  /// Hands every pending byte of the put area to zlib in one gzwrite and
  /// empties the put area.
  /// \return the number of bytes written; end-of-file when zlib wrote
  /// fewer or the buffer is closed, in which case the bytes stay pending.
  int flush_buffer();

 protected:
  /// Flushes pending output to zlib (not through zlib to the file).
  /// \return 0 on success or with nothing pending, -1 when the write failed.
  int sync() override;
  /// Refills the get area from the file, keeping up to 4 characters that
  /// were already read so they can be put back.
  /// \return the next character, or end-of-file at the end of the data, on
  /// a read error, or when the buffer is not open for reading.
  int_type underflow() override;
  /// Appends \p c (unless it is end-of-file) and hands the whole put area
  /// to zlib. When an earlier failed write left no room for \p c, those
  /// pending bytes are handed to zlib first.
  /// \return \p c itself (also when it is end-of-file) on success;
  /// end-of-file when zlib wrote fewer bytes or the buffer is not open for
  /// writing.
  int_type overflow(int_type c) override;

 private:
  /// Puts the get and put areas into their empty starting positions.
  void resetAreas();

  gzFile_s* file;
  char buffer[bufferSize];
  bool opened;
  /// The std::ios open-mode bits last passed to open().
  int openMode;
};

/// Owner of one gzstreambuf, tied to a stream; the common base of igzstream
/// and ogzstream.
///
/// Failures to open or close set the stream's bad bit, keeping the bits
/// already set; nothing is printed or thrown. A successful open() does not
/// clear the state of a stream used before: call clear() for that.
class VECML_API gzstreambase : virtual public std::ios {
 public:
  /// A stream on a closed buffer.
  gzstreambase();
  /// A stream on a buffer opened with open(\p name, \p mode).
  gzstreambase(const char* name, int mode);
  /// Closes the file (see close()).
  ~gzstreambase();
  gzstreambase(const gzstreambase&) = delete;
  gzstreambase& operator=(const gzstreambase&) = delete;

  /// Opens the buffer (see gzstreambuf::open); sets the bad bit on failure,
  /// including when the stream is already open.
  void open(const char* name, int mode);
  /// Closes an open buffer, setting the bad bit when that fails; does
  /// nothing when the buffer is not open.
  void close();
  /// \return the owned buffer.
  gzstreambuf* rdbuf() { return &buf; }

 private:
  gzstreambuf buf;
};

/// Input stream that decompresses a gzip file.
///
/// \code
///   igzstream in("data.gz");
///   std::string word;
///   while (in >> word) std::cout << word << '\n';
/// \endcode
class VECML_API igzstream : public gzstreambase, public std::istream {
 public:
  /// A stream that is not open yet; call open().
  igzstream();
  /// Opens \p name; the bad bit tells whether that failed. By default for
  /// reading.
  explicit igzstream(const char* name, int mode = std::ios::in);
  /// \return the owned buffer.
  gzstreambuf* rdbuf() { return gzstreambase::rdbuf(); }
  /// Opens \p name, by default for reading (see gzstreambase::open).
  void open(const char* name, int mode = std::ios::in);
};

/// Output stream that writes a gzip file, complete once closed (explicitly
/// or by the destructor).
class VECML_API ogzstream : public gzstreambase, public std::ostream {
 public:
  /// A stream that is not open yet; call open().
  ogzstream();
  /// Opens \p name; the bad bit tells whether that failed. By default for
  /// writing, replacing any existing file.
  explicit ogzstream(const char* name, int mode = std::ios::out);
  /// \return the owned buffer.
  gzstreambuf* rdbuf() { return gzstreambase::rdbuf(); }
  /// Opens \p name, by default for writing (see gzstreambase::open).
  void open(const char* name, int mode = std::ios::out);
};

#endif
