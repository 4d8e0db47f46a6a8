// SPDX-License-Identifier: MIT
// Records the calls the gzip streams make into zlib, and makes chosen calls
// fail, so that tests can check call sizes and failure paths.
//
// The test program defines zlib's gzopen, gzread, gzwrite and gzclose
// itself; the dynamic linker binds the library's calls to these, which
// forward to the real zlib. Only while a ZlibCallLog exists do they record
// or fail; at most one exists at a time.
#ifndef VECML_TESTS_STREAM_ZLIBCALLLOG_H
#define VECML_TESTS_STREAM_ZLIBCALLLOG_H

#include <climits>
#include <string>
#include <vector>

struct ZlibCallLog {
  ZlibCallLog();
  ~ZlibCallLog();
  ZlibCallLog(const ZlibCallLog&) = delete;
  ZlibCallLog& operator=(const ZlibCallLog&) = delete;

  /// Forgets the calls recorded so far.
  void clear();

  /// Mode strings passed to gzopen.
  std::vector<std::string> openModes;
  /// Lengths and target addresses asked of gzread.
  std::vector<unsigned> readLengths;
  std::vector<const void*> readTargets;
  /// Lengths handed to gzwrite, failed calls included.
  std::vector<unsigned> writeLengths;
  int closeCalls = 0;

  /// gzread delivers at most this many bytes per call.
  unsigned readLimit = UINT_MAX;
  /// The next this many gzwrite calls write nothing and return 0.
  int failingWrites = 0;
  /// gzclose closes the file but reports an error.
  bool failClose = false;
};

#endif
